#ifndef TAVPLATFORM_SQLCONNECTION_H
#define TAVPLATFORM_SQLCONNECTION_H

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

// A small RAII layer over the embedded SQL engine; the rest of the platform uses only this.
namespace tavplatform::sql
{

enum class Status {
    Ok,
    Row,        // a statement produced a row
    Busy,       // another connection holds the lock past the busy timeout
    Full,       // the disk (or the database's size limit) is full
    Corrupt,    // the file is not a sound database
    IoError,    // the operating system failed a read or write
    Constraint, // a uniqueness or other constraint failed
    CantOpen,   // the file cannot be opened or created
    ReadOnly,   // the file or directory is not writable
    Error,      // anything else (a bad statement, misuse)
};

// A prepared statement. Bind indexes start at 1, column indexes at 0.
class Statement
{
public:
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void bindInt(int index, qint64 value);
    // Text is bound as it is (bytes, no conversion), and copied.
    void bindText(int index, const QByteArray& text);
    void bindNull(int index);
    // Row, Ok (done) or a failure.
    Status step();
    qint64 columnInt(int column) const;
    QByteArray columnText(int column) const;
    bool columnIsNull(int column) const;
    // Ready for the next use: reset and bindings cleared.
    void reset();

private:
    friend class Connection;
    explicit Statement(sqlite3_stmt* statement);
    sqlite3_stmt* statement_;
};

// Resets a statement when the scope that uses it ends, so that it never holds a read lock.
class StatementUse
{
public:
    explicit StatementUse(Statement& statement) : statement_(statement) {}
    ~StatementUse() { statement_.reset(); }
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;
    Statement* operator->() { return &statement_; }

private:
    Statement& statement_;
};

// One connection, in WAL mode with synchronous=FULL. A statement that needs a lock another
// connection holds tries again every millisecond until the busy timeout has passed (or the
// deadline of a ScopedWaitLimit in force), then fails with Busy. Statements prepared through
// cached() live as long as the connection.
class Connection
{
public:
    static std::unique_ptr<Connection> open(const QString& path, Status* status,
                                            int busyTimeoutMs = 5000);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Runs statements that return no rows.
    Status exec(const char* sql);
    // Runs one statement that returns no rows, prepared on first use and kept, as cached() keeps
    // it: for statements run often, such as BEGIN and COMMIT.
    Status execCached(std::string_view sql);
    // The prepared statement for `sql`, made on first use; null (with `status`) when it fails.
    Statement* cached(std::string_view sql, Status* status);
    qint64 lastInsertRowId() const;
    int changes() const;
    // True while a transaction is open on this connection.
    bool inTransaction() const;
    QString lastError() const;
    // Keeps the log files beside the database when the last connection closes, so that the next
    // connection, in any process, opens and reads it without needing new space on the disk.
    Status keepWalFiles();
    // Maps an engine result code to a status.
    static Status statusOf(int code);

private:
    Connection(sqlite3* db, int busyTimeoutMs);
    // The engine's busy handler: true to try again.
    static int waitWhileBusy(void* connection, int tries);
    // Opens and sets up a connection, `alone` in the exclusive locking mode; null on failure,
    // with the engine's result code in `code`.
    static std::unique_ptr<Connection> openWith(const QString& path, int busyTimeoutMs, bool alone,
                                                int* code);

    sqlite3* db_;
    const std::chrono::milliseconds busyTimeout_;
    std::chrono::steady_clock::time_point busySince_; // when the current wait began
    std::map<std::string, std::unique_ptr<Statement>, std::less<>> statements_;
};

// Opens `path` into `connection` unless that is open already: a store's connection is made on
// first use. `setUp` (its schema, its pragmas) runs on the new connection, which is kept only when
// that succeeds. CantOpen for an empty path (no platform directory).
Status openOnce(std::unique_ptr<Connection>& connection, const QString& path, int busyTimeoutMs,
                const std::function<Status(Connection&)>& setUp);

// What went wrong with the database file `path`, for a person: "<what> '<path>' is damaged: ..."
// for a file that is not a sound database, else "<what> '<path>' cannot be read: <why>".
QString faultText(const QString& what, const QString& path, Status status);

// While it lives, every wait for a lock that this thread's statements make, on any connection
// and in opening one too, ends at one deadline `limit` from now instead of at the connection's
// busy timeout: an operation of several statements then waits no longer in all than its caller
// allows. A limit of zero or less means no waiting at all. Inside another limit, the earlier
// deadline holds.
class ScopedWaitLimit
{
public:
    explicit ScopedWaitLimit(std::chrono::milliseconds limit);
    ~ScopedWaitLimit();
    ScopedWaitLimit(const ScopedWaitLimit&) = delete;
    ScopedWaitLimit& operator=(const ScopedWaitLimit&) = delete;

private:
    const std::optional<std::chrono::steady_clock::time_point> previous_;
};

// A transaction that rolls back unless commit() ran, also when the commit failed.
class ScopedTransaction
{
public:
    enum Kind {
        // A savepoint: usable inside and outside a transaction.
        Savepoint,
        // A transaction of its own that takes the write lock at begin(), waiting for it as any
        // statement waits, so that none of its statements can then be refused for a lock.
        Write,
    };

    explicit ScopedTransaction(Connection& connection, Kind kind = Savepoint);
    ~ScopedTransaction();
    ScopedTransaction(const ScopedTransaction&) = delete;
    ScopedTransaction& operator=(const ScopedTransaction&) = delete;

    Status begin();
    Status commit();

private:
    Connection& connection_;
    const Kind kind_;
    bool open_ = false;
};

} // namespace tavplatform::sql

#endif
