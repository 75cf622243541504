#include "mms_util_tool.h"

#include "hexdump.h"

#include <QFile>

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

// Files larger than this are dumped in part only: the dump is a debugging aid, not a copy.
const qint64 kMaxDumpedFileSize = 16 * 1024 * 1024;

} // namespace

unsigned short* MMS_UTIL_Tool::qstringToWCHAR(QString s)
{
    const qsizetype n = s.size();
    auto* units = new unsigned short[size_t(n) + 1]();
    for (qsizetype i = 0; i < n; ++i) {
        // The consumers read these arrays as big-endian UCS-2: the low byte goes first.
        const unsigned short code = s.at(i).unicode();
        units[i] = static_cast<unsigned short>(((code & 0xFFu) << 8) | (code >> 8));
    }
    return units;
}

unsigned int MMS_UTIL_Tool::uStrLen(unsigned short* s)
{
    unsigned int length = 0;
    if (s) {
        while (s[length] != 0)
            ++length;
    }
    return length;
}

QValueList<QCString> MMS_UTIL_Tool::split(const QCString& separator, const QCString& text)
{
    // Both are taken as zero-terminated strings, as the stored lists are.
    const QByteArray sep(separator.constData());
    const QByteArray whole(text.constData());
    QValueList<QCString> pieces;
    qsizetype start = 0;
    if (!sep.isEmpty()) {
        for (qsizetype pos = whole.indexOf(sep); pos != -1; pos = whole.indexOf(sep, start)) {
            const QByteArray piece = whole.mid(start, pos - start);
            if (!piece.isEmpty())
                pieces.append(piece);
            start = pos + sep.size();
        }
    }
    // Only the tail is stripped, and its emptiness is judged before stripping: callers rely on
    // a tail of blanks giving an empty last piece.
    const QByteArray tail = whole.mid(start);
    if (!tail.isEmpty())
        pieces.append(tail.trimmed());
    return pieces;
}

void MMS_UTIL_Tool::logOut(unsigned char* data, unsigned int length)
{
    std::printf("%s%d", "The data length is: ", int(length));
    std::puts("\r");
#ifdef TAVMMS_DUMP_LINES
    const QByteArray lines = tavmms::hexDumpLines(data, length);
    std::fwrite(lines.constData(), 1, size_t(lines.size()), stdout);
#else
    Q_UNUSED(data);
#endif
}

void MMS_UTIL_Tool::logOutFrFile(QString path)
{
    QFile file(path);
    if (!file.exists())
        return;
    // An unopened file reads as 0 bytes and is dumped as such.
    (void)file.open(QIODevice::ReadOnly);
    const qint64 size = qMin(file.size(), kMaxDumpedFileSize);
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[size_t(size) + 1]());
    const qint64 got = file.isOpen() ? file.read(reinterpret_cast<char*>(buffer.get()), size) : 0;
    logOut(buffer.get(), unsigned(qMax<qint64>(got, 0)));
    file.close();
}
