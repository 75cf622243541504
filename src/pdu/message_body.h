#ifndef TAVMMS_PDU_MESSAGE_BODY_H
#define TAVMMS_PDU_MESSAGE_BODY_H

// The body of a message being sent, made from its text and attachments already in memory: a
// multipart.related body led by a SMIL presentation of them, or a multipart.mixed one without.

#include "content_type.h"
#include "tavmms_global.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace tavmms::pdu
{

struct TAVMMS_EXPORT Attachment {
    // As the caller knows it: "image/jpeg".
    QByteArray mediaType;
    // The name the user sees; the part is named after it, in ASCII.
    QString fileName;
    QByteArray data;
};

enum class BodyKind {
    // Presented slide by slide as a SMIL presentation lays them out.
    Related,
    // Parts one after another, for the receiver to show as it will.
    Mixed,
};

struct TAVMMS_EXPORT EncodedBody {
    // The content type of the message, with the start and type of a related body.
    ContentType contentType;
    QByteArray bytes;
};

// The text (when there is any) as a text/plain part in UTF-8, then the attachments in order; each
// part with a Content-ID and a Content-Location of its own. A related body starts with the SMIL.
TAVMMS_EXPORT EncodedBody composeBody(const QString& text, const QList<Attachment>& attachments,
                                      BodyKind kind);

} // namespace tavmms::pdu

#endif
