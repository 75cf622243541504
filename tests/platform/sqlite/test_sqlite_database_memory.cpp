// The SQLite layer when memory runs out: every allocation made through operator new can be made
// to fail, one after another, and the device database and its connection must come out of each
// failure with nothing half-made.

#include "device_db_api.h"
#include "sqlconnection.h"

#include "support/temp_database.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string>

namespace
{

// While not negative, how many more allocations succeed before one fails.
thread_local long allocationsLeft = -1;

// Makes the allocation after `succeeding` more fail, for the life of a scope.
class FailingAllocation
{
public:
    explicit FailingAllocation(long succeeding) { allocationsLeft = succeeding; }
    ~FailingAllocation() { allocationsLeft = -1; }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};

void* const kUntouched = reinterpret_cast<void*>(0x01d);

TEST(SqliteDatabaseMemoryTest, TxnBeginOutOfMemoryLeavesNoTransactionBehind)
{
    tavmms_test::TempDatabase temp;
    ASSERT_TRUE(temp.isValid());
    // The statements are prepared once, outside the failures under test.
    void* warm = nullptr;
    ASSERT_EQ(DB_TXN_Begin(&warm, 0), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(warm), DB_OK);

    for (long succeeding = 0;; ++succeeding) {
        void* txn = kUntouched;
        int result;
        {
            const FailingAllocation failing(succeeding);
            result = DB_TXN_Begin(&txn, 0);
        }
        if (result == DB_OK) {
            EXPECT_EQ(DB_TXN_Commit(txn), DB_OK);
            break;
        }
        ASSERT_EQ(result, DB_ERR_NO_MEMORY) << "allocation " << succeeding;
        EXPECT_EQ(txn, kUntouched);
        // Nothing is left open: the next transaction begins and ends as usual.
        void* next = nullptr;
        ASSERT_EQ(DB_TXN_Begin(&next, 0), DB_OK) << "after failing allocation " << succeeding;
        EXPECT_EQ(DB_TXN_Commit(next), DB_OK);
    }
}

TEST(SqlConnectionMemoryTest, PreparingOutOfMemoryCachesNothingHalfMade)
{
    const QTemporaryDir dir;
    tavplatform::sql::Status status;
    const std::unique_ptr<tavplatform::sql::Connection> connection =
        tavplatform::sql::Connection::open(dir.filePath(QStringLiteral("cache.db")), &status);
    ASSERT_TRUE(connection);
    for (long succeeding = 0;; ++succeeding) {
        // A text of its own each round, so that no round finds the last one's statement.
        const std::string text = "SELECT " + std::to_string(succeeding);
        bool threw = false;
        {
            const FailingAllocation failing(succeeding);
            try {
                connection->cached(text, &status);
            } catch (const std::bad_alloc&) {
                threw = true;
            }
        }
        if (!threw)
            break;
        // The failed round left no empty slot behind: the statement is prepared afresh.
        EXPECT_NE(connection->cached(text, &status), nullptr) << "allocation " << succeeding;
        EXPECT_EQ(status, tavplatform::sql::Status::Ok);
    }
}

} // namespace

void* operator new(std::size_t size)
{
    if (allocationsLeft == 0)
        throw std::bad_alloc();
    if (allocationsLeft > 0)
        --allocationsLeft;
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
