// mmsutil restore, run as a child process on temporary stores: a backup of one phone put into
// another, what it says it did and, dry, would do, the same backup again adding nothing, the
// settings kept unless asked, a damaged backup refused, and the command lines it does not take.

#include "support/message_store.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace
{

using tavmms_test::expectOneLineReport;
using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

class MmsutilRestoreTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(oldPhone.isValid() && newPhone.isValid() && outside.isValid());
        for (const QString& subject : {QStringLiteral("One"), QStringLiteral("Two")}) {
            const ToolResult composed =
                run(oldPhone,
                    {QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                     QStringLiteral("--subject"), subject, QStringLiteral("--text"), subject});
            ASSERT_EQ(composed.exitCode, 0) << composed.err.toStdString();
        }
        ASSERT_EQ(run(oldPhone,
                      {QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("+15550666")})
                      .exitCode,
                  0);
        const ToolResult backup = run(oldPhone, {QStringLiteral("backup"), backupPath()});
        ASSERT_EQ(backup.exitCode, 0) << backup.err.toStdString();
    }

    static ToolResult run(const QTemporaryDir& phone, const QStringList& arguments)
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), phone.path(),
                                       arguments);
    }

    QString backupPath() const { return outside.filePath(QStringLiteral("phone.tar.zst")); }

    // What `list` prints of `phone`'s messages; nothing when it keeps none.
    QByteArray listing(const QTemporaryDir& phone) const
    {
        const ToolResult list = run(phone, {QStringLiteral("list")});
        EXPECT_EQ(list.exitCode == 3, list.out.count('\n') == 1) << list.err.toStdString();
        return list.exitCode == 3 ? QByteArray() : list.out;
    }

    QTemporaryDir oldPhone;
    QTemporaryDir newPhone;
    QTemporaryDir outside;
};

TEST_F(MmsutilRestoreTest, PutsABackupIntoAnotherPhoneAndSaysWhatItDid)
{
    const ToolResult dry =
        run(newPhone, {QStringLiteral("restore"), QStringLiteral("--dry-run"), backupPath()});
    ASSERT_EQ(dry.exitCode, 0) << dry.err.toStdString();
    EXPECT_EQ(dry.out, "would add 2 messages (2 with their mail files); 0 kept already\n"
                       "would replace the settings, profiles and owner, and the address book "
                       "with 0 contacts\n"
                       "would add to the block list: +15550666\n");
    EXPECT_EQ(listing(newPhone), QByteArray());

    const ToolResult restored = run(newPhone, {QStringLiteral("restore"), backupPath()});

    ASSERT_EQ(restored.exitCode, 0) << restored.err.toStdString();
    EXPECT_EQ(restored.err, QByteArray()); // no progress where standard error is no terminal
    EXPECT_TRUE(restored.out.startsWith(
        "added 2 messages (2 with their mail files); 0 kept already\n"
        "replaced the settings, profiles and owner, and the address book with 0 contacts\n"
        "added to the block list: +15550666\n"))
        << restored.out.toStdString();
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("message 1 is now \\d+\nmessage 2 is now \\d+\n$"))
            .match(QString::fromUtf8(restored.out))
            .hasMatch())
        << restored.out.toStdString();
    EXPECT_EQ(listing(newPhone), listing(oldPhone));
    const ToolResult check = run(newPhone, {QStringLiteral("check")});
    EXPECT_EQ(check.exitCode, 0) << check.out.toStdString() << check.err.toStdString();

    const ToolResult again = run(newPhone, {QStringLiteral("restore"), backupPath()});
    ASSERT_EQ(again.exitCode, 0) << again.err.toStdString();
    EXPECT_EQ(again.out, "added 0 messages (0 with their mail files); 2 kept already\n"
                         "kept the store's settings, profiles, owner and address book "
                         "(--settings replaces them)\n");
}

TEST_F(MmsutilRestoreTest, RefusesADamagedBackupAndChangesNothing)
{
    QFile file(backupPath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray whole = file.readAll();
    file.close();
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(whole.left(whole.size() / 2));
    file.close();

    const ToolResult refused = run(newPhone, {QStringLiteral("restore"), backupPath()});

    expectOneLineReport(refused, 4);
    EXPECT_TRUE(refused.err.contains(backupPath().toUtf8())) << refused.err.toStdString();
    EXPECT_EQ(listing(newPhone), QByteArray());
    EXPECT_FALSE(QFileInfo::exists(newPhone.filePath(QStringLiteral("download/mms/restore"))));
}

TEST_F(MmsutilRestoreTest, RefusesACommandLineWithoutOneFile)
{
    expectUsageError(run(newPhone, {QStringLiteral("restore")}));
    expectUsageError(
        run(newPhone, {QStringLiteral("restore"), QStringLiteral("a"), QStringLiteral("b")}));
    expectUsageError(run(newPhone, {QStringLiteral("restore"), QStringLiteral("")}));
    expectUsageError(
        run(newPhone, {QStringLiteral("restore"), QStringLiteral("--merge"), backupPath()}));
}

} // namespace
