#ifndef TAVMMS_MMS_UTIL_DBTABLE_H
#define TAVMMS_MMS_UTIL_DBTABLE_H

#include "mms_util_dbstruct.h"
#include "tavmms_global.h"

// The message index table "mms_table_in_flash" in the device database: one row per stored
// message. All operations are class-wide; the table handle and the open write transaction are
// shared by the whole process, which uses them from one thread.
//
// Results are the database's codes unchanged (device_db_result.h: 0 success), except findMsgURI.
//
// Transactions: add, update and del each begin a write transaction into mmsTxn and leave it
// open on success; the caller ends it with commitTxn() or abortTxn() before the next write (a
// write begun while mmsTxn is still open is refused with DB_ERR_TXN_ACTIVE, and the open one is
// kept). A failed write is aborted before it returns, and mmsTxn is cleared when that abort
// succeeded. readRecord and findMsgURI run in a transaction of their own, which may begin while
// the write transaction is open: they then see the rows that this process has written but not
// yet committed. Other processes see only committed rows.
class TAVMMS_EXPORT MMS_UTIL_DBTable
{
public:
    // An object holds nothing: every operation and all state are class-wide.
    MMS_UTIL_DBTable();
    virtual ~MMS_UTIL_DBTable();

    // Creates the table when the database does not have it, then opens it into mmsTableHandle.
    // The result is the open's: a table that could not be created shows up as a failed open
    // (DB_ERR_NO_TABLE, or why the database cannot be opened). Call it once: a second call opens
    // another handle over the first, which stays open.
    static int initTable();
    // Closes mmsTableHandle (and clears it when that succeeded).
    static int closeTable();
    // Inserts a row and stores its id (given by the database, never reused) through `id`. The
    // row's cmn_fld_contain_attachment is always stored as 0. The transaction stays open.
    static int add(MMS_UTIL_DBStruct_T record, unsigned int* id);
    // Replaces row `id` with `record`, all bound fields as given. The transaction stays open.
    static int update(unsigned int id, MMS_UTIL_DBStruct_T record);
    // Deletes row `id`. The transaction stays open.
    static int del(unsigned int id);
    // Reads row `id` into the caller's `*record`, which is cleared to zero just before the fetch
    // (and stays so when the fetch fails). DB_ERR_NULL_HANDLE for a null record, DB_ERR_NOT_FOUND
    // when there is no such row.
    static int readRecord(unsigned int id, MMS_UTIL_DBStruct_T* record);
    // The id of the first row, in URI order, whose mms_fld_msguri_name equals `uri`; -1 (all
    // bits set) for a null URI, no such row, or any failure to look it up. Once the row is found,
    // a failure to release the lookup or to commit its transaction does not change the answer.
    static unsigned int findMsgURI(char* uri);
    // End the open write transaction; mmsTxn is cleared when that succeeded. DB_ERR_NULL_HANDLE
    // when there is none.
    static int commitTxn();
    static int abortTxn();
    // For an application that opened the table itself: puts `handle` into mmsTableHandle as it
    // is, unchecked. The handle it replaces is not closed.
    static void setMmsTableHandle(void* handle);

    // The open table; null until initTable() has opened it, and after closeTable().
    static void* mmsTableHandle;
    // The write transaction add, update or del left open; null when none is.
    static void* mmsTxn;
    // "mms_table_in_flash".
    static const char mmsTableName[];
};

#endif
