#include "support/index_table_helpers.h"

#include "mms_util_dbtable.h"
#include "mms_util_tool.h"

#include <cstring>
#include <memory>

namespace tavmms_test
{

namespace
{

// The name of the bound field that holds byte `offset` of a record.
std::string fieldAt(size_t offset)
{
    for (const DB_BIND_T& entry : MMS_UTIL_DBBINDING) {
        if (offset >= entry.offset && offset < entry.offset + entry.size)
            return entry.name;
    }
    return "padding";
}

} // namespace

ScopedIndexTableState::ScopedIndexTableState()
{
    MMS_UTIL_DBTable::mmsTableHandle = nullptr;
    MMS_UTIL_DBTable::mmsTxn = nullptr;
}

ScopedIndexTableState::~ScopedIndexTableState()
{
    MMS_UTIL_DBTable::mmsTableHandle = nullptr;
    MMS_UTIL_DBTable::mmsTxn = nullptr;
}

void setText16(unsigned short* field, size_t units, const QString& text)
{
    const std::unique_ptr<unsigned short[]> wide(MMS_UTIL_Tool::qstringToWCHAR(text));
    const size_t n = qMin(size_t(text.size()), units);
    std::memset(field, 0, units * sizeof *field);
    std::memcpy(field, wide.get(), n * sizeof *field);
}

QString text16(const unsigned short* field, size_t units)
{
    QString text;
    for (size_t i = 0; i < units; ++i) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(field + i);
        const char16_t unit = char16_t(bytes[0] << 8 | bytes[1]);
        if (unit == 0)
            break;
        text.append(QChar(unit));
    }
    return text;
}

void setText8(char* field, size_t size, const QByteArray& text)
{
    std::memset(field, 0, size);
    std::memcpy(field, text.constData(), qMin(size_t(text.size()), size));
}

MMS_UTIL_DBStruct_T sampleRecord(const QByteArray& uri, unsigned seed)
{
    MMS_UTIL_DBStruct_T record = zeroRecord();
    const QString tag = QString::number(seed);
    setText16(record.cmn_fld_from_name, QStringLiteral("Sender ") + tag);
    setText16(record.cmn_fld_to_name, QStringLiteral("Recipient ") + tag);
    setText16(record.cmn_fld_subject, QStringLiteral("Subject ") + tag);
    record.cmn_fld_time_msg_reach_phone = 1000000000u + seed;
    record.cmn_fld_time = 1000000100u + seed;
    record.cmn_fld_msg_usage = static_cast<unsigned short>(1 + seed);
    record.cmn_fld_msg_type = static_cast<unsigned short>(2 + seed);
    record.cmn_fld_msg_attr_read = static_cast<unsigned short>(3 + seed);
    record.cmn_fld_folder_id = 4 + seed;
    record.cmn_fld_priority = static_cast<unsigned short>(128 + seed % 3);
    record.cmn_fld_mms_type = static_cast<unsigned short>(5 + seed);
    record.cmn_fld_contain_au_or_vi = static_cast<unsigned short>(6 + seed);
    record.cmn_fld_contain_attachment = 0;
    record.cmn_fld_send_receive_state = static_cast<unsigned short>(7 + seed);
    record.mms_fld_sendervisibility_name = static_cast<unsigned short>(8 + seed);
    record.mms_fld_deliveryreport_name = static_cast<unsigned short>(9 + seed);
    record.mms_fld_readreplyreport_name = static_cast<unsigned short>(10 + seed);
    record.mms_fld_contenttype_name = static_cast<unsigned short>(11 + seed);
    record.mms_fld_notifyrespstatus_name = static_cast<unsigned short>(12 + seed);
    record.mms_fld_msgsize_name = 20000 + seed;
    record.mms_fld_deliverytime_name = 30000 + seed;
    record.mms_fld_expiretime_name = 40000 + seed;
    setText8(record.mms_fld_tid_name, "T" + QByteArray::number(seed));
    setText8(record.mms_fld_msgid_name, "M" + QByteArray::number(seed));
    setText8(record.mms_fld_msguri_name, uri);
    setText16(record.mms_fld_extra_name, QStringLiteral("Extra ") + tag);
    return record;
}

MMS_UTIL_DBStruct_T zeroRecord()
{
    MMS_UTIL_DBStruct_T record;
    std::memset(static_cast<void*>(&record), 0, sizeof record);
    return record;
}

::testing::AssertionResult sameRecord(const MMS_UTIL_DBStruct_T& expected,
                                      const MMS_UTIL_DBStruct_T& actual)
{
    const auto* a = reinterpret_cast<const unsigned char*>(&expected);
    const auto* b = reinterpret_cast<const unsigned char*>(&actual);
    for (size_t i = 0; i < sizeof expected; ++i) {
        if (a[i] != b[i]) {
            return ::testing::AssertionFailure()
                   << "records differ first at byte " << i << " (" << fieldAt(i) << "): expected "
                   << int(a[i]) << ", got " << int(b[i]);
        }
    }
    return ::testing::AssertionSuccess();
}

} // namespace tavmms_test
