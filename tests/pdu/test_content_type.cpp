// Content types in the three WSP encodings, with typed and untyped parameters, checked against
// the bytes an MMSC sends; and written back in the shortest form that carries them.

#include "content_type.h"
#include "support/octets.h"

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::ContentType;
using tavmms::pdu::Parameter;
using tavmms::pdu::readContentType;
using tavmms::pdu::WspReader;
using tavmms::pdu::WspWriter;
using tavmms::test::octets;

std::optional<ContentType> read(const QByteArray& data,
                                std::optional<tavmms::pdu::DecodeError>* error = nullptr)
{
    WspReader reader(data);
    std::optional<ContentType> type = readContentType(reader);
    if (type) {
        EXPECT_TRUE(reader.atEnd());
    }
    if (error)
        *error = reader.error();
    return type;
}

QByteArray written(const ContentType& type)
{
    WspWriter writer;
    tavmms::pdu::writeContentType(writer, type);
    return writer.bytes();
}

TEST(ContentTypeTest, ReadsAWellKnownNumberAlone)
{
    const auto type = read(octets({0x9E}));
    ASSERT_TRUE(type);
    EXPECT_EQ(type->mediaType, "image/jpeg");
    EXPECT_TRUE(type->parameters.isEmpty());
}

TEST(ContentTypeTest, KeepsTheWspNumbersFrom0x40On)
{
    EXPECT_EQ(tavmms::pdu::wellKnownMediaType(0x33), "application/vnd.wap.multipart.related");
    EXPECT_EQ(tavmms::pdu::wellKnownMediaType(0x40), "application/vnd.wap.locc+wbxml");
    EXPECT_EQ(tavmms::pdu::wellKnownMediaType(0x59), "application/octet-stream");
    EXPECT_EQ(tavmms::pdu::wellKnownMediaType(0x5A), "application/json");
    EXPECT_TRUE(tavmms::pdu::wellKnownMediaType(0x5B).isEmpty());
    EXPECT_EQ(tavmms::pdu::wellKnownMediaCode("IMAGE/PNG"), 0x20);
    EXPECT_FALSE(tavmms::pdu::wellKnownMediaCode("multipart/related"));
}

TEST(ContentTypeTest, ReadsAnExtensionMediaText)
{
    const auto type = read(tavmms::test::zeroEnded("application/smil"));
    ASSERT_TRUE(type);
    EXPECT_EQ(type->mediaType, "application/smil");
}

TEST(ContentTypeTest, ATextNamingAWellKnownTypeReadsAsItsNumberReads)
{
    // Written back, the type is the number alone, which must read as what was read first.
    const auto type = read(tavmms::test::zeroEnded("Image/JPEG"));
    ASSERT_TRUE(type);
    EXPECT_EQ(type->mediaType, "image/jpeg");
    EXPECT_EQ(written(*type), octets({0x9E}));
    EXPECT_EQ(read(written(*type)), type);

    // In the general form, and as the value of a typed "type" parameter.
    QByteArray general = octets({0x18});
    general += tavmms::test::zeroEnded("text/X-VCARD");
    general += char(0x89);
    general += tavmms::test::zeroEnded("a/B");
    general[0] = char(general.size() - 1);
    const auto related = read(general);
    ASSERT_TRUE(related);
    EXPECT_EQ(related->mediaType, "text/x-vCard");
    EXPECT_EQ(related->parameters, QList<Parameter>({{"type", "a/B"}}));
    QByteArray typedMedia = octets({0x0C, 0xB3, 0x89});
    typedMedia += tavmms::test::zeroEnded("Image/PNG");
    const auto typed = read(typedMedia);
    ASSERT_TRUE(typed);
    EXPECT_EQ(typed->parameters, QList<Parameter>({{"type", "image/png"}}));
    EXPECT_EQ(written(*typed), octets({0x03, 0xB3, 0x89, 0xA0}));
    EXPECT_EQ(read(written(*typed)), typed);
}

TEST(ContentTypeTest, AnUntypedParameterTheWriterSendsTypedReadsAsItsTypedForm)
{
    // text/plain; Charset=UTF-8; Name=x; type=Image/PNG; CHARSET=x-none, all untyped.
    QByteArray general = octets({0x83});
    for (const char* text :
         {"Charset", "UTF-8", "Name", "x", "type", "Image/PNG", "CHARSET", "x-none"})
        general += tavmms::test::zeroEnded(text);
    // Over 30 octets: the length is quoted, then a uintvar of one octet.
    const QByteArray data = octets({0x1F, int(general.size())}) + general;
    const auto type = read(data);
    ASSERT_TRUE(type);
    // The last keeps its spelling: a charset the codec does not know is written untyped.
    EXPECT_EQ(
        type->parameters,
        QList<Parameter>(
            {{"charset", "utf-8"}, {"name", "x"}, {"type", "image/png"}, {"CHARSET", "x-none"}}));
    QByteArray expected = octets({0x18, 0x83, 0x81, 0xEA, 0x85, 'x', 0x00, 0x89, 0xA0});
    expected += tavmms::test::zeroEnded("CHARSET");
    expected += '"';
    expected += tavmms::test::zeroEnded("x-none");
    EXPECT_EQ(written(*type), expected);
    EXPECT_EQ(read(written(*type)), type);
}

TEST(ContentTypeTest, ReadsTheGeneralFormWithTypeAndStart)
{
    // multipart.related; type=application/smil; start=<0.smil>
    QByteArray data = octets({0x1D, 0xB3, 0x89});
    data += tavmms::test::zeroEnded("application/smil");
    data += char(0x8A);
    data += tavmms::test::zeroEnded("<0.smil>");
    const auto type = read(data);
    ASSERT_TRUE(type);
    EXPECT_EQ(type->mediaType, "application/vnd.wap.multipart.related");
    EXPECT_EQ(type->parameters,
              (QList<Parameter>{{"type", "application/smil"}, {"start", "<0.smil>"}}));
    EXPECT_EQ(type->parameter("START"), "<0.smil>");
}

TEST(ContentTypeTest, ReadsCharsetNamesAndNumbersAndTheTextValueForms)
{
    // text/plain; charset=utf-8; name=a.txt (1.4 text-value); x="y"; z (no value); n=5
    QByteArray data = octets({0x83, 0x81, 0xEA, 0x97});
    data += tavmms::test::zeroEnded("a.txt");
    data += tavmms::test::zeroEnded("x") + "\"" + tavmms::test::zeroEnded("y");
    data += tavmms::test::zeroEnded("z") + QByteArray(1, '\0');
    data += tavmms::test::zeroEnded("n") + char(0x85);
    const QByteArray whole = QByteArray(1, char(data.size())) + data;
    const auto type = read(whole);
    ASSERT_TRUE(type);
    EXPECT_EQ(type->mediaType, "text/plain");
    EXPECT_EQ(type->parameters,
              (QList<Parameter>{
                  {"charset", "utf-8"}, {"name", "a.txt"}, {"x", "y"}, {"z", ""}, {"n", "5"}}));
}

TEST(ContentTypeTest, KeepsACharsetNumberItDoesNotKnow)
{
    const auto type = read(octets({0x04, 0x83, 0x81, 0x01, 0x63}));
    ASSERT_TRUE(type);
    EXPECT_EQ(type->parameter("charset"), "99");
}

TEST(ContentTypeTest, ReadsAWellKnownMediaAsALongIntegerInTheGeneralForm)
{
    const auto type = read(octets({0x02, 0x01, 0x1E}));
    ASSERT_TRUE(type);
    EXPECT_EQ(type->mediaType, "image/jpeg");
}

TEST(ContentTypeTest, RefusesANumberWspDoesNotAssign)
{
    std::optional<tavmms::pdu::DecodeError> error;
    EXPECT_FALSE(read(octets({0xFF}), &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset, 0);
    EXPECT_TRUE(error->expected.contains("content type number"));
}

TEST(ContentTypeTest, RefusesAGeneralFormLongerThanWhatIsLeft)
{
    std::optional<tavmms::pdu::DecodeError> error;
    EXPECT_FALSE(read(octets({0x05, 0x9E, 0x81}), &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset, 0);
}

TEST(ContentTypeTest, RefusesAParameterThatRunsPastTheGeneralForm)
{
    // The charset's long integer says two octets, but the value length leaves one.
    std::optional<tavmms::pdu::DecodeError> error;
    EXPECT_FALSE(read(octets({0x03, 0x83, 0x81, 0x02, 0x00, 0x07}), &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset, 3);
}

TEST(ContentTypeTest, RefusesAnUnknownTypedParameter)
{
    std::optional<tavmms::pdu::DecodeError> error;
    EXPECT_FALSE(read(octets({0x03, 0x83, 0xFE, 0x80}), &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset, 2);
}

TEST(ContentTypeTest, WritesTheShortestForm)
{
    EXPECT_EQ(written({"image/JPEG", {}}), octets({0x9E}));
    EXPECT_EQ(written({"application/smil", {}}), tavmms::test::zeroEnded("application/smil"));
    QByteArray expected = octets({0x1D, 0xB3, 0x8A});
    expected += tavmms::test::zeroEnded("<0.smil>");
    expected += char(0x89);
    expected += tavmms::test::zeroEnded("application/smil");
    EXPECT_EQ(written({"application/vnd.wap.multipart.related",
                       {{"start", "<0.smil>"}, {"type", "application/smil"}}}),
              expected);
    EXPECT_EQ(written({"text/plain", {{"charset", "UTF-8"}}}), octets({0x03, 0x83, 0x81, 0xEA}));
}

TEST(ContentTypeTest, WritesOtherParametersAsTokenAndQuotedText)
{
    QByteArray expected = octets({0x0B, 0x83});
    expected += tavmms::test::zeroEnded("x");
    expected += '"';
    expected += tavmms::test::zeroEnded("a b");
    expected += tavmms::test::zeroEnded("y");
    expected += '\0';
    EXPECT_EQ(written({"text/plain", {{"x", "a b"}, {"y", ""}}}), expected);
}

TEST(ContentTypeTest, WhatItWritesReadsBackTheSame)
{
    const ContentType types[] = {
        {"text/plain", {{"charset", "utf-8"}, {"name", "\xC3\xA9t\xC3\xA9.txt"}}},
        {"application/vnd.wap.multipart.related",
         {{"type", "application/smil"}, {"start", "<s>"}, {"start-info", "i"}}},
        {"image/x-custom", {{"filename", "a.png"}, {"q", "0.5"}, {"secure", ""}}},
        {"text/plain", {{"charset", "*"}, {"charset", "4000"}, {"charset", "0"}}},
    };
    for (const ContentType& type : types) {
        SCOPED_TRACE(type.mediaType.toStdString());
        EXPECT_EQ(read(written(type)), type);
    }
}

TEST(ContentTypeTest, MatchesAMajorTypeWildcard)
{
    const ContentType jpeg{"IMAGE/jpeg", {}};
    EXPECT_TRUE(jpeg.is("image/*"));
    EXPECT_TRUE(jpeg.is("image/JPEG"));
    EXPECT_FALSE(jpeg.is("text/*"));
    EXPECT_FALSE(ContentType({"imag", {}}).is("image/*"));
}

TEST(ContentTypeTest, AnUntypedParameterWithAnEmptyNameIsAnError)
{
    // image/jpeg; ""=".jpg": the name is a quote octet and a zero octet.
    QByteArray data = octets({0x08, 0x9E, 0x7F, 0x00});
    data += tavmms::test::zeroEnded(".jpg");
    std::optional<tavmms::pdu::DecodeError> error;
    EXPECT_FALSE(read(data, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset, 2);
}

TEST(ContentTypeTest, AnEmptyMediaTypeIsAnErrorInEitherForm)
{
    std::optional<tavmms::pdu::DecodeError> error;
    EXPECT_FALSE(read(octets({0x7F, 0x00}), &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset, 0);
    EXPECT_FALSE(read(octets({0x02, 0x00, 0x80}), &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset, 1);
}

} // namespace
