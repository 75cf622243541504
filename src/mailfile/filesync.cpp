#include "filesync.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tavmms
{

namespace
{

SyncFunction currentSync = &::fsync;

} // namespace

SyncFunction setSyncFunction(SyncFunction function)
{
    const SyncFunction previous = currentSync;
    currentSync = function ? function : &::fsync;
    return previous;
}

int syncDescriptor(int fd)
{
    return currentSync(fd);
}

int syncParentDirectory(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray dir = slash < 0 ? QByteArray(".") : path.left(slash == 0 ? 1 : slash);
    const int fd = ::open(dir.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    const int result = syncDescriptor(fd);
    const int savedErrno = errno;
    ::close(fd);
    errno = savedErrno;
    return result;
}

} // namespace tavmms
