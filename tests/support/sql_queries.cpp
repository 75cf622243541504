#include "support/sql_queries.h"

#include <gtest/gtest.h>

#include <QFile>

namespace tavmms_test
{

using tavplatform::sql::Connection;
using tavplatform::sql::Statement;
using tavplatform::sql::StatementUse;
using tavplatform::sql::Status;

std::unique_ptr<Connection> lookInto(const QString& path)
{
    Status status;
    return Connection::open(path, &status);
}

namespace
{

// Column `column` of every row `sql` gives, as text.
QList<QByteArray> queryRows(Connection& connection, const std::string& sql, int column)
{
    QList<QByteArray> rows;
    Status status;
    Statement* statement = connection.cached(sql, &status);
    EXPECT_NE(statement, nullptr) << sql << ": " << connection.lastError().toStdString();
    if (!statement)
        return rows;
    StatementUse use(*statement);
    while ((status = use->step()) == Status::Row)
        rows.append(use->columnText(column));
    EXPECT_EQ(status, Status::Ok) << sql << ": " << connection.lastError().toStdString();
    return rows;
}

} // namespace

QByteArray queryPlan(Connection& connection, const std::string& sql)
{
    const int detail = 3; // the columns are id, parent, (unused), detail
    return queryRows(connection, "EXPLAIN QUERY PLAN " + sql, detail).join("; ");
}

QList<QByteArray> queryColumn(Connection& connection, const std::string& sql)
{
    return queryRows(connection, sql, 0);
}

QByteArray queryText(Connection& connection, const std::string& sql)
{
    const QList<QByteArray> rows = queryColumn(connection, sql);
    return rows.isEmpty() ? QByteArray("<no row>") : rows.first();
}

qint64 queryInt(Connection& connection, const std::string& sql)
{
    const QList<QByteArray> rows = queryColumn(connection, sql);
    return rows.isEmpty() ? -1 : rows.first().toLongLong();
}

bool replaceWithNonDatabase(const QString& path)
{
    for (const char* suffix : {"-wal", "-shm"})
        QFile::remove(path + QLatin1String(suffix));
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(QByteArray(8192, 'x')) == 8192;
}

} // namespace tavmms_test

namespace tavplatform::sql
{

void PrintTo(Status status, std::ostream* os)
{
    static const char* const names[] = {"Ok",      "Row",        "Busy",     "Full",     "Corrupt",
                                        "IoError", "Constraint", "CantOpen", "ReadOnly", "Error"};
    *os << names[int(status)];
}

} // namespace tavplatform::sql
