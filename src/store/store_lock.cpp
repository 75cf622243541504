#include "store_lock.h"

#include "mms_util_common.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace tavmms::store
{

namespace
{

// How long a waiting lock sleeps between tries, at the most.
constexpr std::chrono::milliseconds kLongestPause{20};

} // namespace

QString StoreLock::defaultPath()
{
    return MMS_UTIL_Common::getWorkDir() + QStringLiteral("store.lock");
}

StoreLock::~StoreLock()
{
    release();
}

void StoreLock::release()
{
    if (fd_ >= 0)
        ::close(fd_); // closing the last descriptor of the file releases the lock
    fd_ = -1;
}

Status StoreLock::acquire(const QString& path, Mode mode, std::chrono::milliseconds timeout)
{
    release();
    const QByteArray name = QFile::encodeName(path);
    int fd = ::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    // A store that may be read but not written is still locked against repairs while it is read.
    if (fd < 0 && (errno == EACCES || errno == EROFS))
        fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        const int error = errno;
        return Status::failure(error == ENOSPC ? ErrorCode::NoSpace : ErrorCode::Failed,
                               QStringLiteral("cannot open the store's lock file '%1': %2")
                                   .arg(path, QString::fromLocal8Bit(std::strerror(error))));
    }
    const int operation = (mode == Shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::chrono::milliseconds pause{1};
    for (;;) {
        if (::flock(fd, operation) == 0) {
            fd_ = fd;
            return {};
        }
        const int error = errno;
        if (error == EINTR)
            continue;
        if (error != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline) {
            ::close(fd);
            if (error != EWOULDBLOCK)
                return Status::failure(
                    ErrorCode::Failed,
                    QStringLiteral("cannot lock the store ('%1'): %2")
                        .arg(path, QString::fromLocal8Bit(std::strerror(error))));
            return Status::failure(
                ErrorCode::Busy,
                QStringLiteral("the message store is busy: another program has held its lock "
                               "'%1' for more than %2 ms (%3)")
                    .arg(path)
                    .arg(timeout.count())
                    .arg(mode == Shared ? QStringLiteral("a repair may be running")
                                        : QStringLiteral("messages are being read or written")));
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, kLongestPause);
    }
}

} // namespace tavmms::store
