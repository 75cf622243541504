// Many kept messages exported at once: the mbox file's From lines and quoting, the messages a
// filter chooses in its order, the ones whose mail file does not load skipped, and the .eml files
// of a directory. Python's mailbox and email packages read the mbox file back, and must find
// every message, its subject and its parts' bytes.

#include "mbox_export.h"

#include "message_store.h"
#include "mms_util_msgheaderbase.h"
#include "multipart.h"

#include "support/index_table_helpers.h"
#include "support/mail_parser.h"
#include "support/message_store.h"
#include "support/mock_address_book.h"
#include "support/model_helpers.h"
#include "support/scoped_environment.h"
#include "support/temp_database.h"
#include "support/temp_settings_store.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTimeZone>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

namespace
{

using namespace tavmms::store;
using tavmms::pdu::ContentType;
using tavmms::pdu::Part;
using ::testing::_;
using ::testing::NiceMock;
using ::testing::Return;

MMS_UTIL_Entry entry(MMS_UTIL_ADDR_TYPE_T type, const QString& address)
{
    return tavmms_test::makeEntry(QString(), type, address);
}

// A picture's signature, then every octet once.
QByteArray pictureBytes()
{
    QByteArray octets(256, '\0');
    std::iota(octets.begin(), octets.end(), char(0));
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + octets;
}

// The parts of a message whose text has lines that an mbox file would take for a message's start.
QList<Part> partsWithText(const QByteArray& text)
{
    return {Part{ContentType{"text/plain", {{"charset", "utf-8"}}}, {{"Content-ID", "<t>"}}, text},
            Part{ContentType{"image/png", {}}, {{"Content-ID", "<p>"}}, pictureBytes()}};
}

// A message as the store reads it, for the functions that make an mbox file's parts.
ReadMessage readMessage(const QString& sender, const QDateTime& date)
{
    ReadMessage message;
    message.row.id = 3;
    auto header = std::make_shared<MMS_UTIL_MsgHeaderBase>();
    if (!sender.isEmpty())
        header->setFrom(entry(
            sender.contains(QLatin1Char('@')) ? MMS_UTIL_ADDR_EMAIL : MMS_UTIL_ADDR_PLMN, sender));
    header->sendDate = date;
    message.header = header;
    return message;
}

TEST(MboxFromLineTest, NamesTheSenderAndTheDateInUtcAsAsctimeWritesIt)
{
    const QDateTime date(QDate(2024, 5, 6), QTime(7, 8, 9), QTimeZone(7200));
    EXPECT_EQ(mboxFromLine(readMessage(QStringLiteral("+1 555 0101"), date)),
              "From +15550101@mms.invalid Mon May  6 05:08:09 2024\n");
    EXPECT_EQ(mboxFromLine(readMessage(QStringLiteral("ann@example.org"), date)),
              "From ann@example.org Mon May  6 05:08:09 2024\n");
}

TEST(MboxFromLineTest, NamesMailerDaemonForAMessageWithoutASender)
{
    const QDateTime date(QDate(2026, 11, 26), QTime(10, 0, 0), QTimeZone::utc());
    EXPECT_EQ(mboxFromLine(readMessage(QString(), date)),
              "From MAILER-DAEMON Thu Nov 26 10:00:00 2026\n");
}

TEST(MboxFromLineTest, NamesMailerDaemonForASenderWithABlank)
{
    const QDateTime date(QDate(2026, 11, 26), QTime(10, 0, 0), QTimeZone::utc());
    EXPECT_EQ(mboxFromLine(readMessage(QStringLiteral("Some Service"), date)),
              "From MAILER-DAEMON Thu Nov 26 10:00:00 2026\n");
}

TEST(MboxFromLineTest, TakesTheRowsTimeElseTheStartOf1970ForAMessageWithoutADate)
{
    ReadMessage message = readMessage(QStringLiteral("ann@example.org"), QDateTime());
    EXPECT_EQ(mboxFromLine(message), "From ann@example.org Thu Jan  1 00:00:00 1970\n");
    message.row.record.cmn_fld_time = 86400 * 2;
    EXPECT_EQ(mboxFromLine(message), "From ann@example.org Sat Jan  3 00:00:00 1970\n");
}

TEST(MboxEntryTest, QuotesEveryFromLineOnceMoreAndEndsWithAnEmptyLine)
{
    const QByteArray eml = "Subject: x\r\n\r\nFrom here\r\n>From there\r\n>>From afar\r\n"
                           "from lower case\r\n From indented\r\nFromage\r\n";
    EXPECT_EQ(mboxEntry("From a Thu Jan  1 00:00:00 1970\n", eml),
              "From a Thu Jan  1 00:00:00 1970\nSubject: x\n\n>From here\n>>From there\n"
              ">>>From afar\nfrom lower case\n From indented\nFromage\n\n");
}

TEST(MboxEntryTest, EndsAMessageWithoutAFinalLineBreakWithOne)
{
    EXPECT_EQ(mboxEntry("From a\n", "Subject: x\r\n\r\nlast"), "From a\nSubject: x\n\nlast\n\n");
}

class MboxExportTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(database.isValid());
        ASSERT_TRUE(settings.isValid());
        ON_CALL(book, singleSearch(_, _, _, _, _)).WillByDefault(Return(ADDRBK_SEARCH_NOT_FOUND));
    }

    // Receives a message from `sender` with `subject`, sent on day `day` of May 2024.
    unsigned int receive(const QString& sender, const QString& subject, int day,
                         const QByteArray& text = "Hello")
    {
        NewMessage message;
        message.from = entry(MMS_UTIL_ADDR_EMAIL, sender);
        message.to = {entry(MMS_UTIL_ADDR_PLMN, QStringLiteral("+15550199"))};
        message.subject = subject;
        message.body = tavmms::pdu::encodeMultipart(partsWithText(text));
        message.date = QDateTime(QDate(2024, 5, day), QTime(12, 0, 0), QTimeZone::utc());
        const Added added = messages.receive(message, true);
        EXPECT_TRUE(added.status.ok()) << added.status.text.toStdString();
        return added.id;
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // The From lines of the mbox file at `path`, in order.
    static QList<QByteArray> fromLines(const QString& path)
    {
        QList<QByteArray> lines;
        for (const QByteArray& line : contents(path).split('\n')) {
            if (line.startsWith("From "))
                lines.append(line);
        }
        return lines;
    }

    QTemporaryDir dir;
    tavmms_test::ScopedEnvironment platform{"TAV_PLATFORM_DIR", dir.filePath("platform").toUtf8()};
    tavmms_test::ScopedEnvironment download{"TAV_LOCAL_DOWNLOAD_PATH",
                                            dir.filePath("download").toUtf8()};
    tavmms_test::ScopedIndexTableState indexState;
    tavmms_test::TempDatabase database;
    tavmms_test::TempSettingsStore settings;
    NiceMock<tavmms_test::MockAddressBook> book;
    tavplatform::ScopedAddressBookService installedBook{&book};
    MessageStore messages;
};

TEST_F(MboxExportTest, WritesTheChosenMessagesInTheFiltersOrder)
{
    receive(QStringLiteral("ann@example.org"), QStringLiteral("first"), 3);
    receive(QStringLiteral("bob@example.org"), QStringLiteral("second"), 1);
    receive(QStringLiteral("ann@example.org"), QStringLiteral("third"), 2);
    ListFilter filter;
    filter.from = QStringLiteral("ann");
    filter.order = ListOrder::Date;
    const ExportedMany exported = exportMbox(messages, filter, path(QStringLiteral("out.mbox")));
    ASSERT_TRUE(exported.status.ok()) << exported.status.text.toStdString();
    EXPECT_EQ(exported.exported, 2);
    EXPECT_TRUE(exported.skipped.isEmpty());
    EXPECT_EQ(fromLines(path(QStringLiteral("out.mbox"))),
              (QList<QByteArray>{"From ann@example.org Thu May  2 12:00:00 2024",
                                 "From ann@example.org Fri May  3 12:00:00 2024"}));
}

TEST_F(MboxExportTest, ChoosingNoMessageIsNotFoundAndWritesNothing)
{
    const ExportedMany exported = exportMbox(messages, {}, path(QStringLiteral("out.mbox")));
    EXPECT_EQ(exported.status.code, ErrorCode::NotFound);
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("out.mbox"))));
    EXPECT_EQ(tavmms_test::namesIn(dir.path()).filter(QStringLiteral("out.mbox")), QStringList());
}

TEST_F(MboxExportTest, KeepsAFileThatIsThereUnlessToldToReplaceIt)
{
    receive(QStringLiteral("ann@example.org"), QStringLiteral("first"), 3);
    const QString target = path(QStringLiteral("out.mbox"));
    QFile old(target);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
    old.close();
    EXPECT_EQ(exportMbox(messages, {}, target).status.code, ErrorCode::Exists);
    EXPECT_EQ(contents(target), "old");
    ExportManyOptions options;
    options.replace = true;
    EXPECT_TRUE(exportMbox(messages, {}, target, options).status.ok());
    EXPECT_TRUE(contents(target).startsWith("From ann@example.org "));
}

TEST_F(MboxExportTest, SkipsAMessageWhoseMailFileDoesNotLoadAndNamesIt)
{
    receive(QStringLiteral("ann@example.org"), QStringLiteral("first"), 1);
    const unsigned int lost = receive(QStringLiteral("bob@example.org"), QStringLiteral("lost"), 2);
    ASSERT_TRUE(QFile::remove(messages.read(lost, false).row.mailFile()));
    const ExportedMany exported = exportMbox(messages, {}, path(QStringLiteral("out.mbox")));
    ASSERT_TRUE(exported.status.ok()) << exported.status.text.toStdString();
    EXPECT_EQ(exported.exported, 1);
    ASSERT_EQ(exported.skipped.size(), 1);
    EXPECT_EQ(exported.skipped.constFirst().id, lost);
    EXPECT_FALSE(exported.skipped.constFirst().status.text.isEmpty());
    EXPECT_EQ(fromLines(path(QStringLiteral("out.mbox"))).size(), 1);
}

TEST_F(MboxExportTest, ExportsAMessageWhoseMailFileIsDamagedAndNamesIt)
{
    const unsigned int first = receive(QStringLiteral("ann@example.org"), QStringLiteral("a"), 1);
    const unsigned int second = receive(QStringLiteral("bob@example.org"), QStringLiteral("b"), 2);
    // The other message's file: it loads, but its header does not match the row.
    const QString damaged = messages.read(first, false).row.mailFile();
    ASSERT_TRUE(QFile::remove(damaged));
    ASSERT_TRUE(QFile::copy(messages.read(second, false).row.mailFile(), damaged));
    const ExportedMany exported = exportMbox(messages, {}, path(QStringLiteral("out.mbox")));
    ASSERT_TRUE(exported.status.ok()) << exported.status.text.toStdString();
    EXPECT_EQ(exported.exported, 2);
    EXPECT_TRUE(exported.skipped.isEmpty());
    ASSERT_EQ(exported.damaged.size(), 1);
    EXPECT_EQ(exported.damaged.constFirst().id, first);
    EXPECT_TRUE(exported.damaged.constFirst().status.text.startsWith(
        QStringLiteral("the mail file '%1' is damaged: ").arg(damaged)))
        << exported.damaged.constFirst().status.text.toStdString();
}

TEST_F(MboxExportTest, FailsAndWritesNothingWhenNoChosenMessageLoads)
{
    const unsigned int lost = receive(QStringLiteral("bob@example.org"), QStringLiteral("lost"), 2);
    ASSERT_TRUE(QFile::remove(messages.read(lost, false).row.mailFile()));
    const ExportedMany exported = exportMbox(messages, {}, path(QStringLiteral("out.mbox")));
    EXPECT_EQ(exported.status.code, ErrorCode::Failed);
    EXPECT_EQ(exported.skipped.size(), 1);
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("out.mbox"))));
}

TEST_F(MboxExportTest, ReportsProgressOnceChosenAndAfterEachMessage)
{
    receive(QStringLiteral("ann@example.org"), QStringLiteral("first"), 1);
    receive(QStringLiteral("bob@example.org"), QStringLiteral("second"), 2);
    QList<qsizetype> done;
    ExportManyOptions options;
    options.progress = [&](const ExportProgress& progress) {
        EXPECT_EQ(progress.total, 2);
        done.append(progress.done);
    };
    ASSERT_TRUE(exportMbox(messages, {}, path(QStringLiteral("out.mbox")), options).status.ok());
    EXPECT_EQ(done, (QList<qsizetype>{0, 1, 2}));
}

TEST_F(MboxExportTest, MessagesReadBackByPythonsMailboxWhole)
{
    const QByteArray text = "From the start\n>From quoted\nplain line\n";
    receive(QStringLiteral("ann@example.org"), QString::fromUtf8("Grüße – first"), 1, text);
    receive(QStringLiteral("bob@example.org"), QStringLiteral("From line subject"), 2);
    QTemporaryDir cases;
    ASSERT_TRUE(cases.isValid());
    ASSERT_TRUE(exportMbox(messages, {}, cases.filePath(QStringLiteral("many.mbox"))).status.ok());
    const auto expected = [](const QString& subject, const QByteArray& text) {
        return QJsonObject{
            {QStringLiteral("headers"), QJsonObject{{QStringLiteral("subject"), subject}}},
            {QStringLiteral("body"),
             QJsonObject{
                 {QStringLiteral("type"), QStringLiteral("multipart/mixed")},
                 {QStringLiteral("parts"),
                  QJsonArray{QJsonObject{{QStringLiteral("type"), QStringLiteral("text/plain")},
                                         {QStringLiteral("data"), tavmms_test::base64Text(text)}},
                             QJsonObject{{QStringLiteral("type"), QStringLiteral("image/png")},
                                         {QStringLiteral("data"),
                                          tavmms_test::base64Text(pictureBytes())}}}}}}};
    };
    tavmms_test::writeMboxExpectation(cases.path(), QStringLiteral("many"),
                                      {expected(QString::fromUtf8("Grüße – first"), text),
                                       expected(QStringLiteral("From line subject"), "Hello")});
    const std::optional<std::string> problems = tavmms_test::mailParserProblems(cases.path());
    if (!problems)
        GTEST_SKIP() << "no python3";
    EXPECT_EQ(*problems, "");
}

TEST_F(MboxExportTest, WritesEachChosenMessageToAnEmlFileNamedAfterItsIdInADirectoryItMakes)
{
    const unsigned int first = receive(QStringLiteral("ann@example.org"), QStringLiteral("a"), 1);
    const unsigned int second = receive(QStringLiteral("bob@example.org"), QStringLiteral("b"), 2);
    const QString folder = path(QStringLiteral("new/eml"));
    const ExportedMany exported = exportEmlFiles(messages, {}, folder);
    ASSERT_TRUE(exported.status.ok()) << exported.status.text.toStdString();
    EXPECT_EQ(exported.exported, 2);
    EXPECT_EQ(tavmms_test::namesIn(folder), (QStringList{QStringLiteral("%1.eml").arg(first),
                                                         QStringLiteral("%1.eml").arg(second)}));
    EXPECT_TRUE(contents(QDir(folder).filePath(QStringLiteral("%1.eml").arg(first)))
                    .contains("Subject: a\r\n"));
}

TEST_F(MboxExportTest, SkipsAnEmlFileThatIsThereUnlessToldToReplaceIt)
{
    const unsigned int first = receive(QStringLiteral("ann@example.org"), QStringLiteral("a"), 1);
    receive(QStringLiteral("bob@example.org"), QStringLiteral("b"), 2);
    const QString folder = path(QStringLiteral("eml"));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString taken = QDir(folder).filePath(QStringLiteral("%1.eml").arg(first));
    QFile old(taken);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
    old.close();
    ExportedMany exported = exportEmlFiles(messages, {}, folder);
    EXPECT_TRUE(exported.status.ok());
    EXPECT_EQ(exported.exported, 1);
    ASSERT_EQ(exported.skipped.size(), 1);
    EXPECT_EQ(exported.skipped.constFirst().status.code, ErrorCode::Exists);
    EXPECT_EQ(contents(taken), "old");
    ExportManyOptions options;
    options.replace = true;
    exported = exportEmlFiles(messages, {}, folder, options);
    EXPECT_EQ(exported.exported, 2);
    EXPECT_TRUE(contents(taken).contains("Subject: a\r\n"));
}

} // namespace
