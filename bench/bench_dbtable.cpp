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
#include "raw_sqlite.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <QDir>
#include <QString>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

const unsigned kNoRecord = unsigned(-1);

// Named among the context lines on top of the report, which are gathered before main() runs.
[[maybe_unused]] const bool contextAdded = [] {
    addBenchDirectoryContext();
    benchmark::AddCustomContext("sqlite_version", sqlite3_libversion());
    return true;
}();

// Writes `text` into a 16-bit field, high byte first, cut so that the terminator fits.
template <size_t N> void setText16(unsigned short (&field)[N], const QString& text)
{
    auto* bytes = reinterpret_cast<unsigned char*>(field);
    for (qsizetype i = 0; i < text.size() && size_t(i) + 1 < N; ++i) {
        bytes[2 * i] = static_cast<unsigned char>(text.at(i).unicode() >> 8);
        bytes[2 * i + 1] = static_cast<unsigned char>(text.at(i).unicode() & 0xFF);
    }
}

void setUri(MMS_UTIL_DBStruct_T* record, unsigned serial)
{
    std::snprintf(record->mms_fld_msguri_name, sizeof record->mms_fld_msguri_name,
                  "http://mmsc.example.org/mms/retrieve/m%08u", serial);
}

// An ordinary received message's row; `serial` makes its URI, ids and times its own.
MMS_UTIL_DBStruct_T makeRecord(unsigned serial)
{
    MMS_UTIL_DBStruct_T record{};
    setText16(record.cmn_fld_from_name, QStringLiteral("Ann Example"));
    setText16(record.cmn_fld_to_name, QStringLiteral("+15550101"));
    setText16(record.cmn_fld_subject,
              QStringLiteral("Photos from the weekend \u2013 %1").arg(serial));
    record.cmn_fld_time_msg_reach_phone = 1767268800u + serial;
    record.cmn_fld_time = 1767268700u + serial;
    record.cmn_fld_msg_usage = 1;
    record.cmn_fld_msg_type = 2;
    record.cmn_fld_folder_id = serial % 4;
    record.cmn_fld_priority = 1;
    record.cmn_fld_mms_type = 132;
    record.cmn_fld_send_receive_state = 3;
    record.mms_fld_deliveryreport_name = 1;
    record.mms_fld_msgsize_name = 30000 + serial % 1000;
    record.mms_fld_expiretime_name = 604800;
    std::snprintf(record.mms_fld_tid_name, sizeof record.mms_fld_tid_name, "T%010u", serial);
    std::snprintf(record.mms_fld_msgid_name, sizeof record.mms_fld_msgid_name,
                  "20260101120000-%08u@mms.example.org", serial);
    setUri(&record, serial);
    setText16(record.mms_fld_extra_name, QStringLiteral("image/jpeg; 3 parts"));
    return record;
}

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

// ---- Plain SQLite ----

// The index table in a database of its own, reached through the engine's C interface alone. The
// record's fields are mapped through MMS_UTIL_DBBINDING, as the library maps them.
class RawDatabase
{
public:
    // Null when the file cannot be opened or set up.
    static std::unique_ptr<RawDatabase> open(const QString& path);

    bool add(MMS_UTIL_DBStruct_T record, unsigned* id);
    bool read(unsigned id, MMS_UTIL_DBStruct_T* record);
    unsigned find(const char* uri);
    bool fill(unsigned rows, std::vector<unsigned>* ids);

private:
    bool exec(const char* sql)
    {
        return sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    StatementPtr prepare(const std::string& sql);
    // Runs a statement that returns no rows.
    static bool run(sqlite3_stmt* statement);
    bool insert(const MMS_UTIL_DBStruct_T& record, unsigned* id);

    ConnectionPtr db_;
    StatementPtr begin_, commit_, insert_, select_, find_;
};

StatementPtr RawDatabase::prepare(const std::string& sql)
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v3(db_.get(), sql.c_str(), int(sql.size()), SQLITE_PREPARE_PERSISTENT,
                       &statement, nullptr);
    return StatementPtr(statement);
}

bool RawDatabase::run(sqlite3_stmt* statement)
{
    const bool done = sqlite3_step(statement) == SQLITE_DONE;
    sqlite3_reset(statement);
    return done;
}

std::unique_ptr<RawDatabase> RawDatabase::open(const QString& path)
{
    auto raw = std::make_unique<RawDatabase>();
    raw->db_ = openRawConnection(path);
    if (!raw->db_)
        return nullptr;

    const std::string table = MMS_UTIL_DBTable::mmsTableName;
    std::string create = "CREATE TABLE " + table + " (id INTEGER PRIMARY KEY AUTOINCREMENT";
    std::vector<std::string> indexed;
    for (const DB_SCHEMA_T* field = MMS_UTIL_DBSCHEMA; field->tag[0]; ++field) {
        const bool text = field->type == DB_TYPE_CHAR_TEXT || field->type == DB_TYPE_UCS2_TEXT;
        create += ", " + std::string(field->name) + (text ? " TEXT" : " INTEGER");
        if (field->flag == 1)
            indexed.push_back(field->name);
    }
    if (!raw->exec((create + ")").c_str()))
        return nullptr;
    for (const std::string& field : indexed) {
        const std::string index =
            "CREATE INDEX index_" + field + " ON " + table + " (" + field + ", id)";
        if (!raw->exec(index.c_str()))
            return nullptr;
    }

    std::string columns, placeholders;
    for (const DB_BIND_T& field : MMS_UTIL_DBBINDING) {
        columns += (columns.empty() ? "" : ", ") + std::string(field.name);
        placeholders += placeholders.empty() ? "?" : ", ?";
    }
    raw->begin_ = raw->prepare("BEGIN");
    raw->commit_ = raw->prepare("COMMIT");
    raw->insert_ =
        raw->prepare("INSERT INTO " + table + " (" + columns + ") VALUES (" + placeholders + ")");
    raw->select_ = raw->prepare("SELECT " + columns + " FROM " + table + " WHERE id = ?");
    raw->find_ = raw->prepare("SELECT id FROM " + table +
                              " WHERE mms_fld_msguri_name = ? ORDER BY mms_fld_msguri_name, id "
                              "LIMIT 1");
    if (!raw->begin_ || !raw->commit_ || !raw->insert_ || !raw->select_ || !raw->find_)
        return nullptr;
    return raw;
}

bool RawDatabase::insert(const MMS_UTIL_DBStruct_T& record, unsigned* id)
{
    sqlite3_stmt* s = insert_.get();
    const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
    for (int index = 1; index <= MMS_UTIL_DBBINDING_ENTRIES; ++index) {
        const DB_BIND_T& field = MMS_UTIL_DBBINDING[index - 1];
        const unsigned char* p = bytes + field.offset;
        switch (field.code) {
        case DB_BIND_CHAR_TEXT: {
            const auto* text = reinterpret_cast<const char*>(p);
            sqlite3_bind_text(s, index, text, int(strnlen(text, field.size)), SQLITE_TRANSIENT);
            break;
        }
        case DB_BIND_UCS2_TEXT: {
            char16_t units[200];
            unsigned count = 0;
            for (; count < field.size / 2; ++count) {
                units[count] = char16_t(p[2 * count] << 8 | p[2 * count + 1]);
                if (units[count] == 0)
                    break;
            }
            sqlite3_bind_text16(s, index, units, int(2 * count), SQLITE_TRANSIENT);
            break;
        }
        case DB_BIND_INT16: {
            quint16 value;
            std::memcpy(&value, p, sizeof value);
            sqlite3_bind_int(s, index, value);
            break;
        }
        default: {
            quint32 value;
            std::memcpy(&value, p, sizeof value);
            sqlite3_bind_int64(s, index, value);
            break;
        }
        }
    }
    const bool done = sqlite3_step(s) == SQLITE_DONE;
    sqlite3_reset(s);
    *id = unsigned(sqlite3_last_insert_rowid(db_.get()));
    return done;
}

bool RawDatabase::add(MMS_UTIL_DBStruct_T record, unsigned* id)
{
    record.cmn_fld_contain_attachment = 0;
    return run(begin_.get()) && insert(record, id) && run(commit_.get());
}

bool RawDatabase::fill(unsigned rows, std::vector<unsigned>* ids)
{
    bool ok = run(begin_.get());
    for (unsigned serial = 0; ok && serial < rows; ++serial) {
        unsigned id = 0;
        ok = insert(makeRecord(serial), &id);
        ids->push_back(id);
    }
    return ok && run(commit_.get());
}

// Writes the selected row into the (zeroed) record as the library fetches it: texts cut so that
// the terminator fits, 16-bit units high byte first.
void storeRow(sqlite3_stmt* s, MMS_UTIL_DBStruct_T* record)
{
    auto* bytes = reinterpret_cast<unsigned char*>(record);
    for (int column = 0; column < MMS_UTIL_DBBINDING_ENTRIES; ++column) {
        const DB_BIND_T& field = MMS_UTIL_DBBINDING[column];
        unsigned char* p = bytes + field.offset;
        if (sqlite3_column_type(s, column) == SQLITE_NULL)
            continue;
        if (field.code == DB_BIND_CHAR_TEXT) {
            const unsigned char* text = sqlite3_column_text(s, column);
            std::memcpy(p, text,
                        qMin<size_t>(size_t(sqlite3_column_bytes(s, column)), field.size - 1));
        } else if (field.code == DB_BIND_UCS2_TEXT) {
            const auto* units = static_cast<const char16_t*>(sqlite3_column_text16(s, column));
            const size_t total = size_t(sqlite3_column_bytes16(s, column)) / 2;
            size_t kept = qMin<size_t>(total, field.size / 2 - 1);
            // Never keep half of a surrogate pair at the cut.
            if (kept > 0 && kept < total && QChar::isHighSurrogate(units[kept - 1]))
                --kept;
            for (size_t i = 0; i < kept; ++i) {
                p[2 * i] = static_cast<unsigned char>(units[i] >> 8);
                p[2 * i + 1] = static_cast<unsigned char>(units[i] & 0xFF);
            }
        } else if (field.code == DB_BIND_INT16) {
            const auto value = static_cast<quint16>(sqlite3_column_int(s, column));
            std::memcpy(p, &value, sizeof value);
        } else {
            const auto value = static_cast<quint32>(sqlite3_column_int64(s, column));
            std::memcpy(p, &value, sizeof value);
        }
    }
}

bool RawDatabase::read(unsigned id, MMS_UTIL_DBStruct_T* record)
{
    if (!run(begin_.get()))
        return false;
    sqlite3_stmt* s = select_.get();
    sqlite3_bind_int64(s, 1, id);
    std::memset(static_cast<void*>(record), 0, sizeof *record);
    const bool found = sqlite3_step(s) == SQLITE_ROW;
    if (found)
        storeRow(s, record);
    sqlite3_reset(s);
    return run(commit_.get()) && found;
}

unsigned RawDatabase::find(const char* uri)
{
    if (!run(begin_.get()))
        return kNoRecord;
    sqlite3_stmt* s = find_.get();
    sqlite3_bind_text(s, 1, uri, -1, SQLITE_TRANSIENT);
    const unsigned id =
        sqlite3_step(s) == SQLITE_ROW ? unsigned(sqlite3_column_int64(s, 0)) : kNoRecord;
    sqlite3_reset(s);
    return run(commit_.get()) ? id : kNoRecord;
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
