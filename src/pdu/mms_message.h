#ifndef TAVMMS_PDU_MMS_MESSAGE_H
#define TAVMMS_PDU_MMS_MESSAGE_H

// A message PDU read whole: its header fields and the parts of its body, the way a viewer or a
// store takes an m-retrieve.conf or an m-send.req; and written back in one pass.

#include "mms_pdu.h"
#include "multipart.h"
#include "tavmms_global.h"

#include <QByteArrayView>
#include <QList>

#include <optional>

namespace tavmms::pdu
{

struct TAVMMS_EXPORT Message {
    // The header fields; the body is in `parts`, so `pdu.body` stays empty.
    Pdu pdu;
    // The parts of a multipart body; a body of another type is one part of that type. A PDU
    // without a body has none.
    QList<Part> parts;
};

// The header and the parts of `bytes`, transfer encodings left as they are.
TAVMMS_EXPORT std::optional<Message> decodeMessage(QByteArrayView bytes,
                                                   DecodeError* error = nullptr);
// The parts of a body of content type `type`: decoded when it is a multipart body, else the body
// as one part of that type.
TAVMMS_EXPORT std::optional<QList<Part>> decodeBody(const ContentType& type, QByteArrayView body,
                                                    DecodeError* error = nullptr);
// The PDU of `message`: its header fields, then its parts as a multipart body when the content
// type is one, else the first part's data.
TAVMMS_EXPORT QByteArray encodeMessage(const Message& message);

} // namespace tavmms::pdu

#endif
