#ifndef TAVMMS_TESTS_INDEX_TABLE_HELPERS_H
#define TAVMMS_TESTS_INDEX_TABLE_HELPERS_H

#include "mms_util_dbstruct.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QString>

#include <cstddef>

namespace tavmms_test
{

// Clears the class-wide table handle and write transaction of MMS_UTIL_DBTable when made and when
// destroyed, so that no test sees what another one left there.
class ScopedIndexTableState
{
public:
    ScopedIndexTableState();
    ~ScopedIndexTableState();
    ScopedIndexTableState(const ScopedIndexTableState&) = delete;
    ScopedIndexTableState& operator=(const ScopedIndexTableState&) = delete;
};

// Writes `text` into a 16-bit field as MMS_UTIL_Tool::qstringToWCHAR makes it (high byte first
// in memory). The field is filled up to its end, without a terminator, when the text is that long
// or longer; the rest of the field is zero.
void setText16(unsigned short* field, size_t units, const QString& text);
template <size_t N> void setText16(unsigned short (&field)[N], const QString& text)
{
    setText16(field, N, text);
}
// The units of a 16-bit field up to its terminator or its end.
QString text16(const unsigned short* field, size_t units);
template <size_t N> QString text16(const unsigned short (&field)[N])
{
    return text16(field, N);
}

// The same for 8-bit fields.
void setText8(char* field, size_t size, const QByteArray& text);
template <size_t N> void setText8(char (&field)[N], const QByteArray& text)
{
    setText8(field, N, text);
}
template <size_t N> QByteArray text8(const char (&field)[N])
{
    return QByteArray(field, qsizetype(qstrnlen(field, N)));
}

// A record with every field set, each to a value of its own derived from `seed`, the URI to
// `uri`, and cmn_fld_contain_attachment to 0 (so that add() stores it exactly as given).
MMS_UTIL_DBStruct_T sampleRecord(const QByteArray& uri, unsigned seed = 1);
// A record of zero bytes only.
MMS_UTIL_DBStruct_T zeroRecord();

// Compares two records byte for byte and names the field of the first difference.
::testing::AssertionResult sameRecord(const MMS_UTIL_DBStruct_T& expected,
                                      const MMS_UTIL_DBStruct_T& actual);

} // namespace tavmms_test

#endif
