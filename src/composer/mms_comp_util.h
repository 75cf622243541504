#ifndef TAVMMS_MMS_COMP_UTIL_H
#define TAVMMS_MMS_COMP_UTIL_H

#include "tavmms_global.h"

#include <QString>

// Path, name and extension helpers of the message composer, and its memory-full notice. All
// members are static.
class TAVMMS_EXPORT MMS_COMP_Util
{
public:
    // The part of `path` after its last "/" or "\" (either kind, in any mixture), once the outer
    // white space of the whole path is removed; the whole trimmed path when it has no separator,
    // "" when it ends in one.
    static QString stripePath(QString path);
    // The text after the last "." of `name`, trimmed, in its own letter case; "" when there is no
    // dot or nothing after the last one. Directories are not looked at: pass a bare file name.
    static QString getExtName(QString name);
    // The text before the first "." of `name` ("" when it begins with one); the whole name when it
    // has no dot. Cut at the first dot where getExtName() takes the last, so for "a.b.c" the two
    // give "a" and "c".
    static QString getNoExtName(QString name);
    // True when every character of `text` is an ASCII letter or digit or one of ". - _ \ /" and
    // the space, so that whole relative paths pass; true for "".
    static bool isOnlyLetterOrNumber(QString text);
    // A profiling hook: notes the time of day and prints nothing; the arguments are ignored.
    static void printTimeStamp(const char* label, int value);
    // Shows the modal "memory is full" notice with the platform's error icon and one button, and
    // returns once the user has closed it. Call it on the user-interface thread.
    static void noFlashMsgBox();
    // The extension (lower case, without the dot) under which the phone can open again an object of
    // MIME type `type`/`subtype`: the first of the MIME registry's extensions for the type that the
    // phone shows or plays, in the registry's order. Pictures (image/...) are matched against the
    // phone's own list (gif, png, jpeg, jpg, bmp, wbmp), sound and video against the media
    // player's. "txt", "vcs" and "vcf" for plain text, vCalendar and vCard whatever the registry
    // holds. "" when none is known, and for every other type. Types are compared without regard to
    // case.
    static QString getFirstSupportExtNameByMIMEType(QString type, QString subtype);
};

#endif
