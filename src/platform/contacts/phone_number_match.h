#ifndef TAVPLATFORM_PHONE_NUMBER_MATCH_H
#define TAVPLATFORM_PHONE_NUMBER_MATCH_H

#include "tavplatform_global.h"

#include <QLocale>
#include <QString>

namespace tavplatform
{

// The region code that names no region: national numbers then match only in the form they were
// written in.
inline constexpr char kNoRegion[] = "ZZ";

// The key a phone number is kept and looked up under: its international (E.164) form when it reads
// as a number of `region` (a two-letter code), so that its national and international forms, with
// or without blanks, dashes or brackets, give one key; otherwise its dialling characters alone
// (digits, '+', '*', '#'). An MMS address's type suffix ("/TYPE=PLMN") is not part of the number.
// Empty when the text holds no digit.
QString phoneNumberKey(const QString& number, const QString& region);

// Whether `number` reads as a phone number one can send to from `region` (a two-letter code, or
// kNoRegion when only international numbers read): a number whose length fits its country's plan,
// or a short number (an emergency or service code) of the region.
TAVPLATFORM_EXPORT bool isPossiblePhoneNumber(const QString& number, const QString& region);

// The key an e-mail address is kept and looked up under: without blanks around it, case-folded.
QString emailKey(const QString& address);

// Whether `region` is a two-letter region code that phone numbers are known for, in upper case;
// kNoRegion is one too.
bool isKnownRegion(const QString& region);

// The region of `locale`'s country, or kNoRegion when it names none that phone numbers are known
// for.
QString regionOfLocale(const QLocale& locale);

} // namespace tavplatform

#endif
