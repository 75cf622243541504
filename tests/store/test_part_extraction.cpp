// The parts of a message written out as files: each to a new file that replaces nothing and
// follows no link, named after the part, its transfer encoding undone.

#include "part_extraction.h"

#include "mime_registry_service.h"

#include "support/mock_composer_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace
{

using tavmms::pdu::Part;
using tavmms::store::ErrorCode;
using tavmms::store::Extracted;
using tavmms::store::extractParts;
using ::testing::_;
using ::testing::Return;

Part namedPart(const QByteArray& name, const QByteArray& data)
{
    Part part;
    part.contentType.mediaType = "image/jpeg";
    part.contentType.parameters = {{"name", name}};
    part.data = data;
    return part;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

class PartExtractionTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(outside.isValid());
        ON_CALL(registry, extensions(_)).WillByDefault(Return(QStringList{QStringLiteral("jpg")}));
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    ::testing::NiceMock<tavmms_test::MockMimeRegistry> registry;
    tavplatform::ScopedMimeRegistryService installed{&registry};
    QTemporaryDir dir;
    QTemporaryDir outside;
};

TEST_F(PartExtractionTest, EveryPartIsWrittenUnderItsNameAndItsPathGiven)
{
    const Extracted extracted =
        extractParts({namedPart("a.jpg", "first"), namedPart("b.jpg", "second")}, dir.path());
    ASSERT_TRUE(extracted.status.ok()) << extracted.status.text.toStdString();
    EXPECT_EQ(extracted.paths, (QStringList{path("a.jpg"), path("b.jpg")}));
    EXPECT_EQ(contentOf(path("a.jpg")), "first");
    EXPECT_EQ(contentOf(path("b.jpg")), "second");
}

TEST_F(PartExtractionTest, OnePartAloneIsWrittenWhenItsNumberIsGiven)
{
    const Extracted extracted =
        extractParts({namedPart("a.jpg", "first"), namedPart("b.jpg", "second")}, dir.path(), 2);
    ASSERT_TRUE(extracted.status.ok());
    EXPECT_EQ(extracted.paths, QStringList{path("b.jpg")});
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("b.jpg")});
}

TEST_F(PartExtractionTest, ANumberThatNamesNoPartIsNotFoundAndWritesNothing)
{
    for (const int number : {3, -1}) {
        const Extracted extracted = extractParts({namedPart("a.jpg", "x")}, dir.path(), number);
        EXPECT_EQ(extracted.status.code, ErrorCode::NotFound);
        EXPECT_EQ(extracted.status.text.toStdString(),
                  "no part " + std::to_string(number) + ": the message has 1 part");
    }
    EXPECT_TRUE(QDir(dir.path()).isEmpty());
}

TEST_F(PartExtractionTest, NamesThatReachOutOfTheDirectoryStayInIt)
{
    const Extracted extracted = extractParts(
        {namedPart("../escaped.jpg", "1"), namedPart("/etc/passwd", "2"), namedPart("..", "3"),
         namedPart(".", "4"), namedPart("", "5"), namedPart("a\x01\x1b[31mb.jpg", "6")},
        dir.path());
    ASSERT_TRUE(extracted.status.ok()) << extracted.status.text.toStdString();
    EXPECT_EQ(extracted.paths,
              (QStringList{path("escaped.jpg"), path("passwd"), path("part-3.jpg"),
                           path("part-4.jpg"), path("part-5.jpg"), path("a__[31mb.jpg")}));
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(dir.path()).dir().filePath("escaped.jpg")));
    for (const QString& written : extracted.paths)
        EXPECT_EQ(QFileInfo(written).dir().path(), dir.path());
}

TEST_F(PartExtractionTest, AnOverlongMultibyteNameIsShortenedToWhatTheFileSystemTakes)
{
    QByteArray name;
    for (int i = 0; i < 60; ++i)
        name += "\xc3\xa4\xe2\x82\xac"; // ä€, 5 bytes
    name += ".jpg";
    ASSERT_EQ(name.size(), 304);
    const Extracted extracted = extractParts({namedPart(name, "data")}, dir.path());
    ASSERT_TRUE(extracted.status.ok()) << extracted.status.text.toStdString();
    ASSERT_EQ(extracted.paths.size(), 1);
    const QByteArray written = QFile::encodeName(QFileInfo(extracted.paths.at(0)).fileName());
    EXPECT_LE(written.size(), 255);
    EXPECT_TRUE(written.endsWith(".jpg"));
    EXPECT_EQ(contentOf(extracted.paths.at(0)), "data");
}

TEST_F(PartExtractionTest, ANameTakenByAnEarlierPartGetsANumber)
{
    const Extracted extracted = extractParts(
        {namedPart("photo.jpg", "1"), namedPart("photo.jpg", "2"), namedPart("dir/photo.jpg", "3")},
        dir.path());
    ASSERT_TRUE(extracted.status.ok());
    EXPECT_EQ(extracted.paths,
              (QStringList{path("photo.jpg"), path("photo-2.jpg"), path("photo-3.jpg")}));
    EXPECT_EQ(contentOf(path("photo-3.jpg")), "3");
}

TEST_F(PartExtractionTest, AFileThatIsThereStaysUntouched)
{
    QFile existing(path("photo.jpg"));
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    ASSERT_EQ(existing.write("mine"), 4);
    existing.close();

    const Extracted extracted = extractParts({namedPart("photo.jpg", "theirs")}, dir.path());

    ASSERT_TRUE(extracted.status.ok());
    EXPECT_EQ(extracted.paths, QStringList{path("photo-2.jpg")});
    EXPECT_EQ(contentOf(path("photo.jpg")), "mine");
    EXPECT_EQ(contentOf(path("photo-2.jpg")), "theirs");
}

TEST_F(PartExtractionTest, ALinkPlantedUnderThePartsNameIsNotFollowed)
{
    const QString target = outside.filePath(QStringLiteral("target"));
    QFile file(target);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write("precious"), 8);
    file.close();
    ASSERT_TRUE(QFile::link(target, path("photo.jpg")));
    ASSERT_TRUE(QFile::link(outside.filePath(QStringLiteral("missing")), path("photo-2.jpg")));

    const Extracted extracted = extractParts({namedPart("photo.jpg", "hostile")}, dir.path());

    ASSERT_TRUE(extracted.status.ok());
    EXPECT_EQ(extracted.paths, QStringList{path("photo-3.jpg")});
    EXPECT_EQ(contentOf(target), "precious");
    EXPECT_FALSE(QFileInfo::exists(outside.filePath(QStringLiteral("missing"))));
    EXPECT_TRUE(QFileInfo(path("photo.jpg")).isSymLink());
}

TEST_F(PartExtractionTest, TransferEncodingsAreUndone)
{
    Part base64 = namedPart("a.jpg", "aGVsbG8g\r\nd29ybGQ=");
    base64.headers = {{"Content-Transfer-Encoding", "base64"}};
    Part quoted = namedPart("b.jpg", "caf=C3=A9=\r\n au lait");
    quoted.headers = {{"Content-Transfer-Encoding", "quoted-printable"}};

    const Extracted extracted = extractParts({base64, quoted}, dir.path());

    ASSERT_TRUE(extracted.status.ok());
    EXPECT_EQ(contentOf(path("a.jpg")), "hello world");
    EXPECT_EQ(contentOf(path("b.jpg")), "caf\xc3\xa9 au lait");
}

TEST_F(PartExtractionTest, FilesAreMadeWithModeSixFourFourLessTheUmask)
{
    const mode_t previous = ::umask(022);
    const Extracted extracted = extractParts({namedPart("a.jpg", "x")}, dir.path());
    ::umask(previous);
    ASSERT_TRUE(extracted.status.ok());
    struct stat status {
    };
    ASSERT_EQ(::stat(QFile::encodeName(path("a.jpg")).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST_F(PartExtractionTest, ADirectoryThatIsNotThereFailsNamingIt)
{
    const QString missing = path(QStringLiteral("missing"));
    const Extracted extracted = extractParts({namedPart("a.jpg", "x")}, missing);
    EXPECT_EQ(extracted.status.code, ErrorCode::Failed);
    EXPECT_EQ(
        extracted.status.text,
        QStringLiteral("cannot open the directory '%1': No such file or directory").arg(missing));
    EXPECT_TRUE(extracted.paths.isEmpty());
}

} // namespace
