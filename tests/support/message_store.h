#ifndef TAVMMS_TESTS_MESSAGE_STORE_H
#define TAVMMS_TESTS_MESSAGE_STORE_H

#include "mms_util_dbstruct.h"

#include "support/tool_process.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <string>

namespace tavmms_test
{

// A message store as a test looks at it from outside: the index table in a database file and
// the mail file directory.

// Runs the tool `program` with `arguments` in `directory`, with its platform directory in
// "platform" and its download path in "download" there, in UTC so that the times it prints are
// the same everywhere.
ToolResult runOnStore(const QString& program, const QString& directory,
                      const QStringList& arguments, const QByteArray& input = QByteArray());

// Row `id` as the library reads it from the database file at `path`; a failure to read it fails
// the test.
MMS_UTIL_DBStruct_T readRow(const QString& path, unsigned int id);
// The ids of the index table's committed rows in the database file at `path`, in id order, read
// by a connection of the test's own; none when there is no file or no table.
QList<QByteArray> rowIds(const QString& path);
// Every name in `directory`, hidden ones included; none when it does not exist.
QStringList namesIn(const QString& directory);

// Damages the database file at `path` where the tables' schemas are looked up (the index of its
// table "tav_schema"), once its log is moved into it: the file still opens, but no table can be
// looked for. Empty when done, else why not.
std::string damageTableLookups(const QString& path);

// For a child process: moves it into a mount namespace of its own with a small file system over
// `directory` (made when missing), and fills that up with a file named "filler". Empty when done,
// else why it cannot be, for a skip.
std::string fillASmallDisk(const QString& directory);

} // namespace tavmms_test

#endif
