#include "filesync.h"

#include <QFile>
#include <QFileInfo>

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

int syncParentDirectory(const QString& path)
{
    const QByteArray dir = QFile::encodeName(QFileInfo(path).absolutePath());
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
