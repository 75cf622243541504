#ifndef TAVPLATFORM_ICON_SERVICE_H
#define TAVPLATFORM_ICON_SERVICE_H

#include "service_slot.h"

#include <QPixmap>
#include <QString>
#include <QStringList>

namespace tavplatform
{

// The platform's icons behind RES_ICON_Reader. Pictures need a QGuiApplication.
class IconResourceService
{
public:
    virtual ~IconResourceService();

    // The picture of the icon `name` (its file name, e.g. "Dialog_Error.gif"); a null pixmap for
    // an icon the platform does not have.
    virtual QPixmap icon(const QString& name) = 0;
};

// Icons kept as files in the platform's icon directories; the first directory that holds a
// readable file of the name wins. The format is read from the file's content, whatever its name
// says. An icon that no directory holds, or only as a file that cannot be read, is the one built
// into the plugin ("Dialog_Error.gif"), if there is one.
class PlatformIcons : public IconResourceService
{
public:
    // The directory where a platform installs its icons: "icons" in the library's data
    // directory, found from where the platform library lies so that an installed tree can be moved.
    static QStringList defaultDirectories();

    // Looks in `directories`, in their order.
    explicit PlatformIcons(QStringList directories = defaultDirectories());

    QPixmap icon(const QString& name) override;

    // The path of the first readable file for `name` in the directories; empty when there is none,
    // and for an empty name or one holding a "/" (a name never leads out of the directories).
    QString iconFile(const QString& name) const;

private:
    QStringList directories_;
};

// The icons RES_ICON_Reader calls: the ones installed, else PlatformIcons.
IconResourceService& iconResourceService();
// Installs `service` (not owned; null restores the default) and returns the one it replaces.
IconResourceService* setIconResourceService(IconResourceService* service);

// Installs a service (a test double) for the life of a scope.
using ScopedIconResourceService = ScopedService<IconResourceService, &setIconResourceService>;

} // namespace tavplatform

#endif
