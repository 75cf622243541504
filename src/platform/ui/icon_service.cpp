#include "icon_service.h"

#include "platform_dir.h"

#include <QDir>
#include <QFileInfo>
#include <QImageReader>

// The built-in icons are compiled into the plugin, and into programs that link it statically:
// naming their initializer makes sure the linker keeps them.
static void initBuiltInIcons()
{
    static const bool done = [] {
        Q_INIT_RESOURCE(icons);
        return true;
    }();
    (void)done;
}

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

// The icons built into the plugin, read when the platform's directories lack one.
const QString kBuiltInIcons = QStringLiteral(":/tavmmsutility/icons");

// The picture in `file`, whose content decides the format: a file may keep its historical name
// in another format. Null when it cannot be read.
QPixmap readIcon(const QString& file)
{
    initBuiltInIcons();
    QImageReader reader(file);
    reader.setDecideFormatFromContent(true);
    return QPixmap::fromImage(reader.read());
}

// A name is a file name, never a path that could leave the icon directories.
bool isFileName(const QString& name)
{
    return !name.isEmpty() && !name.contains(QLatin1Char('/'));
}

} // namespace

IconResourceService::~IconResourceService() = default;

QStringList PlatformIcons::defaultDirectories()
{
    QStringList directories;
    const QString code = codeDirectory();
    if (!code.isEmpty())
        directories << QDir::cleanPath(code + QStringLiteral("/" TAVPLATFORM_LIB_TO_DATA "/icons"));
    return directories;
}

PlatformIcons::PlatformIcons(QStringList directories) : directories_(std::move(directories)) {}

QPixmap PlatformIcons::icon(const QString& name)
{
    if (!isFileName(name))
        return QPixmap();
    const QString file = iconFile(name);
    const QPixmap picture = file.isEmpty() ? QPixmap() : readIcon(file);
    return picture.isNull() ? readIcon(kBuiltInIcons + QLatin1Char('/') + name) : picture;
}

QString PlatformIcons::iconFile(const QString& name) const
{
    if (!isFileName(name))
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
