// The RAII layer over the SQL engine: connection settings, cached statements, bound values,
// savepoint and write transactions and the mapping of the engine's result codes.

#include "sqlconnection.h"

#include "support/sql_queries.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <chrono>
#include <thread>

namespace
{

using tavmms_test::queryColumn;
using tavmms_test::queryInt;
using tavmms_test::queryText;
using tavplatform::sql::Connection;
using tavplatform::sql::ScopedTransaction;
using tavplatform::sql::Statement;
using tavplatform::sql::StatementUse;
using tavplatform::sql::Status;

const char kCreateTable[] = "CREATE TABLE t (id INTEGER PRIMARY KEY, value TEXT)";
const char kInsertValue[] = "INSERT INTO t (value) VALUES (?)";

class SqlConnectionTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(temp.isValid());
        connection = open();
        ASSERT_NE(connection, nullptr);
        ASSERT_EQ(connection->exec(kCreateTable), Status::Ok);
    }

    QString path() const { return temp.filePath(QStringLiteral("test.db")); }

    std::unique_ptr<Connection> open(int busyTimeoutMs = 5000)
    {
        Status status = Status::Error;
        auto opened = Connection::open(path(), &status, busyTimeoutMs);
        EXPECT_EQ(status, Status::Ok);
        return opened;
    }

    Status insert(Connection& into, const QByteArray& value)
    {
        Status status;
        Statement* statement = into.cached(kInsertValue, &status);
        if (!statement)
            return status;
        StatementUse use(*statement);
        use->bindText(1, value);
        return use->step();
    }

    QList<QByteArray> values()
    {
        return queryColumn(*connection, "SELECT value FROM t ORDER BY id");
    }

    QTemporaryDir temp;
    std::unique_ptr<Connection> connection;
};

TEST_F(SqlConnectionTest, OpensInWalModeWithFullSynchronous)
{
    EXPECT_EQ(queryText(*connection, "PRAGMA journal_mode"), "wal");
    EXPECT_EQ(queryInt(*connection, "PRAGMA synchronous"), 2); // FULL
}

TEST_F(SqlConnectionTest, WriterWaitsForTheTimeoutGivenAtOpenNotTheDefault)
{
    ASSERT_EQ(connection->exec("BEGIN IMMEDIATE"), Status::Ok);
    for (const int timeoutMs : {0, 250}) {
        SCOPED_TRACE(timeoutMs);
        auto other = open(timeoutMs);
        ASSERT_NE(other, nullptr);
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(other->exec("BEGIN IMMEDIATE"), Status::Busy);
        EXPECT_GE(timer.elapsed(), timeoutMs);
        EXPECT_LT(timer.elapsed(), timeoutMs + 2000); // the default is 5000 ms
    }
    ASSERT_EQ(connection->exec("COMMIT"), Status::Ok);
}

// However long it has waited, a waiting writer tries again every millisecond or so: one that
// waited 100 ms between tries would leave the lock to a writer that takes it again at once. (The
// engine's own wait tries at 328 and 428 ms, then at 528 ms: 450 ms falls in between.)
TEST_F(SqlConnectionTest, WaitingWriterTakesTheLockSoonAfterItsRelease)
{
    using namespace std::chrono_literals;
    auto waiting = open();
    ASSERT_NE(waiting, nullptr);
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        ASSERT_EQ(connection->exec("BEGIN IMMEDIATE"), Status::Ok);
        Status committed = Status::Error;
        std::chrono::steady_clock::time_point released;
        std::thread holder([&] {
            std::this_thread::sleep_for(450ms);
            committed = connection->exec("COMMIT");
            released = std::chrono::steady_clock::now();
        });
        const Status taken = waiting->exec("BEGIN IMMEDIATE");
        const auto takenAt = std::chrono::steady_clock::now();
        holder.join();
        ASSERT_EQ(committed, Status::Ok);
        ASSERT_EQ(taken, Status::Ok);
        EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(takenAt - released).count(),
                  50);
        ASSERT_EQ(waiting->exec("COMMIT"), Status::Ok);
    }
}

TEST_F(SqlConnectionTest, WriterWaitsForTheBusyTimeoutThenReportsBusy)
{
    ASSERT_EQ(connection->exec("BEGIN IMMEDIATE"), Status::Ok);
    auto other = open(300);
    ASSERT_NE(other, nullptr);

    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(other->exec("BEGIN IMMEDIATE"), Status::Busy);
    EXPECT_GE(timer.elapsed(), 250);

    ASSERT_EQ(connection->exec("COMMIT"), Status::Ok);
    EXPECT_EQ(other->exec("BEGIN IMMEDIATE"), Status::Ok);
    EXPECT_EQ(other->exec("COMMIT"), Status::Ok);
}

// ---- a wait limit for one operation

using namespace std::chrono_literals;
// Well under the 5000 ms busy timeout of the waiting connections: tells which one ended a wait.
const qint64 kSlackMs = 2000;

class SqlConnectionWaitLimitTest : public SqlConnectionTest
{
protected:
    void SetUp() override
    {
        SqlConnectionTest::SetUp();
        ASSERT_EQ(connection->exec("BEGIN IMMEDIATE"), Status::Ok);
    }
    void TearDown() override { EXPECT_EQ(connection->exec("COMMIT"), Status::Ok); }

    // How long, in milliseconds, `waiting` took to be refused the write lock `connection` holds.
    qint64 refusal(Connection& waiting)
    {
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(waiting.exec("BEGIN IMMEDIATE"), Status::Busy);
        return timer.elapsed();
    }
};

TEST_F(SqlConnectionWaitLimitTest, LimitTakesThePlaceOfTheBusyTimeout)
{
    struct Case {
        int busyTimeoutMs;
        int limitMs;
    };
    for (const Case& c : {Case{0, 300}, Case{5000, 300}}) {
        SCOPED_TRACE(testing::Message() << c.busyTimeoutMs << " ms, limit " << c.limitMs);
        auto waiting = open(c.busyTimeoutMs);
        ASSERT_NE(waiting, nullptr);
        const tavplatform::sql::ScopedWaitLimit limit(std::chrono::milliseconds(c.limitMs));
        const qint64 took = refusal(*waiting);
        EXPECT_GE(took, c.limitMs);
        EXPECT_LT(took, c.limitMs + kSlackMs);
    }
}

TEST_F(SqlConnectionWaitLimitTest, LimitOfZeroOrLessMeansNoWaiting)
{
    auto waiting = open();
    ASSERT_NE(waiting, nullptr);
    for (const auto none : {0ms, -1ms}) {
        SCOPED_TRACE(none.count());
        const tavplatform::sql::ScopedWaitLimit limit(none);
        EXPECT_LT(refusal(*waiting), kSlackMs);
    }
}

TEST_F(SqlConnectionWaitLimitTest, BusyTimeoutHoldsAgainOnceTheLimitEnds)
{
    // Long enough that a refusal without waiting stays below it on a loaded machine.
    auto waiting = open(1000);
    ASSERT_NE(waiting, nullptr);
    {
        const tavplatform::sql::ScopedWaitLimit limit(0ms);
        EXPECT_LT(refusal(*waiting), 1000);
    }
    EXPECT_GE(refusal(*waiting), 1000);
}

TEST_F(SqlConnectionWaitLimitTest, AllWaitsInsideOneLimitEndAtTheSameDeadline)
{
    auto waiting = open();
    ASSERT_NE(waiting, nullptr);
    const tavplatform::sql::ScopedWaitLimit limit(1000ms);
    EXPECT_GE(refusal(*waiting), 1000);
    // The deadline has passed: the next wait gets no new 1000 ms.
    EXPECT_LT(refusal(*waiting), 1000);
}

TEST_F(SqlConnectionWaitLimitTest, InnerLimitNeverOutlastsTheOuterOne)
{
    auto waiting = open();
    ASSERT_NE(waiting, nullptr);
    const tavplatform::sql::ScopedWaitLimit outer(300ms);
    {
        const tavplatform::sql::ScopedWaitLimit inner(10s);
        const qint64 took = refusal(*waiting);
        EXPECT_GE(took, 300);
        EXPECT_LT(took, 300 + kSlackMs);
    }
}

TEST_F(SqlConnectionWaitLimitTest, OuterLimitHoldsAgainOnceAShorterInnerOneEnds)
{
    auto waiting = open();
    ASSERT_NE(waiting, nullptr);
    QElapsedTimer sinceOuter;
    sinceOuter.start();
    const tavplatform::sql::ScopedWaitLimit outer(1000ms);
    {
        const tavplatform::sql::ScopedWaitLimit inner(0ms);
        EXPECT_LT(refusal(*waiting), 1000);
    }
    const qint64 took = refusal(*waiting);
    // The outer deadline counts from its own start, not from the inner limit's end.
    EXPECT_GE(sinceOuter.elapsed(), 1000);
    EXPECT_LT(took, 1000 + kSlackMs);
}

TEST_F(SqlConnectionWaitLimitTest, LimitHoldsOnlyOnTheThreadThatSetIt)
{
    auto waiting = open(300);
    ASSERT_NE(waiting, nullptr);
    const tavplatform::sql::ScopedWaitLimit limit(0ms);
    qint64 took = 0;
    std::thread([&] { took = refusal(*waiting); }).join();
    EXPECT_GE(took, 300);
}

TEST_F(SqlConnectionWaitLimitTest, LimitBoundsTheWaitInOpeningAConnection)
{
    // Turning a file with the default journal to the log waits while another connection is in a
    // transaction on it.
    const QString other = temp.filePath(QStringLiteral("journal.db"));
    Status status = Status::Error;
    auto user = Connection::open(other, &status);
    ASSERT_NE(user, nullptr);
    ASSERT_EQ(user->exec("PRAGMA journal_mode=DELETE"), Status::Ok);
    ASSERT_EQ(user->exec("BEGIN IMMEDIATE"), Status::Ok);
    ASSERT_EQ(user->exec(kCreateTable), Status::Ok);

    const tavplatform::sql::ScopedWaitLimit limit(300ms);
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(Connection::open(other, &status), nullptr);
    const qint64 took = timer.elapsed();
    EXPECT_EQ(status, Status::Busy);
    EXPECT_GE(took, 300);
    EXPECT_LT(took, 300 + kSlackMs);
    EXPECT_EQ(user->exec("COMMIT"), Status::Ok);
}

TEST_F(SqlConnectionTest, OpenOnceSetsUpANewConnectionAndKeepsIt)
{
    std::unique_ptr<Connection> connection;
    int setUps = 0;
    const auto setUp = [&](Connection& opened) {
        ++setUps;
        return opened.exec("CREATE TABLE IF NOT EXISTS t(x)");
    };
    ASSERT_EQ(tavplatform::sql::openOnce(connection, path(), 100, setUp), Status::Ok);
    Connection* const kept = connection.get();
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(tavplatform::sql::openOnce(connection, path(), 100, setUp), Status::Ok);
    EXPECT_EQ(connection.get(), kept);
    EXPECT_EQ(setUps, 1);
}

TEST_F(SqlConnectionTest, OpenOnceKeepsNoConnectionWhoseSetUpFailed)
{
    std::unique_ptr<Connection> connection;
    EXPECT_EQ(tavplatform::sql::openOnce(connection, path(), 100,
                                         [](Connection&) { return Status::Busy; }),
              Status::Busy);
    EXPECT_EQ(connection, nullptr);
}

TEST_F(SqlConnectionTest, OpenOnceRefusesAnEmptyPath)
{
    std::unique_ptr<Connection> connection;
    EXPECT_EQ(tavplatform::sql::openOnce(connection, QString(), 100,
                                         [](Connection&) { return Status::Ok; }),
              Status::CantOpen);
    EXPECT_EQ(connection, nullptr);
}

TEST_F(SqlConnectionTest, ReaderIsNotBlockedByAWriter)
{
    ASSERT_EQ(insert(*connection, "committed"), Status::Ok);
    auto other = open(100);
    ASSERT_NE(other, nullptr);
    ASSERT_EQ(other->exec("BEGIN IMMEDIATE"), Status::Ok);
    ASSERT_EQ(insert(*other, "pending"), Status::Ok);

    EXPECT_EQ(values(), QList<QByteArray>{"committed"});
    EXPECT_EQ(other->exec("COMMIT"), Status::Ok);
    EXPECT_EQ(values(), (QList<QByteArray>{"committed", "pending"}));
}

TEST_F(SqlConnectionTest, CachedStatementIsPreparedOnce)
{
    Status status = Status::Error;
    Statement* first = connection->cached(kInsertValue, &status);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(status, Status::Ok);
    status = Status::Error;
    EXPECT_EQ(connection->cached(kInsertValue, &status), first);
    EXPECT_EQ(status, Status::Ok);
    EXPECT_NE(connection->cached("SELECT value FROM t", &status), first);
}

TEST_F(SqlConnectionTest, CachedStatementThatDoesNotPrepareGivesNullAndError)
{
    Status status = Status::Ok;
    EXPECT_EQ(connection->cached("SELEC value FROM t", &status), nullptr);
    EXPECT_EQ(status, Status::Error);
    EXPECT_EQ(connection->cached("SELECT nothing FROM missing", &status), nullptr);
    EXPECT_EQ(status, Status::Error);
    EXPECT_FALSE(connection->lastError().isEmpty());
}

TEST_F(SqlConnectionTest, BoundTextIsStoredAsGivenNeverPastedIntoTheStatement)
{
    const QByteArray hostile = "x'); DROP TABLE t; --\"; SELECT '1";
    ASSERT_EQ(insert(*connection, hostile), Status::Ok);

    EXPECT_EQ(values(), QList<QByteArray>{hostile});
    EXPECT_EQ(queryInt(*connection, "SELECT count(*) FROM sqlite_master WHERE name = 't'"), 1);
}

TEST_F(SqlConnectionTest, BoundTextKeepsEveryByte)
{
    const QByteArray bytes("a\0b\xff\xfe", 5);
    ASSERT_EQ(insert(*connection, bytes), Status::Ok);

    EXPECT_EQ(values(), QList<QByteArray>{bytes});
    EXPECT_EQ(queryInt(*connection, "SELECT length(CAST(value AS BLOB)) FROM t"), 5);
}

TEST_F(SqlConnectionTest, IntegersAndNullsRoundTrip)
{
    Status status;
    Statement* statement = connection->cached("SELECT ?, ?, ?", &status);
    ASSERT_NE(statement, nullptr);
    StatementUse use(*statement);
    use->bindInt(1, 0xFFFFFFFFLL);
    use->bindInt(2, -5);
    use->bindNull(3);
    ASSERT_EQ(use->step(), Status::Row);
    EXPECT_EQ(use->columnInt(0), 0xFFFFFFFFLL);
    EXPECT_EQ(use->columnInt(1), -5);
    EXPECT_FALSE(use->columnIsNull(1));
    EXPECT_TRUE(use->columnIsNull(2));
    EXPECT_EQ(use->step(), Status::Ok);
}

TEST_F(SqlConnectionTest, StatementUseResetsAndClearsBindingsWhenItEnds)
{
    Status status;
    Statement* statement = connection->cached("SELECT ?", &status);
    ASSERT_NE(statement, nullptr);
    {
        StatementUse use(*statement);
        use->bindInt(1, 42);
        ASSERT_EQ(use->step(), Status::Row);
        EXPECT_EQ(use->columnInt(0), 42);
    }
    StatementUse again(*statement);
    ASSERT_EQ(again->step(), Status::Row); // from the start, not "done"
    EXPECT_TRUE(again->columnIsNull(0));
}

TEST_F(SqlConnectionTest, LastInsertRowIdAndChanges)
{
    ASSERT_EQ(insert(*connection, "one"), Status::Ok);
    ASSERT_EQ(insert(*connection, "two"), Status::Ok);
    EXPECT_EQ(connection->lastInsertRowId(), 2);
    EXPECT_EQ(connection->changes(), 1);
    ASSERT_EQ(connection->exec("UPDATE t SET value = 'x'"), Status::Ok);
    EXPECT_EQ(connection->changes(), 2);
}

TEST_F(SqlConnectionTest, InTransactionFollowsBeginAndCommit)
{
    EXPECT_FALSE(connection->inTransaction());
    ASSERT_EQ(connection->exec("BEGIN"), Status::Ok);
    EXPECT_TRUE(connection->inTransaction());
    ASSERT_EQ(connection->exec("COMMIT"), Status::Ok);
    EXPECT_FALSE(connection->inTransaction());
}

TEST_F(SqlConnectionTest, ScopedTransactionRollsBackWithoutCommit)
{
    {
        ScopedTransaction transaction(*connection);
        ASSERT_EQ(transaction.begin(), Status::Ok);
        EXPECT_TRUE(connection->inTransaction());
        ASSERT_EQ(insert(*connection, "dropped"), Status::Ok);
    }
    EXPECT_TRUE(values().isEmpty());
    EXPECT_FALSE(connection->inTransaction());
}

TEST_F(SqlConnectionTest, ScopedTransactionKeepsWhatItCommitted)
{
    {
        ScopedTransaction transaction(*connection);
        ASSERT_EQ(transaction.begin(), Status::Ok);
        ASSERT_EQ(insert(*connection, "kept"), Status::Ok);
        EXPECT_EQ(transaction.commit(), Status::Ok);
    }
    EXPECT_EQ(values(), QList<QByteArray>{"kept"});
    EXPECT_FALSE(connection->inTransaction());
    // Committed for other connections too, not only inside this one.
    EXPECT_EQ(queryColumn(*open(), "SELECT value FROM t"), QList<QByteArray>{"kept"});
}

TEST_F(SqlConnectionTest, NestedScopedTransactionRollsBackOnlyItself)
{
    {
        ScopedTransaction outer(*connection);
        ASSERT_EQ(outer.begin(), Status::Ok);
        ASSERT_EQ(insert(*connection, "outer"), Status::Ok);
        {
            ScopedTransaction inner(*connection);
            ASSERT_EQ(inner.begin(), Status::Ok);
            ASSERT_EQ(insert(*connection, "inner"), Status::Ok);
            EXPECT_EQ(values(), (QList<QByteArray>{"outer", "inner"}));
        }
        EXPECT_EQ(values(), QList<QByteArray>{"outer"});
        EXPECT_TRUE(connection->inTransaction());
        ASSERT_EQ(outer.commit(), Status::Ok);
    }
    EXPECT_EQ(values(), QList<QByteArray>{"outer"});
}

TEST_F(SqlConnectionTest, CommittedNestedTransactionIsUndoneWithItsOuterOne)
{
    {
        ScopedTransaction outer(*connection);
        ASSERT_EQ(outer.begin(), Status::Ok);
        ScopedTransaction inner(*connection);
        ASSERT_EQ(inner.begin(), Status::Ok);
        ASSERT_EQ(insert(*connection, "inner"), Status::Ok);
        ASSERT_EQ(inner.commit(), Status::Ok);
    }
    EXPECT_TRUE(values().isEmpty());
}

TEST_F(SqlConnectionTest, ScopedTransactionInsideAnOpenTransactionLeavesItOpen)
{
    ASSERT_EQ(connection->exec("BEGIN"), Status::Ok);
    ASSERT_EQ(insert(*connection, "before"), Status::Ok);
    {
        ScopedTransaction transaction(*connection);
        ASSERT_EQ(transaction.begin(), Status::Ok);
        ASSERT_EQ(insert(*connection, "dropped"), Status::Ok);
    }
    EXPECT_TRUE(connection->inTransaction());
    ASSERT_EQ(connection->exec("COMMIT"), Status::Ok);
    EXPECT_EQ(values(), QList<QByteArray>{"before"});
}

TEST_F(SqlConnectionTest, WriteTransactionTakesTheWriteLockAtItsBeginning)
{
    auto waiting = open(100);
    ASSERT_NE(waiting, nullptr);
    ScopedTransaction transaction(*connection, ScopedTransaction::Write);
    ASSERT_EQ(transaction.begin(), Status::Ok);

    EXPECT_EQ(insert(*waiting, "refused"), Status::Busy);
    ASSERT_EQ(insert(*connection, "kept"), Status::Ok);
    ASSERT_EQ(transaction.commit(), Status::Ok);
    EXPECT_FALSE(connection->inTransaction());
    EXPECT_EQ(insert(*waiting, "later"), Status::Ok);
    EXPECT_EQ(values(), (QList<QByteArray>{"kept", "later"}));
}

TEST_F(SqlConnectionTest, WriteTransactionRollsBackWithoutCommit)
{
    {
        ScopedTransaction transaction(*connection, ScopedTransaction::Write);
        ASSERT_EQ(transaction.begin(), Status::Ok);
        ASSERT_EQ(insert(*connection, "dropped"), Status::Ok);
    }
    EXPECT_TRUE(values().isEmpty());
    EXPECT_FALSE(connection->inTransaction());
}

TEST_F(SqlConnectionTest, ConstraintFailureIsReported)
{
    ASSERT_EQ(connection->exec("INSERT INTO t (id, value) VALUES (1, 'a')"), Status::Ok);
    EXPECT_EQ(connection->exec("INSERT INTO t (id, value) VALUES (1, 'b')"), Status::Constraint);
}

TEST_F(SqlConnectionTest, BadStatementIsAnError)
{
    EXPECT_EQ(connection->exec("NOT SQL AT ALL"), Status::Error);
}

TEST_F(SqlConnectionTest, SizeLimitReachedIsFull)
{
    ASSERT_EQ(connection->exec("PRAGMA max_page_count = 10"), Status::Ok);
    Status status = Status::Ok;
    for (int i = 0; i < 100 && status == Status::Ok; ++i)
        status = insert(*connection, QByteArray(1000, 'x'));
    EXPECT_EQ(status, Status::Full);
}

TEST_F(SqlConnectionTest, WriteToAQueryOnlyConnectionIsReadOnly)
{
    ASSERT_EQ(connection->exec("PRAGMA query_only = 1"), Status::Ok);
    EXPECT_EQ(insert(*connection, "refused"), Status::ReadOnly);
}

TEST_F(SqlConnectionTest, FileInAMissingDirectoryCannotBeOpened)
{
    Status status = Status::Ok;
    EXPECT_EQ(Connection::open(temp.filePath(QStringLiteral("missing/test.db")), &status), nullptr);
    EXPECT_EQ(status, Status::CantOpen);
}

TEST_F(SqlConnectionTest, FileThatIsNotADatabaseIsCorrupt)
{
    const QString notADatabase = temp.filePath(QStringLiteral("text.db"));
    QFile file(notADatabase);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_GT(file.write(QByteArray(4096, 'z')), 0);
    file.close();

    Status status = Status::Ok;
    EXPECT_EQ(Connection::open(notADatabase, &status), nullptr);
    EXPECT_EQ(status, Status::Corrupt);
}

struct CodeCase {
    int code;
    Status status;
};

TEST(SqlConnectionStatusTest, EngineCodesAndTheirExtendedFormsMapToOneStatus)
{
    const CodeCase cases[] = {
        {SQLITE_OK, Status::Ok},
        {SQLITE_DONE, Status::Ok},
        {SQLITE_ROW, Status::Row},
        {SQLITE_BUSY, Status::Busy},
        {SQLITE_BUSY_SNAPSHOT, Status::Busy},
        {SQLITE_BUSY_TIMEOUT, Status::Busy},
        {SQLITE_LOCKED, Status::Busy},
        {SQLITE_LOCKED_SHAREDCACHE, Status::Busy},
        {SQLITE_FULL, Status::Full},
        {SQLITE_CORRUPT, Status::Corrupt},
        {SQLITE_CORRUPT_INDEX, Status::Corrupt},
        {SQLITE_NOTADB, Status::Corrupt},
        {SQLITE_IOERR, Status::IoError},
        {SQLITE_IOERR_WRITE, Status::IoError},
        {SQLITE_IOERR_FSYNC, Status::IoError},
        {SQLITE_CONSTRAINT, Status::Constraint},
        {SQLITE_CONSTRAINT_UNIQUE, Status::Constraint},
        {SQLITE_CANTOPEN, Status::CantOpen},
        {SQLITE_READONLY, Status::ReadOnly},
        {SQLITE_READONLY_DBMOVED, Status::ReadOnly},
        {SQLITE_PERM, Status::ReadOnly},
        {SQLITE_ERROR, Status::Error},
        {SQLITE_MISUSE, Status::Error},
        {SQLITE_NOMEM, Status::Error},
        {SQLITE_RANGE, Status::Error},
    };
    for (const CodeCase& c : cases) {
        SCOPED_TRACE(sqlite3_errstr(c.code));
        EXPECT_EQ(Connection::statusOf(c.code), c.status);
    }
}

} // namespace
