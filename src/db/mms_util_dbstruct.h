#ifndef TAVMMS_MMS_UTIL_DBSTRUCT_H
#define TAVMMS_MMS_UTIL_DBSTRUCT_H

#include "db_api.h"
#include "tavmms_global.h"

#include <cstddef>

// One row of the message index table, 672 bytes, laid out as the database binding describes it.
// 16-bit texts hold zero-terminated units high byte first (MMS_UTIL_Tool::qstringToWCHAR makes
// them so); 8-bit texts are zero-terminated. A writer cuts texts to fit their field. The table's
// time zone and EMS type fields have no place here: this library never reads or writes them.
struct MMS_UTIL_DBStruct_T {
    unsigned short cmn_fld_from_name[40];
    unsigned short cmn_fld_to_name[40];
    unsigned short cmn_fld_subject[40];
    unsigned int cmn_fld_time_msg_reach_phone;
    unsigned int cmn_fld_time;
    unsigned short cmn_fld_msg_usage;
    unsigned short cmn_fld_msg_type;
    unsigned short cmn_fld_msg_attr_read;
    unsigned short padding; // not bound; zero in every record read
    unsigned int cmn_fld_folder_id;
    unsigned short cmn_fld_priority;
    unsigned short cmn_fld_mms_type;
    unsigned short cmn_fld_contain_au_or_vi;
    unsigned short cmn_fld_contain_attachment; // always stored 0 by MMS_UTIL_DBTable::add
    unsigned short cmn_fld_send_receive_state;
    unsigned short mms_fld_sendervisibility_name;
    unsigned short mms_fld_deliveryreport_name;
    unsigned short mms_fld_readreplyreport_name;
    unsigned short mms_fld_contenttype_name;
    unsigned short mms_fld_notifyrespstatus_name;
    unsigned int mms_fld_msgsize_name;
    unsigned int mms_fld_deliverytime_name;
    unsigned int mms_fld_expiretime_name;
    char mms_fld_tid_name[40];
    char mms_fld_msgid_name[40];
    char mms_fld_msguri_name[100];
    unsigned short mms_fld_extra_name[100];
};

// The layout is a stored format: the offsets are the binding's.
static_assert(sizeof(MMS_UTIL_DBStruct_T) == 672, "index record size");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_to_name) == 80, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_subject) == 160, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_time_msg_reach_phone) == 240, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_time) == 244, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_msg_usage) == 248, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_msg_type) == 250, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_msg_attr_read) == 252, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, padding) == 254, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_folder_id) == 256, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_priority) == 260, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_mms_type) == 262, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_contain_au_or_vi) == 264, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_contain_attachment) == 266, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, cmn_fld_send_receive_state) == 268, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_sendervisibility_name) == 270, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_deliveryreport_name) == 272, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_readreplyreport_name) == 274, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_contenttype_name) == 276, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_notifyrespstatus_name) == 278, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_msgsize_name) == 280, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_deliverytime_name) == 284, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_expiretime_name) == 288, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_tid_name) == 292, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_msgid_name) == 332, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_msguri_name) == 372, "layout");
static_assert(offsetof(MMS_UTIL_DBStruct_T, mms_fld_extra_name) == 472, "layout");

#define MMS_UTIL_DBSCHEMA_ENTRIES 29 // 28 fields and the terminating entry
#define MMS_UTIL_DBBINDING_ENTRIES 26

extern "C" {
// The index table's schema as handed to DB_TABLE_Create.
TAVMMS_EXPORT extern const DB_SCHEMA_T MMS_UTIL_DBSCHEMA[MMS_UTIL_DBSCHEMA_ENTRIES];
// The binding of MMS_UTIL_DBStruct_T to the table: name (the schema's own string), code, offset,
// size, one entry per record field.
TAVMMS_EXPORT extern const DB_BIND_T MMS_UTIL_DBBINDING[MMS_UTIL_DBBINDING_ENTRIES];
// The binding function given to DB_STRUCT_BindToTable and DB_STRUCT_BindToCursor: returns
// MMS_UTIL_DBBINDING and writes 26 through `count`.
TAVMMS_EXPORT const DB_BIND_T* MMS_UTIL_DBGetBinding(unsigned int* count);
}

#endif
