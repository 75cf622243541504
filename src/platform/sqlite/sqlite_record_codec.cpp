#include "sqlite_record_codec.h"

#include <QString>

#include <cctype>
#include <cstring>
#include <string>

namespace tavplatform::devicedb
{

using sql::Status;

namespace
{

// All bits set is what lookups answer for "no record" (MMS_UTIL_DBTable::findMsgURI among them),
// so no record may have that id.
const qint64 kMaxRecordId = 0xFFFFFFFELL;

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

// The statement of `lazy` with the record's bound fields as its first parameters; null (with
// `result`) when it cannot be prepared.
template <typename MakeText>
sql::Statement* recordStatement(sql::Connection& connection, LazyStatement& lazy, MakeText makeText,
                                const Layout& layout, const void* record, int* result)
{
    sql::Statement* s = statement(connection, lazy, makeText, result);
    if (s) {
        const auto* bytes = static_cast<const unsigned char*>(record);
        for (size_t i = 0; i < layout.fields.size(); ++i)
            bindValue(*s, int(i) + 1, layout.fields[i], bytes);
    }
    return s;
}

// Checks each binding entry against the table's schema.
int checkBinding(const Table& table, const DB_BIND_T* entries, unsigned count,
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

} // namespace

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

bool isTextType(unsigned type)
{
    return type == DB_TYPE_CHAR_TEXT || type == DB_TYPE_UCS2_TEXT;
}

int readSchema(const DB_SCHEMA_T* schema, Table* table)
{
    for (int i = 0; schema[i].tag[0] || schema[i].tag[1] || schema[i].tag[2] || schema[i].tag[3];
         ++i) {
        const DB_SCHEMA_T& entry = schema[i];
        const QByteArray fieldName(entry.name, qsizetype(qstrnlen(entry.name, sizeof entry.name)));
        if (i == kMaxSchemaFields || std::memcmp(entry.tag, "dste", 4) != 0 ||
            !isPlainName(fieldName) || fieldName == "id" || table->fieldIndex(fieldName) >= 0 ||
            !sizeFitsType(entry.type, entry.size))
            return DB_ERR_INVALID_ARGUMENT;
        table->fields.push_back({fieldName, entry.size, entry.type, entry.flag});
    }
    return table->fields.empty() ? DB_ERR_INVALID_ARGUMENT : DB_OK;
}

int createTable(sql::Connection& connection, const Table& table)
{
    // Ids come from AUTOINCREMENT so that an id is never given twice, even after a delete: mail
    // files are named after them.
    std::string create =
        "CREATE TABLE " + quoted(table.name) + " (id INTEGER PRIMARY KEY AUTOINCREMENT";
    for (const Field& field : table.fields)
        create += ", " + quoted(field.name) + (isTextType(field.type) ? " TEXT" : " INTEGER");
    create += ")";

    sql::ScopedTransaction transaction(connection);
    if (const Status status = transaction.begin(); status != Status::Ok)
        return resultOf(status);
    if (const Status status = connection.exec(create.c_str()); status != Status::Ok)
        return resultOf(status);
    for (size_t i = 0; i < table.fields.size(); ++i) {
        const Field& field = table.fields[i];
        if (field.flag == 1) {
            // ':' is in no plain name, so no two tables' index names can meet.
            const std::string index =
                "CREATE INDEX " + quoted("tav_index:" + table.name + ":" + field.name) + " ON " +
                quoted(table.name) + " (" + quoted(field.name) + ", id)";
            if (const Status status = connection.exec(index.c_str()); status != Status::Ok)
                return resultOf(status);
        }
        int result;
        sql::Statement* s = statement(connection, kInsertSchemaField, &result);
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

int loadTable(sql::Connection& connection, std::map<QByteArray, std::shared_ptr<Table>>& schemas,
              const QByteArray& name, std::shared_ptr<Table>* table)
{
    int result;
    sql::Statement* s = statement(connection, kSelectSchema, &result);
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

int layoutOf(Table& table, DB_BIND_FUNC_T function, std::shared_ptr<Layout>* layout)
{
    unsigned count = 0;
    const DB_BIND_T* entries = function(&count);
    if (!entries || count == 0)
        return DB_ERR_INVALID_ARGUMENT;
    auto known = table.layouts.find(function);
    if (known == table.layouts.end() || !known->second->checked(entries, count)) {
        std::shared_ptr<Layout> checked;
        if (const int r = checkBinding(table, entries, count, &checked))
            return r;
        known = table.layouts.insert_or_assign(function, std::move(checked)).first;
    }
    *layout = known->second;
    return DB_OK;
}

int insertRecord(sql::Connection& connection, Table& table, Layout& layout, const void* record,
                 unsigned* id)
{
    int result;
    sql::Statement* s = recordStatement(
        connection, layout.insert, [&layout] { return insertSql(layout); }, layout, record,
        &result);
    if (!s)
        return result;
    {
        sql::StatementUse use(*s);
        if (const Status status = use->step(); status != Status::Ok)
            return resultOf(status);
    }
    const qint64 rowId = connection.lastInsertRowId();
    if (rowId > kMaxRecordId) {
        // Ids are 32-bit; the row that cannot be named is taken out again.
        deleteRecord(connection, table, rowId);
        return DB_ERR_ID_EXHAUSTED;
    }
    *id = unsigned(rowId);
    return DB_OK;
}

int updateRecord(sql::Connection& connection, Layout& layout, unsigned id, const void* record)
{
    int result;
    sql::Statement* s = recordStatement(
        connection, layout.update, [&layout] { return updateSql(layout); }, layout, record,
        &result);
    if (!s)
        return result;
    sql::StatementUse use(*s);
    use->bindInt(int(layout.fields.size()) + 1, id);
    if (const Status status = use->step(); status != Status::Ok)
        return resultOf(status);
    return connection.changes() ? DB_OK : DB_ERR_NOT_FOUND;
}

int fetchRecord(sql::Connection& connection, Layout& layout, unsigned id, void* record,
                unsigned size)
{
    for (const BoundField& field : layout.fields) {
        if (quint64(field.offset) + field.size > size)
            return DB_ERR_INVALID_ARGUMENT;
    }
    int result;
    sql::Statement* s = statement(
        connection, layout.select, [&layout] { return selectSql(layout); }, &result);
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
    for (size_t i = 0; i < layout.fields.size(); ++i) {
        const BoundField& field = layout.fields[i];
        std::memset(bytes + field.offset, 0, field.size);
        if (!use->columnIsNull(int(i)))
            storeValue(*s, int(i), field, bytes);
    }
    return DB_OK;
}

int deleteRecord(sql::Connection& connection, Table& table, qint64 id)
{
    int result;
    sql::Statement* s = statement(
        connection, table.deleteRow,
        [&table] { return "DELETE FROM " + quoted(table.name) + " WHERE id = ?"; }, &result);
    if (!s)
        return result;
    sql::StatementUse use(*s);
    use->bindInt(1, id);
    if (const Status status = use->step(); status != Status::Ok)
        return resultOf(status);
    return connection.changes() ? DB_OK : DB_ERR_NOT_FOUND;
}

} // namespace tavplatform::devicedb
