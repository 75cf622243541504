#ifndef TAVMMS_TESTS_PDU_HELPERS_H
#define TAVMMS_TESTS_PDU_HELPERS_H

#include "mms_pdu.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

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

// The sender of the MMSC's messages below.
extern const QString kMmscSender;

// An m-notification.ind of a message of `size` bytes at `location`, from kMmscSender, expiring a
// day after it was sent, or at `absoluteExpiry` (seconds since the epoch) when given.
QByteArray notificationIndPdu(const QUrl& location, quint64 size = 2000,
                              const QString& transactionId = QStringLiteral("N-1"),
                              std::optional<quint64> absoluteExpiry = std::nullopt);
// An m-retrieve.conf from kMmscSender with the subject "Pictures" and twoPartBody(); without
// `transactionId`, one that asks for no acknowledgement.
QByteArray retrievedMessagePdu(const QString& transactionId = QString(), bool readReport = false,
                               const QString& messageId = QStringLiteral("m-1@mmsc"));
// An m-delivery.ind: the message `messageId` reached `recipient` with X-Mms-Status `status`.
QByteArray deliveryIndPdu(const QString& messageId, const QString& recipient, quint8 status);
// An m-read-orig.ind: `reader` read (or deleted) `messageId`, which `to` sent.
QByteArray readOrigIndPdu(const QString& messageId, const QString& reader, const QString& to,
                          quint8 readStatus);

// Where the machine keeps real PDUs ($TAVMMS_REAL_PDUS, else beside the source tree); tests
// that read them skip when it does not exist.
QString realPduFolder();
// The bytes of the real PDU `name`; a file that cannot be read fails the test.
QByteArray realPdu(const QString& name);

} // namespace tavmms_test

#endif
