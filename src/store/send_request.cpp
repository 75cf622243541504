#include "send_request.h"

#include "message_content_type.h"
#include "message_store_types.h"

#include "mms_address.h"
#include "mms_pdu.h"
#include "mms_util_msgheaderbase.h"

#include <QUuid>

namespace tavmms::store
{

namespace
{

constexpr quint64 kMmsVersion = 0x12; // 1.2
constexpr quint64 kYes = 128;
constexpr quint64 kNo = 129;
constexpr quint64 kHide = 128;
constexpr quint64 kShow = 129;

quint64 yesOrNo(bool flag)
{
    return flag ? kYes : kNo;
}

void addRecipients(pdu::Pdu* request, pdu::Field field, const MMS_UTIL_EntryList& list)
{
    for (const MMS_UTIL_Entry* entry : list) {
        if (entry && !entry->address.isEmpty())
            request->headers.append(pdu::HeaderField::textField(field, pdu::pduAddress(*entry)));
    }
}

} // namespace

QString newTransactionId()
{
    return QUuid::createUuid().toString(QUuid::Id128);
}

QByteArray encodeSendRequest(const MMS_UTIL_MsgHeaderBase& header, const QByteArray& body,
                             const QString& transactionId)
{
    using pdu::Field;
    using pdu::HeaderField;
    pdu::Pdu request;
    request.headers = {
        HeaderField::octet(Field::MessageType, quint64(pdu::MessageType::SendReq)),
        HeaderField::textField(Field::TransactionId, transactionId),
        HeaderField::integer(Field::MmsVersion, kMmsVersion),
        // The MMSC knows the phone's number better than the phone.
        HeaderField::insertAddressFrom(),
    };
    addRecipients(&request, Field::To, header.toList);
    addRecipients(&request, Field::Cc, header.ccList);
    addRecipients(&request, Field::Bcc, header.bccList);
    if (!header.subject.isEmpty())
        request.headers.append(HeaderField::textField(Field::Subject, header.subject));
    request.headers.append(
        HeaderField::octet(Field::SenderVisibility, header.senderVisibility ? kShow : kHide));
    request.headers.append(HeaderField::time(Field::Expiry, header.expiry, true));
    if (header.deliveryTime.isValid() && header.deliveryTime.toSecsSinceEpoch() > 0)
        request.headers.append(HeaderField::time(
            Field::DeliveryTime, quint64(header.deliveryTime.toSecsSinceEpoch()), false));
    request.headers.append(
        HeaderField::octet(Field::DeliveryReport, yesOrNo(header.deliveryReport)));
    request.headers.append(HeaderField::octet(Field::ReadReport, yesOrNo(header.readReplyReport)));
    request.headers.append(HeaderField::octet(Field::Priority, header.priority));
    // A header without a content type of its own (a new header's type is one U+0000) has the one
    // a composed message has by default.
    const bool typed =
        !header.contentType.type.isEmpty() && !header.contentType.type.startsWith(QChar(0));
    HeaderField contentType;
    contentType.code = quint8(Field::ContentType);
    contentType.contentType =
        codecContentType(typed ? header.contentType : NewMessage::defaultContentType());
    request.headers.append(contentType);
    request.body = body;
    return pdu::encodePdu(request);
}

} // namespace tavmms::store
