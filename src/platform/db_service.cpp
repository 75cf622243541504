#include "db_service.h"

#include "platform_dir.h"
#include "sqlite_database.h"

namespace tavplatform
{

namespace
{

ServiceSlot<DatabaseService>& slot()
{
    static ServiceSlot<DatabaseService> instance([]() -> std::unique_ptr<DatabaseService> {
        return std::make_unique<SqliteDatabase>(SqliteDatabase::defaultPath());
    });
    return instance;
}

} // namespace

DatabaseService::~DatabaseService() = default;

DatabaseService& databaseService()
{
    return slot().get();
}

DatabaseService* setDatabaseService(DatabaseService* service)
{
    return slot().install(service);
}

} // namespace tavplatform

using tavplatform::databaseService;

extern "C" {

void* DB_DB_GetNativeDB(void)
{
    return databaseService().getNativeDB();
}

int DB_DB_CheckTableExist(void* db, const char* table)
{
    return databaseService().checkTableExist(db, table);
}

int DB_TABLE_Create(void* db, const char* table, const DB_SCHEMA_T* schema)
{
    return databaseService().tableCreate(db, table, schema);
}

int DB_TABLE_Open(void* db, void** table, const char* name)
{
    return databaseService().tableOpen(db, table, name);
}

int DB_TABLE_Close(void* table)
{
    return databaseService().tableClose(table);
}

int DB_STRUCT_BindToTable(void* table, DB_BIND_FUNC_T bind, void** handle)
{
    return databaseService().bindToTable(table, bind, handle);
}

int DB_STRUCT_BindToCursor(void* cursor, DB_BIND_FUNC_T bind, void** handle)
{
    return databaseService().bindToCursor(cursor, bind, handle);
}

int DB_STRUCT_CloseBind(void* handle)
{
    return databaseService().closeBind(handle);
}

int DB_TXN_Begin(void** txn, int flags)
{
    return databaseService().txnBegin(txn, flags);
}

int DB_TXN_Commit(void* txn)
{
    return databaseService().txnCommit(txn);
}

int DB_TXN_Abort(void* txn)
{
    return databaseService().txnAbort(txn);
}

int DB_TABLE_Insert(void* txn, void* table, void* record, void* bind, unsigned int* id)
{
    return databaseService().tableInsert(txn, table, record, bind, id);
}

int DB_TABLE_Update(void* txn, void* table, unsigned int id, void* record, void* bind)
{
    return databaseService().tableUpdate(txn, table, id, record, bind);
}

int DB_TABLE_Delete(void* txn, void* table, unsigned int id)
{
    return databaseService().tableDelete(txn, table, id);
}

int DB_TABLE_FetchRecord(void* txn, void* table, unsigned int id, void* record, unsigned int size,
                         void* bind)
{
    return databaseService().tableFetchRecord(txn, table, id, record, size, bind);
}

int DB_CURSOR_Open(void* txn, void** table, int order, const char* field, void** cursor)
{
    return databaseService().cursorOpen(txn, table, order, field, cursor);
}

int DB_CURSOR_Close(void* cursor)
{
    return databaseService().cursorClose(cursor);
}

int DB_CURSOR_Locate(void* cursor, void* term)
{
    return databaseService().cursorLocate(cursor, term);
}

int DB_CURSOR_MoveFirst(void* cursor)
{
    return databaseService().cursorMoveFirst(cursor);
}

int DB_CURSOR_MoveNext(void* cursor)
{
    return databaseService().cursorMoveNext(cursor);
}

int DB_CURSOR_GetCurrentRecordInfo(void* cursor, unsigned int* id, void** table)
{
    return databaseService().cursorGetCurrentRecordInfo(cursor, id, table);
}

void* DB_TERM_Open(void)
{
    return databaseService().termOpen();
}

int DB_TERM_CHAR_Equal(void* term, const char* field, const char* text)
{
    return databaseService().termCharEqual(term, field, text);
}

int DB_TERM_Close(void* term)
{
    return databaseService().termClose(term);
}

} // extern "C"
