// mmsutil check, run as a child process on a store in a temporary directory that each test puts
// into one state on purpose: what the report says line by line, its exit status, and the rows
// and files that --repair and --force leave behind.

#include <tavmmsutility.h>

#include "header_row.h"
#include "index_row_text.h"

#include "support/child_process.h"
#include "support/index_table_helpers.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/mount_namespace.h"
#include "support/temp_database.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QtEndian>

#include <linux/capability.h>
#include <sys/prctl.h>

#include <cerrno>
#include <cstring>

#include <chrono>

using namespace std::chrono_literals;

namespace
{

using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using tavmms_test::expectFailure;
using tavmms_test::expectUsageError;
using tavmms_test::readFileBytes;
using tavmms_test::ToolResult;

const QStringList kRepair{QStringLiteral("--repair")};
const QStringList kForce{QStringLiteral("--repair"), QStringLiteral("--force")};

// A mail file as the library saves it: a body of 64 bytes and a header whose subject runs over two
// lines.
QByteArray savedMailFile(const QString& scratchPath)
{
    QByteArray body = tavmms_test::patternBytes(64);
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();
    MMS_UTIL_MailFile file(scratchPath);
    EXPECT_EQ(file.writeMailFile(reinterpret_cast<unsigned char*>(body.data()), uint(body.size()),
                                 header.get()),
              MMS_UTIL_MAILFILE_OK);
    const QByteArray bytes = readFileBytes(scratchPath);
    EXPECT_TRUE(QFile::remove(scratchPath));
    return bytes;
}

// The file names of message `id`: "<id>.mms", or with another suffix.
QString name(unsigned id, const char* suffix = ".mms")
{
    return QString::number(id) + QLatin1String(suffix);
}

// What a child process makes of a run of the tool: passed when it exited with `exitCode`, printed
// exactly `out` and one line on standard error that begins with `errStart` (nothing when
// `errStart` is null).
ChildVerdict judge(const ToolResult& result, int exitCode, const QString& out,
                   const QString& errStart = QString())
{
    const bool errFits = errStart.isNull() ? result.err.isEmpty()
                                           : QString::fromUtf8(result.err).startsWith(errStart) &&
                                                 result.err.count('\n') == 1;
    if (result.exitCode == exitCode && QString::fromUtf8(result.out) == out && errFits)
        return ChildVerdict::pass();
    return ChildVerdict::fail("exit " + std::to_string(result.exitCode) + ", out \"" +
                              result.out.toStdString() + "\", err \"" + result.err.toStdString() +
                              "\"");
}

class MmsutilCheckTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(QDir().mkpath(mailDir()));
        ASSERT_TRUE(QDir().mkpath(platformDir()));
        mail = savedMailFile(dir.filePath(QStringLiteral("scratch.mms")));
        ASSERT_GT(mail.size(), 16 + 64);
    }

    QString platformDir() const { return dir.filePath(QStringLiteral("platform")); }
    // As the tool prints it, with its trailing separator.
    QString mailDir() const { return dir.filePath(QStringLiteral("download/mms/mailfile/")); }
    QString mailPath(const QString& name) const { return mailDir() + name; }
    QString quarantinePath(const QString& name) const
    {
        return dir.filePath(QStringLiteral("download/mms/quarantine/")) + name;
    }
    // The line of a forced repair that moved `name` to the quarantine.
    QString movedLine(const QString& problem, const QString& name) const
    {
        return problem + QStringLiteral(" -> moved to ") + quarantinePath(name);
    }
    // The note beside the quarantined `name`, which must say `why`.
    void expectQuarantined(const QString& name, const QByteArray& bytes, const QString& why) const
    {
        EXPECT_EQ(readFileBytes(quarantinePath(name)), bytes) << name.toStdString();
        const QString note = QString::fromUtf8(readFileBytes(quarantinePath(name + ".why")));
        EXPECT_TRUE(note.startsWith(mailPath(name) + QLatin1Char('\n'))) << note.toStdString();
        EXPECT_TRUE(note.endsWith(QStringLiteral("because it %1\n").arg(why)))
            << note.toStdString();
    }

    ToolResult run(const QStringList& arguments, const QString& platform = QString()) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TAV_PLATFORM_DIR"),
                           platform.isEmpty() ? platformDir() : platform);
        environment.insert(QStringLiteral("TAV_LOCAL_DOWNLOAD_PATH"),
                           dir.filePath(QStringLiteral("download")));
        return tavmms_test::runTool(QStringLiteral(TAVMMS_MMSUTIL_PATH), arguments, dir.path(),
                                    QByteArray(), environment);
    }

    ToolResult check(const QStringList& options = {}) const
    {
        return run(QStringList{QStringLiteral("check")} + options);
    }

    // Runs the check and expects `lines`, then the summary line that ends in `summary`, on
    // standard output, nothing on standard error and the exit status `exitCode`.
    void expectReport(const QStringList& options, const QStringList& lines, const QString& summary,
                      int exitCode) const
    {
        const ToolResult result = check(options);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.err.toStdString(), "");
        QString expected;
        for (const QString& line : lines)
            expected += line + QLatin1Char('\n');
        expected += QStringLiteral("checked %1 in %2: %3\n").arg(counts, mailDir(), summary);
        EXPECT_EQ(QString::fromUtf8(result.out).toStdString(), expected.toStdString());
    }

    // The index, opened in this process while the object lives; the tool runs in between.
    struct Index {
        explicit Index(const QString& path) : installed(path)
        {
            EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
        }
        ~Index() { EXPECT_EQ(MMS_UTIL_DBTable::closeTable(), DB_OK); }
        tavmms_test::ScopedIndexTableState state;
        tavmms_test::InstalledDatabase installed;
    };

    QString databasePath() const { return platformDir() + QStringLiteral("/device.db"); }

    // Makes the database file as another application of the device would, without the index.
    void makeDatabaseWithoutIndex() const
    {
        const tavmms_test::InstalledDatabase installed(databasePath());
        ASSERT_NE(DB_DB_GetNativeDB(), nullptr);
    }

    // Whether the database file holds the index; it must exist.
    bool databaseHoldsIndex() const
    {
        EXPECT_TRUE(QFile::exists(databasePath()));
        const tavmms_test::InstalledDatabase installed(databasePath());
        return DB_DB_CheckTableExist(DB_DB_GetNativeDB(), MMS_UTIL_DBTable::mmsTableName) != 0;
    }

    // Without the index, --repair --force on the mail file directory holding `holds` judges
    // nothing and leaves every file as it was.
    void expectRefusalWithoutIndex(const QString& holds) const
    {
        const QStringList before = entries();

        const ToolResult result = check(kForce);

        expectFailure(result);
        EXPECT_EQ(result.err.toStdString(),
                  QStringLiteral("mmsutil: there is no message index in '%1', but the mail file "
                                 "directory holds %2; check TAV_PLATFORM_DIR, or rebuild the "
                                 "index from them\n")
                      .arg(databasePath(), holds)
                      .toStdString());
        EXPECT_EQ(entries(), before);
        for (const QString& entry : before)
            EXPECT_EQ(bytesOf(entry), mail) << entry.toStdString();
    }

    void makeEmptyIndex() const { const Index index(databasePath()); }

    // Adds `count` rows of `mail`'s message and gives their ids.
    QList<unsigned> addRows(int count) const
    {
        const Index index(databasePath());
        QList<unsigned> ids;
        for (int i = 0; i < count; ++i) {
            unsigned id = 0;
            MMS_UTIL_DBStruct_T record = tavmms::store::headerRow(*tavmms_test::sampleHeader());
            tavmms::store::setText8(record.mms_fld_msguri_name, QStringLiteral("mms://%1").arg(i));
            EXPECT_EQ(MMS_UTIL_DBTable::add(record, &id), DB_OK);
            EXPECT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
            ids.append(id);
        }
        return ids;
    }

    // The ids among `ids` that have a row.
    QList<unsigned> rowsAmong(const QList<unsigned>& ids) const
    {
        const Index index(databasePath());
        QList<unsigned> found;
        for (unsigned id : ids) {
            MMS_UTIL_DBStruct_T record;
            if (MMS_UTIL_DBTable::readRecord(id, &record) == DB_OK)
                found.append(id);
        }
        return found;
    }

    void put(const QString& name, const QByteArray& bytes) const
    {
        ASSERT_TRUE(tavmms_test::writeFileBytes(mailPath(name), bytes)) << name.toStdString();
    }
    void putMail(unsigned id, const QByteArray& bytes) const { put(name(id), bytes); }
    void putLeftover(unsigned id, const QByteArray& bytes) const
    {
        put(name(id, ".mms.tmp"), bytes);
    }

    // The names in the mail file directory, sorted.
    QStringList entries() const
    {
        return QDir(mailDir()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                                         QDir::Name);
    }
    QByteArray bytesOf(const QString& name) const { return readFileBytes(mailPath(name)); }

    // On a mail file directory made read-only in a mount namespace of its own, the repairs fail:
    // each line says so, standard error says why, the files stay as they were and the exit status
    // is 1.
    ChildVerdict repairOnAReadOnlyDirectory(unsigned id) const
    {
        if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
            return ChildVerdict::skip("no private mount namespace: " + why);
        if (const std::string why = tavmms_test::makeReadOnly(mailDir()); !why.empty())
            return ChildVerdict::skip("cannot make the directory read-only: " + why);
        const QString leftover = name(id, ".mms.tmp");
        const ChildVerdict verdict =
            judge(check(kRepair), 1,
                  QStringLiteral(
                      "%1: left by an interrupted save beside %2 -> failed\n"
                      "checked 1 row and 1 mail file in %3: 1 problem, 0 repaired, 1 remains\n")
                      .arg(leftover, name(id), mailDir()),
                  QStringLiteral("mmsutil: cannot remove '%1': ").arg(mailPath(leftover)));
        if (verdict.kind == ChildVerdict::Passed && !QFile::exists(mailPath(leftover)))
            return ChildVerdict::fail("the leftover is gone");
        return verdict;
    }

    QTemporaryDir dir;
    QByteArray mail; // a whole mail file
    QString counts;  // "N rows and M mail files", which each test sets for its store
};

// ---- a consistent store ----

TEST_F(MmsutilCheckTest, AStoreWhoseRowsAndMailFilesMatchHasNoProblems)
{
    const QList<unsigned> ids = addRows(2);
    for (unsigned id : ids)
        putMail(id, mail);
    counts = QStringLiteral("2 rows and 2 mail files");

    expectReport({}, {}, QStringLiteral("no problems"), 0);
    expectReport(kForce, {}, QStringLiteral("no problems"), 0);
    EXPECT_EQ(rowsAmong(ids), ids);
    EXPECT_EQ(entries(), QStringList({name(ids[0]), name(ids[1])}));
}

TEST_F(MmsutilCheckTest, ANewDeviceWithoutMailFileDirectoryHasNoProblemsAndGetsNoDatabase)
{
    ASSERT_TRUE(QDir(mailDir()).removeRecursively());
    counts = QStringLiteral("0 rows and 0 mail files");

    expectReport({}, {}, QStringLiteral("no problems"), 0);
    expectReport(kForce, {}, QStringLiteral("no problems"), 0);
    EXPECT_FALSE(QFile::exists(databasePath()));
}

TEST_F(MmsutilCheckTest, WithoutDatabaseADirectoryWithoutMailFilesHasNoProblemsAndGetsNoDatabase)
{
    put(QStringLiteral("notes.txt"), mail);
    counts = QStringLiteral("0 rows and 0 mail files");
    const QStringList lines{QStringLiteral("notes.txt: not a mail file name, left alone")};

    expectReport({}, lines, QStringLiteral("no problems"), 0);
    expectReport(kForce, lines, QStringLiteral("no problems"), 0);
    EXPECT_FALSE(QFile::exists(databasePath()));
}

TEST_F(MmsutilCheckTest, ADatabaseWithoutIndexAndNoMailFilesHasNoProblemsAndGetsNoIndex)
{
    makeDatabaseWithoutIndex();
    counts = QStringLiteral("0 rows and 0 mail files");

    expectReport(kForce, {}, QStringLiteral("no problems"), 0);
    EXPECT_FALSE(databaseHoldsIndex());
}

// ---- rows and mail files that do not match ----

TEST_F(MmsutilCheckTest, ARowWithoutMailFileIsDeletedOnlyWithForce)
{
    const QList<unsigned> ids = addRows(2);
    putMail(ids[0], mail);
    counts = QStringLiteral("2 rows and 1 mail file");
    const QString line = QStringLiteral("row %1: no mail file %2").arg(ids[1]).arg(name(ids[1]));

    expectReport({}, {line}, QStringLiteral("1 problem"), 3);
    expectReport(kRepair, {line + QStringLiteral(" -> kept (--force deletes the row)")},
                 QStringLiteral("1 problem, 0 repaired, 1 remains"), 3);
    EXPECT_EQ(rowsAmong(ids), ids);

    expectReport(kForce, {line + QStringLiteral(" -> row deleted")},
                 QStringLiteral("1 problem, 1 repaired, 0 remain"), 0);
    EXPECT_EQ(rowsAmong(ids), QList<unsigned>{ids[0]});
    EXPECT_EQ(bytesOf(name(ids[0])), mail);
}

TEST_F(MmsutilCheckTest, AMailFileWithoutRowIsQuarantinedOnlyWithForce)
{
    const QList<unsigned> ids = addRows(1);
    const unsigned stray = ids[0] + 1;
    putMail(ids[0], mail);
    putMail(stray, mail);
    counts = QStringLiteral("1 row and 2 mail files");
    const QString line = QStringLiteral("%1: no row").arg(name(stray));

    expectReport({}, {line}, QStringLiteral("1 problem"), 3);
    expectReport(kRepair,
                 {line + QStringLiteral(" -> kept (--force moves it to the quarantine; --rebuild "
                                        "makes a row for it)")},
                 QStringLiteral("1 problem, 0 repaired, 1 remains"), 3);
    EXPECT_EQ(bytesOf(name(stray)), mail);

    expectReport(kForce, {movedLine(line, name(stray))},
                 QStringLiteral("1 problem, 1 repaired, 0 remain"), 0);
    EXPECT_EQ(entries(), QStringList{name(ids[0])});
    EXPECT_EQ(rowsAmong(ids), ids);
    expectQuarantined(name(stray), mail, QStringLiteral("has no row"));
}

// ---- files that do not load ----

// The mail file with its reserved word set beyond the file's size, which the library refuses.
QByteArray withReservedWord(QByteArray bytes, quint32 value)
{
    qToBigEndian(value, bytes.data() + 4);
    return bytes;
}

TEST_F(MmsutilCheckTest, EachWayAFileFailsToLoadIsNamedAndOnlyForceQuarantinesIt)
{
    const int headerStart = 16 + 64;
    const struct {
        QByteArray bytes;
        const char* why;
    } broken[] = {
        {"MMS", "shorter than its 16-byte record"},
        {tavmms_test::patternBytes(200, 7), "its 16-byte record does not describe a mail file"},
        {mail.left(headerStart - 10), "cut short in its body"},
        {mail.left(headerStart), "its header block is missing"},
        {withReservedWord(mail, quint32(mail.size())), "its record does not fit the file"},
        {mail.chopped(3), "its header block is cut short"},
        {mail.left(mail.indexOf("Message_Size:")), "its header block is cut short"},
    };
    const int count = int(std::size(broken));
    const QList<unsigned> ids = addRows(count);
    QStringList lines;
    for (int i = 0; i < count; ++i) {
        putMail(ids[i], broken[i].bytes);
        lines << QStringLiteral("%1: does not load (%2)")
                     .arg(name(ids[i]), QLatin1String(broken[i].why));
    }
    counts = QStringLiteral("%1 rows and %1 mail files").arg(count);

    expectReport({}, lines, QStringLiteral("%1 problems").arg(count), 3);
    QStringList kept;
    for (const QString& line : lines)
        kept << line + QStringLiteral(" -> kept (--force moves it to the quarantine)");
    expectReport(kRepair, kept, QStringLiteral("%1 problems, 0 repaired, %1 remain").arg(count), 3);
    for (int i = 0; i < count; ++i)
        EXPECT_EQ(bytesOf(name(ids[i])), broken[i].bytes) << i;
    EXPECT_EQ(rowsAmong(ids), ids);

    // The file goes first, whole, to the quarantine; its row, left without a mail file, follows.
    QStringList moved;
    for (int i = 0; i < count; ++i)
        moved << movedLine(lines[i], name(ids[i]))
              << QStringLiteral("row %1: no mail file %2 -> row deleted")
                     .arg(ids[i])
                     .arg(name(ids[i]));
    expectReport(kForce, moved, QStringLiteral("%1 problems, %1 repaired, 0 remain").arg(2 * count),
                 0);
    EXPECT_EQ(entries(), QStringList());
    EXPECT_EQ(rowsAmong(ids), QList<unsigned>());
    for (int i = 0; i < count; ++i)
        expectQuarantined(name(ids[i]), broken[i].bytes,
                          QStringLiteral("does not load (%1)").arg(QLatin1String(broken[i].why)));
}

TEST_F(MmsutilCheckTest, APlainCheckChangesNothing)
{
    const QList<unsigned> ids = addRows(3);
    putMail(ids[0], mail.chopped(1));
    putLeftover(ids[1], mail);
    putLeftover(ids[0], mail);
    putMail(ids[2] + 1, mail);
    const QStringList before = entries();

    const ToolResult result = check();

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(entries(), before);
    EXPECT_EQ(bytesOf(name(ids[0])), mail.chopped(1));
    EXPECT_EQ(bytesOf(name(ids[1], ".mms.tmp")), mail);
    EXPECT_EQ(bytesOf(name(ids[0], ".mms.tmp")), mail);
    EXPECT_EQ(bytesOf(name(ids[2] + 1)), mail);
    EXPECT_EQ(rowsAmong(ids), ids);
}

// ---- leftovers of an interrupted save ----

TEST_F(MmsutilCheckTest, AWholeLeftoverWhoseMailFileIsMissingIsRenamedIntoPlace)
{
    const QList<unsigned> ids = addRows(1);
    putLeftover(ids[0], mail);
    counts = QStringLiteral("1 row and 0 mail files");
    const QString line =
        QStringLiteral("%1: left by an interrupted save, %2 is missing and this loads completely")
            .arg(name(ids[0], ".mms.tmp"), name(ids[0]));

    expectReport({},
                 {line, QStringLiteral("row %1: no mail file %2").arg(ids[0]).arg(name(ids[0]))},
                 QStringLiteral("2 problems"), 3);
    expectReport(kRepair, {line + QStringLiteral(" -> renamed to ") + name(ids[0])},
                 QStringLiteral("1 problem, 1 repaired, 0 remain"), 0);
    EXPECT_EQ(entries(), QStringList{name(ids[0])});
    EXPECT_EQ(bytesOf(name(ids[0])), mail);
    EXPECT_EQ(rowsAmong(ids), ids);

    counts = QStringLiteral("1 row and 1 mail file");
    expectReport({}, {}, QStringLiteral("no problems"), 0);
}

TEST_F(MmsutilCheckTest, AWholeLeftoverWithoutRowIsRenamedAndThenCountsAsAMailFileWithoutRow)
{
    const unsigned id = 7;
    makeEmptyIndex();
    putLeftover(id, mail);
    counts = QStringLiteral("0 rows and 0 mail files");
    const QString line =
        QStringLiteral("%1: left by an interrupted save, %2 is missing and this loads completely")
            .arg(name(id, ".mms.tmp"), name(id));

    expectReport(kRepair,
                 {line + QStringLiteral(" -> renamed to ") + name(id),
                  name(id) + QStringLiteral(": no row -> kept (--force moves it to the quarantine; "
                                            "--rebuild makes a row for it)")},
                 QStringLiteral("2 problems, 1 repaired, 1 remains"), 3);
    EXPECT_EQ(entries(), QStringList{name(id)});
    EXPECT_EQ(bytesOf(name(id)), mail);
}

TEST_F(MmsutilCheckTest, ALeftoverBesideItsMailFileIsRemoved)
{
    const QList<unsigned> ids = addRows(1);
    putMail(ids[0], mail);
    putLeftover(ids[0], mail.chopped(1));
    counts = QStringLiteral("1 row and 1 mail file");
    const QString line = QStringLiteral("%1: left by an interrupted save beside %2")
                             .arg(name(ids[0], ".mms.tmp"), name(ids[0]));

    expectReport({}, {line}, QStringLiteral("1 problem"), 3);
    expectReport(kRepair, {line + QStringLiteral(" -> removed")},
                 QStringLiteral("1 problem, 1 repaired, 0 remain"), 0);
    EXPECT_EQ(entries(), QStringList{name(ids[0])});
    EXPECT_EQ(bytesOf(name(ids[0])), mail);
    EXPECT_EQ(rowsAmong(ids), ids);
}

TEST_F(MmsutilCheckTest, ALeftoverThatDoesNotLoadIsRemovedAndItsRowKeptWithoutForce)
{
    const QList<unsigned> ids = addRows(1);
    putLeftover(ids[0], mail.left(40));
    counts = QStringLiteral("1 row and 0 mail files");
    const QString leftoverLine =
        QStringLiteral("%1: left by an interrupted save, does not load (cut short in its body)")
            .arg(name(ids[0], ".mms.tmp"));
    const QString rowLine = QStringLiteral("row %1: no mail file %2").arg(ids[0]).arg(name(ids[0]));

    expectReport({}, {leftoverLine, rowLine}, QStringLiteral("2 problems"), 3);
    expectReport(kRepair,
                 {leftoverLine + QStringLiteral(" -> removed"),
                  rowLine + QStringLiteral(" -> kept (--force deletes the row)")},
                 QStringLiteral("2 problems, 1 repaired, 1 remains"), 3);
    EXPECT_EQ(entries(), QStringList());
    EXPECT_EQ(rowsAmong(ids), ids);
}

TEST_F(MmsutilCheckTest, AWholeLeftoverBesideABrokenMailFileIsKeptAndTakesItsPlaceWithForce)
{
    const QList<unsigned> ids = addRows(1);
    const QByteArray broken = mail.left(50);
    putMail(ids[0], broken);
    putLeftover(ids[0], mail);
    counts = QStringLiteral("1 row and 1 mail file");
    const QString brokenLine =
        QStringLiteral("%1: does not load (cut short in its body)").arg(name(ids[0]));
    const QString start =
        QStringLiteral("%1: left by an interrupted save").arg(name(ids[0], ".mms.tmp"));

    expectReport(kRepair,
                 {brokenLine + QStringLiteral(" -> kept (--force moves it to the quarantine)"),
                  start + QStringLiteral(" beside %1, which does not load; this loads completely "
                                         "-> kept (--force puts it in place of %1)")
                              .arg(name(ids[0]))},
                 QStringLiteral("2 problems, 0 repaired, 2 remain"), 3);
    EXPECT_EQ(bytesOf(name(ids[0])), broken);
    EXPECT_EQ(bytesOf(name(ids[0], ".mms.tmp")), mail);

    expectReport(kForce,
                 {movedLine(brokenLine, name(ids[0])),
                  start + QStringLiteral(", %1 is missing and this loads completely -> renamed "
                                         "to %1")
                              .arg(name(ids[0]))},
                 QStringLiteral("2 problems, 2 repaired, 0 remain"), 0);
    EXPECT_EQ(entries(), QStringList{name(ids[0])});
    EXPECT_EQ(bytesOf(name(ids[0])), mail);
    EXPECT_EQ(rowsAmong(ids), ids);
    expectQuarantined(name(ids[0]), broken,
                      QStringLiteral("does not load (cut short in its body)"));
}

// ---- leftovers of an interrupted delete ----

TEST_F(MmsutilCheckTest, AMailFileADeleteSetAsideIsPutBackWhileItsRowIsThere)
{
    const QList<unsigned> ids = addRows(1);
    put(name(ids[0], ".mms.deleted"), mail);
    counts = QStringLiteral("1 row and 0 mail files");
    const QString line =
        QStringLiteral("%1: left by an interrupted delete, whose row is still there")
            .arg(name(ids[0], ".mms.deleted"));

    expectReport({},
                 {line, QStringLiteral("row %1: no mail file %2").arg(ids[0]).arg(name(ids[0]))},
                 QStringLiteral("2 problems"), 3);
    expectReport(kRepair, {line + QStringLiteral(" -> put back as ") + name(ids[0])},
                 QStringLiteral("1 problem, 1 repaired, 0 remain"), 0);
    EXPECT_EQ(entries(), QStringList{name(ids[0])});
    EXPECT_EQ(bytesOf(name(ids[0])), mail);
    EXPECT_EQ(rowsAmong(ids), ids);
}

TEST_F(MmsutilCheckTest, AMailFileADeleteSetAsideIsRemovedOnceItsRowIsGone)
{
    makeEmptyIndex();
    put(name(7, ".mms.deleted"), mail);
    counts = QStringLiteral("0 rows and 0 mail files");
    const QString line =
        QStringLiteral("%1: left by an interrupted delete").arg(name(7, ".mms.deleted"));

    expectReport({}, {line}, QStringLiteral("1 problem"), 3);
    expectReport(kRepair, {line + QStringLiteral(" -> removed")},
                 QStringLiteral("1 problem, 1 repaired, 0 remain"), 0);
    EXPECT_EQ(entries(), QStringList());
}

// ---- other names ----

TEST_F(MmsutilCheckTest, OtherNamesAreListedAndNeverTouched)
{
    const QList<unsigned> ids = addRows(1);
    putMail(ids[0], mail);
    const QStringList others{QStringLiteral("017.mms"), QStringLiteral("4294967296.mms"),
                             QStringLiteral("notes.txt"), QStringLiteral("tmp00000.mms"),
                             QStringLiteral("x.mms.tmp")};
    for (const QString& other : others)
        put(other, mail.left(10));
    ASSERT_TRUE(QDir(mailDir()).mkdir(QStringLiteral("90.mms")));
    ASSERT_TRUE(QDir(mailDir()).mkdir(QStringLiteral("sub")));
    // Links are taken for what they point at.
    ASSERT_TRUE(QFile::link(mailPath(QStringLiteral("sub")), mailPath(QStringLiteral("91.mms"))));
    ASSERT_TRUE(QFile::link(mailPath(QStringLiteral("sub")), mailPath(QStringLiteral("sublink"))));
    counts = QStringLiteral("1 row and 1 mail file");
    const QStringList lines{
        QStringLiteral("017.mms: not a mail file name, left alone"),
        QStringLiteral("4294967296.mms: not a mail file name, left alone"),
        QStringLiteral("90.mms: not a regular file, left alone"),
        QStringLiteral("91.mms: not a regular file, left alone"),
        QStringLiteral("notes.txt: not a mail file name, left alone"),
        QStringLiteral("sub: a directory, left alone"),
        QStringLiteral("sublink: a directory, left alone"),
        QStringLiteral("tmp00000.mms: not a mail file name, left alone"),
        QStringLiteral("x.mms.tmp: not a mail file name, left alone"),
    };
    const QStringList before = entries();

    expectReport({}, lines, QStringLiteral("no problems"), 0);
    expectReport(kForce, lines, QStringLiteral("no problems"), 0);
    EXPECT_EQ(entries(), before);
    for (const QString& other : others)
        EXPECT_EQ(bytesOf(other), mail.left(10)) << other.toStdString();
}

// ---- the whole report ----

TEST_F(MmsutilCheckTest, TheReportGoesByIdThenOtherNamesAndRepairsAsItGoes)
{
    const QList<unsigned> ids = addRows(4);
    putMail(ids[0], mail);
    putLeftover(ids[0], mail);      // beside its mail file
    putLeftover(ids[1], mail);      // its mail file missing
    putMail(ids[2], mail.left(20)); // broken
    // ids[3] has no mail file
    putMail(ids[3] + 1, mail); // no row
    put(QStringLiteral("a.txt"), "a");
    counts = QStringLiteral("4 rows and 3 mail files");
    const QStringList report{
        QStringLiteral("%1.mms.tmp: left by an interrupted save beside %1.mms").arg(ids[0]),
        QStringLiteral("%1.mms.tmp: left by an interrupted save, %1.mms is missing and this "
                       "loads completely")
            .arg(ids[1]),
        QStringLiteral("row %1: no mail file %1.mms").arg(ids[1]),
        QStringLiteral("%1.mms: does not load (cut short in its body)").arg(ids[2]),
        QStringLiteral("row %1: no mail file %1.mms").arg(ids[3]),
        QStringLiteral("%1.mms: no row").arg(ids[3] + 1),
        QStringLiteral("a.txt: not a mail file name, left alone"),
    };
    expectReport({}, report, QStringLiteral("6 problems"), 3);

    const QStringList repaired{
        report[0] + QStringLiteral(" -> removed"),
        report[1] + QStringLiteral(" -> renamed to %1.mms").arg(ids[1]),
        report[3] + QStringLiteral(" -> kept (--force moves it to the quarantine)"),
        report[4] + QStringLiteral(" -> kept (--force deletes the row)"),
        report[5] + QStringLiteral(" -> kept (--force moves it to the quarantine; --rebuild "
                                   "makes a row for it)"),
        report[6],
    };
    expectReport(kRepair, repaired, QStringLiteral("5 problems, 2 repaired, 3 remain"), 3);
    EXPECT_EQ(entries(), QStringList({name(ids[0]), name(ids[1]), name(ids[2]), name(ids[3] + 1),
                                      QStringLiteral("a.txt")}));

    counts = QStringLiteral("4 rows and 4 mail files");
    const QStringList forced{
        movedLine(report[3], name(ids[2])),
        QStringLiteral("row %1: no mail file %1.mms -> row deleted").arg(ids[2]),
        report[4] + QStringLiteral(" -> row deleted"),
        movedLine(report[5], name(ids[3] + 1)),
        report[6],
    };
    expectReport(kForce, forced, QStringLiteral("4 problems, 4 repaired, 0 remain"), 0);
    EXPECT_EQ(entries(), QStringList({name(ids[0]), name(ids[1]), QStringLiteral("a.txt")}));
    EXPECT_EQ(rowsAmong(ids), QList<unsigned>({ids[0], ids[1]}));
    EXPECT_EQ(bytesOf(name(ids[1])), mail);

    counts = QStringLiteral("2 rows and 2 mail files");
    expectReport({}, {report[6]}, QStringLiteral("no problems"), 0);
}

// ---- failures ----

TEST_F(MmsutilCheckTest, RowsWithoutTheirMailFileDirectoryAreAFailureAndNothingIsDeleted)
{
    const QList<unsigned> ids = addRows(2);
    ASSERT_TRUE(QDir(mailDir()).removeRecursively());

    const ToolResult result = check(kForce);

    expectFailure(result);
    EXPECT_EQ(result.err.toStdString(),
              QStringLiteral("mmsutil: the mail file directory '%1' does not exist, but the index "
                             "holds 2 rows; check TAV_LOCAL_DOWNLOAD_PATH\n")
                  .arg(mailDir())
                  .toStdString());
    EXPECT_EQ(rowsAmong(ids), ids);
}

TEST_F(MmsutilCheckTest, MailFilesWithoutDatabaseAreAFailureAndNothingIsDeletedOrCreated)
{
    for (unsigned id : {1u, 2u, 5u})
        putMail(id, mail);

    expectRefusalWithoutIndex(QStringLiteral("3 mail files"));
    EXPECT_FALSE(QFile::exists(databasePath()));
}

TEST_F(MmsutilCheckTest, LeftoversWithoutDatabaseAreCountedInTheFailure)
{
    putMail(1, mail);
    putLeftover(2, mail);
    expectRefusalWithoutIndex(QStringLiteral("1 mail file and 1 leftover"));

    ASSERT_TRUE(QFile::remove(mailPath(name(1))));
    expectRefusalWithoutIndex(QStringLiteral("0 mail files and 1 leftover"));
    EXPECT_FALSE(QFile::exists(databasePath()));
}

TEST_F(MmsutilCheckTest, MailFilesBesideADatabaseWithoutIndexAreAFailure)
{
    makeDatabaseWithoutIndex();
    putMail(1, mail);

    expectRefusalWithoutIndex(QStringLiteral("1 mail file"));
    EXPECT_FALSE(databaseHoldsIndex());
}

TEST_F(MmsutilCheckTest, AMailFileDirectoryThatCannotBeReadIsAFailure)
{
    addRows(1);
    ASSERT_TRUE(QDir(mailDir()).removeRecursively());
    // A file where the directory should be.
    ASSERT_TRUE(tavmms_test::writeFileBytes(dir.filePath(QStringLiteral("download/mms/mailfile")),
                                            "not a directory"));

    const ToolResult result = check();

    expectFailure(result);
    EXPECT_EQ(result.err.toStdString(),
              QStringLiteral("mmsutil: cannot read the mail file directory '%1': Not a directory\n")
                  .arg(mailDir())
                  .toStdString());
}

// Root reads every directory through two capabilities. Without them in the bounding set, this
// process and the programs it starts are held to the permission bits like anyone else.
std::string dropDirectoryOverrides()
{
    for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        if (prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0)
            return std::strerror(errno);
    }
    return std::string();
}

TEST_F(MmsutilCheckTest, AMailFileDirectoryWithoutReadPermissionIsAFailure)
{
    addRows(1);
    ASSERT_TRUE(QFile::setPermissions(mailDir(), QFileDevice::WriteOwner | QFileDevice::ExeOwner));

    ChildProcess child([&](ChildProcess&) {
        if (const std::string why = dropDirectoryOverrides(); !why.empty())
            return ChildVerdict::skip("cannot give up reading every directory: " + why);
        return judge(
            check(), 1, QString(),
            QStringLiteral("mmsutil: cannot read the mail file directory '%1': Permission denied\n")
                .arg(mailDir()));
    });
    const tavmms_test::ChildVerdict verdict = child.finish(60s);
    QFile::setPermissions(mailDir(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (verdict.kind == ChildVerdict::Skipped)
        GTEST_SKIP() << verdict.message;
    EXPECT_EQ(verdict.kind, ChildVerdict::Passed) << verdict.message;
}

TEST_F(MmsutilCheckTest, AMailFileThatCannotBeReadIsNamedKeptEvenWithForceAndTheOthersJudged)
{
    const QList<unsigned> ids = addRows(3);
    for (unsigned id : ids)
        putMail(id, mail);
    const QString unreadable = mailPath(name(ids[1]));
    ASSERT_TRUE(QFile::setPermissions(unreadable, QFileDevice::Permissions()));
    const QString line =
        QStringLiteral("%1: does not load (cannot be read: Permission denied)").arg(name(ids[1]));
    const QString summary =
        QStringLiteral("checked 3 rows and 3 mail files in %1: 1 problem").arg(mailDir());

    ChildProcess child([&](ChildProcess&) {
        if (const std::string why = dropDirectoryOverrides(); !why.empty())
            return ChildVerdict::skip("cannot give up reading every file: " + why);
        const ChildVerdict plain = judge(check(), 3, line + '\n' + summary + '\n');
        if (plain.kind != ChildVerdict::Passed)
            return plain;
        return judge(check(kForce), 3,
                     line +
                         QStringLiteral(" -> kept (a file that cannot be read is never "
                                        "moved)\n") +
                         summary + QStringLiteral(", 0 repaired, 1 remains\n"));
    });
    const ChildVerdict verdict = child.finish(60s);
    QFile::setPermissions(unreadable, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    if (verdict.kind == ChildVerdict::Skipped)
        GTEST_SKIP() << verdict.message;
    EXPECT_EQ(verdict.kind, ChildVerdict::Passed) << verdict.message;
    for (unsigned id : ids)
        EXPECT_EQ(bytesOf(name(id)), mail) << id;
    EXPECT_EQ(rowsAmong(ids), ids);
}

TEST_F(MmsutilCheckTest, AnIndexThatCannotBeOpenedIsAFailure)
{
    const QString notADirectory = dir.filePath(QStringLiteral("platform-file"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(notADirectory, "x"));

    const ToolResult result = run({QStringLiteral("check")}, notADirectory);

    expectFailure(result);
    EXPECT_TRUE(result.err.startsWith("mmsutil: cannot open the message index in '"))
        << result.err.toStdString();
}

TEST_F(MmsutilCheckTest, ADamagedIndexIsCalledDamagedAndNotMissing)
{
    const QList<unsigned> ids = addRows(1);
    putMail(ids.constFirst(), mail);
    ASSERT_EQ(tavmms_test::damageTableLookups(databasePath()), "");

    for (const QStringList& options :
         {QStringList(), QStringList{QStringLiteral("--repair"), QStringLiteral("--force")}}) {
        SCOPED_TRACE(options.join(QLatin1Char(' ')).toStdString());
        const ToolResult result = check(options);

        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
        EXPECT_EQ(result.err.toStdString(),
                  "mmsutil: the message index '" + databasePath().toStdString() +
                      "' is damaged: not a database, or a corrupt one (DB_ERR_CORRUPT)\n");
    }
    EXPECT_TRUE(QFile::exists(mailPath(QStringLiteral("%1.mms").arg(ids.constFirst()))));
}

TEST_F(MmsutilCheckTest, AFileThatIsNotADatabaseIsCalledADamagedIndex)
{
    putMail(1, mail);
    ASSERT_TRUE(tavmms_test::writeFileBytes(databasePath(), QByteArray(8192, 'x')));

    const ToolResult result = check();

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err.toStdString(),
              "mmsutil: the message index '" + databasePath().toStdString() +
                  "' is damaged: not a database, or a corrupt one (DB_ERR_CORRUPT)\n");
}

TEST_F(MmsutilCheckTest, ARepairThatFailsSaysSoAndLeavesTheFiles)
{
    const QList<unsigned> ids = addRows(1);
    putMail(ids[0], mail);
    putLeftover(ids[0], mail);

    ChildProcess child([&](ChildProcess&) { return repairOnAReadOnlyDirectory(ids[0]); });
    EXPECT_CHILD_PASSES(child, 60s);
    EXPECT_EQ(entries(), QStringList({name(ids[0]), name(ids[0], ".mms.tmp")}));
}

// ---- command line ----

TEST_F(MmsutilCheckTest, ForceWithoutRepairIsAUsageErrorAndChangesNothing)
{
    const QList<unsigned> ids = addRows(1);

    const ToolResult result = check({QStringLiteral("--force")});

    expectUsageError(result);
    EXPECT_EQ(result.err.toStdString(),
              "mmsutil: check: --force only goes with --repair or --rebuild (see "
              "'mmsutil check --help')\n");
    EXPECT_EQ(rowsAmong(ids), ids);
}

TEST_F(MmsutilCheckTest, HelpDescribesTheLinesTheRepairsAndTheExitStatus)
{
    const ToolResult result = check({QStringLiteral("--help")});

    EXPECT_EQ(result.exitCode, 0);
    for (const char* text :
         {"Usage: mmsutil check [options]", "row N: no mail file N.mms", "N.mms: no row",
          "N.mms: does not load (why)", "N.mms.tmp: left by an interrupted save",
          "N.mms: its header does not match its row (fields)",
          "Mail files without a message index stop the check, but for --rebuild.",
          "Nothing is deleted but rows without a mail file", "quarantine/", "--repair", "--force",
          "--rebuild", "Exit status: 0"})
        EXPECT_TRUE(result.out.contains(text)) << text;
    const ToolResult tool = run({QStringLiteral("--help")});
    EXPECT_TRUE(tool.out.contains("  check ")) << tool.out.toStdString();
}

} // namespace
