#ifndef TAVMMS_MMSC_HTTP_EXCHANGE_H
#define TAVMMS_MMSC_HTTP_EXCHANGE_H

// One HTTP request to the MMSC and its answer, on QtNetwork, in the caller's thread: the proxy and
// the certificates of the connection, its time limit, redirects only to http and https, and an
// answer never read beyond a limit.

#include "mmsc_connection.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

class QNetworkAccessManager;

namespace tavmms::mmsc
{

struct HttpResponse {
    enum Outcome {
        Done,        // a 2xx answer, read whole
        HttpError,   // another HTTP status
        TimedOut,    // no whole answer within the connection's timeout
        Refused,     // no connection: refused, no route, no such host
        Broken,      // the connection broke, or the answer was cut short
        TooLarge,    // the answer is over the limit: said so by its length, or found while read
        BadRedirect, // redirected to something but http or https
        Failed,      // anything else (a TLS failure, a protocol Qt lacks)
    };
    Outcome outcome = Failed;
    int httpStatus = 0;
    QByteArray body;
    QString text; // one line: what went wrong, the URL shown without credentials or query

    // Whether the same request may succeed later: a timeout, no connection or a broken one,
    // HTTP 5xx.
    bool transient() const;
};

class HttpExchange
{
public:
    using Done = std::function<void(const HttpResponse&)>;

    // The exchanges of one manager go through the proxy set on it (applyConnection()).
    HttpExchange(QNetworkAccessManager& manager, const Connection& connection);
    // An exchange still running is aborted, and its `done` not called.
    ~HttpExchange();
    HttpExchange(const HttpExchange&) = delete;
    HttpExchange& operator=(const HttpExchange&) = delete;

    // POSTs `pdu` as application/vnd.wap.mms-message; the answer is read up to `limit` bytes.
    void post(const QUrl& url, const QByteArray& pdu, qint64 limit, Done done);
    // GETs `url`; an answer over `limit` bytes is refused as soon as that shows.
    void get(const QUrl& url, qint64 limit, Done done);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

// Sets the connection's proxy on `manager` (none: a direct connection, whatever the environment
// says).
void applyConnection(QNetworkAccessManager& manager, const Connection& connection);

} // namespace tavmms::mmsc

#endif
