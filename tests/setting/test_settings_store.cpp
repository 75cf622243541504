// The MMS settings as kept in the platform's settings store: the groups and keys MMS_UTIL_Setting
// writes, which keys are stored, changes made together, and the feature flags.

#include "settings_store.h"

#include "mms_util_setting.h"
#include "setup_utility.h"

#include "support/temp_settings_store.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace
{

namespace settings = tavmms::settings;

class SettingsStoreTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(temp.isValid()); }

    tavmms_test::TempSettingsStore temp;
};

TEST_F(SettingsStoreTest, AFreshStoreHasNoKeysStored)
{
    EXPECT_TRUE(settings::storedKeys(settings::kGlobalGroup).isEmpty());
}

TEST_F(SettingsStoreTest, TheKeysAreThoseTheSettingsAreWrittenUnder)
{
    ASSERT_EQ(MMS_UTIL_Setting::setAutoRetrievalSetting(1), 0);
    ASSERT_EQ(MMS_UTIL_Setting::setBlockList(QStringLiteral("123")), 0);
    ASSERT_EQ(MMS_UTIL_Setting::setSendingOption(true, false, 60, 130), 0);
    const QStringList stored = settings::storedKeys(settings::kGlobalGroup);
    for (const QLatin1String key :
         {settings::kAutoDownload, settings::kBlockList, settings::kDeliveryReport,
          settings::kReadReport, settings::kExpireAfterSec, settings::kSendPriority}) {
        EXPECT_TRUE(stored.contains(key)) << key.data();
    }
    EXPECT_FALSE(stored.contains(settings::kMaxMOSize));
}

TEST_F(SettingsStoreTest, ABatchKeepsItsChangesOnlyWhenCommitted)
{
    {
        settings::SettingsBatch batch;
        ASSERT_TRUE(batch.begin());
        ASSERT_EQ(MMS_UTIL_Setting::setAutoRetrievalSetting(1), 0);
    }
    EXPECT_FALSE(settings::storedKeys(settings::kGlobalGroup).contains(settings::kAutoDownload));
    settings::SettingsBatch batch;
    ASSERT_TRUE(batch.begin());
    ASSERT_EQ(MMS_UTIL_Setting::setAutoRetrievalSetting(1), 0);
    ASSERT_TRUE(batch.commit());
    EXPECT_TRUE(settings::storedKeys(settings::kGlobalGroup).contains(settings::kAutoDownload));
}

TEST_F(SettingsStoreTest, DeletingTheDefaultProfileClearsTheDefaultAndAnotherLeavesIt)
{
    for (const QString& name : {QStringLiteral("A"), QStringLiteral("B")})
        ASSERT_EQ(MMS_UTIL_Setting::addProfile(name), 0);
    ASSERT_EQ(MMS_UTIL_Setting::setDefaultMMSProfile(QStringLiteral("A")), 0);

    EXPECT_EQ(settings::deleteProfile(QStringLiteral("B")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), QStringLiteral("A"));
    EXPECT_EQ(settings::deleteProfile(QStringLiteral("A")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), QString());
    EXPECT_TRUE(MMS_UTIL_Setting::getMMSProfiles().isEmpty());
}

TEST_F(SettingsStoreTest, AFeatureFlagSetIsTheOneSetupUtilityReads)
{
    ASSERT_TRUE(settings::setFeatureFlag(7, false));
    SETUP_Utility flags;
    bool value = true;
    ASSERT_TRUE(flags.getFlexBit(7, value));
    EXPECT_FALSE(value);
    ASSERT_TRUE(settings::setFeatureFlag(7, true));
    ASSERT_TRUE(flags.getFlexBit(7, value));
    EXPECT_TRUE(value);
}

} // namespace
