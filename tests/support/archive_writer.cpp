#include "support/archive_writer.h"

#include "support/mailfile_helpers.h"

#include <archive.h>
#include <archive_entry.h>

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <memory>
#include <sys/stat.h>

namespace tavmms_test
{

namespace
{

using Writer = std::unique_ptr<archive, int (*)(archive*)>;
using Entry = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;

Entry entryOf(const ArchiveMember& member, qint64 size)
{
    Entry entry(archive_entry_new(), archive_entry_free);
    archive_entry_set_pathname_utf8(entry.get(), member.name.toUtf8().constData());
    archive_entry_set_perm(entry.get(), S_IRUSR | S_IWUSR);
    switch (member.kind) {
    case ArchiveMember::File:
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_size(entry.get(), size);
        break;
    case ArchiveMember::Directory:
        archive_entry_set_filetype(entry.get(), AE_IFDIR);
        break;
    case ArchiveMember::SymbolicLink:
        archive_entry_set_filetype(entry.get(), AE_IFLNK);
        archive_entry_set_symlink_utf8(entry.get(), member.target.toUtf8().constData());
        break;
    case ArchiveMember::HardLink:
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_hardlink_utf8(entry.get(), member.target.toUtf8().constData());
        break;
    }
    return entry;
}

bool writeData(archive* a, const QByteArray& data)
{
    return data.isEmpty() ||
           archive_write_data(a, data.constData(), size_t(data.size())) == la_ssize_t(data.size());
}

} // namespace

void writeArchive(const QString& path, const QList<ArchiveMember>& members, Compression compression)
{
    const Writer writer(archive_write_new(), archive_write_free);
    archive* a = writer.get();
    ASSERT_EQ(archive_write_set_format_pax_restricted(a), ARCHIVE_OK);
    if (compression == Compression::Zstd) {
        // At the library's level, whose window is the largest the reader takes.
        ASSERT_EQ(archive_write_add_filter_zstd(a), ARCHIVE_OK);
        ASSERT_EQ(archive_write_set_filter_option(a, "zstd", "compression-level", "1"), ARCHIVE_OK);
    }
    ASSERT_EQ(archive_write_open_filename(a, QFile::encodeName(path).constData()), ARCHIVE_OK)
        << archive_error_string(a);
    for (const ArchiveMember& member : members) {
        const Entry entry = entryOf(member, member.data.size());
        ASSERT_EQ(archive_write_header(a, entry.get()), ARCHIVE_OK) << archive_error_string(a);
        ASSERT_TRUE(writeData(a, member.data)) << archive_error_string(a);
    }
    ASSERT_EQ(archive_write_close(a), ARCHIVE_OK) << archive_error_string(a);
}

void writeArchiveHead(const QString& path, const QString& name, qint64 size)
{
    // The member with a few blocks of its data, its header then made to claim `size` (in the
    // twelve octal digits a size field holds at most) and the archive cut after that data: writing
    // it whole would take too long, and libarchive frees a writer stopped half way without its
    // buffers.
    const QByteArray data(64 * 1024, 'x');
    writeArchive(path, {{name, data}}, Compression::None);
    const QByteArray written = readFileBytes(path);
    const QByteArray digits = QByteArray::number(size, 8);
    ASSERT_LE(digits.size(), 12);
    ASSERT_GE(written.size(), 512 + data.size());
    QByteArray header = written.left(512);
    header.replace(124, 12, digits.rightJustified(12, '0'));
    header.replace(148, 8, QByteArray(8, ' ')); // the checksum counts its own field as blanks
    unsigned int sum = 0;
    for (const char c : std::as_const(header))
        sum += static_cast<unsigned char>(c);
    header.replace(148, 8,
                   QByteArray::number(sum, 8).rightJustified(6, '0') + QByteArray("\0 ", 2));
    ASSERT_TRUE(writeFileBytes(path, header + written.mid(512, data.size())));
}

QByteArray jsonBytes(const QJsonObject& object)
{
    return QJsonDocument(object).toJson();
}

QByteArray sha256(const QByteArray& data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Sha256);
}

ArchiveMember& memberNamed(QList<ArchiveMember>& members, const QString& name)
{
    for (ArchiveMember& member : members) {
        if (member.name == name)
            return member;
    }
    ADD_FAILURE() << "no member " << name.toStdString();
    return members.last();
}

void removeMember(QList<ArchiveMember>& members, const QString& name)
{
    EXPECT_EQ(members.removeIf([&](const ArchiveMember& member) { return member.name == name; }), 1)
        << name.toStdString();
}

void resum(QList<ArchiveMember>& members)
{
    ArchiveMember& manifest = memberNamed(members, QStringLiteral("manifest.json"));
    QJsonObject object = QJsonDocument::fromJson(manifest.data).object();
    QJsonObject sums;
    for (const ArchiveMember& member : std::as_const(members)) {
        if (member.name == QLatin1String("manifest.json"))
            continue;
        sums.insert(member.name, QJsonObject{{QStringLiteral("size"), qint64(member.data.size())},
                                             {QStringLiteral("sha256"),
                                              QString::fromLatin1(sha256(member.data).toHex())}});
    }
    object.insert(QStringLiteral("members"), sums);
    manifest.data = jsonBytes(object);
}

void setInManifest(QList<ArchiveMember>& members, const QString& key, const QJsonValue& value)
{
    ArchiveMember& manifest = memberNamed(members, QStringLiteral("manifest.json"));
    QJsonObject object = QJsonDocument::fromJson(manifest.data).object();
    object.insert(key, value);
    manifest.data = jsonBytes(object);
}

} // namespace tavmms_test
