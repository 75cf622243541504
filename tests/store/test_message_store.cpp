// The message store, called in-process: compose and receive make a row and the mail file named
// after it, remove takes both away, read, list, setRead and move reach what is kept. The device
// database, the settings store, the feature flags and the address book are the platform's, on
// temporary files, or doubles that answer or fail as a test needs; whatever fails, nothing
// half-made stays.

#include "message_store.h"
#include "space_reserve.h"
#include "store_lock.h"

#include <tavmmsutility.h>

#include "support/child_process.h"
#include "support/failing_database.h"
#include "support/index_table_helpers.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/mock_address_book.h"
#include "support/mock_settings_store.h"
#include "support/model_helpers.h"
#include "support/mount_namespace.h"
#include "support/pdu_helpers.h"
#include "support/scoped_environment.h"
#include "support/sql_queries.h"
#include "support/temp_database.h"
#include "support/temp_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <functional>
#include <memory>

namespace
{

using namespace std::chrono_literals;
using tavmms::store::Added;
using tavmms::store::ErrorCode;
using tavmms::store::Folder;
using tavmms::store::MessageStore;
using tavmms::store::NewMessage;
using tavmms::store::Removed;
using tavmms::store::State;
using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using ::testing::_;
using ::testing::AnyNumber;
using ::testing::DoAll;
using ::testing::NiceMock;
using ::testing::Return;
using ::testing::SetArgReferee;

const int kFilterFlag = 49; // the feature flag of the block list

MMS_UTIL_Entry phone(const QString& number)
{
    return tavmms_test::makeEntry(QStringLiteral(""), MMS_UTIL_ADDR_PLMN, number);
}

NewMessage sampleMessage();

// The sample message as it comes in from another phone.
NewMessage receivedMessage()
{
    NewMessage message = sampleMessage();
    message.from = phone(QStringLiteral("+4915550199"));
    return message;
}

// The same, as fetched from the MMSC: with its Message-ID and the URI it was fetched from.
NewMessage fetchedMessage()
{
    NewMessage message = receivedMessage();
    message.messageId = QStringLiteral("m-17@mmsc.example");
    message.uri = QStringLiteral("http://mmsc.example/get/17");
    return message;
}

NewMessage sampleMessage()
{
    NewMessage message;
    message.to = {phone(QStringLiteral("+4915550101")),
                  tavmms_test::makeEntry(QStringLiteral("Bobby"), MMS_UTIL_ADDR_EMAIL,
                                         QStringLiteral("bob@example.org"))};
    message.cc = {phone(QStringLiteral("+4915550102"))};
    message.subject = QStringLiteral("Lunch today?");
    message.body = QByteArrayLiteral("\x00\x01 encoded body \xff");
    return message;
}

// Where a store keeps what it makes: a download path and a device database of their own.
class Store
{
public:
    Store()
        : download_("TAV_LOCAL_DOWNLOAD_PATH", dir_.filePath(QStringLiteral("download")).toUtf8())
    {
    }

    bool isValid() const { return dir_.isValid() && database_.isValid(); }
    QString mailFileDir() const { return dir_.filePath(QStringLiteral("download/mms/mailfile")); }
    QString mailFile(unsigned int id) const
    {
        return mailFileDir() + QStringLiteral("/%1.mms").arg(id);
    }
    tavmms_test::TempDatabase& database() { return database_; }

    qint64 rowCount() const { return tavmms_test::rowIds(database_.path()).size(); }
    QStringList files() const { return tavmms_test::namesIn(mailFileDir()); }
    MMS_UTIL_DBStruct_T row(unsigned int id) const
    {
        return tavmms_test::readRow(database_.path(), id);
    }

    // Puts a file where the working directory should be, so that no directory can be made
    // below it.
    void blockTheWorkingDirectory() const
    {
        const QString work = QFileInfo(mailFileDir()).path();
        ASSERT_TRUE(QDir().mkpath(QFileInfo(work).path()));
        QFile blocker(work);
        ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    }

private:
    QTemporaryDir dir_;
    tavmms_test::ScopedEnvironment download_;
    tavmms_test::TempDatabase database_;
};

// A mail file loaded whole, its header and body released with it.
struct Loaded {
    int result;
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header;
    std::unique_ptr<unsigned char[]> body;
    QByteArray bodyBytes() const
    {
        return QByteArray(reinterpret_cast<const char*>(body.get()), qsizetype(length));
    }
    unsigned int length;
};

Loaded load(const QString& path)
{
    MMS_UTIL_MailFile file(path);
    const int result = file.loadMailFile();
    return {result, std::unique_ptr<MMS_UTIL_MsgHeaderBase>(file.header),
            std::unique_ptr<unsigned char[]>(file.body), file.bodyLength};
}

// The status holds one line that says what failed.
void expectOneLineError(const tavmms::store::Status& status, ErrorCode code = ErrorCode::Failed)
{
    EXPECT_EQ(status.code, code);
    EXPECT_FALSE(status.text.isEmpty());
    EXPECT_FALSE(status.text.contains(QLatin1Char('\n'))) << status.text.toStdString();
}

class MessageStoreTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(platformDir.isValid());
        ASSERT_TRUE(store.isValid());
        ASSERT_TRUE(settings.isValid());
    }

    // Nothing of a failed add stays: no row, no file, no open write transaction.
    void expectNothingStays()
    {
        EXPECT_EQ(store.rowCount(), 0);
        EXPECT_EQ(store.files(), QStringList());
        EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
    }

    // Runs `operation` with the settings store reading as ever but saying it could not be read,
    // for `why`.
    Added withUnreadableSettings(const QString& why, const std::function<Added()>& operation)
    {
        NiceMock<tavmms_test::MockSettingsStore> failing;
        tavmms_test::delegateTo(failing, settings.store());
        EXPECT_CALL(failing, readError()).WillRepeatedly(Return(why));
        const tavplatform::ScopedSettingsStoreService installed(&failing);
        return operation();
    }

    // The platform's data stays in temporary directories whatever a test reaches.
    QTemporaryDir platformDir;
    tavmms_test::ScopedEnvironment platform{"TAV_PLATFORM_DIR", platformDir.path().toUtf8()};
    tavmms_test::ScopedIndexTableState indexState;
    Store store;
    tavmms_test::TempSettingsStore settings;
    NiceMock<tavmms_test::MockAddressBook> addressBook;
    tavplatform::ScopedAddressBookService installedBook{&addressBook};
    MessageStore messages;
};

// ---- compose ----

TEST_F(MessageStoreTest, ComposeStoresTheRowAndTheMailFileNamedAfterIt)
{
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    const Added outcome = messages.compose(sampleMessage());
    const qint64 after = QDateTime::currentSecsSinceEpoch();

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_TRUE(outcome.status.text.isEmpty());
    EXPECT_EQ(outcome.mailFile, MMS_UTIL_Common::msgDBIDToMailFileName(outcome.id));
    EXPECT_EQ(outcome.mailFile, store.mailFile(outcome.id));
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(outcome.id)});
    EXPECT_EQ(store.rowCount(), 1);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);

    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_from_name), QString());
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_to_name),
              QStringLiteral("+4915550101, Bobby, +4915550102"));
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_subject), QStringLiteral("Lunch today?"));
    EXPECT_GE(qint64(row.cmn_fld_time), before);
    EXPECT_LE(qint64(row.cmn_fld_time), after);
    EXPECT_GE(qint64(row.cmn_fld_time_msg_reach_phone), before);
    EXPECT_LE(qint64(row.cmn_fld_time_msg_reach_phone), after);
    EXPECT_EQ(row.cmn_fld_folder_id, unsigned(Folder::Outbox));
    EXPECT_EQ(row.cmn_fld_send_receive_state, unsigned(State::ToSend));
    EXPECT_EQ(row.cmn_fld_msg_attr_read, 1);
    EXPECT_EQ(row.cmn_fld_priority, 129);
    EXPECT_EQ(row.cmn_fld_mms_type, MMS_UTIL_Common::MSG_TYPE_MIXED);
    EXPECT_EQ(row.mms_fld_contenttype_name, 0x23); // application/vnd.wap.multipart.mixed
    EXPECT_EQ(row.mms_fld_msgsize_name, 17u);
    EXPECT_EQ(row.mms_fld_expiretime_name, 65535u);
    EXPECT_EQ(row.mms_fld_deliveryreport_name, 0);
    EXPECT_EQ(row.mms_fld_readreplyreport_name, 0);
    EXPECT_TRUE(tavmms_test::text8(row.mms_fld_msguri_name).startsWith("urn:uuid:"))
        << row.mms_fld_msguri_name;
    EXPECT_EQ(tavmms_test::text8(row.mms_fld_msguri_name).size(), 45);

    const Loaded mail = load(outcome.mailFile);
    ASSERT_EQ(mail.result, MMS_UTIL_MAILFILE_OK);
    EXPECT_EQ(mail.bodyBytes(), sampleMessage().body);
    EXPECT_EQ(MMS_UTIL_Common::entryListToString(mail.header->toList),
              QStringLiteral("<>[PLMN]+4915550101,<Bobby>[EMAIL]bob@example.org,"));
    EXPECT_EQ(MMS_UTIL_Common::entryListToString(mail.header->ccList),
              QStringLiteral("<>[PLMN]+4915550102,"));
    EXPECT_EQ(mail.header->bccList.count(), 0u);
    EXPECT_EQ(mail.header->subject, QStringLiteral("Lunch today?"));
    EXPECT_EQ(MMS_UTIL_Common::contentTypeToString(mail.header->contentType),
              QStringLiteral("application/vnd.wap.multipart.mixed "));
    EXPECT_EQ(mail.header->sendDate.toSecsSinceEpoch(), qint64(row.cmn_fld_time));
    EXPECT_EQ(mail.header->messageSize, 17u);
}

TEST_F(MessageStoreTest, ComposeGivesEachMessageARowAndAFileOfItsOwn)
{
    const Added first = messages.compose(sampleMessage());
    const Added second = messages.compose(sampleMessage());

    ASSERT_TRUE(first.status.ok());
    ASSERT_TRUE(second.status.ok());
    EXPECT_NE(first.id, second.id);
    EXPECT_EQ(store.rowCount(), 2);
    EXPECT_EQ(store.files().size(), 2);
    EXPECT_NE(tavmms_test::text8(store.row(first.id).mms_fld_msguri_name),
              tavmms_test::text8(store.row(second.id).mms_fld_msguri_name));
}

TEST_F(MessageStoreTest, ComposeTakesTheStoredSendingOptions)
{
    ASSERT_EQ(MMS_UTIL_Setting::setSendingOption(true, true, 300, 130), 0);

    const Added outcome = messages.compose(sampleMessage());

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(row.mms_fld_deliveryreport_name, 1);
    EXPECT_EQ(row.mms_fld_readreplyreport_name, 1);
    EXPECT_EQ(row.mms_fld_expiretime_name, 300u);
    EXPECT_EQ(row.cmn_fld_priority, 130);
    const Loaded mail = load(outcome.mailFile);
    ASSERT_EQ(mail.result, MMS_UTIL_MAILFILE_OK);
    EXPECT_TRUE(mail.header->deliveryReport);
    EXPECT_TRUE(mail.header->readReplyReport);
    EXPECT_EQ(mail.header->expiry, 300u);
    EXPECT_EQ(mail.header->priority, 130);
}

TEST_F(MessageStoreTest, ComposeShowsTheSenderAsTheSenderVisibilitySettingSays)
{
    for (const int setting : {0, 1, 7}) {
        SCOPED_TRACE(setting);
        ASSERT_EQ(MMS_UTIL_Setting::setSenderVisibility(setting), 0);

        const Added outcome = messages.compose(sampleMessage());

        ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
        EXPECT_EQ(store.row(outcome.id).mms_fld_sendervisibility_name, setting != 0 ? 1u : 0u);
        const Loaded mail = load(outcome.mailFile);
        ASSERT_EQ(mail.result, MMS_UTIL_MAILFILE_OK);
        EXPECT_EQ(mail.header->senderVisibility, setting != 0);
    }
}

TEST_F(MessageStoreTest, ComposeTakesTheDefaultsOfSendingOptionsTheStoreDoesNotHold)
{
    ASSERT_EQ(MMS_UTIL_Setting::setSendingOption(true, true, 300, 130), 0);
    NiceMock<tavmms_test::MockSettingsStore> failing;
    tavmms_test::delegateTo(failing, settings.store());
    EXPECT_CALL(failing, readBool(_, _, _, _)).WillRepeatedly(Return(false));
    EXPECT_CALL(failing, readUInt(_, _, _, _)).WillRepeatedly(Return(false));
    EXPECT_CALL(failing, readInt(_, _, _, _)).WillRepeatedly(Return(false));
    const tavplatform::ScopedSettingsStoreService installed(&failing);

    const Added outcome = messages.compose(sampleMessage());

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(row.mms_fld_deliveryreport_name, 0);
    EXPECT_EQ(row.mms_fld_expiretime_name, 65535u);
    EXPECT_EQ(row.cmn_fld_priority, 129);
}

TEST_F(MessageStoreTest, ComposeNamesTheOwnerAndTheRecipientsWithoutANameFromTheAddressBook)
{
    EXPECT_CALL(addressBook, getOwnerNumber(_, _))
        .WillRepeatedly(DoAll(SetArgReferee<0>(QStringLiteral("Me")),
                              SetArgReferee<1>(QStringLiteral("+4915550100")), Return(true)));
    EXPECT_CALL(addressBook, singleSearch(_, QStringLiteral("+4915550101"), _, _, _))
        .WillOnce(tavmms_test::answerSearch(0, QStringLiteral("Ann"), QStringLiteral("Mobile")));
    EXPECT_CALL(addressBook, singleSearch(_, QStringLiteral("+4915550102"), _, _, _))
        .WillOnce(tavmms_test::answerSearch(1, QString(), QString()));
    // Bobby has a name of his own, and the owner's name comes with the owner.
    EXPECT_CALL(addressBook, singleSearch(_, QStringLiteral("bob@example.org"), _, _, _)).Times(0);
    EXPECT_CALL(addressBook, singleSearch(_, QStringLiteral("+4915550100"), _, _, _)).Times(0);

    const Added outcome = messages.compose(sampleMessage());

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_from_name), QStringLiteral("Me"));
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_to_name), QStringLiteral("Ann, Bobby, +4915550102"));
    const Loaded mail = load(outcome.mailFile);
    ASSERT_EQ(mail.result, MMS_UTIL_MAILFILE_OK);
    EXPECT_EQ(MMS_UTIL_Common::entryToString(mail.header->from),
              QStringLiteral("<Me>[PLMN]+4915550100"));
    EXPECT_EQ(MMS_UTIL_Common::entryListToString(mail.header->toList),
              QStringLiteral("<Ann>[PLMN]+4915550101,<Bobby>[EMAIL]bob@example.org,"));
}

TEST_F(MessageStoreTest, ComposeCutsTheRowsTextsToTheirFieldsAndKeepsThemWholeInTheMailFile)
{
    NewMessage message = sampleMessage();
    message.subject = QString(30, QChar(u'a')) + QString(20, QChar(u'\u00e9'));

    const Added outcome = messages.compose(message);

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_EQ(tavmms_test::text16(store.row(outcome.id).cmn_fld_subject), message.subject.left(39));
    const Loaded mail = load(outcome.mailFile);
    ASSERT_EQ(mail.result, MMS_UTIL_MAILFILE_OK);
    EXPECT_EQ(mail.header->subject, message.subject);
}

TEST_F(MessageStoreTest, ComposeKeepsTheGivenContentType)
{
    NewMessage message = sampleMessage();
    message.contentType = {QStringLiteral("application"),
                           QStringLiteral("vnd.wap.multipart.related"),
                           QStringLiteral("type=application/smil;start=<p1>")};

    const Added outcome = messages.compose(message);

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(row.mms_fld_contenttype_name, 0x33);
    EXPECT_EQ(row.cmn_fld_mms_type, MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
}

TEST_F(MessageStoreTest, ComposeIntoTheDraftsKeepsADraft)
{
    const Added outcome = messages.compose(sampleMessage(), Folder::Drafts);

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(row.cmn_fld_folder_id, unsigned(Folder::Drafts));
    EXPECT_EQ(row.cmn_fld_send_receive_state, unsigned(State::Draft));
    EXPECT_EQ(row.cmn_fld_msg_attr_read, 1);
}

TEST_F(MessageStoreTest, ComposeIntoAFolderOtherThanOutboxOrDraftsIsRefused)
{
    for (const Folder folder : {Folder::Inbox, Folder::Sent, Folder(7)}) {
        const Added outcome = messages.compose(sampleMessage(), folder);

        expectOneLineError(outcome.status, ErrorCode::Invalid);
        EXPECT_EQ(outcome.status.text,
                  QStringLiteral("a composed message goes to the outbox or the drafts, not to "
                                 "folder %1")
                      .arg(unsigned(folder)));
    }
    expectNothingStays();
}

TEST_F(MessageStoreTest, ComposeWhoseHeaderDoesNotReadBackKeepsNothing)
{
    // A subject line that begins with a key is read back as that key's line.
    NewMessage message = sampleMessage();
    message.subject = QStringLiteral("Plans\nTo: everyone");

    const Added outcome = messages.compose(message);

    expectOneLineError(outcome.status);
    EXPECT_EQ(outcome.status.text,
              QStringLiteral("the mail file '%1' reads back a different To: line; nothing was kept")
                  .arg(store.mailFile(1)));
    expectNothingStays();
}

TEST_F(MessageStoreTest, ComposeWithoutAMailFileDirectoryKeepsNothing)
{
    ASSERT_NO_FATAL_FAILURE(store.blockTheWorkingDirectory());

    const Added outcome = messages.compose(sampleMessage());

    expectOneLineError(outcome.status);
    EXPECT_EQ(outcome.status.text,
              QStringLiteral("cannot create the mail file directory '%1/': Not a directory")
                  .arg(store.mailFileDir()));
    EXPECT_EQ(store.rowCount(), 0);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

// Runs `operation` once for every database call it makes, with that call failing, each time on a
// store of its own; checks that it either completes or leaves nothing, and says why in one line.
// Gives the number of calls of a run without failure.
int failEachDatabaseCallInTurn(const std::function<Added(MessageStore&)>& operation)
{
    for (int failing = 1;; ++failing) {
        SCOPED_TRACE(failing);
        Store store;
        EXPECT_TRUE(store.isValid());
        const tavmms_test::ScopedIndexTableState state;
        tavmms_test::FailingDatabase database(store.database().database(), failing, DB_ERR_IO);
        const tavplatform::ScopedDatabaseService installed(&database.service());
        MessageStore messages;

        const Added outcome = operation(messages);

        if (!database.failed()) {
            EXPECT_TRUE(outcome.status.ok());
            return database.calls();
        }
        EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
        if (outcome.status.ok()) {
            // A failure the library passes over (a table found missing and made, a table that
            // does not close) leaves the whole message.
            EXPECT_EQ(store.rowCount(), 1);
            EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(outcome.id)});
            continue;
        }
        expectOneLineError(outcome.status);
        EXPECT_TRUE(outcome.status.text.contains(QStringLiteral("(DB_ERR_")))
            << outcome.status.text.toStdString();
        EXPECT_EQ(store.rowCount(), 0);
        EXPECT_EQ(store.files(), QStringList());
    }
}

TEST_F(MessageStoreTest, ComposeFailingAtAnyDatabaseCallKeepsNothing)
{
    const int calls = failEachDatabaseCallInTurn(
        [](MessageStore& messages) { return messages.compose(sampleMessage()); });
    // Opening (and making) the table 6, the add's transaction 1, adding the row 4 and merging it
    // 1, committing 1, closing the table 1.
    EXPECT_EQ(calls, 14);
}

TEST_F(MessageStoreTest, ReceiveFailingAtAnyDatabaseCallKeepsNothing)
{
    const NewMessage message = fetchedMessage();
    const int calls = failEachDatabaseCallInTurn(
        [&](MessageStore& messages) { return messages.receive(message); });
    // As compose, and a search by URI and one by Message-ID of 15 calls each, which find the row
    // just added, read it and go on to the next.
    EXPECT_EQ(calls, 44);
}

// On a small file system of its own, filled up, over the mail file directory: the mail file
// cannot be written, and neither it, nor its temporary file, nor the row stays.
ChildVerdict composeOnAFullDisk(Store& store)
{
    if (const std::string why = tavmms_test::fillASmallDisk(store.mailFileDir()); !why.empty())
        return ChildVerdict::skip(why);
    const Added outcome = MessageStore().compose(sampleMessage());

    const QString expected = QStringLiteral("cannot write the mail file '%1': no space left on "
                                            "device; nothing was kept")
                                 .arg(store.mailFile(1));
    if (outcome.status.code != ErrorCode::NoSpace || outcome.status.text != expected)
        return ChildVerdict::fail("compose on a full disk gave " +
                                  outcome.status.text.toStdString());
    if (store.rowCount() != 0)
        return ChildVerdict::fail("a row stayed");
    if (store.files() != QStringList{QStringLiteral("filler")})
        return ChildVerdict::fail("files stayed: " +
                                  store.files().join(QLatin1Char(' ')).toStdString());
    return ChildVerdict::pass();
}

TEST_F(MessageStoreTest, ComposeOnAFullDiskKeepsNothing)
{
    ChildProcess child([&](ChildProcess&) { return composeOnAFullDisk(store); });
    EXPECT_CHILD_PASSES(child, 60s);
}

// On a small file system of its own holding the whole store (the index with its log, the mail
// files and the room kept back for deletes), filled up once two messages are kept: committing a
// row's removal needs room in the index's log, which the delete takes from the room kept back.
ChildVerdict deleteOnAFullDisk(const QString& directory)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace for a small file system: " + why);
    if (const std::string why = tavmms_test::mountSmallTmpfs(directory, 1024); !why.empty())
        return ChildVerdict::skip("no small file system to fill: " + why);
    const QString platform = directory + QStringLiteral("/platform");
    const tavmms_test::ScopedEnvironment platformDir("TAV_PLATFORM_DIR", platform.toUtf8());
    const tavmms_test::ScopedEnvironment download(
        "TAV_LOCAL_DOWNLOAD_PATH", (directory + QStringLiteral("/download")).toUtf8());
    QDir().mkpath(platform);
    const QString index = platform + QStringLiteral("/device.db");
    const QString reserve = platform + QStringLiteral("/messages.reserve");
    const tavmms_test::InstalledDatabase database(index);
    MessageStore messages;
    const Added kept = messages.compose(sampleMessage());
    const Added deleted = messages.compose(sampleMessage());
    if (!kept.status.ok() || !deleted.status.ok())
        return ChildVerdict::fail("the messages were not kept before the disk filled");
    if (QFileInfo(reserve).size() != tavmms::store::kReserveSize)
        return ChildVerdict::fail("no room was kept back for deletes");
    if (const std::string why = tavmms_test::fillDisk(directory); !why.empty())
        return ChildVerdict::fail(why);

    const Removed outcome = messages.remove(deleted.id);

    if (!outcome.status.ok())
        return ChildVerdict::fail("the delete failed: " + outcome.status.text.toStdString());
    if (tavmms_test::rowIds(index) != QList<QByteArray>{QByteArray::number(kept.id)})
        return ChildVerdict::fail("the rows are not those of the message kept");
    if (tavmms_test::namesIn(QFileInfo(kept.mailFile).path()) !=
        QStringList{QFileInfo(kept.mailFile).fileName()})
        return ChildVerdict::fail("the mail files are not those of the message kept");
    // The room the delete freed is less than the room kept back.
    if (QFileInfo::exists(reserve))
        return ChildVerdict::fail("the room kept back was not what the delete took");
    QFile::remove(directory + QStringLiteral("/filler"));
    if (!messages.compose(sampleMessage()).status.ok() ||
        QFileInfo(reserve).size() != tavmms::store::kReserveSize)
        return ChildVerdict::fail("the room was not kept back again once there was enough");
    return ChildVerdict::pass();
}

TEST_F(MessageStoreTest, RemoveOnAFullDiskTakesTheRoomKeptBackForDeletes)
{
    QTemporaryDir disk;
    ASSERT_TRUE(disk.isValid());
    ChildProcess child([&](ChildProcess&) { return deleteOnAFullDisk(disk.path()); });
    EXPECT_CHILD_PASSES(child, 60s);
}

// The call of a delete that commits the removal of the row (see
// RemoveFailingAtAnyDatabaseCallKeepsTheWholeMessage).
const int kRemovalCommit = 11;

TEST_F(MessageStoreTest, RemoveRefusedForSpaceIsMadeAgainWithTheRoomKeptBack)
{
    const Added composed = messages.compose(sampleMessage());
    ASSERT_TRUE(composed.status.ok());
    ASSERT_TRUE(QFileInfo::exists(tavmms::store::reservePath()));
    tavmms_test::FailingDatabase database(store.database().database(), kRemovalCommit,
                                          DB_ERR_DISK_FULL);
    const tavplatform::ScopedDatabaseService installed(&database.service());

    const Removed outcome = messages.remove(composed.id);

    EXPECT_TRUE(database.failed());
    EXPECT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_EQ(store.rowCount(), 0);
    EXPECT_EQ(store.files(), QStringList());
}

TEST_F(MessageStoreTest, RemoveRefusedForSpaceWithNoRoomKeptBackLeavesTheMessageWhole)
{
    const Added composed = messages.compose(sampleMessage());
    ASSERT_TRUE(composed.status.ok());
    ASSERT_TRUE(QFile::remove(tavmms::store::reservePath()));
    tavmms_test::FailingDatabase database(store.database().database(), kRemovalCommit,
                                          DB_ERR_DISK_FULL);
    const tavplatform::ScopedDatabaseService installed(&database.service());

    const Removed outcome = messages.remove(composed.id);

    EXPECT_EQ(outcome.status.code, ErrorCode::NoSpace);
    EXPECT_EQ(outcome.status.text,
              QStringLiteral("cannot delete message %1: no space left on device "
                             "(DB_ERR_DISK_FULL)")
                  .arg(composed.id));
    EXPECT_EQ(store.rowCount(), 1);
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(composed.id)});
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

// ---- receive ----

TEST_F(MessageStoreTest, ReceiveFilesTheMessageInTheInboxWithTheSendersContactName)
{
    EXPECT_CALL(addressBook, singleSearch(_, _, _, _, _)).Times(AnyNumber());
    EXPECT_CALL(addressBook, singleSearch(_, QStringLiteral("+4915550199"), _, _, _))
        .WillRepeatedly(
            tavmms_test::answerSearch(0, QStringLiteral("Carla"), QStringLiteral("Work")));
    NewMessage message = fetchedMessage();

    const Added outcome = messages.receive(message);

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_from_name), QStringLiteral("Carla"));
    EXPECT_EQ(row.cmn_fld_folder_id, unsigned(Folder::Inbox));
    EXPECT_EQ(row.cmn_fld_send_receive_state, unsigned(State::Received));
    EXPECT_EQ(row.cmn_fld_msg_attr_read, 0);
    EXPECT_EQ(tavmms_test::text8(row.mms_fld_msgid_name), "m-17@mmsc.example");
    EXPECT_EQ(tavmms_test::text8(row.mms_fld_msguri_name), "http://mmsc.example/get/17");
    const Loaded mail = load(outcome.mailFile);
    ASSERT_EQ(mail.result, MMS_UTIL_MAILFILE_OK);
    EXPECT_EQ(MMS_UTIL_Common::entryToString(mail.header->from),
              QStringLiteral("<Carla>[PLMN]+4915550199"));
    EXPECT_EQ(mail.header->messageId, QStringLiteral("m-17@mmsc.example"));
    EXPECT_EQ(mail.bodyBytes(), message.body);
}

TEST_F(MessageStoreTest, ReceiveAddressesTheOwnerWhenNoRecipientIsGiven)
{
    EXPECT_CALL(addressBook, getOwnerNumber(_, _))
        .WillRepeatedly(DoAll(SetArgReferee<0>(QStringLiteral("Me")),
                              SetArgReferee<1>(QStringLiteral("+4915550100")), Return(true)));
    NewMessage message = receivedMessage();
    message.to.clear();
    message.cc.clear();

    const Added outcome = messages.receive(message);

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_EQ(tavmms_test::text16(store.row(outcome.id).cmn_fld_to_name), QStringLiteral("Me"));
}

TEST_F(MessageStoreTest, ReceiveRefusesABlockedSenderAndWritesNothing)
{
    ASSERT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("15550199")), 0);
    NewMessage message = receivedMessage();

    const Added outcome = messages.receive(message);

    EXPECT_EQ(outcome.status.code, ErrorCode::Blocked);
    EXPECT_EQ(outcome.status.text,
              QStringLiteral("'+4915550199' is on the block list; the message was refused"));
    expectNothingStays();
    EXPECT_FALSE(QFileInfo::exists(store.mailFileDir()));
}

TEST_F(MessageStoreTest, ReceiveRefusesTheMessageWhenTheSettingsStoreCannotBeRead)
{
    const QString why = QStringLiteral("the settings store '/p/settings.db' cannot be read: "
                                       "input/output error");

    const Added outcome =
        withUnreadableSettings(why, [&] { return messages.receive(receivedMessage()); });

    EXPECT_EQ(outcome.status.code, ErrorCode::Failed);
    EXPECT_EQ(outcome.status.text, why + QStringLiteral("; the message was refused"));
    expectNothingStays();
}

TEST_F(MessageStoreTest, ReceiveOfABlockedSendersMessageIsRefusedNamingADamagedSettingsFile)
{
    ASSERT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("15550199")), 0);
    settings.reopen();
    ASSERT_TRUE(tavmms_test::replaceWithNonDatabase(settings.path()));

    const Added outcome = messages.receive(receivedMessage());

    EXPECT_EQ(outcome.status.code, ErrorCode::Failed);
    EXPECT_EQ(outcome.status.text,
              QStringLiteral("the settings store '%1' is damaged: it is not a database, or a "
                             "corrupt one; the message was refused")
                  .arg(settings.path()));
    expectNothingStays();
}

TEST_F(MessageStoreTest, ComposeKeepsNothingWhenTheSettingsStoreCannotBeRead)
{
    const QString why = QStringLiteral("the settings store '/p/settings.db' is damaged: it is "
                                       "not a database, or a corrupt one");

    const Added outcome =
        withUnreadableSettings(why, [&] { return messages.compose(sampleMessage()); });

    EXPECT_EQ(outcome.status.code, ErrorCode::Failed);
    EXPECT_EQ(outcome.status.text, why + QStringLiteral("; the message was not kept"));
    expectNothingStays();
}

TEST_F(MessageStoreTest, ReceiveTakesTheDefaultsWhenThereIsNoSettingsFile)
{
    ASSERT_FALSE(QFileInfo::exists(settings.path()));
    tavplatform::SqliteSettingsStore unmakeable(settings.directory() +
                                                QStringLiteral("/missing/settings.db"));
    const tavplatform::ScopedSettingsStoreService installed(&unmakeable);

    const Added outcome = messages.receive(receivedMessage());

    EXPECT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_EQ(store.rowCount(), 1);
}

TEST_F(MessageStoreTest, ReceiveFilesABlockedSendersMessageWhenTheBlockListIsOff)
{
    ASSERT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("15550199")), 0);
    NiceMock<tavmms_test::MockFeatureFlags> flags;
    EXPECT_CALL(flags, getFlexBit(kFilterFlag, _))
        .WillRepeatedly(DoAll(SetArgReferee<1>(false), Return(true)));
    const tavplatform::ScopedFeatureFlagService installed(&flags);
    NewMessage message = receivedMessage();

    const Added outcome = messages.receive(message);

    EXPECT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_EQ(store.rowCount(), 1);
}

// ---- remove ----

TEST_F(MessageStoreTest, RemoveDeletesTheRowAndItsMailFile)
{
    const Added kept = messages.compose(sampleMessage());
    const Added composed = messages.compose(sampleMessage());
    ASSERT_TRUE(composed.status.ok());

    const Removed outcome = messages.remove(composed.id);

    EXPECT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_FALSE(outcome.mailFileWasMissing);
    EXPECT_EQ(outcome.mailFile, composed.mailFile);
    EXPECT_EQ(store.rowCount(), 1);
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(kept.id)});
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, RemoveOfAnUnknownIdChangesNothing)
{
    const Added composed = messages.compose(sampleMessage());
    ASSERT_TRUE(composed.status.ok());

    const Removed outcome = messages.remove(composed.id + 1);

    EXPECT_EQ(outcome.status.code, ErrorCode::NotFound);
    EXPECT_EQ(outcome.status.text, QStringLiteral("no message %1").arg(composed.id + 1));
    EXPECT_EQ(store.rowCount(), 1);
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(composed.id)});
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, RemoveDeletesARowWhoseMailFileIsMissing)
{
    const Added composed = messages.compose(sampleMessage());
    ASSERT_TRUE(QFile::remove(composed.mailFile));

    const Removed outcome = messages.remove(composed.id);

    EXPECT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_TRUE(outcome.mailFileWasMissing);
    EXPECT_EQ(store.rowCount(), 0);
}

TEST_F(MessageStoreTest, RemoveAlsoRemovesTheLeftoverOfAnInterruptedSave)
{
    const Added composed = messages.compose(sampleMessage());
    QFile leftover(composed.mailFile + QStringLiteral(".tmp"));
    ASSERT_TRUE(leftover.open(QIODevice::WriteOnly));
    leftover.close();

    EXPECT_TRUE(messages.remove(composed.id).status.ok());

    EXPECT_EQ(store.files(), QStringList());
}

TEST_F(MessageStoreTest, RemoveKeepsTheRowWhenTheMailFileCannotBeRemoved)
{
    const Added composed = messages.compose(sampleMessage());
    // A directory that is not empty cannot be removed as a file.
    ASSERT_TRUE(QFile::remove(composed.mailFile));
    ASSERT_TRUE(QDir().mkpath(composed.mailFile + QStringLiteral("/inside")));

    const Removed outcome = messages.remove(composed.id);

    expectOneLineError(outcome.status);
    EXPECT_TRUE(
        outcome.status.text.startsWith(QStringLiteral("cannot delete message %1: '%2' stays: ")
                                           .arg(composed.id)
                                           .arg(composed.mailFile)))
        << outcome.status.text.toStdString();
    EXPECT_EQ(store.rowCount(), 1);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, RemoveFailingAtAnyDatabaseCallKeepsTheWholeMessage)
{
    for (int failing = 1;; ++failing) {
        SCOPED_TRACE(failing);
        Store each;
        ASSERT_TRUE(each.isValid());
        const tavmms_test::ScopedIndexTableState state;
        MessageStore messages;
        const Added composed = messages.compose(sampleMessage());
        ASSERT_TRUE(composed.status.ok());
        tavmms_test::FailingDatabase database(each.database().database(), failing, DB_ERR_IO);
        const tavplatform::ScopedDatabaseService installed(&database.service());

        const Removed outcome = messages.remove(composed.id);

        EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
        if (!database.failed()) {
            EXPECT_TRUE(outcome.status.ok());
            // Opening the table 4, the delete's transaction 1, deleting the row 4 and merging it
            // 1, committing 1, closing the table 1.
            EXPECT_EQ(database.calls(), 12);
            break;
        }
        if (outcome.status.ok()) {
            EXPECT_EQ(each.rowCount(), 0);
            EXPECT_EQ(each.files(), QStringList());
            continue;
        }
        // The mail file is set aside only until the row's deletion is committed: a failure at
        // any step puts it back.
        expectOneLineError(outcome.status);
        EXPECT_EQ(each.rowCount(), 1);
        EXPECT_EQ(each.files(), QStringList{QStringLiteral("%1.mms").arg(composed.id)});
    }
}

// ---- size limits ----

TEST_F(MessageStoreTest, ComposeKeepsABodyUpToMaxMoSizeInKBAndRefusesOneByteMore)
{
    ASSERT_EQ(MMS_UTIL_Setting::setMaxiumMOMMSSize(2), 0);
    NewMessage message = sampleMessage();
    message.body = QByteArray(2048, 'x');
    ASSERT_TRUE(messages.compose(message).status.ok());

    message.body.append('x');
    const Added outcome = messages.compose(message);

    EXPECT_EQ(outcome.status.code, ErrorCode::TooLarge);
    EXPECT_EQ(outcome.status.text, QStringLiteral("the body of 2049 bytes is over the limit of 2 "
                                                  "KB (max-mo-size); the message was not kept"));
    EXPECT_EQ(store.rowCount(), 1);
    EXPECT_EQ(store.files().size(), 1);
    EXPECT_EQ(MessageStore::composeLimit().bytes, 2048);
}

TEST_F(MessageStoreTest, AFreshStoreLimitsComposedBodiesTo50AndReceivedOnesTo100KB)
{
    EXPECT_EQ(MessageStore::composeLimit().bytes, 50 * 1024);
    EXPECT_EQ(MessageStore::receiveLimit().bytes, 100 * 1024);
    EXPECT_EQ(MessageStore::receiveLimit().text,
              QStringLiteral("the limit of 100 KB (max-mt-size)"));
}

TEST_F(MessageStoreTest, AStoredZeroMeansNoLimitButTheStoresOwn)
{
    ASSERT_EQ(MMS_UTIL_Setting::setMaxiumMOMMSSize(0), 0);
    ASSERT_EQ(MMS_UTIL_Setting::setMaxiumMTMMSSize(0), 0);

    EXPECT_EQ(MessageStore::composeLimit().bytes, MessageStore::kLargestBody);
    EXPECT_EQ(MessageStore::receiveLimit().bytes, MessageStore::kLargestBody);
    EXPECT_EQ(MessageStore::composeLimit().text,
              QStringLiteral("the store's limit of 104857600 bytes"));
    NewMessage message = sampleMessage();
    message.body = QByteArray(200 * 1024, 'x');
    EXPECT_TRUE(messages.compose(message).status.ok());
}

TEST_F(MessageStoreTest, ReceiveAppliesMaxMtSizeOnlyWhileTheMtSizeLimitIsOn)
{
    ASSERT_EQ(MMS_UTIL_Setting::setMaxiumMTMMSSize(1), 0);
    NewMessage message = receivedMessage();
    message.body = QByteArray(1025, 'x');

    const Added refused = messages.receive(message);
    ASSERT_EQ(MMS_UTIL_Setting::setMTSizeLimitationState(0), 0);
    const Added kept = messages.receive(message);

    EXPECT_EQ(refused.status.code, ErrorCode::TooLarge);
    EXPECT_EQ(refused.status.text, QStringLiteral("the body of 1025 bytes is over the limit of 1 "
                                                  "KB (max-mt-size); the message was not kept"));
    EXPECT_TRUE(kept.status.ok()) << kept.status.text.toStdString();
    EXPECT_EQ(MessageStore::receiveLimit().bytes, MessageStore::kLargestBody);
    EXPECT_EQ(store.rowCount(), 1);
}

TEST_F(MessageStoreTest, WriteMailFileRefusesABodyOverTheStoresLimit)
{
    const Added kept = messages.compose(sampleMessage());
    MMS_UTIL_MsgHeaderBase header;

    const Added written = messages.writeMailFile(
        kept.id, header, QByteArray(int(MessageStore::kLargestBody) + 1, 'x'), true);

    EXPECT_EQ(written.status.code, ErrorCode::TooLarge);
    EXPECT_EQ(messages.read(kept.id).body, sampleMessage().body);
}

// ---- names the header cannot carry ----

TEST_F(MessageStoreTest, ComposeDropsFromANameWhatTheHeaderCannotCarry)
{
    EXPECT_CALL(addressBook, singleSearch(_, _, _, _, _)).Times(AnyNumber());
    EXPECT_CALL(addressBook, singleSearch(_, QStringLiteral("+4915550101"), _, _, _))
        .WillRepeatedly(tavmms_test::answerSearch(
            0, QStringLiteral("Doe, Jane <CEO> [HQ]\nSecond\tline\u2028end\u0001"),
            QStringLiteral("Mobile")));
    NewMessage message = sampleMessage();
    message.from = tavmms_test::makeEntry(QStringLiteral("Me, myself"), MMS_UTIL_ADDR_PLMN,
                                          QStringLiteral("+4915550100"));

    const Added outcome = messages.compose(message);

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const QString carried = QStringLiteral("Doe Jane CEO HQSecondlineend");
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_from_name), QStringLiteral("Me myself"));
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_to_name).left(carried.size()), carried);
    const Loaded mail = load(outcome.mailFile);
    ASSERT_EQ(mail.result, MMS_UTIL_MAILFILE_OK);
    EXPECT_EQ(mail.header->from.name, QStringLiteral("Me myself"));
    ASSERT_GE(mail.header->toList.count(), 1u);
    EXPECT_EQ(mail.header->toList.at(0)->name, carried);
    EXPECT_EQ(mail.header->toList.at(0)->address, QStringLiteral("+4915550101"));
}

TEST_F(MessageStoreTest, ReceiveDropsFromTheSendersNameWhatTheHeaderCannotCarry)
{
    NewMessage message = receivedMessage();
    message.from.name = QStringLiteral("Evil\x1b]0;owned\x07\x1b"
                                       "c");

    const Added outcome = messages.receive(message);

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_EQ(tavmms_test::text16(store.row(outcome.id).cmn_fld_from_name),
              QStringLiteral("Evil0;ownedc"));
    EXPECT_EQ(messages.read(outcome.id).header->from.name, QStringLiteral("Evil0;ownedc"));
}

// ---- a new message never takes the place of a file ----

TEST_F(MessageStoreTest, ComposePassesOverAnIdWhoseFileOrLeftoverIsThere)
{
    ASSERT_TRUE(QDir().mkpath(store.mailFileDir()));
    const QStringList taken = {QStringLiteral("1.mms"), QStringLiteral("2.mms.tmp")};
    for (const QString& name : taken)
        ASSERT_TRUE(tavmms_test::writeFileBytes(store.mailFileDir() + u'/' + name, name.toUtf8()));

    const Added outcome = messages.compose(sampleMessage());

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    EXPECT_EQ(outcome.id, 3u);
    EXPECT_EQ(tavmms_test::rowIds(store.database().path()), QList<QByteArray>{"3"});
    for (const QString& name : taken)
        EXPECT_EQ(tavmms_test::readFileBytes(store.mailFileDir() + u'/' + name), name.toUtf8());
}

TEST_F(MessageStoreTest, ComposeAfterTheIndexWasResetChangesNoEarlierFile)
{
    QList<QByteArray> before;
    for (int i = 0; i < 3; ++i) {
        const Added kept = messages.compose(sampleMessage());
        ASSERT_TRUE(kept.status.ok());
        before.append(tavmms_test::readFileBytes(kept.mailFile));
    }
    // A new, empty index gives its ids from 1 again.
    tavmms_test::TempDatabase reset;
    ASSERT_TRUE(reset.isValid());
    const tavmms_test::ScopedIndexTableState state;

    const Added first = messages.compose(sampleMessage());
    const Added second = messages.compose(sampleMessage());

    ASSERT_TRUE(first.status.ok()) << first.status.text.toStdString();
    ASSERT_TRUE(second.status.ok()) << second.status.text.toStdString();
    EXPECT_EQ(first.id, 4u);
    EXPECT_EQ(second.id, 5u);
    EXPECT_EQ(tavmms_test::rowIds(reset.path()), (QList<QByteArray>{"4", "5"}));
    for (unsigned int id = 1; id <= 3; ++id)
        EXPECT_EQ(tavmms_test::readFileBytes(store.mailFile(id)), before.at(int(id) - 1));
}

// ---- receive: duplicates ----

TEST_F(MessageStoreTest, ReceiveRefusesAMessageWhoseUriOrMessageIdIsKeptAlready)
{
    NewMessage message = fetchedMessage();
    const Added kept = messages.receive(message);
    ASSERT_TRUE(kept.status.ok()) << kept.status.text.toStdString();

    NewMessage sameUri = message;
    sameUri.messageId = QStringLiteral("m-18@mmsc.example");
    NewMessage sameId = message;
    sameId.uri = QStringLiteral("http://mmsc.example/get/18");
    const Added byUri = messages.receive(sameUri);
    const Added byId = messages.receive(sameId);

    EXPECT_EQ(byUri.status.code, ErrorCode::Duplicate);
    EXPECT_EQ(byUri.status.text,
              QStringLiteral("message %1 has the same URI 'http://mmsc.example/get/17'; the "
                             "message was not kept again")
                  .arg(kept.id));
    EXPECT_EQ(byId.status.code, ErrorCode::Duplicate);
    EXPECT_EQ(byId.status.text, QStringLiteral("message %1 has the same Message-ID "
                                               "'m-17@mmsc.example'; the message was not kept "
                                               "again")
                                    .arg(kept.id));
    EXPECT_EQ(store.rowCount(), 1);
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(kept.id)});
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, ALongMessageIdIsADuplicateOnlyWhenTheMailFileHoldsItWhole)
{
    // The row keeps 39 bytes of a Message-ID; ids that share them are told apart by the mail
    // files, which keep them whole.
    const QString common = QString(39, QLatin1Char('m'));
    NewMessage first = receivedMessage();
    first.messageId = common + QStringLiteral("-first@mmsc.example");
    NewMessage second = receivedMessage();
    second.messageId = common + QStringLiteral("-second@mmsc.example");
    const Added one = messages.receive(first);
    const Added two = messages.receive(second);
    ASSERT_TRUE(one.status.ok()) << one.status.text.toStdString();
    ASSERT_TRUE(two.status.ok()) << two.status.text.toStdString();

    // The same id as the second: found though the first row shares its start.
    const Added again = messages.receive(second);
    EXPECT_EQ(again.status.code, ErrorCode::Duplicate);
    EXPECT_TRUE(again.status.text.startsWith(
        QStringLiteral("message %1 has the same Message-ID").arg(two.id)))
        << again.status.text.toStdString();
    EXPECT_EQ(store.rowCount(), 2);
}

TEST_F(MessageStoreTest, ReceiveKeepsADuplicateWhenAskedTo)
{
    NewMessage message = fetchedMessage();
    ASSERT_TRUE(messages.receive(message).status.ok());

    const Added again = messages.receive(message, true);

    EXPECT_TRUE(again.status.ok()) << again.status.text.toStdString();
    EXPECT_EQ(store.rowCount(), 2);
}

TEST_F(MessageStoreTest, ReceiveWithoutUriOrMessageIdIsNoDuplicate)
{
    NewMessage message = receivedMessage();

    EXPECT_TRUE(messages.receive(message).status.ok());
    EXPECT_TRUE(messages.receive(message).status.ok());

    EXPECT_EQ(store.rowCount(), 2);
}

// ---- read, list, setRead, move ----

TEST_F(MessageStoreTest, ReadGivesTheRowTheHeaderAndTheBody)
{
    const Added kept = messages.compose(sampleMessage());

    const tavmms::store::ReadMessage message = messages.read(kept.id);

    ASSERT_TRUE(message.status.ok()) << message.status.text.toStdString();
    EXPECT_EQ(message.row.id, kept.id);
    EXPECT_EQ(message.row.subject(), QStringLiteral("Lunch today?"));
    EXPECT_EQ(message.row.folder(), unsigned(Folder::Outbox));
    EXPECT_EQ(message.row.mailFile(), kept.mailFile);
    ASSERT_TRUE(message.header);
    EXPECT_EQ(message.header->subject, QStringLiteral("Lunch today?"));
    EXPECT_EQ(message.body, sampleMessage().body);
    EXPECT_TRUE(message.mailFileError.isEmpty());
}

TEST_F(MessageStoreTest, ReadWithoutTheBodyGivesItsLengthAlone)
{
    const Added kept = messages.compose(sampleMessage());

    const tavmms::store::ReadMessage whole = messages.read(kept.id);
    const tavmms::store::ReadMessage summary = messages.read(kept.id, false);

    EXPECT_EQ(whole.bodyLength, unsigned(sampleMessage().body.size()));
    EXPECT_EQ(whole.body, sampleMessage().body);
    ASSERT_TRUE(summary.header);
    EXPECT_EQ(summary.header->subject, QStringLiteral("Lunch today?"));
    EXPECT_EQ(summary.bodyLength, unsigned(sampleMessage().body.size()));
    EXPECT_TRUE(summary.body.isEmpty());
}

TEST_F(MessageStoreTest, ReadOfAMessageWithoutItsMailFileGivesTheRowAndSaysWhy)
{
    const Added kept = messages.compose(sampleMessage());
    ASSERT_TRUE(QFile::remove(kept.mailFile));

    const tavmms::store::ReadMessage message = messages.read(kept.id);

    EXPECT_TRUE(message.status.ok());
    EXPECT_EQ(message.row.subject(), QStringLiteral("Lunch today?"));
    EXPECT_FALSE(message.header);
    EXPECT_EQ(message.mailFileError, QStringLiteral("no such file '%1'").arg(kept.mailFile));
}

TEST_F(MessageStoreTest, ReadOfAMailFileWhoseHeaderBlockIsCutShortGivesWhatLoadsAndSaysHow)
{
    const Added kept = messages.compose(sampleMessage());
    QByteArray bytes = tavmms_test::readFileBytes(kept.mailFile);
    ASSERT_TRUE(tavmms_test::writeFileBytes(kept.mailFile, bytes.left(bytes.indexOf("\nTo:") + 1)));

    const tavmms::store::ReadMessage message = messages.read(kept.id);

    EXPECT_TRUE(message.status.ok());
    ASSERT_TRUE(message.header);
    EXPECT_EQ(message.body, sampleMessage().body);
    EXPECT_TRUE(message.mailFileError.isEmpty());
    EXPECT_EQ(message.mailFileDamage, QStringLiteral("its header block is cut short"));
}

TEST_F(MessageStoreTest, ReadOfAMailFileThatIsAnotherMessagesSaysItsHeaderDoesNotMatchItsRow)
{
    tavmms::store::NewMessage first = sampleMessage();
    first.messageId = QStringLiteral("first@example.com");
    tavmms::store::NewMessage second = sampleMessage();
    second.subject = QStringLiteral("Dinner?");
    second.messageId = QStringLiteral("second@example.com");
    const Added one = messages.compose(first);
    const Added two = messages.compose(second);
    ASSERT_TRUE(QFile::remove(one.mailFile));
    ASSERT_TRUE(QFile::copy(two.mailFile, one.mailFile));

    const tavmms::store::ReadMessage message = messages.read(one.id);
    const tavmms::store::ReadMessage other = messages.read(two.id);

    ASSERT_TRUE(message.header);
    EXPECT_EQ(message.header->subject, QStringLiteral("Dinner?"));
    // The dates differ too when the clock ticked in between.
    EXPECT_THAT(message.mailFileDamage.toStdString(),
                testing::MatchesRegex("its header does not match its row \\(Message-ID, "
                                      "Subject(, Date)?\\)"));
    EXPECT_TRUE(other.mailFileDamage.isEmpty()) << other.mailFileDamage.toStdString();
}

TEST_F(MessageStoreTest, ReadOfAWholeMailFileSaysNoDamage)
{
    const Added kept = messages.compose(sampleMessage());

    const tavmms::store::ReadMessage message = messages.read(kept.id, false);

    EXPECT_TRUE(message.mailFileDamage.isEmpty()) << message.mailFileDamage.toStdString();
}

TEST_F(MessageStoreTest, ReadOfAnUnknownIdIsNotFound)
{
    const tavmms::store::ReadMessage message = messages.read(42);

    EXPECT_EQ(message.status.code, ErrorCode::NotFound);
    EXPECT_EQ(message.status.text, QStringLiteral("no message 42"));
}

TEST_F(MessageStoreTest, ListGivesTheRowsInIdOrderAndOnlyThoseOfAFolder)
{
    const NewMessage received = receivedMessage();
    const Added first = messages.compose(sampleMessage());
    const Added second = messages.receive(received);
    const Added third = messages.compose(sampleMessage(), Folder::Drafts);

    const tavmms::store::Listed all = messages.list();
    tavmms::store::ListFilter drafts;
    drafts.anyFolder = false;
    drafts.folder = unsigned(Folder::Drafts);
    const tavmms::store::Listed onlyDrafts = messages.list(drafts);

    ASSERT_TRUE(all.status.ok());
    QList<unsigned int> ids;
    for (const tavmms::store::MessageRow& row : all.rows)
        ids.append(row.id);
    EXPECT_EQ(ids, (QList<unsigned int>{first.id, second.id, third.id}));
    EXPECT_EQ(all.rows.at(1).folder(), unsigned(Folder::Inbox));
    EXPECT_FALSE(all.rows.at(1).isRead());
    ASSERT_EQ(onlyDrafts.rows.size(), 1);
    EXPECT_EQ(onlyDrafts.rows.at(0).id, third.id);
}

// ---- list: filters, order, pages ----

// A message whose row says it was sent at `when` (no time for an invalid one), with `subject`.
unsigned int keptAt(MessageStore& messages, const QDateTime& when, const QString& subject,
                    bool received = false)
{
    NewMessage message = received ? receivedMessage() : sampleMessage();
    message.subject = subject;
    const Added added = received ? messages.receive(message) : messages.compose(message);
    EXPECT_TRUE(added.status.ok()) << added.status.text.toStdString();
    const tavmms::store::ReadMessage read = messages.read(added.id);
    EXPECT_TRUE(read.header);
    if (!read.header)
        return added.id;
    read.header->sendDate = when;
    EXPECT_TRUE(messages.writeMailFile(added.id, *read.header, read.body, true).status.ok());
    return added.id;
}

QList<unsigned int> idsOf(const tavmms::store::Listed& listed)
{
    EXPECT_TRUE(listed.status.ok()) << listed.status.text.toStdString();
    QList<unsigned int> ids;
    for (const tavmms::store::MessageRow& row : listed.rows)
        ids.append(row.id);
    return ids;
}

QDateTime utc(const char* text)
{
    return QDateTime::fromString(QLatin1String(text), Qt::ISODate);
}

TEST_F(MessageStoreTest, ListGivesOnlyTheReadOrOnlyTheUnreadRows)
{
    const unsigned int sent = keptAt(messages, utc("2026-01-01T10:00:00Z"), QStringLiteral("a"));
    const unsigned int received =
        keptAt(messages, utc("2026-01-02T10:00:00Z"), QStringLiteral("b"), true);
    tavmms::store::ListFilter filter;

    filter.read = true;
    EXPECT_EQ(idsOf(messages.list(filter)), QList<unsigned int>{sent});
    filter.read = false;
    EXPECT_EQ(idsOf(messages.list(filter)), QList<unsigned int>{received});
}

TEST_F(MessageStoreTest, ListFindsTextInTheSenderRecipientsAndSubjectIgnoringCase)
{
    const unsigned int lunch =
        keptAt(messages, utc("2026-01-01T10:00:00Z"), QStringLiteral("Lunch today?"));
    const unsigned int received =
        keptAt(messages, utc("2026-01-02T10:00:00Z"), QStringLiteral("Dinner"), true);
    const auto listed = [this](QString tavmms::store::ListFilter::*member, const char* text) {
        tavmms::store::ListFilter filter;
        filter.*member = QString::fromUtf8(text);
        return idsOf(messages.list(filter));
    };

    EXPECT_EQ(listed(&tavmms::store::ListFilter::subject, "LUNCH"), QList<unsigned int>{lunch});
    EXPECT_EQ(listed(&tavmms::store::ListFilter::subject, "dinner"), QList<unsigned int>{received});
    EXPECT_EQ(listed(&tavmms::store::ListFilter::subject, "breakfast"), QList<unsigned int>());
    EXPECT_EQ(listed(&tavmms::store::ListFilter::from, "550199"), QList<unsigned int>{received});
    EXPECT_EQ(listed(&tavmms::store::ListFilter::to, "bobby"),
              (QList<unsigned int>{lunch, received}));
    EXPECT_EQ(listed(&tavmms::store::ListFilter::to, "nobody"), QList<unsigned int>());

    tavmms::store::ListFilter both;
    both.to = QStringLiteral("bobby");
    both.subject = QStringLiteral("lunch");
    EXPECT_EQ(idsOf(messages.list(both)), QList<unsigned int>{lunch});
}

TEST_F(MessageStoreTest, ListKeepsTheRowsFromSinceToUntilBothIncluded)
{
    const unsigned int early = keptAt(messages, utc("2026-01-01T09:59:59Z"), QStringLiteral("a"));
    const unsigned int first = keptAt(messages, utc("2026-01-01T10:00:00Z"), QStringLiteral("b"));
    const unsigned int last = keptAt(messages, utc("2026-01-01T12:00:00Z"), QStringLiteral("c"));
    const unsigned int late = keptAt(messages, utc("2026-01-01T12:00:01Z"), QStringLiteral("d"));
    const unsigned int timeless = keptAt(messages, QDateTime(), QStringLiteral("e"));
    ASSERT_EQ(store.row(timeless).cmn_fld_time, 0u);
    tavmms::store::ListFilter filter;
    filter.since = utc("2026-01-01T11:00:00+01:00");
    filter.until = utc("2026-01-01T12:00:00Z");

    EXPECT_EQ(idsOf(messages.list(filter)), (QList<unsigned int>{first, last}));
    filter.until = QDateTime();
    EXPECT_EQ(idsOf(messages.list(filter)), (QList<unsigned int>{first, last, late}));
    filter.since = QDateTime();
    filter.until = utc("2026-01-01T10:00:00Z");
    EXPECT_EQ(idsOf(messages.list(filter)), (QList<unsigned int>{early, first}));
    EXPECT_EQ(idsOf(messages.list()).size(), 5);
}

TEST_F(MessageStoreTest, ListOrdersByIdOrByDateWithTiesByIdAndTurnsEitherRound)
{
    const unsigned int newest = keptAt(messages, utc("2026-03-01T00:00:00Z"), QStringLiteral("a"));
    const unsigned int oldest = keptAt(messages, utc("2026-01-01T00:00:00Z"), QStringLiteral("b"));
    const unsigned int tieA = keptAt(messages, utc("2026-02-01T00:00:00Z"), QStringLiteral("c"));
    const unsigned int tieB = keptAt(messages, utc("2026-02-01T00:00:00Z"), QStringLiteral("d"));
    const unsigned int timeless = keptAt(messages, QDateTime(), QStringLiteral("e"));
    tavmms::store::ListFilter filter;

    EXPECT_EQ(idsOf(messages.list(filter)),
              (QList<unsigned int>{newest, oldest, tieA, tieB, timeless}));
    filter.reverse = true;
    EXPECT_EQ(idsOf(messages.list(filter)),
              (QList<unsigned int>{timeless, tieB, tieA, oldest, newest}));
    filter.order = tavmms::store::ListOrder::Date;
    filter.reverse = false;
    EXPECT_EQ(idsOf(messages.list(filter)),
              (QList<unsigned int>{timeless, oldest, tieA, tieB, newest}));
    filter.reverse = true;
    EXPECT_EQ(idsOf(messages.list(filter)),
              (QList<unsigned int>{newest, tieB, tieA, oldest, timeless}));
}

TEST_F(MessageStoreTest, ListGivesThePageAfterFilteringAndOrdering)
{
    QList<unsigned int> ids;
    for (const char* when : {"2026-01-05T00:00:00Z", "2026-01-04T00:00:00Z", "2026-01-03T00:00:00Z",
                             "2026-01-02T00:00:00Z"})
        ids.append(keptAt(messages, utc(when), QStringLiteral("page")));
    keptAt(messages, utc("2026-01-01T00:00:00Z"), QStringLiteral("other"));
    tavmms::store::ListFilter filter;
    filter.subject = QStringLiteral("page");
    filter.order = tavmms::store::ListOrder::Date;

    filter.offset = 1;
    filter.limit = 2;
    EXPECT_EQ(idsOf(messages.list(filter)), (QList<unsigned int>{ids[2], ids[1]}));
    filter.limit = -1;
    EXPECT_EQ(idsOf(messages.list(filter)), (QList<unsigned int>{ids[2], ids[1], ids[0]}));
    filter.limit = 0;
    EXPECT_EQ(idsOf(messages.list(filter)), QList<unsigned int>());
    filter.offset = 4;
    filter.limit = 10;
    EXPECT_EQ(idsOf(messages.list(filter)), QList<unsigned int>());
    filter.offset = 3;
    EXPECT_EQ(idsOf(messages.list(filter)), QList<unsigned int>{ids[0]});
}

// ---- changes of several messages ----

TEST_F(MessageStoreTest, SetReadAndMoveOfSeveralChangeEachOfThem)
{
    const unsigned int first =
        keptAt(messages, utc("2026-01-01T00:00:00Z"), QStringLiteral("a"), true);
    const unsigned int second =
        keptAt(messages, utc("2026-01-02T00:00:00Z"), QStringLiteral("b"), true);

    const tavmms::store::Changed marked = messages.setRead({first, second, first}, true);
    const tavmms::store::Changed moved = messages.move({second, first}, Folder::Drafts);

    EXPECT_TRUE(marked.status.ok()) << marked.status.text.toStdString();
    EXPECT_EQ(marked.changed, (QList<unsigned int>{first, second}));
    EXPECT_TRUE(moved.status.ok()) << moved.status.text.toStdString();
    EXPECT_EQ(moved.changed, (QList<unsigned int>{second, first}));
    for (const unsigned int id : {first, second}) {
        EXPECT_EQ(store.row(id).cmn_fld_msg_attr_read, 1);
        EXPECT_EQ(store.row(id).cmn_fld_folder_id, unsigned(Folder::Drafts));
        EXPECT_EQ(store.row(id).cmn_fld_send_receive_state, ushort(State::Received));
    }
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, SetReadAndMoveOfSeveralWithAnUnknownIdChangeNoneAndNameEachUnknownId)
{
    const unsigned int first =
        keptAt(messages, utc("2026-01-01T00:00:00Z"), QStringLiteral("a"), true);
    const unsigned int second =
        keptAt(messages, utc("2026-01-02T00:00:00Z"), QStringLiteral("b"), true);

    const tavmms::store::Changed marked = messages.setRead({first, 42, second, 43}, true);
    const tavmms::store::Changed moved = messages.move({first, 42}, Folder::Sent);

    EXPECT_EQ(marked.status.code, ErrorCode::NotFound);
    EXPECT_EQ(marked.status.text, QStringLiteral("no messages 42, 43"));
    EXPECT_EQ(marked.missing, (QList<unsigned int>{42, 43}));
    EXPECT_TRUE(marked.changed.isEmpty());
    EXPECT_EQ(moved.status.code, ErrorCode::NotFound);
    EXPECT_EQ(moved.status.text, QStringLiteral("no message 42"));
    for (const unsigned int id : {first, second}) {
        EXPECT_EQ(store.row(id).cmn_fld_msg_attr_read, 0);
        EXPECT_EQ(store.row(id).cmn_fld_folder_id, unsigned(Folder::Inbox));
    }
    EXPECT_EQ(messages.move(QList<unsigned int>{first}, Folder(9)).status.code, ErrorCode::Invalid);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, SetReadOfSeveralFailingAtAnyDatabaseCallChangesNoneOrAll)
{
    for (int failing = 1;; ++failing) {
        SCOPED_TRACE(failing);
        Store each;
        ASSERT_TRUE(each.isValid());
        const tavmms_test::ScopedIndexTableState state;
        MessageStore messages;
        const Added first = messages.receive(receivedMessage());
        const Added second = messages.receive(receivedMessage());
        ASSERT_TRUE(first.status.ok() && second.status.ok());
        tavmms::store::Changed outcome;
        bool failed = false;
        {
            tavmms_test::FailingDatabase database(each.database().database(), failing, DB_ERR_IO);
            const tavplatform::ScopedDatabaseService installed(&database.service());
            outcome = messages.setRead({first.id, second.id}, true);
            failed = database.failed();
        }

        EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
        const int marks =
            each.row(first.id).cmn_fld_msg_attr_read + each.row(second.id).cmn_fld_msg_attr_read;
        if (!failed) {
            EXPECT_TRUE(outcome.status.ok());
            EXPECT_EQ(marks, 2);
            break;
        }
        EXPECT_EQ(marks, outcome.status.ok() ? 2 : 0);
        if (!outcome.status.ok())
            expectOneLineError(outcome.status);
    }
}

// ---- remove of several together ----

TEST_F(MessageStoreTest, RemoveAllDeletesEveryRowAndEveryMailFile)
{
    const Added kept = messages.compose(sampleMessage());
    const Added first = messages.compose(sampleMessage());
    const Added second = messages.compose(sampleMessage());
    ASSERT_TRUE(QFile::remove(second.mailFile));
    QFile leftover(first.mailFile + QStringLiteral(".tmp"));
    ASSERT_TRUE(leftover.open(QIODevice::WriteOnly));
    leftover.close();

    const tavmms::store::RemovedAll outcome = messages.removeAll({first.id, second.id, first.id});

    EXPECT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    ASSERT_EQ(outcome.removed.size(), 2);
    EXPECT_EQ(outcome.removed.at(0).id, first.id);
    EXPECT_EQ(outcome.removed.at(0).mailFile, first.mailFile);
    EXPECT_FALSE(outcome.removed.at(0).mailFileWasMissing);
    EXPECT_TRUE(outcome.removed.at(0).status.ok());
    EXPECT_EQ(outcome.removed.at(1).id, second.id);
    EXPECT_TRUE(outcome.removed.at(1).mailFileWasMissing);
    EXPECT_EQ(store.rowCount(), 1);
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(kept.id)});
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, RemoveAllWithAnUnknownIdDeletesNothingAndNamesEachUnknownId)
{
    const Added first = messages.compose(sampleMessage());
    const Added second = messages.compose(sampleMessage());

    const tavmms::store::RemovedAll outcome = messages.removeAll({first.id, 42, second.id, 7});

    EXPECT_EQ(outcome.status.code, ErrorCode::NotFound);
    EXPECT_EQ(outcome.status.text, QStringLiteral("no messages 42, 7"));
    EXPECT_EQ(outcome.missing, (QList<unsigned int>{42, 7}));
    EXPECT_TRUE(outcome.removed.isEmpty());
    EXPECT_EQ(store.rowCount(), 2);
    EXPECT_EQ(store.files().size(), 2);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, RemoveAllAsADryRunSaysWhatWouldGoAndChangesNothing)
{
    const Added first = messages.compose(sampleMessage());
    const Added second = messages.compose(sampleMessage());
    ASSERT_TRUE(QFile::remove(second.mailFile));

    const tavmms::store::RemovedAll outcome = messages.removeAll({second.id, first.id}, true);
    const tavmms::store::RemovedAll unknown = messages.removeAll({first.id, 42}, true);

    EXPECT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    ASSERT_EQ(outcome.removed.size(), 2);
    EXPECT_EQ(outcome.removed.at(0).id, second.id);
    EXPECT_TRUE(outcome.removed.at(0).mailFileWasMissing);
    EXPECT_EQ(outcome.removed.at(1).id, first.id);
    EXPECT_FALSE(outcome.removed.at(1).mailFileWasMissing);
    EXPECT_EQ(unknown.status.code, ErrorCode::NotFound);
    EXPECT_EQ(unknown.missing, QList<unsigned int>{42});
    EXPECT_EQ(store.rowCount(), 2);
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(first.id)});
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, RemoveAllDeletesNothingWhenAMailFileNameIsADirectory)
{
    const Added first = messages.compose(sampleMessage());
    const Added second = messages.compose(sampleMessage());
    ASSERT_TRUE(QFile::remove(second.mailFile));
    ASSERT_TRUE(QDir().mkpath(second.mailFile + QStringLiteral("/inside")));

    const tavmms::store::RemovedAll outcome = messages.removeAll({first.id, second.id});

    expectOneLineError(outcome.status);
    EXPECT_EQ(outcome.status.text, QStringLiteral("cannot delete message %1: '%2' is a directory")
                                       .arg(second.id)
                                       .arg(second.mailFile));
    EXPECT_EQ(store.rowCount(), 2);
    EXPECT_TRUE(QFile::exists(first.mailFile));
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, RemoveAllFailingAtAnyDatabaseCallKeepsEveryMessage)
{
    for (int failing = 1;; ++failing) {
        SCOPED_TRACE(failing);
        Store each;
        ASSERT_TRUE(each.isValid());
        const tavmms_test::ScopedIndexTableState state;
        MessageStore messages;
        const Added first = messages.compose(sampleMessage());
        const Added second = messages.compose(sampleMessage());
        ASSERT_TRUE(first.status.ok() && second.status.ok());
        tavmms_test::FailingDatabase database(each.database().database(), failing, DB_ERR_IO);
        const tavplatform::ScopedDatabaseService installed(&database.service());

        const tavmms::store::RemovedAll outcome = messages.removeAll({first.id, second.id});

        EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
        if (!database.failed()) {
            EXPECT_TRUE(outcome.status.ok());
            EXPECT_EQ(each.rowCount(), 0);
            EXPECT_EQ(each.files(), QStringList());
            break;
        }
        if (outcome.status.ok()) {
            EXPECT_EQ(each.rowCount(), 0);
            EXPECT_EQ(each.files(), QStringList());
            continue;
        }
        expectOneLineError(outcome.status, outcome.status.code);
        EXPECT_NE(outcome.status.code, ErrorCode::None);
        EXPECT_EQ(each.rowCount(), 2);
        EXPECT_EQ(each.files(), (QStringList{QStringLiteral("%1.mms").arg(first.id),
                                             QStringLiteral("%1.mms").arg(second.id)}));
    }
}

TEST_F(MessageStoreTest, SetReadAndMoveChangeTheirFieldAndNothingElse)
{
    const NewMessage received = receivedMessage();
    const Added kept = messages.receive(received);
    const MMS_UTIL_DBStruct_T before = store.row(kept.id);

    ASSERT_TRUE(messages.setRead(kept.id, true).ok());
    ASSERT_TRUE(messages.move(kept.id, Folder::Sent).ok());

    MMS_UTIL_DBStruct_T expected = before;
    expected.cmn_fld_msg_attr_read = 1;
    expected.cmn_fld_folder_id = unsigned(Folder::Sent);
    EXPECT_TRUE(tavmms_test::sameRecord(expected, store.row(kept.id)));
    ASSERT_TRUE(messages.setRead(kept.id, false).ok());
    EXPECT_EQ(store.row(kept.id).cmn_fld_msg_attr_read, 0);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(MessageStoreTest, SetReadAndMoveOfAnUnknownIdAreNotFound)
{
    EXPECT_EQ(messages.setRead(42, true).code, ErrorCode::NotFound);
    EXPECT_EQ(messages.move(42, Folder::Inbox).code, ErrorCode::NotFound);
    EXPECT_EQ(messages.move(42, Folder::Inbox).text, QStringLiteral("no message 42"));
}

TEST_F(MessageStoreTest, MoveToAFolderTheStoreDoesNotKnowIsRefused)
{
    const Added kept = messages.compose(sampleMessage());

    const tavmms::store::Status status = messages.move(kept.id, Folder(9));

    EXPECT_EQ(status.code, ErrorCode::Invalid);
    EXPECT_EQ(status.text, QStringLiteral("there is no folder 9"));
    EXPECT_EQ(store.row(kept.id).cmn_fld_folder_id, unsigned(Folder::Outbox));
}

TEST_F(MessageStoreTest, RemoveOfSeveralReportsEachAndGoesOnAfterAFailure)
{
    const Added first = messages.compose(sampleMessage());
    const Added second = messages.compose(sampleMessage());

    const QList<Removed> removed = messages.remove({first.id, 42, second.id});

    ASSERT_EQ(removed.size(), 3);
    EXPECT_TRUE(removed.at(0).status.ok());
    EXPECT_EQ(removed.at(1).status.code, ErrorCode::NotFound);
    EXPECT_TRUE(removed.at(2).status.ok());
    EXPECT_EQ(store.rowCount(), 0);
    EXPECT_EQ(store.files(), QStringList());
}

// ---- a mail file written for a row ----

TEST_F(MessageStoreTest, WriteMailFileRefusesAnIdWithoutARow)
{
    MMS_UTIL_MsgHeaderBase header;

    const Added written = messages.writeMailFile(9999, header, "body", false);

    EXPECT_EQ(written.status.code, ErrorCode::NotFound);
    EXPECT_EQ(written.status.text, QStringLiteral("no message 9999"));
    EXPECT_FALSE(QFileInfo::exists(store.mailFile(9999)));
}

TEST_F(MessageStoreTest, WriteMailFileReplacesAMessagesFileOnlyWhenAsked)
{
    const Added kept = messages.compose(sampleMessage());
    const QByteArray before = tavmms_test::readFileBytes(kept.mailFile);
    MMS_UTIL_MsgHeaderBase header;
    header.subject = QStringLiteral("Replaced");

    const Added refused = messages.writeMailFile(kept.id, header, "new body", false);

    EXPECT_EQ(refused.status.code, ErrorCode::Exists);
    EXPECT_EQ(refused.status.text, QStringLiteral("message %1 has a mail file already ('%2')")
                                       .arg(kept.id)
                                       .arg(kept.mailFile));
    EXPECT_EQ(tavmms_test::readFileBytes(kept.mailFile), before);

    const Added replaced = messages.writeMailFile(kept.id, header, "new body", true);

    ASSERT_TRUE(replaced.status.ok()) << replaced.status.text.toStdString();
    const tavmms::store::ReadMessage message = messages.read(kept.id);
    ASSERT_TRUE(message.header);
    EXPECT_EQ(message.header->subject, QStringLiteral("Replaced"));
    EXPECT_EQ(message.body, "new body");
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(kept.id)});
}

TEST_F(MessageStoreTest, WriteMailFileBringsTheRowInStepWithTheNewHeaderAndKeepsTheRest)
{
    const Added kept = messages.compose(sampleMessage());
    ASSERT_TRUE(messages.move(kept.id, Folder::Drafts).ok());
    const tavmms::store::ReadMessage before = messages.read(kept.id, false);
    MMS_UTIL_MsgHeaderBase header;
    header.subject = QStringLiteral("Replaced");
    header.messageId = QStringLiteral("replaced@example.com");

    const Added replaced = messages.writeMailFile(kept.id, header, "new body", true);

    ASSERT_TRUE(replaced.status.ok()) << replaced.status.text.toStdString();
    const tavmms::store::ReadMessage after = messages.read(kept.id, false);
    EXPECT_EQ(after.row.subject(), QStringLiteral("Replaced"));
    EXPECT_EQ(after.row.messageId(), QStringLiteral("replaced@example.com"));
    EXPECT_EQ(after.row.folder(), unsigned(Folder::Drafts));
    EXPECT_EQ(after.row.uri(), before.row.uri());
    EXPECT_TRUE(after.mailFileDamage.isEmpty()) << after.mailFileDamage.toStdString();
}

TEST_F(MessageStoreTest, WriteMailFileGivesARowWithoutItsFileANewOne)
{
    const Added kept = messages.compose(sampleMessage());
    ASSERT_TRUE(QFile::remove(kept.mailFile));
    MMS_UTIL_MsgHeaderBase header;

    const Added written = messages.writeMailFile(kept.id, header, "body", false);

    ASSERT_TRUE(written.status.ok()) << written.status.text.toStdString();
    EXPECT_EQ(messages.read(kept.id).body, "body");
}

// ---- what a program that died leaves is completed on the next use ----

// A mail file as a save that was cut short leaves it.
void putFile(const QString& path, const QByteArray& bytes)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    ASSERT_TRUE(tavmms_test::writeFileBytes(path, bytes));
}

TEST_F(MessageStoreTest, TheNextUsePutsAWholeLeftoverOfARowInPlace)
{
    const Added kept = messages.compose(sampleMessage());
    const QByteArray bytes = tavmms_test::readFileBytes(kept.mailFile);
    // The save got as far as removing the old file.
    ASSERT_TRUE(QFile::rename(kept.mailFile, kept.mailFile + QStringLiteral(".tmp")));

    MessageStore next;
    const tavmms::store::Listed listed = next.list();

    ASSERT_TRUE(listed.status.ok());
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(kept.id)});
    EXPECT_EQ(tavmms_test::readFileBytes(kept.mailFile), bytes);
}

TEST_F(MessageStoreTest, TheNextUseRemovesATornLeftoverOfARowWithoutMailFile)
{
    const Added kept = messages.compose(sampleMessage());
    const QByteArray bytes = tavmms_test::readFileBytes(kept.mailFile);
    ASSERT_TRUE(QFile::remove(kept.mailFile));
    ASSERT_NO_FATAL_FAILURE(putFile(kept.mailFile + QStringLiteral(".tmp"), bytes.chopped(3)));

    MessageStore next;
    ASSERT_TRUE(next.list().status.ok());

    EXPECT_EQ(store.files(), QStringList());
    EXPECT_EQ(store.rowCount(), 1);
}

TEST_F(MessageStoreTest, TheNextUsePutsBackAMailFileADeleteSetAside)
{
    const Added kept = messages.compose(sampleMessage());
    const QByteArray bytes = tavmms_test::readFileBytes(kept.mailFile);
    // The delete died before its row's deletion was committed.
    ASSERT_TRUE(QFile::rename(kept.mailFile, kept.mailFile + QStringLiteral(".deleted")));

    MessageStore next;
    ASSERT_TRUE(next.list().status.ok());

    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(kept.id)});
    EXPECT_EQ(tavmms_test::readFileBytes(kept.mailFile), bytes);
}

TEST_F(MessageStoreTest, TheNextUseRemovesASetAsideFileWhoseRowIsGone)
{
    ASSERT_NO_FATAL_FAILURE(putFile(store.mailFile(7) + QStringLiteral(".deleted"), "message"));

    MessageStore next;
    ASSERT_TRUE(next.list().status.ok());

    EXPECT_EQ(store.files(), QStringList());
}

TEST_F(MessageStoreTest, TheNextUseLeavesFilesWithoutARowToARepair)
{
    // An add that died before its commit, and a leftover of one: neither has a row, and either may
    // be the only copy of a message whose index was lost.
    ASSERT_NO_FATAL_FAILURE(putFile(store.mailFile(7), "message"));
    ASSERT_NO_FATAL_FAILURE(putFile(store.mailFile(8) + QStringLiteral(".tmp"), "message"));
    const QStringList before = store.files();

    MessageStore next;
    ASSERT_TRUE(next.list().status.ok());

    EXPECT_EQ(store.files(), before);
}

TEST_F(MessageStoreTest, ReadCompletesASaveCutShortSinceTheStoreWasFirstUsed)
{
    const Added kept = messages.compose(sampleMessage());
    ASSERT_TRUE(messages.list().status.ok());
    ASSERT_TRUE(QFile::rename(kept.mailFile, kept.mailFile + QStringLiteral(".tmp")));

    const tavmms::store::ReadMessage message = messages.read(kept.id);

    ASSERT_TRUE(message.header) << message.mailFileError.toStdString();
    EXPECT_EQ(message.body, sampleMessage().body);
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("%1.mms").arg(kept.id)});
}

// ---- the store's lock ----

TEST_F(MessageStoreTest, AWriterWaitsForARepairAndGivesUpAfterItsTimeout)
{
    ASSERT_TRUE(messages.compose(sampleMessage()).status.ok());
    tavmms::store::StoreLock repair;
    ASSERT_TRUE(repair
                    .acquire(tavmms::store::StoreLock::defaultPath(),
                             tavmms::store::StoreLock::Exclusive, 0ms)
                    .ok());
    MessageStore impatient(100ms);

    const Added outcome = impatient.compose(sampleMessage());
    const Removed removed = impatient.remove(1);

    EXPECT_EQ(outcome.status.code, ErrorCode::Busy);
    EXPECT_TRUE(outcome.status.text.startsWith(
        QStringLiteral("the message store is busy: another program has held its lock")))
        << outcome.status.text.toStdString();
    EXPECT_EQ(removed.status.code, ErrorCode::Busy);
    EXPECT_EQ(store.rowCount(), 1);
    EXPECT_EQ(store.files(), QStringList{QStringLiteral("1.mms")});

    repair.release();
    EXPECT_TRUE(impatient.compose(sampleMessage()).status.ok());
}

// ---- receivePdu ----

using tavmms::pdu::Field;
using tavmms::pdu::HeaderField;

// A retrieved message from +4915550199 to +4915550101, with a Message-ID and a subject.
QByteArray
retrievedPdu(const QList<HeaderField>& more = {},
             const QByteArray& body = tavmms_test::twoPartBody(),
             const QByteArray& mediaType = QByteArrayLiteral("application/vnd.wap.multipart.mixed"))
{
    return tavmms_test::retrieveConfPdu(
        QList<HeaderField>{
            HeaderField::from(QStringLiteral("+4915550199/TYPE=PLMN")),
            HeaderField::textField(Field::To, QStringLiteral("+4915550101/TYPE=PLMN")),
            HeaderField::textField(Field::Subject, QStringLiteral("Lunch today?")),
            HeaderField::textField(Field::MessageId, QStringLiteral("m-17@mmsc")),
            HeaderField::integer(Field::Date, 1600000000)} +
            more,
        body, mediaType);
}

TEST_F(MessageStoreTest, ReceivePduFilesTheMessageWithItsHeaderFieldsAndItsBodyAsCarried)
{
    const Added outcome =
        messages.receivePdu(retrievedPdu({HeaderField::octet(Field::Priority, 130),
                                          HeaderField::octet(Field::DeliveryReport, 128),
                                          HeaderField::octet(Field::ReadReport, 128),
                                          HeaderField::octet(Field::SenderVisibility, 128),
                                          HeaderField::time(Field::Expiry, 1600003600, false),
                                          HeaderField::time(Field::DeliveryTime, 1600000600, false),
                                          HeaderField::integer(Field::MessageSize, 4000)}),
                            QStringLiteral("http://mmsc.example/get/17"));

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(row.cmn_fld_folder_id, unsigned(Folder::Inbox));
    EXPECT_EQ(row.cmn_fld_send_receive_state, unsigned(State::Received));
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_from_name), QStringLiteral("+4915550199"));
    EXPECT_EQ(row.cmn_fld_time, 1600000000u);
    EXPECT_EQ(row.cmn_fld_priority, 130);
    EXPECT_EQ(row.mms_fld_deliveryreport_name, 1);
    EXPECT_EQ(row.mms_fld_readreplyreport_name, 1);
    EXPECT_EQ(row.mms_fld_sendervisibility_name, 0);
    EXPECT_EQ(row.mms_fld_expiretime_name, 3600u);
    EXPECT_EQ(row.mms_fld_deliverytime_name, 1600000600u);
    EXPECT_EQ(row.mms_fld_msgsize_name, 4000u);
    EXPECT_EQ(row.mms_fld_contenttype_name, 0x23); // application/vnd.wap.multipart.mixed
    EXPECT_EQ(tavmms_test::text8(row.mms_fld_tid_name), "T-1");
    EXPECT_EQ(tavmms_test::text8(row.mms_fld_msgid_name), "m-17@mmsc");
    EXPECT_EQ(tavmms_test::text8(row.mms_fld_msguri_name), "http://mmsc.example/get/17");
    EXPECT_EQ(row.cmn_fld_contain_au_or_vi, 0);
    EXPECT_EQ(row.cmn_fld_contain_attachment, 0);
    const Loaded mail = load(outcome.mailFile);
    ASSERT_EQ(mail.result, MMS_UTIL_MAILFILE_OK);
    EXPECT_EQ(mail.bodyBytes(), tavmms_test::twoPartBody());
    EXPECT_EQ(mail.header->subject, QStringLiteral("Lunch today?"));
    EXPECT_EQ(mail.header->priority, 130);
    EXPECT_FALSE(mail.header->senderVisibility);
    EXPECT_EQ(mail.header->expiry, 3600u);
    EXPECT_EQ(mail.header->deliveryTime.toSecsSinceEpoch(), 1600000600);
    EXPECT_EQ(mail.header->messageSize, 4000u);
}

TEST_F(MessageStoreTest, ReceivePduWithoutAMessageSizeTakesTheBodysAndShowsTheSender)
{
    const Added outcome = messages.receivePdu(retrievedPdu());

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(row.mms_fld_msgsize_name, unsigned(tavmms_test::twoPartBody().size()));
    EXPECT_EQ(row.mms_fld_sendervisibility_name, 1);
    EXPECT_EQ(row.mms_fld_deliverytime_name, 0u);
}

TEST_F(MessageStoreTest, ReceivePduMarksSoundVideoAndAttachmentsInTheRow)
{
    using tavmms::pdu::Part;
    const QByteArray body = tavmms::pdu::encodeMultipart(
        {Part{{"audio/amr", {}}, {}, "#!AMR"}, Part{{"text/x-vcard", {}}, {}, "BEGIN:VCARD"}});

    const Added outcome = messages.receivePdu(retrievedPdu({}, body));

    ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
    const MMS_UTIL_DBStruct_T row = store.row(outcome.id);
    EXPECT_EQ(row.cmn_fld_contain_au_or_vi, 1);
    EXPECT_EQ(row.cmn_fld_contain_attachment, 1);
}

TEST_F(MessageStoreTest, ReceivePduRefusesABlockedSenderAndWritesNothing)
{
    ASSERT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("15550199")), 0);

    const Added outcome = messages.receivePdu(retrievedPdu());

    EXPECT_EQ(outcome.status.code, ErrorCode::Blocked);
    expectNothingStays();
}

TEST_F(MessageStoreTest, ReceivePduRefusesAMessageIdKeptAlreadyUnlessAskedTo)
{
    ASSERT_TRUE(messages.receivePdu(retrievedPdu()).status.ok());

    const Added again = messages.receivePdu(retrievedPdu());
    const Added allowed = messages.receivePdu(retrievedPdu(), QString(), true);

    EXPECT_EQ(again.status.code, ErrorCode::Duplicate);
    EXPECT_TRUE(again.status.text.contains(QStringLiteral("Message-ID 'm-17@mmsc'")))
        << again.status.text.toStdString();
    EXPECT_TRUE(allowed.status.ok()) << allowed.status.text.toStdString();
    EXPECT_EQ(store.rowCount(), 2);
}

TEST_F(MessageStoreTest, ReceivePduRefusesABodyOverMaxMtSize)
{
    ASSERT_EQ(MMS_UTIL_Setting::setMaxiumMTMMSSize(1), 0);

    const Added outcome = messages.receivePdu(
        retrievedPdu({}, QByteArray(1025, 'x'), QByteArrayLiteral("text/plain")));

    EXPECT_EQ(outcome.status.code, ErrorCode::TooLarge);
    expectNothingStays();
}

TEST_F(MessageStoreTest, ReceivePduRefusesWhatIsNoRetrievedMessageAndWritesNothing)
{
    const Added garbage = messages.receivePdu(QByteArrayLiteral("\x8c"));
    const Added notFound =
        messages.receivePdu(retrievedPdu({HeaderField::octet(Field::RetrieveStatus, 226)}));

    EXPECT_EQ(garbage.status.code, ErrorCode::Malformed);
    EXPECT_EQ(notFound.status.code, ErrorCode::NotRetrieved);
    expectNothingStays();
}

TEST_F(MessageStoreTest, ReceivePduFailingAtAnyDatabaseCallKeepsNothing)
{
    const QByteArray pdu = retrievedPdu();
    const int calls = failEachDatabaseCallInTurn(
        [&](MessageStore& messages) { return messages.receivePdu(pdu); });
    // As receive() of a message with a Message-ID and without a URI.
    EXPECT_GT(calls, 14);
}

TEST_F(MessageStoreTest, ReceivePduTakesEveryRealRetrievedMessageButTheOneNotFound)
{
    if (!QDir(tavmms_test::realPduFolder()).exists())
        GTEST_SKIP() << "no real PDUs at " << tavmms_test::realPduFolder().toStdString();
    // One of them is over a fresh store's 100 KB.
    ASSERT_EQ(MMS_UTIL_Setting::setMaxiumMTMMSSize(1024), 0);
    const QStringList names =
        QDir(tavmms_test::realPduFolder()).entryList({QStringLiteral("m-retrieve_*.conf")});
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const Added outcome = messages.receivePdu(tavmms_test::realPdu(name), QString(), true);
        if (name == QLatin1String("m-retrieve_5.conf")) {
            EXPECT_EQ(outcome.status.code, ErrorCode::NotRetrieved);
            continue;
        }
        ASSERT_TRUE(outcome.status.ok()) << outcome.status.text.toStdString();
        EXPECT_EQ(load(outcome.mailFile).result, MMS_UTIL_MAILFILE_OK);
    }
    EXPECT_EQ(store.rowCount(), names.size() - 1);
}

// ---- sendRequest ----

TEST_F(MessageStoreTest, SendRequestCarriesTheHeaderAndBodyAndKeepsItsTransactionIdInTheRow)
{
    ASSERT_EQ(MMS_UTIL_Setting::setSendingOption(true, false, 86400, 130), 0);
    const Added kept = messages.compose(sampleMessage());
    ASSERT_TRUE(kept.status.ok()) << kept.status.text.toStdString();

    const tavmms::store::SendRequest request = messages.sendRequest(kept.id);

    ASSERT_TRUE(request.status.ok()) << request.status.text.toStdString();
    const std::optional<tavmms::pdu::Pdu> pdu = tavmms::pdu::decodePdu(request.pdu);
    ASSERT_TRUE(pdu);
    EXPECT_EQ(pdu->messageType(), tavmms::pdu::MessageType::SendReq);
    EXPECT_EQ(pdu->text(Field::TransactionId), request.transactionId);
    EXPECT_EQ(tavmms_test::text8(store.row(kept.id).mms_fld_tid_name),
              request.transactionId.toUtf8());
    EXPECT_EQ(pdu->number(Field::MmsVersion), 0x12u);
    EXPECT_TRUE(pdu->find(Field::From)->insertAddress);
    ASSERT_EQ(pdu->findAll(Field::To).size(), 2);
    EXPECT_EQ(pdu->findAll(Field::To)[0]->text, QStringLiteral("+4915550101/TYPE=PLMN"));
    EXPECT_EQ(pdu->findAll(Field::To)[1]->text, QStringLiteral("bob@example.org"));
    EXPECT_EQ(pdu->text(Field::Subject), QStringLiteral("Lunch today?"));
    EXPECT_EQ(pdu->number(Field::DeliveryReport), 128u);
    EXPECT_EQ(pdu->number(Field::ReadReport), 129u);
    EXPECT_EQ(pdu->number(Field::Priority), 130u);
    EXPECT_TRUE(pdu->find(Field::Expiry)->relative);
    EXPECT_EQ(pdu->number(Field::Expiry), 86400u);
    EXPECT_EQ(pdu->contentType()->mediaType, "application/vnd.wap.multipart.mixed");
    EXPECT_EQ(pdu->body, sampleMessage().body);
}

TEST_F(MessageStoreTest, SendRequestGivesEachRequestATransactionIdOfItsOwn)
{
    const Added kept = messages.compose(sampleMessage());
    ASSERT_TRUE(kept.status.ok()) << kept.status.text.toStdString();

    const tavmms::store::SendRequest first = messages.sendRequest(kept.id);
    const tavmms::store::SendRequest second = messages.sendRequest(kept.id);

    ASSERT_TRUE(first.status.ok());
    ASSERT_TRUE(second.status.ok());
    EXPECT_NE(first.transactionId, second.transactionId);
    EXPECT_LT(first.transactionId.size(), 40);
    EXPECT_EQ(tavmms_test::text8(store.row(kept.id).mms_fld_tid_name),
              second.transactionId.toUtf8());
}

TEST_F(MessageStoreTest, SendRequestOfAnUnknownIdIsNotFound)
{
    const tavmms::store::SendRequest request = messages.sendRequest(7);

    EXPECT_EQ(request.status.code, ErrorCode::NotFound);
    EXPECT_TRUE(request.pdu.isEmpty());
}

} // namespace
