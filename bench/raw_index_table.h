#ifndef TAVMMS_BENCH_RAW_INDEX_TABLE_H
#define TAVMMS_BENCH_RAW_INDEX_TABLE_H

// The message index table on plain SQLite with the library's settings, for the raw baselines of
// the benchmarks that add or read index rows: the same columns (TEXT for texts, INTEGER for
// numbers), ids from AUTOINCREMENT, an index (field, id) on every indexed field, and prepared
// statements (BEGIN and COMMIT among them) made once and reused.

#include "mms_util_dbstruct.h"
#include "raw_sqlite.h"

#include <QString>

#include <memory>
#include <string>
#include <utility>
#include <vector>

// What RawDatabase::find() answers when no row has the URI.
inline constexpr unsigned kNoRecord = unsigned(-1);

// Gives the record the URI of `serial`.
void setUri(MMS_UTIL_DBStruct_T* record, unsigned serial);
// An ordinary received message's row; `serial` makes its URI, ids and times its own.
MMS_UTIL_DBStruct_T makeRecord(unsigned serial);

// The index table in a database of its own, reached through the engine's C interface alone. The
// record's fields are mapped through MMS_UTIL_DBBINDING, as the library maps them.
class RawDatabase
{
public:
    // Null when the file cannot be opened or set up.
    static std::unique_ptr<RawDatabase> open(const QString& path);

    bool add(MMS_UTIL_DBStruct_T record, unsigned* id);
    bool read(unsigned id, MMS_UTIL_DBStruct_T* record);
    // Every row's id and record in id order, in one transaction, in place of what `rows` held.
    bool readAll(std::vector<std::pair<unsigned, MMS_UTIL_DBStruct_T>>* rows);
    unsigned find(const char* uri);
    bool fill(unsigned rows, std::vector<unsigned>* ids);
    // Deletes every row; the ids go on from the last one given, as AUTOINCREMENT has them.
    bool clear();

private:
    bool exec(const char* sql)
    {
        return sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    StatementPtr prepare(const std::string& sql);
    // Runs a statement that returns no rows.
    static bool run(sqlite3_stmt* statement);
    bool insert(const MMS_UTIL_DBStruct_T& record, unsigned* id);

    ConnectionPtr db_;
    StatementPtr begin_, commit_, insert_, select_, selectAll_, find_;
};

#endif
