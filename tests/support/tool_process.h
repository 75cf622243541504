#ifndef TAVMMS_TESTS_TOOL_PROCESS_H
#define TAVMMS_TESTS_TOOL_PROCESS_H

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace tavmms_test
{

struct ToolResult {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// Runs `program` with `arguments` in `workingDirectory`, with `input` on its standard input, and
// waits for it. Without TAV_PLATFORM_DIR in `environment`, the program's platform directory is
// "platform" in `workingDirectory`. A program that does not start, hangs or crashes is reported as
// a test failure and gives exit code -1.
ToolResult
runTool(const QString& program, const QStringList& arguments, const QString& workingDirectory,
        const QByteArray& input = QByteArray(),
        const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment());

// The tool refused the command line: exit 2, nothing on standard output, one line on standard
// error naming the tool.
void expectUsageError(const ToolResult& result);
// The operation failed: exit 1, nothing on standard output, one line on standard error naming
// the tool.
void expectFailure(const ToolResult& result);
// What was asked about is not there: the same, with exit 3.
void expectNotFound(const ToolResult& result);
// Nothing on standard output, one line on standard error naming the tool, and `exitCode`.
void expectOneLineReport(const ToolResult& result, int exitCode);

} // namespace tavmms_test

#endif
