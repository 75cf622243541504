#include "mail_file_defect.h"

#include "mail_file_io.h"

#include <QByteArray>
#include <QFile>

#include <bitset>

namespace tavmms::store
{

namespace
{

const qint64 kRecordSize = qint64(sizeof(MMS_UTIL_MAILFILE_HEADER_T));

// A save writes an empty line, one line per key and a line break after the last one. Readers skip
// lines they do not know, so other lines between them are no defect; a missing key or a last line
// without its break is what a file cut short looks like.
bool isWholeHeaderBlock(const QByteArray& block, MMS_UTIL_MailFile& file)
{
    if (!block.startsWith('\n') || !block.endsWith('\n'))
        return false;
    std::bitset<MMS_UTIL_MAILFILE_KEY_COUNT> seen;
    for (const QByteArray& line : block.split('\n')) {
        // The key of a line as the library's reader finds it: up to the first blank.
        const int index = file.judgeString(QString::fromUtf8(line.left(line.indexOf(' '))));
        if (index < MMS_UTIL_MAILFILE_KEY_COUNT)
            seen.set(size_t(index));
    }
    return seen.all();
}

MailFileDefect unreadable(const QFile& file)
{
    return {QStringLiteral("cannot be read: %1").arg(file.errorString()), true};
}

MailFileDefect defect(const char* why)
{
    return {QLatin1String(why)};
}

} // namespace

std::optional<MailFileDefect> mailFileDefect(const QString& path,
                                             std::optional<LoadedMailFile>* loaded)
{
    QFile raw(path);
    if (!raw.open(QIODevice::ReadOnly))
        return unreadable(raw);
    const qint64 size = raw.size();
    if (size < kRecordSize)
        return defect("shorter than its 16-byte record");
    MMS_UTIL_MailFile file(path);
    const MMS_UTIL_MAILFILE_HEADER_T record = file.readMailFileHeader();
    const qint64 headerStart = kRecordSize + record.bodyLength;
    if (record.bodyOffset != kRecordSize || record.headerTextOffset != headerStart)
        return defect("its 16-byte record does not describe a mail file");
    if (size < headerStart)
        return defect("cut short in its body");
    if (size == headerStart)
        return defect("its header block is missing");
    QString error;
    std::optional<LoadedMailFile> read = loadMailFile(path, &error);
    if (!read)
        return defect("its record does not fit the file");
    if (loaded)
        *loaded = std::move(read);
    if (!raw.seek(headerStart))
        return unreadable(raw);
    const QByteArray block = raw.readAll();
    if (raw.error() != QFileDevice::NoError)
        return unreadable(raw);
    if (!isWholeHeaderBlock(block, file))
        return defect("its header block is cut short");
    return std::nullopt;
}

} // namespace tavmms::store
