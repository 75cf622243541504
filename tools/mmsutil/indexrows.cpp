#include "indexrows.h"

#include <sqlite_database.h>

#include <QDateTime>
#include <QFileInfo>

#include <cstring>

namespace indexrows
{

namespace
{

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
    {DB_ERR_NO_MEMORY, "DB_ERR_NO_MEMORY", "out of memory"},
};

} // namespace

const char kFolderField[] = "cmn_fld_folder_id";

QString resultText(int code)
{
    for (const ResultText& result : kResultTexts) {
        if (result.code == code)
            return QStringLiteral("%1 (%2)").arg(QLatin1String(result.text),
                                                 QLatin1String(result.name));
    }
    return QStringLiteral("unknown database result %1").arg(code);
}

QString databasePath()
{
    return tavplatform::SqliteDatabase::defaultPath();
}

namespace
{

// Whether the index is not there, found without making anything: opening a database file that
// does not exist makes it. A database that cannot be opened does not count as missing, so that
// opening it reports why.
bool indexIsMissing()
{
    const QString path = databasePath();
    if (path.isEmpty())
        return false;
    if (!QFileInfo::exists(path))
        return true;
    void* db = DB_DB_GetNativeDB();
    return db && !DB_DB_CheckTableExist(db, MMS_UTIL_DBTable::mmsTableName);
}

} // namespace

IndexTable::IndexTable(WhenMissing whenMissing)
    : missing_(whenMissing == LeaveMissing && indexIsMissing())
{
    if (!missing_)
        result_ = MMS_UTIL_DBTable::initTable();
}

IndexTable::~IndexTable()
{
    if (result_ == DB_OK)
        MMS_UTIL_DBTable::closeTable();
}

bool IndexTable::isOpen() const
{
    return result_ == DB_OK;
}

bool IndexTable::isMissing() const
{
    return missing_;
}

QString IndexTable::openError() const
{
    if (isOpen())
        return QString();
    const QString path = databasePath();
    return QStringLiteral("cannot open the message index in '%1': %2")
        .arg(path.isEmpty() ? QStringLiteral("(no platform directory)") : path,
             resultText(result_));
}

int commitOrAbort()
{
    const int r = MMS_UTIL_DBTable::commitTxn();
    if (r != DB_OK)
        MMS_UTIL_DBTable::abortTxn();
    return r;
}

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

QString text8(const char* field, size_t size)
{
    return QString::fromUtf8(field, qsizetype(qstrnlen(field, uint(size))));
}

QString cut16(const QString& text, qsizetype units)
{
    if (text.size() <= units)
        return text;
    if (units > 0 && text.at(units - 1).isHighSurrogate())
        --units;
    return text.left(units);
}

QByteArray cut8(const QByteArray& text, qsizetype size)
{
    if (text.size() <= size)
        return text;
    while (size > 0 && (static_cast<unsigned char>(text.at(size)) & 0xC0) == 0x80)
        --size;
    return text.left(size);
}

void setText16(unsigned short* field, size_t units, const QString& text)
{
    std::memset(field, 0, units * sizeof *field);
    const QString kept = cut16(text, qsizetype(units) - 1);
    const std::unique_ptr<unsigned short[]> converted(MMS_UTIL_Tool::qstringToWCHAR(kept));
    std::memcpy(field, converted.get(), size_t(kept.size()) * sizeof *field);
}

void setText8(char* field, size_t size, const QString& text)
{
    std::memset(field, 0, size);
    const QByteArray kept = cut8(text.toUtf8(), qsizetype(size) - 1);
    std::memcpy(field, kept.constData(), size_t(kept.size()));
}

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

QString timeText(quint32 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

QString columns(const QList<QStringList>& rows, const QList<int>& rightAligned)
{
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(qMax(widths.size(), row.size()), 0);
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = qMax(widths[i], row.at(i).size());
    }
    QString text;
    for (const QStringList& row : rows) {
        QStringList cells;
        for (qsizetype i = 0; i < row.size(); ++i) {
            const int width = int(widths.at(i));
            if (rightAligned.contains(int(i)))
                cells << row.at(i).rightJustified(width);
            else
                cells << (i + 1 < row.size() ? row.at(i).leftJustified(width) : row.at(i));
        }
        QString line = cells.join(QStringLiteral("  "));
        // A last cell that is empty would leave the blanks before it.
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        text += line + QLatin1Char('\n');
    }
    return text;
}

} // namespace indexrows
