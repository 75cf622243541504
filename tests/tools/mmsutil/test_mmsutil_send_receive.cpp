// mmsutil receive --pdu, compose --text and --attach, and pdu send-req, run as a child process on
// a temporary store: the messages a PDU brings in, the bodies made from files, the requests that
// send them, and every refusal with its exit code.

#include "mms_message.h"
#include "mms_pdu.h"

#include "support/index_table_helpers.h"
#include "support/message_store.h"
#include "support/pdu_helpers.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace
{

using namespace tavmms::pdu;
using tavmms_test::expectNotFound;
using tavmms_test::expectOneLineReport;
using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

const int kExitRefused = 4;
const QByteArray kPng = QByteArrayLiteral("\x89PNG\r\n\x1a\n\0\0\0\rIHDR");

class MmsutilSendReceiveTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QString file(const QString& name, const QByteArray& data) const
    {
        const QString path = dir.filePath(name);
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(data);
        return path;
    }

    ToolResult run(const QStringList& arguments, const QByteArray& input = QByteArray()) const
    {
        return tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(), arguments,
                                       input);
    }

    // The id the tool printed for a message it kept, after checking that it kept it.
    static unsigned keptId(const ToolResult& result)
    {
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        return result.out.split(' ').value(0).toUInt();
    }

    ToolResult receive(const QByteArray& pdu, const QStringList& more = {}) const
    {
        return run(QStringList{QStringLiteral("receive"), QStringLiteral("--pdu"),
                               file(QStringLiteral("in.pdu"), pdu)} +
                   more);
    }

    MMS_UTIL_DBStruct_T row(unsigned id) const
    {
        return tavmms_test::readRow(dir.filePath(QStringLiteral("platform/device.db")), id);
    }

    QStringList compose(const QStringList& body) const
    {
        return QStringList{QStringLiteral("compose"), QStringLiteral("--to"),
                           QStringLiteral("+15550101"), QStringLiteral("--subject"),
                           QStringLiteral("Hi")} +
               body;
    }

    // The m-send.req of message `id`, decoded whole.
    Message sendRequest(unsigned id) const
    {
        const ToolResult made =
            run({QStringLiteral("pdu"), QStringLiteral("send-req"), QString::number(id)});
        EXPECT_EQ(made.exitCode, 0) << made.err.toStdString();
        DecodeError error;
        const std::optional<Message> message = decodeMessage(made.out, &error);
        EXPECT_TRUE(message) << error.offset << ": " << error.expected.toStdString();
        return message.value_or(Message{});
    }

    QTemporaryDir dir;
};

// ---- receive --pdu ----

TEST_F(MmsutilSendReceiveTest, ReceivePduFilesTheMessageAndPrintsItsIdAndMailFile)
{
    const ToolResult result = receive(tavmms_test::retrieveConfPdu(
        {HeaderField::from(QStringLiteral("+15550199/TYPE=PLMN")),
         HeaderField::textField(Field::Subject, QStringLiteral("From the MMSC"))}));

    const unsigned id = keptId(result);
    EXPECT_EQ(result.out,
              QStringLiteral("%1 %2\n")
                  .arg(id)
                  .arg(dir.filePath(QStringLiteral("download/mms/mailfile/%1.mms").arg(id)))
                  .toUtf8());
    EXPECT_EQ(tavmms_test::text8(row(id).mms_fld_tid_name), "T-1");
    const ToolResult shown = run({QStringLiteral("show"), QString::number(id)});
    EXPECT_TRUE(shown.out.contains("From the MMSC")) << shown.out.toStdString();
}

TEST_F(MmsutilSendReceiveTest, ReceivePduOfAnotherTypeIsAUsageErrorNamingTheType)
{
    const ToolResult result =
        receive(encodePdu(tavmms_test::pduOfType(MessageType::NotificationInd)));

    expectUsageError(result);
    EXPECT_TRUE(result.err.contains("m-notification-ind")) << result.err.toStdString();
}

TEST_F(MmsutilSendReceiveTest, ReceivePduThatDoesNotReadFailsNamingTheOffset)
{
    const ToolResult result = receive(QByteArrayLiteral("\x8c\x84\x98"));

    tavmms_test::expectFailure(result);
    EXPECT_TRUE(result.err.contains("at offset")) << result.err.toStdString();
}

TEST_F(MmsutilSendReceiveTest, ReceivePduWithAnErrorStatusIsRefusedWithTheStatusAndItsText)
{
    const ToolResult result = receive(tavmms_test::retrieveConfPdu(
        {HeaderField::octet(Field::RetrieveStatus, 226),
         HeaderField::textField(Field::RetrieveText, QStringLiteral("4504:Message not found"))}));

    expectOneLineReport(result, kExitRefused);
    EXPECT_TRUE(result.err.contains(
        "status 226 Error-permanent-message-not-found (4504:Message not found)"))
        << result.err.toStdString();
}

TEST_F(MmsutilSendReceiveTest, ReceivePduOfTheRealMessageNotFoundIsRefused)
{
    if (!QDir(tavmms_test::realPduFolder()).exists())
        GTEST_SKIP() << "no real PDUs at " << tavmms_test::realPduFolder().toStdString();

    const ToolResult result = receive(tavmms_test::realPdu(QStringLiteral("m-retrieve_5.conf")));

    expectOneLineReport(result, kExitRefused);
    EXPECT_TRUE(result.err.contains("226")) << result.err.toStdString();
}

TEST_F(MmsutilSendReceiveTest, ReceivePduRefusesABlockedSenderAndADuplicate)
{
    const QByteArray pdu = tavmms_test::retrieveConfPdu(
        {HeaderField::from(QStringLiteral("+15550199/TYPE=PLMN")),
         HeaderField::textField(Field::MessageId, QStringLiteral("m-1@mmsc"))});
    keptId(receive(pdu));

    expectOneLineReport(receive(pdu), kExitRefused);
    EXPECT_EQ(
        run({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("+15550199")}).exitCode,
        0);
    expectOneLineReport(receive(pdu, {QStringLiteral("--allow-duplicate")}), kExitRefused);
}

TEST_F(MmsutilSendReceiveTest, ReceivePduExcludesTheOptionsThePduGives)
{
    const QString pdu = file(QStringLiteral("in.pdu"), tavmms_test::retrieveConfPdu({}));
    expectUsageError(run({QStringLiteral("receive"), QStringLiteral("--pdu"), pdu,
                          QStringLiteral("--from"), QStringLiteral("+15550101")}));
    expectUsageError(run({QStringLiteral("receive"), QStringLiteral("--pdu"), pdu, pdu}));
    expectUsageError(run({QStringLiteral("receive")}));
}

// ---- compose --text --attach ----

TEST_F(MmsutilSendReceiveTest, ComposeMakesARelatedBodyOfTheTextAndTheFiles)
{
    const unsigned id =
        keptId(run(compose({QStringLiteral("--text"), QStringLiteral("Hello"),
                            QStringLiteral("--attach"), file(QStringLiteral("photo.png"), kPng)})));

    const Message request = sendRequest(id);
    EXPECT_EQ(request.pdu.contentType()->mediaType, "application/vnd.wap.multipart.related");
    ASSERT_EQ(request.parts.size(), 3);
    EXPECT_EQ(request.parts[0].contentType.mediaType, "application/smil");
    EXPECT_EQ(request.parts[1].data, "Hello");
    EXPECT_EQ(request.parts[2].contentType.mediaType, "image/png");
    EXPECT_EQ(request.parts[2].data, kPng);
}

TEST_F(MmsutilSendReceiveTest, ComposeMixedTakesTheTextFromAFileWithoutSmil)
{
    const unsigned id =
        keptId(run(compose({QStringLiteral("--mixed"), QStringLiteral("--text-file"),
                            file(QStringLiteral("words.txt"), "Grüße"), QStringLiteral("--attach"),
                            file(QStringLiteral("note.txt"), "a note")})));

    const Message request = sendRequest(id);
    EXPECT_EQ(request.pdu.contentType()->mediaType, "application/vnd.wap.multipart.mixed");
    ASSERT_EQ(request.parts.size(), 2);
    EXPECT_EQ(QString::fromUtf8(request.parts[0].data), QStringLiteral("Grüße"));
    EXPECT_EQ(request.parts[1].contentType.mediaType, "text/plain");
}

TEST_F(MmsutilSendReceiveTest, ComposeRefusesAnEncodedBodyOverMaxMoSize)
{
    ASSERT_EQ(run({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("max-mo-size"),
                   QStringLiteral("1")})
                  .exitCode,
              0);
    // The file fits the limit of 1,024 bytes; the body it makes, with its SMIL, does not.
    const ToolResult result =
        run(compose({QStringLiteral("--attach"),
                     file(QStringLiteral("photo.png"), kPng + QByteArray(900, 'x'))}));

    expectOneLineReport(result, kExitRefused);
    EXPECT_TRUE(result.err.contains("max-mo-size")) << result.err.toStdString();
    EXPECT_EQ(tavmms_test::rowIds(dir.filePath(QStringLiteral("platform/device.db"))).size(), 0);
}

TEST_F(MmsutilSendReceiveTest, ComposeOfAMissingFileFailsNamingIt)
{
    const ToolResult result =
        run(compose({QStringLiteral("--attach"), dir.filePath(QStringLiteral("gone.jpg"))}));

    tavmms_test::expectFailure(result);
    EXPECT_TRUE(result.err.contains("gone.jpg")) << result.err.toStdString();
}

TEST_F(MmsutilSendReceiveTest, ComposeRefusesABodyWithATextOrFiles)
{
    const QString body = file(QStringLiteral("body.bin"), "body");
    expectUsageError(run(
        compose({QStringLiteral("--body"), body, QStringLiteral("--text"), QStringLiteral("Hi")})));
    expectUsageError(
        run(compose({QStringLiteral("--body"), body, QStringLiteral("--attach"), body})));
    expectUsageError(run(compose(
        {QStringLiteral("--text"), QStringLiteral("Hi"), QStringLiteral("--text-file"), body})));
    expectUsageError(
        run(compose({QStringLiteral("--text"), QStringLiteral("Hi"),
                     QStringLiteral("--content-type"), QStringLiteral("text/plain")})));
    expectUsageError(run(compose({})));
}

// ---- pdu send-req ----

TEST_F(MmsutilSendReceiveTest, SendReqWritesANewFileAndNeverReplacesOne)
{
    const unsigned id = keptId(run(compose({QStringLiteral("--text"), QStringLiteral("Hello")})));
    const QString out = dir.filePath(QStringLiteral("out.req"));

    const ToolResult written = run({QStringLiteral("pdu"), QStringLiteral("send-req"),
                                    QString::number(id), QStringLiteral("-o"), out});
    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    EXPECT_TRUE(written.out.isEmpty());
    QFile request(out);
    ASSERT_TRUE(request.open(QIODevice::ReadOnly));
    const std::optional<Pdu> pdu = decodePdu(request.readAll());
    ASSERT_TRUE(pdu);
    EXPECT_EQ(pdu->messageType(), MessageType::SendReq);
    EXPECT_EQ(tavmms_test::text8(row(id).mms_fld_tid_name),
              pdu->text(Field::TransactionId).toUtf8());
    EXPECT_EQ(pdu->findAll(Field::To).value(0)->text, QStringLiteral("+15550101/TYPE=PLMN"));

    const ToolResult again = run({QStringLiteral("pdu"), QStringLiteral("send-req"),
                                  QString::number(id), QStringLiteral("-o"), out});
    tavmms_test::expectFailure(again);
    EXPECT_TRUE(again.err.contains("exists")) << again.err.toStdString();
}

TEST_F(MmsutilSendReceiveTest, SendReqOfAMissingMessageIsNotFoundAndWritesNoFile)
{
    const QString out = dir.filePath(QStringLiteral("out.req"));

    expectNotFound(run({QStringLiteral("pdu"), QStringLiteral("send-req"), QStringLiteral("9"),
                        QStringLiteral("-o"), out}));
    EXPECT_FALSE(QFile::exists(out));
    expectUsageError(run({QStringLiteral("pdu"), QStringLiteral("send-req"), QStringLiteral("x")}));
}

} // namespace
