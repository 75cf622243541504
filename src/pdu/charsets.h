#ifndef TAVMMS_PDU_CHARSETS_H
#define TAVMMS_PDU_CHARSETS_H

// The charsets of MMS encoded-string values and text parts, which name them by their IANA
// MIBenum; Qt decodes them by name.

#include "tavmms_global.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace tavmms::pdu
{

// The name Qt decodes the charset `mibEnum` by; empty for a number not in the table.
TAVMMS_EXPORT QByteArray charsetName(quint64 mibEnum);

// The number of the charset called `name` (ignoring case), the first the table gives it.
TAVMMS_EXPORT std::optional<quint64> charsetMibEnum(QByteArrayView name);

// Whether text in the charset `mibEnum` is UTF-16 (or UCS-2), whose zero octets end no string.
TAVMMS_EXPORT bool isUtf16(quint64 mibEnum);

struct TAVMMS_EXPORT DecodedText {
    QString text;
    // Whether bytes that are not valid in the charset, or a character cut short at the end, were
    // given as U+FFFD: the text is shown all the same, with a warning.
    bool replaced = false;
};

// `bytes` in the charset `mibEnum`. UTF-16 without a byte order mark is big-endian. Nothing when
// the charset is not in the table or not available.
TAVMMS_EXPORT std::optional<DecodedText> decodeText(QByteArrayView bytes, quint64 mibEnum);

} // namespace tavmms::pdu

#endif
