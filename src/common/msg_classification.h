#ifndef TAVMMS_MSG_CLASSIFICATION_H
#define TAVMMS_MSG_CLASSIFICATION_H

#include "mms_content_type.h"

#include <QString>

// What kind of message a content type announces, behind MMS_UTIL_Common's
// getMsgTypeByContentType and getAppTypeFrParaList.
namespace tavmms
{

// The message-type code (MMS_UTIL_Common::MsgType) of a message with this content type.
int messageTypeOf(const MMS_CONTENT_TYPE_T& contentType);

// The content-type number of the first "type" parameter of `paraList`, 0 when there is none.
// Positions inside the parameter are one-byte values, as messages stored by older releases were
// read with: see msg_classification.cpp.
unsigned char startTypeOf(const QString& paraList);

} // namespace tavmms

#endif
