#ifndef TAVMMS_TESTS_TEMP_DATABASE_H
#define TAVMMS_TESTS_TEMP_DATABASE_H

#include "db_service.h"
#include "sqlite_database.h"

#include <QString>
#include <QTemporaryDir>

#include <optional>

namespace tavmms_test
{

// The SQLite database on `path`, installed as the device database while the object lives. The
// file is opened on first use, as the default service opens it.
class InstalledDatabase
{
public:
    explicit InstalledDatabase(const QString& path, int busyTimeoutMs = 5000);
    InstalledDatabase(const InstalledDatabase&) = delete;
    InstalledDatabase& operator=(const InstalledDatabase&) = delete;

    tavplatform::SqliteDatabase& database() { return database_; }

private:
    tavplatform::SqliteDatabase database_;
    tavplatform::ScopedDatabaseService service_;
};

// A device database on a fresh file in its own temporary directory, installed while the object
// lives.
class TempDatabase
{
public:
    TempDatabase();

    bool isValid() const { return dir_.isValid(); }
    QString directory() const { return dir_.path(); }
    QString path() const { return dir_.filePath(QStringLiteral("device.db")); }
    tavplatform::SqliteDatabase& database() { return installed_->database(); }

    // Closes the database and opens the same file again, as the next process would: the handles
    // of the old one are gone, the committed rows stay.
    void reopen();

private:
    QTemporaryDir dir_;
    std::optional<InstalledDatabase> installed_;
};

} // namespace tavmms_test

#endif
