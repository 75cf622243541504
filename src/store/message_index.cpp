#include "message_index.h"

#include "db_service.h"

#include <QFileInfo>

namespace tavmms::store
{

namespace
{

struct ResultText {
    int code;
    const char* name;
    const char* text;
};

// Every result code of the database in words.
const ResultText kResultTexts[] = {
    {DB_OK, "DB_OK", "success"},
    {DB_ERR_NULL_HANDLE, "DB_ERR_NULL_HANDLE", "a handle was missing"},
    {DB_ERR_INVALID_HANDLE, "DB_ERR_INVALID_HANDLE", "a handle was not open"},
    {DB_ERR_INVALID_ARGUMENT, "DB_ERR_INVALID_ARGUMENT", "invalid argument"},
    {DB_ERR_NO_TABLE, "DB_ERR_NO_TABLE", "no such table"},
    {DB_ERR_TABLE_EXISTS, "DB_ERR_TABLE_EXISTS", "the table exists already"},
    {DB_ERR_NO_FIELD, "DB_ERR_NO_FIELD", "no such field"},
    {DB_ERR_BIND_MISMATCH, "DB_ERR_BIND_MISMATCH",
     "the table's fields do not match the index record"},
    {DB_ERR_NOT_FOUND, "DB_ERR_NOT_FOUND", "no such row"},
    {DB_ERR_TXN_ACTIVE, "DB_ERR_TXN_ACTIVE", "a transaction is open already"},
    {DB_ERR_TXN_ORDER, "DB_ERR_TXN_ORDER", "transactions ended out of order"},
    {DB_ERR_DISK_FULL, "DB_ERR_DISK_FULL", "no space left on device"},
    {DB_ERR_BUSY, "DB_ERR_BUSY", "database is busy"},
    {DB_ERR_CORRUPT, "DB_ERR_CORRUPT", "not a database, or a corrupt one"},
    {DB_ERR_IO, "DB_ERR_IO", "input/output error"},
    {DB_ERR_CANT_OPEN, "DB_ERR_CANT_OPEN", "database file cannot be opened"},
    {DB_ERR_READ_ONLY, "DB_ERR_READ_ONLY", "database is read-only"},
    {DB_ERR_ID_EXHAUSTED, "DB_ERR_ID_EXHAUSTED", "no row id is left"},
    {DB_ERR_INTERNAL, "DB_ERR_INTERNAL", "internal database error"},
    {DB_ERR_TXN_ROLLED_BACK, "DB_ERR_TXN_ROLLED_BACK", "the transaction was rolled back"},
    {DB_ERR_NO_MEMORY, "DB_ERR_NO_MEMORY", "out of memory"},
};

// Whether the index is not there, found without making anything: opening a database file that
// does not exist makes it. A database that cannot be opened does not count as missing, so that
// opening it reports why.
bool indexIsMissing()
{
    const QString path = databasePath();
    if (path.isEmpty())
        return false;
    if (!QFileInfo::exists(path))
        return true;
    void* db = DB_DB_GetNativeDB();
    if (!db || DB_DB_CheckTableExist(db, MMS_UTIL_DBTable::mmsTableName))
        return false;
    // A table that cannot be looked for is no missing table: opening it tells a damaged file.
    void* table = nullptr;
    const int r = DB_TABLE_Open(db, &table, MMS_UTIL_DBTable::mmsTableName);
    if (r == DB_OK)
        DB_TABLE_Close(table);
    return r == DB_ERR_NO_TABLE;
}

} // namespace

QString resultText(int code)
{
    for (const ResultText& result : kResultTexts) {
        if (result.code != code)
            continue;
        const QString text =
            QStringLiteral("%1 (%2)").arg(QLatin1String(result.text), QLatin1String(result.name));
        // Whatever was being done, the person must learn first that the file is damaged.
        return code == DB_ERR_CORRUPT ? QStringLiteral("the message index '%1' is damaged: %2")
                                            .arg(databasePath(), text)
                                      : text;
    }
    return QStringLiteral("unknown database result %1").arg(code);
}

Status databaseFailure(const QString& what, int r)
{
    return Status::failure(r == DB_ERR_DISK_FULL ? ErrorCode::NoSpace : ErrorCode::Failed,
                           what + QStringLiteral(": ") + resultText(r));
}

QString databasePath()
{
    return tavplatform::deviceDatabasePath();
}

IndexTable::IndexTable(WhenMissing whenMissing)
    : missing_(whenMissing == LeaveMissing && indexIsMissing())
{
    if (!missing_)
        result_ = MMS_UTIL_DBTable::initTable();
}

IndexTable::~IndexTable()
{
    if (result_ == DB_OK)
        MMS_UTIL_DBTable::closeTable();
}

bool IndexTable::isOpen() const
{
    return result_ == DB_OK;
}

bool IndexTable::isMissing() const
{
    return missing_;
}

Status IndexTable::openStatus() const
{
    if (isOpen())
        return {};
    return Status::failure(result_ == DB_ERR_DISK_FULL ? ErrorCode::NoSpace : ErrorCode::Failed,
                           openError());
}

QString IndexTable::openError() const
{
    if (isOpen())
        return QString();
    if (result_ == DB_ERR_CORRUPT)
        return resultText(result_);
    const QString path = databasePath();
    return QStringLiteral("cannot open the message index in '%1': %2")
        .arg(path.isEmpty() ? QStringLiteral("(no platform directory)") : path,
             resultText(result_));
}

int commitOrAbort()
{
    const int r = MMS_UTIL_DBTable::commitTxn();
    if (r != DB_OK)
        MMS_UTIL_DBTable::abortTxn();
    return r;
}

} // namespace tavmms::store
