#include "settings_store.h"

#include "mms_util_setting.h"

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

int deleteProfile(const QString& name)
{
    if (MMS_UTIL_Setting::getDefaultMMSProfile() == name) {
        if (const int r = MMS_UTIL_Setting::setDefaultMMSProfile(QString()))
            return r;
    }
    return MMS_UTIL_Setting::delProfile(name);
}

bool setFeatureFlag(int id, bool value)
{
    return tavplatform::featureFlagService().setFlexBit(id, value);
}

} // namespace tavmms::settings
