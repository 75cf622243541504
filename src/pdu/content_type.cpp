#include "content_type.h"

#include "charsets.h"
#include "name_index.h"

namespace tavmms::pdu
{

namespace
{

// WSP's well-known content types, by number from 0x00. "multipart/byterantes" is spelled as the
// registry assigns it.
constexpr const char* kMediaTypes[] = {
    "*/*",
    "text/*",
    "text/html",
    "text/plain",
    "text/x-hdml",
    "text/x-ttml",
    "text/x-vCalendar",
    "text/x-vCard",
    "text/vnd.wap.wml",
    "text/vnd.wap.wmlscript",
    "text/vnd.wap.wta-event",
    "multipart/*",
    "multipart/mixed",
    "multipart/form-data",
    "multipart/byterantes",
    "multipart/alternative",
    "application/*",
    "application/java-vm",
    "application/x-www-form-urlencoded",
    "application/x-hdmlc",
    "application/vnd.wap.wmlc",
    "application/vnd.wap.wmlscriptc",
    "application/vnd.wap.wta-eventc",
    "application/vnd.wap.uaprof",
    "application/vnd.wap.wtls-ca-certificate",
    "application/vnd.wap.wtls-user-certificate",
    "application/x-x509-ca-cert",
    "application/x-x509-user-cert",
    "image/*",
    "image/gif",
    "image/jpeg",
    "image/tiff",
    "image/png",
    "image/vnd.wap.wbmp",
    "application/vnd.wap.multipart.*",
    "application/vnd.wap.multipart.mixed",
    "application/vnd.wap.multipart.form-data",
    "application/vnd.wap.multipart.byteranges",
    "application/vnd.wap.multipart.alternative",
    "application/xml",
    "text/xml",
    "application/vnd.wap.wbxml",
    "application/x-x968-cross-cert",
    "application/x-x968-ca-cert",
    "application/x-x968-user-cert",
    "text/vnd.wap.si",
    "application/vnd.wap.sic",
    "text/vnd.wap.sl",
    "application/vnd.wap.slc",
    "text/vnd.wap.co",
    "application/vnd.wap.coc",
    "application/vnd.wap.multipart.related",
    "application/vnd.wap.sia",
    "text/vnd.wap.connectivity-xml",
    "application/vnd.wap.connectivity-wbxml",
    "application/pkcs7-mime",
    "application/vnd.wap.hashed-certificate",
    "application/vnd.wap.signed-certificate",
    "application/vnd.wap.cert-response",
    "application/xhtml+xml",
    "application/wml+xml",
    "text/css",
    "application/vnd.wap.mms-message",
    "application/vnd.wap.rollover-certificate",
    "application/vnd.wap.locc+wbxml",
    "application/vnd.wap.loc+xml",
    "application/vnd.syncml.dm+wbxml",
    "application/vnd.syncml.dm+xml",
    "application/vnd.syncml.notification",
    "application/vnd.wap.xhtml+xml",
    "application/vnd.wv.csp.cir",
    "application/vnd.oma.dd+xml",
    "application/vnd.oma.drm.message",
    "application/vnd.oma.drm.content",
    "application/vnd.oma.drm.rights+xml",
    "application/vnd.oma.drm.rights+wbxml",
    "application/vnd.wv.csp+xml",
    "application/vnd.wv.csp+wbxml",
    "application/vnd.syncml.ds.notification",
    "audio/*",
    "video/*",
    "application/vnd.oma.dd2+xml",
    "application/mikey",
    "application/vnd.oma.dcd",
    "application/vnd.oma.dcdc",
    "text/x-vMessage",
    "application/vnd.omads-email+wbxml",
    "text/x-vBookmark",
    "application/vnd.syncml.dm.notification",
    "application/octet-stream",
    "application/json",
};

// The parameters WSP gives a number, with the encoding of their value.
enum class ValueKind {
    QValue,
    Charset,
    Version,
    Integer,
    Text,
    TextValue,
    FieldName,
    ShortInteger,
    Media,
    NoValue,
    Date
};

struct ParameterCode {
    quint8 code;
    const char* name;
    ValueKind kind;
};

constexpr ParameterCode kParameters[] = {
    {0x00, "q", ValueKind::QValue},
    {0x01, "charset", ValueKind::Charset},
    {0x02, "level", ValueKind::Version},
    {0x03, "type", ValueKind::Integer},
    {0x05, "name", ValueKind::Text},
    {0x06, "filename", ValueKind::Text},
    {0x07, "differences", ValueKind::FieldName},
    {0x08, "padding", ValueKind::ShortInteger},
    {0x09, "type", ValueKind::Media},
    {0x0A, "start", ValueKind::Text},
    {0x0B, "start-info", ValueKind::Text},
    {0x0C, "comment", ValueKind::Text},
    {0x0D, "domain", ValueKind::Text},
    {0x0E, "max-age", ValueKind::Integer},
    {0x0F, "path", ValueKind::Text},
    {0x10, "secure", ValueKind::NoValue},
    {0x11, "sec", ValueKind::ShortInteger},
    {0x12, "mac", ValueKind::TextValue},
    {0x13, "creation-date", ValueKind::Date},
    {0x14, "modification-date", ValueKind::Date},
    {0x15, "read-date", ValueKind::Date},
    {0x16, "size", ValueKind::Integer},
    {0x17, "name", ValueKind::TextValue},
    {0x18, "filename", ValueKind::TextValue},
    {0x19, "start", ValueKind::TextValue},
    {0x1A, "start-info", ValueKind::TextValue},
    {0x1B, "comment", ValueKind::TextValue},
    {0x1C, "domain", ValueKind::TextValue},
    {0x1D, "path", ValueKind::TextValue},
};

// What the encoder writes typed: the forms of WSP 1.2, which every MMS client reads.
constexpr quint8 kWrittenTyped[] = {0x01, 0x05, 0x06, 0x09, 0x0A, 0x0B};

constexpr quint8 kAnyCharset = 128;

const ParameterCode* parameterCode(quint8 code)
{
    for (const ParameterCode& entry : kParameters) {
        if (entry.code == code)
            return &entry;
    }
    return nullptr;
}

QByteArray number(quint64 value)
{
    return QByteArray::number(value);
}

// A Q-value: a uintvar of at most two octets; 1 to 100 are hundredths (plus one), above that
// thousandths (plus 100).
std::optional<QByteArray> readQValue(WspReader& reader)
{
    const qsizetype start = reader.offset();
    const std::optional<quint32> q = reader.uintvar();
    if (!q)
        return std::nullopt;
    if (*q == 0 || *q > 1099 || reader.offset() - start > 2)
        return reader.fail(start, QStringLiteral("a q-value of 1 to 1099"));
    if (*q <= 100)
        return QByteArray::number(double(*q - 1) / 100, 'g', 3);
    return QByteArray::number(double(*q - 100) / 1000, 'g', 4);
}

std::optional<QByteArray> readCharset(WspReader& reader)
{
    if (reader.peek() == kAnyCharset) {
        reader.octet();
        return QByteArray("*");
    }
    const std::optional<quint64> mib = reader.integer();
    if (!mib)
        return std::nullopt;
    const QByteArray name = charsetName(*mib);
    return name.isEmpty() ? number(*mib) : name.toLower();
}

std::optional<QByteArray> readVersion(WspReader& reader)
{
    const std::optional<quint8> first = reader.peek();
    if (!first || !(*first & 0x80))
        return reader.textString();
    const quint8 version = *reader.shortInteger();
    const quint8 minor = version & 0x0F;
    QByteArray text = number(version >> 4);
    if (minor != 0x0F)
        text += '.' + number(minor);
    return text;
}

// A media type read as text, spelled as its well-known number reads when it has one: the writer
// sends such a type as the number, so that a text spelled otherwise ("Image/JPEG") would not read
// back the same.
QByteArray wellKnownSpelling(const QByteArray& text)
{
    const std::optional<quint8> code = wellKnownMediaCode(text);
    return code ? QByteArray(kMediaTypes[*code]) : text;
}

// A Constrained-encoding: a short integer naming a well-known type, or an extension text.
std::optional<QByteArray> readConstrainedMedia(WspReader& reader)
{
    const qsizetype start = reader.offset();
    const std::optional<quint8> first = reader.peek();
    if (!first || !(*first & 0x80)) {
        const std::optional<QByteArray> text = reader.textString();
        return text ? std::optional(wellKnownSpelling(*text)) : std::nullopt;
    }
    const QByteArray name = wellKnownMediaType(*reader.shortInteger());
    if (name.isEmpty())
        return reader.fail(start, QStringLiteral("a well-known content type number"));
    return name;
}

} // namespace

QByteArray parameterValue(const QList<Parameter>& parameters, QByteArrayView name)
{
    for (const Parameter& parameter : parameters) {
        if (parameter.name.compare(name, Qt::CaseInsensitive) == 0)
            return parameter.value;
    }
    return {};
}

QByteArray ContentType::parameter(QByteArrayView name) const
{
    return parameterValue(parameters, name);
}

bool ContentType::hasParameter(QByteArrayView name) const
{
    for (const Parameter& parameter : parameters) {
        if (parameter.name.compare(name, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

bool ContentType::is(QByteArrayView type) const
{
    if (type.endsWith("/*"))
        return mediaType.size() >= type.size() - 1 &&
               QByteArrayView(mediaType)
                       .first(type.size() - 1)
                       .compare(type.chopped(1), Qt::CaseInsensitive) == 0;
    return mediaType.compare(type, Qt::CaseInsensitive) == 0;
}

QByteArray wellKnownMediaType(quint64 code)
{
    if (code >= std::size(kMediaTypes))
        return {};
    return QByteArray(kMediaTypes[code]);
}

std::optional<quint8> wellKnownMediaCode(QByteArrayView mediaType)
{
    static const NameIndex index(kMediaTypes);
    const std::optional<int> code = index.find(mediaType);
    return code ? std::optional(quint8(*code)) : std::nullopt;
}

std::optional<QByteArray> readTextValue(WspReader& reader)
{
    const std::optional<quint8> first = reader.peek();
    if (first == 0) {
        reader.octet();
        return QByteArray();
    }
    if (first == '"')
        return reader.quotedString();
    return reader.textString();
}

namespace
{

std::optional<QByteArray> readTypedValue(WspReader& reader, ValueKind kind)
{
    switch (kind) {
    case ValueKind::QValue:
        return readQValue(reader);
    case ValueKind::Charset:
        return readCharset(reader);
    case ValueKind::Version:
        return readVersion(reader);
    case ValueKind::Integer:
    case ValueKind::Date: {
        const std::optional<quint64> value = reader.integer();
        return value ? std::optional(number(*value)) : std::nullopt;
    }
    case ValueKind::ShortInteger: {
        const std::optional<quint8> value = reader.shortInteger();
        return value ? std::optional(number(*value)) : std::nullopt;
    }
    case ValueKind::FieldName: {
        const std::optional<quint8> first = reader.peek();
        if (first && (*first & 0x80))
            return number(*reader.shortInteger());
        return reader.textString();
    }
    case ValueKind::Media:
        return readConstrainedMedia(reader);
    case ValueKind::NoValue: {
        const qsizetype start = reader.offset();
        if (reader.octet() != 0)
            return reader.fail(start, QStringLiteral("no value (a zero octet)"));
        return QByteArray();
    }
    case ValueKind::Text:
        return reader.textString();
    case ValueKind::TextValue:
        return readTextValue(reader);
    }
    return std::nullopt;
}

// Untyped-value: an integer or a text value.
std::optional<QByteArray> readUntypedValue(WspReader& reader)
{
    const std::optional<quint8> first = reader.peek();
    if (first && *first != 0 && (*first & 0x80 || *first <= 30)) {
        const std::optional<quint64> value = reader.integer();
        return value ? std::optional(number(*value)) : std::nullopt;
    }
    return readTextValue(reader);
}

std::optional<Parameter> readParameter(WspReader& reader);

// An untyped parameter that the writer sends typed (a charset by name, "Name", "type" with a
// media type) reads as its typed form reads, so that written back it reads the same; one the
// writer sends untyped stays as it came.
Parameter asWritten(Parameter parameter)
{
    WspWriter writer;
    writeParameter(writer, parameter);
    WspReader written(writer.bytes());
    if (!(written.peek().value_or(0) & 0x80))
        return parameter;
    std::optional<Parameter> typed = readParameter(written);
    return typed ? std::move(*typed) : parameter;
}

std::optional<Parameter> readParameter(WspReader& reader)
{
    const qsizetype start = reader.offset();
    const std::optional<quint8> first = reader.peek();
    if (first && (*first & 0x80 || *first <= 30)) {
        const std::optional<quint64> code = reader.integer();
        if (!code)
            return std::nullopt;
        const ParameterCode* known = *code <= 0xFF ? parameterCode(quint8(*code)) : nullptr;
        if (!known)
            return reader.fail(start, QStringLiteral("a parameter WSP assigns a number"));
        std::optional<QByteArray> value = readTypedValue(reader, known->kind);
        if (!value)
            return std::nullopt;
        return Parameter{QByteArray(known->name), std::move(*value)};
    }
    std::optional<QByteArray> name = reader.textString();
    if (!name)
        return std::nullopt;
    // A name of no octets, which only a quote octet can carry, could not be written back.
    if (name->isEmpty())
        return reader.fail(start, QStringLiteral("a parameter name"));
    std::optional<QByteArray> value = readUntypedValue(reader);
    if (!value)
        return std::nullopt;
    return asWritten(Parameter{std::move(*name), std::move(*value)});
}

// An extension media type, spelled as its well-known number reads when it has one; one of no
// octets, which only a quote octet can carry, could not be written back.
std::optional<QByteArray> readMediaText(WspReader& reader)
{
    const qsizetype start = reader.offset();
    const std::optional<QByteArray> text = reader.textString();
    if (!text)
        return std::nullopt;
    if (text->isEmpty())
        return reader.fail(start, QStringLiteral("a media type"));
    return wellKnownSpelling(*text);
}

} // namespace

bool readParameters(WspReader& reader, QList<Parameter>& parameters)
{
    while (!reader.atEnd()) {
        std::optional<Parameter> parameter = readParameter(reader);
        if (!parameter)
            return false;
        parameters.append(std::move(*parameter));
    }
    return !reader.error();
}

std::optional<ContentType> readContentType(WspReader& reader)
{
    const qsizetype start = reader.offset();
    const std::optional<quint8> first = reader.peek();
    if (!first)
        return reader.fail(start, QStringLiteral("a content type"));
    if (*first >= 32 && *first < 0x80) {
        std::optional<QByteArray> text = readMediaText(reader);
        return text ? std::optional(ContentType{std::move(*text), {}}) : std::nullopt;
    }
    std::optional<WspReader> general;
    if (*first <= 31) {
        const std::optional<quint32> length = reader.valueLength();
        if (!length || !(general = reader.region(*length)))
            return std::nullopt;
    }
    WspReader& media = general ? *general : reader;
    const qsizetype mediaStart = media.offset();
    const std::optional<quint8> mediaFirst = media.peek();
    ContentType type;
    if (mediaFirst && (*mediaFirst & 0x80 || *mediaFirst <= 30)) {
        const std::optional<quint64> code = media.integer();
        if (code) {
            type.mediaType = wellKnownMediaType(*code);
            if (type.mediaType.isEmpty())
                media.fail(mediaStart, QStringLiteral("a well-known content type number"));
        }
    } else if (std::optional<QByteArray> text = readMediaText(media)) {
        type.mediaType = std::move(*text);
    }
    if (general)
        readParameters(*general, type.parameters);
    if (!reader.adopt(media))
        return std::nullopt;
    return type;
}

void writeParameter(WspWriter& writer, const Parameter& parameter)
{
    const QByteArray name = parameter.name.toLower();
    const QByteArray& value = parameter.value;
    bool isNumber = false;
    const quint64 asNumber = value.toULongLong(&isNumber);
    if (name == "charset") {
        if (value == "*") {
            writer.shortInteger(0x01);
            writer.octet(kAnyCharset);
            return;
        }
        const std::optional<quint64> mib =
            isNumber ? std::optional(asNumber) : charsetMibEnum(value);
        if (mib) {
            writer.shortInteger(0x01);
            // As a short integer, 0 would read as any charset.
            if (*mib == 0)
                writer.longInteger(0);
            else
                writer.integer(*mib);
            return;
        }
    }
    for (const quint8 code : kWrittenTyped) {
        const ParameterCode& known = *parameterCode(code);
        if (name != known.name || name == "charset")
            continue;
        writer.shortInteger(code);
        if (known.kind != ValueKind::Media)
            writer.textString(value);
        else if (const std::optional<quint8> media = wellKnownMediaCode(value))
            writer.shortInteger(*media);
        else
            writer.textString(value);
        return;
    }
    writer.textString(parameter.name);
    if (value.isEmpty())
        writer.octet(0);
    else
        writer.quotedString(value);
}

void writeContentType(WspWriter& writer, const ContentType& type)
{
    const std::optional<quint8> code = wellKnownMediaCode(type.mediaType);
    if (type.parameters.isEmpty()) {
        if (code)
            writer.shortInteger(*code);
        else
            writer.textString(type.mediaType);
        return;
    }
    WspWriter general;
    if (code)
        general.shortInteger(*code);
    else
        general.textString(type.mediaType);
    for (const Parameter& parameter : type.parameters)
        writeParameter(general, parameter);
    writer.valueLength(quint32(general.bytes().size()));
    writer.octets(general.bytes());
}

} // namespace tavmms::pdu
