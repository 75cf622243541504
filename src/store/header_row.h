#ifndef TAVMMS_STORE_HEADER_ROW_H
#define TAVMMS_STORE_HEADER_ROW_H

// What an index row holds of a mail file's header: the same fields, cut as the row keeps them,
// whether the row is made for a new message, made again from a kept file or checked against it.

#include "mms_util_dbstruct.h"

#include <QByteArray>
#include <QStringList>

class MMS_UTIL_MsgHeaderBase;

namespace tavmms::store
{

// Sets the fields of `row` that `header` gives (sender, recipients, subject, time, priority, type,
// reports, size, expiry, delivery time, Message-ID); the others stay.
void setHeaderFields(MMS_UTIL_DBStruct_T* row, const MMS_UTIL_MsgHeaderBase& header);

// A row holding the fields `header` gives; the others are zero.
MMS_UTIL_DBStruct_T headerRow(const MMS_UTIL_MsgHeaderBase& header);

// The fields in which `row` does not say what the header block `block` says, by their header
// names ("Message-ID", "From", "Subject", "Date"), in that order. A field the row leaves empty
// claims nothing: rows written by other applications do not always fill them. The row's time is
// taken in the time zone the process last read (tzset()).
QStringList headerMismatch(const MMS_UTIL_DBStruct_T& row, const QByteArray& block);

// "its header does not match its row (Subject, Date)"; empty for no fields.
QString mismatchText(const QStringList& fields);

} // namespace tavmms::store

#endif
