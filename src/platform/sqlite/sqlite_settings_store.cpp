#include "sqlite_settings_store.h"

#include "platform_dir.h"
#include "sqlconnection.h"

#include <QFileInfo>

#include <cerrno>
#include <limits>
#include <optional>
#include <utility>

namespace tavplatform
{

using sql::Status;

namespace
{

const char kCreateTable[] = "CREATE TABLE IF NOT EXISTS settings (grp TEXT NOT NULL, "
                            "key TEXT NOT NULL, value TEXT NOT NULL, PRIMARY KEY (grp, key))";
const char kSelectValue[] = "SELECT value FROM settings WHERE grp = ? AND key = ?";
const char kUpsertValue[] = "INSERT INTO settings (grp, key, value) VALUES (?, ?, ?) "
                            "ON CONFLICT (grp, key) DO UPDATE SET value = excluded.value";
const char kSelectGroup[] = "SELECT key, value FROM settings WHERE grp = ?";
const char kDeleteEntry[] = "DELETE FROM settings WHERE grp = ? AND key = ?";
const char kDeleteGroup[] = "DELETE FROM settings WHERE grp = ?";
const char kCheckpoint[] = "PRAGMA wal_checkpoint(FULL)";
const char kProbe[] = "SELECT 1 FROM settings LIMIT 1";

int errnoOf(Status status)
{
    switch (status) {
    case Status::Full:
        return ENOSPC;
    case Status::Busy:
        return EBUSY;
    case Status::ReadOnly:
        return EROFS;
    case Status::IoError:
    case Status::Corrupt:
        return EIO;
    case Status::CantOpen:
        return ENOENT;
    default:
        return EINVAL;
    }
}

// A stored text as a number: the whole text must be one (blanks around it allowed).
bool toNumber(const QString& text, qlonglong* number)
{
    bool ok = false;
    *number = text.trimmed().toLongLong(&ok);
    return ok;
}

} // namespace

struct SqliteSettingsStore::Impl {
    QString path;
    int busyTimeoutMs;
    std::unique_ptr<sql::Connection> connection;
    int openings = 0; // open() calls not yet closed
    int refusal = 0;  // errno of the first write refused since the store was opened or flushed
    Status readFailure = Status::Ok; // the first read refused since the store was opened
    std::optional<sql::ScopedTransaction> batch;
    int batchDepth = 0; // beginBatch() calls not yet ended
    int batchLost = 0;  // errno of what dropped the open batch; 0 while it holds

    Status openConnection()
    {
        return sql::openOnce(connection, path, busyTimeoutMs, [](sql::Connection& opened) {
            // With its log files kept, the store can be read, and is refused for want of space
            // rather than failing, on a disk that filled up while no process had it open.
            const Status status = opened.keepWalFiles();
            return status == Status::Ok ? opened.exec(kCreateTable) : status;
        });
    }

    // Runs the statement `text` with `values` bound as text in order, handing each row to `row`.
    template <typename Row>
    Status run(const char* text, std::initializer_list<QByteArray> values, Row row)
    {
        Status status = openConnection();
        sql::Statement* statement =
            status == Status::Ok ? connection->cached(text, &status) : nullptr;
        if (!statement)
            return status;
        sql::StatementUse use(*statement);
        int index = 1;
        for (const QByteArray& value : values)
            use->bindText(index++, value);
        while ((status = use->step()) == Status::Row)
            row(*statement);
        if (status != Status::Ok && batch && batchLost == 0 && !connection->inTransaction())
            batchLost = errnoOf(status);
        return status;
    }

    // Runs a statement that only reads; its failure is kept for readError().
    template <typename Row>
    Status read(const char* text, std::initializer_list<QByteArray> values, Row row)
    {
        const Status status = run(text, values, row);
        if (status != Status::Ok && readFailure == Status::Ok)
            readFailure = status;
        return status;
    }

    // The stored text, or false when the key is missing or the store cannot be read.
    bool lookup(const QString& group, const QString& key, QString* value)
    {
        bool found = false;
        read(kSelectValue, {group.toUtf8(), key.toUtf8()}, [&](sql::Statement& row) {
            *value = QString::fromUtf8(row.columnText(0));
            found = true;
        });
        return found;
    }

    template <typename T> bool lookupNumber(const QString& group, const QString& key, T* value)
    {
        QString text;
        qlonglong number;
        if (!lookup(group, key, &text) || !toNumber(text, &number) ||
            number < qlonglong(std::numeric_limits<T>::min()) ||
            number > qlonglong(std::numeric_limits<T>::max()))
            return false;
        *value = T(number);
        return true;
    }

    // Runs a statement that changes the store; false with errno set when it fails.
    bool change(const char* text, std::initializer_list<QByteArray> values)
    {
        int error = 0;
        // Once its transaction is gone, a write of the batch would be a transaction of its own,
        // stored whatever becomes of the batch: it is refused instead.
        if (batch && batchLost != 0)
            error = batchLost;
        else if (const Status status = run(text, values, [](sql::Statement&) {});
                 status != Status::Ok)
            error = errnoOf(status);
        if (error == 0)
            return true;
        if (refusal == 0)
            refusal = error;
        errno = error;
        return false;
    }

    // Ends the open batch, committing it when `keep` and nothing dropped it; the errno of its
    // failure, 0 when committed.
    int endBatch(bool keep)
    {
        batchDepth = 0;
        int error = std::exchange(batchLost, 0);
        if (keep && error == 0) {
            if (const Status status = batch->commit(); status != Status::Ok)
                error = errnoOf(status);
        }
        batch.reset(); // rolls back what was not committed
        return error;
    }

    bool store(const QString& group, const QString& key, const QString& value)
    {
        return change(kUpsertValue, {group.toUtf8(), key.toUtf8(), value.toUtf8()});
    }
};

QString SqliteSettingsStore::defaultPath()
{
    return platformFilePath(QStringLiteral("settings.db"));
}

SqliteSettingsStore::SqliteSettingsStore(QString path, int busyTimeoutMs) : d(new Impl)
{
    d->path = path;
    d->busyTimeoutMs = busyTimeoutMs;
}

SqliteSettingsStore::~SqliteSettingsStore() = default;

void SqliteSettingsStore::open(int, bool)
{
    // Nested openings (a library call made while the caller holds a store) share the outer one's
    // record of refused writes.
    if (d->openings++ == 0) {
        d->refusal = 0;
        d->readFailure = Status::Ok;
    }
}

void SqliteSettingsStore::close()
{
    if (d->openings > 0)
        --d->openings;
}

bool SqliteSettingsStore::readText(const QString& group, const QString& key, QString& value,
                                   const QString& defaultValue, bool)
{
    if (d->lookup(group, key, &value))
        return true;
    value = defaultValue;
    return false;
}

bool SqliteSettingsStore::readBool(const QString& group, const QString& key, bool& value,
                                   bool defaultValue)
{
    // Flags are kept as numbers: 0 is false, any other number true.
    qlonglong number;
    if (d->lookupNumber(group, key, &number)) {
        value = number != 0;
        return true;
    }
    value = defaultValue;
    return false;
}

bool SqliteSettingsStore::readInt(const QString& group, const QString& key, int& value,
                                  int defaultValue)
{
    if (d->lookupNumber(group, key, &value))
        return true;
    value = defaultValue;
    return false;
}

bool SqliteSettingsStore::readUInt(const QString& group, const QString& key, unsigned int& value,
                                   unsigned int defaultValue)
{
    if (d->lookupNumber(group, key, &value))
        return true;
    value = defaultValue;
    return false;
}

QString SqliteSettingsStore::readError()
{
    // A store not made yet holds no value: its defaults are the answers.
    if (!QFileInfo::exists(d->path))
        return QString();
    Status status = d->readFailure;
    if (status == Status::Ok)
        status = d->read(kProbe, {}, [](sql::Statement&) {});
    if (status == Status::Ok)
        return QString();
    return sql::faultText(QStringLiteral("the settings store"), d->path, status);
}

bool SqliteSettingsStore::writeText(const QString& group, const QString& key, const QString& value,
                                    bool)
{
    return d->store(group, key, value);
}

bool SqliteSettingsStore::writeBool(const QString& group, const QString& key, bool value)
{
    return d->store(group, key, value ? QStringLiteral("1") : QStringLiteral("0"));
}

bool SqliteSettingsStore::writeInt(const QString& group, const QString& key, int value)
{
    return d->store(group, key, QString::number(value));
}

bool SqliteSettingsStore::writeUInt(const QString& group, const QString& key, unsigned int value)
{
    return d->store(group, key, QString::number(value));
}

QMap<QString, QString> SqliteSettingsStore::entries(const QString& group)
{
    QMap<QString, QString> result;
    d->read(kSelectGroup, {group.toUtf8()}, [&](sql::Statement& row) {
        result.insert(QString::fromUtf8(row.columnText(0)), QString::fromUtf8(row.columnText(1)));
    });
    return result;
}

bool SqliteSettingsStore::removeEntry(const QString& group, const QString& key)
{
    return d->change(kDeleteEntry, {group.toUtf8(), key.toUtf8()});
}

bool SqliteSettingsStore::clearGroup(const QString& group)
{
    return d->change(kDeleteGroup, {group.toUtf8()});
}

bool SqliteSettingsStore::flush()
{
    // Every write outside a batch is durable once it returns, so what is left to do is to move
    // the log into the database file, and to tell a caller that ignored the writes' results that
    // one was refused. A checkpoint cannot move a batch's writes before its commit.
    const int refused = std::exchange(d->refusal, 0);
    int error = d->batchLost;
    if (!d->batch) {
        Status status = d->openConnection();
        if (status == Status::Ok)
            status = d->connection->exec(kCheckpoint);
        error = status == Status::Ok ? 0 : errnoOf(status);
    }
    if (error == 0)
        error = refused;
    if (error != 0) {
        errno = error;
        return false;
    }
    return true;
}

bool SqliteSettingsStore::beginBatch()
{
    if (d->batch) {
        ++d->batchDepth;
        return true;
    }
    Status status = d->openConnection();
    if (status == Status::Ok) {
        d->batch.emplace(*d->connection, sql::ScopedTransaction::Write);
        status = d->batch->begin();
    }
    if (status != Status::Ok) {
        d->batch.reset();
        errno = errnoOf(status);
        return false;
    }
    d->batchDepth = 1;
    return true;
}

bool SqliteSettingsStore::commitBatch()
{
    int error = EINVAL; // no batch is open
    if (d->batch)
        error = --d->batchDepth > 0 ? d->batchLost : d->endBatch(true);
    if (error == 0)
        return true;
    errno = error;
    return false;
}

void SqliteSettingsStore::abortBatch()
{
    if (!d->batch)
        return;
    if (--d->batchDepth > 0) {
        if (d->batchLost == 0)
            d->batchLost = ECANCELED;
        return;
    }
    d->endBatch(false);
}

} // namespace tavplatform
