// MMS_UTIL_DBTable across processes: a writer killed inside a transaction, two writers at the same
// time, and a writer that fills its disk. Every writer is a forked child; the parent opens the
// database only after its children are gone, since an SQLite connection must never cross fork().

#include "mms_util_dbtable.h"

#include "support/child_process.h"
#include "support/index_table_helpers.h"
#include "support/mount_namespace.h"
#include "support/sql_queries.h"
#include "support/temp_database.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <chrono>
#include <csignal>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using tavmms_test::InstalledDatabase;
using tavmms_test::sameRecord;
using tavmms_test::sampleRecord;
using tavmms_test::ScopedIndexTableState;
using tavmms_test::zeroRecord;

const unsigned kNoRecord = 0xFFFFFFFFu;

QByteArray uriOf(const char* prefix, int index)
{
    return QByteArray(prefix) + '-' + QByteArray::number(index);
}

std::string describe(const char* what, int index, int result)
{
    return std::string(what) + " " + std::to_string(index) + " gave " + std::to_string(result);
}

// Adds the record and commits it; a commit that fails is aborted.
int addAndCommit(const MMS_UTIL_DBStruct_T& record, unsigned* id)
{
    int result = MMS_UTIL_DBTable::add(record, id);
    if (result == DB_OK) {
        result = MMS_UTIL_DBTable::commitTxn();
        if (result != DB_OK)
            MMS_UTIL_DBTable::abortTxn();
    }
    return result;
}

// Empty when each (id, record) pair reads back as it was written, else what differs.
std::string checkRecords(const std::vector<std::pair<unsigned, MMS_UTIL_DBStruct_T>>& rows)
{
    for (const auto& [id, record] : rows) {
        MMS_UTIL_DBStruct_T back = zeroRecord();
        const int result = MMS_UTIL_DBTable::readRecord(id, &back);
        if (result != DB_OK)
            return "reading row " + std::to_string(id) + " gave " + std::to_string(result);
        if (const auto same = sameRecord(record, back); !same)
            return "row " + std::to_string(id) + ": " + same.message();
    }
    return {};
}

QByteArray integrityOf(const QString& path)
{
    auto look = tavmms_test::lookInto(path);
    return look ? tavmms_test::queryText(*look, "PRAGMA integrity_check") : "cannot open";
}

qint64 countOf(const QString& path, const std::string& where = "1")
{
    auto look = tavmms_test::lookInto(path);
    return look ? tavmms_test::queryInt(*look,
                                        "SELECT count(*) FROM mms_table_in_flash WHERE " + where)
                : -1;
}

class DbTableProcessesTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(temp.isValid()); }

    QString path() const { return temp.filePath(QStringLiteral("device.db")); }

    ScopedIndexTableState state;
    QTemporaryDir temp;
};

// ---- a writer killed inside a transaction

const int kCrashRows = 30;

// Commits the rows "committed-i" and aborts "aborted-i" (every third), then, in one more
// transaction that it never ends, adds "pending-0" and "pending-1" and deletes the first committed
// row; tells the parent, and waits to be killed.
ChildVerdict crashingWriter(ChildProcess& self, const QString& path)
{
    InstalledDatabase database(path);
    if (const int r = MMS_UTIL_DBTable::initTable(); r != DB_OK)
        return ChildVerdict::fail(describe("initTable", 0, r));
    unsigned firstCommitted = 0;
    for (int i = 0; i < kCrashRows; ++i) {
        const bool keep = i % 3 != 2;
        unsigned id = 0;
        int r =
            MMS_UTIL_DBTable::add(sampleRecord(uriOf(keep ? "committed" : "aborted", i), i), &id);
        if (r == DB_OK)
            r = keep ? MMS_UTIL_DBTable::commitTxn() : MMS_UTIL_DBTable::abortTxn();
        if (r != DB_OK)
            return ChildVerdict::fail(describe("row", i, r));
        if (i == 0)
            firstCommitted = id;
    }
    unsigned id = 0;
    if (const int r = MMS_UTIL_DBTable::add(sampleRecord(uriOf("pending", 0), 100), &id);
        r != DB_OK)
        return ChildVerdict::fail(describe("pending row", 0, r));
    // More work in the same transaction, through the database's own calls.
    void* bind = nullptr;
    MMS_UTIL_DBStruct_T second = sampleRecord(uriOf("pending", 1), 101);
    if (DB_STRUCT_BindToTable(MMS_UTIL_DBTable::mmsTableHandle, MMS_UTIL_DBGetBinding, &bind) !=
            DB_OK ||
        DB_TABLE_Insert(MMS_UTIL_DBTable::mmsTxn, MMS_UTIL_DBTable::mmsTableHandle, &second, bind,
                        &id) != DB_OK ||
        DB_TABLE_Delete(MMS_UTIL_DBTable::mmsTxn, MMS_UTIL_DBTable::mmsTableHandle,
                        firstCommitted) != DB_OK)
        return ChildVerdict::fail("the pending transaction could not be filled");
    self.send("ready");
    for (;;)
        ::pause();
}

TEST_F(DbTableProcessesTest, KillInsideATransactionKeepsExactlyTheCommittedRows)
{
    ChildProcess child([&](ChildProcess& self) { return crashingWriter(self, path()); });
    ASSERT_TRUE(child.started());
    const std::optional<std::string> line = child.receiveLine(30s);
    ASSERT_EQ(line, std::optional<std::string>("ready")) << child.finish(1s).message;
    const int status = child.kill();
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;

    InstalledDatabase database(path());
    ASSERT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    for (int i = 0; i < kCrashRows; ++i) {
        SCOPED_TRACE(i);
        QByteArray committed = uriOf("committed", i);
        QByteArray aborted = uriOf("aborted", i);
        if (i % 3 == 2) {
            EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(aborted.data()), kNoRecord);
            continue;
        }
        const unsigned id = MMS_UTIL_DBTable::findMsgURI(committed.data());
        ASSERT_NE(id, kNoRecord);
        EXPECT_EQ(checkRecords({{id, sampleRecord(committed, i)}}), "");
    }
    for (int i = 0; i < 2; ++i) {
        QByteArray pending = uriOf("pending", i);
        EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(pending.data()), kNoRecord);
    }
    EXPECT_EQ(countOf(path()), kCrashRows - kCrashRows / 3);
    EXPECT_EQ(integrityOf(path()), "ok");
}

// ---- two writers at the same time

const int kRowsPerWriter = 1000;

// Adds and commits its rows; a busy database is the only failure it accepts, and it then aborts
// and tries the same row again.
ChildVerdict concurrentWriter(const QString& path, const char* prefix,
                              std::chrono::steady_clock::time_point start)
{
    std::this_thread::sleep_until(start);
    InstalledDatabase database(path);
    int busy = 0;
    const int maxBusy = 10 * kRowsPerWriter;
    int r;
    while ((r = MMS_UTIL_DBTable::initTable()) == DB_ERR_BUSY && ++busy < maxBusy) {
    }
    if (r != DB_OK)
        return ChildVerdict::fail(describe("initTable", 0, r));
    for (int i = 0; i < kRowsPerWriter; ++i) {
        unsigned id = 0;
        while ((r = addAndCommit(sampleRecord(uriOf(prefix, i), i), &id)) == DB_ERR_BUSY &&
               ++busy < maxBusy) {
        }
        if (r != DB_OK)
            return ChildVerdict::fail(describe(prefix, i, r) + " after " + std::to_string(busy) +
                                      " busy retries");
    }
    return ChildVerdict::pass();
}

TEST_F(DbTableProcessesTest, TwoWritersAtOnceEachCommitAllTheirRows)
{
    // Both start at the same moment, which the monotonic clock measures alike in every process.
    const auto start = std::chrono::steady_clock::now() + 200ms;
    ChildProcess first([&](ChildProcess&) { return concurrentWriter(path(), "first", start); });
    ChildProcess second([&](ChildProcess&) { return concurrentWriter(path(), "second", start); });
    EXPECT_CHILD_PASSES(first, 120s);
    EXPECT_CHILD_PASSES(second, 120s);

    EXPECT_EQ(countOf(path()), 2 * kRowsPerWriter);
    EXPECT_EQ(countOf(path(), "mms_fld_msguri_name LIKE 'first-%'"), kRowsPerWriter);
    EXPECT_EQ(countOf(path(), "mms_fld_msguri_name LIKE 'second-%'"), kRowsPerWriter);
    EXPECT_EQ(integrityOf(path()), "ok");

    InstalledDatabase database(path());
    ASSERT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    for (const char* prefix : {"first", "second"}) {
        for (int i : {0, kRowsPerWriter / 2, kRowsPerWriter - 1}) {
            SCOPED_TRACE(uriOf(prefix, i).toStdString());
            QByteArray uri = uriOf(prefix, i);
            const unsigned id = MMS_UTIL_DBTable::findMsgURI(uri.data());
            ASSERT_NE(id, kNoRecord);
            EXPECT_EQ(checkRecords({{id, sampleRecord(uri, i)}}), "");
        }
    }
}

// ---- a full disk

const int kDiskKiB = 512;

// On a small tmpfs of its own: commits rows until a write fails, which must be for want of
// space, then reads every committed row back, in the same process and after reopening.
ChildVerdict diskFullWriter(const QString& directory)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace for a small file system: " + why);
    if (const std::string why = tavmms_test::mountSmallTmpfs(directory, kDiskKiB); !why.empty())
        return ChildVerdict::skip("no small file system to fill: " + why);
    const QString path = directory + QStringLiteral("/device.db");
    std::vector<std::pair<unsigned, MMS_UTIL_DBStruct_T>> committed;
    {
        InstalledDatabase database(path);
        if (const int r = MMS_UTIL_DBTable::initTable(); r != DB_OK)
            return ChildVerdict::fail(describe("initTable", 0, r));
        int r = DB_OK;
        for (int i = 0; r == DB_OK; ++i) {
            if (i == 100000)
                return ChildVerdict::fail("the disk never filled");
            const MMS_UTIL_DBStruct_T record = sampleRecord(uriOf("row", i), unsigned(i));
            unsigned id = 0;
            r = addAndCommit(record, &id);
            if (r == DB_OK)
                committed.emplace_back(id, record);
            else if (r != DB_ERR_DISK_FULL)
                return ChildVerdict::fail(describe("row", i, r) + ", expected the full-disk code " +
                                          std::to_string(DB_ERR_DISK_FULL));
        }
        if (MMS_UTIL_DBTable::mmsTxn)
            return ChildVerdict::fail("the failed write left its transaction open");
        if (committed.size() < 2)
            return ChildVerdict::fail("the disk was full before two rows were committed");
        if (const std::string wrong = checkRecords(committed); !wrong.empty())
            return ChildVerdict::fail("after the failed write: " + wrong);
    }
    MMS_UTIL_DBTable::mmsTableHandle = nullptr;
    MMS_UTIL_DBTable::mmsTxn = nullptr;
    InstalledDatabase reopened(path);
    if (const int r = MMS_UTIL_DBTable::initTable(); r != DB_OK)
        return ChildVerdict::fail(describe("initTable after reopening", 0, r));
    if (const std::string wrong = checkRecords(committed); !wrong.empty())
        return ChildVerdict::fail("after reopening: " + wrong);
    if (const QByteArray integrity = integrityOf(path); integrity != "ok")
        return ChildVerdict::fail("integrity check: " + integrity.toStdString());
    if (countOf(path) != qint64(committed.size()))
        return ChildVerdict::fail("the table holds " + std::to_string(countOf(path)) +
                                  " rows, committed were " + std::to_string(committed.size()));
    return ChildVerdict::pass();
}

TEST_F(DbTableProcessesTest, FullDiskGivesItsCodeAndKeepsTheCommittedRows)
{
    ChildProcess child([&](ChildProcess&) { return diskFullWriter(temp.path()); });
    EXPECT_CHILD_PASSES(child, 60s);
}

} // namespace
