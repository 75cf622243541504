#ifndef TAVMMS_STORE_EML_EXPORT_H
#define TAVMMS_STORE_EML_EXPORT_H

// A kept message as an Internet mail message (an .eml file), which a mail program opens with its
// text and pictures:
//
// - From, To, Cc, Subject, Date, Message-ID, MIME-Version and Content-Type; text beyond ASCII in
//   encoded words; a phone number as an address at mms.invalid ("+15550101@mms.invalid"), named
//   by its entry, else by its contact in the address book, else not at all. A message without a
//   sender has no From field. Bcc recipients are left out unless asked for: the file leaves the
//   phone, and blind copies are meant to stay hidden from whoever reads the message.
// - A message without a Message-ID gets one at mms.invalid, made from its row's id, URI and date,
//   so that each export of it gives the same. One that is no address (MMSCs give numbers and
//   words) is made one at mms.invalid, its characters that an address cannot hold as %XX.
// - A related body (WAP's or mail's) becomes multipart/related, with its presentation (SMIL) part
//   as its start; an alternative one multipart/alternative; every other multipart body
//   multipart/mixed. A part that is a multipart body itself becomes a nested multipart. Any other
//   body is the message's one part.
// - Each part keeps its type, Content-ID and Content-Location, and is shown inline (attachment
//   where it says so) under its name. Its data is first taken out of any mail transfer encoding
//   it came in. Text in a charset this library knows is written as UTF-8, with CRLF line breaks,
//   7bit when it is ASCII and quoted-printable otherwise; text in another charset, or not valid in
//   its own, keeps its bytes and goes in base64, as every other part does.

#include "message_store_types.h"
#include "tavmms_global.h"

#include <QByteArray>
#include <QString>

namespace tavmms::store
{

struct TAVMMS_EXPORT EmlOptions {
    bool bcc = false; // whether the Bcc recipients are written, in a Bcc field
};

struct TAVMMS_EXPORT EmlMessage {
    Status status; // NotFound for a message without a row; Failed when its mail file or body
                   // does not read
    QByteArray bytes;
};

// The message `message`, read with its body, as an Internet mail message with CRLF line breaks.
TAVMMS_EXPORT EmlMessage emlMessage(const ReadMessage& message, const EmlOptions& options = {});

// Writes `bytes` to the file `path`, whole or not at all: into a temporary file beside it, synced,
// then renamed to `path`. Unless `replace`, a file that is there is not replaced (Exists).
TAVMMS_EXPORT Status saveExportFile(const QString& path, const QByteArray& bytes, bool replace);

} // namespace tavmms::store

#endif
