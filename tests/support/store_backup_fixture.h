#ifndef TAVMMS_TESTS_STORE_BACKUP_FIXTURE_H
#define TAVMMS_TESTS_STORE_BACKUP_FIXTURE_H

#include "message_store_types.h"

#include "support/index_table_helpers.h"
#include "support/scoped_environment.h"
#include "support/temp_address_book.h"
#include "support/temp_database.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QString>
#include <QTemporaryDir>

namespace tavmms_test
{

// A message with a text and two attachments, dated `date` (invalid: now).
tavmms::store::NewMessage messageWithAttachments(const QString& subject,
                                                 const QDateTime& date = {});

// A store to back up, called in-process: its platform directory, download path, index database
// and address book on temporary files.
class StoreBackupFixture : public ::testing::Test
{
protected:
    void SetUp() override;

    QString mailFile(unsigned int id) const;
    QString backupPath() const { return dir.filePath(QStringLiteral("backup.tar.zst")); }
    // Keeps `message` as received; a failure fails the test.
    unsigned int receive(const tavmms::store::NewMessage& message);

    QTemporaryDir dir;
    ScopedEnvironment platform{"TAV_PLATFORM_DIR",
                               dir.filePath(QStringLiteral("platform")).toUtf8()};
    ScopedEnvironment download{"TAV_LOCAL_DOWNLOAD_PATH",
                               dir.filePath(QStringLiteral("download")).toUtf8()};
    ScopedIndexTableState indexState;
    // Where mmsutil, run on the same directory, finds the index too.
    const QString databasePath = dir.filePath(QStringLiteral("platform/device.db"));
    InstalledDatabase database{databasePath};
    TempAddressBook book;
};

} // namespace tavmms_test

#endif
