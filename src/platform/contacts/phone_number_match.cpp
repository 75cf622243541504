#include "phone_number_match.h"

#include <phonenumbers/phonenumberutil.h>
#include <phonenumbers/shortnumberinfo.h>

#include <set>
#include <string>

namespace tavplatform
{

namespace
{

using i18n::phonenumbers::PhoneNumber;
using i18n::phonenumbers::PhoneNumberUtil;
using i18n::phonenumbers::ShortNumberInfo;

// What the number keeps when it does not read as a phone number: the characters a keypad dials.
QString dialCharacters(const QString& number)
{
    QString kept;
    for (const QChar c : number) {
        if (c.isDigit())
            kept.append(QChar(u'0' + c.digitValue()));
        else if (c == u'+' || c == u'*' || c == u'#')
            kept.append(c);
    }
    return kept;
}

bool hasDigit(const QString& text)
{
    for (const QChar c : text) {
        if (c.isDigit())
            return true;
    }
    return false;
}

} // namespace

QString phoneNumberKey(const QString& number, const QString& region)
{
    const qsizetype suffix = number.indexOf(QLatin1String("/TYPE="), 0, Qt::CaseInsensitive);
    const QString text = suffix < 0 ? number : number.left(suffix);
    if (!hasDigit(text))
        return QString();
    const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
    PhoneNumber parsed;
    if (util.Parse(text.toStdString(), region.toStdString(), &parsed) !=
        PhoneNumberUtil::NO_PARSING_ERROR)
        return dialCharacters(text);
    std::string international;
    util.Format(parsed, PhoneNumberUtil::E164, &international);
    return QString::fromStdString(international);
}

bool isPossiblePhoneNumber(const QString& number, const QString& region)
{
    if (!hasDigit(number))
        return false;
    const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
    PhoneNumber parsed;
    if (util.Parse(number.toStdString(), region.toStdString(), &parsed) !=
        PhoneNumberUtil::NO_PARSING_ERROR)
        return false;
    static const ShortNumberInfo shortNumbers;
    return util.IsPossibleNumber(parsed) ||
           (region != QLatin1String(kNoRegion) &&
            shortNumbers.IsPossibleShortNumberForRegion(parsed, region.toStdString()));
}

QString emailKey(const QString& address)
{
    return address.trimmed().toCaseFolded();
}

bool isKnownRegion(const QString& region)
{
    if (region == QLatin1String(kNoRegion))
        return true;
    static const std::set<std::string> regions = [] {
        std::set<std::string> supported;
        PhoneNumberUtil::GetInstance()->GetSupportedRegions(&supported);
        return supported;
    }();
    return regions.count(region.toStdString()) != 0;
}

QString regionOfLocale(const QLocale& locale)
{
    const QString region = QLocale::territoryToCode(locale.territory());
    return isKnownRegion(region) ? region : QString::fromLatin1(kNoRegion);
}

} // namespace tavplatform
