// mmsutil check: the message index against the mail file directory, one line per problem, and the
// repairs a person asks for.

#include "commands.h"
#include "indexrows.h"
#include "mailfilecheck.h"
#include "mmshelpers.h"

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QTextStream>

#include <dirent.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>

namespace
{

// A save writes the new file beside the old one under this suffix and renames it into place.
const QString kLeftoverSuffix = QStringLiteral(".tmp");

QString errnoText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// A file of one message in the mail file directory.
struct StoredFile {
    bool present = false;
    std::optional<cli::MailFileDefect> defect; // why it does not load completely

    bool loads() const { return present && !defect; }
};

// What the store holds of one message id.
struct Message {
    bool row = false;
    StoredFile mail;     // "<id>.mms"
    StoredFile leftover; // "<id>.mms.tmp"
};

// A name in the mail file directory that is no file of a message, with why.
struct OtherEntry {
    QString name;
    QString why;
};

// What the directory and the index hold.
struct Store {
    QString directory;
    QMap<unsigned int, Message> messages; // in id order
    QList<OtherEntry> others;             // in name order
    int rows = 0;
    int mailFiles = 0;
    int leftovers = 0;
};

// The name of the mail file of `id` within its directory, as the library names it.
QString mailFileName(unsigned int id)
{
    return QFileInfo(MMS_UTIL_Common::msgDBIDToMailFileName(id)).fileName();
}

// The id whose mail file is called `name`, or nothing for any other name ("017.mms" included).
std::optional<unsigned int> idOfMailFileName(const QString& name)
{
    const QString suffix = QStringLiteral(".mms");
    if (!name.endsWith(suffix))
        return std::nullopt;
    const std::optional<unsigned int> id = cli::parseNumber(name.chopped(suffix.size()));
    if (!id || mailFileName(*id) != name)
        return std::nullopt;
    return id;
}

// Sorts `name` into the mail files, the leftovers of a save and the other entries of `store`.
void addEntry(Store* store, const QString& name)
{
    const QString path = store->directory + name;
    const bool isLeftover = name.endsWith(kLeftoverSuffix);
    const std::optional<unsigned int> id =
        idOfMailFileName(isLeftover ? name.chopped(kLeftoverSuffix.size()) : name);
    const QFileInfo info(path);
    if (!id) {
        store->others.append({name, info.isDir() ? QStringLiteral("a directory")
                                                 : QStringLiteral("not a mail file name")});
        return;
    }
    if (!info.isFile()) {
        store->others.append({name, QStringLiteral("not a regular file")});
        return;
    }
    StoredFile& file = isLeftover ? store->messages[*id].leftover : store->messages[*id].mail;
    file.present = true;
    file.defect = cli::mailFileDefect(path);
    ++(isLeftover ? store->leftovers : store->mailFiles);
}

using Directory = std::unique_ptr<DIR, int (*)(DIR*)>;

bool directoryFailure(const QString& directory, int error)
{
    cli::fail(QStringLiteral("cannot read the mail file directory '%1': %2")
                  .arg(directory, errnoText(error)));
    return false;
}

// Reads the mail file directory into `store`. A directory that does not exist reads as empty and
// sets `missing`. Gives false after reporting when the directory cannot be read.
bool readDirectory(Store* store, bool* missing)
{
    const QByteArray path = QFile::encodeName(store->directory);
    const Directory directory(opendir(path.constData()), closedir);
    const int error = errno;
    *missing = !directory && error == ENOENT;
    if (*missing)
        return true;
    if (!directory)
        return directoryFailure(store->directory, error);
    QStringList names;
    for (;;) {
        errno = 0; // readdir() tells the end from an error by it alone
        const dirent* entry = readdir(directory.get());
        if (!entry)
            break;
        const QString name = QFile::decodeName(entry->d_name);
        if (name != QLatin1String(".") && name != QLatin1String(".."))
            names.append(name);
    }
    if (errno != 0)
        return directoryFailure(store->directory, errno);
    names.sort();
    for (const QString& name : names)
        addEntry(store, name);
    return true;
}

// Reads every row of the open index into `store`. Gives false after reporting.
bool readRows(Store* store)
{
    const int r =
        indexrows::forEachRow(std::nullopt, [store](unsigned int id, const MMS_UTIL_DBStruct_T&) {
            store->messages[id].row = true;
            ++store->rows;
        });
    if (r == DB_OK)
        return true;
    cli::databaseFailure(QStringLiteral("cannot read the message index"), r);
    return false;
}

// "1 row", "2 rows".
QString counted(int count, const char* what)
{
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(what)) +
           (count == 1 ? QString() : QStringLiteral("s"));
}

// "3 mail files", "1 mail file and 2 leftovers".
QString filesCounted(const Store& store)
{
    const QString mailFiles = counted(store.mailFiles, "mail file");
    return store.leftovers == 0
               ? mailFiles
               : mailFiles + QStringLiteral(" and ") + counted(store.leftovers, "leftover");
}

// Prints the problems of the store one line each and, when asked, repairs them.
class Checker
{
public:
    Checker(const QString& directory, bool repair, bool force)
        : directory_(directory), repair_(repair), force_(force)
    {
    }

    // Checks the files and the row of message `id`, in an order in which each repair leaves the
    // next check the message as it now stands: a file that does not load goes first (with
    // --force), so that a leftover that loads completely can take its place.
    void check(unsigned int id, Message& message)
    {
        const QString name = mailFileName(id);
        if (message.mail.present && message.mail.defect) {
            const QString text =
                QStringLiteral("%1: does not load (%2)").arg(name, message.mail.defect->why);
            // What could not be read may well be whole: it is for a person to look at.
            if (message.mail.defect->unreadable)
                kept(text, QStringLiteral("a file that cannot be read is never deleted"));
            else if (forced(text, QStringLiteral("deletes it"), QStringLiteral("deleted"),
                            [&] { return remove(name); }))
                message.mail = StoredFile();
        }
        if (message.leftover.present && checkLeftover(name, message))
            message.leftover = StoredFile();
        if (message.row && !message.mail.present) {
            if (forced(QStringLiteral("row %1: no mail file %2").arg(id).arg(name),
                       QStringLiteral("deletes the row"), QStringLiteral("row deleted"),
                       [&] { return deleteRow(id); }))
                message.row = false;
        }
        if (!message.row && message.mail.loads()) {
            if (forced(QStringLiteral("%1: no row").arg(name), QStringLiteral("deletes it"),
                       QStringLiteral("deleted"), [&] { return remove(name); }))
                message.mail = StoredFile();
        }
    }

    int problems() const { return problems_; }
    int repaired() const { return repaired_; }

private:
    // The leftover of a save of `name`; true when it is gone or has become the mail file.
    bool checkLeftover(const QString& name, Message& message)
    {
        const QString leftover = name + kLeftoverSuffix;
        const QString start = leftover + QStringLiteral(": left by an interrupted save");
        if (message.leftover.loads() && (!message.mail.present || message.mail.defect)) {
            const auto renameIt = [&] { return rename(leftover, name); };
            // The save got as far as removing the old file, and the new one is whole. Beside a
            // mail file that does not load (kept without --force) it may be the only whole copy.
            const bool done =
                message.mail.present
                    ? forced(start + QStringLiteral(" beside %1, which does not load; this loads "
                                                    "completely")
                                         .arg(name),
                             QStringLiteral("puts it in place of %1").arg(name),
                             QStringLiteral("put in place of %1").arg(name), renameIt)
                    : repairable(start + QStringLiteral(", %1 is missing and this loads "
                                                        "completely")
                                             .arg(name),
                                 QStringLiteral("renamed to %1").arg(name), renameIt);
            if (done)
                message.mail = message.leftover;
            return done;
        }
        const QString text =
            message.mail.present
                ? start + QStringLiteral(" beside %1").arg(name)
                : start + QStringLiteral(", does not load (%1)").arg(message.leftover.defect->why);
        return repairable(text, QStringLiteral("removed"), [&] { return remove(leftover); });
    }

    // A problem that --repair repairs; true when it was.
    bool repairable(const QString& text, const QString& done, const std::function<bool()>& repair)
    {
        return settle(text, repair_, QString(), done, repair);
    }

    // A problem that only --repair --force repairs, by doing what `would` says; true when it was.
    bool forced(const QString& text, const QString& would, const QString& done,
                const std::function<bool()>& repair)
    {
        return settle(text, repair_ && force_, QStringLiteral("--force ") + would, done, repair);
    }

    // A problem that no repair touches, for the reason `why`.
    void kept(const QString& text, const QString& why) { settle(text, false, why, QString(), {}); }

    // Prints `text` as one problem. When `allowed`, `repair` is tried first and the line ends in
    // `done` or "failed" (why is on standard error); with --repair a line of a problem left alone
    // ends in why it was, `keptBecause`.
    bool settle(const QString& text, bool allowed, const QString& keptBecause, const QString& done,
                const std::function<bool()>& repair)
    {
        ++problems_;
        QTextStream& out = cli::out();
        if (!allowed) {
            out << text;
            if (repair_)
                out << " -> kept (" << keptBecause << ')';
            out << '\n';
            return false;
        }
        out.flush(); // the lines so far come before what the repair reports
        const bool ok = repair();
        out << text << " -> " << (ok ? done : QStringLiteral("failed")) << '\n';
        if (ok)
            ++repaired_;
        return ok;
    }

    bool remove(const QString& name)
    {
        QFile file(directory_ + name);
        if (file.remove())
            return true;
        cli::fail(
            QStringLiteral("cannot remove '%1': %2").arg(file.fileName(), file.errorString()));
        return false;
    }

    bool rename(const QString& from, const QString& to)
    {
        const QString source = directory_ + from;
        const QString target = directory_ + to;
        if (std::rename(QFile::encodeName(source).constData(),
                        QFile::encodeName(target).constData()) == 0)
            return true;
        cli::fail(
            QStringLiteral("cannot rename '%1' to '%2': %3").arg(source, target, errnoText(errno)));
        return false;
    }

    bool deleteRow(unsigned int id)
    {
        const QString what = QStringLiteral("cannot delete row %1").arg(id);
        int r = MMS_UTIL_DBTable::del(id);
        if (r == DB_OK)
            r = indexrows::commitOrAbort();
        if (r == DB_OK)
            return true;
        cli::databaseFailure(what, r);
        return false;
    }

    QString directory_;
    bool repair_;
    bool force_;
    int problems_ = 0;
    int repaired_ = 0;
};

int runCheck(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption repair(
        QStringLiteral("repair"),
        QStringLiteral("Renames a leftover of a save into place when its mail file is missing and "
                       "it loads completely; removes the other leftovers."));
    const QCommandLineOption force(
        QStringLiteral("force"),
        QStringLiteral("With --repair, also deletes mail files that do not load (a leftover that "
                       "loads completely then takes the place of one), mail files without a row "
                       "and rows without a mail file."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral("\n\n"
                       "Prints one line per problem, then a summary line:\n"
                       "  row N: no mail file N.mms\n"
                       "  N.mms: no row\n"
                       "  N.mms: does not load (why)\n"
                       "  N.mms.tmp: left by an interrupted save, ...\n"
                       "Other names in the mail file directory are listed as left alone and are\n"
                       "never touched. With --repair each line ends in what became of the\n"
                       "problem; run it while no application writes messages.\n"
                       "--force deletes no mail file that cannot be read.\n"
                       "Mail files without a message index stop the check: nothing is judged.\n"
                       "\n"
                       "Exit status: 0 the store is consistent or was repaired fully, 1 problems\n"
                       "remain or the check failed, 2 wrong command line."));
    parser.addOptions({repair, force});
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    if (parser.isSet(force) && !parser.isSet(repair))
        return cli::usageError(command.name, QStringLiteral("--force only goes with --repair"));

    // A check makes nothing it was not asked to repair, an index no more than anything else.
    const indexrows::IndexTable table(indexrows::IndexTable::LeaveMissing);
    if (!table.isMissing()) {
        if (const int status = cli::openStatus(table))
            return status;
    }
    Store store;
    store.directory = MMS_UTIL_Common::getMailFileDir();
    bool missing = false;
    if ((table.isOpen() && !readRows(&store)) || !readDirectory(&store, &missing))
        return cli::ExitFailed;
    // Rows against a directory that is not there are more likely a wrong TAV_LOCAL_DOWNLOAD_PATH
    // than messages that all went missing, and mail files without any index a wrong
    // TAV_PLATFORM_DIR: nothing is judged, and nothing deleted.
    if (missing && store.rows > 0)
        return cli::fail(QStringLiteral("the mail file directory '%1' does not exist, but the "
                                        "index holds %2; check TAV_LOCAL_DOWNLOAD_PATH")
                             .arg(store.directory, counted(store.rows, "row")));
    if (table.isMissing() && !store.messages.isEmpty())
        return cli::fail(QStringLiteral("there is no message index in '%1', but the mail file "
                                        "directory holds %2; check TAV_PLATFORM_DIR")
                             .arg(indexrows::databasePath(), filesCounted(store)));

    Checker checker(store.directory, parser.isSet(repair), parser.isSet(force));
    for (auto it = store.messages.begin(); it != store.messages.end(); ++it)
        checker.check(it.key(), it.value());
    for (const OtherEntry& other : store.others)
        cli::out() << other.name << ": " << other.why << ", left alone\n";

    QTextStream& out = cli::out();
    out << "checked " << counted(store.rows, "row") << " and "
        << counted(store.mailFiles, "mail file") << " in " << store.directory << ": ";
    const int remaining = checker.problems() - checker.repaired();
    if (checker.problems() == 0)
        out << "no problems\n";
    else if (!parser.isSet(repair))
        out << counted(checker.problems(), "problem") << '\n';
    else
        out << counted(checker.problems(), "problem") << ", " << checker.repaired() << " repaired, "
            << remaining << " remain" << (remaining == 1 ? "s" : "") << '\n';
    return remaining == 0 ? cli::ExitOk : cli::ExitFailed;
}

} // namespace

QList<cli::Command> checkCommands()
{
    return {{QStringLiteral("check"),
             QStringLiteral("Compares the message index with the mail file directory."), runCheck}};
}
