#ifndef TAVMMS_TESTS_SQL_QUERIES_H
#define TAVMMS_TESTS_SQL_QUERIES_H

#include "sqlconnection.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <ostream>
#include <string>

namespace tavmms_test
{

// A connection of its own to the database file at `path`, for looking at what was stored the way
// another process would; null when the file cannot be opened.
std::unique_ptr<tavplatform::sql::Connection> lookInto(const QString& path);

// Puts 8 KiB of text that is no database in place of the database file at `path`, and removes its
// log files, whose good pages would otherwise stand in for the file's; true when done.
bool replaceWithNonDatabase(const QString& path);

// How the engine would run the SELECT `sql`: the detail lines of its query plan, joined by "; ".
QByteArray queryPlan(tavplatform::sql::Connection& connection, const std::string& sql);
// The first column of every row `sql` gives, as text; the statement must succeed (a failure is
// reported as a test failure and gives no rows).
QList<QByteArray> queryColumn(tavplatform::sql::Connection& connection, const std::string& sql);
// The first column of the first row as text, or "<no row>".
QByteArray queryText(tavplatform::sql::Connection& connection, const std::string& sql);
// The first column of the first row as an integer, or -1 when there is no row.
qint64 queryInt(tavplatform::sql::Connection& connection, const std::string& sql);

} // namespace tavmms_test

namespace tavplatform::sql
{

// Assertion messages name the status.
void PrintTo(Status status, std::ostream* os);

} // namespace tavplatform::sql

#endif
