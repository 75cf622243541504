#include "platform_paths.h"

#include "platform_dir.h"

namespace tavmms
{

QString platformDirectory()
{
    return tavplatform::platformDirectory();
}

} // namespace tavmms
