#ifndef TAVMMS_MEDIA_PLAYER_TABLE_H
#define TAVMMS_MEDIA_PLAYER_TABLE_H

// The phone's table of what its media player plays, which MP_Utility and the composer's choice of
// an extension read, kept up to date by whoever installs a player.

#include "mp_utility.h"
#include "tavmms_global.h"

#include <QStringList>

namespace tavmms
{

// The extensions (without the dot) played for `kind`, as MP_Utility gives them.
TAVMMS_EXPORT QStringList playableExtensions(MP_Utility::MIME_TYPE_T kind);
// Replaces the list of `kind`. False with errno set when it cannot be stored (ENOSPC: storage
// full; EINVAL: another kind, or an empty extension or one holding a ",").
TAVMMS_EXPORT bool setPlayableExtensions(MP_Utility::MIME_TYPE_T kind,
                                         const QStringList& extensions);
// Goes back to the list the phone comes with; the same results as setPlayableExtensions().
TAVMMS_EXPORT bool resetPlayableExtensions(MP_Utility::MIME_TYPE_T kind);

} // namespace tavmms

#endif
