// The phone's table of playable extensions: MP_Utility over the installed table, and the default
// one in the settings store.

#include "media_capability_service.h"
#include "mp_utility.h"

#include "support/mock_composer_services.h"
#include "support/mock_settings_store.h"
#include "support/temp_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace
{

using tavmms_test::expectWrite;
using tavmms_test::MockSettingsStore;
using tavplatform::StoreMediaCapabilities;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StrictMock;

const QString kGroup = QStringLiteral("TAV_Media_Player");
const auto kAudio = tavplatform::MediaAudio;
const auto kVideo = tavplatform::MediaVideo;
// A value of the enumeration that names neither list.
const auto kOther = tavplatform::MediaKind(2);

class StoreMediaCapabilitiesTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(store.isValid()); }

    // What the store holds for `key` of the table's group; empty when it holds nothing.
    QString stored(const char* key)
    {
        return store.store().entries(kGroup).value(QString::fromUtf8(key));
    }

    tavmms_test::TempSettingsStore store;
    StoreMediaCapabilities table;
};

TEST_F(StoreMediaCapabilitiesTest, GivesTheFactoryListsWhileNothingIsStored)
{
    const QStringList audio = table.playableExtensions(kAudio);
    const QStringList video = table.playableExtensions(kVideo);
    EXPECT_EQ(audio, StoreMediaCapabilities::factoryExtensions(kAudio));
    EXPECT_EQ(video, StoreMediaCapabilities::factoryExtensions(kVideo));
    EXPECT_THAT(audio, ::testing::IsSupersetOf({QStringLiteral("amr"), QStringLiteral("mp3"),
                                                QStringLiteral("aac"), QStringLiteral("wav"),
                                                QStringLiteral("mid")}));
    EXPECT_THAT(video, ::testing::IsSupersetOf({QStringLiteral("3gp"), QStringLiteral("mp4")}));
    EXPECT_EQ(audio.value(0), QStringLiteral("amr"));
    EXPECT_EQ(video.value(0), QStringLiteral("3gp"));
}

TEST_F(StoreMediaCapabilitiesTest, KeepsAChangedListInItsOrderAndCase)
{
    ASSERT_TRUE(
        table.setPlayableExtensions(kAudio, {QStringLiteral("ogg"), QStringLiteral("MP3")}));
    EXPECT_EQ(stored("audio"), QStringLiteral("ogg,MP3"));
    store.reopen();
    EXPECT_THAT(StoreMediaCapabilities().playableExtensions(kAudio),
                ElementsAre(QStringLiteral("ogg"), QStringLiteral("MP3")));
    EXPECT_EQ(table.playableExtensions(kVideo), StoreMediaCapabilities::factoryExtensions(kVideo));
}

TEST_F(StoreMediaCapabilitiesTest, KeepsAnEmptyListApartFromNoList)
{
    ASSERT_TRUE(table.setPlayableExtensions(kVideo, {}));
    EXPECT_THAT(table.playableExtensions(kVideo), IsEmpty());
    EXPECT_EQ(table.playableExtensions(kAudio), StoreMediaCapabilities::factoryExtensions(kAudio));
}

TEST_F(StoreMediaCapabilitiesTest, ResetGoesBackToTheFactoryList)
{
    ASSERT_TRUE(table.setPlayableExtensions(kVideo, {QStringLiteral("mkv")}));
    ASSERT_TRUE(table.resetPlayableExtensions(kVideo));
    EXPECT_FALSE(store.store().entries(kGroup).contains(QStringLiteral("video")));
    EXPECT_EQ(table.playableExtensions(kVideo), StoreMediaCapabilities::factoryExtensions(kVideo));
    EXPECT_TRUE(table.resetPlayableExtensions(kVideo));
}

TEST_F(StoreMediaCapabilitiesTest, AnotherKindHasNoListAndCannotBeChanged)
{
    EXPECT_THAT(table.playableExtensions(kOther), IsEmpty());
    EXPECT_THAT(StoreMediaCapabilities::factoryExtensions(kOther), IsEmpty());
    errno = 0;
    EXPECT_FALSE(table.setPlayableExtensions(kOther, {QStringLiteral("mp3")}));
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_FALSE(table.resetPlayableExtensions(kOther));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_THAT(store.store().entries(kGroup), IsEmpty());
}

TEST_F(StoreMediaCapabilitiesTest, RefusesEmptyExtensionsAndOnesHoldingTheSeparator)
{
    errno = 0;
    EXPECT_FALSE(table.setPlayableExtensions(kAudio, {QStringLiteral("mp3"), QString()}));
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_FALSE(table.setPlayableExtensions(kAudio, {QStringLiteral("mp3,wav")}));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_THAT(store.store().entries(kGroup), IsEmpty());
}

TEST(StoreMediaCapabilities, ReportsAStoreThatRefusesTheChange)
{
    StrictMock<MockSettingsStore> store;
    const tavplatform::ScopedSettingsStoreService installed(&store);
    expectWrite(store, kGroup, QStringLiteral("audio"), QStringLiteral("amr"), ENOSPC);
    EXPECT_CALL(store, removeEntry(kGroup, QStringLiteral("video")))
        .WillOnce(tavmms_test::storeOutcome(EROFS));
    StoreMediaCapabilities table;
    errno = 0;
    EXPECT_FALSE(table.setPlayableExtensions(kAudio, {QStringLiteral("amr")}));
    EXPECT_EQ(errno, ENOSPC);
    errno = 0;
    EXPECT_FALSE(table.resetPlayableExtensions(kVideo));
    EXPECT_EQ(errno, EROFS);
}

TEST(MpUtility, AppendsTheInstalledTablesListForTheKindAsked)
{
    StrictMock<tavmms_test::MockMediaCapabilities> capabilities;
    const tavplatform::ScopedMediaCapabilityService installed(&capabilities);
    EXPECT_CALL(capabilities, playableExtensions(kVideo))
        .WillOnce(Return(QStringList{QStringLiteral("mp4"), QStringLiteral("3gp")}));
    EXPECT_CALL(capabilities, playableExtensions(kAudio))
        .WillOnce(Return(QStringList{QStringLiteral("amr")}));
    QStringList list{QStringLiteral("kept")};
    MP_Utility::queryMpSupportedExtensions(list, MP_Utility::MIME_TYPE_VIDEO);
    MP_Utility::queryMpSupportedExtensions(list, MP_Utility::MIME_TYPE_AUDIO);
    EXPECT_THAT(list, ElementsAre(QStringLiteral("kept"), QStringLiteral("mp4"),
                                  QStringLiteral("3gp"), QStringLiteral("amr")));
}

TEST(MpUtility, TheKindsAreZeroForAudioAndOneForVideo)
{
    EXPECT_EQ(int(MP_Utility::MIME_TYPE_AUDIO), 0);
    EXPECT_EQ(int(MP_Utility::MIME_TYPE_VIDEO), 1);
}

TEST(MpUtility, UsesTheTableInTheSettingsStoreByDefault)
{
    const tavmms_test::TempSettingsStore store;
    ASSERT_TRUE(store.isValid());
    ASSERT_TRUE(StoreMediaCapabilities().setPlayableExtensions(kAudio, {QStringLiteral("flac")}));
    QStringList list;
    MP_Utility::queryMpSupportedExtensions(list, MP_Utility::MIME_TYPE_AUDIO);
    EXPECT_THAT(list, ElementsAre(QStringLiteral("flac")));
}

} // namespace
