#include "sqlite_handles.h"

#include <QtGlobal>

namespace tavplatform::devicedb
{

void* newHandle()
{
    static quintptr serial = 0x7a00;
    return reinterpret_cast<void*>(++serial);
}

} // namespace tavplatform::devicedb
