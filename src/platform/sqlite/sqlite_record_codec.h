#ifndef TAVPLATFORM_SQLITE_RECORD_CODEC_H
#define TAVPLATFORM_SQLITE_RECORD_CODEC_H

#include "device_db_types.h"
#include "sqlconnection.h"
#include "sqlite_cursors.h"
#include "sqlite_statements.h"

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace tavplatform::devicedb
{

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

// A table's schema as it was loaded, shared by every handle and cursor of the table, with the
// bindings checked against it and the statements made for it, its cursors' moves among them.
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

// Names become SQL identifiers, so only plain ones are taken.
bool isPlainName(const QByteArray& name);

bool isTextType(unsigned type);

// Schemas longer than this are taken as missing their terminating entry.
inline constexpr int kMaxSchemaFields = 1024;

// Reads `schema`, up to its first entry with a zero tag, into the fields of `table`:
// DB_ERR_INVALID_ARGUMENT for a schema of no fields or of too many, or with an entry that is not
// sound (its tag; a name that is not plain, is "id" or is taken; a size that does not fit its
// type).
int readSchema(const DB_SCHEMA_T* schema, Table* table);

// Makes the table, its indexes and its schema rows, all or nothing.
int createTable(sql::Connection& connection, const Table& table);

// The schema of table `name` as the database holds it now. The one loaded before, kept in
// `schemas`, is kept with its checked bindings and statements while it is the same; a table made
// anew with another schema starts afresh.
int loadTable(sql::Connection& connection, std::map<QByteArray, std::shared_ptr<Table>>& schemas,
              const QByteArray& name, std::shared_ptr<Table>* table);

// The layout of the binding `function` gives: checked the first time, and again whenever the
// entries differ from those checked.
int layoutOf(Table& table, DB_BIND_FUNC_T function, std::shared_ptr<Layout>* layout);

// The record operations. A record is laid out as its binding's `layout` says; an id that no record
// has gives DB_ERR_NOT_FOUND.
// Gives the new record's id in `id`: DB_ERR_ID_EXHAUSTED when no id is left below all bits set.
int insertRecord(sql::Connection& connection, Table& table, Layout& layout, const void* record,
                 unsigned* id);
int updateRecord(sql::Connection& connection, Layout& layout, unsigned id, const void* record);
// Writes the bound fields of record `id` into `record` of `size` bytes (DB_ERR_INVALID_ARGUMENT
// when they do not all lie in it), and no other byte.
int fetchRecord(sql::Connection& connection, Layout& layout, unsigned id, void* record,
                unsigned size);
int deleteRecord(sql::Connection& connection, Table& table, qint64 id);

} // namespace tavplatform::devicedb

#endif
