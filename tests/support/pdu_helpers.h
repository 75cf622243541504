#ifndef TAVMMS_TESTS_PDU_HELPERS_H
#define TAVMMS_TESTS_PDU_HELPERS_H

#include "mms_pdu.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace tavmms_test
{

// A multipart body of two parts: the text "Hello" and four bytes of an image/png.
QByteArray twoPartBody();

// A PDU of `type` with its first three fields: the type, transaction id "T-1" and version 1.2.
tavmms::pdu::Pdu pduOfType(tavmms::pdu::MessageType type);

// The bytes of an m-retrieve.conf: its message type, transaction id "T-1" and version 1.2, then
// `fields`, then the content type `mediaType` and `body`.
QByteArray retrieveConfPdu(
    const QList<tavmms::pdu::HeaderField>& fields, const QByteArray& body = twoPartBody(),
    const QByteArray& mediaType = QByteArrayLiteral("application/vnd.wap.multipart.mixed"));

// Where the machine keeps real PDUs ($TAVMMS_REAL_PDUS, else beside the source tree); tests
// that read them skip when it does not exist.
QString realPduFolder();
// The bytes of the real PDU `name`; a file that cannot be read fails the test.
QByteArray realPdu(const QString& name);

} // namespace tavmms_test

#endif
