// mmsutil pdu decode, run as a child process: any PDU's header fields in words and its parts,
// from a file or standard input, with a clear error for bytes that do not read, and no store.

#include <tavmmsutility.h>

#include "support/message_store.h"
#include "support/pdu_helpers.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace
{

namespace pdu = tavmms::pdu;
using pdu::Field;
using pdu::HeaderField;
using tavmms_test::ToolResult;

const QString kRealFolder = tavmms_test::realPduFolder();

// An m-retrieve.conf with a text part and a subject in UTF-8.
QByteArray samplePdu()
{
    pdu::Message message;
    HeaderField subject = HeaderField::textField(Field::Subject, QString::fromUtf16(u"Grüße"));
    subject.charset = 106;
    HeaderField version;
    version.code = quint8(Field::MmsVersion);
    version.number = 0x12;
    message.pdu.headers = {HeaderField::octet(Field::MessageType, 132),
                           HeaderField::textField(Field::TransactionId, QStringLiteral("t-1")),
                           version,
                           HeaderField::integer(Field::Date, 1777889702),
                           HeaderField::from(QStringLiteral("+15550101/TYPE=PLMN")),
                           subject,
                           HeaderField::time(Field::Expiry, 3600, true)};
    HeaderField type;
    type.code = quint8(Field::ContentType);
    type.contentType.mediaType = "application/vnd.wap.multipart.mixed";
    message.pdu.headers.append(type);
    message.parts = {pdu::Part{pdu::ContentType{"text/plain", {{"charset", "utf-8"}}},
                               {{"Content-ID", "<t\x1b[2J>"}},
                               "Hallo"}};
    return pdu::encodeMessage(message);
}

class MmsutilPduTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    ToolResult run(const QStringList& arguments, const QByteArray& input = QByteArray()) const
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(), arguments,
                                       input);
    }

    QString write(const QByteArray& bytes) const
    {
        const QString path = dir.filePath(QStringLiteral("message.pdu"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        EXPECT_EQ(file.write(bytes), bytes.size());
        return path;
    }

    QTemporaryDir dir;
};

TEST_F(MmsutilPduTest, DecodePrintsEveryFieldInWordsAndEveryPart)
{
    const ToolResult result =
        run({QStringLiteral("pdu"), QStringLiteral("decode"), write(samplePdu())});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.err.isEmpty());
    const QByteArray expected =
        "FIELD                 VALUE                                CHARSET\n"
        "X-Mms-Message-Type    m-retrieve-conf\n"
        "X-Mms-Transaction-Id  t-1\n"
        "X-Mms-MMS-Version     1.2\n"
        "Date                  2026-05-04T10:15:02+00:00\n"
        "From                  +15550101/TYPE=PLMN\n"
        "Subject               Gr\xc3\xbc\xc3\x9f"
        "e                                utf-8\n"
        "X-Mms-Expiry          +3600 seconds\n"
        "Content-Type          application/vnd.wap.multipart.mixed\n"
        "\n"
        "Part 1: text/plain; charset=utf-8, 5 bytes\n"
        "  Content-ID: <t\\x1b[2J>\n";
    EXPECT_EQ(result.out.toStdString(), expected.toStdString());
    // Nothing was kept.
    EXPECT_FALSE(QDir(dir.filePath(QStringLiteral("download"))).exists());
}

TEST_F(MmsutilPduTest, DecodeGivesValidJsonAndReadsStandardInput)
{
    const ToolResult result = run({QStringLiteral("pdu"), QStringLiteral("decode"),
                                   QStringLiteral("-"), QStringLiteral("--json")},
                                  samplePdu());
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    QJsonParseError error;
    const QJsonObject decoded = QJsonDocument::fromJson(result.out, &error).object();
    ASSERT_EQ(error.error, QJsonParseError::NoError) << result.out.toStdString();
    const QJsonArray headers = decoded.value("headers").toArray();
    ASSERT_EQ(headers.size(), 8);
    EXPECT_EQ(headers.at(0).toObject().value("value").toString(),
              QStringLiteral("m-retrieve-conf"));
    EXPECT_EQ(headers.at(5).toObject().value("charset").toString(), QStringLiteral("utf-8"));
    const QJsonArray parts = decoded.value("parts").toArray();
    ASSERT_EQ(parts.size(), 1);
    const QJsonObject part = parts.at(0).toObject();
    EXPECT_EQ(part.value("index").toInt(), 1);
    EXPECT_EQ(part.value("contentType").toString(), QStringLiteral("text/plain"));
    EXPECT_EQ(part.value("size").toInt(), 5);
    EXPECT_EQ(part.value("parameters").toArray().at(0).toObject().value("value").toString(),
              QStringLiteral("utf-8"));
    EXPECT_EQ(part.value("headers").toArray().at(0).toObject().value("value").toString(),
              QStringLiteral("<t\x1b[2J>"));
    EXPECT_TRUE(decoded.value("warnings").toArray().isEmpty());
}

TEST_F(MmsutilPduTest, BytesThatDoNotReadFailWithTheOffsetAndWhatWasExpected)
{
    const ToolResult result =
        run({QStringLiteral("pdu"), QStringLiteral("decode"), write(samplePdu().chopped(8))});
    tavmms_test::expectFailure(result);
    EXPECT_TRUE(result.err.contains("does not read: offset ")) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains(": expected ")) << result.err.toStdString();

    tavmms_test::expectFailure(
        run({QStringLiteral("pdu"), QStringLiteral("decode"), dir.filePath("missing")}));
    tavmms_test::expectUsageError(run({QStringLiteral("pdu"), QStringLiteral("decode")}));
}

TEST_F(MmsutilPduTest, TextNotValidInItsCharsetIsWarnedAboutAndShownAllTheSame)
{
    QByteArray bytes = samplePdu();
    const qsizetype at = bytes.indexOf("Gr\xc3\xbc");
    ASSERT_GE(at, 0);
    bytes[at + 2] = '\xff';
    const ToolResult result = run({QStringLiteral("pdu"), QStringLiteral("decode"), write(bytes)});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.err.startsWith("mmsutil: Subject at offset ")) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains("\xef\xbf\xbd"));
}

TEST_F(MmsutilPduTest, AnEndlessInputIsRefusedWithoutBeingReadWhole)
{
    const ToolResult result =
        run({QStringLiteral("pdu"), QStringLiteral("decode"), QStringLiteral("/dev/zero")});
    tavmms_test::expectOneLineReport(result, 4);
    EXPECT_TRUE(result.err.contains("is larger than 104857600 bytes")) << result.err.toStdString();
}

TEST_F(MmsutilPduTest, EveryRealPduDecodes)
{
    if (!QDir(kRealFolder).exists())
        GTEST_SKIP() << "no real PDUs at " << kRealFolder.toStdString();
    for (const QString& name : QDir(kRealFolder).entryList(QDir::Files)) {
        SCOPED_TRACE(name.toStdString());
        const ToolResult result =
            run({QStringLiteral("pdu"), QStringLiteral("decode"),
                 kRealFolder + QLatin1Char('/') + name, QStringLiteral("--json")});
        ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
        const QJsonObject decoded = QJsonDocument::fromJson(result.out).object();
        EXPECT_EQ(decoded.value("headers").toArray().at(0).toObject().value("name").toString(),
                  QStringLiteral("X-Mms-Message-Type"));
        EXPECT_TRUE(decoded.value("headers")
                        .toArray()
                        .at(0)
                        .toObject()
                        .value("value")
                        .toString()
                        .startsWith(QStringLiteral("m-")));
    }
}

} // namespace
