// mmsutil pdu send-req: the request that hands a kept message to the MMSC.

#include "commands.h"
#include "mmshelpers.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QFile>

namespace
{

namespace store = tavmms::store;

// Writes `bytes` into the new file `file`, which is removed when they cannot all be written.
int writeNewFile(QFile& file, const QByteArray& bytes)
{
    if (file.write(bytes) == bytes.size() && file.flush()) {
        file.close();
        return cli::ExitOk;
    }
    const QString why = file.errorString();
    file.remove();
    return cli::fail(QStringLiteral("cannot write '%1': %2").arg(file.fileName(), why));
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
    QFile file(path);
    // The file is made before the request, so that a name taken changes nothing.
    if (toFile && !file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return cli::fail(QStringLiteral("cannot write '%1': %2")
                             .arg(path, file.exists() ? QStringLiteral("it exists already")
                                                      : file.errorString()));
    const store::SendRequest request = store::MessageStore().sendRequest(id);
    if (!request.status.ok()) {
        if (toFile)
            file.remove();
        return cli::storeFailure(request.status);
    }
    return toFile ? writeNewFile(file, request.pdu)
                  : cli::writeBytes(request.pdu.constData(), request.pdu.size());
}

} // namespace

QList<cli::Command> sendRequestCommands()
{
    return {
        {QStringLiteral("pdu send-req"),
         QStringLiteral("Makes the m-send.req PDU that sends a kept message."), runSendReq},
    };
}
