// mmsutil classify, run as a child process: the code and meaning it prints, the start type, its
// help and its usage errors.

#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace
{

using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

const char kSmilLine[] =
    "0 multipart/related message whose start part is SMIL, or whose start type is unknown or "
    "missing\n";
const char kXhtmlLine[] = "1 multipart/related message whose start part is XHTML\n";
const char kMixedLine[] = "2 multipart/mixed message with no presentation part\n";
const char kMediaLine[] = "6 a single image, audio or video object\n";
const char kOtherLine[] = "7 anything else\n";

class MmsutilClassifyTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    ToolResult classify(const QStringList& arguments) const
    {
        return tavmms_test::runTool(QStringLiteral(TAVMMS_MMSUTIL_PATH),
                                    QStringList{QStringLiteral("classify")} + arguments,
                                    dir.path());
    }

    // Runs the command, which must succeed quietly, and gives what it printed.
    std::string printed(const QStringList& arguments) const
    {
        const ToolResult result = classify(arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
        return result.out.toStdString();
    }

    QTemporaryDir dir;
};

TEST_F(MmsutilClassifyTest, SingleMediaObjectInAnyCase)
{
    EXPECT_EQ(printed({QStringLiteral("IMAGE/GIF")}), kMediaLine);
}

TEST_F(MmsutilClassifyTest, OtherTypeIsAnythingElse)
{
    EXPECT_EQ(printed({QStringLiteral("audio/amr")}), kOtherLine);
    EXPECT_EQ(printed({QStringLiteral("multipart/related")}), kOtherLine);
}

TEST_F(MmsutilClassifyTest, RelatedWithoutParametersIsSmil)
{
    EXPECT_EQ(printed({QStringLiteral("application/vnd.wap.multipart.related")}), kSmilLine);
}

TEST_F(MmsutilClassifyTest, RelatedWithXhtmlPrintsCodeAndStartType)
{
    EXPECT_EQ(printed({QStringLiteral("application/vnd.wap.multipart.related"),
                       QStringLiteral("start=<p1>;type=application/xhtml+xml")}),
              std::string(kXhtmlLine) + "start type: 59 application/xhtml+xml\n");
}

TEST_F(MmsutilClassifyTest, StartTypeNotInTheTableIsNamedSo)
{
    EXPECT_EQ(printed({QStringLiteral("application/vnd.wap.multipart.related"),
                       QStringLiteral("type=\"application/smil\"")}),
              std::string(kSmilLine) + "start type: 86, not in the table\n");
}

TEST_F(MmsutilClassifyTest, MixedWithoutTypeParameterHasNoStartType)
{
    EXPECT_EQ(printed({QStringLiteral("application/vnd.wap.multipart.mixed"),
                       QStringLiteral("boundary=x")}),
              std::string(kMixedLine) + "start type: none\n");
}

TEST_F(MmsutilClassifyTest, SubtypeRunsToTheEnd)
{
    // Cut at the first "/": "image" and "gif/x", which together are not in the table.
    EXPECT_EQ(printed({QStringLiteral("image/gif/x")}), kOtherLine);
}

TEST_F(MmsutilClassifyTest, HelpListsEveryCode)
{
    const std::string help = printed({QStringLiteral("--help")});
    EXPECT_NE(help.find("Usage: mmsutil classify [options] TYPE/SUBTYPE [PARAMS]"),
              std::string::npos)
        << help;
    for (const char* line : {kSmilLine, kXhtmlLine, kMixedLine, kMediaLine, kOtherLine}) {
        SCOPED_TRACE(line);
        EXPECT_NE(help.find(std::string("  ") + line[0] + "  " + (line + 2)), std::string::npos)
            << help;
    }
}

TEST_F(MmsutilClassifyTest, TypeWithoutSlashIsAUsageError)
{
    const ToolResult result = classify({QStringLiteral("image")});
    expectUsageError(result);
    EXPECT_TRUE(result.err.contains("'image' is not of the form TYPE/SUBTYPE"))
        << result.err.toStdString();
}

TEST_F(MmsutilClassifyTest, MissingOrSurplusArgumentsAreUsageErrors)
{
    expectUsageError(classify({}));
    expectUsageError(
        classify({QStringLiteral("image/gif"), QStringLiteral("a=b"), QStringLiteral("c=d")}));
}

} // namespace
