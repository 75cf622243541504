#ifndef TAVMMS_STORE_FILE_STATUS_H
#define TAVMMS_STORE_FILE_STATUS_H

// The file system as the store reports on it: failures in words, and the names in a directory.

#include "store_types.h"

#include <QString>
#include <QStringList>

namespace tavmms::store
{

// The system's words for `error`; "no space left on device" for ENOSPC, as the store says it
// everywhere.
TAVMMS_EXPORT QString errnoText(int error);

// "<what>: <errnoText>", as NoSpace for ENOSPC, Exists for EEXIST, else Failed.
TAVMMS_EXPORT Status fileFailure(const QString& what, int error);

// The names in `directory` but "." and "..", in the order the directory gives them, into
// `names`; 0, or the errno of the failure (ENOENT for a directory that is not there).
TAVMMS_EXPORT int directoryNames(const QString& directory, QStringList* names);

} // namespace tavmms::store

#endif
