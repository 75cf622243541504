#include "store_lock.h"

#include "file_status.h"

#include "mms_util_common.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace tavmms::store
{

namespace
{

using Clock = std::chrono::steady_clock;

// How long a waiting lock sleeps between tries, at the most.
constexpr std::chrono::milliseconds kLongestPause{20};

// A descriptor of the file `name` (made when missing), closed when it goes; -1 with errno.
struct LockFile {
    int fd;
    explicit LockFile(const QByteArray& name)
        : fd(::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644))
    {
        // A store that may be read but not written is still locked against repairs while it is
        // read.
        if (fd < 0 && (errno == EACCES || errno == EROFS))
            fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
    }
    ~LockFile()
    {
        if (fd >= 0)
            ::close(fd);
    }
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;
};

// Tries flock(`operation`) on `fd` once; 0, EWOULDBLOCK or another errno.
int tryLock(int fd, int operation)
{
    while (::flock(fd, operation | LOCK_NB) != 0) {
        if (errno != EINTR)
            return errno;
    }
    return 0;
}

// Tries `attempt` until it gives anything but EWOULDBLOCK, or `deadline` has passed.
template <typename Attempt> int waitFor(Clock::time_point deadline, Attempt attempt)
{
    std::chrono::milliseconds pause{1};
    for (;;) {
        const int error = attempt();
        if (error != EWOULDBLOCK || Clock::now() >= deadline)
            return error;
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, kLongestPause);
    }
}

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

// Writers go first: a program that waits for the lock shared holds a second lock, "-wait", shared
// while it waits, and an exclusive taker only takes the lock while it can hold "-wait" exclusive.
// A repair that runs again and again would otherwise take the lock back each time before a
// waiting writer's next try.
Status StoreLock::acquire(const QString& path, Mode mode, std::chrono::milliseconds timeout)
{
    release();
    const QByteArray name = QFile::encodeName(path);
    LockFile lock(name);
    LockFile waiting(lock.fd < 0 ? QByteArray() : name + "-wait");
    if (lock.fd < 0 || waiting.fd < 0) {
        const int error = errno;
        return Status::failure(
            error == ENOSPC ? ErrorCode::NoSpace : ErrorCode::Failed,
            QStringLiteral("cannot open the store's lock file '%1': %2")
                .arg(QFile::decodeName(lock.fd < 0 ? name : name + "-wait"), errnoText(error)));
    }
    const Clock::time_point deadline = Clock::now() + timeout;
    int error = 0;
    if (mode == Shared) {
        error = waitFor(deadline, [&] { return tryLock(waiting.fd, LOCK_SH); });
        if (error == 0)
            error = waitFor(deadline, [&] { return tryLock(lock.fd, LOCK_SH); });
    } else {
        error = waitFor(deadline, [&] {
            int r = tryLock(waiting.fd, LOCK_EX);
            if (r == 0) {
                r = tryLock(lock.fd, LOCK_EX);
                ::flock(waiting.fd, LOCK_UN);
            }
            return r;
        });
    }
    if (error == 0) {
        fd_ = std::exchange(lock.fd, -1);
        return {};
    }
    if (error != EWOULDBLOCK)
        return Status::failure(
            ErrorCode::Failed,
            QStringLiteral("cannot lock the store ('%1'): %2").arg(path, errnoText(error)));
    return Status::failure(
        ErrorCode::Busy,
        QStringLiteral("the message store is busy: another program has held its lock '%1' for "
                       "more than %2 ms (%3)")
            .arg(path)
            .arg(timeout.count())
            .arg(mode == Shared ? QStringLiteral("a repair may be running")
                                : QStringLiteral("messages are being read or written")));
}

} // namespace tavmms::store
