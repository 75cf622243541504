#ifndef TAVMMS_MIME_TYPE_TABLE_H
#define TAVMMS_MIME_TYPE_TABLE_H

#include "tavmms_global.h"

// Content types by their one-byte number, as carried in encoded MMS headers. Rows 0x00 to 0x3F
// follow the WAP well-known assignments, rows 0x40 to 0x55 are this library's own.
#define MIME_TYPE_COUNT 86
// The number that means "not in the table".
#define MIME_TYPE_NOT_FOUND 86

extern "C" {
// Row n holds the name of content-type number n, spelled as stored messages spell it.
TAVMMS_EXPORT extern const char* const mime_type_names[MIME_TYPE_COUNT];

// The name of `value` reduced to its low 8 bits; null above 85. The text is the table's own:
// never freed or changed by the caller.
TAVMMS_EXPORT const char* mime_type_getName(unsigned int value);

// Lower-cases `name` in place (so it must be writable) and returns its number, or 86 when it is not
// in the table (or `name` is null). Rows spelled with capitals can only be reached by number.
// "audio/pcmu" gives the number of "audio/pcma", as older messages expect.
TAVMMS_EXPORT unsigned char mime_type_getValue(char* name);
}

#endif
