#ifndef TAVMMS_STORE_RETRIEVED_MESSAGE_H
#define TAVMMS_STORE_RETRIEVED_MESSAGE_H

// A message as the MMSC hands it over (an m-retrieve.conf PDU), read into the message the store
// keeps: its header fields into the header's, its body as carried.

#include "message_store_types.h"

#include <QByteArrayView>
#include <QDateTime>

namespace tavmms::store
{

struct RetrievedMessage {
    // Malformed when the bytes do not read (naming the offset and what was expected there),
    // WrongType for another PDU, NotRetrieved when the MMSC's X-Mms-Retrieve-Status is not Ok
    // (naming the status and its text).
    Status status;
    NewMessage message;
};

// The message in the PDU `bytes`. Times the PDU gives relative to its sending (an absolute
// Expiry) count from its Date, or from `now` when it has none. The body's parts are read to check
// that they do; the body is kept as carried.
RetrievedMessage retrievedMessage(QByteArrayView bytes,
                                  const QDateTime& now = QDateTime::currentDateTime());

// "Error-permanent-message-not-found" for 226, and the other X-Mms-Retrieve-Status values; empty
// for a number that is none.
QString retrieveStatusName(quint64 status);

} // namespace tavmms::store

#endif
