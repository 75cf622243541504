#include "multipart.h"

#include "charsets.h"
#include "content_disposition.h"

namespace tavmms::pdu
{

namespace
{

// `length` octets, when that many are left; else an error saying what they were for.
bool fits(WspReader& reader, quint32 length, const char* what)
{
    if (qsizetype(length) <= reader.remaining())
        return true;
    reader.fail(reader.offset(), QStringLiteral("%1 of %2 octets, where %3 are left")
                                     .arg(QLatin1String(what))
                                     .arg(length)
                                     .arg(reader.remaining()));
    return false;
}

std::optional<Part> readPart(WspReader& reader)
{
    const std::optional<quint32> headersLength = reader.uintvar();
    const std::optional<quint32> dataLength =
        headersLength ? reader.uintvar() : std::optional<quint32>();
    if (!dataLength || !fits(reader, *headersLength, "the headers"))
        return std::nullopt;
    WspReader headers = *reader.region(*headersLength);
    Part part;
    if (std::optional<ContentType> type = readContentType(headers)) {
        part.contentType = std::move(*type);
        while (!headers.atEnd()) {
            std::optional<PartHeader> header = readPartHeader(headers);
            if (!header)
                break;
            part.headers.append(std::move(*header));
        }
    }
    if (!reader.adopt(headers) || !fits(reader, *dataLength, "the data"))
        return std::nullopt;
    part.data = reader.octets(*dataLength)->toByteArray();
    return part;
}

QByteArray withoutAngleBrackets(const QByteArray& id)
{
    if (id.startsWith('<') && id.endsWith('>') && id.size() >= 2)
        return id.sliced(1, id.size() - 2);
    return id;
}

} // namespace

QByteArray Part::header(QByteArrayView name) const
{
    for (const PartHeader& header : headers) {
        if (header.name.compare(name, Qt::CaseInsensitive) == 0)
            return header.value;
    }
    return {};
}

QByteArray Part::contentId() const
{
    return header("Content-ID");
}

QByteArray Part::contentLocation() const
{
    return header("Content-Location");
}

QByteArray Part::dispositionFilename() const
{
    return parameterValue(parseDisposition(header("Content-Disposition")).parameters, "filename");
}

QByteArray Part::name() const
{
    for (const QByteArray& name :
         {contentType.parameter("name"), dispositionFilename(), contentLocation()}) {
        if (!name.isEmpty())
            return name;
    }
    return {};
}

QByteArray Part::charset() const
{
    const QByteArray value = contentType.parameter("charset");
    bool isNumber = false;
    const quint64 number = value.toULongLong(&isNumber);
    const std::optional<quint64> mib = isNumber ? std::optional(number) : charsetMibEnum(value);
    const QByteArray name = mib ? charsetName(*mib).toLower() : QByteArray();
    return name.isEmpty() ? value : name;
}

bool isMultipartType(const ContentType& type)
{
    return type.is("multipart/*") ||
           type.mediaType.toLower().startsWith("application/vnd.wap.multipart.");
}

bool Part::isMultipart() const
{
    return isMultipartType(contentType);
}

std::optional<QList<Part>> decodeMultipart(QByteArrayView body, DecodeError* error)
{
    WspReader reader(body);
    QList<Part> parts;
    const std::optional<quint32> count = reader.uintvar();
    // The count is not trusted for an allocation: each entry takes three octets at least, and the
    // loop stops at the first that is not there.
    for (quint32 index = 0; count && index < *count; ++index) {
        if (reader.atEnd()) {
            reader.fail(
                reader.offset(),
                QStringLiteral("entry %1 of the %2 the body counts").arg(index + 1).arg(*count));
            break;
        }
        std::optional<Part> part = readPart(reader);
        if (!part)
            break;
        parts.append(std::move(*part));
    }
    if (reader.error()) {
        if (error)
            *error = *reader.error();
        return std::nullopt;
    }
    return parts;
}

void writeMultipart(WspWriter& writer, const QList<Part>& parts)
{
    qsizetype size = writer.bytes().size() + 5;
    for (const Part& part : parts)
        size += part.data.size() + 64;
    writer.reserve(size);
    writer.uintvar(quint32(parts.size()));
    for (const Part& part : parts) {
        WspWriter headers;
        writeContentType(headers, part.contentType);
        for (const PartHeader& header : part.headers)
            writePartHeader(headers, header);
        writer.uintvar(quint32(headers.bytes().size()));
        writer.uintvar(quint32(part.data.size()));
        writer.octets(headers.bytes());
        writer.octets(part.data);
    }
}

QByteArray encodeMultipart(const QList<Part>& parts)
{
    WspWriter writer;
    writeMultipart(writer, parts);
    return writer.bytes();
}

qsizetype startPart(const ContentType& multipartType, const QList<Part>& parts)
{
    if (parts.isEmpty())
        return -1;
    const QByteArray start = withoutAngleBrackets(multipartType.parameter("start"));
    for (qsizetype index = 0; !start.isEmpty() && index < parts.size(); ++index) {
        if (withoutAngleBrackets(parts[index].contentId()) == start)
            return index;
    }
    return 0;
}

} // namespace tavmms::pdu
