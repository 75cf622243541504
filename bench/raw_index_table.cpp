#include "raw_index_table.h"

#include "mms_util_dbtable.h"

#include <QChar>
#include <QtGlobal>

#include <cstdio>
#include <cstring>

namespace
{

// Writes `text` into a 16-bit field, high byte first, cut so that the terminator fits.
template <size_t N> void setText16(unsigned short (&field)[N], const QString& text)
{
    auto* bytes = reinterpret_cast<unsigned char*>(field);
    for (qsizetype i = 0; i < text.size() && size_t(i) + 1 < N; ++i) {
        bytes[2 * i] = static_cast<unsigned char>(text.at(i).unicode() >> 8);
        bytes[2 * i + 1] = static_cast<unsigned char>(text.at(i).unicode() & 0xFF);
    }
}

// Writes the selected row into the (zeroed) record as the library fetches it: texts cut so that
// the terminator fits, 16-bit units high byte first.
void storeRow(sqlite3_stmt* s, MMS_UTIL_DBStruct_T* record)
{
    auto* bytes = reinterpret_cast<unsigned char*>(record);
    for (int column = 0; column < MMS_UTIL_DBBINDING_ENTRIES; ++column) {
        const DB_BIND_T& field = MMS_UTIL_DBBINDING[column];
        unsigned char* p = bytes + field.offset;
        if (sqlite3_column_type(s, column) == SQLITE_NULL)
            continue;
        if (field.code == DB_BIND_CHAR_TEXT) {
            const unsigned char* text = sqlite3_column_text(s, column);
            std::memcpy(p, text,
                        qMin<size_t>(size_t(sqlite3_column_bytes(s, column)), field.size - 1));
        } else if (field.code == DB_BIND_UCS2_TEXT) {
            const auto* units = static_cast<const char16_t*>(sqlite3_column_text16(s, column));
            const size_t total = size_t(sqlite3_column_bytes16(s, column)) / 2;
            size_t kept = qMin<size_t>(total, field.size / 2 - 1);
            // Never keep half of a surrogate pair at the cut.
            if (kept > 0 && kept < total && QChar::isHighSurrogate(units[kept - 1]))
                --kept;
            for (size_t i = 0; i < kept; ++i) {
                p[2 * i] = static_cast<unsigned char>(units[i] >> 8);
                p[2 * i + 1] = static_cast<unsigned char>(units[i] & 0xFF);
            }
        } else if (field.code == DB_BIND_INT16) {
            const auto value = static_cast<quint16>(sqlite3_column_int(s, column));
            std::memcpy(p, &value, sizeof value);
        } else {
            const auto value = static_cast<quint32>(sqlite3_column_int64(s, column));
            std::memcpy(p, &value, sizeof value);
        }
    }
}

} // namespace

void setUri(MMS_UTIL_DBStruct_T* record, unsigned serial)
{
    std::snprintf(record->mms_fld_msguri_name, sizeof record->mms_fld_msguri_name,
                  "http://mmsc.example.org/mms/retrieve/m%08u", serial);
}

MMS_UTIL_DBStruct_T makeRecord(unsigned serial)
{
    MMS_UTIL_DBStruct_T record{};
    setText16(record.cmn_fld_from_name, QStringLiteral("Ann Example"));
    setText16(record.cmn_fld_to_name, QStringLiteral("+15550101"));
    setText16(record.cmn_fld_subject,
              QStringLiteral("Photos from the weekend \u2013 %1").arg(serial));
    record.cmn_fld_time_msg_reach_phone = 1767268800u + serial;
    record.cmn_fld_time = 1767268700u + serial;
    record.cmn_fld_msg_usage = 1;
    record.cmn_fld_msg_type = 2;
    record.cmn_fld_folder_id = serial % 4;
    record.cmn_fld_priority = 1;
    record.cmn_fld_mms_type = 132;
    record.cmn_fld_send_receive_state = 3;
    record.mms_fld_deliveryreport_name = 1;
    record.mms_fld_msgsize_name = 30000 + serial % 1000;
    record.mms_fld_expiretime_name = 604800;
    std::snprintf(record.mms_fld_tid_name, sizeof record.mms_fld_tid_name, "T%010u", serial);
    std::snprintf(record.mms_fld_msgid_name, sizeof record.mms_fld_msgid_name,
                  "20260101120000-%08u@mms.example.org", serial);
    setUri(&record, serial);
    setText16(record.mms_fld_extra_name, QStringLiteral("image/jpeg; 3 parts"));
    return record;
}

StatementPtr RawDatabase::prepare(const std::string& sql)
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v3(db_.get(), sql.c_str(), int(sql.size()), SQLITE_PREPARE_PERSISTENT,
                       &statement, nullptr);
    return StatementPtr(statement);
}

bool RawDatabase::run(sqlite3_stmt* statement)
{
    const bool done = sqlite3_step(statement) == SQLITE_DONE;
    sqlite3_reset(statement);
    return done;
}

std::unique_ptr<RawDatabase> RawDatabase::open(const QString& path)
{
    auto raw = std::make_unique<RawDatabase>();
    raw->db_ = openRawConnection(path);
    if (!raw->db_)
        return nullptr;

    const std::string table = MMS_UTIL_DBTable::mmsTableName;
    std::string create = "CREATE TABLE " + table + " (id INTEGER PRIMARY KEY AUTOINCREMENT";
    std::vector<std::string> indexed;
    for (const DB_SCHEMA_T* field = MMS_UTIL_DBSCHEMA; field->tag[0]; ++field) {
        const bool text = field->type == DB_TYPE_CHAR_TEXT || field->type == DB_TYPE_UCS2_TEXT;
        create += ", " + std::string(field->name) + (text ? " TEXT" : " INTEGER");
        if (field->flag == 1)
            indexed.push_back(field->name);
    }
    if (!raw->exec((create + ")").c_str()))
        return nullptr;
    for (const std::string& field : indexed) {
        const std::string index =
            "CREATE INDEX index_" + field + " ON " + table + " (" + field + ", id)";
        if (!raw->exec(index.c_str()))
            return nullptr;
    }

    std::string columns, placeholders;
    for (const DB_BIND_T& field : MMS_UTIL_DBBINDING) {
        columns += (columns.empty() ? "" : ", ") + std::string(field.name);
        placeholders += placeholders.empty() ? "?" : ", ?";
    }
    raw->begin_ = raw->prepare("BEGIN");
    raw->commit_ = raw->prepare("COMMIT");
    raw->insert_ =
        raw->prepare("INSERT INTO " + table + " (" + columns + ") VALUES (" + placeholders + ")");
    raw->select_ = raw->prepare("SELECT " + columns + " FROM " + table + " WHERE id = ?");
    raw->selectAll_ = raw->prepare("SELECT " + columns + ", id FROM " + table + " ORDER BY id");
    raw->find_ = raw->prepare("SELECT id FROM " + table +
                              " WHERE mms_fld_msguri_name = ? ORDER BY mms_fld_msguri_name, id "
                              "LIMIT 1");
    if (!raw->begin_ || !raw->commit_ || !raw->insert_ || !raw->select_ || !raw->selectAll_ ||
        !raw->find_)
        return nullptr;
    return raw;
}

bool RawDatabase::insert(const MMS_UTIL_DBStruct_T& record, unsigned* id)
{
    sqlite3_stmt* s = insert_.get();
    const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
    for (int index = 1; index <= MMS_UTIL_DBBINDING_ENTRIES; ++index) {
        const DB_BIND_T& field = MMS_UTIL_DBBINDING[index - 1];
        const unsigned char* p = bytes + field.offset;
        switch (field.code) {
        case DB_BIND_CHAR_TEXT: {
            const auto* text = reinterpret_cast<const char*>(p);
            sqlite3_bind_text(s, index, text, int(strnlen(text, field.size)), SQLITE_TRANSIENT);
            break;
        }
        case DB_BIND_UCS2_TEXT: {
            char16_t units[200];
            unsigned count = 0;
            for (; count < field.size / 2; ++count) {
                units[count] = char16_t(p[2 * count] << 8 | p[2 * count + 1]);
                if (units[count] == 0)
                    break;
            }
            sqlite3_bind_text16(s, index, units, int(2 * count), SQLITE_TRANSIENT);
            break;
        }
        case DB_BIND_INT16: {
            quint16 value;
            std::memcpy(&value, p, sizeof value);
            sqlite3_bind_int(s, index, value);
            break;
        }
        default: {
            quint32 value;
            std::memcpy(&value, p, sizeof value);
            sqlite3_bind_int64(s, index, value);
            break;
        }
        }
    }
    const bool done = sqlite3_step(s) == SQLITE_DONE;
    sqlite3_reset(s);
    *id = unsigned(sqlite3_last_insert_rowid(db_.get()));
    return done;
}

bool RawDatabase::add(MMS_UTIL_DBStruct_T record, unsigned* id)
{
    record.cmn_fld_contain_attachment = 0;
    return run(begin_.get()) && insert(record, id) && run(commit_.get());
}

bool RawDatabase::fill(unsigned rows, std::vector<unsigned>* ids)
{
    bool ok = run(begin_.get());
    for (unsigned serial = 0; ok && serial < rows; ++serial) {
        unsigned id = 0;
        ok = insert(makeRecord(serial), &id);
        ids->push_back(id);
    }
    return ok && run(commit_.get());
}

bool RawDatabase::read(unsigned id, MMS_UTIL_DBStruct_T* record)
{
    if (!run(begin_.get()))
        return false;
    sqlite3_stmt* s = select_.get();
    sqlite3_bind_int64(s, 1, id);
    std::memset(static_cast<void*>(record), 0, sizeof *record);
    const bool found = sqlite3_step(s) == SQLITE_ROW;
    if (found)
        storeRow(s, record);
    sqlite3_reset(s);
    return run(commit_.get()) && found;
}

bool RawDatabase::readAll(std::vector<std::pair<unsigned, MMS_UTIL_DBStruct_T>>* rows)
{
    rows->clear();
    if (!run(begin_.get()))
        return false;
    sqlite3_stmt* s = selectAll_.get();
    int stepped;
    while ((stepped = sqlite3_step(s)) == SQLITE_ROW) {
        rows->emplace_back(unsigned(sqlite3_column_int64(s, MMS_UTIL_DBBINDING_ENTRIES)),
                           MMS_UTIL_DBStruct_T{});
        storeRow(s, &rows->back().second);
    }
    sqlite3_reset(s);
    return run(commit_.get()) && stepped == SQLITE_DONE;
}

unsigned RawDatabase::find(const char* uri)
{
    if (!run(begin_.get()))
        return kNoRecord;
    sqlite3_stmt* s = find_.get();
    sqlite3_bind_text(s, 1, uri, -1, SQLITE_TRANSIENT);
    const unsigned id =
        sqlite3_step(s) == SQLITE_ROW ? unsigned(sqlite3_column_int64(s, 0)) : kNoRecord;
    sqlite3_reset(s);
    return run(commit_.get()) ? id : kNoRecord;
}

bool RawDatabase::clear()
{
    return exec(("DELETE FROM " + std::string(MMS_UTIL_DBTable::mmsTableName)).c_str());
}
