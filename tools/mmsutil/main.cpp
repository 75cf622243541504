// mmsutil: reads and writes the mail files, the message index and the MMS settings of the MMS
// utility library from the command line.
//
// A command is one word ("paths") or a group word and a command word ("mailfile write"); each group
// lives in its own cmd_<group>.cpp and hands its commands to the table below.

#include "cli.h"
#include "commands.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

namespace
{

QList<cli::Command> allCommands()
{
    return messageCommands() + partsCommands() + exportCommands() + backupCommands() +
           restoreCommands() + mmscCommands() + mailfileCommands() + pduCommands() +
           indexCommands() + checkCommands() + settingsCommands() + profileCommands() +
           blockCommands() + sendingCommands() + flexCommands() + contactsCommands() +
           classifyCommands() + contentTypeCommands() + extensionCommands() + mediaCommands() +
           pathsCommands();
}

QString firstWord(const QString& name)
{
    return name.section(QLatin1Char(' '), 0, 0);
}

// The words name a group but no command of it: prints the group's help, or reports the mistake.
int runGroup(const QString& group, const QList<cli::Command>& members, const QStringList& words)
{
    QStringList names;
    for (const cli::Command& command : members)
        names << command.name.section(QLatin1Char(' '), 1);
    if (words.size() > 1 && cli::isHelpOption(words.at(1))) {
        cli::out() << QStringLiteral("Usage: mmsutil %1 <command> [options] [arguments]\n\n"
                                     "Commands:\n%2\n"
                                     "'mmsutil %1 <command> --help' describes a command.\n")
                          .arg(group, cli::commandTable(members, group));
        return cli::ExitOk;
    }
    if (words.size() == 1)
        return cli::usageError(group, QStringLiteral("missing command, expected one of %1")
                                          .arg(names.join(QStringLiteral(", "))));
    return cli::usageError(group, QStringLiteral("unknown command '%1', expected one of %2")
                                      .arg(words.at(1), names.join(QStringLiteral(", "))));
}

int dispatch(const QStringList& words)
{
    const QList<cli::Command> commands = allCommands();
    for (const cli::Command& command : commands) {
        const QStringList name = command.name.split(QLatin1Char(' '));
        if (words.mid(0, name.size()) == name)
            return command.run(command, words.mid(name.size()));
    }
    QList<cli::Command> group;
    for (const cli::Command& command : commands) {
        if (firstWord(command.name) == words.constFirst())
            group.append(command);
    }
    if (group.isEmpty())
        return cli::usageError(QString(),
                               QStringLiteral("unknown command '%1'").arg(words.constFirst()));
    return runGroup(words.constFirst(), group, words);
}

int run(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Reads and writes the mail files, the message index and the MMS settings "
                       "of the MMS utility library.\n\nCommands:\n") +
        cli::commandTable(allCommands()) +
        QStringLiteral("\n'mmsutil <command> --help' describes a command.\n\n") +
        QLatin1String(cli::kExitCodeTable));
    const QCommandLineOption help = cli::helpOption();
    const QCommandLineOption version(QStringList{QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Displays the version."));
    parser.addOptions({help, version});
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("The command, followed by its own options and "
                                                "arguments."),
                                 QStringLiteral("<command> [options] [arguments]"));
    // Everything from the command word on belongs to the command.
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    if (!parser.parse(arguments))
        return cli::usageError(QString(), cli::asClause(parser.errorText()));
    if (parser.isSet(help)) {
        cli::out() << cli::helpText(parser, QString());
        return cli::ExitOk;
    }
    if (parser.isSet(version)) {
        cli::out() << QCoreApplication::applicationName() << ' '
                   << QCoreApplication::applicationVersion() << '\n';
        return cli::ExitOk;
    }
    const QStringList words = parser.positionalArguments();
    if (words.isEmpty())
        return cli::usageError(QString(), QStringLiteral("missing command"));
    return dispatch(words);
}

} // namespace

int main(int argc, char** argv)
{
    cli::applyDownloadPathDefault();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("mmsutil"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TAVMMS_VERSION));
    const int code = run(QCoreApplication::arguments());
    if (!cli::flushOutput() && code == cli::ExitOk)
        return cli::ExitFailed;
    return code;
}
