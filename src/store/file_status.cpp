#include "file_status.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>

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

Status makeDirectory(const QString& directory, const QString& what)
{
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(directory).toStdString(), error);
    return error ? fileFailure(what, error.value()) : Status();
}

int directoryEntries(const QString& directory, QList<DirectoryEntry>* entries)
{
    const QByteArray path = QFile::encodeName(directory);
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(path.constData()), ::closedir);
    if (!dir)
        return errno;
    for (;;) {
        errno = 0; // readdir() tells the end from an error by it alone
        const dirent* entry = ::readdir(dir.get());
        if (!entry)
            return errno;
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        unsigned char type = entry->d_type;
        // A link is judged by what it points at, and some file systems do not give the type.
        struct stat status {
        };
        if ((type == DT_UNKNOWN || type == DT_LNK) &&
            ::stat((path + '/' + entry->d_name).constData(), &status) == 0)
            type = S_ISREG(status.st_mode) ? DT_REG : S_ISDIR(status.st_mode) ? DT_DIR : DT_UNKNOWN;
        entries->append({QFile::decodeName(entry->d_name), type == DT_REG ? DirectoryEntry::File
                                                           : type == DT_DIR
                                                               ? DirectoryEntry::Directory
                                                               : DirectoryEntry::Other});
    }
}

int directoryNames(const QString& directory, QStringList* names)
{
    QList<DirectoryEntry> entries;
    const int error = directoryEntries(directory, &entries);
    for (const DirectoryEntry& entry : entries)
        names->append(entry.name);
    return error;
}

} // namespace tavmms::store
