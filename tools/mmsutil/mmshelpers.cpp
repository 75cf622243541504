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

namespace cli
{

namespace
{

struct TypeName {
    MMS_UTIL_ADDR_TYPE_T type;
    const char* word;
};
const TypeName kTypeNames[] = {
    {MMS_UTIL_ADDR_EMAIL, "EMAIL"},
    {MMS_UTIL_ADDR_PLMN, "PLMN"},
    {MMS_UTIL_ADDR_UNKNOWN, "UNKNOWN"},
};

bool isTypeWord(const QString& word)
{
    for (const TypeName& name : kTypeNames) {
        if (word == QLatin1String(name.word))
            return true;
    }
    return false;
}

MMS_UTIL_ADDR_TYPE_T typeOfBareAddress(const QString& address)
{
    static const QRegularExpression phone(QStringLiteral("^[0-9 +()-]*[0-9][0-9 +()-]*$"));
    if (phone.match(address).hasMatch())
        return MMS_UTIL_ADDR_PLMN;
    return address.contains(QLatin1Char('@')) ? MMS_UTIL_ADDR_EMAIL : MMS_UTIL_ADDR_UNKNOWN;
}

} // namespace

std::optional<MMS_UTIL_Entry> parseEntry(const QString& text, QString* error)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        *error = QStringLiteral("empty address");
        return std::nullopt;
    }
    if (hasControlCharacter(trimmed)) {
        *error = QStringLiteral("'%1' holds a control character").arg(textout::oneLine(trimmed));
        return std::nullopt;
    }
    MMS_UTIL_Entry entry;
    if (!trimmed.startsWith(QLatin1Char('<'))) {
        entry.name = QLatin1String("");
        entry.type = typeOfBareAddress(trimmed);
        entry.address = trimmed;
        return entry;
    }
    // The library cuts the name at the first ">" and the type word at the first "[" and "]", so
    // a name holding one of those marks would be read back wrong: such a text is refused.
    static const QRegularExpression form(QStringLiteral("^<[^<>\\[\\]]*>\\[([^\\[\\]]*)\\]"));
    const QRegularExpressionMatch match = form.match(trimmed);
    if (!match.hasMatch()) {
        *error =
            QStringLiteral("'%1' is not an entry of the form <name>[TYPE]address").arg(trimmed);
        return std::nullopt;
    }
    if (!isTypeWord(match.captured(1))) {
        *error = QStringLiteral("unknown address type '%1' in '%2' (EMAIL, PLMN or UNKNOWN)")
                     .arg(match.captured(1), trimmed);
        return std::nullopt;
    }
    MMS_UTIL_Common::stringToEntry(trimmed, &entry);
    return entry;
}

std::optional<QList<MMS_UTIL_Entry>> parseEntries(const QStringList& values, QString* error)
{
    QList<MMS_UTIL_Entry> entries;
    for (const QString& value : values) {
        for (const QString& piece : value.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            if (piece.trimmed().isEmpty())
                continue;
            std::optional<MMS_UTIL_Entry> entry = parseEntry(piece, error);
            if (!entry)
                return std::nullopt;
            entries.append(*entry);
        }
    }
    return entries;
}

std::optional<int> entriesOf(const QCommandLineParser& parser, const QCommandLineOption& option,
                             const Command& command, QList<MMS_UTIL_Entry>* entries)
{
    entries->clear();
    if (!parser.isSet(option))
        return std::nullopt;
    const QString name = QStringLiteral("--") + option.names().constFirst();
    QString error;
    const std::optional<QList<MMS_UTIL_Entry>> parsed = parseEntries(parser.values(option), &error);
    if (!parsed)
        return usageError(command.name, name + QStringLiteral(": ") + error);
    if (parsed->isEmpty())
        return usageError(command.name, name + QStringLiteral(": no address given"));
    *entries = *parsed;
    return std::nullopt;
}

QString typeWord(MMS_UTIL_ADDR_TYPE_T type)
{
    for (const TypeName& name : kTypeNames) {
        if (name.type == type)
            return QLatin1String(name.word);
    }
    return QStringLiteral("UNKNOWN");
}

std::optional<MMS_CONTENT_TYPE_T> parseContentType(const QString& text, QString* error)
{
    const QString trimmed = text.trimmed();
    if (hasControlCharacter(trimmed)) {
        *error = QStringLiteral("'%1' holds a control character").arg(textout::oneLine(trimmed));
        return std::nullopt;
    }
    const qsizetype blank = trimmed.indexOf(QLatin1Char(' '));
    const QStringList name = trimmed.left(blank).split(QLatin1Char('/'));
    if (name.size() != 2 || name.at(0).isEmpty() || name.at(1).isEmpty()) {
        *error = QStringLiteral("'%1' is not type/subtype").arg(text);
        return std::nullopt;
    }
    return MMS_CONTENT_TYPE_T{name.at(0), name.at(1),
                              blank < 0 ? QStringLiteral("") : trimmed.mid(blank + 1).trimmed()};
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
    const QString text = parser.positionalArguments().constFirst();
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

int listRows(const Command& command, const QStringList& arguments, const RowList& list)
{
    const QCommandLineOption folderOption(
        QStringLiteral("folder"), QStringLiteral("Lists only the %1 of folder N.").arg(list.what),
        QStringLiteral("N"));
    const QCommandLineOption json(
        QStringLiteral("json"), QStringLiteral("Prints a JSON array of the %1, each an object %2.")
                                    .arg(list.what, list.jsonHelp));
    QCommandLineParser parser;
    parser.setApplicationDescription(list.description);
    parser.addOptions({folderOption, json});
    if (const std::optional<int> stop = parse(parser, command, arguments, 0))
        return *stop;
    std::optional<unsigned int> folder;
    if (const std::optional<int> stop = numberOf(parser, folderOption, command, &folder))
        return *stop;

    tavmms::store::ListFilter filter;
    filter.anyFolder = !folder;
    filter.folder = folder.value_or(0);
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
    if (parser.isSet(json))
        out() << QJsonDocument(array).toJson(QJsonDocument::Indented);
    else
        out() << textout::columns(lines, list.rightAligned);
    return ExitOk;
}

QList<DB_BIND_T> recordFields()
{
    unsigned int count = 0;
    const DB_BIND_T* entries = MMS_UTIL_DBGetBinding(&count);
    return QList<DB_BIND_T>(entries, entries + count);
}

bool setField(MMS_UTIL_DBStruct_T* record, const QString& name, const QString& text, QString* error)
{
    const QList<DB_BIND_T> fields = recordFields();
    const auto field = std::find_if(fields.cbegin(), fields.cend(), [&name](const DB_BIND_T& f) {
        return name == QLatin1String(f.name);
    });
    if (field == fields.cend()) {
        *error = QStringLiteral("unknown field '%1'").arg(name);
        return false;
    }
    unsigned char* bytes = reinterpret_cast<unsigned char*>(record) + field->offset;
    std::memset(bytes, 0, field->size);
    switch (field->code) {
    case DB_BIND_UCS2_TEXT:
        tavmms::store::setText16(reinterpret_cast<unsigned short*>(bytes), field->size / 2, text);
        return true;
    case DB_BIND_CHAR_TEXT:
        tavmms::store::setText8(reinterpret_cast<char*>(bytes), field->size, text);
        return true;
    default:
        break;
    }
    const unsigned int maximum = field->code == DB_BIND_INT16 ? 0xFFFFu : 0xFFFFFFFFu;
    const std::optional<unsigned int> value = parseNumber(text, maximum);
    if (!value) {
        *error = QStringLiteral("%1: '%2' is not a number from 0 to %3")
                     .arg(QLatin1String(field->name), text)
                     .arg(maximum);
        return false;
    }
    if (field->code == DB_BIND_INT16) {
        const auto small = quint16(*value);
        std::memcpy(bytes, &small, sizeof small);
    } else {
        std::memcpy(bytes, &*value, sizeof *value);
    }
    return true;
}

} // namespace cli
