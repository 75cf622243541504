#ifndef MMSUTIL_MESSAGE_JOURNEY_H
#define MMSUTIL_MESSAGE_JOURNEY_H

// A message's way through the library, as the phone's applications make it: composed or received,
// it gets a row in the message index and a mail file named after the row's id; later it is removed
// again, row and file together. Each operation either completes or leaves nothing of itself
// behind, and says why in one line.

#include <tavmmsutility.h>

#include <QByteArray>
#include <QList>
#include <QString>

namespace journey
{

// The folders the tool files messages in; what other numbers mean is the applications' business.
enum Folder : unsigned int {
    kInbox = 1,  // received messages
    kOutbox = 2, // composed messages waiting to be sent
};

// The row's cmn_fld_send_receive_state.
enum State : unsigned short {
    kToSend = 1,   // composed here, not sent yet
    kReceived = 2, // came in from the network
};

// What a message is made from. The entries' names are taken from the address book when they have
// none of their own.
struct Message {
    MMS_UTIL_Entry from;      // compose: when empty, the owner's entry
    QList<MMS_UTIL_Entry> to; // receive: when empty, the owner's entry
    QList<MMS_UTIL_Entry> cc;
    QList<MMS_UTIL_Entry> bcc;
    QString subject;
    MMS_CONTENT_TYPE_T contentType;
    QByteArray body;
    unsigned int folder = kOutbox; // compose only: receive files in kInbox
    QString messageId;
    QString uri; // the row's message URI; empty: a new "urn:uuid:" one
};

struct Outcome {
    enum Kind {
        Done,
        Failed,   // nothing of the operation stays; `error` says why
        Blocked,  // receive: the sender is on the block list; nothing was written
        NotFound, // remove: no row has that id; nothing was changed
    };
    Kind kind = Failed;
    QString error;                   // one line, without "mmsutil:" and without a line end
    unsigned int id = 0;             // the row
    QString mailFile;                // its mail file
    bool mailFileWasMissing = false; // remove: the row had no mail file
};

// The default content type of a composed or received body.
MMS_CONTENT_TYPE_T defaultContentType();

// Composes `message`: a header with the stored sending options and the recipients, a row in the
// index table (committed), then the mail file named from the row's id, written and read back.
// When a step fails, the row and any file made are removed again.
Outcome compose(Message message);
// Files `message` as received, in kInbox, the same way, unless the block list is in use and holds
// the sender: then nothing is written.
Outcome receive(Message message);
// Removes row `id` and its mail file. A missing mail file does not stop the removal of the row;
// a mail file that cannot be removed keeps the row too.
Outcome remove(unsigned int id);

// The display text of an entry: its name, else its address.
QString displayText(const MMS_UTIL_Entry& entry);

} // namespace journey

#endif
