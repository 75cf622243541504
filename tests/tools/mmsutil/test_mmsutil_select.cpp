// mmsutil list with its filters, order and pages, run as a child process on a temporary store:
// what it prints, its exit codes and its JSON.

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
