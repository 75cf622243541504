#include "message_store_check.h"

#include "file_descriptor.h"
#include "file_status.h"
#include "header_row.h"
#include "index_rows.h"
#include "mail_file_defect.h"
#include "mail_file_io.h"
#include "mail_file_names.h"
#include "message_index.h"
#include "quarantine.h"
#include "restore_journal.h"
#include "store_lock.h"

#include "filesync.h"
#include "mms_util_common.h"
#include "mms_util_msgheaderbase.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <map>
#include <memory>

namespace tavmms::store
{

namespace
{

// What a forced repair does with a mail file it takes away.
const QString kQuarantines = QStringLiteral("moves it to the quarantine");

// A file of one message in the mail file directory.
struct StoredFile {
    bool present = false;
    std::optional<MailFileDefect> defect; // why it does not load completely
    QStringList mismatch;                 // the header's fields its row does not hold

    bool loads() const { return present && !defect; }
};

// What the store holds of one message id.
struct Message {
    bool row = false;
    MMS_UTIL_DBStruct_T record{};
    StoredFile mail;     // "<id>.mms"
    StoredFile leftover; // "<id>.mms.tmp"
    StoredFile deleted;  // "<id>.mms.deleted"
};

// What the directory and the index hold.
struct Store {
    std::map<unsigned int, Message> messages; // in id order
};

// "1 row", "2 rows".
QString counted(int count, const char* what)
{
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(what)) +
           (count == 1 ? QString() : QStringLiteral("s"));
}

// "3 mail files", "1 mail file and 2 leftovers".
QString filesCounted(const CheckReport& report)
{
    const QString mailFiles = counted(report.mailFiles, "mail file");
    return report.leftovers == 0
               ? mailFiles
               : mailFiles + QStringLiteral(" and ") + counted(report.leftovers, "leftover");
}

// Sorts `name` into the mail files, the leftovers of a save or a delete and the other entries.
void addEntry(CheckReport* report, Store* store, int directory, const DirectoryEntry& entry)
{
    const QString& name = entry.name;
    const QString suffix = name.endsWith(kLeftoverSuffix)  ? kLeftoverSuffix
                           : name.endsWith(kDeletedSuffix) ? kDeletedSuffix
                                                           : QString();
    const std::optional<unsigned int> id = idOfMailFileName(name.chopped(suffix.size()));
    if (!id) {
        report->others.append({name, entry.kind == DirectoryEntry::Directory
                                         ? QStringLiteral("a directory")
                                         : QStringLiteral("not a mail file name")});
        return;
    }
    if (entry.kind != DirectoryEntry::File) {
        report->others.append({name, QStringLiteral("not a regular file")});
        return;
    }
    Message& message = store->messages[*id];
    StoredFile& file = suffix == kLeftoverSuffix  ? message.leftover
                       : suffix == kDeletedSuffix ? message.deleted
                                                  : message.mail;
    file.present = true;
    if (&file == &message.mail && message.row) {
        QByteArray block;
        file.defect = mailFileDefect(directory, name, &block);
        if (!file.defect)
            file.mismatch = headerMismatch(message.record, block);
    } else {
        file.defect = mailFileDefect(directory, name);
    }
    ++(suffix.isEmpty() ? report->mailFiles : report->leftovers);
}

// Reads the mail file directory into `store`. A directory that does not exist reads as empty and
// sets `missing`.
Status readDirectory(CheckReport* report, Store* store, bool* missing)
{
    QList<DirectoryEntry> entries;
    const int error = directoryEntries(report->directory, &entries);
    *missing = error == ENOENT;
    if (error != 0 && !*missing)
        return Status::failure(ErrorCode::Failed,
                               QStringLiteral("cannot read the mail file directory '%1': %2")
                                   .arg(report->directory, errnoText(error)));
    const FileDescriptor directory{::open(QFile::encodeName(report->directory).constData(),
                                          O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    for (const DirectoryEntry& entry : entries)
        addEntry(report, store, directory.fd, entry);
    // The messages go by id; the other names are listed by name.
    std::sort(report->others.begin(), report->others.end(),
              [](const OtherEntry& a, const OtherEntry& b) { return a.name < b.name; });
    return {};
}

// Reads every row of the open index into `store`.
Status readRows(CheckReport* report, Store* store)
{
    const int r = forEachRow(std::nullopt, [&](unsigned int id, const MMS_UTIL_DBStruct_T& record) {
        Message& message = store->messages[id];
        message.row = true;
        message.record = record;
        ++report->rows;
    });
    if (r == DB_OK)
        return {};
    return Status::failure(ErrorCode::Failed,
                           QStringLiteral("cannot read the message index: %1").arg(resultText(r)));
}

// Judges the problems of the store one by one and, when asked, repairs them.
class Checker
{
public:
    Checker(CheckReport* report, const CheckOptions& options) : report_(report), options_(options)
    {
    }

    // Checks the files and the row of message `id`, in an order in which each repair leaves the
    // next check the message as it now stands: an interrupted delete goes first, then a file that
    // does not load (with --force), so that a leftover that loads completely can take its place.
    void check(unsigned int id, Message& message)
    {
        const QString name = mailFileName(id);
        if (message.deleted.present && checkDeleted(name, message))
            message.deleted = StoredFile();
        if (message.mail.present && message.mail.defect) {
            const QString why = QStringLiteral("does not load (%1)").arg(message.mail.defect->why);
            const QString text = name + QStringLiteral(": ") + why;
            // What could not be read may well be whole: it is for a person to look at.
            if (message.mail.defect->unreadable)
                kept(text, QStringLiteral("a file that cannot be read is never moved"));
            else if (forced(text, kQuarantines, QString(),
                            [&] { return moveToQuarantine(name, why); }))
                message.mail = StoredFile();
        }
        if (message.leftover.present && checkLeftover(name, message))
            message.leftover = StoredFile();
        if (message.row && !message.mail.present) {
            if (forced(QStringLiteral("row %1: no mail file %2").arg(id).arg(name),
                       QStringLiteral("deletes the row"), QStringLiteral("row deleted"),
                       [&] { return deleteRow(id); }))
                message.row = false;
        }
        if (message.row && message.mail.loads() && !message.mail.mismatch.isEmpty())
            kept(QStringLiteral("%1: %2").arg(name, mismatchText(message.mail.mismatch)),
                 QStringLiteral("which of the two is right is for a person to judge"));
        if (!message.row && message.mail.loads()) {
            const QString text = QStringLiteral("%1: no row").arg(name);
            const bool done =
                options_.rebuild
                    ? repairable(text, QString(), [&] { return makeRow(id); })
                    : forced(text, kQuarantines + QStringLiteral("; --rebuild makes a row for it"),
                             QString(),
                             [&] { return moveToQuarantine(name, QStringLiteral("has no row")); });
            if (done)
                message.mail = StoredFile();
        }
    }

private:
    // The mail file a delete set aside; true when it is gone or back in place.
    bool checkDeleted(const QString& name, Message& message)
    {
        const QString deleted = name + kDeletedSuffix;
        const QString start = deleted + QStringLiteral(": left by an interrupted delete");
        if (message.row && !message.mail.present) {
            const bool done = repairable(start + QStringLiteral(", whose row is still there"),
                                         QStringLiteral("put back as %1").arg(name),
                                         [&] { return rename(deleted, name); });
            if (done)
                message.mail = message.deleted;
            return done;
        }
        return repairable(start, QStringLiteral("removed"), [&] { return remove(deleted); });
    }

    // The leftover of a save of `name`; true when it is gone or has become the mail file.
    bool checkLeftover(const QString& name, Message& message)
    {
        const QString leftover = name + kLeftoverSuffix;
        const QString start = leftover + QStringLiteral(": left by an interrupted save");
        if (message.leftover.loads() && (!message.mail.present || message.mail.defect)) {
            const auto renameIt = [&] { return rename(leftover, name); };
            // The save got as far as removing the old file, and the new one is whole. Beside a
            // mail file that does not load (kept without --force) it may be the only whole copy.
            const bool done =
                message.mail.present
                    ? forced(start + QStringLiteral(" beside %1, which does not load; this loads "
                                                    "completely")
                                         .arg(name),
                             QStringLiteral("puts it in place of %1").arg(name),
                             QStringLiteral("put in place of %1").arg(name), renameIt)
                    : repairable(start + QStringLiteral(", %1 is missing and this loads "
                                                        "completely")
                                             .arg(name),
                                 QStringLiteral("renamed to %1").arg(name), renameIt);
            if (done)
                message.mail = message.leftover;
            return done;
        }
        const QString text =
            message.mail.present
                ? start + QStringLiteral(" beside %1").arg(name)
                : start + QStringLiteral(", does not load (%1)").arg(message.leftover.defect->why);
        return repairable(text, QStringLiteral("removed"), [&] { return remove(leftover); });
    }

    // A problem that a repair repairs; true when it was.
    bool repairable(const QString& text, const QString& done, const std::function<bool()>& repair)
    {
        return settle(text, options_.repair, QString(), done, repair);
    }

    // A problem that only a forced repair repairs, by doing what `would` says; true when it was.
    bool forced(const QString& text, const QString& would, const QString& done,
                const std::function<bool()>& repair)
    {
        return settle(text, options_.repair && options_.force, QStringLiteral("--force ") + would,
                      done, repair);
    }

    // A problem that no repair touches, for the reason `why`.
    void kept(const QString& text, const QString& why) { settle(text, false, why, QString(), {}); }

    // Notes `text` as one problem. When `allowed`, `repair` is tried and the problem is repaired
    // or failed; a problem a repair leaves alone notes why, `keptBecause`.
    bool settle(const QString& text, bool allowed, const QString& keptBecause, const QString& done,
                const std::function<bool()>& repair)
    {
        CheckProblem problem;
        problem.text = text;
        if (!allowed) {
            if (options_.repair) {
                problem.outcome = CheckProblem::Kept;
                problem.note = keptBecause;
            }
            report_->problems.append(problem);
            return false;
        }
        error_.clear();
        note_.clear();
        const bool ok = repair();
        problem.outcome = ok ? CheckProblem::Repaired : CheckProblem::RepairFailed;
        problem.note = !ok ? QString() : note_.isEmpty() ? done : note_;
        problem.error = error_;
        report_->problems.append(problem);
        return ok;
    }

    bool remove(const QString& name)
    {
        QFile file(report_->directory + name);
        if (file.remove())
            return true;
        error_ = QStringLiteral("cannot remove '%1': %2").arg(file.fileName(), file.errorString());
        return false;
    }

    // Renames `from` to `to` without replacing anything, and syncs the directory unless told
    // that the caller syncs it later.
    bool rename(const QString& from, const QString& to, bool sync = true)
    {
        const QString source = report_->directory + from;
        const QString target = report_->directory + to;
        if (renameWithoutReplacing(QFile::encodeName(source), QFile::encodeName(target)) == 0 &&
            (!sync || syncParentDirectory(QFile::encodeName(target)) == 0))
            return true;
        error_ =
            QStringLiteral("cannot rename '%1' to '%2': %3").arg(source, target, errnoText(errno));
        return false;
    }

    bool deleteRow(unsigned int id)
    {
        // What is deleted is committed on its own, not with the rows made.
        commitMadeRows();
        int r = MMS_UTIL_DBTable::del(id);
        if (r == DB_OK)
            r = commitOrAbort();
        if (r == DB_OK)
            return true;
        error_ = QStringLiteral("cannot delete row %1: %2").arg(id).arg(resultText(r));
        return false;
    }

    bool moveToQuarantine(const QString& name, const QString& why)
    {
        QString movedTo;
        const Status status = quarantine(report_->directory + name, why, &movedTo);
        error_ = status.text;
        note_ = QStringLiteral("moved to %1").arg(movedTo);
        return status.ok();
    }

    // Makes the row of the mail file `id` from its header, at the id the database gives, to
    // whose name the file is renamed. The rows made go into one transaction, which
    // commitMadeRows() commits once the renames are synced: a crash before leaves files renamed
    // without their rows, which the next rebuild gives rows.
    bool makeRow(unsigned int id)
    {
        const QString name = mailFileName(id);
        QByteArray block;
        if (mailFileDefect(report_->directory + name, &block)) {
            error_ = QStringLiteral("'%1' no longer loads").arg(report_->directory + name);
            return false;
        }
        MMS_UTIL_MsgHeaderBase header;
        readHeaderBlock(block, &header);
        const MMS_UTIL_DBStruct_T row =
            keptFileRow(header, QFileInfo(report_->directory + name).lastModified());
        int r = DB_OK;
        if (!made_) {
            made_.emplace();
            r = made_->begin();
            if (r != DB_OK)
                made_.reset();
        }
        unsigned int newId = 0;
        if (r == DB_OK)
            r = addRowAtFreeId(row, &newId, id);
        if (r != DB_OK) {
            error_ = QStringLiteral("cannot add a row: %1").arg(resultText(r));
            return false;
        }
        const QString newName = mailFileName(newId);
        if (newId != id && !rename(name, newName, false)) {
            if (MMS_UTIL_DBTable::del(newId) == DB_OK)
                commitOrAbort();
            return false;
        }
        renamed_.append({report_->problems.size(), name, newName});
        note_ = newId == id ? QStringLiteral("row %1 made").arg(newId)
                            : QStringLiteral("row %1 made, renamed to %2").arg(newId).arg(newName);
        return true;
    }

public:
    // Commits the rows makeRow() made, after syncing the directory the files were renamed in.
    // When that fails, the files get their names back and the problems are not repaired.
    void commitMadeRows()
    {
        if (!made_)
            return;
        int r = DB_OK;
        QString error;
        if (syncParentDirectory(QFile::encodeName(report_->directory + QStringLiteral("."))) != 0)
            error =
                QStringLiteral("cannot sync '%1': %2").arg(report_->directory, errnoText(errno));
        else if ((r = made_->commit()) != DB_OK)
            error = QStringLiteral("cannot commit the rows made: %1").arg(resultText(r));
        made_.reset();
        if (!error.isEmpty()) {
            for (const Renamed& renamed : std::as_const(renamed_)) {
                if (renamed.from != renamed.to)
                    rename(renamed.to, renamed.from);
                CheckProblem& problem = report_->problems[renamed.problem];
                problem.outcome = CheckProblem::RepairFailed;
                problem.note.clear();
                problem.error = error;
            }
        }
        renamed_.clear();
    }

private:
    // The row of a kept mail file whose row was lost: what its header holds, and for the rest
    // what a store that lost its index can tell. A message from the phone's owner, or from no one
    // (a message composed while the owner was unknown), was sent; any other was received. Both
    // count as read, since nobody can tell; no URI or transaction id survives in a mail file.
    MMS_UTIL_DBStruct_T keptFileRow(const MMS_UTIL_MsgHeaderBase& header, const QDateTime& reached)
    {
        if (!owner_) {
            owner_.emplace();
            MMS_UTIL_Common::getOwnerEntry(*owner_);
        }
        const bool sent = header.from.address.isEmpty() ||
                          (!owner_->address.isEmpty() && header.from.address == owner_->address);
        MMS_UTIL_DBStruct_T row = headerRow(header);
        row.cmn_fld_folder_id = unsigned(sent ? Folder::Sent : Folder::Inbox);
        row.cmn_fld_send_receive_state = ushort(sent ? State::Sent : State::Received);
        row.cmn_fld_msg_attr_read = 1;
        row.cmn_fld_time_msg_reach_phone = quint32(reached.toSecsSinceEpoch());
        return row;
    }

    CheckReport* report_;
    const CheckOptions& options_;
    QString error_;                       // why the last repair failed
    QString note_;                        // what the last repair did, when it says so itself
    std::optional<MMS_UTIL_Entry> owner_; // the phone's owner, once a row needs it
    // The rows made and not yet committed, and the problem and the rename of each.
    struct Renamed {
        qsizetype problem;
        QString from;
        QString to;
    };
    std::optional<Transaction> made_;
    QList<Renamed> renamed_;
};

} // namespace

int CheckReport::repaired() const
{
    return int(std::count_if(problems.begin(), problems.end(), [](const CheckProblem& problem) {
        return problem.outcome == CheckProblem::Repaired;
    }));
}

CheckReport checkStore(const CheckOptions& asked)
{
    CheckOptions options = asked;
    options.repair = asked.repair || asked.rebuild;
    CheckReport report;
    report.directory = MMS_UTIL_Common::getMailFileDir();
    // A check makes nothing it was not asked to repair: no index, no lock file in a working
    // directory that is not there.
    StoreLock lock;
    if (QFileInfo::exists(MMS_UTIL_Common::getWorkDir())) {
        report.status = lock.acquire(StoreLock::defaultPath(),
                                     options.repair ? StoreLock::Exclusive : StoreLock::Shared,
                                     options.lockTimeout);
        if (!report.status.ok())
            return report;
    }
    const IndexTable table(options.rebuild ? IndexTable::Make : IndexTable::LeaveMissing);
    if (!table.isMissing() && !table.isOpen()) {
        report.status = Status::failure(ErrorCode::Failed, table.openError());
        return report;
    }
    // A restore cut short would show its placed mail files as files without rows.
    if (options.repair && table.isOpen() && RestoreJournal::isThere()) {
        report.status = completeInterruptedRestore();
        if (!report.status.ok())
            return report;
    }
    Store store;
    bool missing = false;
    if (table.isOpen())
        report.status = readRows(&report, &store);
    if (report.status.ok())
        report.status = readDirectory(&report, &store, &missing);
    if (!report.status.ok())
        return report;
    // Without a working directory there was no lock to take. A program that made the store
    // meanwhile may have been seen half way through keeping its first message, which must not be
    // judged: look again, under the lock now.
    if (!lock.isHeld() && QFileInfo::exists(MMS_UTIL_Common::getWorkDir()))
        return checkStore(asked);
    // Rows against a directory that is not there are more likely a wrong TAV_LOCAL_DOWNLOAD_PATH
    // than messages that all went missing, and mail files without any index a wrong
    // TAV_PLATFORM_DIR: nothing is judged, and nothing deleted.
    if (missing && report.rows > 0) {
        report.status =
            Status::failure(ErrorCode::Failed,
                            QStringLiteral("the mail file directory '%1' does not exist, but the "
                                           "index holds %2; check TAV_LOCAL_DOWNLOAD_PATH")
                                .arg(report.directory, counted(report.rows, "row")));
        return report;
    }
    if (table.isMissing() && !store.messages.empty()) {
        report.status = Status::failure(
            ErrorCode::Failed,
            QStringLiteral("there is no message index in '%1', but the mail "
                           "file directory holds %2; check TAV_PLATFORM_DIR, or rebuild the "
                           "index from them")
                .arg(databasePath(), filesCounted(report)));
        return report;
    }
    // Headers are compared with the rows in local time, in the zone read here once for all.
    ::tzset();
    Checker checker(&report, options);
    for (auto& [id, message] : store.messages)
        checker.check(id, message);
    checker.commitMadeRows();
    return report;
}

} // namespace tavmms::store
