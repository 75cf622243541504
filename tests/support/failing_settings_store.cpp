#include "support/failing_settings_store.h"

#include <cerrno>

namespace tavmms_test
{

FailingSettingsStore::FailingSettingsStore(tavplatform::SettingsStoreService& real, int failing)
    : failing_(failing)
{
    using tavplatform::SettingsStoreService;
    const auto passOn = [&real](auto method) {
        return [&real, method](auto&&... arguments) { return (real.*method)(arguments...); };
    };
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
#define TAVMMS_PASS_ON(method)                                                                     \
    ON_CALL(mock_, method).WillByDefault(passOn(&SettingsStoreService::method))
#define TAVMMS_CHANGE(method)                                                                      \
    ON_CALL(mock_, method).WillByDefault(change(&SettingsStoreService::method))

    TAVMMS_PASS_ON(open);
    TAVMMS_PASS_ON(close);
    TAVMMS_PASS_ON(readText);
    TAVMMS_PASS_ON(readBool);
    TAVMMS_PASS_ON(readInt);
    TAVMMS_PASS_ON(readUInt);
    TAVMMS_PASS_ON(readError);
    TAVMMS_PASS_ON(entries);
    TAVMMS_PASS_ON(abortBatch);
    TAVMMS_CHANGE(writeText);
    TAVMMS_CHANGE(writeBool);
    TAVMMS_CHANGE(writeInt);
    TAVMMS_CHANGE(writeUInt);
    TAVMMS_CHANGE(removeEntry);
    TAVMMS_CHANGE(clearGroup);
    TAVMMS_CHANGE(flush);
    TAVMMS_CHANGE(beginBatch);
    ON_CALL(mock_, commitBatch).WillByDefault(change(&SettingsStoreService::commitBatch, true));
#undef TAVMMS_PASS_ON
#undef TAVMMS_CHANGE
}

} // namespace tavmms_test
