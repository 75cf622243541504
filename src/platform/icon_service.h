#ifndef TAVPLATFORM_ICON_SERVICE_H
#define TAVPLATFORM_ICON_SERVICE_H

#include "platform_global.h"
#include "service_slot.h"

#include <QPixmap>
#include <QString>
#include <QStringList>

namespace tavplatform
{

// The platform's icons behind RES_ICON_Reader. Pictures need a QGuiApplication.
class TAVPLATFORM_EXPORT IconResourceService
{
public:
    virtual ~IconResourceService();

    // The picture of the icon `name` (its file name, e.g. "Dialog_Error.gif"); a null pixmap for
    // an icon the platform does not have.
    virtual QPixmap icon(const QString& name) = 0;
};

// Icons kept as files in the platform's icon directories; the first directory that holds a
// readable file of the name wins. The format is read from the file's content, whatever its name
// says. When the file of an icon that every phone has ("Dialog_Error.gif") is missing or
// unreadable, the desktop theme's picture of it stands in, else the widget style's (with a
// QApplication).
class TAVPLATFORM_EXPORT PlatformIcons : public IconResourceService
{
public:
    // The directories where the platform's icons are installed: "icons" in the library's data
    // directory, found from where the library lies so that an installed tree can be moved, then
    // the icons of the source tree the library was built from, which a build tree uses.
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
TAVPLATFORM_EXPORT IconResourceService& iconResourceService();
// Installs `service` (not owned; null restores the default) and returns the one it replaces.
TAVPLATFORM_EXPORT IconResourceService* setIconResourceService(IconResourceService* service);

// Installs a service (a test double) for the life of a scope.
using ScopedIconResourceService = ScopedService<IconResourceService, &setIconResourceService>;

} // namespace tavplatform

#endif
