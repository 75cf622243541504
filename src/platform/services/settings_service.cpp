#include "settings_service.h"

#include "default_services.h"
#include "store_feature_flags.h"

#include <cerrno>

namespace tavplatform
{

namespace
{

ServiceSlot<SettingsStoreService>& storeSlot()
{
    static ServiceSlot<SettingsStoreService> instance(makeDefaultSettingsStore);
    return instance;
}

ServiceSlot<FeatureFlagService>& flagSlot()
{
    static ServiceSlot<FeatureFlagService> instance([]() -> std::unique_ptr<FeatureFlagService> {
        return std::make_unique<StoreFeatureFlags>();
    });
    return instance;
}

} // namespace

SettingsStoreService::~SettingsStoreService() = default;

FeatureFlagService::~FeatureFlagService() = default;

SettingsStoreService& settingsStoreService()
{
    return storeSlot().get();
}

SettingsStoreService* setSettingsStoreService(SettingsStoreService* service)
{
    return storeSlot().install(service);
}

ScopedSettingsBatch::ScopedSettingsBatch(SettingsStoreService& store) : store_(store) {}

ScopedSettingsBatch::~ScopedSettingsBatch()
{
    if (open_)
        store_.abortBatch();
}

bool ScopedSettingsBatch::begin()
{
    open_ = store_.beginBatch();
    return open_;
}

bool ScopedSettingsBatch::commit()
{
    if (!open_) {
        errno = EINVAL;
        return false;
    }
    open_ = false; // a failed commit has ended the batch too
    return store_.commitBatch();
}

FeatureFlagService& featureFlagService()
{
    return flagSlot().get();
}

FeatureFlagService* setFeatureFlagService(FeatureFlagService* service)
{
    return flagSlot().install(service);
}

} // namespace tavplatform
