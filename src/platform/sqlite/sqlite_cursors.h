#ifndef TAVPLATFORM_SQLITE_CURSORS_H
#define TAVPLATFORM_SQLITE_CURSORS_H

#include <tuple>
#include <vector>

namespace tavplatform::devicedb
{

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

} // namespace tavplatform::devicedb

#endif
