#ifndef TAVMMS_MMS_UTIL_MAILFILE_H
#define TAVMMS_MMS_UTIL_MAILFILE_H

#include "mms_util_msgheaderbase.h"
#include "tavmms_global.h"

#include <QString>

class QTextStream;

// The 16-byte record at the start of a mail file: four big-endian 32-bit words in file order.
struct MMS_UTIL_MAILFILE_HEADER_T {
    unsigned int headerTextOffset; // 16 + body length: where the header text block begins
    unsigned int reserved;         // 0
    unsigned int bodyOffset;       // 16
    unsigned int bodyLength;
};

// Result codes of the operations that return an int.
enum {
    MMS_UTIL_MAILFILE_OK = 0,
    MMS_UTIL_MAILFILE_FAILED = 1,
    MMS_UTIL_MAILFILE_NO_SPACE = 15, // only from writeMailFile, writeMultipartBody, writeMsgHeader
};

// The number of "Key: value" lines in a header text block.
#define MMS_UTIL_MAILFILE_KEY_COUNT 15

// One stored message: the 16-byte record, the encoded multipart body (opaque bytes) and the
// header as UTF-8 "Key: value" lines running to the end of the file. Every operation opens and
// closes the file itself; nothing is held open between calls.
//
// Ownership: the object never releases what `header` and `body` point to. A header and body made
// by loadMailFile() (with new and new[]) belong to the caller; what the caller hands in stays the
// caller's. writeMultipartBody and writeMsgHeader release only what their own load made.
class TAVMMS_EXPORT MMS_UTIL_MailFile
{
public:
    // Stores the name only; the file is not touched.
    explicit MMS_UTIL_MailFile(QString fileName);
    // Releases nothing: what `header` and `body` point to is not the object's.
    ~MMS_UTIL_MailFile();

    // The 16-byte record as stored, unchecked; all zeros when the file cannot be opened.
    MMS_UTIL_MAILFILE_HEADER_T readMailFileHeader();
    // Reads the body, from just after the record, into a new[] buffer handed out through `buf`
    // (the caller delete[]s it); `buf` is set only when 0 is returned. 1 for a null argument, a
    // missing or unreadable file, an empty body, a body offset or length not below the file size,
    // or a body cut short by the end of the file; once the record is read, `*len` holds the
    // stored length, on failure too.
    int readMultipartBody(unsigned char** buf, unsigned int* len);
    // Reads the header text block at the recorded offset into the caller's header (see
    // readMsgHeaderFrom). An offset equal to the file size is an empty block (0); beyond it, 1.
    // Also 1 for a null header or a missing file.
    int readMsgHeader(MMS_UTIL_MsgHeaderBase* header);
    // Reads body and header into new objects in `body`, `bodyLength` and `header`: the caller
    // deletes the header and delete[]s the body; what the members pointed at before is dropped,
    // not released. Unlike readMsgHeader it requires all four record words below the file size and
    // reads the header straight after the body, ignoring the recorded offset; the body is read
    // from just after the record, and one cut short by the end of the file ends in zeros. 0 or 1;
    // `bodyLength` holds the stored length also after a 1 once the record was read.
    int loadMailFile();
    // Removes any file of this name (it creates nothing); 1 when that removal fails.
    int createMailFile();
    // Writes a whole new file from the arguments, which stay the caller's (the members keep
    // pointing at them). 0, 15 when the device is full, else 1; the earlier file is kept intact on
    // every failure before the final replacement.
    int writeMailFile(unsigned char* body, unsigned int len, MMS_UTIL_MsgHeaderBase* header);
    // Replaces the body of an existing file (loaded as loadMailFile() does), keeping its header;
    // `body` stays the caller's. 0, 1 (also for a file that does not load) or 15. Afterwards the
    // `header` member is null, and, once the file has loaded, `body` is null and `bodyLength` 0.
    int writeMultipartBody(unsigned char* body, unsigned int len);
    // Replaces the header of an existing file (loaded as loadMailFile() does), keeping its body;
    // `header` stays the caller's. 0, 1 (also for a file that does not load) or 15. Once the file
    // has loaded, the `header` and `body` members are left null.
    int writeMsgHeader(MMS_UTIL_MsgHeaderBase* header);
    // Writes `body`, `bodyLength` and `header` to "<fileName>.tmp", syncs it, removes the old
    // file and renames the new one into place, then syncs the directory. 0 or 1 (with errno
    // EINVAL for a null header, or a null body with a length). A failure while writing leaves the
    // ".tmp" file, which the next save of this name removes.
    int saveToMailFile();

    // Writes the header text block of `header` (the member): an empty line, then the fifteen
    // "Key: value" lines, as UTF-8. False when `header` is null or the stream has no device, and
    // at the first line after which the device failed.
    bool serializeMsgHeaderTo(QTextStream& stream);
    // Reads "Key: value" lines to the end of the stream's device into `header` (nothing for
    // null). Unknown lines are skipped; a line that is not a key line continues the Subject when
    // it follows one; keys missing from the block keep the value text last seen by this object.
    // The header's recipient lists are replaced as MMS_UTIL_MsgHeaderBase::setTo() does it.
    void readMsgHeaderFrom(QTextStream& stream, MMS_UTIL_MsgHeaderBase* header);
    // Index of the key text equal to `key` ("From:" 0 ... "Message_Size:" 14), or 15.
    int judgeString(QString key);

private:
    QString fileName;

public:
    // The header loadMailFile() made (the caller deletes it) or writeMailFile() was given; null
    // at first.
    MMS_UTIL_MsgHeaderBase* header;
    // The body loadMailFile() made with new[] (the caller delete[]s it) or writeMailFile() was
    // given; null at first.
    unsigned char* body;
    unsigned int bodyLength; // the body's length in bytes

private:
    QString keyTexts[MMS_UTIL_MAILFILE_KEY_COUNT];
    QString valueTexts[MMS_UTIL_MAILFILE_KEY_COUNT];
};

#endif
