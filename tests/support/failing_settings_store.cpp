#include "support/failing_settings_store.h"

#include <cerrno>

namespace tavmms_test
{

FailingSettingsStore::FailingSettingsStore(tavplatform::SettingsStoreService& real, int failing)
    : failing_(failing)
{
    using tavplatform::SettingsStoreService;
    delegateTo(mock_, real);
    // A change: counted, then failed or passed on.
    const auto change = [this, &real](auto method, bool dropsBatch = false) {
        return [this, &real, method, dropsBatch](auto&&... arguments) {
            if (++changes_ != failing_)
                return (real.*method)(arguments...);
            if (dropsBatch)
                real.abortBatch();
            errno = ENOSPC;
            return false;
        };
    };
#define TAVMMS_CHANGE(method)                                                                      \
    ON_CALL(mock_, method).WillByDefault(change(&SettingsStoreService::method))

    TAVMMS_CHANGE(writeText);
    TAVMMS_CHANGE(writeBool);
    TAVMMS_CHANGE(writeInt);
    TAVMMS_CHANGE(writeUInt);
    TAVMMS_CHANGE(removeEntry);
    TAVMMS_CHANGE(clearGroup);
    TAVMMS_CHANGE(flush);
    TAVMMS_CHANGE(beginBatch);
#undef TAVMMS_CHANGE
    ON_CALL(mock_, commitBatch).WillByDefault(change(&SettingsStoreService::commitBatch, true));
}

} // namespace tavmms_test
