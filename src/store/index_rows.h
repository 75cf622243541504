#ifndef TAVMMS_STORE_INDEX_ROWS_H
#define TAVMMS_STORE_INDEX_ROWS_H

// The rows of the message index as the store adds and walks them.

#include "device_db_api.h"
#include "message_index.h"
#include "mms_util_dbstruct.h"
#include "mms_util_dbtable.h"

#include <QByteArray>

#include <memory>
#include <optional>

namespace tavmms::store
{

// Adds `row` through MMS_UTIL_DBTable and commits its write transaction, at an id whose mail file
// names are free (idIsTaken), or are `own`'s, the message whose file the row is made for: a taken
// id's row goes again and the next id, which the database never gives twice, is tried. Sets
// `id`; gives a database result.
int addRowAtFreeId(const MMS_UTIL_DBStruct_T& row, unsigned int* id,
                   std::optional<unsigned int> own = std::nullopt);

// A transaction of the device database that is aborted unless commit() ran.
class Transaction
{
public:
    Transaction() = default;
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    int begin();
    // Commits; a transaction whose commit failed is aborted, so that none stays open.
    int commit();
    void* handle() const { return txn_; }

private:
    void* txn_ = nullptr;
};

// A cursor or term handle, closed by its DB_*_Close function when it goes.
using Handle = std::unique_ptr<void, int (*)(void*)>;

extern const char kFolderField[];

// Reads the rows in id order, or only those of `folder`, through a cursor in one transaction, so
// that the rows read belong together; calls `visit` with each. Gives a database result.
template <typename Visit> int walkRows(void* txn, std::optional<unsigned int> folder, Visit visit)
{
    const bool byFolder = folder.has_value();
    const unsigned int wanted = folder.value_or(0);
    void* cursorHandle = nullptr;
    // The rows of a folder are found through its index, in id order within the folder.
    int r = DB_CURSOR_Open(txn, &MMS_UTIL_DBTable::mmsTableHandle, DB_CURSOR_ASCENDING,
                           byFolder ? kFolderField : "id", &cursorHandle);
    if (r != DB_OK)
        return r;
    const Handle cursor(cursorHandle, DB_CURSOR_Close);
    if (byFolder) {
        const Handle term(DB_TERM_Open(), DB_TERM_Close);
        if (!term)
            return DB_ERR_INTERNAL;
        r = DB_TERM_CHAR_Equal(term.get(), kFolderField, QByteArray::number(wanted).constData());
        if (r == DB_OK)
            r = DB_CURSOR_Locate(cursor.get(), term.get());
    } else {
        r = DB_CURSOR_MoveFirst(cursor.get());
    }
    // One binding for the whole walk, and each record read in the walk's transaction: what
    // MMS_UTIL_DBTable::readRecord() would make and end again for every row.
    void* bindHandle = nullptr;
    if (r == DB_OK)
        r = DB_STRUCT_BindToTable(MMS_UTIL_DBTable::mmsTableHandle, MMS_UTIL_DBGetBinding,
                                  &bindHandle);
    const Handle bind(bindHandle, DB_STRUCT_CloseBind);
    for (; r == DB_OK; r = DB_CURSOR_MoveNext(cursor.get())) {
        unsigned int id = 0;
        MMS_UTIL_DBStruct_T record{};
        r = DB_CURSOR_GetCurrentRecordInfo(cursor.get(), &id, &MMS_UTIL_DBTable::mmsTableHandle);
        if (r == DB_OK)
            r = DB_TABLE_FetchRecord(txn, MMS_UTIL_DBTable::mmsTableHandle, id, &record,
                                     sizeof record, bind.get());
        if (r != DB_OK)
            return r;
        if (byFolder && record.cmn_fld_folder_id != wanted)
            break; // past the folder's rows
        visit(id, record);
    }
    return r == DB_ERR_NOT_FOUND ? DB_OK : r;
}

// walkRows() in a transaction of its own, which is committed when the walk went well.
template <typename Visit> int forEachRow(std::optional<unsigned int> folder, Visit visit)
{
    Transaction txn;
    int r = txn.begin();
    if (r == DB_OK)
        r = walkRows(txn.handle(), folder, visit);
    return r == DB_OK ? txn.commit() : r;
}

} // namespace tavmms::store

#endif
