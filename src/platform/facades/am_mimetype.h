#ifndef TAVPLATFORM_AM_MIMETYPE_H
#define TAVPLATFORM_AM_MIMETYPE_H

#include "tavplatform_global.h"

#include <QString>
#include <QStringList>

// The phone's MIME registry, one for the process.
class TAVPLATFORM_EXPORT AM_MimeType
{
public:
    // The registry; it lives until the process ends and is never deleted by its users.
    static AM_MimeType* instance();

    // The file extensions (without the dot) that belong to `mimeId` ("type/subtype", any letter
    // case; aliases lead to their type), in the registry's order, most preferred first; an empty
    // list for a type the registry does not know.
    QStringList getExtListByMimeId(const QString& mimeId);

    AM_MimeType(const AM_MimeType&) = delete;
    AM_MimeType& operator=(const AM_MimeType&) = delete;

private:
    AM_MimeType() = default;
};

#endif
