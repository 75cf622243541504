// mmsutil media ...: the phone's table of the file extensions its media player plays, as the
// platform keeps it.

#include "commands.h"
#include "mmshelpers.h"
#include "settingshelpers.h"

#include <QCommandLineParser>
#include <QTextStream>

#include <climits>

namespace
{

struct Kind {
    const char* name;
    MP_Utility::MIME_TYPE_T kind;
};

const Kind kKinds[] = {
    {"audio", MP_Utility::MIME_TYPE_AUDIO},
    {"video", MP_Utility::MIME_TYPE_VIDEO},
};

const QString kKindHelp = QStringLiteral("audio or video.");

// Sets `kind` to the kind `text` names (in any letter case); gives the exit status when it names
// none.
std::optional<int> kindNamed(const cli::Command& command, const QString& text, const Kind** kind)
{
    for (const Kind& candidate : kKinds) {
        if (text.compare(QLatin1String(candidate.name), Qt::CaseInsensitive) == 0) {
            *kind = &candidate;
            return std::nullopt;
        }
    }
    return cli::usageError(command.name, QStringLiteral("'%1' is not audio or video").arg(text));
}

void printList(const Kind& kind)
{
    const QStringList extensions = tavmms::playableExtensions(kind.kind);
    cli::out() << kind.name << ':';
    for (const QString& extension : extensions)
        cli::out() << ' ' << extension;
    cli::out() << '\n';
}

int runList(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(command.summary +
                                     QStringLiteral(" One line per kind: its name, a colon and the "
                                                    "extensions in the player's order."));
    parser.addPositionalArgument(QStringLiteral("KIND"), kKindHelp, QStringLiteral("[KIND]"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0, 1))
        return *stop;
    if (parser.positionalArguments().isEmpty()) {
        for (const Kind& kind : kKinds)
            printList(kind);
        return cli::ExitOk;
    }
    const Kind* kind = nullptr;
    if (const std::optional<int> stop =
            kindNamed(command, parser.positionalArguments().constFirst(), &kind))
        return *stop;
    printList(*kind);
    return cli::ExitOk;
}

int runSet(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("KIND"), kKindHelp);
    parser.addPositionalArgument(
        QStringLiteral("EXT"),
        QStringLiteral("The extensions the player plays, without the dot, most common first."),
        QStringLiteral("EXT..."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 2, INT_MAX))
        return *stop;
    QStringList extensions = parser.positionalArguments();
    const Kind* kind = nullptr;
    if (const std::optional<int> stop = kindNamed(command, extensions.takeFirst(), &kind))
        return *stop;
    for (const QString& extension : std::as_const(extensions)) {
        QString error;
        if (!cli::parseExtension(extension, &error))
            return cli::usageError(command.name, error);
    }
    errno = 0;
    const bool written = tavmms::setPlayableExtensions(kind->kind, extensions);
    const int error = errno;
    return cli::reportChange(written, error,
                             QStringLiteral("cannot change the %1 list").arg(kind->name));
}

int runReset(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("KIND"), kKindHelp);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const Kind* kind = nullptr;
    if (const std::optional<int> stop =
            kindNamed(command, parser.positionalArguments().constFirst(), &kind))
        return *stop;
    errno = 0;
    const bool written = tavmms::resetPlayableExtensions(kind->kind);
    const int error = errno;
    return cli::reportChange(written, error,
                             QStringLiteral("cannot reset the %1 list").arg(kind->name));
}

} // namespace

QList<cli::Command> mediaCommands()
{
    return {
        {QStringLiteral("media list"),
         QStringLiteral("Prints the file extensions the phone's media player plays."), runList},
        {QStringLiteral("media set"),
         QStringLiteral("Replaces the audio or video extensions the player plays."), runSet},
        {QStringLiteral("media reset"),
         QStringLiteral("Gives the audio or video list back the extensions the phone comes with."),
         runReset},
    };
}
