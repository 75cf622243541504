#ifndef TAVMMS_PDU_PART_HEADER_H
#define TAVMMS_PDU_PART_HEADER_H

// The headers of a multipart entry after its content type: a field WSP numbers (Content-ID,
// Content-Location, Content-Disposition and the rest of WSP's table), or a name and a text
// ("Content-Transfer-Encoding: base64"). Each is kept, by name, with its value as text.

#include "tavmms_global.h"
#include "wsp_reader.h"
#include "wsp_writer.h"

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

namespace tavmms::pdu
{

struct TAVMMS_EXPORT PartHeader {
    // WSP's spelling for a numbered field, else as it came.
    QByteArray name;
    // As text: Content-ID as carried ("<0.smil>"), Content-Disposition in its text form
    // (`attachment; filename="a.jpg"`), a number in decimal.
    QByteArray value;
    // Whether `value` holds the octets of a field whose value is a length and octets this codec
    // does not read (a date, say): they are kept as they came, after the length, and written back.
    bool opaque = false;

    bool operator==(const PartHeader& other) const
    {
        return name.compare(other.name, Qt::CaseInsensitive) == 0 && value == other.value &&
               opaque == other.opaque;
    }
    bool operator!=(const PartHeader& other) const { return !(*this == other); }
};

// The name of the field WSP numbers `code`; empty for a number it does not assign.
TAVMMS_EXPORT QByteArray headerFieldName(quint8 code);

TAVMMS_EXPORT std::optional<PartHeader> readPartHeader(WspReader& reader);
// A field WSP names is written by its number, in the encoding its value has there; any other as
// a name and a text.
TAVMMS_EXPORT void writePartHeader(WspWriter& writer, const PartHeader& header);

} // namespace tavmms::pdu

#endif
