#ifndef TAVMMS_STORE_INDEX_TABLE_H
#define TAVMMS_STORE_INDEX_TABLE_H

// The message index table as the store uses it: opened for the life of an object, its rows
// walked in id order, the database's result codes in words.

#include "device_db_api.h"
#include "message_store_types.h"
#include "mms_util_dbstruct.h"
#include "mms_util_dbtable.h"
#include "tavmms_global.h"

#include <QString>

#include <memory>
#include <optional>

namespace tavmms::store
{

// "database is busy (DB_ERR_BUSY)"; "unknown database result N" for a code it does not know;
// "the message index '<file>' is damaged: ..." for DB_ERR_CORRUPT.
TAVMMS_EXPORT QString resultText(int code);

// "<what>: <resultText>", as NoSpace when the disk is full, else Failed.
Status databaseFailure(const QString& what, int r);

// The database file that holds the index; empty when there is no platform directory.
TAVMMS_EXPORT QString databasePath();

// The index table, opened (and made, on a new device) for the life of an object.
class TAVMMS_EXPORT IndexTable
{
public:
    // What becomes of an index that is not there yet: made, or left missing.
    enum WhenMissing { Make, LeaveMissing };

    explicit IndexTable(WhenMissing whenMissing = Make);
    ~IndexTable();
    IndexTable(const IndexTable&) = delete;
    IndexTable& operator=(const IndexTable&) = delete;

    bool isOpen() const;
    // Left missing: the database file does not exist, or it holds no index table.
    bool isMissing() const;
    // Why the table could not be opened, naming the database file; empty when it is open.
    QString openError() const;
    // Done when it is open, else openError() as NoSpace when the disk is full, else Failed.
    Status openStatus() const;
    // The database's result of opening it.
    int result() const { return result_; }

private:
    int result_ = DB_ERR_NO_TABLE;
    bool missing_ = false;
};

// Commits the write transaction MMS_UTIL_DBTable left open, and aborts it when the commit fails,
// so that no transaction stays open either way. Gives the commit's result.
TAVMMS_EXPORT int commitOrAbort();

} // namespace tavmms::store

#endif
