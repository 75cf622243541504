#ifndef TAVMMS_STORE_BACKUP_CONTENTS_H
#define TAVMMS_STORE_BACKUP_CONTENTS_H

// A backup of the store read back and checked whole, before anything is made from it: every member
// against the manifest, the rows against the mail files, and nothing taken from the archive's
// names but what they are checked to be.

#include "message_store_types.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>

namespace tavmms::store
{

// The largest JSON member read: far over what the index of a full store takes (a row is under
// 4 KB, and a store holds some tens of thousands of messages), and small enough that a header
// claiming more is refused before anything is read into memory.
inline constexpr qint64 kLargestBackupJson = 256 * 1024 * 1024;

// A mail file of a backup: the id its message had, its size and SHA-256, and the file it was
// written to when the backup was read into a directory (empty otherwise).
struct BackupMailFile {
    unsigned int id = 0;
    qint64 size = 0;
    QByteArray sha256; // raw 32 bytes
    QString stagedPath;
};

// A backup read and checked whole.
struct BackupContents {
    // Invalid, saying what is wrong, when the archive is refused; NoSpace or Failed when a mail
    // file cannot be written into the staging directory.
    Status status;
    QJsonObject manifest;
    QJsonArray rows;                 // index.json's "rows"
    QJsonObject settings;            // settings.json
    QJsonObject contacts;            // contacts.json
    QList<BackupMailFile> mailFiles; // in archive order
};

// Reads the backup at `path` once, through to its end, and checks it: every entry a regular file
// with a name a backup holds ("messages/<id>.mms", "index.json", "settings.json", "contacts.json",
// "manifest.json" last), each once and no larger than a message (kLargestBody) or
// kLargestBackupJson, judged by its header before it is read; a manifest of a known format that
// lists every other member with its size and SHA-256, and only those; JSON members that are
// objects, the index with its "rows"; a mail file for every row that says it has one and a row
// for every mail file, as many of each as the manifest counts.
//
// With `stagingDirectory` non-empty (an existing directory), each mail file is written there as
// "<id>.mms" (created O_EXCL|O_NOFOLLOW|O_CLOEXEC, mode 0600, written but NOT synced: the caller
// syncs the file system once); without it, the mail files are only hashed. A mail file is read in
// blocks and never held whole. On refusal, files already staged stay for the caller, who removes
// the staging directory.
BackupContents readBackup(const QString& path, const QString& stagingDirectory = QString());

} // namespace tavmms::store

#endif
