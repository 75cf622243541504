#ifndef TAVMMS_STORE_MAIL_FILE_READER_H
#define TAVMMS_STORE_MAIL_FILE_READER_H

// A mail file read whole, with the reason when it cannot be.

#include "mms_util_mailfile.h"
#include "mms_util_msgheaderbase.h"
#include "tavmms_global.h"

#include <QString>

#include <memory>
#include <optional>

namespace tavmms::store
{

// A mail file read with MMS_UTIL_MailFile::loadMailFile(), owning the header and body it hands
// out.
struct TAVMMS_EXPORT LoadedMailFile {
    MMS_UTIL_MAILFILE_HEADER_T record;
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header;
    std::unique_ptr<unsigned char[]> body;
    unsigned int bodyLength;
};
// Loads the mail file `path`; gives nothing and sets `error` to why when it cannot be loaded
// ("no such file '...'", "'...' is not a mail file (...)", "cannot read '...'").
TAVMMS_EXPORT std::optional<LoadedMailFile> loadMailFile(const QString& path, QString* error);

} // namespace tavmms::store

#endif
