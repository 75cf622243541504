// One MMS setting read and written through MMS_UTIL_Setting, which builds and destroys a store
// object per call, on the default settings store (SQLite, WAL, synchronous=FULL, one transaction
// per write); beside plain SQLite doing the same with one connection and its statements kept open,
// and beside QSettings on an INI file.
//
// BM_Setting_Read             MMS_UTIL_Setting::getMaxiumMTMMSSize() of a stored value.
// BM_RawSQLite_Read           SELECT value ... WHERE grp = ? AND key = ? on the same table, the
//                             text read as a number.
// BM_QSettings_Read           a QSettings made per call, as the library makes its store object,
//                             reading the value as an int.
// BM_QSettings_ReadKeptOpen   the same through one QSettings kept for the run, which answers from
//                             its memory and does not see other processes' writes until it syncs.
// BM_Setting_Write            MMS_UTIL_Setting::setMaxiumMTMMSSize() of a new value each time.
// BM_RawSQLite_Write          INSERT ... ON CONFLICT DO UPDATE of the same row, committed on its
//                             own: the same durability as the store's.
// BM_Paired_Write             both in turn, value by value: counters library_us, raw_us and
//                             their ratio, which the disk's changing sync time affects least.
// BM_QSettings_Write          a QSettings made per call, setValue() and sync(): the whole file
//                             written anew to a temporary file that is synced and renamed over
//                             the old one, under a lock file; the directory is not synced, so the
//                             rename itself may be lost in a power cut.
// BM_Setting_IsInBlockList/N  MMS_UTIL_Setting::isInBlockList(address) against a stored list of N
//                             numbers that does not block it (every item compared).
// BM_IsInBlockList_Given/N    isInBlockList(list, address) on the same list held in memory.
//
// The files live in a fresh directory under $TAVMMS_BENCH_DIR, else under the system's temporary
// directory, or under the current directory when that one is a tmpfs (which would hide the cost of
// syncing).

#include <tavmmsutility.h>

#include "settings_service.h"
#include "sqlite_settings_store.h"

#include "bench_directory.h"
#include "paired_timing.h"
#include "raw_sqlite.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <QDir>
#include <QSettings>
#include <QString>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace
{

// Named among the context lines on top of the report, which are gathered before main() runs.
[[maybe_unused]] const bool contextAdded = [] {
    addBenchDirectoryContext();
    benchmark::AddCustomContext("sqlite_version", sqlite3_libversion());
    return true;
}();

const char kGroup[] = "MMS_GRP";
const char kKey[] = "MMS_MT_Size_Limitation";
const int kStoredValue = 300;

// ---- The library on the default store ----

// The default settings store on a file of its own, installed for the run, with the value to read
// stored in it.
class LibraryStore
{
public:
    LibraryStore()
        : store_(benchDirectory() + QStringLiteral("/library-settings.db")), installed_(&store_)
    {
        ok_ = MMS_UTIL_Setting::setMaxiumMTMMSSize(kStoredValue) == 0;
    }
    bool ok() const { return ok_; }

private:
    tavplatform::SqliteSettingsStore store_;
    tavplatform::ScopedSettingsStoreService installed_;
    bool ok_ = false;
};

// Made on first use, so that a filter that runs no library benchmark makes no store.
LibraryStore& libraryStore()
{
    static LibraryStore store;
    return store;
}

// ---- Plain SQLite ----

// The store's table in a database of its own, with the same settings, reached through the engine's
// C interface with one connection and its two statements kept open.
class RawStore
{
public:
    // Null when the file cannot be opened or set up.
    static std::unique_ptr<RawStore> open(const QString& path);

    bool read(int* value);
    bool write(int value);

private:
    bool exec(const char* sql)
    {
        return sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    StatementPtr prepare(const char* sql);

    ConnectionPtr db_;
    StatementPtr select_, upsert_;
};

StatementPtr RawStore::prepare(const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v3(db_.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return StatementPtr(statement);
}

std::unique_ptr<RawStore> RawStore::open(const QString& path)
{
    auto raw = std::make_unique<RawStore>();
    raw->db_ = openRawConnection(path);
    if (!raw->db_ ||
        !raw->exec("CREATE TABLE settings (grp TEXT NOT NULL, key TEXT NOT NULL, value TEXT NOT "
                   "NULL, PRIMARY KEY (grp, key))"))
        return nullptr;
    raw->select_ = raw->prepare("SELECT value FROM settings WHERE grp = ? AND key = ?");
    raw->upsert_ = raw->prepare("INSERT INTO settings (grp, key, value) VALUES (?, ?, ?) ON "
                                "CONFLICT (grp, key) DO UPDATE SET value = excluded.value");
    if (!raw->select_ || !raw->upsert_ || !raw->write(kStoredValue))
        return nullptr;
    return raw;
}

bool RawStore::read(int* value)
{
    sqlite3_stmt* s = select_.get();
    sqlite3_bind_text(s, 1, kGroup, -1, SQLITE_STATIC);
    sqlite3_bind_text(s, 2, kKey, -1, SQLITE_STATIC);
    const bool found = sqlite3_step(s) == SQLITE_ROW;
    if (found)
        *value = std::atoi(reinterpret_cast<const char*>(sqlite3_column_text(s, 0)));
    sqlite3_reset(s);
    return found;
}

bool RawStore::write(int value)
{
    char text[16];
    std::snprintf(text, sizeof text, "%d", value);
    sqlite3_stmt* s = upsert_.get();
    sqlite3_bind_text(s, 1, kGroup, -1, SQLITE_STATIC);
    sqlite3_bind_text(s, 2, kKey, -1, SQLITE_STATIC);
    sqlite3_bind_text(s, 3, text, -1, SQLITE_TRANSIENT);
    const bool done = sqlite3_step(s) == SQLITE_DONE;
    sqlite3_reset(s);
    return done;
}

RawStore* rawStore()
{
    static const std::unique_ptr<RawStore> store =
        RawStore::open(benchDirectory() + QStringLiteral("/raw-settings.db"));
    return store.get();
}

// ---- QSettings ----

QString iniPath()
{
    return benchDirectory() + QStringLiteral("/settings.ini");
}

const QString kIniKey = QStringLiteral("MMS_GRP/MMS_MT_Size_Limitation");

bool writeIni(int value)
{
    QSettings settings(iniPath(), QSettings::IniFormat);
    settings.setValue(kIniKey, value);
    settings.sync();
    return settings.status() == QSettings::NoError;
}

// ---- Benchmarks ----

void BM_Setting_Read(benchmark::State& state)
{
    if (!libraryStore().ok()) {
        state.SkipWithError("cannot write the value to read");
        return;
    }
    for (auto _ : state) {
        if (MMS_UTIL_Setting::getMaxiumMTMMSSize() != kStoredValue) {
            state.SkipWithError("read a wrong value");
            break;
        }
    }
}

void BM_RawSQLite_Read(benchmark::State& state)
{
    RawStore* raw = rawStore();
    if (!raw) {
        state.SkipWithError("cannot make the database");
        return;
    }
    for (auto _ : state) {
        int value = 0;
        if (!raw->read(&value) || value != kStoredValue) {
            state.SkipWithError("read a wrong value");
            break;
        }
    }
}

void BM_QSettings_Read(benchmark::State& state)
{
    if (!writeIni(kStoredValue)) {
        state.SkipWithError("cannot write the value to read");
        return;
    }
    for (auto _ : state) {
        const QSettings settings(iniPath(), QSettings::IniFormat);
        if (settings.value(kIniKey).toInt() != kStoredValue) {
            state.SkipWithError("read a wrong value");
            break;
        }
    }
}

void BM_QSettings_ReadKeptOpen(benchmark::State& state)
{
    if (!writeIni(kStoredValue)) {
        state.SkipWithError("cannot write the value to read");
        return;
    }
    const QSettings settings(iniPath(), QSettings::IniFormat);
    for (auto _ : state) {
        if (settings.value(kIniKey).toInt() != kStoredValue) {
            state.SkipWithError("read a wrong value");
            break;
        }
    }
}

// Writes a new value per iteration through `write(value)`.
template <typename Write> void writeValues(benchmark::State& state, Write write)
{
    int value = kStoredValue;
    for (auto _ : state) {
        if (!write(++value)) {
            state.SkipWithError("the write failed");
            break;
        }
    }
}

bool writeThroughLibrary(int value)
{
    return MMS_UTIL_Setting::setMaxiumMTMMSSize(value) == 0;
}

void BM_Setting_Write(benchmark::State& state)
{
    if (!libraryStore().ok()) {
        state.SkipWithError("cannot make the store");
        return;
    }
    writeValues(state, writeThroughLibrary);
}

void BM_RawSQLite_Write(benchmark::State& state)
{
    RawStore* raw = rawStore();
    if (!raw) {
        state.SkipWithError("cannot make the database");
        return;
    }
    writeValues(state, [raw](int value) { return raw->write(value); });
}

// The library and plain SQLite in turn, value by value (which goes first alternates). The time is
// the pair's; the counters are each side's and their ratio.
void BM_Paired_Write(benchmark::State& state)
{
    RawStore* raw = rawStore();
    if (!libraryStore().ok() || !raw) {
        state.SkipWithError("cannot make the stores");
        return;
    }
    PairedTiming timing;
    writeValues(state, [&](int value) {
        return timing.run([&] { return writeThroughLibrary(value); },
                          [&] { return raw->write(value); });
    });
    timing.report(state);
}

void BM_QSettings_Write(benchmark::State& state)
{
    writeValues(state, writeIni);
}

// A list of `items` phone numbers, none of which blocks kFreeAddress.
QString blockList(int items)
{
    QStringList numbers;
    for (int i = 0; i < items; ++i)
        numbers << QStringLiteral("+4915550%1").arg(i, 5, 10, QLatin1Char('0'));
    return numbers.join(QLatin1Char(','));
}

const QString kFreeAddress = QStringLiteral("+4930999999");

void BM_Setting_IsInBlockList(benchmark::State& state)
{
    if (!libraryStore().ok() ||
        MMS_UTIL_Setting::setBlockList(blockList(int(state.range(0)))) != 0) {
        state.SkipWithError("cannot store the block list");
        return;
    }
    for (auto _ : state) {
        if (MMS_UTIL_Setting::isInBlockList(kFreeAddress) != 0) {
            state.SkipWithError("the address was blocked");
            break;
        }
    }
}

void BM_IsInBlockList_Given(benchmark::State& state)
{
    const QString list = blockList(int(state.range(0)));
    for (auto _ : state) {
        if (MMS_UTIL_Setting::isInBlockList(list, kFreeAddress) != 0) {
            state.SkipWithError("the address was blocked");
            break;
        }
    }
}

BENCHMARK(BM_Setting_Read)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawSQLite_Read)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_QSettings_Read)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_QSettings_ReadKeptOpen)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Setting_Write)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawSQLite_Write)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_Write)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_QSettings_Write)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Setting_IsInBlockList)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_IsInBlockList_Given)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
