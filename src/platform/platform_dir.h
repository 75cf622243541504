#ifndef TAVPLATFORM_PLATFORM_DIR_H
#define TAVPLATFORM_PLATFORM_DIR_H

#include "platform_global.h"

#include <QString>

namespace tavplatform
{

// The one directory in which the platform services keep their data: $TAV_PLATFORM_DIR when set,
// else $XDG_DATA_HOME/tavmms (by default ~/.local/share/tavmms). It is created on first use with
// mode 0700; the result has no trailing "/" and is empty when the directory cannot be made.
TAVPLATFORM_EXPORT QString platformDirectory();

} // namespace tavplatform

#endif
