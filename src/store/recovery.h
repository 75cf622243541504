#ifndef TAVMMS_STORE_RECOVERY_H
#define TAVMMS_STORE_RECOVERY_H

// What a program that died in the middle of a save or a delete leaves in the mail file directory,
// and how the store completes it, as a database completes a transaction that a crash cut short.

#include "message_store_types.h"

#include <QList>
#include <QString>

namespace tavmms::store
{

// The ids for which `directory` (ending in "/") holds "N.mms.tmp" or "N.mms.deleted", in id
// order; none when it cannot be read.
QList<unsigned int> interruptedIds(const QString& directory);

// Completes what was interrupted for each of `ids`, for a message that has its row and no mail
// file: a ".tmp" that loads completely is put in place (a save got as far as removing the old
// file), a torn one is removed; a ".deleted" is put back. A ".deleted" of a message without a row
// is removed (its delete was committed). Anything else is left for a repair: a file without a row
// may be the only copy of a message whose index was lost. Needs the store's exclusive lock and the
// index table open; the directory is synced after a change.
Status completeInterrupted(const QString& directory, const QList<unsigned int>& ids);

} // namespace tavmms::store

#endif
