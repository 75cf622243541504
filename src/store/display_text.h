#ifndef TAVMMS_STORE_DISPLAY_TEXT_H
#define TAVMMS_STORE_DISPLAY_TEXT_H

// Texts that a message, a contact or a setting holds, made safe to show on a terminal: whoever
// sent the message or wrote the vCard chose them, and a control sequence among them would drive
// the terminal of the person who lists them, or a direction override would make one text read
// as another.

#include "tavmms_global.h"

#include <QByteArray>
#include <QString>
#include <QStringView>

namespace tavmms::store
{

// Whether `text` would be shown as something else than itself by displayText(): a C0 or C1
// control character or U+007F, a bidirectional or invisible format character (U+061C, U+200E,
// U+200F, U+202A to U+202E, U+2066 to U+2069), U+2028, U+2029, or half of a surrogate pair alone.
TAVMMS_EXPORT bool isEscapedForDisplay(char32_t codePoint);

// Whether `text` holds nothing that displayText() escapes, line breaks aside with `lineBreaks`; a
// surrogate pair is one character, printable like any other.
TAVMMS_EXPORT bool isSafeForDisplay(QStringView text, bool lineBreaks = false);

// `text` as a person sees it safely: each character named above as "\xNN" (up to U+00FF) or
// "\u{XXXX}", and a backslash doubled so that an escape always reads as one; printable text in
// any script stays as it is. With `keepLineBreaks`, "\n" stays a line break (for a whole page of
// lines whose breaks the printer made); without it, it is escaped like the others.
TAVMMS_EXPORT QString displayText(QStringView text, bool keepLineBreaks = false);

// A JSON text (UTF-8, as QJsonDocument writes it) with the characters named above that JSON lets
// through raw written as "\uXXXX" escapes instead: the same JSON value, safe on a terminal.
TAVMMS_EXPORT QByteArray displayJson(const QByteArray& json);

} // namespace tavmms::store

#endif
