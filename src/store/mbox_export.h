#ifndef TAVMMS_STORE_MBOX_EXPORT_H
#define TAVMMS_STORE_MBOX_EXPORT_H

// Many kept messages exported at once, for a mail program to take in: the messages a listing's
// filter chooses, in its order, each as emlMessage() makes it, either all in one mbox file or each
// in an .eml file of its own.
//
// The mbox file is of the kind mail programs call mboxrd, the one whose quoting can be undone
// whatever a message holds:
//
// - each message begins with a line "From <sender> <date>": the sender's address as the message's
//   From field gives it, or MAILER-DAEMON when it has none (or one with blanks, which the line
//   cannot hold); the date the message was sent, else its row's time, else the start of 1970, in
//   UTC and in the C library's asctime() form ("Mon May  6 05:08:09 2024");
// - a line of the message that begins with "From ", after any number of ">", gets one ">" more,
//   so that no line of a message is taken for the start of the next and a reader that takes one
//   ">" away gets each line back as it was;
// - each message ends with an empty line;
// - lines end in LF alone, as mbox files on Unix do, not in the CRLF of the .eml form: a mail
//   program reading the file makes each message's line ends its own.
//
// A chosen message whose mail file does not load (or whose body does not read) is skipped and
// named, with why, in the result; the others are exported all the same. One whose mail file loads
// but is damaged is exported, and named too.

#include "eml_export.h"
#include "message_store_types.h"
#include "tavmms_global.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

namespace tavmms::store
{

class MessageStore;

// How far an export has come: `done` of the `total` chosen messages are exported or skipped.
struct TAVMMS_EXPORT ExportProgress {
    qsizetype done = 0;
    qsizetype total = 0;
};

struct TAVMMS_EXPORT ExportManyOptions {
    EmlOptions eml;
    bool replace = false; // whether a file that is there is replaced
    // Called once the messages are chosen and after each message; may be empty.
    std::function<void(const ExportProgress&)> progress;
};

// A chosen message and what was wrong with it.
struct TAVMMS_EXPORT MessageProblem {
    unsigned int id = 0;
    Status status;
};

struct TAVMMS_EXPORT ExportedMany {
    // NotFound when the filter chose no message, Exists when the mbox file is there and not to be
    // replaced, Failed when no chosen message could be exported or a file cannot be written; in
    // each case no mbox file is written.
    Status status;
    qsizetype exported = 0;
    // The messages not exported, and why (Exists for an .eml file that is there and not to be
    // replaced), in the filter's order.
    QList<MessageProblem> skipped;
    // The messages exported whose mail file is damaged (cut short, or its header does not match
    // its row), what it holds being exported, as the export of one message does; in the filter's
    // order, each status's text saying how.
    QList<MessageProblem> damaged;
};

// The line that begins the message `message` in an mbox file, with its LF.
TAVMMS_EXPORT QByteArray mboxFromLine(const ReadMessage& message);

// The mail message `eml` (CRLF line breaks) as an mbox file holds it, after `fromLine`: LF line
// breaks, its "From " lines quoted, an empty line after it.
TAVMMS_EXPORT QByteArray mboxEntry(const QByteArray& fromLine, const QByteArray& eml);

// Writes the messages of `store` that `filter` chooses to the mbox file `path`, whole or not at
// all: into a temporary file beside it, synced, then renamed to `path`.
TAVMMS_EXPORT ExportedMany exportMbox(MessageStore& store, const ListFilter& filter,
                                      const QString& path, const ExportManyOptions& options = {});

// The file exportEmlFiles() writes message `id` to in `directory`: "<id>.eml".
TAVMMS_EXPORT QString emlFilePath(const QString& directory, unsigned int id);

// Writes each message of `store` that `filter` chooses to "<id>.eml" in `directory`, which is made
// when it is not there; each file whole or not at all, as saveExportFile() writes it. A file that
// is there and is not to be replaced is left as it is, and its message skipped (Exists).
TAVMMS_EXPORT ExportedMany exportEmlFiles(MessageStore& store, const ListFilter& filter,
                                          const QString& directory,
                                          const ExportManyOptions& options = {});

} // namespace tavmms::store

#endif
