#include "store_archive_reader.h"

#include <QFile>

#include <archive.h>
#include <archive_entry.h>

#include <cerrno>

namespace tavmms::store
{

namespace
{

// Large enough that zstd's frames are read in few calls, small enough for a phone.
constexpr size_t kBlockSize = 64 * 1024;

} // namespace

struct ArchiveReader::Handle {
    archive* a = archive_read_new();
    bool open = false;
    ~Handle() { archive_read_free(a); }
};

ArchiveReader::ArchiveReader(const QString& path) : archive_(std::make_unique<Handle>())
{
    archive* a = archive_->a;
    if (!a) {
        error_ = QStringLiteral("cannot read an archive: out of memory");
        return;
    }
    // Tar alone: a backup is never another format, and every other reader libarchive has is
    // code a damaged or hostile file could reach for nothing.
    if (archive_read_support_format_tar(a) != ARCHIVE_OK ||
        archive_read_support_filter_all(a) != ARCHIVE_OK ||
        archive_read_open_filename(a, QFile::encodeName(path).constData(), kBlockSize) !=
            ARCHIVE_OK) {
        fail();
        return;
    }
    archive_->open = true;
}

ArchiveReader::~ArchiveReader() = default;

bool ArchiveReader::isOpen() const
{
    return archive_->open;
}

void ArchiveReader::fail()
{
    const char* text = archive_->a ? archive_error_string(archive_->a) : nullptr;
    errno_ = archive_->a ? archive_errno(archive_->a) : 0;
    // libarchive names a damaged archive EILSEQ, a misuse EINVAL and anything else -1: no failure
    // of the system, whose words would only mislead.
    if (errno_ < 0 || errno_ == EILSEQ || errno_ == EINVAL)
        errno_ = 0;
    error_ = text ? QString::fromLocal8Bit(text) : QStringLiteral("the archive cannot be read");
    archive_->open = false;
}

ArchiveReader::Next ArchiveReader::next(Entry* entry)
{
    if (!archive_->open)
        return Next::Error;
    archive_entry* header = nullptr;
    const int r = archive_read_next_header(archive_->a, &header);
    if (r == ARCHIVE_EOF)
        return Next::End;
    // A warning (a header field libarchive could not convert) is taken as an error too: a
    // backup's headers are all plain.
    if (r != ARCHIVE_OK) {
        fail();
        return Next::Error;
    }
    const char* name = archive_entry_pathname_utf8(header);
    if (!name)
        name = archive_entry_pathname(header);
    entry->name = name ? QString::fromUtf8(name) : QString();
    // A hard link is a regular file by its type, but holds no data of its own.
    entry->regularFile = archive_entry_filetype(header) == AE_IFREG &&
                         archive_entry_hardlink(header) == nullptr &&
                         archive_entry_symlink(header) == nullptr;
    entry->size = archive_entry_size_is_set(header) ? qint64(archive_entry_size(header)) : 0;
    return Next::Entry;
}

qint64 ArchiveReader::read(char* buffer, qint64 size)
{
    if (!archive_->open)
        return -1;
    const la_ssize_t n = archive_read_data(archive_->a, buffer, size_t(size));
    if (n < 0) {
        fail();
        return -1;
    }
    return qint64(n);
}

} // namespace tavmms::store
