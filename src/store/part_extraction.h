#ifndef TAVMMS_STORE_PART_EXTRACTION_H
#define TAVMMS_STORE_PART_EXTRACTION_H

// The parts of a message written out as files, each under the name partFileName() makes for it,
// in a directory a person chose. What is there already stays untouched: a name that is taken gets
// a number, and no file is written through a link that someone planted in the directory.

#include "message_store_types.h"
#include "multipart.h"
#include "tavmms_global.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace tavmms::store
{

// Done when `number` (from 1) names one of `count` parts; NotFound, saying how many there are,
// when not.
TAVMMS_EXPORT Status partNumberStatus(qsizetype count, int number);

struct TAVMMS_EXPORT Extracted {
    // Failed (naming the file) when the directory cannot be opened or a file cannot be written;
    // NoSpace on a full disk; NotFound for a part number that names no part.
    Status status;
    // The files written, in the order of the parts, also those before a failure.
    QStringList paths;
};

// Writes the data of `parts`, transfer encodings undone, each to a new file in `directory`:
// every part, or with `number` (from 1) that one alone. A name that is taken, by a file that
// was there or by a part written before, gets "-2", "-3", ... before its extension. Each file is
// made without following a link and without replacing anything (mode 0644 less the umask); one
// that cannot be written whole is removed.
TAVMMS_EXPORT Extracted extractParts(const QList<pdu::Part>& parts, const QString& directory,
                                     int number = 0);

} // namespace tavmms::store

#endif
