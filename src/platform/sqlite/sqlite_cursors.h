#ifndef TAVPLATFORM_SQLITE_CURSORS_H
#define TAVPLATFORM_SQLITE_CURSORS_H

#include "sqlconnection.h"

#include <QByteArray>

#include <memory>
#include <tuple>
#include <utility>
#include <vector>

namespace tavplatform::devicedb
{

// A table keeps the statements of its cursors' moves, so its header (sqlite_record_codec.h) takes
// MoveQuery from this one, and this one names the table only.
struct Table;

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

// The moves of a cursor, each to the first record, in the cursor's order, of those it looks for.
// One that finds none gives DB_ERR_NOT_FOUND and leaves the cursor on no record; any other failure
// leaves it where it was.
int moveFirst(sql::Connection& connection, Cursor& cursor);
// The records after the current one; DB_ERR_NOT_FOUND at once when the cursor stands on none.
int moveNext(sql::Connection& connection, Cursor& cursor);
// The records that meet every condition of `term`: DB_ERR_NO_FIELD for a condition on a field the
// table does not have.
int locate(sql::Connection& connection, Cursor& cursor, const Term& term);

} // namespace tavplatform::devicedb

#endif
