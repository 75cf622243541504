#include "support/failing_database.h"

#include <type_traits>

namespace tavmms_test
{

FailingDatabase::FailingDatabase(tavplatform::DatabaseService& real, int failing, int error)
    : failing_(failing), error_(error)
{
    using tavplatform::DatabaseService;
    // One action per method: count the call, then fail it or pass it on.
    const auto passOn = [this, &real](auto method) {
        return [this, &real, method](auto... arguments) {
            using Result = decltype((real.*method)(arguments...));
            if (++calls_ != failing_)
                return (real.*method)(arguments...);
            if constexpr (std::is_pointer_v<Result>)
                return Result(nullptr);
            else
                return Result(error_);
        };
    };
#define TAVMMS_PASS_ON(method)                                                                     \
    ON_CALL(mock_, method).WillByDefault(passOn(&DatabaseService::method))

    TAVMMS_PASS_ON(getNativeDB);
    TAVMMS_PASS_ON(checkTableExist);
    TAVMMS_PASS_ON(tableCreate);
    TAVMMS_PASS_ON(tableOpen);
    TAVMMS_PASS_ON(tableClose);
    TAVMMS_PASS_ON(bindToTable);
    TAVMMS_PASS_ON(bindToCursor);
    TAVMMS_PASS_ON(closeBind);
    TAVMMS_PASS_ON(txnBegin);
    TAVMMS_PASS_ON(txnCommit);
    TAVMMS_PASS_ON(txnAbort);
    TAVMMS_PASS_ON(tableInsert);
    TAVMMS_PASS_ON(tableUpdate);
    TAVMMS_PASS_ON(tableDelete);
    TAVMMS_PASS_ON(tableFetchRecord);
    TAVMMS_PASS_ON(cursorOpen);
    TAVMMS_PASS_ON(cursorClose);
    TAVMMS_PASS_ON(cursorLocate);
    TAVMMS_PASS_ON(cursorMoveFirst);
    TAVMMS_PASS_ON(cursorMoveNext);
    TAVMMS_PASS_ON(cursorGetCurrentRecordInfo);
    TAVMMS_PASS_ON(termOpen);
    TAVMMS_PASS_ON(termCharEqual);
    TAVMMS_PASS_ON(termClose);
#undef TAVMMS_PASS_ON
}

} // namespace tavmms_test
