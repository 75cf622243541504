#include "mms_address.h"

#include <QRegularExpression>

namespace tavmms::pdu
{

MMS_UTIL_Entry addressEntry(const QString& text)
{
    MMS_UTIL_Entry entry;
    entry.name = QLatin1String("");
    entry.address = text;
    entry.type = MMS_UTIL_ADDR_UNKNOWN;
    const qsizetype suffix = text.lastIndexOf(QLatin1String("/TYPE="), -1, Qt::CaseInsensitive);
    const QString address = suffix < 0 ? text : text.left(suffix);
    if (suffix >= 0) {
        const QString type = text.mid(suffix + 6);
        if (type.compare(QLatin1String("PLMN"), Qt::CaseInsensitive) == 0 ||
            type.compare(QLatin1String("PLNM"), Qt::CaseInsensitive) == 0) {
            entry.type = MMS_UTIL_ADDR_PLMN;
            entry.address = address;
        }
        return entry;
    }
    static const QRegularExpression number(
        QRegularExpression::anchoredPattern(QStringLiteral("\\+?[0-9]+")));
    if (address.contains(QLatin1Char('@')))
        entry.type = MMS_UTIL_ADDR_EMAIL;
    else if (number.match(address).hasMatch())
        entry.type = MMS_UTIL_ADDR_PLMN;
    return entry;
}

QString pduAddress(const MMS_UTIL_Entry& entry)
{
    if (entry.type != MMS_UTIL_ADDR_PLMN)
        return entry.address;
    // The spaces, dashes and brackets a person types into a number are no part of the address.
    QString number;
    for (const QChar c : entry.address) {
        if (c.isDigit() || (c == u'+' && number.isEmpty()))
            number.append(c);
    }
    return number + QStringLiteral("/TYPE=PLMN");
}

} // namespace tavmms::pdu
