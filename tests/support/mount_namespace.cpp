#include "support/mount_namespace.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>

namespace tavmms_test
{

namespace
{

std::string failure(const char* what)
{
    return std::string(what) + ": " + std::strerror(errno);
}

} // namespace

std::string enterPrivateMountNamespace()
{
    if (::unshare(CLONE_NEWNS) != 0)
        return failure("unshare(CLONE_NEWNS)");
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return failure("making the mounts private");
    return {};
}

std::string mountSmallTmpfs(const QString& path, int sizeKiB)
{
    const std::string options = "size=" + std::to_string(sizeKiB) + "k,mode=0700";
    if (::mount("tmpfs", QFile::encodeName(path).constData(), "tmpfs", 0, options.c_str()) != 0)
        return failure("mounting a tmpfs");
    return {};
}

std::string makeReadOnly(const QString& path)
{
    const QByteArray target = QFile::encodeName(path);
    if (::mount(target.constData(), target.constData(), nullptr, MS_BIND, nullptr) != 0)
        return failure("binding the directory onto itself");
    if (::mount(nullptr, target.constData(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) !=
        0)
        return failure("remounting the directory read-only");
    return {};
}

std::string fillDisk(const QString& path)
{
    QFile filler(path + QStringLiteral("/filler"));
    if (!filler.open(QIODevice::WriteOnly))
        return "cannot make the file that fills the disk";
    const QByteArray block(4096, 'f');
    while (filler.write(block) == block.size() && filler.flush()) {
    }
    return {};
}

} // namespace tavmms_test
