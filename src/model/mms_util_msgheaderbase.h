#ifndef TAVMMS_MMS_UTIL_MSGHEADERBASE_H
#define TAVMMS_MMS_UTIL_MSGHEADERBASE_H

#include "mms_content_type.h"
#include "mms_util_entry.h"
#include "mms_util_entrylist.h"
#include "qt2compat.h"
#include "tavmms_global.h"

#include <QDateTime>
#include <QString>

// Priority codes, the MMS encoding of X-Mms-Priority.
enum {
    MMS_UTIL_PRIORITY_LOW = 128,
    MMS_UTIL_PRIORITY_NORMAL = 129,
    MMS_UTIL_PRIORITY_HIGH = 130,
};

// The header of one multimedia message. Applications may derive from it; the destructor is
// virtual for that reason.
class TAVMMS_EXPORT MMS_UTIL_MsgHeaderBase
{
public:
    // Defaults: empty subject and message id, content type whose `type` is one U+0000 character,
    // priority 129 (Normal), null dates, expiry 65535, flags false, size 0, lists empty with
    // auto-delete off.
    MMS_UTIL_MsgHeaderBase();
    // Clears the three lists; their entries are deleted only where auto-delete is on.
    virtual ~MMS_UTIL_MsgHeaderBase();

    // Copies name, type and address into `from`.
    void setFrom(MMS_UTIL_Entry entry);
    // Replace the list with deep copies of the argument's entries (empty slots are passed over);
    // the header owns the copies (auto-delete is switched on), the caller keeps what it passed.
    // The entries the list held before are deleted, even those it held with auto-delete off.
    void setTo(MMS_UTIL_EntryList list);
    void setCc(MMS_UTIL_EntryList list);
    void setBcc(MMS_UTIL_EntryList list);
    // Append a deep copy of `entry`; the header owns the copy. Auto-delete is switched on, so
    // the list then owns every entry it holds, those appended to it directly included.
    void addToRecipient(const MMS_UTIL_Entry& entry);
    void addCcRecipient(const MMS_UTIL_Entry& entry);
    void addBccRecipient(const MMS_UTIL_Entry& entry);
    // Takes 128, 129 or 130; any other code leaves `priority` unchanged.
    void setPriority(unsigned char code);
    // Debugging hook; prints nothing.
    void printMsg();
    // Takes the delivery report, read report, expiry and priority from the stored sending options
    // (a stored priority other than 128, 129, 130 leaves `priority` as it is). 0, or the reader's
    // non-zero result with the header unchanged.
    int loadGlobalSetting();
    // Stores this header's delivery report, read report, expiry and priority as the sending
    // options; the result of MMS_UTIL_Setting::setSendingOption (0, 1 or 2).
    unsigned char saveToGlobalSetting();

    // The fields are plain members that the mail file and the applications read and write.
    MMS_UTIL_Entry from; // the sender
    // The recipients; each list owns its entries only while its auto-delete flag is on.
    MMS_UTIL_EntryList toList;
    MMS_UTIL_EntryList ccList;
    MMS_UTIL_EntryList bccList;
    QString subject;
    MMS_CONTENT_TYPE_T contentType; // of the message body
    unsigned char priority;         // 128 Low, 129 Normal, 130 High
    QString messageId;
    QDateTime sendDate;
    QDateTime deliveryTime;
    unsigned int expiry; // seconds
    bool senderVisibility;
    bool deliveryReport;  // a delivery report is asked for
    bool readReplyReport; // a read report is asked for
    unsigned int messageSize;
};

#endif
