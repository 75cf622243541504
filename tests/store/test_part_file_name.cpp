// The names the parts of a message are written under: made from what the sender put in the part,
// and always a plain, visible name of at most 255 bytes in the directory written to.

#include "part_file_name.h"

#include "mime_registry_service.h"

#include "support/mock_composer_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::Part;
using tavmms::store::kLongestFileName;
using tavmms::store::numberedFileName;
using tavmms::store::partFileName;
using tavmms::store::safeFileName;
using tavmms::store::shortenFileName;
using ::testing::_;
using ::testing::Return;

Part partOf(const QByteArray& mediaType)
{
    Part part;
    part.contentType.mediaType = mediaType;
    return part;
}

class PartFileNameTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ON_CALL(registry, extensions(_)).WillByDefault(Return(QStringList()));
        ON_CALL(registry, extensions(QStringLiteral("image/jpeg")))
            .WillByDefault(Return(QStringList{QStringLiteral("jpg"), QStringLiteral("jpeg")}));
        ON_CALL(registry, extensions(QStringLiteral("text/plain")))
            .WillByDefault(Return(QStringList{QStringLiteral("txt")}));
    }

    ::testing::NiceMock<tavmms_test::MockMimeRegistry> registry;
    tavplatform::ScopedMimeRegistryService installed{&registry};
};

qsizetype utf8Size(const QString& text)
{
    return text.toUtf8().size();
}

TEST_F(PartFileNameTest, AnyDirectoryInANameIsDropped)
{
    EXPECT_EQ(safeFileName(QStringLiteral("../../etc/passwd")), QStringLiteral("passwd"));
    EXPECT_EQ(safeFileName(QStringLiteral("/etc/passwd")), QStringLiteral("passwd"));
    EXPECT_EQ(safeFileName(QStringLiteral("..\\..\\windows\\win.ini")), QStringLiteral("win.ini"));
    EXPECT_EQ(safeFileName(QStringLiteral("photos/")), QString());
}

TEST_F(PartFileNameTest, DotsAndBlanksThatWouldHideOrEmptyANameAreDropped)
{
    EXPECT_EQ(safeFileName(QStringLiteral(".")), QString());
    EXPECT_EQ(safeFileName(QStringLiteral("..")), QString());
    EXPECT_EQ(safeFileName(QString()), QString());
    EXPECT_EQ(safeFileName(QStringLiteral(".bashrc")), QStringLiteral("bashrc"));
    EXPECT_EQ(safeFileName(QStringLiteral(" . .profile ")), QStringLiteral("profile"));
}

TEST_F(PartFileNameTest, ControlAndDirectionCharactersBecomeUnderscores)
{
    EXPECT_EQ(safeFileName(QStringLiteral("a\nb\x1b[2Jc.txt")), QStringLiteral("a_b_[2Jc.txt"));
    EXPECT_EQ(safeFileName(QString::fromUtf16(u"invoice\u202Egpj.exe")),
              QStringLiteral("invoice_gpj.exe"));
    EXPECT_EQ(safeFileName(QString::fromUtf8("nul\0l", 5)), QStringLiteral("nul_l"));
}

TEST_F(PartFileNameTest, AnOverlongNameIsCutBetweenCharactersKeepingItsExtension)
{
    QString name;
    for (int i = 0; i < 100; ++i)
        name += QString::fromUtf16(u"ä€");
    name += QString::fromUtf16(u"😀.jpg");
    ASSERT_GT(utf8Size(name), 300);

    const QString shortened = safeFileName(name);

    EXPECT_LE(utf8Size(shortened), kLongestFileName);
    EXPECT_GT(utf8Size(shortened), kLongestFileName - 4);
    EXPECT_TRUE(shortened.endsWith(QStringLiteral(".jpg")));
    EXPECT_TRUE(name.startsWith(shortened.chopped(4)));
    EXPECT_FALSE(shortened.contains(QChar(0xFFFD)));
}

TEST_F(PartFileNameTest, AFourByteCharacterIsNeverCutInHalf)
{
    QString name;
    for (int i = 0; i < 70; ++i)
        name += QString::fromUtf16(u"😀");
    const QString shortened = shortenFileName(name, 255);
    EXPECT_EQ(utf8Size(shortened), 252);
    EXPECT_EQ(shortened.size() % 2, 0);
    EXPECT_TRUE(shortened.at(shortened.size() - 1).isLowSurrogate());
}

TEST_F(PartFileNameTest, ANumberGoesBeforeTheExtensionAndAlwaysFits)
{
    EXPECT_EQ(numberedFileName(QStringLiteral("photo.jpg"), 2), QStringLiteral("photo-2.jpg"));
    EXPECT_EQ(numberedFileName(QStringLiteral("README"), 3), QStringLiteral("README-3"));
    const QString longest = QString(251, QLatin1Char('x')) + QStringLiteral(".jpg");
    const QString numbered = numberedFileName(longest, 12);
    EXPECT_EQ(utf8Size(numbered), kLongestFileName);
    EXPECT_TRUE(numbered.endsWith(QStringLiteral("x-12.jpg")));
}

TEST_F(PartFileNameTest, ThePartsNameComesFirstThenItsFilenameThenItsLocation)
{
    Part part = partOf("image/jpeg");
    part.contentType.parameters = {{"name", "cat.jpg"}};
    part.headers = {{"Content-Disposition", "attachment; filename=\"dog.jpg\""},
                    {"Content-Location", "bird.jpg"},
                    {"Content-ID", "<fish>"}};
    EXPECT_EQ(partFileName(part, 1), QStringLiteral("cat.jpg"));
    part.contentType.parameters.clear();
    EXPECT_EQ(partFileName(part, 1), QStringLiteral("dog.jpg"));
    part.headers.removeFirst();
    EXPECT_EQ(partFileName(part, 1), QStringLiteral("bird.jpg"));
}

TEST_F(PartFileNameTest, ANameThatIsNothingOnceMadeSafeGivesWayToTheNext)
{
    Part part = partOf("image/jpeg");
    part.contentType.parameters = {{"name", "../"}};
    part.headers = {{"Content-Location", "http://mmsc.example/get/photo.jpg"}};
    EXPECT_EQ(partFileName(part, 1), QStringLiteral("photo.jpg"));
}

TEST_F(PartFileNameTest, AContentIdLosesItsAngleBracketsAndGainsAnExtension)
{
    Part part = partOf("image/jpeg");
    part.headers = {{"Content-ID", "<image1>"}};
    EXPECT_EQ(partFileName(part, 2), QStringLiteral("image1.jpg"));
    part.headers = {{"Content-ID", "<image1.JPEG>"}};
    EXPECT_EQ(partFileName(part, 2), QStringLiteral("image1.JPEG"));
}

TEST_F(PartFileNameTest, APartWithoutAnyNameIsNumberedWithItsTypesExtension)
{
    EXPECT_EQ(partFileName(partOf("text/plain"), 3), QStringLiteral("part-3.txt"));
    EXPECT_EQ(partFileName(partOf("application/x-unknown"), 4), QStringLiteral("part-4"));
    Part hostile = partOf("text/plain");
    hostile.contentType.parameters = {{"name", ".."}};
    hostile.headers = {{"Content-ID", "<>"}};
    EXPECT_EQ(partFileName(hostile, 5), QStringLiteral("part-5.txt"));
}

} // namespace
