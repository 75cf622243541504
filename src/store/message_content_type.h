#ifndef TAVMMS_STORE_MESSAGE_CONTENT_TYPE_H
#define TAVMMS_STORE_MESSAGE_CONTENT_TYPE_H

// A message's content type as its header keeps it ("type", "subtype", "name=value;name=value")
// and as the codec reads and writes it (a media type and a list of parameters).

#include "content_type.h"
#include "mms_content_type.h"
#include "tavmms_global.h"

namespace tavmms::store
{

// The header's parameters are split at ";" and at the first "=" of each; a value in double
// quotes (which a value holding ";" needs) is unquoted.
TAVMMS_EXPORT pdu::ContentType codecContentType(const MMS_CONTENT_TYPE_T& type);
// The parameters joined by ";" without blanks; a value holding ";", a blank or a '"' is quoted.
TAVMMS_EXPORT MMS_CONTENT_TYPE_T headerContentType(const pdu::ContentType& type);
// The MIME form, "text/plain; charset=utf-8; name=\"a b.txt\"", values quoted as the header's.
TAVMMS_EXPORT QString contentTypeText(const pdu::ContentType& type);

} // namespace tavmms::store

#endif
