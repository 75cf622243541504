#include "retrying_exchange.h"

#include <algorithm>

namespace tavmms::mmsc
{

RetryingExchange::RetryingExchange(QNetworkAccessManager& manager, const Connection& connection)
    : connection_(connection), exchange_(manager, connection)
{
    delay_.setSingleShot(true);
    QObject::connect(&delay_, &QTimer::timeout, [this] { next(); });
}

void RetryingExchange::run(Attempt attempt, Done done, Again again)
{
    attempt_ = std::move(attempt);
    done_ = std::move(done);
    again_ = again ? std::move(again)
                   : [](const HttpResponse& response) { return response.transient(); };
    made_ = 0;
    next();
}

void RetryingExchange::next()
{
    ++made_;
    attempt_(exchange_, [this](const HttpResponse& response) {
        if (made_ < connection_.attempts && again_(response)) {
            delay_.start(connection_.firstRetryDelay * (1 << std::min(made_ - 1, 16)));
            return;
        }
        const Done done = done_;
        done(response, made_);
    });
}

} // namespace tavmms::mmsc
