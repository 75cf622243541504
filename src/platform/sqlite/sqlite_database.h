#ifndef TAVPLATFORM_SQLITE_DATABASE_H
#define TAVPLATFORM_SQLITE_DATABASE_H

#include "db_service.h"

#include <QString>

#include <memory>

namespace tavplatform
{

// The device database on SQLite: one file, opened on first use and kept open for the process, in
// WAL mode with synchronous=FULL and a busy timeout, shared by every application of the device.
// Table schemas are kept beside the tables, so that bindings can be checked against them. A
// binding is checked once per table schema (again when its entries change), and every statement
// is prepared once and kept for the process.
class SqliteDatabase : public DatabaseService
{
public:
    // `busyTimeoutMs`: how long a statement waits while another process holds the lock it needs
    // (DB_ERR_BUSY after that). The file is opened by the first getNativeDB() or DB_TXN_Begin.
    explicit SqliteDatabase(QString path, int busyTimeoutMs = 5000);
    // Rolls back whatever transaction is still open, as a crash would.
    ~SqliteDatabase() override;

    void* getNativeDB() override;
    int checkTableExist(void* db, const char* table) override;
    int tableCreate(void* db, const char* table, const DB_SCHEMA_T* schema) override;
    int tableOpen(void* db, void** table, const char* name) override;
    int tableClose(void* table) override;
    int bindToTable(void* table, DB_BIND_FUNC_T bind, void** handle) override;
    int bindToCursor(void* cursor, DB_BIND_FUNC_T bind, void** handle) override;
    int closeBind(void* handle) override;
    int txnBegin(void** txn, int flags) override;
    int txnCommit(void* txn) override;
    int txnAbort(void* txn) override;
    int tableInsert(void* txn, void* table, void* record, void* bind, unsigned int* id) override;
    int tableUpdate(void* txn, void* table, unsigned int id, void* record, void* bind) override;
    int tableDelete(void* txn, void* table, unsigned int id) override;
    int tableFetchRecord(void* txn, void* table, unsigned int id, void* record, unsigned int size,
                         void* bind) override;
    int cursorOpen(void* txn, void** table, int order, const char* field, void** cursor) override;
    int cursorClose(void* cursor) override;
    int cursorLocate(void* cursor, void* term) override;
    int cursorMoveFirst(void* cursor) override;
    int cursorMoveNext(void* cursor) override;
    int cursorGetCurrentRecordInfo(void* cursor, unsigned int* id, void** table) override;
    void* termOpen() override;
    int termCharEqual(void* term, const char* field, const char* text) override;
    int termClose(void* term) override;

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

} // namespace tavplatform

#endif
