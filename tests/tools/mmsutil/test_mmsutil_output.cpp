// What mmsutil prints for a person and for a script: texts that messages, contacts and profiles
// hold never reach the terminal raw, whatever characters they carry, and every command that
// prints records gives valid JSON with --json.

#include <tavmmsutility.h>

#include "sqlite_settings_store.h"

#include "support/message_store.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace
{

using tavmms_test::ToolResult;

// Every character the printer must escape, in one text: the C0 controls but the line break
// (argv cannot carry U+0000), DEL, the C1 controls, the direction and invisible format
// characters, the line and paragraph separators, and an escape sequence that would retitle and
// reset a terminal.
QString hostileText()
{
    QString text = QStringLiteral("Evil\x1b]0;owned\x07\x1b"
                                  "c ");
    for (char16_t c = 1; c < 0x20; ++c) {
        if (c != u'\n')
            text += QChar(c);
    }
    for (char16_t c = 0x7F; c <= 0x9F; ++c)
        text += QChar(c);
    for (const char16_t c : {0x061C, 0x200E, 0x200F, 0x202A, 0x202B, 0x202C, 0x202D, 0x202E, 0x2066,
                             0x2067, 0x2068, 0x2069, 0x2028, 0x2029})
        text += QChar(c);
    return text + QStringLiteral(" end");
}

// Whether `bytes` (UTF-8) hold nothing a terminal must not get raw; line breaks are the
// printer's own.
bool safeOutput(const QByteArray& bytes)
{
    return tavmms::store::isSafeForDisplay(QString::fromUtf8(bytes), true);
}

class MmsutilOutputTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        QFile body(dir.filePath(QStringLiteral("body.bin")));
        ASSERT_TRUE(body.open(QIODevice::WriteOnly));
        ASSERT_EQ(body.write("body"), 4);
    }

    ToolResult run(const QStringList& arguments, const QByteArray& input = QByteArray()) const
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(), arguments,
                                       input);
    }

    // Runs a command, expects `exitCode`, and checks that neither output holds a raw character.
    ToolResult safe(const QStringList& arguments, int exitCode = 0) const
    {
        const ToolResult result = run(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << result.err.toStdString();
        EXPECT_TRUE(safeOutput(result.out)) << result.out.toStdString();
        EXPECT_TRUE(safeOutput(result.err)) << result.err.toStdString();
        return result;
    }

    // Runs a command with --json; expects exit 0 and valid JSON with no raw character.
    QJsonDocument json(const QStringList& arguments, int exitCode = 0) const
    {
        const ToolResult result = safe(arguments + QStringList{QStringLiteral("--json")}, exitCode);
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(result.out, &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError)
            << error.errorString().toStdString() << ": " << result.out.toStdString();
        return document;
    }

    QString bodyPath() const { return dir.filePath(QStringLiteral("body.bin")); }

    // A contact, a received message from them, a composed one and profiles, all named with
    // every character that must not reach a terminal raw.
    void fillWithHostileTexts() const
    {
        const QByteArray card = "BEGIN:VCARD\nVERSION:3.0\nFN:" + hostileText().toUtf8() +
                                "\nORG:" + hostileText().toUtf8() +
                                "\nTEL;TYPE=CELL:+15550199\n"
                                "EMAIL:evil@example.org\nEND:VCARD\n";
        ASSERT_EQ(
            run({QStringLiteral("contacts"), QStringLiteral("import"), QStringLiteral("-")}, card)
                .exitCode,
            0);
        ASSERT_EQ(run({QStringLiteral("receive"), bodyPath(), QStringLiteral("--from"),
                       QStringLiteral("+15550199"), QStringLiteral("--subject"), hostileText()})
                      .exitCode,
                  0);
        ASSERT_EQ(run({QStringLiteral("compose"), QStringLiteral("--to"),
                       QStringLiteral("evil@example.org"), QStringLiteral("--subject"),
                       hostileText(), QStringLiteral("--body"), bodyPath()})
                      .exitCode,
                  0);
        // Names the tool would refuse now, as an older release may have stored them.
        tavplatform::SqliteSettingsStore store(
            dir.filePath(QStringLiteral("platform/settings.db")));
        const tavplatform::ScopedSettingsStoreService installed(&store);
        ASSERT_EQ(MMS_UTIL_Setting::addProfile(hostileText()), 0);
        ASSERT_EQ(MMS_UTIL_Setting::setBlockList(QStringLiteral("\x1b[2J,+15550100")), 0);
    }

    QTemporaryDir dir;
};

TEST_F(MmsutilOutputTest, NothingAMessageContactOrProfileHoldsReachesTheTerminalRaw)
{
    fillWithHostileTexts();
    safe({QStringLiteral("list")});
    safe({QStringLiteral("show"), QStringLiteral("1")});
    safe({QStringLiteral("show"), QStringLiteral("2")});
    safe({QStringLiteral("index"), QStringLiteral("list")});
    safe({QStringLiteral("index"), QStringLiteral("show"), QStringLiteral("1")});
    safe({QStringLiteral("mailfile"), QStringLiteral("show"),
          dir.filePath(QStringLiteral("download/mms/mailfile/1.mms"))});
    safe({QStringLiteral("contacts"), QStringLiteral("list")});
    safe({QStringLiteral("contacts"), QStringLiteral("lookup"), QStringLiteral("+15550199")});
    safe({QStringLiteral("profile"), QStringLiteral("list")});
    safe({QStringLiteral("block"), QStringLiteral("list")});
    // Errors that quote what was typed are escaped too.
    safe({QStringLiteral("profile"), QStringLiteral("show"), hostileText() + QStringLiteral("2")},
         3);
    safe({QStringLiteral("show"), hostileText()}, 2);
}

TEST_F(MmsutilOutputTest, TheEscapesShowWhatTheTextHolds)
{
    fillWithHostileTexts();
    const ToolResult listed = safe({QStringLiteral("contacts"), QStringLiteral("list")});
    EXPECT_TRUE(listed.out.contains("Evil\\x1b]0;owned\\x07\\x1bc")) << listed.out.toStdString();
    EXPECT_TRUE(listed.out.contains("\\u{202e}")) << listed.out.toStdString();
    EXPECT_TRUE(listed.out.contains("\\x9b")) << listed.out.toStdString();
}

TEST_F(MmsutilOutputTest, EveryCommandThatPrintsRecordsGivesValidJsonThatKeepsTheTexts)
{
    fillWithHostileTexts();
    const QString hostile = hostileText();

    const QJsonArray messages = json({QStringLiteral("list")}).array();
    ASSERT_EQ(messages.size(), 2);

    const QJsonObject shown = json({QStringLiteral("show"), QStringLiteral("1")}).object();
    EXPECT_EQ(shown.value(QStringLiteral("id")).toInt(), 1);
    EXPECT_EQ(shown.value(QStringLiteral("folderName")).toString(), QStringLiteral("inbox"));
    EXPECT_EQ(shown.value(QStringLiteral("header")).toObject().value("Subject").toString(),
              hostile);
    EXPECT_EQ(shown.value(QStringLiteral("bodyLength")).toInt(), 4);
    EXPECT_TRUE(shown.value(QStringLiteral("row")).toObject().contains("cmn_fld_subject"));

    const QJsonArray contacts = json({QStringLiteral("contacts"), QStringLiteral("list")}).array();
    ASSERT_EQ(contacts.size(), 1);
    EXPECT_EQ(contacts.at(0).toObject().value("name").toString(), hostile);
    EXPECT_EQ(contacts.at(0).toObject().value("numbers").toArray().at(0).toObject().value("value"),
              QStringLiteral("+15550199"));

    EXPECT_EQ(json({QStringLiteral("block"), QStringLiteral("list")}).array(),
              (QJsonArray{QStringLiteral("\x1b[2J"), QStringLiteral("+15550100")}));

    const QJsonArray profiles = json({QStringLiteral("profile"), QStringLiteral("list")}).array();
    ASSERT_EQ(profiles.size(), 1);
    EXPECT_EQ(profiles.at(0).toObject().value("name").toString(), hostile);
    EXPECT_FALSE(profiles.at(0).toObject().value("isDefaultProfile").toBool());

    EXPECT_TRUE(json({QStringLiteral("settings"), QStringLiteral("show")}).isObject());

    const QJsonObject checked = json({QStringLiteral("check")}).object();
    EXPECT_EQ(checked.value(QStringLiteral("rows")).toInt(), 2);
    EXPECT_EQ(checked.value(QStringLiteral("mailFiles")).toInt(), 2);
    EXPECT_EQ(checked.value(QStringLiteral("problems")).toArray().size(), 0);
    EXPECT_EQ(checked.value(QStringLiteral("remaining")).toInt(), 0);
}

TEST_F(MmsutilOutputTest, CheckJsonListsTheProblemsAndExitsWithThreeWhileSomeRemain)
{
    ASSERT_EQ(run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                   QStringLiteral("--subject"), QStringLiteral("s"), QStringLiteral("--body"),
                   bodyPath()})
                  .exitCode,
              0);
    ASSERT_TRUE(QFile::remove(dir.filePath(QStringLiteral("download/mms/mailfile/1.mms"))));

    const QJsonObject checked = json({QStringLiteral("check")}, 3).object();
    const QJsonArray problems = checked.value(QStringLiteral("problems")).toArray();
    ASSERT_EQ(problems.size(), 1);
    EXPECT_EQ(problems.at(0).toObject().value("text").toString(),
              QStringLiteral("row 1: no mail file 1.mms"));
    EXPECT_EQ(problems.at(0).toObject().value("outcome").toString(), QStringLiteral("found"));
    EXPECT_EQ(checked.value(QStringLiteral("remaining")).toInt(), 1);
}

TEST_F(MmsutilOutputTest, ComposeTakesTheMimeFormOfAContentTypeAndClassifiesIt)
{
    ASSERT_EQ(run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                   QStringLiteral("--subject"), QStringLiteral("s"), QStringLiteral("--body"),
                   bodyPath(), QStringLiteral("--content-type"),
                   QStringLiteral("application/vnd.wap.multipart.related; "
                                  "type=\"application/smil\"; start=<p1>")})
                  .exitCode,
              0);
    const QJsonObject shown = json({QStringLiteral("show"), QStringLiteral("1")}).object();
    EXPECT_EQ(shown.value(QStringLiteral("header")).toObject().value("Content_Type").toString(),
              QStringLiteral("application/vnd.wap.multipart.related "
                             "type=application/smil;start=<p1>"));
    EXPECT_EQ(shown.value(QStringLiteral("row")).toObject().value("mms_fld_contenttype_name"),
              MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("application"),
                                                QStringLiteral("vnd.wap.multipart.related")));
    EXPECT_EQ(shown.value(QStringLiteral("messageType")).toInt(),
              MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
    tavmms_test::expectUsageError(
        run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
             QStringLiteral("--subject"), QStringLiteral("s"), QStringLiteral("--body"), bodyPath(),
             QStringLiteral("--content-type"), QStringLiteral("text/plain; name=\"a b\"")}));
}

TEST_F(MmsutilOutputTest, ShowSaysWhenTheRowKeepsOnlyTheStartOfTheSubject)
{
    const QString subject = QString(38, QLatin1Char('s')) + QStringLiteral("e") + QChar(0x0301) +
                            QString(1000, QLatin1Char('t'));
    ASSERT_EQ(run({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("+15550101"),
                   QStringLiteral("--subject"), subject, QStringLiteral("--body"), bodyPath()})
                  .exitCode,
              0);
    const ToolResult shown = safe({QStringLiteral("show"), QStringLiteral("1")});
    EXPECT_TRUE(shown.out.contains("The index row keeps the first 38 of the subject's 1040 "
                                   "characters; the mail file holds the whole text.\n"))
        << shown.out.toStdString();
    const QJsonObject json = this->json({QStringLiteral("show"), QStringLiteral("1")}).object();
    EXPECT_TRUE(json.value(QStringLiteral("subjectCut")).toBool());
    EXPECT_EQ(json.value(QStringLiteral("header")).toObject().value("Subject").toString(), subject);
    EXPECT_EQ(json.value(QStringLiteral("row")).toObject().value("cmn_fld_subject").toString(),
              QString(38, QLatin1Char('s')));
}

TEST_F(MmsutilOutputTest, NotFoundIsExitThreeForEveryCommandThatLooksSomethingUp)
{
    const QList<QStringList> lookups{
        {QStringLiteral("show"), QStringLiteral("99999")},
        {QStringLiteral("delete"), QStringLiteral("99999")},
        {QStringLiteral("index"), QStringLiteral("show"), QStringLiteral("99999")},
        {QStringLiteral("index"), QStringLiteral("find"), QStringLiteral("nowhere")},
        {QStringLiteral("profile"), QStringLiteral("show"), QStringLiteral("nobody")},
    };
    for (const QStringList& arguments : lookups) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        tavmms_test::expectNotFound(run(arguments));
    }
    const ToolResult contact =
        run({QStringLiteral("contacts"), QStringLiteral("lookup"), QStringLiteral("+15550199")});
    EXPECT_EQ(contact.exitCode, 3);
    const ToolResult owner = run({QStringLiteral("contacts"), QStringLiteral("owner")});
    EXPECT_EQ(owner.exitCode, 3);
}

} // namespace
