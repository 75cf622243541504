#include "store_restore.h"

#include "backup_contents.h"
#include "backup_records.h"
#include "file_descriptor.h"
#include "file_status.h"
#include "index_row_fields.h"
#include "index_rows.h"
#include "message_index.h"
#include "restore_journal.h"
#include "sha256.h"
#include "store_lock.h"

#include "filesync.h"
#include "mms_util_common.h"
#include "mms_util_setting.h"
#include "settings_store.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavmms::store
{

namespace
{

// Removes the journal's directory when a restore stops before it changed anything.
class StagingGuard
{
public:
    ~StagingGuard()
    {
        if (armed_)
            RestoreJournal::remove();
    }
    void arm() { armed_ = true; }
    void release() { armed_ = false; }

private:
    bool armed_ = false;
};

Status damaged(const QString& path, const QString& what)
{
    return Status::failure(ErrorCode::Invalid,
                           QStringLiteral("the backup '%1' is damaged: %2").arg(path, what));
}

QByteArray messageIdOf(const MMS_UTIL_DBStruct_T& row)
{
    return QByteArray(row.mms_fld_msgid_name,
                      qsizetype(qstrnlen(row.mms_fld_msgid_name, sizeof row.mms_fld_msgid_name)));
}

bool sameFields(const MMS_UTIL_DBStruct_T& a, const MMS_UTIL_DBStruct_T& b)
{
    const auto* left = reinterpret_cast<const char*>(&a);
    const auto* right = reinterpret_cast<const char*>(&b);
    for (const DB_BIND_T& field : rowFields()) {
        if (std::memcmp(left + field.offset, right + field.offset, field.size) != 0)
            return false;
    }
    return true;
}

// The messages the store keeps, looked up by Message-ID, their mail files' checksums computed
// once and only for a message of the same Message-ID and size.
class KeptMessages
{
public:
    explicit KeptMessages(const QList<MessageRow>& rows) : rows_(rows)
    {
        for (qsizetype i = 0; i < rows_.size(); ++i)
            byMessageId_.insert(messageIdOf(rows_.at(i).record), i);
    }

    // Whether the store keeps `message` already: the same Message-ID, and the same mail file
    // bytes, or, for a row kept without its file, the same row.
    bool keeps(const RestoreJournal::Message& message, const BackupMailFile* mailFile)
    {
        for (const qsizetype i : byMessageId_.values(messageIdOf(message.row))) {
            const MessageRow& kept = rows_.at(i);
            const QFileInfo file(kept.mailFile());
            if (mailFile ? file.size() == mailFile->size && digest(i) == mailFile->sha256
                         : !file.exists() && sameFields(kept.record, message.row))
                return true;
        }
        return false;
    }

private:
    QByteArray digest(qsizetype i)
    {
        auto it = digests_.find(i);
        if (it == digests_.end()) {
            QFile file(rows_.at(i).mailFile());
            it = digests_.insert(i, file.open(QIODevice::ReadOnly) ? sha256(file.readAll())
                                                                   : QByteArray());
        }
        return *it;
    }

    const QList<MessageRow>& rows_;
    QMultiHash<QByteArray, qsizetype> byMessageId_;
    QHash<qsizetype, QByteArray> digests_;
};

// The block list of the backup's settings.
QString backupBlockList(const QJsonObject& settings)
{
    return settings.value(QStringLiteral("groups"))
        .toObject()
        .value(settings::kGlobalGroup)
        .toObject()
        .value(settings::kBlockList)
        .toString();
}

// `before` with the items of `added` it does not hold appended, and those items in `appended`.
QString blockListUnion(const QString& before, const QString& added, QStringList* appended)
{
    const QStringList items = before.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString& item : added.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        if (!items.contains(item) && !appended->contains(item))
            appended->append(item);
    }
    if (appended->isEmpty())
        return before;
    return before.isEmpty() ? appended->join(QLatin1Char(','))
                            : before + QLatin1Char(',') + appended->join(QLatin1Char(','));
}

// Plans the restore of `contents` into a store that keeps `rows`: the messages to add, and the
// settings and contacts with what they are now.
Status plan(const BackupContents& contents, const QString& path, const QList<MessageRow>& rows,
            const RestoreOptions& options, RestoreJournal* journal, Restore* restore)
{
    // Written whole over the store's, they must be what a backup writes.
    if (!contents.settings.value(QStringLiteral("groups")).isObject())
        return damaged(path, QStringLiteral("settings.json holds no groups"));
    QHash<unsigned int, const BackupMailFile*> mailFiles;
    for (const BackupMailFile& file : contents.mailFiles)
        mailFiles.insert(file.id, &file);
    KeptMessages kept(rows);
    for (qsizetype i = 0; i < contents.rows.size(); ++i) {
        const QJsonObject object = contents.rows.at(i).toObject();
        RestoreJournal::Message message;
        QString error;
        if (!rowFromJson(object, &message.row, &error))
            return damaged(path, QStringLiteral("row %1 of index.json: %2").arg(i + 1).arg(error));
        message.backupId = unsigned(object.value(QStringLiteral("id")).toInteger());
        const BackupMailFile* file = mailFiles.value(message.backupId);
        message.hasMailFile = file != nullptr;
        if (file)
            message.sha256 = file->sha256;
        if (kept.keeps(message, file)) {
            ++restore->duplicates;
            continue;
        }
        journal->messages.append(message);
        restore->mailFiles += file ? 1 : 0;
    }
    restore->messages = journal->messages.size();

    QString error;
    const std::optional<QJsonObject> settings = settingsToJson(&error);
    const std::optional<QList<Contact>> contacts = settings ? listContacts(&error) : std::nullopt;
    if (!contacts)
        return Status::failure(ErrorCode::Failed, error);
    journal->settingsBefore = *settings;
    journal->contactsBefore = *contacts;
    journal->blockListBefore = MMS_UTIL_Setting::getBlockList();
    const bool empty = rows.isEmpty() && contacts->isEmpty();
    restore->settingsReplaced = options.settings || empty;
    if (restore->settingsReplaced) {
        journal->settings = contents.settings;
        journal->contacts = contactsFromJson(contents.contacts);
        restore->contacts = journal->contacts->size();
    }
    journal->blockList = blockListUnion(journal->blockListBefore,
                                        backupBlockList(contents.settings), &restore->blocked);
    return {};
}

// Makes what was written into the file system `directory` is on durable, in one call.
Status syncFileSystem(const QString& directory)
{
    const FileDescriptor dir{
        ::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (dir.fd >= 0 && ::syncfs(dir.fd) == 0)
        return {};
    return fileFailure(QStringLiteral("cannot sync the restored mail files"), errno);
}

// Steps 2 to 5 of the journal: the rows in one transaction, their ids, the mail files in place,
// the settings and contacts, then the commit.
Status apply(RestoreJournal* journal, const RestoreOptions& options)
{
    Transaction txn;
    int r = txn.begin();
    for (const RestoreJournal::Message& message : std::as_const(journal->messages)) {
        unsigned int id = 0;
        if (r == DB_OK)
            r = addRowAtFreeId(message.row, &id);
        // An added row is made from a record the database partly fills itself; the update
        // gives it every field of the backup's.
        if (r == DB_OK)
            r = MMS_UTIL_DBTable::update(id, message.row);
        if (r == DB_OK)
            r = commitOrAbort();
        if (r != DB_OK)
            return databaseFailure(QStringLiteral("cannot add the restored rows"), r);
        journal->ids.append(id);
    }
    Status status = journal->saveIds();
    if (!status.ok())
        return status;
    const qsizetype total = journal->messages.size();
    for (qsizetype i = 0; i < total; ++i) {
        const RestoreJournal::Message& message = journal->messages.at(i);
        if (message.hasMailFile) {
            const QByteArray from =
                QFile::encodeName(RestoreJournal::stagedMailFile(message.backupId));
            const QString to = MMS_UTIL_Common::msgDBIDToMailFileName(journal->ids.at(i));
            if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, QFile::encodeName(to).constData(),
                            RENAME_NOREPLACE) != 0)
                return fileFailure(QStringLiteral("cannot put the mail file '%1' in place").arg(to),
                                   errno);
        }
        if (options.progress)
            options.progress(i + 1, total);
    }
    if (total > 0 && syncParentDirectory(QFile::encodeName(MMS_UTIL_Common::getMailFileDir() +
                                                           QStringLiteral("."))) != 0)
        return fileFailure(QStringLiteral("cannot sync the mail file directory"), errno);
    status = journal->writeSettingsAndContacts();
    if (!status.ok())
        return status;
    r = txn.commit();
    if (r != DB_OK)
        return databaseFailure(QStringLiteral("cannot commit the restored rows"), r);
    return {};
}

Status anotherRestore()
{
    return Status::failure(
        ErrorCode::Busy,
        QStringLiteral("another restore is running, or one that stopped waits for the store's "
                       "next use to complete it ('%1')")
            .arg(RestoreJournal::directory()));
}

} // namespace

Restore restoreStore(const QString& path, const RestoreOptions& options)
{
    Restore restore;
    restore.path = path;
    // The store's first use completes what an earlier restore left, when it can: that takes the
    // lock exclusive, so it comes before this restore takes it shared.
    MessageStore store(options.lockTimeout);
    restore.status = store.completeLeftovers();
    // The journal's directory lies in the working directory; the mail file directory is made
    // only once there is something to put into it.
    if (restore.status.ok() && !options.dryRun)
        restore.status = makeDirectory(
            MMS_UTIL_Common::getWorkDir(),
            QStringLiteral("cannot create the directory '%1'").arg(MMS_UTIL_Common::getWorkDir()));
    StoreLock lock;
    if (restore.status.ok() && QFileInfo::exists(MMS_UTIL_Common::getWorkDir()))
        restore.status =
            lock.acquire(StoreLock::defaultPath(), StoreLock::Shared, options.lockTimeout);
    if (!restore.status.ok())
        return restore;
    if (RestoreJournal::isThere()) {
        restore.status = anotherRestore();
        return restore;
    }
    // Read under the lock: no repair changes them while the restore runs.
    const Listed listed = store.list();
    restore.status = listed.status;
    if (!restore.status.ok())
        return restore;
    StagingGuard guard;
    if (!options.dryRun) {
        if (::mkdir(QFile::encodeName(RestoreJournal::directory()).constData(), 0700) != 0) {
            restore.status =
                errno == EEXIST
                    ? anotherRestore()
                    : fileFailure(
                          QStringLiteral("cannot create '%1'").arg(RestoreJournal::directory()),
                          errno);
            return restore;
        }
        guard.arm();
    }
    const BackupContents contents =
        readBackup(path, options.dryRun ? QString() : RestoreJournal::directory());
    restore.status = contents.status;
    RestoreJournal journal;
    if (restore.status.ok())
        restore.status = plan(contents, path, listed.rows, options, &journal, &restore);
    if (!restore.status.ok() || options.dryRun)
        return restore;
    restore.status = syncFileSystem(RestoreJournal::directory());
    if (restore.status.ok())
        restore.status = journal.savePlan();
    if (!restore.status.ok())
        return restore;
    guard.release();
    const IndexTable table;
    restore.status = table.openStatus();
    if (restore.status.ok())
        restore.status = makeDirectory(MMS_UTIL_Common::getMailFileDir(),
                                       QStringLiteral("cannot create the directory '%1'")
                                           .arg(MMS_UTIL_Common::getMailFileDir()));
    if (restore.status.ok())
        restore.status = apply(&journal, options);
    if (!restore.status.ok()) {
        const Status undone = journal.undo();
        if (undone.ok())
            RestoreJournal::remove();
        else
            restore.status.text +=
                QStringLiteral("; what was changed is put back on the store's next use (%1)")
                    .arg(undone.text);
        return restore;
    }
    for (qsizetype i = 0; i < journal.messages.size(); ++i)
        restore.ids.append({journal.messages.at(i).backupId, journal.ids.at(i)});
    // Done once committed: a journal that cannot be removed now is by the store's next use.
    RestoreJournal::remove();
    return restore;
}

} // namespace tavmms::store
