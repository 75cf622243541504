// mmsutil index ...: the rows of the message index table in the device database, through
// MMS_UTIL_DBTable and the DB_* functions, as an application sees them.

#include "commands.h"
#include "mmshelpers.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <cstring>

namespace
{

namespace store = tavmms::store;

const unsigned int kNoRecord = unsigned(-1);
const QString kRowIdHelp = QStringLiteral("The row's id.");

// A field value as show prints it; times also as local time.
QString valueText(const MMS_UTIL_DBStruct_T& record, const DB_BIND_T& field)
{
    const QJsonValue value = QJsonValue::fromVariant(store::rowFieldValue(record, field));
    if (value.isString())
        return textout::oneLine(value.toString());
    const QString number = QString::number(value.toInteger());
    if (field.code != DB_BIND_TIME || value.toInteger() == 0)
        return number;
    return QStringLiteral("%1 (%2)").arg(number, textout::timeText(quint32(value.toInteger())));
}

int runList(const cli::Command& command, const QStringList& arguments)
{
    return cli::listRows(
        command, arguments,
        {QString(),
         QStringLiteral("rows"),
         QStringLiteral("with every field by its database name"),
         {QStringLiteral("ID"), QStringLiteral("FOLDER"), QStringLiteral("FROM"),
          QStringLiteral("SUBJECT"), QStringLiteral("TIME"), QStringLiteral("SIZE")},
         {0, 1, 5},
         [](unsigned int id, const MMS_UTIL_DBStruct_T& record) {
             return QStringList{QString::number(id),
                                QString::number(record.cmn_fld_folder_id),
                                textout::oneLine(store::text16(record.cmn_fld_from_name)),
                                textout::oneLine(store::text16(record.cmn_fld_subject)),
                                textout::timeText(record.cmn_fld_time),
                                QString::number(record.mms_fld_msgsize_name)};
         },
         cli::rowToJson});
}

int runShow(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints a JSON object with every field by its "
                                                 "database name."));
    QCommandLineParser parser;
    parser.addOption(json);
    unsigned int id = 0;
    if (const std::optional<int> stop =
            cli::parseRowId(parser, command, arguments, kRowIdHelp, &id))
        return *stop;

    const store::IndexTable table;
    if (const int status = cli::openStatus(table))
        return status;
    MMS_UTIL_DBStruct_T record;
    const int r = MMS_UTIL_DBTable::readRecord(id, &record);
    if (r == DB_ERR_NOT_FOUND)
        return cli::notFound(QStringLiteral("no row %1").arg(id));
    if (r != DB_OK)
        return cli::databaseFailure(QStringLiteral("cannot read row %1").arg(id), r);
    if (parser.isSet(json))
        return cli::printJson(QJsonDocument(cli::rowToJson(id, record)));
    const QList<DB_BIND_T> fields = store::rowFields();
    int width = 0;
    for (const DB_BIND_T& field : fields)
        width = qMax(width, int(qstrlen(field.name)) + 1);
    const auto line = [width](const QString& name, const QString& value) {
        const QString key = name + QLatin1Char(':');
        cli::out() << (value.isEmpty() ? key : key.leftJustified(width + 1) + value) << '\n';
    };
    line(QStringLiteral("id"), QString::number(id));
    for (const DB_BIND_T& field : fields)
        line(QLatin1String(field.name), valueText(record, field));
    return cli::ExitOk;
}

int runFind(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("URI"), QStringLiteral("The message URI."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const store::IndexTable table;
    if (const int status = cli::openStatus(table))
        return status;
    QByteArray uri = parser.positionalArguments().constFirst().toUtf8();
    const unsigned int id = MMS_UTIL_DBTable::findMsgURI(uri.data());
    if (id == kNoRecord)
        return cli::notFound(QStringLiteral("no row with that URI"));
    cli::out() << id << '\n';
    return cli::ExitOk;
}

int runDelete(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    unsigned int id = 0;
    if (const std::optional<int> stop =
            cli::parseRowId(parser, command, arguments, kRowIdHelp, &id))
        return *stop;

    const store::IndexTable table;
    if (const int status = cli::openStatus(table))
        return status;
    const QString what = QStringLiteral("cannot delete row %1").arg(id);
    const int r = MMS_UTIL_DBTable::del(id);
    if (r == DB_ERR_NOT_FOUND)
        return cli::notFound(QStringLiteral("no row %1").arg(id));
    if (r != DB_OK)
        return cli::databaseFailure(what, r);
    if (const int r = store::commitOrAbort())
        return cli::databaseFailure(what, r);
    return cli::ExitOk;
}

struct AddOption {
    const char* option;
    const char* field;
    const char* valueName;
    const char* description;
};

const AddOption kAddOptions[] = {
    {"from", "cmn_fld_from_name", "TEXT", "Sender (required)."},
    {"to", "cmn_fld_to_name", "TEXT", "Recipients (required)."},
    {"subject", "cmn_fld_subject", "TEXT", "Subject (required; may be empty)."},
    {"folder", "cmn_fld_folder_id", "N", "Folder number (default 0)."},
    {"uri", "mms_fld_msguri_name", "URI", "Message URI, which 'index find' looks up."},
    {"size", "mms_fld_msgsize_name", "N", "Message size in bytes."},
    {"time", "cmn_fld_time", "SECONDS", "Time in seconds since 1970-01-01 UTC (default: now)."},
    {"msgid", "mms_fld_msgid_name", "ID", "Message id."},
    {"tid", "mms_fld_tid_name", "ID", "Transaction id."},
};
const int kRequiredAddOptions = 3; // the first ones

int runAdd(const cli::Command& command, const QStringList& arguments)
{
    QList<QCommandLineOption> options;
    for (const AddOption& add : kAddOptions)
        options.append(QCommandLineOption(QLatin1String(add.option), QLatin1String(add.description),
                                          QLatin1String(add.valueName)));
    const QCommandLineOption other(QStringLiteral("field"),
                                   QStringLiteral("Sets any field by its database name, as 'index "
                                                  "show' lists them. May be repeated; applied "
                                                  "after the options above. Texts too long for "
                                                  "their field are cut to fit."),
                                   QStringLiteral("NAME=VALUE"));
    QCommandLineParser parser;
    parser.addOptions(options);
    parser.addOption(other);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    for (int i = 0; i < kRequiredAddOptions; ++i) {
        if (!parser.isSet(options.at(i)))
            return cli::usageError(command.name,
                                   QStringLiteral("--%1 is required").arg(kAddOptions[i].option));
    }

    MMS_UTIL_DBStruct_T record{};
    record.cmn_fld_time = quint32(QDateTime::currentSecsSinceEpoch());
    QList<std::pair<QString, QString>> settings; // field name, value
    for (int i = 0; i < options.size(); ++i) {
        if (parser.isSet(options.at(i)))
            settings.append({QLatin1String(kAddOptions[i].field), parser.value(options.at(i))});
    }
    for (const QString& assignment : parser.values(other)) {
        const qsizetype equals = assignment.indexOf(QLatin1Char('='));
        if (equals < 0)
            return cli::usageError(
                command.name, QStringLiteral("--field: '%1' is not NAME=VALUE").arg(assignment));
        settings.append({assignment.left(equals), assignment.mid(equals + 1)});
    }
    for (const auto& [name, value] : settings) {
        QString error;
        if (!store::setRowField(&record, name, value, &error))
            return cli::usageError(command.name, error);
    }

    const store::IndexTable table;
    if (const int status = cli::openStatus(table))
        return status;
    const QString what = QStringLiteral("cannot add the row");
    unsigned int id = 0;
    const int r = MMS_UTIL_DBTable::add(record, &id);
    if (r != DB_OK)
        return cli::databaseFailure(what, r);
    if (const int r = store::commitOrAbort())
        return cli::databaseFailure(what, r);
    cli::out() << id << '\n';
    return cli::ExitOk;
}

} // namespace

QList<cli::Command> indexCommands()
{
    return {
        {QStringLiteral("index list"),
         QStringLiteral("Lists the rows of the message index, one line each."), runList},
        {QStringLiteral("index show"), QStringLiteral("Prints every field of an index row."),
         runShow},
        {QStringLiteral("index find"),
         QStringLiteral("Prints the id of the index row with a message URI."), runFind},
        {QStringLiteral("index add"), QStringLiteral("Adds an index row and prints its id."),
         runAdd},
        {QStringLiteral("index delete"), QStringLiteral("Deletes an index row."), runDelete},
    };
}
