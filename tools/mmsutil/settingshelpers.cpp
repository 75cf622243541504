#include "settingshelpers.h"

#include "cli.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>
#include <QSet>
#include <QTextStream>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>

namespace cli
{

const ResultCodes kWriterCodes = {Change::Made, Change::Refused, Change::StorageFull,
                                  Change::Refused};
const ResultCodes kAddProfileCodes = {Change::Made, Change::AlreadyThere, Change::StorageFull,
                                      Change::Refused};
const ResultCodes kAddToBlockListCodes = {Change::Made, Change::Refused, Change::StorageFull,
                                          Change::AlreadyThere};

namespace
{

// What each outcome tells the user, and the tool's exit status for it.
struct Outcome {
    Change change;
    const char* message;
    ExitCode exit;
};
const Outcome kOutcomes[] = {
    {Change::Made, nullptr, ExitOk},
    {Change::Refused, "the settings store refused the change", ExitFailed},
    {Change::StorageFull, "no space left on device", ExitFailed},
    {Change::AlreadyThere, nullptr, ExitNo}, // told in the caller's words
};

int report(Change change, int error, const QString& what, const QString& alreadyThere)
{
    const Outcome* outcome =
        std::find_if(std::begin(kOutcomes), std::end(kOutcomes),
                     [change](const Outcome& o) { return o.change == change; });
    if (change == Change::AlreadyThere) {
        fail(alreadyThere);
    } else if (outcome->message) {
        QString message = what + QStringLiteral(": ") + QLatin1String(outcome->message);
        if (change == Change::Refused && error != 0)
            message += QStringLiteral(" (%1)").arg(QString::fromLocal8Bit(std::strerror(error)));
        fail(message);
    }
    return outcome->exit;
}

// The table. The profile values are reached by the profile's name; the global ones ignore it.
// Numbers stop where the store's form for them does: the int form at INT_MAX, the unsigned int
// form at UINT_MAX, the connection types at one byte.
const QList<Setting> kSettings = {
    {"roaming-delayed-retrieval", tavmms::settings::kRoamingDelayedRetrieval, Kind::Flag, 1, false,
     "Retrieve messages later while roaming (on or off).",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getRoamingDelayedRetrieval()); },
     [](const QString&, const QVariant& v) {
         return MMS_UTIL_Setting::setRoamingDelayedRetrieval(v.toInt());
     },
     nullptr},
    {"mt-size-limitation", tavmms::settings::kMTSizeLimitationState, Kind::Flag, 1, false,
     "Apply max-mt-size to received messages (on or off).",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getMTSizeLimitationState()); },
     [](const QString&, const QVariant& v) {
         return MMS_UTIL_Setting::setMTSizeLimitationState(v.toInt());
     },
     nullptr},
    {"auto-retrieval", tavmms::settings::kAutoDownload, Kind::Flag, 1, false,
     "Retrieve new messages at once (on or off).",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getAutoRetrievalSetting()); },
     [](const QString&, const QVariant& v) {
         return MMS_UTIL_Setting::setAutoRetrievalSetting(v.toInt());
     },
     nullptr},
    {"max-mo-size", tavmms::settings::kMaxMOSize, Kind::Number, INT_MAX, false,
     "Size limit of composed messages' bodies, in KB of 1,024 bytes; 0: no limit.",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getMaxiumMOMMSSize(1)); },
     [](const QString&, const QVariant& v) {
         return MMS_UTIL_Setting::setMaxiumMOMMSSize(v.toInt());
     },
     &tavmms::store::MessageStore::composeLimit},
    {"max-mt-size", tavmms::settings::kMaxMTSize, Kind::Number, INT_MAX, false,
     "Size limit of received messages' bodies while mt-size-limitation is on, in KB of 1,024 "
     "bytes; 0: no limit.",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getMaxiumMTMMSSize()); },
     [](const QString&, const QVariant& v) {
         return MMS_UTIL_Setting::setMaxiumMTMMSSize(v.toInt());
     },
     &tavmms::store::MessageStore::receiveLimit},
    {"sender-visibility", tavmms::settings::kSenderVisible, Kind::Flag, 1, false,
     "Show the sender's number to recipients (on or off).",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getSenderVisibility()); },
     [](const QString&, const QVariant& v) {
         return MMS_UTIL_Setting::setSenderVisibility(v.toInt());
     },
     nullptr},
    {"expire-after-sec", tavmms::settings::kExpireAfterSec, Kind::Number, INT_MAX, false,
     "Validity of a sent message, in seconds (the sending options' expiry).",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getExpireAfterSec()); },
     [](const QString&, const QVariant& v) {
         return MMS_UTIL_Setting::setExpireAfterSec(v.toInt());
     },
     nullptr},
    {"delivery-report-allowed", tavmms::settings::kDeliRepAllowed, Kind::Flag, 1, false,
     "Let senders have delivery reports of received messages (on or off).",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getDeliveryRepAllowedity()); },
     [](const QString&, const QVariant& v) {
         return MMS_UTIL_Setting::setDeliveryRepAllowedity(v.toInt());
     },
     nullptr},
    {"default-profile", tavmms::settings::kDefaultProfile, Kind::ProfileName, 0, false,
     "The default MMS profile: a listed profile, or \"\" for none.",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getDefaultMMSProfile()); },
     [](const QString&, const QVariant& v) {
         return MMS_UTIL_Setting::setDefaultMMSProfile(v.toString());
     },
     nullptr},
    {"block-list", tavmms::settings::kBlockList, Kind::Text, 0, false,
     "Blocked senders, joined by commas (see 'mmsutil block').",
     [](const QString&) { return QVariant(MMS_UTIL_Setting::getBlockList()); }, nullptr, nullptr},
    {"server-uri", tavmms::settings::kServerAddress, Kind::Text, 0, true,
     "Address of the MMS server (MMSC) of the profile.",
     [](const QString& p) { return QVariant(MMS_UTIL_Setting::getMMSServerURIByProf(p)); },
     [](const QString& p, const QVariant& v) {
         return MMS_UTIL_Setting::setMMSServerURIByProf(p, v.toString());
     },
     nullptr},
    {"data-connect-profile", tavmms::settings::kConnectionProfile, Kind::Text, 0, true,
     "Name of the data connection the profile uses.",
     [](const QString& p) {
         return QVariant(MMS_UTIL_Setting::getDataConnectProfileNameByProf(p));
     },
     [](const QString& p, const QVariant& v) {
         return MMS_UTIL_Setting::setDataConnectProfileNameByProf(p, v.toString());
     },
     nullptr},
    {"wap-gateway", tavmms::settings::kWapGateway, Kind::Ipv4Address, UINT_MAX, true,
     "WAP gateway of the profile: an IPv4 address, 192.168.1.1, or the number the profile "
     "keeps, 3232235777 for it; 0 for none.",
     [](const QString& p) { return QVariant(MMS_UTIL_Setting::getWAPGatewayByProf(p)); },
     [](const QString& p, const QVariant& v) {
         return MMS_UTIL_Setting::setWAPGatewayByProf(p, v.toUInt());
     },
     nullptr},
    {"connection-type", tavmms::settings::kConnectionType, Kind::Number, 255, true,
     "Connection type code of the profile, 0 to 255.",
     [](const QString& p) {
         return QVariant(unsigned(MMS_UTIL_Setting::getConnectionTypeByProf(p)));
     },
     [](const QString& p, const QVariant& v) {
         return MMS_UTIL_Setting::setConnectionTypeByProf(p,
                                                          static_cast<unsigned char>(v.toUInt()));
     },
     nullptr},
    {"secure-type", tavmms::settings::kSecureConnectionType, Kind::Number, 255, true,
     "Secure connection type code of the profile, 0 to 255.",
     [](const QString& p) { return QVariant(unsigned(MMS_UTIL_Setting::getSecureTypeByProf(p))); },
     [](const QString& p, const QVariant& v) {
         return MMS_UTIL_Setting::setSecureTypeByProf(p, static_cast<unsigned char>(v.toUInt()));
     },
     nullptr},
};

QString flagText(bool on)
{
    return on ? QStringLiteral("on") : QStringLiteral("off");
}

} // namespace

int reportChange(const WriteResult& result, const ResultCodes& codes, const QString& what,
                 const QString& alreadyThere)
{
    const Change change =
        result.code >= 0 && result.code < 4 ? codes[result.code] : Change::Refused;
    return report(change, result.error, what, alreadyThere);
}

int reportChange(bool written, int error, const QString& what)
{
    const Change change = written           ? Change::Made
                          : error == ENOSPC ? Change::StorageFull
                                            : Change::Refused;
    return report(change, error, what, QString());
}

std::optional<int> failWhenSettingsUnreadable()
{
    const QString why = tavmms::settingsReadError();
    if (why.isEmpty())
        return std::nullopt;
    return fail(why);
}

int changeTogether(const QString& what, const std::function<int()>& change)
{
    tavmms::settings::SettingsBatch batch;
    if (!batch.begin())
        return reportChange(false, errno, what);
    if (const int status = change())
        return status; // the batch is dropped with all it holds
    const bool committed = batch.commit();
    return reportChange(committed, errno, what);
}

std::optional<int> parseFlag(const QString& text)
{
    const QString word = text.toLower();
    if (word == QLatin1String("1") || word == QLatin1String("on") || word == QLatin1String("true"))
        return 1;
    if (word == QLatin1String("0") || word == QLatin1String("off") ||
        word == QLatin1String("false"))
        return 0;
    return std::nullopt;
}

std::optional<unsigned char> parsePriority(const QString& text)
{
    for (unsigned char code :
         {MMS_UTIL_PRIORITY_LOW, MMS_UTIL_PRIORITY_NORMAL, MMS_UTIL_PRIORITY_HIGH}) {
        const QString word = MMS_UTIL_Common::priorityToString(code);
        if (text.compare(word, Qt::CaseInsensitive) == 0)
            return code;
    }
    return std::nullopt;
}

QString quoted(const QString& text)
{
    return QLatin1Char('"') + textout::oneLine(text) + QLatin1Char('"');
}

ShownValue flagValue(const QString& name, const QString& group, const QString& key, int value)
{
    return {name, group, key, value != 0, flagText(value != 0), false, {}};
}

ShownValue numberValue(const QString& name, const QString& group, const QString& key, qint64 value)
{
    return {name, group, key, value, QString::number(value), false, {}};
}

ShownValue textValue(const QString& name, const QString& group, const QString& key,
                     const QString& value)
{
    return {name, group, key, value, quoted(value), false, {}};
}

void markStored(QList<ShownValue>* values)
{
    QMap<QString, QSet<QString>> keys; // by group, read once each
    for (ShownValue& value : *values) {
        if (value.group.isEmpty())
            continue; // no profile: nothing can be stored
        auto found = keys.find(value.group);
        if (found == keys.end()) {
            const QStringList stored = tavmms::settings::storedKeys(value.group);
            found = keys.insert(value.group, QSet<QString>(stored.begin(), stored.end()));
        }
        value.stored = found->contains(value.key);
    }
}

void printValues(const QList<ShownValue>& values)
{
    qsizetype nameWidth = qstrlen("SETTING");
    qsizetype valueWidth = qstrlen("VALUE");
    for (const ShownValue& value : values) {
        nameWidth = qMax(nameWidth, value.name.size());
        valueWidth = qMax(valueWidth, value.text.size());
    }
    const auto line = [&](const QString& name, const QString& value, const QString& source) {
        out() << name.leftJustified(nameWidth) << "  " << value.leftJustified(valueWidth) << "  "
              << source << '\n';
    };
    line(QStringLiteral("SETTING"), QStringLiteral("VALUE"), QStringLiteral("SOURCE"));
    for (const ShownValue& value : values)
        line(value.name, value.text,
             value.stored ? QStringLiteral("stored") : QStringLiteral("default"));
}

QJsonObject valuesToJson(const QList<ShownValue>& values)
{
    QJsonObject object;
    for (const ShownValue& value : values) {
        QJsonObject member = value.extra;
        member.insert(QStringLiteral("value"), value.value);
        member.insert(QStringLiteral("isDefault"), !value.stored);
        member.insert(QStringLiteral("group"), value.group);
        member.insert(QStringLiteral("key"), value.key);
        object.insert(value.name, member);
    }
    return object;
}

int showValues(QList<ShownValue> values, bool asJson)
{
    markStored(&values);
    if (asJson)
        return printJson(QJsonDocument(valuesToJson(values)));
    printValues(values);
    return ExitOk;
}

const QList<Setting>& settings()
{
    return kSettings;
}

const Setting* settingNamed(const QString& name)
{
    for (const Setting& setting : kSettings) {
        if (name == QLatin1String(setting.name))
            return &setting;
    }
    return nullptr;
}

QList<Setting> profileSettings()
{
    QList<Setting> chosen;
    for (const Setting& setting : kSettings) {
        if (setting.perProfile)
            chosen.append(setting);
    }
    return chosen;
}

std::optional<QVariant> parseValue(const Setting& setting, const QString& text, QString* error)
{
    switch (setting.kind) {
    case Kind::Flag:
        if (const std::optional<int> flag = parseFlag(text))
            return QVariant(*flag);
        *error = QStringLiteral("%1: '%2' is not on or off (1 or 0, true or false)")
                     .arg(QLatin1String(setting.name), text);
        return std::nullopt;
    case Kind::Number:
        if (const std::optional<unsigned int> value = parseNumber(text, setting.maximum))
            return QVariant(*value);
        *error = QStringLiteral("%1: '%2' is not a number from 0 to %3")
                     .arg(QLatin1String(setting.name), text)
                     .arg(setting.maximum);
        return std::nullopt;
    case Kind::Ipv4Address:
        if (const std::optional<quint32> address = tavmms::store::parseIpv4Address(text))
            return QVariant(*address);
        *error = QStringLiteral("%1: '%2' is not an IPv4 address (a.b.c.d) nor a number from 0 "
                                "to %3")
                     .arg(QLatin1String(setting.name), text)
                     .arg(setting.maximum);
        return std::nullopt;
    case Kind::Text:
    case Kind::ProfileName:
        break;
    }
    return QVariant(text);
}

ShownValue showSetting(const Setting& setting, const QString& profile)
{
    const QString name = QLatin1String(setting.name);
    const QString group = setting.perProfile ? profile : QString(tavmms::settings::kGlobalGroup);
    const QString key = QLatin1String(setting.key);
    const QVariant value = setting.read(profile);
    switch (setting.kind) {
    case Kind::Flag:
        return flagValue(name, group, key, value.toInt());
    case Kind::Text:
    case Kind::ProfileName:
        return textValue(name, group, key, value.toString());
    case Kind::Number:
    case Kind::Ipv4Address:
        break;
    }
    ShownValue shown = numberValue(name, group, key, value.toLongLong());
    if (setting.kind == Kind::Ipv4Address)
        shown.extra.insert(QStringLiteral("address"),
                           tavmms::store::ipv4AddressText(value.toUInt()));
    if (setting.limit) {
        shown.text +=
            value.toLongLong() == 0 ? QStringLiteral(" (no limit)") : QStringLiteral(" KB");
        shown.extra.insert(QStringLiteral("unit"), QStringLiteral("KB"));
        // What the store refuses above, now: the store's own limit when the setting sets none.
        shown.extra.insert(QStringLiteral("limitBytes"), setting.limit().bytes);
    }
    return shown;
}

int changeSetting(const Setting& setting, const QString& profile, const QVariant& value)
{
    QString what = QStringLiteral("cannot set %1").arg(QLatin1String(setting.name));
    if (setting.perProfile)
        what += QStringLiteral(" of profile %1").arg(quoted(profile));
    return changeTogether(what, [&]() -> int {
        if (setting.kind == Kind::ProfileName && !value.toString().isEmpty() &&
            !profileListed(value.toString()))
            return ExitNo;
        return reportChange(callWriter([&] { return setting.write(profile, value); }), kWriterCodes,
                            what);
    });
}

bool profileListed(const QString& name)
{
    if (MMS_UTIL_Setting::getMMSProfiles().contains(name))
        return true;
    notFound(QStringLiteral("no profile %1").arg(quoted(name)));
    return false;
}

SendingOptions::SendingOptions(const QString& note)
    : deliveryReport_(QStringLiteral("delivery-report"),
                      QStringLiteral("Request a delivery report: on or off.") + note,
                      QStringLiteral("on|off")),
      readReport_(QStringLiteral("read-report"),
                  QStringLiteral("Request a read report: on or off.") + note,
                  QStringLiteral("on|off")),
      expiry_(QStringLiteral("expiry"),
              QStringLiteral("Validity of the message in seconds, 0 to 2147483647.") + note,
              QStringLiteral("SECONDS")),
      priority_(QStringLiteral("priority"), QStringLiteral("Low, Normal or High.") + note,
                QStringLiteral("PRIORITY"))
{
}

QList<QCommandLineOption> SendingOptions::options() const
{
    return {deliveryReport_, readReport_, expiry_, priority_};
}

std::optional<SendingChoice> SendingOptions::choice(const QCommandLineParser& parser,
                                                    QString* error) const
{
    SendingChoice choice;
    const struct {
        const QCommandLineOption& option;
        std::optional<bool>* flag;
    } flags[] = {{deliveryReport_, &choice.deliveryReport}, {readReport_, &choice.readReport}};
    for (const auto& [option, flag] : flags) {
        if (!parser.isSet(option))
            continue;
        const std::optional<int> on = parseFlag(parser.value(option));
        if (!on) {
            *error = QStringLiteral("--%1: '%2' is not on or off")
                         .arg(option.names().constFirst(), parser.value(option));
            return std::nullopt;
        }
        *flag = *on != 0;
    }
    if (parser.isSet(expiry_)) {
        // The expiry is also read through the store's int form, which ends at INT_MAX.
        choice.expiry = parseNumber(parser.value(expiry_), INT_MAX);
        if (!choice.expiry) {
            *error = QStringLiteral("--expiry: '%1' is not a number of seconds from 0 to %2")
                         .arg(parser.value(expiry_))
                         .arg(INT_MAX);
            return std::nullopt;
        }
    }
    if (parser.isSet(priority_)) {
        choice.priority = parsePriority(parser.value(priority_));
        if (!choice.priority) {
            *error = QStringLiteral("--priority: unknown priority '%1' (Low, Normal or High)")
                         .arg(parser.value(priority_));
            return std::nullopt;
        }
    }
    return choice;
}

void SendingChoice::applyTo(SendingValues* values) const
{
    values->deliveryReport = deliveryReport.value_or(values->deliveryReport);
    values->readReport = readReport.value_or(values->readReport);
    values->expiry = expiry.value_or(values->expiry);
    values->priority = priority.value_or(values->priority);
}

} // namespace cli
