#ifndef TAVMMS_STORE_MAIL_HEADER_H
#define TAVMMS_STORE_MAIL_HEADER_H

// The header fields of an Internet mail message as a mail program reads them: 7-bit text, lines
// of at most 78 columns ended by CRLF, text beyond ASCII in encoded words (=?UTF-8?B?...?=),
// display names quoted, parameters beyond ASCII or too long for a line in RFC 2231's form.
//
// A field is built from words: pieces that stand on one line, between which the field may be
// folded. A word that ends a list item or a parameter carries its ',' or ';'.

#include "mms_util_entry.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QList>
#include <QString>

namespace tavmms::store
{

// The longest line a field is folded to, its CRLF not counted.
constexpr qsizetype kMailLineLength = 78;

// "Name: " and the words, one blank between two, with CRLF and a blank in place of that blank
// before a word that would pass kMailLineLength; ends with CRLF. A word longer than a line stands
// on a line of its own.
QByteArray headerField(QByteArrayView name, const QList<QByteArray>& words);

// `text` as UTF-8 in encoded words, each of at most 42 octets of it (68 columns, so that the
// first fits after "Subject: "), never cutting a character in two. Nothing for an empty text.
QList<QByteArray> encodedWords(const QString& text);

// An unstructured field's text (a subject): its own words when it is printable ASCII with single
// blanks between words short enough for a line, and holds nothing a reader takes for an encoded
// word; else encoded words throughout.
QList<QByteArray> unstructuredWords(const QString& text);

// A display name: a quoted string when it is printable ASCII and fits a line, else encoded
// words.
QList<QByteArray> phraseWords(const QString& name);

// The address a mail program takes for `entry`: an e-mail address as it is; a phone number (or
// any other address) as the local part of an address at mms.invalid, a number without the blanks,
// dashes, dots and brackets it was typed with ("+15550101@mms.invalid"), another text quoted
// where it is no dot-atom.
QByteArray addrSpec(const MMS_UTIL_Entry& entry);

// `"Name" <address>`, or `<address>` for an empty name.
QList<QByteArray> mailboxWords(const QString& name, const QByteArray& address);

// The parameter `name` with `value`: `name="value"` when the value is printable ASCII and the
// whole fits a line; else RFC 2231's encoded form, `name*=UTF-8''%E2%82%AC`, cut into numbered
// sections (`name*0*=`, `name*1*=`) where it does not fit one. No section cuts a %XX.
QList<QByteArray> parameterWords(QByteArrayView name, const QString& value);

// `words` with `;` and the parameter's words appended.
void appendParameter(QList<QByteArray>* words, QByteArrayView name, const QString& value);

// "Tue, 02 Jan 2024 15:04:05 +0100", in the date's own offset from UTC; empty for an invalid
// date or a year a mail date cannot carry (before 1900, after 9999).
QByteArray mailDate(const QDateTime& date);

// Whether `text` is a dot-atom: atoms of letters, digits and !#$%&'*+-/=?^_`{|}~ joined by
// single dots.
bool isDotAtom(QByteArrayView text);

} // namespace tavmms::store

#endif
