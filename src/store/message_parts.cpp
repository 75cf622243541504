#include "message_parts.h"

#include "message_content_type.h"
#include "message_store.h"
#include "mms_message.h"
#include "mms_util_msgheaderbase.h"

namespace tavmms::store
{

namespace
{

QString utf8(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes);
}

} // namespace

MessageParts messageParts(const ReadMessage& message)
{
    MessageParts result;
    if (!message.status.ok()) {
        result.status = message.status;
        return result;
    }
    if (!message.header) {
        result.status = Status::failure(ErrorCode::Failed, message.mailFileError);
        return result;
    }
    const pdu::ContentType type = codecContentType(message.header->contentType);
    pdu::DecodeError error;
    std::optional<QList<pdu::Part>> parts = pdu::decodeBody(type, message.body, &error);
    if (!parts) {
        result.status = Status::failure(
            ErrorCode::Failed, QStringLiteral("the body of message %1 does not read: offset %2: "
                                              "expected %3")
                                   .arg(message.row.id)
                                   .arg(error.offset)
                                   .arg(error.expected));
        return result;
    }
    result.parts = std::move(*parts);
    result.start = pdu::startPart(type, result.parts);
    return result;
}

MessageParts messageParts(MessageStore& store, unsigned int id)
{
    return messageParts(store.read(id, true));
}

QList<PartSummary> partSummaries(const MessageParts& parts)
{
    QList<PartSummary> summaries;
    for (qsizetype i = 0; i < parts.parts.size(); ++i) {
        const pdu::Part& part = parts.parts.at(i);
        const QByteArray named = part.contentType.parameter("name");
        summaries.append(PartSummary{
            int(i + 1),
            utf8(part.contentType.mediaType),
            utf8(named.isEmpty() ? part.dispositionFilename() : named),
            utf8(part.charset()),
            utf8(part.contentId()),
            utf8(part.contentLocation()),
            part.data.size(),
            i == parts.start,
        });
    }
    return summaries;
}

} // namespace tavmms::store
