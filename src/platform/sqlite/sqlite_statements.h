#ifndef TAVPLATFORM_SQLITE_STATEMENTS_H
#define TAVPLATFORM_SQLITE_STATEMENTS_H

#include "device_db_result.h"
#include "sqlconnection.h"

#include <QByteArray>

#include <string>
#include <string_view>

namespace tavplatform::devicedb
{

// Kept beside the tables: the schema each was created with, field by field.
inline constexpr char kCreateSchemaTable[] =
    "CREATE TABLE IF NOT EXISTS tav_schema (tbl TEXT NOT NULL, idx INTEGER NOT NULL, "
    "name TEXT NOT NULL, size INTEGER NOT NULL, type INTEGER NOT NULL, flag INTEGER NOT NULL, "
    "PRIMARY KEY (tbl, idx))";
inline constexpr char kSelectTableExists[] = "SELECT 1 FROM tav_schema WHERE tbl = ? LIMIT 1";
inline constexpr char kSelectSchema[] =
    "SELECT name, size, type, flag FROM tav_schema WHERE tbl = ? ORDER BY idx";
inline constexpr char kInsertSchemaField[] =
    "INSERT INTO tav_schema (tbl, idx, name, size, type, flag) VALUES (?, ?, ?, ?, ?, ?)";
inline constexpr char kBegin[] = "BEGIN";
inline constexpr char kCommit[] = "COMMIT";
inline constexpr char kRollback[] = "ROLLBACK";

// The DB_* result of what the engine answered.
int resultOf(sql::Status status);

// `name` as an SQL identifier. Only plain names are taken, so none holds a quote to escape.
std::string quoted(const QByteArray& name);

// A statement kept for reuse, prepared on first use (and its text built only then); the
// connection owns it.
class LazyStatement
{
public:
    template <typename MakeText>
    sql::Statement* get(sql::Connection& connection, MakeText makeText, sql::Status* status)
    {
        *status = sql::Status::Ok;
        if (!statement_)
            statement_ = connection.cached(makeText(), status);
        return statement_;
    }

private:
    sql::Statement* statement_ = nullptr;
};

// The statement for `text`, prepared on first use and kept; null (with `result`) when it cannot be
// prepared.
sql::Statement* statement(sql::Connection& connection, std::string_view text, int* result);

template <typename MakeText>
sql::Statement* statement(sql::Connection& connection, LazyStatement& lazy, MakeText makeText,
                          int* result)
{
    sql::Status status;
    sql::Statement* s = lazy.get(connection, makeText, &status);
    *result = s ? DB_OK : resultOf(status);
    return s;
}

} // namespace tavplatform::devicedb

#endif
