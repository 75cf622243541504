// The store's check called in-process: the report it gives, what a repair does, and the lock that
// keeps a repair away from messages being written.

#include "message_store_check.h"

#include "index_row_text.h"
#include "mail_file_names.h"
#include "message_index.h"
#include "message_store.h"
#include "store_lock.h"

#include "mms_util_common.h"

#include "support/failing_database.h"
#include "support/index_table_helpers.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/scoped_environment.h"
#include "support/temp_database.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>

#include <QTemporaryDir>
#include <algorithm>

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
    QString mailFile(int index) const
    {
        return mailDir() + QStringLiteral("%1.mms").arg(index + 1);
    }
    QString quarantined(const QString& name) const
    {
        return dir.filePath(QStringLiteral("download/mms/quarantine/")) + name;
    }
    QString quarantined(const char* name) const { return quarantined(QLatin1String(name)); }
    QString mailDir() const { return dir.filePath(QStringLiteral("download/mms/mailfile/")); }

    static CheckReport check(bool repair, bool force = false)
    {
        CheckOptions options;
        options.repair = repair;
        options.force = force;
        options.lockTimeout = 100ms;
        return tavmms::store::checkStore(options);
    }

    static CheckReport rebuild()
    {
        CheckOptions options;
        options.rebuild = true;
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
    EXPECT_EQ(report.problems.at(1).note,
              QStringLiteral("--force moves it to the quarantine; --rebuild makes a row for it"));
    EXPECT_EQ(report.repaired(), 1);
    EXPECT_EQ(report.remaining(), 1);
    EXPECT_TRUE(QFile::exists(mailFile("2.mms")));
    EXPECT_TRUE(QFile::exists(mailFile("9.mms")));
}

TEST_F(StoreCheckTest, TwoSwappedMailFilesAreFoundAndNeverChanged)
{
    tavmms::store::NewMessage message;
    message.subject = QStringLiteral("Other");
    message.messageId = QStringLiteral("other@example.com");
    message.body = "other body";
    ASSERT_TRUE(MessageStore().compose(message).status.ok());
    const QByteArray first = tavmms_test::readFileBytes(mailFile("1.mms"));
    const QByteArray fourth = tavmms_test::readFileBytes(mailFile("4.mms"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile("1.mms"), fourth));
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile("4.mms"), first));

    const CheckReport found = check(false);
    const CheckReport forced = check(true, true);

    ASSERT_TRUE(found.status.ok()) << found.status.text.toStdString();
    ASSERT_EQ(found.problems.size(), 2);
    // The first file's row left its Message-ID empty, which claims nothing; the dates differ
    // when the clock ticked in between.
    EXPECT_THAT(found.problems.at(0).text.toStdString(),
                testing::MatchesRegex("1\\.mms: its header does not match its row "
                                      "\\(Subject(, Date)?\\)"));
    EXPECT_THAT(found.problems.at(1).text.toStdString(),
                testing::MatchesRegex("4\\.mms: its header does not match its row "
                                      "\\(Message-ID, Subject(, Date)?\\)"));
    ASSERT_EQ(forced.problems.size(), 2);
    EXPECT_EQ(forced.problems.at(0).outcome, CheckProblem::Kept);
    EXPECT_EQ(forced.problems.at(0).note,
              QStringLiteral("which of the two is right is for a person to judge"));
    EXPECT_EQ(tavmms_test::readFileBytes(mailFile("1.mms")), fourth);
    EXPECT_EQ(tavmms_test::readFileBytes(mailFile("4.mms")), first);
    EXPECT_EQ(tavmms_test::rowIds(databasePath), (QList<QByteArray>{"1", "2", "3", "4"}));
}

TEST_F(StoreCheckTest, AForcedRepairMovesAFileWhoseHeaderBlockIsCutShortToTheQuarantineWhole)
{
    const QByteArray whole = tavmms_test::readFileBytes(mailFile("2.mms"));
    const QByteArray cut = whole.chopped(3);
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile("2.mms"), cut));

    const CheckReport report = check(true, true);

    ASSERT_TRUE(report.status.ok()) << report.status.text.toStdString();
    ASSERT_EQ(report.problems.size(), 2);
    EXPECT_EQ(report.problems.at(0).text,
              QStringLiteral("2.mms: does not load (its header block is cut short)"));
    EXPECT_EQ(report.problems.at(0).note, QStringLiteral("moved to ") + quarantined("2.mms"));
    EXPECT_EQ(report.problems.at(1).text, QStringLiteral("row 2: no mail file 2.mms"));
    EXPECT_FALSE(QFile::exists(mailFile("2.mms")));
    EXPECT_EQ(tavmms_test::readFileBytes(quarantined("2.mms")), cut);
    const QString note = QString::fromUtf8(tavmms_test::readFileBytes(quarantined("2.mms.why")));
    EXPECT_TRUE(note.startsWith(mailFile("2.mms") + QStringLiteral("\nmoved here by a repair of "
                                                                   "the message store on ")))
        << note.toStdString();
    EXPECT_TRUE(
        note.endsWith(QStringLiteral("because it does not load (its header block is cut short)\n")))
        << note.toStdString();
}

TEST_F(StoreCheckTest, AQuarantineThatCannotBeMadeFailsTheRepairAndLeavesTheFile)
{
    // A file where the folder should be.
    ASSERT_TRUE(tavmms_test::writeFileBytes(dir.filePath(QStringLiteral("download/mms/quarantine")),
                                            "in the way"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile("3.mms"), "MMS"));

    const CheckReport report = check(true, true);

    ASSERT_TRUE(report.status.ok()) << report.status.text.toStdString();
    ASSERT_FALSE(report.problems.isEmpty());
    EXPECT_EQ(report.problems.at(0).text,
              QStringLiteral("3.mms: does not load (shorter than its 16-byte record)"));
    EXPECT_EQ(report.problems.at(0).outcome, CheckProblem::RepairFailed);
    EXPECT_EQ(report.problems.at(0).error,
              QStringLiteral("cannot make the quarantine folder '%1'").arg(quarantined("")));
    EXPECT_EQ(tavmms_test::readFileBytes(mailFile("3.mms")), "MMS");
    // Its row stays with it.
    EXPECT_EQ(tavmms_test::rowIds(databasePath), (QList<QByteArray>{"1", "2", "3"}));
}

TEST_F(StoreCheckTest, TheQuarantineNeverReplacesAFileOfTheSameName)
{
    ASSERT_TRUE(QDir().mkpath(quarantined(QString())));
    ASSERT_TRUE(tavmms_test::writeFileBytes(quarantined("3.mms"), "earlier"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(quarantined("3.mms.1.why"), "earlier note"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(quarantined("3.mms.2"), "earlier, without its note"));
    ASSERT_TRUE(QFile::remove(mailFile("3.mms")));
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile("3.mms"), "MMS"));

    const CheckReport report = check(true, true);

    ASSERT_FALSE(report.problems.isEmpty());
    EXPECT_EQ(report.problems.at(0).note, QStringLiteral("moved to ") + quarantined("3.mms.3"));
    EXPECT_EQ(tavmms_test::readFileBytes(quarantined("3.mms")), "earlier");
    EXPECT_EQ(tavmms_test::readFileBytes(quarantined("3.mms.1.why")), "earlier note");
    EXPECT_EQ(tavmms_test::readFileBytes(quarantined("3.mms.2")), "earlier, without its note");
    EXPECT_FALSE(QFile::exists(quarantined("3.mms.2.why")));
    EXPECT_EQ(tavmms_test::readFileBytes(quarantined("3.mms.3")), "MMS");
    EXPECT_TRUE(QFile::exists(quarantined("3.mms.3.why")));
}

TEST_F(StoreCheckTest, ARebuildAfterTheIndexWasLostMakesEachRowFromItsHeader)
{
    tavmms::store::NewMessage received;
    received.from.address = QStringLiteral("+15550001");
    received.subject = QStringLiteral("From outside");
    received.messageId = QStringLiteral("outside@example.com");
    received.uri = QStringLiteral("mms://outside");
    received.body = "outside body";
    ASSERT_TRUE(MessageStore().receive(received).status.ok());
    QList<QByteArray> files;
    for (const char* name : {"1.mms", "2.mms", "3.mms", "4.mms"})
        files << tavmms_test::readFileBytes(mailFile(name));
    ASSERT_TRUE(QFile::remove(databasePath));
    // As a program started afterwards opens the database, which is not there.
    const tavmms_test::InstalledDatabase reopened{databasePath};

    const CheckReport plain = check(false);
    const CheckReport rebuilt = rebuild();
    const CheckReport after = check(false);

    EXPECT_EQ(plain.status.code, ErrorCode::Failed);
    ASSERT_TRUE(rebuilt.status.ok()) << rebuilt.status.text.toStdString();
    ASSERT_EQ(rebuilt.problems.size(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(rebuilt.problems.at(i).text, QStringLiteral("%1.mms: no row").arg(i + 1));
        EXPECT_EQ(rebuilt.problems.at(i).outcome, CheckProblem::Repaired);
        EXPECT_EQ(rebuilt.problems.at(i).note, QStringLiteral("row %1 made").arg(i + 1));
    }
    ASSERT_TRUE(after.status.ok());
    EXPECT_TRUE(after.problems.isEmpty());
    EXPECT_EQ(tavmms_test::namesIn(mailDir()), (QStringList{"1.mms", "2.mms", "3.mms", "4.mms"}));
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(tavmms_test::readFileBytes(mailFile(i)), files.at(i)) << i;

    const MMS_UTIL_DBStruct_T composed = tavmms_test::readRow(databasePath, 1);
    EXPECT_EQ(tavmms::store::text16(composed.cmn_fld_subject), QStringLiteral("Kept"));
    EXPECT_EQ(composed.cmn_fld_folder_id, unsigned(tavmms::store::Folder::Sent));
    EXPECT_EQ(composed.cmn_fld_send_receive_state, ushort(tavmms::store::State::Sent));
    const MMS_UTIL_DBStruct_T outside = tavmms_test::readRow(databasePath, 4);
    EXPECT_EQ(tavmms::store::text16(outside.cmn_fld_from_name), QStringLiteral("+15550001"));
    EXPECT_EQ(tavmms::store::text16(outside.cmn_fld_subject), QStringLiteral("From outside"));
    EXPECT_EQ(tavmms::store::text8(outside.mms_fld_msgid_name),
              QStringLiteral("outside@example.com"));
    EXPECT_EQ(outside.cmn_fld_folder_id, unsigned(tavmms::store::Folder::Inbox));
    EXPECT_EQ(outside.cmn_fld_send_receive_state, ushort(tavmms::store::State::Received));
    EXPECT_EQ(outside.cmn_fld_msg_attr_read, 1);
    EXPECT_EQ(outside.mms_fld_msguri_name[0], '\0');
    EXPECT_EQ(outside.mms_fld_tid_name[0], '\0');
    EXPECT_EQ(outside.cmn_fld_time_msg_reach_phone,
              quint32(QFileInfo(mailFile("4.mms")).lastModified().toSecsSinceEpoch()));
}

TEST_F(StoreCheckTest, ARebuildRenamesEachFileToItsNewIdWithoutReplacingAny)
{
    // The rows go but the database goes on counting: the new ids are 4, 5, ...; 5's name is
    // taken by a leftover, which is passed over.
    {
        const tavmms::store::IndexTable table;
        for (unsigned id : {1u, 2u, 3u}) {
            ASSERT_EQ(MMS_UTIL_DBTable::del(id), DB_OK);
            ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
        }
    }
    ASSERT_TRUE(QFile::remove(mailFile("3.mms")));
    const QByteArray first = tavmms_test::readFileBytes(mailFile("1.mms"));
    const QByteArray second = tavmms_test::readFileBytes(mailFile("2.mms"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile("5.mms.tmp"), "torn"));

    const CheckReport report = rebuild();

    ASSERT_TRUE(report.status.ok()) << report.status.text.toStdString();
    ASSERT_EQ(report.problems.size(), 3);
    EXPECT_EQ(report.problems.at(0).note, QStringLiteral("row 4 made, renamed to 4.mms"));
    EXPECT_EQ(report.problems.at(1).note, QStringLiteral("row 6 made, renamed to 6.mms"));
    EXPECT_EQ(report.problems.at(2).text,
              QStringLiteral("5.mms.tmp: left by an interrupted save, does not load (shorter "
                             "than its 16-byte record)"));
    EXPECT_EQ(tavmms_test::namesIn(mailDir()), (QStringList{"4.mms", "6.mms"}));
    EXPECT_EQ(tavmms_test::readFileBytes(mailFile("4.mms")), first);
    EXPECT_EQ(tavmms_test::readFileBytes(mailFile("6.mms")), second);
    EXPECT_EQ(tavmms_test::rowIds(databasePath), (QList<QByteArray>{"4", "6"}));
    EXPECT_TRUE(check(false).problems.isEmpty());
}

TEST_F(StoreCheckTest, ARebuildFailingAtAnyDatabaseCallLosesNoFileAndTheNextOneCompletesIt)
{
    QList<QByteArray> files;
    for (int i = 0; i < 3; ++i)
        files << tavmms_test::readFileBytes(mailFile(i));
    std::sort(files.begin(), files.end());
    // Every file's contents, once each, wherever it stands now.
    const auto contents = [&] {
        QList<QByteArray> found;
        for (const QString& name : tavmms_test::namesIn(mailDir()))
            found << tavmms_test::readFileBytes(mailDir() + name);
        std::sort(found.begin(), found.end());
        return found;
    };
    for (int failing = 1;; ++failing) {
        SCOPED_TRACE(failing);
        // The rows go, and the database goes on counting: every file is renamed.
        {
            const tavmms::store::IndexTable table;
            for (const QByteArray& id : tavmms_test::rowIds(databasePath)) {
                ASSERT_EQ(MMS_UTIL_DBTable::del(id.toUInt()), DB_OK);
                ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
            }
        }
        bool failed = false;
        {
            tavmms_test::FailingDatabase failingDatabase(database.database(), failing, DB_ERR_IO);
            const tavplatform::ScopedDatabaseService installed(&failingDatabase.service());
            const CheckReport report = rebuild();
            failed = failingDatabase.failed();
            EXPECT_TRUE(failed || report.remaining() == 0);
        }
        EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
        EXPECT_EQ(contents(), files);
        const CheckReport again = rebuild();
        ASSERT_TRUE(again.status.ok()) << again.status.text.toStdString();
        EXPECT_EQ(again.remaining(), 0);
        EXPECT_TRUE(check(false).problems.isEmpty());
        EXPECT_EQ(tavmms_test::rowIds(databasePath).size(), 3);
        EXPECT_EQ(contents(), files);
        if (!failed || HasFailure())
            break;
    }
}

TEST_F(StoreCheckTest, ARebuildLeavesRowsAndFilesThatMatchAlone)
{
    const CheckReport report = rebuild();

    ASSERT_TRUE(report.status.ok()) << report.status.text.toStdString();
    EXPECT_TRUE(report.problems.isEmpty());
    EXPECT_EQ(tavmms_test::rowIds(databasePath), (QList<QByteArray>{"1", "2", "3"}));
}

TEST_F(StoreCheckTest, AMailFileLinkedToAnotherDirectoryCountsAsTheFileItPointsAt)
{
    const QString elsewhere = dir.filePath(QStringLiteral("elsewhere.mms"));
    ASSERT_TRUE(QFile::rename(mailFile("3.mms"), elsewhere));
    ASSERT_TRUE(QFile::link(elsewhere, mailFile("3.mms")));

    const CheckReport report = check(false);

    ASSERT_TRUE(report.status.ok()) << report.status.text.toStdString();
    EXPECT_EQ(report.mailFiles, 3);
    EXPECT_TRUE(report.problems.isEmpty());
}

TEST(MailFileNames, AreTheNamesTheLibraryGivesWithinTheMailFileDirectory)
{
    for (const unsigned id : {1u, 17u, 4294967295u}) {
        EXPECT_EQ(MMS_UTIL_Common::getMailFileDir() + tavmms::store::mailFileName(id),
                  MMS_UTIL_Common::msgDBIDToMailFileName(id));
        EXPECT_EQ(tavmms::store::idOfMailFileName(tavmms::store::mailFileName(id)), id);
    }
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
