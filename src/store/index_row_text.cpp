#include "index_row_text.h"

#include "mms_util_tool.h"

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
    if (units > 0 && text.at(units - 1).isHighSurrogate())
        --units;
    return text.left(units);
}

QByteArray cut8(const QByteArray& text, qsizetype size)
{
    if (text.size() <= size)
        return text;
    while (size > 0 && (static_cast<unsigned char>(text.at(size)) & 0xC0) == 0x80)
        --size;
    return text.left(size);
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
