#include "store_archive_reader.h"

#include "file_descriptor.h"
#include "store_archive_writer.h"

#include <QFile>

#include <archive.h>
#include <archive_entry.h>
#include <zstd.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tavmms::store
{

namespace
{

// Large enough that zstd's frames are read in few calls, small enough for a phone.
constexpr size_t kBlockSize = 64 * 1024;

// How every zstd frame starts.
constexpr unsigned char kZstdMagic[] = {0x28, 0xB5, 0x2F, 0xFD};

using DecompressionContext = std::unique_ptr<ZSTD_DCtx, size_t (*)(ZSTD_DCtx*)>;

} // namespace

// A zstd-compressed archive is decompressed here rather than by libarchive, which would stop at
// the tar's end: its frame is read to the last byte, so that its checksum is checked and nothing
// can follow it.
struct ArchiveReader::Handle {
    ~Handle() { archive_read_free(a); }

    // Decompresses the next bytes of the tar into `out`: how many, 0 at the end of the frame, -1
    // with `error` and `errorNumber` set when the file cannot be read or holds no whole frame.
    la_ssize_t decompress()
    {
        ZSTD_outBuffer output{out.data(), out.size(), 0};
        while (output.pos == 0) {
            if (input.pos == input.size && !fill())
                return -1;
            if (input.size == 0) {
                if (!frameEnded)
                    return failed(QStringLiteral("the compressed archive is cut short"));
                return 0;
            }
            if (frameEnded)
                return failed(QStringLiteral("data after the end of the compressed archive"));
            const size_t left = ZSTD_decompressStream(zstd.get(), &output, &input);
            if (ZSTD_isError(left))
                return failed(QStringLiteral("the compressed archive is damaged: %1")
                                  .arg(QLatin1String(ZSTD_getErrorName(left))));
            frameEnded = left == 0;
        }
        return la_ssize_t(output.pos);
    }

    // Reads the next bytes of the file into `in`, again after a signal; none at its end.
    bool fill()
    {
        ssize_t got;
        do
            got = ::read(file.fd, in.data(), in.size());
        while (got < 0 && errno == EINTR);
        if (got < 0) {
            errorNumber = errno;
            error = QStringLiteral("cannot read the archive");
            return false;
        }
        input = {in.data(), size_t(got), 0};
        return true;
    }

    la_ssize_t failed(const QString& text)
    {
        errorNumber = 0;
        error = text;
        return -1;
    }

    static la_ssize_t read(archive* a, void* data, const void** buffer)
    {
        auto* handle = static_cast<Handle*>(data);
        const la_ssize_t n = handle->decompress();
        if (n < 0)
            archive_set_error(a, handle->errorNumber, "%s",
                              handle->error.toLocal8Bit().constData());
        *buffer = handle->out.data();
        return n;
    }

    archive* a = archive_read_new();
    bool open = false;
    FileDescriptor file{-1};
    DecompressionContext zstd{nullptr, ZSTD_freeDCtx};
    std::vector<char> in;
    std::vector<char> out;
    ZSTD_inBuffer input{nullptr, 0, 0};
    bool frameEnded = false;
    QString error;
    int errorNumber = 0;
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
    if (archive_read_support_format_tar(a) != ARCHIVE_OK) {
        fail();
        return;
    }
    Handle& handle = *archive_;
    handle.file.fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    unsigned char head[sizeof kZstdMagic] = {};
    const bool zstd = handle.file.fd >= 0 &&
                      readAt(handle.file.fd, 0, head, sizeof head) == qint64(sizeof head) &&
                      std::memcmp(head, kZstdMagic, sizeof head) == 0;
    if (!zstd) {
        // Anything else (an uncompressed tar, say) goes to libarchive's filters as before, which
        // also say why a file cannot be opened.
        if (handle.file.fd >= 0)
            ::close(std::exchange(handle.file.fd, -1));
        if (archive_read_support_filter_all(a) != ARCHIVE_OK ||
            archive_read_open_filename(a, QFile::encodeName(path).constData(), kBlockSize) !=
                ARCHIVE_OK) {
            fail();
            return;
        }
        archive_->open = true;
        return;
    }
    handle.zstd.reset(ZSTD_createDCtx());
    if (!handle.zstd || ZSTD_isError(ZSTD_DCtx_setParameter(handle.zstd.get(), ZSTD_d_windowLogMax,
                                                            kLargestArchiveWindowLog))) {
        error_ = QStringLiteral("cannot read an archive: out of memory");
        return;
    }
    handle.in.resize(ZSTD_DStreamInSize());
    handle.out.resize(ZSTD_DStreamOutSize());
    if (archive_read_open2(a, &handle, nullptr, Handle::read, nullptr, nullptr) != ARCHIVE_OK) {
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
    int error = archive_->a ? archive_errno(archive_->a) : 0;
    // libarchive names a damaged archive EILSEQ, a misuse EINVAL and anything else -1: no failure
    // of the system, whose words would only mislead.
    if (error < 0 || error == EILSEQ || error == EINVAL)
        error = 0;
    failWith(text ? QString::fromLocal8Bit(text) : QStringLiteral("the archive cannot be read"),
             error);
}

void ArchiveReader::failWith(const QString& text, int error)
{
    error_ = text;
    errno_ = error;
    archive_->open = false;
}

ArchiveReader::Next ArchiveReader::next(Entry* entry)
{
    if (!archive_->open)
        return Next::Error;
    archive_entry* header = nullptr;
    const int r = archive_read_next_header(archive_->a, &header);
    if (r == ARCHIVE_EOF)
        return finishFrame();
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

ArchiveReader::Next ArchiveReader::finishFrame()
{
    Handle& handle = *archive_;
    if (!handle.zstd)
        return Next::End;
    // What follows the tar's end in the frame is read too, for the frame's checksum and its end.
    la_ssize_t n;
    do
        n = handle.decompress();
    while (n > 0);
    if (n < 0) {
        failWith(handle.error, handle.errorNumber);
        return Next::Error;
    }
    return Next::End;
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
