#include "device_db_api.h"

#include "db_service.h"

#include <new>

namespace
{

using tavplatform::DatabaseService;

// The DB_* callers are C-style and cannot take an exception: `call` runs on the service, and one
// thrown below it becomes `noMemory` for a failed allocation, `other` for anything else.
template <typename Call, typename Result = int>
Result guarded(Call call, Result noMemory = DB_ERR_NO_MEMORY,
               Result other = DB_ERR_INTERNAL) noexcept
{
    try {
        return call(tavplatform::databaseService());
    } catch (const std::bad_alloc&) {
        return noMemory;
    } catch (...) {
        return other;
    }
}

// A caller's output location, handed to the service as it is (callers rely on it: the index
// table passes the location of its class-wide handles on), and put back as it was when the
// service throws halfway instead of returning.
template <typename T> class UndoneOnThrow
{
public:
    explicit UndoneOnThrow(T* location) : location_(location), saved_(location ? *location : T()) {}
    ~UndoneOnThrow()
    {
        if (location_ && !returned_)
            *location_ = saved_;
    }
    UndoneOnThrow(const UndoneOnThrow&) = delete;
    UndoneOnThrow& operator=(const UndoneOnThrow&) = delete;

    T* get() const { return location_; }

    // Notes that the service returned, and passes its `result` on.
    int put(int result)
    {
        returned_ = true;
        return result;
    }

private:
    T* location_;
    T saved_;
    bool returned_ = false;
};

// What the functions that give a pointer give when the service throws.
void* const kNone = nullptr;

} // namespace

extern "C" {

void* DB_DB_GetNativeDB(void)
{
    return guarded([](DatabaseService& s) { return s.getNativeDB(); }, kNone, kNone);
}

int DB_DB_CheckTableExist(void* db, const char* table)
{
    // A yes/no answer: whatever went wrong, the table is not known to exist.
    return guarded([&](DatabaseService& s) { return s.checkTableExist(db, table); }, 0, 0);
}

int DB_TABLE_Create(void* db, const char* table, const DB_SCHEMA_T* schema)
{
    return guarded([&](DatabaseService& s) { return s.tableCreate(db, table, schema); });
}

int DB_TABLE_Open(void* db, void** table, const char* name)
{
    return guarded([&](DatabaseService& s) {
        UndoneOnThrow out(table);
        return out.put(s.tableOpen(db, out.get(), name));
    });
}

int DB_TABLE_Close(void* table)
{
    return guarded([&](DatabaseService& s) { return s.tableClose(table); });
}

int DB_STRUCT_BindToTable(void* table, DB_BIND_FUNC_T bind, void** handle)
{
    return guarded([&](DatabaseService& s) {
        UndoneOnThrow out(handle);
        return out.put(s.bindToTable(table, bind, out.get()));
    });
}

int DB_STRUCT_BindToCursor(void* cursor, DB_BIND_FUNC_T bind, void** handle)
{
    return guarded([&](DatabaseService& s) {
        UndoneOnThrow out(handle);
        return out.put(s.bindToCursor(cursor, bind, out.get()));
    });
}

int DB_STRUCT_CloseBind(void* handle)
{
    return guarded([&](DatabaseService& s) { return s.closeBind(handle); });
}

int DB_TXN_Begin(void** txn, int flags)
{
    return guarded([&](DatabaseService& s) {
        UndoneOnThrow out(txn);
        return out.put(s.txnBegin(out.get(), flags));
    });
}

int DB_TXN_Commit(void* txn)
{
    return guarded([&](DatabaseService& s) { return s.txnCommit(txn); });
}

int DB_TXN_Abort(void* txn)
{
    return guarded([&](DatabaseService& s) { return s.txnAbort(txn); });
}

int DB_TABLE_Insert(void* txn, void* table, void* record, void* bind, unsigned int* id)
{
    return guarded([&](DatabaseService& s) {
        UndoneOnThrow out(id);
        return out.put(s.tableInsert(txn, table, record, bind, out.get()));
    });
}

int DB_TABLE_Update(void* txn, void* table, unsigned int id, void* record, void* bind)
{
    return guarded([&](DatabaseService& s) { return s.tableUpdate(txn, table, id, record, bind); });
}

int DB_TABLE_Delete(void* txn, void* table, unsigned int id)
{
    return guarded([&](DatabaseService& s) { return s.tableDelete(txn, table, id); });
}

int DB_TABLE_FetchRecord(void* txn, void* table, unsigned int id, void* record, unsigned int size,
                         void* bind)
{
    return guarded(
        [&](DatabaseService& s) { return s.tableFetchRecord(txn, table, id, record, size, bind); });
}

int DB_CURSOR_Open(void* txn, void** table, int order, const char* field, void** cursor)
{
    return guarded([&](DatabaseService& s) {
        UndoneOnThrow out(cursor);
        return out.put(s.cursorOpen(txn, table, order, field, out.get()));
    });
}

int DB_CURSOR_Close(void* cursor)
{
    return guarded([&](DatabaseService& s) { return s.cursorClose(cursor); });
}

int DB_CURSOR_Locate(void* cursor, void* term)
{
    return guarded([&](DatabaseService& s) { return s.cursorLocate(cursor, term); });
}

int DB_CURSOR_MoveFirst(void* cursor)
{
    return guarded([&](DatabaseService& s) { return s.cursorMoveFirst(cursor); });
}

int DB_CURSOR_MoveNext(void* cursor)
{
    return guarded([&](DatabaseService& s) { return s.cursorMoveNext(cursor); });
}

int DB_CURSOR_GetCurrentRecordInfo(void* cursor, unsigned int* id, void** table)
{
    return guarded([&](DatabaseService& s) {
        UndoneOnThrow out(id);
        return out.put(s.cursorGetCurrentRecordInfo(cursor, out.get(), table));
    });
}

void* DB_TERM_Open(void)
{
    return guarded([](DatabaseService& s) { return s.termOpen(); }, kNone, kNone);
}

int DB_TERM_CHAR_Equal(void* term, const char* field, const char* text)
{
    return guarded([&](DatabaseService& s) { return s.termCharEqual(term, field, text); });
}

int DB_TERM_Close(void* term)
{
    return guarded([&](DatabaseService& s) { return s.termClose(term); });
}

} // extern "C"
