// The platform's icons: RES_ICON_Reader over the installed icons, and the default ones read from
// the icon directories, with the icons built into the plugin standing in.

#include "icon_service.h"
#include "res_icon_reader.h"

#include "support/gui_application.h"
#include "support/mock_composer_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

namespace
{

[[maybe_unused]] const auto* const kApplication =
    ::testing::AddGlobalTestEnvironment(new tavmms_test::OffscreenApplication);

using tavmms_test::filledPixmap;
using tavmms_test::IsPixmap;
using tavplatform::PlatformIcons;
using ::testing::Return;
using ::testing::StrictMock;

const QString kErrorIcon = QStringLiteral("Dialog_Error.gif");
const QString kSourceIcons = QStringLiteral(TAVMMS_SOURCE_DIR "/src/platform/ui/icons");

// Writes `image` as a PNG file `name` in `directory`.
bool writePng(const QString& directory, const QString& name, const QImage& image)
{
    return image.save(QDir(directory).filePath(name), "PNG");
}

bool writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QImage filledImage(Qt::GlobalColor color)
{
    QImage image(8, 8, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

QImage pixelsOf(const QPixmap& pixmap)
{
    return pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
}

class PlatformIconsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(first.isValid());
        ASSERT_TRUE(second.isValid());
    }

    PlatformIcons icons() const { return PlatformIcons({first.path(), second.path()}); }

    QTemporaryDir first;
    QTemporaryDir second;
};

TEST(PlatformIconsDefault, HasTheShippedErrorIconBuiltIn)
{
    const QPixmap icon = PlatformIcons().icon(kErrorIcon);
    ASSERT_FALSE(icon.isNull());
    EXPECT_EQ(icon.size(), QSize(32, 32));
    // A white cross on a red disc, on a transparent ground.
    const QImage pixels = pixelsOf(icon);
    EXPECT_EQ(pixels.pixel(16, 4), qRgb(204, 0, 0));
    EXPECT_EQ(pixels.pixel(16, 16), qRgb(255, 255, 255));
    EXPECT_EQ(qAlpha(pixels.pixel(0, 0)), 0);
    EXPECT_EQ(pixels, pixelsOf(QPixmap(kSourceIcons + QStringLiteral("/Dialog_Error.gif"))));
}

TEST(PlatformIconsDefault, LooksInTheInstalledDataDirectoryOnly)
{
    const QStringList directories = PlatformIcons::defaultDirectories();
    ASSERT_EQ(directories.size(), 1);
    EXPECT_TRUE(QDir::isAbsolutePath(directories.first())) << directories.first().toStdString();
    EXPECT_TRUE(directories.first().endsWith(QStringLiteral("/share/tavmmsutility/icons")))
        << directories.first().toStdString();
}

TEST_F(PlatformIconsTest, ReadsTheFormatFromTheContentWhateverTheName)
{
    ASSERT_TRUE(writePng(first.path(), QStringLiteral("Picture.gif"), filledImage(Qt::blue)));
    EXPECT_EQ(pixelsOf(icons().icon(QStringLiteral("Picture.gif"))), filledImage(Qt::blue));
}

TEST_F(PlatformIconsTest, TheFirstDirectoryHoldingTheFileWins)
{
    ASSERT_TRUE(writePng(first.path(), QStringLiteral("a.gif"), filledImage(Qt::green)));
    ASSERT_TRUE(writePng(second.path(), QStringLiteral("a.gif"), filledImage(Qt::red)));
    ASSERT_TRUE(writePng(second.path(), QStringLiteral("b.gif"), filledImage(Qt::red)));
    EXPECT_EQ(pixelsOf(icons().icon(QStringLiteral("a.gif"))), filledImage(Qt::green));
    EXPECT_EQ(pixelsOf(icons().icon(QStringLiteral("b.gif"))), filledImage(Qt::red));
    EXPECT_EQ(icons().iconFile(QStringLiteral("b.gif")), second.filePath(QStringLiteral("b.gif")));
}

TEST_F(PlatformIconsTest, GivesANullPictureForAnIconItDoesNotHave)
{
    EXPECT_TRUE(icons().icon(QStringLiteral("Unknown.gif")).isNull());
    EXPECT_TRUE(icons().icon(QString()).isNull());
}

TEST_F(PlatformIconsTest, GivesANullPictureForAnUnreadableIcon)
{
    ASSERT_TRUE(writeBytes(first.filePath(QStringLiteral("Broken.gif")), "GIF89a garbage"));
    EXPECT_TRUE(icons().icon(QStringLiteral("Broken.gif")).isNull());
}

TEST_F(PlatformIconsTest, DoesNotFollowANameOutOfItsDirectories)
{
    ASSERT_TRUE(QDir(first.path()).mkdir(QStringLiteral("sub")));
    ASSERT_TRUE(writePng(first.path(), QStringLiteral("x.gif"), filledImage(Qt::blue)));
    const PlatformIcons inSub({first.filePath(QStringLiteral("sub"))});
    EXPECT_TRUE(inSub.iconFile(QStringLiteral("../x.gif")).isEmpty());
}

TEST_F(PlatformIconsTest, TheErrorIconFallsBackToTheBuiltInOneWhenItsFileIsMissing)
{
    EXPECT_EQ(pixelsOf(icons().icon(kErrorIcon)),
              pixelsOf(QPixmap(kSourceIcons + QStringLiteral("/Dialog_Error.gif"))));
}

TEST_F(PlatformIconsTest, TheErrorIconFallsBackToTheBuiltInOneWhenItsFileIsBroken)
{
    ASSERT_TRUE(writeBytes(first.filePath(kErrorIcon), "not a picture"));
    EXPECT_EQ(pixelsOf(icons().icon(kErrorIcon)),
              pixelsOf(QPixmap(kSourceIcons + QStringLiteral("/Dialog_Error.gif"))));
}

TEST_F(PlatformIconsTest, AnIconOfThePlatformWinsOverTheBuiltInOne)
{
    ASSERT_TRUE(writePng(second.path(), kErrorIcon, filledImage(Qt::green)));
    EXPECT_EQ(pixelsOf(icons().icon(kErrorIcon)), filledImage(Qt::green));
}

TEST_F(PlatformIconsTest, ABuiltInIconIsNotReachedThroughAPath)
{
    EXPECT_TRUE(icons().icon(QStringLiteral("icons/Dialog_Error.gif")).isNull());
    EXPECT_TRUE(icons().icon(QString()).isNull());
}

TEST(ResIconReader, AsksTheInstalledIconsForTheNameGiven)
{
    StrictMock<tavmms_test::MockIconResources> icons;
    const tavplatform::ScopedIconResourceService installed(&icons);
    const QPixmap picture = filledPixmap(16, Qt::yellow);
    EXPECT_CALL(icons, icon(QStringLiteral("Some_Icon.gif"))).WillOnce(Return(picture));
    RES_ICON_Reader reader;
    EXPECT_THAT(reader.getIcon("Some_Icon.gif"), IsPixmap(picture));
}

TEST(ResIconReader, ReadsTheShippedIconsByDefault)
{
    RES_ICON_Reader reader;
    EXPECT_EQ(pixelsOf(reader.getIcon("Dialog_Error.gif")),
              pixelsOf(QPixmap(kSourceIcons + QStringLiteral("/Dialog_Error.gif"))));
    EXPECT_TRUE(reader.getIcon("No_Such_Icon.gif").isNull());
}

} // namespace
