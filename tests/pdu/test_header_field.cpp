// Each kind of MMS header value, read from and written to the octets an MMSC uses, and what bad
// or unusual values give: a warning for text not valid in its charset, an error naming the offset
// for a value that does not read, and a field the codec does not know kept as it came.

#include "header_field.h"
#include "support/octets.h"

#include <gtest/gtest.h>

namespace
{

using namespace tavmms::pdu;
using tavmms::test::octets;
using tavmms::test::zeroEnded;

struct Read {
    std::optional<HeaderField> field;
    QStringList warnings;
    std::optional<DecodeError> error;
    bool atEnd = false;
};

Read read(const QByteArray& data)
{
    WspReader reader(data);
    Read result;
    result.field = readHeaderField(reader, result.warnings);
    result.error = reader.error();
    result.atEnd = reader.atEnd();
    return result;
}

QByteArray written(const HeaderField& field)
{
    WspWriter writer;
    writeHeaderField(writer, field);
    return writer.bytes();
}

TEST(HeaderFieldTest, ReadsOctetVersionAndLongIntegerValues)
{
    const Read type = read(octets({0x8C, 0x84}));
    ASSERT_TRUE(type.field);
    EXPECT_EQ(type.field->field(), Field::MessageType);
    EXPECT_EQ(type.field->number, 0x84u);
    EXPECT_EQ(read(octets({0x8D, 0x92})).field->number, 0x12u);
    EXPECT_EQ(read(octets({0x85, 0x04, 0x52, 0xBF, 0xF4, 0xAC})).field->number, 0x52BFF4ACu);
    EXPECT_EQ(type.field->displayName(), "X-Mms-Message-Type");
}

TEST(HeaderFieldTest, ReadsAnEncodedStringWithAndWithoutCharset)
{
    const Read plain = read(octets({0x96}) + zeroEnded("Hello"));
    ASSERT_TRUE(plain.field);
    EXPECT_EQ(plain.field->text, "Hello");
    EXPECT_EQ(plain.field->charset, 0u);
    // Subject: value length 6, utf-8, "\xC3\xA9t\xC3\xA9"
    const Read utf8 = read(octets({0x96, 0x07, 0xEA, 0xC3, 0xA9, 0x74, 0xC3, 0xA9, 0x00}));
    ASSERT_TRUE(utf8.field);
    EXPECT_EQ(utf8.field->text, QStringLiteral("été"));
    EXPECT_EQ(utf8.field->charset, 106u);
    EXPECT_TRUE(utf8.atEnd);
    EXPECT_TRUE(utf8.warnings.isEmpty());
}

TEST(HeaderFieldTest, ReadsAnEmptySubjectAndWritesItBackAsOneZeroOctet)
{
    const Read result = read(octets({0x96, 0x00}));
    ASSERT_TRUE(result.field);
    EXPECT_TRUE(result.field->text.isEmpty());
    EXPECT_TRUE(result.atEnd);
    EXPECT_EQ(written(*result.field), octets({0x96, 0x00}));
    EXPECT_EQ(written(HeaderField::textField(Field::Subject, "")), octets({0x96, 0x00}));
}

TEST(HeaderFieldTest, ReadsSubjectsInTheCharsetsMmscsUse)
{
    const struct {
        QByteArray charset;
        QByteArray text;
        QString expected;
    } cases[] = {
        {octets({0x84}), "\xE9t\xE9", QStringLiteral("été")},
        {octets({0x02, 0x03, 0xE8}), QByteArray("\x00\x41\x00\x42", 4), QStringLiteral("AB")},
        {octets({0x02, 0x03, 0xF7}), QByteArray("\xFF\xFE\x41\x00", 4), QStringLiteral("A")},
        {octets({0x91}), "\x82\xA0", QStringLiteral("あ")},
        {octets({0xA4}), "\xC7\xD1", QStringLiteral("한")},
        {octets({0x02, 0x07, 0xE9}), "\xC4\xE3", QStringLiteral("你")},
        {octets({0x02, 0x07, 0xEA}), "\xA4\xA4", QStringLiteral("中")},
        {octets({0x02, 0x08, 0xCB}), "\xCF\xF0\xE8", QStringLiteral("При")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected.toStdString());
        const bool utf16 = c.text.contains('\0') || c.text.startsWith("\xFF\xFE");
        // A text that starts high is quoted; UTF-16 runs to the end of its value length.
        const QByteArray value = c.charset + (quint8(c.text[0]) >= 0x80 ? "\x7F" : "") + c.text +
                                 QByteArray(utf16 ? 2 : 1, '\0');
        const QByteArray data = octets({0x96, int(value.size())}) + value;
        const Read result = read(data);
        ASSERT_TRUE(result.field);
        EXPECT_EQ(result.field->text, c.expected);
        EXPECT_TRUE(result.warnings.isEmpty());
    }
}

TEST(HeaderFieldTest, WritesUtf16BackToTheEndOfItsValueLength)
{
    const QByteArray data = octets({0x96, 0x08, 0x02, 0x03, 0xF7, 0x7F, 0xFF, 0xFE, 0x41, 0x00});
    const Read result = read(data);
    ASSERT_TRUE(result.field);
    EXPECT_EQ(result.field->text, "A");
    EXPECT_EQ(written(*result.field),
              octets({0x96, 0x0A, 0x02, 0x03, 0xF7, 0x7F, 0xFF, 0xFE, 0x41, 0x00, 0x00, 0x00}));
}

TEST(HeaderFieldTest, TextNotValidInItsCharsetReadsWithAReplacementAndAWarning)
{
    const Read result = read(octets({0x96, 0x04, 0xEA, 0x41, 0xC3, 0x00}));
    ASSERT_TRUE(result.field);
    EXPECT_EQ(result.field->text, QStringLiteral("A\uFFFD"));
    ASSERT_EQ(result.warnings.size(), 1);
    EXPECT_TRUE(result.warnings[0].contains("Subject at offset 1"));
}

TEST(HeaderFieldTest, ACharsetTheCodecLacksIsReadAsUtf8WithAWarning)
{
    const Read result = read(octets({0x96, 0x03, 0xE3, 0x41, 0x00}));
    ASSERT_TRUE(result.field);
    EXPECT_EQ(result.field->text, "A");
    EXPECT_EQ(result.field->charset, 99u);
    ASSERT_EQ(result.warnings.size(), 1);
    EXPECT_TRUE(result.warnings[0].contains("charset 99"));
}

TEST(HeaderFieldTest, ReadsAbsoluteAndRelativeTimes)
{
    const Read absolute = read(octets({0x88, 0x06, 0x80, 0x04, 0x58, 0x29, 0x7A, 0x6A}));
    ASSERT_TRUE(absolute.field);
    EXPECT_FALSE(absolute.field->relative);
    EXPECT_EQ(absolute.field->number, 0x58297A6Au);
    const Read relative = read(octets({0x88, 0x05, 0x81, 0x03, 0x03, 0xF4, 0x7F}));
    ASSERT_TRUE(relative.field);
    EXPECT_TRUE(relative.field->relative);
    EXPECT_EQ(relative.field->number, 259199u);
    const Read shortRelative = read(octets({0x87, 0x02, 0x81, 0x8A}));
    ASSERT_TRUE(shortRelative.field);
    EXPECT_EQ(shortRelative.field->number, 10u);
}

TEST(HeaderFieldTest, RefusesATimeWithAnotherToken)
{
    const Read result = read(octets({0x88, 0x02, 0x82, 0x8A}));
    EXPECT_FALSE(result.field);
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->offset, 2);
}

TEST(HeaderFieldTest, ReadsFromAsAnAddressOrTheInsertAddressToken)
{
    const Read insert = read(octets({0x89, 0x01, 0x81}));
    ASSERT_TRUE(insert.field);
    EXPECT_TRUE(insert.field->insertAddress);
    const Read address = read(octets({0x89, 0x06, 0x80}) + zeroEnded("+123"));
    ASSERT_TRUE(address.field);
    EXPECT_FALSE(address.field->insertAddress);
    EXPECT_EQ(address.field->text, "+123");
    const Read coded = read(octets({0x89, 0x08, 0x80, 0x06, 0xEA}) + zeroEnded("+123"));
    ASSERT_TRUE(coded.field);
    EXPECT_EQ(coded.field->text, "+123");
    EXPECT_EQ(coded.field->charset, 106u);
}

TEST(HeaderFieldTest, ReadsAMessageClassAsATokenOrAText)
{
    EXPECT_EQ(read(octets({0x8A, 0x81})).field->number, 129u);
    EXPECT_EQ(read(octets({0x8A}) + zeroEnded("private")).field->text, "private");
}

TEST(HeaderFieldTest, ReadsCountedAndTaggedValues)
{
    const Read by = read(octets({0xA0, 0x07, 0x81}) + zeroEnded("+4672"));
    ASSERT_TRUE(by.field);
    EXPECT_EQ(by.field->tag, 1u);
    EXPECT_EQ(by.field->text, "+4672");
    const Read date = read(octets({0xA1, 0x06, 0x81, 0x04, 0x53, 0x56, 0xB2, 0xFC}));
    ASSERT_TRUE(date.field);
    EXPECT_EQ(date.field->tag, 1u);
    EXPECT_EQ(date.field->number, 0x5356B2FCu);
    const Read flags = read(octets({0xA4, 0x06, 0x80}) + zeroEnded("Seen"));
    ASSERT_TRUE(flags.field);
    EXPECT_EQ(flags.field->tag, 128u);
    EXPECT_EQ(flags.field->text, "Seen");
    const Read totals = read(octets({0xAA, 0x02, 0x80, 0x85}));
    ASSERT_TRUE(totals.field);
    EXPECT_EQ(totals.field->tag, 128u);
    EXPECT_EQ(totals.field->number, 5u);
}

TEST(HeaderFieldTest, KeepsATextHeaderAsItCame)
{
    const Read result = read(zeroEnded("X-Scanned-By") + zeroEnded("MIMEDefang"));
    ASSERT_TRUE(result.field);
    EXPECT_TRUE(result.field->isTextHeader());
    EXPECT_EQ(result.field->name, "X-Scanned-By");
    EXPECT_EQ(result.field->raw, "MIMEDefang");
    EXPECT_EQ(result.field->displayName(), "X-Scanned-By");
}

TEST(HeaderFieldTest, KeepsAFieldTheCodecDoesNotKnowAsItCame)
{
    for (const QByteArray& value : {octets({0x83}), octets({0x02, 0x01, 0x02}), zeroEnded("text"),
                                    octets({0x1F, 0x02, 0x01, 0x02})}) {
        const Read result = read(octets({0xF0}) + value);
        ASSERT_TRUE(result.field);
        EXPECT_EQ(result.field->code, 0x70);
        EXPECT_EQ(result.field->raw, value);
        EXPECT_TRUE(result.atEnd);
        EXPECT_EQ(result.field->displayName(), "Field 0x70");
        EXPECT_EQ(written(*result.field), octets({0xF0}) + value);
    }
}

TEST(HeaderFieldTest, RefusesAnOctetThatStartsNoField)
{
    const Read result = read(octets({0x05, 0x01}));
    EXPECT_FALSE(result.field);
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->offset, 0);
    EXPECT_TRUE(result.error->expected.contains("header field"));
}

TEST(HeaderFieldTest, RefusesATextHeaderWithoutAName)
{
    const Read result = read(octets({0x7F, 0x00, 0x41, 0x00}));
    EXPECT_FALSE(result.field);
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->offset, 0);
}

TEST(HeaderFieldTest, RefusesValuesCutShort)
{
    const QByteArray fields[] = {
        octets({0x85, 0x04, 0x52, 0xBF}), octets({0x96, 0x07, 0xEA, 0xC3}),
        octets({0x89, 0x05, 0x80, 0x2B}), zeroEnded("X-Name") + "value",
        octets({0x98}) + "no end",        octets({0x88, 0x06, 0x80, 0x04, 0x58}),
    };
    for (const QByteArray& field : fields) {
        SCOPED_TRACE(field.toHex().toStdString());
        const Read result = read(field);
        EXPECT_FALSE(result.field);
        EXPECT_TRUE(result.error);
    }
}

TEST(HeaderFieldTest, WritesEachKindAsAnMmscReadsIt)
{
    EXPECT_EQ(written(HeaderField::octet(Field::MessageType, 128)), octets({0x8C, 0x80}));
    EXPECT_EQ(written(HeaderField::integer(Field::MmsVersion, 0x12)), octets({0x8D, 0x92}));
    EXPECT_EQ(written(HeaderField::integer(Field::Date, 0x52BFF4AC)),
              octets({0x85, 0x04, 0x52, 0xBF, 0xF4, 0xAC}));
    EXPECT_EQ(written(HeaderField::textField(Field::TransactionId, "T1")),
              octets({0x98}) + zeroEnded("T1"));
    EXPECT_EQ(written(HeaderField::textField(Field::Subject, "Hi")),
              octets({0x96}) + zeroEnded("Hi"));
    EXPECT_EQ(written(HeaderField::textField(Field::Subject, QStringLiteral("é"))),
              octets({0x96, 0x05, 0xEA, 0x7F, 0xC3, 0xA9, 0x00}));
    EXPECT_EQ(written(HeaderField::time(Field::Expiry, 3600, true)),
              octets({0x88, 0x04, 0x81, 0x02, 0x0E, 0x10}));
    EXPECT_EQ(written(HeaderField::time(Field::DeliveryTime, 0x58297A6A, false)),
              octets({0x87, 0x06, 0x80, 0x04, 0x58, 0x29, 0x7A, 0x6A}));
    EXPECT_EQ(written(HeaderField::insertAddressFrom()), octets({0x89, 0x01, 0x81}));
    EXPECT_EQ(written(HeaderField::from("+1")), octets({0x89, 0x04, 0x80}) + zeroEnded("+1"));
}

TEST(HeaderFieldTest, WritesAnEncodedStringBackInTheCharsetItCameIn)
{
    const QByteArray data = octets({0x96, 0x05, 0x84, 0x7F, 0xE9, 0x74, 0x00});
    const Read result = read(data);
    ASSERT_TRUE(result.field);
    EXPECT_EQ(written(*result.field), data);
}

// A value of the kind field `code` carries, made up for it.
HeaderField sampleOf(quint8 code)
{
    HeaderField field;
    field.code = code;
    switch (fieldValueType(code)) {
    case ValueType::Octet:
        field.number = 0x80 + code % 4;
        break;
    case ValueType::Version:
        field.number = 0x13;
        break;
    case ValueType::LongInteger:
    case ValueType::Integer:
        field.number = 1000000u + code;
        break;
    case ValueType::Text:
    case ValueType::EncodedText:
    case ValueType::ClassOrToken:
        field.text = QStringLiteral("value %1 ü").arg(code);
        break;
    case ValueType::Time:
        field.number = 3600 + code;
        field.relative = code % 2 == 0;
        break;
    case ValueType::From:
        field.text = QStringLiteral("+15550101/TYPE=PLMN");
        break;
    case ValueType::ContentType:
        field.contentType = {"application/vnd.wap.multipart.related",
                             {{"type", "application/smil"}}};
        break;
    case ValueType::CountedText:
    case ValueType::TaggedText:
        field.tag = 129;
        field.text = QStringLiteral("tagged");
        break;
    case ValueType::CountedDate:
    case ValueType::TaggedNumber:
        field.tag = 128;
        field.number = 42;
        break;
    case ValueType::Raw:
        field.raw = octets({0x02, 0x01, 0x02});
        break;
    }
    return field;
}

TEST(HeaderFieldTest, EveryFieldTheCodecNamesReadsBackAsWritten)
{
    for (quint8 code = 0x01; code <= 0x3F; ++code) {
        SCOPED_TRACE(int(code));
        ASSERT_FALSE(fieldName(code).isEmpty());
        const HeaderField field = sampleOf(code);
        const Read result = read(written(field));
        ASSERT_TRUE(result.field);
        EXPECT_EQ(*result.field, field);
        EXPECT_TRUE(result.atEnd);
    }
    EXPECT_TRUE(fieldName(0x40).isEmpty());
    EXPECT_EQ(fieldValueType(0x40), ValueType::Raw);
}

TEST(HeaderFieldTest, EveryKindReadsBackAsWritten)
{
    HeaderField counted = HeaderField::textField(Field::PreviouslySentBy, "+46");
    counted.tag = 2;
    HeaderField flags = HeaderField::textField(Field::MmFlags, QStringLiteral("Gelesen ✓"));
    flags.tag = 129;
    HeaderField dated = HeaderField::integer(Field::PreviouslySentDate, 1398179580);
    dated.tag = 1;
    HeaderField totals = HeaderField::integer(Field::MboxQuotas, 300000);
    totals.tag = 129;
    HeaderField contentType;
    contentType.code = quint8(Field::ContentType);
    contentType.contentType = {"application/vnd.wap.multipart.mixed", {}};
    HeaderField text;
    text.name = "X-Extra";
    text.raw = "value";
    text.text = "value";
    const HeaderField fields[] = {
        HeaderField::octet(Field::Priority, 130),
        HeaderField::integer(Field::MessageCount, 100000),
        HeaderField::textField(Field::MessageClass, "private"),
        HeaderField::octet(Field::MessageClass, 131),
        HeaderField::textField(Field::To, QStringLiteral("Ann <ann@example.org>")),
        HeaderField::time(Field::ReplyChargingDeadline, 7, true),
        HeaderField::from(QStringLiteral("+358 ä")),
        HeaderField::insertAddressFrom(),
        counted,
        flags,
        dated,
        totals,
        contentType,
        text,
    };
    for (const HeaderField& field : fields) {
        SCOPED_TRACE(field.displayName().toStdString());
        const Read result = read(written(field));
        ASSERT_TRUE(result.field);
        EXPECT_EQ(*result.field, field);
        EXPECT_TRUE(result.atEnd);
    }
}

} // namespace
