// The table of what the media player plays, as the library hands it to whoever installs a player:
// each call reaches the platform's media capabilities with the kind MP_Utility names.

#include "media_player_table.h"

#include "media_capability_service.h"

#include "support/mock_composer_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using tavmms_test::MockMediaCapabilities;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

TEST(MediaPlayerTableTest, PassesEachCallToTheMediaCapabilitiesWithItsKind)
{
    StrictMock<MockMediaCapabilities> table;
    const tavplatform::ScopedMediaCapabilityService installed(&table);
    const QStringList extensions{QStringLiteral("ogg"), QStringLiteral("mp3")};
    InSequence order;
    EXPECT_CALL(table, playableExtensions(tavplatform::MediaAudio)).WillOnce(Return(extensions));
    EXPECT_CALL(table, setPlayableExtensions(tavplatform::MediaVideo, extensions))
        .WillOnce(Return(false));
    EXPECT_CALL(table, resetPlayableExtensions(tavplatform::MediaAudio)).WillOnce(Return(true));
    EXPECT_EQ(tavmms::playableExtensions(MP_Utility::MIME_TYPE_AUDIO), extensions);
    EXPECT_FALSE(tavmms::setPlayableExtensions(MP_Utility::MIME_TYPE_VIDEO, extensions));
    EXPECT_TRUE(tavmms::resetPlayableExtensions(MP_Utility::MIME_TYPE_AUDIO));
}

} // namespace
