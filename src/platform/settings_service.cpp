#include "settings_service.h"

#include "sqlite_settings_store.h"

namespace tavplatform
{

namespace
{

ServiceSlot<SettingsStoreService>& storeSlot()
{
    static ServiceSlot<SettingsStoreService> instance(
        []() -> std::unique_ptr<SettingsStoreService> {
            return std::make_unique<SqliteSettingsStore>(SqliteSettingsStore::defaultPath());
        });
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

FeatureFlagService& featureFlagService()
{
    return flagSlot().get();
}

FeatureFlagService* setFeatureFlagService(FeatureFlagService* service)
{
    return flagSlot().install(service);
}

} // namespace tavplatform
