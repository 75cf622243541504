// mmsutil compose, receive, list, show, mark, move, delete: whole messages, each a row in the
// message index and the mail file named after the row's id, kept together as the phone's
// applications keep them. The index and mailfile commands reach the row and the file one at a time.

#include "commands.h"
#include "connection_options.h"
#include "mmshelpers.h"
#include "partsout.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace
{

namespace store = tavmms::store;

const QString kEntryHelp =
    QStringLiteral(" An entry \"<name>[EMAIL|PLMN|UNKNOWN]address\" or a bare address (typed PLMN, "
                   "EMAIL or UNKNOWN by its look); an entry without a name takes its contact's. "
                   "May be repeated; a value may hold several entries separated by commas.");
const QString kRecipientHelp = QStringLiteral(
    " An e-mail address, or a phone number (digits, \"+\", blanks, \"-\", \".\" and brackets) "
    "that reads as a number, or a short number, of the address book's region ('contacts "
    "region'); bare or as an entry \"<name>[EMAIL|PLMN|UNKNOWN]address\". Kept as typed; an "
    "entry without a name takes its contact's. May be repeated; a value may hold several "
    "separated by commas.");
const QString kContentTypeHelp = QStringLiteral(
    "Content type of the body, in the MIME form \"type/subtype; name=value; "
    "name=\\\"quoted value\\\"\" (kept as the header keeps it: \"type/subtype "
    "name=value;name=value\") or as \"type/subtype\" and parameters after a blank (default: "
    "application/vnd.wap.multipart.mixed).");

// The options that composing and receiving share, and the message they describe.
struct MessageOptions {
    QCommandLineOption to{QStringLiteral("to"), QString(), QStringLiteral("ENTRY")};
    QCommandLineOption cc{QStringLiteral("cc"), QStringLiteral("Cc recipient.") + kEntryHelp,
                          QStringLiteral("ENTRY")};
    QCommandLineOption bcc{QStringLiteral("bcc"), QStringLiteral("Bcc recipient.") + kEntryHelp,
                           QStringLiteral("ENTRY")};
    QCommandLineOption subject{QStringLiteral("subject"), QStringLiteral("Subject."),
                               QStringLiteral("TEXT")};
    QCommandLineOption subjectFile{
        QStringLiteral("subject-file"),
        QStringLiteral("The subject from FILE, without its final line break; - reads standard "
                       "input. For a subject too long for a command line."),
        QStringLiteral("FILE")};
    QCommandLineOption contentType{QStringLiteral("content-type"), kContentTypeHelp,
                                   QStringLiteral("TYPE")};

    // Recipients of a composed message must be addresses one can send to; a received message
    // keeps whatever its MMSC gave.
    const bool composing;

    MessageOptions(const QString& toHelp, bool composing) : composing(composing)
    {
        to.setDescription(toHelp + (composing ? kRecipientHelp : kEntryHelp));
        cc.setDescription(QStringLiteral("Cc recipient.") +
                          (composing ? kRecipientHelp : kEntryHelp));
        bcc.setDescription(QStringLiteral("Bcc recipient.") +
                           (composing ? kRecipientHelp : kEntryHelp));
        if (composing)
            subject.setDescription(QStringLiteral("Subject (required, or --subject-file)."));
    }

    QList<QCommandLineOption> all() const
    {
        return {to, cc, bcc, subject, subjectFile, contentType};
    }

    // Fills `message`, but its body, from the options given; `input` names the file the body
    // comes from, which standard input cannot be for both. The exit status when the command must
    // stop here.
    std::optional<int> read(const QCommandLineParser& parser, const cli::Command& command,
                            const QString& input, store::NewMessage* message) const
    {
        const struct {
            const QCommandLineOption& option;
            QList<MMS_UTIL_Entry>* entries;
        } lists[] = {{to, &message->to}, {cc, &message->cc}, {bcc, &message->bcc}};
        for (const auto& list : lists) {
            if (const std::optional<int> stop =
                    cli::entriesOf(parser, list.option, command, list.entries, composing))
                return stop;
        }
        if (const std::optional<int> stop = readSubject(parser, command, input, &message->subject))
            return stop;
        if (parser.isSet(contentType)) {
            QString error;
            const std::optional<MMS_CONTENT_TYPE_T> type =
                tavmms::store::parseContentType(parser.value(contentType), &error);
            if (!type)
                return cli::usageError(command.name, QStringLiteral("--content-type: ") + error);
            message->contentType = *type;
        }
        return std::nullopt;
    }

private:
    std::optional<int> readSubject(const QCommandLineParser& parser, const cli::Command& command,
                                   const QString& input, QString* text) const
    {
        if (!parser.isSet(subjectFile)) {
            *text = parser.value(subject);
            return std::nullopt;
        }
        const QString path = parser.value(subjectFile);
        if (parser.isSet(subject))
            return cli::usageError(
                command.name, QStringLiteral("--subject and --subject-file exclude each other"));
        if (path == QLatin1String("-") && input == QLatin1String("-"))
            return cli::usageError(command.name, QStringLiteral("the body and the subject cannot "
                                                                "both come from standard input"));
        std::optional<QByteArray> data = cli::readInput(path, store::MessageStore::kLargestBody);
        if (!data)
            return cli::ExitFailed;
        if (data->size() > store::MessageStore::kLargestBody)
            return cli::fail(QStringLiteral("the subject in '%1' is longer than %2 bytes")
                                 .arg(path)
                                 .arg(store::MessageStore::kLargestBody));
        if (data->endsWith('\n'))
            data->chop(data->endsWith("\r\n") ? 2 : 1);
        *text = QString::fromUtf8(*data);
        return std::nullopt;
    }
};

int reportStored(const store::Added& added)
{
    if (!added.status.ok())
        return cli::storeFailure(added.status);
    cli::out() << added.id << ' ' << added.mailFile << '\n';
    return cli::ExitOk;
}

// The options that make a body from a text and files, in place of a ready-made one.
struct BodyOptions {
    QCommandLineOption body{QStringLiteral("body"),
                            QStringLiteral("File holding the encoded body; - reads standard "
                                           "input. Excludes the options that make a body."),
                            QStringLiteral("FILE")};
    QCommandLineOption text{QStringLiteral("text"),
                            QStringLiteral("The message's text, its first part (text/plain in "
                                           "UTF-8)."),
                            QStringLiteral("TEXT")};
    QCommandLineOption textFile{QStringLiteral("text-file"),
                                QStringLiteral("The message's text from FILE, in UTF-8; - reads "
                                               "standard input."),
                                QStringLiteral("FILE")};
    QCommandLineOption attach{QStringLiteral("attach"),
                              QStringLiteral("A file to send, after the text, in the order given; "
                                             "its media type is told by its content and name. "
                                             "May be repeated."),
                              QStringLiteral("FILE")};
    QCommandLineOption mixed{QStringLiteral("mixed"),
                             QStringLiteral("Sends the text and the files as a "
                                            "multipart.mixed body, without the SMIL presentation "
                                            "that a multipart.related body (the default) opens "
                                            "with.")};

    QList<QCommandLineOption> all() const { return {body, text, textFile, attach, mixed}; }

    bool makesBody(const QCommandLineParser& parser) const
    {
        return parser.isSet(text) || parser.isSet(textFile) || parser.isSet(attach) ||
               parser.isSet(mixed);
    }

    // The usage error of `command` when the options given do not describe one body.
    std::optional<int> check(const QCommandLineParser& parser, const cli::Command& command,
                             const QCommandLineOption& contentType) const
    {
        const auto refuse = [&command](const QString& why) {
            return std::optional<int>(cli::usageError(command.name, why));
        };
        if (!parser.isSet(body) && !makesBody(parser))
            return refuse(QStringLiteral("--body, --text, --text-file or --attach is required"));
        if (parser.isSet(body) && makesBody(parser))
            return refuse(QStringLiteral("--body excludes --text, --text-file, --attach and "
                                         "--mixed"));
        if (parser.isSet(text) && parser.isSet(textFile))
            return refuse(QStringLiteral("--text and --text-file exclude each other"));
        if (parser.isSet(mixed) && !parser.isSet(text) && !parser.isSet(textFile) &&
            !parser.isSet(attach))
            return refuse(QStringLiteral("--mixed needs --text, --text-file or --attach"));
        if (makesBody(parser) && parser.isSet(contentType))
            return refuse(QStringLiteral("--content-type goes with --body only: a body made "
                                         "from a text and files has the type it is made with"));
        return std::nullopt;
    }

    // The file the body or its text comes from; empty when none.
    QString input(const QCommandLineParser& parser) const
    {
        return parser.value(parser.isSet(body) ? body : textFile);
    }

    // Reads or makes the body of `message`, no larger than `limit`; the exit status when the
    // command must stop here.
    std::optional<int> read(const QCommandLineParser& parser, const store::SizeLimit& limit,
                            store::NewMessage* message) const
    {
        if (parser.isSet(body))
            return cli::readBody(parser.value(body), limit, &message->body);
        QString words = parser.value(text);
        if (parser.isSet(textFile)) {
            QByteArray data;
            if (const std::optional<int> stop = cli::readBody(parser.value(textFile), limit, &data))
                return stop;
            words = QString::fromUtf8(data);
        }
        const store::ComposedBody composed = store::composeBodyFromFiles(
            words, parser.values(attach),
            parser.isSet(mixed) ? tavmms::pdu::BodyKind::Mixed : tavmms::pdu::BodyKind::Related,
            limit);
        if (!composed.status.ok())
            return cli::storeFailure(composed.status);
        message->body = composed.body;
        message->contentType = composed.contentType;
        return std::nullopt;
    }
};

int runCompose(const cli::Command& command, const QStringList& arguments)
{
    const MessageOptions options(QStringLiteral("Recipient (required)."), true);
    const BodyOptions body;
    const QCommandLineOption folder(QStringLiteral("folder"),
                                    QStringLiteral("Folder of the message: %1 the outbox (the "
                                                   "default, state \"to send\") or %2 the drafts "
                                                   "(state \"draft\").")
                                        .arg(unsigned(store::Folder::Outbox))
                                        .arg(unsigned(store::Folder::Drafts)),
                                    QStringLiteral("N"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" The body is a ready-made one (--body), or made from a text and files: "
                       "the text first, then each file, led by a SMIL presentation that shows "
                       "them slide by slide unless --mixed is given. The header takes its "
                       "reports, expiry and priority from the stored sending options and comes "
                       "from the phone's owner when the address book knows them. The message "
                       "gets its row in the message index, then its mail file, named after the "
                       "row's id, which is read back and checked; when a step fails, nothing of "
                       "the message is kept. Prints the id and the mail file's path on one "
                       "line."));
    parser.addOptions(options.all());
    parser.addOptions(body.all());
    parser.addOption(folder);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    if (!parser.isSet(options.to))
        return cli::usageError(command.name, QStringLiteral("--to is required"));
    if (!parser.isSet(options.subject) && !parser.isSet(options.subjectFile))
        return cli::usageError(command.name,
                               QStringLiteral("--subject or --subject-file is required"));
    if (const std::optional<int> stop = body.check(parser, command, options.contentType))
        return *stop;
    std::optional<unsigned int> number;
    if (const std::optional<int> stop = cli::numberOf(parser, folder, command, &number))
        return *stop;
    store::NewMessage message;
    if (const std::optional<int> stop = options.read(parser, command, body.input(parser), &message))
        return *stop;
    if (const std::optional<int> stop =
            body.read(parser, store::MessageStore::composeLimit(), &message))
        return *stop;
    const store::Added added = store::MessageStore().compose(
        message, store::Folder(number.value_or(unsigned(store::Folder::Outbox))));
    // The store says which folders a composed message goes to.
    if (added.status.code == store::ErrorCode::Invalid)
        return cli::usageError(command.name, QStringLiteral("--folder: ") + added.status.text);
    return reportStored(added);
}

// Files the message of the m-retrieve.conf PDU in `path`; the options that describe a message
// are refused, since the PDU gives all of it.
int receivePdu(const QCommandLineParser& parser, const cli::Command& command,
               const QList<QCommandLineOption>& described, const QString& uri, bool allowDuplicate)
{
    for (const QCommandLineOption& option : described) {
        if (parser.isSet(option))
            return cli::usageError(command.name,
                                   QStringLiteral("--pdu excludes --%1: the PDU gives it")
                                       .arg(option.names().constFirst()));
    }
    if (!parser.positionalArguments().isEmpty())
        return cli::usageError(command.name,
                               QStringLiteral("--pdu excludes a body FILE: the PDU carries it"));
    const QString path = parser.value(QStringLiteral("pdu"));
    const store::SizeLimit limit = store::MessageStore::receiveLimit();
    const std::optional<QByteArray> bytes =
        cli::readInput(path, limit.bytes + store::MessageStore::kPduHeaderRoom);
    if (!bytes)
        return cli::ExitFailed;
    if (bytes->size() > limit.bytes + store::MessageStore::kPduHeaderRoom) {
        cli::fail(QStringLiteral("the PDU in '%1' is over %2 by more than its header can take; "
                                 "the message was not kept")
                      .arg(path, limit.text));
        return cli::ExitRefused;
    }
    const store::Added added = store::MessageStore().receivePdu(*bytes, uri, allowDuplicate);
    // A PDU of another kind is the wrong file for this command.
    if (added.status.code == store::ErrorCode::WrongType)
        return cli::usageError(command.name,
                               QStringLiteral("'%1': %2").arg(path, added.status.text));
    if (!added.status.ok())
        return cli::storeFailure(added.status);
    return reportStored(added);
}

int runReceive(const cli::Command& command, const QStringList& arguments)
{
    const MessageOptions options(
        QStringLiteral("Recipient (default: the phone's owner, when the address book knows "
                       "them)."),
        false);
    const QCommandLineOption from(
        QStringLiteral("from"),
        QStringLiteral("Sender (required without --pdu). An entry or a bare address; without a "
                       "name, the contact's."),
        QStringLiteral("ENTRY"));
    const QCommandLineOption messageId(QStringLiteral("message-id"),
                                       QStringLiteral("The message's Message-ID."),
                                       QStringLiteral("ID"));
    const QCommandLineOption uri(QStringLiteral("uri"),
                                 QStringLiteral("Where the message was fetched from, kept as the "
                                                "row's message URI (default: a new urn:uuid)."),
                                 QStringLiteral("URI"));
    const QCommandLineOption allowDuplicate(
        QStringLiteral("allow-duplicate"),
        QStringLiteral("Keeps the message even when a kept message has the same URI or "
                       "Message-ID."));
    const QCommandLineOption pdu(
        QStringLiteral("pdu"),
        QStringLiteral("The whole message as the MMSC gave it, an m-retrieve.conf PDU, in place "
                       "of FILE and the options that describe a message: its sender, "
                       "recipients, subject, date, Message-ID, priority, reports, expiry, "
                       "delivery time, size, transaction id and content type come from its "
                       "header, and its body is kept as carried. A PDU of another type is a "
                       "usage error; one that does not read fails, naming the offset; one whose "
                       "X-Mms-Retrieve-Status is not Ok is refused (exit status %1), naming the "
                       "status and its text. - reads standard input.")
            .arg(cli::ExitRefused),
        QStringLiteral("FILE"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" The body comes from FILE; the message is filed in the inbox (folder "
                       "%1) as its row and its mail file, as compose files them, and the id and "
                       "the mail file's path are printed. When the block list is in use (feature "
                       "flag 49) and holds the sender, or a kept message has the same --uri or "
                       "--message-id, the message is refused: one line on standard error, exit "
                       "status %2, nothing written.")
            .arg(unsigned(store::Folder::Inbox))
            .arg(cli::ExitRefused));
    parser.addOption(from);
    parser.addOptions(options.all());
    parser.addOptions({messageId, uri, allowDuplicate, pdu});
    parser.addPositionalArgument(
        QStringLiteral("FILE"),
        QStringLiteral("The encoded body (required without --pdu); - reads standard input."),
        QStringLiteral("[FILE]"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0, 1))
        return *stop;
    if (parser.isSet(pdu))
        return receivePdu(parser, command,
                          QList<QCommandLineOption>{from, messageId} + options.all(),
                          parser.value(uri), parser.isSet(allowDuplicate));
    if (parser.positionalArguments().isEmpty())
        return cli::usageError(command.name, QStringLiteral("FILE or --pdu is required"));
    if (!parser.isSet(from))
        return cli::usageError(command.name, QStringLiteral("--from is required"));
    QString error;
    const std::optional<MMS_UTIL_Entry> sender =
        tavmms::store::parseAddress(parser.value(from), &error);
    if (!sender)
        return cli::usageError(command.name, QStringLiteral("--from: ") + error);
    store::NewMessage message;
    message.from = *sender;
    message.messageId = parser.value(messageId);
    message.uri = parser.value(uri);
    const QString body = parser.positionalArguments().constFirst();
    if (const std::optional<int> stop = options.read(parser, command, body, &message))
        return *stop;
    if (const std::optional<int> stop =
            cli::readBody(body, store::MessageStore::receiveLimit(), &message.body))
        return *stop;
    return reportStored(store::MessageStore().receive(message, parser.isSet(allowDuplicate)));
}

QString folderText(unsigned int folder)
{
    const QString name = store::folderName(folder);
    return name.isEmpty() ? QString::number(folder)
                          : QStringLiteral("%1 (%2)").arg(folder).arg(name);
}

QString stateText(const MMS_UTIL_DBStruct_T& row)
{
    const unsigned int state = row.cmn_fld_send_receive_state;
    const QString name = store::stateName(state);
    return (name.isEmpty() ? QStringLiteral("state %1").arg(state) : name) +
           (row.cmn_fld_msg_attr_read ? QStringLiteral(", read") : QStringLiteral(", unread"));
}

// A message's date as the row and the mail file give it; empty when it has none.
QString dateText(const QDateTime& date)
{
    return textout::dateTimeText(date);
}

QString rowTime(quint32 seconds)
{
    return seconds ? textout::timeText(seconds) : QString();
}

QString jsonRowTime(quint32 seconds)
{
    return seconds ? textout::jsonTimeText(seconds) : QString();
}

// What the transactions with the MMSC left in a row, by name, for show and list --json: only
// what the row holds, so that a message that never met the MMSC shows nothing more.
struct TransactionField {
    QString key;   // in JSON
    QString label; // in show's text
    QString value;
};

QString statusText(std::optional<quint8> status, QString (*name)(quint64))
{
    if (!status)
        return QString();
    const QString named = name(*status);
    return named.isEmpty() ? QString::number(*status) : named;
}

QList<TransactionField> transactionFields(const store::MessageRow& row)
{
    const QList<TransactionField> all{
        {QStringLiteral("deliveryStatus"), QStringLiteral("Delivery status:"),
         statusText(row.deliveryStatus(), tavmms::pdu::messageStatusName)},
        {QStringLiteral("readStatus"), QStringLiteral("Read status:"),
         statusText(row.readStatus(), tavmms::pdu::readStatusName)},
        {QStringLiteral("notifyResponse"), QStringLiteral("Notify response:"),
         statusText(row.notifyStatus(), tavmms::pdu::messageStatusName)},
        {QStringLiteral("note"), QStringLiteral("Note:"), row.note()},
    };
    QList<TransactionField> held;
    for (const TransactionField& field : all) {
        if (!field.value.isEmpty())
            held.append(field);
    }
    return held;
}

void insertTransactionFields(const store::MessageRow& row, QJsonObject* object)
{
    for (const TransactionField& field : transactionFields(row))
        object->insert(field.key, field.value);
}

QJsonObject messageToJson(unsigned int id, const MMS_UTIL_DBStruct_T& row)
{
    QJsonObject object{
        {QStringLiteral("id"), qint64(id)},
        {QStringLiteral("folder"), qint64(row.cmn_fld_folder_id)},
        {QStringLiteral("time"), qint64(row.cmn_fld_time)},
        {QStringLiteral("date"), jsonRowTime(row.cmn_fld_time)},
        {QStringLiteral("from"), store::text16(row.cmn_fld_from_name)},
        {QStringLiteral("to"), store::text16(row.cmn_fld_to_name)},
        {QStringLiteral("subject"), store::text16(row.cmn_fld_subject)},
        {QStringLiteral("size"), qint64(row.mms_fld_msgsize_name)},
        {QStringLiteral("read"), row.cmn_fld_msg_attr_read != 0},
        {QStringLiteral("stateName"), store::stateName(row.cmn_fld_send_receive_state)},
        {QStringLiteral("mailFile"), MMS_UTIL_Common::msgDBIDToMailFileName(id)},
    };
    insertTransactionFields(store::MessageRow{id, row}, &object);
    return object;
}

int runList(const cli::Command& command, const QStringList& arguments)
{
    return cli::listRows(
        command, arguments,
        {command.summary +
             QStringLiteral(" Texts are those of the rows, cut to their fields; dates are "
                            "local time with its offset from UTC. Folders: %1 inbox, %2 outbox, "
                            "%3 sent, %4 drafts. The options select together; when no message "
                            "is left, the heading alone (or [] with --json) is printed and the "
                            "exit status is %5.")
                 .arg(unsigned(store::Folder::Inbox))
                 .arg(unsigned(store::Folder::Outbox))
                 .arg(unsigned(store::Folder::Sent))
                 .arg(unsigned(store::Folder::Drafts))
                 .arg(cli::ExitNo),
         QStringLiteral("messages"),
         QStringLiteral("{id, folder, time, date, from, to, subject, size, read, stateName, "
                        "mailFile}, with deliveryStatus, readStatus, notifyResponse and note "
                        "when the row holds them"),
         {QStringLiteral("ID"), QStringLiteral("FOLDER"), QStringLiteral("DATE"),
          QStringLiteral("FROM"), QStringLiteral("TO"), QStringLiteral("SUBJECT")},
         {0, 1},
         [](unsigned int id, const MMS_UTIL_DBStruct_T& row) {
             return QStringList{QString::number(id),
                                QString::number(row.cmn_fld_folder_id),
                                rowTime(row.cmn_fld_time),
                                textout::oneLine(store::text16(row.cmn_fld_from_name)),
                                textout::oneLine(store::text16(row.cmn_fld_to_name)),
                                textout::oneLine(store::text16(row.cmn_fld_subject))};
         },
         messageToJson,
         true});
}

QString contentTypeNumberText(unsigned int number)
{
    QString type;
    QString subtype;
    if (MMS_UTIL_Common::mimeTypeGetName(uchar(number), type, subtype) != 0)
        return QString::number(number);
    return QStringLiteral("%1 (%2/%3)").arg(number).arg(type, subtype);
}

// The row and the mail file's header side by side, field by field; an empty cell where one of
// them has no such field. `header` is null when the mail file did not load.
QList<QStringList> sideBySide(const MMS_UTIL_DBStruct_T& row, const MMS_UTIL_MsgHeaderBase* header)
{
    const auto flag = [](unsigned int value) { return MMS_UTIL_Common::boolToString(value != 0); };
    const auto fileSide = [header](auto field) { return header ? field(*header) : QString(); };
    using H = const MMS_UTIL_MsgHeaderBase&;
    return {
        {QStringLiteral("FIELD"), QStringLiteral("INDEX ROW"), QStringLiteral("MAIL FILE")},
        {QStringLiteral("From"), textout::oneLine(store::text16(row.cmn_fld_from_name)),
         fileSide([](H h) { return MMS_UTIL_Common::entryToString(h.from); })},
        {QStringLiteral("To"), textout::oneLine(store::text16(row.cmn_fld_to_name)),
         fileSide([](H h) { return MMS_UTIL_Common::entryListToString(h.toList); })},
        {QStringLiteral("CC"), QString(),
         fileSide([](H h) { return MMS_UTIL_Common::entryListToString(h.ccList); })},
        {QStringLiteral("BCC"), QString(),
         fileSide([](H h) { return MMS_UTIL_Common::entryListToString(h.bccList); })},
        {QStringLiteral("Subject"), textout::oneLine(store::text16(row.cmn_fld_subject)),
         fileSide([](H h) { return textout::oneLine(h.subject); })},
        {QStringLiteral("Date"), rowTime(row.cmn_fld_time),
         fileSide([](H h) { return dateText(h.sendDate); })},
        {QStringLiteral("Reached phone"), rowTime(row.cmn_fld_time_msg_reach_phone), QString()},
        {QStringLiteral("Delivery"), rowTime(row.mms_fld_deliverytime_name),
         fileSide([](H h) { return dateText(h.deliveryTime); })},
        {QStringLiteral("Expiry"), QString::number(row.mms_fld_expiretime_name),
         fileSide([](H h) { return QString::number(h.expiry); })},
        {QStringLiteral("Priority"), MMS_UTIL_Common::priorityToString(uchar(row.cmn_fld_priority)),
         fileSide([](H h) { return MMS_UTIL_Common::priorityToString(h.priority); })},
        {QStringLiteral("Content type"), contentTypeNumberText(row.mms_fld_contenttype_name),
         fileSide(
             [](H h) { return MMS_UTIL_Common::contentTypeToString(h.contentType).trimmed(); })},
        {QStringLiteral("Size"), QString::number(row.mms_fld_msgsize_name),
         fileSide([](H h) { return QString::number(h.messageSize); })},
        {QStringLiteral("Message ID"), store::text8(row.mms_fld_msgid_name),
         fileSide([](H h) { return textout::oneLine(h.messageId); })},
        {QStringLiteral("Delivery report"), flag(row.mms_fld_deliveryreport_name),
         fileSide([](H h) { return MMS_UTIL_Common::boolToString(h.deliveryReport); })},
        {QStringLiteral("Read report"), flag(row.mms_fld_readreplyreport_name),
         fileSide([](H h) { return MMS_UTIL_Common::boolToString(h.readReplyReport); })},
        {QStringLiteral("Sender visibility"), flag(row.mms_fld_sendervisibility_name),
         fileSide([](H h) { return MMS_UTIL_Common::boolToString(h.senderVisibility); })},
    };
}

// "2: multipart/mixed message with no presentation part".
QString messageTypeText(const MMS_CONTENT_TYPE_T& contentType)
{
    const int code = MMS_UTIL_Common::getMsgTypeByContentType(contentType);
    return QStringLiteral("%1: %2").arg(code).arg(cli::messageTypeMeaning(code));
}

// Whether the row's subject is the mail file's cut short to fit its field.
bool subjectIsCut(const store::ReadMessage& message)
{
    const QString kept = store::text16(message.row.record.cmn_fld_subject);
    return message.header && kept.size() < message.header->subject.size() &&
           message.header->subject.startsWith(kept);
}

QJsonObject shownMessageToJson(unsigned int id, const store::ReadMessage& message,
                               const store::MessageParts& parts)
{
    const MMS_UTIL_DBStruct_T& row = message.row.record;
    QJsonObject object{
        {QStringLiteral("id"), qint64(id)},
        {QStringLiteral("folder"), qint64(row.cmn_fld_folder_id)},
        {QStringLiteral("folderName"), store::folderName(row.cmn_fld_folder_id)},
        {QStringLiteral("state"), qint64(row.cmn_fld_send_receive_state)},
        {QStringLiteral("stateName"), store::stateName(row.cmn_fld_send_receive_state)},
        {QStringLiteral("read"), row.cmn_fld_msg_attr_read != 0},
        {QStringLiteral("uri"), message.row.uri()},
        {QStringLiteral("mailFile"), message.row.mailFile()},
        {QStringLiteral("row"), cli::rowToJson(id, row)},
        {QStringLiteral("header"), QJsonValue::Null},
        {QStringLiteral("bodyLength"), qint64(message.bodyLength)},
        {QStringLiteral("mailFileError"), message.mailFileError},
        {QStringLiteral("mailFileDamage"), message.mailFileDamage},
        {QStringLiteral("subjectCut"), subjectIsCut(message)},
        {QStringLiteral("parts"), cli::partsToJson(parts, true)},
        {QStringLiteral("partsError"), parts.status.text},
    };
    if (message.header) {
        const int code = MMS_UTIL_Common::getMsgTypeByContentType(message.header->contentType);
        object.insert(QStringLiteral("header"), cli::headerToJson(*message.header));
        object.insert(QStringLiteral("messageType"), code);
        object.insert(QStringLiteral("messageTypeMeaning"), cli::messageTypeMeaning(code));
    }
    insertTransactionFields(message.row, &object);
    return object;
}

int runShow(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Prints where the message is kept, its row in the message index and the "
                       "header of its mail file side by side, the body's length, the message "
                       "type its content type gives, its parts (as 'parts' lists them) and the "
                       "text of each text part. A body whose parts do not read is said so. When "
                       "the mail file does not load, the row "
                       "is printed alone and the tool exits with 1. When it is damaged (cut "
                       "short, or its header does not match its row), it says how on standard "
                       "error, shows what it holds and exits with 1."));
    const QCommandLineOption json = cli::jsonOption(QStringLiteral(
        "an object {id, folder, folderName, state, stateName, read, uri, mailFile, row, header, "
        "bodyLength, messageType, messageTypeMeaning, mailFileError, mailFileDamage, subjectCut, "
        "parts, partsError}, with deliveryStatus, readStatus, notifyResponse and note when "
        "the row holds them: the row with every field by its database name, the header by its "
        "keys (null when the mail file does not load), the parts as 'parts --json' gives them, "
        "with the text of each text part"));
    parser.addOption(json);
    unsigned int id = 0;
    if (const std::optional<int> stop =
            cli::parseRowId(parser, command, arguments, QStringLiteral("The message's id."), &id))
        return *stop;

    const store::ReadMessage message = store::MessageStore().read(id, true);
    if (!message.status.ok())
        return cli::storeFailure(message.status);
    const int status =
        message.header && message.mailFileDamage.isEmpty() ? cli::ExitOk : cli::ExitFailed;
    const store::MessageParts parts = store::messageParts(message);
    if (parser.isSet(json)) {
        const int printed = cli::printJson(QJsonDocument(shownMessageToJson(id, message, parts)));
        return printed == cli::ExitOk ? status : printed;
    }
    const MMS_UTIL_DBStruct_T& row = message.row.record;
    if (!message.header)
        cli::fail(message.mailFileError);
    else if (!message.mailFileDamage.isEmpty())
        cli::fail(QStringLiteral("the mail file '%1' is damaged: %2")
                      .arg(message.row.mailFile(), message.mailFileDamage));

    QTextStream& out = cli::out();
    QList<QStringList> place{
        {QStringLiteral("Message:"), QString::number(id)},
        {QStringLiteral("Folder:"), folderText(row.cmn_fld_folder_id)},
        {QStringLiteral("State:"), stateText(row)},
    };
    for (const TransactionField& field : transactionFields(message.row))
        place.append({field.label, textout::oneLine(field.value)});
    place.append({QStringLiteral("URI:"), message.row.uri()});
    place.append({QStringLiteral("Mail file:"), message.row.mailFile()});
    out << textout::columns(place);
    out << '\n' << textout::columns(sideBySide(row, message.header.get()));
    if (subjectIsCut(message))
        out << QStringLiteral(
                   "The index row keeps the first %1 of the subject's %2 characters; the "
                   "mail file holds the whole text.\n")
                   .arg(store::text16(row.cmn_fld_subject).size())
                   .arg(message.header->subject.size());
    out << '\n';
    if (!message.header)
        return status;
    out << textout::columns({
        {QStringLiteral("Body:"), QStringLiteral("%1 bytes").arg(message.bodyLength)},
        {QStringLiteral("Message type:"), messageTypeText(message.header->contentType)},
        {QStringLiteral("Parts:"), parts.status.ok()
                                       ? QString::number(parts.parts.size())
                                       : QStringLiteral("none: ") + parts.status.text},
    });
    if (!parts.parts.isEmpty())
        out << '\n' << cli::partTable(parts) << cli::partTexts(parts);
    return status;
}

// What the commands that change several messages say of ids without a message, and of a change
// the store refused.
int reportChanged(const store::Changed& changed)
{
    if (changed.status.code == store::ErrorCode::NotFound)
        return cli::reportMissing(changed.missing);
    return cli::storeFailure(changed.status);
}

void printMarked(const QList<unsigned int>& ids, bool read)
{
    for (const unsigned int id : ids)
        cli::out() << QStringLiteral("Marked message %1 %2\n")
                          .arg(id)
                          .arg(read ? QStringLiteral("read") : QStringLiteral("unread"));
}

// mark --read --report: the library marks and sends the read reports together, so that a
// report goes only for a message it marked.
int markReadAndReport(const cli::Command& command, const QCommandLineParser& parser,
                      const cli::ConnectionOptions& options, const QList<unsigned int>& ids)
{
    tavmms::mmsc::Connection connection;
    if (const std::optional<int> stop = options.connection(parser, command, &connection))
        return *stop;
    const tavmms::mmsc::ReadResult result = tavmms::mmsc::MmscClient(connection).markRead(ids);
    if (result.marked.isEmpty() && !result.status.ok())
        return cli::storeFailure(result.status);
    printMarked(result.marked, true);
    for (const unsigned int id : result.reported)
        cli::out() << QStringLiteral("Sent a read report for message %1\n").arg(id);
    // The marks stay when the reports fail: the messages were read all the same.
    QStringList errors = result.reportErrors;
    if (!result.status.ok())
        errors << result.status.text;
    for (const QString& error : errors)
        cli::warn(QStringLiteral("no read report sent: %1").arg(error));
    return errors.isEmpty() ? cli::ExitOk : cli::ExitFailed;
}

int runMark(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption read(QStringLiteral("read"), QStringLiteral("Marks them read."));
    const QCommandLineOption unread(QStringLiteral("unread"),
                                    QStringLiteral("Marks them not yet read."));
    const QCommandLineOption report(
        QStringLiteral("report"),
        QStringLiteral("With --read: sends the read report each sender asked for to the MMSC "
                       "(the options below say how to reach it), while the settings allow "
                       "reports."));
    const cli::ConnectionOptions options;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Takes exactly one of --read and --unread. The messages are changed "
                       "together: when an id has no message, each such id is named on standard "
                       "error, none is changed and the exit status is %1. With --report, a read "
                       "report that cannot be sent is a warning and the exit status is %2; the "
                       "messages stay marked.")
            .arg(cli::ExitNo)
            .arg(cli::ExitFailed));
    parser.addOptions(QList<QCommandLineOption>{read, unread, report} + options.all());
    QList<unsigned int> ids;
    if (const std::optional<int> stop = cli::parseMessageIds(parser, command, arguments, &ids))
        return *stop;
    if (parser.isSet(read) == parser.isSet(unread))
        return cli::usageError(command.name,
                               QStringLiteral("give exactly one of --read and --unread"));
    if (parser.isSet(report) && !parser.isSet(read))
        return cli::usageError(command.name, QStringLiteral("--report goes with --read only"));
    // Without --report nothing is sent, and a connection option would be taken for one in use.
    if (const QString option = options.given(parser); !option.isEmpty() && !parser.isSet(report))
        return cli::usageError(command.name,
                               QStringLiteral("%1 goes with --report only").arg(option));
    if (parser.isSet(report))
        return markReadAndReport(command, parser, options, ids);
    const store::Changed changed = store::MessageStore().setRead(ids, parser.isSet(read));
    if (!changed.status.ok())
        return reportChanged(changed);
    printMarked(changed.changed, parser.isSet(read));
    return cli::ExitOk;
}

int runMove(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption folder(
        QStringLiteral("folder"),
        QStringLiteral("The folder to move them to (required): %1 inbox, %2 outbox, %3 sent, %4 "
                       "drafts, by number or name.")
            .arg(unsigned(store::Folder::Inbox))
            .arg(unsigned(store::Folder::Outbox))
            .arg(unsigned(store::Folder::Sent))
            .arg(unsigned(store::Folder::Drafts)),
        QStringLiteral("F"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Their states stay. The messages are moved together: when an id has no "
                       "message, each such id is named on standard error, none is moved and the "
                       "exit status is %1.")
            .arg(cli::ExitNo));
    parser.addOption(folder);
    QList<unsigned int> ids;
    if (const std::optional<int> stop = cli::parseMessageIds(parser, command, arguments, &ids))
        return *stop;
    if (!parser.isSet(folder))
        return cli::usageError(command.name, QStringLiteral("--folder is required"));
    std::optional<unsigned int> number;
    if (const std::optional<int> stop = cli::folderOf(parser, folder, command, &number))
        return *stop;
    const store::Changed changed = store::MessageStore().move(ids, store::Folder(*number));
    // The store says which folders there are.
    if (changed.status.code == store::ErrorCode::Invalid)
        return cli::usageError(command.name, QStringLiteral("--folder: ") + changed.status.text);
    if (!changed.status.ok())
        return reportChanged(changed);
    for (const unsigned int id : changed.changed)
        cli::out() << QStringLiteral("Moved message %1 to %2\n").arg(id).arg(folderText(*number));
    return cli::ExitOk;
}

int runDelete(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption dryRun(
        QStringLiteral("dry-run"),
        QStringLiteral("Says what would be deleted, and deletes nothing."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Every id is looked up first: when one has no message, each such id is "
                       "named on standard error, nothing is deleted and the exit status is %1. "
                       "The rows go together, then the mail files; a mail file that cannot be "
                       "removed is reported (exit status %2) and stays, without its row, for "
                       "check to find. A row without a mail file is deleted all the same.")
            .arg(cli::ExitNo)
            .arg(cli::ExitFailed));
    parser.addOption(dryRun);
    QList<unsigned int> ids;
    if (const std::optional<int> stop = cli::parseMessageIds(parser, command, arguments, &ids))
        return *stop;
    const bool dry = parser.isSet(dryRun);
    const store::RemovedAll removed = store::MessageStore().removeAll(ids, dry);
    if (removed.status.code == store::ErrorCode::NotFound)
        return cli::reportMissing(removed.missing);
    if (removed.removed.isEmpty() && !removed.status.ok())
        return cli::storeFailure(removed.status);
    int exit = cli::ExitOk;
    for (const store::Removed& one : removed.removed) {
        if (!one.status.ok()) {
            exit = cli::fail(one.status.text);
            continue;
        }
        const QString verb = dry ? QStringLiteral("Would delete") : QStringLiteral("Deleted");
        if (one.mailFileWasMissing)
            cli::out() << QStringLiteral("%1 message %2; it %3 no mail file %4\n")
                              .arg(verb)
                              .arg(one.id)
                              .arg(dry ? QStringLiteral("has") : QStringLiteral("had"))
                              .arg(one.mailFile);
        else
            cli::out() << QStringLiteral("%1 message %2 and its mail file %3\n")
                              .arg(verb)
                              .arg(one.id)
                              .arg(one.mailFile);
    }
    // The rows and files went, but the directory was not synced.
    if (exit == cli::ExitOk && !removed.status.ok())
        exit = cli::fail(removed.status.text);
    return exit;
}

} // namespace

QList<cli::Command> messageCommands()
{
    return {
        {QStringLiteral("compose"),
         QStringLiteral("Composes a message: its row in the message index and its mail file."),
         runCompose},
        {QStringLiteral("receive"),
         QStringLiteral("Files an incoming message in the inbox, unless its sender is blocked."),
         runReceive},
        {QStringLiteral("list"), QStringLiteral("Lists the messages, one line each."), runList},
        {QStringLiteral("show"), QStringLiteral("Shows a message: its row beside its mail file."),
         runShow},
        {QStringLiteral("mark"), QStringLiteral("Marks messages read or unread."), runMark},
        {QStringLiteral("move"), QStringLiteral("Moves messages to another folder."), runMove},
        {QStringLiteral("delete"),
         QStringLiteral("Deletes messages: their rows and their mail files."), runDelete},
    };
}
