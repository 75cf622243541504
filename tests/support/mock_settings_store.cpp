#include "support/mock_settings_store.h"

namespace tavmms_test
{

// Out of line so that the mocks' large generated members are compiled once, here.
MockSettingsStore::MockSettingsStore() = default;
MockSettingsStore::~MockSettingsStore() = default;
MockFeatureFlags::MockFeatureFlags() = default;
MockFeatureFlags::~MockFeatureFlags() = default;

} // namespace tavmms_test
