#include "mms_message.h"

namespace tavmms::pdu
{

std::optional<QList<Part>> decodeBody(const ContentType& type, QByteArrayView body,
                                      DecodeError* error)
{
    if (isMultipartType(type)) {
        std::optional<QList<Part>> parts = decodeMultipart(body, error);
        if (!parts && error)
            error->expected = QStringLiteral("in the multipart body, ") + error->expected;
        return parts;
    }
    return QList<Part>{Part{type, {}, body.toByteArray()}};
}

std::optional<Message> decodeMessage(QByteArrayView bytes, DecodeError* error)
{
    qsizetype bodyOffset = 0;
    std::optional<Pdu> pdu = decodePduHeader(bytes, &bodyOffset, error);
    if (!pdu)
        return std::nullopt;
    Message message{std::move(*pdu), {}};
    if (const ContentType* type = message.pdu.contentType()) {
        std::optional<QList<Part>> parts = decodeBody(*type, bytes.sliced(bodyOffset), error);
        if (!parts) {
            if (error)
                error->offset += bodyOffset;
            return std::nullopt;
        }
        message.parts = std::move(*parts);
    }
    return message;
}

QByteArray encodeMessage(const Message& message)
{
    WspWriter writer;
    writePduHeader(writer, message.pdu);
    const ContentType* type = message.pdu.contentType();
    if (type && isMultipartType(*type)) {
        writeMultipart(writer, message.parts);
    } else if (type && !message.parts.isEmpty()) {
        writer.reserve(writer.bytes().size() + message.parts.front().data.size());
        writer.octets(message.parts.front().data);
    }
    return writer.bytes();
}

} // namespace tavmms::pdu
