// mmsutil settings ...: the phone's MMS settings one by one, through MMS_UTIL_Setting, with the
// values of the default profile among them.

#include "commands.h"
#include "settingshelpers.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QTextStream>

namespace
{

int runShow(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints a JSON object with one member per "
                                                 "setting: {value, isDefault, group, key}."));
    QCommandLineParser parser;
    parser.addOption(json);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    if (const std::optional<int> stop = cli::failWhenSettingsUnreadable())
        return *stop;
    const QString profile = MMS_UTIL_Setting::getDefaultMMSProfile();
    QList<cli::ShownValue> values;
    for (const cli::Setting& setting : cli::settings())
        values.append(cli::showSetting(setting, profile));
    return cli::showValues(values, parser.isSet(json));
}

// "  name  description" lines of the settings that "settings set" changes.
QString settingTable()
{
    QList<const cli::Setting*> settable;
    qsizetype width = 0;
    for (const cli::Setting& setting : cli::settings()) {
        if (setting.write) {
            settable.append(&setting);
            width = qMax(width, qsizetype(qstrlen(setting.name)));
        }
    }
    QStringList lines;
    for (const cli::Setting* setting : settable)
        lines << QStringLiteral("  %1  %2")
                     .arg(QLatin1String(setting->name), -int(width))
                     .arg(QLatin1String(setting->description));
    return lines.join(QLatin1Char('\n'));
}

int runSet(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Flags take on or off (1 or 0, true or false); the last five are those "
                       "of the default profile.\n\nSettings:\n") +
        settingTable());
    parser.addPositionalArgument(QStringLiteral("NAME"), QStringLiteral("The setting."));
    parser.addPositionalArgument(QStringLiteral("VALUE"), QStringLiteral("Its new value."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 2))
        return *stop;
    const QString name = parser.positionalArguments().at(0);
    const cli::Setting* setting = cli::settingNamed(name);
    if (!setting)
        return cli::usageError(command.name, QStringLiteral("unknown setting '%1'").arg(name));
    if (!setting->write)
        return cli::usageError(
            command.name, QStringLiteral("%1 is not set here (see 'mmsutil block')").arg(name));
    QString error;
    const std::optional<QVariant> value =
        cli::parseValue(*setting, parser.positionalArguments().at(1), &error);
    if (!value)
        return cli::usageError(command.name, error);
    QString profile;
    if (setting->perProfile) {
        profile = MMS_UTIL_Setting::getDefaultMMSProfile();
        if (profile.isEmpty())
            return cli::fail(QStringLiteral("cannot set %1: there is no default profile (choose "
                                            "one with 'mmsutil profile default NAME')")
                                 .arg(name));
    }
    return cli::changeSetting(*setting, profile, *value);
}

} // namespace

QList<cli::Command> settingsCommands()
{
    return {
        {QStringLiteral("settings show"),
         QStringLiteral("Prints every MMS setting, and whether it is stored or the default."),
         runShow},
        {QStringLiteral("settings set"), QStringLiteral("Changes one MMS setting."), runSet},
    };
}
