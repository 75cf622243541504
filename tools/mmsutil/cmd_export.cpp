// mmsutil export: a kept message in a form other programs open, an Internet mail message (.eml).

#include "commands.h"
#include "mmshelpers.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>

namespace
{

namespace store = tavmms::store;

int runExport(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption eml(QStringLiteral("eml"),
                                 QStringLiteral("Writes the message as an Internet mail message "
                                                "to FILE (required); - writes it to standard "
                                                "output."),
                                 QStringLiteral("FILE"));
    const QCommandLineOption force(QStringLiteral("force"),
                                   QStringLiteral("Replaces FILE when it is there."));
    const QCommandLineOption bcc(
        QStringLiteral("bcc"),
        QStringLiteral("Writes the Bcc recipients too, as a mail program's sent copy holds them."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(
            " A mail program opens the file with the message's text and pictures: its "
            "sender and recipients (a phone number as +15550101@mms.invalid, named by its entry "
            "or its contact), subject, date and Message-ID, and its parts, a presentation (SMIL) "
            "part as the start of a multipart/related body. Text goes as UTF-8, every other "
            "part in base64. Bcc recipients are left out unless --bcc is given. The file is "
            "written whole or not at all; one that is there is kept, and the exit status is "
            "%1, unless --force is given.")
            .arg(cli::ExitFailed));
    parser.addOptions({eml, force, bcc});
    unsigned int id = 0;
    if (const std::optional<int> stop =
            cli::parseRowId(parser, command, arguments, QStringLiteral("The message's id."), &id))
        return *stop;
    if (!parser.isSet(eml))
        return cli::usageError(command.name, QStringLiteral("--eml is required"));
    const QString path = parser.value(eml);
    if (path.isEmpty())
        return cli::usageError(command.name, QStringLiteral("--eml needs a file name"));

    const store::ReadMessage message = store::MessageStore().read(id);
    store::EmlOptions options;
    options.bcc = parser.isSet(bcc);
    const store::EmlMessage exported = store::emlMessage(message, options);
    if (!exported.status.ok())
        return cli::storeFailure(exported.status);
    if (!message.mailFileDamage.isEmpty())
        cli::warn(QStringLiteral("the mail file '%1' is damaged: %2; what it holds is exported")
                      .arg(message.row.mailFile(), message.mailFileDamage));
    if (path == QLatin1String("-"))
        return cli::writeBytes(exported.bytes.constData(), exported.bytes.size());
    const store::Status saved = store::saveExportFile(path, exported.bytes, parser.isSet(force));
    if (saved.code == store::ErrorCode::Exists)
        return cli::fail(QStringLiteral("'%1' is there already; --force replaces it").arg(path));
    if (!saved.ok())
        return cli::storeFailure(saved);
    return cli::ExitOk;
}

} // namespace

QList<cli::Command> exportCommands()
{
    return {
        {QStringLiteral("export"),
         QStringLiteral("Writes a message as an Internet mail message (.eml)."), runExport},
    };
}
