// The test MMSC (tests/support/mmsc_server.py) through its handle, talked to over a plain
// QTcpSocket: each kind of step, the log with its decoded PDUs, the proxy's refusal of an
// origin-form target, and a port that refuses connections.

#include "mms_pdu.h"

#include "support/mmsc_server.h"
#include "support/pdu_helpers.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>
#include <QMap>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>

namespace
{

using namespace tavmms::pdu;
using tavmms_test::MmscServer;

const int kTimeoutMs = 5000;

struct Response {
    int status = 0;
    QMap<QByteArray, QByteArray> headers; // lower-case names
    QByteArray body;
    bool closed = false; // the server closed the connection after it
};

// One connection to the server, speaking just enough HTTP/1.1 to read what each step sends.
class Connection
{
public:
    explicit Connection(quint16 port)
    {
        socket_.connectToHost(QStringLiteral("127.0.0.1"), port);
        EXPECT_TRUE(socket_.waitForConnected(kTimeoutMs)) << socket_.errorString().toStdString();
    }

    void send(const QByteArray& method, const QByteArray& target, const QByteArray& body = {})
    {
        QByteArray request = method + ' ' + target + " HTTP/1.1\r\nHost: mmsc.invalid\r\n";
        if (!body.isEmpty())
            request += "Content-Type: application/vnd.wap.mms-message\r\n";
        request += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
        socket_.write(request);
        EXPECT_TRUE(socket_.waitForBytesWritten(kTimeoutMs));
    }

    // The next response; its status is 0 when none came.
    Response receive()
    {
        Response response;
        qsizetype end = -1;
        while ((end = buffer_.indexOf("\r\n\r\n")) < 0)
            if (!more())
                return finished(response);
        const QList<QByteArray> lines = buffer_.left(end).split('\n');
        buffer_.remove(0, end + 4);
        response.status = lines.value(0).split(' ').value(1).toInt();
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const qsizetype colon = lines[i].indexOf(':');
            response.headers.insert(lines[i].left(colon).trimmed().toLower(),
                                    lines[i].mid(colon + 1).trimmed());
        }
        if (response.headers.value("transfer-encoding") == "chunked")
            readChunks(response);
        else
            readLength(response, response.headers.value("content-length").toLongLong());
        return response;
    }

    // Whether the server closed the connection without sending anything more.
    bool closedByServer()
    {
        while (more()) {
        }
        return buffer_.isEmpty() && socket_.state() != QAbstractSocket::ConnectedState;
    }

private:
    bool more()
    {
        if (socket_.bytesAvailable() == 0 && !socket_.waitForReadyRead(kTimeoutMs))
            return false;
        buffer_ += socket_.readAll();
        return true;
    }

    Response& finished(Response& response)
    {
        response.closed = socket_.state() != QAbstractSocket::ConnectedState;
        return response;
    }

    void readLength(Response& response, qint64 length)
    {
        while (buffer_.size() < length && more()) {
        }
        response.body = buffer_.left(length);
        buffer_.remove(0, response.body.size());
        finished(response);
    }

    void readChunks(Response& response)
    {
        for (;;) {
            qsizetype end = -1;
            while ((end = buffer_.indexOf("\r\n")) < 0)
                if (!more())
                    return;
            bool ok = false;
            const qsizetype size = buffer_.left(end).toLongLong(&ok, 16);
            ASSERT_TRUE(ok) << buffer_.left(end).toStdString();
            while (buffer_.size() < end + 2 + size + 2)
                if (!more())
                    return;
            response.body += buffer_.mid(end + 2, size);
            buffer_.remove(0, end + 2 + size + 2);
            if (size == 0)
                return;
        }
    }

    QTcpSocket socket_;
    QByteArray buffer_;
};

QByteArray notifyRespInd()
{
    return encodePdu(tavmms_test::pduOfType(MessageType::NotifyRespInd));
}

QJsonObject with(QJsonObject step, const QString& name, const QJsonValue& value)
{
    step.insert(name, value);
    return step;
}

TEST(MmscServerTest, AnswersEachRequestWithTheNextStepOnOneConnectionThenTheAfterStep)
{
    const MmscServer server(
        MmscServer::script({MmscServer::step(201), MmscServer::step(202)}, MmscServer::step(404)));
    ASSERT_TRUE(server.started());
    Connection connection(server.port());

    QList<int> statuses;
    for (int i = 0; i < 4; ++i) {
        connection.send("GET", "/m/" + QByteArray::number(i));
        statuses.append(connection.receive().status);
    }

    EXPECT_EQ(statuses, QList<int>({201, 202, 404, 404}));
    const QList<QJsonObject> requests = server.requests();
    ASSERT_EQ(requests.size(), 4);
    QList<int> steps;
    for (const QJsonObject& request : requests)
        steps.append(request.value(QStringLiteral("step")).toInt());
    EXPECT_EQ(steps, QList<int>({0, 1, -1, -1}));
    EXPECT_EQ(requests[3].value(QStringLiteral("path")).toString(), QStringLiteral("/m/3"));
}

TEST(MmscServerTest, LogsTheRequestWithItsPduDecodedBeforeItAnswers)
{
    const MmscServer server(MmscServer::script({}));
    ASSERT_TRUE(server.started());
    Connection connection(server.port());
    const QByteArray pdu = notifyRespInd();

    connection.send("POST", "/mms", pdu);
    ASSERT_EQ(connection.receive().status, 200);

    const QList<QJsonObject> requests = server.requests();
    ASSERT_EQ(requests.size(), 1);
    const QJsonObject request = requests[0];
    EXPECT_EQ(request.value(QStringLiteral("method")).toString(), QStringLiteral("POST"));
    EXPECT_EQ(request.value(QStringLiteral("target")).toString(), QStringLiteral("/mms"));
    EXPECT_EQ(request.value(QStringLiteral("host")).toString(), QStringLiteral("mmsc.invalid"));
    EXPECT_FALSE(request.value(QStringLiteral("proxied")).toBool());
    EXPECT_EQ(request.value(QStringLiteral("headers"))[QStringLiteral("content-type")].toString(),
              QStringLiteral("application/vnd.wap.mms-message"));
    EXPECT_EQ(request.value(QStringLiteral("body_size")).toInt(), pdu.size());
    EXPECT_EQ(request.value(QStringLiteral("body_hex")).toString().toLatin1(), pdu.toHex());
    const QJsonObject fields =
        request.value(QStringLiteral("pdu"))[QStringLiteral("fields")].toObject();
    EXPECT_EQ(fields.value(QStringLiteral("X-Mms-Message-Type")).toString(),
              QStringLiteral("m-notifyresp-ind"));
    EXPECT_EQ(fields.value(QStringLiteral("X-Mms-Transaction-ID")).toString(),
              QStringLiteral("T-1"));
    EXPECT_EQ(fields.value(QStringLiteral("X-Mms-MMS-Version")).toString(), QStringLiteral("1.2"));
    EXPECT_TRUE(request.value(QStringLiteral("pdu_error")).isNull());
}

TEST(MmscServerTest, LogsWhyABodyIsNoPdu)
{
    const MmscServer server(MmscServer::script({}));
    ASSERT_TRUE(server.started());
    Connection connection(server.port());

    connection.send("POST", "/mms", "not a PDU");
    ASSERT_EQ(connection.receive().status, 200);

    const QJsonObject request = server.requests().value(0);
    EXPECT_TRUE(request.value(QStringLiteral("pdu")).isNull());
    EXPECT_FALSE(request.value(QStringLiteral("pdu_error")).toString().isEmpty());
}

TEST(MmscServerTest, SendConfAnswersWithTheTransactionIdOfTheSendReq)
{
    const MmscServer server(MmscServer::script(
        {MmscServer::sendConf(0x80, QStringLiteral("M-7"), QStringLiteral("Sent"))}));
    ASSERT_TRUE(server.started());
    Connection connection(server.port());

    connection.send("POST", "/mms", encodePdu(tavmms_test::pduOfType(MessageType::SendReq)));
    const Response response = connection.receive();

    ASSERT_EQ(response.status, 200);
    EXPECT_EQ(response.headers.value("content-type"), "application/vnd.wap.mms-message");
    const std::optional<Pdu> conf = decodePdu(response.body);
    ASSERT_TRUE(conf) << response.body.toHex().toStdString();
    EXPECT_EQ(conf->messageType(), MessageType::SendConf);
    EXPECT_EQ(conf->text(Field::TransactionId), QStringLiteral("T-1"));
    EXPECT_EQ(conf->number(Field::MmsVersion), 0x12u);
    EXPECT_EQ(conf->number(Field::ResponseStatus), 0x80u);
    EXPECT_EQ(conf->text(Field::MessageId), QStringLiteral("M-7"));
    EXPECT_EQ(conf->text(Field::ResponseText), QStringLiteral("Sent"));
}

TEST(MmscServerTest, SendsABodyFileWithItsContentTypeAndExtraHeaders)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("retrieve.pdu"));
    const QByteArray pdu = tavmms_test::retrieveConfPdu({});
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(pdu);
    file.close();
    const MmscServer server(
        MmscServer::script({with(MmscServer::bodyFile(path), QStringLiteral("headers"),
                                 QJsonObject{{QStringLiteral("X-Test"), QStringLiteral("yes")}})}));
    ASSERT_TRUE(server.started());
    Connection connection(server.port());

    connection.send("GET", "/message/1");
    const Response response = connection.receive();

    EXPECT_EQ(response.body, pdu);
    EXPECT_EQ(response.headers.value("content-length"), QByteArray::number(pdu.size()));
    EXPECT_EQ(response.headers.value("content-type"), "application/vnd.wap.mms-message");
    EXPECT_EQ(response.headers.value("x-test"), "yes");
}

TEST(MmscServerTest, DelayedAnswerHoldsUpNoOtherConnection)
{
    const MmscServer server(MmscServer::script(
        {with(MmscServer::step(200), QStringLiteral("delay"), 1.0), MmscServer::step(204)}));
    ASSERT_TRUE(server.started());
    Connection slow(server.port());
    Connection fast(server.port());
    QElapsedTimer timer;
    timer.start();

    slow.send("GET", "/slow");
    while (server.requests().isEmpty() && timer.elapsed() < kTimeoutMs)
        QThread::msleep(5);
    fast.send("GET", "/fast");
    EXPECT_EQ(fast.receive().status, 204);
    const qint64 fastAnswered = timer.elapsed();
    EXPECT_EQ(slow.receive().status, 200);

    EXPECT_LT(fastAnswered, 900);
    EXPECT_GE(timer.elapsed(), 1000);
}

TEST(MmscServerTest, TruncatedBodyEndsTheConnectionShortOfItsContentLength)
{
    const QByteArray body(100, 'x');
    const MmscServer server(
        MmscServer::script({with(MmscServer::body(body), QStringLiteral("truncate"), 10)}));
    ASSERT_TRUE(server.started());
    Connection connection(server.port());

    connection.send("GET", "/message/1");
    const Response response = connection.receive();

    EXPECT_EQ(response.headers.value("content-length"), "100");
    EXPECT_EQ(response.body, body.left(10));
    EXPECT_TRUE(response.closed);
}

TEST(MmscServerTest, ChunkedBodyComesWithoutItsLength)
{
    QByteArray body;
    for (int i = 0; i < 3000; ++i)
        body.append(char(i % 251));
    const MmscServer server(
        MmscServer::script({with(MmscServer::body(body), QStringLiteral("chunked"), true)}));
    ASSERT_TRUE(server.started());
    Connection connection(server.port());

    connection.send("GET", "/message/1");
    const Response response = connection.receive();

    EXPECT_EQ(response.headers.value("transfer-encoding"), "chunked");
    EXPECT_FALSE(response.headers.contains("content-length"));
    EXPECT_EQ(response.body, body);
}

TEST(MmscServerTest, DroppedRequestIsLoggedAndGetsNoAnswer)
{
    const MmscServer server(MmscServer::script({QJsonObject{{QStringLiteral("drop"), true}}}));
    ASSERT_TRUE(server.started());
    Connection connection(server.port());

    connection.send("POST", "/mms", notifyRespInd());

    EXPECT_TRUE(connection.closedByServer());
    EXPECT_EQ(server.requests().size(), 1);
}

TEST(MmscServerTest, ProxyRefusesAnOriginFormTargetAndServesAnAbsoluteOne)
{
    const MmscServer server(MmscServer::script({MmscServer::step(202)}), {/*proxy=*/true});
    ASSERT_TRUE(server.started());
    Connection connection(server.port());

    connection.send("POST", "/mms", notifyRespInd());
    const int refused = connection.receive().status;
    connection.send("POST", "http://mmsc.invalid/mms", notifyRespInd());
    const int served = connection.receive().status;

    EXPECT_EQ(refused, 400);
    EXPECT_EQ(served, 202);
    const QList<QJsonObject> requests = server.requests();
    ASSERT_EQ(requests.size(), 2);
    EXPECT_FALSE(requests[0].value(QStringLiteral("proxied")).toBool());
    EXPECT_TRUE(requests[0].value(QStringLiteral("step")).isNull());
    EXPECT_TRUE(requests[1].value(QStringLiteral("proxied")).toBool());
    EXPECT_EQ(requests[1].value(QStringLiteral("target")).toString(),
              QStringLiteral("http://mmsc.invalid/mms"));
    EXPECT_EQ(requests[1].value(QStringLiteral("path")).toString(), QStringLiteral("/mms"));
    EXPECT_EQ(requests[1].value(QStringLiteral("step")).toInt(), 0);
}

TEST(MmscServerTest, TlsServerNamesHttpsAndTheCertificateToTrust)
{
    const MmscServer server(MmscServer::script({}), {/*proxy=*/false, /*tls=*/true});
    ASSERT_TRUE(server.started());

    EXPECT_EQ(server.url(), QUrl(QStringLiteral("https://127.0.0.1:%1/mms").arg(server.port())));
    QFile certificate(server.certificatePath());
    ASSERT_TRUE(certificate.open(QIODevice::ReadOnly));
    EXPECT_TRUE(certificate.readAll().startsWith("-----BEGIN CERTIFICATE-----"));
}

TEST(MmscServerTest, UnusedPortRefusesConnections)
{
    const quint16 port = MmscServer::unusedPort();
    ASSERT_NE(port, 0);
    QTcpSocket socket;

    socket.connectToHost(QStringLiteral("127.0.0.1"), port);

    EXPECT_FALSE(socket.waitForConnected(kTimeoutMs));
    EXPECT_EQ(socket.error(), QAbstractSocket::ConnectionRefusedError);
}

TEST(MmscServerTest, ScriptWithAnUnknownStepMemberFailsToStart)
{
    bool started = true;
    EXPECT_NONFATAL_FAILURE(
        {
            const MmscServer server(
                MmscServer::script({QJsonObject{{QStringLiteral("stauts"), 500}}}));
            started = server.started();
        },
        "stauts");
    EXPECT_FALSE(started);
}

} // namespace
