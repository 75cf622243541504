// A power cut inside one process, for tests: preloaded (LD_PRELOAD), this library counts the calls
// that change or sync something under the directory TAVMMS_POWERCUT_ROOT, and at the call
// numbered TAVMMS_POWERCUT_AT it kills the process instead of making the call. Meanwhile it keeps,
// in the directory TAVMMS_POWERCUT_JOURNAL, what a power cut would leave:
//
//   root          the identity of the watched directory
//   dirs/ID       the entries of directory ID as last made durable: "d|f ID name" a line
//   files/ID      the content of file ID as last made durable
//   calls         the calls counted, "N call path" a line
//   cut           there once the process was killed
//
// Everything under the root when the process starts is durable. After that a file's content is
// durable once it is synced (fsync, fdatasync), a directory's names once the directory is synced;
// a syncfs makes everything under the root durable.
// An identity is the inode number, followed by a generation for an inode the process made, since
// the file system may give a removed file's number to a new one. SQLite's -shm file is not
// watched: SQLite rebuilds it after a crash.
//
// Without TAVMMS_POWERCUT_ROOT the library only passes the calls on.

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace
{

template <typename F> F next(const char* name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

// Closes a descriptor when it goes.
struct Descriptor {
    int fd;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

struct Real {
    int (*open)(const char*, int, ...) = next<decltype(open)>("open");
    int (*openat)(int, const char*, int, ...) = next<decltype(openat)>("openat");
    ssize_t (*write)(int, const void*, size_t) = next<decltype(write)>("write");
    ssize_t (*pwrite)(int, const void*, size_t, off_t) = next<decltype(pwrite)>("pwrite");
    ssize_t (*writev)(int, const iovec*, int) = next<decltype(writev)>("writev");
    int (*ftruncate)(int, off_t) = next<decltype(ftruncate)>("ftruncate");
    int (*fsync)(int) = next<decltype(fsync)>("fsync");
    int (*fdatasync)(int) = next<decltype(fdatasync)>("fdatasync");
    int (*syncfs)(int) = next<decltype(syncfs)>("syncfs");
    int (*renameat2)(int, const char*, int, const char*,
                     unsigned) = next<decltype(renameat2)>("renameat2");
    int (*linkat)(int, const char*, int, const char*, int) = next<decltype(linkat)>("linkat");
    int (*unlinkat)(int, const char*, int) = next<decltype(unlinkat)>("unlinkat");
    int (*mkdirat)(int, const char*, mode_t) = next<decltype(mkdirat)>("mkdirat");
};

struct Shim {
    Real real;
    std::string root;    // the watched directory, resolved; empty when nothing is watched
    std::string journal; // where what is durable is kept
    long cutAt = 0;
    long calls = 0;
    int log = -1;
    unsigned long generation = 0;
    std::map<ino_t, std::string> identities;
    std::recursive_mutex mutex;

    Shim();

    std::string identity(const struct stat& st)
    {
        auto it = identities.find(st.st_ino);
        if (it == identities.end())
            it = identities.emplace(st.st_ino, std::to_string(st.st_ino)).first;
        return it->second;
    }

    // The inode behind `st` is a new one: a file that had its number before is another file.
    void made(const struct stat& st)
    {
        identities[st.st_ino] = std::to_string(st.st_ino) + "." + std::to_string(++generation);
    }

    void writeFile(const std::string& path, const std::string& text)
    {
        const Descriptor out{
            real.open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)};
        for (size_t done = 0; out.fd >= 0 && done < text.size();) {
            const ssize_t n = real.write(out.fd, text.data() + done, text.size() - done);
            if (n <= 0)
                break;
            done += size_t(n);
        }
    }

    // Keeps the content that `fd` (a regular file) has now as its durable content.
    void keepFile(int fd)
    {
        const Descriptor in{
            real.open(("/proc/self/fd/" + std::to_string(fd)).c_str(), O_RDONLY | O_CLOEXEC)};
        struct stat st;
        if (in.fd < 0 || ::fstat(in.fd, &st) != 0)
            return;
        std::string content;
        char buffer[65536];
        for (ssize_t n; (n = ::read(in.fd, buffer, sizeof buffer)) > 0;)
            content.append(buffer, size_t(n));
        writeFile(journal + "/files/" + identity(st), content);
    }

    // Calls `visit(dirfd, name, st)` for each file and directory in directory `fd`.
    template <typename Visit> void forEachEntry(int fd, Visit visit)
    {
        Descriptor opened{real.openat(fd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
        const std::unique_ptr<DIR, int (*)(DIR*)> dir(
            opened.fd < 0 ? nullptr : ::fdopendir(opened.fd), ::closedir);
        if (!dir)
            return;
        const int own = std::exchange(opened.fd, -1); // the stream closes it now
        while (const dirent* entry = ::readdir(dir.get())) {
            const std::string name = entry->d_name;
            struct stat st;
            if (name != "." && name != ".." &&
                ::fstatat(own, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 &&
                (S_ISDIR(st.st_mode) || S_ISREG(st.st_mode)))
                visit(own, name, st);
        }
    }

    // Keeps the names that directory `fd` holds now as its durable names.
    void keepDirectory(int fd)
    {
        std::string entries;
        forEachEntry(fd, [&](int, const std::string& name, const struct stat& st) {
            entries +=
                std::string(S_ISDIR(st.st_mode) ? "d " : "f ") + identity(st) + " " + name + "\n";
        });
        struct stat st;
        if (::fstat(fd, &st) == 0)
            writeFile(journal + "/dirs/" + identity(st), entries);
    }

    // Keeps all that is under directory `fd` as durable, the directory itself included.
    void keepTree(int fd)
    {
        keepDirectory(fd);
        forEachEntry(fd, [&](int dir, const std::string& name, const struct stat& st) {
            const Descriptor child{real.openat(dir, name.c_str(), O_RDONLY | O_CLOEXEC)};
            if (child.fd < 0)
                return;
            if (S_ISDIR(st.st_mode))
                keepTree(child.fd);
            else
                keepFile(child.fd);
        });
    }

    // The absolute name of `path` seen from `dirfd`, its directory resolved.
    std::string resolve(int dirfd, const char* path)
    {
        std::string full;
        if (path[0] == '/') {
            full = path;
        } else {
            char base[PATH_MAX];
            if (dirfd == AT_FDCWD) {
                if (!::getcwd(base, sizeof base))
                    return std::string();
                full = base;
            } else {
                full = pathOf(dirfd);
            }
            full += "/";
            full += path;
        }
        const size_t slash = full.rfind('/');
        const std::string parent = full.substr(0, slash);
        char resolved[PATH_MAX];
        if (!::realpath(parent.empty() ? "/" : parent.c_str(), resolved))
            return full;
        return std::string(resolved) + full.substr(slash);
    }

    std::string pathOf(int fd)
    {
        char target[PATH_MAX];
        const std::string self = "/proc/self/fd/" + std::to_string(fd);
        const ssize_t n = ::readlink(self.c_str(), target, sizeof target - 1);
        return n < 0 ? std::string() : std::string(target, size_t(n));
    }

    bool watched(const std::string& path) const
    {
        const auto endsWith = [&](const char* suffix) {
            const size_t n = std::strlen(suffix);
            return path.size() >= n && path.compare(path.size() - n, n, suffix) == 0;
        };
        return !root.empty() && path.compare(0, root.size(), root) == 0 &&
               (path.size() == root.size() || path[root.size()] == '/') && !endsWith("-shm");
    }

    // Counts a call on `path`; at the cut, the process dies before the call is made.
    void count(const char* call, const std::string& path)
    {
        const std::string line = std::to_string(++calls) + " " + call + " " + path + "\n";
        if (log >= 0)
            real.write(log, line.data(), line.size());
        if (calls == cutAt) {
            writeFile(journal + "/cut", line);
            ::raise(SIGKILL);
        }
    }
};

Shim::Shim()
{
    const char* watchedRoot = std::getenv("TAVMMS_POWERCUT_ROOT");
    const char* journalDir = std::getenv("TAVMMS_POWERCUT_JOURNAL");
    char resolved[PATH_MAX];
    if (!watchedRoot || !journalDir || !::realpath(watchedRoot, resolved))
        return;
    journal = journalDir;
    if (const char* at = std::getenv("TAVMMS_POWERCUT_AT"))
        cutAt = std::atol(at);
    real.mkdirat(AT_FDCWD, (journal + "/dirs").c_str(), 0755);
    real.mkdirat(AT_FDCWD, (journal + "/files").c_str(), 0755);
    log = real.open((journal + "/calls").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    const Descriptor top{real.open(resolved, O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    struct stat st;
    if (top.fd < 0 || ::fstat(top.fd, &st) != 0)
        return;
    keepTree(top.fd);
    writeFile(journal + "/root", identity(st) + "\n");
    root = resolved; // from here on, calls are watched
}

Shim& shim()
{
    static Shim instance;
    return instance;
}

__attribute__((constructor)) void startWatching()
{
    shim();
}

bool exists(int dirfd, const char* path)
{
    struct stat st;
    return ::fstatat(dirfd, path, &st, AT_SYMLINK_NOFOLLOW) == 0;
}

// A call through descriptor `fd` that changes its file.
template <typename Call> auto changeThrough(int fd, const char* name, Call call)
{
    Shim& s = shim();
    const std::lock_guard<std::recursive_mutex> lock(s.mutex);
    if (!s.root.empty()) {
        const std::string path = s.pathOf(fd);
        if (s.watched(path))
            s.count(name, path);
    }
    return call();
}

// A call that changes the name `path`, seen from `dirfd`; counted only when it changes something
// (the name is there, or is made).
template <typename Call>
int changeName(int dirfd, const char* path, const char* name, bool makes, Call call)
{
    Shim& s = shim();
    const std::lock_guard<std::recursive_mutex> lock(s.mutex);
    if (!s.root.empty() && path) {
        const std::string full = s.resolve(dirfd, path);
        if (s.watched(full) && exists(dirfd, path) != makes)
            s.count(name, full);
    }
    return call();
}

int openName(int dirfd, const char* path, int flags, mode_t mode)
{
    Shim& s = shim();
    const std::lock_guard<std::recursive_mutex> lock(s.mutex);
    bool made = false;
    if (!s.root.empty() && path && (flags & (O_CREAT | O_TRUNC))) {
        const std::string full = s.resolve(dirfd, path);
        made = !exists(dirfd, path);
        if (s.watched(full) && (made || (flags & O_TRUNC)))
            s.count(made ? "create" : "truncate", full);
    }
    const int fd = s.real.openat(dirfd, path, flags, mode);
    struct stat st;
    if (made && fd >= 0 && ::fstat(fd, &st) == 0)
        s.made(st);
    return fd;
}

int syncCall(int fd, const char* name, int (*call)(int))
{
    Shim& s = shim();
    const std::lock_guard<std::recursive_mutex> lock(s.mutex);
    const std::string path = s.root.empty() ? std::string() : s.pathOf(fd);
    if (!s.watched(path))
        return call(fd);
    s.count(name, path);
    // The journal, not the disk, tells what survives the cut: the disk's own flush would only
    // make the test slower.
    struct stat st;
    if (::fstat(fd, &st) != 0)
        return -1;
    if (S_ISDIR(st.st_mode))
        s.keepDirectory(fd);
    else if (S_ISREG(st.st_mode))
        s.keepFile(fd);
    return 0;
}

mode_t modeOf(int flags, va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) ? mode_t(va_arg(arguments, int)) : 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openName(AT_FDCWD, path, flags, mode);
}

int openat(int dirfd, const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openName(dirfd, path, flags, mode);
}

// The 64-bit names are the same calls where off_t has 64 bits.
int open64(const char* path, int flags, ...) __attribute__((alias("open")));
int openat64(int dirfd, const char* path, int flags, ...) __attribute__((alias("openat")));

ssize_t write(int fd, const void* data, size_t size)
{
    return changeThrough(fd, "write", [&] { return shim().real.write(fd, data, size); });
}

ssize_t pwrite(int fd, const void* data, size_t size, off_t offset)
{
    return changeThrough(fd, "pwrite", [&] { return shim().real.pwrite(fd, data, size, offset); });
}

ssize_t pwrite64(int fd, const void* data, size_t size, off_t offset)
    __attribute__((alias("pwrite")));

ssize_t writev(int fd, const iovec* parts, int count)
{
    return changeThrough(fd, "writev", [&] { return shim().real.writev(fd, parts, count); });
}

int ftruncate(int fd, off_t length)
{
    return changeThrough(fd, "ftruncate", [&] { return shim().real.ftruncate(fd, length); });
}

int ftruncate64(int fd, off_t length) __attribute__((alias("ftruncate")));

int fsync(int fd)
{
    return syncCall(fd, "fsync", shim().real.fsync);
}

int fdatasync(int fd)
{
    return syncCall(fd, "fdatasync", shim().real.fdatasync);
}

int syncfs(int fd)
{
    Shim& s = shim();
    const std::lock_guard<std::recursive_mutex> lock(s.mutex);
    const std::string path = s.root.empty() ? std::string() : s.pathOf(fd);
    if (!s.watched(path))
        return s.real.syncfs(fd);
    s.count("syncfs", path);
    const Descriptor top{s.real.open(s.root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (top.fd < 0)
        return -1;
    s.keepTree(top.fd);
    return 0;
}

int renameat2(int fromDir, const char* from, int toDir, const char* to, unsigned flags)
{
    Shim& s = shim();
    const std::lock_guard<std::recursive_mutex> lock(s.mutex);
    if (!s.root.empty() && from && to) {
        const std::string source = s.resolve(fromDir, from);
        const std::string target = s.resolve(toDir, to);
        if ((s.watched(source) || s.watched(target)) && exists(fromDir, from))
            s.count("rename", source + " " + target);
    }
    return s.real.renameat2(fromDir, from, toDir, to, flags);
}

int renameat(int fromDir, const char* from, int toDir, const char* to)
{
    return renameat2(fromDir, from, toDir, to, 0);
}

int rename(const char* from, const char* to)
{
    return renameat2(AT_FDCWD, from, AT_FDCWD, to, 0);
}

int linkat(int fromDir, const char* from, int toDir, const char* to, int flags)
{
    return changeName(toDir, to, "link", true,
                      [&] { return shim().real.linkat(fromDir, from, toDir, to, flags); });
}

int link(const char* from, const char* to)
{
    return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}

int unlinkat(int dirfd, const char* path, int flags)
{
    return changeName(dirfd, path, "unlink", false,
                      [&] { return shim().real.unlinkat(dirfd, path, flags); });
}

int unlink(const char* path)
{
    return unlinkat(AT_FDCWD, path, 0);
}

int rmdir(const char* path)
{
    return unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}

int mkdirat(int dirfd, const char* path, mode_t mode)
{
    Shim& s = shim();
    const int r =
        changeName(dirfd, path, "mkdir", true, [&] { return s.real.mkdirat(dirfd, path, mode); });
    struct stat st;
    if (r == 0 && !s.root.empty() && ::fstatat(dirfd, path, &st, AT_SYMLINK_NOFOLLOW) == 0) {
        const std::lock_guard<std::recursive_mutex> lock(s.mutex);
        s.made(st);
    }
    return r;
}

int mkdir(const char* path, mode_t mode)
{
    return mkdirat(AT_FDCWD, path, mode);
}

} // extern "C"
