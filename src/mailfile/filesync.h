#ifndef TAVMMS_FILESYNC_H
#define TAVMMS_FILESYNC_H

#include <QByteArray>

// Flushing written data to stable storage, so that a power cut never leaves a torn mail file.
namespace tavmms
{

using SyncFunction = int (*)(int fd);

// Replaces the function that flushes a descriptor (::fsync by default) and returns the one it
// replaces; tests count the syncs and make them fail through it.
SyncFunction setSyncFunction(SyncFunction function);

// Flushes `fd`; 0, or -1 with errno set.
int syncDescriptor(int fd);

// Flushes the directory that holds the file `path` (a name in the file system's encoding), so that
// a rename into it is kept; 0, or -1 with errno.
int syncParentDirectory(const QByteArray& path);

} // namespace tavmms

#endif
