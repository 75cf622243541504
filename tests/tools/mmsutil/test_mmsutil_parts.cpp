// mmsutil parts, extract and show, run as a child process on a temporary store: the parts of a
// kept message listed, taken out into files or to standard output, and shown with its text; the
// real messages handsets received, kept and taken apart the same way.

#include <tavmmsutility.h>

#include "support/message_store.h"
#include "support/pdu_helpers.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace
{

namespace pdu = tavmms::pdu;
using tavmms_test::expectNotFound;
using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

const QString kRealFolder = tavmms_test::realPduFolder();
const QByteArray kHostileName = "\x1b]0;owned\x07\xe2\x80\xae"
                                "gpj.exe";

pdu::Part part(const QByteArray& mediaType, const QList<pdu::Parameter>& parameters,
               const QList<pdu::PartHeader>& headers, const QByteArray& data)
{
    return pdu::Part{pdu::ContentType{mediaType, parameters}, headers, data};
}

// A related body: a presentation, a text in ISO-8859-1, a photo in base64, and a part named to
// take over the terminal.
QList<pdu::Part> sampleParts()
{
    return {
        part("application/smil", {{"name", "pres.smil"}}, {{"Content-ID", "<pres>"}}, "<smil/>"),
        part("text/plain", {{"charset", "iso-8859-1"}}, {{"Content-Location", "text.txt"}},
             "Gr\xfc\xdf"
             "e aus K\xf6ln\r\nzwei"),
        part("image/jpeg", {{"name", "../photo.jpg"}},
             {{"Content-ID", "<photo>"}, {"Content-Transfer-Encoding", "base64"}}, "/9j/anBlZw=="),
        part("application/octet-stream", {{"name", kHostileName}}, {}, "x"),
    };
}

class MmsutilPartsTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    ToolResult run(const QStringList& arguments) const
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(), arguments);
    }

    // Receives a message with `body` of content type `type`; gives its id.
    unsigned receive(const QByteArray& body, const QString& type) const
    {
        const QString path = dir.filePath(QStringLiteral("body.bin"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        EXPECT_EQ(file.write(body), body.size());
        file.close();
        const ToolResult result = run(
            {QStringLiteral("receive"), path, QStringLiteral("--from"), QStringLiteral("+15550101"),
             QStringLiteral("--content-type"), type, QStringLiteral("--allow-duplicate")});
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        return result.out.split(' ').constFirst().toUInt();
    }

    unsigned receiveSample() const
    {
        return receive(pdu::encodeMultipart(sampleParts()),
                       QStringLiteral("application/vnd.wap.multipart.related; start=<pres>; "
                                      "type=application/smil"));
    }

    QString outDir() const { return dir.filePath(QStringLiteral("out")); }

    static QJsonValue jsonOf(const ToolResult& result)
    {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(result.out, &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << result.out.toStdString();
        return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
    }

    static bool safe(const QByteArray& bytes)
    {
        return tavmms::store::isSafeForDisplay(QString::fromUtf8(bytes), true);
    }

    QTemporaryDir dir;
};

TEST_F(MmsutilPartsTest, PartsListsEachPartOnALine)
{
    const unsigned id = receiveSample();
    const ToolResult result = run({QStringLiteral("parts"), QString::number(id)});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QList<QByteArray> lines = result.out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 5) << result.out.toStdString();
    EXPECT_TRUE(lines.at(0).startsWith("PART  TYPE"));
    EXPECT_TRUE(lines.at(1).startsWith("   1  application/smil")) << lines.at(1).toStdString();
    EXPECT_TRUE(lines.at(1).endsWith("start"));
    EXPECT_TRUE(lines.at(2).contains("iso-8859-1"));
    EXPECT_TRUE(lines.at(2).contains("text.txt"));
    EXPECT_TRUE(lines.at(3).contains("../photo.jpg"));
    EXPECT_TRUE(lines.at(3).contains("<photo>"));
}

TEST_F(MmsutilPartsTest, PartsEscapesHostileNamesAndGivesValidJson)
{
    const unsigned id = receiveSample();
    const ToolResult listed = run({QStringLiteral("parts"), QString::number(id)});
    ASSERT_EQ(listed.exitCode, 0);
    EXPECT_TRUE(safe(listed.out)) << listed.out.toStdString();
    EXPECT_TRUE(listed.out.contains("\\x1b]0;owned\\x07\\u{202e}gpj.exe"));

    const ToolResult json =
        run({QStringLiteral("parts"), QString::number(id), QStringLiteral("--json")});
    ASSERT_EQ(json.exitCode, 0);
    EXPECT_TRUE(safe(json.out));
    const QJsonArray parts = jsonOf(json).toArray();
    ASSERT_EQ(parts.size(), 4);
    EXPECT_EQ(parts.at(0).toObject().value("index").toInt(), 1);
    EXPECT_TRUE(parts.at(0).toObject().value("start").toBool());
    EXPECT_EQ(parts.at(1).toObject().value("charset").toString(), QStringLiteral("iso-8859-1"));
    EXPECT_EQ(parts.at(2).toObject().value("contentId").toString(), QStringLiteral("<photo>"));
    EXPECT_EQ(parts.at(2).toObject().value("size").toInt(), 12);
    EXPECT_EQ(parts.at(3).toObject().value("name").toString(), QString::fromUtf8(kHostileName));
}

TEST_F(MmsutilPartsTest, PartsOfAMessageThatIsNotThereIsExitThree)
{
    expectNotFound(run({QStringLiteral("parts"), QStringLiteral("42")}));
    expectNotFound(run({QStringLiteral("extract"), QStringLiteral("42"), dir.path()}));
    expectUsageError(run({QStringLiteral("parts"), QStringLiteral("x")}));
}

TEST_F(MmsutilPartsTest, PartsOfABodyThatDoesNotReadFailsSayingWhere)
{
    const unsigned id = receive("\x05\x01", QStringLiteral("application/vnd.wap.multipart.mixed"));
    const ToolResult result = run({QStringLiteral("parts"), QString::number(id)});
    tavmms_test::expectFailure(result);
    EXPECT_TRUE(result.err.contains("does not read: offset ")) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains("expected")) << result.err.toStdString();
}

TEST_F(MmsutilPartsTest, ExtractWritesEveryPartUnderASafeNameAndPrintsItsPath)
{
    const unsigned id = receiveSample();
    ASSERT_TRUE(QDir().mkpath(outDir()));
    const ToolResult result = run({QStringLiteral("extract"), QString::number(id), outDir()});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(safe(result.out));
    const QList<QByteArray> lines = result.out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines.at(0), (outDir() + QStringLiteral("/pres.smil")).toUtf8());
    EXPECT_EQ(lines.at(1), (outDir() + QStringLiteral("/text.txt")).toUtf8());
    EXPECT_EQ(lines.at(2), (outDir() + QStringLiteral("/photo.jpg")).toUtf8());
    QFile photo(outDir() + QStringLiteral("/photo.jpg"));
    ASSERT_TRUE(photo.open(QIODevice::ReadOnly));
    EXPECT_EQ(photo.readAll(), "\xff\xd8\xff"
                               "jpeg");
    EXPECT_EQ(QDir(outDir()).entryList(QDir::Files | QDir::Hidden).size(), 4);
    EXPECT_FALSE(QFileInfo::exists(dir.filePath(QStringLiteral("photo.jpg"))));
}

TEST_F(MmsutilPartsTest, ExtractTwiceKeepsTheFirstFilesAndNumbersTheSecond)
{
    const unsigned id = receiveSample();
    ASSERT_TRUE(QDir().mkpath(outDir()));
    const QStringList command{QStringLiteral("extract"), QString::number(id), outDir(),
                              QStringLiteral("--part"), QStringLiteral("3")};
    ASSERT_EQ(run(command).exitCode, 0);
    const ToolResult again = run(command);
    ASSERT_EQ(again.exitCode, 0);
    EXPECT_EQ(again.out, (outDir() + QStringLiteral("/photo-2.jpg\n")).toUtf8());
}

TEST_F(MmsutilPartsTest, ExtractToStandardOutputWritesThePartsDataRaw)
{
    const unsigned id = receiveSample();
    const ToolResult result =
        run({QStringLiteral("extract"), QString::number(id), QStringLiteral("-"),
             QStringLiteral("--part"), QStringLiteral("3")});
    ASSERT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "\xff\xd8\xff"
                          "jpeg");

    const unsigned single = receive("only \x1b text", QStringLiteral("text/plain"));
    const ToolResult only =
        run({QStringLiteral("extract"), QString::number(single), QStringLiteral("-")});
    ASSERT_EQ(only.exitCode, 0);
    EXPECT_EQ(only.out, "only \x1b text");
}

TEST_F(MmsutilPartsTest, ExtractRefusesWhatItCannotDoClearly)
{
    const unsigned id = receiveSample();
    // Several parts to standard output, a part number that is none, a missing directory.
    expectUsageError(run({QStringLiteral("extract"), QString::number(id), QStringLiteral("-")}));
    expectUsageError(run({QStringLiteral("extract"), QString::number(id), dir.path(),
                          QStringLiteral("--part"), QStringLiteral("0")}));
    expectUsageError(run({QStringLiteral("extract"), QString::number(id), dir.path(),
                          QStringLiteral("--part"), QStringLiteral("x")}));
    const ToolResult beyond = run({QStringLiteral("extract"), QString::number(id), dir.path(),
                                   QStringLiteral("--part"), QStringLiteral("9")});
    expectNotFound(beyond);
    EXPECT_EQ(beyond.err, "mmsutil: no part 9: the message has 4 parts\n");
    const ToolResult missing = run({QStringLiteral("extract"), QString::number(id), outDir()});
    tavmms_test::expectFailure(missing);
    EXPECT_TRUE(missing.err.contains("cannot open the directory")) << missing.err.toStdString();
}

TEST_F(MmsutilPartsTest, ShowListsThePartsAndPrintsTheTextDecoded)
{
    const unsigned id = receiveSample();
    const ToolResult result = run({QStringLiteral("show"), QString::number(id)});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(safe(result.out));
    EXPECT_TRUE(result.out.contains("\nParts:         4\n")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("PART  TYPE"));
    EXPECT_TRUE(result.out.contains("\nText of part 2 (text/plain):\n"
                                    "Gr\xc3\xbc\xc3\x9f"
                                    "e aus K\xc3\xb6ln\nzwei\n"))
        << result.out.toStdString();

    const ToolResult json =
        run({QStringLiteral("show"), QString::number(id), QStringLiteral("--json")});
    ASSERT_EQ(json.exitCode, 0);
    const QJsonObject shown = jsonOf(json).toObject();
    EXPECT_EQ(shown.value("id").toInt(), int(id));
    EXPECT_TRUE(shown.contains("header"));
    const QJsonArray parts = shown.value("parts").toArray();
    ASSERT_EQ(parts.size(), 4);
    EXPECT_EQ(parts.at(1).toObject().value("text").toString(),
              QString::fromUtf16(u"Grüße aus Köln\r\nzwei"));
    EXPECT_FALSE(parts.at(0).toObject().contains("text"));
    EXPECT_EQ(shown.value("partsError").toString(), QString());
}

TEST_F(MmsutilPartsTest, ShowWarnsOfBadBytesInATextAndStillShowsIt)
{
    const unsigned id = receive("ok \xff end", QStringLiteral("text/plain; charset=utf-8"));
    const ToolResult result = run({QStringLiteral("show"), QString::number(id)});
    ASSERT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "mmsutil: part 1: bytes not valid in utf-8 are shown as U+FFFD\n");
    EXPECT_TRUE(result.out.contains("ok \xef\xbf\xbd end\n"));
}

class MmsutilRealMessagesTest : public MmsutilPartsTest
{
protected:
    void SetUp() override
    {
        MmsutilPartsTest::SetUp();
        if (!QDir(kRealFolder).exists())
            GTEST_SKIP() << "no real PDUs at " << kRealFolder.toStdString();
        // Some real messages are larger than a fresh store's limit for received ones.
        ASSERT_EQ(run({QStringLiteral("settings"), QStringLiteral("set"),
                       QStringLiteral("max-mt-size"), QStringLiteral("0")})
                      .exitCode,
                  0);
    }
};

TEST_F(MmsutilRealMessagesTest, EveryRetrievedMessageKeptListsAndExtractsItsParts)
{
    const QStringList names =
        QDir(kRealFolder).entryList({QStringLiteral("m-retrieve_*.conf")}, QDir::Files);
    ASSERT_FALSE(names.isEmpty());
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        QFile file(kRealFolder + QLatin1Char('/') + name);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        qsizetype bodyOffset = 0;
        const std::optional<pdu::Pdu> header = pdu::decodePduHeader(bytes, &bodyOffset);
        ASSERT_TRUE(header && header->contentType());
        const std::optional<pdu::Message> message = pdu::decodeMessage(bytes);
        ASSERT_TRUE(message);

        const unsigned id = receive(bytes.sliced(bodyOffset),
                                    tavmms::store::contentTypeText(*header->contentType()));

        const ToolResult listed =
            run({QStringLiteral("parts"), QString::number(id), QStringLiteral("--json")});
        ASSERT_EQ(listed.exitCode, 0) << listed.err.toStdString();
        const QJsonArray parts = jsonOf(listed).toArray();
        ASSERT_EQ(parts.size(), message->parts.size());
        for (qsizetype i = 0; i < parts.size(); ++i)
            EXPECT_EQ(parts.at(i).toObject().value("size").toInteger(),
                      message->parts.at(i).data.size());

        const QString target = outDir() + QString::number(id);
        ASSERT_TRUE(QDir().mkpath(target));
        const ToolResult extracted = run({QStringLiteral("extract"), QString::number(id), target});
        ASSERT_EQ(extracted.exitCode, 0) << extracted.err.toStdString();
        const QList<QByteArray> paths = extracted.out.trimmed().split('\n');
        ASSERT_EQ(paths.size(), message->parts.size());
        for (qsizetype i = 0; i < paths.size(); ++i) {
            QFile written(QString::fromUtf8(paths.at(i)));
            ASSERT_TRUE(written.open(QIODevice::ReadOnly)) << paths.at(i).toStdString();
            EXPECT_EQ(written.readAll(), pdu::decodedData(message->parts.at(i)));
            EXPECT_EQ(QFileInfo(written).dir().path(), target);
        }
        EXPECT_EQ(run({QStringLiteral("show"), QString::number(id)}).exitCode, 0);
    }
}

} // namespace
