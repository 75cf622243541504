#ifndef TAVMMS_STORE_STORE_BACKUP_H
#define TAVMMS_STORE_STORE_BACKUP_H

// The whole message store in one file, from which it can be made again as it was: a tar archive
// (pax) compressed with zstd that holds
//
// - "messages/<id>.mms": each message's mail file, byte for byte;
// - "index.json": every row of those messages, each field by its database name, texts as text
//   and numbers as numbers; a text field whose bytes its text does not give back exactly (bytes
//   that are no UTF-8 or UTF-16) has its bytes in base64 under "exact" too;
// - "settings.json": every stored key of the MMS settings' groups (the global group with its
//   sending options and block list, the profile list and each profile's group), the address
//   book's settings and the feature flags, group by group, values as the settings store keeps
//   them;
// - "contacts.json": the address book's contacts, its owner and region;
// - "manifest.json", last: the library's version, the archive's format version, when it was made
//   (with its offset from UTC), the filter that chose the messages, the counts, and the size and
//   SHA-256 of every other member by name.
//
// The manifest comes last because the checksums are known only once the rest is written: a
// restore reads the whole archive once to check every member against it before it changes
// anything, and reads it again to put the store back.

#include "message_store.h"
#include "message_store_types.h"
#include "tavmms_global.h"

#include <QDateTime>
#include <QString>

#include <chrono>
#include <functional>

namespace tavmms::store
{

// The archive's format, which the manifest names; a change a restore must know of raises it.
inline constexpr int kBackupFormatVersion = 1;

// Which messages a backup holds: all of them, or those of one folder, or of a span of time (both
// ends included, to the second, as a listing takes them). Settings and contacts are always whole.
struct TAVMMS_EXPORT BackupFilter {
    bool anyFolder = true;
    unsigned int folder = 0; // when anyFolder is false
    QDateTime since;
    QDateTime until;
};

// How far a backup is: messages written of all it holds.
using BackupProgress = std::function<void(qsizetype done, qsizetype total)>;

struct TAVMMS_EXPORT BackupOptions {
    // A file at the path is replaced, once the new backup is whole; otherwise it is kept.
    bool replace = false;
    std::chrono::milliseconds lockTimeout = MessageStore::kDefaultLockTimeout;
    BackupProgress progress; // may be empty
};

// A backup made, or why not.
struct TAVMMS_EXPORT Backup {
    // Exists when the file is there and replacing it was not asked for; Invalid when the path is
    // inside the store's own directories; NoSpace on a full disk; Busy when a repair held the
    // store's lock too long.
    Status status;
    QString path;
    qsizetype messages = 0;    // mail files in the archive
    qsizetype withoutFile = 0; // rows whose mail file was missing: their row alone is kept
    qint64 messageBytes = 0;   // the mail files' bytes
    qint64 archiveBytes = 0;   // the archive's size
};

// Writes the backup of the messages `filter` lets through, with the settings and the address book,
// to `path`. The store's lock is held shared for the whole backup, so that messages still come in
// and no repair runs meanwhile; the rows are read in one transaction, and a message added after
// that is not in this backup. The file is written under a temporary name beside `path`, synced,
// renamed into place and its directory synced, so that `path` is either the whole backup or what
// it was before; on failure nothing new is left. The file is readable by its owner alone: it holds
// every message and contact of the phone.
TAVMMS_EXPORT Backup backupStore(const QString& path, const BackupFilter& filter = {},
                                 const BackupOptions& options = {});

} // namespace tavmms::store

#endif
