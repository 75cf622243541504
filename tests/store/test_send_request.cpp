// The m-send.req of a message: its header fields from the message's header, written the way the
// codec reads them back and laid out as the real requests of handsets are; transaction ids of
// their own.

#include "send_request.h"

#include "mms_message.h"
#include "mms_pdu.h"
#include "mms_util_msgheaderbase.h"

#include "support/model_helpers.h"
#include "support/pdu_helpers.h"

#include <gtest/gtest.h>

#include <QDir>

namespace
{

using namespace tavmms::pdu;
using tavmms::store::encodeSendRequest;

Pdu decoded(const QByteArray& bytes)
{
    DecodeError error;
    const std::optional<Pdu> pdu = decodePdu(bytes, &error);
    EXPECT_TRUE(pdu) << error.offset << ": " << error.expected.toStdString();
    return pdu.value_or(Pdu{});
}

TEST(SendRequest, PhoneNumbersAreTypedWithoutSeparatorsAndOtherAddressesKeptAsTheyAre)
{
    MMS_UTIL_MsgHeaderBase header;
    header.addToRecipient(
        tavmms_test::makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("+1 (555) 010-1.2")));
    header.addCcRecipient(
        tavmms_test::makeEntry(QString(), MMS_UTIL_ADDR_EMAIL, QStringLiteral("a@b.example")));
    header.addBccRecipient(
        tavmms_test::makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("5550103")));

    const Pdu pdu = decoded(encodeSendRequest(header, QByteArray(), QStringLiteral("T")));

    EXPECT_EQ(pdu.text(Field::To), QStringLiteral("+155501012/TYPE=PLMN"));
    EXPECT_EQ(pdu.text(Field::Cc), QStringLiteral("a@b.example"));
    EXPECT_EQ(pdu.text(Field::Bcc), QStringLiteral("5550103/TYPE=PLMN"));
}

TEST(SendRequest, TheSenderIsHiddenAndTheDeliveryTimeGivenAsTheHeaderSays)
{
    MMS_UTIL_MsgHeaderBase header;
    header.senderVisibility = false;
    header.deliveryTime = QDateTime::fromSecsSinceEpoch(1800000000);
    header.expiry = 3600;
    header.contentType = {QStringLiteral("text"), QStringLiteral("plain"), QString()};

    const Pdu pdu = decoded(encodeSendRequest(header, "Hi", QStringLiteral("T")));

    EXPECT_EQ(pdu.number(Field::SenderVisibility), 128u);
    ASSERT_TRUE(pdu.find(Field::DeliveryTime));
    EXPECT_FALSE(pdu.find(Field::DeliveryTime)->relative);
    EXPECT_EQ(pdu.number(Field::DeliveryTime), 1800000000u);
    EXPECT_TRUE(pdu.find(Field::Expiry)->relative);
    EXPECT_EQ(pdu.number(Field::Expiry), 3600u);
    EXPECT_EQ(pdu.contentType()->mediaType, "text/plain");
    EXPECT_EQ(pdu.body, "Hi");
}

TEST(SendRequest, AHeaderWithoutDeliveryTimeOrSubjectOrTypeSendsNoneAndTheDefaultType)
{
    const MMS_UTIL_MsgHeaderBase header;

    const Pdu pdu = decoded(encodeSendRequest(header, QByteArray(), QStringLiteral("T")));

    EXPECT_FALSE(pdu.find(Field::DeliveryTime));
    EXPECT_FALSE(pdu.find(Field::Subject));
    EXPECT_EQ(pdu.number(Field::SenderVisibility), 128u);
    EXPECT_EQ(pdu.number(Field::Priority), 129u);
    EXPECT_EQ(pdu.contentType()->mediaType, "application/vnd.wap.multipart.mixed");
}

TEST(SendRequest, TransactionIdsAreNewAndFitTheRow)
{
    const QString first = tavmms::store::newTransactionId();
    const QString second = tavmms::store::newTransactionId();
    EXPECT_NE(first, second);
    EXPECT_EQ(first.size(), 32);
    EXPECT_FALSE(first.contains(QLatin1Char('{')));
}

TEST(SendRequest, IsLaidOutAsTheRealRequestsOfHandsetsAre)
{
    if (!QDir(tavmms_test::realPduFolder()).exists())
        GTEST_SKIP() << "no real PDUs at " << tavmms_test::realPduFolder().toStdString();
    MMS_UTIL_MsgHeaderBase header;
    header.addToRecipient(
        tavmms_test::makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("+15550101")));
    header.contentType = {QStringLiteral("application"),
                          QStringLiteral("vnd.wap.multipart.related"),
                          QStringLiteral("type=application/smil;start=<smil>")};
    const Pdu ours =
        decoded(encodeSendRequest(header, tavmms_test::twoPartBody(), QStringLiteral("T")));
    for (const char* name : {"m-send_1.req", "m-send_2.req", "m-send_3.req"}) {
        SCOPED_TRACE(name);
        const Pdu real = decoded(tavmms_test::realPdu(QString::fromLatin1(name)));
        // The type, the transaction id and the version first, the content type last.
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(ours.headers[i].code, real.headers[i].code);
        EXPECT_EQ(ours.headers.last().code, real.headers.last().code);
        EXPECT_EQ(ours.find(Field::From)->insertAddress, real.find(Field::From)->insertAddress);
        EXPECT_TRUE(real.text(Field::To).endsWith(QStringLiteral("/TYPE=PLMN")));
        EXPECT_TRUE(ours.text(Field::To).endsWith(QStringLiteral("/TYPE=PLMN")));
        EXPECT_EQ(ours.contentType()->mediaType, real.contentType()->mediaType);
    }
    // Decoded whole, as a viewer reads it.
    const std::optional<Message> message =
        decodeMessage(encodeSendRequest(header, tavmms_test::twoPartBody(), QStringLiteral("T")));
    ASSERT_TRUE(message);
    EXPECT_EQ(message->parts.size(), 2);
}

} // namespace
