// The message index table against plain SQLite doing the same work with the same settings: the
// same columns (TEXT for texts, INTEGER for numbers), ids from AUTOINCREMENT, an index (field, id)
// on every indexed field, WAL, synchronous=FULL, a 5000 ms busy timeout, and prepared statements
// (BEGIN and COMMIT among them) made once and reused.
//
// BM_DBTable_AddCommit        MMS_UTIL_DBTable::add then commitTxn, one row per iteration.
// BM_RawSQLite_AddCommit      BEGIN; INSERT; COMMIT, one row per iteration.
// BM_Paired_AddCommit         both in turn, row by row: counters library_us, raw_us and their
//                             ratio, which the disk's changing sync time affects least.
// BM_DBTable_ReadRecord       MMS_UTIL_DBTable::readRecord of an existing id, at random, in a
//                             table of 1,000 rows.
// BM_RawSQLite_ReadRecord     BEGIN; SELECT the bound columns by id; COMMIT, filling a record
//                             the same way (zeroed, texts cut to fit, 16-bit units high byte
//                             first).
// BM_DBTable_FindMsgURI/N     MMS_UTIL_DBTable::findMsgURI of an existing URI, at random, in a
//                             table of N rows with distinct URIs.
// BM_RawSQLite_FindByUri/N    BEGIN; SELECT id ... WHERE uri = ? ORDER BY uri, id LIMIT 1; COMMIT
//                             on the same rows.
//
// The tables of each size are filled once, in one transaction, and kept for the whole run. The
// databases live in a fresh directory under $TAVMMS_BENCH_DIR, else under the system's temporary
// directory, or under the current directory when that one is a tmpfs (which would hide the cost of
// syncing).

#include <tavmmsutility.h>

#include "db_service.h"
#include "sqlite_database.h"

#include "bench_directory.h"
#include "paired_timing.h"
#include "raw_index_table.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <QDir>
#include <QString>
#include <QTemporaryDir>

#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace
{

// Named among the context lines on top of the report, which are gathered before main() runs.
[[maybe_unused]] const bool contextAdded = [] {
    addBenchDirectoryContext();
    benchmark::AddCustomContext("sqlite_version", sqlite3_libversion());
    return true;
}();

// 4096 row numbers below `rows`, the same for every benchmark of that size.
std::vector<size_t> randomRows(size_t rows)
{
    std::mt19937 generator{unsigned(rows)};
    std::uniform_int_distribution<size_t> pick(0, rows - 1);
    std::vector<size_t> picked(4096);
    for (size_t& row : picked)
        row = pick(generator);
    return picked;
}

// ---- The library on the device database ----

// A device database on its own file with the index table made and opened in it.
class LibraryDatabase
{
public:
    explicit LibraryDatabase(const QString& path) : database_(path)
    {
        const tavplatform::ScopedDatabaseService installed(&database_);
        ok_ = MMS_UTIL_DBTable::initTable() == DB_OK;
        table_ = MMS_UTIL_DBTable::mmsTableHandle;
        MMS_UTIL_DBTable::setMmsTableHandle(nullptr);
    }

    bool ok() const { return ok_; }

    // Adds `rows` rows made by makeRecord(0 .. rows - 1) in one transaction, their ids to `ids`.
    bool fill(unsigned rows, std::vector<unsigned>* ids);

private:
    friend class UsedLibrary;
    tavplatform::SqliteDatabase database_;
    void* table_ = nullptr;
    bool ok_ = false;
};

// While it lives, `library` is the device database and its index table the one MMS_UTIL_DBTable
// works on.
class UsedLibrary
{
public:
    explicit UsedLibrary(LibraryDatabase& library) : installed_(&library.database_)
    {
        MMS_UTIL_DBTable::setMmsTableHandle(library.table_);
    }
    ~UsedLibrary() { MMS_UTIL_DBTable::setMmsTableHandle(nullptr); }
    UsedLibrary(const UsedLibrary&) = delete;
    UsedLibrary& operator=(const UsedLibrary&) = delete;

private:
    tavplatform::ScopedDatabaseService installed_;
};

bool LibraryDatabase::fill(unsigned rows, std::vector<unsigned>* ids)
{
    const UsedLibrary used(*this);
    void* txn = nullptr;
    void* bind = nullptr;
    if (DB_TXN_Begin(&txn, 0) != DB_OK)
        return false;
    bool ok = DB_STRUCT_BindToTable(table_, MMS_UTIL_DBGetBinding, &bind) == DB_OK;
    for (unsigned serial = 0; ok && serial < rows; ++serial) {
        MMS_UTIL_DBStruct_T record = makeRecord(serial);
        unsigned id = 0;
        ok = DB_TABLE_Insert(txn, table_, &record, bind, &id) == DB_OK;
        ids->push_back(id);
    }
    if (bind)
        DB_STRUCT_CloseBind(bind);
    if (!ok) {
        DB_TXN_Abort(txn);
        return false;
    }
    return DB_TXN_Commit(txn) == DB_OK;
}

// ---- The tables of each size, filled once ----

struct FilledTables {
    std::unique_ptr<LibraryDatabase> library;
    std::unique_ptr<RawDatabase> raw;
    std::vector<unsigned> libraryIds; // by serial
    std::vector<unsigned> rawIds;
    std::vector<QByteArray> uris; // by serial
};

// The tables of `rows` rows, made on first use; null (and `state` skipped) when they cannot be.
FilledTables* filledTables(unsigned rows, benchmark::State& state)
{
    static std::map<unsigned, std::unique_ptr<FilledTables>> made;
    auto found = made.find(rows);
    if (found != made.end())
        return found->second.get();
    const QString prefix = benchDirectory() + QStringLiteral("/rows-%1-").arg(rows);
    auto tables = std::make_unique<FilledTables>();
    tables->library = std::make_unique<LibraryDatabase>(prefix + QStringLiteral("library.db"));
    tables->raw = RawDatabase::open(prefix + QStringLiteral("raw.db"));
    if (!tables->library->ok() || !tables->raw ||
        !tables->library->fill(rows, &tables->libraryIds) ||
        !tables->raw->fill(rows, &tables->rawIds)) {
        state.SkipWithError("cannot fill the tables");
        return nullptr;
    }
    for (unsigned serial = 0; serial < rows; ++serial)
        tables->uris.push_back(QByteArray(makeRecord(serial).mms_fld_msguri_name));
    return made.emplace(rows, std::move(tables)).first->second.get();
}

// ---- Benchmarks ----

// Empty tables to add to, in a directory of their own that goes with them.
struct EmptyTables {
    EmptyTables()
        : library(directory.filePath(QStringLiteral("library.db"))),
          raw(RawDatabase::open(directory.filePath(QStringLiteral("raw.db"))))
    {
    }
    bool ok() const { return library.ok() && raw; }

    const QTemporaryDir directory{benchDirectory() + QStringLiteral("/add-XXXXXX")};
    LibraryDatabase library;
    const std::unique_ptr<RawDatabase> raw;
};

bool addThroughLibrary(const MMS_UTIL_DBStruct_T& record, unsigned* id)
{
    return MMS_UTIL_DBTable::add(record, id) == DB_OK && MMS_UTIL_DBTable::commitTxn() == DB_OK;
}

// Adds and commits one row per iteration through `add(record, &id)`, each with a URI of its own.
template <typename Add> void addRows(benchmark::State& state, Add add)
{
    EmptyTables tables;
    if (!tables.ok()) {
        state.SkipWithError("cannot make the tables");
        return;
    }
    const UsedLibrary used(tables.library);
    MMS_UTIL_DBStruct_T record = makeRecord(0);
    unsigned serial = 0;
    for (auto _ : state) {
        setUri(&record, ++serial);
        unsigned id = 0;
        if (!add(*tables.raw, record, &id)) {
            state.SkipWithError("add or commit failed");
            break;
        }
        benchmark::DoNotOptimize(id);
    }
}

void BM_DBTable_AddCommit(benchmark::State& state)
{
    addRows(state, [](RawDatabase&, const MMS_UTIL_DBStruct_T& record, unsigned* id) {
        return addThroughLibrary(record, id);
    });
}

void BM_RawSQLite_AddCommit(benchmark::State& state)
{
    addRows(state, [](RawDatabase& raw, const MMS_UTIL_DBStruct_T& record, unsigned* id) {
        return raw.add(record, id);
    });
}

// The library and plain SQLite in turn, row by row (which goes first alternates). The time is
// the pair's; the counters are each side's and their ratio.
void BM_Paired_AddCommit(benchmark::State& state)
{
    PairedTiming timing;
    addRows(state, [&](RawDatabase& raw, const MMS_UTIL_DBStruct_T& record, unsigned* id) {
        return timing.run([&] { return addThroughLibrary(record, id); },
                          [&] { return raw.add(record, id); });
    });
    timing.report(state);
}

// Calls `lookUp(serial)` for rows picked at random among `rows`; it returns false when the lookup
// failed or gave another answer than the row's.
template <typename LookUp> void lookUpRows(benchmark::State& state, unsigned rows, LookUp lookUp)
{
    const std::vector<size_t> picked = randomRows(rows);
    size_t next = 0;
    for (auto _ : state) {
        if (!lookUp(picked[next++ % picked.size()])) {
            state.SkipWithError("lookup failed or gave a wrong answer");
            break;
        }
    }
}

const unsigned kReadRows = 1000;

// Reads go through `read(serial, record)`, and what they read must be the record that was added.
template <typename Read> void readRows(benchmark::State& state, Read read)
{
    std::vector<MMS_UTIL_DBStruct_T> expected;
    for (unsigned serial = 0; serial < kReadRows; ++serial)
        expected.push_back(makeRecord(serial));
    MMS_UTIL_DBStruct_T record;
    lookUpRows(state, kReadRows, [&](size_t serial) {
        return read(serial, &record) && std::memcmp(&record, &expected[serial], sizeof record) == 0;
    });
}

void BM_DBTable_ReadRecord(benchmark::State& state)
{
    FilledTables* tables = filledTables(kReadRows, state);
    if (!tables)
        return;
    const UsedLibrary used(*tables->library);
    readRows(state, [&](size_t serial, MMS_UTIL_DBStruct_T* record) {
        return MMS_UTIL_DBTable::readRecord(tables->libraryIds[serial], record) == DB_OK;
    });
}

void BM_RawSQLite_ReadRecord(benchmark::State& state)
{
    FilledTables* tables = filledTables(kReadRows, state);
    if (!tables)
        return;
    readRows(state, [&](size_t serial, MMS_UTIL_DBStruct_T* record) {
        return tables->raw->read(tables->rawIds[serial], record);
    });
}

void BM_DBTable_FindMsgURI(benchmark::State& state)
{
    const auto rows = unsigned(state.range(0));
    FilledTables* tables = filledTables(rows, state);
    if (!tables)
        return;
    const UsedLibrary used(*tables->library);
    lookUpRows(state, rows, [&](size_t serial) {
        return MMS_UTIL_DBTable::findMsgURI(tables->uris[serial].data()) ==
               tables->libraryIds[serial];
    });
}

void BM_RawSQLite_FindByUri(benchmark::State& state)
{
    const auto rows = unsigned(state.range(0));
    FilledTables* tables = filledTables(rows, state);
    if (!tables)
        return;
    lookUpRows(state, rows, [&](size_t serial) {
        return tables->raw->find(tables->uris[serial].constData()) == tables->rawIds[serial];
    });
}

BENCHMARK(BM_DBTable_AddCommit)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawSQLite_AddCommit)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_AddCommit)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DBTable_ReadRecord)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawSQLite_ReadRecord)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DBTable_FindMsgURI)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawSQLite_FindByUri)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
