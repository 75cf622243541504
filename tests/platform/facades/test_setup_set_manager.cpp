// SETUP_SET_Manager and SETUP_Utility: every call reaches the installed settings store or feature
// flags with its exact arguments, and what the service gives comes back to the caller unchanged.

#include "setup_set_manager.h"
#include "setup_utility.h"

#include "support/mock_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <type_traits>
#include <utility>

namespace
{

using tavmms_test::MockFeatureFlags;
using tavmms_test::MockSettingsStore;
using tavmms_test::storeOutcome;
using tavplatform::ScopedFeatureFlagService;
using tavplatform::ScopedSettingsStoreService;
using ::testing::_;
using ::testing::DoAll;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::SetArgReferee;
using ::testing::StrictMock;

// A text given without the trailing option would otherwise be converted to bool and stored as
// one; the deleted overload turns that mistake into a compile error.
template <typename Value, typename = void> struct CanSet : std::false_type {
};
template <typename Value>
struct CanSet<Value, std::void_t<decltype(std::declval<SETUP_SET_Manager&>().setSettingInfo(
                         QString(), QString(), std::declval<Value>()))>> : std::true_type {
};
static_assert(!CanSet<const char*>::value, "a bare C string must not be stored as a bool");
static_assert(CanSet<bool>::value && CanSet<int>::value && CanSet<unsigned int>::value,
              "the typed writers stay callable");

const QString kGroup = QStringLiteral("Group \"one\"");
const QString kKey = QStringLiteral("key; two");

class SetupSetManagerTest : public ::testing::Test
{
protected:
    SetupSetManagerTest()
    {
        // Every test builds exactly one manager: opened for the MMS application, for writing.
        EXPECT_CALL(store, open(3, true)).Times(1);
        EXPECT_CALL(store, close()).Times(1);
    }

    StrictMock<MockSettingsStore> store;
    ScopedSettingsStoreService installed{&store};
};

// ---- construction and destruction

TEST(SetupSetManagerLifeTest, ConstructorOpensWithTheAppAndFlagAndDestructorCloses)
{
    for (const bool forWriting : {true, false}) {
        SCOPED_TRACE(forWriting);
        StrictMock<MockSettingsStore> store;
        const ScopedSettingsStoreService installed(&store);
        InSequence order;
        EXPECT_CALL(store, open(int(AM_Global::APP_MMS), forWriting));
        EXPECT_CALL(store, close());
        const SETUP_SET_Manager manager(AM_Global::APP_MMS, forWriting);
    }
}

TEST(SetupSetManagerLifeTest, StoreIsClosedOnlyAfterTheLastCall)
{
    StrictMock<MockSettingsStore> store;
    const ScopedSettingsStoreService installed(&store);
    InSequence order;
    EXPECT_CALL(store, open(3, false));
    EXPECT_CALL(store, flush()).WillOnce(Return(true));
    EXPECT_CALL(store, close());
    SETUP_SET_Manager manager(AM_Global::APP_MMS, false);
    EXPECT_TRUE(manager.flush());
}

// ---- typed reads

TEST_F(SetupSetManagerTest, TextReadPassesItsArgumentsAndReturnsTheStoredText)
{
    for (const bool option : {false, true}) {
        SCOPED_TRACE(option);
        EXPECT_CALL(store, readText(kGroup, kKey, _, QStringLiteral("fallback"), option))
            .WillOnce(DoAll(SetArgReferee<2>(QStringLiteral("stored")), Return(true)));
    }
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    for (const bool option : {false, true}) {
        QString value = QStringLiteral("before");
        EXPECT_TRUE(
            manager.getSettingInfo(kGroup, kKey, value, QStringLiteral("fallback"), option));
        EXPECT_EQ(value, QStringLiteral("stored"));
    }
}

TEST_F(SetupSetManagerTest, TextReadReturnsTheStoresFalseAndItsDefault)
{
    EXPECT_CALL(store, readText(kGroup, kKey, _, QString(), false))
        .WillOnce(DoAll(SetArgReferee<2>(QString()), Return(false)));
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    QString value = QStringLiteral("before");
    EXPECT_FALSE(manager.getSettingInfo(kGroup, kKey, value, QString(), false));
    EXPECT_TRUE(value.isNull());
}

TEST_F(SetupSetManagerTest, BoolReadPassesItsArgumentsAndReturnsTheStoredFlag)
{
    EXPECT_CALL(store, readBool(kGroup, kKey, _, true))
        .WillOnce(DoAll(SetArgReferee<2>(false), Return(true)));
    EXPECT_CALL(store, readBool(kGroup, QStringLiteral("missing"), _, false))
        .WillOnce(DoAll(SetArgReferee<2>(false), Return(false)));
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    bool value = true;
    EXPECT_TRUE(manager.getSettingInfo(kGroup, kKey, value, true));
    EXPECT_FALSE(value);
    value = true;
    EXPECT_FALSE(manager.getSettingInfo(kGroup, QStringLiteral("missing"), value, false));
    EXPECT_FALSE(value);
}

TEST_F(SetupSetManagerTest, IntReadPassesItsArgumentsAndReturnsTheStoredNumber)
{
    EXPECT_CALL(store, readInt(kGroup, kKey, _, -50))
        .WillOnce(DoAll(SetArgReferee<2>(-7), Return(true)));
    EXPECT_CALL(store, readInt(kGroup, QStringLiteral("missing"), _, 65535))
        .WillOnce(DoAll(SetArgReferee<2>(65535), Return(false)));
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    int value = 100;
    EXPECT_TRUE(manager.getSettingInfo(kGroup, kKey, value, -50));
    EXPECT_EQ(value, -7);
    value = 100;
    EXPECT_FALSE(manager.getSettingInfo(kGroup, QStringLiteral("missing"), value, 65535));
    EXPECT_EQ(value, 65535);
}

TEST_F(SetupSetManagerTest, UnsignedReadPassesItsArgumentsAndReturnsTheStoredNumber)
{
    EXPECT_CALL(store, readUInt(kGroup, kKey, _, 4294967295u))
        .WillOnce(DoAll(SetArgReferee<2>(511u), Return(true)));
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    unsigned int value = 0;
    EXPECT_TRUE(manager.getSettingInfo(kGroup, kKey, value, 4294967295u));
    EXPECT_EQ(value, 511u);
}

// ---- typed writes

TEST_F(SetupSetManagerTest, EachWriteReachesTheStoreInItsOwnForm)
{
    EXPECT_CALL(store, writeText(kGroup, kKey, QStringLiteral("text"), false))
        .WillOnce(Return(true));
    EXPECT_CALL(store, writeText(kGroup, kKey, QString(), true)).WillOnce(Return(true));
    EXPECT_CALL(store, writeBool(kGroup, kKey, true)).WillOnce(Return(true));
    EXPECT_CALL(store, writeInt(kGroup, kKey, 5)).WillOnce(Return(true));
    EXPECT_CALL(store, writeInt(kGroup, kKey, -1)).WillOnce(Return(true));
    EXPECT_CALL(store, writeUInt(kGroup, kKey, 4294967295u)).WillOnce(Return(true));
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    EXPECT_TRUE(manager.setSettingInfo(kGroup, kKey, QStringLiteral("text"), false));
    EXPECT_TRUE(manager.setSettingInfo(kGroup, kKey, QString(), true));
    EXPECT_TRUE(manager.setSettingInfo(kGroup, kKey, true));
    EXPECT_TRUE(manager.setSettingInfo(kGroup, kKey, 5));
    EXPECT_TRUE(manager.setSettingInfo(kGroup, kKey, -1));
    EXPECT_TRUE(manager.setSettingInfo(kGroup, kKey, 4294967295u));
}

TEST_F(SetupSetManagerTest, RefusedWritesReturnFalseWithTheStoresErrno)
{
    EXPECT_CALL(store, writeText(kGroup, kKey, QStringLiteral("v"), false))
        .WillOnce(storeOutcome(ENOSPC));
    EXPECT_CALL(store, writeBool(kGroup, kKey, false)).WillOnce(storeOutcome(EIO));
    EXPECT_CALL(store, writeInt(kGroup, kKey, 0)).WillOnce(storeOutcome(ENOSPC));
    EXPECT_CALL(store, writeUInt(kGroup, kKey, 0u)).WillOnce(storeOutcome(EROFS));
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    errno = 0;
    EXPECT_FALSE(manager.setSettingInfo(kGroup, kKey, QStringLiteral("v"), false));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(manager.setSettingInfo(kGroup, kKey, false));
    EXPECT_EQ(errno, EIO);
    EXPECT_FALSE(manager.setSettingInfo(kGroup, kKey, 0));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(manager.setSettingInfo(kGroup, kKey, 0u));
    EXPECT_EQ(errno, EROFS);
}

// ---- listing, removal and flush

TEST_F(SetupSetManagerTest, EntryKeyListIsTheStoresMap)
{
    const QMap<QString, QString> entries{{QStringLiteral("A"), QStringLiteral("1")},
                                         {QStringLiteral("b"), QString()}};
    EXPECT_CALL(store, entries(kGroup)).WillOnce(Return(entries));
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    EXPECT_EQ(manager.getEntryKeyList(kGroup), entries);
}

TEST_F(SetupSetManagerTest, RemovalsPassTheirNamesAndReturnTheStoresResult)
{
    EXPECT_CALL(store, removeEntry(kGroup, kKey)).WillOnce(Return(true));
    EXPECT_CALL(store, removeEntry(kGroup, QStringLiteral("refused")))
        .WillOnce(storeOutcome(ENOSPC));
    EXPECT_CALL(store, clearGroup(kGroup)).WillOnce(Return(true));
    EXPECT_CALL(store, clearGroup(QStringLiteral("refused"))).WillOnce(storeOutcome(EIO));
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    EXPECT_TRUE(manager.removeEntry(kGroup, kKey));
    EXPECT_FALSE(manager.removeEntry(kGroup, QStringLiteral("refused")));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(manager.clearGroup(kGroup));
    EXPECT_FALSE(manager.clearGroup(QStringLiteral("refused")));
    EXPECT_EQ(errno, EIO);
}

TEST_F(SetupSetManagerTest, FlushReturnsTheStoresResult)
{
    EXPECT_CALL(store, flush()).WillOnce(Return(true)).WillOnce(storeOutcome(ENOSPC));
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    EXPECT_TRUE(manager.flush());
    EXPECT_FALSE(manager.flush());
    EXPECT_EQ(errno, ENOSPC);
}

// ---- feature flags

class SetupUtilityTest : public ::testing::Test
{
protected:
    StrictMock<MockFeatureFlags> flags;
    ScopedFeatureFlagService installed{&flags};
};

TEST_F(SetupUtilityTest, KnownFlagIsPassedByNumberAndSetsTheCallersBool)
{
    EXPECT_CALL(flags, getFlexBit(49, _)).WillOnce(DoAll(SetArgReferee<1>(false), Return(true)));
    EXPECT_CALL(flags, getFlexBit(112, _)).WillOnce(DoAll(SetArgReferee<1>(true), Return(true)));
    SETUP_Utility utility;
    bool value = true;
    EXPECT_TRUE(utility.getFlexBit(49, value));
    EXPECT_FALSE(value);
    EXPECT_TRUE(utility.getFlexBit(112, value));
    EXPECT_TRUE(value);
}

TEST_F(SetupUtilityTest, UnknownFlagReturnsFalseAndLeavesTheCallersBool)
{
    EXPECT_CALL(flags, getFlexBit(50, _)).Times(2).WillRepeatedly(Return(false));
    SETUP_Utility utility;
    for (const bool preset : {true, false}) {
        bool value = preset;
        EXPECT_FALSE(utility.getFlexBit(50, value));
        EXPECT_EQ(value, preset);
    }
}

} // namespace
