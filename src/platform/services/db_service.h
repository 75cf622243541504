#ifndef TAVPLATFORM_DB_SERVICE_H
#define TAVPLATFORM_DB_SERVICE_H

#include "device_db_types.h"
#include "service_slot.h"
#include "tavplatform_global.h"

#include <QString>

namespace tavplatform
{

// The device database behind the DB_* functions, one method per function with the same
// arguments and results (see device_db_api.h), named after it: txnBegin is DB_TXN_Begin,
// cursorMoveNext DB_CURSOR_MoveNext, and so on.
class TAVPLATFORM_EXPORT DatabaseService
{
public:
    virtual ~DatabaseService();

    virtual void* getNativeDB() = 0;
    virtual int checkTableExist(void* db, const char* table) = 0;
    virtual int tableCreate(void* db, const char* table, const DB_SCHEMA_T* schema) = 0;
    virtual int tableOpen(void* db, void** table, const char* name) = 0;
    virtual int tableClose(void* table) = 0;
    virtual int bindToTable(void* table, DB_BIND_FUNC_T bind, void** handle) = 0;
    virtual int bindToCursor(void* cursor, DB_BIND_FUNC_T bind, void** handle) = 0;
    virtual int closeBind(void* handle) = 0;
    virtual int txnBegin(void** txn, int flags) = 0;
    virtual int txnCommit(void* txn) = 0;
    virtual int txnAbort(void* txn) = 0;
    virtual int tableInsert(void* txn, void* table, void* record, void* bind, unsigned int* id) = 0;
    virtual int tableUpdate(void* txn, void* table, unsigned int id, void* record, void* bind) = 0;
    virtual int tableDelete(void* txn, void* table, unsigned int id) = 0;
    virtual int tableFetchRecord(void* txn, void* table, unsigned int id, void* record,
                                 unsigned int size, void* bind) = 0;
    virtual int cursorOpen(void* txn, void** table, int order, const char* field,
                           void** cursor) = 0;
    virtual int cursorClose(void* cursor) = 0;
    virtual int cursorLocate(void* cursor, void* term) = 0;
    virtual int cursorMoveFirst(void* cursor) = 0;
    virtual int cursorMoveNext(void* cursor) = 0;
    virtual int cursorGetCurrentRecordInfo(void* cursor, unsigned int* id, void** table) = 0;
    virtual void* termOpen() = 0;
    virtual int termCharEqual(void* term, const char* field, const char* text) = 0;
    virtual int termClose(void* term) = 0;
};

// The file of the device database: "device.db" in the platform directory; empty when there is no
// platform directory.
TAVPLATFORM_EXPORT QString deviceDatabasePath();

// The service the DB_* functions call: the one installed, else the device database on SQLite in
// the platform directory.
TAVPLATFORM_EXPORT DatabaseService& databaseService();
// Installs `service` (not owned; null restores the default) and returns the one it replaces.
TAVPLATFORM_EXPORT DatabaseService* setDatabaseService(DatabaseService* service);

// Installs a service (a test double) for the life of a scope.
using ScopedDatabaseService = ScopedService<DatabaseService, &setDatabaseService>;

} // namespace tavplatform

#endif
