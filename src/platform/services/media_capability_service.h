#ifndef TAVPLATFORM_MEDIA_CAPABILITY_SERVICE_H
#define TAVPLATFORM_MEDIA_CAPABILITY_SERVICE_H

#include "service_slot.h"
#include "tavplatform_global.h"

#include <QString>
#include <QStringList>

namespace tavplatform
{

// The kinds of media the player keeps a list for; the values of MP_Utility::MIME_TYPE_T.
enum MediaKind {
    MediaAudio = 0,
    MediaVideo = 1,
};

// The phone's table of playable file extensions behind MP_Utility: one ordered list for audio
// and one for video.
class TAVPLATFORM_EXPORT MediaCapabilityService
{
public:
    virtual ~MediaCapabilityService();

    // The extensions (without the dot) the player plays for `kind`; empty for another value.
    virtual QStringList playableExtensions(MediaKind kind) = 0;
    // Replaces the list of `kind`. True once it is stored; false with errno set when the storage
    // refuses it (ENOSPC: storage full), and with EINVAL for another value of `kind` or an empty
    // extension or one holding a ",".
    virtual bool setPlayableExtensions(MediaKind kind, const QStringList& extensions) = 0;
    // Goes back to the list the phone comes with; the same results as setPlayableExtensions().
    virtual bool resetPlayableExtensions(MediaKind kind) = 0;
};

// The table kept in the settings store, group "TAV_Media_Player", keys "audio" and "video", each
// list as its extensions joined by ","; a missing key stands for the list the phone comes with.
class TAVPLATFORM_EXPORT StoreMediaCapabilities : public MediaCapabilityService
{
public:
    // The list the phone comes with for `kind`, most common format first; empty for another
    // value.
    static QStringList factoryExtensions(MediaKind kind);

    QStringList playableExtensions(MediaKind kind) override;
    bool setPlayableExtensions(MediaKind kind, const QStringList& extensions) override;
    bool resetPlayableExtensions(MediaKind kind) override;
};

// The table MP_Utility calls: the one installed, else the StoreMediaCapabilities.
TAVPLATFORM_EXPORT MediaCapabilityService& mediaCapabilityService();
// Installs `service` (not owned; null restores the default) and returns the one it replaces.
TAVPLATFORM_EXPORT MediaCapabilityService*
setMediaCapabilityService(MediaCapabilityService* service);

// Installs a service (a test double) for the life of a scope.
using ScopedMediaCapabilityService =
    ScopedService<MediaCapabilityService, &setMediaCapabilityService>;

} // namespace tavplatform

#endif
