// mmsutil export, run as a child process on a temporary store: a message composed or received
// through the tool, written as an Internet mail message to a file or standard output, and read
// back by Python's MIME parser; the real retrieved messages too, each filed in the store with its
// body and content type and exported. The messages the list's options choose, written to one
// mbox file that Python's mailbox module reads, or to an .eml file each.

#include <tavmmsutility.h>

#include "support/mail_parser.h"
#include "support/message_store.h"
#include "support/pdu_helpers.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QTemporaryDir>

namespace
{

using namespace tavmms::pdu;
using tavmms_test::expectNotFound;
using tavmms_test::expectOneLineReport;
using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

const QString kRealPdus = tavmms_test::realPduFolder();
const QByteArray kSmil = "<smil><body><par><img src=\"cid:img\"/></par></body></smil>";

QByteArray slidesBody()
{
    const QByteArray picture =
        QByteArray::fromHex("ffd8ffe000104a464946") + QByteArray(500, '\xa5');
    return encodeMultipart(
        {Part{{"application/smil", {}}, {{"Content-ID", "<0.smil>"}}, kSmil},
         Part{{"text/plain", {{"charset", "utf-8"}}},
              {{"Content-ID", "<t>"}},
              QString::fromUtf8("Hallo, schöne Grüße").toUtf8()},
         Part{{"image/jpeg", {{"name", "photo.jpg"}}}, {{"Content-ID", "<img>"}}, picture}});
}

// A content type in the MIME form the tool reads, every parameter's value quoted.
QString contentTypeText(const ContentType& type)
{
    QString text = QString::fromUtf8(type.mediaType);
    for (const Parameter& parameter : type.parameters)
        text += QStringLiteral("; %1=\"%2\"")
                    .arg(QString::fromUtf8(parameter.name), QString::fromUtf8(parameter.value));
    return text;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

// What the mail parser is to find of a part: its mail type, and its parts, its text or its bytes.
QJsonObject expectedPart(const ContentType& type, const QByteArray& data, const Part* part);

QJsonObject expectedMultipart(const ContentType& type, const QList<Part>& parts)
{
    const QByteArray subtype = type.mediaType.toLower().split('.').last().split('/').last();
    QJsonArray inner;
    for (const Part& one : parts)
        inner.append(expectedPart(one.contentType, decodedData(one), &one));
    return {{QStringLiteral("type"),
             QStringLiteral("multipart/") + (subtype == "related" || subtype == "alternative"
                                                 ? QString::fromLatin1(subtype)
                                                 : QStringLiteral("mixed"))},
            {QStringLiteral("parts"), inner}};
}

QJsonObject expectedPart(const ContentType& type, const QByteArray& data, const Part* part)
{
    if (isMultipartType(type)) {
        if (const std::optional<QList<Part>> parts = decodeMultipart(data))
            return expectedMultipart(type, *parts);
    }
    QJsonObject expected{{QStringLiteral("type"), QString::fromLatin1(type.mediaType.toLower())}};
    const QByteArray charset = part ? part->charset() : type.parameter("charset");
    const std::optional<quint64> mib = charsetMibEnum(charset.isEmpty() ? "utf-8" : charset);
    const std::optional<DecodedText> text = mib ? decodeText(data, *mib) : std::nullopt;
    if (type.is("text/*") && text && !text->replaced)
        expected.insert(QStringLiteral("text"), text->text);
    else
        expected.insert(QStringLiteral("data"), tavmms_test::base64Text(data));
    return expected;
}

class MmsutilExportTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("cases")));
    }

    ToolResult run(const QStringList& arguments) const
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(), arguments);
    }

    QString path(const QString& name) const { return dir.filePath(name); }
    QString cases() const { return dir.filePath(QStringLiteral("cases")); }

    // Writes `body` to a file and runs `arguments` with it; gives the id printed.
    QString store(const QStringList& arguments, const QByteArray& body) const
    {
        QFile file(path(QStringLiteral("body.bin")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(body);
        file.close();
        const ToolResult result = run(QStringList(arguments).replaceInStrings(
            QStringLiteral("BODY"), path(QStringLiteral("body.bin"))));
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        return QString::fromUtf8(result.out.split(' ').constFirst());
    }

    QString composeSlides() const
    {
        return store({QStringLiteral("compose"), QStringLiteral("--to"),
                      QStringLiteral("<Ann>[PLMN]+15550101"), QStringLiteral("--subject"),
                      QString::fromUtf8("Schöne Grüße"), QStringLiteral("--body"),
                      QStringLiteral("BODY"), QStringLiteral("--content-type"),
                      QStringLiteral("application/vnd.wap.multipart.related; start=\"<0.smil>\"; "
                                     "type=application/smil")},
                     slidesBody());
    }

    // Runs the parser over the cases written; skips without python3.
    void expectTheParserReadsThem() const
    {
        const std::optional<std::string> problems = tavmms_test::mailParserProblems(cases());
        if (!problems)
            GTEST_SKIP() << "no python3 to read the messages with";
        EXPECT_EQ(*problems, "");
    }

    QTemporaryDir dir;
};

TEST_F(MmsutilExportTest, WritesAComposedMessageToANewFileThatAMailParserReads)
{
    const QString id = composeSlides();
    const QString file = path(QStringLiteral("slides.eml"));
    const ToolResult result = run({QStringLiteral("export"), id, QStringLiteral("--eml"), file});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.isEmpty());
    EXPECT_TRUE(result.err.isEmpty());
    const ContentType type{"application/vnd.wap.multipart.related",
                           {{"start", "<0.smil>"}, {"type", "application/smil"}}};
    QJsonObject body = expectedPart(type, slidesBody(), nullptr);
    body.insert(QStringLiteral("params"), QJsonObject{{QStringLiteral("start"), "<0.smil>"}});
    tavmms_test::writeMailCase(
        cases(), QStringLiteral("slides"), readAll(file),
        {{QStringLiteral("headers"),
          QJsonObject{{QStringLiteral("subject"), QString::fromUtf8("Schöne Grüße")},
                      {QStringLiteral("to"),
                       QJsonArray{QJsonArray{QStringLiteral("Ann"), "+15550101@mms.invalid"}}}}},
         {QStringLiteral("body"), body}});
    expectTheParserReadsThem();
}

TEST_F(MmsutilExportTest, WritesTheSameBytesToStandardOutput)
{
    const QString id = composeSlides();
    const QString file = path(QStringLiteral("slides.eml"));
    ASSERT_EQ(run({QStringLiteral("export"), id, QStringLiteral("--eml"), file}).exitCode, 0);
    const ToolResult result =
        run({QStringLiteral("export"), id, QStringLiteral("--eml"), QStringLiteral("-")});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, readAll(file));
}

TEST_F(MmsutilExportTest, KeepsAFileThatIsThereUnlessForced)
{
    const QString id = composeSlides();
    const QString file = path(QStringLiteral("taken.eml"));
    QFile taken(file);
    ASSERT_TRUE(taken.open(QIODevice::WriteOnly));
    taken.write("mine");
    taken.close();
    const ToolResult refused = run({QStringLiteral("export"), id, QStringLiteral("--eml"), file});
    expectOneLineReport(refused, 1);
    EXPECT_TRUE(refused.err.contains("--force")) << refused.err.toStdString();
    EXPECT_EQ(readAll(file), "mine");
    EXPECT_EQ(QDir(dir.path()).entryList({QStringLiteral("taken.eml*")}),
              QStringList{QStringLiteral("taken.eml")});

    const ToolResult forced = run(
        {QStringLiteral("export"), id, QStringLiteral("--eml"), file, QStringLiteral("--force")});
    EXPECT_EQ(forced.exitCode, 0) << forced.err.toStdString();
    EXPECT_TRUE(readAll(file).contains("MIME-Version: 1.0\r\n"));
}

TEST_F(MmsutilExportTest, SaysAMessageThatIsNotThereIsNotFoundAndWritesNothing)
{
    const QString file = path(QStringLiteral("none.eml"));
    expectNotFound(
        run({QStringLiteral("export"), QStringLiteral("99"), QStringLiteral("--eml"), file}));
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(MmsutilExportTest, RefusesACommandLineWithoutAFileOrAnId)
{
    expectUsageError(run({QStringLiteral("export"), QStringLiteral("1")}));
    expectUsageError(run({QStringLiteral("export"), QStringLiteral("--eml"), QStringLiteral("-")}));
    expectUsageError(run({QStringLiteral("export"), QStringLiteral("x"), QStringLiteral("--eml"),
                          QStringLiteral("-")}));
}

TEST_F(MmsutilExportTest, ExportsEveryRealRetrievedMessageSoThatAMailParserReadsIt)
{
    if (!QDir(kRealPdus).exists())
        GTEST_SKIP() << "no real PDUs at " << kRealPdus.toStdString();
    const QStringList names =
        QDir(kRealPdus).entryList({QStringLiteral("m-retrieve_*.conf")}, QDir::Files);
    ASSERT_FALSE(names.isEmpty());
    // Some are larger than the phone takes by default.
    ASSERT_EQ(run({QStringLiteral("settings"), QStringLiteral("set"),
                   QStringLiteral("mt-size-limitation"), QStringLiteral("off")})
                  .exitCode,
              0);
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const std::optional<Pdu> pdu = decodePdu(readAll(kRealPdus + QLatin1Char('/') + name));
        ASSERT_TRUE(pdu && pdu->contentType());
        const QString subject = pdu->text(Field::Subject);
        QStringList arguments{
            QStringLiteral("receive"),        QStringLiteral("BODY"),
            QStringLiteral("--from"),         QStringLiteral("+15550199"),
            QStringLiteral("--content-type"), contentTypeText(*pdu->contentType())};
        if (!subject.isEmpty())
            arguments << QStringLiteral("--subject") << subject;
        const QString id = store(arguments, pdu->body);
        const QString file = path(name + QStringLiteral(".eml"));
        const ToolResult result =
            run({QStringLiteral("export"), id, QStringLiteral("--eml"), file});
        ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
        QJsonObject headers{
            {QStringLiteral("from"), QJsonArray{QJsonArray{QString(), "+15550199@mms.invalid"}}}};
        if (!subject.isEmpty())
            headers.insert(QStringLiteral("subject"), subject);
        tavmms_test::writeMailCase(
            cases(), name, readAll(file),
            {{QStringLiteral("headers"), headers},
             {QStringLiteral("body"), expectedPart(*pdu->contentType(), pdu->body, nullptr)}});
    }
    expectTheParserReadsThem();
}

// ---- many messages ----

// The messages of a store with two composed messages with slides and one received text.
class MmsutilExportManyTest : public MmsutilExportTest
{
protected:
    void SetUp() override
    {
        MmsutilExportTest::SetUp();
        first = composeSlides();
        text = store({QStringLiteral("receive"), QStringLiteral("BODY"), QStringLiteral("--from"),
                      QStringLiteral("ann@example.org"), QStringLiteral("--subject"),
                      QStringLiteral("From the road"), QStringLiteral("--content-type"),
                      QStringLiteral("text/plain; charset=utf-8")},
                     kText);
        second = composeSlides();
    }

    ToolResult exportMany(const QStringList& arguments) const
    {
        return run(QStringList{QStringLiteral("export")} + arguments);
    }

    QString mailFile(const QString& id) const
    {
        return path(QStringLiteral("download/mms/mailfile/%1.mms").arg(id));
    }

    static QJsonObject expectedSlides()
    {
        return {{QStringLiteral("headers"),
                 QJsonObject{{QStringLiteral("subject"), QString::fromUtf8("Schöne Grüße")}}},
                {QStringLiteral("body"), expectedPart({"application/vnd.wap.multipart.related", {}},
                                                      slidesBody(), nullptr)}};
    }

    static inline const QByteArray kText = "From a line that starts so\n>From one quoted\n";
    QString first;
    QString text;
    QString second;
};

TEST_F(MmsutilExportManyTest, WritesTheChosenMessagesInTheirOrderToAnMboxFileThatMailboxReads)
{
    const QString file = cases() + QStringLiteral("/chosen.mbox");
    const ToolResult result = exportMany({QStringLiteral("--mbox"), file, QStringLiteral("--sort"),
                                          QStringLiteral("id"), QStringLiteral("--reverse")});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.isEmpty());
    EXPECT_EQ(result.err, "mmsutil: exported 3 messages to " + file.toUtf8() + "\n");
    tavmms_test::writeMboxExpectation(
        cases(), QStringLiteral("chosen"),
        {expectedSlides(),
         {{QStringLiteral("headers"),
           QJsonObject{{QStringLiteral("subject"), QStringLiteral("From the road")},
                       {QStringLiteral("from"),
                        QJsonArray{QJsonArray{QString(), QStringLiteral("ann@example.org")}}}}},
          {QStringLiteral("body"),
           QJsonObject{{QStringLiteral("type"), QStringLiteral("text/plain")},
                       {QStringLiteral("data"), tavmms_test::base64Text(kText)}}}},
         expectedSlides()});
    expectTheParserReadsThem();
    EXPECT_TRUE(readAll(file).contains("\n>From a line that starts so\n>>From one quoted\n"));
}

TEST_F(MmsutilExportManyTest, WritesOnlyTheMessagesTheOptionsChoose)
{
    const QString file = path(QStringLiteral("road.mbox"));
    const ToolResult result = exportMany(
        {QStringLiteral("--mbox"), file, QStringLiteral("--folder"), QStringLiteral("inbox")});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QByteArray mbox = readAll(file);
    EXPECT_TRUE(mbox.startsWith("From ann@example.org ")) << mbox.toStdString();
    EXPECT_EQ(mbox.count("\nFrom "), 0);
}

TEST_F(MmsutilExportManyTest, KeepsAnMboxFileThatIsThereUnlessForced)
{
    const QString file = path(QStringLiteral("taken.mbox"));
    QFile taken(file);
    ASSERT_TRUE(taken.open(QIODevice::WriteOnly) && taken.write("mine") == 4);
    taken.close();
    const ToolResult refused = exportMany({QStringLiteral("--mbox"), file});
    expectOneLineReport(refused, 1);
    EXPECT_TRUE(refused.err.contains("--force")) << refused.err.toStdString();
    EXPECT_EQ(readAll(file), "mine");
    const ToolResult forced =
        exportMany({QStringLiteral("--mbox"), file, QStringLiteral("--force")});
    EXPECT_EQ(forced.exitCode, 0) << forced.err.toStdString();
    EXPECT_EQ(readAll(file).count("\n\nFrom "), 2);
}

TEST_F(MmsutilExportManyTest, WritesAnEmlFileForEachChosenMessageAndSkipsOnesThatAreThere)
{
    const QString folder = path(QStringLiteral("new/mail"));
    const ToolResult result = exportMany({QStringLiteral("--eml"), folder});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(QDir(folder).entryList(QDir::Files),
              (QStringList{first + QStringLiteral(".eml"), text + QStringLiteral(".eml"),
                           second + QStringLiteral(".eml")}));
    const QString taken = folder + QLatin1Char('/') + text + QStringLiteral(".eml");
    const QByteArray before = readAll(taken);

    ASSERT_TRUE(QFile::remove(folder + QLatin1Char('/') + first + QStringLiteral(".eml")));
    ASSERT_TRUE(QFile::remove(folder + QLatin1Char('/') + second + QStringLiteral(".eml")));

    const ToolResult again = exportMany({QStringLiteral("--eml"), folder});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.err, "mmsutil: message " + text.toUtf8() + " skipped: '" + taken.toUtf8() +
                             "' is there already; --force replaces it\nmmsutil: exported 2 "
                             "messages to " +
                             folder.toUtf8() + " (1 skipped)\n");
    EXPECT_EQ(readAll(taken), before);
}

TEST_F(MmsutilExportManyTest, SkipsAMessageWhoseMailFileDoesNotLoadCountsItAndFails)
{
    ASSERT_TRUE(QFile::remove(mailFile(text)));
    const QString file = path(QStringLiteral("some.mbox"));
    const ToolResult result = exportMany({QStringLiteral("--mbox"), file});
    EXPECT_EQ(result.exitCode, 1);
    const QList<QByteArray> lines = result.err.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 2) << result.err.toStdString();
    EXPECT_TRUE(lines[0].startsWith("mmsutil: message " + text.toUtf8() + " skipped: "));
    EXPECT_EQ(lines[1], "mmsutil: exported 2 messages to " + file.toUtf8() + " (1 skipped)");
    EXPECT_EQ(readAll(file).count("\n\nFrom "), 1);
}

TEST_F(MmsutilExportManyTest, SaysNoMessageIsChosenAndWritesNothing)
{
    const QString file = path(QStringLiteral("none.mbox"));
    expectNotFound(exportMany(
        {QStringLiteral("--mbox"), file, QStringLiteral("--subject"), QStringLiteral("nowhere")}));
    EXPECT_FALSE(QFile::exists(file));
    EXPECT_EQ(QDir(dir.path()).entryList({QStringLiteral("none.mbox*")}), QStringList());
}

TEST_F(MmsutilExportManyTest, ShowsNoProgressLineWhenStandardErrorIsNoTerminal)
{
    const ToolResult result =
        exportMany({QStringLiteral("--mbox"), path(QStringLiteral("a.mbox"))});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_FALSE(result.err.contains('\r'));
    EXPECT_EQ(result.err.count('\n'), 1);
}

TEST_F(MmsutilExportManyTest, ShowsHowFarItHasComeInOneLineRewrittenOnATerminal)
{
    const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
    if (script.isEmpty())
        GTEST_SKIP() << "no script(1) to give the tool a terminal";
    const QString file = path(QStringLiteral("a.mbox"));
    // script(1) runs the tool on a terminal of its own and copies what it shows to its output.
    const ToolResult result = tavmms_test::runOnStore(
        script, dir.path(),
        {QStringLiteral("-qec"),
         QStringLiteral("'%1' export --mbox '%2'").arg(QStringLiteral(TAVMMS_MMSUTIL_PATH), file),
         QStringLiteral("/dev/null")});
    ASSERT_EQ(result.exitCode, 0) << result.out.toStdString() << result.err.toStdString();
    EXPECT_EQ(result.out, "\r\x1b[Kmmsutil: exported 0 of 3 messages (0%)"
                          "\r\x1b[Kmmsutil: exported 1 of 3 messages (33%)"
                          "\r\x1b[Kmmsutil: exported 2 of 3 messages (66%)"
                          "\r\x1b[Kmmsutil: exported 3 of 3 messages (100%)"
                          "\r\x1b[Kmmsutil: exported 3 messages to " +
                              file.toUtf8() + "\r\n");
}

TEST_F(MmsutilExportManyTest, RefusesAnIdWithMboxOrChoosingOptionsAndAFormWithoutAFile)
{
    const QString file = path(QStringLiteral("x.mbox"));
    const QList<QStringList> wrong = {
        {first, QStringLiteral("--mbox"), file},
        {first, QStringLiteral("--eml"), file, QStringLiteral("--folder"), QStringLiteral("1")},
        {QStringLiteral("--mbox"), file, QStringLiteral("--eml"), path(QStringLiteral("d"))},
        {QStringLiteral("--from"), QStringLiteral("ann")},
        {QStringLiteral("--mbox"), QStringLiteral("-")},
        {QStringLiteral("--mbox"), QString()},
        {QStringLiteral("--mbox"), file, QStringLiteral("--sort"), QStringLiteral("size")},
    };
    for (const QStringList& arguments : wrong) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(exportMany(arguments));
    }
    EXPECT_FALSE(QFile::exists(file));
}

} // namespace
