#ifndef TAVMMS_STORE_STORE_ARCHIVE_READER_H
#define TAVMMS_STORE_STORE_ARCHIVE_READER_H

// A tar archive read member by member from a file, compressed or not: how a backup of the store is
// read back. Beside the writer, the only other place that sees libarchive and libzstd.

#include <QString>

#include <memory>

namespace tavmms::store
{

class ArchiveReader
{
public:
    // What an entry's header says of it; its data is not read yet.
    struct Entry {
        QString name;
        // A regular file; false for a link (symbolic or hard), a directory, a device, a FIFO.
        bool regularFile = false;
        qint64 size = 0; // as the header states it, which the data may not hold
    };
    enum class Next { Entry, End, Error };

    // Opens the file at `path`; error() says why when it cannot be read as a tar archive.
    explicit ArchiveReader(const QString& path);
    ~ArchiveReader();
    ArchiveReader(const ArchiveReader&) = delete;
    ArchiveReader& operator=(const ArchiveReader&) = delete;

    bool isOpen() const;
    // Moves to the next entry, skipping what is left of the data of this one, and fills `entry`.
    // End after the last, once a zstd frame has been read to its end, its checksum checked and
    // nothing after it; Error, with error() set, on a damaged or cut archive, or data after the
    // frame. Every call after an error fails.
    Next next(Entry* entry);
    // Reads up to `size` bytes of the entry's data into `buffer`: how many, 0 at its end, -1 on an
    // error.
    qint64 read(char* buffer, qint64 size);

    QString error() const { return error_; }
    int errorNumber() const { return errno_; } // 0 when no system call failed

private:
    void fail();
    void failWith(const QString& text, int error);
    Next finishFrame();

    struct Handle;
    std::unique_ptr<Handle> archive_;
    QString error_;
    int errno_ = 0;
};

} // namespace tavmms::store

#endif
