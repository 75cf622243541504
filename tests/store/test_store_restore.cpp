// A restore of the store's backup, called in-process over stores, settings and address books on
// temporary files: into an empty store everything comes back, each mail file byte for byte under
// its new id's name and each row field by field; into a store with messages the messages merge
// and the settings stay unless asked; a damaged backup, or a failure at any step, leaves the
// store as it was.

#include "store_restore.h"

#include <tavmmsutility.h>

#include "backup_records.h"
#include "filesync.h"
#include "index_rows.h"
#include "restore_journal.h"
#include "store_lock.h"

#include "mms_util_common.h"

#include "support/archive_reader.h"
#include "support/archive_writer.h"
#include "support/child_process.h"
#include "support/failing_database.h"
#include "support/failing_settings_store.h"
#include "support/index_table_helpers.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/mock_address_book.h"
#include "support/model_helpers.h"
#include "support/scoped_environment.h"
#include "support/store_device.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QTemporaryDir>

#include <cstring>
#include <functional>
#include <optional>

namespace
{

using namespace std::chrono_literals;
using namespace tavmms::store;
using tavmms_test::messageWithAttachments;
using tavmms_test::StoreDevice;
using tavmms_test::storeState;
using tavmms_test::StoreState;

// Fills the store installed now with what a phone keeps: messages in several folders, one read,
// one without its mail file, settings with a profile and a block list, contacts and an owner.
void fillStore(StoreDevice& device)
{
    device.fillSettingsAndContacts();
    MessageStore store;
    for (int i = 0; i < 3; ++i) {
        NewMessage message = messageWithAttachments(QStringLiteral("In %1").arg(i));
        message.messageId = QStringLiteral("in-%1@mmsc.example").arg(i);
        ASSERT_TRUE(store.receive(message).status.ok());
    }
    const Added draft =
        store.compose(messageWithAttachments(QStringLiteral("Draft")), Folder::Drafts);
    ASSERT_TRUE(draft.status.ok()) << draft.status.text.toStdString();
    const Added out = store.compose(messageWithAttachments(QStringLiteral("Out")));
    ASSERT_TRUE(out.status.ok());
    ASSERT_TRUE(store.setRead(1, true).ok());
    ASSERT_TRUE(store.move(out.id, Folder::Sent).ok());
    // A row whose mail file went missing is kept as it is.
    ASSERT_TRUE(QFile::remove(device.mailFile(draft.id)));
}

class StoreRestoreTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(outside.isValid());
        ASSERT_TRUE(device->isValid());
    }

    QString backupPath() const { return outside.filePath(QStringLiteral("backup.tar.zst")); }

    // A backup of a filled store, made on a phone of its own; its state beside it.
    StoreState backUpAFilledStore()
    {
        std::optional<StoreDevice> old;
        old.emplace();
        fillStore(*old);
        const Backup backup = backupStore(backupPath());
        EXPECT_TRUE(backup.status.ok()) << backup.status.text.toStdString();
        return storeState();
    }

    static RestoreOptions replacingSettings()
    {
        RestoreOptions options;
        options.settings = true;
        return options;
    }

    // Restores a filled store's backup, replacing the settings, into a store with a message of
    // its own, with each step failed in turn by `restoreFailingAt`, which gives the restore and
    // whether the step it was to fail was reached. A restore that fails leaves the store as it
    // was; one that goes through all the same (past a failure it may ignore) is whole, and is
    // taken back for the next step.
    void
    failEachStepInTurn(const std::function<std::pair<Restore, bool>(int step)>& restoreFailingAt)
    {
        backUpAFilledStore();
        ASSERT_TRUE(
            MessageStore().receive(messageWithAttachments(QStringLiteral("Mine"))).status.ok());
        const StoreState before = storeState();
        for (int step = 1;; ++step) {
            const auto [restore, reached] = restoreFailingAt(step);
            EXPECT_FALSE(RestoreJournal::isThere()) << "step " << step;
            if (!restore.status.ok()) {
                ASSERT_EQ(storeState(), before)
                    << "step " << step << ": " << restore.status.text.toStdString();
            } else {
                ASSERT_EQ(storeState().rows.size(), 6) << "step " << step;
                if (!reached) {
                    EXPECT_GT(step, 1) << "no step was failed";
                    RecordProperty("steps", step - 1);
                    return;
                }
                takeBack(restore, before);
            }
            ASSERT_LT(step, 5000);
        }
    }

    // Puts the store back as it was `before` `restore`.
    static void takeBack(const Restore& restore, const StoreState& before)
    {
        QList<unsigned int> ids;
        for (const auto& [from, to] : restore.ids)
            ids.append(to);
        ASSERT_TRUE(MessageStore().removeAll(ids).status.ok());
        ASSERT_TRUE(writeSettings(before.settings, before.settings.value(QStringLiteral("groups"))
                                                       .toObject()
                                                       .value(tavmms::settings::kGlobalGroup)
                                                       .toObject()
                                                       .value(tavmms::settings::kBlockList)
                                                       .toString())
                        .ok());
        QString error;
        ASSERT_TRUE(replaceContacts(contactsFromJson(before.contacts), &error))
            << error.toStdString();
        ASSERT_EQ(storeState(), before);
    }

    QTemporaryDir outside; // where the backup is kept, outside every store
    std::optional<StoreDevice> device{std::in_place};
};

// The state `before` had, with each row and mail file under the new id `restore` gave it.
StoreState underNewIds(const StoreState& before, const Restore& restore)
{
    StoreState moved = before;
    moved.rows.clear();
    moved.mailFiles.clear();
    for (const auto& [from, to] : restore.ids) {
        moved.rows.insert(to, before.rows.value(from));
        if (before.mailFiles.contains(from))
            moved.mailFiles.insert(to, before.mailFiles.value(from));
    }
    return moved;
}

TEST_F(StoreRestoreTest, IntoAnEmptyStoreEverythingComesBackUnderNewIds)
{
    // The new phone has used ids already: restored messages take new ones.
    {
        MessageStore store;
        const Added first = store.receive(messageWithAttachments(QStringLiteral("Gone")));
        ASSERT_TRUE(first.status.ok());
        ASSERT_TRUE(store.remove(first.id).status.ok());
    }
    const StoreState before = backUpAFilledStore();
    ASSERT_EQ(before.rows.size(), 5);
    ASSERT_EQ(before.mailFiles.size(), 4);

    QList<qsizetype> progress;
    RestoreOptions options;
    options.progress = [&progress](qsizetype done, qsizetype total) {
        EXPECT_EQ(total, 5);
        progress.append(done);
    };
    const Restore restore = restoreStore(backupPath(), options);

    ASSERT_TRUE(restore.status.ok()) << restore.status.text.toStdString();
    EXPECT_EQ(progress, (QList<qsizetype>{1, 2, 3, 4, 5}));
    EXPECT_EQ(restore.messages, 5);
    EXPECT_EQ(restore.mailFiles, 4);
    EXPECT_EQ(restore.duplicates, 0);
    EXPECT_TRUE(restore.settingsReplaced);
    EXPECT_EQ(restore.contacts, 1);
    EXPECT_EQ(restore.blocked, QStringList{QStringLiteral("+4915550666")});
    ASSERT_EQ(restore.ids.size(), 5);
    // The new phone has given id 1 already.
    for (const auto& [from, to] : restore.ids)
        EXPECT_EQ(to, from + 1);
    const StoreState after = storeState();
    EXPECT_EQ(after.rows, underNewIds(before, restore).rows);
    EXPECT_EQ(after.mailFiles, underNewIds(before, restore).mailFiles);
    EXPECT_EQ(after.settings, before.settings);
    EXPECT_EQ(after.contacts, before.contacts);
    EXPECT_FALSE(RestoreJournal::isThere());
    const CheckReport check = checkStore({});
    ASSERT_TRUE(check.status.ok()) << check.status.text.toStdString();
    // The row kept without its mail file is all the check finds, as on the old phone.
    ASSERT_EQ(check.problems.size(), 1);
}

TEST_F(StoreRestoreTest, AThousandMessagesWithAttachmentsComeBackWhole)
{
    StoreState before;
    {
        std::optional<StoreDevice> old{std::in_place};
        fillStore(*old);
        // Syncing each of a thousand mail files would only make the test slow.
        const tavmms::SyncFunction sync = tavmms::setSyncFunction([](int) { return 0; });
        MessageStore store;
        for (int i = 0; i < 1000; ++i) {
            NewMessage message = messageWithAttachments(QStringLiteral("Message %1").arg(i));
            message.body += QByteArray(i * 7, char(i));
            message.messageId = QStringLiteral("m%1@mmsc.example").arg(i);
            ASSERT_TRUE(i % 3 ? store.receive(message).status.ok()
                              : store.compose(message, Folder::Drafts).status.ok())
                << i;
        }
        tavmms::setSyncFunction(sync);
        const Backup backup = backupStore(backupPath());
        ASSERT_TRUE(backup.status.ok()) << backup.status.text.toStdString();
        before = storeState();
    }
    device.reset();
    device.emplace();

    const Restore restore = restoreStore(backupPath());

    ASSERT_TRUE(restore.status.ok()) << restore.status.text.toStdString();
    EXPECT_EQ(restore.messages, 1005);
    const StoreState after = storeState();
    EXPECT_EQ(after.rows, underNewIds(before, restore).rows);
    EXPECT_EQ(after.mailFiles, underNewIds(before, restore).mailFiles);
    EXPECT_EQ(after.settings, before.settings);
    EXPECT_EQ(after.contacts, before.contacts);
    const CheckReport check = checkStore({});
    ASSERT_TRUE(check.status.ok()) << check.status.text.toStdString();
    EXPECT_EQ(check.problems.size(), 1); // the row kept without its mail file
}

TEST_F(StoreRestoreTest, IntoAStoreWithMessagesTheMessagesMergeAndTheSettingsStay)
{
    backUpAFilledStore();
    NewMessage own = messageWithAttachments(QStringLiteral("Mine"));
    own.messageId = QStringLiteral("mine@mmsc.example");
    ASSERT_TRUE(MessageStore().receive(own).status.ok());
    ASSERT_TRUE(tavplatform::settingsStoreService().writeText(
        tavmms::settings::kGlobalGroup, tavmms::settings::kBlockList, QStringLiteral("+4915550777"),
        false));
    const StoreState before = storeState();

    const Restore restore = restoreStore(backupPath());

    ASSERT_TRUE(restore.status.ok()) << restore.status.text.toStdString();
    EXPECT_EQ(restore.messages, 5);
    EXPECT_FALSE(restore.settingsReplaced);
    EXPECT_EQ(restore.blocked, QStringList{QStringLiteral("+4915550666")});
    const StoreState after = storeState();
    EXPECT_EQ(after.rows.size(), 6);
    EXPECT_EQ(after.contacts, before.contacts);
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QStringLiteral("+4915550777,+4915550666"));
    EXPECT_EQ(MMS_UTIL_Setting::getMMSProfiles(), QStringList());

    // The same backup again adds nothing: every message is there, by Message-ID and content.
    const Restore again = restoreStore(backupPath());
    ASSERT_TRUE(again.status.ok()) << again.status.text.toStdString();
    EXPECT_EQ(again.messages, 0);
    EXPECT_EQ(again.duplicates, 5);
    EXPECT_TRUE(again.blocked.isEmpty());
    EXPECT_EQ(storeState(), after);
}

TEST_F(StoreRestoreTest, TheSettingsAndContactsReplaceTheStoresOnlyWhenAsked)
{
    const StoreState backedUp = backUpAFilledStore();
    ASSERT_TRUE(MessageStore().receive(messageWithAttachments(QStringLiteral("Mine"))).status.ok());
    device->book.import("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Cy\r\nTEL:+4915550303\r\nEND:VCARD\r\n");
    ASSERT_TRUE(setOwner(QStringLiteral("New"), QStringLiteral("+4915550200")));

    RestoreOptions options;
    options.settings = true;
    const Restore restore = restoreStore(backupPath(), options);

    ASSERT_TRUE(restore.status.ok()) << restore.status.text.toStdString();
    EXPECT_TRUE(restore.settingsReplaced);
    const StoreState after = storeState();
    EXPECT_EQ(after.settings, backedUp.settings);
    EXPECT_EQ(after.contacts, backedUp.contacts);
    EXPECT_EQ(MMS_UTIL_Setting::getMMSProfiles(), QStringList{QStringLiteral("Work")});
}

TEST_F(StoreRestoreTest, ADryRunSaysWhatWouldChangeAndChangesNothing)
{
    backUpAFilledStore();
    const StoreState before = storeState();
    RestoreOptions options;
    options.dryRun = true;

    const Restore dry = restoreStore(backupPath(), options);

    ASSERT_TRUE(dry.status.ok()) << dry.status.text.toStdString();
    EXPECT_EQ(storeState(), before);
    EXPECT_FALSE(QFileInfo::exists(device->filePath(QStringLiteral("download"))));
    const Restore real = restoreStore(backupPath());
    ASSERT_TRUE(real.status.ok()) << real.status.text.toStdString();
    EXPECT_EQ(dry.messages, real.messages);
    EXPECT_EQ(dry.mailFiles, real.mailFiles);
    EXPECT_EQ(dry.settingsReplaced, real.settingsReplaced);
    EXPECT_EQ(dry.contacts, real.contacts);
    EXPECT_EQ(dry.blocked, real.blocked);
    EXPECT_TRUE(dry.ids.isEmpty());
}

TEST_F(StoreRestoreTest, ADamagedBackupIsRefusedAndChangesNothing)
{
    backUpAFilledStore();
    ASSERT_TRUE(MessageStore().receive(messageWithAttachments(QStringLiteral("Mine"))).status.ok());
    const StoreState before = storeState();
    QByteArray bytes = tavmms_test::readFileBytes(backupPath());
    bytes[bytes.size() / 2] = char(bytes.at(bytes.size() / 2) ^ 0x20);
    ASSERT_TRUE(tavmms_test::writeFileBytes(backupPath(), bytes));

    const Restore restore = restoreStore(backupPath());

    EXPECT_EQ(restore.status.code, ErrorCode::Invalid) << restore.status.text.toStdString();
    EXPECT_TRUE(restore.status.text.contains(backupPath())) << restore.status.text.toStdString();
    EXPECT_EQ(storeState(), before);
    EXPECT_FALSE(RestoreJournal::isThere());
}

TEST_F(StoreRestoreTest, ABackupWhoseMembersAreNotWhatABackupWritesIsRefused)
{
    backUpAFilledStore();
    const QList<tavmms_test::ArchiveMember> good = tavmms_test::readArchive(backupPath());
    const StoreState before = storeState();
    const struct {
        QString member;
        QJsonObject object;
        QString error;
    } cases[] = {
        {QStringLiteral("settings.json"), QJsonObject(),
         QStringLiteral("settings.json holds no groups")},
        {QStringLiteral("index.json"),
         [&good] {
             QJsonObject index = tavmms_test::memberJson(good, QStringLiteral("index.json"));
             QJsonArray rows = index.value(QStringLiteral("rows")).toArray();
             QJsonObject row = rows.at(1).toObject();
             row.insert(QStringLiteral("fields"), QJsonObject());
             rows.replace(1, row);
             index.insert(QStringLiteral("rows"), rows);
             return index;
         }(),
         QStringLiteral("row 2 of index.json: the field '")},
    };
    for (const auto& c : cases) {
        QList<tavmms_test::ArchiveMember> members = good;
        tavmms_test::memberNamed(members, c.member).data = tavmms_test::jsonBytes(c.object);
        tavmms_test::resum(members);
        tavmms_test::writeArchive(backupPath(), members);

        const Restore restore = restoreStore(backupPath());

        EXPECT_EQ(restore.status.code, ErrorCode::Invalid) << restore.status.text.toStdString();
        EXPECT_TRUE(restore.status.text.startsWith(
            QStringLiteral("the backup '%1' is damaged: %2").arg(backupPath(), c.error)))
            << restore.status.text.toStdString();
        EXPECT_EQ(storeState(), before);
        EXPECT_FALSE(RestoreJournal::isThere());
    }
}

TEST_F(StoreRestoreTest, AFailureOfAnyDatabaseCallLeavesTheStoreAsItWas)
{
    failEachStepInTurn([this](int step) {
        tavmms_test::FailingDatabase database(device->database.database(), step, DB_ERR_DISK_FULL);
        const tavplatform::ScopedDatabaseService installed(&database.service());
        const tavmms_test::ScopedIndexTableState state; // the table opened through the double
        const Restore restore = restoreStore(backupPath(), replacingSettings());
        return std::pair(restore, database.failed());
    });
}

TEST_F(StoreRestoreTest, AFailureOfAnySettingsWriteLeavesTheStoreAsItWas)
{
    tavplatform::SettingsStoreService& real = tavplatform::settingsStoreService();
    failEachStepInTurn([this, &real](int step) {
        tavmms_test::FailingSettingsStore settings(real, step);
        const tavplatform::ScopedSettingsStoreService installed(&settings.service());
        const Restore restore = restoreStore(backupPath(), replacingSettings());
        EXPECT_TRUE(restore.status.ok() || restore.status.code == ErrorCode::NoSpace)
            << restore.status.text.toStdString();
        return std::pair(restore, settings.failed());
    });
}

TEST_F(StoreRestoreTest, AFailureToWriteTheContactsPutsEverythingBack)
{
    backUpAFilledStore();
    ASSERT_TRUE(MessageStore().receive(messageWithAttachments(QStringLiteral("Mine"))).status.ok());
    const StoreState before = storeState();
    tavplatform::AddressBookService& real = tavplatform::addressBookService();
    ::testing::NiceMock<tavmms_test::MockAddressBook> book;
    ON_CALL(book, contacts()).WillByDefault([&real] { return real.contacts(); });
    // The restore's write fails; putting the old contacts back goes through.
    EXPECT_CALL(book, replaceContacts(::testing::_))
        .WillOnce(::testing::Return(false))
        .WillRepeatedly(
            [&real](const QList<Contact>& contacts) { return real.replaceContacts(contacts); });
    RestoreOptions options;
    options.settings = true;
    Restore restore;
    {
        const tavplatform::ScopedAddressBookService installed(&book);
        restore = restoreStore(backupPath(), options);
    }

    EXPECT_EQ(restore.status.code, ErrorCode::Failed) << restore.status.text.toStdString();
    EXPECT_EQ(storeState(), before) << restore.status.text.toStdString();
    EXPECT_FALSE(RestoreJournal::isThere());
}

tavmms_test::ChildVerdict restoreOntoAFullDisk(const QString& directory, const QString& backup)
{
    const std::string why = tavmms_test::fillASmallDisk(directory);
    if (!why.empty())
        return tavmms_test::ChildVerdict::skip(why);
    const tavmms_test::ScopedEnvironment download{"TAV_LOCAL_DOWNLOAD_PATH", directory.toUtf8()};
    const Restore restore = restoreStore(backup);
    if (restore.status.code != ErrorCode::NoSpace)
        return tavmms_test::ChildVerdict::fail("a restore onto a full disk gave " +
                                               restore.status.text.toStdString());
    if (RestoreJournal::isThere() || !MessageStore().list().rows.isEmpty() ||
        !tavmms_test::namesIn(MMS_UTIL_Common::getMailFileDir()).isEmpty())
        return tavmms_test::ChildVerdict::fail("the restore left something behind");
    return tavmms_test::ChildVerdict::pass();
}

TEST_F(StoreRestoreTest, ARestoreOntoAFullDiskLeavesNothing)
{
    backUpAFilledStore();
    const QString directory = device->filePath(QStringLiteral("full"));
    tavmms_test::ChildProcess child(
        [&](tavmms_test::ChildProcess&) { return restoreOntoAFullDisk(directory, backupPath()); });
    EXPECT_CHILD_PASSES(child, 60s);
}

// A journal as a restore leaves it once it placed the mail file of its one message: `body` under
// the id given, with the block list to become "+4915550888" (from "+4915550777").
RestoreJournal placedJournal(const QByteArray& body)
{
    RestoreJournal journal;
    EXPECT_TRUE(QDir().mkpath(RestoreJournal::directory()));
    MMS_UTIL_DBStruct_T row = tavmms_test::zeroRecord();
    std::strcpy(row.mms_fld_msguri_name, "urn:uuid:restored");
    row.cmn_fld_time_msg_reach_phone = 1700000000;
    row.cmn_fld_folder_id = 1;
    journal.messages.append(
        {row, 7, true, QCryptographicHash::hash(body, QCryptographicHash::Sha256)});
    journal.blockListBefore = QStringLiteral("+4915550777");
    journal.blockList = QStringLiteral("+4915550777,+4915550888");
    EXPECT_TRUE(journal.savePlan().ok());
    return journal;
}

class InterruptedRestoreTest : public StoreRestoreTest
{
protected:
    void SetUp() override
    {
        StoreRestoreTest::SetUp();
        ASSERT_TRUE(
            MessageStore().receive(messageWithAttachments(QStringLiteral("Kept"))).status.ok());
        // As the restore had written it, before it stopped.
        ASSERT_EQ(MMS_UTIL_Setting::setBlockList(QStringLiteral("+4915550777,+4915550888")), 0);
    }
    // The journal with its one message given `id`, as saved, and `file` under that id's name.
    void leave(RestoreJournal* journal, unsigned int id, const QByteArray& file)
    {
        journal->ids = {id};
        ASSERT_TRUE(journal->saveIds().ok());
        ASSERT_TRUE(tavmms_test::writeFileBytes(device->mailFile(id), file));
    }

    const QByteArray body = "a restored mail file";
};

TEST_F(InterruptedRestoreTest, OneThatStoppedAfterItsCommitIsCompletedByTheNextUse)
{
    ASSERT_EQ(MMS_UTIL_Setting::setBlockList(QStringLiteral("+4915550777")), 0);
    RestoreJournal journal = placedJournal(body);
    const IndexTable table;
    Transaction txn;
    ASSERT_EQ(txn.begin(), DB_OK);
    unsigned int id = 0;
    ASSERT_EQ(addRowAtFreeId(journal.messages.at(0).row, &id), DB_OK);
    ASSERT_EQ(txn.commit(), DB_OK);
    leave(&journal, id, body);

    const Listed listed = MessageStore().list();

    ASSERT_TRUE(listed.status.ok()) << listed.status.text.toStdString();
    EXPECT_EQ(listed.rows.size(), 2);
    EXPECT_EQ(tavmms_test::readFileBytes(device->mailFile(id)), body);
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QStringLiteral("+4915550777,+4915550888"));
    EXPECT_FALSE(RestoreJournal::isThere());
}

TEST_F(InterruptedRestoreTest, OneThatStoppedBeforeItsCommitIsUndoneByTheNextUse)
{
    RestoreJournal journal = placedJournal(body);
    leave(&journal, 40, body);

    const Listed listed = MessageStore().list();

    ASSERT_TRUE(listed.status.ok()) << listed.status.text.toStdString();
    EXPECT_EQ(listed.rows.size(), 1);
    EXPECT_FALSE(QFileInfo::exists(device->mailFile(40)));
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QStringLiteral("+4915550777"));
    EXPECT_FALSE(RestoreJournal::isThere());
}

// A repair would take the restore's placed mail file for one without its row: it undoes the
// restore first, and finds nothing wrong.
TEST_F(InterruptedRestoreTest, ARepairUndoesOneThatStoppedBeforeItsCommitBeforeItChecks)
{
    RestoreJournal journal = placedJournal(body);
    leave(&journal, 40, body);
    CheckOptions options;
    options.repair = true;

    const CheckReport report = checkStore(options);

    ASSERT_TRUE(report.status.ok()) << report.status.text.toStdString();
    EXPECT_TRUE(report.problems.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(device->mailFile(40)));
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QStringLiteral("+4915550777"));
    EXPECT_FALSE(RestoreJournal::isThere());
}

TEST_F(InterruptedRestoreTest, AnUndoLeavesAFileOfAnotherMessageUnderAPlannedId)
{
    RestoreJournal journal = placedJournal(body);
    leave(&journal, 40, "another message's file");

    ASSERT_TRUE(MessageStore().list().status.ok());

    EXPECT_EQ(tavmms_test::readFileBytes(device->mailFile(40)), "another message's file");
    EXPECT_FALSE(RestoreJournal::isThere());
}

TEST_F(InterruptedRestoreTest, AJournalWithoutItsPlanChangedNothingAndIsRemoved)
{
    ASSERT_TRUE(QDir().mkpath(RestoreJournal::directory()));
    ASSERT_TRUE(tavmms_test::writeFileBytes(RestoreJournal::stagedMailFile(3), body));

    ASSERT_TRUE(MessageStore().list().status.ok());

    EXPECT_FALSE(RestoreJournal::isThere());
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QStringLiteral("+4915550777,+4915550888"));
}

TEST_F(InterruptedRestoreTest, ARestoreWaitsForWhatAnotherLeftToBeCompleted)
{
    ASSERT_TRUE(QDir().mkpath(RestoreJournal::directory()));
    StoreLock other; // another program uses the store: the journal cannot be completed now
    ASSERT_TRUE(other.acquire(StoreLock::defaultPath(), StoreLock::Shared, 0ms).ok());

    const Restore restore = restoreStore(backupPath());

    EXPECT_EQ(restore.status.code, ErrorCode::Busy) << restore.status.text.toStdString();
    EXPECT_TRUE(RestoreJournal::isThere());
}

} // namespace
