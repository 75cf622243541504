// mmsutil block ...: the block list of senders, one text of addresses joined by commas.

#include "commands.h"
#include "settingshelpers.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

namespace
{

const QString kMatchHelp =
    QStringLiteral(" An address is blocked when a listed item contains it or it contains a listed "
                   "item (letter case counts): the item 12345 blocks +4912345 and also 234.");
const QString kListedHelp =
    QStringLiteral(" The items are compared as Latin-1 text: an address with a character beyond "
                   "it, which would never be found, is refused, as is one with a control "
                   "character.");

using AddressReader = std::optional<QString> (*)(const QString& text, QString* error);

// Parses a command that takes one address, read by `read`; gives the exit status when it must
// stop here.
std::optional<int> parseAddress(QCommandLineParser& parser, const cli::Command& command,
                                const QStringList& arguments, AddressReader read)
{
    parser.addPositionalArgument(QStringLiteral("ADDRESS"),
                                 QStringLiteral("A phone number or e-mail address."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return stop;
    QString error;
    if (!read(parser.positionalArguments().constFirst(), &error))
        return cli::usageError(command.name, error);
    return std::nullopt;
}

int runList(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption json =
        cli::jsonOption(QStringLiteral("an array of the blocked senders, each a string"));
    QCommandLineParser parser;
    parser.addOption(json);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    if (const std::optional<int> stop = cli::failWhenSettingsUnreadable())
        return *stop;
    const QString list = MMS_UTIL_Setting::getBlockList();
    const QStringList senders = list.isEmpty() ? QStringList() : list.split(QLatin1Char(','));
    if (parser.isSet(json))
        return cli::printJson(QJsonDocument(QJsonArray::fromStringList(senders)));
    for (const QString& sender : senders)
        cli::out() << sender << '\n';
    return cli::ExitOk;
}

int runAdd(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" An address that is blocked already is not added again: the tool says "
                       "so and exits with 3.") +
        kMatchHelp + kListedHelp);
    if (const std::optional<int> stop =
            parseAddress(parser, command, arguments, tavmms::store::parseAddressToBlock))
        return *stop;
    const QString address = parser.positionalArguments().constFirst();
    return cli::reportChange(
        cli::callWriter([&] { return MMS_UTIL_Setting::addToBlockList(address); }),
        cli::kAddToBlockListCodes, QStringLiteral("cannot block '%1'").arg(address),
        QStringLiteral("'%1' is already blocked").arg(address));
}

int runCheck(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Prints \"blocked\" and exits with 0, or prints \"not blocked\" and exits "
                       "with 3.") +
        kMatchHelp);
    if (const std::optional<int> stop =
            parseAddress(parser, command, arguments, tavmms::store::parseBlockAddress))
        return *stop;
    if (const std::optional<int> stop = cli::failWhenSettingsUnreadable())
        return *stop;
    if (MMS_UTIL_Setting::isInBlockList(parser.positionalArguments().constFirst())) {
        cli::out() << "blocked\n";
        return cli::ExitOk;
    }
    cli::out() << "not blocked\n";
    return cli::ExitNo;
}

int runSet(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(command.summary + kListedHelp);
    parser.addPositionalArgument(QStringLiteral("LIST"),
                                 QStringLiteral("Addresses joined by commas, without blanks; \"\" "
                                                "empties the list."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    QString error;
    const std::optional<QString> list =
        tavmms::store::parseBlockList(parser.positionalArguments().constFirst(), &error);
    if (!list)
        return cli::usageError(command.name, error);
    return cli::reportChange(cli::callWriter([&] { return MMS_UTIL_Setting::setBlockList(*list); }),
                             cli::kWriterCodes, QStringLiteral("cannot set the block list"));
}

} // namespace

QList<cli::Command> blockCommands()
{
    return {
        {QStringLiteral("block list"), QStringLiteral("Prints the blocked senders, one a line."),
         runList},
        {QStringLiteral("block add"), QStringLiteral("Adds a sender to the block list."), runAdd},
        {QStringLiteral("block check"), QStringLiteral("Tells whether a sender is blocked."),
         runCheck},
        {QStringLiteral("block set"), QStringLiteral("Replaces the whole block list."), runSet},
    };
}
