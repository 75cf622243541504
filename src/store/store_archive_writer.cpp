#include "store_archive_writer.h"

#include <archive.h>
#include <archive_entry.h>

#include <sys/stat.h>

namespace tavmms::store
{

namespace
{

using Entry = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;

} // namespace

struct ArchiveWriter::Handle {
    archive* a = archive_write_new();
    bool open = false;
    ~Handle()
    {
        // A writer dropped after a failure is not closed: closing would write an end that makes a
        // cut archive look whole.
        archive_write_free(a);
    }
};

ArchiveWriter::ArchiveWriter(int fd) : archive_(std::make_unique<Handle>())
{
    archive* a = archive_->a;
    if (!a) {
        error_ = QStringLiteral("cannot start an archive: out of memory");
        return;
    }
    // No padding after the compressed stream: the last block is as long as its bytes.
    if (archive_write_set_format_pax_restricted(a) != ARCHIVE_OK ||
        archive_write_add_filter_zstd(a) != ARCHIVE_OK ||
        archive_write_set_filter_option(a, "zstd", "compression-level", "1") != ARCHIVE_OK ||
        archive_write_set_bytes_in_last_block(a, 1) != ARCHIVE_OK ||
        archive_write_open_fd(a, fd) != ARCHIVE_OK) {
        fail();
        return;
    }
    archive_->open = true;
}

ArchiveWriter::~ArchiveWriter() = default;

bool ArchiveWriter::fail()
{
    const char* text = archive_->a ? archive_error_string(archive_->a) : nullptr;
    errno_ = archive_->a ? archive_errno(archive_->a) : 0;
    error_ = text ? QString::fromLocal8Bit(text) : QStringLiteral("the archive cannot be written");
    archive_->open = false;
    return false;
}

bool ArchiveWriter::add(const QString& name, const QByteArray& data, const QDateTime& time)
{
    if (!archive_->open)
        return false;
    const Entry entry(archive_entry_new(), archive_entry_free);
    if (!entry) {
        error_ = QStringLiteral("cannot add '%1' to the archive: out of memory").arg(name);
        archive_->open = false;
        return false;
    }
    archive_entry_set_pathname_utf8(entry.get(), name.toUtf8().constData());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), S_IRUSR | S_IWUSR);
    archive_entry_set_size(entry.get(), data.size());
    archive_entry_set_mtime(entry.get(), time.toSecsSinceEpoch(), 0);
    if (archive_write_header(archive_->a, entry.get()) != ARCHIVE_OK)
        return fail();
    qsizetype written = 0;
    while (written < data.size()) {
        const la_ssize_t n = archive_write_data(archive_->a, data.constData() + written,
                                                size_t(data.size() - written));
        if (n <= 0)
            return fail();
        written += n;
    }
    if (archive_write_finish_entry(archive_->a) != ARCHIVE_OK)
        return fail();
    return true;
}

bool ArchiveWriter::finish()
{
    if (!archive_->open)
        return false;
    if (archive_write_close(archive_->a) != ARCHIVE_OK)
        return fail();
    archive_->open = false;
    return true;
}

} // namespace tavmms::store
