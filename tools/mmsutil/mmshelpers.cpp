#include "mmshelpers.h"

#include "cli.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>
#include <cstring>
#include <limits>

namespace cli
{

std::optional<int> entriesOf(const QCommandLineParser& parser, const QCommandLineOption& option,
                             const Command& command, QList<MMS_UTIL_Entry>* entries,
                             bool recipients)
{
    entries->clear();
    if (!parser.isSet(option))
        return std::nullopt;
    const QString name = QStringLiteral("--") + option.names().constFirst();
    QString error;
    const std::optional<QList<MMS_UTIL_Entry>> parsed =
        recipients ? tavmms::store::parseRecipients(parser.values(option),
                                                    tavmms::store::contactRegion(), &error)
                   : tavmms::store::parseAddresses(parser.values(option), &error);
    if (!parsed)
        return usageError(command.name, name + QStringLiteral(": ") + error);
    if (parsed->isEmpty())
        return usageError(command.name, name + QStringLiteral(": no address given"));
    *entries = *parsed;
    return std::nullopt;
}

ContentTypeNumber parseContentTypeNumber(const QString& text)
{
    static const QRegularExpression decimal(
        QRegularExpression::anchoredPattern(QStringLiteral("[0-9]+")));
    static const QRegularExpression hex(
        QRegularExpression::anchoredPattern(QStringLiteral("0[xX][0-9a-fA-F]+")));
    const bool isHex = hex.match(text).hasMatch();
    if (!isHex && !decimal.match(text).hasMatch())
        return {};
    bool ok = false;
    const uint number = isHex ? text.mid(2).toUInt(&ok, 16) : text.toUInt(&ok, 10);
    if (!ok || number > 255)
        return {true, std::nullopt};
    return {true, uchar(number)};
}

std::optional<QString> parseExtension(const QString& text, QString* error)
{
    static const QRegularExpression word(
        QRegularExpression::anchoredPattern(QStringLiteral("[A-Za-z0-9][A-Za-z0-9_+-]*")));
    if (!word.match(text).hasMatch()) {
        *error = QStringLiteral("'%1' is not an extension (letters, digits, '_', '+' and '-', "
                                "without the dot)")
                     .arg(text);
        return std::nullopt;
    }
    return text;
}

std::optional<int> readBody(const QString& path, const tavmms::store::SizeLimit& limit,
                            QByteArray* body)
{
    std::optional<QByteArray> content = readInput(path, limit.bytes);
    if (!content)
        return ExitFailed;
    if (content->size() > limit.bytes) {
        fail(QStringLiteral("the body in '%1' is over %2; the message was not kept")
                 .arg(path, limit.text));
        return ExitRefused;
    }
    *body = std::move(*content);
    return std::nullopt;
}

QJsonObject rowToJson(unsigned int id, const MMS_UTIL_DBStruct_T& record)
{
    QJsonObject row{{QStringLiteral("id"), qint64(id)}};
    for (const DB_BIND_T& field : tavmms::store::rowFields())
        row.insert(QLatin1String(field.name),
                   QJsonValue::fromVariant(tavmms::store::rowFieldValue(record, field)));
    return row;
}

namespace
{

QJsonObject entryToJson(const MMS_UTIL_Entry& entry)
{
    return QJsonObject{{QStringLiteral("name"), entry.name},
                       {QStringLiteral("type"), tavmms::addressTypeWord(entry.type)},
                       {QStringLiteral("address"), entry.address}};
}

QJsonArray entriesToJson(const MMS_UTIL_EntryList& list)
{
    QJsonArray array;
    for (const MMS_UTIL_Entry* entry : list) {
        if (entry)
            array.append(entryToJson(*entry));
    }
    return array;
}

} // namespace

QString mailFileDateText(const QDateTime& date)
{
    return date.isValid() ? date.toString() : QString();
}

QJsonObject headerToJson(const MMS_UTIL_MsgHeaderBase& h)
{
    return QJsonObject{
        {QStringLiteral("From"), entryToJson(h.from)},
        {QStringLiteral("To"), entriesToJson(h.toList)},
        {QStringLiteral("CC"), entriesToJson(h.ccList)},
        {QStringLiteral("BCC"), entriesToJson(h.bccList)},
        {QStringLiteral("Subject"), h.subject},
        {QStringLiteral("Send_Date"), mailFileDateText(h.sendDate)},
        {QStringLiteral("Delivery"), mailFileDateText(h.deliveryTime)},
        {QStringLiteral("Expiry"), qint64(h.expiry)},
        {QStringLiteral("Message_ID"), h.messageId},
        {QStringLiteral("Content_Type"), MMS_UTIL_Common::contentTypeToString(h.contentType)},
        {QStringLiteral("Priority"), MMS_UTIL_Common::priorityToString(h.priority)},
        {QStringLiteral("Sender_Visibility"), h.senderVisibility},
        {QStringLiteral("DeliveryReport"), h.deliveryReport},
        {QStringLiteral("ReadReplyReport"), h.readReplyReport},
        {QStringLiteral("Message_Size"), qint64(h.messageSize)},
    };
}

int storeFailure(const tavmms::store::Status& status)
{
    using tavmms::store::ErrorCode;
    switch (status.code) {
    case ErrorCode::NotFound:
        return notFound(status.text);
    case ErrorCode::Blocked:
    case ErrorCode::Duplicate:
    case ErrorCode::TooLarge:
    case ErrorCode::NotRetrieved:
        fail(status.text);
        return ExitRefused;
    default:
        return fail(status.text);
    }
}

std::optional<LoadedMailFile> loadMailFile(const QString& path)
{
    QString error;
    std::optional<LoadedMailFile> loaded = tavmms::store::loadMailFile(path, &error);
    if (!loaded)
        fail(error);
    return loaded;
}

const MessageTypeMeaning kMessageTypeMeanings[5] = {
    {MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL, "multipart/related message whose start part is SMIL, "
                                             "or whose start type is unknown or missing"},
    {MMS_UTIL_Common::MSG_TYPE_RELATED_XHTML,
     "multipart/related message whose start part is XHTML"},
    {MMS_UTIL_Common::MSG_TYPE_MIXED, "multipart/mixed message with no presentation part"},
    {MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA, "a single image, audio or video object"},
    {MMS_UTIL_Common::MSG_TYPE_OTHER, "anything else"},
};

QString messageTypeMeaning(int code)
{
    for (const MessageTypeMeaning& row : kMessageTypeMeanings) {
        if (row.code == code)
            return QLatin1String(row.meaning);
    }
    return QString();
}

std::optional<int> numberOf(const QCommandLineParser& parser, const QCommandLineOption& option,
                            const Command& command, std::optional<unsigned int>* number)
{
    if (!parser.isSet(option))
        return std::nullopt;
    *number = parseNumber(parser.value(option));
    if (*number)
        return std::nullopt;
    return usageError(command.name, QStringLiteral("--%1: '%2' is not a number")
                                        .arg(option.names().constFirst(), parser.value(option)));
}

std::optional<int> parseRowId(QCommandLineParser& parser, const Command& command,
                              const QStringList& arguments, const QString& description,
                              unsigned int* id)
{
    parser.addPositionalArgument(QStringLiteral("ID"), description);
    if (const std::optional<int> stop = parse(parser, command, arguments, 1))
        return stop;
    return rowIdOf(command, parser.positionalArguments().constFirst(), id);
}

std::optional<int> rowIdOf(const Command& command, const QString& text, unsigned int* id)
{
    const std::optional<unsigned int> number = parseNumber(text);
    if (!number)
        return usageError(command.name, QStringLiteral("'%1' is not a row id").arg(text));
    *id = *number;
    return std::nullopt;
}

int databaseFailure(const QString& what, int code)
{
    return fail(what + QStringLiteral(": ") + tavmms::store::resultText(code));
}

int openStatus(const tavmms::store::IndexTable& table)
{
    return table.isOpen() ? ExitOk : fail(table.openError());
}

std::optional<int> folderOf(const QCommandLineParser& parser, const QCommandLineOption& option,
                            const Command& command, std::optional<unsigned int>* folder)
{
    if (!parser.isSet(option))
        return std::nullopt;
    QString error;
    *folder = tavmms::store::parseFolder(parser.value(option), &error);
    if (*folder)
        return std::nullopt;
    return usageError(command.name,
                      QStringLiteral("--%1: ").arg(option.names().constFirst()) + error);
}

std::optional<int> parseMessageIds(QCommandLineParser& parser, const Command& command,
                                   const QStringList& arguments, QList<unsigned int>* ids)
{
    parser.addPositionalArgument(QStringLiteral("ID..."), QStringLiteral("The messages' ids."));
    if (const std::optional<int> stop =
            parse(parser, command, arguments, 1, std::numeric_limits<int>::max()))
        return stop;
    for (const QString& text : parser.positionalArguments()) {
        const std::optional<unsigned int> id = parseNumber(text);
        if (!id)
            return usageError(
                command.name,
                QStringLiteral("'%1' is not a message id").arg(textout::oneLine(text)));
        ids->append(*id);
    }
    return std::nullopt;
}

int reportMissing(const QList<unsigned int>& missing)
{
    for (const unsigned int id : missing)
        notFound(QStringLiteral("no message %1").arg(id));
    return ExitNo;
}

namespace
{

const QString kTextMatch = QStringLiteral(
    " The text is looked for, ignoring case, in what the column shows: the row's field, cut to its "
    "length, not the mail file's header.");

} // namespace

SelectOptions::SelectOptions(const QString& verb, const QString& what)
    : folder(QStringLiteral("folder"),
             QStringLiteral("%1 only the %2 of folder F: its number, or inbox, outbox, sent, "
                            "drafts.")
                 .arg(verb, what),
             QStringLiteral("F")),
      unread(QStringLiteral("unread"),
             QStringLiteral("%1 only the messages not yet read.").arg(verb)),
      read(QStringLiteral("read"), QStringLiteral("%1 only the messages read.").arg(verb)),
      from(QStringLiteral("from"),
           QStringLiteral("%1 only the messages whose FROM column holds TEXT.").arg(verb) +
               kTextMatch,
           QStringLiteral("TEXT")),
      to(QStringLiteral("to"),
         QStringLiteral("%1 only the messages whose TO column holds TEXT.").arg(verb) + kTextMatch,
         QStringLiteral("TEXT")),
      subject(QStringLiteral("subject"),
              QStringLiteral("%1 only the messages whose SUBJECT column holds TEXT.").arg(verb) +
                  kTextMatch,
              QStringLiteral("TEXT")),
      since(QStringLiteral("since"),
            QStringLiteral("%1 only the messages of TIME or later: an ISO 8601 date (2026-01-31, "
                           "from the start of that day in local time) or date and time "
                           "(2026-01-31T12:00:00, in local time, or with its offset: "
                           "2026-01-31T12:00:00+01:00).")
                .arg(verb),
            QStringLiteral("TIME")),
      until(QStringLiteral("until"),
            QStringLiteral("%1 only the messages of TIME or earlier, written as for --since; a "
                           "date alone takes in the whole day.")
                .arg(verb),
            QStringLiteral("TIME")),
      sort(QStringLiteral("sort"),
           QStringLiteral("Orders by KEY: id (the default) or date (oldest first; ties by id)."),
           QStringLiteral("KEY")),
      reverse(QStringLiteral("reverse"), QStringLiteral("Reverses the order.")),
      limit(QStringLiteral("limit"),
            QStringLiteral("%1 at most N messages, after --offset.").arg(verb),
            QStringLiteral("N")),
      offset(QStringLiteral("offset"),
             QStringLiteral("Leaves out the first N messages of the ordered list."),
             QStringLiteral("N"))
{
}

QList<QCommandLineOption> SelectOptions::all() const
{
    return {unread, read, from, to, subject, since, until, sort, reverse, limit, offset};
}

QList<QCommandLineOption> SelectOptions::withFolder() const
{
    return QList<QCommandLineOption>{folder} + all();
}

std::optional<int> SelectOptions::fill(const QCommandLineParser& parser, const Command& command,
                                       tavmms::store::ListFilter* filter) const
{
    if (parser.isSet(read) && parser.isSet(unread))
        return usageError(command.name, QStringLiteral("--read and --unread exclude each "
                                                       "other"));
    if (parser.isSet(read) || parser.isSet(unread))
        filter->read = parser.isSet(read);
    filter->from = parser.value(from);
    filter->to = parser.value(to);
    filter->subject = parser.value(subject);
    if (const std::optional<int> stop = fillTimes(parser, command, &filter->since, &filter->until))
        return stop;
    if (parser.isSet(sort)) {
        const QString key = parser.value(sort);
        if (key == QLatin1String("date"))
            filter->order = tavmms::store::ListOrder::Date;
        else if (key != QLatin1String("id"))
            return usageError(
                command.name,
                QStringLiteral("--sort: '%1' is neither id nor date").arg(textout::oneLine(key)));
    }
    filter->reverse = parser.isSet(reverse);
    for (const QCommandLineOption* count : {&limit, &offset}) {
        std::optional<unsigned int> number;
        if (const std::optional<int> stop = numberOf(parser, *count, command, &number))
            return stop;
        if (number && count == &limit)
            filter->limit = qsizetype(*number);
        else if (number)
            filter->offset = qsizetype(*number);
    }
    return std::nullopt;
}

std::optional<int> SelectOptions::fillTimes(const QCommandLineParser& parser,
                                            const Command& command, QDateTime* first,
                                            QDateTime* last) const
{
    for (const QCommandLineOption* bound : {&since, &until}) {
        if (!parser.isSet(*bound))
            continue;
        QString error;
        const std::optional<tavmms::store::TimeSpan> span =
            tavmms::store::parseTimeSpan(parser.value(*bound), &error);
        if (!span)
            return usageError(command.name,
                              QStringLiteral("--%1: ").arg(bound->names().constFirst()) + error);
        if (bound == &since)
            *first = span->first;
        else
            *last = span->last;
    }
    return std::nullopt;
}

std::optional<int> SelectOptions::fillFolder(const QCommandLineParser& parser,
                                             const Command& command,
                                             tavmms::store::ListFilter* filter) const
{
    std::optional<unsigned int> number;
    if (const std::optional<int> stop = folderOf(parser, folder, command, &number))
        return stop;
    filter->anyFolder = !number;
    filter->folder = number.value_or(0);
    return std::nullopt;
}

bool SelectOptions::anySet(const QCommandLineParser& parser) const
{
    const QList<QCommandLineOption> options = withFolder();
    return std::any_of(options.begin(), options.end(),
                       [&](const QCommandLineOption& option) { return parser.isSet(option); });
}

int listRows(const Command& command, const QStringList& arguments, const RowList& list)
{
    const QCommandLineOption json(
        QStringLiteral("json"), QStringLiteral("Prints a JSON array of the %1, each an object %2.")
                                    .arg(list.what, list.jsonHelp));
    const SelectOptions select(QStringLiteral("Lists"), list.what);
    QCommandLineParser parser;
    parser.setApplicationDescription(list.description);
    parser.addOptions({select.folder, json});
    if (list.selects)
        parser.addOptions(select.all());
    if (const std::optional<int> stop = parse(parser, command, arguments, 0))
        return *stop;
    tavmms::store::ListFilter filter;
    if (const std::optional<int> stop = select.fillFolder(parser, command, &filter))
        return *stop;
    if (list.selects) {
        if (const std::optional<int> stop = select.fill(parser, command, &filter))
            return *stop;
    }
    const tavmms::store::Listed listed = tavmms::store::MessageStore().list(filter);
    if (!listed.status.ok())
        return fail(listed.status.text);
    QJsonArray array;
    QList<QStringList> lines{list.heading};
    for (const tavmms::store::MessageRow& row : listed.rows) {
        if (parser.isSet(json))
            array.append(list.json(row.id, row.record));
        else
            lines.append(list.cells(row.id, row.record));
    }
    if (parser.isSet(json)) {
        const int printed = printJson(QJsonDocument(array));
        if (printed != ExitOk)
            return printed;
    } else {
        out() << textout::columns(lines, list.rightAligned);
    }
    return list.selects && listed.rows.isEmpty() ? ExitNo : ExitOk;
}

} // namespace cli
