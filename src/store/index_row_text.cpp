#include "index_row_text.h"

#include "mms_util_tool.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <cstring>
#include <memory>

namespace tavmms::store
{

QString text16(const unsigned char* bytes, unsigned int size)
{
    QString text;
    for (unsigned int i = 0; 2 * i + 1 < size; ++i) {
        const char16_t unit = char16_t(bytes[2 * i] << 8 | bytes[2 * i + 1]);
        if (unit == 0)
            break;
        text.append(QChar(unit));
    }
    return text;
}

QString text8(const char* field, size_t size)
{
    return QString::fromUtf8(field, qsizetype(qstrnlen(field, uint(size))));
}

QString cut16(const QString& text, qsizetype units)
{
    if (text.size() <= units)
        return text;
    // The last boundary between characters as a person sees them (a letter and its combining
    // marks, a surrogate pair) that the field holds.
    // Whether `units` is a boundary depends on the characters around it alone, so a long text is
    // not looked at whole.
    const QString around = text.left(units + 16);
    QTextBoundaryFinder boundaries(QTextBoundaryFinder::Grapheme, around);
    boundaries.setPosition(units);
    if (!boundaries.isAtBoundary())
        boundaries.toPreviousBoundary();
    return text.left(std::max<qsizetype>(boundaries.position(), 0));
}

QByteArray cut8(const QByteArray& text, qsizetype size)
{
    if (text.size() <= size)
        return text;
    // Cut as the text's characters are cut, then as many whole bytes as they take.
    const QString decoded = QString::fromUtf8(text);
    qsizetype units = 0;
    for (qsizetype bytes = 0; units < decoded.size();) {
        const bool pair = decoded.at(units).isHighSurrogate() && units + 1 < decoded.size() &&
                          decoded.at(units + 1).isLowSurrogate();
        const char16_t unit = decoded.at(units).unicode();
        const qsizetype length = pair ? 4 : unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
        if (bytes + length > size)
            break;
        bytes += length;
        units += pair ? 2 : 1;
    }
    return cut16(decoded, units).toUtf8();
}

void setText16(unsigned short* field, size_t units, const QString& text)
{
    std::memset(field, 0, units * sizeof *field);
    const QString kept = cut16(text, qsizetype(units) - 1);
    const std::unique_ptr<unsigned short[]> converted(MMS_UTIL_Tool::qstringToWCHAR(kept));
    std::memcpy(field, converted.get(), size_t(kept.size()) * sizeof *field);
}

void setText8(char* field, size_t size, const QString& text)
{
    std::memset(field, 0, size);
    const QByteArray kept = cut8(text.toUtf8(), qsizetype(size) - 1);
    std::memcpy(field, kept.constData(), size_t(kept.size()));
}

} // namespace tavmms::store
