#ifndef TAVMMS_PDU_MULTIPART_H
#define TAVMMS_PDU_MULTIPART_H

// The body of a multipart message (application/vnd.wap.multipart.*): a count of entries, then
// each entry's headers length, data length, content type, other headers and data.

#include "content_type.h"
#include "part_header.h"
#include "tavmms_global.h"
#include "wsp_reader.h"
#include "wsp_writer.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <optional>

namespace tavmms::pdu
{

// Whether `type` is of a multipart body, WSP's or mail's.
TAVMMS_EXPORT bool isMultipartType(const ContentType& type);

struct TAVMMS_EXPORT Part {
    ContentType contentType;
    // The headers after the content type, in the order they came.
    QList<PartHeader> headers;
    QByteArray data;

    // The value of the first header called `name`, ignoring case; empty when there is none.
    QByteArray header(QByteArrayView name) const;
    // As carried, angle brackets and all: "<0.smil>".
    QByteArray contentId() const;
    QByteArray contentLocation() const;
    // The filename parameter of the Content-Disposition.
    QByteArray dispositionFilename() const;
    // What to call the part: the content type's name, else the disposition's filename, else the
    // Content-Location.
    QByteArray name() const;
    // The charset of the data by the name it decodes by ("utf-8"), or as given when this codec
    // does not know it; empty when the content type names none.
    QByteArray charset() const;
    // Whether the data is a multipart body itself, which decodeMultipart reads.
    bool isMultipart() const;

    bool operator==(const Part& other) const
    {
        return contentType == other.contentType && headers == other.headers && data == other.data;
    }
    bool operator!=(const Part& other) const { return !(*this == other); }
};

// The parts of `body`; nothing, with the reason in `error`, when an entry does not read or the
// body ends before the count of entries. Octets after the last entry are ignored.
TAVMMS_EXPORT std::optional<QList<Part>> decodeMultipart(QByteArrayView body,
                                                         DecodeError* error = nullptr);
TAVMMS_EXPORT QByteArray encodeMultipart(const QList<Part>& parts);
// The same, after what `writer` holds.
TAVMMS_EXPORT void writeMultipart(WspWriter& writer, const QList<Part>& parts);

// The index of the part to present first: the one whose Content-ID is the `start` parameter of
// `multipartType` (angle brackets on either side or not), else the first; -1 when there are none.
TAVMMS_EXPORT qsizetype startPart(const ContentType& multipartType, const QList<Part>& parts);

} // namespace tavmms::pdu

#endif
