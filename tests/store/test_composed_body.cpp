// A body made from a text and files: the files read in the order given, typed by the platform's
// MIME registry, encoded with a SMIL presentation or without; files too large refused before they
// are read.

#include "composed_body.h"

#include "mms_message.h"
#include "multipart.h"

#include "support/mock_composer_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

namespace
{

using tavmms::pdu::BodyKind;
using tavmms::store::composeBodyFromFiles;
using tavmms::store::ComposedBody;
using tavmms::store::ErrorCode;
using tavmms::store::SizeLimit;
using ::testing::Return;
using ::testing::StrictMock;

const SizeLimit kLimit{300 * 1024, QStringLiteral("the limit of 300 KB (max-mo-size)")};
const QByteArray kPng = QByteArrayLiteral("\x89PNG\r\n\x1a\n\0\0\0\rIHDR");

class ComposedBodyTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QString file(const QString& name, const QByteArray& data)
    {
        const QString path = dir.filePath(name);
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(data);
        return path;
    }

    static QList<tavmms::pdu::Part> partsOf(const ComposedBody& composed)
    {
        const std::optional<QList<tavmms::pdu::Part>> parts =
            tavmms::pdu::decodeMultipart(composed.body);
        EXPECT_TRUE(parts);
        return parts.value_or(QList<tavmms::pdu::Part>());
    }

    QTemporaryDir dir;
};

TEST_F(ComposedBodyTest, ARelatedBodyOpensWithSmilThenTheTextAndTheFilesInOrder)
{
    const QString picture = file(QStringLiteral("photo.png"), kPng);
    const QString note = file(QStringLiteral("note.txt"), "plain words\n");

    const ComposedBody composed =
        composeBodyFromFiles(QStringLiteral("Hello"), {picture, note}, BodyKind::Related, kLimit);

    ASSERT_TRUE(composed.status.ok()) << composed.status.text.toStdString();
    EXPECT_EQ(composed.contentType.type, QStringLiteral("application"));
    EXPECT_EQ(composed.contentType.subtype, QStringLiteral("vnd.wap.multipart.related"));
    EXPECT_TRUE(composed.contentType.params.contains(QStringLiteral("type=application/smil")))
        << composed.contentType.params.toStdString();
    const QList<tavmms::pdu::Part> parts = partsOf(composed);
    ASSERT_EQ(parts.size(), 4);
    EXPECT_EQ(parts[0].contentType.mediaType, "application/smil");
    EXPECT_TRUE(parts[0].data.contains("photo.png"));
    EXPECT_EQ(parts[1].data, "Hello");
    EXPECT_EQ(parts[2].contentType.mediaType, "image/png");
    EXPECT_EQ(parts[2].data, kPng);
    EXPECT_EQ(parts[2].contentLocation(), "photo.png");
    EXPECT_EQ(parts[3].contentType.mediaType, "text/plain");
    EXPECT_EQ(parts[3].data, "plain words\n");
}

TEST_F(ComposedBodyTest, AMixedBodyHasNoSmil)
{
    const ComposedBody composed = composeBodyFromFiles(
        QStringLiteral("Hello"), {file(QStringLiteral("a.png"), kPng)}, BodyKind::Mixed, kLimit);

    ASSERT_TRUE(composed.status.ok()) << composed.status.text.toStdString();
    EXPECT_EQ(composed.contentType.subtype, QStringLiteral("vnd.wap.multipart.mixed"));
    const QList<tavmms::pdu::Part> parts = partsOf(composed);
    ASSERT_EQ(parts.size(), 2);
    EXPECT_EQ(parts[0].data, "Hello");
    EXPECT_EQ(parts[1].data, kPng);
}

TEST_F(ComposedBodyTest, TheMediaTypeIsThePlatformRegistrysForEachFile)
{
    StrictMock<tavmms_test::MockMimeRegistry> registry;
    const tavplatform::ScopedMimeRegistryService installed(&registry);
    const QString path = file(QStringLiteral("song"), "ID3");
    EXPECT_CALL(registry, mediaTypeOfFile(path)).WillOnce(Return(QStringLiteral("audio/mpeg")));

    const ComposedBody composed = composeBodyFromFiles(QString(), {path}, BodyKind::Mixed, kLimit);

    ASSERT_TRUE(composed.status.ok()) << composed.status.text.toStdString();
    const QList<tavmms::pdu::Part> parts = partsOf(composed);
    ASSERT_EQ(parts.size(), 1);
    EXPECT_EQ(parts[0].contentType.mediaType, "audio/mpeg");
}

TEST_F(ComposedBodyTest, AFileOverTheLimitIsRefusedBeforeItIsRead)
{
    const QString big = file(QStringLiteral("big.bin"), QByteArray(kLimit.bytes + 1, 'x'));

    const ComposedBody composed = composeBodyFromFiles(QString(), {big}, BodyKind::Mixed, kLimit);

    EXPECT_EQ(composed.status.code, ErrorCode::TooLarge);
    EXPECT_EQ(composed.status.text,
              QStringLiteral("'%1' of %2 bytes is over the limit of 300 KB (max-mo-size); the "
                             "message was not kept")
                  .arg(big)
                  .arg(kLimit.bytes + 1));
    EXPECT_TRUE(composed.body.isEmpty());
}

TEST_F(ComposedBodyTest, FilesTogetherOverTheLimitAreRefused)
{
    const QByteArray half(kLimit.bytes / 2 + 1, 'x');
    const ComposedBody composed = composeBodyFromFiles(
        QString(), {file(QStringLiteral("a"), half), file(QStringLiteral("b"), half)},
        BodyKind::Mixed, kLimit);

    EXPECT_EQ(composed.status.code, ErrorCode::TooLarge);
}

TEST_F(ComposedBodyTest, AnEndlessFileIsReadNoFurtherThanTheLimit)
{
    const ComposedBody composed =
        composeBodyFromFiles(QString(), {QStringLiteral("/dev/zero")}, BodyKind::Mixed, kLimit);

    EXPECT_EQ(composed.status.code, ErrorCode::TooLarge);
}

TEST_F(ComposedBodyTest, AMissingFileFailsNamingIt)
{
    const QString missing = dir.filePath(QStringLiteral("missing.jpg"));

    const ComposedBody composed =
        composeBodyFromFiles(QStringLiteral("Hi"), {missing}, BodyKind::Related, kLimit);

    EXPECT_EQ(composed.status.code, ErrorCode::Failed);
    EXPECT_TRUE(composed.status.text.startsWith(QStringLiteral("cannot read '%1'").arg(missing)))
        << composed.status.text.toStdString();
}

} // namespace
