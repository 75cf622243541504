// A message kept through the message store against the work that any store keeping it durably
// must do: one committed row and one mail file whose name survives a power cut.
//
// BM_Paired_StoreAdd/body:N/named:0|1
//                       MessageStore::compose of a message with an N-byte body (named:1, every
//                       entry named already, so no address book look-up), paired with its
//                       raw counterpart: the same kind of index row inserted and committed with the
//                       engine driven directly (a table of its own in a database file of its own
//                       beside the store's, set up as the store's: WAL, synchronous=FULL), and the
//                       bytes of the mail file the store wrote for the message written under a
//                       temporary name, synced, renamed to a new name and the directory synced.
//                       Counters library_us, raw_us and their ratio, both sides having met the same
//                       disk, and rows: the messages the store held at the end of the run.
// BM_Paired_StoreList/N MessageStore::list of a store of N rows, paired with one SELECT of the
//                       same columns of N rows in id order on the engine driven directly, each row
//                       filled into a record as the library fills it. The rows (made by makeRecord,
//                       without mail files, which a listing does not read) are added once in one
//                       transaction, to a device database of their own.
// BM_Paired_StoreListFolder/N
//                       MessageStore::list of the inbox alone (a quarter of the same N rows),
//                       paired with the raw SELECT of all N rows and the folder picked out in C++.
// BM_Paired_StoreCheck/N
//                       checkStore (no repair) of a store of N messages whose mail files hold a
//                       100-byte body, paired with a raw loop over the same rows and files: one
//                       SELECT of every row, then for each row its mail file opened, its 16-byte
//                       record read and its header block read. The files are written once,
//                       without syncs, and read from the page cache by both sides.
// BM_StoreRebuild/N     checkStore with rebuild of the same N mail files after their index was
//                       lost: N rows made from the headers, each committed (and synced) on its own.
//
// Each run of BM_Paired_StoreAdd keeps its own messages (one store object, as an application
// keeps one) and deletes them afterwards, with the raw rows and files, so that every run starts
// from an empty store and the store grows only by the iterations of the run. The store's
// directories (TAV_PLATFORM_DIR, TAV_LOCAL_DOWNLOAD_PATH) are set to a fresh directory under
// $TAVMMS_BENCH_DIR, else under the system's temporary directory, or under the current directory
// when that one is a tmpfs (which would hide the cost of syncing).

#include <tavmmsutility.h>

#include "db_service.h"
#include "header_row.h"
#include "index_rows.h"
#include "mail_file_io.h"
#include "message_index.h"
#include "message_store.h"
#include "message_store_check.h"
#include "sqlite_database.h"

#include "bench_directory.h"
#include "composed_message.h"
#include "message_body.h"
#include "paired_timing.h"
#include "raw_file.h"
#include "raw_index_table.h"
#include "store_of_its_own.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QtEndian>

#include <cstdio>
#include <fcntl.h>
#include <map>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{

using tavmms::store::Added;
using tavmms::store::Folder;
using tavmms::store::MessageStore;
using tavmms::store::NewMessage;

QString platformDirectory()
{
    return benchDirectory() + QStringLiteral("/platform");
}

QString downloadDirectory()
{
    return benchDirectory() + QStringLiteral("/download");
}

// Named among the context lines on top of the report, which are gathered before main() runs; the
// store's directories are set before anything of the platform reads them.
[[maybe_unused]] const bool contextAdded = [] {
    addBenchDirectoryContext();
    benchmark::AddCustomContext("sqlite_version", sqlite3_libversion());
    qputenv("TAV_PLATFORM_DIR", QFile::encodeName(platformDirectory()));
    qputenv("TAV_LOCAL_DOWNLOAD_PATH", QFile::encodeName(downloadDirectory()));
    return true;
}();

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The raw counterpart of an add: a row inserted and committed, then a new file saved by rename
// with the file and its directory synced. The rows go to one database kept for the whole process,
// as the store's are; each run deletes its rows and files when it ends.
class RawStore
{
public:
    explicit RawStore(QByteArray bytes)
        : bytes_(std::move(bytes)),
          directory_(QFile::encodeName(downloadDirectory() + QStringLiteral("/mms/rawfile")))
    {
    }
    ~RawStore()
    {
        for (unsigned serial = 0; serial < serial_; ++serial)
            ::unlink(path(serial).constData());
        if (database())
            database()->clear();
    }
    RawStore(const RawStore&) = delete;
    RawStore& operator=(const RawStore&) = delete;

    bool ok() const { return database() && QDir().mkpath(QFile::decodeName(directory_)); }

    bool add()
    {
        const unsigned serial = serial_++;
        setUri(&record_, serial);
        unsigned id = 0;
        const QByteArray name = path(serial);
        const QByteArray temporary = name + ".tmp";
        return database()->add(record_, &id) && writeSyncedFile(temporary, bytes_) &&
               ::rename(temporary.constData(), name.constData()) == 0 && syncDirectory(directory_);
    }

private:
    static RawDatabase* database()
    {
        static const std::unique_ptr<RawDatabase> opened =
            RawDatabase::open(platformDirectory() + QStringLiteral("/raw-index.db"));
        return opened.get();
    }
    QByteArray path(unsigned serial) const
    {
        return directory_ + '/' + QByteArray::number(serial) + ".mms";
    }

    const QByteArray bytes_;
    const QByteArray directory_;
    MMS_UTIL_DBStruct_T record_ = makeRecord(0); // made once: only its URI changes from row to row
    unsigned serial_ = 0;
};

// The library's compose and the raw add in turn (which goes first alternates). The time is the
// pair's; the counters are each side's and their ratio.
void BM_Paired_StoreAdd(benchmark::State& state)
{
    // The bodies are over a fresh store's limit of 50 KB.
    MMS_UTIL_Setting::setMaxiumMOMMSSize(0);
    const NewMessage message = composedMessage(makeBody(state.range(0)), state.range(1) != 0);
    MessageStore store;
    // A first message, not timed, gives the bytes of the file the raw side writes, and has the
    // store object do once what it does on its first use.
    const Added first = store.compose(message, Folder::Outbox);
    if (!first.status.ok()) {
        state.SkipWithError(qPrintable(first.status.text));
        return;
    }
    QList<unsigned int> kept{first.id};
    RawStore raw(fileBytes(first.mailFile));
    if (!raw.ok()) {
        state.SkipWithError("cannot set up the raw database or directory");
        return;
    }
    PairedTiming().runAll(
        state,
        [&] {
            const Added added = store.compose(message, Folder::Outbox);
            if (added.status.ok())
                kept.append(added.id);
            return added.status.ok();
        },
        [&] { return raw.add(); }, "an add failed");
    state.counters["rows"] = double(kept.size());
    for (const tavmms::store::Removed& removed : store.remove(kept)) {
        if (!removed.status.ok()) {
            std::fprintf(stderr, "cannot delete message %u: %s\n", removed.id,
                         qPrintable(removed.status.text));
        }
    }
}

// A device database of its own holding `rows` index rows, and the same rows in a raw database
// beside it.
struct ListedRows {
    explicit ListedRows(unsigned rows)
        : database(benchDirectory() + QStringLiteral("/list-%1.db").arg(rows)),
          raw(RawDatabase::open(benchDirectory() + QStringLiteral("/list-%1-raw.db").arg(rows)))
    {
        std::vector<unsigned> rawIds;
        ok = raw && raw->fill(rows, &rawIds) && fillLibrary(rows);
    }

    bool fillLibrary(unsigned rows)
    {
        const tavplatform::ScopedDatabaseService installed(&database);
        const tavmms::store::IndexTable table;
        tavmms::store::Transaction txn;
        bool filled = table.isOpen() && txn.begin() == DB_OK;
        for (unsigned serial = 0; filled && serial < rows; ++serial) {
            unsigned id = 0;
            filled = MMS_UTIL_DBTable::add(makeRecord(serial), &id) == DB_OK &&
                     MMS_UTIL_DBTable::commitTxn() == DB_OK;
        }
        return filled && txn.commit() == DB_OK;
    }

    tavplatform::SqliteDatabase database;
    const std::unique_ptr<RawDatabase> raw;
    bool ok = false;
};

// The rows of `rows`, made on first use and kept for the process; null when they cannot be made.
ListedRows* listedRows(unsigned rows)
{
    static std::map<unsigned, std::unique_ptr<ListedRows>> made;
    std::unique_ptr<ListedRows>& listed = made[rows];
    if (!listed)
        listed = std::make_unique<ListedRows>(rows);
    return listed->ok ? listed.get() : nullptr;
}

// The rows of the benchmark's size; null, and the benchmark skipped, when they cannot be made.
ListedRows* listedRowsOrSkip(benchmark::State& state)
{
    ListedRows* listed = listedRows(unsigned(state.range(0)));
    if (!listed)
        state.SkipWithError("cannot fill the databases");
    return listed;
}

void BM_Paired_StoreList(benchmark::State& state)
{
    const auto rows = unsigned(state.range(0));
    ListedRows* listed = listedRowsOrSkip(state);
    if (!listed)
        return;
    const tavplatform::ScopedDatabaseService installed(&listed->database);
    MessageStore store;
    std::vector<std::pair<unsigned, MMS_UTIL_DBStruct_T>> rawRows;
    PairedTiming().runAll(
        state,
        [&] {
            const tavmms::store::Listed all = store.list();
            return all.status.ok() && all.rows.size() == rows;
        },
        [&] { return listed->raw->readAll(&rawRows) && rawRows.size() == rows; },
        "a listing failed or missed rows");
}

void BM_Paired_StoreListFolder(benchmark::State& state)
{
    const auto rows = unsigned(state.range(0));
    ListedRows* listed = listedRowsOrSkip(state);
    if (!listed)
        return;
    const tavplatform::ScopedDatabaseService installed(&listed->database);
    MessageStore store;
    tavmms::store::ListFilter inbox;
    inbox.anyFolder = false;
    inbox.folder = unsigned(Folder::Inbox);
    std::vector<std::pair<unsigned, MMS_UTIL_DBStruct_T>> rawRows;
    std::vector<const MMS_UTIL_DBStruct_T*> rawInbox;
    PairedTiming().runAll(
        state,
        [&] {
            const tavmms::store::Listed listedInbox = store.list(inbox);
            return listedInbox.status.ok() && listedInbox.rows.size() == rows / 4;
        },
        [&] {
            rawInbox.clear();
            if (!listed->raw->readAll(&rawRows))
                return false;
            for (const auto& row : rawRows) {
                if (row.second.cmn_fld_folder_id == unsigned(Folder::Inbox))
                    rawInbox.push_back(&row.second);
            }
            return rawInbox.size() == rows / 4;
        },
        "a listing failed or missed rows");
}

// A store of its own in "<bench directory>/store-N": `rows` messages, each a row made from the
// header of its mail file, and the files, made by the first object and found by the next; the
// store's directories point at it while the object lives.
class FilledStore
{
public:
    explicit FilledStore(unsigned rows)
        : store_(benchDirectory() + QStringLiteral("/store-%1").arg(rows))
    {
        ok_ = MessageStore().list().rows.size() == rows || fill(rows);
    }

    bool ok() const { return ok_; }
    // A message's mail file path, as the raw loop opens it.
    static QByteArray mailFile(unsigned id)
    {
        return QFile::encodeName(MMS_UTIL_Common::msgDBIDToMailFileName(id));
    }

private:
    bool fill(unsigned rows) const
    {
        MMS_UTIL_MsgHeaderBase header;
        header.subject = QStringLiteral("Photos from the weekend");
        header.from.address = QStringLiteral("+15550101");
        header.sendDate = QDateTime::fromSecsSinceEpoch(1767268700);
        header.messageId = QStringLiteral("20260101120000@mms.example.org");
        header.messageSize = 100;
        const QString sample = store_.root() + QStringLiteral("/sample.mms");
        QFile::remove(sample);
        if (!QDir().mkpath(MMS_UTIL_Common::getMailFileDir()) ||
            !tavmms::store::saveNewMailFile(sample, header, QByteArray(100, 'b')).ok())
            return false;
        const QByteArray bytes = fileBytes(sample);
        MMS_UTIL_DBStruct_T row = tavmms::store::headerRow(header);
        row.cmn_fld_folder_id = unsigned(Folder::Inbox);
        const tavmms::store::IndexTable table;
        tavmms::store::Transaction txn;
        bool filled = table.isOpen() && txn.begin() == DB_OK;
        for (unsigned serial = 0; filled && serial < rows; ++serial) {
            unsigned id = 0;
            filled =
                MMS_UTIL_DBTable::add(row, &id) == DB_OK && MMS_UTIL_DBTable::commitTxn() == DB_OK;
            QFile file(MMS_UTIL_Common::msgDBIDToMailFileName(id));
            filled = filled && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
        }
        return filled && txn.commit() == DB_OK;
    }

    StoreOfItsOwn store_;
    bool ok_ = false;
};

// The raw rows beside a store of `rows` messages, made on first use and kept for the process;
// null when they cannot be made.
RawDatabase* rawRowsOf(unsigned rows)
{
    static std::map<unsigned, std::unique_ptr<RawDatabase>> made;
    std::unique_ptr<RawDatabase>& raw = made[rows];
    std::vector<unsigned> ids;
    if (!raw) {
        raw = RawDatabase::open(benchDirectory() + QStringLiteral("/store-%1-raw.db").arg(rows));
        if (raw && !raw->fill(rows, &ids))
            raw.reset();
    }
    return raw.get();
}

// The raw side of a check: reads the record and the header block of `path`, as a checker that
// knows the format would.
bool readRecordAndHeaderBlock(const QByteArray& path, QByteArray* block)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    unsigned char record[16];
    bool ok = ::read(fd, record, sizeof record) == ssize_t(sizeof record);
    const quint32 headerStart =
        qFromBigEndian<quint32>(record + 8) + qFromBigEndian<quint32>(record + 12);
    struct stat status {
    };
    ok = ok && ::fstat(fd, &status) == 0 && status.st_size > qint64(headerStart);
    if (ok) {
        block->resize(qsizetype(status.st_size - headerStart));
        ok = ::pread(fd, block->data(), size_t(block->size()), off_t(headerStart)) ==
             ssize_t(block->size());
    }
    ::close(fd);
    return ok;
}

void BM_Paired_StoreCheck(benchmark::State& state)
{
    const auto rows = unsigned(state.range(0));
    const FilledStore store(rows);
    RawDatabase* raw = rawRowsOf(rows);
    if (!store.ok() || !raw) {
        state.SkipWithError("cannot fill the store");
        return;
    }
    std::vector<std::pair<unsigned, MMS_UTIL_DBStruct_T>> rawRows;
    QByteArray block;
    PairedTiming().runAll(
        state,
        [&] {
            const tavmms::store::CheckReport report = tavmms::store::checkStore({});
            return report.status.ok() && report.problems.isEmpty() && report.mailFiles == int(rows);
        },
        [&] {
            if (!raw->readAll(&rawRows))
                return false;
            // The raw rows' ids are the store's (both count from 1) until a rebuild gives the
            // store's rows new ids: the benchmark that runs one comes last.
            for (const auto& row : rawRows) {
                if (!readRecordAndHeaderBlock(FilledStore::mailFile(row.first), &block))
                    return false;
            }
            return rawRows.size() == rows;
        },
        "a check failed or found problems");
}

void BM_StoreRebuild(benchmark::State& state)
{
    const auto rows = unsigned(state.range(0));
    const FilledStore store(rows);
    if (!store.ok()) {
        state.SkipWithError("cannot fill the store");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        // The index is lost: its rows go, and the database goes on counting, so that every
        // file is renamed.
        const tavmms::store::Listed listed = MessageStore().list();
        bool emptied = listed.status.ok();
        {
            const tavmms::store::IndexTable table;
            tavmms::store::Transaction txn;
            emptied = emptied && table.isOpen() && txn.begin() == DB_OK;
            for (const tavmms::store::MessageRow& row : listed.rows)
                emptied = emptied && MMS_UTIL_DBTable::del(row.id) == DB_OK &&
                          MMS_UTIL_DBTable::commitTxn() == DB_OK;
            emptied = emptied && txn.commit() == DB_OK;
        }
        state.ResumeTiming();
        tavmms::store::CheckOptions options;
        options.rebuild = true;
        const tavmms::store::CheckReport report = tavmms::store::checkStore(options);
        if (!emptied || !report.status.ok() || report.repaired() != int(rows)) {
            state.SkipWithError("the rebuild failed");
            break;
        }
    }
    state.counters["rows"] = rows;
}

BENCHMARK(BM_Paired_StoreAdd)
    ->ArgNames({"body", "named"})
    ->ArgsProduct({{1024, 100 * 1024, 300 * 1024}, {0, 1}})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_StoreList)->Arg(1000)->Arg(10000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_StoreListFolder)->Arg(10000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_StoreCheck)->Arg(10000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StoreRebuild)->Arg(10000)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
