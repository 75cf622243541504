#include "support/archive_reader.h"

#include <archive.h>
#include <archive_entry.h>

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonDocument>

#include <memory>

namespace tavmms_test
{

QList<ArchiveMember> readArchive(const QString& path)
{
    QList<ArchiveMember> members;
    const std::unique_ptr<archive, int (*)(archive*)> reader(archive_read_new(), archive_read_free);
    archive* a = reader.get();
    archive_read_support_filter_all(a);
    archive_read_support_format_all(a);
    if (archive_read_open_filename(a, QFile::encodeName(path).constData(), 10240) != ARCHIVE_OK) {
        ADD_FAILURE() << "cannot open the archive: " << archive_error_string(a);
        return members;
    }
    EXPECT_EQ(archive_filter_code(a, 0), ARCHIVE_FILTER_ZSTD);
    archive_entry* entry = nullptr;
    int r;
    while ((r = archive_read_next_header(a, &entry)) == ARCHIVE_OK) {
        ArchiveMember member{QString::fromUtf8(archive_entry_pathname_utf8(entry)), {}};
        member.data.resize(qsizetype(archive_entry_size(entry)));
        EXPECT_EQ(archive_read_data(a, member.data.data(), size_t(member.data.size())),
                  la_ssize_t(member.data.size()));
        members.append(member);
    }
    EXPECT_EQ(r, ARCHIVE_EOF) << archive_error_string(a);
    return members;
}

QStringList memberNames(const QList<ArchiveMember>& members)
{
    QStringList names;
    for (const ArchiveMember& member : members)
        names.append(member.name);
    return names;
}

QByteArray memberData(const QList<ArchiveMember>& members, const QString& name)
{
    for (const ArchiveMember& member : members) {
        if (member.name == name)
            return member.data;
    }
    ADD_FAILURE() << "no member " << name.toStdString();
    return {};
}

QJsonObject memberJson(const QList<ArchiveMember>& members, const QString& name)
{
    return QJsonDocument::fromJson(memberData(members, name)).object();
}

} // namespace tavmms_test
