#ifndef TAVPLATFORM_SQLITE_HANDLES_H
#define TAVPLATFORM_SQLITE_HANDLES_H

#include "device_db_result.h"

#include <map>
#include <utility>

// The pieces of the device database on SQLite (SqliteDatabase), each in a file of its own.
namespace tavplatform::devicedb
{

// A handle never given out before. Handles are serial numbers, never addresses, and never reused
// within the process, not even by another database object: a stale, forged or foreign handle is
// simply not found.
void* newHandle();

// The open handles of one kind, each with what it stands for. Every call looks its handles up
// here, so that a handle of another kind, or one closed, is refused.
template <typename Value> class Handles
{
public:
    // Registers `value` under a new handle, which is given out only once registered: when memory
    // runs out, the caller's location is left as it was.
    void* add(Value value)
    {
        void* handle = newHandle();
        values_.emplace(handle, std::move(value));
        return handle;
    }

    // What `handle` stands for; null when it is not open.
    Value* find(void* handle)
    {
        const auto it = values_.find(handle);
        return it == values_.end() ? nullptr : &it->second;
    }

    bool contains(void* handle) const { return values_.count(handle) != 0; }

    // False when `handle` was not open.
    bool erase(void* handle) { return values_.erase(handle) != 0; }

    // Ends `handle` as the closing calls do.
    int close(void* handle)
    {
        if (!handle)
            return DB_ERR_NULL_HANDLE;
        return erase(handle) ? DB_OK : DB_ERR_INVALID_HANDLE;
    }

private:
    std::map<void*, Value> values_;
};

} // namespace tavplatform::devicedb

#endif
