#ifndef TAVMMSUTILITY_H
#define TAVMMSUTILITY_H

// The whole public interface of libtavmmsutility.

#include "addrbk_engine_interface.h"
#include "am_mimetype.h"
#include "db_api.h"
#include "db_result.h"
#include "mime_type_table.h"
#include "mms_comp_util.h"
#include "mms_content_type.h"
#include "mms_util_common.h"
#include "mms_util_dbstruct.h"
#include "mms_util_dbtable.h"
#include "mms_util_entry.h"
#include "mms_util_mailfile.h"
#include "mms_util_msgheaderbase.h"
#include "mms_util_setting.h"
#include "mms_util_tool.h"
#include "mp_utility.h"
#include "qt2compat.h"
#include "res_icon_reader.h"
#include "setup_set_manager.h"
#include "setup_utility.h"
#include "tavmms_global.h"
#include "ui_message_box.h"

#endif
