// mmsutil send, notify, fetch, report: the phone's transactions with its MMSC.

#include "commands.h"
#include "connection_options.h"
#include "mmshelpers.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{

namespace mmsc = tavmms::mmsc;
namespace store = tavmms::store;

// The exit status of a transaction that did not end well, after saying why on standard error.
int transactionFailure(const store::Status& status)
{
    switch (status.code) {
    case store::ErrorCode::Refused:
    case store::ErrorCode::Invalid:
        cli::fail(status.text);
        return cli::ExitRefused;
    default:
        return cli::storeFailure(status);
    }
}

// The message ID that `command` takes, and the connection its options give; the exit status when
// the command must stop here.
std::optional<int> messageAndConnection(QCommandLineParser& parser, const cli::Command& command,
                                        const QStringList& arguments, const QString& description,
                                        const cli::ConnectionOptions& options, unsigned int* id,
                                        mmsc::Connection* connection)
{
    if (const std::optional<int> stop =
            cli::parseRowId(parser, command, arguments, description, id))
        return stop;
    return options.connection(parser, command, connection);
}

// A transaction with message `id` that did not end well: "message 5 was not sent: ...".
int notDone(unsigned int id, const QString& what, const store::Status& status)
{
    return transactionFailure(store::Status::failure(
        status.code, QStringLiteral("message %1 was not %2: %3").arg(id).arg(what, status.text)));
}

int printed(const QJsonObject& object, bool json, const QString& text)
{
    if (json)
        return cli::printJson(QJsonDocument(object));
    cli::out() << text << '\n';
    return cli::ExitOk;
}

QString statusName(std::optional<quint8> status)
{
    return status ? tavmms::pdu::messageStatusName(*status) : QString();
}

// ---- send ----

int runSend(const cli::Command& command, const QStringList& arguments)
{
    const cli::ConnectionOptions options;
    const QCommandLineOption json = cli::jsonOption(QStringLiteral("what was done"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(
            " ID is a message waiting in the outbox (to send), or one whose sending failed. Its "
            "m-send.req is POSTed to the MMSC; when the MMSC takes it (Ok), the message moves to "
            "the sent folder with the Message-ID the MMSC gave. An error status, an HTTP error "
            "or no answer marks it 'send failed' with the reason, which 'mmsutil show' prints; "
            "a transient one is tried again first. Exit status %1 when the MMSC refused the "
            "message or it is no message to send, %2 when the MMSC could not be reached.")
            .arg(cli::ExitRefused)
            .arg(cli::ExitFailed));
    parser.addOptions(options.all() << json);
    unsigned int id = 0;
    mmsc::Connection connection;
    if (const std::optional<int> stop =
            messageAndConnection(parser, command, arguments, QStringLiteral("The message to send."),
                                 options, &id, &connection))
        return *stop;
    const mmsc::SendResult sent = mmsc::MmscClient(connection).send(id);
    if (!sent.status.ok())
        return notDone(id, QStringLiteral("sent"), sent.status);
    const QJsonObject object{{QStringLiteral("id"), int(id)},
                             {QStringLiteral("messageId"), sent.messageId},
                             {QStringLiteral("responseStatus"), int(sent.responseStatus)},
                             {QStringLiteral("responseText"), sent.responseText},
                             {QStringLiteral("attempts"), sent.attempts}};
    return printed(object, parser.isSet(json),
                   QStringLiteral("Sent message %1%2 (%3)")
                       .arg(id)
                       .arg(sent.messageId.isEmpty()
                                ? QString()
                                : QStringLiteral(": Message-ID %1").arg(sent.messageId),
                            sent.attempts == 1 ? QStringLiteral("1 attempt")
                                               : QStringLiteral("%1 attempts").arg(sent.attempts)));
}

// ---- notify ----

int runNotify(const cli::Command& command, const QStringList& arguments)
{
    const cli::ConnectionOptions options;
    const QCommandLineOption json = cli::jsonOption(QStringLiteral("what was done"));
    const QCommandLineOption roaming(
        QStringLiteral("roaming"),
        QStringLiteral("The phone is on a network not its own: with delayed retrieval on "
                       "(roaming-delayed-retrieval), the message is deferred."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(
            " FILE (- for standard input) is an m-notification.ind, as the WAP push brought it. "
            "It is kept as a message in the inbox, then: fetched from its Content-Location now; "
            "deferred, to be fetched with 'mmsutil fetch', while automatic download is off or "
            "the phone roams with delayed retrieval on; or rejected when it is over max-mt-size, "
            "expired or from a blocked sender (those two are not kept). The MMSC is told which "
            "in an m-notifyresp.ind. A notification for a message kept already is answered "
            "again and not fetched twice. Exit status %1 for a rejected or repeated "
            "notification, %2 when the fetch failed (the message is then deferred).")
            .arg(cli::ExitRefused)
            .arg(cli::ExitFailed));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The notification."));
    parser.addOptions(options.all() << json << roaming);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const QString path = parser.positionalArguments().constFirst();
    mmsc::Connection connection;
    if (const std::optional<int> stop = options.connection(parser, command, &connection))
        return *stop;
    // A notification is a few hundred bytes: a megabyte is none.
    const std::optional<QByteArray> bytes = cli::readInput(path, 1024 * 1024);
    if (!bytes)
        return cli::ExitFailed;
    const mmsc::NotifyResult result =
        mmsc::MmscClient(connection).notify(*bytes, parser.isSet(roaming));
    if (result.status.code == store::ErrorCode::WrongType)
        return cli::usageError(command.name,
                               QStringLiteral("'%1': %2").arg(path, result.status.text));
    if (result.decision == mmsc::Decision::None)
        return transactionFailure(result.status);
    if (!result.responded)
        cli::warn(QStringLiteral("the MMSC was not told: %1").arg(result.responseError));
    const QJsonObject object{
        {QStringLiteral("id"), int(result.id)},
        {QStringLiteral("decision"), mmsc::decisionName(result.decision)},
        {QStringLiteral("reason"), result.reason},
        {QStringLiteral("transactionId"), result.transactionId},
        {QStringLiteral("response"), statusName(result.response)},
        {QStringLiteral("responded"), result.responded},
        {QStringLiteral("error"), result.status.ok() ? QString() : result.status.text}};
    QString text = result.id
                       ? QStringLiteral("Message %1: %2")
                             .arg(result.id)
                             .arg(mmsc::decisionName(result.decision))
                       : QStringLiteral("Not kept: %1").arg(mmsc::decisionName(result.decision));
    if (!result.reason.isEmpty())
        text += QStringLiteral(" (%1)").arg(result.reason);
    if (result.response)
        text += QStringLiteral("; the MMSC was %1 %2")
                    .arg(result.responded ? QStringLiteral("told") : QStringLiteral("not told"),
                         statusName(result.response));
    const int exit = printed(object, parser.isSet(json), text);
    if (result.decision == mmsc::Decision::Rejected || result.decision == mmsc::Decision::Duplicate)
        return cli::ExitRefused;
    if (!result.status.ok())
        return cli::ExitFailed;
    return exit;
}

// ---- fetch ----

int runFetch(const cli::Command& command, const QStringList& arguments)
{
    const cli::ConnectionOptions options;
    const QCommandLineOption json = cli::jsonOption(QStringLiteral("what was done"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" ID is a notification kept by 'mmsutil notify' and deferred (or not yet "
                       "fetched). The message is fetched from its Content-Location, put in the "
                       "notification's place, and acknowledged: with an m-acknowledge.ind when "
                       "the MMSC gave the retrieval a transaction id, else with the "
                       "notification's m-notifyresp.ind. Exit status %1 when it is no "
                       "notification waiting, or the message is over max-mt-size.")
            .arg(cli::ExitRefused));
    parser.addOptions(options.all() << json);
    unsigned int id = 0;
    mmsc::Connection connection;
    if (const std::optional<int> stop = messageAndConnection(
            parser, command, arguments, QStringLiteral("The notification to fetch."), options, &id,
            &connection))
        return *stop;
    const mmsc::FetchResult fetched = mmsc::MmscClient(connection).fetch(id);
    if (!fetched.status.ok())
        return notDone(id, QStringLiteral("fetched"), fetched.status);
    if (!fetched.acknowledged)
        cli::warn(QStringLiteral("the MMSC was not told: %1").arg(fetched.acknowledgementError));
    const QJsonObject object{{QStringLiteral("id"), int(id)},
                             {QStringLiteral("acknowledgement"), fetched.acknowledgement},
                             {QStringLiteral("acknowledged"), fetched.acknowledged}};
    return printed(object, parser.isSet(json),
                   QStringLiteral("Fetched message %1; %2 %3")
                       .arg(id)
                       .arg(fetched.acknowledged ? QStringLiteral("acknowledged with")
                                                 : QStringLiteral("could not send"),
                            fetched.acknowledgement));
}

// ---- report ----

int runReport(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption json = cli::jsonOption(QStringLiteral("the report and its message"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" FILE (- for standard input) is an m-delivery.ind or an m-read-orig.ind. "
                       "Its status is kept in the row of the sent message with its Message-ID "
                       "('mmsutil show' prints it). Nothing goes to the MMSC. Exit status %1 "
                       "when no sent message has that Message-ID.")
            .arg(cli::ExitNo));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The report."));
    parser.addOption(json);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const QString path = parser.positionalArguments().constFirst();
    const std::optional<QByteArray> bytes = cli::readInput(path, 1024 * 1024);
    if (!bytes)
        return cli::ExitFailed;
    const mmsc::ReportResult result = mmsc::MmscClient(mmsc::Connection()).report(*bytes);
    if (result.status.code == store::ErrorCode::WrongType)
        return cli::usageError(command.name,
                               QStringLiteral("'%1': %2").arg(path, result.status.text));
    if (!result.status.ok())
        return cli::storeFailure(result.status);
    const bool read = result.kind == mmsc::ReportResult::Read;
    const QString value = read ? tavmms::pdu::readStatusName(result.value)
                               : tavmms::pdu::messageStatusName(result.value);
    QJsonArray ids;
    QStringList idTexts;
    for (const unsigned int id : result.ids) {
        ids.append(int(id));
        idTexts << QString::number(id);
    }
    const QJsonObject object{
        {QStringLiteral("kind"), read ? QStringLiteral("read") : QStringLiteral("delivery")},
        {QStringLiteral("messageId"), result.messageId},
        {QStringLiteral("recipient"), result.recipient},
        {QStringLiteral("status"), int(result.value)},
        {QStringLiteral("statusName"), value},
        {QStringLiteral("ids"), ids}};
    return printed(object, parser.isSet(json),
                   QStringLiteral("%1 report of %2 for message %3: %4")
                       .arg(read ? QStringLiteral("Read") : QStringLiteral("Delivery"),
                            result.recipient, idTexts.join(QStringLiteral(", ")),
                            value.isEmpty() ? QString::number(result.value) : value));
}

} // namespace

QList<cli::Command> mmscCommands()
{
    return {
        {QStringLiteral("send"), QStringLiteral("Sends a message to the MMSC."), runSend},
        {QStringLiteral("notify"),
         QStringLiteral("Takes a notification of a message waiting at the MMSC: keeps it, then "
                        "fetches, defers or rejects the message as the settings say."),
         runNotify},
        {QStringLiteral("fetch"), QStringLiteral("Fetches a deferred message from the MMSC."),
         runFetch},
        {QStringLiteral("report"),
         QStringLiteral("Keeps a delivery or read report with the sent message it is about."),
         runReport},
    };
}
