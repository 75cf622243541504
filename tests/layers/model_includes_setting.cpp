// Must not compile: the message model stands below the settings.
#include "mms_util_setting.h"
