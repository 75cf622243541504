#ifndef TAVMMS_TESTS_STORE_BACKUP_FIXTURE_H
#define TAVMMS_TESTS_STORE_BACKUP_FIXTURE_H

#include "message_store_types.h"

#include "support/store_device.h"

#include <gtest/gtest.h>

#include <QString>

namespace tavmms_test
{

// A store to back up, called in-process: its platform directory, download path, index database
// and address book on temporary files.
class StoreBackupFixture : public ::testing::Test, protected StoreDevice
{
protected:
    void SetUp() override;

    QString backupPath() const { return dir.filePath(QStringLiteral("backup.tar.zst")); }
    // Keeps `message` as received; a failure fails the test.
    unsigned int receive(const tavmms::store::NewMessage& message);
};

} // namespace tavmms_test

#endif
