#ifndef TAVMMS_STORE_MESSAGE_STORE_H
#define TAVMMS_STORE_MESSAGE_STORE_H

// The messages a phone keeps, as its applications keep them: each a row in the message index
// (MMS_UTIL_DBTable) and a mail file named after the row's id (MMS_UTIL_MailFile), in the
// directories MMS_UTIL_Common gives. A message the store reports as kept stays kept, whatever
// other programs do to the store meanwhile and wherever a program dies:
//
// - an add is all or nothing: the row is committed only once the mail file is written, synced and
//   read back; a program that dies before leaves no row, at most a file without one, which only
//   an explicit repair touches;
// - a new message never takes the place of a file that is there: an id whose mail file (or a
//   leftover of one) exists is passed over for the next;
// - the store's lock (StoreLock) keeps repairs away from messages being written;
// - what a crash of a save or a delete leaves behind for a message that has its row is completed
//   the next time the store is used, under the exclusive lock (taken without waiting: while
//   another program uses the store, a later call completes it).
//
// The calls run on the caller's thread, wait for the store's lock up to the timeout given, and
// return a Status; none throws.

#include "message_store_types.h"
#include "tavmms_global.h"

#include <chrono>
#include <memory>

class MMS_UTIL_MsgHeaderBase;

namespace tavmms::store
{

class TAVMMS_EXPORT MessageStore
{
public:
    static constexpr std::chrono::milliseconds kDefaultLockTimeout{30000};
    // No body larger than this is kept, whatever the size settings say: 100 MiB, which a mail
    // file's 32-bit lengths hold and a phone's memory can hold twice.
    static constexpr qint64 kLargestBody = 100 * 1024 * 1024;
    // Room for a PDU's header fields beside a body as large as a limit allows: a PDU longer than
    // its direction's limit and this is refused before it is read whole.
    static constexpr qint64 kPduHeaderRoom = 1024 * 1024;

    // The largest body that compose() keeps: "MMS_MO_Size_Limitation" (max-mo-size) in KB of 1,024
    // bytes, read raw, a stored 0 meaning no limit; never more than kLargestBody. A caller that
    // reads a body from a file or a pipe reads no more than one byte over it.
    static SizeLimit composeLimit();
    // The same for receive(): "MMS_MT_Size_Limitation" (max-mt-size) while the MT size limit is on
    // ("MMS_Enable_MT_Size_Limitation"), else kLargestBody.
    static SizeLimit receiveLimit();
    // The limit of writeMailFile(): kLargestBody.
    static SizeLimit storeLimit();

    explicit MessageStore(std::chrono::milliseconds lockTimeout = kDefaultLockTimeout);
    ~MessageStore();
    MessageStore(const MessageStore&) = delete;
    MessageStore& operator=(const MessageStore&) = delete;

    // Keeps a composed message in Folder::Outbox (state ToSend) or Folder::Drafts (state Draft):
    // the header takes its reports, expiry and priority from the stored sending options and its
    // sender visibility from the "MMS_Sender_Visible" setting (non-zero shows the sender), its
    // sender is the phone's owner when `message.from` is empty, and recipients without a name take
    // their contact's. Invalid for another folder; TooLarge for a body over composeLimit(), with
    // nothing written.
    Added compose(const NewMessage& message, Folder folder = Folder::Outbox);
    // Keeps a received message in Folder::Inbox (state Received, unread), addressed to the owner
    // when `message.to` is empty. Blocked, with nothing written, when the block list is in use
    // (feature flag 49) and holds the sender's address as received; Duplicate when a kept
    // message has the same URI or Message-ID (a Message-ID longer than its row field holds is
    // confirmed in the kept message's mail file), unless `allowDuplicate`; TooLarge for a body
    // over receiveLimit().
    Added receive(const NewMessage& message, bool allowDuplicate = false);
    // Keeps the message of an m-retrieve.conf PDU as receive() keeps one, its header read from
    // the PDU's fields and its body the PDU's as carried; `uri` is the row's message URI, as for
    // receive(). Malformed when the PDU does not read, WrongType for a PDU of another type,
    // NotRetrieved when its X-Mms-Retrieve-Status is not Ok; each with nothing written.
    Added receivePdu(const QByteArray& pdu, const QString& uri = QString(),
                     bool allowDuplicate = false);

    // Keeps the notification of a message waiting at the MMSC (an m-notification.ind) in
    // Folder::Inbox, unread, in `state` (State::Notified, Deferred or Rejected): its sender,
    // subject, size, expiry and transaction id in the header and the row, its Content-Location as
    // the row's URI, and the notification itself as the mail file's body. Refused as receive()
    // refuses a message: Blocked for a blocked sender, Duplicate (naming the kept message in
    // `existing`) when a kept message has the same URI.
    Added keepNotification(const NewMessage& notification, State state);
    // Puts the message of an m-retrieve.conf PDU in place of message `id`, the notification it
    // was fetched for: its mail file, and the row's fields its header gives, in State::Received,
    // unread, its notify status Retrieved; the id, the folder and the URI stay. Refused with message `id` unchanged as
    // receivePdu() refuses, and as Duplicate (with `existing`) when another message has its
    // Message-ID; NotFound without a row.
    Added receivePduInPlace(unsigned int id, const QByteArray& pdu);
    // Makes `update` to message `id`'s row; a new Message-ID goes into its mail file's header too,
    // before the row. NotFound without a row.
    Status update(unsigned int id, const RowUpdate& update);
    // Makes `update` to every message sent (State::Sent) with Message-ID `messageId`, in one
    // transaction: the target of a delivery or read report. NotFound when none has it.
    Changed updateSent(const QString& messageId, const RowUpdate& update);

    // Writes the mail file of the message with row `id`. NotFound without a row; Exists when it
    // has a mail file and `replace` is false. A new file is saved as an add saves it; a file
    // replaced is saved by MMS_UTIL_MailFile, whose interrupted save the next use completes.
    // TooLarge for a body over kLargestBody. The row's fields that a header gives (sender,
    // recipients, subject, date, Message-ID, ...) then follow `header`; its folder, state, read
    // mark and URI stay.
    Added writeMailFile(unsigned int id, MMS_UTIL_MsgHeaderBase& header, const QByteArray& body,
                        bool replace);

    // The m-send.req that sends message `id`, made from its mail file's header and body under a
    // new transaction id, which its row then keeps. NotFound without a row; Failed when the mail
    // file does not load.
    SendRequest sendRequest(unsigned int id);

    // The message's row, and its mail file's header and body; without `withBody`, the body's
    // length alone (a listing or a summary needs no copy of a large body).
    ReadMessage read(unsigned int id, bool withBody = true);
    // The rows `filter` lets through, in its order, the page it asks for.
    Listed list(const ListFilter& filter = {});
    Status setRead(unsigned int id, bool read);
    // Marks each message read or unread in one transaction: all of them, or none when an id has
    // no row (NotFound, naming each) or the database fails.
    Changed setRead(const QList<unsigned int>& ids, bool read);
    // Moves the message to `folder`; its state stays. Invalid for a number outside Folder.
    Status move(unsigned int id, Folder folder);
    // Moves each message as move() does, in one transaction: all of them or none.
    Changed move(const QList<unsigned int>& ids, Folder folder);
    // Deletes the message: its mail file (and a leftover of a save) and its row, so that a
    // failure, or a program dying on the way, leaves both or neither. A row without a mail file is
    // deleted all the same; NotFound when there is no row.
    Removed remove(unsigned int id);
    // Deletes each message in turn; a failure stops none of the others.
    QList<Removed> remove(const QList<unsigned int>& ids);
    // Deletes the messages together: every id is looked up first, and when one has no row
    // (NotFound, naming each) or the database fails, nothing is deleted. The rows go in one
    // transaction, then the mail files (and leftovers of a save); a file that cannot be removed
    // is reported in its message's entry and stays, without a row, for a check to find. Refused
    // with nothing deleted when a mail file's name is taken by a directory. With `dryRun`, the
    // ids are looked up and the entries filled as a delete would, and nothing changes.
    RemovedAll removeAll(const QList<unsigned int>& ids, bool dryRun = false);

    // Completes what a program that died left behind (a save, a delete, a restore) as the first
    // call of any store object does, and does nothing else. A caller that takes the store's lock
    // itself calls it first, since completing takes the lock exclusive.
    Status completeLeftovers();

    std::chrono::milliseconds lockTimeout() const;

private:
    struct TAVMMS_HIDDEN Impl;
    std::unique_ptr<Impl> d;
};

} // namespace tavmms::store

#endif
