#ifndef TAVMMS_STORE_PDU_FIELD_TEXT_H
#define TAVMMS_STORE_PDU_FIELD_TEXT_H

// The header fields of any MMS PDU in words, for a person or a script looking into one: each value
// read as its field means it (a message type by its name, a version as "1.2", a date in ISO 8601,
// a yes or no as such), not as the octets that carry it.

#include "header_field.h"
#include "part_header.h"
#include "tavmms_global.h"

#include <QString>

namespace tavmms::store
{

struct TAVMMS_EXPORT FieldText {
    QString name;    // "X-Mms-Message-Type", or a text header's own name
    QString value;   // "m-retrieve-conf", "1.2", "2026-05-04T10:15:02+02:00", "+604800 seconds"
    QString charset; // of an encoded string that named one ("utf-8"); else empty
};

TAVMMS_EXPORT FieldText fieldText(const pdu::HeaderField& field);
// A part header's value as text: its octets in hex when the codec keeps them unread.
TAVMMS_EXPORT QString partHeaderText(const pdu::PartHeader& header);

// Seconds since 1970 as local time with its offset from UTC: "2026-05-04T10:15:02+02:00".
TAVMMS_EXPORT QString isoDateText(qint64 seconds);
// An offset from UTC in seconds as "+02:00", "-05:30", "+00:00".
TAVMMS_EXPORT QString utcOffsetText(int seconds);

} // namespace tavmms::store

#endif
