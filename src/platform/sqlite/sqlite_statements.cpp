#include "sqlite_statements.h"

namespace tavplatform::devicedb
{

using sql::Status;

int resultOf(Status status)
{
    switch (status) {
    case Status::Ok:
    case Status::Row:
        return DB_OK;
    case Status::Busy:
        return DB_ERR_BUSY;
    case Status::Full:
        return DB_ERR_DISK_FULL;
    case Status::Corrupt:
        return DB_ERR_CORRUPT;
    case Status::IoError:
        return DB_ERR_IO;
    case Status::CantOpen:
        return DB_ERR_CANT_OPEN;
    case Status::ReadOnly:
        return DB_ERR_READ_ONLY;
    case Status::Constraint:
    case Status::Error:
        break;
    }
    return DB_ERR_INTERNAL;
}

std::string quoted(const QByteArray& name)
{
    return '"' + name.toStdString() + '"';
}

sql::Statement* statement(sql::Connection& connection, std::string_view text, int* result)
{
    Status status;
    sql::Statement* s = connection.cached(text, &status);
    *result = s ? DB_OK : resultOf(status);
    return s;
}

} // namespace tavplatform::devicedb
