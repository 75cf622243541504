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
    // `what` begins the text of a failure ("cannot write the backup 'x'"); a file only its owner
    // may read keeps that mode when it is put in place.
    explicit ExportFile(const QString& path, const QString& what = {}, bool ownerOnly = false);

    // Makes the temporary file.
    Status open();
    // Appends `bytes`.
    Status write(QByteArrayView bytes);
    // The temporary file's descriptor, for a writer of its own; -1 before open().
    int handle() const { return int(file_.handle()); }
    // Syncs the temporary file and renames it to the path; unless `replace`, a file that is there
    // is not replaced (Exists).
    Status commit(bool replace);

private:
    Status failure() const;

    QString path_;
    QString what_;
    bool ownerOnly_;
    QTemporaryFile file_;
};

} // namespace tavmms::store

#endif
