#ifndef TAVMMS_TESTS_MAILFILE_HELPERS_H
#define TAVMMS_TESTS_MAILFILE_HELPERS_H

#include "mms_util_msgheaderbase.h"

#include <QByteArray>
#include <QString>

#include <memory>

namespace tavmms_test
{

// The header text block that a default header writes, byte for byte.
extern const char kDefaultHeaderBlock[];
// The header text block that sampleHeader() writes, byte for byte (UTF-8).
extern const char kSampleHeaderBlock[];

// A header with every field set away from its default: non-ASCII names, a subject of two lines,
// recipients in all three lists, both dates.
std::unique_ptr<MMS_UTIL_MsgHeaderBase> sampleHeader();

// The header text block of `header`, as a fresh mail file object writes it.
QByteArray headerBlockOf(MMS_UTIL_MsgHeaderBase& header);
// A default header filled by a fresh mail file object from `block`.
std::unique_ptr<MMS_UTIL_MsgHeaderBase> headerFromBlock(const QByteArray& block);

// The 16-byte record: four big-endian words.
QByteArray recordBytes(quint32 headerTextOffset, quint32 reserved, quint32 bodyOffset,
                       quint32 bodyLength);
// `size` bytes of a fixed, non-repeating-looking pattern.
QByteArray patternBytes(int size, unsigned seed = 1);

// Whole-file access that bypasses the mail file class; an empty array when unreadable.
QByteArray readFileBytes(const QString& path);
bool writeFileBytes(const QString& path, const QByteArray& bytes);

} // namespace tavmms_test

#endif
