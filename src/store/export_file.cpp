#include "export_file.h"

#include "file_status.h"
#include "mail_file_io.h"

#include "filesync.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace tavmms::store
{

namespace
{

// Hidden beside the file it becomes, so that a listing of the folder does not show a half-written
// export.
QString temporaryName(const QString& path)
{
    const QFileInfo info(path);
    return info.absolutePath() + QStringLiteral("/.") + info.fileName() + QStringLiteral(".XXXXXX");
}

} // namespace

ExportFile::ExportFile(const QString& path, const QString& what, bool ownerOnly)
    : path_(path), what_(what.isEmpty() ? QStringLiteral("cannot write '%1'").arg(path) : what),
      ownerOnly_(ownerOnly), file_(temporaryName(path))
{
}

Status ExportFile::failure() const
{
    return fileFailure(what_, errno);
}

Status ExportFile::open()
{
    return file_.open() ? Status() : failure();
}

Status ExportFile::write(QByteArrayView bytes)
{
    return file_.write(bytes.data(), bytes.size()) == bytes.size() ? Status() : failure();
}

Status ExportFile::commit(bool replace)
{
    const QByteArray temporary = QFile::encodeName(file_.fileName());
    const QByteArray target = QFile::encodeName(path_);
    if (!file_.flush() || syncDescriptor(int(file_.handle())) != 0)
        return failure();
    if (!ownerOnly_)
        file_.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                             QFileDevice::ReadGroup | QFileDevice::ReadOther);
    file_.close();
    const int renamed = replace ? std::rename(temporary.constData(), target.constData())
                                : renameWithoutReplacing(temporary, target);
    if (renamed != 0)
        return failure();
    file_.setAutoRemove(false);
    // A name whose directory entry may not survive a power cut is not reported as written.
    if (syncParentDirectory(target) != 0) {
        const Status failed = failure();
        ::unlink(target.constData());
        return failed;
    }
    return {};
}

} // namespace tavmms::store
