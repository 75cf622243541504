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

#define MMS_UTIL_MAILFILE_KEY_COUNT 15

// One stored message: the 16-byte record, the encoded multipart body (opaque bytes) and the
// header as UTF-8 "Key: value" lines running to the end of the file. Every operation opens and
// closes the file itself; nothing is held open between calls.
//
// Ownership: the object never releases what `header` and `body` point to. A header and body made
// by loadMailFile() (with new and new[]) belong to the caller; what the caller hands in stays the
// caller's.
class TAVMMS_EXPORT MMS_UTIL_MailFile
{
public:
    // Stores the name only; the file is not touched.
    explicit MMS_UTIL_MailFile(QString fileName);
    ~MMS_UTIL_MailFile();

    // The 16-byte record as stored, unchecked; all zeros when the file cannot be opened.
    MMS_UTIL_MAILFILE_HEADER_T readMailFileHeader();
    // Reads the body into a new[] buffer handed out through `buf` (the caller delete[]s it).
    // 1 for a missing or unreadable file, an empty body, or a body offset or length not below the
    // file size; `*len` holds the stored length even then.
    int readMultipartBody(unsigned char** buf, unsigned int* len);
    // Reads the header text block at the recorded offset into the caller's header. An offset equal
    // to the file size is an empty block (0); beyond it, 1.
    int readMsgHeader(MMS_UTIL_MsgHeaderBase* header);
    // Reads body and header into new objects in `body`, `bodyLength` and `header`. Unlike
    // readMsgHeader it requires all four record words below the file size and reads the header
    // straight after the body, ignoring the recorded offset. 0 or 1.
    int loadMailFile();
    // Removes any file of this name (it creates nothing); 1 when that removal fails.
    int createMailFile();
    // Writes a whole new file from the arguments, which stay the caller's (the members keep
    // pointing at them). 0, 15 when the device is full, else 1; the earlier file is kept intact on
    // every failure before the final replacement.
    int writeMailFile(unsigned char* body, unsigned int len, MMS_UTIL_MsgHeaderBase* header);
    // Replaces the body of an existing file, keeping its header. 0, 1 (also for a missing file)
    // or 15. Leaves `header` and `body` null.
    int writeMultipartBody(unsigned char* body, unsigned int len);
    // Replaces the header of an existing file, keeping its body. 0, 1 or 15. Leaves `header` and
    // `body` null.
    int writeMsgHeader(MMS_UTIL_MsgHeaderBase* header);
    // Writes `body`, `bodyLength` and `header` to "<fileName>.tmp", syncs it, removes the old
    // file and renames the new one into place. 0 or 1.
    int saveToMailFile();

    // Writes the header text block of `header` (which must be set): an empty line, then the
    // fifteen "Key: value" lines. False at the first line after which the device failed.
    bool serializeMsgHeaderTo(QTextStream& stream);
    // Reads "Key: value" lines to the end of the stream's device into `header` (not null).
    // Unknown lines are skipped; a line that is not a key line continues the Subject when it
    // follows one; keys missing from the block keep the value text last seen by this object.
    void readMsgHeaderFrom(QTextStream& stream, MMS_UTIL_MsgHeaderBase* header);
    // Index of the key text equal to `key` ("From:" 0 ... "Message_Size:" 14), or 15.
    int judgeString(QString key);

private:
    QString fileName;

public:
    MMS_UTIL_MsgHeaderBase* header;
    unsigned char* body;
    unsigned int bodyLength;

private:
    QString keyTexts[MMS_UTIL_MAILFILE_KEY_COUNT];
    QString valueTexts[MMS_UTIL_MAILFILE_KEY_COUNT];
};

#endif
