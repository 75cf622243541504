#include "quarantine.h"

#include "file_status.h"
#include "mail_file_io.h"

#include "filesync.h"
#include "mms_util_common.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>

namespace tavmms::store
{

namespace
{

// More files of one name than any store gathers: past it something else is wrong.
const int kMostOfOneName = 1000;

QString noteText(const QString& path, const QString& why)
{
    return QStringLiteral("%1\nmoved here by a repair of the message store on %2\nbecause it %3\n")
        .arg(path, QDateTime::currentDateTimeUtc().toString(Qt::ISODate), why);
}

} // namespace

QString quarantineDirectory()
{
    return MMS_UTIL_Common::getWorkDir() + QStringLiteral("quarantine/");
}

Status quarantine(const QString& path, const QString& why, QString* movedTo)
{
    const QString folder = quarantineDirectory();
    if (!QDir().mkpath(folder))
        return Status::failure(
            ErrorCode::Failed,
            QStringLiteral("cannot make the quarantine folder '%1'").arg(folder));
    const QString name = QFileInfo(path).fileName();
    const QByteArray source = QFile::encodeName(path);
    for (int n = 0; n < kMostOfOneName; ++n) {
        const QString target = folder + name + (n == 0 ? QString() : QStringLiteral(".%1").arg(n));
        // The note comes first and takes the name: a file moved in is never without one.
        QFile note(target + QStringLiteral(".why"));
        if (!note.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            if (QFileInfo::exists(note.fileName()))
                continue;
            return Status::failure(
                ErrorCode::Failed,
                QStringLiteral("cannot write '%1': %2").arg(note.fileName(), note.errorString()));
        }
        if (note.write(noteText(path, why).toUtf8()) < 0 || !note.flush()) {
            const Status failure = Status::failure(
                ErrorCode::Failed,
                QStringLiteral("cannot write '%1': %2").arg(note.fileName(), note.errorString()));
            note.remove();
            return failure;
        }
        note.close();
        const QByteArray destination = QFile::encodeName(target);
        if (renameWithoutReplacing(source, destination) == 0) {
            syncParentDirectory(destination);
            syncParentDirectory(source);
            *movedTo = target;
            return {};
        }
        const int error = errno;
        note.remove();
        if (error != EEXIST)
            return fileFailure(QStringLiteral("cannot move '%1' to '%2'").arg(path, target), error);
    }
    return Status::failure(ErrorCode::Failed,
                           QStringLiteral("cannot move '%1': the quarantine folder '%2' holds %3 "
                                          "files of its name")
                               .arg(path, folder)
                               .arg(kMostOfOneName));
}

} // namespace tavmms::store
