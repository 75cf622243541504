// A retrieved message PDU read into the message the store keeps: each header field into its
// header field, the body as carried, and the PDUs that are no message to keep refused, saying why.
// Real PDUs are read where the machine keeps them; those tests skip when they are not there.

#include "retrieved_message.h"

#include "mms_message.h"
#include "mms_pdu.h"
#include "multipart.h"

#include "support/pdu_helpers.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

namespace
{

using namespace tavmms::pdu;
using tavmms::store::ErrorCode;
using tavmms::store::NewMessage;
using tavmms::store::retrievedMessage;
using tavmms::store::RetrievedMessage;

const QDateTime kNow = QDateTime::fromSecsSinceEpoch(1700000000);

using tavmms_test::retrieveConfPdu;
using tavmms_test::twoPartBody;

NewMessage read(const QList<HeaderField>& fields)
{
    const RetrievedMessage retrieved = retrievedMessage(retrieveConfPdu(fields), kNow);
    EXPECT_TRUE(retrieved.status.ok()) << retrieved.status.text.toStdString();
    return retrieved.message;
}

TEST(RetrievedMessage, TakesTheAddressesSubjectIdsAndBodyAsCarried)
{
    const NewMessage message =
        read({HeaderField::from(QStringLiteral("+15550101/TYPE=PLMN")),
              HeaderField::textField(Field::To, QStringLiteral("+15550102/TYPE=PLMN")),
              HeaderField::textField(Field::To, QStringLiteral("ann@example.org")),
              HeaderField::textField(Field::Cc, QStringLiteral("+15550103/TYPE=PLNM")),
              HeaderField::textField(Field::Bcc, QStringLiteral("10.0.0.1/TYPE=IPv4")),
              HeaderField::textField(Field::Subject, QStringLiteral("Grüße")),
              HeaderField::textField(Field::MessageId, QStringLiteral("m-1@mmsc")),
              HeaderField::integer(Field::Date, 1600000000)});
    EXPECT_EQ(message.from.address, QStringLiteral("+15550101"));
    EXPECT_EQ(message.from.type, MMS_UTIL_ADDR_PLMN);
    ASSERT_EQ(message.to.size(), 2);
    EXPECT_EQ(message.to[0].address, QStringLiteral("+15550102"));
    EXPECT_EQ(message.to[1].type, MMS_UTIL_ADDR_EMAIL);
    ASSERT_EQ(message.cc.size(), 1);
    EXPECT_EQ(message.cc[0].address, QStringLiteral("+15550103"));
    ASSERT_EQ(message.bcc.size(), 1);
    EXPECT_EQ(message.bcc[0].address, QStringLiteral("10.0.0.1/TYPE=IPv4"));
    EXPECT_EQ(message.subject, QStringLiteral("Grüße"));
    EXPECT_EQ(message.messageId, QStringLiteral("m-1@mmsc"));
    EXPECT_EQ(message.transactionId, QStringLiteral("T-1"));
    EXPECT_EQ(message.date.toSecsSinceEpoch(), 1600000000);
    EXPECT_EQ(message.body, twoPartBody());
    EXPECT_EQ(message.contentType.type, QStringLiteral("application"));
    EXPECT_EQ(message.contentType.subtype, QStringLiteral("vnd.wap.multipart.mixed"));
    EXPECT_FALSE(message.messageSize);
}

TEST(RetrievedMessage, ASenderLeftForTheMmscToInsertIsNoSender)
{
    EXPECT_TRUE(read({HeaderField::insertAddressFrom()}).from.address.isEmpty());
}

TEST(RetrievedMessage, ARelativeExpiryStaysInSeconds)
{
    EXPECT_EQ(read({HeaderField::time(Field::Expiry, 86400, true)}).expiry, 86400u);
}

TEST(RetrievedMessage, AnAbsoluteExpiryCountsFromTheMessagesDate)
{
    EXPECT_EQ(read({HeaderField::integer(Field::Date, 1600000000),
                    HeaderField::time(Field::Expiry, 1600003600, false)})
                  .expiry,
              3600u);
}

TEST(RetrievedMessage, AnAbsoluteExpiryWithoutADateCountsFromNow)
{
    EXPECT_EQ(read({HeaderField::time(Field::Expiry, 1700000060, false)}).expiry, 60u);
}

TEST(RetrievedMessage, AnExpiryPastIsZeroAndOneBeyond32BitsIsTheLargest)
{
    EXPECT_EQ(read({HeaderField::time(Field::Expiry, 1000, false)}).expiry, 0u);
    EXPECT_EQ(read({HeaderField::time(Field::Expiry, 0x1FFFFFFFFull, true)}).expiry, 0xFFFFFFFFu);
}

TEST(RetrievedMessage, ADeliveryTimeIsAbsoluteOrCountsFromTheDate)
{
    EXPECT_EQ(read({HeaderField::time(Field::DeliveryTime, 1600000000, false)})
                  .deliveryTime.toSecsSinceEpoch(),
              1600000000);
    EXPECT_EQ(read({HeaderField::integer(Field::Date, 1600000000),
                    HeaderField::time(Field::DeliveryTime, 60, true)})
                  .deliveryTime.toSecsSinceEpoch(),
              1600000060);
}

TEST(RetrievedMessage, TakesThePriority)
{
    for (const quint64 priority : {128u, 129u, 130u})
        EXPECT_EQ(read({HeaderField::octet(Field::Priority, priority)}).priority, priority);
}

TEST(RetrievedMessage, ReportsAreAskedForOnlyByYes)
{
    const NewMessage yes = read({HeaderField::octet(Field::DeliveryReport, 128),
                                 HeaderField::octet(Field::ReadReport, 128)});
    EXPECT_EQ(yes.deliveryReport, true);
    EXPECT_EQ(yes.readReport, true);
    const NewMessage no = read({HeaderField::octet(Field::DeliveryReport, 129),
                                HeaderField::octet(Field::ReadReport, 129)});
    EXPECT_EQ(no.deliveryReport, false);
    EXPECT_EQ(no.readReport, false);
    const NewMessage unsaid = read({});
    EXPECT_FALSE(unsaid.deliveryReport);
    EXPECT_FALSE(unsaid.readReport);
}

TEST(RetrievedMessage, TheSenderIsVisibleUnlessHidden)
{
    EXPECT_EQ(read({HeaderField::octet(Field::SenderVisibility, 128)}).senderVisible, false);
    EXPECT_EQ(read({HeaderField::octet(Field::SenderVisibility, 129)}).senderVisible, true);
    EXPECT_EQ(read({}).senderVisible, true);
}

TEST(RetrievedMessage, TheMessageSizeIsTheOneGiven)
{
    EXPECT_EQ(read({HeaderField::integer(Field::MessageSize, 25031)}).messageSize, 25031u);
}

TEST(RetrievedMessage, AnotherPduIsRefusedNamingItsType)
{
    const RetrievedMessage retrieved =
        retrievedMessage(encodePdu(tavmms_test::pduOfType(MessageType::SendReq)));
    EXPECT_EQ(retrieved.status.code, ErrorCode::WrongType);
    EXPECT_TRUE(retrieved.status.text.contains(QStringLiteral("m-send-req")))
        << retrieved.status.text.toStdString();
}

TEST(RetrievedMessage, BytesThatDoNotReadAreRefusedNamingTheOffset)
{
    const RetrievedMessage garbage = retrievedMessage(QByteArray("\x01\x02\x03", 3));
    EXPECT_EQ(garbage.status.code, ErrorCode::Malformed);
    EXPECT_TRUE(garbage.status.text.contains(QStringLiteral("offset 0")))
        << garbage.status.text.toStdString();

    const RetrievedMessage cut = retrievedMessage(retrieveConfPdu({}, twoPartBody().chopped(3)));
    EXPECT_EQ(cut.status.code, ErrorCode::Malformed);
    EXPECT_TRUE(cut.status.text.contains(QStringLiteral("in the multipart body")))
        << cut.status.text.toStdString();
}

TEST(RetrievedMessage, AnErrorStatusIsRefusedWithItsNumberNameAndText)
{
    const RetrievedMessage retrieved = retrievedMessage(retrieveConfPdu(
        {HeaderField::octet(Field::RetrieveStatus, 193),
         HeaderField::textField(Field::RetrieveText, QStringLiteral("try later"))}));
    EXPECT_EQ(retrieved.status.code, ErrorCode::NotRetrieved);
    EXPECT_EQ(retrieved.status.text,
              QStringLiteral("the MMSC could not give the message: status 193 "
                             "Error-transient-message-not-found (try later); nothing was kept"));
}

TEST(RetrievedMessage, AnOkStatusIsTaken)
{
    EXPECT_TRUE(retrievedMessage(retrieveConfPdu({HeaderField::octet(Field::RetrieveStatus, 128)}))
                    .status.ok());
}

TEST(RetrievedMessage, NamesEveryRetrieveStatus)
{
    EXPECT_EQ(tavmms::store::retrieveStatusName(192), QStringLiteral("Error-transient-failure"));
    EXPECT_EQ(tavmms::store::retrieveStatusName(194),
              QStringLiteral("Error-transient-network-problem"));
    EXPECT_EQ(tavmms::store::retrieveStatusName(224), QStringLiteral("Error-permanent-failure"));
    EXPECT_EQ(tavmms::store::retrieveStatusName(225),
              QStringLiteral("Error-permanent-service-denied"));
    EXPECT_EQ(tavmms::store::retrieveStatusName(227),
              QStringLiteral("Error-permanent-content-unsupported"));
    EXPECT_TRUE(tavmms::store::retrieveStatusName(200).isEmpty());
}

class RealRetrievedMessage : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!QDir(tavmms_test::realPduFolder()).exists())
            GTEST_SKIP() << "no real PDUs at " << tavmms_test::realPduFolder().toStdString();
    }

    static RetrievedMessage retrieved(const QString& name)
    {
        return retrievedMessage(tavmms_test::realPdu(name), kNow);
    }
};

TEST_F(RealRetrievedMessage, EveryRetrievedMessageButTheNotFoundOneIsTakenWithItsBodyAsCarried)
{
    const QStringList names =
        QDir(tavmms_test::realPduFolder()).entryList({QStringLiteral("m-retrieve_*.conf")});
    EXPECT_EQ(names.size(), 10);
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const RetrievedMessage message = retrieved(name);
        if (name == QLatin1String("m-retrieve_5.conf"))
            continue;
        ASSERT_TRUE(message.status.ok()) << message.status.text.toStdString();
        EXPECT_TRUE(tavmms_test::realPdu(name).endsWith(message.message.body));
    }
}

TEST_F(RealRetrievedMessage, AKoreanSubjectAndASenderInKsc5601)
{
    const RetrievedMessage message = retrieved(QStringLiteral("m-retrieve_10.conf"));
    ASSERT_TRUE(message.status.ok()) << message.status.text.toStdString();
    EXPECT_EQ(message.message.subject, QStringLiteral("MMS 수신 안 "));
    EXPECT_EQ(message.message.from.address, QStringLiteral("01000000000"));
    EXPECT_EQ(message.message.from.type, MMS_UTIL_ADDR_PLMN);
}

TEST_F(RealRetrievedMessage, ARetrievedMessageKeepsItsRecipientsAndRelatedType)
{
    const RetrievedMessage message = retrieved(QStringLiteral("m-retrieve_1.conf"));
    ASSERT_TRUE(message.status.ok()) << message.status.text.toStdString();
    EXPECT_EQ(message.message.from.address, QStringLiteral("+79050000000"));
    ASSERT_EQ(message.message.to.size(), 2);
    EXPECT_EQ(message.message.to[1].address, QStringLiteral("+79650000002"));
    EXPECT_EQ(message.message.cc.size(), 2);
    EXPECT_EQ(message.message.transactionId, QStringLiteral("m10l9m7u03mct2jbc12@mms.beeline.ru"));
    EXPECT_EQ(message.message.contentType.subtype, QStringLiteral("vnd.wap.multipart.related"));
    EXPECT_EQ(message.message.body.size(), 14722 - 278);
}

TEST_F(RealRetrievedMessage, PreviouslySentFieldsAreLeftAside)
{
    const RetrievedMessage message = retrieved(QStringLiteral("m-retrieve_8.conf"));
    ASSERT_TRUE(message.status.ok()) << message.status.text.toStdString();
    EXPECT_NE(message.message.from.address, QStringLiteral("+46722222222"));
}

TEST_F(RealRetrievedMessage, AMessageNotFoundIsRefusedWithItsStatusAndText)
{
    const RetrievedMessage message = retrieved(QStringLiteral("m-retrieve_5.conf"));
    EXPECT_EQ(message.status.code, ErrorCode::NotRetrieved);
    EXPECT_TRUE(message.status.text.contains(
        QStringLiteral("226 Error-permanent-message-not-found (4504:Message not found)")))
        << message.status.text.toStdString();
}

} // namespace
