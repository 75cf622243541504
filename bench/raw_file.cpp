#include "raw_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace
{

bool writeAll(int fd, const char* data, size_t length)
{
    while (length > 0) {
        const ssize_t written = ::write(fd, data, length);
        if (written <= 0)
            return false;
        data += written;
        length -= size_t(written);
    }
    return true;
}

} // namespace

bool writeSyncedFile(const QByteArray& path, const QByteArray& bytes)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const bool written = writeAll(fd, bytes.constData(), size_t(bytes.size())) && ::fsync(fd) == 0;
    ::close(fd);
    return written;
}

bool syncDirectory(const QByteArray& path)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool synced = fd >= 0 && ::fsync(fd) == 0;
    if (fd >= 0)
        ::close(fd);
    return synced;
}
