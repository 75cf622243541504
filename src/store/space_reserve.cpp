#include "space_reserve.h"

#include "message_index.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

namespace tavmms::store
{

QString reservePath()
{
    const QString index = databasePath();
    return index.isEmpty() ? QString()
                           : QFileInfo(index).absolutePath() + QStringLiteral("/messages.reserve");
}

void keepReserve(const QString& path)
{
    if (path.isEmpty() || QFileInfo::exists(path))
        return;
    // Made under a name of its own and renamed into place once whole, so that a reserve that is
    // there is never a part of one.
    const QByteArray partial = QFile::encodeName(path + QStringLiteral(".part"));
    const int fd = ::open(partial.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    const bool whole = ::posix_fallocate(fd, 0, kReserveSize) == 0;
    const bool closed = ::close(fd) == 0;
    if (!whole || !closed ||
        ::rename(partial.constData(), QFile::encodeName(path).constData()) != 0)
        ::unlink(partial.constData());
}

bool releaseReserve(const QString& path)
{
    return !path.isEmpty() && ::unlink(QFile::encodeName(path).constData()) == 0;
}

} // namespace tavmms::store
