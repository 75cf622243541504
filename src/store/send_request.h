#ifndef TAVMMS_STORE_SEND_REQUEST_H
#define TAVMMS_STORE_SEND_REQUEST_H

// The request that hands a composed message to the MMSC: an m-send.req PDU made from the
// message's header and its encoded body.

#include "tavmms_global.h"

#include <QByteArray>
#include <QString>

class MMS_UTIL_MsgHeaderBase;

namespace tavmms::store
{

// A transaction id no other request has: 32 hexadecimal digits of a random UUID, which the index
// row's 40-byte field holds whole.
TAVMMS_EXPORT QString newTransactionId();

// The m-send.req (MMS 1.2) of a message with `header` and `body` under `transactionId`: the
// sender left for the MMSC to insert; the recipients, a phone number as "+15550101/TYPE=PLMN"
// (its blanks, dashes, dots and brackets dropped) and any other address as it is; the subject;
// the sender visibility; the expiry as seconds from the sending; the delivery time, when the
// header has one; both reports; the priority; the header's content type and the body as it is.
TAVMMS_EXPORT QByteArray encodeSendRequest(const MMS_UTIL_MsgHeaderBase& header,
                                           const QByteArray& body, const QString& transactionId);

} // namespace tavmms::store

#endif
