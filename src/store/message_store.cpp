#include "message_store.h"

#include "body_contents.h"
#include "file_status.h"
#include "header_row.h"
#include "index_row_text.h"
#include "index_rows.h"
#include "mail_file_defect.h"
#include "mail_file_io.h"
#include "mail_file_names.h"
#include "mail_file_reader.h"
#include "message_index.h"
#include "recovery.h"
#include "restore_journal.h"
#include "retrieved_message.h"
#include "send_request.h"
#include "space_reserve.h"
#include "store_lock.h"

#include "filesync.h"
#include "mms_util_common.h"
#include "mms_util_mailfile.h"
#include "mms_util_msgheaderbase.h"
#include "mms_util_setting.h"
#include "settings_read_error.h"
#include "setup_set_manager.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QUuid>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <optional>
#include <unistd.h>

namespace tavmms::store
{

namespace
{

const char kUriField[] = "mms_fld_msguri_name";
const char kMessageIdField[] = "mms_fld_msgid_name";

using RowChange = std::function<void(MMS_UTIL_DBStruct_T*)>;
using RowCheck = std::function<Status(const MMS_UTIL_DBStruct_T&)>;

// X-Mms-Status Retrieved: what a notification's message says once it was fetched.
constexpr unsigned short kRetrieved = 129;

Status failed(const QString& text)
{
    return Status::failure(ErrorCode::Failed, text);
}

// TooLarge when `body` is over `limit`; else done.
Status checkSize(const QByteArray& body, const SizeLimit& limit)
{
    if (body.size() <= limit.bytes)
        return {};
    return Status::failure(
        ErrorCode::TooLarge,
        QStringLiteral("the body of %1 bytes is over %2; the message was not kept")
            .arg(body.size())
            .arg(limit.text));
}

// The limit that size setting `setting` sets to `kilobytes` (0 for none), never over the store's
// own.
SizeLimit limitOf(int kilobytes, const char* setting)
{
    if (kilobytes <= 0 || qint64(kilobytes) * 1024 >= MessageStore::kLargestBody)
        return MessageStore::storeLimit();
    return {qint64(kilobytes) * 1024,
            QStringLiteral("the limit of %1 KB (%2)").arg(kilobytes).arg(QLatin1String(setting))};
}

// Fails when the settings store could not be read by the reads since the caller opened it (and
// holds it open): its defaults would stand in for what the user set, and an empty block list lets
// every sender through.
Status settingsWereRead(const char* outcome)
{
    const QString why = tavmms::settingsReadError();
    if (why.isEmpty())
        return {};
    return failed(why + QStringLiteral("; ") + QLatin1String(outcome));
}

Status notFound(unsigned int id)
{
    return Status::failure(ErrorCode::NotFound, QStringLiteral("no message %1").arg(id));
}

// Reads the row of message `id` into `record`; NotFound without one.
Status readRow(unsigned int id, MMS_UTIL_DBStruct_T* record)
{
    const int r = MMS_UTIL_DBTable::readRecord(id, record);
    if (r == DB_OK)
        return {};
    return r == DB_ERR_NOT_FOUND
               ? notFound(id)
               : databaseFailure(QStringLiteral("cannot read message %1").arg(id), r);
}

// NotFound naming each of `ids`.
Status notFound(const QList<unsigned int>& ids)
{
    if (ids.size() == 1)
        return notFound(ids.constFirst());
    QStringList numbers;
    for (const unsigned int id : ids)
        numbers.append(QString::number(id));
    return Status::failure(
        ErrorCode::NotFound,
        QStringLiteral("no messages %1").arg(numbers.join(QStringLiteral(", "))));
}

// `ids` without repeats, in the order given: a message is changed or deleted once.
QList<unsigned int> distinct(const QList<unsigned int>& ids)
{
    QList<unsigned int> once;
    for (const unsigned int id : ids) {
        if (!once.contains(id))
            once.append(id);
    }
    return once;
}

// Whether `field` holds `text`, ignoring case; an empty text is in every field.
bool holds(const QString& field, const QString& text)
{
    return text.isEmpty() || field.contains(text, Qt::CaseInsensitive);
}

bool passes(const ListFilter& filter, const MessageRow& row)
{
    if (filter.read && row.isRead() != *filter.read)
        return false;
    if (!holds(row.from(), filter.from) || !holds(row.to(), filter.to) ||
        !holds(row.subject(), filter.subject))
        return false;
    if (!filter.since.isValid() && !filter.until.isValid())
        return true;
    const qint64 time = row.record.cmn_fld_time;
    return time != 0 && (!filter.since.isValid() || time >= filter.since.toSecsSinceEpoch()) &&
           (!filter.until.isValid() || time <= filter.until.toSecsSinceEpoch());
}

// Puts `rows`, which come in id order, in the filter's order and keeps the page it asks for.
void orderAndPage(QList<MessageRow>* rows, const ListFilter& filter)
{
    if (filter.order == ListOrder::Date)
        std::stable_sort(rows->begin(), rows->end(), [](const MessageRow& a, const MessageRow& b) {
            return a.record.cmn_fld_time < b.record.cmn_fld_time;
        });
    if (filter.reverse)
        std::reverse(rows->begin(), rows->end());
    rows->remove(0, qBound(qsizetype(0), filter.offset, rows->size()));
    if (filter.limit >= 0 && filter.limit < rows->size())
        rows->resize(filter.limit);
}

bool isKnownFolder(Folder folder)
{
    return folder >= Folder::Inbox && folder <= Folder::Drafts;
}

// The row of a message with `header`.
MMS_UTIL_DBStruct_T rowOf(const MMS_UTIL_MsgHeaderBase& header, const NewMessage& message,
                          Folder folder, State state)
{
    MMS_UTIL_DBStruct_T row = headerRow(header);
    row.cmn_fld_time_msg_reach_phone = quint32(QDateTime::currentSecsSinceEpoch());
    row.cmn_fld_msg_attr_read = folder == Folder::Inbox ? 0 : 1;
    row.cmn_fld_folder_id = unsigned(folder);
    row.cmn_fld_send_receive_state = ushort(state);
    const BodyContents contents = bodyContents(header.contentType, message.body);
    row.cmn_fld_contain_au_or_vi = contents.audioOrVideo ? 1 : 0;
    row.cmn_fld_contain_attachment = contents.attachment ? 1 : 0;
    setText8(row.mms_fld_tid_name, message.transactionId);
    setText8(row.mms_fld_msguri_name, message.uri.isEmpty()
                                          ? QUuid::createUuid()
                                                .toString(QUuid::WithoutBraces)
                                                .prepend(QStringLiteral("urn:uuid:"))
                                          : message.uri);
    return row;
}

// Gives the sender and the recipients that have no name of their own their contacts' names.
void nameFromContacts(MMS_UTIL_MsgHeaderBase* header)
{
    MMS_UTIL_EntryList unnamed; // the header's entries, which this list does not own
    for (const MMS_UTIL_EntryList* list : {&header->toList, &header->ccList, &header->bccList}) {
        for (MMS_UTIL_Entry* entry : *list) {
            if (entry && entry->name.isEmpty())
                unnamed.append(entry);
        }
    }
    MMS_UTIL_Common::srchMultiContactNames(unnamed);
    if (header->from.name.isEmpty() && !header->from.address.isEmpty())
        MMS_UTIL_Common::srchContactName(header->from);
}

// `name` without what the entry text form of a mail file cannot carry: "," ends an entry of a
// list, "<" ">" "[" "]" enclose a name and a type, and a line break or another control character
// ends the header line. A name from the address book, the command line or another phone is kept
// so, rather than a message failing for it.
QString carriedName(const QString& name)
{
    QString carried;
    carried.reserve(name.size());
    for (const QChar c : name) {
        const QChar::Category category = c.category();
        if (!QStringView(u",<>[]").contains(c) && category != QChar::Other_Control &&
            category != QChar::Separator_Line && category != QChar::Separator_Paragraph)
            carried.append(c);
    }
    return carried;
}

void carryNames(MMS_UTIL_MsgHeaderBase* header)
{
    header->from.name = carriedName(header->from.name);
    for (const MMS_UTIL_EntryList* list : {&header->toList, &header->ccList, &header->bccList}) {
        for (MMS_UTIL_Entry* entry : *list) {
            if (entry)
                entry->name = carriedName(entry->name);
        }
    }
}

// Fills the parts of `header` that composing and receiving share.
void fillHeader(MMS_UTIL_MsgHeaderBase* header, const NewMessage& message)
{
    header->setFrom(message.from);
    for (const MMS_UTIL_Entry& entry : message.to)
        header->addToRecipient(entry);
    for (const MMS_UTIL_Entry& entry : message.cc)
        header->addCcRecipient(entry);
    for (const MMS_UTIL_Entry& entry : message.bcc)
        header->addBccRecipient(entry);
    nameFromContacts(header);
    carryNames(header);
    header->subject = message.subject;
    header->contentType = message.contentType;
    header->messageId = message.messageId;
    // The header block keeps whole seconds; so does the row.
    header->sendDate =
        QDateTime::fromSecsSinceEpoch(message.date.isValid() ? message.date.toSecsSinceEpoch()
                                                             : QDateTime::currentSecsSinceEpoch());
    if (message.deliveryTime.isValid())
        header->deliveryTime =
            QDateTime::fromSecsSinceEpoch(message.deliveryTime.toSecsSinceEpoch());
    if (message.priority)
        header->setPriority(*message.priority);
    header->deliveryReport = message.deliveryReport.value_or(header->deliveryReport);
    header->readReplyReport = message.readReport.value_or(header->readReplyReport);
    header->senderVisibility = message.senderVisible.value_or(header->senderVisibility);
    header->expiry = message.expiry.value_or(header->expiry);
    header->messageSize = message.messageSize.value_or(uint(message.body.size()));
}

// The text of the URI or the Message-ID field of `row`, as it is kept.
QByteArray fieldText(const MMS_UTIL_DBStruct_T& row, const char* field)
{
    const bool uri = qstrcmp(field, kUriField) == 0;
    const char* text = uri ? row.mms_fld_msguri_name : row.mms_fld_msgid_name;
    return QByteArray(text, qsizetype(qstrnlen(text, uri ? sizeof row.mms_fld_msguri_name
                                                         : sizeof row.mms_fld_msgid_name)));
}

// The ids of the rows whose `field` holds `text` (cut as the row keeps it), in the transaction
// open now, in the cursor's order.
QList<unsigned int> rowsWith(const char* field, const QByteArray& text, int* result)
{
    QList<unsigned int> ids;
    Transaction txn;
    *result = txn.begin();
    if (*result != DB_OK)
        return ids;
    void* cursorHandle = nullptr;
    *result = DB_CURSOR_Open(txn.handle(), &MMS_UTIL_DBTable::mmsTableHandle, DB_CURSOR_ASCENDING,
                             field, &cursorHandle);
    if (*result != DB_OK)
        return ids;
    const Handle cursor(cursorHandle, DB_CURSOR_Close);
    const Handle term(DB_TERM_Open(), DB_TERM_Close);
    if (!term) {
        *result = DB_ERR_NO_MEMORY;
        return ids;
    }
    *result = DB_TERM_CHAR_Equal(term.get(), field, text.constData());
    if (*result == DB_OK)
        *result = DB_CURSOR_Locate(cursor.get(), term.get());
    // The cursor runs in the field's order: the rows that hold the text follow the first.
    while (*result == DB_OK) {
        unsigned int id = 0;
        MMS_UTIL_DBStruct_T row;
        *result =
            DB_CURSOR_GetCurrentRecordInfo(cursor.get(), &id, &MMS_UTIL_DBTable::mmsTableHandle);
        if (*result == DB_OK)
            *result = MMS_UTIL_DBTable::readRecord(id, &row);
        if (*result != DB_OK || fieldText(row, field) != text)
            break;
        ids.append(id);
        *result = DB_CURSOR_MoveNext(cursor.get());
    }
    if (*result == DB_ERR_NOT_FOUND)
        *result = DB_OK;
    return ids;
}

// Whether the kept message `id`, whose row holds `messageId` as far as its field goes, has that
// Message-ID whole: its mail file says, and one that cannot be read is taken to have it.
bool holdsMessageId(unsigned int id, const QString& messageId)
{
    MMS_UTIL_MsgHeaderBase header;
    if (MMS_UTIL_MailFile(MMS_UTIL_Common::msgDBIDToMailFileName(id)).readMsgHeader(&header) != 0)
        return true;
    return header.messageId == messageId;
}

// Duplicate, naming the kept message in `existing`, when a row but `self` holds the URI the
// message came with, or its Message-ID (one longer than the row's field confirmed in the kept
// message's mail file); in the transaction open now.
Status duplicateCheck(const MMS_UTIL_DBStruct_T& row, const QString& uri, const QString& messageId,
                      unsigned int self, unsigned int* existing)
{
    const struct {
        const char* field;
        QByteArray text;
        QString whole; // what the row may have cut, to be confirmed in the mail file
    } keys[] = {
        // a URI made here is new: only one the message came with is looked for
        {kUriField, uri.isEmpty() ? QByteArray() : QByteArray(row.mms_fld_msguri_name), QString()},
        {kMessageIdField, QByteArray(row.mms_fld_msgid_name), messageId}};
    for (const auto& key : keys) {
        if (key.text.isEmpty())
            continue;
        const bool cut = !key.whole.isEmpty() && key.whole.toUtf8() != key.text;
        int r = DB_OK;
        const QList<unsigned int> ids = rowsWith(key.field, key.text, &r);
        if (r != DB_OK)
            return databaseFailure(QStringLiteral("cannot look for the message"), r);
        for (const unsigned int id : ids) {
            if (id == self || (cut && !holdsMessageId(id, key.whole)))
                continue;
            *existing = id;
            return Status::failure(
                ErrorCode::Duplicate,
                QStringLiteral("message %1 has the same %2 '%3'; the message was not kept again")
                    .arg(id)
                    .arg(QLatin1String(key.field == kUriField ? "URI" : "Message-ID"),
                         cut ? key.whole : QString::fromUtf8(key.text)));
        }
    }
    return {};
}

} // namespace

struct TAVMMS_HIDDEN MessageStore::Impl {
    std::chrono::milliseconds lockTimeout;
    bool recovered = false;

    // What one call holds while it runs: the store's lock, then the index table.
    struct Session {
        StoreLock lock;
        std::optional<IndexTable> table;
        Status status;
    };

    // Completes what a program that died left behind, once for the store object, or again when
    // `again`; the caller has the index open. It does not wait for the store's lock: while
    // another program holds it, what is left is left for the next call (it is a message's files,
    // never a message being kept), and a failure for a repair to report.
    void recover(bool again = false)
    {
        if (recovered && !again)
            return;
        const QString directory = MMS_UTIL_Common::getMailFileDir();
        const QList<unsigned int> ids = interruptedIds(directory);
        const bool restoreLeft = RestoreJournal::isThere();
        StoreLock lock;
        recovered = (ids.isEmpty() && !restoreLeft) ||
                    lock.acquire(StoreLock::defaultPath(), StoreLock::Exclusive, {}).ok();
        if (lock.isHeld()) {
            completeInterrupted(directory, ids);
            if (restoreLeft)
                recovered = completeInterruptedRestore().ok();
        }
    }

    // Begins a call that changes or reads the store: what was interrupted is completed, the
    // store's lock taken shared and the index opened. A call that writes makes the mail file
    // directory when it is missing; one that does not, on a store that has no directory yet, runs
    // without the lock, since there is no file to guard.
    void begin(Session* session, bool writes)
    {
        const QString directory = MMS_UTIL_Common::getMailFileDir();
        if (writes) {
            session->status = makeDirectory(
                directory,
                QStringLiteral("cannot create the mail file directory '%1'").arg(directory));
            if (!session->status.ok())
                return;
        }
        session->table.emplace();
        session->status = session->table->openStatus();
        if (!session->status.ok())
            return;
        recover();
        if (writes)
            keepReserve(reservePath());
        if (writes || QFileInfo::exists(MMS_UTIL_Common::getWorkDir()))
            session->status =
                session->lock.acquire(StoreLock::defaultPath(), StoreLock::Shared, lockTimeout);
    }

    Removed remove(unsigned int id);
    Added keep(MMS_UTIL_MsgHeaderBase& header, const NewMessage& message, Folder folder,
               State state, bool refuseDuplicates);
    Added receive(const NewMessage& message, State state, bool allowDuplicate);
    // Writes the mail file as MessageStore::writeMailFile() does, once `check` passed the row;
    // `alsoChange` changes the row in the same commit as the header's fields.
    Added writeMailFile(unsigned int id, MMS_UTIL_MsgHeaderBase& header, const QByteArray& body,
                        bool replace, const RowCheck& check, const RowChange& alsoChange);
    Status changeRow(unsigned int id, const RowChange& change);
    Status setMessageId(unsigned int id, const QString& messageId);
    Changed changeRows(const QList<unsigned int>& ids, const RowChange& change);
    RemovedAll removeAll(const QList<unsigned int>& ids, bool dryRun);
};

// The row in a transaction held open, then the mail file named from its id, then the commit: the
// row is there only with its file.
Added MessageStore::Impl::keep(MMS_UTIL_MsgHeaderBase& header, const NewMessage& message,
                               Folder folder, State state, bool refuseDuplicates)
{
    Added added;
    Session session;
    begin(&session, true);
    if (!session.status.ok()) {
        added.status = session.status;
        return added;
    }
    Transaction txn;
    int r = txn.begin();
    const MMS_UTIL_DBStruct_T row = rowOf(header, message, folder, state);
    if (r == DB_OK)
        r = addRowAtFreeId(row, &added.id);
    // An added row has no attachment whatever it says; an update keeps what it says.
    if (r == DB_OK && row.cmn_fld_contain_attachment != 0) {
        r = MMS_UTIL_DBTable::update(added.id, row);
        if (r == DB_OK)
            r = commitOrAbort();
    }
    if (r != DB_OK) {
        added.status = databaseFailure(QStringLiteral("cannot add the message's row"), r);
        return added;
    }
    if (refuseDuplicates) {
        added.status =
            duplicateCheck(row, message.uri, header.messageId, added.id, &added.existing);
        if (!added.status.ok())
            return added;
    }

    added.mailFile = MMS_UTIL_Common::msgDBIDToMailFileName(added.id);
    // A header that would read back otherwise is refused before anything is written.
    const QByteArray block = headerBlock(header);
    const QString key = readBackDifference(block);
    if (!key.isEmpty()) {
        added.status = failed(QStringLiteral("the mail file '%1' reads back a different %2 line; "
                                             "nothing was kept")
                                  .arg(added.mailFile, key));
        return added;
    }
    added.status = saveNewMailFile(added.mailFile, block, message.body);
    if (!added.status.ok()) {
        added.status.text += QStringLiteral("; nothing was kept");
        return added;
    }
    r = txn.commit();
    if (r == DB_OK)
        return added;
    QString error = QStringLiteral("cannot commit the message's row: %1").arg(resultText(r));
    // The row was never committed: the file is this call's alone.
    const QByteArray path = QFile::encodeName(added.mailFile);
    if (::unlink(path.constData()) != 0 && errno != ENOENT)
        error += QStringLiteral("; '%1' stays: %2").arg(added.mailFile, errnoText(errno));
    else
        syncParentDirectory(path);
    added.status = Status::failure(r == DB_ERR_DISK_FULL ? ErrorCode::NoSpace : ErrorCode::Failed,
                                   error + QStringLiteral("; nothing was kept"));
    return added;
}

Status MessageStore::Impl::changeRow(unsigned int id, const RowChange& change)
{
    Session session;
    begin(&session, false);
    if (!session.status.ok())
        return session.status;
    Transaction txn;
    int r = txn.begin();
    MMS_UTIL_DBStruct_T record;
    if (r == DB_OK)
        r = MMS_UTIL_DBTable::readRecord(id, &record);
    if (r == DB_ERR_NOT_FOUND)
        return notFound(id);
    if (r == DB_OK) {
        change(&record);
        r = MMS_UTIL_DBTable::update(id, record);
    }
    if (r == DB_OK)
        r = commitOrAbort();
    if (r == DB_OK)
        r = txn.commit();
    if (r != DB_OK)
        return databaseFailure(QStringLiteral("cannot change message %1").arg(id), r);
    return {};
}

// Every row is read before any is changed, all in one transaction: the change is made to all of
// them or, when one is missing or a step fails, to none.
Changed MessageStore::Impl::changeRows(const QList<unsigned int>& ids, const RowChange& change)
{
    Changed changed;
    Session session;
    begin(&session, false);
    changed.status = session.status;
    if (!changed.status.ok())
        return changed;
    Transaction txn;
    int r = txn.begin();
    QList<std::pair<unsigned int, MMS_UTIL_DBStruct_T>> records;
    for (const unsigned int id : distinct(ids)) {
        if (r != DB_OK)
            break;
        MMS_UTIL_DBStruct_T record;
        r = MMS_UTIL_DBTable::readRecord(id, &record);
        if (r == DB_OK)
            records.append({id, record});
        else if (r == DB_ERR_NOT_FOUND)
            changed.missing.append(id);
        if (r == DB_ERR_NOT_FOUND)
            r = DB_OK;
    }
    if (r == DB_OK && !changed.missing.isEmpty()) {
        changed.status = notFound(changed.missing);
        return changed;
    }
    for (auto& [id, record] : records) {
        if (r != DB_OK)
            break;
        change(&record);
        r = MMS_UTIL_DBTable::update(id, record);
        if (r == DB_OK)
            r = commitOrAbort();
    }
    if (r == DB_OK)
        r = txn.commit();
    if (r != DB_OK) {
        changed.status = databaseFailure(QStringLiteral("cannot change the messages"), r);
        return changed;
    }
    for (const auto& [id, record] : records)
        changed.changed.append(id);
    return changed;
}

namespace
{

// The row of a message whose mail file was written: the fields its header gives follow the new
// header, so that lists show what the file holds. A program dying in between leaves a row that a
// check reports as not matching its header.
Added withRowOf(Added added, const MMS_UTIL_MsgHeaderBase& header, const RowChange& alsoChange)
{
    if (!added.status.ok())
        return added;
    MMS_UTIL_DBStruct_T record;
    int r = MMS_UTIL_DBTable::readRecord(added.id, &record);
    if (r == DB_OK) {
        setHeaderFields(&record, header);
        if (alsoChange)
            alsoChange(&record);
        r = MMS_UTIL_DBTable::update(added.id, record);
    }
    if (r == DB_OK)
        r = commitOrAbort();
    if (r != DB_OK)
        added.status = databaseFailure(
            QStringLiteral("the mail file '%1' was written, but its row was not changed")
                .arg(added.mailFile),
            r);
    return added;
}

} // namespace

MMS_CONTENT_TYPE_T NewMessage::defaultContentType()
{
    return {QStringLiteral("application"), QStringLiteral("vnd.wap.multipart.mixed"),
            QStringLiteral("")};
}

MessageStore::MessageStore(std::chrono::milliseconds lockTimeout) : d(new Impl{lockTimeout}) {}

MessageStore::~MessageStore() = default;

Status MessageStore::completeLeftovers()
{
    Impl::Session session;
    d->begin(&session, false);
    return session.status;
}

std::chrono::milliseconds MessageStore::lockTimeout() const
{
    return d->lockTimeout;
}

SizeLimit MessageStore::composeLimit()
{
    return limitOf(MMS_UTIL_Setting::getMaxiumMOMMSSize(1), "max-mo-size");
}

SizeLimit MessageStore::receiveLimit()
{
    return MMS_UTIL_Setting::getMTSizeLimitationState()
               ? limitOf(MMS_UTIL_Setting::getMaxiumMTMMSSize(), "max-mt-size")
               : storeLimit();
}

SizeLimit MessageStore::storeLimit()
{
    return {kLargestBody, QStringLiteral("the store's limit of %1 bytes").arg(kLargestBody)};
}

Added MessageStore::compose(const NewMessage& message, Folder folder)
{
    Added added;
    if (folder != Folder::Outbox && folder != Folder::Drafts) {
        added.status = Status::failure(
            ErrorCode::Invalid,
            QStringLiteral("a composed message goes to the outbox or the drafts, not to folder %1")
                .arg(unsigned(folder)));
        return added;
    }
    const SETUP_SET_Manager reading(AM_Global::APP_MMS, false);
    const SizeLimit limit = composeLimit();
    NewMessage composed = message;
    // A message composed here comes from the phone's owner, when the address book knows them.
    if (composed.from.isEmpty())
        MMS_UTIL_Common::getOwnerEntry(composed.from);
    MMS_UTIL_MsgHeaderBase header;
    header.loadGlobalSetting();
    // Not among the sending options loadGlobalSetting() reads; a non-zero setting shows the sender.
    header.senderVisibility = MMS_UTIL_Setting::getSenderVisibility() != 0;
    added.status = settingsWereRead("the message was not kept");
    if (added.status.ok())
        added.status = checkSize(message.body, limit);
    if (!added.status.ok())
        return added;
    fillHeader(&header, composed);
    return d->keep(header, composed, folder,
                   folder == Folder::Drafts ? State::Draft : State::ToSend, false);
}

namespace
{

// Refused when the sender is blocked (while the block list is in use) or the body is over the
// receiving limit: a message refused here stays with the MMSC, which offers it again.
Status receivable(const NewMessage& message)
{
    const SETUP_SET_Manager reading(AM_Global::APP_MMS, false);
    const bool blocked = MMS_UTIL_Setting::getFilterFlexBitSetting() &&
                         MMS_UTIL_Setting::isInBlockList(message.from.address);
    const SizeLimit limit = MessageStore::receiveLimit();
    Status status = settingsWereRead("the message was refused");
    if (status.ok() && blocked)
        status = Status::failure(
            ErrorCode::Blocked, QStringLiteral("'%1' is on the block list; the message was refused")
                                    .arg(message.from.address));
    if (status.ok())
        status = checkSize(message.body, limit);
    return status;
}

// The header of a received message, addressed to the owner when it names no recipient.
void fillReceivedHeader(MMS_UTIL_MsgHeaderBase* header, const NewMessage& message)
{
    NewMessage received = message;
    if (received.to.isEmpty()) {
        MMS_UTIL_Entry owner;
        if (MMS_UTIL_Common::getOwnerEntry(owner) == 0)
            received.to.append(owner);
    }
    fillHeader(header, received);
}

} // namespace

Added MessageStore::Impl::receive(const NewMessage& message, State state, bool allowDuplicate)
{
    Added added;
    added.status = receivable(message);
    if (!added.status.ok())
        return added;
    MMS_UTIL_MsgHeaderBase header;
    fillReceivedHeader(&header, message);
    return keep(header, message, Folder::Inbox, state, !allowDuplicate);
}

Added MessageStore::receive(const NewMessage& message, bool allowDuplicate)
{
    return d->receive(message, State::Received, allowDuplicate);
}

Added MessageStore::keepNotification(const NewMessage& notification, State state)
{
    return d->receive(notification, state, false);
}

Added MessageStore::receivePdu(const QByteArray& pdu, const QString& uri, bool allowDuplicate)
{
    RetrievedMessage retrieved = retrievedMessage(pdu);
    if (!retrieved.status.ok()) {
        Added added;
        added.status = retrieved.status;
        return added;
    }
    retrieved.message.uri = uri;
    return receive(retrieved.message, allowDuplicate);
}

Added MessageStore::receivePduInPlace(unsigned int id, const QByteArray& pdu)
{
    Added added;
    added.id = id;
    added.mailFile = MMS_UTIL_Common::msgDBIDToMailFileName(id);
    const RetrievedMessage retrieved = retrievedMessage(pdu);
    added.status = retrieved.status;
    if (added.status.ok())
        added.status = receivable(retrieved.message);
    if (!added.status.ok())
        return added;
    MMS_UTIL_MsgHeaderBase header;
    fillReceivedHeader(&header, retrieved.message);
    // The file first, then the row in one commit: a program dying in between leaves the row of
    // the notification over the message's file, which the next fetch replaces again.
    const BodyContents contents = bodyContents(header.contentType, retrieved.message.body);
    const auto notKeptAlready = [&](MMS_UTIL_DBStruct_T record) {
        setText8(record.mms_fld_msgid_name, header.messageId);
        return duplicateCheck(record, QString(), header.messageId, id, &added.existing);
    };
    Added written = d->writeMailFile(
        id, header, retrieved.message.body, true, notKeptAlready, [&](MMS_UTIL_DBStruct_T* record) {
            record->cmn_fld_send_receive_state = ushort(State::Received);
            record->cmn_fld_msg_attr_read = 0;
            record->cmn_fld_time_msg_reach_phone = quint32(QDateTime::currentSecsSinceEpoch());
            record->cmn_fld_contain_au_or_vi = contents.audioOrVideo ? 1 : 0;
            record->cmn_fld_contain_attachment = contents.attachment ? 1 : 0;
            record->mms_fld_notifyrespstatus_name = kRetrieved;
            setText8(record->mms_fld_tid_name, retrieved.message.transactionId);
        });
    written.existing = added.existing;
    return written;
}

Status MessageStore::update(unsigned int id, const RowUpdate& update)
{
    // The Message-ID is the header's too, and the mail file takes it before the row: a program
    // dying in between leaves the row as it was, so that the change is made again (a message sent
    // stays waiting to be sent, not sent with a header that never got its Message-ID).
    const Status file = update.messageId ? d->setMessageId(id, *update.messageId) : Status();
    if (file.code == ErrorCode::NotFound)
        return file;
    const Status row = d->changeRow(
        id, [&update](MMS_UTIL_DBStruct_T* record) { applyRowUpdate(record, update); });
    if (!row.ok() || file.ok())
        return row;
    return Status::failure(
        file.code,
        QStringLiteral("the row of message %1 was changed, but %2").arg(id).arg(file.text));
}

// Writes `messageId` into the header of message `id`'s mail file; NotFound without a row.
Status MessageStore::Impl::setMessageId(unsigned int id, const QString& messageId)
{
    const QString path = MMS_UTIL_Common::msgDBIDToMailFileName(id);
    Session session;
    begin(&session, true);
    if (!session.status.ok())
        return session.status;
    MMS_UTIL_DBStruct_T record;
    const Status found = readRow(id, &record);
    if (!found.ok())
        return found;
    MMS_UTIL_MsgHeaderBase header;
    MMS_UTIL_MailFile file(path);
    errno = 0;
    int r = file.readMsgHeader(&header);
    if (r == MMS_UTIL_MAILFILE_OK) {
        header.messageId = messageId;
        r = file.writeMsgHeader(&header);
    }
    if (r == MMS_UTIL_MAILFILE_NO_SPACE)
        return Status::failure(
            ErrorCode::NoSpace,
            QStringLiteral("its mail file '%1' was not written: no space left on device")
                .arg(path));
    if (r != MMS_UTIL_MAILFILE_OK)
        return failed(QStringLiteral("its mail file '%1' was not written").arg(path) +
                      (errno ? QStringLiteral(": ") + errnoText(errno) : QString()));
    return {};
}

Changed MessageStore::updateSent(const QString& messageId, const RowUpdate& update)
{
    Changed changed;
    QList<unsigned int> ids;
    {
        Impl::Session session;
        d->begin(&session, false);
        changed.status = session.status;
        if (!changed.status.ok())
            return changed;
        MMS_UTIL_DBStruct_T key{};
        setText8(key.mms_fld_msgid_name, messageId);
        const QByteArray text(key.mms_fld_msgid_name);
        const bool cut = text != messageId.toUtf8();
        int r = DB_OK;
        const QList<unsigned int> found =
            text.isEmpty() ? QList<unsigned int>() : rowsWith(kMessageIdField, text, &r);
        for (const unsigned int id : found) {
            MMS_UTIL_DBStruct_T record;
            if (r == DB_OK)
                r = MMS_UTIL_DBTable::readRecord(id, &record);
            if (r == DB_OK && record.cmn_fld_send_receive_state == ushort(State::Sent) &&
                (!cut || holdsMessageId(id, messageId)))
                ids.append(id);
        }
        if (r != DB_OK) {
            changed.status = databaseFailure(QStringLiteral("cannot look for the message"), r);
            return changed;
        }
    }
    if (ids.isEmpty()) {
        changed.status = Status::failure(
            ErrorCode::NotFound,
            QStringLiteral("no sent message has the Message-ID '%1'").arg(messageId));
        return changed;
    }
    return d->changeRows(
        ids, [&update](MMS_UTIL_DBStruct_T* record) { applyRowUpdate(record, update); });
}

Added MessageStore::writeMailFile(unsigned int id, MMS_UTIL_MsgHeaderBase& header,
                                  const QByteArray& body, bool replace)
{
    return d->writeMailFile(id, header, body, replace, nullptr, nullptr);
}

Added MessageStore::Impl::writeMailFile(unsigned int id, MMS_UTIL_MsgHeaderBase& header,
                                        const QByteArray& body, bool replace, const RowCheck& check,
                                        const RowChange& alsoChange)
{
    Added added;
    added.id = id;
    added.mailFile = MMS_UTIL_Common::msgDBIDToMailFileName(id);
    added.status = checkSize(body, storeLimit());
    if (!added.status.ok())
        return added;
    Session session;
    begin(&session, true);
    added.status = session.status;
    if (!added.status.ok())
        return added;
    MMS_UTIL_DBStruct_T record;
    added.status = readRow(id, &record);
    if (!added.status.ok())
        return added;
    if (check)
        added.status = check(record);
    if (!added.status.ok())
        return added;
    if (!nameIsTaken(added.mailFile)) {
        added.status = saveNewMailFile(added.mailFile, header, body);
        return withRowOf(added, header, alsoChange);
    }
    if (!replace) {
        added.status = Status::failure(ErrorCode::Exists,
                                       QStringLiteral("message %1 has a mail file already ('%2')")
                                           .arg(id)
                                           .arg(added.mailFile));
        return added;
    }
    MMS_UTIL_MailFile file(added.mailFile);
    errno = 0;
    // The writer only reads the body.
    const int written =
        file.writeMailFile(reinterpret_cast<unsigned char*>(const_cast<char*>(body.constData())),
                           uint(body.size()), &header);
    if (written == MMS_UTIL_MAILFILE_NO_SPACE)
        added.status = Status::failure(
            ErrorCode::NoSpace,
            QStringLiteral("cannot write the mail file '%1': no space left on device")
                .arg(added.mailFile));
    else if (written != MMS_UTIL_MAILFILE_OK)
        added.status =
            failed(QStringLiteral("cannot write the mail file '%1'").arg(added.mailFile) +
                   (errno ? QStringLiteral(": ") + errnoText(errno) : QString()));
    return withRowOf(added, header, alsoChange);
}

ReadMessage MessageStore::read(unsigned int id, bool withBody)
{
    ReadMessage message;
    Impl::Session session;
    d->begin(&session, false);
    message.status = session.status;
    if (!message.status.ok())
        return message;
    message.row.id = id;
    message.status = readRow(id, &message.row.record);
    if (!message.status.ok())
        return message;
    const QString path = message.row.mailFile();
    if (!nameIsTaken(path) &&
        (nameIsTaken(path + kLeftoverSuffix) || nameIsTaken(path + kDeletedSuffix))) {
        // A save or a delete of this message was cut short since the store was first used: the
        // shared lock makes way for the exclusive one of the recovery.
        session.lock.release();
        d->recover(true);
        const Status relocked =
            session.lock.acquire(StoreLock::defaultPath(), StoreLock::Shared, d->lockTimeout);
        if (!relocked.ok()) {
            message.status = relocked;
            return message;
        }
    }
    QByteArray block;
    const std::optional<MailFileDefect> defect = mailFileDefect(path, &block);
    // A damaged file may still be what the library loads.
    std::optional<LoadedMailFile> loaded = loadMailFile(path, &message.mailFileError);
    if (loaded && defect)
        message.mailFileDamage = defect->why;
    else if (loaded)
        message.mailFileDamage = mismatchText(headerMismatch(message.row.record, block));
    if (loaded) {
        message.header = std::move(loaded->header);
        message.bodyLength = loaded->bodyLength;
        if (withBody)
            message.body = QByteArray(reinterpret_cast<const char*>(loaded->body.get()),
                                      qsizetype(loaded->bodyLength));
    }
    return message;
}

SendRequest MessageStore::sendRequest(unsigned int id)
{
    SendRequest request;
    const ReadMessage message = read(id);
    request.status = message.status;
    if (request.status.ok() && !message.header)
        request.status = failed(message.mailFileError);
    if (!request.status.ok())
        return request;
    request.transactionId = newTransactionId();
    request.pdu = encodeSendRequest(*message.header, message.body, request.transactionId);
    request.status = d->changeRow(id, [&request](MMS_UTIL_DBStruct_T* record) {
        setText8(record->mms_fld_tid_name, request.transactionId);
    });
    if (!request.status.ok())
        request.pdu.clear();
    return request;
}

Listed MessageStore::list(const ListFilter& filter)
{
    Listed listed;
    Impl::Session session;
    d->begin(&session, false);
    listed.status = session.status;
    if (!listed.status.ok())
        return listed;
    std::optional<unsigned int> folder;
    if (!filter.anyFolder)
        folder = filter.folder;
    const int r = forEachRow(folder, [&](unsigned int id, const MMS_UTIL_DBStruct_T& record) {
        MessageRow row{id, record};
        if (passes(filter, row))
            listed.rows.append(row);
    });
    if (r != DB_OK) {
        listed.rows.clear();
        listed.status = databaseFailure(QStringLiteral("cannot read the message index"), r);
        return listed;
    }
    orderAndPage(&listed.rows, filter);
    return listed;
}

Status MessageStore::setRead(unsigned int id, bool read)
{
    return d->changeRow(
        id, [read](MMS_UTIL_DBStruct_T* record) { record->cmn_fld_msg_attr_read = read ? 1 : 0; });
}

Changed MessageStore::setRead(const QList<unsigned int>& ids, bool read)
{
    return d->changeRows(
        ids, [read](MMS_UTIL_DBStruct_T* record) { record->cmn_fld_msg_attr_read = read ? 1 : 0; });
}

Changed MessageStore::move(const QList<unsigned int>& ids, Folder folder)
{
    if (!isKnownFolder(folder)) {
        Changed refused;
        refused.status = Status::failure(
            ErrorCode::Invalid, QStringLiteral("there is no folder %1").arg(unsigned(folder)));
        return refused;
    }
    return d->changeRows(ids, [folder](MMS_UTIL_DBStruct_T* record) {
        record->cmn_fld_folder_id = unsigned(folder);
    });
}

Status MessageStore::move(unsigned int id, Folder folder)
{
    if (!isKnownFolder(folder))
        return Status::failure(ErrorCode::Invalid,
                               QStringLiteral("there is no folder %1").arg(unsigned(folder)));
    return d->changeRow(id, [folder](MMS_UTIL_DBStruct_T* record) {
        record->cmn_fld_folder_id = unsigned(folder);
    });
}

Removed MessageStore::remove(unsigned int id)
{
    Removed removed = d->remove(id);
    // Deleting messages is how a person makes room on a full disk, yet committing the removal of
    // a row needs a little room in the index's log: a delete refused for space leaves the message
    // whole, and is made again with the room kept back for it. Once a delete has freed space, the
    // room is kept back again, when there is enough.
    if (removed.status.code == ErrorCode::NoSpace && releaseReserve(reservePath()))
        removed = d->remove(id);
    if (removed.status.ok())
        keepReserve(reservePath());
    return removed;
}

Removed MessageStore::Impl::remove(unsigned int id)
{
    Removed removed;
    removed.id = id;
    removed.mailFile = MMS_UTIL_Common::msgDBIDToMailFileName(id);
    Session session;
    begin(&session, false);
    removed.status = session.status;
    if (!removed.status.ok())
        return removed;
    const QString what = QStringLiteral("cannot delete message %1: ").arg(id);
    Transaction txn;
    int r = txn.begin();
    if (r == DB_OK)
        r = MMS_UTIL_DBTable::del(id);
    if (r == DB_ERR_NOT_FOUND) {
        removed.status = notFound(id);
        return removed;
    }
    if (r == DB_OK)
        r = commitOrAbort();
    if (r != DB_OK) {
        removed.status = databaseFailure(what.chopped(2), r);
        return removed;
    }
    // The mail file steps aside under a name of its own before the row goes, and is removed
    // after: a program dying in between leaves a name the next use of the store completes.
    const QByteArray mail = QFile::encodeName(removed.mailFile);
    const QByteArray aside = mail + QFile::encodeName(kDeletedSuffix);
    const QByteArray leftover = mail + QFile::encodeName(kLeftoverSuffix);
    removed.mailFileWasMissing = !nameIsTaken(removed.mailFile);
    ::unlink(aside.constData());
    int error = 0;
    if (!removed.mailFileWasMissing) {
        // Only what unlink() removes is set aside: a directory would stay there for good.
        if (QFileInfo(removed.mailFile).isDir())
            error = EISDIR;
        else if (std::rename(mail.constData(), aside.constData()) != 0)
            error = errno;
    }
    if (error != 0) {
        removed.status = Status::failure(
            ErrorCode::Failed,
            what + QStringLiteral("'%1' stays: %2").arg(removed.mailFile, errnoText(error)));
        return removed;
    }
    // The message stays whole, row and file, when the delete cannot be finished.
    const auto keepWhole = [&](const Status& status) {
        if (!removed.mailFileWasMissing)
            std::rename(aside.constData(), mail.constData());
        removed.status = status;
        return removed;
    };
    if (::unlink(leftover.constData()) != 0 && errno != ENOENT)
        return keepWhole(failed(
            what +
            QStringLiteral("'%1' stays: %2").arg(QFile::decodeName(leftover), errnoText(errno))));
    if (syncParentDirectory(mail) != 0)
        return keepWhole(failed(what + QStringLiteral("cannot sync the mail file directory: ") +
                                errnoText(errno)));
    r = txn.commit();
    if (r != DB_OK)
        return keepWhole(databaseFailure(what.chopped(2), r));
    // The message is gone with its row; a file that stays is removed by the next use.
    ::unlink(aside.constData());
    return removed;
}

QList<Removed> MessageStore::remove(const QList<unsigned int>& ids)
{
    QList<Removed> results;
    for (const unsigned int id : ids)
        results.append(remove(id));
    return results;
}

RemovedAll MessageStore::removeAll(const QList<unsigned int>& ids, bool dryRun)
{
    RemovedAll removed = d->removeAll(ids, dryRun);
    if (dryRun)
        return removed;
    // As for one message: a delete refused for space is made again with the room kept back.
    if (removed.status.code == ErrorCode::NoSpace && releaseReserve(reservePath()))
        removed = d->removeAll(ids, false);
    if (removed.status.ok())
        keepReserve(reservePath());
    return removed;
}

RemovedAll MessageStore::Impl::removeAll(const QList<unsigned int>& ids, bool dryRun)
{
    RemovedAll all;
    Session session;
    begin(&session, false);
    all.status = session.status;
    if (!all.status.ok())
        return all;
    Transaction txn;
    int r = txn.begin();
    for (const unsigned int id : distinct(ids)) {
        if (r != DB_OK)
            break;
        if (dryRun) {
            MMS_UTIL_DBStruct_T record;
            r = MMS_UTIL_DBTable::readRecord(id, &record);
        } else {
            r = MMS_UTIL_DBTable::del(id);
            if (r == DB_OK)
                r = commitOrAbort();
        }
        if (r == DB_ERR_NOT_FOUND) {
            all.missing.append(id);
            r = DB_OK;
        } else if (r == DB_OK) {
            Removed one;
            one.id = id;
            one.mailFile = MMS_UTIL_Common::msgDBIDToMailFileName(id);
            one.mailFileWasMissing = !nameIsTaken(one.mailFile);
            all.removed.append(one);
        }
    }
    const auto refuse = [&all](const Status& status) {
        all.removed.clear();
        all.status = status;
        return all;
    };
    if (r != DB_OK)
        return refuse(databaseFailure(QStringLiteral("cannot delete the messages"), r));
    if (!all.missing.isEmpty())
        return refuse(notFound(all.missing));
    // Only what unlink() removes can go after the rows: a directory would stay for good.
    for (const Removed& one : all.removed) {
        if (!one.mailFileWasMissing && QFileInfo(one.mailFile).isDir())
            return refuse(failed(QStringLiteral("cannot delete message %1: '%2' is a directory")
                                     .arg(one.id)
                                     .arg(one.mailFile)));
    }
    if (dryRun)
        return all;
    r = txn.commit();
    if (r != DB_OK)
        return refuse(databaseFailure(QStringLiteral("cannot delete the messages"), r));
    // Rows first, so that no row ever points at a missing file: a file a crash leaves from here
    // on is a file without a row, which a check reports.
    for (Removed& one : all.removed) {
        const QByteArray mail = QFile::encodeName(one.mailFile);
        for (const QByteArray& path : {mail, mail + QFile::encodeName(kLeftoverSuffix),
                                       mail + QFile::encodeName(kDeletedSuffix)}) {
            const int error = ::unlink(path.constData()) == 0 ? 0 : errno;
            if (error != 0 && error != ENOENT && one.status.ok())
                one.status = failed(QStringLiteral("message %1 was deleted, but '%2' stays: %3")
                                        .arg(one.id)
                                        .arg(QFile::decodeName(path), errnoText(error)));
        }
        if (all.status.ok() && !one.status.ok())
            all.status = one.status;
    }
    if (!all.removed.isEmpty() &&
        syncParentDirectory(QFile::encodeName(all.removed.constFirst().mailFile)) != 0) {
        const int error = errno;
        if (all.status.ok())
            all.status = failed(QStringLiteral("the messages were deleted, but the mail file "
                                               "directory was not synced: ") +
                                errnoText(error));
    }
    return all;
}

QString MessageRow::from() const
{
    return text16(record.cmn_fld_from_name);
}

QString MessageRow::to() const
{
    return text16(record.cmn_fld_to_name);
}

QString MessageRow::subject() const
{
    return text16(record.cmn_fld_subject);
}

QString MessageRow::messageId() const
{
    return text8(record.mms_fld_msgid_name);
}

QString MessageRow::uri() const
{
    return text8(record.mms_fld_msguri_name);
}

QDateTime MessageRow::time() const
{
    return record.cmn_fld_time ? QDateTime::fromSecsSinceEpoch(record.cmn_fld_time) : QDateTime();
}

QString MessageRow::mailFile() const
{
    return MMS_UTIL_Common::msgDBIDToMailFileName(id);
}

namespace
{

// A report field: 0 none asked, 1 asked, a status (128 and over) once one came or went.
std::optional<quint8> reported(unsigned short field)
{
    if (field < 128 || field > 255)
        return std::nullopt;
    return quint8(field);
}

} // namespace

std::optional<quint8> MessageRow::deliveryStatus() const
{
    return reported(record.mms_fld_deliveryreport_name);
}

std::optional<quint8> MessageRow::readStatus() const
{
    return reported(record.mms_fld_readreplyreport_name);
}

std::optional<quint8> MessageRow::notifyStatus() const
{
    return reported(record.mms_fld_notifyrespstatus_name);
}

QString MessageRow::note() const
{
    return text16(record.mms_fld_extra_name);
}

void applyRowUpdate(MMS_UTIL_DBStruct_T* record, const RowUpdate& update)
{
    if (update.folder)
        record->cmn_fld_folder_id = unsigned(*update.folder);
    if (update.state)
        record->cmn_fld_send_receive_state = ushort(*update.state);
    if (update.messageId)
        setText8(record->mms_fld_msgid_name, *update.messageId);
    if (update.notifyStatus)
        record->mms_fld_notifyrespstatus_name = *update.notifyStatus;
    if (update.deliveryStatus)
        record->mms_fld_deliveryreport_name = *update.deliveryStatus;
    if (update.readStatus)
        record->mms_fld_readreplyreport_name = *update.readStatus;
    if (update.note)
        setText16(record->mms_fld_extra_name, *update.note);
}

QString folderName(unsigned int folder)
{
    switch (Folder(folder)) {
    case Folder::Inbox:
        return QStringLiteral("inbox");
    case Folder::Outbox:
        return QStringLiteral("outbox");
    case Folder::Sent:
        return QStringLiteral("sent");
    case Folder::Drafts:
        return QStringLiteral("drafts");
    }
    return QString();
}

QString stateName(unsigned int state)
{
    switch (State(state)) {
    case State::ToSend:
        return QStringLiteral("to send");
    case State::Received:
        return QStringLiteral("received");
    case State::Draft:
        return QStringLiteral("draft");
    case State::Sent:
        return QStringLiteral("sent");
    case State::Notified:
        return QStringLiteral("notified");
    case State::Deferred:
        return QStringLiteral("deferred");
    case State::Rejected:
        return QStringLiteral("rejected");
    case State::SendFailed:
        return QStringLiteral("send failed");
    }
    return QString();
}

} // namespace tavmms::store
