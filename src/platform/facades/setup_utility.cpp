#include "setup_utility.h"

#include "settings_service.h"

SETUP_Utility::SETUP_Utility() = default;

SETUP_Utility::~SETUP_Utility() = default;

bool SETUP_Utility::getFlexBit(SETUP_FLEX_ID_T id, bool& value)
{
    return tavplatform::featureFlagService().getFlexBit(id, value);
}
