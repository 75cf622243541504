// The only place that talks to the SQL engine directly.
#include "sqlconnection.h"

#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <unistd.h>

namespace tavplatform::sql
{

namespace
{

const char kBeginImmediate[] = "BEGIN IMMEDIATE";
const char kCommit[] = "COMMIT";
const char kRollback[] = "ROLLBACK";
const char kBeginScoped[] = "SAVEPOINT tav_scoped";
const char kRollbackScoped[] = "ROLLBACK TO tav_scoped";
const char kReleaseScoped[] = "RELEASE tav_scoped";

// The statements of each kind of transaction, by ScopedTransaction::Kind.
const struct {
    const char* begin;
    const char* commit;
    const char* rollback[2];
} kTransactionStatements[] = {
    {kBeginScoped, kReleaseScoped, {kRollbackScoped, kReleaseScoped}},
    {kBeginImmediate, kCommit, {kRollback, nullptr}},
};

// The deadline of the innermost ScopedWaitLimit on this thread, if any.
thread_local std::optional<std::chrono::steady_clock::time_point> waitDeadline;

// The status for a failure to open the database at `path`. The engine says only that it could not
// open a file (the database, or the journal beside it), and it tries other ways before giving up,
// so its last system error is of no help; a directory that may not be written is told apart from
// a missing one here.
Status openFailure(int code, const QString& path)
{
    const Status status = Connection::statusOf(code);
    if (status != Status::CantOpen)
        return status;
    const QByteArray directory = QFile::encodeName(QFileInfo(path).absolutePath());
    if (::access(directory.constData(), W_OK) != 0 && (errno == EROFS || errno == EACCES))
        return Status::ReadOnly;
    return status;
}

// A failure in words, as it follows the name of the file it happened to.
QString statusWords(Status status)
{
    switch (status) {
    case Status::Busy:
        return QStringLiteral("another program holds its lock");
    case Status::Full:
        return QStringLiteral("no space left on device");
    case Status::Corrupt:
        return QStringLiteral("it is not a database, or a corrupt one");
    case Status::IoError:
        return QStringLiteral("input/output error");
    case Status::CantOpen:
        return QStringLiteral("it cannot be opened");
    case Status::ReadOnly:
        return QStringLiteral("it cannot be opened for writing");
    default:
        return QStringLiteral("the database engine failed");
    }
}

} // namespace

QString faultText(const QString& what, const QString& path, Status status)
{
    return QStringLiteral("%1 '%2' %3: %4")
        .arg(what, path,
             status == Status::Corrupt ? QStringLiteral("is damaged")
                                       : QStringLiteral("cannot be read"),
             statusWords(status));
}

Status Connection::statusOf(int code)
{
    switch (code & 0xFF) {
    case SQLITE_OK:
    case SQLITE_DONE:
        return Status::Ok;
    case SQLITE_ROW:
        return Status::Row;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return Status::Busy;
    case SQLITE_FULL:
        return Status::Full;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return Status::Corrupt;
    case SQLITE_IOERR:
        return Status::IoError;
    case SQLITE_CONSTRAINT:
        return Status::Constraint;
    case SQLITE_CANTOPEN:
        return Status::CantOpen;
    case SQLITE_READONLY:
    case SQLITE_PERM:
        return Status::ReadOnly;
    default:
        return Status::Error;
    }
}

Statement::Statement(sqlite3_stmt* statement) : statement_(statement) {}

Statement::~Statement()
{
    sqlite3_finalize(statement_);
}

void Statement::bindInt(int index, qint64 value)
{
    sqlite3_bind_int64(statement_, index, value);
}

void Statement::bindText(int index, const QByteArray& text)
{
    sqlite3_bind_text(statement_, index, text.constData(), int(text.size()), SQLITE_TRANSIENT);
}

void Statement::bindNull(int index)
{
    sqlite3_bind_null(statement_, index);
}

Status Statement::step()
{
    return Connection::statusOf(sqlite3_step(statement_));
}

qint64 Statement::columnInt(int column) const
{
    return sqlite3_column_int64(statement_, column);
}

QByteArray Statement::columnText(int column) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return QByteArray(text, sqlite3_column_bytes(statement_, column));
}

bool Statement::columnIsNull(int column) const
{
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

void Statement::reset()
{
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

Connection::Connection(sqlite3* db, int busyTimeoutMs) : db_(db), busyTimeout_(busyTimeoutMs) {}

// The engine's own wait sleeps up to 100 ms between tries, and a writer that never pauses takes
// the lock again in each of those gaps, so that a waiting connection could wait out its whole
// timeout. Trying again every millisecond gives it its turn.
int Connection::waitWhileBusy(void* connection, int tries)
{
    auto* self = static_cast<Connection*>(connection);
    const auto now = std::chrono::steady_clock::now();
    if (tries == 0)
        self->busySince_ = now;
    if (now >= waitDeadline.value_or(self->busySince_ + self->busyTimeout_))
        return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return 1;
}

Connection::~Connection()
{
    statements_.clear(); // finalized before the connection closes
    sqlite3_close(db_);
}

std::unique_ptr<Connection> Connection::open(const QString& path, Status* status, int busyTimeoutMs)
{
    int code = SQLITE_OK;
    std::unique_ptr<Connection> connection = openWith(path, busyTimeoutMs, false, &code);
    // On a full disk the log's shared index (the "-shm" file beside the database) cannot be
    // made when no process kept it. Opened alone, the connection keeps that index in its own
    // memory: other processes then wait for it, but the store can be read, and a message deleted
    // to make room.
    const int primary = code & 0xff;
    if (!connection && (primary == SQLITE_FULL || code == SQLITE_IOERR_SHMOPEN ||
                        code == SQLITE_IOERR_SHMSIZE || code == SQLITE_IOERR_SHMMAP)) {
        connection = openWith(path, busyTimeoutMs, true, &code);
    }
    *status = connection                ? Status::Ok
              : code == SQLITE_READONLY ? Status::ReadOnly
                                        : openFailure(code, path);
    return connection;
}

std::unique_ptr<Connection> Connection::openWith(const QString& path, int busyTimeoutMs, bool alone,
                                                 int* code)
{
    sqlite3* db = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    *code = sqlite3_open_v2(QFile::encodeName(path).constData(), &db, flags, nullptr);
    std::unique_ptr<Connection> connection(db ? new Connection(db, busyTimeoutMs) : nullptr);
    if (*code != SQLITE_OK)
        return nullptr;
    // The engine falls back to reading a file it may not write; this connection is for writing.
    if (sqlite3_db_readonly(db, "main") == 1) {
        *code = SQLITE_READONLY;
        return nullptr;
    }
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_handler(db, &Connection::waitWhileBusy, connection.get());
    // The locking mode touches no file; it only holds for what comes after it.
    if (alone && (*code = sqlite3_exec(db, "PRAGMA locking_mode=EXCLUSIVE", nullptr, nullptr,
                                       nullptr)) != SQLITE_OK)
        return nullptr;
    // WAL lets readers in other processes go on while one writes; FULL makes a commit survive a
    // power cut, not only a crash of the process.
    for (const char* pragma : {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL"}) {
        // Turning a file to the log reads it first, and a read that must then become a write is
        // refused at once, without the busy handler, while another process writes; so this waits
        // here the same way.
        for (int tries = 0;
             (*code = sqlite3_exec(db, pragma, nullptr, nullptr, nullptr)) != SQLITE_OK &&
             (*code & 0xff) == SQLITE_BUSY && waitWhileBusy(connection.get(), tries);
             ++tries) {
        }
        if (*code != SQLITE_OK)
            return nullptr;
    }
    return connection;
}

Status Connection::exec(const char* sql)
{
    return statusOf(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr));
}

Status Connection::execCached(std::string_view sql)
{
    Status status;
    Statement* statement = cached(sql, &status);
    if (!statement)
        return status;
    StatementUse use(*statement);
    return use->step();
}

Status openOnce(std::unique_ptr<Connection>& connection, const QString& path, int busyTimeoutMs,
                const std::function<Status(Connection&)>& setUp)
{
    if (connection)
        return Status::Ok;
    if (path.isEmpty())
        return Status::CantOpen;
    Status status;
    auto opened = Connection::open(path, &status, busyTimeoutMs);
    if (opened && (status = setUp(*opened)) == Status::Ok)
        connection = std::move(opened);
    return status;
}

Statement* Connection::cached(std::string_view sql, Status* status)
{
    auto found = statements_.find(sql);
    if (found != statements_.end()) {
        *status = Status::Ok;
        return found->second.get();
    }
    sqlite3_stmt* raw = nullptr;
    const int rc = sqlite3_prepare_v3(db_, sql.data(), int(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                      &raw, nullptr);
    *status = statusOf(rc);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(raw);
        return nullptr;
    }
    // Running out of memory below finalizes the statement and leaves the cache as it was.
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> prepared(raw, &sqlite3_finalize);
    std::unique_ptr<Statement> statement(new Statement(prepared.get()));
    prepared.release();
    Statement* result = statement.get();
    statements_.emplace(std::string(sql), std::move(statement));
    return result;
}

qint64 Connection::lastInsertRowId() const
{
    return sqlite3_last_insert_rowid(db_);
}

int Connection::changes() const
{
    return sqlite3_changes(db_);
}

bool Connection::inTransaction() const
{
    return sqlite3_get_autocommit(db_) == 0;
}

QString Connection::lastError() const
{
    return QString::fromUtf8(sqlite3_errmsg(db_));
}

Status Connection::keepWalFiles()
{
    int keep = 1;
    return statusOf(sqlite3_file_control(db_, "main", SQLITE_FCNTL_PERSIST_WAL, &keep));
}

ScopedWaitLimit::ScopedWaitLimit(std::chrono::milliseconds limit) : previous_(waitDeadline)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    waitDeadline = previous_ ? std::min(*previous_, deadline) : deadline;
}

ScopedWaitLimit::~ScopedWaitLimit()
{
    waitDeadline = previous_;
}

ScopedTransaction::ScopedTransaction(Connection& connection, Kind kind)
    : connection_(connection), kind_(kind)
{
}

ScopedTransaction::~ScopedTransaction()
{
    if (!open_)
        return;
    // After some failures (a full disk, an I/O error) the engine has already rolled a write
    // transaction back by itself, and this rollback fails harmlessly.
    for (const char* statement : kTransactionStatements[kind_].rollback) {
        if (statement)
            connection_.execCached(statement);
    }
}

Status ScopedTransaction::begin()
{
    const Status status = connection_.execCached(kTransactionStatements[kind_].begin);
    open_ = status == Status::Ok;
    return status;
}

Status ScopedTransaction::commit()
{
    const Status status = connection_.execCached(kTransactionStatements[kind_].commit);
    if (status == Status::Ok)
        open_ = false;
    return status;
}

} // namespace tavplatform::sql
