#ifndef TAVMMS_PDU_MMS_PDU_H
#define TAVMMS_PDU_MMS_PDU_H

// An MMS PDU (OMA MMS encapsulation 1.0 to 1.3): its header fields in the order they came, text
// headers among them, and the body that follows a Content-Type field.

#include "header_field.h"
#include "tavmms_global.h"
#include "wsp_reader.h"
#include "wsp_writer.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QStringList>

#include <optional>

namespace tavmms::pdu
{

// The values of X-Mms-Message-Type.
enum class MessageType : quint8 {
    SendReq = 128,
    SendConf,
    NotificationInd,
    NotifyRespInd,
    RetrieveConf,
    AcknowledgeInd,
    DeliveryInd,
    ReadRecInd,
    ReadOrigInd,
    ForwardReq,
    ForwardConf,
    MboxStoreReq,
    MboxStoreConf,
    MboxViewReq,
    MboxViewConf,
    MboxUploadReq,
    MboxUploadConf,
    MboxDeleteReq,
    MboxDeleteConf,
    MboxDescr,
    DeleteReq,
    DeleteConf,
    CancelReq,
    CancelConf,
};

// "m-send-req" and so on; empty for a number that is no message type.
TAVMMS_EXPORT QString messageTypeName(quint64 type);

struct TAVMMS_EXPORT Pdu {
    QList<HeaderField> headers;
    // The body after the Content-Type field, as carried; a PDU without that field has none.
    QByteArray body;
    // What was read all the same: text not valid in its charset, a charset the codec lacks.
    QStringList warnings;

    std::optional<MessageType> messageType() const;
    // The first field `field`, or null.
    const HeaderField* find(Field field) const;
    // Every field `field` (the recipients of To, Cc or Bcc), in order.
    QList<const HeaderField*> findAll(Field field) const;
    // The text of the first field `field`; empty when there is none.
    QString text(Field field) const;
    // The number of the first field `field`.
    std::optional<quint64> number(Field field) const;
    // The body's content type; null when there is no Content-Type field.
    const ContentType* contentType() const;

    bool operator==(const Pdu& other) const
    {
        return headers == other.headers && body == other.body;
    }
    bool operator!=(const Pdu& other) const { return !(*this == other); }
};

// The PDU in `bytes`, which must begin with its X-Mms-Message-Type field. Nothing, with `error`
// set, when the bytes do not read.
TAVMMS_EXPORT std::optional<Pdu> decodePdu(QByteArrayView bytes, DecodeError* error = nullptr);
// The header fields alone, leaving `pdu.body` empty; `bodyOffset` tells where the body starts.
TAVMMS_EXPORT std::optional<Pdu> decodePduHeader(QByteArrayView bytes, qsizetype* bodyOffset,
                                                 DecodeError* error = nullptr);
// The bytes of `pdu`: its fields in order, any Content-Type field last, then the body.
TAVMMS_EXPORT QByteArray encodePdu(const Pdu& pdu);
// The header fields of `pdu` alone, any Content-Type field last, after what `writer` holds.
TAVMMS_EXPORT void writePduHeader(WspWriter& writer, const Pdu& pdu);

} // namespace tavmms::pdu

#endif
