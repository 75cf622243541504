#ifndef TAVMMS_STORE_COMPOSED_BODY_H
#define TAVMMS_STORE_COMPOSED_BODY_H

// The body of a message composed from a text and files, as a composer makes it: the files read
// (never one larger than the message may be), their media types told by the platform's MIME
// registry, and the whole encoded as a multipart body.

#include "message_body.h"
#include "message_store_types.h"
#include "tavmms_global.h"

#include <QString>
#include <QStringList>

namespace tavmms::store
{

struct TAVMMS_EXPORT ComposedBody {
    // Failed when a file cannot be read; TooLarge, before it is read, when a file alone or the
    // files together are over the limit.
    Status status;
    MMS_CONTENT_TYPE_T contentType; // the encoded body's, with its start and type when related
    QByteArray body;
};

// `text` (none when empty) and the files at `paths`, in that order, each named after its file;
// `kind` says whether a SMIL presentation leads them (Related) or not (Mixed). The encoded body
// may still be over `limit`: compose() refuses it then.
TAVMMS_EXPORT ComposedBody composeBodyFromFiles(const QString& text, const QStringList& paths,
                                                pdu::BodyKind kind, const SizeLimit& limit);

} // namespace tavmms::store

#endif
