#include "cli.h"

#include <display_text.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <limits>

#include <unistd.h>

namespace cli
{

namespace
{

const QString kTool = QStringLiteral("mmsutil");

// What the commands have written for standard output and not yet printed.
QString& pendingOutput()
{
    static QString text;
    return text;
}

bool writeTo(std::FILE* stream, const QByteArray& bytes)
{
    return std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream) ==
               size_t(bytes.size()) &&
           std::fflush(stream) == 0;
}

// Every line for a person passes here: a message or a contact may hold any character, and none
// of them may reach the terminal raw. The line breaks are the printer's own.
bool print(std::FILE* stream, const QString& text)
{
    return writeTo(stream, tavmms::store::displayText(text, true).toUtf8());
}

void printError(const QString& message)
{
    flushOutput(); // what came before the error stays before it
    print(stderr,
          kTool + QStringLiteral(": ") + tavmms::store::oneLine(message) + QLatin1Char('\n'));
}

} // namespace

QString asClause(QString text)
{
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    if (!text.isEmpty())
        text[0] = text[0].toLower();
    return text;
}

QCommandLineOption helpOption()
{
    return QCommandLineOption(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                              QStringLiteral("Displays this help."));
}

namespace
{

std::optional<QString>& appliedDownloadPath()
{
    static std::optional<QString> path;
    return path;
}

} // namespace

std::optional<QString> applyDownloadPathDefault()
{
    if (!qEnvironmentVariableIsEmpty("TAV_LOCAL_DOWNLOAD_PATH"))
        return std::nullopt;
    QString data = qEnvironmentVariable("XDG_DATA_HOME");
    if (data.isEmpty()) {
        const QString home = qEnvironmentVariable("HOME");
        if (home.isEmpty())
            return std::nullopt;
        data = home + QStringLiteral("/.local/share");
    }
    const QString path = data + QStringLiteral("/tavmms/download");
    qputenv("TAV_LOCAL_DOWNLOAD_PATH", QFile::encodeName(path));
    appliedDownloadPath() = path;
    return path;
}

std::optional<QString> downloadPathDefaultApplied()
{
    return appliedDownloadPath();
}

QCommandLineOption jsonOption(const QString& what)
{
    return QCommandLineOption(QStringLiteral("json"),
                              QStringLiteral("Prints %1 as JSON.").arg(what));
}

bool isHelpOption(const QString& argument)
{
    return argument == QLatin1String("-h") || argument == QLatin1String("--help");
}

std::optional<int> parse(QCommandLineParser& parser, const Command& command,
                         const QStringList& arguments, int minimum, int maximum)
{
    const QCommandLineOption help = helpOption();
    parser.addOption(help);
    if (parser.applicationDescription().isEmpty())
        parser.setApplicationDescription(command.summary);
    // The parser skips the first element, which would be the program's path.
    if (!parser.parse(QStringList{kTool} + arguments))
        return usageError(command.name, asClause(parser.errorText()));
    if (parser.isSet(help)) {
        out() << helpText(parser, command.name);
        return ExitOk;
    }
    const int count = int(parser.positionalArguments().size());
    if (count < minimum)
        return usageError(command.name, QStringLiteral("missing argument"));
    if (count > maximum)
        return usageError(command.name, QStringLiteral("unexpected argument '%1'")
                                            .arg(parser.positionalArguments().at(maximum)));
    return std::nullopt;
}

QString helpText(const QCommandLineParser& parser, const QString& words)
{
    QString text = parser.helpText();
    const QString usage = QStringLiteral("Usage: ");
    const QString started = usage + QCoreApplication::arguments().constFirst();
    if (text.startsWith(started))
        text.replace(0, started.size(),
                     usage + (words.isEmpty() ? kTool : kTool + QLatin1Char(' ') + words));
    return text;
}

QString commandTable(const QList<Command>& commands, const QString& prefix)
{
    const auto shortName = [&prefix](const Command& command) {
        return prefix.isEmpty() ? command.name : command.name.mid(prefix.size() + 1);
    };
    qsizetype width = 0;
    for (const Command& command : commands)
        width = qMax(width, shortName(command).size());
    QString table;
    for (const Command& command : commands)
        table +=
            QStringLiteral("  %1  %2\n").arg(shortName(command), -int(width)).arg(command.summary);
    return table;
}

const char* const kExitCodeTable =
    "Exit status: 0 done; 1 failed; 2 bad usage; 3 the answer is no (not found, nothing matched, "
    "not blocked, no owner); 4 refused by policy (a blocked sender, over the size limit, a "
    "duplicate).";

int fail(const QString& message)
{
    printError(message);
    return ExitFailed;
}

int notFound(const QString& message)
{
    printError(message);
    return ExitNo;
}

void warn(const QString& message)
{
    printError(message);
}

void progressLine(const QString& text)
{
    static const bool terminal = isatty(STDERR_FILENO) == 1;
    if (!terminal)
        return;
    // Back to the line's start, and the rest of the line erased.
    const QString line = text.isEmpty() ? QString() : kTool + QStringLiteral(": ") + text;
    std::fputs(("\r\x1b[K" + line.toLocal8Bit()).constData(), stderr);
    std::fflush(stderr);
}

int usageError(const QString& context, const QString& message)
{
    if (context.isEmpty())
        printError(QStringLiteral("%1 (see '%2 --help')").arg(message, kTool));
    else
        printError(QStringLiteral("%1: %2 (see '%3 %1 --help')").arg(context, message, kTool));
    return ExitUsage;
}

QTextStream& out()
{
    static QTextStream stream(&pendingOutput());
    return stream;
}

bool flushOutput()
{
    out().flush();
    const bool printed = print(stdout, pendingOutput());
    pendingOutput().clear();
    return printed;
}

int printJson(const QJsonDocument& document)
{
    if (!flushOutput() ||
        !writeTo(stdout, tavmms::store::displayJson(document.toJson(QJsonDocument::Indented))))
        return fail(QStringLiteral("cannot write to standard output"));
    return ExitOk;
}

int writeBytes(const void* data, qint64 length)
{
    if (!flushOutput() ||
        !writeTo(stdout, QByteArray::fromRawData(static_cast<const char*>(data), length)))
        return fail(QStringLiteral("cannot write to standard output"));
    return ExitOk;
}

std::optional<QByteArray> readInput(const QString& path, qint64 largest)
{
    QFile file(path);
    const bool opened = path == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly)
                                                   : file.open(QIODevice::ReadOnly);
    QByteArray data;
    const qint64 wanted = largest < 0 ? std::numeric_limits<qint64>::max() : largest + 1;
    const qint64 size = opened && !file.isSequential() ? file.size() : 0;
    data.reserve(qMin(size > 0 ? size : qint64(64 * 1024), wanted));
    while (opened && data.size() < wanted) {
        const QByteArray chunk = file.read(qMin(wanted - data.size(), qint64(1024 * 1024)));
        if (chunk.isEmpty())
            break;
        data += chunk;
    }
    if (!opened || file.error() != QFileDevice::NoError) {
        fail(QStringLiteral("cannot read '%1': %2").arg(path, file.errorString()));
        return std::nullopt;
    }
    return data;
}

} // namespace cli
