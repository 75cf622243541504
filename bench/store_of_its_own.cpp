#include "store_of_its_own.h"

#include <QDir>
#include <QFile>

StoreOfItsOwn::StoreOfItsOwn(const QString& root)
    : root_(root),
      platform_("TAV_PLATFORM_DIR", QFile::encodeName(root_ + QStringLiteral("/platform"))),
      download_("TAV_LOCAL_DOWNLOAD_PATH", QFile::encodeName(root_ + QStringLiteral("/download"))),
      database_((QDir().mkpath(root_ + QStringLiteral("/platform")),
                 root_ + QStringLiteral("/platform/device.db"))),
      installed_(&database_)
{
}
