// MMS_COMP_Util::getFirstSupportExtNameByMIMEType: the calls it makes on doubles of the MIME
// registry and the media player, and its answers from the real registry.

#include "mms_comp_util.h"

#include "media_capability_service.h"
#include "mime_registry_service.h"

#include "support/mock_composer_services.h"
#include "support/temp_settings_store.h"
#include "support/text_checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using tavmms_test::expectEmptyText;
using tavmms_test::MockMediaCapabilities;
using tavmms_test::MockMimeRegistry;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

// The answer, with the registry and the player as doubles that expect exactly the calls set up.
class ExtensionTest : public ::testing::Test
{
protected:
    // The registry will be asked once for `mimeId` and answer `extensions`.
    void expectRegistry(const char* mimeId, const QStringList& extensions)
    {
        EXPECT_CALL(registry, extensions(QString::fromUtf8(mimeId))).WillOnce(Return(extensions));
    }
    // The player will be asked once about `kind` and answer `extensions`.
    void expectPlayer(tavplatform::MediaKind kind, const QStringList& extensions)
    {
        EXPECT_CALL(player, playableExtensions(kind)).WillOnce(Return(extensions));
    }

    static QString answer(const char* type, const char* subtype)
    {
        return MMS_COMP_Util::getFirstSupportExtNameByMIMEType(QString::fromUtf8(type),
                                                               QString::fromUtf8(subtype));
    }

    InSequence order;
    StrictMock<MockMimeRegistry> registry;
    StrictMock<MockMediaCapabilities> player;
    tavplatform::ScopedMimeRegistryService registryInstalled{&registry};
    tavplatform::ScopedMediaCapabilityService playerInstalled{&player};
};

TEST_F(ExtensionTest, PlainTextInAnyCaseGivesTxtAfterAskingTheRegistryAsWritten)
{
    expectRegistry("TEXT/Plain", {});
    EXPECT_EQ(answer("TEXT", "Plain"), QStringLiteral("txt"));
}

TEST_F(ExtensionTest, VCardGivesVcfWhateverTheRegistryHolds)
{
    expectRegistry("text/x-vCard", {QStringLiteral("vcard"), QStringLiteral("gcrd")});
    EXPECT_EQ(answer("text", "x-vCard"), QStringLiteral("vcf"));
}

TEST_F(ExtensionTest, VCalendarGivesVcsWhateverTheRegistryHolds)
{
    expectRegistry("text/x-vcalendar", {QStringLiteral("ics")});
    EXPECT_EQ(answer("text", "x-vcalendar"), QStringLiteral("vcs"));
}

TEST_F(ExtensionTest, TheThreeTextAnswersDoNotDependOnTheRegistry)
{
    const QList<QStringList> registryAnswers = {
        {},
        {QStringLiteral("doc"), QStringLiteral("html")},
        {QStringLiteral("VCS"), QStringLiteral("VCF"), QStringLiteral("TXT")},
    };
    const struct {
        const char* subtype;
        const char* expected;
    } cases[] = {{"plain", "txt"}, {"x-vcard", "vcf"}, {"x-vcalendar", "vcs"}};
    for (const QStringList& registered : registryAnswers) {
        for (const auto& textCase : cases) {
            expectRegistry((QByteArray("text/") + textCase.subtype).constData(), registered);
            EXPECT_EQ(answer("text", textCase.subtype), QString::fromUtf8(textCase.expected))
                << textCase.subtype << " with " << registered.join(QLatin1Char(',')).toStdString();
        }
    }
}

TEST_F(ExtensionTest, OtherTextGivesEmptyEvenWhenTheRegistryListsIt)
{
    expectRegistry("text/html", {QStringLiteral("html"), QStringLiteral("htm")});
    expectEmptyText(answer("text", "html"));
}

TEST_F(ExtensionTest, ImageAnswersInLowerCaseWhatTheRegistryListsInCapitals)
{
    expectRegistry("image/png", {QStringLiteral("PNG")});
    EXPECT_EQ(answer("image", "png"), QStringLiteral("png"));
}

TEST_F(ExtensionTest, ImageFollowsTheRegistrysOrderOverTheFixedList)
{
    expectRegistry("Image/JPEG",
                   {QStringLiteral("jpe"), QStringLiteral("jpg"), QStringLiteral("jpeg")});
    EXPECT_EQ(answer("Image", "JPEG"), QStringLiteral("jpg"));
}

TEST_F(ExtensionTest, ImageOutsideTheFixedListGivesEmpty)
{
    expectRegistry("image/tiff", {QStringLiteral("tif"), QStringLiteral("tiff")});
    expectEmptyText(answer("image", "tiff"));
}

TEST_F(ExtensionTest, EveryExtensionOfTheFixedImageListIsSupported)
{
    for (const char* extension : {"gif", "png", "jpeg", "jpg", "bmp", "wbmp"}) {
        expectRegistry("image/x", {QStringLiteral("raw"), QString::fromUtf8(extension)});
        EXPECT_EQ(answer("image", "x"), QString::fromUtf8(extension));
    }
}

TEST_F(ExtensionTest, AudioGivesTheRegistrysFirstExtensionThePlayerPlays)
{
    expectRegistry("audio/amr",
                   {QStringLiteral("3ga"), QStringLiteral("amr"), QStringLiteral("awb")});
    expectPlayer(tavplatform::MediaAudio,
                 {QStringLiteral("mp3"), QStringLiteral("AWB"), QStringLiteral("amr")});
    EXPECT_EQ(answer("audio", "amr"), QStringLiteral("amr"));
}

TEST_F(ExtensionTest, AudioGivesEmptyWhenThePlayerPlaysNoneOfThem)
{
    expectRegistry("audio/amr", {QStringLiteral("amr")});
    expectPlayer(tavplatform::MediaAudio, {QStringLiteral("mp3"), QStringLiteral("wav")});
    expectEmptyText(answer("audio", "amr"));
}

TEST_F(ExtensionTest, VideoInAnyCaseAsksThePlayerAboutVideo)
{
    expectRegistry("VIDEO/3gpp", {QStringLiteral("3gp"), QStringLiteral("3gpp")});
    expectPlayer(tavplatform::MediaVideo, {QStringLiteral("mp4"), QStringLiteral("3gpp")});
    EXPECT_EQ(answer("VIDEO", "3gpp"), QStringLiteral("3gpp"));
}

TEST_F(ExtensionTest, AnEmptyRegistryListGivesEmptyAfterAskingThePlayer)
{
    expectRegistry("audio/x-unknown", {});
    expectPlayer(tavplatform::MediaAudio, {QStringLiteral("mp3")});
    expectEmptyText(answer("audio", "x-unknown"));
}

TEST_F(ExtensionTest, ApplicationGivesEmptyHoweverManyExtensionsTheRegistryKnows)
{
    expectRegistry("application/zip",
                   {QStringLiteral("zip"), QStringLiteral("jpg"), QStringLiteral("mp3")});
    expectEmptyText(answer("application", "zip"));
}

TEST_F(ExtensionTest, EmptyTypeAndSubtypeAskTheRegistryForTheSeparatorAlone)
{
    expectRegistry("/", {QStringLiteral("bin")});
    expectEmptyText(answer("", ""));
}

TEST_F(ExtensionTest, NullTypeAndSubtypeAskTheRegistryForTheSeparatorAlone)
{
    expectRegistry("/", {});
    expectEmptyText(MMS_COMP_Util::getFirstSupportExtNameByMIMEType(QString(), QString()));
}

// ---- The real MIME registry, and the media table in an empty settings store ----

class RealRegistryTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(store.isValid()); }

    static QString answer(const char* type, const char* subtype)
    {
        return MMS_COMP_Util::getFirstSupportExtNameByMIMEType(QString::fromUtf8(type),
                                                               QString::fromUtf8(subtype));
    }

    tavmms_test::TempSettingsStore store;
};

TEST_F(RealRegistryTest, JpegGivesJpg)
{
    EXPECT_EQ(answer("image", "jpeg"), QStringLiteral("jpg"));
    EXPECT_EQ(answer("IMAGE", "JPEG"), QStringLiteral("jpg"));
}

TEST_F(RealRegistryTest, PlainTextGivesTxt)
{
    EXPECT_EQ(answer("text", "plain"), QStringLiteral("txt"));
}

TEST_F(RealRegistryTest, ZipGivesEmpty)
{
    expectEmptyText(answer("application", "zip"));
}

TEST_F(RealRegistryTest, AudioAndVideoFollowTheDefaultMediaTable)
{
    EXPECT_EQ(answer("audio", "mpeg"), QStringLiteral("mp3"));
    EXPECT_EQ(answer("audio", "amr"), QStringLiteral("amr"));
    EXPECT_EQ(answer("video", "3gpp"), QStringLiteral("3gp"));
    EXPECT_EQ(answer("video", "mp4"), QStringLiteral("mp4"));
}

TEST_F(RealRegistryTest, AChangedMediaTableChangesTheAnswer)
{
    tavplatform::StoreMediaCapabilities table;
    ASSERT_TRUE(table.setPlayableExtensions(tavplatform::MediaAudio, {QStringLiteral("MPGA")}));
    EXPECT_EQ(answer("audio", "mpeg"), QStringLiteral("mpga"));
    ASSERT_TRUE(table.setPlayableExtensions(tavplatform::MediaVideo, {}));
    expectEmptyText(answer("video", "mp4"));
}

} // namespace
