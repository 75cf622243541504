#include "support/child_process.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavmms_test
{

namespace
{

const int kExitPassed = 0;
const int kExitFailed = 1;
const int kExitSkipped = 77;

std::string describeStatus(int status)
{
    if (WIFEXITED(status))
        return "exit code " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status))
        return "killed by signal " + std::to_string(WTERMSIG(status));
    return "wait status " + std::to_string(status);
}

} // namespace

ChildProcess::ChildProcess(const Body& body)
{
    int fds[2];
    if (::pipe(fds) != 0)
        return;
    pid_ = ::fork();
    if (pid_ < 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        return;
    }
    if (pid_ == 0) {
        ::close(fds[0]);
        writeFd_ = fds[1];
        int code = kExitPassed;
        {
            const ChildVerdict verdict = body(*this);
            if (!verdict.message.empty())
                send(verdict.message);
            if (verdict.kind != ChildVerdict::Passed)
                code = verdict.kind == ChildVerdict::Skipped ? kExitSkipped : kExitFailed;
        }
        ::_exit(code);
    }
    ::close(fds[1]);
    readFd_ = fds[0];
}

ChildProcess::~ChildProcess()
{
    if (pid_ > 0)
        kill();
    if (readFd_ >= 0)
        ::close(readFd_);
}

void ChildProcess::send(const std::string& line)
{
    const std::string text = line + '\n';
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(writeFd_, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return;
        done += size_t(n);
    }
}

std::optional<std::string> ChildProcess::receiveLine(std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        if (const size_t end = pending_.find('\n'); end != std::string::npos) {
            std::string line = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            transcript_ += line + '\n';
            return line;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (readFd_ < 0 || left.count() <= 0)
            return std::nullopt;
        pollfd p{readFd_, POLLIN, 0};
        const int ready = ::poll(&p, 1, int(left.count()));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return std::nullopt;
        char buffer[4096];
        const ssize_t n = ::read(readFd_, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            // The child closed its end: whatever is left is its last, unfinished line.
            ::close(readFd_);
            readFd_ = -1;
            if (pending_.empty())
                return std::nullopt;
            pending_ += '\n';
            continue;
        }
        pending_.append(buffer, size_t(n));
    }
}

int ChildProcess::kill()
{
    if (pid_ <= 0) // never kill(-1): that would reach every process we may signal
        return 0;
    ::kill(pid_, SIGKILL);
    return reap();
}

int ChildProcess::reap()
{
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return status;
}

ChildVerdict ChildProcess::finish(std::chrono::milliseconds timeout)
{
    if (!started())
        return ChildVerdict::fail("the child process could not be started");
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (receiveLine(std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now()))) {
    }
    if (readFd_ >= 0) {
        kill();
        return ChildVerdict::fail(transcript_ + "the child did not finish in time and was killed");
    }
    const int status = reap();
    if (WIFEXITED(status) && WEXITSTATUS(status) == kExitPassed)
        return ChildVerdict::pass();
    if (WIFEXITED(status) && WEXITSTATUS(status) == kExitSkipped)
        return ChildVerdict::skip(transcript_);
    return ChildVerdict::fail(transcript_ + "(" + describeStatus(status) + ")");
}

} // namespace tavmms_test
