// The MIME registry: AM_MimeType over the installed registry, and the default one on the shared
// MIME database.

#include "am_mimetype.h"
#include "mime_registry_service.h"

#include "support/mock_composer_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QMimeDatabase>
#include <QTemporaryDir>

namespace
{

using tavplatform::QtMimeRegistry;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StrictMock;

QStringList extensionsOf(const char* mimeId)
{
    QtMimeRegistry registry;
    return registry.extensions(QString::fromUtf8(mimeId));
}

TEST(QtMimeRegistry, GivesTheDatabasesExtensionsInItsOrder)
{
    const QStringList jpeg = extensionsOf("image/jpeg");
    EXPECT_EQ(jpeg, QMimeDatabase().mimeTypeForName(QStringLiteral("image/jpeg")).suffixes());
    ASSERT_GE(jpeg.size(), 2);
    EXPECT_EQ(jpeg.mid(0, 2), (QStringList{QStringLiteral("jpg"), QStringLiteral("jpeg")}));
    EXPECT_THAT(extensionsOf("text/plain"), Contains(QStringLiteral("txt")));
    EXPECT_THAT(extensionsOf("application/zip"), Contains(QStringLiteral("zip")));
}

TEST(QtMimeRegistry, ComparesTypeNamesWithoutRegardToCase)
{
    EXPECT_EQ(extensionsOf("IMAGE/JPEG"), extensionsOf("image/jpeg"));
    EXPECT_EQ(extensionsOf("Image/Png"), extensionsOf("image/png"));
    // The database writes this one with capitals itself.
    EXPECT_THAT(extensionsOf("audio/amr"), Contains(QStringLiteral("amr")));
    EXPECT_EQ(extensionsOf("audio/amr"), extensionsOf("AUDIO/AMR"));
}

TEST(QtMimeRegistry, LeadsAliasesToTheirType)
{
    EXPECT_EQ(extensionsOf("image/pjpeg"), extensionsOf("image/jpeg"));
    EXPECT_THAT(extensionsOf("text/x-vcard"), Contains(QStringLiteral("vcf")));
    EXPECT_EQ(extensionsOf("TEXT/X-VCARD"), extensionsOf("text/x-vcard"));
}

TEST(QtMimeRegistry, GivesNothingForAnUnknownType)
{
    EXPECT_THAT(extensionsOf("application/x-no-such-type"), IsEmpty());
    EXPECT_THAT(extensionsOf("/"), IsEmpty());
    EXPECT_THAT(extensionsOf(""), IsEmpty());
    EXPECT_THAT(extensionsOf("jpeg"), IsEmpty());
}

TEST(QtMimeRegistry, AnswersTheSameOnEveryCall)
{
    QtMimeRegistry registry;
    const QStringList first = registry.extensions(QStringLiteral("Video/MP4"));
    EXPECT_THAT(first, Contains(QStringLiteral("mp4")));
    EXPECT_EQ(registry.extensions(QStringLiteral("Video/MP4")), first);
    EXPECT_EQ(registry.extensions(QStringLiteral("video/mp4")), first);
}

TEST(QtMimeRegistry, TellsAFilesTypeByItsContentAndItsName)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const auto write = [&dir](const char* name, const QByteArray& data) {
        QFile file(dir.filePath(QString::fromUtf8(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(data);
        return file.fileName();
    };
    QtMimeRegistry registry;
    // A PNG without an extension is told by its signature.
    EXPECT_EQ(registry.mediaTypeOfFile(write("picture", "\x89PNG\r\n\x1a\n")),
              QStringLiteral("image/png"));
    EXPECT_EQ(registry.mediaTypeOfFile(write("note.txt", "plain words")),
              QStringLiteral("text/plain"));
    EXPECT_EQ(registry.mediaTypeOfFile(write("blob", QByteArray("\x00\x01\x02", 3))),
              QStringLiteral("application/octet-stream"));
}

TEST(AmMimeType, HasOneInstanceForTheProcess)
{
    ASSERT_NE(AM_MimeType::instance(), nullptr);
    EXPECT_EQ(AM_MimeType::instance(), AM_MimeType::instance());
}

TEST(AmMimeType, AsksTheInstalledRegistryWithTheTextAsGiven)
{
    StrictMock<tavmms_test::MockMimeRegistry> registry;
    const tavplatform::ScopedMimeRegistryService installed(&registry);
    EXPECT_CALL(registry, extensions(QStringLiteral("Audio/X-Thing ")))
        .WillOnce(Return(QStringList{QStringLiteral("B"), QStringLiteral("a")}));
    EXPECT_THAT(AM_MimeType::instance()->getExtListByMimeId(QStringLiteral("Audio/X-Thing ")),
                ElementsAre(QStringLiteral("B"), QStringLiteral("a")));
}

TEST(AmMimeType, UsesTheSharedMimeDatabaseByDefault)
{
    const QStringList jpeg =
        AM_MimeType::instance()->getExtListByMimeId(QStringLiteral("image/jpeg"));
    EXPECT_EQ(jpeg, extensionsOf("image/jpeg"));
    EXPECT_EQ(jpeg.value(0), QStringLiteral("jpg"));
}

} // namespace
