#ifndef TAVMMS_MMS_UTIL_DBSTRUCT_H
#define TAVMMS_MMS_UTIL_DBSTRUCT_H

#include "device_db_api.h"
#include "tavmms_global.h"

#include <cstddef>

// One row of the message index table, 672 bytes, laid out as the database binding describes it.
// 16-bit texts hold zero-terminated units high byte first (MMS_UTIL_Tool::qstringToWCHAR makes
// them so); 8-bit texts are zero-terminated. A writer cuts texts to fit their field. The table's
// time zone and EMS type fields have no place here: this library never reads or writes them.
// The codes (usage, types, states, folder...) mean what the applications that fill the record
// agree on; the library stores every value as given. The cmn_ fields are those every kind of
// message has in the phone's message lists, the mms_ fields those of multimedia messages.
struct MMS_UTIL_DBStruct_T {
    unsigned short cmn_fld_from_name[40];         // the sender as the lists show it
    unsigned short cmn_fld_to_name[40];           // the recipients as the lists show them
    unsigned short cmn_fld_subject[40];           // the subject
    unsigned int cmn_fld_time_msg_reach_phone;    // when the message reached the phone
    unsigned int cmn_fld_time;                    // the message's own time
    unsigned short cmn_fld_msg_usage;             // usage code
    unsigned short cmn_fld_msg_type;              // message type code
    unsigned short cmn_fld_msg_attr_read;         // read attribute
    unsigned short padding;                       // not bound; zero in every record read
    unsigned int cmn_fld_folder_id;               // the folder the message is in
    unsigned short cmn_fld_priority;              // priority code
    unsigned short cmn_fld_mms_type;              // MMS message type
    unsigned short cmn_fld_contain_au_or_vi;      // whether it holds audio or video
    unsigned short cmn_fld_contain_attachment;    // always stored 0 by MMS_UTIL_DBTable::add
    unsigned short cmn_fld_send_receive_state;    // sending or receiving state
    unsigned short mms_fld_sendervisibility_name; // sender visibility
    unsigned short mms_fld_deliveryreport_name;   // delivery report asked for
    unsigned short mms_fld_readreplyreport_name;  // read report asked for
    unsigned short mms_fld_contenttype_name;      // content-type code
    unsigned short mms_fld_notifyrespstatus_name; // status of the notification response
    unsigned int mms_fld_msgsize_name;            // message size
    unsigned int mms_fld_deliverytime_name;       // delivery time
    unsigned int mms_fld_expiretime_name;         // expiry time
    char mms_fld_tid_name[40];                    // transaction id
    char mms_fld_msgid_name[40];                  // message id
    char mms_fld_msguri_name[100];                // the message's URI, which findMsgURI looks for
    unsigned short mms_fld_extra_name[100];       // free text for the applications
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

#define MMS_UTIL_DBSCHEMA_ENTRIES 29  // 28 fields and the terminating entry
#define MMS_UTIL_DBBINDING_ENTRIES 26 // one per record field but the padding

extern "C" {
// The index table's schema as handed to DB_TABLE_Create. Flag 1 (an index) is on the two times,
// usage, type, folder, sending or receiving state and the URI.
TAVMMS_EXPORT extern const DB_SCHEMA_T MMS_UTIL_DBSCHEMA[MMS_UTIL_DBSCHEMA_ENTRIES];
// The binding of MMS_UTIL_DBStruct_T to the table: name (the schema's own string), code, offset,
// size, one entry per record field.
TAVMMS_EXPORT extern const DB_BIND_T MMS_UTIL_DBBINDING[MMS_UTIL_DBBINDING_ENTRIES];
// The binding function given to DB_STRUCT_BindToTable and DB_STRUCT_BindToCursor: returns
// MMS_UTIL_DBBINDING and writes 26 through `count` (when it is not null).
TAVMMS_EXPORT const DB_BIND_T* MMS_UTIL_DBGetBinding(unsigned int* count);
}

#endif
