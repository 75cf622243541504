#ifndef TAVMMS_MMSC_RETRYING_EXCHANGE_H
#define TAVMMS_MMSC_RETRYING_EXCHANGE_H

// An HTTP exchange tried again while it fails transiently: after the connection's first delay,
// then twice that each time, up to its number of attempts.

#include "http_exchange.h"

#include <QTimer>

#include <functional>

namespace tavmms::mmsc
{

class RetryingExchange
{
public:
    // Starts one attempt, which answers `done`.
    using Attempt = std::function<void(HttpExchange&, HttpExchange::Done done)>;
    // Whether an answer is worth another attempt.
    using Again = std::function<bool(const HttpResponse&)>;
    // The last answer, and the attempts made.
    using Done = std::function<void(const HttpResponse&, int attempts)>;

    RetryingExchange(QNetworkAccessManager& manager, const Connection& connection);

    // An answer is tried again while `again` says so (by default, while it is transient).
    void run(Attempt attempt, Done done, Again again = nullptr);

private:
    void next();

    const Connection connection_;
    HttpExchange exchange_;
    QTimer delay_;
    Attempt attempt_;
    Again again_;
    Done done_;
    int made_ = 0;
};

} // namespace tavmms::mmsc

#endif
