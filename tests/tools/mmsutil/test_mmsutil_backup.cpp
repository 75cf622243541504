// mmsutil backup, run as a child process on a temporary store: messages composed and received
// through the tool, written into one archive that libarchive's reader opens, the summary line, the
// folder and time options, a file that is there kept unless forced, a file inside the store
// refused, and the command lines it does not take.

#include "support/archive_reader.h"
#include "support/message_store.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QTemporaryDir>

namespace
{

using tavmms_test::expectOneLineReport;
using tavmms_test::expectUsageError;
using tavmms_test::memberJson;
using tavmms_test::memberNames;
using tavmms_test::readArchive;
using tavmms_test::ToolResult;

class MmsutilBackupTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    ToolResult run(const QStringList& arguments) const
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(), arguments);
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    void compose(const QString& subject) const
    {
        const ToolResult result =
            run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                 QStringLiteral("--subject"), subject, QStringLiteral("--text"), subject});
        ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    }

    QTemporaryDir dir;
};

TEST_F(MmsutilBackupTest, WritesEveryMessageIntoOneArchiveAndSaysHowMuch)
{
    compose(QStringLiteral("One"));
    compose(QStringLiteral("Two"));
    const QString file = path(QStringLiteral("phone.tar.zst"));

    const ToolResult result = run({QStringLiteral("backup"), file});

    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.err, QByteArray()); // no progress where standard error is no terminal
    EXPECT_EQ(QString::fromUtf8(result.out),
              QStringLiteral("backed up 2 messages, %1 bytes, to %2\n")
                  .arg(QFileInfo(file).size())
                  .arg(file));
    const QList<tavmms_test::ArchiveMember> members = readArchive(file);
    EXPECT_EQ(memberNames(members),
              (QStringList{QStringLiteral("messages/1.mms"), QStringLiteral("messages/2.mms"),
                           QStringLiteral("index.json"), QStringLiteral("settings.json"),
                           QStringLiteral("contacts.json"), QStringLiteral("manifest.json")}));
    EXPECT_EQ(memberJson(members, QStringLiteral("manifest.json"))
                  .value(QStringLiteral("counts"))
                  .toObject()
                  .value(QStringLiteral("mailFiles")),
              2);
}

TEST_F(MmsutilBackupTest, TheFolderAndTimeOptionsChooseTheMessages)
{
    compose(QStringLiteral("Out"));
    const QString inbox = path(QStringLiteral("inbox.tar.zst"));
    const ToolResult none =
        run({QStringLiteral("backup"), QStringLiteral("--folder"), QStringLiteral("inbox"), inbox});
    ASSERT_EQ(none.exitCode, 0) << none.err.toStdString();
    EXPECT_TRUE(none.out.startsWith("backed up 0 messages, ")) << none.out.toStdString();
    EXPECT_EQ(memberNames(readArchive(inbox)).first(), QStringLiteral("index.json"));

    const QString later = path(QStringLiteral("later.tar.zst"));
    const ToolResult old = run(
        {QStringLiteral("backup"), QStringLiteral("--until"), QStringLiteral("2000-01-01"), later});
    ASSERT_EQ(old.exitCode, 0) << old.err.toStdString();
    EXPECT_TRUE(old.out.startsWith("backed up 0 messages, ")) << old.out.toStdString();
    const QString outbox = path(QStringLiteral("outbox.tar.zst"));
    const ToolResult recent =
        run({QStringLiteral("backup"), QStringLiteral("--folder"), QStringLiteral("outbox"),
             QStringLiteral("--since"), QStringLiteral("2000-01-01"), outbox});
    ASSERT_EQ(recent.exitCode, 0) << recent.err.toStdString();
    EXPECT_TRUE(recent.out.startsWith("backed up 1 message, ")) << recent.out.toStdString();
}

TEST_F(MmsutilBackupTest, KeepsAFileThatIsThereUnlessForced)
{
    compose(QStringLiteral("One"));
    const QString file = path(QStringLiteral("taken.tar.zst"));
    QFile taken(file);
    ASSERT_TRUE(taken.open(QIODevice::WriteOnly));
    taken.write("mine");
    taken.close();

    const ToolResult refused = run({QStringLiteral("backup"), file});

    expectOneLineReport(refused, 1);
    EXPECT_TRUE(refused.err.contains("--force")) << refused.err.toStdString();
    ASSERT_TRUE(taken.open(QIODevice::ReadOnly));
    EXPECT_EQ(taken.readAll(), QByteArray("mine"));
    taken.close();
    EXPECT_EQ(
        QDir(dir.path()).entryList({QStringLiteral("*taken.tar.zst*")}, QDir::Files | QDir::Hidden),
        QStringList{QStringLiteral("taken.tar.zst")});
    const ToolResult forced = run({QStringLiteral("backup"), QStringLiteral("--force"), file});
    EXPECT_EQ(forced.exitCode, 0) << forced.err.toStdString();
    EXPECT_EQ(readArchive(file).size(), 5);
}

TEST_F(MmsutilBackupTest, RefusesAFileInsideTheStore)
{
    compose(QStringLiteral("One"));
    const QString file = path(QStringLiteral("download/mms/mailfile/backup.tar.zst"));

    const ToolResult refused = run({QStringLiteral("backup"), file});

    expectOneLineReport(refused, 4);
    EXPECT_FALSE(QFileInfo::exists(file));
}

TEST_F(MmsutilBackupTest, RefusesACommandLineWithoutOneFileOrWithAnOptionItCannotRead)
{
    expectUsageError(run({QStringLiteral("backup")}));
    expectUsageError(run({QStringLiteral("backup"), QStringLiteral("a"), QStringLiteral("b")}));
    expectUsageError(run({QStringLiteral("backup"), QStringLiteral("")}));
    expectUsageError(run({QStringLiteral("backup"), QStringLiteral("--folder"),
                          QStringLiteral("attic"), path(QStringLiteral("a"))}));
    expectUsageError(run({QStringLiteral("backup"), QStringLiteral("--since"),
                          QStringLiteral("yesterday"), path(QStringLiteral("a"))}));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("a"))));
}

} // namespace
