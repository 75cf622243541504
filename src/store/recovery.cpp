#include "recovery.h"

#include "file_status.h"
#include "mail_file_defect.h"
#include "mail_file_io.h"
#include "mail_file_names.h"
#include "message_index.h"

#include "filesync.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace tavmms::store
{

namespace
{

// Whether message `id` has its row: a database failure is given in `status`.
bool hasRow(unsigned int id, Status* status)
{
    MMS_UTIL_DBStruct_T record;
    const int r = MMS_UTIL_DBTable::readRecord(id, &record);
    if (r != DB_OK && r != DB_ERR_NOT_FOUND)
        *status = Status::failure(
            ErrorCode::Failed,
            QStringLiteral("cannot read message %1: %2").arg(id).arg(resultText(r)));
    return r == DB_OK;
}

} // namespace

QList<unsigned int> interruptedIds(const QString& directory)
{
    QList<unsigned int> ids;
    QStringList names;
    directoryNames(directory, &names); // what cannot be read has nothing to complete
    for (const QString& name : names) {
        for (const QString& suffix : {kLeftoverSuffix, kDeletedSuffix}) {
            if (!name.endsWith(suffix))
                continue;
            const std::optional<unsigned int> id = idOfMailFileName(name.chopped(suffix.size()));
            if (id && !ids.contains(*id))
                ids.append(*id);
        }
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

Status completeInterrupted(const QString& directory, const QList<unsigned int>& ids)
{
    QByteArray changed; // a name in the directory, once anything was changed
    Status status;
    for (const unsigned int id : ids) {
        const QString mail = directory + mailFileName(id);
        const QByteArray target = QFile::encodeName(mail);
        const bool row = hasRow(id, &status);
        if (!status.ok())
            return status;
        for (const QString& suffix : {kDeletedSuffix, kLeftoverSuffix}) {
            const QString path = mail + suffix;
            const QByteArray source = QFile::encodeName(path);
            if (!nameIsTaken(path) || (row && nameIsTaken(mail)))
                continue;
            int r = 0;
            if (suffix == kDeletedSuffix && !row)
                r = ::unlink(source.constData());
            else if (!row)
                continue; // a save's leftover without a row is for a repair to judge
            else if (suffix == kDeletedSuffix || !mailFileDefect(path))
                r = renameWithoutReplacing(source, target);
            else
                r = ::unlink(source.constData());
            if (r != 0)
                return fileFailure(
                    QStringLiteral("cannot complete what was interrupted for '%1'").arg(path),
                    errno);
            changed = source;
        }
    }
    if (!changed.isEmpty() && syncParentDirectory(changed) != 0)
        return fileFailure(
            QStringLiteral("cannot sync the mail file directory '%1'").arg(directory), errno);
    return status;
}

} // namespace tavmms::store
