#ifndef TAVMMS_TESTS_MOCK_DATABASE_H
#define TAVMMS_TESTS_MOCK_DATABASE_H

#include "db_service.h"

#include <gmock/gmock.h>

namespace tavmms_test
{

// A GoogleMock double of the device database: one mocked method per DB_* function, with the same
// arguments. Install it for a scope with tavplatform::ScopedDatabaseService.
class MockDatabase : public tavplatform::DatabaseService
{
public:
    MockDatabase();
    ~MockDatabase() override;

    MOCK_METHOD(void*, getNativeDB, (), (override));
    MOCK_METHOD(int, checkTableExist, (void* db, const char* table), (override));
    MOCK_METHOD(int, tableCreate, (void* db, const char* table, const DB_SCHEMA_T* schema),
                (override));
    MOCK_METHOD(int, tableOpen, (void* db, void** table, const char* name), (override));
    MOCK_METHOD(int, tableClose, (void* table), (override));
    MOCK_METHOD(int, bindToTable, (void* table, DB_BIND_FUNC_T bind, void** handle), (override));
    MOCK_METHOD(int, bindToCursor, (void* cursor, DB_BIND_FUNC_T bind, void** handle), (override));
    MOCK_METHOD(int, closeBind, (void* handle), (override));
    MOCK_METHOD(int, txnBegin, (void** txn, int flags), (override));
    MOCK_METHOD(int, txnCommit, (void* txn), (override));
    MOCK_METHOD(int, txnAbort, (void* txn), (override));
    MOCK_METHOD(int, tableInsert,
                (void* txn, void* table, void* record, void* bind, unsigned int* id), (override));
    MOCK_METHOD(int, tableUpdate,
                (void* txn, void* table, unsigned int id, void* record, void* bind), (override));
    MOCK_METHOD(int, tableDelete, (void* txn, void* table, unsigned int id), (override));
    MOCK_METHOD(int, tableFetchRecord,
                (void* txn, void* table, unsigned int id, void* record, unsigned int size,
                 void* bind),
                (override));
    MOCK_METHOD(int, cursorOpen,
                (void* txn, void** table, int order, const char* field, void** cursor), (override));
    MOCK_METHOD(int, cursorClose, (void* cursor), (override));
    MOCK_METHOD(int, cursorLocate, (void* cursor, void* term), (override));
    MOCK_METHOD(int, cursorMoveFirst, (void* cursor), (override));
    MOCK_METHOD(int, cursorMoveNext, (void* cursor), (override));
    MOCK_METHOD(int, cursorGetCurrentRecordInfo, (void* cursor, unsigned int* id, void** table),
                (override));
    MOCK_METHOD(void*, termOpen, (), (override));
    MOCK_METHOD(int, termCharEqual, (void* term, const char* field, const char* text), (override));
    MOCK_METHOD(int, termClose, (void* term), (override));
};

} // namespace tavmms_test

#endif
