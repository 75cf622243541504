#include "support/message_store.h"

#include "support/index_table_helpers.h"
#include "support/mount_namespace.h"
#include "support/sql_queries.h"
#include "support/temp_database.h"

#include "mms_util_dbtable.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>

namespace tavmms_test
{

ToolResult runOnStore(const QString& program, const QString& directory,
                      const QStringList& arguments, const QByteArray& input)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TAV_PLATFORM_DIR"), directory + QStringLiteral("/platform"));
    environment.insert(QStringLiteral("TAV_LOCAL_DOWNLOAD_PATH"),
                       directory + QStringLiteral("/download"));
    environment.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
    return runTool(program, arguments, directory, input, environment);
}

MMS_UTIL_DBStruct_T readRow(const QString& path, unsigned int id)
{
    const ScopedIndexTableState state;
    InstalledDatabase installed(path);
    MMS_UTIL_DBStruct_T record{};
    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(id, &record), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::closeTable(), DB_OK);
    return record;
}

QList<QByteArray> rowIds(const QString& path)
{
    if (!QFile::exists(path))
        return {};
    const auto look = lookInto(path);
    if (!look || queryInt(*look, "SELECT count(*) FROM sqlite_master WHERE name = "
                                 "'mms_table_in_flash'") != 1)
        return {};
    return queryColumn(*look, "SELECT id FROM mms_table_in_flash ORDER BY id");
}

QStringList namesIn(const QString& directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                     QDir::NoDotAndDotDot);
}

std::string damageTableLookups(const QString& path)
{
    qint64 page = -1;
    qint64 pageSize = -1;
    {
        const auto look = lookInto(path);
        if (!look || look->exec("PRAGMA wal_checkpoint(TRUNCATE)") != tavplatform::sql::Status::Ok)
            return "cannot move the log of " + path.toStdString() + " into it";
        page = queryInt(*look, "SELECT rootpage FROM sqlite_master "
                               "WHERE name = 'sqlite_autoindex_tav_schema_1'");
        pageSize = queryInt(*look, "PRAGMA page_size");
    }
    QFile file(path);
    if (page < 2 || pageSize <= 0 || !file.open(QIODevice::ReadWrite) ||
        !file.seek((page - 1) * pageSize) ||
        file.write(QByteArray(int(pageSize), '\x07')) != pageSize)
        return "cannot damage page " + std::to_string(page) + " of " + path.toStdString();
    return {};
}

std::string fillASmallDisk(const QString& directory)
{
    if (!QDir().mkpath(directory))
        return "cannot make " + directory.toStdString();
    if (const std::string why = enterPrivateMountNamespace(); !why.empty())
        return "no private mount namespace for a small file system: " + why;
    if (const std::string why = mountSmallTmpfs(directory, 256); !why.empty())
        return "no small file system to fill: " + why;
    return fillDisk(directory);
}

} // namespace tavmms_test
