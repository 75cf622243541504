#ifndef TAVMMS_STORE_FILE_STATUS_H
#define TAVMMS_STORE_FILE_STATUS_H

// The file system as the store reports on it: failures in words, and the names in a directory.

#include "message_store_types.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace tavmms::store
{

// The system's words for `error`; "no space left on device" for ENOSPC, as the store says it
// everywhere.
QString errnoText(int error);

// "<what>: <errnoText>", as NoSpace for ENOSPC, Exists for EEXIST, else Failed.
Status fileFailure(const QString& what, int error);

// Makes `directory` and those it lies in when they are not there; "<what>: <errnoText>" as
// fileFailure() gives it when that fails.
Status makeDirectory(const QString& directory, const QString& what);

// A name in a directory and what it is, a link taken for what it points at.
struct DirectoryEntry {
    enum Kind { File, Directory, Other };
    QString name;
    Kind kind;
};

// The entries of `directory` but "." and "..", in the order the directory gives them, into
// `entries`; 0, or the errno of the failure (ENOENT for a directory that is not there).
int directoryEntries(const QString& directory, QList<DirectoryEntry>* entries);
// Their names alone.
int directoryNames(const QString& directory, QStringList* names);

} // namespace tavmms::store

#endif
