#include "file_descriptor.h"

#include <cerrno>
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

} // namespace tavmms
