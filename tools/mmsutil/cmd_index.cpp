// mmsutil index ...: the rows of the message index table in the device database, through
// MMS_UTIL_DBTable and the DB_* functions, as an application sees them.

#include "commands.h"

#include <sqlite_database.h>
#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <cstring>
#include <memory>

namespace
{

const char kFolderField[] = "cmn_fld_folder_id";
const unsigned int kNoRecord = unsigned(-1);

struct ResultText {
    int code;
    const char* name;
    const char* text;
};

// Every result code of the database in words.
const ResultText kResultTexts[] = {
    {DB_OK, "DB_OK", "success"},
    {DB_ERR_NULL_HANDLE, "DB_ERR_NULL_HANDLE", "a handle was missing"},
    {DB_ERR_INVALID_HANDLE, "DB_ERR_INVALID_HANDLE", "a handle was not open"},
    {DB_ERR_INVALID_ARGUMENT, "DB_ERR_INVALID_ARGUMENT", "invalid argument"},
    {DB_ERR_NO_TABLE, "DB_ERR_NO_TABLE", "no such table"},
    {DB_ERR_TABLE_EXISTS, "DB_ERR_TABLE_EXISTS", "the table exists already"},
    {DB_ERR_NO_FIELD, "DB_ERR_NO_FIELD", "no such field"},
    {DB_ERR_BIND_MISMATCH, "DB_ERR_BIND_MISMATCH",
     "the table's fields do not match the index record"},
    {DB_ERR_NOT_FOUND, "DB_ERR_NOT_FOUND", "no such row"},
    {DB_ERR_TXN_ACTIVE, "DB_ERR_TXN_ACTIVE", "a transaction is open already"},
    {DB_ERR_TXN_ORDER, "DB_ERR_TXN_ORDER", "transactions ended out of order"},
    {DB_ERR_DISK_FULL, "DB_ERR_DISK_FULL", "disk full"},
    {DB_ERR_BUSY, "DB_ERR_BUSY", "database is busy"},
    {DB_ERR_CORRUPT, "DB_ERR_CORRUPT", "database file is damaged or not a database"},
    {DB_ERR_IO, "DB_ERR_IO", "input/output error"},
    {DB_ERR_CANT_OPEN, "DB_ERR_CANT_OPEN", "database file cannot be opened"},
    {DB_ERR_READ_ONLY, "DB_ERR_READ_ONLY", "database is read-only"},
    {DB_ERR_ID_EXHAUSTED, "DB_ERR_ID_EXHAUSTED", "no row id is left"},
    {DB_ERR_INTERNAL, "DB_ERR_INTERNAL", "internal database error"},
    {DB_ERR_TXN_ROLLED_BACK, "DB_ERR_TXN_ROLLED_BACK", "the transaction was rolled back"},
};

// "database is busy (DB_ERR_BUSY)".
QString resultText(int code)
{
    for (const ResultText& result : kResultTexts) {
        if (result.code == code)
            return QStringLiteral("%1 (%2)").arg(QLatin1String(result.text),
                                                 QLatin1String(result.name));
    }
    return QStringLiteral("unknown database result %1").arg(code);
}

int databaseFailure(const QString& what, int code)
{
    return cli::fail(what + QStringLiteral(": ") + resultText(code));
}

// The index table, opened (and made, on a new device) for the life of a command.
class IndexTable
{
public:
    IndexTable() : result_(MMS_UTIL_DBTable::initTable()) {}
    ~IndexTable()
    {
        if (result_ == DB_OK)
            MMS_UTIL_DBTable::closeTable();
    }
    IndexTable(const IndexTable&) = delete;
    IndexTable& operator=(const IndexTable&) = delete;

    // ExitOk when the table is open, else ExitFailed after reporting why.
    int status() const
    {
        if (result_ == DB_OK)
            return cli::ExitOk;
        const QString path = tavplatform::SqliteDatabase::defaultPath();
        return databaseFailure(
            QStringLiteral("cannot open the message index in '%1'")
                .arg(path.isEmpty() ? QStringLiteral("(no platform directory)") : path),
            result_);
    }

private:
    int result_;
};

// A cursor or term handle, closed by its DB_*_Close function when it goes.
using Handle = std::unique_ptr<void, int (*)(void*)>;

// The fields of the index record, as its binding lays them out.
QList<DB_BIND_T> recordFields()
{
    unsigned int count = 0;
    const DB_BIND_T* entries = MMS_UTIL_DBGetBinding(&count);
    return QList<DB_BIND_T>(entries, entries + count);
}

const unsigned char* bytesOf(const MMS_UTIL_DBStruct_T& record, const DB_BIND_T& field)
{
    return reinterpret_cast<const unsigned char*>(&record) + field.offset;
}

unsigned char* bytesOf(MMS_UTIL_DBStruct_T* record, const DB_BIND_T& field)
{
    return reinterpret_cast<unsigned char*>(record) + field.offset;
}

// A 16-bit text field, whose units are high byte first in memory, up to its terminator or end.
QString text16(const unsigned char* bytes, unsigned int size)
{
    QString text;
    for (unsigned int i = 0; 2 * i + 1 < size; ++i) {
        const char16_t unit = char16_t(bytes[2 * i] << 8 | bytes[2 * i + 1]);
        if (unit == 0)
            break;
        text.append(QChar(unit));
    }
    return text;
}

template <size_t N> QString text16(const unsigned short (&field)[N])
{
    return text16(reinterpret_cast<const unsigned char*>(field), unsigned(sizeof field));
}

// The value of one field: a string for texts, a number for the others.
QJsonValue fieldValue(const MMS_UTIL_DBStruct_T& record, const DB_BIND_T& field)
{
    const unsigned char* bytes = bytesOf(record, field);
    switch (field.code) {
    case DB_BIND_UCS2_TEXT:
        return text16(bytes, field.size);
    case DB_BIND_CHAR_TEXT: {
        const auto* text = reinterpret_cast<const char*>(bytes);
        return QString::fromUtf8(text, qsizetype(qstrnlen(text, field.size)));
    }
    case DB_BIND_INT16: {
        quint16 value;
        std::memcpy(&value, bytes, sizeof value);
        return int(value);
    }
    default: { // times and 32-bit numbers
        quint32 value;
        std::memcpy(&value, bytes, sizeof value);
        return qint64(value);
    }
    }
}

// "id" and every field of the record by its database name.
QJsonObject rowToJson(unsigned int id, const MMS_UTIL_DBStruct_T& record)
{
    QJsonObject row{{QStringLiteral("id"), qint64(id)}};
    for (const DB_BIND_T& field : recordFields())
        row.insert(QLatin1String(field.name), fieldValue(record, field));
    return row;
}

// Seconds since the epoch as local time.
QString timeText(quint32 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

// A text on one line: control characters are shown as escapes.
QString oneLine(const QString& text)
{
    QString line;
    for (const QChar c : text) {
        if (c == QLatin1Char('\n'))
            line += QStringLiteral("\\n");
        else if (c == QLatin1Char('\t'))
            line += QStringLiteral("\\t");
        else if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            line += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            line += c;
    }
    return line;
}

// A field value as show prints it; times also as local time.
QString valueText(const MMS_UTIL_DBStruct_T& record, const DB_BIND_T& field)
{
    const QJsonValue value = fieldValue(record, field);
    if (value.isString())
        return oneLine(value.toString());
    const QString number = QString::number(value.toInteger());
    if (field.code != DB_BIND_TIME || value.toInteger() == 0)
        return number;
    return QStringLiteral("%1 (%2)").arg(number, timeText(quint32(value.toInteger())));
}

// The first `units` units of `text`, or fewer so that no surrogate pair is cut in half.
QString cut16(const QString& text, qsizetype units)
{
    if (text.size() <= units)
        return text;
    if (units > 0 && text.at(units - 1).isHighSurrogate())
        --units;
    return text.left(units);
}

// The first `size` bytes of UTF-8 `text`, or fewer so that no character is cut in half.
QByteArray cut8(const QByteArray& text, qsizetype size)
{
    if (text.size() <= size)
        return text;
    while (size > 0 && (static_cast<unsigned char>(text.at(size)) & 0xC0) == 0x80)
        --size;
    return text.left(size);
}

// Sets `field` of `record` from its command-line text. Texts are cut so that the terminator fits;
// numbers must fit the field. Gives false and sets `error` for a number that does not.
bool setField(MMS_UTIL_DBStruct_T* record, const DB_BIND_T& field, const QString& text,
              QString* error)
{
    unsigned char* bytes = bytesOf(record, field);
    std::memset(bytes, 0, field.size);
    switch (field.code) {
    case DB_BIND_UCS2_TEXT: {
        const QString kept = cut16(text, field.size / 2 - 1);
        const std::unique_ptr<unsigned short[]> units(MMS_UTIL_Tool::qstringToWCHAR(kept));
        std::memcpy(bytes, units.get(), size_t(kept.size()) * 2);
        return true;
    }
    case DB_BIND_CHAR_TEXT: {
        const QByteArray kept = cut8(text.toUtf8(), field.size - 1);
        std::memcpy(bytes, kept.constData(), size_t(kept.size()));
        return true;
    }
    default:
        break;
    }
    const unsigned int maximum = field.code == DB_BIND_INT16 ? 0xFFFFu : 0xFFFFFFFFu;
    const std::optional<unsigned int> value = cli::parseNumber(text, maximum);
    if (!value) {
        *error = QStringLiteral("%1: '%2' is not a number from 0 to %3")
                     .arg(QLatin1String(field.name), text)
                     .arg(maximum);
        return false;
    }
    if (field.code == DB_BIND_INT16) {
        const auto small = quint16(*value);
        std::memcpy(bytes, &small, sizeof small);
    } else {
        std::memcpy(bytes, &*value, sizeof *value);
    }
    return true;
}

std::optional<DB_BIND_T> fieldNamed(const QString& name)
{
    for (const DB_BIND_T& field : recordFields()) {
        if (name == QLatin1String(field.name))
            return field;
    }
    return std::nullopt;
}

// The ID argument of a command, or a usage error.
// Parses a command whose one argument is a row id into `id`; the exit status when it stops.
std::optional<int> parseRowId(QCommandLineParser& parser, const cli::Command& command,
                              const QStringList& arguments, unsigned int* id)
{
    parser.addPositionalArgument(QStringLiteral("ID"), QStringLiteral("The row's id."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return stop;
    const QString text = parser.positionalArguments().constFirst();
    const std::optional<unsigned int> number = cli::parseNumber(text);
    if (!number)
        return cli::usageError(command.name, QStringLiteral("'%1' is not a row id").arg(text));
    *id = *number;
    return std::nullopt;
}

// Reads the rows in id order, or only those of `folder`, through a cursor in one transaction, so
// that the rows read belong together; calls `visit` with each. Gives a database result.
template <typename Visit> int walkRows(void* txn, std::optional<unsigned int> folder, Visit visit)
{
    void* cursorHandle = nullptr;
    // The rows of a folder are found through its index, in id order within the folder.
    int r = DB_CURSOR_Open(txn, &MMS_UTIL_DBTable::mmsTableHandle, DB_CURSOR_ASCENDING,
                           folder ? kFolderField : "id", &cursorHandle);
    if (r != DB_OK)
        return r;
    const Handle cursor(cursorHandle, DB_CURSOR_Close);
    if (folder) {
        const Handle term(DB_TERM_Open(), DB_TERM_Close);
        if (!term)
            return DB_ERR_INTERNAL;
        r = DB_TERM_CHAR_Equal(term.get(), kFolderField, QByteArray::number(*folder).constData());
        if (r == DB_OK)
            r = DB_CURSOR_Locate(cursor.get(), term.get());
    } else {
        r = DB_CURSOR_MoveFirst(cursor.get());
    }
    for (; r == DB_OK; r = DB_CURSOR_MoveNext(cursor.get())) {
        unsigned int id = 0;
        MMS_UTIL_DBStruct_T record;
        r = DB_CURSOR_GetCurrentRecordInfo(cursor.get(), &id, &MMS_UTIL_DBTable::mmsTableHandle);
        if (r == DB_OK)
            r = MMS_UTIL_DBTable::readRecord(id, &record);
        if (r != DB_OK)
            return r;
        if (folder && record.cmn_fld_folder_id != *folder)
            break; // past the folder's rows
        visit(id, record);
    }
    return r == DB_ERR_NOT_FOUND ? DB_OK : r;
}

// walkRows() in a transaction of its own, which is committed when the walk went well.
template <typename Visit> int forEachRow(std::optional<unsigned int> folder, Visit visit)
{
    void* txn = nullptr;
    int r = DB_TXN_Begin(&txn, 0);
    if (r != DB_OK)
        return r;
    r = walkRows(txn, folder, visit);
    if (r == DB_OK) {
        r = DB_TXN_Commit(txn);
        if (r == DB_OK)
            return r;
    }
    DB_TXN_Abort(txn);
    return r;
}

// Prints rows of cells in columns, two blanks apart; the columns in `rightAligned` are lined up on
// the right. No line ends in blanks.
void printColumns(const QList<QStringList>& rows, const QList<int>& rightAligned)
{
    QList<qsizetype> widths(rows.constFirst().size(), 0);
    for (const QStringList& row : rows) {
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = qMax(widths[i], row.at(i).size());
    }
    for (const QStringList& row : rows) {
        QStringList cells;
        for (qsizetype i = 0; i < row.size(); ++i) {
            const int width = int(widths.at(i));
            if (rightAligned.contains(int(i)))
                cells << row.at(i).rightJustified(width);
            else
                cells << (i + 1 < row.size() ? row.at(i).leftJustified(width) : row.at(i));
        }
        cli::out() << cells.join(QStringLiteral("  ")) << '\n';
    }
}

int runList(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption folderOption(QStringLiteral("folder"),
                                          QStringLiteral("Lists only the rows of folder N."),
                                          QStringLiteral("N"));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints a JSON array of the rows, each an object "
                                                 "with every field by its database name."));
    QCommandLineParser parser;
    parser.addOptions({folderOption, json});
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    std::optional<unsigned int> folder;
    if (parser.isSet(folderOption)) {
        folder = cli::parseNumber(parser.value(folderOption));
        if (!folder)
            return cli::usageError(
                command.name,
                QStringLiteral("--folder: '%1' is not a number").arg(parser.value(folderOption)));
    }

    const IndexTable table;
    if (const int status = table.status())
        return status;
    QJsonArray array;
    QList<QStringList> rows{{QStringLiteral("ID"), QStringLiteral("FOLDER"), QStringLiteral("FROM"),
                             QStringLiteral("SUBJECT"), QStringLiteral("TIME"),
                             QStringLiteral("SIZE")}};
    const int r = forEachRow(folder, [&](unsigned int id, const MMS_UTIL_DBStruct_T& record) {
        if (parser.isSet(json)) {
            array.append(rowToJson(id, record));
            return;
        }
        rows.append({QString::number(id), QString::number(record.cmn_fld_folder_id),
                     oneLine(text16(record.cmn_fld_from_name)),
                     oneLine(text16(record.cmn_fld_subject)), timeText(record.cmn_fld_time),
                     QString::number(record.mms_fld_msgsize_name)});
    });
    if (r != DB_OK)
        return databaseFailure(QStringLiteral("cannot list the message index"), r);
    if (parser.isSet(json))
        cli::out() << QJsonDocument(array).toJson(QJsonDocument::Indented);
    else
        printColumns(rows, {0, 1, 5});
    return cli::ExitOk;
}

int runShow(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints a JSON object with every field by its "
                                                 "database name."));
    QCommandLineParser parser;
    parser.addOption(json);
    unsigned int id = 0;
    if (const std::optional<int> stop = parseRowId(parser, command, arguments, &id))
        return *stop;

    const IndexTable table;
    if (const int status = table.status())
        return status;
    MMS_UTIL_DBStruct_T record;
    const int r = MMS_UTIL_DBTable::readRecord(id, &record);
    if (r == DB_ERR_NOT_FOUND)
        return cli::fail(QStringLiteral("no row %1").arg(id));
    if (r != DB_OK)
        return databaseFailure(QStringLiteral("cannot read row %1").arg(id), r);
    if (parser.isSet(json)) {
        cli::out() << QJsonDocument(rowToJson(id, record)).toJson(QJsonDocument::Indented);
        return cli::ExitOk;
    }
    const QList<DB_BIND_T> fields = recordFields();
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
    const IndexTable table;
    if (const int status = table.status())
        return status;
    QByteArray uri = parser.positionalArguments().constFirst().toUtf8();
    const unsigned int id = MMS_UTIL_DBTable::findMsgURI(uri.data());
    if (id == kNoRecord)
        return cli::fail(QStringLiteral("no row with that URI"));
    cli::out() << id << '\n';
    return cli::ExitOk;
}

// Commits the write transaction MMS_UTIL_DBTable left open; ends it on failure too.
int commitWrite(const QString& what)
{
    const int r = MMS_UTIL_DBTable::commitTxn();
    if (r == DB_OK)
        return cli::ExitOk;
    MMS_UTIL_DBTable::abortTxn();
    return databaseFailure(what, r);
}

int runDelete(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    unsigned int id = 0;
    if (const std::optional<int> stop = parseRowId(parser, command, arguments, &id))
        return *stop;

    const IndexTable table;
    if (const int status = table.status())
        return status;
    const QString what = QStringLiteral("cannot delete row %1").arg(id);
    const int r = MMS_UTIL_DBTable::del(id);
    if (r == DB_ERR_NOT_FOUND)
        return cli::fail(QStringLiteral("no row %1").arg(id));
    if (r != DB_OK)
        return databaseFailure(what, r);
    return commitWrite(what);
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
        const std::optional<DB_BIND_T> field = fieldNamed(name);
        if (!field)
            return cli::usageError(command.name, QStringLiteral("unknown field '%1'").arg(name));
        QString error;
        if (!setField(&record, *field, value, &error))
            return cli::usageError(command.name, error);
    }

    const IndexTable table;
    if (const int status = table.status())
        return status;
    const QString what = QStringLiteral("cannot add the row");
    unsigned int id = 0;
    const int r = MMS_UTIL_DBTable::add(record, &id);
    if (r != DB_OK)
        return databaseFailure(what, r);
    if (const int status = commitWrite(what))
        return status;
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
