#include "body_contents.h"

#include "message_content_type.h"

#include "content_disposition.h"
#include "multipart.h"

namespace tavmms::store
{

namespace
{

bool isAttachment(const pdu::Part& part)
{
    if (pdu::parseDisposition(part.header("Content-Disposition"))
            .kind.compare("attachment", Qt::CaseInsensitive) == 0)
        return true;
    const pdu::ContentType& type = part.contentType;
    return !type.is("text/plain") && !type.is("application/smil") && !type.is("image/*") &&
           !type.is("audio/*") && !type.is("video/*");
}

} // namespace

BodyContents bodyContents(const MMS_CONTENT_TYPE_T& type, QByteArrayView body)
{
    BodyContents contents;
    const pdu::ContentType codecType = codecContentType(type);
    // A body of one part needs no copy to be judged.
    const std::optional<QList<pdu::Part>> parts =
        pdu::isMultipartType(codecType) ? pdu::decodeMultipart(body)
                                        : QList<pdu::Part>{pdu::Part{codecType, {}, {}}};
    if (!parts)
        return contents;
    const qsizetype start =
        codecType.is("application/vnd.wap.multipart.related") || codecType.is("multipart/related")
            ? pdu::startPart(codecType, *parts)
            : -1;
    for (qsizetype i = 0; i < parts->size(); ++i) {
        const pdu::Part& part = parts->at(i);
        contents.audioOrVideo = contents.audioOrVideo || part.contentType.is("audio/*") ||
                                part.contentType.is("video/*");
        contents.attachment = contents.attachment || (i != start && isAttachment(part));
    }
    return contents;
}

} // namespace tavmms::store
