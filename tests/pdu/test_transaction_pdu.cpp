// The small transaction PDUs: the phone's responses checked against their expected octets and read
// back; the MMSC's PDUs read from octets written out here, with each field they may lack left out,
// each they must carry taken away, text headers among them, the wrong type and every cut; and the
// names of their statuses.

#include "mms_pdu.h"
#include "support/model_helpers.h"
#include "support/octets.h"
#include "transaction_pdu.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <utility>

namespace
{

using namespace tavmms::pdu;
using tavmms::test::octets;
using tavmms::test::zeroEnded;

// A PDU's fields, each with its octets, so that a test can leave one out.
using Fields = QList<std::pair<Field, QByteArray>>;

QByteArray joined(const Fields& fields)
{
    QByteArray bytes;
    for (const auto& field : fields)
        bytes += field.second;
    return bytes;
}

QByteArray without(const Fields& fields, Field left)
{
    Fields kept;
    for (const auto& field : fields) {
        if (field.first != left)
            kept.append(field);
    }
    EXPECT_LT(kept.size(), fields.size()) << "no such field to leave out";
    return joined(kept);
}

QByteArray textField(int code, const char* text)
{
    return octets({code}) + zeroEnded(text);
}

Fields sendConf()
{
    return {
        {Field::MessageType, octets({0x8C, 0x81})},
        {Field::TransactionId, textField(0x98, "T-1")},
        {Field::MmsVersion, octets({0x8D, 0x92})},
        {Field::ResponseStatus, octets({0x92, 0x80})},
        {Field::ResponseText, textField(0x93, "Accepted")},
        {Field::MessageId, textField(0x8B, "id@mmsc")},
    };
}

Fields notification()
{
    return {
        {Field::MessageType, octets({0x8C, 0x82})},
        {Field::TransactionId, textField(0x98, "T-2")},
        {Field::MmsVersion, octets({0x8D, 0x91})},
        // From: a value length, address-present, the address.
        {Field::From, octets({0x89, 0x15, 0x80}) + zeroEnded("+15550101/TYPE=PLMN")},
        {Field::Subject, textField(0x96, "Hello")},
        {Field::MessageClass, octets({0x8A, 0x81})},
        {Field::MessageSize, octets({0x8E, 0x02, 0x10, 0x00})},
        // Expiry: a value length, relative, 3600 as a long integer.
        {Field::Expiry, octets({0x88, 0x04, 0x81, 0x02, 0x0E, 0x10})},
        {Field::ContentLocation, textField(0x83, "http://mmsc/m1")},
        {Field::DeliveryReport, octets({0x86, 0x80})},
    };
}

Fields deliveryReport()
{
    return {
        {Field::MessageType, octets({0x8C, 0x86})},
        {Field::MmsVersion, octets({0x8D, 0x92})},
        {Field::MessageId, textField(0x8B, "id@mmsc")},
        {Field::To, textField(0x97, "+15550101/TYPE=PLMN")},
        {Field::Date, octets({0x85, 0x04, 0x6A, 0x00, 0x00, 0x00})},
        {Field::Status, octets({0x95, 0x81})},
    };
}

Fields readReport()
{
    return {
        {Field::MessageType, octets({0x8C, 0x88})},
        {Field::MmsVersion, octets({0x8D, 0x92})},
        {Field::MessageId, textField(0x8B, "id@mmsc")},
        {Field::To, textField(0x97, "ann@example.org")},
        {Field::From, octets({0x89, 0x15, 0x80}) + zeroEnded("+15550102/TYPE=PLMN")},
        {Field::Date, octets({0x85, 0x04, 0x6A, 0x00, 0x00, 0x3C})},
        {Field::ReadStatus, octets({0x9B, 0x81})},
    };
}

// Whether each decoder read the bytes, with its error.
struct Outcome {
    bool decoded = false;
    TransactionError error;
};

using Decoder = std::function<Outcome(QByteArrayView)>;

template <typename Decode> Decoder decoder(Decode decode)
{
    return [decode](QByteArrayView bytes) {
        Outcome outcome;
        outcome.decoded = decode(bytes, &outcome.error).has_value();
        return outcome;
    };
}

struct Case {
    const char* name;
    Fields fields;
    Decoder decode;
    QList<std::pair<Field, const char*>> required;
};

QList<Case> cases()
{
    return {
        {"m-send-conf",
         sendConf(),
         decoder(decodeSendConf),
         {{Field::TransactionId, "no X-Mms-Transaction-Id"},
          {Field::ResponseStatus, "no X-Mms-Response-Status"}}},
        {"m-notification-ind",
         notification(),
         decoder(decodeNotification),
         {{Field::TransactionId, "no X-Mms-Transaction-Id"},
          {Field::MessageSize, "no X-Mms-Message-Size"},
          {Field::Expiry, "no X-Mms-Expiry"},
          {Field::ContentLocation, "no X-Mms-Content-Location"}}},
        {"m-delivery-ind",
         deliveryReport(),
         decoder(decodeDeliveryReport),
         {{Field::MessageId, "no Message-ID"},
          {Field::To, "no To"},
          {Field::Date, "no Date"},
          {Field::Status, "no X-Mms-Status"}}},
        {"m-read-orig-ind",
         readReport(),
         decoder(decodeReadReport),
         {{Field::MessageId, "no Message-ID"},
          {Field::To, "no To"},
          {Field::From, "no From"},
          {Field::Date, "no Date"},
          {Field::ReadStatus, "no X-Mms-Read-Status"}}},
    };
}

TEST(TransactionPduTest, ReadsEveryFieldOfAnMSendConf)
{
    TransactionError error;
    const std::optional<SendConf> conf = decodeSendConf(joined(sendConf()), &error);
    ASSERT_TRUE(conf) << error.text.toStdString();
    EXPECT_EQ(conf->transactionId, "T-1");
    EXPECT_EQ(conf->responseStatus, kResponseOk);
    EXPECT_EQ(conf->responseText, "Accepted");
    EXPECT_EQ(conf->messageId, "id@mmsc");
}

TEST(TransactionPduTest, AnMSendConfReadsWithoutItsTextAndMessageId)
{
    Fields fields = sendConf();
    fields[3].second = octets({0x92, 0xE1});
    const std::optional<SendConf> withoutText =
        decodeSendConf(without(fields, Field::ResponseText));
    ASSERT_TRUE(withoutText);
    EXPECT_TRUE(withoutText->responseText.isEmpty());
    EXPECT_EQ(withoutText->messageId, "id@mmsc");
    const std::optional<SendConf> refused = decodeSendConf(without(fields, Field::MessageId));
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->responseStatus, 225u);
    EXPECT_EQ(refused->responseText, "Accepted");
    EXPECT_TRUE(refused->messageId.isEmpty());
}

TEST(TransactionPduTest, ReadsAResponseTextInUtf8)
{
    Fields fields = sendConf();
    // A value length, UTF-8 (106), a quoted text: "Принято".
    fields[4].second = octets({0x93, 0x11, 0xEA, 0x7F}) + zeroEnded("Принято");
    const std::optional<SendConf> conf = decodeSendConf(joined(fields));
    ASSERT_TRUE(conf);
    EXPECT_EQ(conf->responseText, QString::fromUtf8("Принято"));
}

TEST(TransactionPduTest, ReadsEveryFieldOfAnMNotificationInd)
{
    TransactionError error;
    const std::optional<Notification> notice = decodeNotification(joined(notification()), &error);
    ASSERT_TRUE(notice) << error.text.toStdString();
    EXPECT_EQ(notice->transactionId, "T-2");
    EXPECT_EQ(notice->version, 0x91);
    EXPECT_EQ(notice->from, "+15550101/TYPE=PLMN");
    EXPECT_EQ(notice->subject, "Hello");
    EXPECT_EQ(notice->messageClass, "Advertisement");
    EXPECT_EQ(notice->messageSize, 4096u);
    EXPECT_EQ(notice->expiry, 3600u);
    EXPECT_TRUE(notice->expiryRelative);
    EXPECT_EQ(notice->contentLocation, "http://mmsc/m1");
    EXPECT_EQ(notice->deliveryReport, true);
}

TEST(TransactionPduTest, AnMNotificationIndReadsWithoutEachFieldItMayLack)
{
    const Fields fields = notification();
    const std::optional<Notification> noVersion =
        decodeNotification(without(fields, Field::MmsVersion));
    ASSERT_TRUE(noVersion);
    EXPECT_EQ(noVersion->version, 0x90);
    const std::optional<Notification> noFrom = decodeNotification(without(fields, Field::From));
    ASSERT_TRUE(noFrom);
    EXPECT_TRUE(noFrom->from.isEmpty());
    const std::optional<Notification> noSubject =
        decodeNotification(without(fields, Field::Subject));
    ASSERT_TRUE(noSubject);
    EXPECT_TRUE(noSubject->subject.isEmpty());
    const std::optional<Notification> noClass =
        decodeNotification(without(fields, Field::MessageClass));
    ASSERT_TRUE(noClass);
    EXPECT_TRUE(noClass->messageClass.isEmpty());
    const std::optional<Notification> noReport =
        decodeNotification(without(fields, Field::DeliveryReport));
    ASSERT_TRUE(noReport);
    EXPECT_FALSE(noReport->deliveryReport);
    EXPECT_EQ(noReport->contentLocation, "http://mmsc/m1");
}

TEST(TransactionPduTest, AFromTheMmscWasToInsertIsNoSender)
{
    Fields fields = notification();
    fields[3].second = octets({0x89, 0x01, 0x81});
    const std::optional<Notification> notice = decodeNotification(joined(fields));
    ASSERT_TRUE(notice);
    EXPECT_TRUE(notice->from.isEmpty());
    EXPECT_EQ(notice->subject, "Hello");
}

TEST(TransactionPduTest, ReadsAnExpiryAsAnAbsoluteDate)
{
    Fields fields = notification();
    fields[7].second = octets({0x88, 0x06, 0x80, 0x04, 0x6A, 0x00, 0x00, 0x00});
    const std::optional<Notification> notice = decodeNotification(joined(fields));
    ASSERT_TRUE(notice);
    EXPECT_EQ(notice->expiry, 0x6A000000u);
    EXPECT_FALSE(notice->expiryRelative);
}

TEST(TransactionPduTest, NamesEveryMessageClassAndKeepsAToken)
{
    const std::pair<QByteArray, const char*> classes[] = {
        {octets({0x8A, 0x80}), "Personal"},          {octets({0x8A, 0x81}), "Advertisement"},
        {octets({0x8A, 0x82}), "Informational"},     {octets({0x8A, 0x83}), "Auto"},
        {textField(0x8A, "Promotion"), "Promotion"},
    };
    for (const auto& [bytes, name] : classes) {
        SCOPED_TRACE(name);
        Fields fields = notification();
        fields[5].second = bytes;
        const std::optional<Notification> notice = decodeNotification(joined(fields));
        ASSERT_TRUE(notice);
        EXPECT_EQ(notice->messageClass, name);
    }
}

TEST(TransactionPduTest, ReadsADeliveryReportOfNo)
{
    Fields fields = notification();
    fields[9].second = octets({0x86, 0x81});
    const std::optional<Notification> notice = decodeNotification(joined(fields));
    ASSERT_TRUE(notice);
    EXPECT_EQ(notice->deliveryReport, false);
}

TEST(TransactionPduTest, DecodesASubjectInUtf8)
{
    Fields fields = notification();
    // A value length, UTF-8 (106), a quoted text: "Привет".
    fields[4].second = octets({0x96, 0x0F, 0xEA, 0x7F}) + zeroEnded("Привет");
    const std::optional<Notification> notice = decodeNotification(joined(fields));
    ASSERT_TRUE(notice);
    EXPECT_EQ(notice->subject, QString::fromUtf8("Привет"));
}

TEST(TransactionPduTest, ReadsEveryFieldOfAnMDeliveryInd)
{
    TransactionError error;
    const std::optional<DeliveryReport> report =
        decodeDeliveryReport(joined(deliveryReport()), &error);
    ASSERT_TRUE(report) << error.text.toStdString();
    EXPECT_EQ(report->messageId, "id@mmsc");
    EXPECT_EQ(report->to, "+15550101/TYPE=PLMN");
    EXPECT_EQ(report->date, 0x6A000000);
    EXPECT_EQ(report->status, quint64(MessageStatus::Retrieved));
}

TEST(TransactionPduTest, ReadsEveryFieldOfAnMReadOrigInd)
{
    TransactionError error;
    const std::optional<ReadReport> report = decodeReadReport(joined(readReport()), &error);
    ASSERT_TRUE(report) << error.text.toStdString();
    EXPECT_EQ(report->messageId, "id@mmsc");
    EXPECT_EQ(report->to, "ann@example.org");
    EXPECT_EQ(report->from, "+15550102/TYPE=PLMN");
    EXPECT_EQ(report->date, 0x6A00003C);
    EXPECT_EQ(report->readStatus, quint64(ReadStatus::DeletedWithoutBeingRead));
}

TEST(TransactionPduTest, AReadReportFromTheMmscWasToInsertHasAnEmptyFrom)
{
    Fields fields = readReport();
    fields[4].second = octets({0x89, 0x01, 0x81});
    const std::optional<ReadReport> report = decodeReadReport(joined(fields));
    ASSERT_TRUE(report);
    EXPECT_TRUE(report->from.isEmpty());
    EXPECT_EQ(report->readStatus, quint64(ReadStatus::DeletedWithoutBeingRead));
}

TEST(TransactionPduTest, ADateBeyondWhatTheMembersHoldIsKeptAtTheirLargest)
{
    Fields fields = deliveryReport();
    fields[4].second = octets({0x85, 0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    const std::optional<DeliveryReport> report = decodeDeliveryReport(joined(fields));
    ASSERT_TRUE(report);
    EXPECT_EQ(report->date, std::numeric_limits<qint64>::max());
}

TEST(TransactionPduTest, RefusesEachPduWithoutAFieldItMustCarryNamingIt)
{
    for (const Case& c : cases()) {
        for (const auto& [field, text] : c.required) {
            SCOPED_TRACE(std::string(c.name) + ": " + text);
            const Outcome outcome = c.decode(without(c.fields, field));
            EXPECT_FALSE(outcome.decoded);
            EXPECT_EQ(outcome.error.kind, TransactionError::MissingField);
            EXPECT_EQ(outcome.error.text, text);
        }
    }
}

TEST(TransactionPduTest, ReadsEachPduWithATextHeaderAmongItsFields)
{
    const QByteArray header = zeroEnded("X-Scanned-By") + zeroEnded("scanner 1.0");
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.name);
        QByteArray bytes = joined(c.fields);
        // After the message type, which comes first.
        bytes.insert(2, header);
        const Outcome outcome = c.decode(bytes);
        EXPECT_TRUE(outcome.decoded) << outcome.error.text.toStdString();
    }
    QByteArray bytes = joined(deliveryReport());
    bytes.insert(2, header);
    const std::optional<DeliveryReport> report = decodeDeliveryReport(bytes);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->to, "+15550101/TYPE=PLMN");
    EXPECT_EQ(report->status, quint64(MessageStatus::Retrieved));
}

TEST(TransactionPduTest, RefusesAPduOfAnotherTypeNamingBoth)
{
    TransactionError error;
    EXPECT_FALSE(decodeSendConf(joined(deliveryReport()), &error));
    EXPECT_EQ(error.kind, TransactionError::WrongType);
    EXPECT_EQ(error.text, "an m-delivery-ind, not an m-send-conf");
    EXPECT_FALSE(decodeNotification(joined(sendConf()), &error));
    EXPECT_EQ(error.text, "an m-send-conf, not an m-notification-ind");
    EXPECT_FALSE(decodeDeliveryReport(joined(readReport()), &error));
    EXPECT_EQ(error.text, "an m-read-orig-ind, not an m-delivery-ind");
    EXPECT_FALSE(decodeReadReport(joined(notification()), &error));
    EXPECT_EQ(error.text, "an m-notification-ind, not an m-read-orig-ind");
    EXPECT_EQ(error.kind, TransactionError::WrongType);
}

TEST(TransactionPduTest, RefusesAnUnknownMessageTypeByItsNumber)
{
    QByteArray bytes = joined(sendConf());
    bytes[1] = char(99);
    TransactionError error;
    EXPECT_FALSE(decodeSendConf(bytes, &error));
    EXPECT_EQ(error.kind, TransactionError::WrongType);
    EXPECT_EQ(error.text, "unknown message type 99, not an m-send-conf");
}

TEST(TransactionPduTest, RefusesBytesThatDoNotReadWithTheOffsetAndWhatWasExpected)
{
    // The transaction id, from offset 3, runs to the end without its zero octet.
    const QByteArray bytes = octets({0x8C, 0x81, 0x98, 'T', '-', '1'});
    TransactionError error;
    EXPECT_FALSE(decodeSendConf(bytes, &error));
    EXPECT_EQ(error.kind, TransactionError::Malformed);
    EXPECT_EQ(error.text, "offset 3: expected a text string ending in a zero octet");

    EXPECT_FALSE(decodeNotification(QByteArray(), &error));
    EXPECT_EQ(error.kind, TransactionError::Malformed);
    EXPECT_TRUE(error.text.startsWith("offset 0: expected ")) << error.text.toStdString();
}

TEST(TransactionPduTest, EveryCutOfEachPduDecodesOrIsRefusedInWords)
{
    for (const Case& c : cases()) {
        const QByteArray whole = joined(c.fields);
        for (qsizetype length = 0; length < whole.size(); ++length) {
            SCOPED_TRACE(std::string(c.name) + " cut at " + std::to_string(length));
            const Outcome outcome = c.decode(whole.first(length));
            if (outcome.decoded)
                continue;
            EXPECT_NE(outcome.error.kind, TransactionError::WrongType);
            EXPECT_FALSE(outcome.error.text.isEmpty());
        }
        EXPECT_TRUE(c.decode(whole).decoded) << c.name;
    }
}

TEST(TransactionPduTest, WritesAnMNotifyRespIndAsExpected)
{
    QByteArray expected = octets({0x8C, 0x83, 0x98});
    expected += zeroEnded("T-2");
    expected += octets({0x8D, 0x92, 0x95, 0x83, 0x91, 0x81});
    const QByteArray written = encodeNotifyResp("T-2", MessageStatus::Deferred, false);
    EXPECT_EQ(written, expected);
    const std::optional<Pdu> pdu = decodePdu(written);
    ASSERT_TRUE(pdu);
    EXPECT_EQ(pdu->messageType(), MessageType::NotifyRespInd);
    EXPECT_EQ(pdu->text(Field::TransactionId), "T-2");
    EXPECT_EQ(pdu->number(Field::MmsVersion), 0x12u);
    EXPECT_EQ(pdu->number(Field::Status), quint64(MessageStatus::Deferred));
    EXPECT_EQ(pdu->number(Field::ReportAllowed), 129u);
}

TEST(TransactionPduTest, WritesAnMNotifyRespIndThatAllowsAReport)
{
    const QByteArray written = encodeNotifyResp("T-9", MessageStatus::Retrieved, true);
    EXPECT_EQ(written.right(4), octets({0x95, 0x81, 0x91, 0x80}));
}

TEST(TransactionPduTest, WritesAnMAcknowledgeIndAsExpected)
{
    QByteArray expected = octets({0x8C, 0x85, 0x98});
    expected += zeroEnded("T-3");
    expected += octets({0x8D, 0x92, 0x91, 0x80});
    const QByteArray written = encodeAcknowledge("T-3", true);
    EXPECT_EQ(written, expected);
    const std::optional<Pdu> pdu = decodePdu(written);
    ASSERT_TRUE(pdu);
    EXPECT_EQ(pdu->messageType(), MessageType::AcknowledgeInd);
    EXPECT_EQ(pdu->text(Field::TransactionId), "T-3");
    EXPECT_EQ(pdu->number(Field::ReportAllowed), 128u);
    EXPECT_EQ(encodeAcknowledge("T-3", false).back(), char(0x81));
}

TEST(TransactionPduTest, WritesAnMReadRecIndAsExpected)
{
    QByteArray expected = octets({0x8C, 0x87, 0x8D, 0x92, 0x8B});
    expected += zeroEnded("id@mmsc");
    expected += char(0x97);
    expected += zeroEnded("+15550101/TYPE=PLMN");
    expected += octets({0x89, 0x01, 0x81, 0x85, 0x04, 0x6A, 0x00, 0x00, 0x3C, 0x9B, 0x80});
    const QByteArray written =
        encodeReadRec("id@mmsc", "+15550101/TYPE=PLMN", 0x6A00003C, ReadStatus::Read);
    EXPECT_EQ(written, expected);
    const std::optional<Pdu> pdu = decodePdu(written);
    ASSERT_TRUE(pdu);
    EXPECT_EQ(pdu->messageType(), MessageType::ReadRecInd);
    EXPECT_EQ(pdu->text(Field::MessageId), "id@mmsc");
    EXPECT_EQ(pdu->text(Field::To), "+15550101/TYPE=PLMN");
    ASSERT_TRUE(pdu->find(Field::From));
    EXPECT_TRUE(pdu->find(Field::From)->insertAddress);
    EXPECT_EQ(pdu->number(Field::Date), 0x6A00003Cu);
    EXPECT_EQ(pdu->number(Field::ReadStatus), quint64(ReadStatus::Read));
}

TEST(TransactionPduTest, WritesAReadRecToAnAddressInUtf8AndADateBefore1970AsZero)
{
    QByteArray expected = octets({0x8C, 0x87, 0x8D, 0x92, 0x8B});
    expected += zeroEnded("x");
    // A value length, UTF-8 (106), the address.
    expected += octets({0x97, 0x13, 0xEA}) + zeroEnded("jörg@example.org");
    expected += octets({0x89, 0x01, 0x81, 0x85, 0x01, 0x00, 0x9B, 0x81});
    const QByteArray written = encodeReadRec("x", QString::fromUtf8("jörg@example.org"), -5,
                                             ReadStatus::DeletedWithoutBeingRead);
    EXPECT_EQ(written, expected);
    const std::optional<Pdu> pdu = decodePdu(written);
    ASSERT_TRUE(pdu);
    EXPECT_EQ(pdu->text(Field::To), QString::fromUtf8("jörg@example.org"));
}

TEST(TransactionPduTest, NamesEveryResponseStatus)
{
    const std::pair<quint64, const char*> names[] = {
        {128, "Ok"},
        {129, "Error-unspecified"},
        {130, "Error-service-denied"},
        {131, "Error-message-format-corrupt"},
        {132, "Error-sending-address-unresolved"},
        {133, "Error-message-not-found"},
        {134, "Error-network-problem"},
        {135, "Error-content-not-accepted"},
        {136, "Error-unsupported-message"},
        {192, "Error-transient-failure"},
        {193, "Error-transient-sending-address-unresolved"},
        {194, "Error-transient-message-not-found"},
        {195, "Error-transient-network-problem"},
        {196, "Error-transient-partial-success"},
        {224, "Error-permanent-failure"},
        {225, "Error-permanent-service-denied"},
        {226, "Error-permanent-message-format-corrupt"},
        {227, "Error-permanent-sending-address-unresolved"},
        {228, "Error-permanent-message-not-found"},
        {229, "Error-permanent-content-not-accepted"},
        {230, "Error-permanent-reply-charging-limitations-not-met"},
        {231, "Error-permanent-reply-charging-request-not-accepted"},
        {232, "Error-permanent-reply-charging-forwarding-denied"},
        {233, "Error-permanent-reply-charging-not-supported"},
        {234, "Error-permanent-address-hiding-not-supported"},
        {235, "Error-permanent-lack-of-prepaid"},
    };
    for (const auto& [status, name] : names)
        EXPECT_EQ(responseStatusName(status), name) << status;
    for (const quint64 unknown : {0, 127, 137, 191, 197, 223, 236, 255, 256 + 128})
        EXPECT_TRUE(responseStatusName(unknown).isEmpty()) << unknown;
}

TEST(TransactionPduTest, TellsTheTransientResponseStatusesFromTheOthers)
{
    for (quint64 status = 0; status <= 255; ++status) {
        const bool transient = status == 134 || (status >= 192 && status <= 223);
        EXPECT_EQ(isTransientResponseStatus(status), transient) << status;
    }
    EXPECT_FALSE(isTransientResponseStatus(256 + 192));
}

TEST(TransactionPduTest, NamesEveryMessageStatus)
{
    const std::pair<MessageStatus, const char*> names[] = {
        {MessageStatus::Expired, "Expired"},
        {MessageStatus::Retrieved, "Retrieved"},
        {MessageStatus::Rejected, "Rejected"},
        {MessageStatus::Deferred, "Deferred"},
        {MessageStatus::Unrecognised, "Unrecognised"},
        {MessageStatus::Indeterminate, "Indeterminate"},
        {MessageStatus::Forwarded, "Forwarded"},
        {MessageStatus::Unreachable, "Unreachable"},
    };
    quint64 expectedNumber = 128;
    for (const auto& [status, name] : names) {
        EXPECT_EQ(quint64(status), expectedNumber++);
        EXPECT_EQ(messageStatusName(quint64(status)), name);
    }
    for (const quint64 unknown : {0, 127, 136, 255})
        EXPECT_TRUE(messageStatusName(unknown).isEmpty()) << unknown;
}

TEST(TransactionPduTest, NamesEveryReadStatus)
{
    EXPECT_EQ(readStatusName(128), "Read");
    EXPECT_EQ(readStatusName(129), "Deleted without being read");
    EXPECT_EQ(quint64(ReadStatus::Read), 128u);
    EXPECT_EQ(quint64(ReadStatus::DeletedWithoutBeingRead), 129u);
    for (const quint64 unknown : {0, 127, 130, 255})
        EXPECT_TRUE(readStatusName(unknown).isEmpty()) << unknown;
}

TEST(TransactionPduTest, NamesEveryMessageClass)
{
    EXPECT_EQ(messageClassName(128), "Personal");
    EXPECT_EQ(messageClassName(129), "Advertisement");
    EXPECT_EQ(messageClassName(130), "Informational");
    EXPECT_EQ(messageClassName(131), "Auto");
    for (const quint64 unknown : {0, 127, 132, 255})
        EXPECT_TRUE(messageClassName(unknown).isEmpty()) << unknown;
}

} // namespace
