#ifndef TAVMMS_STORE_PART_FILE_NAME_H
#define TAVMMS_STORE_PART_FILE_NAME_H

// The names that the parts of a message are written under. The sender chose every text a part
// carries, so a name made from one must stay a plain name in the directory it is written to:
// never a path, never hidden, never a control character, never too long for the file system.

#include "multipart.h"
#include "tavmms_global.h"

#include <QString>

namespace tavmms::store
{

// The longest file name, in bytes of UTF-8, that Linux file systems take.
inline constexpr qsizetype kLongestFileName = 255;

// `text` made a plain file name: only what follows its last "/" or "\", each control or
// invisible format character as "_", leading dots and blanks and trailing blanks dropped, then
// shortened to kLongestFileName bytes (shortenFileName). Empty when nothing is left (".", "..",
// "dir/").
TAVMMS_EXPORT QString safeFileName(const QString& text);

// `name` cut to `longest` bytes of UTF-8 between two characters, its extension (from its last
// dot, when that is short) kept whole.
TAVMMS_EXPORT QString shortenFileName(const QString& name, qsizetype longest = kLongestFileName);

// `name` with "-<n>" before its extension ("photo.jpg", 2: "photo-2.jpg"), shortened so that the
// number always fits.
TAVMMS_EXPORT QString numberedFileName(const QString& name, int n);

// The name to write part `number` (from 1) of a message under: the part's name (its content
// type's, else its disposition's filename), else its Content-Location, else its Content-ID
// without angle brackets, each made safe; else "part-<number>". A name from the Content-ID or
// "part-<number>" gets the extension the MIME registry gives its media type first.
TAVMMS_EXPORT QString partFileName(const pdu::Part& part, int number);

} // namespace tavmms::store

#endif
