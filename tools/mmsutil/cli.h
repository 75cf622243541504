#ifndef MMSUTIL_CLI_H
#define MMSUTIL_CLI_H

// The frame every mmsutil command runs in: its table entry, option parsing with --help, exit codes
// and the one-line error reports.

#include <user_input.h>

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

class QByteArray;
class QCommandLineOption;
class QCommandLineParser;
class QJsonDocument;
class QTextStream;

namespace cli
{

enum ExitCode {
    ExitOk = 0,
    ExitFailed = 1, // the operation was tried and failed
    ExitUsage = 2,  // the command line was wrong; nothing was done
    // The command ran and the answer is no: the address is not blocked, what was to be added
    // was there already so nothing changed, or nothing was found.
    ExitNo = 3,
    // Refused by policy: a blocked sender, a body over the size limit, a message kept already;
    // nothing stored.
    ExitRefused = 4,
};

// The exit codes as --help and the README give them.
extern const char* const kExitCodeTable;

struct Command;
// Runs a command with the arguments that follow its name; returns the exit code.
using Runner = int (*)(const Command& command, const QStringList& arguments);

struct Command {
    QString name;    // the words that select the command, e.g. "mailfile write"
    QString summary; // one line, shown in the command lists and on top of the command's help
    Runner run;
};

// When TAV_LOCAL_DOWNLOAD_PATH is unset (or empty), sets it for this process to
// $XDG_DATA_HOME/tavmms/download ($HOME/.local/share when XDG_DATA_HOME is unset), the directory
// `make run` uses, so that the tool never writes at the root of the file system; main() calls it
// before any library call. Gives the path set, or nothing when the variable was set already (or
// there is no home directory to put it under).
std::optional<QString> applyDownloadPathDefault();
// What applyDownloadPathDefault() set, for `paths` to say so.
std::optional<QString> downloadPathDefaultApplied();

// -h, --help, which every command and group takes.
QCommandLineOption helpOption();
// --json, for a command that prints records: "Prints <what> as JSON."
QCommandLineOption jsonOption(const QString& what);
bool isHelpOption(const QString& argument);

// Adds --help and the usage line to `parser`, then parses `arguments`. The help shows the
// command's summary unless the parser was given a description of its own. Returns an exit code when
// the command must stop here (help was printed, or the command line is wrong and was reported),
// nothing when it goes on. The number of positional arguments must lie in [minimum, maximum].
std::optional<int> parse(QCommandLineParser& parser, const Command& command,
                         const QStringList& arguments, int minimum, int maximum);
inline std::optional<int> parse(QCommandLineParser& parser, const Command& command,
                                const QStringList& arguments, int count)
{
    return parse(parser, command, arguments, count, count);
}

// The help text of `parser` with its usage line naming `words` (e.g. "mailfile write") in place of
// the path the tool was started by.
QString helpText(const QCommandLineParser& parser, const QString& words);
// "  name    summary" lines for `commands`, each name shortened by the leading `prefix` words.
QString commandTable(const QList<Command>& commands, const QString& prefix = QString());

using tavmms::store::parseNumber;

// Qt's parser messages ("Unknown option 'x'.") made fit for the middle of a report
// ("unknown option 'x'").
QString asClause(QString text);

// Writes "mmsutil: <message>" to standard error and returns ExitFailed.
int fail(const QString& message);
// The same for what was asked about and is not there ("no row 7"); returns ExitNo.
int notFound(const QString& message);
// Writes "mmsutil: <message>" to standard error, for a warning that stops nothing.
void warn(const QString& message);
// Shows "mmsutil: <text>" on standard error in place of the last such line, for a long run's
// progress; an empty text takes the line away. Nothing when standard error is no terminal, where
// a line rewritten in place would only clutter a log.
void progressLine(const QString& text);
// Writes "mmsutil: <context>: <message> (see 'mmsutil <context> --help')" to standard error and
// returns ExitUsage; an empty context stands for the tool itself.
int usageError(const QString& context, const QString& message);

// Standard output for a person: what is written here is printed, with every character that must
// not reach a terminal raw escaped (displayText), when flushOutput() runs; main() runs it before
// the tool exits, and the writers below before they write.
QTextStream& out();
// Prints what out() holds; false when standard output cannot be written.
bool flushOutput();
// Prints `document` on standard output, indented, as JSON that shows no raw control or direction
// character; ExitOk, or ExitFailed after reporting.
int printJson(const QJsonDocument& document);
// Writes raw bytes to standard output, asked for on purpose (a body, a part); ExitOk, or
// ExitFailed after reporting.
int writeBytes(const void* data, qint64 length);

// The whole content of the file `path`, or of standard input for "-"; reports and gives nothing
// when it cannot be read. Given `largest`, it reads no more than one byte over it, so that an
// endless input (/dev/zero) ends too: a result longer than `largest` is cut there.
std::optional<QByteArray> readInput(const QString& path, qint64 largest = -1);

} // namespace cli

#endif
