#include "mail_file_defect.h"

#include "file_descriptor.h"
#include "file_status.h"
#include "mail_file_io.h"

#include <QByteArray>
#include <QFile>

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tavmms::store
{

namespace
{

const qint64 kRecordSize = qint64(sizeof(MMS_UTIL_MAILFILE_HEADER_T));

// A save writes an empty line, one line per key and a line break after the last one. Readers skip
// lines they do not know, so other lines between them are no defect; a missing key or a last line
// without its break is what a file cut short looks like.
bool isWholeHeaderBlock(const QByteArray& block)
{
    if (!block.startsWith('\n') || !block.endsWith('\n'))
        return false;
    const QList<QByteArray>& keys = headerKeys();
    std::vector<bool> seen(size_t(keys.size()), false);
    for (qsizetype start = 0; start < block.size();) {
        const qsizetype end = block.indexOf('\n', start);
        const QByteArrayView key = keyOfLine(QByteArrayView(block).sliced(start, end - start));
        const qsizetype index = keys.indexOf(key);
        if (index >= 0)
            seen[size_t(index)] = true;
        start = end + 1;
    }
    return std::find(seen.begin(), seen.end(), false) == seen.end();
}

MailFileDefect unreadable(int error)
{
    return {QStringLiteral("cannot be read: %1").arg(errnoText(error)), true};
}

MailFileDefect defect(const char* why)
{
    return {QLatin1String(why)};
}

} // namespace

std::optional<MailFileDefect> mailFileDefect(const QString& path, QByteArray* headerBlock)
{
    return mailFileDefect(AT_FDCWD, path, headerBlock);
}

std::optional<MailFileDefect> mailFileDefect(int directory, const QString& name,
                                             QByteArray* headerBlock)
{
    // Plain reads of the two parts it needs: a check reads every mail file of the store.
    const FileDescriptor file{
        ::openat(directory, QFile::encodeName(name).constData(), O_RDONLY | O_CLOEXEC)};
    struct stat status {
    };
    if (file.fd < 0 || ::fstat(file.fd, &status) != 0)
        return unreadable(errno);
    const qint64 size = status.st_size;
    if (size < kRecordSize)
        return defect("shorter than its 16-byte record");
    unsigned char bytes[kRecordSize];
    errno = 0;
    if (readAt(file.fd, 0, bytes, kRecordSize) != kRecordSize)
        return unreadable(errno != 0 ? errno : EIO);
    const MMS_UTIL_MAILFILE_HEADER_T record = recordOf(bytes);
    const qint64 headerStart = kRecordSize + record.bodyLength;
    if (record.bodyOffset != kRecordSize || record.headerTextOffset != headerStart)
        return defect("its 16-byte record does not describe a mail file");
    if (size < headerStart)
        return defect("cut short in its body");
    if (size == headerStart)
        return defect("its header block is missing");
    // What else MMS_UTIL_MailFile::loadMailFile() refuses, given the checks above.
    if (record.reserved >= size)
        return defect("its record does not fit the file");
    QByteArray block(qsizetype(size - headerStart), Qt::Uninitialized);
    errno = 0;
    const qint64 read = readAt(file.fd, headerStart, block.data(), block.size());
    if (read < block.size() && errno != 0)
        return unreadable(errno);
    block.truncate(qsizetype(read));
    const bool whole = isWholeHeaderBlock(block);
    if (headerBlock)
        *headerBlock = block;
    if (!whole)
        return defect("its header block is cut short");
    return std::nullopt;
}

} // namespace tavmms::store
