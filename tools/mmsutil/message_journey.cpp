#include "message_journey.h"

#include "indexrows.h"

#include <QBuffer>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QTextStream>
#include <QUuid>

#include <cerrno>
#include <cstring>
#include <memory>

namespace journey
{

namespace
{

Outcome failed(const QString& error)
{
    Outcome outcome;
    outcome.error = error;
    return outcome;
}

QString listText(const MMS_UTIL_EntryList& list)
{
    QStringList texts;
    for (const MMS_UTIL_Entry* entry : list) {
        if (entry)
            texts << displayText(*entry);
    }
    return texts.join(QStringLiteral(", "));
}

// The header block of `header` as a mail file writes it, one line a key.
QList<QByteArray> headerLines(MMS_UTIL_MsgHeaderBase& header)
{
    QByteArray block;
    QBuffer buffer(&block);
    buffer.open(QIODevice::WriteOnly);
    QTextStream stream(&buffer);
    stream.setEncoding(QStringConverter::Utf8);
    MMS_UTIL_MailFile writer{QString()};
    writer.header = &header;
    writer.serializeMsgHeaderTo(stream);
    writer.header = nullptr;
    return block.split('\n');
}

// The key of the first line in which the two header blocks differ, or nothing when they agree.
QString firstDifference(MMS_UTIL_MsgHeaderBase& written, MMS_UTIL_MsgHeaderBase& read)
{
    const QList<QByteArray> expected = headerLines(written);
    const QList<QByteArray> actual = headerLines(read);
    for (qsizetype i = 0; i < qMax(expected.size(), actual.size()); ++i) {
        const QByteArray line = expected.value(i);
        if (line != actual.value(i)) {
            const QByteArray named = line.isEmpty() ? actual.value(i) : line;
            return QString::fromUtf8(named.left(named.indexOf(' ')));
        }
    }
    return QString();
}

QString errnoText(int error)
{
    return error ? QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(error)) : QString();
}

// Writes the mail file `path` and reads it back whole; the error, or nothing when the file holds
// exactly what was written.
QString writeAndCheck(const QString& path, MMS_UTIL_MsgHeaderBase& header, QByteArray body)
{
    // The library leaves the directories to its callers.
    const QString directory = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(directory))
        return QStringLiteral("cannot create the mail file directory '%1'").arg(directory);
    MMS_UTIL_MailFile file(path);
    errno = 0;
    const int written = file.writeMailFile(reinterpret_cast<unsigned char*>(body.data()),
                                           uint(body.size()), &header);
    if (written == MMS_UTIL_MAILFILE_NO_SPACE)
        return QStringLiteral("cannot write the mail file '%1': no space left on device").arg(path);
    if (written != MMS_UTIL_MAILFILE_OK)
        return QStringLiteral("cannot write the mail file '%1'").arg(path) + errnoText(errno);

    MMS_UTIL_MailFile back(path);
    const int loaded = back.loadMailFile();
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> readHeader(back.header);
    const std::unique_ptr<unsigned char[]> readBody(back.body);
    if (loaded != MMS_UTIL_MAILFILE_OK || !readHeader)
        return QStringLiteral("the mail file '%1' does not load back").arg(path);
    if (QByteArrayView(readBody.get(), back.bodyLength) != body)
        return QStringLiteral("the mail file '%1' reads back a different body").arg(path);
    const QString key = firstDifference(header, *readHeader);
    if (!key.isEmpty())
        return QStringLiteral("the mail file '%1' reads back a different %2 line").arg(path, key);
    return QString();
}

// Removes the mail file `path` and the temporary file of an unfinished save; why one stays, or
// nothing.
QString removeFiles(const QString& path)
{
    QStringList stayed;
    for (const QString& name : {path + QStringLiteral(".tmp"), path}) {
        QFile file(name);
        if (file.exists() && !file.remove())
            stayed << QStringLiteral("'%1' stays: %2").arg(name, file.errorString());
    }
    return stayed.join(QStringLiteral("; "));
}

// Deletes row `id` and commits; why it stays, or nothing.
QString deleteRow(unsigned int id)
{
    int r = MMS_UTIL_DBTable::del(id);
    if (r == DB_OK)
        r = indexrows::commitOrAbort();
    if (r == DB_OK)
        return QString();
    return QStringLiteral("row %1 stays: %2").arg(id).arg(indexrows::resultText(r));
}

// The row of a message with `header`.
MMS_UTIL_DBStruct_T rowOf(const MMS_UTIL_MsgHeaderBase& header, const Message& message, State state)
{
    QStringList recipients;
    for (const MMS_UTIL_EntryList* list : {&header.toList, &header.ccList, &header.bccList}) {
        const QString text = listText(*list);
        if (!text.isEmpty())
            recipients << text;
    }
    MMS_UTIL_DBStruct_T row{};
    indexrows::setText16(row.cmn_fld_from_name, displayText(header.from));
    indexrows::setText16(row.cmn_fld_to_name, recipients.join(QStringLiteral(", ")));
    indexrows::setText16(row.cmn_fld_subject, header.subject);
    row.cmn_fld_time = quint32(header.sendDate.toSecsSinceEpoch());
    row.cmn_fld_time_msg_reach_phone = quint32(QDateTime::currentSecsSinceEpoch());
    row.cmn_fld_msg_attr_read = state == kToSend ? 1 : 0;
    row.cmn_fld_folder_id = message.folder;
    row.cmn_fld_priority = header.priority;
    row.cmn_fld_mms_type = ushort(MMS_UTIL_Common::getMsgTypeByContentType(header.contentType));
    row.cmn_fld_send_receive_state = state;
    row.mms_fld_sendervisibility_name = header.senderVisibility;
    row.mms_fld_deliveryreport_name = header.deliveryReport;
    row.mms_fld_readreplyreport_name = header.readReplyReport;
    row.mms_fld_contenttype_name =
        MMS_UTIL_Common::mimeTypeGetValue(header.contentType.type, header.contentType.subtype);
    row.mms_fld_msgsize_name = header.messageSize;
    row.mms_fld_expiretime_name = header.expiry;
    indexrows::setText8(row.mms_fld_msgid_name, header.messageId);
    indexrows::setText8(row.mms_fld_msguri_name, message.uri.isEmpty()
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

// Fills the parts of `header` that composing and receiving share.
void fillHeader(MMS_UTIL_MsgHeaderBase* header, const Message& message)
{
    header->setFrom(message.from);
    for (const MMS_UTIL_Entry& entry : message.to)
        header->addToRecipient(entry);
    for (const MMS_UTIL_Entry& entry : message.cc)
        header->addCcRecipient(entry);
    for (const MMS_UTIL_Entry& entry : message.bcc)
        header->addBccRecipient(entry);
    nameFromContacts(header);
    header->subject = message.subject;
    header->contentType = message.contentType;
    header->messageId = message.messageId;
    // The header block keeps whole seconds; so does the row.
    header->sendDate = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch());
    header->messageSize = uint(message.body.size());
}

// The row, then the mail file named from its id; on failure neither stays.
Outcome store(MMS_UTIL_MsgHeaderBase& header, const Message& message, State state)
{
    const indexrows::IndexTable table;
    if (!table.isOpen())
        return failed(table.openError());
    unsigned int id = 0;
    int r = MMS_UTIL_DBTable::add(rowOf(header, message, state), &id);
    if (r == DB_OK)
        r = indexrows::commitOrAbort();
    if (r != DB_OK)
        return failed(
            QStringLiteral("cannot add the message's row: %1").arg(indexrows::resultText(r)));

    const QString path = MMS_UTIL_Common::msgDBIDToMailFileName(id);
    const QString error = writeAndCheck(path, header, message.body);
    if (error.isEmpty()) {
        Outcome outcome;
        outcome.kind = Outcome::Done;
        outcome.id = id;
        outcome.mailFile = path;
        return outcome;
    }
    QStringList leftOver;
    for (const QString& stays : {removeFiles(path), deleteRow(id)}) {
        if (!stays.isEmpty())
            leftOver << stays;
    }
    return failed(leftOver.isEmpty()
                      ? error + QStringLiteral("; nothing was kept")
                      : error + QStringLiteral("; ") + leftOver.join(QStringLiteral("; ")));
}

} // namespace

MMS_CONTENT_TYPE_T defaultContentType()
{
    return {QStringLiteral("application"), QStringLiteral("vnd.wap.multipart.mixed"),
            QStringLiteral("")};
}

QString displayText(const MMS_UTIL_Entry& entry)
{
    return entry.name.isEmpty() ? entry.address : entry.name;
}

Outcome compose(Message message)
{
    MMS_UTIL_MsgHeaderBase header;
    header.loadGlobalSetting();
    // A message composed here comes from the phone's owner, when the address book knows them.
    if (message.from.isEmpty())
        MMS_UTIL_Common::getOwnerEntry(message.from);
    fillHeader(&header, message);
    return store(header, message, kToSend);
}

Outcome receive(Message message)
{
    if (MMS_UTIL_Setting::getFilterFlexBitSetting() &&
        MMS_UTIL_Setting::isInBlockList(message.from.address)) {
        Outcome outcome;
        outcome.kind = Outcome::Blocked;
        outcome.error = QStringLiteral("'%1' is on the block list; the message was refused")
                            .arg(message.from.address);
        return outcome;
    }
    message.folder = kInbox;
    if (message.to.isEmpty()) {
        MMS_UTIL_Entry owner;
        if (MMS_UTIL_Common::getOwnerEntry(owner) == 0)
            message.to.append(owner);
    }
    MMS_UTIL_MsgHeaderBase header;
    fillHeader(&header, message);
    return store(header, message, kReceived);
}

Outcome remove(unsigned int id)
{
    const indexrows::IndexTable table;
    if (!table.isOpen())
        return failed(table.openError());
    Outcome outcome;
    outcome.id = id;
    outcome.mailFile = MMS_UTIL_Common::msgDBIDToMailFileName(id);
    const QString what = QStringLiteral("cannot delete message %1: ").arg(id);
    int r = MMS_UTIL_DBTable::del(id);
    if (r == DB_ERR_NOT_FOUND) {
        outcome.kind = Outcome::NotFound;
        outcome.error = QStringLiteral("no message %1").arg(id);
        return outcome;
    }
    if (r != DB_OK)
        return failed(what + indexrows::resultText(r));
    // The row goes only once its file is gone, so that a failure leaves both.
    outcome.mailFileWasMissing = !QFileInfo::exists(outcome.mailFile);
    const QString stays = removeFiles(outcome.mailFile);
    if (!stays.isEmpty()) {
        MMS_UTIL_DBTable::abortTxn();
        return failed(what + stays);
    }
    r = indexrows::commitOrAbort();
    if (r != DB_OK)
        return failed(what + indexrows::resultText(r) + QStringLiteral("; its mail file is gone"));
    outcome.kind = Outcome::Done;
    return outcome;
}

} // namespace journey
