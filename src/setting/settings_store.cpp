#include "settings_store.h"

#include "settings_service.h"
#include "setup_set_manager.h"

namespace tavmms::settings
{

QStringList storedKeys(const QString& group)
{
    SETUP_SET_Manager store(AM_Global::APP_MMS, false);
    return store.getEntryKeyList(group).keys();
}

SettingsBatch::SettingsBatch() : batch_(std::make_unique<tavplatform::ScopedSettingsBatch>()) {}

SettingsBatch::~SettingsBatch() = default;

bool SettingsBatch::begin()
{
    return batch_->begin();
}

bool SettingsBatch::commit()
{
    return batch_->commit();
}

bool setFeatureFlag(int id, bool value)
{
    return tavplatform::featureFlagService().setFlexBit(id, value);
}

} // namespace tavmms::settings
