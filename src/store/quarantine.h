#ifndef TAVMMS_STORE_QUARANTINE_H
#define TAVMMS_STORE_QUARANTINE_H

// Where a repair puts a file it takes out of the mail file directory, instead of deleting it: a
// message that does not load, or that no row lists, may still hold a body a person wants.

#include "message_store_types.h"

#include <QString>

namespace tavmms::store
{

// The quarantine folder: "quarantine/" in the store's working directory, beside the mail file
// directory rather than in it, so that no reader of the mail files finds what is there.
QString quarantineDirectory();

// Moves the file `path` into the quarantine folder, under its own name or, when a file of that
// name is there already, with ".1", ".2", ... after it, and writes beside it a note "<name>.why"
// saying where it came from, when and why (`why`). Nothing is replaced. Sets `movedTo` to the
// path it now has.
Status quarantine(const QString& path, const QString& why, QString* movedTo);

} // namespace tavmms::store

#endif
