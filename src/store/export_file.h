#ifndef TAVMMS_STORE_EXPORT_FILE_H
#define TAVMMS_STORE_EXPORT_FILE_H

// A file that other programs open, written whole or not at all: its bytes go into a temporary file
// beside it, which is synced and renamed to its name only once all of them are written, so that a
// reader (or a power cut) never meets half of it. Whatever is not committed is removed.

#include "message_store_types.h"

#include <QByteArrayView>
#include <QString>
#include <QTemporaryFile>

namespace tavmms::store
{

class ExportFile
{
public:
    explicit ExportFile(const QString& path);

    // Makes the temporary file.
    Status open();
    // Appends `bytes`.
    Status write(QByteArrayView bytes);
    // Syncs the temporary file and renames it to the path; unless `replace`, a file that is there
    // is not replaced (Exists).
    Status commit(bool replace);

private:
    Status failure() const;

    QString path_;
    QTemporaryFile file_;
};

} // namespace tavmms::store

#endif
