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

#include "bench_directory.h"
#include "composed_message.h"
#include "message_body.h"
#include "paired_timing.h"
#include "store_of_its_own.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QFileInfo>

#include <cstring>
#include <fcntl.h>
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

BENCHMARK(BM_Paired_Backup)
    ->Arg(100)
    ->Arg(1000)
    ->Iterations(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
