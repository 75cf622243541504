#ifndef TAVMMS_STORE_STORE_RESTORE_H
#define TAVMMS_STORE_STORE_RESTORE_H

// A backup made by backupStore() put back into the store, on this phone or another.
//
// The archive is read whole and checked (the manifest, the checksum of every member, the names and
// kinds of its members) before anything in the store changes; a damaged one is refused with what
// is wrong, and nothing is written outside the store's own directories. Its messages are added
// with new ids, each mail file byte for byte under its new id's name and each row as it was, but
// for the id; a message the store keeps already (the same Message-ID and the same mail file) is
// not added twice. The block list becomes the union of the store's and the backup's. Into an
// empty store (no messages, no contacts) the settings, profiles, sending options, address book
// and owner are restored too; into one that has messages or contacts only when asked, and then
// they replace what is there.
//
// All or nothing: whatever stops a restore, the store is left as it was or as the whole restore
// would leave it; what a program that died left is completed or undone by the store's next use.

#include "message_store.h"
#include "message_store_types.h"
#include "tavmms_global.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <utility>

namespace tavmms::store
{

// How far a restore is: messages put in place of all it adds.
using RestoreProgress = std::function<void(qsizetype done, qsizetype total)>;

struct TAVMMS_EXPORT RestoreOptions {
    // Replace the settings, profiles, address book and owner even in a store that has messages
    // or contacts.
    bool settings = false;
    // Check the backup and say what would change, changing nothing.
    bool dryRun = false;
    std::chrono::milliseconds lockTimeout = MessageStore::kDefaultLockTimeout;
    RestoreProgress progress; // may be empty
};

// A restore done (or, dry, what it would do), or why not.
struct TAVMMS_EXPORT Restore {
    // Invalid when the backup is damaged or not a backup, naming what is wrong; NoSpace on a full
    // disk; Busy when another restore runs, or the store's lock was held too long.
    Status status;
    QString path;
    qsizetype messages = 0;   // messages added
    qsizetype mailFiles = 0;  // of which with their mail file
    qsizetype duplicates = 0; // messages of the backup the store keeps already, not added
    // The settings, profiles, address book and owner were replaced; else the store's were kept,
    // since it was not empty and it was not asked.
    bool settingsReplaced = false;
    qsizetype contacts = 0; // contacts of the address book written, when replaced
    QStringList blocked;    // addresses added to the block list
    QList<std::pair<unsigned int, unsigned int>> ids; // the backup's id to the new one, in order
};

// Restores the backup at `path` into the store.
TAVMMS_EXPORT Restore restoreStore(const QString& path, const RestoreOptions& options = {});

} // namespace tavmms::store

#endif
