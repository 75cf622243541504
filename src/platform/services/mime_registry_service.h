#ifndef TAVPLATFORM_MIME_REGISTRY_SERVICE_H
#define TAVPLATFORM_MIME_REGISTRY_SERVICE_H

#include "service_slot.h"
#include "tavplatform_global.h"

#include <QHash>
#include <QMimeDatabase>
#include <QString>
#include <QStringList>

namespace tavplatform
{

// The MIME registry behind AM_MimeType: which file extensions belong to a MIME type.
class TAVPLATFORM_EXPORT MimeRegistryService
{
public:
    virtual ~MimeRegistryService();

    // The extensions (without the dot) the registry holds for `mimeId` ("type/subtype"), in the
    // registry's own order, most preferred first; empty for a type it does not know.
    virtual QStringList extensions(const QString& mimeId) = 0;
    // The MIME type ("image/png") of the file at `path`, judged by its content and its name;
    // "application/octet-stream" for a file it can tell by neither.
    virtual QString mediaTypeOfFile(const QString& path) = 0;
};

// The registry on the freedesktop shared MIME database, through QMimeDatabase. Type names are
// compared without regard to case and aliases lead to their type ("image/pjpeg" gives the
// extensions of "image/jpeg"). Extensions come in the database's order and letter case.
class TAVPLATFORM_EXPORT QtMimeRegistry : public MimeRegistryService
{
public:
    QStringList extensions(const QString& mimeId) override;
    // The database reads the file's first bytes only.
    QString mediaTypeOfFile(const QString& path) override;

private:
    QMimeDatabase database_;
    // Lower-case names and aliases to the names the database knows, for the names it does not
    // find as written. Built on the first such name.
    QHash<QString, QString> foldedNames_;
};

// The registry AM_MimeType calls: the one installed, else the QtMimeRegistry.
TAVPLATFORM_EXPORT MimeRegistryService& mimeRegistryService();
// Installs `service` (not owned; null restores the default) and returns the one it replaces.
TAVPLATFORM_EXPORT MimeRegistryService* setMimeRegistryService(MimeRegistryService* service);

// Installs a service (a test double) for the life of a scope.
using ScopedMimeRegistryService = ScopedService<MimeRegistryService, &setMimeRegistryService>;

} // namespace tavplatform

#endif
