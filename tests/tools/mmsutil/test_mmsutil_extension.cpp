// mmsutil's extension and media commands, run as a child process on a temporary platform
// directory: what they print, their exit codes, and what a change to the media table does to the
// extension chosen. The reader of the media table's extensions is also tried in-process.

#include "media_capability_service.h"
#include "mmshelpers.h"

#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace
{

using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;
using tavplatform::StoreMediaCapabilities;

class MmsutilExtensionTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    ToolResult run(const QStringList& arguments) const
    {
        return tavmms_test::runTool(QStringLiteral(TAVMMS_MMSUTIL_PATH), arguments, dir.path());
    }

    // The tool printed `out` and nothing else, and succeeded.
    static void expectPrinted(const ToolResult& result, const QByteArray& out)
    {
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        EXPECT_EQ(result.out.toStdString(), out.toStdString());
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
    }

    ToolResult extension(const char* type) const
    {
        return run({QStringLiteral("extension"), QString::fromUtf8(type)});
    }

    ToolResult media(const QStringList& arguments) const
    {
        return run(QStringList{QStringLiteral("media")} + arguments);
    }

    QTemporaryDir dir;
};

// The line "media list" prints for the factory list of `kind`.
QByteArray factoryLine(const char* name, tavplatform::MediaKind kind)
{
    QByteArray line = name + QByteArray(":");
    const QStringList extensions = StoreMediaCapabilities::factoryExtensions(kind);
    for (const QString& extension : extensions)
        line += ' ' + extension.toUtf8();
    return line + '\n';
}

TEST_F(MmsutilExtensionTest, PrintsTheExtensionOfAType)
{
    expectPrinted(extension("image/jpeg"), "jpg\n");
    expectPrinted(extension("IMAGE/JPEG"), "jpg\n");
    expectPrinted(extension("text/plain"), "txt\n");
    expectPrinted(extension("text/x-vcard"), "vcf\n");
    expectPrinted(extension("audio/mpeg"), "mp3\n");
    expectPrinted(extension("video/mp4"), "mp4\n");
}

TEST_F(MmsutilExtensionTest, SaysNoWhenNoExtensionIsKnown)
{
    const ToolResult result = extension("application/zip");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    EXPECT_EQ(result.err.toStdString(),
              "mmsutil: no supported extension is known for application/zip\n");
    EXPECT_EQ(extension("/").exitCode, 3);
}

TEST_F(MmsutilExtensionTest, RefusesATypeWithoutSlashAndWrongArgumentCounts)
{
    expectUsageError(extension("jpeg"));
    expectUsageError(run({QStringLiteral("extension")}));
    expectUsageError(run(
        {QStringLiteral("extension"), QStringLiteral("image/png"), QStringLiteral("image/gif")}));
}

TEST_F(MmsutilExtensionTest, ListsTheFactoryTablesOnAFreshPhone)
{
    expectPrinted(media({QStringLiteral("list")}),
                  factoryLine("audio", tavplatform::MediaAudio) +
                      factoryLine("video", tavplatform::MediaVideo));
    expectPrinted(media({QStringLiteral("list"), QStringLiteral("Video")}),
                  factoryLine("video", tavplatform::MediaVideo));
}

TEST_F(MmsutilExtensionTest, AChangedTableChangesTheExtensionChosen)
{
    expectPrinted(media({QStringLiteral("set"), QStringLiteral("audio"), QStringLiteral("mpga"),
                         QStringLiteral("wav")}),
                  "");
    expectPrinted(media({QStringLiteral("list"), QStringLiteral("audio")}), "audio: mpga wav\n");
    expectPrinted(extension("audio/mpeg"), "mpga\n");
    expectPrinted(media({QStringLiteral("list"), QStringLiteral("video")}),
                  factoryLine("video", tavplatform::MediaVideo));
}

TEST_F(MmsutilExtensionTest, ResetGivesTheFactoryListBack)
{
    expectPrinted(media({QStringLiteral("set"), QStringLiteral("video"), QStringLiteral("mkv")}),
                  "");
    EXPECT_EQ(extension("video/mp4").exitCode, 3);
    expectPrinted(media({QStringLiteral("reset"), QStringLiteral("VIDEO")}), "");
    expectPrinted(media({QStringLiteral("list"), QStringLiteral("video")}),
                  factoryLine("video", tavplatform::MediaVideo));
    expectPrinted(extension("video/mp4"), "mp4\n");
}

TEST_F(MmsutilExtensionTest, RefusesAWrongKindOrExtensionAndChangesNothing)
{
    expectUsageError(
        media({QStringLiteral("set"), QStringLiteral("sound"), QStringLiteral("mp3")}));
    expectUsageError(
        media({QStringLiteral("set"), QStringLiteral("audio"), QStringLiteral(".mp3")}));
    expectUsageError(
        media({QStringLiteral("set"), QStringLiteral("audio"), QStringLiteral("mp3,wav")}));
    expectUsageError(media({QStringLiteral("set"), QStringLiteral("audio")}));
    expectUsageError(media({QStringLiteral("reset"), QStringLiteral("image")}));
    expectUsageError(media({QStringLiteral("list"), QStringLiteral("image")}));
    expectPrinted(media({QStringLiteral("list"), QStringLiteral("audio")}),
                  factoryLine("audio", tavplatform::MediaAudio));
}

// The reader of the media table's extensions, in-process.
TEST(MmsutilExtensionReaderTest, TakesAWordOfLettersDigitsAndMarksWithoutTheDot)
{
    QString error;
    for (const char* extension : {"mp3", "3gp", "MP4", "x-wav", "c++", "a_b", "7"}) {
        SCOPED_TRACE(extension);
        EXPECT_EQ(cli::parseExtension(QLatin1String(extension), &error),
                  std::optional<QString>(QLatin1String(extension)));
        EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    }
    for (const char* wrong :
         {"", ".mp3", "mp3,wav", "-mp3", "_x", "mp 3", "mp3.", "ü", "mp3\n", "mp3\nwav"}) {
        SCOPED_TRACE(wrong);
        EXPECT_FALSE(cli::parseExtension(QString::fromUtf8(wrong), &error));
        EXPECT_EQ(error, QStringLiteral("'%1' is not an extension (letters, digits, '_', '+' and "
                                        "'-', without the dot)")
                             .arg(QString::fromUtf8(wrong)));
    }
}

} // namespace
