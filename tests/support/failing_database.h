#ifndef TAVMMS_TESTS_FAILING_DATABASE_H
#define TAVMMS_TESTS_FAILING_DATABASE_H

#include "support/mock_database.h"

#include "db_service.h"

namespace tavmms_test
{

// A database double that passes every call on to a real database and counts the calls of all
// methods together, except that call number `failing` (counted from 1) fails in its place: a
// handle comes back null, a result code is `error`, and the real database never sees that call.
// Install it for a scope with tavplatform::ScopedDatabaseService.
class FailingDatabase
{
public:
    FailingDatabase(tavplatform::DatabaseService& real, int failing, int error);

    tavplatform::DatabaseService& service() { return mock_; }
    // How many calls were made so far, the failed one included.
    int calls() const { return calls_; }
    // Whether the call that was to fail was made.
    bool failed() const { return calls_ >= failing_; }

private:
    ::testing::NiceMock<MockDatabase> mock_;
    int failing_;
    int error_;
    int calls_ = 0;
};

} // namespace tavmms_test

#endif
