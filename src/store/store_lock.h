#ifndef TAVMMS_STORE_STORE_LOCK_H
#define TAVMMS_STORE_STORE_LOCK_H

// The lock that keeps the store's writers and its repairs apart: an advisory lock (flock) on a
// file beside the mail file directory. Adding, receiving, marking, moving, deleting and reading
// take it shared, since they never touch each other's messages; a repair takes it exclusive, so
// that it never judges a message another program is halfway through keeping.

#include "message_store_types.h"

#include <QString>

#include <chrono>

namespace tavmms::store
{

class StoreLock
{
public:
    enum Mode { Shared, Exclusive };

    // "store.lock" in the working directory, outside the mail file directory.
    static QString defaultPath();

    StoreLock() = default;
    ~StoreLock();
    StoreLock(const StoreLock&) = delete;
    StoreLock& operator=(const StoreLock&) = delete;

    // Takes the lock on the file `path` (made when missing) in `mode`, waiting up to `timeout`
    // while another program holds it the other way; Busy once that has passed. A lock held
    // already is released first.
    Status acquire(const QString& path, Mode mode, std::chrono::milliseconds timeout);
    void release();
    bool isHeld() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

} // namespace tavmms::store

#endif
