#include "export_file.h"

#include "file_status.h"
#include "mail_file_io.h"

#include "filesync.h"

#include <QFile>

#include <cerrno>
#include <cstdio>

namespace tavmms::store
{

ExportFile::ExportFile(const QString& path) : path_(path), file_(path + QStringLiteral(".XXXXXX"))
{
}

Status ExportFile::failure() const
{
    return fileFailure(QStringLiteral("cannot write '%1'").arg(path_), errno);
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
    file_.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup |
                         QFileDevice::ReadOther);
    file_.close();
    const int renamed = replace ? std::rename(temporary.constData(), target.constData())
                                : renameWithoutReplacing(temporary, target);
    if (renamed != 0)
        return failure();
    file_.setAutoRemove(false);
    if (syncParentDirectory(target) != 0)
        return failure();
    return {};
}

} // namespace tavmms::store
