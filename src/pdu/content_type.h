#ifndef TAVMMS_PDU_CONTENT_TYPE_H
#define TAVMMS_PDU_CONTENT_TYPE_H

// Content types as WSP encodes them in MMS PDUs and multipart bodies: a well-known number, a text,
// or the general form with parameters. The numbers are WSP's, which from 0x40 on are not those
// of the library's own content-type table.

#include "tavmms_global.h"
#include "wsp_reader.h"
#include "wsp_writer.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <optional>

namespace tavmms::pdu
{

struct TAVMMS_EXPORT Parameter {
    QByteArray name;
    QByteArray value;

    bool operator==(const Parameter& other) const
    {
        return name == other.name && value == other.value;
    }
    bool operator!=(const Parameter& other) const { return !(*this == other); }
};

// The value of the first of `parameters` called `name`, ignoring case; empty when there is none.
TAVMMS_EXPORT QByteArray parameterValue(const QList<Parameter>& parameters, QByteArrayView name);

struct TAVMMS_EXPORT ContentType {
    // As read, a type WSP gives a number is spelled as that number reads, however the text that
    // carried it was spelled: the writer sends the number.
    QByteArray mediaType;
    // In the order they came. Typed values read as text: a charset by its name ("utf-8"), a
    // number in decimal, a content type by its name. An untyped parameter that the writer sends
    // typed ("Charset", "UTF-8") reads as the typed one it becomes ("charset", "utf-8").
    QList<Parameter> parameters;

    // The value of the first parameter called `name`, ignoring case; empty when there is none.
    QByteArray parameter(QByteArrayView name) const;
    bool hasParameter(QByteArrayView name) const;
    // Whether the media type is `type` ("image/jpeg") or, for "image/*", of that major type.
    bool is(QByteArrayView type) const;

    bool operator==(const ContentType& other) const
    {
        return mediaType == other.mediaType && parameters == other.parameters;
    }
    bool operator!=(const ContentType& other) const { return !(*this == other); }
};

// The media type of the well-known number `code`; empty for a number WSP does not assign.
TAVMMS_EXPORT QByteArray wellKnownMediaType(quint64 code);
// The well-known number of `mediaType`, ignoring case.
TAVMMS_EXPORT std::optional<quint8> wellKnownMediaCode(QByteArrayView mediaType);

// A Content-type-value: a short integer, an extension media text, or a value length, a media type
// and parameters.
TAVMMS_EXPORT std::optional<ContentType> readContentType(WspReader& reader);
// The shortest form that carries it: a well-known number or a text alone when there are no
// parameters, else the general form.
TAVMMS_EXPORT void writeContentType(WspWriter& writer, const ContentType& type);

// Parameters (typed or untyped) until `reader` is at its end, appended to `parameters`.
TAVMMS_EXPORT bool readParameters(WspReader& reader, QList<Parameter>& parameters);
// A parameter, typed when WSP gives its name a number this codec writes, else as token and text.
TAVMMS_EXPORT void writeParameter(WspWriter& writer, const Parameter& parameter);

// A Text-value: no value (a zero octet), a token text or a quoted string.
TAVMMS_EXPORT std::optional<QByteArray> readTextValue(WspReader& reader);

} // namespace tavmms::pdu

#endif
