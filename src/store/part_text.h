#ifndef TAVMMS_STORE_PART_TEXT_H
#define TAVMMS_STORE_PART_TEXT_H

// The text a text part of a message carries, as a viewer shows it: its transfer encoding undone
// and its bytes decoded from the charset its content type names.

#include "multipart.h"
#include "tavmms_global.h"

#include <QString>

namespace tavmms::store
{

// Whether `part` is text to show (text/plain, text/html, any text/*).
TAVMMS_EXPORT bool isTextPart(const pdu::Part& part);

struct TAVMMS_EXPORT PartText {
    QString text;
    // Why the text may not be all the sender wrote, for a warning: bytes not valid in the charset
    // (each shown as U+FFFD), a charset this system does not know (the text read as UTF-8).
    // Empty when it decoded cleanly.
    QString warning;
};

// The text of `part`. Without a charset the text is UTF-8, which us-ascii is a part of.
TAVMMS_EXPORT PartText partText(const pdu::Part& part);

} // namespace tavmms::store

#endif
