// mmsutil export: kept messages in forms other programs open: one as an Internet mail message
// (.eml), or those a listing's options choose as an .eml file each or all in one mbox file.

#include "commands.h"
#include "mmshelpers.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>

namespace
{

namespace store = tavmms::store;

struct ExportOptions {
    QCommandLineOption eml{
        QStringLiteral("eml"),
        QStringLiteral("With ID, writes the message as an Internet mail message to FILE; - writes "
                       "it to standard output. Without ID, writes each chosen message to "
                       "DIR/<id>.eml, making DIR when it is not there."),
        QStringLiteral("FILE|DIR")};
    QCommandLineOption mbox{
        QStringLiteral("mbox"),
        QStringLiteral("Without ID, writes the chosen messages, in their order, to the mbox file "
                       "FILE."),
        QStringLiteral("FILE")};
    QCommandLineOption force{QStringLiteral("force"),
                             QStringLiteral("Replaces a file that is there.")};
    QCommandLineOption bcc{
        QStringLiteral("bcc"),
        QStringLiteral("Writes the Bcc recipients too, as a mail program's sent copy holds them.")};
    cli::SelectOptions select{QStringLiteral("Exports")};

    store::EmlOptions emlOptions(const QCommandLineParser& parser) const
    {
        store::EmlOptions options;
        options.bcc = parser.isSet(bcc);
        return options;
    }
};

int exportOne(const QCommandLineParser& parser, const ExportOptions& options, unsigned int id)
{
    const QString path = parser.value(options.eml);
    const store::ReadMessage message = store::MessageStore().read(id);
    const store::EmlMessage exported = store::emlMessage(message, options.emlOptions(parser));
    if (!exported.status.ok())
        return cli::storeFailure(exported.status);
    if (!message.mailFileDamage.isEmpty())
        cli::warn(QStringLiteral("the mail file '%1' is damaged: %2; what it holds is exported")
                      .arg(message.row.mailFile(), message.mailFileDamage));
    if (path == QLatin1String("-"))
        return cli::writeBytes(exported.bytes.constData(), exported.bytes.size());
    const store::Status saved =
        store::saveExportFile(path, exported.bytes, parser.isSet(options.force));
    if (saved.code == store::ErrorCode::Exists)
        return cli::fail(QStringLiteral("'%1' is there already; --force replaces it").arg(path));
    if (!saved.ok())
        return cli::storeFailure(saved);
    return cli::ExitOk;
}

int exportMany(const QCommandLineParser& parser, const cli::Command& command,
               const ExportOptions& options)
{
    const bool toMbox = parser.isSet(options.mbox);
    const QString path = parser.value(toMbox ? options.mbox : options.eml);
    if (path.isEmpty())
        return cli::usageError(command.name, toMbox ? QStringLiteral("--mbox needs a file name")
                                                    : QStringLiteral("--eml needs a directory"));
    if (path == QLatin1String("-"))
        return cli::usageError(command.name,
                               QStringLiteral("standard output takes one message: give its ID"));
    store::ListFilter filter;
    if (const std::optional<int> stop = options.select.fillFolder(parser, command, &filter))
        return *stop;
    if (const std::optional<int> stop = options.select.fill(parser, command, &filter))
        return *stop;

    store::ExportManyOptions exportOptions;
    exportOptions.eml = options.emlOptions(parser);
    exportOptions.replace = parser.isSet(options.force);
    // Rewritten when the percentage moves, not at every message of a long run.
    qsizetype shown = -1;
    exportOptions.progress = [&shown](const store::ExportProgress& progress) {
        const qsizetype percent = progress.done * 100 / progress.total;
        if (percent == shown)
            return;
        shown = percent;
        cli::progressLine(QStringLiteral("exported %1 of %2 (%3%)")
                              .arg(progress.done)
                              .arg(textout::counted(progress.total, "message"))
                              .arg(percent));
    };
    store::MessageStore messages;
    const store::ExportedMany exported =
        toMbox ? store::exportMbox(messages, filter, path, exportOptions)
               : store::exportEmlFiles(messages, filter, path, exportOptions);
    cli::progressLine(QString());
    for (const store::MessageProblem& damaged : exported.damaged)
        cli::warn(QStringLiteral("message %1: %2; what it holds is exported")
                      .arg(damaged.id)
                      .arg(damaged.status.text));
    for (const store::MessageProblem& skipped : exported.skipped) {
        if (skipped.status.code == store::ErrorCode::Exists)
            cli::warn(QStringLiteral("message %1 skipped: '%2' is there already; --force replaces "
                                     "it")
                          .arg(skipped.id)
                          .arg(store::emlFilePath(path, skipped.id)));
        else
            cli::warn(
                QStringLiteral("message %1 skipped: %2").arg(skipped.id).arg(skipped.status.text));
    }
    if (exported.status.code == store::ErrorCode::NotFound)
        return cli::notFound(QStringLiteral("no message is chosen; nothing was exported"));
    if (exported.status.code == store::ErrorCode::Exists)
        return cli::fail(QStringLiteral("'%1' is there already; --force replaces it").arg(path));
    if (!exported.status.ok())
        return cli::storeFailure(exported.status);
    QString summary = QStringLiteral("exported %1 to %2")
                          .arg(textout::counted(exported.exported, "message"), path);
    if (!exported.skipped.isEmpty())
        summary += QStringLiteral(" (%1 skipped)").arg(exported.skipped.size());
    cli::warn(summary);
    return exported.skipped.isEmpty() ? cli::ExitOk : cli::ExitFailed;
}

int runExport(const cli::Command& command, const QStringList& arguments)
{
    const ExportOptions options;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(
            " A mail program opens the file with the message's text and pictures: its "
            "sender and recipients (a phone number as +15550101@mms.invalid, named by its entry "
            "or its contact), subject, date and Message-ID, and its parts, a presentation (SMIL) "
            "part as the start of a multipart/related body. Text goes as UTF-8, every other "
            "part in base64. Bcc recipients are left out unless --bcc is given. With ID, the one "
            "message goes to --eml FILE. Without ID, the messages the options choose, as 'list' "
            "chooses and orders them, go to --eml DIR, a file each, or to --mbox FILE, all in one "
            "mbox file (mboxrd: each message after a line \"From <sender> <date in UTC>\", its "
            "lines that begin with \"From \" after any \">\" given one \">\" more, an empty line "
            "after it, LF line ends). A file is written whole or not at all; one that is there "
            "is kept, unless --force is given: the mbox file's or the one message's exit status "
            "is then %1, an .eml file of many is skipped. A chosen message whose mail file does "
            "not load is skipped with a warning; one whose mail file is damaged is exported with "
            "one. The run ends with a line on standard error, "
            "\"exported N messages to FILE (M skipped)\", and exit status %1 when one was "
            "skipped; while it runs, a terminal shows how far it has come. When no message is "
            "chosen, nothing is written and the exit status is %2.")
            .arg(cli::ExitFailed)
            .arg(cli::ExitNo));
    parser.addOptions({options.eml, options.mbox, options.force, options.bcc});
    parser.addOptions(options.select.withFolder());
    parser.addPositionalArgument(
        QStringLiteral("ID"),
        QStringLiteral("The message's id; without it, the messages the options choose."),
        QStringLiteral("[ID]"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0, 1))
        return *stop;
    if (parser.isSet(options.eml) && parser.isSet(options.mbox))
        return cli::usageError(command.name, QStringLiteral("--eml and --mbox exclude each other"));
    if (!parser.isSet(options.eml) && !parser.isSet(options.mbox))
        return cli::usageError(command.name, QStringLiteral("--eml or --mbox is required"));
    if (parser.positionalArguments().isEmpty())
        return exportMany(parser, command, options);
    if (parser.isSet(options.mbox))
        return cli::usageError(command.name,
                               QStringLiteral("--mbox takes the messages the options choose, not "
                                              "an ID"));
    if (options.select.anySet(parser))
        return cli::usageError(command.name,
                               QStringLiteral("the options that choose messages take no ID"));
    unsigned int id = 0;
    if (const std::optional<int> stop =
            cli::rowIdOf(command, parser.positionalArguments().constFirst(), &id))
        return *stop;
    if (parser.value(options.eml).isEmpty())
        return cli::usageError(command.name, QStringLiteral("--eml needs a file name"));
    return exportOne(parser, options, id);
}

} // namespace

QList<cli::Command> exportCommands()
{
    return {
        {QStringLiteral("export"),
         QStringLiteral("Writes messages as Internet mail: .eml files or one mbox file."),
         runExport},
    };
}
