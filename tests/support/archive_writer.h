#ifndef TAVMMS_TESTS_ARCHIVE_WRITER_H
#define TAVMMS_TESTS_ARCHIVE_WRITER_H

#include "support/archive_reader.h"

#include <QList>
#include <QString>

namespace tavmms_test
{

// Archives as a test writes them with libarchive's writer, to give a reader what the library's
// own writer never makes: links, directories, names and sizes of any kind.

enum class Compression { None, Zstd };

// Writes `members` into a tar archive (pax) at `path`; a failure fails the test.
void writeArchive(const QString& path, const QList<ArchiveMember>& members,
                  Compression compression = Compression::Zstd);

// Writes at `path` the start of an archive whose one member `name` claims `size` bytes: its
// header and a few blocks of its data, without the rest, which would take too long to write.
void writeArchiveHead(const QString& path, const QString& name, qint64 size);

} // namespace tavmms_test

#endif
