#include "part_extraction.h"

#include "file_descriptor.h"
#include "file_status.h"
#include "mail_file_io.h"
#include "part_file_name.h"
#include "transfer_encoding.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tavmms::store
{

namespace
{

// How many numbered names are tried for one part before it counts as failed: a directory that
// holds them all is no place to write to.
constexpr int kNumberedNames = 10000;

// Makes a new file for `name` in the directory `dir`, or for the first of its numbered names
// that is free; its descriptor, or -1 with errno set. The name made is left in `name`.
int createFree(int dir, QString* name)
{
    const QString base = *name;
    for (int n = 2; n <= kNumberedNames + 1; ++n) {
        const int fd = ::openat(dir, QFile::encodeName(*name).constData(),
                                O_CREAT | O_EXCL | O_NOFOLLOW | O_WRONLY | O_CLOEXEC, 0644);
        if (fd >= 0 || errno != EEXIST)
            return fd;
        *name = numberedFileName(base, n);
    }
    errno = EEXIST;
    return -1;
}

QString pathIn(QString directory, const QString& name)
{
    while (directory.size() > 1 && directory.endsWith(QLatin1Char('/')))
        directory.chop(1);
    return directory + (directory.endsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/")) +
           name;
}

// Writes `data` to a new file in `dir` named after `name`; the name it got, or the failure.
Status writeNew(int dir, const QString& directory, QString* name, const QByteArray& data)
{
    const int fd = createFree(dir, name);
    const QString path = pathIn(directory, *name);
    if (fd < 0)
        return fileFailure(QStringLiteral("cannot make '%1'").arg(path), errno);
    const FileDescriptor file{fd};
    iovec whole{const_cast<char*>(data.constData()), size_t(data.size())};
    if (writeAll(file.fd, &whole, 1) == 0)
        return {};
    const int error = errno;
    ::unlinkat(dir, QFile::encodeName(*name).constData(), 0);
    return fileFailure(QStringLiteral("cannot write '%1'").arg(path), error);
}

} // namespace

Status partNumberStatus(qsizetype count, int number)
{
    if (number >= 1 && number <= count)
        return {};
    return Status::failure(ErrorCode::NotFound,
                           QStringLiteral("no part %1: the message has %2 part%3")
                               .arg(number)
                               .arg(count)
                               .arg(count == 1 ? QString() : QStringLiteral("s")));
}

Extracted extractParts(const QList<pdu::Part>& parts, const QString& directory, int number)
{
    Extracted result;
    if (number != 0) {
        result.status = partNumberStatus(parts.size(), number);
        if (!result.status.ok())
            return result;
    }
    const FileDescriptor dir{
        ::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (dir.fd < 0) {
        result.status =
            fileFailure(QStringLiteral("cannot open the directory '%1'").arg(directory), errno);
        return result;
    }
    for (int i = 1; i <= parts.size(); ++i) {
        if (number != 0 && i != number)
            continue;
        QString name = partFileName(parts.at(i - 1), i);
        result.status = writeNew(dir.fd, directory, &name, pdu::decodedData(parts.at(i - 1)));
        if (!result.status.ok())
            return result;
        result.paths.append(pathIn(directory, name));
    }
    return result;
}

} // namespace tavmms::store
