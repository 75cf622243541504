#include "commands.h"
#include "mmshelpers.h"
#include "settingshelpers.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <cerrno>
#include <cstring>

namespace
{

using AddRecipient = void (MMS_UTIL_MsgHeaderBase::*)(const MMS_UTIL_Entry&);

// The header's sending options: the stored ones, replaced by those given on the command line.
void applySendingOptions(const cli::SendingChoice& choice, MMS_UTIL_MsgHeaderBase* header)
{
    header->loadGlobalSetting();
    cli::SendingValues values{header->deliveryReport, header->readReplyReport, header->expiry,
                              header->priority};
    choice.applyTo(&values);
    header->deliveryReport = values.deliveryReport;
    header->readReplyReport = values.readReport;
    header->expiry = values.expiry;
    header->setPriority(values.priority);
}

int runWrite(const cli::Command& command, const QStringList& arguments)
{
    const QString entryHelp =
        QStringLiteral(" An entry \"<name>[EMAIL|PLMN|UNKNOWN]address\" or a bare "
                       "address (typed PLMN, EMAIL or UNKNOWN by its look).");
    const QString listHelp = QStringLiteral(" May be repeated; a value may hold several entries "
                                            "separated by commas.");
    const QCommandLineOption from(QStringLiteral("from"), QStringLiteral("Sender.") + entryHelp,
                                  QStringLiteral("ENTRY"));
    const QCommandLineOption to(QStringLiteral("to"),
                                QStringLiteral("Recipient (required).") + entryHelp + listHelp,
                                QStringLiteral("ENTRY"));
    const QCommandLineOption cc(QStringLiteral("cc"), QStringLiteral("Cc recipient.") + listHelp,
                                QStringLiteral("ENTRY"));
    const QCommandLineOption bcc(QStringLiteral("bcc"), QStringLiteral("Bcc recipient.") + listHelp,
                                 QStringLiteral("ENTRY"));
    const QCommandLineOption subject(QStringLiteral("subject"), QStringLiteral("Subject."),
                                     QStringLiteral("TEXT"));
    const cli::SendingOptions sending(
        QStringLiteral(" Default: the stored sending option (see 'mmsutil sending show')."));
    const QCommandLineOption body(QStringLiteral("body"),
                                  QStringLiteral("File holding the encoded body; - reads standard "
                                                 "input."),
                                  QStringLiteral("BODYFILE"));
    const QCommandLineOption id(QStringLiteral("id"),
                                QStringLiteral("Writes the mail file of the message whose index "
                                               "row is N, in the mail file directory, instead of "
                                               "FILE, and prints its name. Refused when there is "
                                               "no row N, or when the message has a mail file "
                                               "and --replace is not given."),
                                QStringLiteral("N"));
    const QCommandLineOption replace(QStringLiteral("replace"),
                                     QStringLiteral("With --id: replaces the message's mail file "
                                                    "when it has one."));
    QCommandLineParser parser;
    parser.addOptions({from, to, cc, bcc, subject});
    parser.addOptions(sending.options());
    parser.addOptions({body, id, replace});
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("The mail file to write; missing parent "
                                                "directories are created."),
                                 QStringLiteral("FILE | --id N"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0, 1))
        return *stop;
    if (parser.isSet(id) == !parser.positionalArguments().isEmpty())
        return cli::usageError(command.name, QStringLiteral("give either FILE or --id"));
    std::optional<unsigned int> row;
    if (parser.isSet(id)) {
        row = cli::parseNumber(parser.value(id));
        if (!row)
            return cli::usageError(
                command.name, QStringLiteral("--id: '%1' is not a row id").arg(parser.value(id)));
    }
    if (parser.isSet(replace) && !row)
        return cli::usageError(command.name, QStringLiteral("--replace only goes with --id"));
    for (const QCommandLineOption& required : {from, to, body}) {
        if (!parser.isSet(required))
            return cli::usageError(
                command.name,
                QStringLiteral("--%1 is required").arg(required.names().constFirst()));
    }

    MMS_UTIL_MsgHeaderBase header;
    QString error;
    const std::optional<MMS_UTIL_Entry> sender =
        tavmms::store::parseAddress(parser.value(from), &error);
    if (!sender)
        return cli::usageError(command.name, QStringLiteral("--from: ") + error);
    header.setFrom(*sender);
    const struct {
        const QCommandLineOption& option;
        AddRecipient add;
    } lists[] = {
        {to, &MMS_UTIL_MsgHeaderBase::addToRecipient},
        {cc, &MMS_UTIL_MsgHeaderBase::addCcRecipient},
        {bcc, &MMS_UTIL_MsgHeaderBase::addBccRecipient},
    };
    for (const auto& list : lists) {
        QList<MMS_UTIL_Entry> entries;
        if (const std::optional<int> stop = cli::entriesOf(parser, list.option, command, &entries))
            return *stop;
        for (const MMS_UTIL_Entry& entry : entries)
            (header.*list.add)(entry);
    }
    header.subject = parser.value(subject);
    const std::optional<cli::SendingChoice> choice = sending.choice(parser, &error);
    if (!choice)
        return cli::usageError(command.name, error);

    QByteArray content;
    if (const std::optional<int> stop =
            cli::readBody(parser.value(body), tavmms::store::MessageStore::storeLimit(), &content))
        return *stop;
    applySendingOptions(*choice, &header);
    header.sendDate = QDateTime::currentDateTime();
    header.messageSize = uint(content.size());

    if (row) {
        const tavmms::store::Added written = tavmms::store::MessageStore().writeMailFile(
            *row, header, content, parser.isSet(replace));
        if (!written.status.ok())
            return cli::fail(written.status.text);
        cli::out() << written.mailFile << '\n';
        return cli::ExitOk;
    }
    const QString path = parser.positionalArguments().constFirst();
    const QString directory = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(directory))
        return cli::fail(QStringLiteral("cannot create directory '%1'").arg(directory));
    MMS_UTIL_MailFile file(path);
    errno = 0;
    const int result = file.writeMailFile(reinterpret_cast<unsigned char*>(content.data()),
                                          uint(content.size()), &header);
    if (result == MMS_UTIL_MAILFILE_NO_SPACE)
        return cli::fail(QStringLiteral("cannot write '%1': no space left on device").arg(path));
    if (result != MMS_UTIL_MAILFILE_OK) {
        const QString reason = errno ? QString::fromLocal8Bit(std::strerror(errno)) : QString();
        return cli::fail(QStringLiteral("cannot write '%1'").arg(path) +
                         (reason.isEmpty() ? QString() : QStringLiteral(": ") + reason));
    }
    return cli::ExitOk;
}

int printMailFileJson(const cli::LoadedMailFile& mail)
{
    const QJsonObject record{
        {QStringLiteral("headerTextOffset"), qint64(mail.record.headerTextOffset)},
        {QStringLiteral("reserved"), qint64(mail.record.reserved)},
        {QStringLiteral("bodyOffset"), qint64(mail.record.bodyOffset)},
        {QStringLiteral("bodyLength"), qint64(mail.record.bodyLength)}};
    const QJsonObject document{{QStringLiteral("record"), record},
                               {QStringLiteral("header"), cli::headerToJson(*mail.header)},
                               {QStringLiteral("bodyLength"), qint64(mail.bodyLength)}};
    return cli::printJson(QJsonDocument(document));
}

void printText(const cli::LoadedMailFile& mail)
{
    const MMS_UTIL_MsgHeaderBase& h = *mail.header;
    const int width = 19; // the longest key, "Sender_Visibility:", and one blank
    const QString indent = QStringLiteral("  ") + QString(width, QLatin1Char(' '));
    QTextStream& out = cli::out();
    const auto line = [&](const char* key, const QString& value) {
        if (value.isEmpty()) {
            out << "  " << key << '\n';
            return;
        }
        // Continuation lines of a subject are lined up under its first line.
        out << QStringLiteral("  %1%2\n")
                   .arg(QLatin1String(key), -width)
                   .arg(QString(value).replace(QLatin1Char('\n'), QLatin1Char('\n') + indent));
    };
    out << "Record:\n";
    line("headerTextOffset:", QString::number(mail.record.headerTextOffset));
    line("reserved:", QString::number(mail.record.reserved));
    line("bodyOffset:", QString::number(mail.record.bodyOffset));
    line("bodyLength:", QString::number(mail.record.bodyLength));
    out << "Header:\n";
    line("From:", MMS_UTIL_Common::entryToString(h.from));
    line("To:", MMS_UTIL_Common::entryListToString(h.toList));
    line("CC:", MMS_UTIL_Common::entryListToString(h.ccList));
    line("BCC:", MMS_UTIL_Common::entryListToString(h.bccList));
    line("Subject:", h.subject);
    line("Send_Date:", cli::mailFileDateText(h.sendDate));
    line("Delivery:", cli::mailFileDateText(h.deliveryTime));
    line("Expiry:", QString::number(h.expiry));
    line("Message_ID:", h.messageId);
    line("Content_Type:", MMS_UTIL_Common::contentTypeToString(h.contentType));
    line("Priority:", MMS_UTIL_Common::priorityToString(h.priority));
    line("Sender_Visibility:", MMS_UTIL_Common::boolToString(h.senderVisibility));
    line("DeliveryReport:", MMS_UTIL_Common::boolToString(h.deliveryReport));
    line("ReadReplyReport:", MMS_UTIL_Common::boolToString(h.readReplyReport));
    line("Message_Size:", QString::number(h.messageSize));
    out << "Body length: " << mail.bodyLength << '\n';
}

int runShow(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints a JSON object, with entries as objects "
                                                 "{name, type, address}."));
    QCommandLineParser parser;
    parser.addOption(json);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The mail file."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const std::optional<cli::LoadedMailFile> mail =
        cli::loadMailFile(parser.positionalArguments().constFirst());
    if (!mail)
        return cli::ExitFailed;
    if (parser.isSet(json))
        return printMailFileJson(*mail);
    printText(*mail);
    return cli::ExitOk;
}

int runBody(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The mail file."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const QString path = parser.positionalArguments().constFirst();

    unsigned char* buffer = nullptr;
    unsigned int length = 0;
    if (MMS_UTIL_MailFile(path).readMultipartBody(&buffer, &length) == MMS_UTIL_MAILFILE_OK) {
        const std::unique_ptr<unsigned char[]> body(buffer);
        return cli::writeBytes(body.get(), length);
    }
    // readMultipartBody() refuses an empty body; loading the whole file tells an empty body from a
    // broken file.
    const std::optional<cli::LoadedMailFile> mail = cli::loadMailFile(path);
    if (!mail)
        return cli::ExitFailed;
    return cli::writeBytes(mail->body.get(), mail->bodyLength);
}

} // namespace

QList<cli::Command> mailfileCommands()
{
    return {
        {QStringLiteral("mailfile write"),
         QStringLiteral("Writes a mail file from a body file and header options."), runWrite},
        {QStringLiteral("mailfile show"),
         QStringLiteral("Prints the record and every header field of a mail file."), runShow},
        {QStringLiteral("mailfile body"),
         QStringLiteral("Writes the raw body of a mail file to standard output."), runBody},
    };
}
