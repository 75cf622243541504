#ifndef TAVPLATFORM_DB_API_H
#define TAVPLATFORM_DB_API_H

// The device database as applications call it: a plain function interface over opaque handles.
// Every function returns a result code of device_db_result.h (0 success) unless said otherwise;
// none throws: when memory runs out one gives DB_ERR_NO_MEMORY, after any other unexpected failure
// DB_ERR_INTERNAL (null from the functions that give a pointer, 0 from DB_DB_CheckTableExist), and
// the handle or id it would have written is left as it was. Handles are opaque: a null, closed or
// foreign handle gives DB_ERR_NULL_HANDLE or DB_ERR_INVALID_HANDLE, never a crash.
//
// Transactions: a process has one connection to the database. The first transaction opened is a
// real transaction; one begun while another is open nests inside it and ends before it (commit
// merges its changes into the enclosing one, abort undoes only its own). Statements of a nested
// transaction see the uncommitted changes of the enclosing one: a process reads its own pending
// writes. Other processes see only what was committed by the outermost transaction.

#include "device_db_types.h"
#include "tavplatform_global.h"

extern "C" {

// The device's database, opened once per process; null when it cannot be opened. Given that null,
// DB_TABLE_Create and DB_TABLE_Open answer why (DB_ERR_CORRUPT, DB_ERR_READ_ONLY,
// DB_ERR_CANT_OPEN, ...), as DB_TXN_Begin does.
TAVPLATFORM_EXPORT void* DB_DB_GetNativeDB(void);
// Non-zero when the table exists.
TAVPLATFORM_EXPORT int DB_DB_CheckTableExist(void* db, const char* table);
// Creates a table with one column per schema field, an index on each field whose flag is 1, and
// record ids given by the database and never reused.
// DB_ERR_TABLE_EXISTS when it is there already. DB_ERR_INVALID_ARGUMENT for a table or field name
// that is not plain (up to 31 letters, digits and "_", not starting with a digit, "sqlite_" or
// "tav_"), a field called "id" or named twice, a size that does not fit its type, or an empty
// schema.
TAVPLATFORM_EXPORT int DB_TABLE_Create(void* db, const char* table, const DB_SCHEMA_T* schema);
// Opens table `name` into `*table`; DB_ERR_NO_TABLE when the database does not have it.
TAVPLATFORM_EXPORT int DB_TABLE_Open(void* db, void** table, const char* name);
TAVPLATFORM_EXPORT int DB_TABLE_Close(void* table);

// A binding checked against the table's schema (name, code, size) entry by entry, into
// `*handle`; DB_ERR_BIND_MISMATCH at the first entry that disagrees.
TAVPLATFORM_EXPORT int DB_STRUCT_BindToTable(void* table, DB_BIND_FUNC_T bind, void** handle);
// The same for the table a cursor walks.
TAVPLATFORM_EXPORT int DB_STRUCT_BindToCursor(void* cursor, DB_BIND_FUNC_T bind, void** handle);
TAVPLATFORM_EXPORT int DB_STRUCT_CloseBind(void* handle);

// Begins a transaction into `*txn`. `flags` must be 0. Refused with DB_ERR_TXN_ACTIVE, leaving
// `*txn` as it is, when `*txn` already holds an open transaction: its changes would be lost.
TAVPLATFORM_EXPORT int DB_TXN_Begin(void** txn, int flags);
// End the innermost transaction, keeping or undoing its changes; given another open one, they
// answer DB_ERR_TXN_ORDER. One that fails to commit stays for DB_TXN_Abort to end; an abort ends
// the innermost transaction even when the engine reports a failure.
TAVPLATFORM_EXPORT int DB_TXN_Commit(void* txn);
TAVPLATFORM_EXPORT int DB_TXN_Abort(void* txn);
// After some failures (a full disk, an I/O error) the engine rolls the whole transaction back by
// itself: every call on it but DB_TXN_Abort, and DB_TXN_Begin of a nested one, then gives
// DB_ERR_TXN_ROLLED_BACK, so that no later change is kept outside the transaction.

// Record operations. Texts are read from the record up to their terminator (or the field's
// end). On fetch the record's bound fields are written: a text too long for its field is cut so
// that the terminator fits, and the rest of the field is zero. 16-bit texts hold their units high
// byte first, as the platform's wide-character interfaces read them. All run in `txn`, which
// must be the innermost open transaction, with a binding made for the same table.
// Insert writes the new record's id through `id`; fields the binding leaves out have no value.
// Update and Delete give DB_ERR_NOT_FOUND when there is no record `id`. FetchRecord writes only
// the bound fields; DB_ERR_INVALID_ARGUMENT when one lies beyond `size` bytes.
TAVPLATFORM_EXPORT int DB_TABLE_Insert(void* txn, void* table, void* record, void* bind,
                                       unsigned int* id);
TAVPLATFORM_EXPORT int DB_TABLE_Update(void* txn, void* table, unsigned int id, void* record,
                                       void* bind);
TAVPLATFORM_EXPORT int DB_TABLE_Delete(void* txn, void* table, unsigned int id);
TAVPLATFORM_EXPORT int DB_TABLE_FetchRecord(void* txn, void* table, unsigned int id, void* record,
                                            unsigned int size, void* bind);

// A cursor over the table whose handle is at `*table`, ordered by `field` (then by id) in the
// transaction `txn`; `field` may also be "id", the record id itself. A record without a value in
// the field (one inserted through a binding that leaves the field out) comes before every value
// in ascending order, after them in descending order. DB_ERR_NO_FIELD for a field the table does
// not have. A new cursor stands on no record.
TAVPLATFORM_EXPORT int DB_CURSOR_Open(void* txn, void** table, int order, const char* field,
                                      void** cursor);
TAVPLATFORM_EXPORT int DB_CURSOR_Close(void* cursor);
// Moves the cursor to the first record, in its order, that meets every condition of the term.
TAVPLATFORM_EXPORT int DB_CURSOR_Locate(void* cursor, void* term);
// Walking a cursor: MoveFirst moves it to the first record in its order, MoveNext to the record
// after the current one (which a move or DB_CURSOR_Locate set). Ordered by "id" or by an indexed
// field, a move goes straight to its record without reading the ones before it.
// DB_ERR_NOT_FOUND when there is no such record (an empty table, the end of the walk): the cursor
// then has no current record, and MoveNext on a cursor without one gives DB_ERR_NOT_FOUND again, so
// that a walk never starts over by itself. Any other failure leaves the cursor where it was.
// Moves read in the cursor's transaction: rows that other processes commit during the walk are not
// seen; the process's own changes are (a record deleted ahead is skipped, one inserted ahead is
// reached). Once that transaction has ended, moves give DB_ERR_INVALID_HANDLE.
TAVPLATFORM_EXPORT int DB_CURSOR_MoveFirst(void* cursor);
TAVPLATFORM_EXPORT int DB_CURSOR_MoveNext(void* cursor);
// The id of the record the cursor stands on; DB_ERR_NOT_FOUND when it stands on none. `*table`
// must be a handle of the cursor's table (DB_ERR_INVALID_ARGUMENT otherwise).
TAVPLATFORM_EXPORT int DB_CURSOR_GetCurrentRecordInfo(void* cursor, unsigned int* id, void** table);

// A search term: a set of conditions that must all hold. DB_TERM_Open returns null only when
// memory runs out.
TAVPLATFORM_EXPORT void* DB_TERM_Open(void);
// Adds the condition that `field` equals `text`. The field is looked up only when the term is used:
// DB_CURSOR_Locate gives DB_ERR_NO_FIELD for one the table does not have.
TAVPLATFORM_EXPORT int DB_TERM_CHAR_Equal(void* term, const char* field, const char* text);
TAVPLATFORM_EXPORT int DB_TERM_Close(void* term);

} // extern "C"

#endif
