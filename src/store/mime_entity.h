#ifndef TAVMMS_STORE_MIME_ENTITY_H
#define TAVMMS_STORE_MIME_ENTITY_H

// The bodies of an Internet mail message as MIME writes them: data in a 7-bit transfer encoding,
// lines ended by CRLF, and multipart bodies whose boundaries occur nowhere in their parts.

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

namespace tavmms::store
{

// One MIME entity: its header fields, each folded and ended by CRLF, and its body as written,
// without a line break after its last line (a delimiter or the end of the message brings one).
struct MimeEntity {
    QByteArray headers;
    QByteArray body;
};

// Base64 in lines of 76 characters, joined by CRLF.
QByteArray base64Lines(QByteArrayView data);

// Quoted-printable of text whose line breaks are CRLF: each line break kept as one, every octet
// outside printable ASCII (and '=', and a blank ending a line) as =XX, lines cut by soft breaks
// to at most 76 columns, never inside an =XX.
QByteArray quotedPrintable(QByteArrayView text);

// `text` with every line break (CRLF, LF alone, CR alone) as CRLF.
QByteArray crlfLines(QByteArrayView text);

// Whether text with CRLF line breaks goes as it is in 7bit: ASCII without NUL, CR and LF only
// together, no line over 998 octets.
bool isSevenBit(QByteArrayView text);

// The body of a multipart entity holding `parts`, each after a delimiter line, with the closing
// delimiter last. `boundary` is set to one that none of the parts holds: "=_" (which neither
// base64 nor quoted-printable writes) and hexadecimal digits taken from a hash of the parts, so
// that the same parts give the same body.
QByteArray multipartBody(const QList<MimeEntity>& parts, QByteArray* boundary);

} // namespace tavmms::store

#endif
