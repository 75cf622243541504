// mmsutil's index commands, run as a child process on a device database in a temporary platform
// directory: what they print, their exit codes, and the rows they leave, read back through the
// library. The setter of a row's field from its command-line text is also tried in-process.

#include <tavmmsutility.h>

#include "mmshelpers.h"

#include "support/index_table_helpers.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/sql_queries.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace
{

using tavmms_test::expectFailure;
using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

class MmsutilIndexTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QString platformDir() const { return dir.filePath(QStringLiteral("platform")); }
    QString databasePath() const { return platformDir() + QStringLiteral("/device.db"); }
    QString mailFileDir() const { return dir.filePath(QStringLiteral("download/mms/mailfile")); }

    ToolResult run(const QStringList& arguments, const QByteArray& input = QByteArray()) const
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(), arguments,
                                       input);
    }

    ToolResult index(const QStringList& arguments) const
    {
        return run(QStringList{QStringLiteral("index")} + arguments);
    }

    // Adds a row with `options` besides the required ones (which they may repeat) and gives its
    // id; 0 after reporting a failure.
    unsigned add(const QStringList& options = {}) const
    {
        const ToolResult added =
            index(QStringList{QStringLiteral("add"), QStringLiteral("--from"),
                              QStringLiteral("Ann"), QStringLiteral("--to"), QStringLiteral("Bob"),
                              QStringLiteral("--subject"), QStringLiteral("Hi")} +
                  options);
        EXPECT_EQ(added.exitCode, 0) << added.err.toStdString();
        EXPECT_TRUE(added.err.isEmpty()) << added.err.toStdString();
        EXPECT_TRUE(added.out.endsWith('\n')) << added.out.toStdString();
        bool ok = false;
        const unsigned id = added.out.trimmed().toUInt(&ok);
        EXPECT_TRUE(ok) << added.out.toStdString();
        return ok ? id : 0;
    }

    // Row `id` as the library reads it from the database file.
    MMS_UTIL_DBStruct_T readBack(unsigned id) const
    {
        return tavmms_test::readRow(databasePath(), id);
    }

    QJsonArray listJson(const QStringList& options = {}) const
    {
        const ToolResult listed =
            index(QStringList{QStringLiteral("list"), QStringLiteral("--json")} + options);
        EXPECT_EQ(listed.exitCode, 0) << listed.err.toStdString();
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(listed.out, &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << listed.out.toStdString();
        EXPECT_TRUE(document.isArray()) << listed.out.toStdString();
        return document.array();
    }

    QList<qint64> listedIds(const QStringList& options = {}) const
    {
        QList<qint64> ids;
        for (const QJsonValue& row : listJson(options))
            ids.append(row.toObject().value(QStringLiteral("id")).toInteger());
        return ids;
    }

    QTemporaryDir dir;
};

const QStringList kFullRow{
    QStringLiteral("--from"),    QStringLiteral("Ann <+1555>"),
    QStringLiteral("--to"),      QStringLiteral("bob@example.org"),
    QStringLiteral("--subject"), QStringLiteral("Lunch\ttoday"),
    QStringLiteral("--folder"),  QStringLiteral("3"),
    QStringLiteral("--uri"),     QStringLiteral("http://mmsc.example/m1"),
    QStringLiteral("--size"),    QStringLiteral("4096"),
    QStringLiteral("--time"),    QStringLiteral("1700000000"),
    QStringLiteral("--msgid"),   QStringLiteral("msg-1"),
    QStringLiteral("--tid"),     QStringLiteral("tid-1"),
    QStringLiteral("--field"),   QStringLiteral("cmn_fld_priority=2"),
    QStringLiteral("--field"),   QStringLiteral("mms_fld_expiretime_name=4294967295"),
    QStringLiteral("--field"),   QStringLiteral("mms_fld_extra_name=extra text"),
};

TEST_F(MmsutilIndexTest, ShowPrintsEveryFieldOfTheAddedRowByName)
{
    const unsigned id = add(kFullRow);
    ASSERT_NE(id, 0u);

    const ToolResult shown = index({QStringLiteral("show"), QString::number(id)});

    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_TRUE(shown.err.isEmpty()) << shown.err.toStdString();
    const QByteArray expected =
        "id:                            " + QByteArray::number(id) +
        "\n"
        "cmn_fld_from_name:             Ann <+1555>\n"
        "cmn_fld_to_name:               bob@example.org\n"
        "cmn_fld_subject:               Lunch\\x09today\n"
        "cmn_fld_time_msg_reach_phone:  0\n"
        "cmn_fld_time:                  1700000000 (2023-11-14 22:13:20 +00:00)\n"
        "cmn_fld_msg_usage:             0\n"
        "cmn_fld_msg_type:              0\n"
        "cmn_fld_msg_attr_read:         0\n"
        "cmn_fld_folder_id:             3\n"
        "cmn_fld_priority:              2\n"
        "cmn_fld_mms_type:              0\n"
        "cmn_fld_contain_au_or_vi:      0\n"
        "cmn_fld_contain_attachment:    0\n"
        "cmn_fld_send_receive_state:    0\n"
        "mms_fld_sendervisibility_name: 0\n"
        "mms_fld_deliveryreport_name:   0\n"
        "mms_fld_readreplyreport_name:  0\n"
        "mms_fld_contenttype_name:      0\n"
        "mms_fld_notifyrespstatus_name: 0\n"
        "mms_fld_msgsize_name:          4096\n"
        "mms_fld_deliverytime_name:     0\n"
        "mms_fld_expiretime_name:       4294967295\n"
        "mms_fld_tid_name:              tid-1\n"
        "mms_fld_msgid_name:            msg-1\n"
        "mms_fld_msguri_name:           http://mmsc.example/m1\n"
        "mms_fld_extra_name:            extra text\n";
    EXPECT_EQ(shown.out.toStdString(), expected.toStdString());
}

TEST_F(MmsutilIndexTest, AddStoresTheRowAsTheLibraryReadsIt)
{
    const unsigned id = add(kFullRow);
    ASSERT_NE(id, 0u);

    const MMS_UTIL_DBStruct_T record = readBack(id);
    EXPECT_EQ(tavmms_test::text16(record.cmn_fld_from_name), QStringLiteral("Ann <+1555>"));
    EXPECT_EQ(tavmms_test::text16(record.cmn_fld_to_name), QStringLiteral("bob@example.org"));
    EXPECT_EQ(tavmms_test::text16(record.cmn_fld_subject), QStringLiteral("Lunch\ttoday"));
    EXPECT_EQ(tavmms_test::text16(record.mms_fld_extra_name), QStringLiteral("extra text"));
    EXPECT_EQ(tavmms_test::text8(record.mms_fld_msguri_name), "http://mmsc.example/m1");
    EXPECT_EQ(tavmms_test::text8(record.mms_fld_msgid_name), "msg-1");
    EXPECT_EQ(tavmms_test::text8(record.mms_fld_tid_name), "tid-1");
    EXPECT_EQ(record.cmn_fld_folder_id, 3u);
    EXPECT_EQ(record.mms_fld_msgsize_name, 4096u);
    EXPECT_EQ(record.cmn_fld_time, 1700000000u);
    EXPECT_EQ(record.cmn_fld_priority, 2u);
    EXPECT_EQ(record.mms_fld_expiretime_name, 4294967295u);
    EXPECT_EQ(record.cmn_fld_time_msg_reach_phone, 0u);
}

TEST_F(MmsutilIndexTest, AddWithoutATimeStampsTheRowWithNow)
{
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    const unsigned id = add();
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    ASSERT_NE(id, 0u);

    const MMS_UTIL_DBStruct_T record = readBack(id);
    EXPECT_GE(qint64(record.cmn_fld_time), before);
    EXPECT_LE(qint64(record.cmn_fld_time), after);
}

TEST_F(MmsutilIndexTest, ListPrintsAHeaderAndOneLinePerRowInIdOrder)
{
    const unsigned first = add(kFullRow);
    const unsigned second =
        add({QStringLiteral("--from"), QStringLiteral("Carl"), QStringLiteral("--subject"),
             QStringLiteral("Second\nline"), QStringLiteral("--time"), QStringLiteral("0"),
             QStringLiteral("--size"), QStringLiteral("12")});
    ASSERT_EQ(second, first + 1);

    const ToolResult listed = index({QStringLiteral("list")});

    EXPECT_EQ(listed.exitCode, 0);
    EXPECT_TRUE(listed.err.isEmpty()) << listed.err.toStdString();
    // A tab and a line break in a subject are shown as escapes, and the columns are as wide as
    // the escapes.
    const QByteArray expected =
        "ID  FOLDER  FROM         SUBJECT             TIME                        SIZE\n"
        " " +
        QByteArray::number(first) +
        "       3  Ann <+1555>  Lunch\\x09today      2023-11-14 22:13:20 +00:00  4096\n"
        " " +
        QByteArray::number(second) +
        "       0  Carl         Second\\u{2028}line  1970-01-01 00:00:00 +00:00    12\n";
    EXPECT_EQ(listed.out.toStdString(), expected.toStdString());
}

TEST_F(MmsutilIndexTest, ListOfANewDatabaseIsTheHeaderAlone)
{
    const ToolResult listed = index({QStringLiteral("list")});

    EXPECT_EQ(listed.exitCode, 0) << listed.err.toStdString();
    EXPECT_EQ(listed.out, "ID  FOLDER  FROM  SUBJECT  TIME  SIZE\n");
    EXPECT_TRUE(QFile::exists(databasePath()));
    EXPECT_EQ(listJson(), QJsonArray());
}

TEST_F(MmsutilIndexTest, ListJsonHasEveryFieldOfEveryRowByItsDatabaseName)
{
    const unsigned first = add(kFullRow);
    const unsigned second = add();
    ASSERT_NE(second, 0u);

    const QJsonArray rows = listJson();

    ASSERT_EQ(rows.size(), 2);
    QStringList names{QStringLiteral("id")};
    for (const DB_BIND_T& field : MMS_UTIL_DBBINDING)
        names << QLatin1String(field.name);
    names.sort();
    for (const QJsonValue& row : rows)
        EXPECT_EQ(row.toObject().keys(), names);
    const QJsonObject full = rows.at(0).toObject();
    EXPECT_EQ(full.value(QStringLiteral("id")).toInteger(), first);
    EXPECT_EQ(full.value(QStringLiteral("cmn_fld_from_name")),
              QJsonValue(QStringLiteral("Ann <+1555>")));
    EXPECT_EQ(full.value(QStringLiteral("cmn_fld_subject")),
              QJsonValue(QStringLiteral("Lunch\ttoday")));
    EXPECT_EQ(full.value(QStringLiteral("mms_fld_msguri_name")),
              QJsonValue(QStringLiteral("http://mmsc.example/m1")));
    EXPECT_EQ(full.value(QStringLiteral("cmn_fld_time")), QJsonValue(1700000000));
    EXPECT_EQ(full.value(QStringLiteral("mms_fld_expiretime_name")), QJsonValue(4294967295LL));
    EXPECT_EQ(full.value(QStringLiteral("cmn_fld_folder_id")), QJsonValue(3));
    EXPECT_EQ(full.value(QStringLiteral("cmn_fld_priority")), QJsonValue(2));
    EXPECT_EQ(full.value(QStringLiteral("mms_fld_deliverytime_name")), QJsonValue(0));
    EXPECT_EQ(rows.at(1).toObject().value(QStringLiteral("id")).toInteger(), second);
    EXPECT_EQ(rows.at(1).toObject().value(QStringLiteral("mms_fld_msguri_name")),
              QJsonValue(QString()));
}

TEST_F(MmsutilIndexTest, ShowJsonIsTheRowsObject)
{
    const unsigned id = add(kFullRow);

    const ToolResult shown =
        index({QStringLiteral("show"), QString::number(id), QStringLiteral("--json")});

    ASSERT_EQ(shown.exitCode, 0) << shown.err.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(shown.out).object(), listJson().at(0).toObject());
}

TEST_F(MmsutilIndexTest, ListFolderShowsOnlyThatFoldersRows)
{
    QList<qint64> ids;
    for (const char* folder : {"1", "2", "1", "3", "1"})
        ids.append(add({QStringLiteral("--folder"), QLatin1String(folder)}));

    EXPECT_EQ(listedIds({QStringLiteral("--folder"), QStringLiteral("1")}),
              (QList<qint64>{ids[0], ids[2], ids[4]}));
    EXPECT_EQ(listedIds({QStringLiteral("--folder"), QStringLiteral("2")}),
              (QList<qint64>{ids[1]}));
    EXPECT_EQ(listedIds({QStringLiteral("--folder"), QStringLiteral("4")}), QList<qint64>());
    EXPECT_EQ(listedIds(), ids);

    const ToolResult listed =
        index({QStringLiteral("list"), QStringLiteral("--folder"), QStringLiteral("3")});
    EXPECT_EQ(listed.exitCode, 0);
    EXPECT_EQ(listed.out.count('\n'), 2) << listed.out.toStdString();
    EXPECT_TRUE(listed.out.contains("\n " + QByteArray::number(ids[3]) + "       3  "))
        << listed.out.toStdString();
}

TEST_F(MmsutilIndexTest, NonAsciiTextsRoundTrip)
{
    const QString subject = QStringLiteral("Grüße, Привет, 你好 😀");
    const unsigned id =
        add({QStringLiteral("--subject"), subject, QStringLiteral("--from"), QStringLiteral("Zoë"),
             QStringLiteral("--uri"), QStringLiteral("http://mmsc.example/ü")});

    EXPECT_EQ(tavmms_test::text16(readBack(id).cmn_fld_subject), subject);
    const QJsonObject row = listJson().at(0).toObject();
    EXPECT_EQ(row.value(QStringLiteral("cmn_fld_subject")).toString(), subject);
    EXPECT_EQ(row.value(QStringLiteral("cmn_fld_from_name")).toString(), QStringLiteral("Zoë"));
    const ToolResult listed = index({QStringLiteral("list")});
    EXPECT_TRUE(listed.out.contains(subject.toUtf8())) << listed.out.toStdString();
    const ToolResult found =
        index({QStringLiteral("find"), QStringLiteral("http://mmsc.example/ü")});
    EXPECT_EQ(found.out, QByteArray::number(id) + "\n");
}

TEST_F(MmsutilIndexTest, TextsAreCutToFitTheirFields)
{
    // 38 letters and a surrogate pair: the pair would end on the field's last unit, which the
    // terminator needs.
    const QString subject = QString(38, QLatin1Char('s')) + QStringLiteral("😀");
    const unsigned id =
        add({QStringLiteral("--from"), QString(50, QLatin1Char('f')), QStringLiteral("--subject"),
             subject, QStringLiteral("--uri"), QString(150, QLatin1Char('u')),
             QStringLiteral("--msgid"), QString(30, QChar(0xE9))});

    const MMS_UTIL_DBStruct_T record = readBack(id);
    EXPECT_EQ(tavmms_test::text16(record.cmn_fld_from_name), QString(39, QLatin1Char('f')));
    EXPECT_EQ(tavmms_test::text16(record.cmn_fld_subject), QString(38, QLatin1Char('s')));
    EXPECT_EQ(tavmms_test::text8(record.mms_fld_msguri_name), QByteArray(99, 'u'));
    // Two bytes each in UTF-8: 19 of them fit in 39 bytes.
    EXPECT_EQ(QString::fromUtf8(tavmms_test::text8(record.mms_fld_msgid_name)),
              QString(19, QChar(0xE9)));
}

TEST_F(MmsutilIndexTest, FindPrintsTheIdOfTheRowWithTheUri)
{
    add({QStringLiteral("--uri"), QStringLiteral("uri-a")});
    const unsigned id = add({QStringLiteral("--uri"), QStringLiteral("uri-b")});

    const ToolResult found = index({QStringLiteral("find"), QStringLiteral("uri-b")});

    EXPECT_EQ(found.exitCode, 0);
    EXPECT_EQ(found.out, QByteArray::number(id) + "\n");
    EXPECT_TRUE(found.err.isEmpty()) << found.err.toStdString();
}

TEST_F(MmsutilIndexTest, FindWithoutARowFails)
{
    add({QStringLiteral("--uri"), QStringLiteral("uri-a")});

    const ToolResult found = index({QStringLiteral("find"), QStringLiteral("uri-b")});

    expectNotFound(found);
    EXPECT_EQ(found.err, "mmsutil: no row with that URI\n");
}

TEST_F(MmsutilIndexTest, DeleteRemovesTheRowForGood)
{
    const unsigned kept = add();
    const unsigned deleted = add({QStringLiteral("--uri"), QStringLiteral("gone")});

    const ToolResult result = index({QStringLiteral("delete"), QString::number(deleted)});

    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.isEmpty());
    EXPECT_EQ(listedIds(), QList<qint64>{kept});
    expectNotFound(index({QStringLiteral("find"), QStringLiteral("gone")}));
    // Ids are never given again.
    EXPECT_EQ(add(), deleted + 1);
}

TEST_F(MmsutilIndexTest, ShowAndDeleteOfAMissingRowFail)
{
    const unsigned id = add();
    const QString missing = QString::number(id + 1);

    for (const char* command : {"show", "delete"}) {
        SCOPED_TRACE(command);
        const ToolResult result = index({QLatin1String(command), missing});
        expectNotFound(result);
        EXPECT_EQ(result.err, "mmsutil: no row " + missing.toUtf8() + "\n");
    }
    EXPECT_EQ(listedIds(), QList<qint64>{id});
}

TEST_F(MmsutilIndexTest, MalformedArgumentsAreUsageErrors)
{
    const QList<QStringList> wrong{
        {QStringLiteral("show")},
        {QStringLiteral("show"), QStringLiteral("x")},
        {QStringLiteral("show"), QStringLiteral("-1")},
        {QStringLiteral("show"), QStringLiteral("4294967296")},
        {QStringLiteral("delete"), QStringLiteral("1.0")},
        {QStringLiteral("find")},
        {QStringLiteral("list"), QStringLiteral("--folder"), QStringLiteral("one")},
        {QStringLiteral("list"), QStringLiteral("extra")},
        {QStringLiteral("add"), QStringLiteral("--to"), QStringLiteral("b"),
         QStringLiteral("--subject"), QStringLiteral("s")},
        {QStringLiteral("add"), QStringLiteral("--from"), QStringLiteral("a"),
         QStringLiteral("--subject"), QStringLiteral("s")},
        {QStringLiteral("add"), QStringLiteral("--from"), QStringLiteral("a"),
         QStringLiteral("--to"), QStringLiteral("b")},
    };
    for (const QStringList& arguments : wrong) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(index(arguments));
    }
    const QList<QStringList> wrongValues{
        {QStringLiteral("--size"), QStringLiteral("4294967296")},
        {QStringLiteral("--folder"), QStringLiteral("-3")},
        {QStringLiteral("--time"), QStringLiteral("yesterday")},
        {QStringLiteral("--field"), QStringLiteral("cmn_fld_priority=65536")},
        {QStringLiteral("--field"), QStringLiteral("cmn_fld_priority")},
        {QStringLiteral("--field"), QStringLiteral("cmn_fld_time_zone=1")},
        {QStringLiteral("--field"), QStringLiteral("padding=1")},
    };
    for (const QStringList& options : wrongValues) {
        SCOPED_TRACE(options.join(QLatin1Char(' ')).toStdString());
        expectUsageError(
            index(QStringList{QStringLiteral("add"), QStringLiteral("--from"), QStringLiteral("a"),
                              QStringLiteral("--to"), QStringLiteral("b"),
                              QStringLiteral("--subject"), QStringLiteral("s")} +
                  options));
    }
    EXPECT_EQ(listJson(), QJsonArray());
}

TEST_F(MmsutilIndexTest, MailfileWriteWithIdNamesTheFileAfterTheRow)
{
    const unsigned id = add();
    const QString body = dir.filePath(QStringLiteral("body.bin"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(body, "hello"));

    const ToolResult written =
        run({QStringLiteral("mailfile"), QStringLiteral("write"), QStringLiteral("--id"),
             QString::number(id), QStringLiteral("--from"), QStringLiteral("1"),
             QStringLiteral("--to"), QStringLiteral("2"), QStringLiteral("--body"), body});

    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    const QString expected = mailFileDir() + QStringLiteral("/%1.mms").arg(id);
    EXPECT_EQ(written.out, expected.toUtf8() + "\n");
    EXPECT_EQ(QDir(mailFileDir()).entryList(QDir::Files),
              QStringList{QStringLiteral("%1.mms").arg(id)});
    const ToolResult printed = run({QStringLiteral("mailfile"), QStringLiteral("body"), expected});
    EXPECT_EQ(printed.out, "hello");
}

TEST_F(MmsutilIndexTest, MailfileWriteWithIdRefusesAMessageWithAFileUnlessReplacing)
{
    const unsigned id = add();
    const QString body = dir.filePath(QStringLiteral("body.bin"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(body, "hello"));
    const QStringList write{QStringLiteral("mailfile"), QStringLiteral("write"),
                            QStringLiteral("--id"),     QString::number(id),
                            QStringLiteral("--from"),   QStringLiteral("1"),
                            QStringLiteral("--to"),     QStringLiteral("2"),
                            QStringLiteral("--body"),   body};
    const QString path = mailFileDir() + QStringLiteral("/%1.mms").arg(id);
    ASSERT_EQ(run(write).exitCode, 0);
    const QByteArray first = run({QStringLiteral("mailfile"), QStringLiteral("show"), path}).out;

    const ToolResult again =
        run(write + QStringList{QStringLiteral("--subject"), QStringLiteral("Second")});

    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.err, QStringLiteral("mmsutil: message %1 has a mail file already ('%2')\n")
                             .arg(id)
                             .arg(path)
                             .toUtf8());
    EXPECT_EQ(run({QStringLiteral("mailfile"), QStringLiteral("show"), path}).out, first);

    const ToolResult replaced =
        run(write + QStringList{QStringLiteral("--subject"), QStringLiteral("Second"),
                                QStringLiteral("--replace")});

    ASSERT_EQ(replaced.exitCode, 0) << replaced.err.toStdString();
    EXPECT_TRUE(
        run({QStringLiteral("mailfile"), QStringLiteral("show"), path}).out.contains("Second"));
}

TEST_F(MmsutilIndexTest, MailfileWriteWithIdRefusesAnIdWithoutARow)
{
    add();
    const ToolResult written =
        run({QStringLiteral("mailfile"), QStringLiteral("write"), QStringLiteral("--id"),
             QStringLiteral("9999"), QStringLiteral("--from"), QStringLiteral("1"),
             QStringLiteral("--to"), QStringLiteral("2"), QStringLiteral("--body"),
             QStringLiteral("-")},
            "hello");

    EXPECT_EQ(written.exitCode, 1);
    EXPECT_EQ(written.err, "mmsutil: no message 9999\n");
    EXPECT_FALSE(QFile::exists(mailFileDir() + QStringLiteral("/9999.mms")));
}

TEST_F(MmsutilIndexTest, MailfileWriteTakesEitherAFileOrAnId)
{
    const QStringList options{QStringLiteral("--from"), QStringLiteral("1"),
                              QStringLiteral("--to"),   QStringLiteral("2"),
                              QStringLiteral("--body"), QStringLiteral("-")};
    const QStringList write{QStringLiteral("mailfile"), QStringLiteral("write")};

    expectUsageError(run(write + options));
    expectUsageError(run(write + options +
                         QStringList{dir.filePath(QStringLiteral("a.mms")), QStringLiteral("--id"),
                                     QStringLiteral("1")}));
    expectUsageError(
        run(write + options + QStringList{QStringLiteral("--id"), QStringLiteral("x")}));
    expectUsageError(
        run(write + options +
            QStringList{dir.filePath(QStringLiteral("a.mms")), QStringLiteral("--replace")}));
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("a.mms"))));
    EXPECT_FALSE(QFile::exists(mailFileDir()));
}

TEST_F(MmsutilIndexTest, CorruptDatabaseFileGivesOneClearLine)
{
    ASSERT_TRUE(QDir().mkpath(platformDir()));
    QFile file(databasePath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(QByteArray(8192, 'x')), 8192);
    file.close();

    const QList<QStringList> commands{
        {QStringLiteral("list")},
        {QStringLiteral("list"), QStringLiteral("--json")},
        {QStringLiteral("show"), QStringLiteral("1")},
        {QStringLiteral("find"), QStringLiteral("uri")},
        {QStringLiteral("delete"), QStringLiteral("1")},
        {QStringLiteral("add"), QStringLiteral("--from"), QStringLiteral("a"),
         QStringLiteral("--to"), QStringLiteral("b"), QStringLiteral("--subject"),
         QStringLiteral("s")},
    };
    for (const QStringList& arguments : commands) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        const ToolResult result = index(arguments);
        expectFailure(result);
        EXPECT_EQ(result.err.toStdString(),
                  "mmsutil: the message index '" + databasePath().toStdString() +
                      "' is damaged: not a database, or a corrupt one (DB_ERR_CORRUPT)\n");
    }
}

TEST_F(MmsutilIndexTest, WriteWhileAnotherProcessHoldsTheDatabaseReportsItBusy)
{
    const unsigned id = add();
    auto other = tavmms_test::lookInto(databasePath());
    ASSERT_NE(other, nullptr);
    ASSERT_EQ(other->exec("BEGIN IMMEDIATE"), tavplatform::sql::Status::Ok);

    // Readers are not held up by a writer; a second writer waits, then gives up.
    EXPECT_EQ(listedIds(), QList<qint64>{id});
    const ToolResult deleted = index({QStringLiteral("delete"), QString::number(id)});

    expectFailure(deleted);
    EXPECT_EQ(deleted.err.toStdString(), "mmsutil: cannot delete row " + std::to_string(id) +
                                             ": database is busy (DB_ERR_BUSY)\n");
    EXPECT_EQ(other->exec("ROLLBACK"), tavplatform::sql::Status::Ok);
    EXPECT_EQ(listedIds(), QList<qint64>{id});
}

TEST_F(MmsutilIndexTest, HelpListsTheIndexCommands)
{
    const ToolResult group = index({QStringLiteral("--help")});

    EXPECT_EQ(group.exitCode, 0);
    EXPECT_TRUE(group.out.startsWith("Usage: mmsutil index <command>")) << group.out.toStdString();
    for (const char* command : {"list", "show", "find", "add", "delete"})
        EXPECT_TRUE(group.out.contains(QByteArray("  ") + command + "  ")) << command;
    const ToolResult add = index({QStringLiteral("add"), QStringLiteral("--help")});
    EXPECT_EQ(add.exitCode, 0);
    for (const char* option : {"--from", "--to", "--subject", "--folder", "--uri", "--size",
                               "--time", "--msgid", "--field"})
        EXPECT_TRUE(add.out.contains(option)) << option;
}

} // namespace
