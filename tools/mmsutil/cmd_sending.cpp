// mmsutil sending ...: the sending options that new messages take as their defaults.

#include "commands.h"
#include "settingshelpers.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QTextStream>

namespace
{

const QString kGlobalGroup = tavmms::settings::kGlobalGroup;

cli::SendingValues storedSendingValues()
{
    cli::SendingValues values{};
    MMS_UTIL_Setting::getSendingOption(values.deliveryReport, values.readReport, values.expiry,
                                       values.priority);
    return values;
}

int runShow(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints a JSON object with one member per "
                                                 "option: {value, isDefault, group, key}, and "
                                                 "the priority's code."));
    QCommandLineParser parser;
    parser.addOption(json);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    if (const std::optional<int> stop = cli::failWhenSettingsUnreadable())
        return *stop;
    const cli::SendingValues stored = storedSendingValues();
    // A code other than Low, Normal or High, written by another application, does not reach a
    // message's header.
    const QString word = MMS_UTIL_Common::priorityToString(stored.priority);
    cli::ShownValue priority{QStringLiteral("priority"),
                             kGlobalGroup,
                             QString(tavmms::settings::kSendPriority),
                             word,
                             word,
                             false,
                             {{QStringLiteral("code"), stored.priority}}};
    if (!cli::parsePriority(word))
        priority.text += QStringLiteral(" (%1)").arg(stored.priority);
    QList<cli::ShownValue> values{
        cli::flagValue(QStringLiteral("delivery-report"), kGlobalGroup,
                       QString(tavmms::settings::kDeliveryReport), stored.deliveryReport),
        cli::flagValue(QStringLiteral("read-report"), kGlobalGroup,
                       QString(tavmms::settings::kReadReport), stored.readReport),
        cli::numberValue(QStringLiteral("expiry"), kGlobalGroup,
                         QString(tavmms::settings::kExpireAfterSec), stored.expiry),
        priority,
    };
    return cli::showValues(values, parser.isSet(json));
}

int runSet(const cli::Command& command, const QStringList& arguments)
{
    const cli::SendingOptions sending{QString()};
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary + QStringLiteral(" Options not given keep their values. All four are "
                                         "written together: when one cannot be written, none "
                                         "changes."));
    parser.addOptions(sending.options());
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    QString error;
    const std::optional<cli::SendingChoice> choice = sending.choice(parser, &error);
    if (!choice)
        return cli::usageError(command.name, error);
    if (!choice->any())
        return cli::usageError(command.name, QStringLiteral("give at least one option to set"));
    const QString what = QStringLiteral("cannot set the sending options");
    return cli::changeTogether(what, [&] {
        cli::SendingValues values = storedSendingValues();
        choice->applyTo(&values);
        return cli::reportChange(cli::callWriter([&] {
                                     return MMS_UTIL_Setting::setSendingOption(
                                         values.deliveryReport, values.readReport, values.expiry,
                                         values.priority);
                                 }),
                                 cli::kWriterCodes, what);
    });
}

} // namespace

QList<cli::Command> sendingCommands()
{
    return {
        {QStringLiteral("sending show"),
         QStringLiteral("Prints the sending options that new messages take."), runShow},
        {QStringLiteral("sending set"), QStringLiteral("Changes sending options."), runSet},
    };
}
