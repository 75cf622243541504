// Parts passed on from mail in base64 or quoted-printable come out decoded; others as they are.

#include "transfer_encoding.h"

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::decodedData;
using tavmms::pdu::Part;

Part encodedAs(const QByteArray& encoding, const QByteArray& data)
{
    return Part{{"text/plain", {}}, {{"Content-Transfer-Encoding", encoding}}, data};
}

TEST(TransferEncodingTest, DecodesBase64AcrossLineBreaksAndWhitespace)
{
    EXPECT_EQ(decodedData(encodedAs("base64", "SGVs\r\nbG8s IHdv\ncmxk\tIQ==\r\n")),
              "Hello, world!");
}

TEST(TransferEncodingTest, DropsALastBase64CharacterThatMakesNoWholeOctet)
{
    EXPECT_EQ(decodedData(encodedAs("base64", "QUJD\r\nR")), "ABC");
    EXPECT_EQ(decodedData(encodedAs("base64", "QUJDRA")), "ABCD");
}

TEST(TransferEncodingTest, ReadsTheEncodingNameWhateverItsCaseAndSpaces)
{
    EXPECT_EQ(decodedData(encodedAs(" Base64 ", "QUJD")), "ABC");
    EXPECT_EQ(decodedData(encodedAs("QUOTED-PRINTABLE", "a=3Db")), "a=b");
}

TEST(TransferEncodingTest, DecodesQuotedPrintableEscapesAndSoftLineBreaks)
{
    EXPECT_EQ(decodedData(encodedAs("quoted-printable", "caf=C3=A9 au=\r\n lait=\nnoir= \t\r\n.")),
              "caf\xc3\xa9 au lait"
              "noir.");
}

TEST(TransferEncodingTest, KeepsQuotedPrintableHardLineBreaksAndBadEscapes)
{
    EXPECT_EQ(decodedData(encodedAs("quoted-printable", "a\r\nb=ZZ=4=")), "a\r\nb=ZZ=4=");
    EXPECT_EQ(decodedData(encodedAs("quoted-printable", "=3d=3D")), "==");
}

TEST(TransferEncodingTest, LeavesDataOfAnyOtherEncodingOrNoneAsItIs)
{
    EXPECT_EQ(decodedData(encodedAs("8bit", "QUJD")), "QUJD");
    EXPECT_EQ(decodedData(encodedAs("binary", "a=3Db")), "a=3Db");
    EXPECT_EQ(decodedData(Part{{"text/plain", {}}, {}, "QUJD"}), "QUJD");
}

} // namespace
