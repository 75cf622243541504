#include "sqlite_database.h"

#include "sqlconnection.h"
#include "sqlite_cursors.h"
#include "sqlite_handles.h"
#include "sqlite_record_codec.h"
#include "sqlite_statements.h"
#include "sqlite_transactions.h"

#include <QByteArray>

#include <map>
#include <memory>
#include <utility>

namespace tavplatform
{

using namespace devicedb; // the pieces this class ties together
using sql::Status;

struct SqliteDatabase::Impl {
    QString path;
    int busyTimeoutMs;
    std::unique_ptr<sql::Connection> connection;
    int openFailure = DB_OK; // why the file could not be opened, when it could not
    // The schema of each table opened so far, by name, with what was checked and made for it.
    std::map<QByteArray, std::shared_ptr<Table>> schemas;
    Handles<std::shared_ptr<Table>> tables;
    Handles<std::shared_ptr<Layout>> binds;
    Transactions txns{connection};
    Handles<Cursor> cursors;
    Handles<Term> terms;

    void* dbHandle() { return this; }

    bool isDb(void* db) { return db && db == dbHandle() && connection; }

    // The result for a database handle that is not this open database. A null one is what
    // DB_DB_GetNativeDB gave when the file could not be opened: the reason is more use to the
    // caller than the null.
    int badDb(void* db) const
    {
        if (db)
            return DB_ERR_INVALID_HANDLE;
        return openFailure ? openFailure : DB_ERR_NULL_HANDLE;
    }

    // A handle of the binding `function` gives.
    int makeBind(Table& table, DB_BIND_FUNC_T function, void** handle)
    {
        if (!function || !handle)
            return DB_ERR_NULL_HANDLE;
        std::shared_ptr<Layout> layout;
        if (const int r = layoutOf(table, function, &layout))
            return r;
        *handle = binds.add(std::move(layout));
        return DB_OK;
    }

    // Checks shared by the record operations; the bind must describe the same table.
    int checkRecordCall(void* txn, void* table, void* bind, Table** t, Layout** b)
    {
        if (!table || !bind)
            return DB_ERR_NULL_HANDLE;
        if (const int r = txns.checkCurrent(txn))
            return r;
        std::shared_ptr<Table>* opened = tables.find(table);
        std::shared_ptr<Layout>* bound = binds.find(bind);
        if (!opened || !bound)
            return DB_ERR_INVALID_HANDLE;
        if ((*bound)->table != (*opened)->name)
            return DB_ERR_BIND_MISMATCH;
        *t = opened->get();
        *b = bound->get();
        return DB_OK;
    }

    // The cursor at `handle`, whose transaction must still be open and not rolled back.
    int checkCursor(void* handle, Cursor** cursor)
    {
        if (!handle)
            return DB_ERR_NULL_HANDLE;
        Cursor* found = cursors.find(handle);
        if (!found || !txns.isOpen(found->txn))
            return DB_ERR_INVALID_HANDLE;
        if (txns.rolledBack())
            return DB_ERR_TXN_ROLLED_BACK;
        *cursor = found;
        return DB_OK;
    }
};

SqliteDatabase::SqliteDatabase(QString path, int busyTimeoutMs) : d(new Impl)
{
    d->path = path;
    d->busyTimeoutMs = busyTimeoutMs;
}

SqliteDatabase::~SqliteDatabase()
{
    // Whatever a process leaves open is undone, as a crash would undo it.
    if (d->connection && d->connection->inTransaction())
        d->connection->exec(kRollback);
}

void* SqliteDatabase::getNativeDB()
{
    if (!d->connection) {
        Status status = Status::CantOpen;
        std::unique_ptr<sql::Connection> connection;
        if (!d->path.isEmpty())
            connection = sql::Connection::open(d->path, &status, d->busyTimeoutMs);
        // With its log files kept, the index can be read, and a message deleted, on a disk that
        // filled up while no process had it open.
        if (connection)
            status = connection->keepWalFiles();
        if (status == Status::Ok)
            status = connection->exec(kCreateSchemaTable);
        if (status == Status::Ok)
            d->connection = std::move(connection);
        d->openFailure = resultOf(status);
    }
    return d->connection ? d->dbHandle() : nullptr;
}

int SqliteDatabase::checkTableExist(void* db, const char* table)
{
    if (!d->isDb(db) || !table)
        return 0;
    int result;
    sql::Statement* s = statement(*d->connection, kSelectTableExists, &result);
    if (!s)
        return 0;
    sql::StatementUse use(*s);
    use->bindText(1, QByteArray(table));
    return use->step() == Status::Row ? 1 : 0;
}

int SqliteDatabase::tableCreate(void* db, const char* table, const DB_SCHEMA_T* schema)
{
    if (!d->isDb(db))
        return d->badDb(db);
    if (!table || !schema)
        return DB_ERR_NULL_HANDLE;
    const QByteArray name(table);
    if (!isPlainName(name))
        return DB_ERR_INVALID_ARGUMENT;
    if (checkTableExist(db, table))
        return DB_ERR_TABLE_EXISTS;

    Table parsed{name, {}, {}, {}, {}};
    if (const int r = readSchema(schema, &parsed))
        return r;
    const int result = createTable(*d->connection, parsed);
    // Another process may have made the same table since the check above.
    if (result != DB_OK && checkTableExist(db, table))
        return DB_ERR_TABLE_EXISTS;
    return result;
}

int SqliteDatabase::tableOpen(void* db, void** table, const char* name)
{
    if (!d->isDb(db))
        return d->badDb(db);
    if (!table || !name)
        return DB_ERR_NULL_HANDLE;
    std::shared_ptr<Table> loaded;
    if (const int result = loadTable(*d->connection, d->schemas, QByteArray(name), &loaded))
        return result;
    *table = d->tables.add(std::move(loaded));
    return DB_OK;
}

int SqliteDatabase::tableClose(void* table)
{
    return d->tables.close(table);
}

int SqliteDatabase::bindToTable(void* table, DB_BIND_FUNC_T bind, void** handle)
{
    if (!table)
        return DB_ERR_NULL_HANDLE;
    std::shared_ptr<Table>* opened = d->tables.find(table);
    if (!opened)
        return DB_ERR_INVALID_HANDLE;
    return d->makeBind(**opened, bind, handle);
}

int SqliteDatabase::bindToCursor(void* cursor, DB_BIND_FUNC_T bind, void** handle)
{
    if (!cursor)
        return DB_ERR_NULL_HANDLE;
    Cursor* c = d->cursors.find(cursor);
    if (!c)
        return DB_ERR_INVALID_HANDLE;
    return d->makeBind(*c->table, bind, handle);
}

int SqliteDatabase::closeBind(void* handle)
{
    return d->binds.close(handle);
}

int SqliteDatabase::txnBegin(void** txn, int flags)
{
    if (!txn)
        return DB_ERR_NULL_HANDLE;
    if (flags != 0)
        return DB_ERR_INVALID_ARGUMENT;
    // Overwriting a location that holds an open transaction would lose it, and its changes.
    if (d->txns.isOpen(*txn))
        return DB_ERR_TXN_ACTIVE;
    if (!getNativeDB())
        return d->openFailure;
    return d->txns.begin(txn);
}

int SqliteDatabase::txnCommit(void* txn)
{
    return d->txns.commit(txn);
}

int SqliteDatabase::txnAbort(void* txn)
{
    return d->txns.abort(txn);
}

int SqliteDatabase::tableInsert(void* txn, void* table, void* record, void* bind, unsigned int* id)
{
    Table* t;
    Layout* b;
    if (const int r = d->checkRecordCall(txn, table, bind, &t, &b))
        return r;
    if (!record || !id)
        return DB_ERR_NULL_HANDLE;
    return insertRecord(*d->connection, *t, *b, record, id);
}

int SqliteDatabase::tableUpdate(void* txn, void* table, unsigned int id, void* record, void* bind)
{
    Table* t;
    Layout* b;
    if (const int r = d->checkRecordCall(txn, table, bind, &t, &b))
        return r;
    if (!record)
        return DB_ERR_NULL_HANDLE;
    return updateRecord(*d->connection, *b, id, record);
}

int SqliteDatabase::tableDelete(void* txn, void* table, unsigned int id)
{
    if (!table)
        return DB_ERR_NULL_HANDLE;
    if (const int r = d->txns.checkCurrent(txn))
        return r;
    std::shared_ptr<Table>* opened = d->tables.find(table);
    if (!opened)
        return DB_ERR_INVALID_HANDLE;
    return deleteRecord(*d->connection, **opened, id);
}

int SqliteDatabase::tableFetchRecord(void* txn, void* table, unsigned int id, void* record,
                                     unsigned int size, void* bind)
{
    Table* t;
    Layout* b;
    if (const int r = d->checkRecordCall(txn, table, bind, &t, &b))
        return r;
    if (!record)
        return DB_ERR_NULL_HANDLE;
    return fetchRecord(*d->connection, *b, id, record, size);
}

int SqliteDatabase::cursorOpen(void* txn, void** table, int order, const char* field, void** cursor)
{
    if (!txn || !table || !*table || !field || !cursor)
        return DB_ERR_NULL_HANDLE;
    if (!d->txns.isOpen(txn))
        return DB_ERR_INVALID_HANDLE;
    std::shared_ptr<Table>* opened = d->tables.find(*table);
    if (!opened)
        return DB_ERR_INVALID_HANDLE;
    if (order != DB_CURSOR_ASCENDING && order != DB_CURSOR_DESCENDING)
        return DB_ERR_INVALID_ARGUMENT;
    const QByteArray name(field);
    const int index = (*opened)->fieldIndex(name);
    // No schema field may be called "id": the name always stands for the record id.
    if (index < 0 && name != "id")
        return DB_ERR_NO_FIELD;
    const bool textField = index >= 0 && isTextType((*opened)->fields[size_t(index)].type);
    *cursor = d->cursors.add(Cursor{*opened, index, order, txn, textField});
    return DB_OK;
}

int SqliteDatabase::cursorClose(void* cursor)
{
    return d->cursors.close(cursor);
}

int SqliteDatabase::cursorLocate(void* cursor, void* term)
{
    if (!cursor || !term)
        return DB_ERR_NULL_HANDLE;
    Cursor* c;
    if (const int r = d->checkCursor(cursor, &c))
        return r;
    const Term* t = d->terms.find(term);
    if (!t)
        return DB_ERR_INVALID_HANDLE;
    return locate(*d->connection, *c, *t);
}

int SqliteDatabase::cursorMoveFirst(void* cursor)
{
    Cursor* c;
    if (const int r = d->checkCursor(cursor, &c))
        return r;
    return moveFirst(*d->connection, *c);
}

int SqliteDatabase::cursorMoveNext(void* cursor)
{
    Cursor* c;
    if (const int r = d->checkCursor(cursor, &c))
        return r;
    return moveNext(*d->connection, *c);
}

int SqliteDatabase::cursorGetCurrentRecordInfo(void* cursor, unsigned int* id, void** table)
{
    if (!cursor || !id || !table || !*table)
        return DB_ERR_NULL_HANDLE;
    const Cursor* c = d->cursors.find(cursor);
    if (!c)
        return DB_ERR_INVALID_HANDLE;
    const std::shared_ptr<Table>* opened = d->tables.find(*table);
    if (!opened)
        return DB_ERR_INVALID_HANDLE;
    if ((*opened)->name != c->table->name)
        return DB_ERR_INVALID_ARGUMENT;
    if (!c->hasCurrent)
        return DB_ERR_NOT_FOUND;
    *id = c->currentId;
    return DB_OK;
}

void* SqliteDatabase::termOpen()
{
    return d->terms.add(Term{});
}

int SqliteDatabase::termCharEqual(void* term, const char* field, const char* text)
{
    if (!term || !field || !text)
        return DB_ERR_NULL_HANDLE;
    Term* t = d->terms.find(term);
    if (!t)
        return DB_ERR_INVALID_HANDLE;
    t->conditions.emplace_back(QByteArray(field), QByteArray(text));
    return DB_OK;
}

int SqliteDatabase::termClose(void* term)
{
    return d->terms.close(term);
}

} // namespace tavplatform
