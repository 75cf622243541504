// Whole PDUs: an m-send.req checked against its expected octets, every message type written and
// read back, and PDUs cut short at every octet or not beginning with their type, which give an
// error naming the offset.

#include "mms_pdu.h"
#include "support/octets.h"

#include <gtest/gtest.h>

namespace
{

using namespace tavmms::pdu;
using tavmms::test::octets;
using tavmms::test::zeroEnded;

HeaderField contentTypeField(const ContentType& type)
{
    HeaderField field;
    field.code = quint8(Field::ContentType);
    field.contentType = type;
    return field;
}

Pdu sendRequest()
{
    Pdu pdu;
    pdu.headers = {
        HeaderField::octet(Field::MessageType, quint8(MessageType::SendReq)),
        HeaderField::textField(Field::TransactionId, "T1"),
        HeaderField::integer(Field::MmsVersion, 0x12),
        HeaderField::insertAddressFrom(),
        HeaderField::textField(Field::To, "+15550101/TYPE=PLMN"),
        HeaderField::textField(Field::Subject, "Hi"),
        contentTypeField({"application/vnd.wap.multipart.mixed", {}}),
    };
    pdu.body = octets({0x00});
    return pdu;
}

TEST(MmsPduTest, WritesAnMSendReqAsExpected)
{
    QByteArray expected = octets({0x8C, 0x80, 0x98});
    expected += zeroEnded("T1");
    expected += octets({0x8D, 0x92, 0x89, 0x01, 0x81, 0x97});
    expected += zeroEnded("+15550101/TYPE=PLMN");
    expected += char(0x96);
    expected += zeroEnded("Hi");
    expected += octets({0x84, 0xA3, 0x00});
    EXPECT_EQ(encodePdu(sendRequest()), expected);
    const std::optional<Pdu> decoded = decodePdu(expected);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded, sendRequest());
    EXPECT_EQ(decoded->messageType(), MessageType::SendReq);
    EXPECT_EQ(decoded->contentType()->mediaType, "application/vnd.wap.multipart.mixed");
}

TEST(MmsPduTest, WritesContentTypeLastWhereverItStands)
{
    Pdu pdu = sendRequest();
    pdu.headers.move(pdu.headers.size() - 1, 1);
    const std::optional<Pdu> decoded = decodePdu(encodePdu(pdu));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded, sendRequest());
}

TEST(MmsPduTest, AContentTypeTextNamingAWellKnownTypeReadsBackTheSame)
{
    // The type of a multipart.related body sent as a text spelled with a capital letter.
    QByteArray data = octets({0x8C, 0xD2, 0x84});
    data += zeroEnded("application/vnd.wap.multipaRt.related");
    data += octets({0x00, 0x60, 0x60, 0x00, 0x0F, 0x09, 0xF6, 0x91, 0x91, 0x91, 0x91});
    const std::optional<Pdu> decoded = decodePdu(data);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->contentType()->mediaType, "application/vnd.wap.multipart.related");

    const QByteArray encoded = encodePdu(*decoded);
    EXPECT_EQ(encoded, octets({0x8C, 0xD2, 0x84, 0xB3, 0x00, 0x60, 0x60, 0x00, 0x0F, 0x09, 0xF6,
                               0x91, 0x91, 0x91, 0x91}));
    const std::optional<Pdu> again = decodePdu(encoded);
    ASSERT_TRUE(again);
    EXPECT_EQ(*again, *decoded);
}

TEST(MmsPduTest, EveryMessageTypeReadsBackAsWritten)
{
    for (quint8 type = 128; type <= 151; ++type) {
        SCOPED_TRACE(type);
        EXPECT_FALSE(messageTypeName(type).isEmpty());
        Pdu pdu;
        pdu.headers = {HeaderField::octet(Field::MessageType, type),
                       HeaderField::textField(Field::TransactionId, "x"),
                       HeaderField::integer(Field::MmsVersion, 0x13),
                       HeaderField::textField(Field::MessageId, "id@mmsc"),
                       HeaderField::octet(Field::Status, 129)};
        const std::optional<Pdu> decoded = decodePdu(encodePdu(pdu));
        ASSERT_TRUE(decoded);
        EXPECT_EQ(*decoded, pdu);
        EXPECT_EQ(decoded->messageType(), MessageType(type));
        EXPECT_TRUE(decoded->body.isNull());
    }
    EXPECT_EQ(messageTypeName(128), "m-send-req");
    EXPECT_EQ(messageTypeName(132), "m-retrieve-conf");
    EXPECT_EQ(messageTypeName(151), "m-cancel-conf");
    EXPECT_TRUE(messageTypeName(152).isEmpty());
    EXPECT_TRUE(messageTypeName(127).isEmpty());
}

TEST(MmsPduTest, AnUnknownMessageTypeDecodesWithoutAType)
{
    const std::optional<Pdu> decoded = decodePdu(octets({0x8C, 0xC0}));
    ASSERT_TRUE(decoded);
    EXPECT_FALSE(decoded->messageType());
    EXPECT_EQ(decoded->number(Field::MessageType), 0xC0u);
}

TEST(MmsPduTest, RefusesBytesThatDoNotBeginWithTheMessageType)
{
    for (const QByteArray& bytes :
         {QByteArray(), octets({0x98}) + zeroEnded("T1"), QByteArray("<html>")}) {
        SCOPED_TRACE(bytes.toHex().toStdString());
        DecodeError error;
        EXPECT_FALSE(decodePdu(bytes, &error));
        EXPECT_EQ(error.offset, 0);
        EXPECT_FALSE(error.expected.isEmpty());
    }
}

TEST(MmsPduTest, RefusesAMessageTypeWithoutItsValue)
{
    DecodeError error;
    EXPECT_FALSE(decodePdu(octets({0x8C}), &error));
    EXPECT_EQ(error.offset, 1);
}

TEST(MmsPduTest, AHeaderCutShortAtAnyOctetIsAnErrorAtOrBeforeTheCut)
{
    const QByteArray whole = encodePdu(sendRequest());
    const qsizetype bodyStart = whole.size() - 1;
    // Cutting between two fields leaves a shorter PDU; cutting inside one is an error.
    const QList<qsizetype> fieldEnds = {2, 6, 8, 11, 32, 36};
    for (qsizetype length = 1; length < bodyStart; ++length) {
        SCOPED_TRACE(length);
        DecodeError error;
        const std::optional<Pdu> decoded = decodePdu(whole.first(length), &error);
        if (fieldEnds.contains(length)) {
            EXPECT_TRUE(decoded);
            continue;
        }
        ASSERT_FALSE(decoded);
        EXPECT_LE(error.offset, length);
        EXPECT_FALSE(error.expected.isEmpty());
    }
}

TEST(MmsPduTest, KeepsFieldsItDoesNotKnowAndTextHeadersInTheirPlace)
{
    QByteArray bytes = octets({0x8C, 0x86, 0xF5, 0x03, 0x01, 0x02, 0x03});
    bytes += zeroEnded("X-Scanned-By");
    bytes += zeroEnded("scanner 1.0");
    bytes += octets({0x95, 0x81});
    const std::optional<Pdu> decoded = decodePdu(bytes);
    ASSERT_TRUE(decoded);
    ASSERT_EQ(decoded->headers.size(), 4);
    EXPECT_EQ(decoded->headers[1].code, 0x75);
    EXPECT_EQ(decoded->headers[1].raw, octets({0x03, 0x01, 0x02, 0x03}));
    EXPECT_EQ(decoded->headers[2].name, "X-Scanned-By");
    EXPECT_EQ(decoded->number(Field::Status), 129u);
    EXPECT_EQ(encodePdu(*decoded), bytes);
}

TEST(MmsPduTest, AFieldNumberedZeroIsNoTextHeader)
{
    const QByteArray bytes = octets({0x8C, 0x81, 0x80, 0xB6});
    const std::optional<Pdu> decoded = decodePdu(bytes);
    ASSERT_TRUE(decoded);
    ASSERT_EQ(decoded->headers.size(), 2);
    EXPECT_FALSE(decoded->headers[1].isTextHeader());
    EXPECT_EQ(decoded->headers[1].displayName(), "Field 0x00");
    EXPECT_EQ(encodePdu(*decoded), bytes);
}

TEST(MmsPduTest, GathersTheWarningsOfEveryField)
{
    QByteArray bytes = octets(
        {0x8C, 0x84, 0x96, 0x03, 0xEA, 0xFF, 0x00, 0x89, 0x05, 0x80, 0x03, 0xE3, 0x41, 0x00});
    const std::optional<Pdu> decoded = decodePdu(bytes);
    ASSERT_TRUE(decoded);
    ASSERT_EQ(decoded->warnings.size(), 2);
    EXPECT_TRUE(decoded->warnings[0].startsWith("Subject"));
    EXPECT_TRUE(decoded->warnings[1].startsWith("From"));
}

TEST(MmsPduTest, FindsEveryRecipientInOrder)
{
    Pdu pdu = sendRequest();
    pdu.headers.insert(5, HeaderField::textField(Field::To, "b@example.org"));
    const QList<const HeaderField*> to = pdu.findAll(Field::To);
    ASSERT_EQ(to.size(), 2);
    EXPECT_EQ(to[0]->text, "+15550101/TYPE=PLMN");
    EXPECT_EQ(to[1]->text, "b@example.org");
    EXPECT_FALSE(pdu.find(Field::Cc));
    EXPECT_TRUE(pdu.text(Field::Cc).isNull());
    EXPECT_FALSE(pdu.number(Field::Priority));
}

} // namespace
