#include "part_header.h"

#include "content_disposition.h"
#include "name_index.h"

namespace tavmms::pdu
{

namespace
{

// The header fields WSP numbers, by number from 0x00. Later versions of WSP gave some fields a
// second number, with a richer value; both numbers read, and the first is written.
constexpr const char* kFieldNames[] = {
    "Accept",
    "Accept-Charset",
    "Accept-Encoding",
    "Accept-Language",
    "Accept-Ranges",
    "Age",
    "Allow",
    "Authorization",
    "Cache-Control",
    "Connection",
    "Content-Base",
    "Content-Encoding",
    "Content-Language",
    "Content-Length",
    "Content-Location",
    "Content-MD5",
    "Content-Range",
    "Content-Type",
    "Date",
    "Etag",
    "Expires",
    "From",
    "Host",
    "If-Modified-Since",
    "If-Match",
    "If-None-Match",
    "If-Range",
    "If-Unmodified-Since",
    "Location",
    "Last-Modified",
    "Max-Forwards",
    "Pragma",
    "Proxy-Authenticate",
    "Proxy-Authorization",
    "Public",
    "Range",
    "Referer",
    "Retry-After",
    "Server",
    "Transfer-Encoding",
    "Upgrade",
    "User-Agent",
    "Vary",
    "Via",
    "Warning",
    "WWW-Authenticate",
    "Content-Disposition",
    "X-Wap-Application-Id",
    "X-Wap-Content-URI",
    "X-Wap-Initiator-URI",
    "Accept-Application",
    "Bearer-Indication",
    "Push-Flag",
    "Profile",
    "Profile-Diff",
    "Profile-Warning",
    "Expect",
    "TE",
    "Trailer",
    "Accept-Charset",
    "Accept-Encoding",
    "Cache-Control",
    "Content-Range",
    "X-Wap-Tod",
    "Content-ID",
    "Set-Cookie",
    "Cookie",
    "Encoding-Version",
    "Profile-Warning",
    "Content-Disposition",
    "X-Wap-Security",
    "Cache-Control",
};

constexpr quint8 kContentLocation = 0x0E;
constexpr quint8 kContentDisposition = 0x2E;
constexpr quint8 kContentId = 0x40;
constexpr quint8 kContentDispositionSecond = 0x45;

std::optional<quint8> fieldCode(QByteArrayView name)
{
    static const NameIndex index(kFieldNames);
    const std::optional<int> code = index.find(name);
    return code ? std::optional(quint8(*code)) : std::nullopt;
}

// A value of a field this codec does not read in its own encoding: a short integer, a length
// and octets, or a text.
std::optional<PartHeader> readGenericValue(WspReader& reader, PartHeader header)
{
    const std::optional<quint8> first = reader.peek();
    std::optional<QByteArray> value;
    if (first && *first & 0x80) {
        value = QByteArray::number(*reader.shortInteger());
    } else if (first && *first < 0x20) {
        const std::optional<quint32> length = reader.valueLength();
        if (const std::optional<QByteArrayView> octets =
                length ? reader.octets(*length) : std::nullopt)
            value = octets->toByteArray();
        header.opaque = true;
    } else {
        value = reader.textString();
    }
    if (!value)
        return std::nullopt;
    header.value = std::move(*value);
    return header;
}

std::optional<PartHeader> readFieldValue(WspReader& reader, quint8 code)
{
    PartHeader header{headerFieldName(code), {}};
    std::optional<QByteArray> value;
    if (code == kContentId) {
        // A quoted string by rights, but many handsets send a plain text.
        value = reader.peek() == '"' ? reader.quotedString() : reader.textString();
    } else if (code == kContentLocation) {
        value = reader.textString();
    } else if (code == kContentDisposition || code == kContentDispositionSecond) {
        if (const std::optional<Disposition> disposition = readDisposition(reader))
            value = dispositionText(*disposition);
    } else {
        return readGenericValue(reader, std::move(header));
    }
    if (!value)
        return std::nullopt;
    header.value = std::move(*value);
    return header;
}

// Whether `value` is a number a short integer carries, as it would read back.
bool isShortNumber(const QByteArray& value)
{
    bool isNumber = false;
    const uint number = value.toUInt(&isNumber);
    return isNumber && number < 0x80 && QByteArray::number(number) == value;
}

} // namespace

QByteArray headerFieldName(quint8 code)
{
    if (code >= std::size(kFieldNames))
        return {};
    return QByteArray(kFieldNames[code]);
}

std::optional<PartHeader> readPartHeader(WspReader& reader)
{
    const qsizetype start = reader.offset();
    const std::optional<quint8> first = reader.peek();
    if (first && *first & 0x80) {
        const quint8 code = *reader.shortInteger();
        if (code >= std::size(kFieldNames))
            return reader.fail(start, QStringLiteral("a header field WSP numbers"));
        return readFieldValue(reader, code);
    }
    if (!first || *first < 0x20 || *first == 0x7F)
        return reader.fail(start, QStringLiteral("a header: a field number or a name"));
    std::optional<QByteArray> name = reader.textString();
    std::optional<QByteArray> value = name ? reader.textString() : std::nullopt;
    if (!value)
        return std::nullopt;
    return PartHeader{std::move(*name), std::move(*value)};
}

void writePartHeader(WspWriter& writer, const PartHeader& header)
{
    const std::optional<quint8> code = fieldCode(header.name);
    if (!code) {
        writer.textString(header.name);
        writer.textString(header.value);
        return;
    }
    writer.shortInteger(*code);
    if (*code == kContentId) {
        writer.quotedString(header.value);
    } else if (*code == kContentDisposition) {
        writeDisposition(writer, parseDisposition(header.value));
    } else if (header.opaque) {
        writer.valueLength(quint32(header.value.size()));
        writer.octets(header.value);
    } else if (*code != kContentLocation && isShortNumber(header.value)) {
        writer.shortInteger(quint8(header.value.toUInt()));
    } else {
        writer.textString(header.value);
    }
}

} // namespace tavmms::pdu
