#include "file_descriptor.h"

#include <algorithm>
#include <cerrno>
#include <sys/uio.h>
#include <unistd.h>

namespace tavmms
{

FileDescriptor::~FileDescriptor()
{
    if (fd >= 0)
        ::close(fd);
}

qint64 readAt(int fd, qint64 offset, void* data, qint64 length)
{
    qint64 done = 0;
    while (done < length) {
        const ssize_t got = ::pread(fd, static_cast<char*>(data) + done, size_t(length - done),
                                    off_t(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += got;
    }
    return done;
}

qint64 readSplitAt(int fd, qint64 offset, void* head, qint64 headLength, void* tail,
                   qint64 tailLength)
{
    iovec parts[2] = {{head, size_t(headLength)}, {tail, size_t(tailLength)}};
    ssize_t got;
    do
        got = ::preadv(fd, parts, 2, off_t(offset));
    while (got < 0 && errno == EINTR);
    // What one call left unread, if anything, is read piece by piece.
    qint64 done = std::max<qint64>(got, 0);
    if (done < headLength) {
        done += readAt(fd, offset + done, static_cast<char*>(head) + done, headLength - done);
        if (done < headLength)
            return done;
    }
    const qint64 inTail = done - headLength;
    return done + readAt(fd, offset + done, static_cast<char*>(tail) + inTail, tailLength - inTail);
}

} // namespace tavmms
