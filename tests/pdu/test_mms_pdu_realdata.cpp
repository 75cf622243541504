// The PDUs real handsets and MMSCs produced: every one decodes, with the values they are known to
// carry, and encodes back to bytes that decode to the same values. They are read where the
// machine keeps them, and the tests skip when they are not there.

#include "mms_message.h"
#include "mms_pdu.h"
#include "support/pdu_helpers.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace
{

using namespace tavmms::pdu;

const QString kFolder = tavmms_test::realPduFolder();

class RealPduTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!QDir(kFolder).exists())
            GTEST_SKIP() << "no real PDUs at " << kFolder.toStdString();
    }

    static QByteArray bytesOf(const QString& name)
    {
        QFile file(kFolder + QLatin1Char('/') + name);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        return file.readAll();
    }

    static Pdu decoded(const QString& name)
    {
        DecodeError error;
        const std::optional<Pdu> pdu = decodePdu(bytesOf(name), &error);
        EXPECT_TRUE(pdu) << name.toStdString() << ": at " << error.offset << ", "
                         << error.expected.toStdString();
        return pdu.value_or(Pdu{});
    }
};

TEST_F(RealPduTest, EveryOneDecodesAndRoundTrips)
{
    const QStringList names = QDir(kFolder).entryList(QDir::Files);
    EXPECT_EQ(names.size(), 26);
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const Pdu pdu = decoded(name);
        ASSERT_TRUE(pdu.messageType());
        EXPECT_TRUE(pdu.warnings.isEmpty()) << pdu.warnings.join(QLatin1Char('\n')).toStdString();
        const std::optional<Pdu> again = decodePdu(encodePdu(pdu));
        ASSERT_TRUE(again);
        EXPECT_EQ(*again, pdu);
    }
}

TEST_F(RealPduTest, EveryMessageDecodesWholeAndEncodesBackInOnePass)
{
    const QStringList names =
        QDir(kFolder).entryList({QStringLiteral("m-retrieve_*"), QStringLiteral("m-send_*.req")});
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const QByteArray bytes = bytesOf(name);
        DecodeError error;
        const std::optional<Message> message = decodeMessage(bytes, &error);
        ASSERT_TRUE(message) << error.offset << ": " << error.expected.toStdString();
        EXPECT_FALSE(message->parts.isEmpty());
        const std::optional<Message> again = decodeMessage(encodeMessage(*message));
        ASSERT_TRUE(again);
        EXPECT_EQ(again->pdu, message->pdu);
        EXPECT_EQ(again->parts, message->parts);
    }
}

TEST_F(RealPduTest, ARetrievedMessageKeepsItsRecipientsAndBody)
{
    const Pdu pdu = decoded(QStringLiteral("m-retrieve_1.conf"));
    EXPECT_EQ(pdu.messageType(), MessageType::RetrieveConf);
    EXPECT_EQ(pdu.text(Field::TransactionId), "m10l9m7u03mct2jbc12@mms.beeline.ru");
    EXPECT_EQ(pdu.number(Field::MmsVersion), 0x10u);
    EXPECT_EQ(pdu.text(Field::From), "+79050000000/TYPE=PLMN");
    ASSERT_EQ(pdu.findAll(Field::To).size(), 2);
    EXPECT_EQ(pdu.findAll(Field::To)[1]->text, "+79650000002/TYPE=PLMN");
    EXPECT_EQ(pdu.findAll(Field::Cc).size(), 2);
    EXPECT_EQ(pdu.number(Field::RetrieveStatus), 128u);
    EXPECT_EQ(pdu.find(Field::RetrieveText)->charset, 3u);
    ASSERT_TRUE(pdu.contentType());
    EXPECT_EQ(pdu.contentType()->mediaType, "application/vnd.wap.multipart.related");
    EXPECT_EQ(pdu.contentType()->parameter("type"), "application/smil");
    EXPECT_EQ(pdu.contentType()->parameter("start"), "<0.smil>");
    EXPECT_EQ(pdu.headers.last().field(), Field::ContentType);
    // Three parts follow the 278 octets of the header.
    EXPECT_EQ(pdu.body.size(), 14722 - 278);
    EXPECT_EQ(pdu.body.front(), 3);
}

TEST_F(RealPduTest, SubjectsInUtf8AndASenderInKsc5601)
{
    EXPECT_EQ(decoded(QStringLiteral("m-retrieve_2.conf")).text(Field::Subject),
              QStringLiteral("Входит Пушкин в летном шлеме..."));
    const Pdu korean = decoded(QStringLiteral("m-retrieve_10.conf"));
    EXPECT_EQ(korean.text(Field::Subject), QStringLiteral("MMS 수신 안 "));
    EXPECT_EQ(korean.find(Field::From)->charset, 36u);
    EXPECT_EQ(korean.text(Field::From), "01000000000/TYPE=PLMN");
}

TEST_F(RealPduTest, AnEmptySubjectWithACharsetStaysEmpty)
{
    const Pdu pdu = decoded(QStringLiteral("m-retrieve_4.conf"));
    ASSERT_TRUE(pdu.find(Field::Subject));
    EXPECT_EQ(pdu.find(Field::Subject)->charset, 106u);
    EXPECT_TRUE(pdu.text(Field::Subject).isEmpty());
}

TEST_F(RealPduTest, ARetrieveErrorCarriesItsStatusAndText)
{
    const Pdu pdu = decoded(QStringLiteral("m-retrieve_5.conf"));
    EXPECT_EQ(pdu.number(Field::RetrieveStatus), 226u);
    EXPECT_EQ(pdu.text(Field::RetrieveText), "4504:Message not found");
    EXPECT_EQ(pdu.contentType()->mediaType, "text/plain");
}

TEST_F(RealPduTest, PreviouslySentByAndDate)
{
    const Pdu pdu = decoded(QStringLiteral("m-retrieve_8.conf"));
    ASSERT_TRUE(pdu.find(Field::PreviouslySentBy));
    EXPECT_EQ(pdu.text(Field::PreviouslySentBy), "+46722222222/TYPE=PLMN");
    EXPECT_EQ(pdu.number(Field::PreviouslySentDate), 1398179580u);
}

TEST_F(RealPduTest, SentMessagesAskTheMmscToInsertTheSender)
{
    for (const char* name : {"m-send_1.req", "m-send_2.req", "m-send_3.req"}) {
        SCOPED_TRACE(name);
        const Pdu pdu = decoded(QString::fromLatin1(name));
        EXPECT_EQ(pdu.messageType(), MessageType::SendReq);
        ASSERT_TRUE(pdu.find(Field::From));
        EXPECT_TRUE(pdu.find(Field::From)->insertAddress);
    }
    EXPECT_EQ(decoded(QStringLiteral("m-send_1.req")).number(Field::SenderVisibility), 129u);
    const Pdu third = decoded(QStringLiteral("m-send_3.req"));
    const HeaderField* expiry = third.find(Field::Expiry);
    ASSERT_TRUE(expiry);
    EXPECT_TRUE(expiry->relative);
    EXPECT_EQ(expiry->number, 604800u);
}

TEST_F(RealPduTest, ConfirmationsCarryTheirResponseTextInUtf8)
{
    const Pdu pdu = decoded(QStringLiteral("m-send_3.conf"));
    EXPECT_EQ(pdu.messageType(), MessageType::SendConf);
    EXPECT_EQ(pdu.number(Field::ResponseStatus), 128u);
    EXPECT_EQ(pdu.text(Field::ResponseText), QStringLiteral("Сообщение успешно принято."));
}

TEST_F(RealPduTest, NotificationsWithRelativeAndAbsoluteExpiry)
{
    const Pdu relative = decoded(QStringLiteral("m-notification_1.ind"));
    EXPECT_EQ(relative.messageType(), MessageType::NotificationInd);
    EXPECT_TRUE(relative.find(Field::Expiry)->relative);
    EXPECT_EQ(relative.number(Field::MessageSize), 25031u);
    EXPECT_EQ(relative.text(Field::ContentLocation),
              "http://mmsr5/?message-id=m10l9m7u03mct2jbc12");
    const Pdu absolute = decoded(QStringLiteral("m-notification_4.ind"));
    EXPECT_FALSE(absolute.find(Field::Expiry)->relative);
    EXPECT_EQ(absolute.number(Field::Expiry), 1479160938u);
}

TEST_F(RealPduTest, TextHeadersAmongTheMmsHeadersAreKeptInPlace)
{
    const Pdu pdu = decoded(QStringLiteral("m-delivery_2.ind"));
    EXPECT_EQ(pdu.messageType(), MessageType::DeliveryInd);
    ASSERT_GE(pdu.headers.size(), 5);
    EXPECT_EQ(pdu.headers[3].name, "Return-Path");
    EXPECT_EQ(pdu.headers[3].raw, "<mmscadm@mms.mnc091.mcc244.gprs>");
    EXPECT_EQ(pdu.headers[4].displayName(), "X-Scanned-By");
    EXPECT_EQ(pdu.number(Field::Status), 129u);
}

TEST_F(RealPduTest, ReadReports)
{
    const Pdu original = decoded(QStringLiteral("m-read-orig.ind"));
    EXPECT_EQ(original.messageType(), MessageType::ReadOrigInd);
    EXPECT_EQ(original.number(Field::ReadStatus), 128u);
    const Pdu recipient = decoded(QStringLiteral("m-read-rec.ind"));
    EXPECT_EQ(recipient.messageType(), MessageType::ReadRecInd);
    EXPECT_TRUE(recipient.find(Field::From)->insertAddress);
}

} // namespace
