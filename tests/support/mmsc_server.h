#ifndef TAVMMS_TESTS_MMSC_SERVER_H
#define TAVMMS_TESTS_MMSC_SERVER_H

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>

namespace tavmms_test
{

// A scripted MMSC for the tests: tests/support/mmsc_server.py, a real HTTP server on 127.0.0.1,
// started by the constructor and killed by the destructor. Each request it gets takes the next
// step of `script` ({"steps": [STEP, ...], "after": STEP}; the script says what a step holds) and
// is logged, its PDU decoded by the script's own decoder, before it is answered.
class MmscServer
{
public:
    struct Options {
        bool proxy = false; // the server stands for the MMS proxy: absolute targets only
        bool tls = false;   // https, with the certificate of certificatePath()
    };

    // Starts the server and waits until it listens; a server that does not start fails the test.
    MmscServer(const QJsonObject& script, Options options);
    // The same with the default options. (A default argument could not use the member
    // initializers of Options before the class is complete.)
    explicit MmscServer(const QJsonObject& script);
    ~MmscServer();
    MmscServer(const MmscServer&) = delete;
    MmscServer& operator=(const MmscServer&) = delete;

    bool started() const { return port_ != 0; }
    quint16 port() const { return port_; }
    // http(s)://127.0.0.1:PORT`path`
    QUrl url(const QString& path = QStringLiteral("/mms")) const;
    // The requests logged so far, in their order: {"method", "target", "path", "host",
    // "headers", "proxied", "body_size", "body_hex", "pdu", "pdu_error", "step"}.
    QList<QJsonObject> requests() const;
    // The self-signed certificate of the https server, for a client to trust.
    static QString certificatePath();
    // A port of 127.0.0.1 that nothing listens on, so that a connection to it is refused.
    static quint16 unusedPort();

    // The script of `steps`, then `after` for every request once they are used up (an empty
    // `after`: 200 with no body).
    static QJsonObject script(const QList<QJsonObject>& steps, const QJsonObject& after = {});
    // A step answering `status` with no body.
    static QJsonObject step(int status);
    // A step answering 200 with `body`.
    static QJsonObject body(const QByteArray& body);
    // A step answering 200 with the bytes of the file at `path`, read when the request comes.
    static QJsonObject bodyFile(const QString& path);
    // A step answering 200 with an m-send.conf of `responseStatus`, the transaction id of the
    // request it answers, and the message id and response text when they are given.
    static QJsonObject sendConf(int responseStatus, const QString& messageId = QString(),
                                const QString& text = QString());
    // A step answering 200 with no body, `seconds` late.
    static QJsonObject delay(double seconds);

    // The header fields of a logged request's PDU as the server's decoder names them.
    static QJsonObject pduFields(const QJsonObject& request);
    // One of them as text ("X-Mms-Status": "retrieved"); empty when the PDU has no such field.
    static QString pduField(const QJsonObject& request, const char* name);

private:
    QString path(const char* name) const;

    QTemporaryDir dir_;
    QProcess process_;
    quint16 port_ = 0;
    bool tls_ = false;
};

} // namespace tavmms_test

#endif
