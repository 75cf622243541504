#include "http_exchange.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QSslConfiguration>
#include <QTimer>

namespace tavmms::mmsc
{

namespace
{

const char kMmsType[] = "application/vnd.wap.mms-message";
constexpr int kMostRedirects = 5;

HttpResponse::Outcome outcomeOf(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::TemporaryNetworkFailureError:
        return HttpResponse::Refused;
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::UnknownNetworkError:
    case QNetworkReply::UnknownProxyError:
        return HttpResponse::Broken;
    case QNetworkReply::TimeoutError:
    case QNetworkReply::ProxyTimeoutError:
        return HttpResponse::TimedOut;
    default:
        return HttpResponse::Failed;
    }
}

} // namespace

bool HttpResponse::transient() const
{
    switch (outcome) {
    case TimedOut:
    case Refused:
    case Broken:
        return true;
    case HttpError:
        return httpStatus >= 500;
    default:
        return false;
    }
}

struct HttpExchange::Impl {
    Impl(QNetworkAccessManager& manager, const Connection& connection)
        : manager(manager), connection(connection)
    {
    }

    QNetworkAccessManager& manager;
    const Connection connection;
    QPointer<QNetworkReply> reply;
    QTimer timer;
    QUrl url;
    qint64 limit = 0;
    HttpResponse response;
    Done done;

    void start(QNetworkReply* started, const QUrl& target, qint64 most, Done whenDone);
    void finish(HttpResponse::Outcome outcome, const QString& text);
    void onFinished();
    void take();
    void stop();
    QString errorText() const;
    void refuseRedirect(const QUrl& target)
    {
        finish(HttpResponse::BadRedirect,
               QStringLiteral("%1 redirected to a %2: URL, which is refused")
                   .arg(shownUrl(url),
                        target.scheme().isEmpty() ? QStringLiteral("relative") : target.scheme()));
    }
};

// Qt's words for the failure, without the URL they may name whole.
QString HttpExchange::Impl::errorText() const
{
    QString text = reply->errorString();
    for (const QUrl::FormattingOptions form : {QUrl::FormattingOptions(QUrl::PrettyDecoded),
                                               QUrl::FormattingOptions(QUrl::FullyEncoded)})
        text.remove(url.toString(form));
    return text;
}

void HttpExchange::Impl::start(QNetworkReply* started, const QUrl& target, qint64 most,
                               Done whenDone)
{
    reply = started;
    url = target;
    limit = most;
    done = std::move(whenDone);
    response = HttpResponse();
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, reply, [this] {
        finish(HttpResponse::TimedOut, QStringLiteral("no whole answer from %1 within %2 s")
                                           .arg(shownUrl(url))
                                           .arg(double(connection.timeout.count()) / 1000));
    });
    timer.start(connection.timeout);
    QObject::connect(reply, &QNetworkReply::metaDataChanged, reply, [this] {
        const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid() && length.toLongLong() > limit)
            finish(HttpResponse::TooLarge,
                   QStringLiteral("the answer of %1 is %2 bytes, over the limit of %3")
                       .arg(shownUrl(url))
                       .arg(length.toLongLong())
                       .arg(limit));
    });
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [this] { take(); });
    QObject::connect(reply, &QNetworkReply::finished, reply, [this] { onFinished(); });
}

// Reads what has come, never more than one byte over the limit. No more than has come is asked
// for: read() first makes room for all it is asked, and a fetch's limit runs to megabytes.
void HttpExchange::Impl::take()
{
    if (!reply)
        return;
    response.body += reply->read(qMin(reply->bytesAvailable(), limit + 1 - response.body.size()));
    if (response.body.size() > limit)
        finish(HttpResponse::TooLarge, QStringLiteral("the answer of %1 is over the limit of %2 "
                                                      "bytes")
                                           .arg(shownUrl(url))
                                           .arg(limit));
}

void HttpExchange::Impl::onFinished()
{
    if (!reply)
        return;
    take();
    if (!reply)
        return;
    response.httpStatus = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QNetworkReply::NetworkError error = reply->error();
    const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
    const QUrl target = reply->header(QNetworkRequest::LocationHeader).toUrl();
    // A redirect Qt did not follow (to another scheme, or from https to http) ends here.
    if (response.httpStatus >= 300 && response.httpStatus < 400 && target.isValid())
        refuseRedirect(target);
    else if (response.httpStatus >= 300 && error != QNetworkReply::NoError)
        finish(HttpResponse::HttpError,
               QStringLiteral("%1 answered HTTP %2 %3")
                   .arg(shownUrl(url))
                   .arg(response.httpStatus)
                   .arg(reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString())
                   .trimmed());
    else if (error != QNetworkReply::NoError)
        finish(outcomeOf(error), QStringLiteral("%1: %2").arg(shownUrl(url), errorText()));
    else if (length.isValid() && response.body.size() < length.toLongLong())
        finish(HttpResponse::Broken, QStringLiteral("the answer of %1 was cut short at %2 of %3 "
                                                    "bytes")
                                         .arg(shownUrl(url))
                                         .arg(response.body.size())
                                         .arg(length.toLongLong()));
    else
        finish(HttpResponse::Done, QString());
}

// Ends the exchange once: the reply goes, then `done` is told.
void HttpExchange::Impl::finish(HttpResponse::Outcome outcome, const QString& text)
{
    if (!reply)
        return;
    stop();
    response.outcome = outcome;
    response.text = text;
    if (outcome != HttpResponse::Done)
        response.body.clear();
    const Done whenDone = std::move(done);
    done = nullptr;
    // The callback may delete this exchange: nothing of it is touched after.
    whenDone(response);
}

void HttpExchange::Impl::stop()
{
    timer.stop();
    QNetworkReply* const running = reply;
    reply = nullptr;
    if (!running)
        return;
    running->disconnect();
    running->abort();
    running->deleteLater();
}

HttpExchange::HttpExchange(QNetworkAccessManager& manager, const Connection& connection)
    : d(std::make_unique<Impl>(manager, connection))
{
}

HttpExchange::~HttpExchange()
{
    d->stop();
}

namespace
{

QNetworkRequest requestFor(const QUrl& url, const Connection& connection)
{
    QNetworkRequest request(url);
    // http to http or https, https to https only; Qt follows no redirect to another scheme.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(kMostRedirects);
    request.setRawHeader("Accept", QByteArray(kMmsType) + ", */*");
    if (!connection.caCertificates.isEmpty()) {
        QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
        ssl.addCaCertificates(connection.caCertificates);
        request.setSslConfiguration(ssl);
    }
    return request;
}

} // namespace

void HttpExchange::post(const QUrl& url, const QByteArray& pdu, qint64 limit, Done done)
{
    d->stop();
    QNetworkRequest request = requestFor(url, d->connection);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray(kMmsType));
    d->start(d->manager.post(request, pdu), url, limit, std::move(done));
}

void HttpExchange::get(const QUrl& url, qint64 limit, Done done)
{
    d->stop();
    d->start(d->manager.get(requestFor(url, d->connection)), url, limit, std::move(done));
}

void applyConnection(QNetworkAccessManager& manager, const Connection& connection)
{
    manager.setProxy(
        connection.proxyHost.isEmpty()
            ? QNetworkProxy(QNetworkProxy::NoProxy)
            : QNetworkProxy(QNetworkProxy::HttpProxy, connection.proxyHost, connection.proxyPort));
}

} // namespace tavmms::mmsc
