#ifndef TAVMMS_STORE_STORE_CHECK_H
#define TAVMMS_STORE_STORE_CHECK_H

// The message index against the mail file directory: every problem found, and the repairs a
// person asks for. A check holds the store's lock shared, a repair exclusive, so that no message
// another program is keeping meanwhile is judged half made.

#include "message_store_types.h"
#include "tavmms_global.h"

#include <QList>
#include <QString>

#include <chrono>

namespace tavmms::store
{

struct TAVMMS_EXPORT CheckOptions {
    // Renames a leftover of a save into place when its mail file is missing and it loads
    // completely; removes the other leftovers; completes an interrupted delete.
    bool repair = false;
    // With repair: also moves mail files that do not load (a leftover that loads completely then
    // takes the place of one) and mail files without a row to the quarantine folder, and deletes
    // rows without a mail file. A mail file that cannot be read is never moved.
    bool force = false;
    // Implies repair: makes the row of each mail file that loads completely and has none, after the
    // index was lost or reset, instead of moving the file. The fields its header holds come from
    // it; the message is in the sent folder (state sent) when its sender is the phone's owner or
    // no one, else in the inbox (state received); it counts as read; it has no URI and no
    // transaction id; it reached the phone when its file was last written. The database gives
    // the row a new id, and the file is renamed to that id's name without replacing any file;
    // an index that is not there is made.
    bool rebuild = false;
    std::chrono::milliseconds lockTimeout{30000};
};

// One problem, as a line of the report.
struct TAVMMS_EXPORT CheckProblem {
    enum Outcome {
        Found,        // a check without repair
        Repaired,     // `note` says what was done
        RepairFailed, // `error` says why
        Kept,         // a repair left it alone; `note` says why
    };
    QString text; // "17.mms: no row"
    Outcome outcome = Found;
    QString note;
    QString error;
};

// A name in the mail file directory that is no file of a message; never touched.
struct TAVMMS_EXPORT OtherEntry {
    QString name;
    QString why;
};

struct TAVMMS_EXPORT CheckReport {
    // A failure stops the check before anything is judged or changed (an index that cannot be
    // opened, a directory that cannot be read, rows without their directory, mail files without
    // an index).
    Status status;
    QString directory;            // the mail file directory
    QList<CheckProblem> problems; // by id, in the order found and repaired
    QList<OtherEntry> others;     // by name
    int rows = 0;
    int mailFiles = 0;
    int leftovers = 0;

    int repaired() const;
    int remaining() const { return int(problems.size()) - repaired(); }
};

TAVMMS_EXPORT CheckReport checkStore(const CheckOptions& options);

} // namespace tavmms::store

#endif
