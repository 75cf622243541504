#include "store_archive_writer.h"

#include "mail_file_io.h"

#include <archive.h>
#include <archive_entry.h>
#include <zstd.h>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <sys/uio.h>
#include <vector>

namespace tavmms::store
{

namespace
{

using Entry = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;
using CompressionContext = std::unique_ptr<ZSTD_CCtx, size_t (*)(ZSTD_CCtx*)>;

} // namespace

// libarchive writes the tar uncompressed through the callback below, which compresses it with
// libzstd: libarchive's own zstd filter writes no checksum.
//
// A failure to compress or write is kept here rather than handed to libarchive, and the callback
// drops whatever comes after it: an archive libarchive takes for failed is freed without its
// buffers (libarchive 3.6 leaks them), and a close would write an end that makes a cut archive look
// whole. So a writer dropped unfinished is closed with everything it writes dropped.
struct ArchiveWriter::Handle {
    explicit Handle(int fd) : fd(fd) {}
    ~Handle()
    {
        dropping = true;
        archive_write_free(a);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    bool setUp()
    {
        return zstd &&
               !ZSTD_isError(ZSTD_CCtx_setParameter(zstd.get(), ZSTD_c_compressionLevel, 1)) &&
               !ZSTD_isError(
                   ZSTD_CCtx_setParameter(zstd.get(), ZSTD_c_windowLog, kArchiveWindowLog)) &&
               !ZSTD_isError(ZSTD_CCtx_setParameter(zstd.get(), ZSTD_c_checksumFlag, 1)) &&
               // One thread: the phone is in use while it backs up.
               !ZSTD_isError(ZSTD_CCtx_setParameter(zstd.get(), ZSTD_c_nbWorkers, 0));
    }

    // Compresses `input` (all of it, or with ZSTD_e_end the frame's end too) and writes what comes
    // out to the descriptor. False, with `failure` and `failureErrno` set, when either fails.
    bool compress(ZSTD_inBuffer* input, ZSTD_EndDirective directive)
    {
        for (;;) {
            ZSTD_outBuffer output{out.data(), out.size(), 0};
            const size_t left = ZSTD_compressStream2(zstd.get(), &output, input, directive);
            if (ZSTD_isError(left)) {
                failure = QStringLiteral("cannot compress the archive: %1")
                              .arg(QLatin1String(ZSTD_getErrorName(left)));
                return false;
            }
            iovec part{out.data(), output.pos};
            if (output.pos > 0 && writeAll(fd, &part, 1) != 0) {
                failureErrno = errno;
                failure = QStringLiteral("cannot write the archive: %1")
                              .arg(QString::fromLocal8Bit(std::strerror(failureErrno)));
                return false;
            }
            if (directive == ZSTD_e_end ? left == 0 : input->pos == input->size)
                return true;
        }
    }

    static la_ssize_t write(archive*, void* data, const void* buffer, size_t length)
    {
        auto* handle = static_cast<Handle*>(data);
        ZSTD_inBuffer input{buffer, length, 0};
        if (!handle->dropping && handle->failure.isEmpty())
            handle->dropping = !handle->compress(&input, ZSTD_e_continue);
        return la_ssize_t(length);
    }

    archive* a = archive_write_new();
    const int fd;
    CompressionContext zstd{ZSTD_createCCtx(), ZSTD_freeCCtx};
    std::vector<char> out = std::vector<char>(ZSTD_CStreamOutSize());
    bool open = false;
    bool dropping = false; // what libarchive writes goes nowhere
    QString failure;       // why compressing or writing failed; empty while neither did
    int failureErrno = 0;
};

ArchiveWriter::ArchiveWriter(int fd) : archive_(std::make_unique<Handle>(fd))
{
    archive* a = archive_->a;
    if (!a || !archive_->setUp()) {
        error_ = QStringLiteral("cannot start an archive: out of memory");
        return;
    }
    // No blocking: zstd gathers its blocks itself, and the archive ends where its last bytes do.
    if (archive_write_set_format_pax_restricted(a) != ARCHIVE_OK ||
        archive_write_set_bytes_per_block(a, 0) != ARCHIVE_OK ||
        archive_write_open2(a, archive_.get(), nullptr, Handle::write, nullptr, nullptr) !=
            ARCHIVE_OK) {
        fail();
        return;
    }
    archive_->open = true;
}

ArchiveWriter::~ArchiveWriter() = default;

bool ArchiveWriter::fail()
{
    const char* text = archive_->a ? archive_error_string(archive_->a) : nullptr;
    errno_ = archive_->failure.isEmpty() ? (archive_->a ? archive_errno(archive_->a) : 0)
                                         : archive_->failureErrno;
    error_ = !archive_->failure.isEmpty() ? archive_->failure
             : text                       ? QString::fromLocal8Bit(text)
                                          : QStringLiteral("the archive cannot be written");
    archive_->open = false;
    archive_->dropping = true;
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
    if (archive_write_header(archive_->a, entry.get()) != ARCHIVE_OK ||
        !archive_->failure.isEmpty())
        return fail();
    qsizetype written = 0;
    while (written < data.size()) {
        const la_ssize_t n = archive_write_data(archive_->a, data.constData() + written,
                                                size_t(data.size() - written));
        if (n <= 0 || !archive_->failure.isEmpty())
            return fail();
        written += n;
    }
    if (archive_write_finish_entry(archive_->a) != ARCHIVE_OK || !archive_->failure.isEmpty())
        return fail();
    return true;
}

bool ArchiveWriter::finish()
{
    if (!archive_->open)
        return false;
    // The frame is ended here rather than in a close callback, whose failure libarchive drops.
    ZSTD_inBuffer nothing{nullptr, 0, 0};
    if (archive_write_close(archive_->a) != ARCHIVE_OK || !archive_->failure.isEmpty() ||
        !archive_->compress(&nothing, ZSTD_e_end))
        return fail();
    archive_->open = false;
    return true;
}

} // namespace tavmms::store
