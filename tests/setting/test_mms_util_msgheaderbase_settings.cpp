// A message header takes its report, expiry and priority defaults from the stored sending options
// and stores its own back: on the real settings store, on one that cannot be opened, and on a
// double whose writes fail.

#include "mms_util_msgheaderbase.h"
#include "mms_util_setting.h"

#include "support/mock_settings_store.h"
#include "support/temp_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <type_traits>

namespace
{

using tavmms_test::MockSettingsStore;
using tavmms_test::TempSettingsStore;
using ::testing::_;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

const QString kGlobal = QStringLiteral("MMS_GRP");
const QString kPriorityKey = QStringLiteral("MMS_Send_Priority");

// A header whose four sending-option fields differ from every default.
MMS_UTIL_MsgHeaderBase* newChangedHeader()
{
    auto* header = new MMS_UTIL_MsgHeaderBase;
    header->deliveryReport = true;
    header->readReplyReport = true;
    header->expiry = 77;
    header->priority = MMS_UTIL_PRIORITY_LOW;
    return header;
}

class HeaderSettingsTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(temp.isValid()); }

    TempSettingsStore temp;
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header{newChangedHeader()};
};

TEST_F(HeaderSettingsTest, FreshStoreGivesNoReportsDefaultExpiryAndNormalPriority)
{
    EXPECT_EQ(header->loadGlobalSetting(), 0);
    EXPECT_FALSE(header->deliveryReport);
    EXPECT_FALSE(header->readReplyReport);
    EXPECT_EQ(header->expiry, 65535u);
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_NORMAL);
}

TEST_F(HeaderSettingsTest, LoadTakesTheStoredOptionsAndLeavesTheRest)
{
    ASSERT_EQ(MMS_UTIL_Setting::setSendingOption(true, false, 600, MMS_UTIL_PRIORITY_HIGH), 0);
    MMS_UTIL_MsgHeaderBase fresh;
    fresh.senderVisibility = true;
    fresh.subject = QStringLiteral("hello");
    EXPECT_EQ(fresh.loadGlobalSetting(), 0);
    EXPECT_TRUE(fresh.deliveryReport);
    EXPECT_FALSE(fresh.readReplyReport);
    EXPECT_EQ(fresh.expiry, 600u);
    EXPECT_EQ(fresh.priority, MMS_UTIL_PRIORITY_HIGH);
    EXPECT_TRUE(fresh.senderVisibility);
    EXPECT_EQ(fresh.subject, QStringLiteral("hello"));
}

TEST_F(HeaderSettingsTest, StoredPriorityOutsideTheCodesLeavesThePriority)
{
    ASSERT_TRUE(temp.store().writeInt(kGlobal, kPriorityKey, 5));
    EXPECT_EQ(header->loadGlobalSetting(), 0);
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_LOW);
    EXPECT_FALSE(header->deliveryReport); // the other options are still taken
}

TEST_F(HeaderSettingsTest, StoredPriorityGivesItsLowByte)
{
    ASSERT_TRUE(temp.store().writeInt(kGlobal, kPriorityKey, 385));
    EXPECT_EQ(header->loadGlobalSetting(), 0);
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_NORMAL);
}

TEST_F(HeaderSettingsTest, SaveStoresTheFourOptionsButNotTheSenderVisibility)
{
    header->senderVisibility = true;
    header->expiry = 4000000000u;
    EXPECT_EQ(header->saveToGlobalSetting(), 0);
    bool delivery = false;
    bool read = false;
    unsigned int expiry = 0;
    unsigned char priority = 0;
    ASSERT_EQ(MMS_UTIL_Setting::getSendingOption(delivery, read, expiry, priority), 0);
    EXPECT_TRUE(delivery);
    EXPECT_TRUE(read);
    EXPECT_EQ(expiry, 4000000000u);
    EXPECT_EQ(priority, MMS_UTIL_PRIORITY_LOW);
    EXPECT_FALSE(temp.store().entries(kGlobal).contains(QStringLiteral("MMS_Sender_Visible")));
}

TEST_F(HeaderSettingsTest, SaveStoresThePriorityFieldAsItIs)
{
    header->priority = 200; // set directly, past setPriority
    EXPECT_EQ(header->saveToGlobalSetting(), 0);
    int stored = 0;
    ASSERT_TRUE(temp.store().readInt(kGlobal, kPriorityKey, stored, 0));
    EXPECT_EQ(stored, 200);
}

TEST_F(HeaderSettingsTest, SavedOptionsLoadIntoANewHeader)
{
    ASSERT_EQ(header->saveToGlobalSetting(), 0);
    temp.reopen();
    MMS_UTIL_MsgHeaderBase fresh;
    EXPECT_EQ(fresh.loadGlobalSetting(), 0);
    EXPECT_TRUE(fresh.deliveryReport);
    EXPECT_TRUE(fresh.readReplyReport);
    EXPECT_EQ(fresh.expiry, 77u);
    EXPECT_EQ(fresh.priority, MMS_UTIL_PRIORITY_LOW);
}

// A store whose file cannot be opened: reads give the defaults, writes fail.
TEST_F(HeaderSettingsTest, UnopenableStoreGivesTheDefaultsAndRefusesTheSave)
{
    tavplatform::SqliteSettingsStore broken(temp.directory() +
                                            QStringLiteral("/missing/settings.db"));
    tavplatform::ScopedSettingsStoreService installed(&broken);
    EXPECT_EQ(header->saveToGlobalSetting(), 1);
    EXPECT_EQ(header->loadGlobalSetting(), 0);
    EXPECT_FALSE(header->deliveryReport);
    EXPECT_FALSE(header->readReplyReport);
    EXPECT_EQ(header->expiry, 65535u);
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_NORMAL);
}

class HeaderSettingsCallsTest : public ::testing::Test
{
protected:
    InSequence order;
    StrictMock<MockSettingsStore> store;
    tavplatform::ScopedSettingsStoreService installed{&store};
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header{newChangedHeader()};
};

TEST_F(HeaderSettingsCallsTest, ReadsTheStoreLeavesUntouchedKeepTheHeadersFields)
{
    EXPECT_CALL(store, open(3, false));
    EXPECT_CALL(store, readBool(kGlobal, QStringLiteral("MMS_Delivery_Report"), _, false))
        .WillOnce(Return(false));
    EXPECT_CALL(store, readBool(kGlobal, QStringLiteral("MMS_Read_Report"), _, false))
        .WillOnce(Return(false));
    EXPECT_CALL(store, readUInt(kGlobal, QStringLiteral("MMS_Expire_After_Sec"), _, 65535u))
        .WillOnce(Return(false));
    EXPECT_CALL(store, readInt(kGlobal, kPriorityKey, _, 129)).WillOnce(Return(false));
    EXPECT_CALL(store, close());
    EXPECT_EQ(header->loadGlobalSetting(), 0);
    EXPECT_TRUE(header->deliveryReport);
    EXPECT_TRUE(header->readReplyReport);
    EXPECT_EQ(header->expiry, 77u);
    // The priority is read through a local preset to Normal.
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_NORMAL);
}

TEST_F(HeaderSettingsCallsTest, SaveGivesTheWritersResultAsOneByte)
{
    static_assert(std::is_same_v<decltype(header->saveToGlobalSetting()), unsigned char>);
    for (const auto& [error, code] : {std::pair{ENOSPC, 2}, std::pair{EIO, 1}}) {
        SCOPED_TRACE(error);
        EXPECT_CALL(store, open(3, true));
        EXPECT_CALL(store, writeBool(kGlobal, QStringLiteral("MMS_Delivery_Report"), true))
            .WillOnce(tavmms_test::storeOutcome(error));
        EXPECT_CALL(store, close());
        EXPECT_EQ(header->saveToGlobalSetting(), code);
    }
}

} // namespace
