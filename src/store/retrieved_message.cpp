#include "retrieved_message.h"

#include "message_content_type.h"

#include "mms_address.h"
#include "mms_message.h"
#include "mms_pdu.h"

#include <limits>

namespace tavmms::store
{

namespace
{

constexpr quint64 kRetrieveOk = 128;
constexpr quint64 kYes = 128;
constexpr quint64 kHide = 128;

qint64 atMost32Bits(quint64 number)
{
    return qint64(qMin<quint64>(number, std::numeric_limits<unsigned int>::max()));
}

// A count of seconds as a header keeps it: never below zero nor over 32 bits.
unsigned int clampedSeconds(qint64 seconds)
{
    return unsigned(qBound<qint64>(0, seconds, std::numeric_limits<unsigned int>::max()));
}

QList<MMS_UTIL_Entry> entriesOf(const pdu::Pdu& pdu, pdu::Field field)
{
    QList<MMS_UTIL_Entry> entries;
    const QList<const pdu::HeaderField*> found = pdu.findAll(field);
    for (const pdu::HeaderField* address : found)
        entries.append(pdu::addressEntry(address->text));
    return entries;
}

Status malformed(const pdu::DecodeError& error, qsizetype offset = 0)
{
    return Status::failure(ErrorCode::Malformed,
                           QStringLiteral("the PDU does not read: at offset %1, expected %2")
                               .arg(error.offset + offset)
                               .arg(error.expected));
}

// Refused when the PDU is no retrieved message, or one the MMSC could not give.
Status retrievable(const pdu::Pdu& pdu)
{
    const std::optional<pdu::MessageType> type = pdu.messageType();
    if (type != pdu::MessageType::RetrieveConf) {
        const quint64 number = pdu.number(pdu::Field::MessageType).value_or(0);
        const QString name = pdu::messageTypeName(number);
        return Status::failure(ErrorCode::WrongType,
                               QStringLiteral("the PDU is an %1, not an m-retrieve-conf")
                                   .arg(name.isEmpty()
                                            ? QStringLiteral("unknown message type %1").arg(number)
                                            : name));
    }
    const std::optional<quint64> status = pdu.number(pdu::Field::RetrieveStatus);
    if (!status || *status == kRetrieveOk)
        return {};
    const QString name = retrieveStatusName(*status);
    const QString text = pdu.text(pdu::Field::RetrieveText);
    return Status::failure(
        ErrorCode::NotRetrieved,
        QStringLiteral("the MMSC could not give the message: status %1%2%3; nothing was kept")
            .arg(*status)
            .arg(name.isEmpty() ? QString() : QLatin1Char(' ') + name,
                 text.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(text)));
}

} // namespace

QString retrieveStatusName(quint64 status)
{
    switch (status) {
    case 128:
        return QStringLiteral("Ok");
    case 192:
        return QStringLiteral("Error-transient-failure");
    case 193:
        return QStringLiteral("Error-transient-message-not-found");
    case 194:
        return QStringLiteral("Error-transient-network-problem");
    case 224:
        return QStringLiteral("Error-permanent-failure");
    case 225:
        return QStringLiteral("Error-permanent-service-denied");
    case 226:
        return QStringLiteral("Error-permanent-message-not-found");
    case 227:
        return QStringLiteral("Error-permanent-content-unsupported");
    default:
        return QString();
    }
}

RetrievedMessage retrievedMessage(QByteArrayView bytes, const QDateTime& now)
{
    RetrievedMessage retrieved;
    pdu::DecodeError error;
    qsizetype bodyOffset = 0;
    const std::optional<pdu::Pdu> pdu = pdu::decodePduHeader(bytes, &bodyOffset, &error);
    if (!pdu) {
        retrieved.status = malformed(error);
        return retrieved;
    }
    retrieved.status = retrievable(*pdu);
    if (!retrieved.status.ok())
        return retrieved;
    NewMessage& message = retrieved.message;
    if (const pdu::ContentType* type = pdu->contentType()) {
        message.body = bytes.sliced(bodyOffset).toByteArray();
        if (pdu::isMultipartType(*type) && !pdu::decodeBody(*type, message.body, &error)) {
            retrieved.status = malformed(error, bodyOffset);
            return retrieved;
        }
        message.contentType = headerContentType(*type);
    }

    const pdu::HeaderField* from = pdu->find(pdu::Field::From);
    // An address the MMSC was to insert and did not is no sender to name.
    if (from && !from->insertAddress)
        message.from = pdu::addressEntry(from->text);
    message.to = entriesOf(*pdu, pdu::Field::To);
    message.cc = entriesOf(*pdu, pdu::Field::Cc);
    message.bcc = entriesOf(*pdu, pdu::Field::Bcc);
    message.subject = pdu->text(pdu::Field::Subject);
    message.messageId = pdu->text(pdu::Field::MessageId);
    message.transactionId = pdu->text(pdu::Field::TransactionId);

    if (const std::optional<quint64> date = pdu->number(pdu::Field::Date))
        message.date = QDateTime::fromSecsSinceEpoch(atMost32Bits(*date));
    // Times given from the sending count from the message's date, or from now without one.
    const qint64 sent =
        message.date.isValid() ? message.date.toSecsSinceEpoch() : now.toSecsSinceEpoch();
    if (const pdu::HeaderField* expiry = pdu->find(pdu::Field::Expiry))
        message.expiry =
            clampedSeconds(atMost32Bits(expiry->number) - (expiry->relative ? 0 : sent));
    if (const pdu::HeaderField* delivery = pdu->find(pdu::Field::DeliveryTime))
        message.deliveryTime = QDateTime::fromSecsSinceEpoch(
            clampedSeconds(atMost32Bits(delivery->number) + (delivery->relative ? sent : 0)));
    if (const std::optional<quint64> priority = pdu->number(pdu::Field::Priority))
        message.priority = uchar(qMin<quint64>(*priority, 255));
    if (const std::optional<quint64> report = pdu->number(pdu::Field::DeliveryReport))
        message.deliveryReport = *report == kYes;
    if (const std::optional<quint64> report = pdu->number(pdu::Field::ReadReport))
        message.readReport = *report == kYes;
    message.senderVisible = pdu->number(pdu::Field::SenderVisibility) != kHide;
    if (const std::optional<quint64> size = pdu->number(pdu::Field::MessageSize))
        message.messageSize = unsigned(atMost32Bits(*size));
    return retrieved;
}

} // namespace tavmms::store
