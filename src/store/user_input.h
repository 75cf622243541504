#ifndef TAVMMS_STORE_USER_INPUT_H
#define TAVMMS_STORE_USER_INPUT_H

// Texts a person types for a message or a setting, read so that what is kept reads back as meant:
// addresses and content types go on one line of the mail file's header, and an address on the
// block list must be found there again. Each reader gives nothing and sets `error` to why when the
// text will not do.

#include "mms_content_type.h"
#include "mms_util_entry.h"
#include "tavmms_global.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tavmms::store
{

// A number written in decimal digits only (no sign, no blanks, no line break), from 0 to `maximum`.
TAVMMS_EXPORT std::optional<unsigned int> parseNumber(const QString& text,
                                                      unsigned int maximum = 0xFFFFFFFFu);

// The name of a new MMS profile: any text but an empty one, or one that holds a control character
// (C0, U+007F or C1) or a line or paragraph separator, which would break a list of names one a
// line.
TAVMMS_EXPORT std::optional<QString> parseProfileName(const QString& text, QString* error);

// An IPv4 address as a profile keeps it (the WAP gateway): the unsigned int whose high byte is the
// first part of the dotted form. Read from the dotted form "a.b.c.d" (each part decimal, 0 to 255)
// or from the number itself, as parseNumber() reads it.
TAVMMS_EXPORT std::optional<quint32> parseIpv4Address(const QString& text);
// The dotted form of `address`, "192.168.1.1" for 3232235777.
TAVMMS_EXPORT QString ipv4AddressText(quint32 address);

// `text` on one line, for a message or a listing: each line break ("\r\n", "\n" or "\r") becomes
// U+2028 LINE SEPARATOR, which displayText() shows as an escape like any other character that
// must not reach a terminal raw; nothing else changes.
TAVMMS_EXPORT QString oneLine(const QString& text);

// Whether `text` holds a control character (below U+0020, or U+007F): a line break in a value that
// goes into one line of a file, or that is listed one a line, would start a line of its own.
TAVMMS_EXPORT bool hasControlCharacter(const QString& text);

// An address: either the entry text "<name>[EMAIL|PLMN|UNKNOWN]address", or a bare address, typed
// by its look: PLMN when it holds only digits, blanks and "+-()", EMAIL when it holds an "@",
// UNKNOWN otherwise. Blanks around the text are dropped. Refused: an empty text, a control
// character, an entry text whose name holds "<", ">", "[" or "]" (it would be read back cut) or
// whose type word is none of the three.
TAVMMS_EXPORT std::optional<MMS_UTIL_Entry> parseAddress(const QString& text, QString* error);
// Texts that each hold one address or several separated by commas; empty pieces are dropped.
TAVMMS_EXPORT std::optional<QList<MMS_UTIL_Entry>> parseAddresses(const QStringList& texts,
                                                                  QString* error);

// A recipient of a message a person composes: an address as parseAddress() reads it that is an
// e-mail address (local@domain.tld), or a phone number written with digits, "+", blanks, "-", "."
// and brackets that reads as a possible number, or a possible short number, of `region` (the
// address book's). An entry's type must fit its address; UNKNOWN fits both. The address is kept
// as typed, so that the block list's containment rule still finds it. Anything else is refused,
// with `error` naming it.
TAVMMS_EXPORT std::optional<MMS_UTIL_Entry> parseRecipient(const QString& text,
                                                           const QString& region, QString* error);
// Texts that each hold one recipient or several separated by commas; empty pieces are dropped.
TAVMMS_EXPORT std::optional<QList<MMS_UTIL_Entry>>
parseRecipients(const QStringList& texts, const QString& region, QString* error);

// A message's content type, in either of two forms:
// - the standard MIME form, "type/subtype; name=value; name=\"quoted value\"": the parameters are
//   kept as the header keeps them, joined by ";" without blanks, values unquoted; a quoted value
//   holding ";" or a blank, which the header cannot keep, is refused;
// - "type/subtype", a blank and the parameters, kept as they are.
// Blanks around the whole are dropped. Refused: another form, or a control character.
TAVMMS_EXPORT std::optional<MMS_CONTENT_TYPE_T> parseContentType(const QString& text,
                                                                 QString* error);

// An address to look up in the block list, taken as it is; refused when it would match more than
// it names: an empty address is found in every item of the list, and a comma would split it into
// two items.
TAVMMS_EXPORT std::optional<QString> parseBlockAddress(const QString& text, QString* error);
// An address to put on the block list: one parseBlockAddress() takes that the list also finds
// again and lists on a line of its own. The list is compared as Latin-1 text, so an address with a
// character beyond Latin-1 would be kept and never found; a control character would break the
// listing's line.
TAVMMS_EXPORT std::optional<QString> parseAddressToBlock(const QString& text, QString* error);
// A whole block list, addresses joined by commas; "" empties it. Refused when an item is empty,
// which would block every sender, or is not an address parseAddressToBlock() takes.
TAVMMS_EXPORT std::optional<QString> parseBlockList(const QString& text, QString* error);

// A folder of the message index: its number as decimal digits (any number, since other
// applications may have written numbers the store does not name), or its name as folderName()
// gives it, ignoring case.
TAVMMS_EXPORT std::optional<unsigned int> parseFolder(const QString& text, QString* error);

// The seconds a time a person types stands for, both ends included: the same second for a date
// and time, every second of the day for a date alone.
struct TAVMMS_EXPORT TimeSpan {
    QDateTime first;
    QDateTime last;
};
// An ISO 8601 date, "2026-01-31", which stands for that whole day in local time; or a date and
// time, "2026-01-31T12:00", the seconds and their fraction optional, "T" or one blank between, in
// local time unless an offset follows ("Z", "+01:00", "+0100", "+01", from -14:00 to +14:00,
// after one blank or none). So what the tool prints reads back. Refused: any other form, or a
// day or time that does not exist.
TAVMMS_EXPORT std::optional<TimeSpan> parseTimeSpan(const QString& text, QString* error);

} // namespace tavmms::store

#endif
