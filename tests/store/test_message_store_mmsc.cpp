// What the transactions with the MMSC keep in the store: a notification kept as a message of its
// own, the message fetched for it put in its place, the outcome of a send and the reports that
// come later, each written to the message's row (and a Message-ID to its mail file too).

#include "message_store.h"
#include "message_store_check.h"

#include <tavmmsutility.h>

#include "support/model_helpers.h"
#include "support/pdu_helpers.h"
#include "support/store_device.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>

#include <cerrno>
#include <cstring>

namespace
{

using tavmms::pdu::Field;
using tavmms::pdu::HeaderField;
using tavmms::store::Added;
using tavmms::store::ErrorCode;
using tavmms::store::Folder;
using tavmms::store::MessageRow;
using tavmms::store::MessageStore;
using tavmms::store::NewMessage;
using tavmms::store::ReadMessage;
using tavmms::store::RowUpdate;
using tavmms::store::State;
using tavmms::store::Status;

const QString kLocation = QStringLiteral("http://mmsc.example/get/17");

MMS_UTIL_Entry phone(const QString& number)
{
    return tavmms_test::makeEntry(QString(), MMS_UTIL_ADDR_PLMN, number);
}

// A notification as the MMSC layer hands it to the store.
NewMessage notification(const QString& location = kLocation)
{
    NewMessage message;
    message.from = phone(QStringLiteral("+4915550199"));
    message.subject = QStringLiteral("Holiday pictures");
    message.contentType = {QStringLiteral("application"), QStringLiteral("vnd.wap.mms-message"),
                           QString()};
    message.body = QByteArrayLiteral("\x8c\x82\x98T-1\x00\x8d\x92");
    message.uri = location;
    message.transactionId = QStringLiteral("T-1");
    message.expiry = 86400;
    message.messageSize = 30000;
    return message;
}

QByteArray retrieved(const QString& messageId = QStringLiteral("m-17@mmsc.example"))
{
    return tavmms_test::retrieveConfPdu(
        {HeaderField::from(QStringLiteral("+4915550199/TYPE=PLMN")),
         HeaderField::textField(Field::Subject, QStringLiteral("Holiday pictures")),
         HeaderField::textField(Field::MessageId, messageId)});
}

class MessageStoreMmscTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(device.isValid()); }

    MessageRow row(unsigned int id)
    {
        const ReadMessage message = messages.read(id, false);
        EXPECT_TRUE(message.status.ok()) << message.status.text.toStdString();
        return message.row;
    }

    // The store's check finds nothing wrong: every row has its mail file, which matches it.
    void expectCheckClean()
    {
        const tavmms::store::CheckReport report = tavmms::store::checkStore({});
        EXPECT_TRUE(report.problems.isEmpty()) << report.problems.first().text.toStdString();
    }

    tavmms_test::StoreDevice device;
    MessageStore messages;
};

TEST_F(MessageStoreMmscTest, ANotificationIsKeptUnreadInTheInboxWithItsLocationAsUri)
{
    const Added added = messages.keepNotification(notification(), State::Notified);
    ASSERT_TRUE(added.status.ok()) << added.status.text.toStdString();

    const ReadMessage kept = messages.read(added.id);
    ASSERT_TRUE(kept.status.ok());
    EXPECT_EQ(kept.row.folder(), unsigned(Folder::Inbox));
    EXPECT_EQ(kept.row.state(), unsigned(State::Notified));
    EXPECT_FALSE(kept.row.isRead());
    EXPECT_EQ(kept.row.uri(), kLocation);
    EXPECT_EQ(kept.row.subject(), QStringLiteral("Holiday pictures"));
    EXPECT_EQ(kept.row.record.mms_fld_msgsize_name, 30000u);
    EXPECT_EQ(kept.row.record.mms_fld_expiretime_name, 86400u);
    EXPECT_EQ(QByteArray(kept.row.record.mms_fld_tid_name), "T-1");
    EXPECT_EQ(kept.body, notification().body);
    expectCheckClean();
}

TEST_F(MessageStoreMmscTest, ANotificationForAUriAlreadyKeptNamesTheKeptMessage)
{
    const Added first = messages.keepNotification(notification(), State::Deferred);
    ASSERT_TRUE(first.status.ok());

    const Added again = messages.keepNotification(notification(), State::Notified);
    EXPECT_EQ(again.status.code, ErrorCode::Duplicate);
    EXPECT_EQ(again.existing, first.id);
    EXPECT_EQ(messages.list().rows.size(), 1);
}

TEST_F(MessageStoreMmscTest, ANotificationFromABlockedSenderIsRefused)
{
    device.fillSettingsAndContacts();
    NewMessage blocked = notification();
    blocked.from = phone(QStringLiteral("+4915550666"));

    EXPECT_EQ(messages.keepNotification(blocked, State::Notified).status.code, ErrorCode::Blocked);
    EXPECT_TRUE(messages.list().rows.isEmpty());
}

TEST_F(MessageStoreMmscTest, TheFetchedMessageTakesTheNotificationsPlace)
{
    const Added note = messages.keepNotification(notification(), State::Notified);
    ASSERT_TRUE(note.status.ok());

    const Added fetched = messages.receivePduInPlace(note.id, retrieved());
    ASSERT_TRUE(fetched.status.ok()) << fetched.status.text.toStdString();
    EXPECT_EQ(fetched.id, note.id);

    const ReadMessage kept = messages.read(note.id);
    ASSERT_TRUE(kept.header);
    EXPECT_EQ(kept.row.state(), unsigned(State::Received));
    EXPECT_EQ(kept.row.folder(), unsigned(Folder::Inbox));
    EXPECT_FALSE(kept.row.isRead());
    EXPECT_EQ(kept.row.uri(), kLocation);
    EXPECT_EQ(kept.row.messageId(), QStringLiteral("m-17@mmsc.example"));
    EXPECT_EQ(kept.row.notifyStatus(), std::optional<quint8>(129));
    EXPECT_EQ(kept.header->messageId, QStringLiteral("m-17@mmsc.example"));
    EXPECT_EQ(kept.body, tavmms_test::twoPartBody());
    EXPECT_EQ(messages.list().rows.size(), 1);
    expectCheckClean();
}

TEST_F(MessageStoreMmscTest, AFetchedMessageKeptAlreadyLeavesTheNotificationAsItWas)
{
    const Added earlier = messages.receivePdu(retrieved(), QStringLiteral("http://other/1"));
    ASSERT_TRUE(earlier.status.ok());
    const Added note = messages.keepNotification(notification(), State::Notified);
    ASSERT_TRUE(note.status.ok());

    const Added fetched = messages.receivePduInPlace(note.id, retrieved());
    EXPECT_EQ(fetched.status.code, ErrorCode::Duplicate);
    EXPECT_EQ(fetched.existing, earlier.id);
    const ReadMessage kept = messages.read(note.id);
    EXPECT_EQ(kept.row.state(), unsigned(State::Notified));
    EXPECT_EQ(kept.body, notification().body);
}

TEST_F(MessageStoreMmscTest, AFetchOfAPduThatIsNoMessageLeavesTheNotification)
{
    const Added note = messages.keepNotification(notification(), State::Notified);
    ASSERT_TRUE(note.status.ok());

    EXPECT_EQ(messages.receivePduInPlace(note.id, "\x8c").status.code, ErrorCode::Malformed);
    EXPECT_EQ(messages.receivePduInPlace(note.id + 1, retrieved()).status.code,
              ErrorCode::NotFound);
    EXPECT_EQ(row(note.id).state(), unsigned(State::Notified));
}

TEST_F(MessageStoreMmscTest, ASentMessageMovesToSentWithItsMessageIdInRowAndMailFile)
{
    const Added composed = messages.compose(tavmms_test::messageWithAttachments("Hi"));
    ASSERT_TRUE(composed.status.ok());
    // Longer than the row's field: the mail file keeps it whole.
    const QString id = QStringLiteral("20261126-0000000000000000000000000000001@mmsc.example");

    RowUpdate sent;
    sent.folder = Folder::Sent;
    sent.state = State::Sent;
    sent.messageId = id;
    ASSERT_TRUE(messages.update(composed.id, sent).ok());

    const ReadMessage kept = messages.read(composed.id);
    EXPECT_EQ(kept.row.folder(), unsigned(Folder::Sent));
    EXPECT_EQ(kept.row.state(), unsigned(State::Sent));
    EXPECT_EQ(kept.row.messageId(), id.left(39));
    ASSERT_TRUE(kept.header);
    EXPECT_EQ(kept.header->messageId, id);
    expectCheckClean();
}

TEST_F(MessageStoreMmscTest, AFailedSendKeepsWhyInTheRow)
{
    const Added composed = messages.compose(tavmms_test::messageWithAttachments("Hi"));
    ASSERT_TRUE(composed.status.ok());

    RowUpdate failed;
    failed.state = State::SendFailed;
    failed.note = QStringLiteral("Error-permanent-sending-address-unresolved: no such number");
    ASSERT_TRUE(messages.update(composed.id, failed).ok());

    const MessageRow kept = row(composed.id);
    EXPECT_EQ(kept.state(), unsigned(State::SendFailed));
    EXPECT_EQ(kept.folder(), unsigned(Folder::Outbox));
    EXPECT_EQ(kept.note(), *failed.note);
    EXPECT_EQ(tavmms::store::stateName(kept.state()), QStringLiteral("send failed"));
}

TEST_F(MessageStoreMmscTest, AReportReachesOnlyTheSentMessageWithItsMessageId)
{
    const Added sent = messages.compose(tavmms_test::messageWithAttachments("Hi"));
    const Added other = messages.compose(tavmms_test::messageWithAttachments("Other"));
    ASSERT_TRUE(sent.status.ok() && other.status.ok());
    RowUpdate done;
    done.folder = Folder::Sent;
    done.state = State::Sent;
    done.messageId = QStringLiteral("m-1@mmsc");
    ASSERT_TRUE(messages.update(sent.id, done).ok());
    // The same Message-ID on a message still waiting is no message the report is about.
    RowUpdate waiting;
    waiting.messageId = QStringLiteral("m-1@mmsc");
    ASSERT_TRUE(messages.update(other.id, waiting).ok());

    RowUpdate delivered;
    delivered.deliveryStatus = 129;
    const tavmms::store::Changed changed =
        messages.updateSent(QStringLiteral("m-1@mmsc"), delivered);
    ASSERT_TRUE(changed.status.ok()) << changed.status.text.toStdString();
    EXPECT_EQ(changed.changed, QList<unsigned int>{sent.id});
    EXPECT_EQ(row(sent.id).deliveryStatus(), std::optional<quint8>(129));
    EXPECT_EQ(row(other.id).deliveryStatus(), std::nullopt);
}

TEST_F(MessageStoreMmscTest, AReportForAnUnknownMessageIdIsNotFound)
{
    RowUpdate read;
    read.readStatus = 128;
    const tavmms::store::Changed changed = messages.updateSent(QStringLiteral("nobody"), read);
    EXPECT_EQ(changed.status.code, ErrorCode::NotFound);
    EXPECT_TRUE(changed.status.text.contains(QStringLiteral("nobody")));
    EXPECT_EQ(messages.updateSent(QString(), read).status.code, ErrorCode::NotFound);
}

TEST_F(MessageStoreMmscTest, AReportFieldSaysAskedUntilAStatusCame)
{
    MessageRow row;
    row.record.mms_fld_deliveryreport_name = 1;
    row.record.mms_fld_readreplyreport_name = 0;
    row.record.mms_fld_notifyrespstatus_name = 0;
    EXPECT_EQ(row.deliveryStatus(), std::nullopt);
    EXPECT_EQ(row.readStatus(), std::nullopt);
    EXPECT_EQ(row.notifyStatus(), std::nullopt);

    RowUpdate update;
    update.deliveryStatus = 130;
    update.readStatus = 129;
    update.notifyStatus = 131;
    tavmms::store::applyRowUpdate(&row.record, update);
    EXPECT_EQ(row.deliveryStatus(), std::optional<quint8>(130));
    EXPECT_EQ(row.readStatus(), std::optional<quint8>(129));
    EXPECT_EQ(row.notifyStatus(), std::optional<quint8>(131));
}

TEST_F(MessageStoreMmscTest, AnUpdateOfAMessageThatIsNotThereIsNotFound)
{
    RowUpdate update;
    update.state = State::Sent;
    EXPECT_EQ(messages.update(42, update).code, ErrorCode::NotFound);
    update.messageId = QStringLiteral("m-2@mmsc");
    EXPECT_EQ(messages.update(42, update).code, ErrorCode::NotFound);
}

// A mail file of no row, such as one a cut add left, is not the message's to change.
TEST_F(MessageStoreMmscTest, AnUpdateOfAMessageThatIsNotThereLeavesAFileOfItsNumberAlone)
{
    const Added composed = messages.compose(tavmms_test::messageWithAttachments("Hi"));
    ASSERT_TRUE(composed.status.ok());
    const QString stray = MMS_UTIL_Common::msgDBIDToMailFileName(composed.id + 1);
    ASSERT_TRUE(QFile::copy(composed.mailFile, stray));
    QFile file(stray);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    file.close();

    RowUpdate update;
    update.messageId = QStringLiteral("m-3@mmsc");
    EXPECT_EQ(messages.update(composed.id + 1, update).code, ErrorCode::NotFound);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), before);
}

// The MMSC took the message: its row says so even when the mail file cannot take the Message-ID,
// and the failure names what was not done.
TEST_F(MessageStoreMmscTest, ASentMessageWhoseMailFileIsGoneIsSentAndTheFailureSaysSo)
{
    const Added composed = messages.compose(tavmms_test::messageWithAttachments("Hi"));
    ASSERT_TRUE(composed.status.ok());
    ASSERT_TRUE(QFile::remove(composed.mailFile));

    RowUpdate sent;
    sent.folder = Folder::Sent;
    sent.state = State::Sent;
    sent.messageId = QStringLiteral("m-4@mmsc");
    const Status status = messages.update(composed.id, sent);
    EXPECT_EQ(status.code, ErrorCode::Failed);
    EXPECT_EQ(status.text, QStringLiteral("the row of message %1 was changed, but its mail file "
                                          "'%2' was not written: %3")
                               .arg(composed.id)
                               .arg(composed.mailFile)
                               .arg(QString::fromLocal8Bit(std::strerror(ENOENT))))
        << status.text.toStdString();
    const MessageRow kept = messages.read(composed.id, false).row;
    EXPECT_EQ(kept.state(), unsigned(State::Sent));
    EXPECT_EQ(kept.messageId(), QStringLiteral("m-4@mmsc"));
}

} // namespace
