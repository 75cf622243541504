// The store's check called in-process: the report it gives, what a repair does, and the lock that
// keeps a repair away from messages being written.

#include "store_check.h"

#include "message_store.h"
#include "store_lock.h"

#include "support/index_table_helpers.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/scoped_environment.h"
#include "support/temp_database.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

namespace
{

using namespace std::chrono_literals;
using tavmms::store::CheckOptions;
using tavmms::store::CheckProblem;
using tavmms::store::CheckReport;
using tavmms::store::ErrorCode;
using tavmms::store::MessageStore;

class StoreCheckTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(QDir().mkpath(QFileInfo(databasePath).path()));
        tavmms::store::NewMessage message;
        message.subject = QStringLiteral("Kept");
        message.body = "body";
        for (int i = 0; i < 3; ++i) {
            const tavmms::store::Added added = MessageStore().compose(message);
            ASSERT_TRUE(added.status.ok()) << added.status.text.toStdString();
        }
    }

    QString mailFile(const char* name) const { return mailDir() + QLatin1String(name); }
    QString mailDir() const { return dir.filePath(QStringLiteral("download/mms/mailfile/")); }

    static CheckReport check(bool repair, bool force = false)
    {
        CheckOptions options;
        options.repair = repair;
        options.force = force;
        options.lockTimeout = 100ms;
        return tavmms::store::checkStore(options);
    }

    QTemporaryDir dir;
    tavmms_test::ScopedEnvironment download{"TAV_LOCAL_DOWNLOAD_PATH",
                                            dir.filePath(QStringLiteral("download")).toUtf8()};
    tavmms_test::ScopedEnvironment platform{"TAV_PLATFORM_DIR",
                                            dir.filePath(QStringLiteral("platform")).toUtf8()};
    tavmms_test::ScopedIndexTableState state;
    const QString databasePath = dir.filePath(QStringLiteral("platform/device.db"));
    tavmms_test::InstalledDatabase database{databasePath};
};

TEST_F(StoreCheckTest, ACheckReportsEachProblemAndChangesNothing)
{
    ASSERT_TRUE(QFile::remove(mailFile("2.mms")));
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile("9.mms"),
                                            tavmms_test::readFileBytes(mailFile("1.mms"))));
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile("notes.txt"), "notes"));
    const QStringList before = tavmms_test::namesIn(mailDir());

    const CheckReport report = check(false);

    ASSERT_TRUE(report.status.ok()) << report.status.text.toStdString();
    EXPECT_EQ(report.directory, mailDir());
    EXPECT_EQ(report.rows, 3);
    EXPECT_EQ(report.mailFiles, 3);
    ASSERT_EQ(report.problems.size(), 2);
    EXPECT_EQ(report.problems.at(0).text, QStringLiteral("row 2: no mail file 2.mms"));
    EXPECT_EQ(report.problems.at(1).text, QStringLiteral("9.mms: no row"));
    for (const CheckProblem& problem : report.problems)
        EXPECT_EQ(problem.outcome, CheckProblem::Found);
    ASSERT_EQ(report.others.size(), 1);
    EXPECT_EQ(report.others.at(0).name, QStringLiteral("notes.txt"));
    EXPECT_EQ(report.remaining(), 2);
    EXPECT_EQ(tavmms_test::namesIn(mailDir()), before);
}

TEST_F(StoreCheckTest, ARepairSaysWhatBecameOfEachProblem)
{
    ASSERT_TRUE(QFile::rename(mailFile("2.mms"), mailFile("2.mms.tmp")));
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile("9.mms"),
                                            tavmms_test::readFileBytes(mailFile("1.mms"))));

    const CheckReport report = check(true);

    ASSERT_TRUE(report.status.ok()) << report.status.text.toStdString();
    ASSERT_EQ(report.problems.size(), 2);
    EXPECT_EQ(report.problems.at(0).outcome, CheckProblem::Repaired);
    EXPECT_EQ(report.problems.at(0).note, QStringLiteral("renamed to 2.mms"));
    EXPECT_EQ(report.problems.at(1).outcome, CheckProblem::Kept);
    EXPECT_EQ(report.problems.at(1).note, QStringLiteral("--force deletes it"));
    EXPECT_EQ(report.repaired(), 1);
    EXPECT_EQ(report.remaining(), 1);
    EXPECT_TRUE(QFile::exists(mailFile("2.mms")));
    EXPECT_TRUE(QFile::exists(mailFile("9.mms")));
}

TEST_F(StoreCheckTest, ARepairWaitsForAWriterAndGivesUpAfterItsTimeout)
{
    ASSERT_TRUE(QFile::remove(mailFile("2.mms")));
    tavmms::store::StoreLock writer;
    ASSERT_TRUE(
        writer
            .acquire(tavmms::store::StoreLock::defaultPath(), tavmms::store::StoreLock::Shared, 0ms)
            .ok());

    const CheckReport repair = check(true, true);
    const CheckReport plain = check(false);

    EXPECT_EQ(repair.status.code, ErrorCode::Busy);
    EXPECT_TRUE(repair.problems.isEmpty());
    EXPECT_EQ(tavmms_test::rowIds(databasePath), (QList<QByteArray>{"1", "2", "3"}));
    // A check only reads, beside writers.
    ASSERT_TRUE(plain.status.ok()) << plain.status.text.toStdString();
    EXPECT_EQ(plain.problems.size(), 1);
}

TEST_F(StoreCheckTest, AnIndexWhoseTablesCannotBeLookedForIsDamagedNotMissing)
{
    ASSERT_EQ(tavmms_test::damageTableLookups(databasePath), "");
    const tavmms_test::InstalledDatabase reopened(databasePath);
    const QStringList before = tavmms_test::namesIn(mailDir());

    const CheckReport report = check(true, true);

    EXPECT_EQ(report.status.code, ErrorCode::Failed);
    EXPECT_TRUE(report.status.text.startsWith(
        QStringLiteral("the message index '%1' is damaged: ").arg(databasePath)))
        << report.status.text.toStdString();
    EXPECT_TRUE(report.problems.isEmpty());
    EXPECT_EQ(tavmms_test::namesIn(mailDir()), before);
}

} // namespace
