#include "store_backup.h"

#include "backup_records.h"
#include "export_file.h"
#include "file_status.h"
#include "message_store.h"
#include "sha256.h"
#include "store_archive_writer.h"
#include "store_lock.h"

#include "mms_util_common.h"
#include "platform_paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tavmms::store
{

namespace
{

// True when the directory `inner` is `outer` or inside it; both canonical, `outer` possibly empty.
bool isWithin(const QString& inner, const QString& outer)
{
    return !outer.isEmpty() &&
           (inner == outer ||
            inner.startsWith(outer.endsWith(QLatin1Char('/')) ? outer : outer + QLatin1Char('/')));
}

// A backup kept where the store keeps its own files would be swept up by a repair, counted by the
// next backup and lost with the store it is meant to outlive.
Status refuseInsideStore(const QString& path)
{
    const QString directory = QFileInfo(QFileInfo(path).absolutePath()).canonicalFilePath();
    for (const QString& own : {MMS_UTIL_Common::getWorkDir(), platformDirectory()}) {
        if (own.isEmpty() || directory.isEmpty())
            continue;
        if (isWithin(directory, QFileInfo(own).canonicalFilePath()))
            return Status::failure(
                ErrorCode::Invalid,
                QStringLiteral("the backup '%1' would lie inside the store's directory '%2'")
                    .arg(path, QDir::cleanPath(own)));
    }
    return {};
}

QByteArray jsonBytes(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

// Builds the archive's members in order, keeping each member's checksum for the manifest.
class BackupWriter
{
public:
    BackupWriter(int fd, QDateTime time) : archive_(fd), time_(std::move(time)) {}

    bool add(const QString& name, const QByteArray& data)
    {
        if (!archive_.add(name, data, time_))
            return false;
        members_.insert(name, QJsonObject{{QStringLiteral("size"), qint64(data.size())},
                                          {QStringLiteral("sha256"),
                                           QString::fromLatin1(sha256(data).toHex())}});
        return true;
    }

    bool finish(QJsonObject manifest)
    {
        manifest.insert(QStringLiteral("members"), members_);
        return archive_.add(QStringLiteral("manifest.json"), jsonBytes(manifest), time_) &&
               archive_.finish();
    }

    Status failure(const QString& what) const
    {
        const int error = archive_.errorNumber();
        if (error == ENOSPC)
            return fileFailure(what, error);
        return Status::failure(ErrorCode::Failed, what + QStringLiteral(": ") + archive_.error());
    }

private:
    ArchiveWriter archive_;
    QDateTime time_;
    QJsonObject members_;
};

ListFilter listFilterOf(const BackupFilter& filter)
{
    ListFilter list;
    list.anyFolder = filter.anyFolder;
    list.folder = filter.folder;
    list.since = filter.since;
    list.until = filter.until;
    return list;
}

QJsonObject filterToJson(const BackupFilter& filter)
{
    QJsonObject object;
    if (!filter.anyFolder)
        object.insert(QStringLiteral("folder"), qint64(filter.folder));
    if (filter.since.isValid())
        object.insert(QStringLiteral("since"), filter.since.toString(Qt::ISODate));
    if (filter.until.isValid())
        object.insert(QStringLiteral("until"), filter.until.toString(Qt::ISODate));
    return object;
}

// Reads the mail file of `row` into `bytes`: true when it was there, false when it was not; a
// failure to read it otherwise sets `status`.
bool readMailFile(const MessageRow& row, QByteArray* bytes, Status* status)
{
    QFile file(row.mailFile());
    if (file.open(QIODevice::ReadOnly)) {
        *bytes = file.readAll();
        if (file.error() == QFileDevice::NoError)
            return true;
    }
    const int error = errno;
    if (!file.exists())
        return false;
    *status =
        fileFailure(QStringLiteral("cannot read the mail file '%1'").arg(row.mailFile()), error);
    return false;
}

// A backup is never written over a file that is there unless that was asked for: it may be the
// only copy of an older store.
Status fileIsThere(const QString& path)
{
    return Status::failure(ErrorCode::Exists,
                           QStringLiteral("'%1' exists already; it was kept").arg(path));
}

} // namespace

Backup backupStore(const QString& path, const BackupFilter& filter, const BackupOptions& options)
{
    Backup backup;
    backup.path = path;
    backup.status = refuseInsideStore(path);
    if (!backup.status.ok())
        return backup;
    if (!options.replace && QFileInfo::exists(path)) {
        backup.status = fileIsThere(path);
        return backup;
    }

    // A save that a program left half done is completed first, so that its message goes into
    // the backup with its mail file.
    MessageStore store(options.lockTimeout);
    backup.status = store.completeLeftovers();
    if (!backup.status.ok())
        return backup;
    // Held from the first read to the last, so that no repair moves a file while it is read;
    // writers take it shared too, and go on adding messages meanwhile.
    StoreLock lock;
    if (QFileInfo::exists(MMS_UTIL_Common::getWorkDir())) {
        backup.status =
            lock.acquire(StoreLock::defaultPath(), StoreLock::Shared, options.lockTimeout);
        if (!backup.status.ok())
            return backup;
    }
    const Listed listed = store.list(listFilterOf(filter));
    if (!listed.status.ok()) {
        backup.status = listed.status;
        return backup;
    }
    QString error;
    const std::optional<QJsonObject> settings = settingsToJson(&error);
    qsizetype contactCount = 0;
    const std::optional<QJsonObject> contacts =
        settings ? contactsToJson(&contactCount, &error) : std::nullopt;
    if (!contacts) {
        backup.status = Status::failure(ErrorCode::Failed, error);
        return backup;
    }

    const QString what = QStringLiteral("cannot write the backup '%1'").arg(path);
    // Readable by its owner alone: it holds every message and contact of the phone.
    ExportFile archive(path, what, true);
    backup.status = archive.open();
    if (!backup.status.ok())
        return backup;
    const QDateTime now = QDateTime::currentDateTime();
    BackupWriter writer(archive.handle(), now);
    QJsonArray rows;
    qsizetype done = 0;
    for (const MessageRow& row : listed.rows) {
        QByteArray bytes;
        const bool hasMailFile = readMailFile(row, &bytes, &backup.status);
        if (!backup.status.ok())
            return backup;
        // A message deleted since the rows were read is left out; one whose row stays without
        // its file keeps its row, for a restore to give back as it was.
        if (hasMailFile || store.read(row.id, false).status.code != ErrorCode::NotFound) {
            rows.append(rowToJson(row, hasMailFile));
            if (!hasMailFile)
                ++backup.withoutFile;
        }
        if (hasMailFile) {
            if (!writer.add(QStringLiteral("messages/%1.mms").arg(row.id), bytes)) {
                backup.status = writer.failure(what);
                return backup;
            }
            ++backup.messages;
            backup.messageBytes += bytes.size();
        }
        if (options.progress)
            options.progress(++done, listed.rows.size());
    }

    const QJsonObject manifest{
        {QStringLiteral("format"), kBackupFormatVersion},
        {QStringLiteral("library"), QStringLiteral(TAVMMS_VERSION)},
        {QStringLiteral("created"), now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODate)},
        {QStringLiteral("filter"), filterToJson(filter)},
        {QStringLiteral("counts"),
         QJsonObject{{QStringLiteral("rows"), rows.size()},
                     {QStringLiteral("mailFiles"), backup.messages},
                     {QStringLiteral("rowsWithoutMailFile"), backup.withoutFile},
                     {QStringLiteral("contacts"), contactCount}}}};
    if (!writer.add(QStringLiteral("index.json"),
                    jsonBytes(QJsonObject{{QStringLiteral("rows"), rows}})) ||
        !writer.add(QStringLiteral("settings.json"), jsonBytes(*settings)) ||
        !writer.add(QStringLiteral("contacts.json"), jsonBytes(*contacts)) ||
        !writer.finish(manifest)) {
        backup.status = writer.failure(what);
        return backup;
    }
    struct stat written {
    };
    if (::fstat(archive.handle(), &written) == 0)
        backup.archiveBytes = qint64(written.st_size);
    backup.status = archive.commit(options.replace);
    return backup;
}

} // namespace tavmms::store
