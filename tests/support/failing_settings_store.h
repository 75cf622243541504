#ifndef TAVMMS_TESTS_FAILING_SETTINGS_STORE_H
#define TAVMMS_TESTS_FAILING_SETTINGS_STORE_H

#include "support/mock_settings_store.h"

#include "settings_service.h"

namespace tavmms_test
{

// A settings store double that passes every call on to a real store and counts the calls that
// change it (writes, removals, batches, flushes), except that change number `failing` (counted
// from 1) fails in its place with errno ENOSPC, as on a full disk: a failed commit of a batch
// drops the batch. Install it for a scope with tavplatform::ScopedSettingsStoreService.
class FailingSettingsStore
{
public:
    FailingSettingsStore(tavplatform::SettingsStoreService& real, int failing);

    tavplatform::SettingsStoreService& service() { return mock_; }
    // Whether the change that was to fail was made.
    bool failed() const { return changes_ >= failing_; }

private:
    MockSettingsStore mock_;
    int failing_;
    int changes_ = 0;
};

} // namespace tavmms_test

#endif
