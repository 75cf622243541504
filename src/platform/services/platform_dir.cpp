#include "platform_dir.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdlib>
#include <dlfcn.h>
#include <sys/stat.h>

namespace tavplatform
{

namespace
{

// Empty when there is no place to put it: no variable set, and no home.
QString configuredDirectory()
{
    if (const char* dir = std::getenv("TAV_PLATFORM_DIR"); dir && *dir)
        return QFile::decodeName(dir);
    // A relative data home is not a valid one; the desktop conventions say to ignore it.
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data == '/')
        return QFile::decodeName(data) + QStringLiteral("/tavmms");
    if (const char* home = std::getenv("HOME"); home && *home)
        return QFile::decodeName(home) + QStringLiteral("/.local/share/tavmms");
    return QString();
}

} // namespace

QString platformDirectory()
{
    const QString configured = configuredDirectory();
    if (configured.isEmpty())
        return QString();
    const QString dir = QDir::cleanPath(configured);
    if (QDir(dir).exists())
        return dir;
    // Parents are made as usual; the directory itself is private to its owner.
    if (!QDir().mkpath(QFileInfo(dir).absolutePath()))
        return QString();
    if (::mkdir(QFile::encodeName(dir).constData(), 0700) != 0 && !QDir(dir).exists())
        return QString();
    return dir;
}

QString platformFilePath(const QString& name)
{
    const QString dir = platformDirectory();
    return dir.isEmpty() ? QString() : dir + QLatin1Char('/') + name;
}

QString codeDirectory()
{
    Dl_info info;
    if (::dladdr(reinterpret_cast<const void*>(&codeDirectory), &info) == 0 || !info.dli_fname)
        return QString();
    return QFileInfo(QFile::decodeName(info.dli_fname)).absolutePath();
}

} // namespace tavplatform
