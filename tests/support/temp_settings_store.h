#ifndef TAVMMS_TESTS_TEMP_SETTINGS_STORE_H
#define TAVMMS_TESTS_TEMP_SETTINGS_STORE_H

#include "sqlite_settings_store.h"

#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <optional>

namespace tavmms_test
{

// The default settings store on a fresh file in its own temporary directory, installed while the
// object lives. The file is opened on first use, as the default service opens it, so a process
// may fork before that.
class TempSettingsStore
{
public:
    TempSettingsStore();
    TempSettingsStore(const TempSettingsStore&) = delete;
    TempSettingsStore& operator=(const TempSettingsStore&) = delete;

    bool isValid() const { return dir_.isValid(); }
    QString directory() const { return dir_.path(); }
    QString path() const { return dir_.filePath(QStringLiteral("settings.db")); }
    tavplatform::SqliteSettingsStore& store() { return *store_; }

    // Drops the store object, with its connection, and installs a new one on the same file, as
    // the next process would see it.
    void reopen();

private:
    QTemporaryDir dir_;
    std::unique_ptr<tavplatform::SqliteSettingsStore> store_;
    std::optional<tavplatform::ScopedSettingsStoreService> installed_;
};

} // namespace tavmms_test

#endif
