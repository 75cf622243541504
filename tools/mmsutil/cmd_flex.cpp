// mmsutil flex ...: the phone's feature flags, as the platform keeps them.

#include "commands.h"
#include "settingshelpers.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QTextStream>

#include <climits>

namespace
{

const QString kIdHelp = QStringLiteral("The flag's number, e.g. 49 (filter of blocked senders), "
                                       "50 (sender visibility) or 112 (CHW available).");

// The flag's number given as the first argument; gives the exit status when it is not one.
std::optional<int> flagId(const cli::Command& command, const QCommandLineParser& parser,
                          SETUP_FLEX_ID_T* id)
{
    const QString text = parser.positionalArguments().constFirst();
    const std::optional<unsigned int> number = cli::parseNumber(text, INT_MAX);
    if (!number)
        return cli::usageError(command.name, QStringLiteral("'%1' is not a flag number").arg(text));
    *id = SETUP_FLEX_ID_T(*number);
    return std::nullopt;
}

int runGet(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary + QStringLiteral(" Prints on, off, or unset when the platform does not "
                                         "know the flag (the library then takes it as on)."));
    parser.addPositionalArgument(QStringLiteral("ID"), kIdHelp);
    SETUP_FLEX_ID_T id = 0;
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    if (const std::optional<int> stop = flagId(command, parser, &id))
        return *stop;
    if (const std::optional<int> stop = cli::failWhenSettingsUnreadable())
        return *stop;
    bool value = false;
    SETUP_Utility utility;
    if (!utility.getFlexBit(id, value))
        cli::out() << "unset\n";
    else
        cli::out() << (value ? "on\n" : "off\n");
    return cli::ExitOk;
}

int runSet(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("ID"), kIdHelp);
    parser.addPositionalArgument(QStringLiteral("VALUE"),
                                 QStringLiteral("on or off (1 or 0, true or false)."));
    SETUP_FLEX_ID_T id = 0;
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 2))
        return *stop;
    if (const std::optional<int> stop = flagId(command, parser, &id))
        return *stop;
    const QString text = parser.positionalArguments().at(1);
    const std::optional<int> on = cli::parseFlag(text);
    if (!on)
        return cli::usageError(command.name, QStringLiteral("'%1' is not on or off").arg(text));
    errno = 0;
    const bool written = tavmms::settings::setFeatureFlag(id, *on != 0);
    const int error = errno;
    return cli::reportChange(written, error, QStringLiteral("cannot set flag %1").arg(id));
}

} // namespace

QList<cli::Command> flexCommands()
{
    return {
        {QStringLiteral("flex get"), QStringLiteral("Prints a feature flag of the phone."), runGet},
        {QStringLiteral("flex set"), QStringLiteral("Switches a feature flag of the phone."),
         runSet},
    };
}
