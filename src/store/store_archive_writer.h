#ifndef TAVMMS_STORE_STORE_ARCHIVE_WRITER_H
#define TAVMMS_STORE_STORE_ARCHIVE_WRITER_H

// A tar archive (pax) compressed with zstd, written member by member to a file descriptor: what a
// backup of the store is made of. With ArchiveReader, the only place that sees libarchive and
// libzstd.

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <memory>

namespace tavmms::store
{

// The zstd window of a backup, as a power of two: what level 1 takes when the size is not known
// ahead.
inline constexpr int kArchiveWindowLog = 19;
// The largest window the reader accepts: what the zstd program takes up to level 19, so that a
// backup recompressed by it still reads, and no more, so that a damaged or hostile frame header
// cannot make the reader allocate more than 8 MiB.
inline constexpr int kLargestArchiveWindowLog = 23;

class ArchiveWriter
{
public:
    // Starts an archive on `fd`, which stays the caller's: written to, never closed. zstd runs at
    // level 1, fast rather than small: a backup runs on the phone while it is in use, and mail
    // files full of pictures and audio compress little more at higher levels. Its one frame
    // carries a checksum of the whole tar, which the reader checks to its last byte.
    explicit ArchiveWriter(int fd);
    ~ArchiveWriter();
    ArchiveWriter(const ArchiveWriter&) = delete;
    ArchiveWriter& operator=(const ArchiveWriter&) = delete;

    // Adds a regular file `name` (a path inside the archive, "/" between its folders) holding
    // `data`, readable by its owner alone, with the modification time `time`. False, with error()
    // and errorNumber() set, when it cannot be written; every call after a failure fails.
    bool add(const QString& name, const QByteArray& data, const QDateTime& time);
    // Writes the archive's end and the compressor's last bytes. False as add() fails. A writer
    // dropped unfinished writes no end: a cut archive does not look whole.
    bool finish();

    QString error() const { return error_; }
    int errorNumber() const { return errno_; } // 0 when libarchive named none

private:
    bool fail();

    struct Handle;
    std::unique_ptr<Handle> archive_;
    QString error_;
    int errno_ = 0;
};

} // namespace tavmms::store

#endif
