#include "platform_dir.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdlib>
#include <sys/stat.h>

namespace tavplatform
{

namespace
{

QString configuredDirectory()
{
    if (const char* dir = std::getenv("TAV_PLATFORM_DIR"); dir && *dir)
        return QFile::decodeName(dir);
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data)
        return QFile::decodeName(data) + QStringLiteral("/tavmms");
    const char* home = std::getenv("HOME");
    return QFile::decodeName(home ? home : "") + QStringLiteral("/.local/share/tavmms");
}

} // namespace

QString platformDirectory()
{
    const QString dir = QDir::cleanPath(configuredDirectory());
    if (QDir(dir).exists())
        return dir;
    // Parents are made as usual; the directory itself is private to its owner.
    if (!QDir().mkpath(QFileInfo(dir).absolutePath()))
        return QString();
    if (::mkdir(QFile::encodeName(dir).constData(), 0700) != 0 && !QDir(dir).exists())
        return QString();
    return dir;
}

} // namespace tavplatform
