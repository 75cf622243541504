#include "support/mmsc_server.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tavmms_test
{

namespace
{

const QString kServerScript = QStringLiteral(TAVMMS_SOURCE_DIR "/tests/support/mmsc_server.py");
const int kStartTimeoutMs = 10000;

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile out(path);
    return out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile in(path);
    return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}

} // namespace

MmscServer::MmscServer(const QJsonObject& script, Options options) : tls_(options.tls)
{
    if (!dir_.isValid()) {
        ADD_FAILURE() << "the MMSC has no temporary directory";
        return;
    }
    if (!writeFile(path("script.json"), QJsonDocument(script).toJson())) {
        ADD_FAILURE() << "the MMSC's script cannot be written";
        return;
    }
    // -S: the server needs nothing beyond the standard library, and starts sooner without the
    // site packages.
    QStringList arguments{QStringLiteral("-S"),       kServerScript,
                          QStringLiteral("--script"), path("script.json"),
                          QStringLiteral("--log"),    path("requests.jsonl"),
                          QStringLiteral("--ready"),  path("port")};
    if (options.proxy)
        arguments << QStringLiteral("--proxy");
    if (options.tls)
        arguments << QStringLiteral("--tls") << certificatePath()
                  << QStringLiteral(TAVMMS_SOURCE_DIR "/tests/support/mmsc_test_key.pem");
    process_.setStandardOutputFile(QProcess::nullDevice());
    process_.setStandardErrorFile(path("stderr.txt"));
    process_.start(QStringLiteral(TAVMMS_PYTHON), arguments);
    if (!process_.waitForStarted(kStartTimeoutMs)) {
        ADD_FAILURE() << "the MMSC did not start: " << process_.errorString().toStdString();
        return;
    }
    QElapsedTimer waited;
    waited.start();
    // The server renames the file into place once it listens, so what is there is whole.
    while (!QFile::exists(path("port"))) {
        if (process_.waitForFinished(5) || waited.elapsed() > kStartTimeoutMs) {
            ADD_FAILURE() << "the MMSC did not come up: "
                          << readFile(path("stderr.txt")).toStdString();
            return;
        }
    }
    port_ = quint16(readFile(path("port")).trimmed().toUInt());
    if (port_ == 0)
        ADD_FAILURE() << "the MMSC wrote no port";
}

MmscServer::MmscServer(const QJsonObject& script) : MmscServer(script, Options()) {}

MmscServer::~MmscServer()
{
    if (process_.state() != QProcess::NotRunning) {
        process_.kill();
        process_.waitForFinished(kStartTimeoutMs);
    }
}

QUrl MmscServer::url(const QString& path) const
{
    QUrl url;
    url.setScheme(tls_ ? QStringLiteral("https") : QStringLiteral("http"));
    url.setHost(QStringLiteral("127.0.0.1"));
    url.setPort(port_);
    url.setPath(path);
    return url;
}

QList<QJsonObject> MmscServer::requests() const
{
    QList<QJsonObject> requests;
    const QList<QByteArray> lines = readFile(path("requests.jsonl")).split('\n');
    for (const QByteArray& line : lines) {
        if (line.isEmpty())
            continue;
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(line, &error);
        if (!document.isObject()) {
            ADD_FAILURE() << "the MMSC logged a line that is not a JSON object: "
                          << error.errorString().toStdString();
            continue;
        }
        requests.append(document.object());
    }
    return requests;
}

QString MmscServer::certificatePath()
{
    return QStringLiteral(TAVMMS_SOURCE_DIR "/tests/support/mmsc_test_cert.pem");
}

quint16 MmscServer::unusedPort()
{
    // A port the kernel handed out and took back: bound, never listened on, closed.
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) {
        ADD_FAILURE() << "no socket for an unused port";
        return 0;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    quint16 port = 0;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    else
        ADD_FAILURE() << "no unused port could be bound";
    ::close(fd);
    return port;
}

QJsonObject MmscServer::script(const QList<QJsonObject>& steps, const QJsonObject& after)
{
    QJsonArray array;
    for (const QJsonObject& step : steps)
        array.append(step);
    QJsonObject script{{QStringLiteral("steps"), array}};
    if (!after.isEmpty())
        script.insert(QStringLiteral("after"), after);
    return script;
}

QJsonObject MmscServer::step(int status)
{
    return {{QStringLiteral("status"), status}};
}

QJsonObject MmscServer::body(const QByteArray& body)
{
    return {{QStringLiteral("body_hex"), QString::fromLatin1(body.toHex())}};
}

QJsonObject MmscServer::bodyFile(const QString& path)
{
    return {{QStringLiteral("body_file"), path}};
}

QJsonObject MmscServer::sendConf(int responseStatus, const QString& messageId, const QString& text)
{
    QJsonObject conf{{QStringLiteral("status"), responseStatus}};
    if (!messageId.isNull())
        conf.insert(QStringLiteral("message_id"), messageId);
    if (!text.isNull())
        conf.insert(QStringLiteral("text"), text);
    return {{QStringLiteral("send_conf"), conf}};
}

QJsonObject MmscServer::delay(double seconds)
{
    return {{QStringLiteral("delay"), seconds}};
}

QJsonObject MmscServer::pduFields(const QJsonObject& request)
{
    return request.value(QStringLiteral("pdu"))
        .toObject()
        .value(QStringLiteral("fields"))
        .toObject();
}

QString MmscServer::pduField(const QJsonObject& request, const char* name)
{
    return pduFields(request).value(QLatin1String(name)).toString();
}

QString MmscServer::path(const char* name) const
{
    return dir_.filePath(QString::fromLatin1(name));
}

} // namespace tavmms_test
