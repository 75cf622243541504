#include "mail_file_reader.h"

#include <QFileInfo>

namespace tavmms::store
{

std::optional<LoadedMailFile> loadMailFile(const QString& path, QString* error)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        *error = QStringLiteral("no such file '%1'").arg(path);
        return std::nullopt;
    }
    if (info.isDir()) {
        *error = QStringLiteral("'%1' is a directory").arg(path);
        return std::nullopt;
    }
    // The library reads a file shorter than its record as zeros, which pass its checks; a file
    // that short holds no message.
    if (info.size() < qint64(sizeof(MMS_UTIL_MAILFILE_HEADER_T))) {
        *error =
            QStringLiteral("'%1' is not a mail file (shorter than its 16-byte record)").arg(path);
        return std::nullopt;
    }
    MMS_UTIL_MailFile file(path);
    const int result = file.loadMailFile();
    LoadedMailFile loaded{MMS_UTIL_MAILFILE_HEADER_T{},
                          std::unique_ptr<MMS_UTIL_MsgHeaderBase>(file.header),
                          std::unique_ptr<unsigned char[]>(file.body), file.bodyLength};
    if (result != MMS_UTIL_MAILFILE_OK) {
        *error = info.isReadable() ? QStringLiteral("'%1' is not a mail file (its record does not "
                                                    "fit the file)")
                                         .arg(path)
                                   : QStringLiteral("cannot read '%1'").arg(path);
        return std::nullopt;
    }
    loaded.record = file.readMailFileHeader();
    return loaded;
}

} // namespace tavmms::store
