#ifndef TAVMMSUTILITY_H
#define TAVMMSUTILITY_H

// The whole public interface of libtavmmsutility, with the platform interfaces it names.
//
// Ownership: what the library hands out belongs to the caller (a header or entry made with new, a
// body buffer or 16-bit array made with new[], a settings record made with new); what the caller
// hands in stays the caller's. Recipient lists own their entries only while their auto-delete
// flag is on.
//
// Results: failures are returned, never thrown. The mail file's writers return 0, 1, or 15 when the
// device is full; the settings writers 0, 1, or 2 when the store is full; the index table the
// database's codes (device_db_result.h). Readers of settings and of text forms never fail: a
// missing setting gives its default, and a word that is not known reads as 255, the unknown address
// type or false.
//
// Threads: use the library from one thread. The index table's open transaction and the counter
// of temporary names are shared by the whole process, unprotected.

#include "addrbk_engine_interface.h"
#include "address_type_word.h"
#include "am_mimetype.h"
#include "charsets.h"
#include "composed_body.h"
#include "contact_book.h"
#include "content_disposition.h"
#include "content_type.h"
#include "device_db_api.h"
#include "device_db_result.h"
#include "display_text.h"
#include "eml_export.h"
#include "header_field.h"
#include "index_row_fields.h"
#include "index_row_text.h"
#include "mail_file_reader.h"
#include "mbox_export.h"
#include "media_player_table.h"
#include "message_body.h"
#include "message_content_type.h"
#include "message_index.h"
#include "message_parts.h"
#include "message_store.h"
#include "message_store_check.h"
#include "message_store_types.h"
#include "mmsc_client.h"
#include "mmsc_connection.h"
#include "mime_type_table.h"
#include "mms_address.h"
#include "mms_comp_util.h"
#include "mms_content_type.h"
#include "mms_message.h"
#include "mms_pdu.h"
#include "mms_util_common.h"
#include "mms_util_dbstruct.h"
#include "mms_util_dbtable.h"
#include "mms_util_entry.h"
#include "mms_util_entrylist.h"
#include "mms_util_mailfile.h"
#include "mms_util_msgheaderbase.h"
#include "mms_util_setting.h"
#include "mms_util_tool.h"
#include "mp_utility.h"
#include "multipart.h"
#include "part_extraction.h"
#include "part_file_name.h"
#include "part_header.h"
#include "part_text.h"
#include "pdu_field_text.h"
#include "platform_paths.h"
#include "qt2compat.h"
#include "send_request.h"
#include "settings_read_error.h"
#include "settings_store.h"
#include "setup_set_manager.h"
#include "setup_utility.h"
#include "store_backup.h"
#include "store_restore.h"
#include "tavmms_global.h"
#include "transaction_pdu.h"
#include "transfer_encoding.h"
#include "user_input.h"
#include "wsp_reader.h"
#include "wsp_writer.h"

#endif
