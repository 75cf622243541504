#ifndef TAVMMS_FILESYNC_H
#define TAVMMS_FILESYNC_H

// Flushing written data to stable storage, so that a power cut never leaves a torn mail file.
namespace tavmms
{

using SyncFunction = int (*)(int fd);

// Replaces the function that flushes a descriptor (::fsync by default) and returns the one it
// replaces; tests count the syncs and make them fail through it.
SyncFunction setSyncFunction(SyncFunction function);

// Flushes `fd`; 0, or -1 with errno set.
int syncDescriptor(int fd);

} // namespace tavmms

#endif
