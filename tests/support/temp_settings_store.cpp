#include "support/temp_settings_store.h"

namespace tavmms_test
{

TempSettingsStore::TempSettingsStore()
{
    reopen();
}

void TempSettingsStore::reopen()
{
    installed_.reset();
    store_ = std::make_unique<tavplatform::SqliteSettingsStore>(path());
    installed_.emplace(store_.get());
}

} // namespace tavmms_test
