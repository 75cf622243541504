// Content-Disposition in its WSP encoding and its text form, which parts keep it in.

#include "content_disposition.h"
#include "support/octets.h"

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::Disposition;
using tavmms::pdu::dispositionText;
using tavmms::pdu::Parameter;
using tavmms::pdu::parseDisposition;
using tavmms::pdu::WspReader;
using tavmms::pdu::WspWriter;
using tavmms::test::octets;
using tavmms::test::zeroEnded;

TEST(ContentDispositionTest, ReadsTheKindByNumberOrTokenWithItsParameters)
{
    const QByteArray data = octets({0x08, 0x80, 0x86}) + zeroEnded("a.jpg") + octets({0x0C}) +
                            zeroEnded("x-custom") + char(0x86) + zeroEnded("b");
    WspReader reader(data);
    EXPECT_EQ(tavmms::pdu::readDisposition(reader),
              (Disposition{"form-data", {{"filename", "a.jpg"}}}));
    EXPECT_EQ(tavmms::pdu::readDisposition(reader), (Disposition{"x-custom", {{"filename", "b"}}}));
    EXPECT_TRUE(reader.atEnd());
}

TEST(ContentDispositionTest, AKindNumberBeyondInlineIsAnError)
{
    const QByteArray data = octets({0x01, 0x83});
    WspReader reader(data);
    EXPECT_FALSE(tavmms::pdu::readDisposition(reader));
    ASSERT_TRUE(reader.error());
    EXPECT_EQ(reader.error()->offset, 1);
}

TEST(ContentDispositionTest, WritesTheKindsWspNumbersAndOthersAsTokens)
{
    WspWriter writer;
    tavmms::pdu::writeDisposition(writer, {"Inline", {}});
    tavmms::pdu::writeDisposition(writer, {"x-custom", {{"filename", "a"}}});
    EXPECT_EQ(writer.bytes(),
              octets({0x01, 0x82, 0x0C}) + zeroEnded("x-custom") + char(0x86) + zeroEnded("a"));
}

TEST(ContentDispositionTest, GivesTheTextFormWithQuotedEscapedValues)
{
    EXPECT_EQ(dispositionText({"attachment", {{"filename", "a \"b\" \\c;.jpg"}, {"size", "3"}}}),
              "attachment; filename=\"a \\\"b\\\" \\\\c;.jpg\"; size=\"3\"");
    EXPECT_EQ(dispositionText({"inline", {}}), "inline");
}

TEST(ContentDispositionTest, ReadsTheTextFormBackAndBareValuesAsMailWritesThem)
{
    const Disposition disposition{"attachment", {{"filename", "a \"b\" \\c;.jpg"}, {"size", ""}}};
    EXPECT_EQ(parseDisposition(dispositionText(disposition)), disposition);
    EXPECT_EQ(parseDisposition(" attachment ;filename = a.jpg;; size"),
              (Disposition{"attachment", {{"filename", "a.jpg"}, {"size", ""}}}));
    EXPECT_EQ(parseDisposition(""), (Disposition{"", {}}));
}

} // namespace
