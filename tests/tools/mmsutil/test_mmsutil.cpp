// The mmsutil tool, run as a child process: its output, its exit codes and the files it writes,
// read back with the library. The reader of the content-type command's number is also tried
// in-process.

#include <tavmmsutility.h>

#include "mmshelpers.h"

#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <memory>

namespace
{

using tavmms_test::expectFailure;
using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

// A mail file read back through the library; owns what loadMailFile() hands out.
struct Loaded {
    int result = 1;
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header;
    std::unique_ptr<unsigned char[]> body;
    unsigned int bodyLength = 0;

    QByteArray bodyBytes() const
    {
        return QByteArray(reinterpret_cast<const char*>(body.get()), int(bodyLength));
    }
};

Loaded load(const QString& path)
{
    MMS_UTIL_MailFile file(path);
    Loaded loaded;
    loaded.result = file.loadMailFile();
    loaded.header.reset(file.header);
    loaded.body.reset(file.body);
    loaded.bodyLength = file.bodyLength;
    return loaded;
}

QByteArray allByteValues()
{
    QByteArray bytes;
    for (int i = 0; i < 256; ++i)
        bytes.append(char(i));
    return bytes + "\r\n\n\0tail";
}

class MmsutilTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QString path(const QString& name) const { return dir.filePath(name); }

    void writeFile(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    ToolResult
    run(const QStringList& arguments, const QByteArray& input = QByteArray(),
        const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) const
    {
        return tavmms_test::runTool(QStringLiteral(TAVMMS_MMSUTIL_PATH), arguments, dir.path(),
                                    input, environment);
    }

    // `mmsutil content-type QUESTION` answers each question with its line and nothing else.
    void expectContentTypeAnswers(const QList<std::pair<QString, QByteArray>>& cases) const
    {
        for (const auto& [question, answer] : cases) {
            SCOPED_TRACE(question.toStdString());
            const ToolResult result = run({QStringLiteral("content-type"), question});
            EXPECT_EQ(result.exitCode, 0);
            EXPECT_EQ(result.out, answer);
            EXPECT_TRUE(result.err.isEmpty());
        }
    }

    // Writes "mail.mms" from a body file holding `body`, with the given header options.
    ToolResult writeMail(const QByteArray& body, const QStringList& options)
    {
        writeFile(QStringLiteral("body.bin"), body);
        return run(QStringList{QStringLiteral("mailfile"), QStringLiteral("write"),
                               path("mail.mms"), QStringLiteral("--body"), path("body.bin")} +
                   options);
    }

    // A mail file with every option the writer takes, and the body "hello".
    void writeFullMail()
    {
        const ToolResult written = writeMail(
            "hello",
            {QStringLiteral("--from"), QStringLiteral("<Ann>[PLMN]+123"), QStringLiteral("--to"),
             QStringLiteral("<Bob>[EMAIL]bob@example.org, +456"), QStringLiteral("--to"),
             QStringLiteral("carl"), QStringLiteral("--cc"), QStringLiteral("<Dee>[PLMN]789"),
             QStringLiteral("--bcc"), QStringLiteral("eve@example.org"),
             QStringLiteral("--subject"), QStringLiteral("Two\nlines"),
             QStringLiteral("--priority"), QStringLiteral("High")});
        ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    }

    QTemporaryDir dir;
};

void expectEntry(const MMS_UTIL_Entry* entry, const char* name, MMS_UTIL_ADDR_TYPE_T type,
                 const char* address)
{
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->name, QString::fromUtf8(name));
    EXPECT_EQ(entry->type, type);
    EXPECT_EQ(entry->address, QString::fromUtf8(address));
}

TEST_F(MmsutilTest, WriteStoresEveryOptionInTheMailFile)
{
    writeFullMail();
    const QDateTime before = QDateTime::currentDateTime().addSecs(-60);

    const Loaded mail = load(path("mail.mms"));
    ASSERT_EQ(mail.result, 0);
    const MMS_UTIL_MsgHeaderBase& h = *mail.header;
    expectEntry(&h.from, "Ann", MMS_UTIL_ADDR_PLMN, "+123");
    ASSERT_EQ(h.toList.count(), 3u);
    expectEntry(h.toList.at(0), "Bob", MMS_UTIL_ADDR_EMAIL, "bob@example.org");
    expectEntry(h.toList.at(1), "", MMS_UTIL_ADDR_PLMN, "+456");
    expectEntry(h.toList.at(2), "", MMS_UTIL_ADDR_UNKNOWN, "carl");
    ASSERT_EQ(h.ccList.count(), 1u);
    expectEntry(h.ccList.at(0), "Dee", MMS_UTIL_ADDR_PLMN, "789");
    ASSERT_EQ(h.bccList.count(), 1u);
    expectEntry(h.bccList.at(0), "", MMS_UTIL_ADDR_EMAIL, "eve@example.org");
    EXPECT_EQ(h.subject, QStringLiteral("Two\nlines"));
    EXPECT_EQ(h.priority, MMS_UTIL_PRIORITY_HIGH);
    EXPECT_EQ(h.messageSize, 5u);
    EXPECT_TRUE(h.sendDate.isValid());
    EXPECT_GE(h.sendDate, before);
    EXPECT_LE(h.sendDate, QDateTime::currentDateTime());
    EXPECT_EQ(mail.bodyBytes(), QByteArray("hello"));
}

TEST_F(MmsutilTest, ShowPrintsRecordAndEveryHeaderField)
{
    writeFullMail();
    const Loaded mail = load(path("mail.mms"));
    ASSERT_EQ(mail.result, 0);

    const ToolResult shown =
        run({QStringLiteral("mailfile"), QStringLiteral("show"), path("mail.mms")});

    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_TRUE(shown.err.isEmpty()) << shown.err.toStdString();
    const QByteArray expected =
        "Record:\n"
        "  headerTextOffset:  21\n"
        "  reserved:          0\n"
        "  bodyOffset:        16\n"
        "  bodyLength:        5\n"
        "Header:\n"
        "  From:              <Ann>[PLMN]+123\n"
        "  To:                <Bob>[EMAIL]bob@example.org,<>[PLMN]+456,"
        "<>[UNKNOWN]carl,\n"
        "  CC:                <Dee>[PLMN]789,\n"
        "  BCC:               <>[EMAIL]eve@example.org,\n"
        "  Subject:           Two\n"
        "                     lines\n"
        "  Send_Date:         " +
        mail.header->sendDate.toString().toUtf8() +
        "\n"
        "  Delivery:\n"
        "  Expiry:            65535\n"
        "  Message_ID:\n"
        "  Content_Type:      " +
        MMS_UTIL_Common::contentTypeToString(mail.header->contentType).toUtf8() +
        "\n"
        "  Priority:          High\n"
        "  Sender_Visibility: False\n"
        "  DeliveryReport:    False\n"
        "  ReadReplyReport:   False\n"
        "  Message_Size:      5\n"
        "Body length: 5\n";
    EXPECT_EQ(shown.out.toStdString(), expected.toStdString());
}

TEST_F(MmsutilTest, ShowJsonGivesEntriesAsObjects)
{
    writeFullMail();

    const ToolResult shown = run({QStringLiteral("mailfile"), QStringLiteral("show"),
                                  path("mail.mms"), QStringLiteral("--json")});

    ASSERT_EQ(shown.exitCode, 0) << shown.err.toStdString();
    QJsonParseError error;
    const QJsonObject document = QJsonDocument::fromJson(shown.out, &error).object();
    ASSERT_EQ(error.error, QJsonParseError::NoError) << shown.out.toStdString();
    const QJsonObject record = document.value(QStringLiteral("record")).toObject();
    EXPECT_EQ(record.value(QStringLiteral("headerTextOffset")).toInt(), 21);
    EXPECT_EQ(record.value(QStringLiteral("reserved")).toInt(), 0);
    EXPECT_EQ(record.value(QStringLiteral("bodyOffset")).toInt(), 16);
    EXPECT_EQ(record.value(QStringLiteral("bodyLength")).toInt(), 5);
    EXPECT_EQ(document.value(QStringLiteral("bodyLength")).toInt(), 5);
    const QJsonObject header = document.value(QStringLiteral("header")).toObject();
    EXPECT_EQ(header.value(QStringLiteral("From")).toObject(),
              (QJsonObject{{QStringLiteral("name"), QStringLiteral("Ann")},
                           {QStringLiteral("type"), QStringLiteral("PLMN")},
                           {QStringLiteral("address"), QStringLiteral("+123")}}));
    const QJsonArray to = header.value(QStringLiteral("To")).toArray();
    ASSERT_EQ(to.size(), 3);
    EXPECT_EQ(to.at(2).toObject(),
              (QJsonObject{{QStringLiteral("name"), QString()},
                           {QStringLiteral("type"), QStringLiteral("UNKNOWN")},
                           {QStringLiteral("address"), QStringLiteral("carl")}}));
    EXPECT_EQ(header.value(QStringLiteral("CC")).toArray().size(), 1);
    EXPECT_EQ(header.value(QStringLiteral("BCC"))
                  .toArray()
                  .at(0)
                  .toObject()
                  .value(QStringLiteral("type")),
              QStringLiteral("EMAIL"));
    EXPECT_EQ(header.value(QStringLiteral("Subject")).toString(), QStringLiteral("Two\nlines"));
    EXPECT_EQ(header.value(QStringLiteral("Priority")).toString(), QStringLiteral("High"));
    EXPECT_EQ(header.value(QStringLiteral("Expiry")).toInt(), 65535);
    EXPECT_EQ(header.value(QStringLiteral("Message_Size")).toInt(), 5);
    EXPECT_EQ(header.value(QStringLiteral("DeliveryReport")), QJsonValue(false));
    EXPECT_EQ(header.value(QStringLiteral("Delivery")).toString(), QString());
    EXPECT_FALSE(header.value(QStringLiteral("Send_Date")).toString().isEmpty());
    for (const char* key : {"Message_ID", "Content_Type", "Sender_Visibility", "ReadReplyReport"})
        EXPECT_TRUE(header.contains(QLatin1String(key))) << key;
}

TEST_F(MmsutilTest, BodyPrintsTheStoredBytesExactly)
{
    const QByteArray body = allByteValues();
    ASSERT_EQ(writeMail(body, {QStringLiteral("--from"), QStringLiteral("1"),
                               QStringLiteral("--to"), QStringLiteral("2")})
                  .exitCode,
              0);

    const ToolResult printed =
        run({QStringLiteral("mailfile"), QStringLiteral("body"), path("mail.mms")});

    EXPECT_EQ(printed.exitCode, 0);
    EXPECT_TRUE(printed.err.isEmpty()) << printed.err.toStdString();
    EXPECT_EQ(printed.out, body);
}

TEST_F(MmsutilTest, BodyOfAnEmptyBodyPrintsNothing)
{
    ASSERT_EQ(writeMail(QByteArray(), {QStringLiteral("--from"), QStringLiteral("1"),
                                       QStringLiteral("--to"), QStringLiteral("2")})
                  .exitCode,
              0);

    const ToolResult printed =
        run({QStringLiteral("mailfile"), QStringLiteral("body"), path("mail.mms")});

    EXPECT_EQ(printed.exitCode, 0);
    EXPECT_TRUE(printed.out.isEmpty());
    EXPECT_TRUE(printed.err.isEmpty()) << printed.err.toStdString();
}

TEST_F(MmsutilTest, WriteReadsTheBodyFromStandardInput)
{
    const QByteArray body = allByteValues();

    const ToolResult written =
        run({QStringLiteral("mailfile"), QStringLiteral("write"), path("mail.mms"),
             QStringLiteral("--from"), QStringLiteral("1"), QStringLiteral("--to"),
             QStringLiteral("2"), QStringLiteral("--body"), QStringLiteral("-")},
            body);

    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    const Loaded mail = load(path("mail.mms"));
    ASSERT_EQ(mail.result, 0);
    EXPECT_EQ(mail.bodyBytes(), body);
    EXPECT_EQ(mail.header->messageSize, unsigned(body.size()));
}

TEST_F(MmsutilTest, WriteCreatesMissingParentDirectories)
{
    writeFile(QStringLiteral("body.bin"), "x");
    const QString target = path(QStringLiteral("a/b/c/1.mms"));

    const ToolResult written =
        run({QStringLiteral("mailfile"), QStringLiteral("write"), target, QStringLiteral("--from"),
             QStringLiteral("1"), QStringLiteral("--to"), QStringLiteral("2"),
             QStringLiteral("--body"), path("body.bin")});

    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    EXPECT_EQ(load(target).bodyBytes(), QByteArray("x"));
    EXPECT_EQ(QDir(path(QStringLiteral("a/b/c"))).entryList(QDir::Files),
              QStringList{QStringLiteral("1.mms")});
}

TEST_F(MmsutilTest, BareAddressesAreTypedByTheirLook)
{
    ASSERT_EQ(writeMail("x", {QStringLiteral("--from"), QStringLiteral("+49 (30) 123-45"),
                              QStringLiteral("--to"),
                              QStringLiteral("ann@example.org,alice, 0049-1 ,(+)1,+,a1")})
                  .exitCode,
              0);

    const Loaded mail = load(path("mail.mms"));
    ASSERT_EQ(mail.result, 0);
    expectEntry(&mail.header->from, "", MMS_UTIL_ADDR_PLMN, "+49 (30) 123-45");
    const MMS_UTIL_EntryList& to = mail.header->toList;
    ASSERT_EQ(to.count(), 6u);
    expectEntry(to.at(0), "", MMS_UTIL_ADDR_EMAIL, "ann@example.org");
    expectEntry(to.at(1), "", MMS_UTIL_ADDR_UNKNOWN, "alice");
    expectEntry(to.at(2), "", MMS_UTIL_ADDR_PLMN, "0049-1");
    expectEntry(to.at(3), "", MMS_UTIL_ADDR_PLMN, "(+)1");
    // Without a digit it is no phone number.
    expectEntry(to.at(4), "", MMS_UTIL_ADDR_UNKNOWN, "+");
    expectEntry(to.at(5), "", MMS_UTIL_ADDR_UNKNOWN, "a1");
}

TEST_F(MmsutilTest, WriteWithoutARequiredOptionIsAUsageError)
{
    writeFile(QStringLiteral("body.bin"), "x");
    const QStringList complete{QStringLiteral("--from"), QStringLiteral("1"),
                               QStringLiteral("--to"),   QStringLiteral("2"),
                               QStringLiteral("--body"), path("body.bin")};
    for (int missing = 0; missing < complete.size(); missing += 2) {
        QStringList options = complete;
        options.remove(missing, 2);
        SCOPED_TRACE(complete.at(missing).toStdString());
        expectUsageError(
            run(QStringList{QStringLiteral("mailfile"), QStringLiteral("write"), path("mail.mms")} +
                options));
    }
    EXPECT_FALSE(QFile::exists(path("mail.mms")));
}

TEST_F(MmsutilTest, WriteRefusesMalformedValues)
{
    const QList<QStringList> wrong{
        {QStringLiteral("--from"), QStringLiteral("1"), QStringLiteral("--to"),
         QStringLiteral("<Ann>[PMLN]+1")},
        {QStringLiteral("--from"), QStringLiteral("<Ann+1"), QStringLiteral("--to"),
         QStringLiteral("2")},
        {QStringLiteral("--from"), QStringLiteral(" "), QStringLiteral("--to"),
         QStringLiteral("2")},
        {QStringLiteral("--from"), QStringLiteral("1"), QStringLiteral("--to"),
         QStringLiteral(", ,")},
        {QStringLiteral("--from"), QStringLiteral("1"), QStringLiteral("--to"), QStringLiteral("2"),
         QStringLiteral("--priority"), QStringLiteral("Urgent")},
        {QStringLiteral("--from"), QStringLiteral("1"), QStringLiteral("--to"), QStringLiteral("2"),
         QStringLiteral("--bogus")},
        // A line break would end the header line: the file was written with the sender "111"
        // and the rest taken for a line of its own.
        {QStringLiteral("--from"), QStringLiteral("111\nSubject: injected"), QStringLiteral("--to"),
         QStringLiteral("2")},
        {QStringLiteral("--from"), QStringLiteral("1"), QStringLiteral("--to"),
         QStringLiteral("<Ann\r>[PLMN]2")},
        {QStringLiteral("--from"), QStringLiteral("1"), QStringLiteral("--to"), QStringLiteral("2"),
         QStringLiteral("--cc"), QStringLiteral("3\nBCC: 4")},
    };
    for (const QStringList& options : wrong) {
        SCOPED_TRACE(textout::oneLine(options.join(QLatin1Char(' '))).toStdString());
        expectUsageError(writeMail("x", options));
    }
    EXPECT_FALSE(QFile::exists(path("mail.mms")));
}

TEST_F(MmsutilTest, WriteWithAMissingBodyFileFails)
{
    const ToolResult written =
        run({QStringLiteral("mailfile"), QStringLiteral("write"), path("mail.mms"),
             QStringLiteral("--from"), QStringLiteral("1"), QStringLiteral("--to"),
             QStringLiteral("2"), QStringLiteral("--body"), path("no-such-body")});

    expectFailure(written);
    EXPECT_FALSE(QFile::exists(path("mail.mms")));
}

TEST_F(MmsutilTest, WriteFailsWhenTheParentIsAFile)
{
    writeFile(QStringLiteral("plain"), "x");

    const ToolResult written =
        run({QStringLiteral("mailfile"), QStringLiteral("write"), path("plain/mail.mms"),
             QStringLiteral("--from"), QStringLiteral("1"), QStringLiteral("--to"),
             QStringLiteral("2"), QStringLiteral("--body"), path("plain")});

    expectFailure(written);
}

TEST_F(MmsutilTest, ShowAndBodyOfAMissingFileFail)
{
    for (const char* command : {"show", "body"}) {
        SCOPED_TRACE(command);
        const ToolResult result =
            run({QStringLiteral("mailfile"), QLatin1String(command), path("missing.mms")});
        expectFailure(result);
        EXPECT_TRUE(result.err.contains("missing.mms")) << result.err.toStdString();
    }
}

TEST_F(MmsutilTest, ShowAndBodyOfGarbageFail)
{
    writeFile(QStringLiteral("garbage.mms"), QByteArray(64, '\xff'));
    writeFile(QStringLiteral("short.mms"), QByteArray("\0\0\0", 3));
    writeFile(QStringLiteral("empty.mms"), QByteArray());
    for (const char* name : {"garbage.mms", "short.mms", "empty.mms"}) {
        for (const char* command : {"show", "body"}) {
            SCOPED_TRACE(std::string(command) + " " + name);
            expectFailure(run(
                {QStringLiteral("mailfile"), QLatin1String(command), path(QLatin1String(name))}));
        }
    }
}

TEST_F(MmsutilTest, ShowOfADirectoryFails)
{
    expectFailure(run({QStringLiteral("mailfile"), QStringLiteral("show"), dir.path()}));
}

TEST_F(MmsutilTest, ContentTypeNumberGivesItsName)
{
    const QList<std::pair<QString, QByteArray>> cases{
        {QStringLiteral("30"), "image/jpeg\n"},
        {QStringLiteral("0x1e"), "image/jpeg\n"},
        {QStringLiteral("0X1E"), "image/jpeg\n"},
        {QStringLiteral("0"), "*/*\n"},
        {QStringLiteral("085"), "video/x-ms-wmv\n"},
        {QStringLiteral("14"), "multipart/byterantes\n"},
    };
    expectContentTypeAnswers(cases);
}

TEST_F(MmsutilTest, ContentTypeNameGivesItsNumber)
{
    const QList<std::pair<QString, QByteArray>> cases{
        {QStringLiteral("image/jpeg"), "30 0x1e\n"},
        {QStringLiteral("IMAGE/JPEG"), "30 0x1e\n"},
        {QStringLiteral("text/plain"), "3 0x03\n"},
        // Stored messages carry audio/pcmu under the number of audio/pcma.
        {QStringLiteral("audio/pcmu"), "79 0x4f\n"},
    };
    expectContentTypeAnswers(cases);
}

TEST_F(MmsutilTest, ContentTypeOutsideTheTableFails)
{
    for (const char* value : {"86", "0x56", "255", "text/x-vcard", "image/unknown"}) {
        SCOPED_TRACE(value);
        expectFailure(run({QStringLiteral("content-type"), QLatin1String(value)}));
    }
}

TEST_F(MmsutilTest, ContentTypeNumberBeyondOneByteIsAUsageError)
{
    for (const char* value : {"256", "0x100", "99999999999999999999"}) {
        SCOPED_TRACE(value);
        expectUsageError(run({QStringLiteral("content-type"), QLatin1String(value)}));
    }
    expectUsageError(run({QStringLiteral("content-type")}));
    expectUsageError(
        run({QStringLiteral("content-type"), QStringLiteral("1"), QStringLiteral("2")}));
}

// The reader of the content-type command's number, in-process.
TEST(MmsutilContentTypeNumberTest, ReadsDecimalAndHexadecimalNumbersOfOneByte)
{
    const struct {
        const char* text;
        unsigned char value;
    } cases[] = {{"0", 0},     {"30", 30},   {"085", 85},    {"255", 255},
                 {"0x1e", 30}, {"0X1E", 30}, {"0x0ff", 255}, {"0x00", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const cli::ContentTypeNumber number = cli::parseContentTypeNumber(QLatin1String(c.text));
        EXPECT_TRUE(number.written);
        ASSERT_TRUE(number.value);
        EXPECT_EQ(*number.value, c.value);
    }
}

TEST(MmsutilContentTypeNumberTest, TellsANumberOutOfRangeFromATextThatIsNoNumber)
{
    for (const char* beyond : {"256", "0x100", "99999999999999999999", "0x1000000000"}) {
        SCOPED_TRACE(beyond);
        const cli::ContentTypeNumber number = cli::parseContentTypeNumber(QLatin1String(beyond));
        EXPECT_TRUE(number.written);
        EXPECT_FALSE(number.value);
    }
    for (const char* name : {"", "image/jpeg", "-1", "+1", " 1", "1 ", "0x", "x1e", "1e", "0o7",
                             "1 2", "30\n", "0x1e\n"}) {
        SCOPED_TRACE(name);
        const cli::ContentTypeNumber number = cli::parseContentTypeNumber(QLatin1String(name));
        EXPECT_FALSE(number.written);
        EXPECT_FALSE(number.value);
    }
}

TEST_F(MmsutilTest, PathsFollowTheDownloadPathAndPlatformDirectoryVariables)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TAV_LOCAL_DOWNLOAD_PATH"), QStringLiteral("/data/dl"));
    environment.insert(QStringLiteral("TAV_PLATFORM_DIR"), path(QStringLiteral("platform")));

    const ToolResult result = run({QStringLiteral("paths")}, QByteArray(), environment);

    EXPECT_EQ(result.exitCode, 0);
    const std::string platform = path(QStringLiteral("platform")).toStdString();
    EXPECT_EQ(result.out.toStdString(), "Working directory:    /data/dl/mms/\n"
                                        "Mail file directory:  /data/dl/mms/mailfile/\n"
                                        "Quick page directory: /data/dl/mms/predesigned/\n"
                                        "Factory quick pages:  /usr/language/quickpage/\n"
                                        "Temporary directory:  /data/dl/mms/tmp/\n"
                                        "Platform directory:   " +
                                            platform +
                                            "\n"
                                            "Device database:      " +
                                            platform + "/device.db\n");
}

TEST_F(MmsutilTest, WithoutADownloadPathTheToolUsesItsDataDirectoryAndSaysSo)
{
    for (const bool xdg : {true, false}) {
        SCOPED_TRACE(xdg);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("TAV_LOCAL_DOWNLOAD_PATH"));
        environment.insert(QStringLiteral("TAV_PLATFORM_DIR"), path(QStringLiteral("platform")));
        environment.insert(QStringLiteral("HOME"), path(QStringLiteral("home")));
        if (xdg)
            environment.insert(QStringLiteral("XDG_DATA_HOME"), path(QStringLiteral("data")));
        else
            environment.remove(QStringLiteral("XDG_DATA_HOME"));
        const QString download = xdg ? path(QStringLiteral("data/tavmms/download"))
                                     : path(QStringLiteral("home/.local/share/tavmms/download"));

        const ToolResult result = run({QStringLiteral("paths")}, QByteArray(), environment);

        EXPECT_EQ(result.exitCode, 0);
        EXPECT_TRUE(result.out.startsWith(
            QStringLiteral("Working directory:    %1/mms/\n").arg(download).toUtf8()))
            << result.out.toStdString();
        EXPECT_TRUE(result.out.endsWith(QStringLiteral("TAV_LOCAL_DOWNLOAD_PATH is not set: "
                                                       "mmsutil uses %1, the directory 'make "
                                                       "run' uses.\n")
                                            .arg(download)
                                            .toUtf8()))
            << result.out.toStdString();
    }
}

TEST_F(MmsutilTest, HelpDescribesTheToolGroupsAndCommands)
{
    const ToolResult tool = run({QStringLiteral("--help")});
    EXPECT_EQ(tool.exitCode, 0);
    EXPECT_TRUE(tool.err.isEmpty());
    EXPECT_TRUE(tool.out.startsWith("Usage: mmsutil [options] <command>"))
        << tool.out.toStdString();
    for (const char* command :
         {"mailfile write", "mailfile show", "mailfile body", "content-type", "paths"})
        EXPECT_TRUE(tool.out.contains(command)) << command;

    const ToolResult group = run({QStringLiteral("mailfile"), QStringLiteral("--help")});
    EXPECT_EQ(group.exitCode, 0);
    EXPECT_TRUE(group.out.startsWith("Usage: mmsutil mailfile <command>"))
        << group.out.toStdString();

    const ToolResult command =
        run({QStringLiteral("mailfile"), QStringLiteral("write"), QStringLiteral("--help")});
    EXPECT_EQ(command.exitCode, 0);
    EXPECT_TRUE(command.out.startsWith("Usage: mmsutil mailfile write [options] FILE"))
        << command.out.toStdString();
    for (const char* option :
         {"--from", "--to", "--cc", "--bcc", "--subject", "--priority", "--body"})
        EXPECT_TRUE(command.out.contains(option)) << option;
}

TEST_F(MmsutilTest, VersionPrintsTheToolAndItsVersion)
{
    const ToolResult result = run({QStringLiteral("--version")});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^mmsutil \\d+\\.\\d+\\.\\d+\n$"))
                    .match(QString::fromUtf8(result.out))
                    .hasMatch())
        << result.out.toStdString();
}

TEST_F(MmsutilTest, UnknownCommandsAndOptionsAreUsageErrors)
{
    const QList<QStringList> wrong{
        {},
        {QStringLiteral("frobnicate")},
        {QStringLiteral("--bogus")},
        {QStringLiteral("mailfile")},
        {QStringLiteral("mailfile"), QStringLiteral("frobnicate")},
        {QStringLiteral("mailfile"), QStringLiteral("show")},
        {QStringLiteral("mailfile"), QStringLiteral("show"), QStringLiteral("--bogus"),
         QStringLiteral("x.mms")},
        {QStringLiteral("paths"), QStringLiteral("extra")},
    };
    for (const QStringList& arguments : wrong) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(run(arguments));
    }
}

} // namespace
