#ifndef TAVMMS_MMS_UTIL_COMMON_H
#define TAVMMS_MMS_UTIL_COMMON_H

#include "mms_content_type.h"
#include "mms_util_contact_info.h"
#include "mms_util_entry.h"
#include "mms_util_entrylist.h"
#include "qt2compat.h"
#include "tavmms_global.h"

#include <QDateTime>
#include <QString>

// Status codes: 128 to 132 are the X-Mms-Status values, 133 marks a message that has been read.
enum {
    MMS_UTIL_STATUS_EXPIRED = 128,
    MMS_UTIL_STATUS_RETRIEVED = 129,
    MMS_UTIL_STATUS_REJECTED = 130,
    MMS_UTIL_STATUS_DEFERRED = 131,
    MMS_UTIL_STATUS_UNRECOGNIZED = 132,
    MMS_UTIL_STATUS_READ = 133,
};
// What the text readers give for a word they do not know.
#define MMS_UTIL_INVALID_CODE 255

// Shared conversions and helpers of the MMS applications. All members are static.
class TAVMMS_EXPORT MMS_UTIL_Common
{
public:
    // Content-type numbers (see mime_type_table.h).
    // Number of type + "/" + subtype, compared without regard to case; 86 when unknown.
    static unsigned char mimeTypeGetValue(QString type, QString subtype);
    // Splits the name of `value` at its first "/" and returns 0; returns 1 and leaves both outputs
    // unchanged when the number has no name.
    static unsigned char mimeTypeGetName(unsigned char value, QString& type, QString& subtype);

    // Text forms of header values, the vocabulary of the mail file's header block.
    // "<name>[EMAIL|PLMN|UNKNOWN]address".
    static QString entryToString(MMS_UTIL_Entry entry);
    // A new entry made with `new`; the caller owns it. Missing marks are not reported: the
    // pieces are cut wherever the marks' positions (-1 when missing) say.
    static MMS_UTIL_Entry* stringToEntry(QString text);
    // The same into the caller's entry; nothing for a null pointer. A word other than EMAIL or
    // PLMN gives the unknown type.
    static void stringToEntry(QString text, MMS_UTIL_Entry* entry);
    // Each entry's text followed by ","; files written by older releases rely on the trailing
    // separator. Empty slots are passed over; an empty list gives "".
    static QString entryListToString(MMS_UTIL_EntryList list);
    // A list of entries made with `new`, one per ","-separated piece that is not blank,
    // auto-delete off: the receiver decides who owns them.
    static MMS_UTIL_EntryList stringToEntryList(QString text);
    // Appends the entries read from `text` to `list` without clearing it; nothing for a null list.
    // Whether the list deletes them is its auto-delete flag's affair.
    static void stringToEntryList(QString text, MMS_UTIL_EntryList* list);
    // "type/subtype params"; the blank is written also when the parameters are empty.
    static QString contentTypeToString(MMS_CONTENT_TYPE_T contentType);
    // The type before the first "/" of the part before the first blank, the subtype after it, the
    // parameters after the blank. Missing marks are not reported: without a blank the parameters
    // are the whole text too, and without a "/" type and subtype are both the whole part; an empty
    // text gives three null strings.
    static MMS_CONTENT_TYPE_T stringToContentType(QString text);
    // "Low", "Normal", "High" for 128, 129, 130; "Invalid_Priority" for any other code.
    static QString priorityToString(unsigned char priority);
    // 128, 129, 130 for the exact words; 255 for anything else.
    static unsigned char stringToPriority(QString text);
    // "Expired", "Retrived", "Rejected", "Deferred", "Unrecognized", "Read" for 128 to 133; a null
    // string for any other code.
    static QString statusToString(unsigned char status);
    // 128 to 132 for the first five words; "Read" is written but reads as 255, like any unknown
    // word.
    static unsigned char stringToStatus(QString text);
    // "True" or "False".
    static QString boolToString(bool value);
    // True only for exactly "True".
    static bool stringToBool(QString text);
    // Reads "Sat May 2 03:40:13 1998" by fixed positions; a null text or one too short for the
    // month gives a null date-time, an unknown month an invalid one, a missing time 00:00:00.
    static QDateTime stringToTime(QString text);

    // Working directories. Each is only a text ending in "/"; nothing is created here.
    // $TAV_LOCAL_DOWNLOAD_PATH + "mms/" (a "/" is put between when the value does not end in one;
    // an unset variable gives "/mms/"). The variable is read on every call.
    static QString getWorkDir();
    static QString getMailFileDir();         // getWorkDir() + "mailfile/"
    static QString getQuickPageDir();        // getWorkDir() + "predesigned/"
    static QString getQuickPageFactoryDir(); // "/usr/language/quickpage/"
    static QString getTmpDir();              // getWorkDir() + "tmp/"
    // getMailFileDir() + id + ".mms".
    static QString msgDBIDToMailFileName(unsigned int id);
    // The next name from a per-process counter that starts at 0 with each load of the library:
    // "tmp" + the counter as five digits + an extension, in the temporary or mail file directory,
    // for the content types that have an extension; the bare digits for any other type. No check
    // is made that the name is free, so names repeat after a restart by design.
    // Types with an extension: text/plain, image/gif, jpeg, png, vnd.wap.wbmp, bmp, audio/imelody,
    // mpeg, midi, x-wav, video/mpeg (all in getTmpDir()) and an MMS message (0x3E, ".mms", in
    // getMailFileDir()).
    static QString generateFileName(unsigned char contentType);
    // Creates an empty file under generateFileName()'s name (truncating one that is there) and
    // returns the name; "" when the file cannot be created, e.g. when its directory is missing.
    // The bare digits of a type without an extension name a file in the current directory.
    static QString createTempFile(unsigned char contentType);

    // Contact look-up in the phone's address book. A phone number (any type but e-mail, the
    // unknown type included) is searched as a number, an e-mail address as an address.
    // Sets the entry's name to the contact's; a failed search, or a contact without a name,
    // leaves it empty, so that the name always reflects the address book.
    static void srchContactName(MMS_UTIL_Entry& entry);
    // srchContactName() on every entry (empty slots are passed over); the copy shares the caller's
    // entries, which get the names.
    static void srchMultiContactNames(MMS_UTIL_EntryList list);
    // The contact's name and the label of the matched number or address (e.g. "Mobile"); without
    // a hit, the address as the name and an empty label. An empty entry leaves `info` untouched.
    // Always true: callers look at `info`.
    static bool srchContactInfoByVal(MMS_UTIL_CONTACT_INFO_T& info, MMS_UTIL_Entry& entry);
    // Sets the entry to the owner's number (type phone number) and name: 0 when the owner is
    // known; 1, the entry untouched, when not.
    static int getOwnerEntry(MMS_UTIL_Entry& entry);
    // Removes the first entry whose address is `address` (a leading "+86" on either side does
    // not count); later duplicates stay. The entry is deleted only while the list's auto-delete is
    // on. 0 when one was removed or none matched, 1 for a null list or a failed removal.
    static int deleteEntryByVal(MMS_UTIL_EntryList* list, QString address);

    // Message classification by content type.
    // The codes of getMsgTypeByContentType. No other value occurs; the gaps are kept free.
    enum MsgType {
        // multipart/related (binary form) starting with SMIL, or with an unknown or no start type
        MSG_TYPE_RELATED_SMIL = 0,
        MSG_TYPE_RELATED_XHTML = 1, // multipart/related (binary form) starting with XHTML
        MSG_TYPE_MIXED = 2,         // multipart/mixed (binary form): no presentation part
        // one image, audio or video object of the ten types below
        MSG_TYPE_SINGLE_MEDIA = 6,
        MSG_TYPE_OTHER = 7, // anything else
    };
    // MSG_TYPE_SINGLE_MEDIA for exactly image/gif, jpeg, png, vnd.wap.wbmp, bmp, audio/imelody,
    // mpeg, midi, x-wav and video/mpeg; the textual multipart/mixed and multipart/related are
    // MSG_TYPE_OTHER. Type and subtype are compared without regard to case.
    static int getMsgTypeByContentType(MMS_CONTENT_TYPE_T contentType);
    // The content-type number of the value of the first parameter whose name starts with "type"
    // (any case), 86 when that value is not in the table, 0 when there is no such parameter or
    // its value starts with "/". Quotes and blanks around "=" are not removed, and a "type"
    // parameter with a blank before it is found only at the end of the list.
    static unsigned char getAppTypeFrParaList(QString paraList);
};

#endif
