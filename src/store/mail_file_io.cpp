#include "mail_file_io.h"

#include "file_descriptor.h"
#include "file_status.h"

#include "filesync.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QTextStream>
#include <QtEndian>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace tavmms::store
{

namespace
{

// Removes `name` after a failure, and reports the failure's errno.
Status failureRemoving(const QByteArray& name, const QString& what)
{
    const int error = errno;
    ::unlink(name.constData());
    return fileFailure(what, error);
}

// The record's words, big-endian as QDataStream writes them.
void putWord(unsigned char* at, quint32 word)
{
    at[0] = uchar(word >> 24);
    at[1] = uchar(word >> 16);
    at[2] = uchar(word >> 8);
    at[3] = uchar(word);
}

// The key of the first line in which the two header blocks differ, or nothing when they agree.
QString firstDifference(const QByteArray& written, const QByteArray& read)
{
    const QList<QByteArray> expected = written.split('\n');
    const QList<QByteArray> actual = read.split('\n');
    for (qsizetype i = 0; i < qMax(expected.size(), actual.size()); ++i) {
        const QByteArray line = expected.value(i);
        if (line != actual.value(i)) {
            const QByteArray named = line.isEmpty() ? actual.value(i) : line;
            return QString::fromUtf8(named.left(named.indexOf(' ')));
        }
    }
    return QString();
}

} // namespace

int writeAll(int fd, iovec* parts, int count)
{
    while (count > 0) {
        const ssize_t written = ::writev(fd, parts, count);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return -1;
        }
        size_t left = size_t(written);
        while (count > 0 && left >= parts->iov_len) {
            left -= parts->iov_len;
            ++parts;
            --count;
        }
        if (count > 0) {
            parts->iov_base = static_cast<char*>(parts->iov_base) + left;
            parts->iov_len -= left;
        }
    }
    return 0;
}

QByteArray headerBlock(MMS_UTIL_MsgHeaderBase& header)
{
    QByteArray block;
    QBuffer buffer(&block);
    buffer.open(QIODevice::WriteOnly);
    QTextStream stream(&buffer);
    stream.setEncoding(QStringConverter::Utf8);
    MMS_UTIL_MailFile writer{QString()};
    writer.header = &header;
    writer.serializeMsgHeaderTo(stream);
    writer.header = nullptr;
    stream.flush();
    return block;
}

int linkWithoutReplacing(const QByteArray& from, const QByteArray& to)
{
    if (::link(from.constData(), to.constData()) != 0)
        return -1;
    // The new name holds the file now; the old one is only in the way.
    ::unlink(from.constData());
    return 0;
}

int placeholderWithoutReplacing(const QByteArray& from, const QByteArray& to)
{
    const int fd = ::open(to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0)
        return -1;
    ::close(fd);
    // The name is ours now: the rename replaces only the empty file just made.
    if (std::rename(from.constData(), to.constData()) == 0)
        return 0;
    const int error = errno;
    ::unlink(to.constData());
    errno = error;
    return -1;
}

int renameWithoutReplacing(const QByteArray& from, const QByteArray& to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    if (linkWithoutReplacing(from, to) == 0)
        return 0;
    if (errno != EPERM && errno != EOPNOTSUPP)
        return -1;
    return placeholderWithoutReplacing(from, to);
}

Status saveNewMailFile(const QString& path, MMS_UTIL_MsgHeaderBase& header, const QByteArray& body)
{
    return saveNewMailFile(path, headerBlock(header), body);
}

Status saveNewMailFile(const QString& path, const QByteArray& block, const QByteArray& body)
{
    const QByteArray target = QFile::encodeName(path);
    const QByteArray temporary = target + ".tmp";
    const QString what = QStringLiteral("cannot write the mail file '%1'").arg(path);
    unsigned char record[16];
    putWord(record, quint32(16 + body.size()));
    putWord(record + 4, 0);
    putWord(record + 8, 16);
    putWord(record + 12, quint32(body.size()));

    FileDescriptor file{
        ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644)};
    if (file.fd < 0)
        return fileFailure(what, errno);
    iovec parts[] = {{record, sizeof record},
                     {const_cast<char*>(body.constData()), size_t(body.size())},
                     {const_cast<char*>(block.constData()), size_t(block.size())}};
    if (writeAll(file.fd, parts, 3) != 0 || syncDescriptor(file.fd) != 0 ||
        ::close(std::exchange(file.fd, -1)) != 0 || renameWithoutReplacing(temporary, target) != 0)
        return failureRemoving(temporary, what);
    // Without the directory's sync the name may not survive a power cut: the message is not kept
    // until it does.
    if (syncParentDirectory(target) != 0)
        return failureRemoving(target, what);
    return {};
}

void readHeaderBlock(const QByteArray& block, MMS_UTIL_MsgHeaderBase* header)
{
    // Decoded whole, as the library's UTF-8 stream decodes it, and read as text.
    QString text = QString::fromUtf8(block);
    QTextStream stream(&text, QIODevice::ReadOnly);
    // A reader of its own: it keeps the values it read in the object.
    MMS_UTIL_MailFile reader{QString()};
    reader.readMsgHeaderFrom(stream, header);
}

const QList<QByteArray>& headerKeys()
{
    // Taken from what the library writes, so that they are its keys.
    static const QList<QByteArray> keys = [] {
        MMS_UTIL_MsgHeaderBase empty;
        QList<QByteArray> found;
        for (const QByteArray& line : headerBlock(empty).split('\n')) {
            if (!line.isEmpty())
                found << keyOfLine(line).toByteArray();
        }
        return found;
    }();
    return keys;
}

QByteArrayView keyOfLine(QByteArrayView line)
{
    const qsizetype blank = line.indexOf(' ');
    return blank < 0 ? line : line.first(blank);
}

QString readBackDifference(const QByteArray& block)
{
    MMS_UTIL_MsgHeaderBase read;
    readHeaderBlock(block, &read);
    return firstDifference(block, headerBlock(read));
}

MMS_UTIL_MAILFILE_HEADER_T recordOf(const unsigned char* bytes)
{
    return {qFromBigEndian<quint32>(bytes), qFromBigEndian<quint32>(bytes + 4),
            qFromBigEndian<quint32>(bytes + 8), qFromBigEndian<quint32>(bytes + 12)};
}

} // namespace tavmms::store
