#ifndef TAVMMS_STORE_TYPES_H
#define TAVMMS_STORE_TYPES_H

// What the message store's calls take and give: the folders and states it writes into a message's
// row, the result of every call, and the parts of a message.

#include "mms_content_type.h"
#include "mms_util_dbstruct.h"
#include "mms_util_entry.h"
#include "tavmms_global.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

class MMS_UTIL_MsgHeaderBase;

namespace tavmms::store
{

// The folder of a message, kept in its row (cmn_fld_folder_id). Numbers other applications wrote
// are kept and shown as they are.
enum class Folder : unsigned int {
    Inbox = 1,  // received messages
    Outbox = 2, // composed messages waiting to be sent
    Sent = 3,   // messages the MMSC took
    Drafts = 4, // composed messages not yet meant to be sent
};

// The state of a message, kept in its row (cmn_fld_send_receive_state).
enum class State : unsigned short {
    ToSend = 1,   // composed, waiting in the outbox
    Received = 2, // came in from the network
    Draft = 3,    // composed, kept as a draft
    Sent = 4,     // taken by the MMSC
    // A notification of a message waiting at the MMSC, kept in the inbox with what it says (the
    // sender, subject, size, expiry) until the message itself replaces it.
    Notified = 5,   // to be fetched now
    Deferred = 6,   // to be fetched later, by hand (roaming, or automatic download off)
    Rejected = 7,   // refused: larger than the MT size limit; the MMSC was told so
    SendFailed = 8, // the MMSC refused the message, or could not be reached in the attempts made
};

// "inbox", "outbox", "sent", "drafts"; empty for another number.
TAVMMS_EXPORT QString folderName(unsigned int folder);
// "to send", "received", "draft", "sent", "notified", "deferred", "rejected", "send failed"; empty
// for another number.
TAVMMS_EXPORT QString stateName(unsigned int state);

// What went wrong, for a caller that acts on it; the text says it to a person.
enum class ErrorCode {
    None,
    NotFound,     // no message has that id
    Blocked,      // receive: the sender is on the block list
    Duplicate,    // receive: a message with that URI or Message-ID is kept already
    Exists,       // the message has a mail file already, and replacing it was not asked for
    TooLarge,     // the body is over the size limit of its direction, or over kLargestBody
    Invalid,      // the call's arguments cannot be kept (a folder a composed message cannot go to)
    NoSpace,      // the disk is full
    Busy,         // another program held the store's lock longer than the call waits
    Failed,       // anything else: the database or the file system failed
    Malformed,    // receivePdu: the bytes do not read as a PDU
    WrongType,    // receivePdu: a PDU, but not a retrieved message (m-retrieve.conf)
    NotRetrieved, // receivePdu: the MMSC says the message could not be retrieved
    Refused,      // the MMSC refused a request for good (a permanent error status, HTTP 4xx)
    Unreachable,  // the MMSC could not be reached, or failed, in every attempt made
};

// The result of a call: done, or an error with one line of text (no line end) naming what failed
// and why.
struct TAVMMS_EXPORT Status {
    ErrorCode code = ErrorCode::None;
    QString text;

    bool ok() const { return code == ErrorCode::None; }
    static Status failure(ErrorCode code, const QString& text) { return {code, text}; }
};

// The largest body a direction takes, and how a refusal names it ("the limit of 300 KB
// (max-mo-size)").
struct TAVMMS_EXPORT SizeLimit {
    qint64 bytes = 0;
    QString text;
};

// A message to keep. The entries' names are taken from the address book when they have none of
// their own.
struct TAVMMS_EXPORT NewMessage {
    MMS_UTIL_Entry from;      // compose: when empty, the phone's owner
    QList<MMS_UTIL_Entry> to; // receive: when empty, the phone's owner
    QList<MMS_UTIL_Entry> cc;
    QList<MMS_UTIL_Entry> bcc;
    QString subject;
    MMS_CONTENT_TYPE_T contentType = defaultContentType();
    QByteArray body;
    QString messageId;
    QString uri; // the row's message URI; empty: a new "urn:uuid:" one

    // What the message itself says of its sending, as a received PDU carries it; each given wins
    // over what compose() takes from the sending options and over the header's defaults.
    QDateTime date;                          // when it was sent; invalid: now
    std::optional<unsigned char> priority;   // 128 Low, 129 Normal, 130 High
    std::optional<bool> deliveryReport;      // a delivery report is asked for
    std::optional<bool> readReport;          // a read report is asked for
    std::optional<bool> senderVisible;       // the sender may be shown to the recipients
    std::optional<unsigned int> expiry;      // seconds
    QDateTime deliveryTime;                  // invalid: none asked for
    std::optional<unsigned int> messageSize; // the size the MMSC gives; default: the body's
    QString transactionId;                   // kept in the row, cut to its 39 bytes

    // application/vnd.wap.multipart.mixed, without parameters.
    static MMS_CONTENT_TYPE_T defaultContentType();
};

// A message that was kept, or why not.
struct TAVMMS_EXPORT Added {
    Status status;
    unsigned int id = 0;       // the row
    QString mailFile;          // the mail file named after it
    unsigned int existing = 0; // Duplicate: the kept message that has the same URI or Message-ID
};

// A kept message made into the request that sends it (an m-send.req PDU), or why not.
struct TAVMMS_EXPORT SendRequest {
    Status status;
    QByteArray pdu;
    QString transactionId; // the PDU's, now kept in the message's row too
};

// A message's row as the message lists show it.
struct TAVMMS_EXPORT MessageRow {
    unsigned int id = 0;
    MMS_UTIL_DBStruct_T record{};

    unsigned int folder() const { return record.cmn_fld_folder_id; }
    unsigned int state() const { return record.cmn_fld_send_receive_state; }
    bool isRead() const { return record.cmn_fld_msg_attr_read != 0; }
    QString from() const;
    QString to() const;
    QString subject() const;
    QString messageId() const;
    QString uri() const;
    // The message time; invalid when the row has none.
    QDateTime time() const;
    QString mailFile() const;

    // What the MMSC's reports and the phone's answers left in the row. A report field holds 1
    // while a report is asked for (0 when not), and the status once one came or went: the
    // X-Mms-Status of a delivery report, the X-Mms-Read-Status of a read report.
    std::optional<quint8> deliveryStatus() const;
    std::optional<quint8> readStatus() const;
    // The X-Mms-Status the phone answered the message's notification with.
    std::optional<quint8> notifyStatus() const;
    // Why the MMSC did not take a sent message, as it said (the row's extra text).
    QString note() const;
};

// What a transaction with the MMSC changes in a message's row: each member given is written,
// the others stay.
struct TAVMMS_EXPORT RowUpdate {
    std::optional<Folder> folder;
    std::optional<State> state;
    std::optional<QString> messageId;     // cut to the row's 39 bytes
    std::optional<quint8> notifyStatus;   // the X-Mms-Status answered to a notification
    std::optional<quint8> deliveryStatus; // a delivery report's X-Mms-Status
    std::optional<quint8> readStatus;     // a read report's X-Mms-Read-Status, sent or received
    std::optional<QString> note;          // cut to the row's 100 characters
};
// `record` with `update` made.
TAVMMS_EXPORT void applyRowUpdate(MMS_UTIL_DBStruct_T* record, const RowUpdate& update);

// How a listing orders its rows: by id, or by the message time (ties by id, rows without a time
// first).
enum class ListOrder { Id, Date };

// Which rows a listing gives, and in what order. Every member left as it is lets every row through;
// the texts are looked for, ignoring case, in the row's own fields (sender, recipients, subject,
// cut to their lengths as the row keeps them), which is what a listing shows.
struct TAVMMS_EXPORT ListFilter {
    bool anyFolder = true;
    unsigned int folder = 0;  // when anyFolder is false
    std::optional<bool> read; // only the rows marked read (true) or unread (false)
    QString from;             // text the sender holds
    QString to;               // text the recipients hold
    QString subject;          // text the subject holds
    // The message times let through, both ends included and to the second; a row without a time
    // passes only while both are invalid.
    QDateTime since;
    QDateTime until;
    ListOrder order = ListOrder::Id;
    bool reverse = false; // the order turned round
    // The rows left out from the front of the ordered list, and the most given after them
    // (negative: all).
    qsizetype offset = 0;
    qsizetype limit = -1;
};

struct TAVMMS_EXPORT Listed {
    Status status;
    QList<MessageRow> rows; // in the filter's order
};

// A change of several messages, made to all of them or to none.
struct TAVMMS_EXPORT Changed {
    Status status;               // NotFound when an id has no row
    QList<unsigned int> missing; // those ids, in the order given
    QList<unsigned int> changed; // when done: each id once, in the order given
};

// A message read whole: its row, and its mail file's header and body when the file loads.
struct TAVMMS_EXPORT ReadMessage {
    Status status; // NotFound when there is no row
    MessageRow row;
    std::shared_ptr<MMS_UTIL_MsgHeaderBase> header; // null when the mail file does not load
    QByteArray body;                                // empty when it was not asked for
    unsigned int bodyLength = 0; // the body's length, also when the body was not asked for
    QString mailFileError; // why the mail file does not load ("no such file '...'"); empty when it
                           // does
    // How the mail file, which loads, is damaged ("its header block is cut short", "its header
    // does not match its row (Subject)"); what it holds is given all the same, for a person to
    // judge. Empty when it is whole.
    QString mailFileDamage;
};

// A message deleted, or why not.
struct TAVMMS_EXPORT Removed {
    Status status;
    unsigned int id = 0;
    QString mailFile;
    bool mailFileWasMissing = false; // the row had no mail file
};

// Several messages deleted together, or why not.
struct TAVMMS_EXPORT RemovedAll {
    Status status;               // NotFound when an id has no row: nothing was deleted
    QList<unsigned int> missing; // those ids, in the order given
    // One for each message, in the order given; a status that is not done says that its row went
    // but a file of it stays.
    QList<Removed> removed;
};

} // namespace tavmms::store

#endif
