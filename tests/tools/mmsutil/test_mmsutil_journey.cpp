// mmsutil compose, receive, list, show and delete, run as a child process on a temporary platform
// directory and download path: what they print, their exit codes, and the rows and mail files
// they leave, read back through the library and a connection of the test's own. The reader of the
// content type they take is also tried in-process.

#include <tavmmsutility.h>

#include "mmshelpers.h"

#include "support/child_process.h"
#include "support/index_table_helpers.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/mount_namespace.h"
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

#include <functional>

namespace
{

using namespace std::chrono_literals;
using tavmms_test::ChildVerdict;
using tavmms_test::expectFailure;
using tavmms_test::expectOneLineReport;
using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

const QByteArray kContacts = "BEGIN:VCARD\r\n"
                             "VERSION:3.0\r\n"
                             "FN:Ann Example\r\n"
                             "TEL:+1 555 0101\r\n"
                             "END:VCARD\r\n"
                             "BEGIN:VCARD\r\n"
                             "VERSION:3.0\r\n"
                             "FN:Bob Example\r\n"
                             "EMAIL:bob@example.org\r\n"
                             "END:VCARD\r\n";
const QByteArray kBody = "encoded \x01 body";

class MmsutilJourneyTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        QFile body(bodyPath());
        ASSERT_TRUE(body.open(QIODevice::WriteOnly));
        ASSERT_EQ(body.write(kBody), kBody.size());
    }

    QString platformDir() const { return dir.filePath(QStringLiteral("platform")); }
    QString databasePath() const { return platformDir() + QStringLiteral("/device.db"); }
    QString mailFileDir() const { return dir.filePath(QStringLiteral("download/mms/mailfile")); }
    QString mailFile(unsigned id) const
    {
        return mailFileDir() + QStringLiteral("/%1.mms").arg(id);
    }
    QString bodyPath() const { return dir.filePath(QStringLiteral("body.bin")); }

    ToolResult run(const QStringList& arguments, const QByteArray& input = QByteArray()) const
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(), arguments,
                                       input);
    }

    // Runs a command that must succeed without a word on standard error; gives its output.
    QByteArray ok(const QStringList& arguments, const QByteArray& input = QByteArray()) const
    {
        const ToolResult result = run(arguments, input);
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
        return result.out;
    }

    // The address book knows Ann and Bob, and the owner.
    void fillAddressBook() const
    {
        ok({QStringLiteral("contacts"), QStringLiteral("import"), QStringLiteral("-")}, kContacts);
        ok({QStringLiteral("contacts"), QStringLiteral("owner"), QStringLiteral("--set"),
            QStringLiteral("Me"), QStringLiteral("+15550100")});
    }

    // Composes the sample message; checks that the id and the mail file are printed, and gives
    // the id (0 after a failure).
    unsigned compose(const QStringList& more = {}) const
    {
        return stored(
            run(QStringList{QStringLiteral("compose"), QStringLiteral("--to"),
                            QStringLiteral("+15550101"), QStringLiteral("--to"),
                            QStringLiteral("bob@example.org"), QStringLiteral("--cc"),
                            QStringLiteral("<Carol>[PLMN]+15550102"), QStringLiteral("--subject"),
                            QStringLiteral("Hello"), QStringLiteral("--body"), bodyPath()} +
                more));
    }

    unsigned receive(const QString& from) const
    {
        return stored(run({QStringLiteral("receive"), bodyPath(), QStringLiteral("--from"), from,
                           QStringLiteral("--subject"), QStringLiteral("Re: Hello")}));
    }

    // What compose and receive print: "<id> <mail file>".
    unsigned stored(const ToolResult& result) const
    {
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
        const unsigned id = result.out.split(' ').constFirst().toUInt();
        EXPECT_NE(id, 0u) << result.out.toStdString();
        EXPECT_EQ(result.out, QByteArray::number(id) + ' ' + mailFile(id).toUtf8() + '\n');
        return id;
    }

    MMS_UTIL_DBStruct_T readBack(unsigned id) const
    {
        return tavmms_test::readRow(databasePath(), id);
    }
    QList<QByteArray> rowIds() const { return tavmms_test::rowIds(databasePath()); }
    QStringList files() const { return tavmms_test::namesIn(mailFileDir()); }

    // The time the row's message was sent, as the tool prints it in columns (in UTC).
    QByteArray dateOf(unsigned id) const
    {
        return QDateTime::fromSecsSinceEpoch(readBack(id).cmn_fld_time, Qt::UTC)
                   .toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))
                   .toUtf8() +
               " +00:00";
    }
    // The same in JSON.
    QByteArray jsonDateOf(unsigned id) const
    {
        return QDateTime::fromSecsSinceEpoch(readBack(id).cmn_fld_time, Qt::UTC)
                   .toString(QStringLiteral("yyyy-MM-ddThh:mm:ss"))
                   .toUtf8() +
               "+00:00";
    }

    QTemporaryDir dir;
};

TEST_F(MmsutilJourneyTest, AMessageGoesTheWholeWay)
{
    fillAddressBook();
    const unsigned sent = compose();
    const unsigned received = receive(QStringLiteral("+15550199"));
    ASSERT_EQ(sent, 1u);
    ASSERT_EQ(received, 2u);
    EXPECT_EQ(rowIds(), (QList<QByteArray>{"1", "2"}));
    EXPECT_EQ(files(), (QStringList{QStringLiteral("1.mms"), QStringLiteral("2.mms")}));

    const QByteArray listed = ok({QStringLiteral("list")});
    EXPECT_EQ(
        listed.toStdString(),
        ("ID  FOLDER  DATE                        FROM       TO                               "
         "SUBJECT\n"
         " 1       2  " +
         dateOf(1) +
         "  Me         Ann Example, Bob Example, Carol  Hello\n"
         " 2       1  " +
         dateOf(2) + "  +15550199  Me                               Re: Hello\n")
            .toStdString());

    const ToolResult removed = run({QStringLiteral("delete"), QStringLiteral("1")});
    EXPECT_EQ(removed.exitCode, 0) << removed.err.toStdString();
    EXPECT_EQ(removed.out, "Deleted message 1 and its mail file " + mailFile(1).toUtf8() + '\n');
    EXPECT_EQ(rowIds(), QList<QByteArray>{"2"});
    EXPECT_EQ(files(), QStringList{QStringLiteral("2.mms")});
    EXPECT_EQ(ok({QStringLiteral("list")}).toStdString(),
              ("ID  FOLDER  DATE                        FROM       TO  SUBJECT\n"
               " 2       1  " +
               dateOf(2) + "  +15550199  Me  Re: Hello\n")
                  .toStdString());
}

TEST_F(MmsutilJourneyTest, ComposeStoresTheRowAndTheMailFileAsTheLibraryReadsThem)
{
    fillAddressBook();
    const unsigned id =
        compose({QStringLiteral("--folder"), QStringLiteral("4"), QStringLiteral("--content-type"),
                 QStringLiteral("application/vnd.wap.multipart.related "
                                "type=application/smil")});
    ASSERT_NE(id, 0u);

    const MMS_UTIL_DBStruct_T row = readBack(id);
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_from_name), QStringLiteral("Me"));
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_to_name),
              QStringLiteral("Ann Example, Bob Example, Carol"));
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_subject), QStringLiteral("Hello"));
    EXPECT_EQ(row.cmn_fld_folder_id, 4u);
    EXPECT_EQ(row.cmn_fld_send_receive_state, 3u); // a draft
    EXPECT_EQ(row.mms_fld_contenttype_name, 0x33);
    EXPECT_EQ(row.cmn_fld_mms_type, MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
    EXPECT_EQ(row.mms_fld_msgsize_name, unsigned(kBody.size()));

    MMS_UTIL_MailFile file(mailFile(id));
    ASSERT_EQ(file.loadMailFile(), MMS_UTIL_MAILFILE_OK);
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header(file.header);
    const std::unique_ptr<unsigned char[]> body(file.body);
    EXPECT_EQ(QByteArray(reinterpret_cast<const char*>(body.get()), qsizetype(file.bodyLength)),
              kBody);
    EXPECT_EQ(MMS_UTIL_Common::entryToString(header->from), QStringLiteral("<Me>[PLMN]+15550100"));
    EXPECT_EQ(MMS_UTIL_Common::entryListToString(header->toList),
              QStringLiteral("<Ann Example>[PLMN]+15550101,<Bob Example>[EMAIL]bob@example.org,"));
    EXPECT_EQ(MMS_UTIL_Common::contentTypeToString(header->contentType),
              QStringLiteral("application/vnd.wap.multipart.related type=application/smil"));
}

TEST_F(MmsutilJourneyTest, ComposeReadsTheBodyFromStandardInput)
{
    const unsigned id = stored(
        run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
             QStringLiteral("--subject"), QString(), QStringLiteral("--body"), QStringLiteral("-")},
            QByteArray(5000, 'b')));
    ASSERT_NE(id, 0u);
    EXPECT_EQ(readBack(id).mms_fld_msgsize_name, 5000u);
    EXPECT_EQ(ok({QStringLiteral("mailfile"), QStringLiteral("body"), mailFile(id)}),
              QByteArray(5000, 'b'));
}

TEST_F(MmsutilJourneyTest, ComposeThatFailsKeepsNothingAndSaysWhyInOneLine)
{
    // The second line of the subject would be read back as the To: line.
    const ToolResult result =
        run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
             QStringLiteral("--subject"), QStringLiteral("Plans\nTo: everyone"),
             QStringLiteral("--body"), bodyPath()});

    expectFailure(result);
    EXPECT_EQ(result.err, "mmsutil: the mail file '" + mailFile(1).toUtf8() +
                              "' reads back a different To: line; nothing was kept\n");
    EXPECT_EQ(rowIds(), QList<QByteArray>());
    EXPECT_EQ(files(), QStringList());
}

TEST_F(MmsutilJourneyTest, ComposeRefusesRecipientsOneCannotSendToNamingThem)
{
    for (const char* wrong : {"Ann Example", "'; DROP TABLE x;--", "+49 1", "ann@example"}) {
        SCOPED_TRACE(wrong);
        const ToolResult result =
            run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                 QStringLiteral("--cc"), QString::fromUtf8(wrong), QStringLiteral("--subject"),
                 QStringLiteral("Hi"), QStringLiteral("--body"), bodyPath()});
        expectUsageError(result);
        EXPECT_TRUE(result.err.contains("'" + QByteArray(wrong) + "'")) << result.err.toStdString();
    }
    EXPECT_EQ(rowIds(), QList<QByteArray>());
    // An MMSC may send from any address, alphanumeric ones too.
    EXPECT_NE(receive(QStringLiteral("Operator News")), 0u);
}

TEST_F(MmsutilJourneyTest, ReceivingAKeptMessageIdSaysWhichMessageHoldsItUnlessAllowed)
{
    const QStringList receive{QStringLiteral("receive"),      bodyPath(),
                              QStringLiteral("--from"),       QStringLiteral("+15550199"),
                              QStringLiteral("--message-id"), QStringLiteral("dup@mmsc")};
    const unsigned first = stored(run(receive));

    const ToolResult again = run(receive);

    expectOneLineReport(again, 4);
    EXPECT_EQ(again.err.toStdString(), "mmsutil: message " + std::to_string(first) +
                                           " has the same Message-ID 'dup@mmsc'; the message was "
                                           "not kept again\n");
    EXPECT_NE(stored(run(receive + QStringList{QStringLiteral("--allow-duplicate")})), 0u);
    EXPECT_EQ(rowIds().size(), 2);
}

TEST_F(MmsutilJourneyTest, ComposeKeepsRecipientsAsTyped)
{
    const unsigned id = compose({QStringLiteral("--to"), QStringLiteral("+1 (555) 010-0199")});
    ASSERT_NE(id, 0u);
    const QJsonObject shown =
        QJsonDocument::fromJson(
            ok({QStringLiteral("show"), QString::number(id), QStringLiteral("--json")}))
            .object();
    const QJsonArray to = shown.value(QStringLiteral("header")).toObject().value("To").toArray();
    ASSERT_EQ(to.size(), 3);
    EXPECT_EQ(to.at(2).toObject().value("address").toString(), QStringLiteral("+1 (555) 010-0199"));
    EXPECT_EQ(to.at(2).toObject().value("type").toString(), QStringLiteral("PLMN"));
}

TEST_F(MmsutilJourneyTest, ASubjectTooLongForACommandLineComesFromAFileOrStandardInput)
{
    const QString subject = QString(1024 * 1024, QLatin1Char('s'));
    const QString file = dir.filePath(QStringLiteral("subject.txt"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(file, subject.toUtf8() + "\n"));
    const unsigned fromFile =
        stored(run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                    QStringLiteral("--subject-file"), file, QStringLiteral("--body"), bodyPath()}));
    const unsigned fromInput =
        stored(run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                    QStringLiteral("--subject-file"), QStringLiteral("-"), QStringLiteral("--body"),
                    bodyPath()},
                   QByteArray("Lunch?\r\n")));
    ASSERT_NE(fromFile, 0u);
    ASSERT_NE(fromInput, 0u);
    const auto subjectOf = [&](unsigned id) {
        return QJsonDocument::fromJson(
                   ok({QStringLiteral("show"), QString::number(id), QStringLiteral("--json")}))
            .object()
            .value(QStringLiteral("header"))
            .toObject()
            .value(QStringLiteral("Subject"))
            .toString();
    };
    EXPECT_EQ(subjectOf(fromFile), subject);
    EXPECT_EQ(subjectOf(fromInput), QStringLiteral("Lunch?"));
    expectUsageError(
        run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
             QStringLiteral("--subject"), QStringLiteral("x"), QStringLiteral("--subject-file"),
             file, QStringLiteral("--body"), bodyPath()}));
    expectUsageError(run({QStringLiteral("compose"), QStringLiteral("--to"),
                          QStringLiteral("+15550101"), QStringLiteral("--subject-file"),
                          QStringLiteral("-"), QStringLiteral("--body"), QStringLiteral("-")}));
    const QByteArray help = ok({QStringLiteral("compose"), QStringLiteral("--help")});
    EXPECT_TRUE(help.contains("Recipient (required)")) << help.toStdString();
    EXPECT_TRUE(help.contains("Subject (required, or --subject-file)")) << help.toStdString();
}

TEST_F(MmsutilJourneyTest, ComposeRefusesAWrongCommandLineAndWritesNothing)
{
    const QString body = bodyPath();
    const QList<QStringList> wrong = {
        {QStringLiteral("--subject"), QStringLiteral("Hi"), QStringLiteral("--body"), body},
        {QStringLiteral("--to"), QStringLiteral("+15550101"), QStringLiteral("--body"), body},
        {QStringLiteral("--to"), QStringLiteral("+15550101"), QStringLiteral("--subject"),
         QStringLiteral("Hi")},
        {QStringLiteral("--to"), QStringLiteral(","), QStringLiteral("--subject"),
         QStringLiteral("Hi"), QStringLiteral("--body"), body},
        {QStringLiteral("--to"), QStringLiteral("<Ann>[FAX]1"), QStringLiteral("--subject"),
         QStringLiteral("Hi"), QStringLiteral("--body"), body},
        {QStringLiteral("--to"), QStringLiteral("+15550101"), QStringLiteral("--subject"),
         QStringLiteral("Hi"), QStringLiteral("--body"), body, QStringLiteral("--folder"),
         QStringLiteral("-1")},
        // a composed message goes to the outbox or the drafts
        {QStringLiteral("--to"), QStringLiteral("+15550101"), QStringLiteral("--subject"),
         QStringLiteral("Hi"), QStringLiteral("--body"), body, QStringLiteral("--folder"),
         QStringLiteral("1")},
        {QStringLiteral("--to"), QStringLiteral("+15550101"), QStringLiteral("--subject"),
         QStringLiteral("Hi"), QStringLiteral("--body"), body, QStringLiteral("--content-type"),
         QStringLiteral("text")},
        {QStringLiteral("--to"), QStringLiteral("+15550101"), QStringLiteral("--subject"),
         QStringLiteral("Hi"), QStringLiteral("--body"), body, QStringLiteral("--content-type"),
         QStringLiteral("text/ plain")},
        {QStringLiteral("--to"), QStringLiteral("+15550101"), QStringLiteral("--subject"),
         QStringLiteral("Hi"), QStringLiteral("--body"), body, QStringLiteral("extra")},
        // Line breaks that would end the header line: refused before anything is written.
        {QStringLiteral("--to"), QStringLiteral("+15550101"), QStringLiteral("--subject"),
         QStringLiteral("Hi"), QStringLiteral("--body"), body, QStringLiteral("--content-type"),
         QStringLiteral("image/jpeg x\nPriority: Low")},
        {QStringLiteral("--to"), QStringLiteral("bob@example.org\nAnn"),
         QStringLiteral("--subject"), QStringLiteral("Hi"), QStringLiteral("--body"), body},
    };
    for (const QStringList& options : wrong) {
        SCOPED_TRACE(options.join(QLatin1Char(' ')).toStdString());
        expectUsageError(run(QStringList{QStringLiteral("compose")} + options));
    }
    const ToolResult missing =
        run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
             QStringLiteral("--subject"), QStringLiteral("Hi"), QStringLiteral("--body"),
             dir.filePath(QStringLiteral("missing"))});
    expectFailure(missing);
    EXPECT_TRUE(missing.err.startsWith("mmsutil: cannot read '")) << missing.err.toStdString();
    EXPECT_EQ(rowIds(), QList<QByteArray>());
    EXPECT_FALSE(QFileInfo::exists(mailFileDir()));
}

TEST_F(MmsutilJourneyTest, ComposeOnAFullDiskKeepsNothing)
{
    tavmms_test::ChildProcess child([&](tavmms_test::ChildProcess&) {
        if (const std::string why = tavmms_test::fillASmallDisk(mailFileDir()); !why.empty())
            return ChildVerdict::skip(why);
        const ToolResult result =
            run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                 QStringLiteral("--subject"), QStringLiteral("Hello"), QStringLiteral("--body"),
                 bodyPath()});
        const QByteArray expected = "mmsutil: cannot write the mail file '" + mailFile(1).toUtf8() +
                                    "': no space left on device; nothing was kept\n";
        if (result.exitCode != 1 || !result.out.isEmpty() || result.err != expected)
            return ChildVerdict::fail("compose on a full disk exited with " +
                                      std::to_string(result.exitCode) + ": " +
                                      result.err.toStdString());
        if (!rowIds().isEmpty())
            return ChildVerdict::fail("a row stayed");
        if (files() != QStringList{QStringLiteral("filler")})
            return ChildVerdict::fail("files stayed: " +
                                      files().join(QLatin1Char(' ')).toStdString());
        return ChildVerdict::pass();
    });
    EXPECT_CHILD_PASSES(child, 60s);
}

// On a small file system of its own holding the whole store (platform directory and download
// path), filled up once two messages are kept: what reads the store works, compose and receive
// are refused for space, and a delete frees space. Without `logFilesKept`, the index's log files
// are gone before the disk fills, as a release that did not keep them left the index.
ChildVerdict aFullStore(const QString& directory,
                        const std::function<ToolResult(const QStringList&)>& run,
                        bool logFilesKept = true)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace for a small file system: " + why);
    if (const std::string why = tavmms_test::mountSmallTmpfs(directory, 1024); !why.empty())
        return ChildVerdict::skip("no small file system to fill: " + why);
    const QString body = directory + QStringLiteral("/body.bin");
    QFile bodyFile(body);
    if (!bodyFile.open(QIODevice::WriteOnly) || bodyFile.write(kBody) != kBody.size())
        return ChildVerdict::fail("cannot write the body");
    bodyFile.close();
    const QStringList compose{QStringLiteral("compose"),
                              QStringLiteral("--to"),
                              QStringLiteral("+15550101"),
                              QStringLiteral("--subject"),
                              QStringLiteral("Hello"),
                              QStringLiteral("--body"),
                              body};
    if (run(compose).exitCode != 0 || run(compose).exitCode != 0)
        return ChildVerdict::fail("the messages were not kept before the disk filled");
    if (!logFilesKept) {
        // Everything in the log goes into the file first, so that the log files hold nothing.
        const QString index = directory + QStringLiteral("/platform/device.db");
        const auto connection = tavmms_test::lookInto(index);
        if (!connection ||
            connection->exec("PRAGMA wal_checkpoint(TRUNCATE)") != tavplatform::sql::Status::Ok)
            return ChildVerdict::fail("cannot empty the index's log");
        for (const char* suffix : {"-wal", "-shm"}) {
            if (!QFile::remove(index + QLatin1String(suffix)))
                return ChildVerdict::fail("cannot remove the index's log files");
        }
    }
    if (const std::string why = tavmms_test::fillDisk(directory); !why.empty())
        return ChildVerdict::fail(why);

    const auto failure = [](const char* command, const ToolResult& result) {
        return ChildVerdict::fail(std::string(command) + " on a full disk exited with " +
                                  std::to_string(result.exitCode) + ": " +
                                  result.err.toStdString());
    };
    const ToolResult listed = run({QStringLiteral("list")});
    if (listed.exitCode != 0 || listed.out.count('\n') != 3)
        return failure("list", listed);
    const ToolResult shown = run({QStringLiteral("show"), QStringLiteral("1")});
    if (shown.exitCode != 0 || !shown.err.isEmpty())
        return failure("show", shown);
    const ToolResult checked = run({QStringLiteral("check")});
    if (checked.exitCode != 0 || !checked.out.endsWith(": no problems\n"))
        return failure("check", checked);
    for (const QStringList& arguments :
         {compose, QStringList{QStringLiteral("receive"), body, QStringLiteral("--from"),
                               QStringLiteral("+15550199")}}) {
        const ToolResult refused = run(arguments);
        if (refused.exitCode != 1 || !refused.err.contains("no space left on device") ||
            refused.err.count('\n') != 1)
            return failure(arguments.constFirst().toUtf8().constData(), refused);
    }
    const ToolResult deleted = run({QStringLiteral("delete"), QStringLiteral("2")});
    if (deleted.exitCode != 0)
        return failure("delete", deleted);
    const ToolResult after = run({QStringLiteral("list")});
    if (after.exitCode != 0 || after.out.count('\n') != 2)
        return failure("list after the delete", after);
    return ChildVerdict::pass();
}

TEST_F(MmsutilJourneyTest, AFullDiskStillListsShowsChecksAndDeletesButRefusesNewMessages)
{
    tavmms_test::ChildProcess child([&](tavmms_test::ChildProcess&) {
        return aFullStore(dir.path(), [&](const QStringList& arguments) { return run(arguments); });
    });
    EXPECT_CHILD_PASSES(child, 60s);
}

TEST_F(MmsutilJourneyTest, AFullDiskStillListsAndDeletesWithAnIndexWhoseLogFilesAreGone)
{
    tavmms_test::ChildProcess child([&](tavmms_test::ChildProcess&) {
        return aFullStore(
            dir.path(), [&](const QStringList& arguments) { return run(arguments); }, false);
    });
    EXPECT_CHILD_PASSES(child, 60s);
}

TEST_F(MmsutilJourneyTest, ReceiveFilesTheMessageInTheInbox)
{
    fillAddressBook();
    const unsigned sent = compose();
    const ToolResult result =
        run({QStringLiteral("receive"), QStringLiteral("-"), QStringLiteral("--from"),
             QStringLiteral("+15550101"), QStringLiteral("--subject"), QStringLiteral("Re: Hello"),
             QStringLiteral("--message-id"), QStringLiteral("m-1@mmsc.example"),
             QStringLiteral("--uri"), QStringLiteral("http://mmsc.example/get/1")},
            kBody);
    const unsigned received = stored(result);
    ASSERT_NE(received, 0u);

    const MMS_UTIL_DBStruct_T row = readBack(received);
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_from_name), QStringLiteral("Ann Example"));
    EXPECT_EQ(tavmms_test::text16(row.cmn_fld_to_name), QStringLiteral("Me"));
    EXPECT_EQ(tavmms_test::text8(row.mms_fld_msgid_name), "m-1@mmsc.example");
    EXPECT_EQ(ok({QStringLiteral("index"), QStringLiteral("find"),
                  QStringLiteral("http://mmsc.example/get/1")}),
              QByteArray::number(received) + '\n');
    EXPECT_EQ(ok({QStringLiteral("list"), QStringLiteral("--folder"), QStringLiteral("1")}),
              "ID  FOLDER  DATE                        FROM         TO  SUBJECT\n"
              " " +
                  QByteArray::number(received) + "       1  " + dateOf(received) +
                  "  Ann Example  Me  Re: Hello\n");
    EXPECT_EQ(
        ok({QStringLiteral("list"), QStringLiteral("--folder"), QStringLiteral("2")}).count('\n'),
        2);
    EXPECT_NE(sent, received);
}

TEST_F(MmsutilJourneyTest, ReceiveRefusesABlockedSenderWithExitStatus4AndWritesNothing)
{
    ok({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("15550199")});

    const ToolResult result = run({QStringLiteral("receive"), bodyPath(), QStringLiteral("--from"),
                                   QStringLiteral("+15550199")});

    EXPECT_EQ(result.exitCode, 4);
    EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    EXPECT_EQ(result.err, "mmsutil: '+15550199' is on the block list; the message was refused\n");
    EXPECT_EQ(rowIds(), QList<QByteArray>());
    EXPECT_FALSE(QFileInfo::exists(mailFileDir()));
}

TEST_F(MmsutilJourneyTest, ReceiveOfABlockedSendersMessageIsRefusedWhenTheSettingsFileIsDamaged)
{
    ok({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("15550199")});
    const QString settings = platformDir() + QStringLiteral("/settings.db");
    // Garbage, so that the file cannot be read by root either.
    ASSERT_TRUE(tavmms_test::replaceWithNonDatabase(settings));

    const ToolResult result = run({QStringLiteral("receive"), bodyPath(), QStringLiteral("--from"),
                                   QStringLiteral("+15550199")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    EXPECT_EQ(result.err, "mmsutil: the settings store '" + settings.toUtf8() +
                              "' is damaged: it is not a database, or a corrupt one; the message "
                              "was refused\n");
    EXPECT_EQ(rowIds(), QList<QByteArray>());
    EXPECT_FALSE(QFileInfo::exists(mailFileDir()));
}

TEST_F(MmsutilJourneyTest, ComposeToAContactWhoseNameTheHeaderCannotCarryKeepsTheMessage)
{
    ok({QStringLiteral("contacts"), QStringLiteral("import"), QStringLiteral("-")},
       "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Doe\\, Jane <CEO>\r\nTEL:+15550123\r\n"
       "END:VCARD\r\n");

    const unsigned id = stored(run({QStringLiteral("compose"), QStringLiteral("--to"),
                                    QStringLiteral("+15550123"), QStringLiteral("--subject"),
                                    QStringLiteral("Hi"), QStringLiteral("--body"), bodyPath()}));

    ASSERT_EQ(id, 1u);
    EXPECT_EQ(tavmms_test::text16(readBack(id).cmn_fld_to_name), QStringLiteral("Doe Jane CEO"));
    EXPECT_EQ(run({QStringLiteral("show"), QStringLiteral("1")}).exitCode, 0);
}

TEST_F(MmsutilJourneyTest, ComposeOfABodyOverMaxMoSizeIsRefusedWithExitStatus4BeforeItIsReadWhole)
{
    for (const char* body : {"/dev/zero", "-"}) {
        SCOPED_TRACE(body);
        const ToolResult result =
            run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                 QStringLiteral("--subject"), QStringLiteral("Big"), QStringLiteral("--body"),
                 QLatin1String(body)},
                QByteArray(51 * 1024, 'x'));

        EXPECT_EQ(result.exitCode, 4);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "mmsutil: the body in '" + QByteArray(body) +
                                  "' is over the limit of 50 KB (max-mo-size); the message was "
                                  "not kept\n");
    }
    EXPECT_EQ(rowIds(), QList<QByteArray>());
    EXPECT_EQ(files(), QStringList());
}

TEST_F(MmsutilJourneyTest, ReceiveOfABodyOverMaxMtSizeIsRefusedWithExitStatus4)
{
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("max-mt-size"),
        QStringLiteral("1")});

    const ToolResult result = run({QStringLiteral("receive"), QStringLiteral("-"),
                                   QStringLiteral("--from"), QStringLiteral("+15550199")},
                                  QByteArray(1025, 'x'));

    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.err, "mmsutil: the body in '-' is over the limit of 1 KB (max-mt-size); the "
                          "message was not kept\n");
    EXPECT_EQ(rowIds(), QList<QByteArray>());
}

TEST_F(MmsutilJourneyTest, ReceiveOfAMessageKeptAlreadyIsRefusedWithExitStatus4)
{
    const QStringList receive{QStringLiteral("receive"),      bodyPath(),
                              QStringLiteral("--from"),       QStringLiteral("+15550199"),
                              QStringLiteral("--uri"),        QStringLiteral("http://mmsc/get/1"),
                              QStringLiteral("--message-id"), QStringLiteral("m-1@mmsc")};
    ASSERT_EQ(stored(run(receive)), 1u);

    const ToolResult again = run(receive);

    EXPECT_EQ(again.exitCode, 4);
    EXPECT_EQ(again.out, "");
    EXPECT_EQ(again.err, "mmsutil: message 1 has the same URI 'http://mmsc/get/1'; the message "
                         "was not kept again\n");
    EXPECT_EQ(rowIds(), QList<QByteArray>{"1"});
    EXPECT_EQ(files(), QStringList{QStringLiteral("1.mms")});
}

TEST_F(MmsutilJourneyTest, ReceiveTakesABlockedSendersMessageWhenTheBlockListIsOff)
{
    ok({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("15550199")});
    ok({QStringLiteral("flex"), QStringLiteral("set"), QStringLiteral("49"),
        QStringLiteral("off")});

    EXPECT_EQ(receive(QStringLiteral("+15550199")), 1u);
}

TEST_F(MmsutilJourneyTest, ReceiveRefusesAWrongCommandLine)
{
    expectUsageError(run({QStringLiteral("receive"), bodyPath()}));
    expectUsageError(
        run({QStringLiteral("receive"), QStringLiteral("--from"), QStringLiteral("1")}));
    expectUsageError(run(
        {QStringLiteral("receive"), bodyPath(), QStringLiteral("--from"), QStringLiteral("<x")}));
    expectUsageError(run({QStringLiteral("receive"), bodyPath(), QStringLiteral("--from"),
                          QStringLiteral("1"), QStringLiteral("--folder"), QStringLiteral("3")}));
}

TEST_F(MmsutilJourneyTest, ListOfAnEmptyStorePrintsTheHeadingAloneAndAnswersNo)
{
    const ToolResult columns = run({QStringLiteral("list")});
    const ToolResult json = run({QStringLiteral("list"), QStringLiteral("--json")});

    EXPECT_EQ(columns.exitCode, 3);
    EXPECT_EQ(columns.out, "ID  FOLDER  DATE  FROM  TO  SUBJECT\n");
    EXPECT_TRUE(columns.err.isEmpty()) << columns.err.toStdString();
    EXPECT_EQ(json.exitCode, 3);
    EXPECT_EQ(json.out, "[\n]\n");
}

TEST_F(MmsutilJourneyTest, ListAsJsonGivesOneObjectPerMessage)
{
    fillAddressBook();
    const unsigned sent = compose();
    const unsigned received = receive(QStringLiteral("+15550199"));

    QJsonParseError error;
    const QJsonDocument document =
        QJsonDocument::fromJson(ok({QStringLiteral("list"), QStringLiteral("--json")}), &error);

    ASSERT_EQ(error.error, QJsonParseError::NoError);
    ASSERT_TRUE(document.isArray());
    const QJsonArray messages = document.array();
    ASSERT_EQ(messages.size(), 2);
    const QJsonObject first = messages.at(0).toObject();
    EXPECT_EQ(first.value(QStringLiteral("id")).toInteger(), qint64(sent));
    EXPECT_EQ(first.value(QStringLiteral("folder")).toInteger(), 2);
    EXPECT_EQ(first.value(QStringLiteral("time")).toInteger(), qint64(readBack(sent).cmn_fld_time));
    EXPECT_EQ(first.value(QStringLiteral("date")).toString().toUtf8(), jsonDateOf(sent));
    EXPECT_EQ(first.value(QStringLiteral("from")).toString(), QStringLiteral("Me"));
    EXPECT_EQ(first.value(QStringLiteral("to")).toString(),
              QStringLiteral("Ann Example, Bob Example, Carol"));
    EXPECT_EQ(first.value(QStringLiteral("subject")).toString(), QStringLiteral("Hello"));
    EXPECT_EQ(first.value(QStringLiteral("size")).toInteger(), kBody.size());
    EXPECT_EQ(first.value(QStringLiteral("read")).toBool(), true);
    EXPECT_EQ(first.value(QStringLiteral("stateName")).toString(), QStringLiteral("to send"));
    EXPECT_EQ(first.value(QStringLiteral("mailFile")).toString(), mailFile(sent));
    // Nothing the MMSC left: no report statuses, no note.
    EXPECT_EQ(first.keys().size(), 11);
    const QJsonObject second = messages.at(1).toObject();
    EXPECT_EQ(second.value(QStringLiteral("id")).toInteger(), qint64(received));
    EXPECT_EQ(second.value(QStringLiteral("folder")).toInteger(), 1);
    EXPECT_EQ(second.value(QStringLiteral("read")).toBool(), false);

    const QJsonDocument inbox =
        QJsonDocument::fromJson(ok({QStringLiteral("list"), QStringLiteral("--json"),
                                    QStringLiteral("--folder"), QStringLiteral("1")}));
    ASSERT_EQ(inbox.array().size(), 1);
    EXPECT_EQ(inbox.array().at(0).toObject().value(QStringLiteral("id")).toInteger(),
              qint64(received));
}

TEST_F(MmsutilJourneyTest, ShowPrintsTheRowBesideTheMailFile)
{
    fillAddressBook();
    const unsigned id = compose();
    ASSERT_EQ(id, 1u);
    const QByteArray uri = tavmms_test::text8(readBack(id).mms_fld_msguri_name);
    const QByteArray date = dateOf(id);
    const QByteArray reached =
        QDateTime::fromSecsSinceEpoch(readBack(id).cmn_fld_time_msg_reach_phone, Qt::UTC)
            .toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))
            .toUtf8() +
        " +00:00";

    const QByteArray shown = ok({QStringLiteral("show"), QStringLiteral("1")});

    const QByteArray expected =
        "Message:    1\n"
        "Folder:     2 (outbox)\n"
        "State:      to send, read\n"
        "URI:        " +
        uri +
        "\n"
        "Mail file:  " +
        mailFile(1).toUtf8() +
        "\n"
        "\n"
        "FIELD              INDEX ROW                                 MAIL FILE\n"
        "From               Me                                        <Me>[PLMN]+15550100\n"
        "To                 Ann Example, Bob Example, Carol           <Ann Example>[PLMN]+15550101,"
        "<Bob Example>[EMAIL]bob@example.org,\n"
        "CC                                                           <Carol>[PLMN]+15550102,\n"
        "BCC\n"
        "Subject            Hello                                     Hello\n"
        "Date               " +
        date + "                " + date +
        "\n"
        "Reached phone      " +
        reached +
        "\n"
        "Delivery\n"
        "Expiry             65535                                     65535\n"
        "Priority           Normal                                    Normal\n"
        "Content type       35 (application/vnd.wap.multipart.mixed)  "
        "application/vnd.wap.multipart.mixed\n"
        "Size               14                                        14\n"
        "Message ID\n"
        "Delivery report    False                                     False\n"
        "Read report        False                                     False\n"
        "Sender visibility  True                                      True\n"
        "\n"
        "Body:          14 bytes\n"
        "Message type:  2: multipart/mixed message with no presentation part\n"
        // The test's body is no multipart body, which show says rather than failing.
        "Parts:         none: the body of message 1 does not read: offset 3: expected in the "
        "multipart body, the headers of 110 octets, where 11 are left\n";
    EXPECT_EQ(shown.toStdString(), expected.toStdString());
}

TEST_F(MmsutilJourneyTest, ShowOfAMessageWithoutItsMailFilePrintsTheRowAndFails)
{
    const unsigned id = compose();
    ASSERT_TRUE(QFile::remove(mailFile(id)));

    const ToolResult result = run({QStringLiteral("show"), QString::number(id)});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "mmsutil: no such file '" + mailFile(id).toUtf8() + "'\n");
    const QList<QByteArray> lines = result.out.split('\n');
    ASSERT_GT(lines.size(), 10);
    EXPECT_EQ(lines.at(6),
              "FIELD              INDEX ROW                                 MAIL FILE");
    EXPECT_EQ(lines.at(7), "From");
    EXPECT_EQ(lines.at(8), "To                 +15550101, bob@example.org, Carol");
    EXPECT_FALSE(result.out.contains("Body:"));
}

TEST_F(MmsutilJourneyTest, ShowOfAMailFileCutShortSaysHowItIsDamagedShowsItAndFails)
{
    const unsigned id = compose();
    const QByteArray bytes = tavmms_test::readFileBytes(mailFile(id));
    ASSERT_TRUE(tavmms_test::writeFileBytes(mailFile(id), bytes.chopped(3)));

    const ToolResult result = run({QStringLiteral("show"), QString::number(id)});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "mmsutil: the mail file '" + mailFile(id).toUtf8() +
                              "' is damaged: its header block is cut short\n");
    EXPECT_TRUE(result.out.contains("Body:")) << result.out.toStdString();
}

TEST_F(MmsutilJourneyTest, ShowOfAnotherMessagesMailFileSaysItsHeaderDoesNotMatchItsRow)
{
    const unsigned first = compose();
    const unsigned second = compose({QStringLiteral("--subject"), QStringLiteral("Other")});
    ASSERT_TRUE(QFile::remove(mailFile(first)));
    ASSERT_TRUE(QFile::copy(mailFile(second), mailFile(first)));

    const ToolResult result = run({QStringLiteral("show"), QString::number(first)});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.startsWith("mmsutil: the mail file '" + mailFile(first).toUtf8() +
                                      "' is damaged: its header does not match its row (Subject"))
        << result.err.toStdString();
}

TEST_F(MmsutilJourneyTest, CheckRebuildMakesALostIndexAgainFromTheMailFiles)
{
    fillAddressBook();
    const unsigned sent = compose();
    const unsigned received = receive(QStringLiteral("+15550101"));
    const QStringList before = files();
    // Only the index goes: the settings and the address book have files of their own.
    ASSERT_TRUE(QFile::remove(databasePath()));

    const ToolResult plain = run({QStringLiteral("check")});
    const ToolResult rebuilt = run({QStringLiteral("check"), QStringLiteral("--rebuild")});
    const QByteArray listed = ok({QStringLiteral("list")});

    EXPECT_EQ(plain.exitCode, 1);
    EXPECT_TRUE(plain.err.contains("rebuild the index")) << plain.err.toStdString();
    EXPECT_EQ(rebuilt.exitCode, 0) << rebuilt.err.toStdString();
    EXPECT_TRUE(
        rebuilt.out.contains(QStringLiteral("%1.mms: no row -> row %1 made\n").arg(sent).toUtf8()))
        << rebuilt.out.toStdString();
    EXPECT_TRUE(rebuilt.out.endsWith("2 problems, 2 repaired, 0 remain\n"))
        << rebuilt.out.toStdString();
    EXPECT_EQ(files(), before);
    EXPECT_EQ(readBack(sent).cmn_fld_folder_id, unsigned(tavmms::store::Folder::Sent));
    EXPECT_EQ(readBack(received).cmn_fld_folder_id, unsigned(tavmms::store::Folder::Inbox));
    EXPECT_TRUE(listed.contains("Re: Hello")) << listed.toStdString();
    EXPECT_EQ(run({QStringLiteral("check")}).exitCode, 0);
}

TEST_F(MmsutilJourneyTest, ShowAndDeleteOfAnUnknownIdAnswerNoAndChangeNothing)
{
    const unsigned id = compose();
    const QString unknown = QString::number(id + 1);

    const ToolResult shown = run({QStringLiteral("show"), unknown});
    const ToolResult removed = run({QStringLiteral("delete"), unknown});

    tavmms_test::expectNotFound(shown);
    EXPECT_EQ(shown.err, "mmsutil: no message " + unknown.toUtf8() + '\n');
    tavmms_test::expectNotFound(removed);
    EXPECT_EQ(removed.err, "mmsutil: no message " + unknown.toUtf8() + '\n');
    EXPECT_EQ(rowIds(), QList<QByteArray>{QByteArray::number(id)});
    EXPECT_EQ(files(), QStringList{QStringLiteral("%1.mms").arg(id)});
    expectUsageError(run({QStringLiteral("show"), QStringLiteral("x")}));
    expectUsageError(run({QStringLiteral("delete")}));
}

TEST_F(MmsutilJourneyTest, DeleteOfARowWithoutItsMailFileSaysSo)
{
    const unsigned id = compose();
    ASSERT_TRUE(QFile::remove(mailFile(id)));

    const ToolResult result = run({QStringLiteral("delete"), QString::number(id)});

    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, "Deleted message " + QByteArray::number(id) + "; it had no mail file " +
                              mailFile(id).toUtf8() + '\n');
    EXPECT_EQ(rowIds(), QList<QByteArray>());
}

TEST_F(MmsutilJourneyTest, HelpDescribesTheMessageCommands)
{
    const QByteArray tool = ok({QStringLiteral("--help")});
    for (const char* command : {"compose", "receive", "list", "show", "mark", "move", "delete"}) {
        SCOPED_TRACE(command);
        EXPECT_TRUE(tool.contains(QByteArray("\n  ") + command + ' '));
        EXPECT_TRUE(ok({QLatin1String(command), QStringLiteral("--help")})
                        .startsWith(QByteArray("Usage: mmsutil ") + command));
    }
    EXPECT_TRUE(
        ok({QStringLiteral("receive"), QStringLiteral("--help")}).contains("exit status 4"));
}

} // namespace
