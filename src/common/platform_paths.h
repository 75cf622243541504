#ifndef TAVMMS_PLATFORM_PATHS_H
#define TAVMMS_PLATFORM_PATHS_H

#include "tavmms_global.h"

#include <QString>

namespace tavmms
{

// The directory in which the platform keeps its stores (settings, address book, device database):
// $TAV_PLATFORM_DIR, else the user's data directory; empty when there is none.
TAVMMS_EXPORT QString platformDirectory();

} // namespace tavmms

#endif
