#include "index_rows.h"

#include "mail_file_names.h"

namespace tavmms::store
{

const char kFolderField[] = "cmn_fld_folder_id";

int addRowAtFreeId(const MMS_UTIL_DBStruct_T& row, unsigned int* id,
                   std::optional<unsigned int> own)
{
    for (;;) {
        int r = MMS_UTIL_DBTable::add(row, id);
        if (r == DB_OK)
            r = commitOrAbort();
        if (r != DB_OK || *id == own || !idIsTaken(*id))
            return r;
        // A file of this id is there, left by an add that died or kept from an index that was
        // lost.
        r = MMS_UTIL_DBTable::del(*id);
        if (r == DB_OK)
            r = commitOrAbort();
        if (r != DB_OK)
            return r;
    }
}

Transaction::~Transaction()
{
    if (txn_)
        DB_TXN_Abort(txn_);
}

int Transaction::begin()
{
    return DB_TXN_Begin(&txn_, 0);
}

int Transaction::commit()
{
    const int r = DB_TXN_Commit(txn_);
    if (r != DB_OK)
        DB_TXN_Abort(txn_);
    txn_ = nullptr;
    return r;
}

} // namespace tavmms::store
