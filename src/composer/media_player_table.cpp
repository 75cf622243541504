#include "media_player_table.h"

#include "media_capability_service.h"

namespace tavmms
{

QStringList playableExtensions(MP_Utility::MIME_TYPE_T kind)
{
    QStringList extensions;
    MP_Utility::queryMpSupportedExtensions(extensions, kind);
    return extensions;
}

bool setPlayableExtensions(MP_Utility::MIME_TYPE_T kind, const QStringList& extensions)
{
    return tavplatform::mediaCapabilityService().setPlayableExtensions(tavplatform::MediaKind(kind),
                                                                       extensions);
}

bool resetPlayableExtensions(MP_Utility::MIME_TYPE_T kind)
{
    return tavplatform::mediaCapabilityService().resetPlayableExtensions(
        tavplatform::MediaKind(kind));
}

} // namespace tavmms
