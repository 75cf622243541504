#ifndef TAVMMS_SETTINGS_READ_ERROR_H
#define TAVMMS_SETTINGS_READ_ERROR_H

#include "tavmms_global.h"

#include <QString>

namespace tavmms
{

// Why the phone's settings store could not be read, naming its file: a read since it was last
// opened failed, or it cannot be read now. Empty when it can, and when it is not there yet (a new
// device reads its defaults). MMS_UTIL_Setting's getters give their defaults either way; a caller
// to which a default is no answer (an empty block list lets every sender through) asks here
// after reading.
TAVMMS_EXPORT QString settingsReadError();

} // namespace tavmms

#endif
