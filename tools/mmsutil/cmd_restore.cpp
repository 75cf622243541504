// mmsutil restore: a backup put back into the store, merged into the messages it keeps.

#include "commands.h"
#include "mmshelpers.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>

namespace
{

namespace store = tavmms::store;

// What the restore did, or with --dry-run would do, one line each.
void report(const store::Restore& restore, bool dryRun)
{
    const QString verb = dryRun ? QStringLiteral("would add") : QStringLiteral("added");
    cli::out() << QStringLiteral("%1 %2 (%3 with their mail files); %4 kept already\n")
                      .arg(verb, textout::counted(restore.messages, "message"))
                      .arg(restore.mailFiles)
                      .arg(restore.duplicates);
    if (restore.settingsReplaced)
        cli::out() << QStringLiteral("%1 the settings, profiles and owner, and the address book "
                                     "with %2\n")
                          .arg(dryRun ? QStringLiteral("would replace")
                                      : QStringLiteral("replaced"),
                               textout::counted(restore.contacts, "contact"));
    else
        cli::out() << QStringLiteral("kept the store's settings, profiles, owner and address book "
                                     "(--settings replaces them)\n");
    if (!restore.blocked.isEmpty())
        cli::out() << QStringLiteral("%1 to the block list: %2\n")
                          .arg(dryRun ? QStringLiteral("would add") : QStringLiteral("added"),
                               restore.blocked.join(QStringLiteral(", ")));
    for (const auto& [from, to] : restore.ids)
        cli::out() << QStringLiteral("message %1 is now %2\n").arg(from).arg(to);
}

int runRestore(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption settings(
        QStringLiteral("settings"),
        QStringLiteral("Replaces the settings, profiles, owner and address book with the "
                       "backup's also in a store that has messages or contacts."));
    const QCommandLineOption dryRun(QStringLiteral("dry-run"),
                                    QStringLiteral("Checks the backup and says what would "
                                                   "change, changing nothing."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(
            " FILE is a backup that mmsutil backup wrote. It is read whole and every member "
            "checked against its manifest before the store changes; a damaged one is refused "
            "(exit status %1). The messages get new ids, each mail file named after its own; a "
            "message the store keeps already (the same Message-ID and the same mail file) is not "
            "added again. The block list becomes the union of both. Into an empty store (no "
            "messages, no contacts) the settings, profiles, owner and address book are restored "
            "too; into another only with --settings, and then they replace the store's. All or "
            "nothing: a restore that is stopped is undone, or completed, by the store's next use. "
            "On a terminal, standard error shows how far it is.")
            .arg(cli::ExitRefused));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The backup to read."));
    parser.addOptions({settings, dryRun});
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const QString path = parser.positionalArguments().constFirst();
    if (path.isEmpty())
        return cli::usageError(command.name, QStringLiteral("FILE needs a name"));

    store::RestoreOptions options;
    options.settings = parser.isSet(settings);
    options.dryRun = parser.isSet(dryRun);
    options.progress = [](qsizetype done, qsizetype total) {
        cli::progressLine(QStringLiteral("restored %1 of %2 messages").arg(done).arg(total));
    };
    const store::Restore restore = store::restoreStore(path, options);
    cli::progressLine(QString());
    if (restore.status.code == store::ErrorCode::Invalid) {
        cli::fail(restore.status.text);
        return cli::ExitRefused;
    }
    if (!restore.status.ok())
        return cli::storeFailure(restore.status);
    report(restore, options.dryRun);
    return cli::ExitOk;
}

} // namespace

QList<cli::Command> restoreCommands()
{
    return {
        {QStringLiteral("restore"),
         QStringLiteral("Puts the messages, the settings and the address book of a backup back "
                        "into the store."),
         runRestore},
    };
}
