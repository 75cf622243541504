#ifndef MMSUTIL_PARTSOUT_H
#define MMSUTIL_PARTSOUT_H

// How the commands that look into a kept message (show, parts) print its parts: a table of them,
// the texts of its text parts, and the same as JSON.

#include <message_parts.h>

#include <QJsonArray>
#include <QString>

namespace cli
{

// The heading and one line a part: its number, media type, name, charset, Content-ID,
// Content-Location, size and whether it is the start part.
QString partTable(const tavmms::store::MessageParts& parts);
// The text of each text part under a line that names it; a text that did not decode cleanly is
// warned about on standard error.
QString partTexts(const tavmms::store::MessageParts& parts);
// One object a part, {index, contentType, name, charset, contentId, contentLocation, size, start},
// with "text" (and "textWarning" when it did not decode cleanly) for a text part when `withText`.
QJsonArray partsToJson(const tavmms::store::MessageParts& parts, bool withText);

} // namespace cli

#endif
