#include "file_status.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>

namespace tavmms::store
{

QString errnoText(int error)
{
    return error == ENOSPC ? QStringLiteral("no space left on device")
                           : QString::fromLocal8Bit(std::strerror(error));
}

Status fileFailure(const QString& what, int error)
{
    return Status::failure(error == ENOSPC   ? ErrorCode::NoSpace
                           : error == EEXIST ? ErrorCode::Exists
                                             : ErrorCode::Failed,
                           what + QStringLiteral(": ") + errnoText(error));
}

int directoryNames(const QString& directory, QStringList* names)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(
        ::opendir(QFile::encodeName(directory).constData()), ::closedir);
    if (!dir)
        return errno;
    for (;;) {
        errno = 0; // readdir() tells the end from an error by it alone
        const dirent* entry = ::readdir(dir.get());
        if (!entry)
            return errno;
        const QString name = QFile::decodeName(entry->d_name);
        if (name != QLatin1String(".") && name != QLatin1String(".."))
            names->append(name);
    }
}

} // namespace tavmms::store
