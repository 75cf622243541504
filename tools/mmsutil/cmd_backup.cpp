// mmsutil backup: the whole store in one file, its messages, their rows, the settings and the
// address book, for a restore to make it again as it was.

#include "commands.h"
#include "mmshelpers.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>

namespace
{

namespace store = tavmms::store;

int runBackup(const cli::Command& command, const QStringList& arguments)
{
    const cli::SelectOptions select{QStringLiteral("Backs up")};
    const QCommandLineOption force(QStringLiteral("force"),
                                   QStringLiteral("Replaces FILE when it is there, once the new "
                                                  "backup is whole."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(
            " FILE is a tar archive compressed with zstd: each message's mail file as it is "
            "kept, every row of the message index (index.json), the MMS settings with the "
            "profiles, the block list and the sending options (settings.json), the address book "
            "with its owner (contacts.json), and last a manifest with the counts and the SHA-256 "
            "of every other member (manifest.json). The store stays in use meanwhile: a message "
            "that comes in after the rows were read is not in this backup. FILE is written "
            "whole or not at all, and may not lie inside the store's directories (exit status "
            "%1); one that is there is kept, and the exit status is %2, unless --force is given. "
            "On a terminal, standard error shows how far it is.")
            .arg(cli::ExitRefused)
            .arg(cli::ExitFailed));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The backup to write."));
    parser.addOptions({select.folder, select.since, select.until, force});
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const QString path = parser.positionalArguments().constFirst();
    if (path.isEmpty())
        return cli::usageError(command.name, QStringLiteral("FILE needs a name"));
    std::optional<unsigned int> folder;
    if (const std::optional<int> stop = cli::folderOf(parser, select.folder, command, &folder))
        return *stop;
    store::BackupFilter filter;
    filter.anyFolder = !folder;
    filter.folder = folder.value_or(0);
    if (const std::optional<int> stop =
            select.fillTimes(parser, command, &filter.since, &filter.until))
        return *stop;

    store::BackupOptions options;
    options.replace = parser.isSet(force);
    options.progress = [](qsizetype done, qsizetype total) {
        cli::progressLine(QStringLiteral("backed up %1 of %2 messages").arg(done).arg(total));
    };
    const store::Backup backup = store::backupStore(path, filter, options);
    cli::progressLine(QString());
    if (backup.status.code == store::ErrorCode::Exists)
        return cli::fail(QStringLiteral("'%1' is there already; --force replaces it").arg(path));
    if (backup.status.code == store::ErrorCode::Invalid) {
        cli::fail(backup.status.text);
        return cli::ExitRefused;
    }
    if (!backup.status.ok())
        return cli::storeFailure(backup.status);
    if (backup.withoutFile > 0)
        cli::warn(QStringLiteral("%1 rows had no mail file; their rows alone are in the backup")
                      .arg(backup.withoutFile));
    cli::out() << QStringLiteral("backed up %1, %2 bytes, to %3\n")
                      .arg(textout::counted(backup.messages, "message"))
                      .arg(backup.archiveBytes)
                      .arg(path);
    return cli::ExitOk;
}

} // namespace

QList<cli::Command> backupCommands()
{
    return {
        {QStringLiteral("backup"),
         QStringLiteral("Writes the messages, the settings and the address book into one file."),
         runBackup},
    };
}
