#ifndef TAVMMS_MMS_UTIL_TOOL_H
#define TAVMMS_MMS_UTIL_TOOL_H

#include "qt2compat.h"
#include "tavmms_global.h"

#include <QString>

// Small byte-string tools shared by the library and the applications. No state.
class TAVMMS_EXPORT MMS_UTIL_Tool
{
public:
    // A new zero-terminated array of s.length() + 1 units; each unit holds its character's code
    // with the two bytes exchanged (the array reads as big-endian UCS-2 in memory, which is what
    // the platform's wide-character interfaces expect). The caller releases it with delete[].
    static unsigned short* qstringToWCHAR(QString s);
    // Units before the first zero unit; 0 for a null pointer.
    static unsigned int uStrLen(unsigned short* s);
    // The non-empty pieces of `text` between occurrences of `separator` (both taken up to their
    // first zero byte). Only the last piece is stripped of white space, and its emptiness is judged
    // before stripping, so a tail of blanks gives an empty last piece: the block list and the
    // content-type parameters are split exactly so. An empty separator gives the whole text,
    // stripped, as the only piece (or no piece for an empty text).
    static QValueList<QCString> split(const QCString& separator, const QCString& text);
    // Prints "The data length is: <length>" and "\r" as one line on standard output. Only builds
    // configured with TAVMMS_DUMP_LINES print the bytes after it, as hex dump lines. `data` stays
    // the caller's.
    static void logOut(unsigned char* data, unsigned int length);
    // logOut of a whole file (of its first 16 MiB at most); nothing for a missing file, and a
    // length of 0 for one that cannot be read.
    static void logOutFrFile(QString path);
};

#endif
