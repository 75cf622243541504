#ifndef TAVMMS_TESTS_MOUNT_NAMESPACE_H
#define TAVMMS_TESTS_MOUNT_NAMESPACE_H

#include <QString>

#include <string>

namespace tavmms_test
{

// Helpers for a child process that needs a file system of its own making. Each returns an empty
// text on success, else why it failed (typically that the process may not do it).

// Moves the calling process into a mount namespace of its own whose mounts do not propagate, so
// that what it mounts is seen by nobody else and goes away with it.
std::string enterPrivateMountNamespace();
// Mounts a tmpfs of `sizeKiB` kibibytes on the directory `path`.
std::string mountSmallTmpfs(const QString& path, int sizeKiB);
// Makes the directory `path` read-only, even for root, by binding it onto itself read-only.
std::string makeReadOnly(const QString& path);
// Fills the file system of the directory `path` with a file named "filler" in it, until a write
// is refused.
std::string fillDisk(const QString& path);

} // namespace tavmms_test

#endif
