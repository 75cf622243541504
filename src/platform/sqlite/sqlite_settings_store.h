#ifndef TAVPLATFORM_SQLITE_SETTINGS_STORE_H
#define TAVPLATFORM_SQLITE_SETTINGS_STORE_H

#include "settings_service.h"

#include <memory>

namespace tavplatform
{

// The settings store on SQLite: one file (its log files kept beside it), one row per group and
// key with the value as text, opened on first use and kept open (with its prepared statements) for
// the process. Outside a batch each write is a transaction of its own with synchronous=FULL, so it
// is durable when it returns true. A batch is one transaction that takes the write lock when it
// begins (waiting for it as a write does), so that no write inside it is refused for a lock; other
// processes keep reading the values as they were until its commit. When the engine drops the
// transaction by itself after a failed write (a full disk, an I/O error), the rest of the batch
// is refused with that write's errno and its commit fails so.
class SqliteSettingsStore : public SettingsStoreService
{
public:
    // The device's settings file: "settings.db" in the platform directory.
    static QString defaultPath();

    // `busyTimeoutMs`: how long a call waits while another process holds the lock it needs; a
    // write still refused then fails with EBUSY.
    explicit SqliteSettingsStore(QString path, int busyTimeoutMs = 5000);
    ~SqliteSettingsStore() override;

    // Count the store's users: a flush reports the writes refused since the outermost open().
    void open(int app, bool forWriting) override;
    void close() override;
    bool readText(const QString& group, const QString& key, QString& value,
                  const QString& defaultValue, bool option) override;
    bool readBool(const QString& group, const QString& key, bool& value,
                  bool defaultValue) override;
    bool readInt(const QString& group, const QString& key, int& value, int defaultValue) override;
    bool readUInt(const QString& group, const QString& key, unsigned int& value,
                  unsigned int defaultValue) override;
    // The first read refused since the outermost open(), else a read of the file now.
    QString readError() override;
    bool writeText(const QString& group, const QString& key, const QString& value,
                   bool option) override;
    bool writeBool(const QString& group, const QString& key, bool value) override;
    bool writeInt(const QString& group, const QString& key, int value) override;
    bool writeUInt(const QString& group, const QString& key, unsigned int value) override;
    QMap<QString, QString> entries(const QString& group) override;
    bool removeEntry(const QString& group, const QString& key) override;
    bool clearGroup(const QString& group) override;
    // Inside a batch, nothing is durable before the commit: flush() then only reports a write
    // refused (or a batch dropped) since the store was opened, and the log is moved into the
    // file by a flush after the commit.
    bool flush() override;
    bool beginBatch() override;
    bool commitBatch() override;
    void abortBatch() override;

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

} // namespace tavplatform

#endif
