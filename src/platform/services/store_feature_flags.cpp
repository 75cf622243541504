#include "store_feature_flags.h"

namespace tavplatform
{

namespace
{

const char kFlagGroup[] = "TAV_Feature_Flags";

} // namespace

bool StoreFeatureFlags::getFlexBit(int id, bool& value)
{
    return settingsStoreService().readBool(QLatin1String(kFlagGroup), QString::number(id), value,
                                           value);
}

bool StoreFeatureFlags::setFlexBit(int id, bool value)
{
    return settingsStoreService().writeBool(QLatin1String(kFlagGroup), QString::number(id), value);
}

} // namespace tavplatform
