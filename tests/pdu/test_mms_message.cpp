// Message PDUs read whole, header and parts, and written back in one pass: a multipart body, a
// body of one other type, none, and a body that does not read, whose error names its offset in
// the PDU.

#include "mms_message.h"
#include "support/octets.h"

#include <gtest/gtest.h>

namespace
{

using namespace tavmms::pdu;
using tavmms::test::octets;
using tavmms::test::zeroEnded;

QByteArray retrieveHeader(int contentType)
{
    QByteArray header = octets({0x8C, 0x84, 0x98});
    header += zeroEnded("T1");
    header += octets({0x8D, 0x92, 0x84, contentType});
    return header;
}

TEST(MmsMessageTest, ReadsTheHeaderAndThePartsOfAMultipartBody)
{
    // Two parts: text/plain "hi" and image/jpeg "abc".
    const QByteArray body =
        octets({0x02, 0x01, 0x02, 0x83}) + "hi" + octets({0x01, 0x03, 0x9E}) + "abc";
    const std::optional<Message> message = decodeMessage(retrieveHeader(0xA3) + body);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->pdu.messageType(), MessageType::RetrieveConf);
    EXPECT_TRUE(message->pdu.body.isEmpty());
    ASSERT_EQ(message->parts.size(), 2);
    EXPECT_EQ(message->parts[0].data, "hi");
    EXPECT_EQ(message->parts[1].contentType.mediaType, "image/jpeg");
    EXPECT_EQ(encodeMessage(*message), retrieveHeader(0xA3) + body);
}

TEST(MmsMessageTest, ABodyOfAnotherTypeIsOnePartOfThatType)
{
    const std::optional<Message> message = decodeMessage(retrieveHeader(0x83) + "Not found");
    ASSERT_TRUE(message);
    ASSERT_EQ(message->parts.size(), 1);
    EXPECT_EQ(message->parts[0].contentType.mediaType, "text/plain");
    EXPECT_EQ(message->parts[0].data, "Not found");
    EXPECT_EQ(encodeMessage(*message), retrieveHeader(0x83) + "Not found");
}

TEST(MmsMessageTest, APduWithoutContentTypeHasNoParts)
{
    const QByteArray bytes = octets({0x8C, 0x81, 0x98}) + zeroEnded("T1") + octets({0x92, 0x80});
    const std::optional<Message> message = decodeMessage(bytes);
    ASSERT_TRUE(message);
    EXPECT_TRUE(message->parts.isEmpty());
    EXPECT_EQ(encodeMessage(*message), bytes);
}

TEST(MmsMessageTest, ABodyThatDoesNotReadNamesItsOffsetInThePdu)
{
    const QByteArray header = retrieveHeader(0xA3);
    // One entry counted, whose data length runs past the end.
    const QByteArray bytes = header + octets({0x01, 0x01, 0x09, 0x83}) + "hi";
    DecodeError error;
    EXPECT_FALSE(decodeMessage(bytes, &error));
    EXPECT_GE(error.offset, header.size() + 1);
    EXPECT_LE(error.offset, bytes.size());
    EXPECT_TRUE(error.expected.startsWith("in the multipart body")) << error.expected.toStdString();
}

TEST(MmsMessageTest, AHeaderThatDoesNotReadIsAnErrorBeforeTheBody)
{
    DecodeError error;
    EXPECT_FALSE(decodeMessage(octets({0x8C, 0x84, 0x98, 0x41}), &error));
    EXPECT_EQ(error.offset, 3);
}

} // namespace
