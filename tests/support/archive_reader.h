#ifndef TAVMMS_TESTS_ARCHIVE_READER_H
#define TAVMMS_TESTS_ARCHIVE_READER_H

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <utility>

namespace tavmms_test
{

// A backup as a test reads it back, with libarchive's reader rather than the library's writer.

// One member of an archive.
struct ArchiveMember {
    enum Kind { File, Directory, SymbolicLink, HardLink };
    ArchiveMember(QString name, QByteArray data, Kind kind = File, QString target = QString())
        : name(std::move(name)), data(std::move(data)), kind(kind), target(std::move(target))
    {
    }

    QString name;
    QByteArray data;
    Kind kind = File;
    QString target; // what a link points at
};

// Every member of the zstd-compressed archive at `path`, in the order it holds them; a failure to
// read it, or another compression, fails the test and gives what was read.
QList<ArchiveMember> readArchive(const QString& path);
// The members' names, in order.
QStringList memberNames(const QList<ArchiveMember>& members);
// The bytes of the member `name`; a missing member fails the test.
QByteArray memberData(const QList<ArchiveMember>& members, const QString& name);
// The member `name` read as a JSON object.
QJsonObject memberJson(const QList<ArchiveMember>& members, const QString& name);

} // namespace tavmms_test

#endif
