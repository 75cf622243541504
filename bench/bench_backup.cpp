// A backup of the whole store against the work any archiver of the same mail files does.
//
// BM_Paired_Backup/N    backupStore of a store of N messages, each with a 300 KB body of random
//                       bytes (a photo, which does not compress), to a file it replaces, paired
//                       with its raw counterpart run as processes on the same mail files: GNU tar
//                       with --zstd into an archive beside the backup (zstd at level 1 through
//                       ZSTD_CLEVEL, the library's level, on one worker thread through
//                       ZSTD_NBTHREADS), sha256sum of the files (its output thrown away), and
//                       sync -f of the archive. Counters library_us, raw_us and their ratio, and
//                       messages: the mail files in the library's backup. Two iterations, so that
//                       each side goes first once; more runs with --benchmark_repetitions.
// BM_Paired_Restore/N   restoreStore of the backup of the same store of N messages into an empty
//                       store of its own, paired with its raw counterpart: GNU tar extracting the
//                       same backup into a directory of its own, N index rows inserted with the
//                       engine driven directly in one transaction into a database of its own, and
//                       one syncfs of that file system. Counters as above, messages: those
//                       restored. Each side restores into directories made for the iteration
//                       ("restore-N-library-K", "restore-N-raw-K"), removed once the run is over.
//
// The store lies in "<bench directory>/backup-N", its directories pointed at it while the
// benchmark runs; its messages are kept once in the process through MessageStore::compose (each
// body its own, so that zstd finds no earlier message to copy from) and found again by every
// later run. Both sides read the mail files from the page cache, which the composing filled. The
// bench directory lies under $TAVMMS_BENCH_DIR, else under the system's temporary directory, or
// under the current directory when that one is a tmpfs (which would hide the cost of syncing).

#include <tavmmsutility.h>

#include "message_store.h"
#include "store_backup.h"
#include "store_restore.h"

#include "bench_directory.h"
#include "composed_message.h"
#include "message_body.h"
#include "paired_timing.h"
#include "raw_index_table.h"
#include "store_of_its_own.h"

#include <benchmark/benchmark.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstring>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace
{

using tavmms::store::MessageStore;

const qsizetype kBodyBytes = 300 * 1024;

// Named among the context lines on top of the report, which are gathered before main() runs.
[[maybe_unused]] const bool contextAdded = [] {
    addBenchDirectoryContext();
    return true;
}();

// The environment of the raw side's processes: the caller's, with `settings` ("NAME=value") in
// place of what it held under the same names.
std::vector<std::string> environmentWith(const std::vector<std::string>& settings)
{
    std::vector<std::string> environment = settings;
    for (char** entry = environ; *entry; ++entry) {
        bool replaced = false;
        for (const std::string& setting : settings) {
            const size_t nameEnd = setting.find('=') + 1;
            replaced = replaced || std::strncmp(*entry, setting.c_str(), nameEnd) == 0;
        }
        if (!replaced)
            environment.emplace_back(*entry);
    }
    return environment;
}

// zstd at the library's level, and on one thread, as the library compresses.
const std::vector<std::string>& rawEnvironment()
{
    static const std::vector<std::string> environment =
        environmentWith({"ZSTD_CLEVEL=1", "ZSTD_NBTHREADS=1"});
    return environment;
}

// Runs `arguments` (the program first, found on PATH) with its output thrown away, and waits for
// it; true when it exited with 0.
bool runProcess(const std::vector<std::string>& arguments)
{
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const std::string& setting : rawEnvironment())
        envp.push_back(const_cast<char*>(setting.c_str()));
    envp.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0)
        return false;
    pid_t pid = 0;
    const bool spawned =
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0) == 0 &&
        posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), envp.data()) == 0;
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return spawned && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

// A store of `messages` photo-sized messages in a directory of its own, kept on first use and
// found by every later object.
class PhotoStore
{
public:
    explicit PhotoStore(unsigned messages)
        : store_(benchDirectory() + QStringLiteral("/backup-%1").arg(messages))
    {
        if (MessageStore().list().rows.size() != messages && !fill(messages))
            return;
        const tavmms::store::Listed listed = MessageStore().list();
        for (const tavmms::store::MessageRow& row : listed.rows)
            mailFiles_.push_back(QFileInfo(row.mailFile()).fileName().toStdString());
        ok_ = listed.status.ok() && mailFiles_.size() == messages;
    }

    bool ok() const { return ok_; }
    QString root() const { return store_.root(); }
    // The mail files' names, in their directory.
    const std::vector<std::string>& mailFiles() const { return mailFiles_; }

private:
    static bool fill(unsigned messages)
    {
        // The bodies are over a fresh store's limit of 50 KB.
        MMS_UTIL_Setting::setMaxiumMOMMSSize(0);
        MessageStore store;
        for (unsigned serial = 0; serial < messages; ++serial) {
            if (!store.compose(composedMessage(makeRandomBody(kBodyBytes, serial), true))
                     .status.ok())
                return false;
        }
        return true;
    }

    StoreOfItsOwn store_;
    std::vector<std::string> mailFiles_;
    bool ok_ = false;
};

// The raw counterpart of a backup: the same mail files archived, hashed and synced by the
// system's tools.
class RawBackup
{
public:
    RawBackup(const QString& archive, const std::vector<std::string>& mailFiles)
    {
        const std::string path = QFile::encodeName(archive).toStdString();
        const std::string directory =
            QFile::encodeName(MMS_UTIL_Common::getMailFileDir()).toStdString();
        tar_ = {"tar", "--zstd", "-cf", path, "-C", directory};
        tar_.insert(tar_.end(), mailFiles.begin(), mailFiles.end());
        sha256sum_ = {"sha256sum"};
        for (const std::string& name : mailFiles)
            sha256sum_.push_back(directory + '/' + name);
        sync_ = {"sync", "-f", path};
    }

    bool run() const { return runProcess(tar_) && runProcess(sha256sum_) && runProcess(sync_); }

private:
    std::vector<std::string> tar_, sha256sum_, sync_;
};

void BM_Paired_Backup(benchmark::State& state)
{
    const auto messages = unsigned(state.range(0));
    const PhotoStore store(messages);
    if (!store.ok()) {
        state.SkipWithError("cannot fill the store");
        return;
    }
    const QString path = store.root() + QStringLiteral("/backup.tar.zst");
    tavmms::store::BackupOptions options;
    options.replace = true;
    const RawBackup raw(store.root() + QStringLiteral("/raw.tar.zst"), store.mailFiles());
    qsizetype backedUp = 0;
    PairedTiming().runAll(
        state,
        [&] {
            const tavmms::store::Backup backup = tavmms::store::backupStore(path, {}, options);
            backedUp = backup.messages;
            return backup.status.ok() && backup.messages == qsizetype(messages);
        },
        [&] { return raw.run(); }, "a backup failed or missed messages");
    state.counters["messages"] = double(backedUp);
}

// The backup of a store of `messages` photo-sized messages, made once and kept beside the store;
// empty when it cannot be made.
QString photoBackup(unsigned messages)
{
    const PhotoStore store(messages);
    const QString path = store.root() + QStringLiteral("/restore-source.tar.zst");
    if (!store.ok())
        return QString();
    if (QFileInfo::exists(path))
        return path;
    return tavmms::store::backupStore(path).status.ok() ? path : QString();
}

// The raw counterpart of a restore: the backup extracted by the system's tar, the index rows
// inserted in one transaction, and the file system synced once.
bool rawRestore(const QString& backup, unsigned messages, const QString& root)
{
    if (!QDir().mkpath(root))
        return false;
    const std::string directory = QFile::encodeName(root).toStdString();
    if (!runProcess(
            {"tar", "--zstd", "-xf", QFile::encodeName(backup).toStdString(), "-C", directory}))
        return false;
    const std::unique_ptr<RawDatabase> database =
        RawDatabase::open(root + QStringLiteral("/device.db"));
    std::vector<unsigned> ids;
    if (!database || !database->fill(messages, &ids))
        return false;
    const int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool synced = fd >= 0 && ::syncfs(fd) == 0;
    if (fd >= 0)
        ::close(fd);
    return synced;
}

void BM_Paired_Restore(benchmark::State& state)
{
    const auto messages = unsigned(state.range(0));
    const QString backup = photoBackup(messages);
    if (backup.isEmpty()) {
        state.SkipWithError("cannot make the backup");
        return;
    }
    const QString base = benchDirectory() + QStringLiteral("/restore-%1-").arg(messages);
    int iteration = 0;
    qsizetype restored = 0;
    PairedTiming().runAll(
        state,
        [&] {
            const StoreOfItsOwn store(base + QStringLiteral("library-%1").arg(iteration));
            const tavmms::store::Restore restore = tavmms::store::restoreStore(backup);
            restored = restore.messages;
            return restore.status.ok() && restore.messages == qsizetype(messages);
        },
        [&] {
            return rawRestore(backup, messages, base + QStringLiteral("raw-%1").arg(iteration++));
        },
        "a restore failed or missed messages");
    state.counters["messages"] = double(restored);
    for (int k = 0; k <= iteration; ++k) {
        for (const char* side : {"library-%1", "raw-%1"})
            QDir(base + QString::fromLatin1(side).arg(k)).removeRecursively();
    }
}

BENCHMARK(BM_Paired_Restore)
    ->Arg(100)
    ->Arg(1000)
    ->Iterations(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK(BM_Paired_Backup)
    ->Arg(100)
    ->Arg(1000)
    ->Iterations(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
