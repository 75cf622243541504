#include "mms_util_dbtable.h"

#include <cstring>

namespace
{

const char kUriField[] = "mms_fld_msguri_name";
const unsigned int kNoRecord = unsigned(-1);

// The three writes differ only in their table call.
template <typename TableCall> int write(TableCall call)
{
    void* bind = nullptr;
    int r = DB_STRUCT_BindToTable(MMS_UTIL_DBTable::mmsTableHandle, MMS_UTIL_DBGetBinding, &bind);
    if (r != DB_OK)
        return r;
    r = DB_TXN_Begin(&MMS_UTIL_DBTable::mmsTxn, 0);
    if (r != DB_OK) {
        DB_STRUCT_CloseBind(bind);
        return r;
    }
    // A failed write ends its transaction through abortTxn(), so that mmsTxn holds no stale handle.
    r = call(bind);
    if (r != DB_OK) {
        DB_STRUCT_CloseBind(bind);
        MMS_UTIL_DBTable::abortTxn();
        return r;
    }
    r = DB_STRUCT_CloseBind(bind);
    if (r != DB_OK) {
        MMS_UTIL_DBTable::abortTxn();
        return r;
    }
    return DB_OK;
}

} // namespace

void* MMS_UTIL_DBTable::mmsTableHandle = nullptr;
void* MMS_UTIL_DBTable::mmsTxn = nullptr;
const char MMS_UTIL_DBTable::mmsTableName[] = "mms_table_in_flash";

MMS_UTIL_DBTable::MMS_UTIL_DBTable() = default;

MMS_UTIL_DBTable::~MMS_UTIL_DBTable() = default;

int MMS_UTIL_DBTable::initTable()
{
    if (DB_DB_CheckTableExist(DB_DB_GetNativeDB(), mmsTableName) == 0)
        DB_TABLE_Create(DB_DB_GetNativeDB(), mmsTableName, MMS_UTIL_DBSCHEMA);
    return DB_TABLE_Open(DB_DB_GetNativeDB(), &mmsTableHandle, mmsTableName);
}

int MMS_UTIL_DBTable::closeTable()
{
    const int r = DB_TABLE_Close(mmsTableHandle);
    if (r == DB_OK)
        mmsTableHandle = nullptr;
    return r;
}

int MMS_UTIL_DBTable::add(MMS_UTIL_DBStruct_T record, unsigned int* id)
{
    // New rows never claim an attachment; update() keeps whatever the caller sets later.
    record.cmn_fld_contain_attachment = 0;
    return write(
        [&](void* bind) { return DB_TABLE_Insert(mmsTxn, mmsTableHandle, &record, bind, id); });
}

int MMS_UTIL_DBTable::update(unsigned int id, MMS_UTIL_DBStruct_T record)
{
    return write(
        [&](void* bind) { return DB_TABLE_Update(mmsTxn, mmsTableHandle, id, &record, bind); });
}

int MMS_UTIL_DBTable::del(unsigned int id)
{
    // Binds like the other writes although no record is passed.
    return write([&](void*) { return DB_TABLE_Delete(mmsTxn, mmsTableHandle, id); });
}

int MMS_UTIL_DBTable::readRecord(unsigned int id, MMS_UTIL_DBStruct_T* record)
{
    if (!record)
        return DB_ERR_NULL_HANDLE;
    void* txn = nullptr;
    int r = DB_TXN_Begin(&txn, 0);
    if (r != DB_OK)
        return r;
    void* bind = nullptr;
    r = DB_STRUCT_BindToTable(mmsTableHandle, MMS_UTIL_DBGetBinding, &bind);
    if (r != DB_OK) {
        DB_TXN_Abort(txn);
        return r;
    }
    std::memset(static_cast<void*>(record), 0, sizeof *record);
    r = DB_TABLE_FetchRecord(txn, mmsTableHandle, id, record, sizeof *record, bind);
    if (r != DB_OK) {
        DB_STRUCT_CloseBind(bind);
        DB_TXN_Abort(txn);
        return r;
    }
    r = DB_STRUCT_CloseBind(bind);
    if (r != DB_OK) {
        DB_TXN_Abort(txn);
        return r;
    }
    return DB_TXN_Commit(txn);
}

unsigned int MMS_UTIL_DBTable::findMsgURI(char* uri)
{
    if (!uri)
        return kNoRecord;
    void* txn = nullptr;
    if (DB_TXN_Begin(&txn, 0) != DB_OK) {
        DB_TXN_Abort(txn);
        return kNoRecord;
    }
    // The cursor calls take the location of the table handle, not its value.
    void* cursor = nullptr;
    if (DB_CURSOR_Open(txn, &mmsTableHandle, DB_CURSOR_ASCENDING, kUriField, &cursor) != DB_OK) {
        DB_CURSOR_Close(cursor);
        DB_TXN_Abort(txn);
        return kNoRecord;
    }
    void* bind = nullptr;
    if (DB_STRUCT_BindToCursor(cursor, MMS_UTIL_DBGetBinding, &bind) != DB_OK) {
        DB_CURSOR_Close(cursor);
        DB_STRUCT_CloseBind(bind);
        DB_TXN_Abort(txn);
        return kNoRecord;
    }
    void* term = DB_TERM_Open();
    unsigned int id = kNoRecord;
    const bool found = DB_TERM_CHAR_Equal(term, kUriField, uri) == DB_OK &&
                       DB_CURSOR_Locate(cursor, term) == DB_OK &&
                       DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &mmsTableHandle) == DB_OK;
    DB_TERM_Close(term);
    DB_STRUCT_CloseBind(bind);
    DB_CURSOR_Close(cursor);
    if (!found) {
        DB_TXN_Abort(txn);
        return kNoRecord;
    }
    DB_TXN_Commit(txn);
    return id;
}

int MMS_UTIL_DBTable::commitTxn()
{
    const int r = DB_TXN_Commit(mmsTxn);
    if (r == DB_OK)
        mmsTxn = nullptr;
    return r;
}

int MMS_UTIL_DBTable::abortTxn()
{
    const int r = DB_TXN_Abort(mmsTxn);
    if (r == DB_OK)
        mmsTxn = nullptr;
    return r;
}

void MMS_UTIL_DBTable::setMmsTableHandle(void* handle)
{
    mmsTableHandle = handle;
}
