#include "mms_util_dbstruct.h"

static_assert(sizeof(DB_SCHEMA_T) == 44, "schema entry size");

#define FIELD(name, size, type, flag)                                                              \
    {                                                                                              \
        {'d', 's', 't', 'e'}, name, size, type, flag, 0                                            \
    }

extern "C" {

const DB_SCHEMA_T MMS_UTIL_DBSCHEMA[MMS_UTIL_DBSCHEMA_ENTRIES] = {
    FIELD("cmn_fld_from_name", 80, DB_TYPE_UCS2_TEXT, 0),
    FIELD("cmn_fld_to_name", 80, DB_TYPE_UCS2_TEXT, 0),
    FIELD("cmn_fld_subject", 80, DB_TYPE_UCS2_TEXT, 0),
    FIELD("cmn_fld_time_msg_reach_phone", 4, DB_TYPE_TIME, 1),
    FIELD("cmn_fld_time", 4, DB_TYPE_TIME, 1),
    FIELD("cmn_fld_time_zone", 4, DB_TYPE_TIME, 0),
    FIELD("cmn_fld_msg_usage", 2, DB_TYPE_INT16, 1),
    FIELD("cmn_fld_msg_type", 2, DB_TYPE_INT16, 1),
    FIELD("cmn_fld_msg_attr_read", 2, DB_TYPE_INT16, 0),
    FIELD("cmn_fld_folder_id", 4, DB_TYPE_INT32, 1),
    FIELD("cmn_fld_priority", 2, DB_TYPE_INT16, 0),
    FIELD("cmn_fld_mms_type", 2, DB_TYPE_INT16, 0),
    FIELD("cmn_fld_ems_type", 2, DB_TYPE_INT16, 0),
    FIELD("cmn_fld_contain_au_or_vi", 2, DB_TYPE_INT16, 0),
    FIELD("cmn_fld_contain_attachment", 2, DB_TYPE_INT16, 0),
    FIELD("cmn_fld_send_receive_state", 2, DB_TYPE_INT16, 1),
    FIELD("mms_fld_sendervisibility_name", 2, DB_TYPE_INT16, 0),
    FIELD("mms_fld_deliveryreport_name", 2, DB_TYPE_INT16, 0),
    FIELD("mms_fld_readreplyreport_name", 2, DB_TYPE_INT16, 0),
    FIELD("mms_fld_contenttype_name", 2, DB_TYPE_INT16, 0),
    FIELD("mms_fld_notifyrespstatus_name", 2, DB_TYPE_INT16, 0),
    FIELD("mms_fld_msgsize_name", 4, DB_TYPE_INT32, 0),
    FIELD("mms_fld_deliverytime_name", 4, DB_TYPE_INT32, 0),
    FIELD("mms_fld_expiretime_name", 4, DB_TYPE_INT32, 0),
    FIELD("mms_fld_tid_name", 40, DB_TYPE_CHAR_TEXT, 0),
    FIELD("mms_fld_msgid_name", 40, DB_TYPE_CHAR_TEXT, 0),
    FIELD("mms_fld_msguri_name", 100, DB_TYPE_CHAR_TEXT, 1),
    FIELD("mms_fld_extra_name", 200, DB_TYPE_UCS2_TEXT, 0),
    {}, // the terminating entry: 44 zero bytes
};

#define BIND(schemaIndex, code, member)                                                            \
    {                                                                                              \
        MMS_UTIL_DBSCHEMA[schemaIndex].name, code,                                                 \
            unsigned(offsetof(MMS_UTIL_DBStruct_T, member)),                                       \
            unsigned(sizeof(MMS_UTIL_DBStruct_T::member))                                          \
    }

const DB_BIND_T MMS_UTIL_DBBINDING[MMS_UTIL_DBBINDING_ENTRIES] = {
    BIND(0, DB_BIND_UCS2_TEXT, cmn_fld_from_name),
    BIND(1, DB_BIND_UCS2_TEXT, cmn_fld_to_name),
    BIND(2, DB_BIND_UCS2_TEXT, cmn_fld_subject),
    BIND(3, DB_BIND_TIME, cmn_fld_time_msg_reach_phone),
    BIND(4, DB_BIND_TIME, cmn_fld_time),
    BIND(6, DB_BIND_INT16, cmn_fld_msg_usage),
    BIND(7, DB_BIND_INT16, cmn_fld_msg_type),
    BIND(8, DB_BIND_INT16, cmn_fld_msg_attr_read),
    BIND(9, DB_BIND_INT32, cmn_fld_folder_id),
    BIND(10, DB_BIND_INT16, cmn_fld_priority),
    BIND(11, DB_BIND_INT16, cmn_fld_mms_type),
    BIND(13, DB_BIND_INT16, cmn_fld_contain_au_or_vi),
    BIND(14, DB_BIND_INT16, cmn_fld_contain_attachment),
    BIND(15, DB_BIND_INT16, cmn_fld_send_receive_state),
    BIND(16, DB_BIND_INT16, mms_fld_sendervisibility_name),
    BIND(17, DB_BIND_INT16, mms_fld_deliveryreport_name),
    BIND(18, DB_BIND_INT16, mms_fld_readreplyreport_name),
    BIND(19, DB_BIND_INT16, mms_fld_contenttype_name),
    BIND(20, DB_BIND_INT16, mms_fld_notifyrespstatus_name),
    BIND(21, DB_BIND_INT32, mms_fld_msgsize_name),
    BIND(22, DB_BIND_INT32, mms_fld_deliverytime_name),
    BIND(23, DB_BIND_INT32, mms_fld_expiretime_name),
    BIND(24, DB_BIND_CHAR_TEXT, mms_fld_tid_name),
    BIND(25, DB_BIND_CHAR_TEXT, mms_fld_msgid_name),
    BIND(26, DB_BIND_CHAR_TEXT, mms_fld_msguri_name),
    BIND(27, DB_BIND_UCS2_TEXT, mms_fld_extra_name),
};

const DB_BIND_T* MMS_UTIL_DBGetBinding(unsigned int* count)
{
    if (count)
        *count = MMS_UTIL_DBBINDING_ENTRIES;
    return MMS_UTIL_DBBINDING;
}

} // extern "C"
