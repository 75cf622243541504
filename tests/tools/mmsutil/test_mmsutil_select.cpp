// mmsutil list with its filters, order and pages, and mark, move and delete of several messages,
// run as a child process on a temporary store: what they print, their exit codes, their JSON, and
// the rows and mail files they leave.

#include "support/message_store.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QTemporaryDir>

namespace
{

using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

const int kExitNo = 3;

class MmsutilSelectTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        QFile body(bodyPath());
        ASSERT_TRUE(body.open(QIODevice::WriteOnly));
        ASSERT_EQ(body.write("body"), 4);
    }

    QString databasePath() const { return dir.filePath(QStringLiteral("platform/device.db")); }
    QString mailFile(unsigned id) const
    {
        return dir.filePath(QStringLiteral("download/mms/mailfile/%1.mms").arg(id));
    }
    QString bodyPath() const { return dir.filePath(QStringLiteral("body.bin")); }

    ToolResult run(const QStringList& arguments) const
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(), arguments);
    }

    // The same in the time zone `zone`.
    ToolResult runIn(const char* zone, const QStringList& arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TAV_PLATFORM_DIR"),
                           dir.filePath(QStringLiteral("platform")));
        environment.insert(QStringLiteral("TAV_LOCAL_DOWNLOAD_PATH"),
                           dir.filePath(QStringLiteral("download")));
        environment.insert(QStringLiteral("TZ"), QLatin1String(zone));
        return tavmms_test::runTool(QStringLiteral(TAVMMS_MMSUTIL_PATH), arguments, dir.path(),
                                    QByteArray(), environment);
    }

    // Adds a row without a mail file: sent at `time` (seconds since the epoch) into `folder`.
    unsigned add(const char* from, const char* to, const char* subject, unsigned folder,
                 quint32 time, bool read) const
    {
        const ToolResult added =
            run({QStringLiteral("index"), QStringLiteral("add"), QStringLiteral("--from"),
                 QString::fromUtf8(from), QStringLiteral("--to"), QString::fromUtf8(to),
                 QStringLiteral("--subject"), QString::fromUtf8(subject),
                 QStringLiteral("--folder"), QString::number(folder), QStringLiteral("--time"),
                 QString::number(time), QStringLiteral("--field"),
                 QStringLiteral("cmn_fld_msg_attr_read=%1").arg(read ? 1 : 0)});
        EXPECT_EQ(added.exitCode, 0) << added.err.toStdString();
        return added.out.trimmed().toUInt();
    }

    // A composed message, with its mail file.
    unsigned compose() const
    {
        const ToolResult composed =
            run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                 QStringLiteral("--subject"), QStringLiteral("Hello"), QStringLiteral("--body"),
                 bodyPath()});
        EXPECT_EQ(composed.exitCode, 0) << composed.err.toStdString();
        return composed.out.split(' ').constFirst().toUInt();
    }

    // The ids `list --json` gives with `options`, checking its exit code.
    QList<qint64> listed(const QStringList& options, int exitCode = 0) const
    {
        const ToolResult result =
            run(QStringList{QStringLiteral("list"), QStringLiteral("--json")} + options);
        EXPECT_EQ(result.exitCode, exitCode) << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(result.out, &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << result.out.toStdString();
        EXPECT_TRUE(document.isArray());
        QList<qint64> ids;
        for (const QJsonValue& row : document.array())
            ids.append(row.toObject().value(QStringLiteral("id")).toInteger());
        return ids;
    }

    QList<QByteArray> rowIds() const { return tavmms_test::rowIds(databasePath()); }
    MMS_UTIL_DBStruct_T row(unsigned id) const { return tavmms_test::readRow(databasePath(), id); }

    // Three rows: an unread one in the inbox, a read one in the sent folder, a read draft.
    void addThree()
    {
        inbox = add("Ann Example", "Me", "Lunch today?", 1, 1700000000, false);
        sent = add("Me", "Bob Example", "Re: lunch", 3, 1700100000, true);
        draft = add("Me", "Carol", "Holiday photos", 4, 1699900000, true);
    }

    QTemporaryDir dir;
    unsigned inbox = 0;
    unsigned sent = 0;
    unsigned draft = 0;
};

// ---- list ----

TEST_F(MmsutilSelectTest, ListSelectsByFolderNameOrNumberAndByReadMark)
{
    addThree();

    EXPECT_EQ(listed({QStringLiteral("--folder"), QStringLiteral("inbox")}), QList<qint64>{inbox});
    EXPECT_EQ(listed({QStringLiteral("--folder"), QStringLiteral("Sent")}), QList<qint64>{sent});
    EXPECT_EQ(listed({QStringLiteral("--folder"), QStringLiteral("4")}), QList<qint64>{draft});
    EXPECT_EQ(listed({QStringLiteral("--unread")}), QList<qint64>{inbox});
    EXPECT_EQ(listed({QStringLiteral("--read")}), (QList<qint64>{sent, draft}));
    EXPECT_EQ(listed({QStringLiteral("--read"), QStringLiteral("--folder"), QStringLiteral("3")}),
              QList<qint64>{sent});
}

TEST_F(MmsutilSelectTest, ListFindsTextInFromToAndSubjectIgnoringCase)
{
    addThree();

    EXPECT_EQ(listed({QStringLiteral("--from"), QStringLiteral("ann")}), QList<qint64>{inbox});
    EXPECT_EQ(listed({QStringLiteral("--to"), QStringLiteral("EXAMPLE")}), QList<qint64>{sent});
    EXPECT_EQ(listed({QStringLiteral("--subject"), QStringLiteral("Lunch")}),
              (QList<qint64>{inbox, sent}));
    EXPECT_EQ(listed({QStringLiteral("--subject"), QStringLiteral("lunch"),
                      QStringLiteral("--from"), QStringLiteral("me")}),
              QList<qint64>{sent});
}

TEST_F(MmsutilSelectTest, ListSelectsFromSinceToUntilGivenAsDatesOrDateTimes)
{
    addThree(); // draft 2023-11-13 18:26:40, inbox 2023-11-14 22:13:20, sent 2023-11-16 02:00 UTC

    EXPECT_EQ(listed({QStringLiteral("--since"), QStringLiteral("2023-11-14")}),
              (QList<qint64>{inbox, sent}));
    EXPECT_EQ(listed({QStringLiteral("--until"), QStringLiteral("2023-11-14")}),
              (QList<qint64>{inbox, draft}));
    EXPECT_EQ(listed({QStringLiteral("--since"), QStringLiteral("2023-11-14T22:13:20"),
                      QStringLiteral("--until"), QStringLiteral("2023-11-14T22:13:20Z")}),
              QList<qint64>{inbox});
    EXPECT_EQ(listed({QStringLiteral("--since"), QStringLiteral("2023-11-14T23:13:21+01:00")}),
              QList<qint64>{sent});
    EXPECT_EQ(listed({QStringLiteral("--since"), QStringLiteral("2023-11-14 22:13:20 +00:00"),
                      QStringLiteral("--until"), QStringLiteral("2023-11-15")}),
              QList<qint64>{inbox});
}

TEST_F(MmsutilSelectTest, ListTakesADateAloneAsTheWholeDayInLocalTime)
{
    // inbox: 2023-11-14 22:13:20 UTC, 23:13:20 in Berlin, 2023-11-15 07:13:20 in Tokyo;
    // draft: 2023-11-13 18:26:40 UTC, 19:26:40 in Berlin, 2023-11-14 03:26:40 in Tokyo.
    addThree();

    const auto ids = [this](const char* zone, const char* day) {
        const ToolResult result = runIn(zone, {QStringLiteral("list"), QStringLiteral("--json"),
                                               QStringLiteral("--since"), QString::fromUtf8(day),
                                               QStringLiteral("--until"), QString::fromUtf8(day)});
        QList<qint64> found;
        for (const QJsonValue& row : QJsonDocument::fromJson(result.out).array())
            found.append(row.toObject().value(QStringLiteral("id")).toInteger());
        return found;
    };

    EXPECT_EQ(ids("Europe/Berlin", "2023-11-13"), QList<qint64>{draft});
    EXPECT_EQ(ids("Europe/Berlin", "2023-11-14"), QList<qint64>{inbox});
    EXPECT_EQ(ids("Asia/Tokyo", "2023-11-14"), QList<qint64>{draft});
    EXPECT_EQ(ids("Asia/Tokyo", "2023-11-15"), QList<qint64>{inbox});
}

TEST_F(MmsutilSelectTest, ListOrdersByIdOrDateReversesAndPages)
{
    addThree();

    EXPECT_EQ(listed({}), (QList<qint64>{inbox, sent, draft}));
    EXPECT_EQ(listed({QStringLiteral("--sort"), QStringLiteral("id")}),
              (QList<qint64>{inbox, sent, draft}));
    EXPECT_EQ(listed({QStringLiteral("--reverse")}), (QList<qint64>{draft, sent, inbox}));
    EXPECT_EQ(listed({QStringLiteral("--sort"), QStringLiteral("date")}),
              (QList<qint64>{draft, inbox, sent}));
    EXPECT_EQ(
        listed({QStringLiteral("--sort"), QStringLiteral("date"), QStringLiteral("--reverse")}),
        (QList<qint64>{sent, inbox, draft}));
    EXPECT_EQ(listed({QStringLiteral("--sort"), QStringLiteral("date"), QStringLiteral("--limit"),
                      QStringLiteral("2")}),
              (QList<qint64>{draft, inbox}));
    EXPECT_EQ(listed({QStringLiteral("--sort"), QStringLiteral("date"), QStringLiteral("--offset"),
                      QStringLiteral("1"), QStringLiteral("--limit"), QStringLiteral("1")}),
              QList<qint64>{inbox});
    EXPECT_EQ(listed({QStringLiteral("--offset"), QStringLiteral("3")}, kExitNo), QList<qint64>{});
}

TEST_F(MmsutilSelectTest, ListThatMatchesNothingPrintsTheHeadingAloneAndAnswersNo)
{
    addThree();

    const ToolResult columns =
        run({QStringLiteral("list"), QStringLiteral("--subject"), QStringLiteral("nothing")});
    const ToolResult json = run({QStringLiteral("list"), QStringLiteral("--json"),
                                 QStringLiteral("--subject"), QStringLiteral("nothing")});

    EXPECT_EQ(columns.exitCode, kExitNo);
    EXPECT_EQ(columns.out, "ID  FOLDER  DATE  FROM  TO  SUBJECT\n");
    EXPECT_TRUE(columns.err.isEmpty()) << columns.err.toStdString();
    EXPECT_EQ(json.exitCode, kExitNo);
    EXPECT_EQ(QJsonDocument::fromJson(json.out).array(), QJsonArray());
    EXPECT_TRUE(json.out.startsWith('[')) << json.out.toStdString();
}

TEST_F(MmsutilSelectTest, ListRefusesOptionValuesItCannotRead)
{
    addThree();
    const QList<QStringList> wrong{
        {QStringLiteral("--read"), QStringLiteral("--unread")},
        {QStringLiteral("--folder"), QStringLiteral("trash")},
        {QStringLiteral("--since"), QStringLiteral("yesterday")},
        {QStringLiteral("--until"), QStringLiteral("2023-02-30")},
        {QStringLiteral("--since"), QStringLiteral("2023-11-14T25:00")},
        {QStringLiteral("--until"), QStringLiteral("14.11.2023")},
        {QStringLiteral("--sort"), QStringLiteral("size")},
        {QStringLiteral("--limit"), QStringLiteral("-1")},
        {QStringLiteral("--offset"), QStringLiteral("x")},
    };
    for (const QStringList& options : wrong) {
        SCOPED_TRACE(options.join(QLatin1Char(' ')).toStdString());
        expectUsageError(run(QStringList{QStringLiteral("list")} + options));
    }
}

TEST_F(MmsutilSelectTest, ListPrintsLocalTimesWithTheirOffset)
{
    const unsigned id = add("Ann", "Me", "Hi", 1, 1700000000, false);

    const ToolResult columns = runIn("Europe/Berlin", {QStringLiteral("list")});
    const ToolResult json =
        runIn("Asia/Kolkata", {QStringLiteral("list"), QStringLiteral("--json")});

    EXPECT_EQ(columns.exitCode, 0) << columns.err.toStdString();
    EXPECT_EQ(columns.out, "ID  FOLDER  DATE                        FROM  TO  SUBJECT\n"
                           " " +
                               QByteArray::number(id) +
                               "       1  2023-11-14 23:13:20 +01:00  Ann   Me  Hi\n");
    EXPECT_EQ(json.exitCode, 0) << json.err.toStdString();
    const QJsonObject row = QJsonDocument::fromJson(json.out).array().at(0).toObject();
    EXPECT_EQ(row.value(QStringLiteral("date")).toString(),
              QStringLiteral("2023-11-15T03:43:20+05:30"));
    EXPECT_EQ(row.value(QStringLiteral("time")).toInteger(), 1700000000);
}

// ---- mark and move ----

TEST_F(MmsutilSelectTest, MarkSetsTheReadMarkOfEveryMessageGiven)
{
    addThree();

    const ToolResult unread =
        run({QStringLiteral("mark"), QString::number(sent), QString::number(draft),
             QString::number(sent), QStringLiteral("--unread")});
    EXPECT_EQ(unread.exitCode, 0) << unread.err.toStdString();
    EXPECT_EQ(unread.out, QStringLiteral("Marked message %1 unread\nMarked message %2 unread\n")
                              .arg(sent)
                              .arg(draft)
                              .toUtf8());
    EXPECT_EQ(listed({QStringLiteral("--unread")}), (QList<qint64>{inbox, sent, draft}));

    const ToolResult read =
        run({QStringLiteral("mark"), QStringLiteral("--read"), QString::number(inbox)});
    EXPECT_EQ(read.exitCode, 0) << read.err.toStdString();
    EXPECT_EQ(row(inbox).cmn_fld_msg_attr_read, 1);
}

TEST_F(MmsutilSelectTest, MarkAndMoveWithAnUnknownIdChangeNothingAndNameIt)
{
    addThree();
    const QString unknown = QString::number(draft + 1);

    const ToolResult marked = run({QStringLiteral("mark"), QStringLiteral("--read"),
                                   QString::number(inbox), unknown, QStringLiteral("99")});
    const ToolResult moved = run({QStringLiteral("move"), QString::number(inbox), unknown,
                                  QStringLiteral("--folder"), QStringLiteral("drafts")});

    EXPECT_EQ(marked.exitCode, kExitNo);
    EXPECT_TRUE(marked.out.isEmpty()) << marked.out.toStdString();
    EXPECT_EQ(marked.err, "mmsutil: no message " + unknown.toUtf8() + "\nmmsutil: no message 99\n");
    EXPECT_EQ(moved.exitCode, kExitNo);
    EXPECT_EQ(moved.err, "mmsutil: no message " + unknown.toUtf8() + '\n');
    EXPECT_EQ(row(inbox).cmn_fld_msg_attr_read, 0);
    EXPECT_EQ(row(inbox).cmn_fld_folder_id, 1u);
}

TEST_F(MmsutilSelectTest, MarkRefusesAnythingButOneOfReadAndUnreadAndIdsThatAreNoNumbers)
{
    addThree();
    for (const QStringList& arguments : QList<QStringList>{
             {QString::number(inbox)},
             {QString::number(inbox), QStringLiteral("--read"), QStringLiteral("--unread")},
             {QStringLiteral("--read")},
             {QStringLiteral("--read"), QString::number(inbox), QStringLiteral("x")},
             {QStringLiteral("--read"), QStringLiteral("-1")}}) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(run(QStringList{QStringLiteral("mark")} + arguments));
    }
    EXPECT_EQ(row(inbox).cmn_fld_msg_attr_read, 0);
}

TEST_F(MmsutilSelectTest, MoveTakesTheFolderByNameOrNumberAndKeepsTheState)
{
    addThree();
    const unsigned short state = row(inbox).cmn_fld_send_receive_state;

    const ToolResult byName =
        run({QStringLiteral("move"), QString::number(inbox), QString::number(sent),
             QStringLiteral("--folder"), QStringLiteral("Drafts")});
    EXPECT_EQ(byName.exitCode, 0) << byName.err.toStdString();
    EXPECT_EQ(byName.out, QStringLiteral("Moved message %1 to 4 (drafts)\nMoved message %2 to 4 "
                                         "(drafts)\n")
                              .arg(inbox)
                              .arg(sent)
                              .toUtf8());
    EXPECT_EQ(listed({QStringLiteral("--folder"), QStringLiteral("drafts")}),
              (QList<qint64>{inbox, sent, draft}));

    const ToolResult byNumber = run({QStringLiteral("move"), QString::number(inbox),
                                     QStringLiteral("--folder"), QStringLiteral("1")});
    EXPECT_EQ(byNumber.exitCode, 0) << byNumber.err.toStdString();
    EXPECT_EQ(row(inbox).cmn_fld_folder_id, 1u);
    EXPECT_EQ(row(inbox).cmn_fld_send_receive_state, state);
}

TEST_F(MmsutilSelectTest, MoveToAFolderThatIsNotOneIsAUsageErrorAndChangesNothing)
{
    addThree();
    for (const QStringList& arguments : QList<QStringList>{
             {QString::number(inbox), QStringLiteral("--folder"), QStringLiteral("trash")},
             {QString::number(inbox), QStringLiteral("--folder"), QStringLiteral("9")},
             {QString::number(inbox), QStringLiteral("--folder"), QStringLiteral("0")},
             {QString::number(inbox)},
             {QStringLiteral("--folder"), QStringLiteral("1")},
             {QStringLiteral("one"), QStringLiteral("--folder"), QStringLiteral("1")}}) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(run(QStringList{QStringLiteral("move")} + arguments));
    }
    EXPECT_EQ(row(inbox).cmn_fld_folder_id, 1u);
}

// ---- delete ----

TEST_F(MmsutilSelectTest, DeleteOfSeveralDeletesEachRowAndMailFile)
{
    const unsigned first = compose();
    const unsigned second = compose();
    const unsigned kept = compose();
    ASSERT_TRUE(QFile::remove(mailFile(second)));

    const ToolResult result =
        run({QStringLiteral("delete"), QString::number(first), QString::number(second)});

    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, QStringLiteral("Deleted message %1 and its mail file %2\n"
                                         "Deleted message %3; it had no mail file %4\n")
                              .arg(first)
                              .arg(mailFile(first))
                              .arg(second)
                              .arg(mailFile(second))
                              .toUtf8());
    EXPECT_EQ(rowIds(), QList<QByteArray>{QByteArray::number(kept)});
    EXPECT_FALSE(QFile::exists(mailFile(first)));
    EXPECT_TRUE(QFile::exists(mailFile(kept)));
}

TEST_F(MmsutilSelectTest, DeleteWithAnUnknownIdDeletesNothingAndNamesIt)
{
    const unsigned first = compose();
    const unsigned second = compose();
    const QString unknown = QString::number(second + 1);

    const ToolResult result =
        run({QStringLiteral("delete"), QString::number(first), unknown, QString::number(second)});

    EXPECT_EQ(result.exitCode, kExitNo);
    EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    EXPECT_EQ(result.err, "mmsutil: no message " + unknown.toUtf8() + '\n');
    EXPECT_EQ(rowIds(), (QList<QByteArray>{QByteArray::number(first), QByteArray::number(second)}));
    EXPECT_TRUE(QFile::exists(mailFile(first)));
    EXPECT_TRUE(QFile::exists(mailFile(second)));
}

TEST_F(MmsutilSelectTest, DeleteDryRunSaysWhatWouldGoAndChangesNothing)
{
    const unsigned first = compose();
    const unsigned second = compose();
    ASSERT_TRUE(QFile::remove(mailFile(second)));

    const ToolResult result = run({QStringLiteral("delete"), QStringLiteral("--dry-run"),
                                   QString::number(first), QString::number(second)});
    const ToolResult unknown =
        run({QStringLiteral("delete"), QStringLiteral("--dry-run"), QStringLiteral("99")});

    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, QStringLiteral("Would delete message %1 and its mail file %2\n"
                                         "Would delete message %3; it has no mail file %4\n")
                              .arg(first)
                              .arg(mailFile(first))
                              .arg(second)
                              .arg(mailFile(second))
                              .toUtf8());
    EXPECT_EQ(unknown.exitCode, kExitNo);
    EXPECT_EQ(unknown.err, "mmsutil: no message 99\n");
    EXPECT_EQ(rowIds(), (QList<QByteArray>{QByteArray::number(first), QByteArray::number(second)}));
    EXPECT_TRUE(QFile::exists(mailFile(first)));
}

TEST_F(MmsutilSelectTest, DeleteOfAMalformedIdOrNoneIsAUsageError)
{
    const unsigned id = compose();

    expectUsageError(run({QStringLiteral("delete")}));
    expectUsageError(run({QStringLiteral("delete"), QString::number(id), QStringLiteral("2x")}));
    expectUsageError(run({QStringLiteral("delete"), QStringLiteral("--dry-run")}));
    EXPECT_EQ(rowIds(), QList<QByteArray>{QByteArray::number(id)});
}

TEST_F(MmsutilSelectTest, HelpOfListSaysWhatTheTextsAreMatchedAgainst)
{
    const ToolResult help = run({QStringLiteral("list"), QStringLiteral("--help")});

    EXPECT_EQ(help.exitCode, 0);
    for (const char* option : {"--unread", "--read", "--from", "--to", "--subject", "--since",
                               "--until", "--limit", "--offset", "--sort", "--reverse"})
        EXPECT_TRUE(help.out.contains(option)) << option;
    EXPECT_TRUE(
        help.out.simplified().contains("ignoring case, in what the column shows: the row's field"))
        << help.out.toStdString();
}

} // namespace
