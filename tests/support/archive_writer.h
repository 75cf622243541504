#ifndef TAVMMS_TESTS_ARCHIVE_WRITER_H
#define TAVMMS_TESTS_ARCHIVE_WRITER_H

#include "support/archive_reader.h"

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
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

// Writes at `path` the start of an uncompressed archive whose one member `name` claims `size`
// bytes (up to 64 GiB): its header and a few blocks of its data, without the rest.
void writeArchiveHead(const QString& path, const QString& name, qint64 size);

// Rewriting a good backup's members, to make one damaged in a single way.

// `object` as a backup's JSON member.
QByteArray jsonBytes(const QJsonObject& object);
// The SHA-256 of `data` (32 bytes).
QByteArray sha256(const QByteArray& data);
// The member `name`; a missing one fails the test (and the last member is given).
ArchiveMember& memberNamed(QList<ArchiveMember>& members, const QString& name);
// Takes out the member `name`, which must be there once.
void removeMember(QList<ArchiveMember>& members, const QString& name);
// The manifest's entry of every member in "members" (size and checksum) made to match its data,
// as if the archive had been written so; an entry whose member is not there any more goes too.
void resum(QList<ArchiveMember>& members);
// Changes `key` of the manifest's object.
void setInManifest(QList<ArchiveMember>& members, const QString& key, const QJsonValue& value);

} // namespace tavmms_test

#endif
