#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QProcess>

namespace tavmms_test
{

ToolResult runTool(const QString& program, const QStringList& arguments,
                   const QString& workingDirectory, const QByteArray& input,
                   const QProcessEnvironment& environment)
{
    // The tool never reaches the user's own platform data from a test: unless the test chose a
    // platform directory, it gets one inside the working directory.
    QProcessEnvironment sandboxed = environment;
    if (!sandboxed.contains(QStringLiteral("TAV_PLATFORM_DIR")))
        sandboxed.insert(QStringLiteral("TAV_PLATFORM_DIR"), workingDirectory + "/platform");
    QProcess process;
    process.setWorkingDirectory(workingDirectory);
    process.setProcessEnvironment(sandboxed);
    process.start(program, arguments);
    ToolResult result;
    if (!process.waitForStarted(10000)) {
        ADD_FAILURE() << "the tool did not start: " << process.errorString().toStdString();
        return result;
    }
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit) {
        ADD_FAILURE() << "the tool crashed or hung: "
                      << process.readAllStandardError().toStdString();
        return result;
    }
    result.exitCode = process.exitCode();
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

void expectOneLineReport(const ToolResult& result, int exitCode)
{
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    EXPECT_TRUE(result.err.startsWith("mmsutil: ")) << result.err.toStdString();
    EXPECT_EQ(result.err.count('\n'), 1) << result.err.toStdString();
    EXPECT_TRUE(result.err.endsWith('\n'));
}

void expectUsageError(const ToolResult& result)
{
    expectOneLineReport(result, 2);
}

void expectFailure(const ToolResult& result)
{
    expectOneLineReport(result, 1);
}

void expectNotFound(const ToolResult& result)
{
    expectOneLineReport(result, 3);
}

} // namespace tavmms_test
