#ifndef TAVMMS_STORE_MESSAGE_PARTS_H
#define TAVMMS_STORE_MESSAGE_PARTS_H

// What a kept message holds: the parts of its body, read from its mail file, and a summary of
// each for a person or a script to choose from. Parts are numbered from 1 wherever a person sees
// or names them.

#include "message_store_types.h"
#include "multipart.h"
#include "tavmms_global.h"

#include <QList>
#include <QString>

namespace tavmms::store
{

class MessageStore;

// The parts of a message, or why there are none to give.
struct TAVMMS_EXPORT MessageParts {
    // NotFound without a row; Failed when the mail file does not load or its body does not read
    // as its content type says ("the body of message 4 does not read: offset 17: expected ...").
    Status status;
    QList<pdu::Part> parts;
    // The index in `parts` of the part to present first; -1 when there are none.
    qsizetype start = -1;
};

// The parts of `message`, read with its body (MessageStore::read(id, true)): a multipart body
// gives its entries, any other body one part of the message's content type.
TAVMMS_EXPORT MessageParts messageParts(const ReadMessage& message);
// The same for the message `id` of `store`.
TAVMMS_EXPORT MessageParts messageParts(MessageStore& store, unsigned int id);

// One part as a listing shows it. Texts the part carries are read as UTF-8, bad bytes as U+FFFD.
struct TAVMMS_EXPORT PartSummary {
    int number = 0;      // from 1
    QString contentType; // the media type alone: "image/jpeg"
    QString name;        // the content type's name, else the disposition's filename
    QString charset;     // as the content type gives it, by the name it decodes by
    QString contentId;   // as carried, angle brackets and all
    QString contentLocation;
    qint64 size = 0; // of the data as carried, before any transfer encoding is undone
    bool isStart = false;
};

TAVMMS_EXPORT QList<PartSummary> partSummaries(const MessageParts& parts);

} // namespace tavmms::store

#endif
