#ifndef TAVMMS_PDU_TRANSFER_ENCODING_H
#define TAVMMS_PDU_TRANSFER_ENCODING_H

// Parts that carry their data in a mail transfer encoding, as some gateways from mail pass them
// on: a Content-Transfer-Encoding header of base64 or quoted-printable.

#include "multipart.h"
#include "tavmms_global.h"

#include <QByteArray>
#include <QByteArrayView>

namespace tavmms::pdu
{

// The data of `part` with its transfer encoding undone; any other encoding, or none, as it is.
TAVMMS_EXPORT QByteArray decodedData(const Part& part);

// Base64, whatever whitespace or line breaks come between the characters; a last character left
// over, which makes no whole octet, is dropped.
TAVMMS_EXPORT QByteArray decodeBase64(QByteArrayView text);
// Quoted-printable: =XX escapes and soft line breaks (an '=' ending a line) undone; an '=' that
// starts neither is kept as it is.
TAVMMS_EXPORT QByteArray decodeQuotedPrintable(QByteArrayView text);

} // namespace tavmms::pdu

#endif
