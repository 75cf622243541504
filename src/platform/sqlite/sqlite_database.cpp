#include "sqlite_database.h"

#include "platform_dir.h"
#include "sqlconnection.h"
#include "sqlite_handles.h"
#include "sqlite_statements.h"
#include "sqlite_transactions.h"

#include <QByteArray>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace tavplatform
{

using namespace devicedb; // the pieces this class ties together
using sql::Status;

namespace
{

// Schemas longer than this are taken as missing their terminating entry.
const int kMaxSchemaFields = 1024;
// All bits set is what lookups answer for "no record" (MMS_UTIL_DBTable::findMsgURI among them),
// so no record may have that id.
const qint64 kMaxRecordId = 0xFFFFFFFELL;

struct Field {
    QByteArray name;
    unsigned size;
    unsigned type;
    unsigned flag;

    bool operator==(const Field& other) const
    {
        return name == other.name && size == other.size && type == other.type && flag == other.flag;
    }
};

struct BoundField {
    QByteArray name;
    unsigned code;
    unsigned offset;
    unsigned size;
};

// A binding checked against a table's schema, with the statements that write and read its
// fields. Every bind handle of the same binding shares it.
struct Layout {
    QByteArray table;
    std::vector<DB_BIND_T> entries; // the binding as it was checked
    std::vector<BoundField> fields;
    LazyStatement insert;
    LazyStatement update;
    LazyStatement select;

    // True when `bound` is the binding that was checked. Names are compared by address: a
    // binding's names are constant texts.
    bool checked(const DB_BIND_T* bound, unsigned count) const
    {
        return std::equal(entries.begin(), entries.end(), bound, bound + count,
                          [](const DB_BIND_T& a, const DB_BIND_T& b) {
                              return a.name == b.name && a.code == b.code && a.offset == b.offset &&
                                     a.size == b.size;
                          });
    }

    int boundIndex(const QByteArray& field) const
    {
        for (size_t i = 0; i < fields.size(); ++i) {
            if (fields[i].name == field)
                return int(i);
        }
        return -1;
    }
};

// The look-ups that move a cursor. NullAfter, NotNull, SameKeyAfter, KeyAfter and Null go on from
// the cursor's current record (see moveNext()).
enum class Move { First, Locate, NullAfter, NotNull, SameKeyAfter, KeyAfter, Null };

// What a cursor move's statement depends on.
struct MoveQuery {
    int field; // the cursor's field, -1 for the record id
    int order;
    Move move;
    std::vector<int> conditions; // the fields a locate compares

    bool operator<(const MoveQuery& other) const
    {
        return std::tie(field, order, move, conditions) <
               std::tie(other.field, other.order, other.move, other.conditions);
    }
};

// A table's schema as it was loaded, shared by every handle and cursor of the table, with the
// bindings checked against it and the statements made for it.
struct Table {
    QByteArray name;
    std::vector<Field> fields;
    std::map<DB_BIND_FUNC_T, std::shared_ptr<Layout>> layouts; // by the function that gave them
    std::map<MoveQuery, LazyStatement> moves;
    LazyStatement deleteRow;

    int fieldIndex(const QByteArray& field) const
    {
        for (size_t i = 0; i < fields.size(); ++i) {
            if (fields[i].name == field)
                return int(i);
        }
        return -1;
    }

    // The name of field `index` (-1 for the record id).
    QByteArray fieldName(int index) const
    {
        return index < 0 ? QByteArray("id") : fields[size_t(index)].name;
    }
};

// The value of a cursor's field in its current record, from which the walk goes on.
struct Key {
    bool isNull = true;
    qint64 number = 0;
    QByteArray text;
};

struct Cursor {
    std::shared_ptr<Table> table;
    int field; // -1 for the record id
    int order;
    void* txn;
    bool textField; // the field holds texts
    bool hasCurrent = false;
    unsigned currentId = 0;
    Key key{};
};

struct Term {
    std::vector<std::pair<QByteArray, QByteArray>> conditions;
};

// Names become SQL identifiers, so only plain ones are taken.
bool isPlainName(const QByteArray& name)
{
    if (name.isEmpty() || name.size() > 31 || name.startsWith("sqlite_") || name.startsWith("tav_"))
        return false;
    for (char c : name) {
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_'))
            return false;
    }
    return !std::isdigit(static_cast<unsigned char>(name.front()));
}

unsigned typeOfBindCode(unsigned code)
{
    switch (code) {
    case DB_BIND_TIME:
        return DB_TYPE_TIME;
    case DB_BIND_INT16:
        return DB_TYPE_INT16;
    case DB_BIND_INT32:
        return DB_TYPE_INT32;
    case DB_BIND_CHAR_TEXT:
        return DB_TYPE_CHAR_TEXT;
    case DB_BIND_UCS2_TEXT:
        return DB_TYPE_UCS2_TEXT;
    default:
        return 0;
    }
}

bool isTextType(unsigned type)
{
    return type == DB_TYPE_CHAR_TEXT || type == DB_TYPE_UCS2_TEXT;
}

// A field's size must fit its type: fixed for numbers, room for the terminator for texts.
bool sizeFitsType(unsigned type, unsigned size)
{
    switch (type) {
    case DB_TYPE_TIME:
    case DB_TYPE_INT32:
        return size == 4;
    case DB_TYPE_INT16:
        return size == 2;
    case DB_TYPE_CHAR_TEXT:
        return size >= 1;
    case DB_TYPE_UCS2_TEXT:
        return size >= 2 && size % 2 == 0;
    default:
        return false;
    }
}

// 16-bit texts hold their units high byte first in memory.
unsigned short loadUnit(const unsigned char* p)
{
    return static_cast<unsigned short>(p[0] << 8 | p[1]);
}

void storeUnit(unsigned char* p, char16_t unit)
{
    p[0] = static_cast<unsigned char>(unit >> 8);
    p[1] = static_cast<unsigned char>(unit & 0xFF);
}

void bindValue(sql::Statement& statement, int index, const BoundField& field,
               const unsigned char* record)
{
    const unsigned char* p = record + field.offset;
    switch (field.code) {
    case DB_BIND_CHAR_TEXT: {
        const auto* text = reinterpret_cast<const char*>(p);
        statement.bindText(index, QByteArray(text, qsizetype(qstrnlen(text, field.size))));
        break;
    }
    case DB_BIND_UCS2_TEXT: {
        QString text;
        for (unsigned i = 0; 2 * i + 1 < field.size; ++i) {
            const unsigned short unit = loadUnit(p + 2 * i);
            if (unit == 0)
                break;
            text.append(QChar(unit));
        }
        statement.bindText(index, text.toUtf8());
        break;
    }
    case DB_BIND_INT16: {
        quint16 value;
        std::memcpy(&value, p, sizeof value);
        statement.bindInt(index, value);
        break;
    }
    default: { // time and 32-bit integers
        quint32 value;
        std::memcpy(&value, p, sizeof value);
        statement.bindInt(index, value);
        break;
    }
    }
}

// Writes a fetched value into its (already zeroed) place in the record.
void storeValue(const sql::Statement& statement, int column, const BoundField& field,
                unsigned char* record)
{
    unsigned char* p = record + field.offset;
    switch (field.code) {
    case DB_BIND_CHAR_TEXT: {
        const QByteArray text = statement.columnText(column);
        std::memcpy(p, text.constData(), qMin<size_t>(size_t(text.size()), field.size - 1));
        break;
    }
    case DB_BIND_UCS2_TEXT: {
        const QString text = QString::fromUtf8(statement.columnText(column));
        qsizetype units = qMin<qsizetype>(text.size(), field.size / 2 - 1);
        // Never keep half of a surrogate pair at the cut.
        if (units > 0 && units < text.size() && text.at(units - 1).isHighSurrogate())
            --units;
        for (qsizetype i = 0; i < units; ++i)
            storeUnit(p + 2 * i, text.at(i).unicode());
        break;
    }
    case DB_BIND_INT16: {
        const auto value = static_cast<quint16>(statement.columnInt(column));
        std::memcpy(p, &value, sizeof value);
        break;
    }
    default: {
        const auto value = static_cast<quint32>(statement.columnInt(column));
        std::memcpy(p, &value, sizeof value);
        break;
    }
    }
}

// The statements of a binding, on the fields it binds.
std::string insertSql(const Layout& layout)
{
    std::string columns, placeholders;
    for (const BoundField& field : layout.fields) {
        const char* separator = columns.empty() ? "" : ", ";
        columns += separator + quoted(field.name);
        placeholders += std::string(separator) + "?";
    }
    return "INSERT INTO " + quoted(layout.table) + " (" + columns + ") VALUES (" + placeholders +
           ")";
}

std::string updateSql(const Layout& layout)
{
    std::string assignments;
    for (const BoundField& field : layout.fields)
        assignments += (assignments.empty() ? "" : ", ") + quoted(field.name) + " = ?";
    return "UPDATE " + quoted(layout.table) + " SET " + assignments + " WHERE id = ?";
}

std::string selectSql(const Layout& layout)
{
    std::string columns;
    for (const BoundField& field : layout.fields)
        columns += (columns.empty() ? "" : ", ") + quoted(field.name);
    return "SELECT " + columns + " FROM " + quoted(layout.table) + " WHERE id = ?";
}

// The statement of a cursor move: the id and field value of the first record, in the cursor's
// order, that the move's condition leaves.
std::string moveSql(const Table& table, const MoveQuery& query)
{
    const std::string column = quoted(table.fieldName(query.field));
    const bool ascending = query.order == DB_CURSOR_ASCENDING;
    const std::string beyond = ascending ? " > " : " < ";
    std::string where;
    switch (query.move) {
    case Move::First:
        break;
    case Move::Locate:
        for (const int field : query.conditions)
            where +=
                (where.empty() ? " WHERE " : " AND ") + quoted(table.fieldName(field)) + " = ?";
        break;
    case Move::NullAfter:
        where = " WHERE " + column + " IS NULL AND id" + beyond + "?";
        break;
    case Move::NotNull:
        where = " WHERE " + column + " IS NOT NULL";
        break;
    // Two look-ups where one row-value comparison "(field, id) > (?, ?)" would do: the engine
    // seeks an index on the field alone for that, and steps through every record of the same
    // value up to the id, which made a walk through one folder quadratic.
    case Move::SameKeyAfter:
        where = " WHERE " + column + " = ? AND id" + beyond + "?";
        break;
    case Move::KeyAfter:
        where = " WHERE " + column + beyond + "?";
        break;
    case Move::Null:
        where = " WHERE " + column + " IS NULL";
        break;
    }
    const char* direction = ascending ? " ASC" : " DESC";
    return "SELECT id, " + column + " FROM " + quoted(table.name) + where + " ORDER BY " + column +
           direction + ", id" + direction + " LIMIT 1";
}

} // namespace

struct SqliteDatabase::Impl {
    QString path;
    int busyTimeoutMs;
    std::unique_ptr<sql::Connection> connection;
    int openFailure = DB_OK; // why the file could not be opened, when it could not
    // The schema of each table opened so far, by name, with what was checked and made for it.
    std::map<QByteArray, std::shared_ptr<Table>> schemas;
    Handles<std::shared_ptr<Table>> tables;
    Handles<std::shared_ptr<Layout>> binds;
    Transactions txns{connection};
    Handles<Cursor> cursors;
    Handles<Term> terms;

    void* dbHandle() { return this; }

    bool isDb(void* db) { return db && db == dbHandle() && connection; }

    // The result for a database handle that is not this open database. A null one is what
    // DB_DB_GetNativeDB gave when the file could not be opened: the reason is more use to the
    // caller than the null.
    int badDb(void* db) const
    {
        if (db)
            return DB_ERR_INVALID_HANDLE;
        return openFailure ? openFailure : DB_ERR_NULL_HANDLE;
    }

    // The statement of `lazy` with the record's bound fields as its first parameters; null (with
    // `result`) when it cannot be prepared.
    template <typename MakeText>
    sql::Statement* recordStatement(LazyStatement& lazy, MakeText makeText, const Layout& layout,
                                    const void* record, int* result)
    {
        sql::Statement* s = statement(*connection, lazy, makeText, result);
        if (s) {
            const auto* bytes = static_cast<const unsigned char*>(record);
            for (size_t i = 0; i < layout.fields.size(); ++i)
                bindValue(*s, int(i) + 1, layout.fields[i], bytes);
        }
        return s;
    }

    // The schema of table `name` as the database holds it now. The one loaded before is kept,
    // with its checked bindings and statements, while it is the same; a table made anew with
    // another schema starts afresh.
    int loadTable(const QByteArray& name, std::shared_ptr<Table>* table)
    {
        int result;
        sql::Statement* s = statement(*connection, kSelectSchema, &result);
        if (!s)
            return result;
        sql::StatementUse use(*s);
        use->bindText(1, name);
        std::vector<Field> fields;
        Status status;
        while ((status = use->step()) == Status::Row) {
            fields.push_back({use->columnText(0), unsigned(use->columnInt(1)),
                              unsigned(use->columnInt(2)), unsigned(use->columnInt(3))});
        }
        if (status != Status::Ok)
            return resultOf(status);
        if (fields.empty())
            return DB_ERR_NO_TABLE;
        std::shared_ptr<Table>& known = schemas[name];
        if (!known || known->fields != fields)
            known = std::make_shared<Table>(Table{name, std::move(fields), {}, {}, {}});
        *table = known;
        return DB_OK;
    }

    // Checks each binding entry against the table's schema.
    static int checkBinding(const Table& table, const DB_BIND_T* entries, unsigned count,
                            std::shared_ptr<Layout>* layout)
    {
        auto checked = std::make_shared<Layout>();
        checked->table = table.name;
        for (unsigned i = 0; i < count; ++i) {
            const DB_BIND_T& entry = entries[i];
            if (!entry.name)
                return DB_ERR_BIND_MISMATCH;
            const int index = table.fieldIndex(QByteArray(entry.name));
            if (index < 0)
                return DB_ERR_BIND_MISMATCH;
            const Field& field = table.fields[size_t(index)];
            if (typeOfBindCode(entry.code) != field.type || entry.size != field.size ||
                checked->boundIndex(field.name) >= 0)
                return DB_ERR_BIND_MISMATCH;
            checked->fields.push_back({field.name, entry.code, entry.offset, entry.size});
        }
        checked->entries.assign(entries, entries + count);
        *layout = std::move(checked);
        return DB_OK;
    }

    // A handle of the binding `function` gives: checked the first time, and again whenever the
    // entries differ from those checked.
    int makeBind(Table& table, DB_BIND_FUNC_T function, void** handle)
    {
        if (!function || !handle)
            return DB_ERR_NULL_HANDLE;
        unsigned count = 0;
        const DB_BIND_T* entries = function(&count);
        if (!entries || count == 0)
            return DB_ERR_INVALID_ARGUMENT;
        auto known = table.layouts.find(function);
        if (known == table.layouts.end() || !known->second->checked(entries, count)) {
            std::shared_ptr<Layout> layout;
            if (const int r = checkBinding(table, entries, count, &layout))
                return r;
            known = table.layouts.insert_or_assign(function, std::move(layout)).first;
        }
        *handle = binds.add(known->second);
        return DB_OK;
    }

    // Checks shared by the record operations; the bind must describe the same table.
    int checkRecordCall(void* txn, void* table, void* bind, Table** t, Layout** b)
    {
        if (!table || !bind)
            return DB_ERR_NULL_HANDLE;
        if (const int r = txns.checkCurrent(txn))
            return r;
        std::shared_ptr<Table>* opened = tables.find(table);
        std::shared_ptr<Layout>* bound = binds.find(bind);
        if (!opened || !bound)
            return DB_ERR_INVALID_HANDLE;
        if ((*bound)->table != (*opened)->name)
            return DB_ERR_BIND_MISMATCH;
        *t = opened->get();
        *b = bound->get();
        return DB_OK;
    }

    // Deletes row `id`; DB_ERR_NOT_FOUND when there is none.
    int deleteRow(Table& table, qint64 id)
    {
        int result;
        sql::Statement* s = statement(
            *connection, table.deleteRow,
            [&] { return "DELETE FROM " + quoted(table.name) + " WHERE id = ?"; }, &result);
        if (!s)
            return result;
        sql::StatementUse use(*s);
        use->bindInt(1, id);
        if (const Status status = use->step(); status != Status::Ok)
            return resultOf(status);
        return connection->changes() ? DB_OK : DB_ERR_NOT_FOUND;
    }

    // Makes the table, its indexes and its schema rows, all or nothing.
    int createTable(const Table& table)
    {
        // Ids come from AUTOINCREMENT so that an id is never given twice, even after a delete: mail
        // files are named after them.
        std::string create =
            "CREATE TABLE " + quoted(table.name) + " (id INTEGER PRIMARY KEY AUTOINCREMENT";
        for (const Field& field : table.fields)
            create += ", " + quoted(field.name) + (isTextType(field.type) ? " TEXT" : " INTEGER");
        create += ")";

        sql::ScopedTransaction transaction(*connection);
        if (const Status status = transaction.begin(); status != Status::Ok)
            return resultOf(status);
        if (const Status status = connection->exec(create.c_str()); status != Status::Ok)
            return resultOf(status);
        for (size_t i = 0; i < table.fields.size(); ++i) {
            const Field& field = table.fields[i];
            if (field.flag == 1) {
                // ':' is in no plain name, so no two tables' index names can meet.
                const std::string index =
                    "CREATE INDEX " + quoted("tav_index:" + table.name + ":" + field.name) +
                    " ON " + quoted(table.name) + " (" + quoted(field.name) + ", id)";
                if (const Status status = connection->exec(index.c_str()); status != Status::Ok)
                    return resultOf(status);
            }
            int result;
            sql::Statement* s = statement(*connection, kInsertSchemaField, &result);
            if (!s)
                return result;
            sql::StatementUse use(*s);
            use->bindText(1, table.name);
            use->bindInt(2, qint64(i));
            use->bindText(3, field.name);
            use->bindInt(4, field.size);
            use->bindInt(5, field.type);
            use->bindInt(6, field.flag);
            if (const Status status = use->step(); status != Status::Ok)
                return resultOf(status);
        }
        return resultOf(transaction.commit());
    }

    // The cursor at `handle`, whose transaction must still be open and not rolled back.
    int checkCursor(void* handle, Cursor** cursor)
    {
        if (!handle)
            return DB_ERR_NULL_HANDLE;
        Cursor* found = cursors.find(handle);
        if (!found || !txns.isOpen(found->txn))
            return DB_ERR_INVALID_HANDLE;
        if (txns.rolledBack())
            return DB_ERR_TXN_ROLLED_BACK;
        *cursor = found;
        return DB_OK;
    }

    // Moves `c` to the first record, in its order, that the look-up `move` finds (whose parameters
    // `bindParameters` binds); DB_ERR_NOT_FOUND when there is none. Only a found record moves the
    // cursor: landed() takes it off its record when the whole move found none.
    template <typename BindParameters>
    int moveTo(Cursor& c, Move move, BindParameters bindParameters,
               std::vector<int> conditions = {})
    {
        MoveQuery query{c.field, c.order, move, std::move(conditions)};
        Table& table = *c.table;
        int result;
        sql::Statement* s = statement(
            *connection, table.moves[query], [&] { return moveSql(table, query); }, &result);
        if (!s)
            return result;
        sql::StatementUse use(*s);
        bindParameters(*s);
        const Status status = use->step();
        if (status == Status::Ok)
            return DB_ERR_NOT_FOUND;
        if (status != Status::Row)
            return resultOf(status);
        // The key is read before anything of the cursor changes: running out of memory reading
        // it leaves the cursor where it was.
        Key key{use->columnIsNull(1), c.textField ? 0 : use->columnInt(1),
                c.textField ? use->columnText(1) : QByteArray()};
        c.hasCurrent = true;
        c.currentId = unsigned(use->columnInt(0));
        c.key = std::move(key);
        return DB_OK;
    }

    // The result of a move of `c`: one that found no record leaves the cursor on none, any other
    // failure leaves it where it was.
    static int landed(Cursor& c, int result)
    {
        if (result == DB_ERR_NOT_FOUND)
            c.hasCurrent = false;
        return result;
    }

    // Moves `c` to the record after its current one. Records without a value in the field come
    // first in ascending order and last in descending order; comparisons pass over them, so the
    // walk has a look-up of its own for going through them and for stepping into or out of them.
    int moveNext(Cursor& c)
    {
        const bool ascending = c.order == DB_CURSOR_ASCENDING;
        const auto noParameters = [](sql::Statement&) {};
        const Key& key = c.key; // read by the binding, before the move changes it
        const qint64 id = c.currentId;
        if (key.isNull) {
            const int r = moveTo(c, Move::NullAfter, [id](sql::Statement& s) { s.bindInt(1, id); });
            if (r != DB_ERR_NOT_FOUND || !ascending)
                return r;
            return moveTo(c, Move::NotNull, noParameters);
        }
        const auto bindKey = [&key, text = c.textField](sql::Statement& s) {
            if (text)
                s.bindText(1, key.text);
            else
                s.bindInt(1, key.number);
        };
        // A walk by id has no other record of the same key.
        int r = c.field < 0 ? DB_ERR_NOT_FOUND
                            : moveTo(c, Move::SameKeyAfter, [&bindKey, id](sql::Statement& s) {
                                  bindKey(s);
                                  s.bindInt(2, id);
                              });
        if (r == DB_ERR_NOT_FOUND)
            r = moveTo(c, Move::KeyAfter, bindKey);
        if (r != DB_ERR_NOT_FOUND || ascending)
            return r;
        return moveTo(c, Move::Null, noParameters);
    }
};

SqliteDatabase::SqliteDatabase(QString path, int busyTimeoutMs) : d(new Impl)
{
    d->path = path;
    d->busyTimeoutMs = busyTimeoutMs;
}

SqliteDatabase::~SqliteDatabase()
{
    // Whatever a process leaves open is undone, as a crash would undo it.
    if (d->connection && d->connection->inTransaction())
        d->connection->exec("ROLLBACK");
}

void* SqliteDatabase::getNativeDB()
{
    if (!d->connection) {
        Status status = Status::CantOpen;
        std::unique_ptr<sql::Connection> connection;
        if (!d->path.isEmpty())
            connection = sql::Connection::open(d->path, &status, d->busyTimeoutMs);
        // With its log files kept, the index can be read, and a message deleted, on a disk that
        // filled up while no process had it open.
        if (connection)
            status = connection->keepWalFiles();
        if (status == Status::Ok)
            status = connection->exec(kCreateSchemaTable);
        if (status == Status::Ok)
            d->connection = std::move(connection);
        d->openFailure = resultOf(status);
    }
    return d->connection ? d->dbHandle() : nullptr;
}

int SqliteDatabase::checkTableExist(void* db, const char* table)
{
    if (!d->isDb(db) || !table)
        return 0;
    int result;
    sql::Statement* s = statement(*d->connection, kSelectTableExists, &result);
    if (!s)
        return 0;
    sql::StatementUse use(*s);
    use->bindText(1, QByteArray(table));
    return use->step() == Status::Row ? 1 : 0;
}

int SqliteDatabase::tableCreate(void* db, const char* table, const DB_SCHEMA_T* schema)
{
    if (!d->isDb(db))
        return d->badDb(db);
    if (!table || !schema)
        return DB_ERR_NULL_HANDLE;
    const QByteArray name(table);
    if (!isPlainName(name))
        return DB_ERR_INVALID_ARGUMENT;
    if (checkTableExist(db, table))
        return DB_ERR_TABLE_EXISTS;

    Table parsed{name, {}, {}, {}, {}};
    for (int i = 0; schema[i].tag[0] || schema[i].tag[1] || schema[i].tag[2] || schema[i].tag[3];
         ++i) {
        const DB_SCHEMA_T& entry = schema[i];
        const QByteArray fieldName(entry.name, qsizetype(qstrnlen(entry.name, sizeof entry.name)));
        if (i == kMaxSchemaFields || std::memcmp(entry.tag, "dste", 4) != 0 ||
            !isPlainName(fieldName) || fieldName == "id" || parsed.fieldIndex(fieldName) >= 0 ||
            !sizeFitsType(entry.type, entry.size))
            return DB_ERR_INVALID_ARGUMENT;
        parsed.fields.push_back({fieldName, entry.size, entry.type, entry.flag});
    }
    if (parsed.fields.empty())
        return DB_ERR_INVALID_ARGUMENT;

    const int result = d->createTable(parsed);
    // Another process may have made the same table since the check above.
    if (result != DB_OK && checkTableExist(db, table))
        return DB_ERR_TABLE_EXISTS;
    return result;
}

int SqliteDatabase::tableOpen(void* db, void** table, const char* name)
{
    if (!d->isDb(db))
        return d->badDb(db);
    if (!table || !name)
        return DB_ERR_NULL_HANDLE;
    std::shared_ptr<Table> loaded;
    if (const int result = d->loadTable(QByteArray(name), &loaded))
        return result;
    *table = d->tables.add(std::move(loaded));
    return DB_OK;
}

int SqliteDatabase::tableClose(void* table)
{
    return d->tables.close(table);
}

int SqliteDatabase::bindToTable(void* table, DB_BIND_FUNC_T bind, void** handle)
{
    if (!table)
        return DB_ERR_NULL_HANDLE;
    std::shared_ptr<Table>* opened = d->tables.find(table);
    if (!opened)
        return DB_ERR_INVALID_HANDLE;
    return d->makeBind(**opened, bind, handle);
}

int SqliteDatabase::bindToCursor(void* cursor, DB_BIND_FUNC_T bind, void** handle)
{
    if (!cursor)
        return DB_ERR_NULL_HANDLE;
    Cursor* c = d->cursors.find(cursor);
    if (!c)
        return DB_ERR_INVALID_HANDLE;
    return d->makeBind(*c->table, bind, handle);
}

int SqliteDatabase::closeBind(void* handle)
{
    return d->binds.close(handle);
}

int SqliteDatabase::txnBegin(void** txn, int flags)
{
    if (!txn)
        return DB_ERR_NULL_HANDLE;
    if (flags != 0)
        return DB_ERR_INVALID_ARGUMENT;
    // Overwriting a location that holds an open transaction would lose it, and its changes.
    if (d->txns.isOpen(*txn))
        return DB_ERR_TXN_ACTIVE;
    if (!getNativeDB())
        return d->openFailure;
    return d->txns.begin(txn);
}

int SqliteDatabase::txnCommit(void* txn)
{
    return d->txns.commit(txn);
}

int SqliteDatabase::txnAbort(void* txn)
{
    return d->txns.abort(txn);
}

int SqliteDatabase::tableInsert(void* txn, void* table, void* record, void* bind, unsigned int* id)
{
    Table* t;
    Layout* b;
    if (const int r = d->checkRecordCall(txn, table, bind, &t, &b))
        return r;
    if (!record || !id)
        return DB_ERR_NULL_HANDLE;
    int result;
    sql::Statement* s = d->recordStatement(
        b->insert, [b] { return insertSql(*b); }, *b, record, &result);
    if (!s)
        return result;
    {
        sql::StatementUse use(*s);
        if (const Status status = use->step(); status != Status::Ok)
            return resultOf(status);
    }
    const qint64 rowId = d->connection->lastInsertRowId();
    if (rowId > kMaxRecordId) {
        // Ids are 32-bit; the row that cannot be named is taken out again.
        d->deleteRow(*t, rowId);
        return DB_ERR_ID_EXHAUSTED;
    }
    *id = unsigned(rowId);
    return DB_OK;
}

int SqliteDatabase::tableUpdate(void* txn, void* table, unsigned int id, void* record, void* bind)
{
    Table* t;
    Layout* b;
    if (const int r = d->checkRecordCall(txn, table, bind, &t, &b))
        return r;
    if (!record)
        return DB_ERR_NULL_HANDLE;
    int result;
    sql::Statement* s = d->recordStatement(
        b->update, [b] { return updateSql(*b); }, *b, record, &result);
    if (!s)
        return result;
    sql::StatementUse use(*s);
    use->bindInt(int(b->fields.size()) + 1, id);
    if (const Status status = use->step(); status != Status::Ok)
        return resultOf(status);
    return d->connection->changes() ? DB_OK : DB_ERR_NOT_FOUND;
}

int SqliteDatabase::tableDelete(void* txn, void* table, unsigned int id)
{
    if (!table)
        return DB_ERR_NULL_HANDLE;
    if (const int r = d->txns.checkCurrent(txn))
        return r;
    std::shared_ptr<Table>* opened = d->tables.find(table);
    if (!opened)
        return DB_ERR_INVALID_HANDLE;
    return d->deleteRow(**opened, id);
}

int SqliteDatabase::tableFetchRecord(void* txn, void* table, unsigned int id, void* record,
                                     unsigned int size, void* bind)
{
    Table* t;
    Layout* b;
    if (const int r = d->checkRecordCall(txn, table, bind, &t, &b))
        return r;
    if (!record)
        return DB_ERR_NULL_HANDLE;
    for (const BoundField& field : b->fields) {
        if (quint64(field.offset) + field.size > size)
            return DB_ERR_INVALID_ARGUMENT;
    }
    int result;
    sql::Statement* s = statement(
        *d->connection, b->select, [b] { return selectSql(*b); }, &result);
    if (!s)
        return result;
    sql::StatementUse use(*s);
    use->bindInt(1, id);
    const Status status = use->step();
    if (status == Status::Ok)
        return DB_ERR_NOT_FOUND;
    if (status != Status::Row)
        return resultOf(status);
    auto* bytes = static_cast<unsigned char*>(record);
    for (size_t i = 0; i < b->fields.size(); ++i) {
        const BoundField& field = b->fields[i];
        std::memset(bytes + field.offset, 0, field.size);
        if (!use->columnIsNull(int(i)))
            storeValue(*s, int(i), field, bytes);
    }
    return DB_OK;
}

int SqliteDatabase::cursorOpen(void* txn, void** table, int order, const char* field, void** cursor)
{
    if (!txn || !table || !*table || !field || !cursor)
        return DB_ERR_NULL_HANDLE;
    if (!d->txns.isOpen(txn))
        return DB_ERR_INVALID_HANDLE;
    std::shared_ptr<Table>* opened = d->tables.find(*table);
    if (!opened)
        return DB_ERR_INVALID_HANDLE;
    if (order != DB_CURSOR_ASCENDING && order != DB_CURSOR_DESCENDING)
        return DB_ERR_INVALID_ARGUMENT;
    const QByteArray name(field);
    const int index = (*opened)->fieldIndex(name);
    // No schema field may be called "id": the name always stands for the record id.
    if (index < 0 && name != "id")
        return DB_ERR_NO_FIELD;
    const bool textField = index >= 0 && isTextType((*opened)->fields[size_t(index)].type);
    *cursor = d->cursors.add(Cursor{*opened, index, order, txn, textField});
    return DB_OK;
}

int SqliteDatabase::cursorClose(void* cursor)
{
    return d->cursors.close(cursor);
}

int SqliteDatabase::cursorLocate(void* cursor, void* term)
{
    if (!cursor || !term)
        return DB_ERR_NULL_HANDLE;
    Cursor* c;
    if (const int r = d->checkCursor(cursor, &c))
        return r;
    const Term* t = d->terms.find(term);
    if (!t)
        return DB_ERR_INVALID_HANDLE;
    const auto& conditions = t->conditions;
    std::vector<int> fields;
    for (const auto& condition : conditions) {
        const int index = c->table->fieldIndex(condition.first);
        if (index < 0)
            return DB_ERR_NO_FIELD;
        fields.push_back(index);
    }
    const auto bindTexts = [&conditions](sql::Statement& s) {
        int index = 1;
        for (const auto& condition : conditions)
            s.bindText(index++, condition.second);
    };
    return d->landed(*c, d->moveTo(*c, Move::Locate, bindTexts, std::move(fields)));
}

int SqliteDatabase::cursorMoveFirst(void* cursor)
{
    Cursor* c;
    if (const int r = d->checkCursor(cursor, &c))
        return r;
    return d->landed(*c, d->moveTo(*c, Move::First, [](sql::Statement&) {}));
}

int SqliteDatabase::cursorMoveNext(void* cursor)
{
    Cursor* c;
    if (const int r = d->checkCursor(cursor, &c))
        return r;
    return c->hasCurrent ? d->landed(*c, d->moveNext(*c)) : DB_ERR_NOT_FOUND;
}

int SqliteDatabase::cursorGetCurrentRecordInfo(void* cursor, unsigned int* id, void** table)
{
    if (!cursor || !id || !table || !*table)
        return DB_ERR_NULL_HANDLE;
    const Cursor* c = d->cursors.find(cursor);
    if (!c)
        return DB_ERR_INVALID_HANDLE;
    const std::shared_ptr<Table>* opened = d->tables.find(*table);
    if (!opened)
        return DB_ERR_INVALID_HANDLE;
    if ((*opened)->name != c->table->name)
        return DB_ERR_INVALID_ARGUMENT;
    if (!c->hasCurrent)
        return DB_ERR_NOT_FOUND;
    *id = c->currentId;
    return DB_OK;
}

void* SqliteDatabase::termOpen()
{
    return d->terms.add(Term{});
}

int SqliteDatabase::termCharEqual(void* term, const char* field, const char* text)
{
    if (!term || !field || !text)
        return DB_ERR_NULL_HANDLE;
    Term* t = d->terms.find(term);
    if (!t)
        return DB_ERR_INVALID_HANDLE;
    t->conditions.emplace_back(QByteArray(field), QByteArray(text));
    return DB_OK;
}

int SqliteDatabase::termClose(void* term)
{
    return d->terms.close(term);
}

} // namespace tavplatform
