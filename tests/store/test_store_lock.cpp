// The store's lock: shared holders never wait for each other, an exclusive one waits for all of
// them (and they for it) up to a time limit, then gives up with a message that says why.

#include "store_lock.h"

#include "support/child_process.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <thread>

namespace
{

using namespace std::chrono_literals;
using tavmms::store::ErrorCode;
using tavmms::store::StoreLock;
using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using Clock = std::chrono::steady_clock;

class StoreLockTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("store.lock"));
};

TEST_F(StoreLockTest, SharedHoldersDoNotWaitForEachOther)
{
    StoreLock first;
    StoreLock second;

    ASSERT_TRUE(first.acquire(path, StoreLock::Shared, 0ms).ok());
    ASSERT_TRUE(second.acquire(path, StoreLock::Shared, 0ms).ok());

    EXPECT_TRUE(first.isHeld());
    EXPECT_TRUE(second.isHeld());
    EXPECT_TRUE(QFile::exists(path));
}

TEST_F(StoreLockTest, AnExclusiveLockGivesUpWhileASharedOneIsHeldAndSaysWhy)
{
    StoreLock reader;
    ASSERT_TRUE(reader.acquire(path, StoreLock::Shared, 0ms).ok());
    StoreLock repair;

    const Clock::time_point start = Clock::now();
    const tavmms::store::Status status = repair.acquire(path, StoreLock::Exclusive, 200ms);

    EXPECT_GE(Clock::now() - start, 200ms);
    EXPECT_EQ(status.code, ErrorCode::Busy);
    EXPECT_EQ(status.text, QStringLiteral("the message store is busy: another program has held "
                                          "its lock '%1' for more than 200 ms (messages are "
                                          "being read or written)")
                               .arg(path));
    EXPECT_FALSE(repair.isHeld());

    reader.release();
    EXPECT_TRUE(repair.acquire(path, StoreLock::Exclusive, 0ms).ok());
}

TEST_F(StoreLockTest, ASharedLockWaitsForAnExclusiveOneToGo)
{
    ChildProcess holder([&](ChildProcess& self) {
        StoreLock lock;
        if (!lock.acquire(path, StoreLock::Exclusive, 0ms).ok())
            return ChildVerdict::fail("the child could not take the lock");
        self.send("held");
        std::this_thread::sleep_for(300ms);
        return ChildVerdict::pass();
    });
    ASSERT_EQ(holder.receiveLine(10s), std::optional<std::string>("held"));
    StoreLock writer;

    const Clock::time_point start = Clock::now();
    const tavmms::store::Status status = writer.acquire(path, StoreLock::Shared, 10s);

    EXPECT_TRUE(status.ok()) << status.text.toStdString();
    EXPECT_GE(Clock::now() - start, 100ms);
    EXPECT_CHILD_PASSES(holder, 10s);
}

TEST_F(StoreLockTest, ALockGoesWithItsHolder)
{
    {
        StoreLock repair;
        ASSERT_TRUE(repair.acquire(path, StoreLock::Exclusive, 0ms).ok());
    }
    StoreLock writer;
    EXPECT_TRUE(writer.acquire(path, StoreLock::Shared, 0ms).ok());
}

TEST_F(StoreLockTest, ALockFileThatCannotBeMadeIsAFailureThatNamesIt)
{
    const QString missing = dir.filePath(QStringLiteral("missing/store.lock"));
    StoreLock lock;

    const tavmms::store::Status status = lock.acquire(missing, StoreLock::Shared, 0ms);

    EXPECT_EQ(status.code, ErrorCode::Failed);
    EXPECT_EQ(status.text, QStringLiteral("cannot open the store's lock file '%1': No such file or "
                                          "directory")
                               .arg(missing));
    EXPECT_FALSE(lock.isHeld());
}

} // namespace
