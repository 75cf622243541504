#ifndef TAVPLATFORM_MP_UTILITY_H
#define TAVPLATFORM_MP_UTILITY_H

#include "tavplatform_global.h"

#include <QStringList>

// What the phone's media player can play.
class TAVPLATFORM_EXPORT MP_Utility
{
public:
    // The kinds of media the player has a list for.
    enum MIME_TYPE_T {
        MIME_TYPE_AUDIO = 0,
        MIME_TYPE_VIDEO = 1,
    };

    // Appends to `out` the file extensions (without the dot) of the media of `kind` that the
    // player plays, in the player's order; appends nothing for another value of `kind`.
    static void queryMpSupportedExtensions(QStringList& out, MIME_TYPE_T kind);
};

#endif
