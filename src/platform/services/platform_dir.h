#ifndef TAVPLATFORM_PLATFORM_DIR_H
#define TAVPLATFORM_PLATFORM_DIR_H

#include "tavplatform_global.h"

#include <QString>

namespace tavplatform
{

// The one directory in which the platform services keep their data: $TAV_PLATFORM_DIR when set,
// else $XDG_DATA_HOME/tavmms when that is an absolute path, else $HOME/.local/share/tavmms. It is
// created on first use with mode 0700; an existing one is kept as it is. The result has no
// trailing "/" and is empty when the directory cannot be made (or there is no home to put it in).
TAVPLATFORM_EXPORT QString platformDirectory();

// The file `name` in that directory; a null text when there is no directory.
TAVPLATFORM_EXPORT QString platformFilePath(const QString& name);

// The directory of the file that holds the platform's code: the shared library, or a program
// linked with it statically; empty when the loader cannot tell. Files installed with the library
// are found from there, so that an installed tree can be moved.
TAVPLATFORM_EXPORT QString codeDirectory();

} // namespace tavplatform

#endif
