#ifndef TAVMMS_TESTS_CHILD_PROCESS_H
#define TAVMMS_TESTS_CHILD_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace tavmms_test
{

// What a child process concluded.
struct ChildVerdict {
    enum Kind { Passed, Skipped, Failed };
    Kind kind;
    std::string message;

    static ChildVerdict pass() { return {Passed, {}}; }
    static ChildVerdict skip(std::string why) { return {Skipped, std::move(why)}; }
    static ChildVerdict fail(std::string why) { return {Failed, std::move(why)}; }
};

// A forked child process that runs a function and talks to the parent through a pipe. The child
// leaves with _exit(), so nothing of the parent's (atexit handlers, static destructors, the leak
// check) runs twice.
//
// Fork only while the parent holds no database connection: an SQLite connection, with its locks,
// must never be used on both sides of a fork().
class ChildProcess
{
public:
    using Body = std::function<ChildVerdict(ChildProcess& self)>;

    explicit ChildProcess(const Body& body);
    // Kills and reaps a child that is still running.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool started() const { return pid_ > 0; }

    // In the child: sends one line (no newline inside) to the parent at once.
    void send(const std::string& line);

    // In the parent: the next line the child sent; nothing at the end of its output or when
    // `timeout` passes first.
    std::optional<std::string> receiveLine(std::chrono::milliseconds timeout);
    // In the parent: kills the child with SIGKILL and returns its wait status.
    int kill();
    // In the parent: waits for the child to end (killing it when `timeout` passes) and returns
    // its verdict, with everything it sent as the message.
    ChildVerdict finish(std::chrono::milliseconds timeout);
    // In the parent: every line received so far, each ended by a newline.
    const std::string& transcript() const { return transcript_; }

private:
    int reap();

    pid_t pid_ = -1;
    int readFd_ = -1;
    int writeFd_ = -1;
    std::string pending_; // received bytes not yet returned as a line
    std::string transcript_;
};

} // namespace tavmms_test

// What the parent needs of a child: that it ran to its end and passed (or why it was skipped).
#define EXPECT_CHILD_PASSES(child, timeout)                                                        \
    do {                                                                                           \
        const tavmms_test::ChildVerdict verdict = (child).finish(timeout);                         \
        if (verdict.kind == tavmms_test::ChildVerdict::Skipped)                                    \
            GTEST_SKIP() << verdict.message;                                                       \
        ASSERT_EQ(verdict.kind, tavmms_test::ChildVerdict::Passed) << verdict.message;             \
    } while (false)

#endif
