#include "support/temp_database.h"

namespace tavmms_test
{

InstalledDatabase::InstalledDatabase(const QString& path, int busyTimeoutMs)
    : database_(path, busyTimeoutMs), service_(&database_)
{
}

TempDatabase::TempDatabase()
{
    installed_.emplace(path());
}

void TempDatabase::reopen()
{
    installed_.reset();
    installed_.emplace(path());
}

} // namespace tavmms_test
