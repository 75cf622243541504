#include "sqlite_cursors.h"

#include "sqlite_record_codec.h"
#include "sqlite_statements.h"

#include <string>

namespace tavplatform::devicedb
{

using sql::Status;

namespace
{

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

// Moves `c` to the first record, in its order, that the look-up `move` finds (whose parameters
// `bindParameters` binds); DB_ERR_NOT_FOUND when there is none. Only a found record moves the
// cursor: landed() takes it off its record when the whole move found none.
template <typename BindParameters>
int moveTo(sql::Connection& connection, Cursor& c, Move move, BindParameters bindParameters,
           std::vector<int> conditions = {})
{
    MoveQuery query{c.field, c.order, move, std::move(conditions)};
    Table& table = *c.table;
    int result;
    sql::Statement* s = statement(
        connection, table.moves[query], [&] { return moveSql(table, query); }, &result);
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
int landed(Cursor& c, int result)
{
    if (result == DB_ERR_NOT_FOUND)
        c.hasCurrent = false;
    return result;
}

// Moves `c` to the record after its current one. Records without a value in the field come
// first in ascending order and last in descending order; comparisons pass over them, so the
// walk has a look-up of its own for going through them and for stepping into or out of them.
int moveAfterCurrent(sql::Connection& connection, Cursor& c)
{
    const bool ascending = c.order == DB_CURSOR_ASCENDING;
    const auto noParameters = [](sql::Statement&) {};
    const Key& key = c.key; // read by the binding, before the move changes it
    const qint64 id = c.currentId;
    if (key.isNull) {
        const int r =
            moveTo(connection, c, Move::NullAfter, [id](sql::Statement& s) { s.bindInt(1, id); });
        if (r != DB_ERR_NOT_FOUND || !ascending)
            return r;
        return moveTo(connection, c, Move::NotNull, noParameters);
    }
    const auto bindKey = [&key, text = c.textField](sql::Statement& s) {
        if (text)
            s.bindText(1, key.text);
        else
            s.bindInt(1, key.number);
    };
    // A walk by id has no other record of the same key.
    int r = c.field < 0
                ? DB_ERR_NOT_FOUND
                : moveTo(connection, c, Move::SameKeyAfter, [&bindKey, id](sql::Statement& s) {
                      bindKey(s);
                      s.bindInt(2, id);
                  });
    if (r == DB_ERR_NOT_FOUND)
        r = moveTo(connection, c, Move::KeyAfter, bindKey);
    if (r != DB_ERR_NOT_FOUND || ascending)
        return r;
    return moveTo(connection, c, Move::Null, noParameters);
}

} // namespace

int moveFirst(sql::Connection& connection, Cursor& cursor)
{
    return landed(cursor, moveTo(connection, cursor, Move::First, [](sql::Statement&) {}));
}

int moveNext(sql::Connection& connection, Cursor& cursor)
{
    return cursor.hasCurrent ? landed(cursor, moveAfterCurrent(connection, cursor))
                             : DB_ERR_NOT_FOUND;
}

int locate(sql::Connection& connection, Cursor& cursor, const Term& term)
{
    const auto& conditions = term.conditions;
    std::vector<int> fields;
    for (const auto& condition : conditions) {
        const int index = cursor.table->fieldIndex(condition.first);
        if (index < 0)
            return DB_ERR_NO_FIELD;
        fields.push_back(index);
    }
    const auto bindTexts = [&conditions](sql::Statement& s) {
        int index = 1;
        for (const auto& condition : conditions)
            s.bindText(index++, condition.second);
    };
    return landed(cursor, moveTo(connection, cursor, Move::Locate, bindTexts, std::move(fields)));
}

} // namespace tavplatform::devicedb
