// mmsutil pdu decode: any MMS PDU read whole, its header fields in words and its parts, without
// the store; mmsutil pdu send-req: the request that hands a kept message to the MMSC.

#include "commands.h"
#include "mmshelpers.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace
{

namespace pdu = tavmms::pdu;
namespace store = tavmms::store;

QJsonObject pduToJson(const pdu::Message& message)
{
    QJsonArray headers;
    for (const pdu::HeaderField& field : message.pdu.headers) {
        const store::FieldText text = store::fieldText(field);
        QJsonObject object{{QStringLiteral("name"), text.name},
                           {QStringLiteral("value"), text.value}};
        if (!text.charset.isEmpty())
            object.insert(QStringLiteral("charset"), text.charset);
        headers.append(object);
    }
    QJsonArray parts;
    for (qsizetype i = 0; i < message.parts.size(); ++i) {
        const pdu::Part& part = message.parts.at(i);
        QJsonArray parameters;
        for (const pdu::Parameter& parameter : part.contentType.parameters)
            parameters.append(
                QJsonObject{{QStringLiteral("name"), QString::fromUtf8(parameter.name)},
                            {QStringLiteral("value"), QString::fromUtf8(parameter.value)}});
        QJsonArray partHeaders;
        for (const pdu::PartHeader& header : part.headers)
            partHeaders.append(
                QJsonObject{{QStringLiteral("name"), QString::fromUtf8(header.name)},
                            {QStringLiteral("value"), store::partHeaderText(header)}});
        parts.append(QJsonObject{
            {QStringLiteral("index"), qint64(i + 1)},
            {QStringLiteral("contentType"), QString::fromUtf8(part.contentType.mediaType)},
            {QStringLiteral("parameters"), parameters},
            {QStringLiteral("headers"), partHeaders},
            {QStringLiteral("size"), qint64(part.data.size())},
        });
    }
    return QJsonObject{
        {QStringLiteral("headers"), headers},
        {QStringLiteral("parts"), parts},
        {QStringLiteral("warnings"), QJsonArray::fromStringList(message.pdu.warnings)}};
}

void printPdu(const pdu::Message& message)
{
    QList<QStringList> fields{
        {QStringLiteral("FIELD"), QStringLiteral("VALUE"), QStringLiteral("CHARSET")}};
    for (const pdu::HeaderField& field : message.pdu.headers) {
        const store::FieldText text = store::fieldText(field);
        fields.append({textout::oneLine(text.name), textout::oneLine(text.value), text.charset});
    }
    QTextStream& out = cli::out();
    out << textout::columns(fields);
    for (qsizetype i = 0; i < message.parts.size(); ++i) {
        const pdu::Part& part = message.parts.at(i);
        out << QStringLiteral("\nPart %1: %2, %3\n")
                   .arg(i + 1)
                   .arg(textout::oneLine(store::contentTypeText(part.contentType)))
                   .arg(textout::counted(part.data.size(), "byte"));
        for (const pdu::PartHeader& header : part.headers)
            out << QStringLiteral("  %1: %2\n")
                       .arg(textout::oneLine(QString::fromUtf8(header.name)),
                            textout::oneLine(store::partHeaderText(header)));
    }
}

int runDecode(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(
            " Prints every header field with its value in words (a message type by its name, "
            "the version as \"1.2\", dates in ISO 8601 with their offset, relative times in "
            "seconds, encoded strings with their charset), then every part: its number, content "
            "type with parameters, size and headers. What was read all the same (text not valid "
            "in its charset) is warned about on standard error. A PDU that does not read fails "
            "(exit status %1) with the offset and what was expected there; a file over %2 bytes "
            "is refused (exit status %3) before it is read whole. The store is not touched.")
            .arg(cli::ExitFailed)
            .arg(store::MessageStore::kLargestBody)
            .arg(cli::ExitRefused));
    const QCommandLineOption json = cli::jsonOption(QStringLiteral(
        "an object {headers: [{name, value, charset}], parts: [{index, contentType, parameters: "
        "[{name, value}], headers: [{name, value}], size}], warnings}"));
    parser.addOption(json);
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("The PDU; - reads standard input."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const QString path = parser.positionalArguments().constFirst();
    const std::optional<QByteArray> bytes = cli::readInput(path, store::MessageStore::kLargestBody);
    if (!bytes)
        return cli::ExitFailed;
    if (bytes->size() > store::MessageStore::kLargestBody) {
        cli::fail(QStringLiteral("'%1' is larger than %2 bytes; no PDU is that large")
                      .arg(path)
                      .arg(store::MessageStore::kLargestBody));
        return cli::ExitRefused;
    }
    pdu::DecodeError error;
    const std::optional<pdu::Message> message = pdu::decodeMessage(*bytes, &error);
    if (!message)
        return cli::fail(QStringLiteral("'%1' does not read: offset %2: expected %3")
                             .arg(path)
                             .arg(error.offset)
                             .arg(error.expected));
    for (const QString& warning : message->pdu.warnings)
        cli::warn(warning);
    if (parser.isSet(json))
        return cli::printJson(QJsonDocument(pduToJson(*message)));
    printPdu(*message);
    return cli::ExitOk;
}

int runSendReq(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption output(
        QStringList{QStringLiteral("o"), QStringLiteral("output")},
        QStringLiteral("Writes the PDU into FILE, which must not exist yet; - (the default) "
                       "writes it raw on standard output."),
        QStringLiteral("FILE"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" The m-send.req (MMS 1.2) is made from the message's mail file: the "
                       "sender left for the MMSC to insert, the recipients (phone numbers as "
                       "+NUMBER/TYPE=PLMN), the subject, the sender visibility, the expiry as "
                       "seconds from the sending, the delivery time when there is one, both "
                       "reports, the priority, the content type and the body as kept. Its new "
                       "transaction id is kept in the message's row. A message that is not "
                       "there exits with %1.")
            .arg(cli::ExitNo));
    parser.addOption(output);
    unsigned int id = 0;
    if (const std::optional<int> stop =
            cli::parseRowId(parser, command, arguments, QStringLiteral("The message's id."), &id))
        return *stop;
    const QString path = parser.value(output);
    const bool toFile = !path.isEmpty() && path != QLatin1String("-");
    // A name taken is refused before the request, so that it changes nothing.
    const auto taken = [&path] {
        return cli::fail(QStringLiteral("cannot write '%1': it exists already").arg(path));
    };
    if (toFile && QFileInfo(path).exists())
        return taken();
    const store::SendRequest request = store::MessageStore().sendRequest(id);
    if (!request.status.ok())
        return cli::storeFailure(request.status);
    if (!toFile)
        return cli::writeBytes(request.pdu.constData(), request.pdu.size());
    const store::Status saved = store::saveExportFile(path, request.pdu, false);
    if (saved.code == store::ErrorCode::Exists)
        return taken();
    return saved.ok() ? cli::ExitOk : cli::storeFailure(saved);
}

} // namespace

QList<cli::Command> pduCommands()
{
    return {
        {QStringLiteral("pdu decode"),
         QStringLiteral("Prints the header fields and the parts of an MMS PDU file."), runDecode},
        {QStringLiteral("pdu send-req"),
         QStringLiteral("Makes the m-send.req PDU that sends a kept message."), runSendReq},
    };
}
