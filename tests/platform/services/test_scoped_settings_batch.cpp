// ScopedSettingsBatch: it begins a batch on the store, commits it only when told, and otherwise
// aborts it as the scope ends; what the store answers comes back unchanged, errno included.

#include "settings_service.h"
#include "setup_set_manager.h"

#include "support/mock_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace
{

using tavmms_test::MockSettingsStore;
using tavmms_test::storeOutcome;
using tavplatform::ScopedSettingsBatch;
using tavplatform::ScopedSettingsStoreService;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

const QString kGroup = QStringLiteral("MMS_GRP");
const QString kKey = QStringLiteral("MMS_Send_Priority");

class ScopedSettingsBatchTest : public ::testing::Test
{
protected:
    // A write through a manager of its own, as each library call makes it.
    void expectWrite(int value)
    {
        EXPECT_CALL(store, open(3, true));
        EXPECT_CALL(store, writeInt(kGroup, kKey, value)).WillOnce(Return(true));
        EXPECT_CALL(store, close());
    }
    static bool write(int value)
    {
        SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
        return manager.setSettingInfo(kGroup, kKey, value);
    }

    StrictMock<MockSettingsStore> store;
    ScopedSettingsStoreService installed{&store};
};

TEST_F(ScopedSettingsBatchTest, CommitEndsTheBatchAroundTheWrites)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectWrite(1);
    expectWrite(2);
    EXPECT_CALL(store, commitBatch()).WillOnce(Return(true));

    ScopedSettingsBatch batch;
    ASSERT_TRUE(batch.begin());
    ASSERT_TRUE(write(1));
    ASSERT_TRUE(write(2));
    EXPECT_TRUE(batch.commit());
}

TEST_F(ScopedSettingsBatchTest, BatchDropsItsWritesUnlessCommitted)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectWrite(1);
    EXPECT_CALL(store, abortBatch());

    ScopedSettingsBatch batch;
    ASSERT_TRUE(batch.begin());
    ASSERT_TRUE(write(1));
}

TEST_F(ScopedSettingsBatchTest, FailedCommitGivesTheStoresErrnoAndEndsTheBatch)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    EXPECT_CALL(store, commitBatch()).WillOnce(storeOutcome(ENOSPC));

    ScopedSettingsBatch batch;
    ASSERT_TRUE(batch.begin());
    errno = 0;
    EXPECT_FALSE(batch.commit());
    EXPECT_EQ(errno, ENOSPC);
    // Ended by the commit: no abort follows, and a second commit reaches nothing.
    errno = 0;
    EXPECT_FALSE(batch.commit());
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(ScopedSettingsBatchTest, BatchThatDidNotBeginIsNeitherCommittedNorAborted)
{
    EXPECT_CALL(store, beginBatch()).WillOnce(storeOutcome(EBUSY));

    ScopedSettingsBatch batch;
    errno = 0;
    EXPECT_FALSE(batch.begin());
    EXPECT_EQ(errno, EBUSY);
    errno = 0;
    EXPECT_FALSE(batch.commit());
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(ScopedSettingsBatchTest, BatchNeverBegunTouchesNothing)
{
    const ScopedSettingsBatch batch;
}

TEST_F(ScopedSettingsBatchTest, BatchEndsOnTheStoreItBeganOnWhateverIsInstalledLater)
{
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    EXPECT_CALL(store, abortBatch());
    StrictMock<MockSettingsStore> other;

    ScopedSettingsBatch batch;
    ASSERT_TRUE(batch.begin());
    const ScopedSettingsStoreService replaced(&other);
}

} // namespace
