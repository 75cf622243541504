#ifndef MMSUTIL_INDEXROWS_H
#define MMSUTIL_INDEXROWS_H

// The message index table as the mmsutil commands use it: opened for the life of a command, its
// rows walked in id order, its texts read and cut to their fields, the database's result codes in
// words. Nothing here prints: the commands report.

#include <tavmmsutility.h>

#include <db_api.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace indexrows
{

// "database is busy (DB_ERR_BUSY)"; "unknown database result N" for a code it does not know.
QString resultText(int code);

// The database file that holds the index; empty when there is no platform directory.
QString databasePath();

// The index table, opened (and made, on a new device) for the life of an object.
class IndexTable
{
public:
    // What becomes of an index that is not there yet: made, or left missing.
    enum WhenMissing { Make, LeaveMissing };

    explicit IndexTable(WhenMissing whenMissing = Make);
    ~IndexTable();
    IndexTable(const IndexTable&) = delete;
    IndexTable& operator=(const IndexTable&) = delete;

    bool isOpen() const;
    // Left missing: the database file does not exist, or it holds no index table.
    bool isMissing() const;
    // Why the table could not be opened, naming the database file; empty when it is open.
    QString openError() const;

private:
    int result_ = DB_ERR_NO_TABLE;
    bool missing_ = false;
};

// Commits the write transaction MMS_UTIL_DBTable left open, and aborts it when the commit fails,
// so that no transaction stays open either way. Gives the commit's result.
int commitOrAbort();

// A 16-bit text field, whose units are high byte first in memory, up to its terminator or end.
QString text16(const unsigned char* bytes, unsigned int size);
template <size_t N> QString text16(const unsigned short (&field)[N])
{
    return text16(reinterpret_cast<const unsigned char*>(field), unsigned(sizeof field));
}
// An 8-bit text field read as UTF-8, up to its terminator or end.
QString text8(const char* field, size_t size);
template <size_t N> QString text8(const char (&field)[N])
{
    return text8(field, N);
}
// The first `units` units of `text`, or fewer so that no surrogate pair is cut in half.
QString cut16(const QString& text, qsizetype units);
// The first `size` bytes of UTF-8 `text`, or fewer so that no character is cut in half.
QByteArray cut8(const QByteArray& text, qsizetype size);
// Writes `text` into a 16-bit field, cut so that its terminator fits; the rest of the field is
// zero.
void setText16(unsigned short* field, size_t units, const QString& text);
template <size_t N> void setText16(unsigned short (&field)[N], const QString& text)
{
    setText16(field, N, text);
}
// The same for an 8-bit field, written as UTF-8.
void setText8(char* field, size_t size, const QString& text);
template <size_t N> void setText8(char (&field)[N], const QString& text)
{
    setText8(field, N, text);
}

// A text on one line: control characters are shown as escapes.
QString oneLine(const QString& text);
// Seconds since the epoch as local time, "yyyy-MM-dd hh:mm:ss".
QString timeText(quint32 seconds);

// Rows of cells in columns, two blanks apart, one line each; the columns in `rightAligned` are
// lined up on the right. No line ends in blanks.
QString columns(const QList<QStringList>& rows, const QList<int>& rightAligned = {});

// A cursor or term handle, closed by its DB_*_Close function when it goes.
using Handle = std::unique_ptr<void, int (*)(void*)>;

extern const char kFolderField[];

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

} // namespace indexrows

#endif
