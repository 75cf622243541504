#ifndef TAVMMS_STORE_SPACE_RESERVE_H
#define TAVMMS_STORE_SPACE_RESERVE_H

// Room held back for deleting messages on a full disk: a file of kReserveSize bytes beside the
// message index, which a delete that meets a full disk releases.

#include <QString>

namespace tavmms::store
{

// Enough for the index's log to take the removal of a row several times over.
constexpr qint64 kReserveSize = 128 * 1024;

// "messages.reserve" beside the message index; empty when there is no platform directory.
QString reservePath();
// Makes the reserve when it is not there, whole or not at all: on a disk without room for it,
// nothing is made, and the next call tries again.
void keepReserve(const QString& path);
// Removes the reserve; true when there was one to free.
bool releaseReserve(const QString& path);

} // namespace tavmms::store

#endif
