#include "restore_journal.h"

#include "backup_records.h"
#include "eml_export.h"
#include "file_status.h"
#include "mail_file_names.h"
#include "message_index.h"
#include "sha256.h"

#include "filesync.h"
#include "mms_util_common.h"
#include "mms_util_dbtable.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace tavmms::store
{

namespace
{

// The plan goes first and is removed first: a journal whose plan is gone has nothing left to do.
const QString kPlanFile = QStringLiteral("plan.json");
const QString kIdsFile = QStringLiteral("ids.json");

const QString kMessages = QStringLiteral("messages");
const QString kRow = QStringLiteral("row");
const QString kSha256 = QStringLiteral("sha256");
const QString kSettings = QStringLiteral("settings");
const QString kContacts = QStringLiteral("contacts");
const QString kBlockList = QStringLiteral("blockList");
const QString kBefore = QStringLiteral("before");
const QString kIds = QStringLiteral("ids");

Status saveJson(const QString& name, const QJsonObject& object)
{
    return saveExportFile(RestoreJournal::directory() + name,
                          QJsonDocument(object).toJson(QJsonDocument::Compact), true);
}

// The object in the journal's file `name`; an empty one when there is no such file.
std::optional<QJsonObject> loadJson(const QString& name, Status* status)
{
    QFile file(RestoreJournal::directory() + name);
    if (!file.exists())
        return QJsonObject();
    QJsonParseError error{};
    const QJsonDocument document = file.open(QIODevice::ReadOnly)
                                       ? QJsonDocument::fromJson(file.readAll(), &error)
                                       : QJsonDocument();
    if (document.isObject())
        return document.object();
    *status = Status::failure(ErrorCode::Failed,
                              QStringLiteral("cannot read the restore's journal '%1': %2")
                                  .arg(file.fileName(), file.error() != QFileDevice::NoError
                                                            ? file.errorString()
                                                            : error.errorString()));
    return std::nullopt;
}

// Whether `row` is the row planned as `planned`: a restored message keeps its URI and the time it
// reached the phone, whatever else a program changes in it afterwards.
bool isPlannedRow(const MMS_UTIL_DBStruct_T& row, const MMS_UTIL_DBStruct_T& planned)
{
    return std::memcmp(row.mms_fld_msguri_name, planned.mms_fld_msguri_name,
                       sizeof row.mms_fld_msguri_name) == 0 &&
           row.cmn_fld_time_msg_reach_phone == planned.cmn_fld_time_msg_reach_phone;
}

// Whether the mail file at `path` holds the bytes whose SHA-256 is `digest`.
bool holds(const QString& path, const QByteArray& digest)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && sha256(file.readAll()) == digest;
}

Status writeContacts(const QList<Contact>& contacts)
{
    QString error;
    if (!replaceContacts(contacts, &error))
        return Status::failure(ErrorCode::Failed, error);
    return {};
}

} // namespace

QString RestoreJournal::directory()
{
    return MMS_UTIL_Common::getWorkDir() + QStringLiteral("restore/");
}

QString RestoreJournal::stagedMailFile(unsigned int backupId)
{
    return directory() + mailFileName(backupId);
}

bool RestoreJournal::isThere()
{
    return QFileInfo::exists(directory());
}

Status RestoreJournal::savePlan() const
{
    QJsonArray planned;
    for (const Message& message : messages) {
        QJsonObject item{{kRow, rowToJson({message.backupId, message.row}, message.hasMailFile)}};
        if (message.hasMailFile)
            item.insert(kSha256, QString::fromLatin1(message.sha256.toHex()));
        planned.append(item);
    }
    QJsonObject before{{kBlockList, blockListBefore}};
    QJsonObject plan{{kMessages, planned}, {kBlockList, blockList}};
    if (settings) {
        plan.insert(kSettings, *settings);
        before.insert(kSettings, settingsBefore);
    }
    if (contacts) {
        plan.insert(kContacts, contactListToJson(*contacts));
        before.insert(kContacts, contactListToJson(contactsBefore));
    }
    plan.insert(kBefore, before);
    return saveJson(kPlanFile, plan);
}

Status RestoreJournal::saveIds() const
{
    QJsonArray array;
    for (const unsigned int id : ids)
        array.append(qint64(id));
    return saveJson(kIdsFile, QJsonObject{{kIds, array}});
}

std::optional<RestoreJournal> RestoreJournal::load(Status* status)
{
    const std::optional<QJsonObject> plan = loadJson(kPlanFile, status);
    const std::optional<QJsonObject> saved = plan ? loadJson(kIdsFile, status) : std::nullopt;
    if (!saved || plan->isEmpty())
        return std::nullopt;
    RestoreJournal journal;
    for (const QJsonValue& value : plan->value(kMessages).toArray()) {
        const QJsonObject item = value.toObject();
        const QJsonObject row = item.value(kRow).toObject();
        Message message;
        QString error;
        if (!rowFromJson(row, &message.row, &error)) {
            *status = Status::failure(
                ErrorCode::Failed,
                QStringLiteral("the restore's journal has a bad row: %1").arg(error));
            return std::nullopt;
        }
        message.backupId = unsigned(row.value(QStringLiteral("id")).toInteger());
        message.hasMailFile = row.value(QStringLiteral("mailFile")).toBool();
        message.sha256 = QByteArray::fromHex(item.value(kSha256).toString().toLatin1());
        journal.messages.append(message);
    }
    const QJsonObject before = plan->value(kBefore).toObject();
    journal.blockList = plan->value(kBlockList).toString();
    journal.blockListBefore = before.value(kBlockList).toString();
    if (plan->contains(kSettings)) {
        journal.settings = plan->value(kSettings).toObject();
        journal.settingsBefore = before.value(kSettings).toObject();
    }
    if (plan->contains(kContacts)) {
        journal.contacts = contactsFromJson(plan->value(kContacts).toObject());
        journal.contactsBefore = contactsFromJson(before.value(kContacts).toObject());
    }
    for (const QJsonValue& id : saved->value(kIds).toArray())
        journal.ids.append(unsigned(id.toInteger()));
    return journal;
}

Status RestoreJournal::writeSettingsAndContacts() const
{
    Status status = writeSettings(settings, blockList);
    if (status.ok() && contacts)
        status = writeContacts(*contacts);
    return status;
}

bool RestoreJournal::committed(Status* status) const
{
    if (messages.isEmpty())
        return true;
    for (qsizetype i = 0; i < ids.size() && i < messages.size(); ++i) {
        MMS_UTIL_DBStruct_T row;
        const int r = MMS_UTIL_DBTable::readRecord(ids.at(i), &row);
        if (r == DB_OK && isPlannedRow(row, messages.at(i).row))
            return true;
        if (r != DB_OK && r != DB_ERR_NOT_FOUND) {
            *status = Status::failure(
                ErrorCode::Failed,
                QStringLiteral("cannot read message %1: %2").arg(ids.at(i)).arg(resultText(r)));
            return false;
        }
    }
    return false;
}

Status RestoreJournal::undo() const
{
    bool removed = false;
    for (qsizetype i = 0; i < ids.size() && i < messages.size(); ++i) {
        const QString path = MMS_UTIL_Common::msgDBIDToMailFileName(ids.at(i));
        MMS_UTIL_DBStruct_T row;
        // A file of another message that took the id since is left alone.
        if (!messages.at(i).hasMailFile ||
            MMS_UTIL_DBTable::readRecord(ids.at(i), &row) != DB_ERR_NOT_FOUND ||
            !holds(path, messages.at(i).sha256))
            continue;
        if (::unlink(QFile::encodeName(path).constData()) != 0 && errno != ENOENT)
            return fileFailure(
                QStringLiteral("cannot remove the restored mail file '%1'").arg(path), errno);
        removed = true;
    }
    if (removed && syncParentDirectory(QFile::encodeName(MMS_UTIL_Common::getMailFileDir() +
                                                         QStringLiteral("."))) != 0)
        return fileFailure(QStringLiteral("cannot sync the mail file directory"), errno);
    Status status =
        writeSettings(settings ? std::optional(settingsBefore) : std::nullopt, blockListBefore);
    if (status.ok() && contacts)
        status = writeContacts(contactsBefore);
    return status;
}

Status RestoreJournal::remove()
{
    const QByteArray plan = QFile::encodeName(directory() + kPlanFile);
    if (::unlink(plan.constData()) != 0 && errno != ENOENT)
        return fileFailure(QStringLiteral("cannot remove the restore's journal"), errno);
    std::error_code error;
    std::filesystem::remove_all(QFile::encodeName(directory()).toStdString(), error);
    if (error)
        return fileFailure(
            QStringLiteral("cannot remove the restore's directory '%1'").arg(directory()),
            error.value());
    syncParentDirectory(QFile::encodeName(MMS_UTIL_Common::getWorkDir() + QStringLiteral(".")));
    return {};
}

Status completeInterruptedRestore()
{
    Status status;
    const std::optional<RestoreJournal> journal = RestoreJournal::load(&status);
    if (journal) {
        const bool done = journal->committed(&status);
        if (status.ok())
            status = done ? journal->writeSettingsAndContacts() : journal->undo();
    }
    return status.ok() ? RestoreJournal::remove() : status;
}

} // namespace tavmms::store
