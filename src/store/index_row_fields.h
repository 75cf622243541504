#ifndef TAVMMS_STORE_INDEX_ROW_FIELDS_H
#define TAVMMS_STORE_INDEX_ROW_FIELDS_H

// The fields of an index row by their database names, as the record's binding lays them out: for
// tools that show or set any field of a row.

#include "device_db_types.h"
#include "mms_util_dbstruct.h"
#include "tavmms_global.h"

#include <QList>
#include <QString>
#include <QVariant>

namespace tavmms::store
{

// Every field of the record, in the binding's order.
TAVMMS_EXPORT QList<DB_BIND_T> rowFields();
// The value of `field` in `record`: a string for texts, a number (qint64) for the others.
TAVMMS_EXPORT QVariant rowFieldValue(const MMS_UTIL_DBStruct_T& record, const DB_BIND_T& field);
// Sets the field of `record` whose database name is `name` from its text; the other fields stay
// as they are. Texts are cut so that the terminator fits; numbers, in decimal digits, must fit the
// field. Gives false and sets `error` for an unknown name or a number that does not fit.
TAVMMS_EXPORT bool setRowField(MMS_UTIL_DBStruct_T* record, const QString& name,
                               const QString& text, QString* error);

} // namespace tavmms::store

#endif
