// A power cut in the middle of an mmsutil command that changes the store. The command runs with
// the library of tests/powercut preloaded, which kills it at its N-th call that changes or syncs a
// file under the store and keeps what a power cut would have left: only what was synced. The store
// is rebuilt from that, for N = 1, 2, ... until the command completes (and once more after it
// completes, as a cut right after it returns). Whatever the cut, the messages kept before stay
// whole, the command's own message is whole or not there (a delete's, whose rows go first, may
// leave its whole mail file without its row, for a check to report), and the store takes new
// messages. A transaction with the MMSC that a cut stopped is completed by running it again.

#include "mail_file_io.h"
#include "mail_file_reader.h"

#include "support/message_store.h"
#include "support/mmsc_server.h"
#include "support/pdu_helpers.h"
#include "support/sql_queries.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>

namespace
{

namespace fs = std::filesystem;
using tavmms_test::MmscServer;
using tavmms_test::ToolResult;

// More calls than any store command makes: a command still not completed then never will.
const long kMostCuts = 2000;

struct Message {
    unsigned id = 0;
    QByteArray body;
};

// Builds directory `dir` anew as the journal's directory `identity` was last synced, and what is
// under it: a file holds the content last synced for its inode, nothing when it never was.
void rebuild(const fs::path& journal, const std::string& identity, const fs::path& dir)
{
    std::ifstream entries(journal / "dirs" / identity);
    std::string type;
    std::string child;
    std::string name;
    while (entries >> type >> child && entries.get() == ' ' && std::getline(entries, name)) {
        const fs::path path = dir / name;
        if (type == "d") {
            fs::create_directory(path);
            rebuild(journal, child, path);
        } else if (fs::exists(journal / "files" / child)) {
            fs::copy_file(journal / "files" / child, path);
        } else {
            std::ofstream{path};
        }
    }
}

// Gives `root` back what a power cut left of it, as the journal of the cut command tells.
void restore(const fs::path& journal, const fs::path& root)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(root))
        fs::remove_all(entry.path());
    std::ifstream rootIdentity(journal / "root");
    std::string identity;
    ASSERT_TRUE(rootIdentity >> identity) << "the journal has no root: " << journal;
    rebuild(journal, identity, root);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// What a cut leaves: only what was synced, or, when the process alone is killed, everything it
// wrote.
enum class Cut { PowerCut, Kill };

class PowerCutTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
#ifndef TAVMMS_POWERCUT_SHIM
        GTEST_SKIP() << "in a sanitizer build the preloaded library would come before the "
                        "sanitizer's runtime, which must be loaded first";
#endif
        ASSERT_TRUE(inputs.isValid() && setup.isValid() && work.isValid() && journal.isValid());
        for (int i = 1; i <= 3; ++i) {
            const Message message = compose(setup.path(), "kept body " + QByteArray::number(i) +
                                                              QByteArray(64 * i, char(i)));
            ASSERT_NE(message.id, 0u);
            kept.append(message);
        }
    }

    QString bodyFile(const QByteArray& body)
    {
        const QString path = inputs.filePath(QStringLiteral("body%1").arg(++bodies));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(body) == body.size());
        return path;
    }

    static QString mailFile(const QString& store, unsigned id)
    {
        return store + QStringLiteral("/download/mms/mailfile/%1.mms").arg(id);
    }

    ToolResult run(const QString& store, const QStringList& arguments)
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), store, arguments);
    }

    // Composes a message with `body` in `store`; its id is 0 after a failure.
    Message compose(const QString& store, const QByteArray& body)
    {
        const ToolResult result =
            run(store, {QStringLiteral("compose"), QStringLiteral("--to"),
                        QStringLiteral("+15550101"), QStringLiteral("--subject"),
                        QStringLiteral("Hello"), QStringLiteral("--body"), bodyFile(body)});
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        return Message{result.out.split(' ').constFirst().toUInt(), body};
    }

    // Makes the work store a copy of the kept one, and runs runCutAt() on it.
    bool runOnACopyCutAt(const QStringList& arguments, long at)
    {
        for (QTemporaryDir* dir : {&work, &journal}) {
            for (const fs::directory_entry& entry :
                 fs::directory_iterator(dir->path().toStdString()))
                fs::remove_all(entry.path());
        }
        fs::copy(setup.path().toStdString(), work.path().toStdString(),
                 fs::copy_options::recursive);
        return runCutAt(arguments, at);
    }

    // Runs mmsutil `arguments` on the work store, killed at its call `at`; whether it was.
    bool runCutAt(const QStringList& arguments, long at)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TAV_PLATFORM_DIR"), work.filePath("platform"));
        environment.insert(QStringLiteral("TAV_LOCAL_DOWNLOAD_PATH"), work.filePath("download"));
        environment.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
#ifdef TAVMMS_POWERCUT_SHIM
        environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(TAVMMS_POWERCUT_SHIM));
#endif
        environment.insert(QStringLiteral("TAVMMS_POWERCUT_ROOT"), work.path());
        environment.insert(QStringLiteral("TAVMMS_POWERCUT_JOURNAL"), journal.path());
        environment.insert(QStringLiteral("TAVMMS_POWERCUT_AT"), QString::number(at));
        QProcess process;
        process.setWorkingDirectory(work.path());
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(TAVMMS_MMSUTIL_PATH), arguments);
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished(30000)) << "the command hung";
        const bool cut = QFile::exists(journal.filePath(QStringLiteral("cut")));
        EXPECT_EQ(process.exitStatus() == QProcess::CrashExit, cut)
            << process.readAllStandardError().toStdString();
        if (!cut) {
            EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        }
        return cut;
    }

    // The ids of the rows that `mmsutil list` gives; the first use of the store after the cut,
    // which completes what the cut left.
    QList<unsigned> listedIds()
    {
        const ToolResult result =
            run(work.path(), {QStringLiteral("list"), QStringLiteral("--json")});
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        QList<unsigned> ids;
        for (const QJsonValue row : QJsonDocument::fromJson(result.out).array())
            ids.append(unsigned(row.toObject().value(QStringLiteral("id")).toInt()));
        return ids;
    }

    // Whether message `id` of the work store has a mail file that loads whole with `body`.
    bool loadsWith(unsigned id, const QByteArray& body)
    {
        QString error;
        const auto loaded = tavmms::store::loadMailFile(mailFile(work.path(), id), &error);
        if (!loaded) {
            ADD_FAILURE() << error.toStdString();
            return false;
        }
        return QByteArray(reinterpret_cast<const char*>(loaded->body.get()),
                          qsizetype(loaded->bodyLength)) == body;
    }

    // What `mmsutil check` finds is at most a mail file without a row, of a message not kept or
    // of one being deleted (`deleting`: its row went first), and the row of a message of
    // `changing`, whose file was replaced, not yet following its new header. A killed add may
    // also leave its mail file, whole or in part, under its temporary name, with no row either.
    void expectOnlyFilesWithoutRows(const QList<unsigned>& changing, bool deleting)
    {
        const ToolResult result = run(work.path(), {QStringLiteral("check")});
        const QList<QByteArray> lines = result.out.trimmed().split('\n');
        for (qsizetype i = 0; i + 1 < lines.size(); ++i) {
            const QByteArray& line = lines[i];
            const unsigned id = line.left(line.indexOf('.')).toUInt();
            const bool behind =
                changing.contains(id) && line.contains(": its header does not match");
            const bool ownFile = !isKept(id) || (deleting && changing.contains(id));
            const bool fileWithoutRow = line.endsWith(".mms: no row") ||
                                        line.contains(".mms.tmp: left by an interrupted save");
            EXPECT_TRUE(behind || (fileWithoutRow && ownFile)) << line.toStdString();
        }
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
    }

    // The ids of `ids` that are not of the kept messages.
    QList<unsigned> addedIds(const QList<unsigned>& ids) const
    {
        QList<unsigned> added;
        for (const unsigned id : ids) {
            if (!isKept(id))
                added.append(id);
        }
        return added;
    }

    // Message `id` of the work store as `mmsutil show --json` gives it, whatever its exit status:
    // a mail file that a cut left ahead of its row is shown all the same.
    QJsonObject shown(unsigned id)
    {
        const ToolResult result = run(
            work.path(), {QStringLiteral("show"), QString::number(id), QStringLiteral("--json")});
        return QJsonDocument::fromJson(result.out).object();
    }

    QString stateOf(unsigned id)
    {
        return shown(id).value(QStringLiteral("stateName")).toString();
    }

    // Runs mmsutil `arguments` on the work store, as a person would after the cut, expecting it
    // to complete.
    void runAgain(const QStringList& arguments)
    {
        const ToolResult again = run(work.path(), arguments);
        EXPECT_EQ(again.exitCode, 0) << again.out.toStdString() << again.err.toStdString();
    }

    // Message `id` is the fetched message, whole: a notification that the cut left waiting, its
    // message perhaps in place of its mail file already, is fetched again first. Whether it was.
    bool expectFetchedOrFetchedAgain(unsigned id, bool completed, const QStringList& toMmsc)
    {
        const bool again = stateOf(id) != QLatin1String("received");
        if (again) {
            EXPECT_FALSE(completed);
            runAgain(QStringList{QStringLiteral("fetch"), QString::number(id)} + toMmsc);
        }
        EXPECT_EQ(stateOf(id), QStringLiteral("received"));
        EXPECT_TRUE(loadsWith(id, tavmms_test::twoPartBody())) << id;
        return again;
    }

    bool isKept(unsigned id) const
    {
        return std::any_of(kept.begin(), kept.end(),
                           [id](const Message& message) { return message.id == id; });
    }

    // A new message takes an id of its own: every mail file there stays as it is.
    void expectComposeReplacesNothing()
    {
        const QDir directory(work.filePath(QStringLiteral("download/mms/mailfile")));
        QMap<QString, QByteArray> before;
        for (const QString& name : tavmms_test::namesIn(directory.path()))
            before.insert(name, contentOf(directory.filePath(name)));
        const Message added = compose(work.path(), "a body after the cut");
        ASSERT_NE(added.id, 0u);
        EXPECT_FALSE(before.contains(QStringLiteral("%1.mms").arg(added.id))) << added.id;
        for (auto it = before.cbegin(); it != before.cend(); ++it)
            EXPECT_EQ(contentOf(directory.filePath(it.key())), it.value())
                << it.key().toStdString();
        EXPECT_TRUE(loadsWith(added.id, added.body));
    }

    // Runs `operation` on a copy of the kept store, cut at each of its calls in turn, and checks
    // the store each cut leaves: the kept messages but those `changed` stay as they were, and
    // `checkOwn` judges the rows listed, knowing whether the operation completed. An operation
    // that `deletes` may leave the files of those changed without their rows. Gives the number of
    // cut points.
    long cutEverywhere(const QStringList& operation, const QList<unsigned>& changed,
                       const std::function<void(const QList<unsigned>&, bool)>& checkOwn,
                       bool deletes = false, Cut kind = Cut::PowerCut)
    {
        for (long at = 1; at <= kMostCuts; ++at) {
            const bool cut = runOnACopyCutAt(operation, at);
            SCOPED_TRACE(cut ? "cut at " +
                                   contentOf(journal.filePath(QStringLiteral("cut"))).toStdString()
                             : "after all " + std::to_string(at - 1) + " calls");
            if (kind == Cut::PowerCut)
                restore(journal.path().toStdString(), work.path().toStdString());
            const QList<unsigned> ids = listedIds();
            for (const Message& message : kept) {
                if (changed.contains(message.id))
                    continue;
                EXPECT_TRUE(ids.contains(message.id)) << message.id;
                EXPECT_EQ(contentOf(mailFile(work.path(), message.id)),
                          contentOf(mailFile(setup.path(), message.id)))
                    << message.id;
            }
            checkOwn(ids, !cut);
            expectOnlyFilesWithoutRows(cut ? changed : QList<unsigned>(), deletes);
            expectComposeReplacesNothing();
            if (HasFailure()) {
                ADD_FAILURE() << "the calls up to the cut:\n"
                              << contentOf(journal.filePath(QStringLiteral("calls"))).toStdString();
                return at;
            }
            if (!cut)
                return at - 1;
        }
        ADD_FAILURE() << operation.join(' ').toStdString() << " is cut after " << kMostCuts
                      << " calls still";
        return kMostCuts;
    }

    // For an add: the one new row, when there is one, has its whole mail file; the add that
    // completed has its row.
    void checkAdd(const QStringList& operation, const QByteArray& body)
    {
        const long cuts =
            cutEverywhere(operation, {}, [&](const QList<unsigned>& ids, bool completed) {
                const QList<unsigned> added = addedIds(ids);
                EXPECT_LE(added.size(), 1);
                if (completed) {
                    EXPECT_EQ(added.size(), 1);
                }
                for (const unsigned id : added)
                    EXPECT_TRUE(loadsWith(id, body)) << id;
            });
        EXPECT_TRUE(databaseSyncWatched());
        std::cout << operation.constFirst().toStdString() << ": " << cuts << " cut points\n";
    }

    // Whether the last command's commit was seen syncing the database's log: were SQLite's own
    // calls not watched, the cuts would spare the database.
    bool databaseSyncWatched()
    {
        const QByteArray log = QFile::encodeName(QFileInfo(work.path()).canonicalFilePath()) +
                               "/platform/device.db-wal";
        return contentOf(journal.filePath(QStringLiteral("calls")))
            .contains("fdatasync " + log + '\n');
    }

    QTemporaryDir inputs;
    QTemporaryDir setup;   // the store with the kept messages
    QTemporaryDir work;    // the store each cut command runs on
    QTemporaryDir journal; // what the cut command left durable
    QList<Message> kept;
    int bodies = 0;
};

TEST_F(PowerCutTest, ComposeCutAtAnyCallKeepsEveryKeptMessage)
{
    const QByteArray body = "the composed body \x01\x02";
    checkAdd({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550102"),
              QStringLiteral("--subject"), QStringLiteral("New"), QStringLiteral("--body"),
              bodyFile(body)},
             body);
}

TEST_F(PowerCutTest, ReceiveCutAtAnyCallKeepsEveryKeptMessage)
{
    const QByteArray body = "the received body \x03\x04";
    checkAdd({QStringLiteral("receive"), bodyFile(body), QStringLiteral("--from"),
              QStringLiteral("+15550103"), QStringLiteral("--subject"), QStringLiteral("In")},
             body);
}

TEST_F(PowerCutTest, ReceiveOfAPduCutAtAnyCallKeepsEveryKeptMessage)
{
    const QByteArray pdu = tavmms_test::retrieveConfPdu(
        {tavmms::pdu::HeaderField::from(QStringLiteral("+15550105/TYPE=PLMN"))});
    checkAdd({QStringLiteral("receive"), QStringLiteral("--pdu"), bodyFile(pdu)},
             tavmms_test::twoPartBody());
}

// The rows of a delete go first: a cut leaves each message whole, or without its row, its mail file
// whole or gone; a delete that completed leaves neither.
TEST_F(PowerCutTest, DeleteCutAtAnyCallLeavesTheMessageWholeOrWithoutItsRow)
{
    const Message victim = kept.value(1);
    const long cuts = cutEverywhere(
        {QStringLiteral("delete"), QString::number(victim.id)}, {victim.id},
        [&](const QList<unsigned>& ids, bool completed) {
            EXPECT_FALSE(completed && ids.contains(victim.id));
            const QString file = mailFile(work.path(), victim.id);
            EXPECT_FALSE(completed && QFile::exists(file));
            if (ids.contains(victim.id) || QFile::exists(file)) {
                EXPECT_EQ(contentOf(file), contentOf(mailFile(setup.path(), victim.id)));
            }
        },
        true);
    EXPECT_TRUE(databaseSyncWatched());
    std::cout << "delete: " << cuts << " cut points\n";
}

TEST_F(PowerCutTest, DeleteOfSeveralCutAtAnyCallDeletesAllTheirRowsOrNone)
{
    const QList<unsigned> victims{kept.value(0).id, kept.value(2).id};
    const long cuts = cutEverywhere(
        {QStringLiteral("delete"), QString::number(victims[0]), QString::number(victims[1])},
        victims,
        [&](const QList<unsigned>& ids, bool completed) {
            EXPECT_EQ(ids.contains(victims[0]), ids.contains(victims[1]));
            EXPECT_FALSE(completed && ids.contains(victims[0]));
            for (const unsigned id : victims) {
                const QString file = mailFile(work.path(), id);
                EXPECT_FALSE(completed && QFile::exists(file)) << id;
                if (ids.contains(id) || QFile::exists(file)) {
                    EXPECT_EQ(contentOf(file), contentOf(mailFile(setup.path(), id))) << id;
                }
            }
        },
        true);
    EXPECT_TRUE(databaseSyncWatched());
    std::cout << "delete of two: " << cuts << " cut points\n";
}

TEST_F(PowerCutTest, ReplacingAMailFileCutAtAnyCallLeavesTheOldOrTheNewFile)
{
    const Message victim = kept.value(1);
    const QByteArray body = "the replacing body \x05\x06";
    const long cuts = cutEverywhere(
        {QStringLiteral("mailfile"), QStringLiteral("write"), QStringLiteral("--id"),
         QString::number(victim.id), QStringLiteral("--replace"), QStringLiteral("--from"),
         QStringLiteral("+15550100"), QStringLiteral("--to"), QStringLiteral("+15550104"),
         QStringLiteral("--body"), bodyFile(body)},
        {victim.id}, [&](const QList<unsigned>& ids, bool completed) {
            EXPECT_TRUE(ids.contains(victim.id));
            const bool old = contentOf(mailFile(work.path(), victim.id)) ==
                             contentOf(mailFile(setup.path(), victim.id));
            EXPECT_TRUE(completed ? loadsWith(victim.id, body) : old || loadsWith(victim.id, body));
        });
    std::cout << "mailfile write --replace: " << cuts << " cut points\n";
}

TEST_F(PowerCutTest, RebuildCutAtAnyCallLosesNoMailFileAndTheNextRebuildCompletesIt)
{
    // The index is emptied, and the database goes on counting: every file gets a new name.
    ASSERT_EQ(tavmms_test::lookInto(setup.filePath(QStringLiteral("platform/device.db")))
                  ->exec("DELETE FROM mms_table_in_flash"),
              tavplatform::sql::Status::Ok);
    QList<QByteArray> files;
    for (const Message& message : kept)
        files << contentOf(mailFile(setup.path(), message.id));
    std::sort(files.begin(), files.end());
    const QDir directory(work.filePath(QStringLiteral("download/mms/mailfile")));
    long at = 1;
    for (; at <= kMostCuts; ++at) {
        const bool cut =
            runOnACopyCutAt({QStringLiteral("check"), QStringLiteral("--rebuild")}, at);
        SCOPED_TRACE(cut ? "cut at " +
                               contentOf(journal.filePath(QStringLiteral("cut"))).toStdString()
                         : "after all " + std::to_string(at - 1) + " calls");
        restore(journal.path().toStdString(), work.path().toStdString());
        const auto contents = [&] {
            QList<QByteArray> found;
            for (const QString& name : tavmms_test::namesIn(directory.path()))
                found << contentOf(directory.filePath(name));
            std::sort(found.begin(), found.end());
            return found;
        };
        EXPECT_EQ(contents(), files);
        const ToolResult again =
            run(work.path(), {QStringLiteral("check"), QStringLiteral("--rebuild")});
        EXPECT_EQ(again.exitCode, 0) << again.out.toStdString() << again.err.toStdString();
        const QList<unsigned> ids = listedIds();
        EXPECT_EQ(ids.size(), kept.size());
        QList<QByteArray> listed;
        for (const unsigned id : ids)
            listed << contentOf(mailFile(work.path(), id));
        std::sort(listed.begin(), listed.end());
        EXPECT_EQ(listed, files);
        if (HasFailure()) {
            ADD_FAILURE() << "the calls up to the cut:\n"
                          << contentOf(journal.filePath(QStringLiteral("calls"))).toStdString();
            break;
        }
        if (!cut)
            break;
    }
    std::cout << "check --rebuild: " << at - 1 << " cut points\n";
}

// A test MMSC, answering every request with `answer`.
class AnsweringMmsc
{
public:
    explicit AnsweringMmsc(const QJsonObject& answer = {}) : server_(MmscServer::script({}, answer))
    {
    }

    bool started() const { return server_.started(); }
    QUrl url(const QString& path) const { return server_.url(path); }
    // The option that makes a command talk to it.
    QStringList option() const { return {QStringLiteral("--mmsc"), server_.url().toString()}; }

private:
    const MmscServer server_;
};

// The commands cut by a power cut, which drops what was not synced, and killed (kill -9), which
// leaves all they wrote.
class CutOrKillTest : public PowerCutTest, public ::testing::WithParamInterface<Cut>
{
protected:
    long cutOrKillEverywhere(const QStringList& operation,
                             const std::function<void(const QList<unsigned>&, bool)>& checkOwn)
    {
        return cutEverywhere(operation, {}, checkOwn, false, GetParam());
    }

    void printCuts(const char* operation, long cuts) const
    {
        std::cout << operation << (GetParam() == Cut::Kill ? " (kill)" : "") << ": " << cuts
                  << " cut points\n";
    }
};

// A notification is kept first, then its message fetched into its place: a cut leaves no new
// message, or the notification, which a fetch then completes, or the message whole.
TEST_P(CutOrKillTest, NotifyCutAtAnyCallLeavesTheNotificationToFetchAgainOrTheMessage)
{
    const AnsweringMmsc mmsc;
    const AnsweringMmsc content(MmscServer::body(tavmms_test::retrievedMessagePdu()));
    ASSERT_TRUE(mmsc.started() && content.started());
    const QString notification =
        bodyFile(tavmms_test::notificationIndPdu(content.url(QStringLiteral("/get/1"))));
    int fetchedAgain = 0;
    const long cuts =
        cutOrKillEverywhere(QStringList{QStringLiteral("notify"), notification} + mmsc.option(),
                            [&](const QList<unsigned>& ids, bool completed) {
                                const QList<unsigned> added = addedIds(ids);
                                EXPECT_LE(added.size(), 1);
                                if (completed) {
                                    EXPECT_EQ(added.size(), 1);
                                }
                                for (const unsigned id : added)
                                    fetchedAgain +=
                                        expectFetchedOrFetchedAgain(id, completed, mmsc.option());
                            });
    EXPECT_GT(fetchedAgain, 0);
    EXPECT_TRUE(databaseSyncWatched());
    printCuts("notify", cuts);
}

TEST_P(CutOrKillTest, FetchCutAtAnyCallLeavesTheNotificationToFetchAgainOrTheMessage)
{
    const AnsweringMmsc mmsc;
    const AnsweringMmsc content(MmscServer::body(tavmms_test::retrievedMessagePdu()));
    ASSERT_TRUE(mmsc.started() && content.started());
    // Kept deferred in the store every cut starts from.
    ASSERT_EQ(run(setup.path(), {QStringLiteral("settings"), QStringLiteral("set"),
                                 QStringLiteral("auto-retrieval"), QStringLiteral("off")})
                  .exitCode,
              0);
    const ToolResult notified =
        run(setup.path(), QStringList{QStringLiteral("notify"),
                                      bodyFile(tavmms_test::notificationIndPdu(
                                          content.url(QStringLiteral("/get/2")))),
                                      QStringLiteral("--json")} +
                              mmsc.option());
    ASSERT_EQ(notified.exitCode, 0) << notified.err.toStdString();
    const unsigned id = unsigned(
        QJsonDocument::fromJson(notified.out).object().value(QStringLiteral("id")).toInt());
    ASSERT_NE(id, 0u);

    int fetchedAgain = 0;
    const long cuts = cutOrKillEverywhere(
        QStringList{QStringLiteral("fetch"), QString::number(id)} + mmsc.option(),
        [&](const QList<unsigned>& ids, bool completed) {
            EXPECT_EQ(addedIds(ids), QList<unsigned>{id});
            fetchedAgain += expectFetchedOrFetchedAgain(id, completed, mmsc.option());
        });
    EXPECT_GT(fetchedAgain, 0);
    EXPECT_TRUE(databaseSyncWatched());
    printCuts("fetch", cuts);
}

// The MMSC takes the message before the store moves it to the sent folder: a cut in between
// leaves it to be sent again (the MMSC then gets it twice), never lost or half moved.
TEST_P(CutOrKillTest, SendCutAtAnyCallLeavesTheMessageToSendAgainOrSent)
{
    const AnsweringMmsc mmsc(MmscServer::sendConf(128, QStringLiteral("M-1")));
    ASSERT_TRUE(mmsc.started());
    const ToolResult composed =
        run(setup.path(),
            {QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550106"),
             QStringLiteral("--subject"), QStringLiteral("Out"), QStringLiteral("--text"),
             QStringLiteral("to the MMSC"), QStringLiteral("--folder"), QStringLiteral("2")});
    ASSERT_EQ(composed.exitCode, 0) << composed.err.toStdString();
    const unsigned id = composed.out.split(' ').constFirst().toUInt();
    QString error;
    const auto before = tavmms::store::loadMailFile(mailFile(setup.path(), id), &error);
    ASSERT_TRUE(before) << error.toStdString();
    const QByteArray body(reinterpret_cast<const char*>(before->body.get()),
                          qsizetype(before->bodyLength));

    const QStringList send =
        QStringList{QStringLiteral("send"), QString::number(id)} + mmsc.option();
    int sentAgain = 0;
    const long cuts = cutOrKillEverywhere(send, [&](const QList<unsigned>& ids, bool completed) {
        EXPECT_EQ(addedIds(ids), QList<unsigned>{id});
        if (stateOf(id) != QLatin1String("sent")) {
            EXPECT_FALSE(completed);
            runAgain(send);
            ++sentAgain;
        }
        const QJsonObject message = shown(id);
        EXPECT_EQ(message.value(QStringLiteral("stateName")).toString(), QStringLiteral("sent"));
        EXPECT_EQ(message.value(QStringLiteral("folderName")).toString(), QStringLiteral("sent"));
        EXPECT_EQ(message.value(QStringLiteral("header"))
                      .toObject()
                      .value(QStringLiteral("Message_ID"))
                      .toString(),
                  QStringLiteral("M-1"));
        EXPECT_TRUE(loadsWith(id, body));
    });
    EXPECT_GT(sentAgain, 0);
    EXPECT_TRUE(databaseSyncWatched());
    printCuts("send", cuts);
}

// A restore adds all of the backup's messages or none, and its settings with them: a cut before
// its rows commit is undone by the next use, one after it is completed.
TEST_P(CutOrKillTest, RestoreCutAtAnyCallAddsAllTheBackupsMessagesOrNone)
{
    QTemporaryDir other; // the phone the backup comes from
    ASSERT_TRUE(other.isValid());
    const QList<QByteArray> bodies{"first restored body \x07", "second restored body \x08"};
    for (const QByteArray& body : bodies)
        ASSERT_NE(compose(other.path(), body).id, 0u);
    ASSERT_EQ(run(other.path(),
                  {QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("+15550999")})
                  .exitCode,
              0);
    const QString backup = inputs.filePath(QStringLiteral("backup.tar.zst"));
    ASSERT_EQ(run(other.path(), {QStringLiteral("backup"), backup}).exitCode, 0);

    const long cuts = cutOrKillEverywhere(
        {QStringLiteral("restore"), backup, QStringLiteral("--settings")},
        [&](const QList<unsigned>& ids, bool completed) {
            const QList<unsigned> restored = addedIds(ids);
            EXPECT_TRUE(restored.isEmpty() || restored.size() == bodies.size()) << restored.size();
            if (completed) {
                EXPECT_EQ(restored.size(), bodies.size());
            }
            for (const unsigned id : restored)
                EXPECT_TRUE(loadsWith(id, bodies.at(0)) || loadsWith(id, bodies.at(1))) << id;
            const ToolResult blocked =
                run(work.path(), {QStringLiteral("block"), QStringLiteral("list")});
            EXPECT_EQ(blocked.out.contains("+15550999"), !restored.isEmpty())
                << blocked.out.toStdString();
            EXPECT_FALSE(QFileInfo::exists(work.filePath(QStringLiteral("download/mms/restore"))));
        });
    EXPECT_TRUE(databaseSyncWatched());
    printCuts("restore", cuts);
}

INSTANTIATE_TEST_SUITE_P(PowerCutOrKill, CutOrKillTest, ::testing::Values(Cut::PowerCut, Cut::Kill),
                         [](const ::testing::TestParamInfo<Cut>& info) {
                             return info.param == Cut::Kill ? "Kill" : "PowerCut";
                         });

} // namespace
