#include "mp_utility.h"

#include "media_capability_service.h"

void MP_Utility::queryMpSupportedExtensions(QStringList& out, MIME_TYPE_T kind)
{
    out += tavplatform::mediaCapabilityService().playableExtensions(tavplatform::MediaKind(kind));
}
