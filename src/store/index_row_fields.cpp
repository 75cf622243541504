#include "index_row_fields.h"

#include "index_row_text.h"
#include "user_input.h"

#include <algorithm>
#include <cstring>

namespace tavmms::store
{

namespace
{

const unsigned char* bytesOf(const MMS_UTIL_DBStruct_T& record, const DB_BIND_T& field)
{
    return reinterpret_cast<const unsigned char*>(&record) + field.offset;
}

} // namespace

QVariant rowFieldValue(const MMS_UTIL_DBStruct_T& record, const DB_BIND_T& field)
{
    const unsigned char* bytes = bytesOf(record, field);
    switch (field.code) {
    case DB_BIND_UCS2_TEXT:
        return text16(bytes, field.size);
    case DB_BIND_CHAR_TEXT:
        return text8(reinterpret_cast<const char*>(bytes), field.size);
    case DB_BIND_INT16: {
        quint16 value;
        std::memcpy(&value, bytes, sizeof value);
        return qint64(value);
    }
    default: { // times and 32-bit numbers
        quint32 value;
        std::memcpy(&value, bytes, sizeof value);
        return qint64(value);
    }
    }
}

QList<DB_BIND_T> rowFields()
{
    unsigned int count = 0;
    const DB_BIND_T* entries = MMS_UTIL_DBGetBinding(&count);
    return QList<DB_BIND_T>(entries, entries + count);
}

bool setRowField(MMS_UTIL_DBStruct_T* record, const QString& name, const QString& text,
                 QString* error)
{
    const QList<DB_BIND_T> fields = rowFields();
    const auto field = std::find_if(fields.cbegin(), fields.cend(), [&name](const DB_BIND_T& f) {
        return name == QLatin1String(f.name);
    });
    if (field == fields.cend()) {
        *error = QStringLiteral("unknown field '%1'").arg(name);
        return false;
    }
    unsigned char* bytes = reinterpret_cast<unsigned char*>(record) + field->offset;
    std::memset(bytes, 0, field->size);
    switch (field->code) {
    case DB_BIND_UCS2_TEXT:
        setText16(reinterpret_cast<unsigned short*>(bytes), field->size / 2, text);
        return true;
    case DB_BIND_CHAR_TEXT:
        setText8(reinterpret_cast<char*>(bytes), field->size, text);
        return true;
    default:
        break;
    }
    const unsigned int maximum = field->code == DB_BIND_INT16 ? 0xFFFFu : 0xFFFFFFFFu;
    const std::optional<unsigned int> value = parseNumber(text, maximum);
    if (!value) {
        *error = QStringLiteral("%1: '%2' is not a number from 0 to %3")
                     .arg(QLatin1String(field->name), text)
                     .arg(maximum);
        return false;
    }
    if (field->code == DB_BIND_INT16) {
        const auto small = quint16(*value);
        std::memcpy(bytes, &small, sizeof small);
    } else {
        std::memcpy(bytes, &*value, sizeof *value);
    }
    return true;
}

} // namespace tavmms::store
