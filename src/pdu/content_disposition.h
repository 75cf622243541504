#ifndef TAVMMS_PDU_CONTENT_DISPOSITION_H
#define TAVMMS_PDU_CONTENT_DISPOSITION_H

// The Content-Disposition of a multipart entry: how it is meant to be shown and, mostly, the name
// of the file it came from. Entries keep it as text, `attachment; filename="a.jpg"`, the way it
// reads in mail; WSP encodes it as a length, a disposition and parameters.

#include "content_type.h"
#include "tavmms_global.h"
#include "wsp_reader.h"
#include "wsp_writer.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <optional>

namespace tavmms::pdu
{

struct TAVMMS_EXPORT Disposition {
    // "form-data", "attachment", "inline" or another token.
    QByteArray kind;
    QList<Parameter> parameters;

    bool operator==(const Disposition& other) const
    {
        return kind == other.kind && parameters == other.parameters;
    }
};

// The text form: the kind, then `; name="value"` for each parameter, with '"' and '\' in values
// escaped by a backslash.
TAVMMS_EXPORT QByteArray dispositionText(const Disposition& disposition);
// The text form read back; values may be quoted or bare tokens, as mail writes them too.
TAVMMS_EXPORT Disposition parseDisposition(QByteArrayView text);

// A length, the kind (a number for the three WSP names, else a token text) and parameters.
TAVMMS_EXPORT std::optional<Disposition> readDisposition(WspReader& reader);
TAVMMS_EXPORT void writeDisposition(WspWriter& writer, const Disposition& disposition);

} // namespace tavmms::pdu

#endif
