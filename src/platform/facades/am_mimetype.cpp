#include "am_mimetype.h"

#include "mime_registry_service.h"

AM_MimeType* AM_MimeType::instance()
{
    static AM_MimeType registry;
    return &registry;
}

QStringList AM_MimeType::getExtListByMimeId(const QString& mimeId)
{
    return tavplatform::mimeRegistryService().extensions(mimeId);
}
