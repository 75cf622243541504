#include "header_field.h"

#include "charsets.h"

namespace tavmms::pdu
{

namespace
{

struct FieldInfo {
    quint8 code;
    const char* name;
    ValueType type;
};

using T = ValueType;

constexpr FieldInfo kFields[] = {
    {0x01, "Bcc", T::EncodedText},
    {0x02, "Cc", T::EncodedText},
    {0x03, "X-Mms-Content-Location", T::Text},
    {0x04, "Content-Type", T::ContentType},
    {0x05, "Date", T::LongInteger},
    {0x06, "X-Mms-Delivery-Report", T::Octet},
    {0x07, "X-Mms-Delivery-Time", T::Time},
    {0x08, "X-Mms-Expiry", T::Time},
    {0x09, "From", T::From},
    {0x0A, "X-Mms-Message-Class", T::ClassOrToken},
    {0x0B, "Message-ID", T::Text},
    {0x0C, "X-Mms-Message-Type", T::Octet},
    {0x0D, "X-Mms-MMS-Version", T::Version},
    {0x0E, "X-Mms-Message-Size", T::LongInteger},
    {0x0F, "X-Mms-Priority", T::Octet},
    {0x10, "X-Mms-Read-Report", T::Octet},
    {0x11, "X-Mms-Report-Allowed", T::Octet},
    {0x12, "X-Mms-Response-Status", T::Octet},
    {0x13, "X-Mms-Response-Text", T::EncodedText},
    {0x14, "X-Mms-Sender-Visibility", T::Octet},
    {0x15, "X-Mms-Status", T::Octet},
    {0x16, "Subject", T::EncodedText},
    {0x17, "To", T::EncodedText},
    {0x18, "X-Mms-Transaction-Id", T::Text},
    {0x19, "X-Mms-Retrieve-Status", T::Octet},
    {0x1A, "X-Mms-Retrieve-Text", T::EncodedText},
    {0x1B, "X-Mms-Read-Status", T::Octet},
    {0x1C, "X-Mms-Reply-Charging", T::Octet},
    {0x1D, "X-Mms-Reply-Charging-Deadline", T::Time},
    {0x1E, "X-Mms-Reply-Charging-ID", T::Text},
    {0x1F, "X-Mms-Reply-Charging-Size", T::LongInteger},
    {0x20, "X-Mms-Previously-Sent-By", T::CountedText},
    {0x21, "X-Mms-Previously-Sent-Date", T::CountedDate},
    {0x22, "X-Mms-Store", T::Octet},
    {0x23, "X-Mms-MM-State", T::Octet},
    {0x24, "X-Mms-MM-Flags", T::TaggedText},
    {0x25, "X-Mms-Store-Status", T::Octet},
    {0x26, "X-Mms-Store-Status-Text", T::EncodedText},
    {0x27, "X-Mms-Stored", T::Octet},
    {0x28, "X-Mms-Attributes", T::Octet},
    {0x29, "X-Mms-Totals", T::Octet},
    {0x2A, "X-Mms-Mbox-Totals", T::TaggedNumber},
    {0x2B, "X-Mms-Quotas", T::Octet},
    {0x2C, "X-Mms-Mbox-Quotas", T::TaggedNumber},
    {0x2D, "X-Mms-Message-Count", T::Integer},
    {0x2E, "Content", T::Raw},
    {0x2F, "X-Mms-Start", T::Integer},
    {0x30, "X-Mms-Additional-Headers", T::Raw},
    {0x31, "X-Mms-Distribution-Indicator", T::Octet},
    {0x32, "X-Mms-Element-Descriptor", T::Raw},
    {0x33, "X-Mms-Limit", T::Integer},
    {0x34, "X-Mms-Recommended-Retrieval-Mode", T::Octet},
    {0x35, "X-Mms-Recommended-Retrieval-Mode-Text", T::EncodedText},
    {0x36, "X-Mms-Status-Text", T::EncodedText},
    {0x37, "X-Mms-Applic-ID", T::Text},
    {0x38, "X-Mms-Reply-Applic-ID", T::Text},
    {0x39, "X-Mms-Aux-Applic-Info", T::Text},
    {0x3A, "X-Mms-Content-Class", T::Octet},
    {0x3B, "X-Mms-DRM-Content", T::Octet},
    {0x3C, "X-Mms-Adaptation-Allowed", T::Octet},
    {0x3D, "X-Mms-Replace-ID", T::Text},
    {0x3E, "X-Mms-Cancel-ID", T::Text},
    {0x3F, "X-Mms-Cancel-Status", T::Octet},
};

constexpr quint8 kAbsoluteToken = 128;
constexpr quint8 kRelativeToken = 129;
constexpr quint8 kAddressPresentToken = 128;
constexpr quint8 kInsertAddressToken = 129;
constexpr quint64 kUtf8 = 106;

const FieldInfo* fieldInfo(quint8 code)
{
    return code >= 1 && code <= std::size(kFields) ? &kFields[code - 1] : nullptr;
}

// Text in `charset` (UTF-8 when none is named), read whatever it holds.
QString decodeCarried(const QByteArray& bytes, quint64 charset, const QString& fieldName,
                      qsizetype offset, QStringList& warnings)
{
    std::optional<DecodedText> decoded = decodeText(bytes, charset == 0 ? kUtf8 : charset);
    if (!decoded) {
        warnings.append(QStringLiteral("%1 at offset %2: charset %3 is not known, read as UTF-8")
                            .arg(fieldName)
                            .arg(offset)
                            .arg(charset));
        decoded = decodeText(bytes, kUtf8);
    }
    if (decoded->replaced)
        warnings.append(
            QStringLiteral("%1 at offset %2: bytes not valid in their charset are shown as U+FFFD")
                .arg(fieldName)
                .arg(offset));
    return decoded->text;
}

constexpr char kTextQuote = 127;

// UTF-16 text holds zero octets, so it runs to the end of its value length, where the zero octets
// that end it are not text. A quote octet before a high first octet is not text either.
std::optional<QByteArray> readUtf16(WspReader& value)
{
    if (value.remaining() >= 2 && value.peek() == kTextQuote)
        value.octet();
    QByteArray text = value.octets(value.remaining())->toByteArray();
    if (text.size() % 2 == 0 && text.endsWith(QByteArrayView("\0\0", 2)))
        text.chop(2);
    else if (text.size() % 2 != 0 && text.endsWith('\0'))
        text.chop(1);
    return text;
}

void writeUtf16(WspWriter& writer, const QByteArray& text)
{
    if (!text.isEmpty() && quint8(text[0]) >= kTextQuote)
        writer.octet(kTextQuote);
    writer.octets(text);
    writer.octets(QByteArrayView("\0\0", 2));
}

// An encoded-string value: a text string, or a value length, a charset and a text string.
bool readEncodedText(WspReader& reader, HeaderField& field, QStringList& warnings)
{
    const qsizetype start = reader.offset();
    const std::optional<quint8> first = reader.peek();
    std::optional<QByteArray> text;
    if (first == 0) {
        // An empty text string, which reads as well as a value length of zero.
        reader.octet();
        text = QByteArray("");
    } else if (first && *first <= 31) {
        const std::optional<quint32> length = reader.valueLength();
        std::optional<WspReader> value = length ? reader.region(*length) : std::nullopt;
        if (!value)
            return false;
        const std::optional<quint64> charset = value->integer();
        text = charset && isUtf16(*charset) ? readUtf16(*value) : value->textString();
        if (!reader.adopt(*value))
            return false;
        field.charset = *charset;
    } else {
        text = reader.textString();
    }
    if (!text)
        return false;
    field.text = decodeCarried(*text, field.charset, field.displayName(), start, warnings);
    field.raw = std::move(*text);
    return true;
}

void writeEncodedText(WspWriter& writer, const HeaderField& field)
{
    QByteArray text = field.raw;
    quint64 charset = field.charset;
    if (text.isNull()) {
        text = field.text.toUtf8();
        const bool ascii = text.size() == field.text.size();
        charset = ascii ? 0 : kUtf8;
    }
    if (charset == 0) {
        writer.textString(text);
        return;
    }
    WspWriter value;
    value.integer(charset);
    if (isUtf16(charset))
        writeUtf16(value, text);
    else
        value.textString(text);
    writer.valueLength(quint32(value.bytes().size()));
    writer.octets(value.bytes());
}

// A value the codec does not know how to read, taken by the rule every WSP value keeps: a short
// integer is one octet, a value length says how many follow, else a text runs to a zero octet.
std::optional<QByteArray> readRawValue(WspReader& reader)
{
    const qsizetype start = reader.offset();
    const std::optional<quint8> first = reader.peek();
    if (!first)
        return reader.fail(start, QStringLiteral("a field value"));
    std::optional<QByteArrayView> value;
    if (*first & 0x80) {
        value = reader.octets(1);
    } else if (*first <= 31) {
        const std::optional<quint32> length = reader.valueLength();
        if (length)
            reader.octets(*length);
    } else {
        reader.textString();
    }
    if (reader.error())
        return std::nullopt;
    return reader.bytesFrom(start).toByteArray();
}

// A value length around the value that `write` writes.
template <typename Write> void writeWithLength(WspWriter& writer, Write write)
{
    WspWriter value;
    write(value);
    writer.valueLength(quint32(value.bytes().size()));
    writer.octets(value.bytes());
}

bool readValue(WspReader& reader, HeaderField& field, ValueType type, QStringList& warnings)
{
    switch (type) {
    case T::Octet: {
        const std::optional<quint8> value = reader.octet();
        field.number = value.value_or(0);
        return value.has_value();
    }
    case T::Version: {
        const std::optional<quint8> value = reader.shortInteger();
        field.number = value.value_or(0);
        return value.has_value();
    }
    case T::LongInteger: {
        const std::optional<quint64> value = reader.longInteger();
        field.number = value.value_or(0);
        return value.has_value();
    }
    case T::Integer: {
        const std::optional<quint64> value = reader.integer();
        field.number = value.value_or(0);
        return value.has_value();
    }
    case T::Text: {
        std::optional<QByteArray> value = reader.textString();
        if (!value)
            return false;
        field.text = QString::fromUtf8(*value);
        field.raw = std::move(*value);
        return true;
    }
    case T::EncodedText:
        return readEncodedText(reader, field, warnings);
    case T::ClassOrToken: {
        const std::optional<quint8> first = reader.peek();
        if (first && *first & 0x80) {
            field.number = *reader.octet();
            return true;
        }
        return readValue(reader, field, T::Text, warnings);
    }
    case T::ContentType: {
        std::optional<ContentType> value = readContentType(reader);
        if (value)
            field.contentType = std::move(*value);
        return value.has_value();
    }
    case T::Raw: {
        std::optional<QByteArray> value = readRawValue(reader);
        if (value)
            field.raw = std::move(*value);
        return value.has_value();
    }
    default:
        break;
    }
    // The rest come inside a value length.
    const std::optional<quint32> length = reader.valueLength();
    std::optional<WspReader> value = length ? reader.region(*length) : std::nullopt;
    if (!value)
        return false;
    const qsizetype start = value->offset();
    switch (type) {
    case T::Time: {
        const std::optional<quint8> token = value->octet();
        field.relative = token == kRelativeToken;
        if (token && *token != kAbsoluteToken && *token != kRelativeToken)
            value->fail(start, QStringLiteral("an absolute (128) or relative (129) token"));
        field.number = value->integer().value_or(0);
        break;
    }
    case T::From: {
        const std::optional<quint8> token = value->octet();
        field.insertAddress = token == kInsertAddressToken;
        if (token == kAddressPresentToken)
            readEncodedText(*value, field, warnings);
        else if (token && *token != kInsertAddressToken)
            value->fail(start, QStringLiteral("an address-present (128) or insert-address (129) "
                                              "token"));
        break;
    }
    case T::CountedText:
        field.tag = value->integer().value_or(0);
        readEncodedText(*value, field, warnings);
        break;
    case T::CountedDate:
        field.tag = value->integer().value_or(0);
        field.number = value->longInteger().value_or(0);
        break;
    case T::TaggedText:
        field.tag = value->octet().value_or(0);
        readEncodedText(*value, field, warnings);
        break;
    case T::TaggedNumber:
        field.tag = value->octet().value_or(0);
        field.number = value->integer().value_or(0);
        break;
    default:
        break;
    }
    return reader.adopt(*value);
}

void writeValue(WspWriter& writer, const HeaderField& field, ValueType type)
{
    switch (type) {
    case T::Octet:
        writer.octet(quint8(field.number));
        break;
    case T::Version:
        writer.shortInteger(quint8(field.number));
        break;
    case T::LongInteger:
        writer.longInteger(field.number);
        break;
    case T::Integer:
        writer.integer(field.number);
        break;
    case T::Text:
        writer.textString(field.raw.isNull() ? field.text.toUtf8() : field.raw);
        break;
    case T::EncodedText:
        writeEncodedText(writer, field);
        break;
    case T::ClassOrToken:
        if (field.text.isEmpty() && field.raw.isEmpty())
            writer.octet(quint8(field.number));
        else
            writeValue(writer, field, T::Text);
        break;
    case T::ContentType:
        writeContentType(writer, field.contentType);
        break;
    case T::Raw:
        writer.octets(field.raw);
        break;
    case T::Time:
        writeWithLength(writer, [&](WspWriter& value) {
            value.octet(field.relative ? kRelativeToken : kAbsoluteToken);
            value.longInteger(field.number);
        });
        break;
    case T::From:
        writeWithLength(writer, [&](WspWriter& value) {
            value.octet(field.insertAddress ? kInsertAddressToken : kAddressPresentToken);
            if (!field.insertAddress)
                writeEncodedText(value, field);
        });
        break;
    case T::CountedText:
        writeWithLength(writer, [&](WspWriter& value) {
            value.integer(field.tag);
            writeEncodedText(value, field);
        });
        break;
    case T::CountedDate:
        writeWithLength(writer, [&](WspWriter& value) {
            value.integer(field.tag);
            value.longInteger(field.number);
        });
        break;
    case T::TaggedText:
        writeWithLength(writer, [&](WspWriter& value) {
            value.octet(quint8(field.tag));
            writeEncodedText(value, field);
        });
        break;
    case T::TaggedNumber:
        writeWithLength(writer, [&](WspWriter& value) {
            value.octet(quint8(field.tag));
            value.integer(field.number);
        });
        break;
    }
}

} // namespace

QString fieldName(quint8 code)
{
    const FieldInfo* info = fieldInfo(code);
    return info ? QString::fromLatin1(info->name) : QString();
}

ValueType fieldValueType(quint8 code)
{
    const FieldInfo* info = fieldInfo(code);
    return info ? info->type : T::Raw;
}

HeaderField HeaderField::octet(Field field, quint64 value)
{
    HeaderField made;
    made.code = quint8(field);
    made.number = value;
    return made;
}

HeaderField HeaderField::integer(Field field, quint64 value)
{
    return octet(field, value);
}

HeaderField HeaderField::textField(Field field, const QString& text)
{
    HeaderField made;
    made.code = quint8(field);
    made.text = text;
    return made;
}

HeaderField HeaderField::time(Field field, quint64 value, bool relative)
{
    HeaderField made = octet(field, value);
    made.relative = relative;
    return made;
}

HeaderField HeaderField::from(const QString& address)
{
    return textField(Field::From, address);
}

HeaderField HeaderField::insertAddressFrom()
{
    HeaderField made;
    made.code = quint8(Field::From);
    made.insertAddress = true;
    return made;
}

QString HeaderField::displayName() const
{
    if (isTextHeader())
        return QString::fromUtf8(name);
    const QString known = fieldName(code);
    return known.isEmpty() ? QStringLiteral("Field 0x%1").arg(code, 2, 16, QLatin1Char('0'))
                           : known;
}

bool HeaderField::operator==(const HeaderField& other) const
{
    // Texts compare as read: the same text in another charset is the same value.
    const bool rawCounts = isTextHeader() || fieldValueType(code) == T::Raw;
    return code == other.code && name == other.name && number == other.number && tag == other.tag &&
           relative == other.relative && insertAddress == other.insertAddress &&
           text == other.text && contentType == other.contentType &&
           (!rawCounts || raw == other.raw);
}

std::optional<HeaderField> readHeaderField(WspReader& reader, QStringList& warnings)
{
    const qsizetype start = reader.offset();
    const std::optional<quint8> first = reader.peek();
    HeaderField field;
    if (first && *first & 0x80) {
        field.code = *reader.shortInteger();
        if (!readValue(reader, field, fieldValueType(field.code), warnings))
            return std::nullopt;
        return field;
    }
    if (first && *first < 32)
        return reader.fail(start, QStringLiteral("a header field (an octet of 32 or more)"));
    std::optional<QByteArray> name = reader.textString();
    if (name && name->isEmpty())
        return reader.fail(start, QStringLiteral("a header name"));
    std::optional<QByteArray> value = name ? reader.textString() : std::nullopt;
    if (!value)
        return std::nullopt;
    field.name = std::move(*name);
    field.text = QString::fromUtf8(*value);
    field.raw = std::move(*value);
    return field;
}

void writeHeaderField(WspWriter& writer, const HeaderField& field)
{
    if (field.isTextHeader()) {
        writer.textString(field.name);
        writer.textString(field.raw.isNull() ? field.text.toUtf8() : field.raw);
        return;
    }
    writer.shortInteger(field.code);
    writeValue(writer, field, fieldValueType(field.code));
}

} // namespace tavmms::pdu
