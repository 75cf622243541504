#ifndef TAVMMS_STORE_ROW_TEXT_H
#define TAVMMS_STORE_ROW_TEXT_H

// The text fields of an index row: 16-bit ones, whose units are high byte first in memory, and
// 8-bit ones kept as UTF-8, each cut to its field so that its terminator fits.

#include "tavmms_global.h"

#include <QByteArray>
#include <QString>

#include <cstddef>

namespace tavmms::store
{

// A 16-bit text field up to its terminator or end.
TAVMMS_EXPORT QString text16(const unsigned char* bytes, unsigned int size);
template <size_t N> QString text16(const unsigned short (&field)[N])
{
    return text16(reinterpret_cast<const unsigned char*>(field), unsigned(sizeof field));
}
// An 8-bit text field read as UTF-8, up to its terminator or end.
TAVMMS_EXPORT QString text8(const char* field, size_t size);
template <size_t N> QString text8(const char (&field)[N])
{
    return text8(field, N);
}
// The first `units` units of `text`, or fewer so that no character as a person sees it (a
// surrogate pair, a letter with its combining marks) is cut in half.
TAVMMS_EXPORT QString cut16(const QString& text, qsizetype units);
// The first `size` bytes of UTF-8 `text`, or fewer so that no character is cut in half, as cut16()
// cuts them.
TAVMMS_EXPORT QByteArray cut8(const QByteArray& text, qsizetype size);
// Writes `text` into a 16-bit field, cut so that its terminator fits; the rest of the field is
// zero.
TAVMMS_EXPORT void setText16(unsigned short* field, size_t units, const QString& text);
template <size_t N> void setText16(unsigned short (&field)[N], const QString& text)
{
    setText16(field, N, text);
}
// The same for an 8-bit field, written as UTF-8.
TAVMMS_EXPORT void setText8(char* field, size_t size, const QString& text);
template <size_t N> void setText8(char (&field)[N], const QString& text)
{
    setText8(field, N, text);
}

} // namespace tavmms::store

#endif
