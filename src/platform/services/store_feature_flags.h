#ifndef TAVPLATFORM_STORE_FEATURE_FLAGS_H
#define TAVPLATFORM_STORE_FEATURE_FLAGS_H

#include "settings_service.h"

namespace tavplatform
{

// Feature flags kept in the settings store, group "TAV_Feature_Flags", key the flag's number.
class TAVPLATFORM_EXPORT StoreFeatureFlags : public FeatureFlagService
{
public:
    bool getFlexBit(int id, bool& value) override;
    bool setFlexBit(int id, bool value) override;
};

} // namespace tavplatform

#endif
