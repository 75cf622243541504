#include "pdu_field_text.h"

#include "charsets.h"
#include "message_content_type.h"
#include "mms_pdu.h"
#include "transaction_pdu.h"

#include <QDateTime>

#include <utility>

namespace tavmms::store
{

namespace
{

using pdu::Field;
using pdu::ValueType;

struct Named {
    quint64 number;
    const char* name;
};

// The fields whose octet means Yes (128) or No (129).
constexpr Field kYesNoFields[] = {
    Field::DeliveryReport, Field::ReadReport,
    Field::ReportAllowed,  Field::Store,
    Field::Stored,         Field::DistributionIndicator,
    Field::DrmContent,     Field::AdaptationAllowed,
};

struct OctetNames {
    Field field;
    std::initializer_list<Named> names;
};

// The fields whose octets the codec names.
constexpr std::pair<Field, QString (*)(quint64)> kCodecNames[] = {
    {Field::MessageType, pdu::messageTypeName},       {Field::MessageClass, pdu::messageClassName},
    {Field::Status, pdu::messageStatusName},          {Field::ReadStatus, pdu::readStatusName},
    {Field::ResponseStatus, pdu::responseStatusName},
};

const OctetNames kOctetNames[] = {
    {Field::Priority, {{128, "Low"}, {129, "Normal"}, {130, "High"}}},
    {Field::SenderVisibility, {{128, "Hide"}, {129, "Show"}}},
    {Field::RetrieveStatus, {{128, "Ok"}}},
    {Field::ReplyCharging,
     {{128, "Requested"},
      {129, "Requested text only"},
      {130, "Accepted"},
      {131, "Accepted text only"}}},
    {Field::MmState,
     {{128, "Draft"}, {129, "Sent"}, {130, "New"}, {131, "Retrieved"}, {132, "Forwarded"}}},
    {Field::ContentClass,
     {{128, "text"},
      {129, "image-basic"},
      {130, "image-rich"},
      {131, "video-basic"},
      {132, "video-rich"},
      {133, "megapixel"},
      {134, "content-basic"},
      {135, "content-rich"}}},
};

// The name of octet `number` in `field`, else the number in decimal.
QString octetText(const pdu::HeaderField& field)
{
    for (const auto& [named, name] : kCodecNames) {
        if (field.is(named)) {
            const QString text = name(field.number);
            if (!text.isEmpty())
                return text;
        }
    }
    for (const Field yesNo : kYesNoFields) {
        if (field.is(yesNo) && (field.number == 128 || field.number == 129))
            return field.number == 128 ? QStringLiteral("Yes") : QStringLiteral("No");
    }
    for (const OctetNames& table : kOctetNames) {
        if (!field.is(table.field))
            continue;
        for (const Named& named : table.names) {
            if (named.number == field.number)
                return QLatin1String(named.name);
        }
    }
    return QString::number(field.number);
}

QString timeText(const pdu::HeaderField& field)
{
    return field.relative ? QStringLiteral("+%1 seconds").arg(field.number)
                          : isoDateText(qint64(field.number));
}

QString taggedText(const pdu::HeaderField& field)
{
    static const char* const kTags[] = {"Add", "Remove", "Filter"};
    const QString tag = field.tag >= 128 && field.tag <= 130 ? QLatin1String(kTags[field.tag - 128])
                                                             : QString::number(field.tag);
    return tag + QStringLiteral(": ") + field.text;
}

QString valueText(const pdu::HeaderField& field)
{
    if (field.isTextHeader())
        return field.text;
    switch (pdu::fieldValueType(field.code)) {
    case ValueType::Octet:
        return octetText(field);
    case ValueType::Version:
        return QStringLiteral("%1.%2").arg((field.number >> 4) & 0x7).arg(field.number & 0xF);
    case ValueType::LongInteger:
        return field.is(Field::Date) ? isoDateText(qint64(field.number))
                                     : QString::number(field.number);
    case ValueType::Integer:
        return QString::number(field.number);
    case ValueType::Time:
        return timeText(field);
    case ValueType::From:
        return field.insertAddress ? QStringLiteral("insert-address-token") : field.text;
    case ValueType::ClassOrToken:
        return field.text.isEmpty() ? octetText(field) : field.text;
    case ValueType::ContentType:
        return contentTypeText(field.contentType);
    case ValueType::CountedText:
        return QStringLiteral("%1: %2").arg(field.tag).arg(field.text);
    case ValueType::CountedDate:
        return QStringLiteral("%1: %2").arg(field.tag).arg(isoDateText(qint64(field.number)));
    case ValueType::TaggedText:
        return taggedText(field);
    case ValueType::TaggedNumber:
        return field.tag == 129 ? QStringLiteral("%1 bytes").arg(field.number)
                                : QStringLiteral("%1 messages").arg(field.number);
    case ValueType::Raw:
        return QString::fromLatin1(field.raw.toHex(' '));
    case ValueType::Text:
    case ValueType::EncodedText:
        break;
    }
    return field.text;
}

} // namespace

FieldText fieldText(const pdu::HeaderField& field)
{
    const QByteArray charset = pdu::charsetName(field.charset).toLower();
    return FieldText{field.displayName(), valueText(field),
                     !field.charset      ? QString()
                     : charset.isEmpty() ? QString::number(field.charset)
                                         : QString::fromLatin1(charset)};
}

QString isoDateText(qint64 seconds)
{
    const QDateTime time = QDateTime::fromSecsSinceEpoch(seconds);
    if (!time.isValid())
        return QStringLiteral("%1 seconds since 1970").arg(seconds);
    return time.toString(QStringLiteral("yyyy-MM-ddThh:mm:ss")) +
           utcOffsetText(time.offsetFromUtc());
}

QString utcOffsetText(int seconds)
{
    const int minutes = qAbs(seconds) / 60;
    return QStringLiteral("%1%2:%3")
        .arg(seconds < 0 ? QLatin1Char('-') : QLatin1Char('+'))
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

QString partHeaderText(const pdu::PartHeader& header)
{
    return header.opaque ? QString::fromLatin1(header.value.toHex(' '))
                         : QString::fromUtf8(header.value);
}

} // namespace tavmms::store
