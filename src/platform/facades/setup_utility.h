#ifndef TAVPLATFORM_SETUP_UTILITY_H
#define TAVPLATFORM_SETUP_UTILITY_H

#include "tavplatform_global.h"

// Numbers of the phone's feature flags.
typedef int SETUP_FLEX_ID_T;

// Reads the phone's feature flags.
class TAVPLATFORM_EXPORT SETUP_Utility
{
public:
    // The object holds nothing; make one where it is needed.
    SETUP_Utility();
    ~SETUP_Utility();

    // Sets `value` to the flag and returns true; an unknown flag leaves `value` untouched and
    // returns false.
    bool getFlexBit(SETUP_FLEX_ID_T id, bool& value);
};

#endif
