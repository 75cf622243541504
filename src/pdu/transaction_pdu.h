#ifndef TAVMMS_PDU_TRANSACTION_PDU_H
#define TAVMMS_PDU_TRANSACTION_PDU_H

// The small PDUs of the transactions between a phone and its MMSC, read into plain members or
// made from them: the confirmation of a send, the notification of a message waiting, the
// responses a phone gives to both, and the delivery and read reports.

#include "tavmms_global.h"
#include "wsp_reader.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace tavmms::pdu
{

// X-Mms-Response-Status of an m-send.conf.
constexpr quint64 kResponseOk = 128;
// X-Mms-Status (m-notifyresp.ind, m-delivery.ind).
enum class MessageStatus : quint8 {
    Expired = 128,
    Retrieved,
    Rejected,
    Deferred,
    Unrecognised,
    Indeterminate,
    Forwarded,
    Unreachable,
};
// X-Mms-Read-Status.
enum class ReadStatus : quint8 { Read = 128, DeletedWithoutBeingRead };

// "Ok", "Error-transient-sending-address-unresolved", "Error-permanent-service-denied" and the
// other X-Mms-Response-Status values of MMS 1.0 to 1.3; empty for a number that is none.
TAVMMS_EXPORT QString responseStatusName(quint64 status);
// The statuses after which the same request may succeed later: 192 to 223, and the MMS 1.0
// Error-network-problem (134). The MMS 1.0 Error-unspecified and the permanent ones are not.
TAVMMS_EXPORT bool isTransientResponseStatus(quint64 status);
// "Expired", "Retrieved", ... for X-Mms-Status; empty for another number.
TAVMMS_EXPORT QString messageStatusName(quint64 status);
// "Read", "Deleted without being read"; empty for another number.
TAVMMS_EXPORT QString readStatusName(quint64 status);
// "Personal", "Advertisement", "Informational", "Auto" for X-Mms-Message-Class 128 to 131; empty
// for another number.
TAVMMS_EXPORT QString messageClassName(quint64 messageClass);

// Why bytes are not the PDU asked for: they do not read (offset and what was expected there), or
// they read as a PDU of another type, or a field the type must carry is missing.
struct TAVMMS_EXPORT TransactionError {
    enum Kind { Malformed, WrongType, MissingField } kind = Malformed;
    QString text; // one line: "offset 12: expected a text string", "an m-delivery-ind, not an
                  // m-send-conf", "no X-Mms-Content-Location"
};

// An m-send.conf: the MMSC's answer to an m-send.req.
struct TAVMMS_EXPORT SendConf {
    QString transactionId;      // required: the m-send.req's, which this answers
    quint64 responseStatus = 0; // required
    QString responseText;       // empty without one
    QString messageId;          // empty without one (an error status carries none)
};
TAVMMS_EXPORT std::optional<SendConf> decodeSendConf(QByteArrayView bytes,
                                                     TransactionError* error = nullptr);

// An m-notification.ind: a message waits at the MMSC.
struct TAVMMS_EXPORT Notification {
    QString transactionId;              // required
    quint8 version = 0x90;              // X-Mms-MMS-Version as carried (0x92 is 1.2)
    QString from;                       // empty without one, or when the MMSC was to insert it
    QString subject;                    // decoded from its charset
    QString messageClass;               // "Personal", "Advertisement", "Informational", "Auto" or a
                                        // token; empty without one, or for a number of no class
    quint64 messageSize = 0;            // required
    quint64 expiry = 0;                 // required: an absolute date (seconds since 1970) or, when
    bool expiryRelative = true;         // `expiryRelative`, seconds from the notification's arrival
    QString contentLocation;            // required: the URI to fetch the message from
    std::optional<bool> deliveryReport; // X-Mms-Delivery-Report, when given
};
TAVMMS_EXPORT std::optional<Notification> decodeNotification(QByteArrayView bytes,
                                                             TransactionError* error = nullptr);

// An m-delivery.ind: what became of a sent message at one recipient.
struct TAVMMS_EXPORT DeliveryReport {
    QString messageId;  // required
    QString to;         // required: the recipient, as carried ("+15550101/TYPE=PLMN")
    qint64 date = 0;    // required: seconds since 1970
    quint64 status = 0; // required: X-Mms-Status
};
TAVMMS_EXPORT std::optional<DeliveryReport> decodeDeliveryReport(QByteArrayView bytes,
                                                                 TransactionError* error = nullptr);

// An m-read-orig.ind: a recipient read (or deleted) a sent message.
struct TAVMMS_EXPORT ReadReport {
    QString messageId;      // required
    QString to;             // required: the original sender, as carried
    QString from;           // required: the recipient who read it, as carried; empty when
                            // the MMSC was to insert it
    qint64 date = 0;        // required
    quint64 readStatus = 0; // required: X-Mms-Read-Status
};
TAVMMS_EXPORT std::optional<ReadReport> decodeReadReport(QByteArrayView bytes,
                                                         TransactionError* error = nullptr);

// The m-notifyresp.ind (MMS 1.2) answering the notification `transactionId`: X-Mms-Status
// `status` (Retrieved, Rejected, Deferred, Unrecognised) and X-Mms-Report-Allowed.
TAVMMS_EXPORT QByteArray encodeNotifyResp(const QString& transactionId, MessageStatus status,
                                          bool reportAllowed);
// The m-acknowledge.ind (MMS 1.2) of a retrieved message, under the m-retrieve.conf's
// `transactionId`, with X-Mms-Report-Allowed.
TAVMMS_EXPORT QByteArray encodeAcknowledge(const QString& transactionId, bool reportAllowed);
// The m-read-rec.ind (MMS 1.2) telling `to` (the original sender, an address as a PDU carries
// it) that the message `messageId` was read or deleted without being read at `date` (seconds
// since 1970); the sender left for the MMSC to insert.
TAVMMS_EXPORT QByteArray encodeReadRec(const QString& messageId, const QString& to, qint64 date,
                                       ReadStatus status);

} // namespace tavmms::pdu

#endif
