#ifndef TAVMMS_FILE_DESCRIPTOR_H
#define TAVMMS_FILE_DESCRIPTOR_H

// Mail files are read and written with plain system calls: one descriptor, reads at an offset
// straight into the caller's memory, no second buffer in between.

#include <QtGlobal>

namespace tavmms
{

// A file descriptor, closed when it goes.
struct FileDescriptor {
    int fd;
    ~FileDescriptor();
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
};

// Reads up to `length` bytes at `offset` of `fd` into `data`, again after a signal; the count
// read, short only at the end of the file or after an error, which leaves errno set.
qint64 readAt(int fd, qint64 offset, void* data, qint64 length);

// Reads `headLength` bytes at `offset` into `head` and the `tailLength` bytes after them into
// `tail`, with one system call when nothing interrupts it; the count read into both together,
// short as with readAt().
qint64 readSplitAt(int fd, qint64 offset, void* head, qint64 headLength, void* tail,
                   qint64 tailLength);

} // namespace tavmms

#endif
