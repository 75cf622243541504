#include "transaction_pdu.h"

#include "mms_pdu.h"

#include <initializer_list>
#include <limits>

namespace tavmms::pdu
{

namespace
{

constexpr quint64 kMmsVersion = 0x12; // 1.2
constexpr quint64 kYes = 128;
constexpr quint64 kNo = 129;

struct Named {
    quint64 number;
    const char* name;
};

constexpr Named kResponseStatuses[] = {
    {128, "Ok"},
    // The MMS 1.0 statuses, which MMSCs of that version still send.
    {129, "Error-unspecified"},
    {130, "Error-service-denied"},
    {131, "Error-message-format-corrupt"},
    {132, "Error-sending-address-unresolved"},
    {133, "Error-message-not-found"},
    {134, "Error-network-problem"},
    {135, "Error-content-not-accepted"},
    {136, "Error-unsupported-message"},
    {192, "Error-transient-failure"},
    {193, "Error-transient-sending-address-unresolved"},
    {194, "Error-transient-message-not-found"},
    {195, "Error-transient-network-problem"},
    {196, "Error-transient-partial-success"},
    {224, "Error-permanent-failure"},
    {225, "Error-permanent-service-denied"},
    {226, "Error-permanent-message-format-corrupt"},
    {227, "Error-permanent-sending-address-unresolved"},
    {228, "Error-permanent-message-not-found"},
    {229, "Error-permanent-content-not-accepted"},
    {230, "Error-permanent-reply-charging-limitations-not-met"},
    {231, "Error-permanent-reply-charging-request-not-accepted"},
    {232, "Error-permanent-reply-charging-forwarding-denied"},
    {233, "Error-permanent-reply-charging-not-supported"},
    {234, "Error-permanent-address-hiding-not-supported"},
    {235, "Error-permanent-lack-of-prepaid"},
};

constexpr Named kMessageStatuses[] = {
    {128, "Expired"},      {129, "Retrieved"},     {130, "Rejected"},  {131, "Deferred"},
    {132, "Unrecognised"}, {133, "Indeterminate"}, {134, "Forwarded"}, {135, "Unreachable"},
};

constexpr Named kReadStatuses[] = {
    {128, "Read"},
    {129, "Deleted without being read"},
};

constexpr Named kMessageClasses[] = {
    {128, "Personal"},
    {129, "Advertisement"},
    {130, "Informational"},
    {131, "Auto"},
};

constexpr quint64 kErrorNetworkProblem = 134;
constexpr quint64 kFirstTransient = 192;
constexpr quint64 kFirstPermanent = 224;

template <std::size_t size> QString nameIn(const Named (&table)[size], quint64 number)
{
    for (const Named& named : table) {
        if (named.number == number)
            return QLatin1String(named.name);
    }
    return QString();
}

std::nullopt_t refuse(TransactionError* error, TransactionError::Kind kind, const QString& text)
{
    if (error)
        *error = {kind, text};
    return std::nullopt;
}

// The PDU in `bytes` when it reads and is of type `wanted`.
std::optional<Pdu> pduOfType(QByteArrayView bytes, MessageType wanted, TransactionError* error)
{
    DecodeError decodeError;
    std::optional<Pdu> pdu = decodePdu(bytes, &decodeError);
    if (!pdu)
        return refuse(error, TransactionError::Malformed,
                      QStringLiteral("offset %1: expected %2")
                          .arg(QString::number(decodeError.offset), decodeError.expected));
    // A PDU that reads begins with its type.
    const quint64 type = *pdu->number(Field::MessageType);
    if (type == quint64(wanted))
        return pdu;
    const QString name = messageTypeName(type);
    return refuse(error, TransactionError::WrongType,
                  QStringLiteral("%1, not an %2")
                      .arg(name.isEmpty() ? QStringLiteral("unknown message type %1").arg(type)
                                          : QStringLiteral("an ") + name,
                           messageTypeName(quint64(wanted))));
}

// Whether `pdu` carries every one of `fields`; the first it lacks is refused.
bool hasFields(const Pdu& pdu, std::initializer_list<Field> fields, TransactionError* error)
{
    for (const Field field : fields) {
        if (!pdu.find(field)) {
            refuse(error, TransactionError::MissingField,
                   QStringLiteral("no ") + fieldName(quint8(field)));
            return false;
        }
    }
    return true;
}

// Dates beyond what a qint64 holds are kept at its largest.
qint64 seconds(quint64 number)
{
    return qint64(qMin<quint64>(number, std::numeric_limits<qint64>::max()));
}

QString messageClass(const HeaderField& field)
{
    return field.text.isEmpty() && field.raw.isNull() ? messageClassName(field.number) : field.text;
}

// A PDU the phone sends: its type first, as every PDU begins.
Pdu outgoing(MessageType type)
{
    Pdu pdu;
    pdu.headers.append(HeaderField::octet(Field::MessageType, quint64(type)));
    return pdu;
}

HeaderField reportAllowedField(bool allowed)
{
    return HeaderField::octet(Field::ReportAllowed, allowed ? kYes : kNo);
}

} // namespace

QString responseStatusName(quint64 status)
{
    return nameIn(kResponseStatuses, status);
}

bool isTransientResponseStatus(quint64 status)
{
    return status == kErrorNetworkProblem ||
           (status >= kFirstTransient && status < kFirstPermanent);
}

QString messageStatusName(quint64 status)
{
    return nameIn(kMessageStatuses, status);
}

QString readStatusName(quint64 status)
{
    return nameIn(kReadStatuses, status);
}

QString messageClassName(quint64 messageClass)
{
    return nameIn(kMessageClasses, messageClass);
}

std::optional<SendConf> decodeSendConf(QByteArrayView bytes, TransactionError* error)
{
    const std::optional<Pdu> pdu = pduOfType(bytes, MessageType::SendConf, error);
    if (!pdu)
        return std::nullopt;
    if (!hasFields(*pdu, {Field::TransactionId, Field::ResponseStatus}, error))
        return std::nullopt;
    SendConf conf;
    conf.transactionId = pdu->text(Field::TransactionId);
    conf.responseStatus = *pdu->number(Field::ResponseStatus);
    conf.responseText = pdu->text(Field::ResponseText);
    conf.messageId = pdu->text(Field::MessageId);
    return conf;
}

std::optional<Notification> decodeNotification(QByteArrayView bytes, TransactionError* error)
{
    const std::optional<Pdu> pdu = pduOfType(bytes, MessageType::NotificationInd, error);
    if (!pdu)
        return std::nullopt;
    if (!hasFields(
            *pdu, {Field::TransactionId, Field::MessageSize, Field::Expiry, Field::ContentLocation},
            error))
        return std::nullopt;
    Notification notification;
    notification.transactionId = pdu->text(Field::TransactionId);
    // The field's number is the short integer's value; callers see the octet, its high bit set.
    if (const std::optional<quint64> version = pdu->number(Field::MmsVersion))
        notification.version = quint8(0x80 | *version);
    // The MMSC was to put the sender in and did not: there is none to show.
    if (const HeaderField* from = pdu->find(Field::From); from && !from->insertAddress)
        notification.from = from->text;
    notification.subject = pdu->text(Field::Subject);
    if (const HeaderField* messageClassField = pdu->find(Field::MessageClass))
        notification.messageClass = messageClass(*messageClassField);
    notification.messageSize = *pdu->number(Field::MessageSize);
    const HeaderField* expiry = pdu->find(Field::Expiry);
    notification.expiry = expiry->number;
    notification.expiryRelative = expiry->relative;
    notification.contentLocation = pdu->text(Field::ContentLocation);
    if (const std::optional<quint64> report = pdu->number(Field::DeliveryReport))
        notification.deliveryReport = *report == kYes;
    return notification;
}

std::optional<DeliveryReport> decodeDeliveryReport(QByteArrayView bytes, TransactionError* error)
{
    const std::optional<Pdu> pdu = pduOfType(bytes, MessageType::DeliveryInd, error);
    if (!pdu)
        return std::nullopt;
    if (!hasFields(*pdu, {Field::MessageId, Field::To, Field::Date, Field::Status}, error))
        return std::nullopt;
    DeliveryReport report;
    report.messageId = pdu->text(Field::MessageId);
    report.to = pdu->text(Field::To);
    report.date = seconds(*pdu->number(Field::Date));
    report.status = *pdu->number(Field::Status);
    return report;
}

std::optional<ReadReport> decodeReadReport(QByteArrayView bytes, TransactionError* error)
{
    const std::optional<Pdu> pdu = pduOfType(bytes, MessageType::ReadOrigInd, error);
    if (!pdu)
        return std::nullopt;
    if (!hasFields(*pdu, {Field::MessageId, Field::To, Field::From, Field::Date, Field::ReadStatus},
                   error))
        return std::nullopt;
    ReadReport report;
    report.messageId = pdu->text(Field::MessageId);
    report.to = pdu->text(Field::To);
    // Empty when the MMSC was to insert the reader and did not.
    const HeaderField* from = pdu->find(Field::From);
    report.from = from->insertAddress ? QString() : from->text;
    report.date = seconds(*pdu->number(Field::Date));
    report.readStatus = *pdu->number(Field::ReadStatus);
    return report;
}

QByteArray encodeNotifyResp(const QString& transactionId, MessageStatus status, bool reportAllowed)
{
    Pdu pdu = outgoing(MessageType::NotifyRespInd);
    pdu.headers += {
        HeaderField::textField(Field::TransactionId, transactionId),
        HeaderField::integer(Field::MmsVersion, kMmsVersion),
        HeaderField::octet(Field::Status, quint64(status)),
        reportAllowedField(reportAllowed),
    };
    return encodePdu(pdu);
}

QByteArray encodeAcknowledge(const QString& transactionId, bool reportAllowed)
{
    Pdu pdu = outgoing(MessageType::AcknowledgeInd);
    pdu.headers += {
        HeaderField::textField(Field::TransactionId, transactionId),
        HeaderField::integer(Field::MmsVersion, kMmsVersion),
        reportAllowedField(reportAllowed),
    };
    return encodePdu(pdu);
}

QByteArray encodeReadRec(const QString& messageId, const QString& to, qint64 date,
                         ReadStatus status)
{
    Pdu pdu = outgoing(MessageType::ReadRecInd);
    pdu.headers += {
        HeaderField::integer(Field::MmsVersion, kMmsVersion),
        HeaderField::textField(Field::MessageId, messageId),
        HeaderField::textField(Field::To, to),
        // The MMSC knows the reader's number better than the phone.
        HeaderField::insertAddressFrom(),
        // The field holds no sign: a date before 1970 goes as 1970.
        HeaderField::integer(Field::Date, quint64(qMax<qint64>(date, 0))),
        HeaderField::octet(Field::ReadStatus, quint64(status)),
    };
    return encodePdu(pdu);
}

} // namespace tavmms::pdu
