#include "filesync.h"

#include <unistd.h>

namespace tavmms
{

namespace
{

SyncFunction currentSync = &::fsync;

} // namespace

SyncFunction setSyncFunction(SyncFunction function)
{
    const SyncFunction previous = currentSync;
    currentSync = function ? function : &::fsync;
    return previous;
}

int syncDescriptor(int fd)
{
    return currentSync(fd);
}

} // namespace tavmms
