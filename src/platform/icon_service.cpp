#include "icon_service.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QImageReader>
#include <QStyle>

#include <dlfcn.h>

namespace tavplatform
{

namespace
{

ServiceSlot<IconResourceService>& iconSlot()
{
    static ServiceSlot<IconResourceService> instance(
        []() -> std::unique_ptr<IconResourceService> { return std::make_unique<PlatformIcons>(); });
    return instance;
}

// The directory of the file (the shared library, or a program linked statically) holding this
// code; empty when the loader cannot tell.
QString codeDirectory()
{
    Dl_info info;
    if (::dladdr(reinterpret_cast<const void*>(&codeDirectory), &info) == 0 || !info.dli_fname)
        return QString();
    return QFileInfo(QFile::decodeName(info.dli_fname)).absolutePath();
}

// What stands in for an icon every phone has when its file is missing.
struct StandardIcon {
    const char* name;
    const char* themeName;
    QStyle::StandardPixmap stylePixmap;
};

const StandardIcon kStandardIcons[] = {
    {"Dialog_Error.gif", "dialog-error", QStyle::SP_MessageBoxCritical},
};

// The size the shipped dialog icons have.
constexpr int kStandardIconSize = 32;

QPixmap standardIcon(const QString& name)
{
    for (const StandardIcon& standard : kStandardIcons) {
        if (name != QLatin1String(standard.name))
            continue;
        QIcon icon = QIcon::fromTheme(QLatin1String(standard.themeName));
        if (icon.isNull() && qobject_cast<QApplication*>(QCoreApplication::instance()))
            icon = QApplication::style()->standardIcon(standard.stylePixmap);
        return icon.pixmap(kStandardIconSize);
    }
    return QPixmap();
}

} // namespace

IconResourceService::~IconResourceService() = default;

QStringList PlatformIcons::defaultDirectories()
{
    QStringList directories;
    const QString code = codeDirectory();
    if (!code.isEmpty())
        directories << QDir::cleanPath(code + QStringLiteral("/" TAVPLATFORM_LIB_TO_DATA "/icons"));
    directories << QStringLiteral(TAVPLATFORM_SOURCE_ICONS);
    return directories;
}

PlatformIcons::PlatformIcons(QStringList directories) : directories_(std::move(directories)) {}

QPixmap PlatformIcons::icon(const QString& name)
{
    const QString file = iconFile(name);
    if (!file.isEmpty()) {
        QImageReader reader(file);
        // The content decides: a file may keep its historical name in another format.
        reader.setDecideFormatFromContent(true);
        const QImage image = reader.read();
        if (!image.isNull())
            return QPixmap::fromImage(image);
    }
    return standardIcon(name);
}

QString PlatformIcons::iconFile(const QString& name) const
{
    // A name is a file name, never a path that could leave the icon directories.
    if (name.isEmpty() || name.contains(QLatin1Char('/')))
        return QString();
    for (const QString& directory : directories_) {
        const QFileInfo file(QDir(directory).filePath(name));
        if (file.isFile() && file.isReadable())
            return file.filePath();
    }
    return QString();
}

IconResourceService& iconResourceService()
{
    return iconSlot().get();
}

IconResourceService* setIconResourceService(IconResourceService* service)
{
    return iconSlot().install(service);
}

} // namespace tavplatform
