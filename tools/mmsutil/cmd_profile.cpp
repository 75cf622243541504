// mmsutil profile ...: the named MMS profiles, their connection values and the default one.

#include "commands.h"
#include "settingshelpers.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace
{

const QString kNameHelp = QStringLiteral("The profile's name (any text but an empty one).");

// Parses a command whose first argument is a profile name; gives the exit status when it must
// stop here.
std::optional<int> parseNamed(QCommandLineParser& parser, const cli::Command& command,
                              const QStringList& arguments)
{
    parser.addPositionalArgument(QStringLiteral("NAME"), kNameHelp);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return stop;
    if (parser.positionalArguments().constFirst().isEmpty())
        return cli::usageError(command.name, QStringLiteral("the profile name is empty"));
    return std::nullopt;
}

int runList(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption json = cli::jsonOption(
        QStringLiteral("an array of the profiles, each an object {name, isDefaultProfile}"));
    QCommandLineParser parser;
    parser.addOption(json);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    if (const std::optional<int> stop = cli::failWhenSettingsUnreadable())
        return *stop;
    const QStringList names = MMS_UTIL_Setting::getMMSProfiles();
    if (parser.isSet(json)) {
        const QString defaultName = MMS_UTIL_Setting::getDefaultMMSProfile();
        QJsonArray profiles;
        for (const QString& name : names)
            profiles.append(QJsonObject{{QStringLiteral("name"), name},
                                        {QStringLiteral("isDefaultProfile"), name == defaultName}});
        return cli::printJson(QJsonDocument(profiles));
    }
    for (const QString& name : names)
        cli::out() << textout::oneLine(name) << '\n';
    return cli::ExitOk;
}

int runAdd(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const std::optional<int> stop = parseNamed(parser, command, arguments))
        return *stop;
    const QString name = parser.positionalArguments().constFirst();
    QString error;
    if (!tavmms::store::parseProfileName(name, &error))
        return cli::usageError(command.name, error);
    return cli::reportChange(cli::callWriter([&] { return MMS_UTIL_Setting::addProfile(name); }),
                             cli::kAddProfileCodes,
                             QStringLiteral("cannot add profile %1").arg(cli::quoted(name)),
                             QStringLiteral("profile %1 is already listed").arg(cli::quoted(name)));
}

int runDel(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const std::optional<int> stop = parseNamed(parser, command, arguments))
        return *stop;
    const QString name = parser.positionalArguments().constFirst();
    const QString what = QStringLiteral("cannot delete profile %1").arg(cli::quoted(name));
    // The name leaves the list and its values go with it, or nothing changes.
    return cli::changeTogether(what, [&]() -> int {
        if (!cli::profileListed(name))
            return cli::ExitNo;
        return cli::reportChange(
            cli::callWriter([&] { return tavmms::settings::deleteProfile(name); }),
            cli::kWriterCodes, what);
    });
}

int runShow(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption json(
        QStringLiteral("json"),
        QStringLiteral("Prints a JSON object {name, isDefaultProfile, values}, values with one "
                       "member per setting: {value, isDefault, group, key}."));
    QCommandLineParser parser;
    parser.addOption(json);
    if (const std::optional<int> stop = parseNamed(parser, command, arguments))
        return *stop;
    if (const std::optional<int> stop = cli::failWhenSettingsUnreadable())
        return *stop;
    const QString name = parser.positionalArguments().constFirst();
    if (!cli::profileListed(name))
        return cli::ExitNo;
    QList<cli::ShownValue> values;
    for (const cli::Setting& setting : cli::profileSettings())
        values.append(cli::showSetting(setting, name));
    cli::markStored(&values);
    const bool isDefault = MMS_UTIL_Setting::getDefaultMMSProfile() == name;
    if (parser.isSet(json)) {
        const QJsonObject document{{QStringLiteral("name"), name},
                                   {QStringLiteral("isDefaultProfile"), isDefault},
                                   {QStringLiteral("values"), cli::valuesToJson(values)}};
        return cli::printJson(QJsonDocument(document));
    }
    cli::out() << "Profile " << cli::quoted(name)
               << (isDefault ? " (the default profile)\n" : "\n");
    cli::printValues(values);
    return cli::ExitOk;
}

int runSet(const cli::Command& command, const QStringList& arguments)
{
    const QList<cli::Setting> settings = cli::profileSettings();
    QList<QCommandLineOption> options;
    for (const cli::Setting& setting : settings)
        options.append(
            QCommandLineOption(QLatin1String(setting.name), QLatin1String(setting.description),
                               setting.kind == cli::Kind::Number        ? QStringLiteral("N")
                               : setting.kind == cli::Kind::Ipv4Address ? QStringLiteral("ADDRESS")
                                                                        : QStringLiteral("TEXT")));
    QCommandLineParser parser;
    parser.setApplicationDescription(command.summary +
                                     QStringLiteral(" Values not given stay as they are. The "
                                                    "others are written together: when one "
                                                    "cannot be written, none changes."));
    parser.addOptions(options);
    if (const std::optional<int> stop = parseNamed(parser, command, arguments))
        return *stop;
    QList<std::pair<const cli::Setting*, QVariant>> changes;
    for (qsizetype i = 0; i < settings.size(); ++i) {
        if (!parser.isSet(options.at(i)))
            continue;
        QString error;
        const std::optional<QVariant> value =
            cli::parseValue(settings.at(i), parser.value(options.at(i)), &error);
        if (!value)
            return cli::usageError(command.name, QStringLiteral("--") + error);
        changes.append({&settings.at(i), *value});
    }
    if (changes.isEmpty())
        return cli::usageError(command.name, QStringLiteral("give at least one value to set"));
    const QString name = parser.positionalArguments().constFirst();
    return cli::changeTogether(
        QStringLiteral("cannot set profile %1").arg(cli::quoted(name)), [&]() -> int {
            if (!cli::profileListed(name))
                return cli::ExitNo;
            for (const auto& [setting, value] : changes) {
                if (const int status = cli::changeSetting(*setting, name, value))
                    return status;
            }
            return cli::ExitOk;
        });
}

int runDefault(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("NAME"),
                                 QStringLiteral("A listed profile to make the default one; \"\" "
                                                "leaves no default. Without NAME, prints the "
                                                "default profile's name (nothing when there is "
                                                "none)."),
                                 QStringLiteral("[NAME]"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0, 1))
        return *stop;
    if (parser.positionalArguments().isEmpty()) {
        const QString name = MMS_UTIL_Setting::getDefaultMMSProfile();
        if (!name.isEmpty())
            cli::out() << name << '\n';
        return cli::ExitOk;
    }
    return cli::changeSetting(*cli::settingNamed(QStringLiteral("default-profile")), QString(),
                              parser.positionalArguments().constFirst());
}

} // namespace

QList<cli::Command> profileCommands()
{
    return {
        {QStringLiteral("profile list"),
         QStringLiteral("Prints the names of the MMS profiles, one a line, in code-unit order."),
         runList},
        {QStringLiteral("profile add"), QStringLiteral("Adds a profile to the list."), runAdd},
        {QStringLiteral("profile del"),
         QStringLiteral("Deletes a profile and its values; the default is left as it is."), runDel},
        {QStringLiteral("profile show"), QStringLiteral("Prints the values of a profile."),
         runShow},
        {QStringLiteral("profile set"), QStringLiteral("Changes values of a profile."), runSet},
        {QStringLiteral("profile default"),
         QStringLiteral("Prints or chooses the default profile."), runDefault},
    };
}
