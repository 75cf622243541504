#include "mmsc_client.h"

#include "message_store.h"
#include "retrying_exchange.h"

#include "mms_address.h"
#include "mms_pdu.h"
#include "mms_util_msgheaderbase.h"
#include "mms_util_setting.h"
#include "transaction_pdu.h"

#include <QDateTime>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QTimer>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <map>

namespace tavmms::mmsc
{

namespace
{

using store::ErrorCode;
using store::Status;

// The answers to what the phone posts are a few fields; anything longer is no answer of theirs.
constexpr qint64 kAnswerLimit = 1024 * 1024;

Status failure(ErrorCode code, const QString& text)
{
    return Status::failure(code, text);
}

// Whether the MMSC may be told that a message was read or reached the phone.
bool reportsAllowed()
{
    return MMS_UTIL_Setting::getDeliveryRepAllowedity() != 0;
}

// What the outcome of an exchange that failed makes of a transaction: Unreachable when trying
// again later may help, Refused when the MMSC said no.
ErrorCode codeOf(const HttpResponse& response)
{
    if (response.transient())
        return ErrorCode::Unreachable;
    return response.outcome == HttpResponse::HttpError ? ErrorCode::Refused : ErrorCode::Failed;
}

QString responseStatusText(const pdu::SendConf& conf)
{
    QString text = QStringLiteral("%1 %2")
                       .arg(conf.responseStatus)
                       .arg(pdu::responseStatusName(conf.responseStatus));
    if (!conf.responseText.isEmpty())
        text += QStringLiteral(" (%1)").arg(conf.responseText);
    return text.simplified();
}

// The status to tell the MMSC again for a notification kept already.
pdu::MessageStatus statusOfKept(const store::MessageRow& row)
{
    switch (store::State(row.state())) {
    case store::State::Received:
        return pdu::MessageStatus::Retrieved;
    case store::State::Rejected:
        return pdu::MessageStatus::Rejected;
    default:
        return pdu::MessageStatus::Deferred;
    }
}

// Message `id` as the store reads it, without its body; Invalid unless it is in one of `states`,
// which `only` describes ("message 5 is sent: only ...").
store::ReadMessage readIn(store::MessageStore& store, unsigned int id,
                          std::initializer_list<store::State> states, const QString& only)
{
    store::ReadMessage message = store.read(id, false);
    const auto state = store::State(message.row.state());
    if (message.status.ok() && std::find(states.begin(), states.end(), state) == states.end())
        message.status =
            failure(ErrorCode::Invalid, QStringLiteral("message %1 is %2: only %3")
                                            .arg(id)
                                            .arg(store::stateName(message.row.state()), only));
    return message;
}

store::NewMessage notificationMessage(const pdu::Notification& notification,
                                      const QByteArray& bytes, qint64 now)
{
    store::NewMessage message;
    if (!notification.from.isEmpty())
        message.from = pdu::addressEntry(notification.from);
    message.subject = notification.subject;
    message.contentType = {QStringLiteral("application"), QStringLiteral("vnd.wap.mms-message"),
                           QString()};
    message.body = bytes;
    message.uri = notification.contentLocation;
    message.transactionId = notification.transactionId;
    const quint64 most = std::numeric_limits<unsigned int>::max();
    message.messageSize = unsigned(qMin(notification.messageSize, most));
    const qint64 left = notification.expiryRelative ? qint64(qMin(notification.expiry, most))
                                                    : qint64(notification.expiry) - now;
    message.expiry = unsigned(qBound<qint64>(0, left, qint64(most)));
    return message;
}

} // namespace

QString decisionName(Decision decision)
{
    switch (decision) {
    case Decision::Fetched:
        return QStringLiteral("fetched");
    case Decision::Deferred:
        return QStringLiteral("deferred");
    case Decision::Rejected:
        return QStringLiteral("rejected");
    case Decision::Duplicate:
        return QStringLiteral("duplicate");
    case Decision::None:
        break;
    }
    return QString();
}

struct TAVMMS_HIDDEN MmscClient::Impl {
    Impl(const Connection& connection, std::chrono::milliseconds timeLimit)
        : connection(connection), timeLimit(timeLimit)
    {
    }

    Connection connection;
    std::chrono::milliseconds timeLimit;
    QNetworkAccessManager manager;
    store::MessageStore store;
    // The exchanges running, each until its transaction's end, by a number never used again.
    std::map<quint64, std::unique_ptr<RetryingExchange>> exchanges;
    quint64 lastExchange = 0;

    std::pair<quint64, RetryingExchange*> newExchange()
    {
        auto& made = exchanges[++lastExchange];
        made = std::make_unique<RetryingExchange>(manager, connection);
        return {lastExchange, made.get()};
    }
    // Called from within the exchange's own callback: it goes once the loop is back.
    void drop(quint64 number)
    {
        QTimer::singleShot(0, &manager, [this, number] { exchanges.erase(number); });
    }

    Status checkConnection() const;
    // POSTs `pdu` to the MMSC, again while that fails transiently; `done` gets the last answer.
    void post(const QByteArray& pdu, std::function<void(const HttpResponse&, int)> done,
              RetryingExchange::Again again = nullptr);
    void get(const QUrl& url, qint64 limit, std::function<void(const HttpResponse&)> done);

    void send(unsigned int id, std::function<void(const SendResult&)> done);
    void sent(SendResult result, const HttpResponse& response,
              const std::function<void(const SendResult&)>& done);
    void notify(const QByteArray& bytes, bool roaming,
                std::function<void(const NotifyResult&)> done);
    void respond(NotifyResult result, pdu::MessageStatus status,
                 std::function<void(const NotifyResult&)> done);
    void fetch(unsigned int id, const QUrl& url, const QString& transactionId, bool deferred,
               std::function<void(const FetchResult&, std::optional<pdu::MessageStatus>)> done);
    void markRead(const QList<unsigned int>& ids, std::function<void(const ReadResult&)> done);
    void sendReadReports(std::shared_ptr<ReadResult> result, QList<unsigned int> left,
                         std::function<void(const ReadResult&)> done);

    template <typename Result>
    Result wait(const std::function<void(std::function<void(const Result&)>)>& start,
                const QString& what);
};

Status MmscClient::Impl::checkConnection() const
{
    const QString scheme = connection.mmsc.scheme();
    if (connection.mmsc.isEmpty())
        return failure(ErrorCode::Invalid,
                       connection.profile.isEmpty()
                           ? QStringLiteral("no MMSC address: no default MMS profile is set")
                           : QStringLiteral("no MMSC address: the MMS profile '%1' has no server "
                                            "address")
                                 .arg(connection.profile));
    if (!connection.mmsc.isValid() ||
        (scheme != QLatin1String("http") && scheme != QLatin1String("https")) ||
        connection.mmsc.host().isEmpty())
        return failure(ErrorCode::Invalid,
                       QStringLiteral("the MMSC address '%1' is no http or https URL")
                           .arg(shownUrl(connection.mmsc)));
    return {};
}

void MmscClient::Impl::post(const QByteArray& pdu,
                            std::function<void(const HttpResponse&, int)> done,
                            RetryingExchange::Again again)
{
    const auto [number, exchange] = newExchange();
    exchange->run(
        [this, pdu](HttpExchange& http, HttpExchange::Done answered) {
            http.post(connection.mmsc, pdu, kAnswerLimit, std::move(answered));
        },
        [this, number = number, done = std::move(done)](const HttpResponse& response,
                                                        int attempts) {
            drop(number);
            done(response, attempts);
        },
        std::move(again));
}

void MmscClient::Impl::get(const QUrl& url, qint64 limit,
                           std::function<void(const HttpResponse&)> done)
{
    const auto [number, exchange] = newExchange();
    exchange->run(
        [url, limit](HttpExchange& http, HttpExchange::Done answered) {
            http.get(url, limit, std::move(answered));
        },
        [this, number = number, done = std::move(done)](const HttpResponse& response, int) {
            drop(number);
            done(response);
        });
}

// ---- send ----

void MmscClient::Impl::send(unsigned int id, std::function<void(const SendResult&)> done)
{
    SendResult result;
    result.id = id;
    result.status = readIn(store, id, {store::State::ToSend, store::State::SendFailed},
                           QStringLiteral("a message waiting to be sent, or one whose sending "
                                          "failed, is sent"))
                        .status;
    if (result.status.ok())
        result.status = checkConnection();
    store::SendRequest request;
    if (result.status.ok()) {
        request = store.sendRequest(id);
        result.status = request.status;
    }
    if (!result.status.ok()) {
        done(result);
        return;
    }
    post(
        request.pdu,
        [this, result, done = std::move(done)](const HttpResponse& response, int attempts) {
            SendResult made = result;
            made.attempts = attempts;
            sent(made, response, done);
        },
        [](const HttpResponse& response) {
            if (response.outcome != HttpResponse::Done)
                return response.transient();
            const std::optional<pdu::SendConf> conf = pdu::decodeSendConf(response.body);
            return conf && pdu::isTransientResponseStatus(conf->responseStatus);
        });
}

// Keeps what the MMSC's answer says in the message's row.
void MmscClient::Impl::sent(SendResult result, const HttpResponse& response,
                            const std::function<void(const SendResult&)>& done)
{
    store::RowUpdate update;
    if (response.outcome != HttpResponse::Done) {
        result.status = failure(codeOf(response), response.text);
    } else {
        pdu::TransactionError error;
        const std::optional<pdu::SendConf> conf = pdu::decodeSendConf(response.body, &error);
        if (!conf) {
            result.status =
                failure(ErrorCode::Failed,
                        QStringLiteral("the MMSC's answer is no m-send.conf: %1").arg(error.text));
        } else {
            result.responseStatus = conf->responseStatus;
            result.responseText = conf->responseText;
            result.messageId = conf->messageId;
            if (conf->responseStatus != pdu::kResponseOk)
                result.status = failure(pdu::isTransientResponseStatus(conf->responseStatus)
                                            ? ErrorCode::Unreachable
                                            : ErrorCode::Refused,
                                        QStringLiteral("the MMSC did not take the message: %1")
                                            .arg(responseStatusText(*conf)));
        }
    }
    if (result.status.ok()) {
        update.folder = store::Folder::Sent;
        update.state = store::State::Sent;
        if (!result.messageId.isEmpty())
            update.messageId = result.messageId;
    } else {
        // The row keeps the MMSC's own words, which the field's 100 characters hold best.
        update.state = store::State::SendFailed;
        update.note = !result.responseText.isEmpty() ? result.responseText
                      : result.responseStatus != 0
                          ? QStringLiteral("%1 %2")
                                .arg(result.responseStatus)
                                .arg(pdu::responseStatusName(result.responseStatus))
                          : result.status.text;
    }
    const Status kept = store.update(result.id, update);
    if (!kept.ok())
        result.status = result.status.ok()
                            ? kept
                            : failure(result.status.code,
                                      result.status.text + QStringLiteral("; ") + kept.text);
    done(result);
}

// ---- notify and fetch ----

void MmscClient::Impl::notify(const QByteArray& bytes, bool roaming,
                              std::function<void(const NotifyResult&)> done)
{
    NotifyResult result;
    pdu::TransactionError error;
    const std::optional<pdu::Notification> notification = pdu::decodeNotification(bytes, &error);
    if (!notification) {
        result.status =
            failure(error.kind == pdu::TransactionError::WrongType ? ErrorCode::WrongType
                                                                   : ErrorCode::Malformed,
                    QStringLiteral("the notification does not read: %1").arg(error.text));
        done(result);
        return;
    }
    result.transactionId = notification->transactionId;
    result.status = checkConnection();
    if (!result.status.ok()) {
        done(result);
        return;
    }
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    const store::NewMessage message = notificationMessage(*notification, bytes, now);
    // An expired message is not there to fetch: nothing is kept.
    if (!notification->expiryRelative && qint64(notification->expiry) <= now) {
        result.decision = Decision::Rejected;
        result.reason = QStringLiteral("it expired at %1")
                            .arg(QDateTime::fromSecsSinceEpoch(qint64(notification->expiry))
                                     .toString(Qt::ISODate));
        respond(result, pdu::MessageStatus::Rejected, std::move(done));
        return;
    }
    auto state = store::State::Notified;
    const store::SizeLimit limit = store::MessageStore::receiveLimit();
    if (notification->messageSize > quint64(limit.bytes)) {
        state = store::State::Rejected;
        result.reason = QStringLiteral("its %1 bytes are over %2")
                            .arg(notification->messageSize)
                            .arg(limit.text);
    } else if (!MMS_UTIL_Setting::getAutoRetrievalSetting()) {
        state = store::State::Deferred;
        result.reason = QStringLiteral("automatic download is off");
    } else if (roaming && MMS_UTIL_Setting::getRoamingDelayedRetrieval()) {
        state = store::State::Deferred;
        result.reason = QStringLiteral("the phone is roaming and retrieval is delayed then");
    }
    const store::Added kept = store.keepNotification(message, state);
    result.id = kept.id;
    if (kept.status.code == ErrorCode::Duplicate) {
        result.id = kept.existing;
        result.decision = Decision::Duplicate;
        result.status = kept.status;
        result.reason =
            QStringLiteral("message %1 has its Content-Location already").arg(kept.existing);
        respond(result, statusOfKept(store.read(kept.existing, false).row), std::move(done));
        return;
    }
    if (kept.status.code == ErrorCode::Blocked) {
        result.id = 0;
        result.decision = Decision::Rejected;
        result.status = kept.status;
        result.reason = kept.status.text;
        respond(result, pdu::MessageStatus::Rejected, std::move(done));
        return;
    }
    if (!kept.status.ok()) {
        // Not kept, not answered: the MMSC offers it again.
        result.id = 0;
        result.status = kept.status;
        done(result);
        return;
    }
    if (state != store::State::Notified) {
        result.decision = state == store::State::Rejected ? Decision::Rejected : Decision::Deferred;
        respond(result,
                state == store::State::Rejected ? pdu::MessageStatus::Rejected
                                                : pdu::MessageStatus::Deferred,
                std::move(done));
        return;
    }
    fetch(kept.id, QUrl(notification->contentLocation), notification->transactionId, false,
          [this, result, done = std::move(done)](const FetchResult& fetched,
                                                 std::optional<pdu::MessageStatus> answer) mutable {
              result.status = fetched.status;
              if (fetched.status.ok()) {
                  result.decision = Decision::Fetched;
              } else {
                  result.decision = answer == pdu::MessageStatus::Deferred ? Decision::Deferred
                                                                           : Decision::Rejected;
                  result.reason = fetched.status.text;
              }
              // The message kept before stays; the notification's went.
              if (fetched.status.code == ErrorCode::Duplicate) {
                  result.decision = Decision::Duplicate;
                  result.id = 0;
              }
              respond(result, answer.value_or(pdu::MessageStatus::Retrieved), std::move(done));
          });
}

// Tells the MMSC what became of the notification, and keeps that in its message's row.
void MmscClient::Impl::respond(NotifyResult result, pdu::MessageStatus status,
                               std::function<void(const NotifyResult&)> done)
{
    result.response = quint8(status);
    post(pdu::encodeNotifyResp(result.transactionId, status, reportsAllowed()),
         [this, result, done = std::move(done)](const HttpResponse& response, int) mutable {
             result.responded = response.outcome == HttpResponse::Done;
             result.responseError = response.text;
             // A fetched message's row says Retrieved already; a duplicate's is another's.
             if (result.responded && result.id != 0 && result.decision != Decision::Duplicate &&
                 result.decision != Decision::Fetched) {
                 store::RowUpdate update;
                 update.notifyStatus = *result.response;
                 const Status kept = store.update(result.id, update);
                 if (!kept.ok() && result.status.ok())
                     result.status = kept;
             }
             done(result);
         });
}

// Fetches message `id` from its Content-Location `url` and puts the message in its place. `done`
// gets what came of it, and the X-Mms-Status to answer the notification with: Retrieved, or for a
// fetch that failed Deferred (the MMSC keeps the message) or Rejected (it may drop it); none when
// the fetch acknowledged itself.
void MmscClient::Impl::fetch(
    unsigned int id, const QUrl& url, const QString& transactionId, bool deferred,
    std::function<void(const FetchResult&, std::optional<pdu::MessageStatus>)> done)
{
    FetchResult result;
    result.id = id;
    get(url, store::MessageStore::receiveLimit().bytes + store::MessageStore::kPduHeaderRoom,
        [=, done = std::move(done)](const HttpResponse& response) mutable {
            store::RowUpdate update;
            std::optional<pdu::MessageStatus> answer;
            if (response.outcome == HttpResponse::TooLarge) {
                result.status = failure(ErrorCode::TooLarge, response.text);
                answer = pdu::MessageStatus::Rejected;
                update.state = store::State::Rejected;
            } else if (response.outcome != HttpResponse::Done) {
                result.status = failure(codeOf(response), response.text);
                answer = pdu::MessageStatus::Deferred;
                update.state = store::State::Deferred;
            } else {
                const store::Added added = store.receivePduInPlace(id, response.body);
                result.status = added.status;
                switch (added.status.code) {
                case ErrorCode::None:
                    answer = pdu::MessageStatus::Retrieved;
                    break;
                case ErrorCode::Duplicate:
                    // Kept already: the notification's message goes, the MMSC is told it came.
                    answer = pdu::MessageStatus::Retrieved;
                    store.remove(id);
                    break;
                case ErrorCode::Malformed:
                case ErrorCode::WrongType:
                    answer = pdu::MessageStatus::Unrecognised;
                    update.state = store::State::Rejected;
                    break;
                case ErrorCode::Blocked:
                case ErrorCode::TooLarge:
                    answer = pdu::MessageStatus::Rejected;
                    update.state = store::State::Rejected;
                    break;
                default:
                    answer = pdu::MessageStatus::Deferred;
                    update.state = store::State::Deferred;
                    break;
                }
            }
            if (update.state) {
                update.note = result.status.text;
                store.update(id, update);
            }
            if (!deferred || answer != pdu::MessageStatus::Retrieved ||
                result.status.code == ErrorCode::Duplicate) {
                done(result, answer);
                return;
            }
            // A message fetched later is acknowledged when the MMSC gave the retrieval a
            // transaction of its own; else the notification's answer says it came.
            qsizetype bodyOffset = 0;
            const std::optional<pdu::Pdu> header = pdu::decodePduHeader(response.body, &bodyOffset);
            const QString retrieval = header ? header->text(pdu::Field::TransactionId) : QString();
            const bool acknowledge = !retrieval.isEmpty();
            result.acknowledgement = acknowledge ? QStringLiteral("m-acknowledge.ind")
                                                 : QStringLiteral("m-notifyresp.ind");
            const QByteArray pdu =
                acknowledge ? pdu::encodeAcknowledge(retrieval, reportsAllowed())
                            : pdu::encodeNotifyResp(transactionId, pdu::MessageStatus::Retrieved,
                                                    reportsAllowed());
            post(pdu, [result, done = std::move(done)](const HttpResponse& sentBack, int) mutable {
                result.acknowledged = sentBack.outcome == HttpResponse::Done;
                result.acknowledgementError = sentBack.text;
                done(result, std::nullopt);
            });
        });
}

// ---- read reports ----

void MmscClient::Impl::markRead(const QList<unsigned int>& ids,
                                std::function<void(const ReadResult&)> done)
{
    auto result = std::make_shared<ReadResult>();
    const store::Changed changed = store.setRead(ids, true);
    result->status = changed.status;
    result->marked = changed.changed;
    if (!changed.status.ok() || !reportsAllowed()) {
        done(*result);
        return;
    }
    QList<unsigned int> asked;
    for (const unsigned int id : changed.changed) {
        const store::ReadMessage message = store.read(id, false);
        if (message.row.folder() == unsigned(store::Folder::Inbox) &&
            message.row.state() == unsigned(store::State::Received) &&
            message.row.record.mms_fld_readreplyreport_name == 1)
            asked.append(id);
    }
    if (!asked.isEmpty())
        result->status = checkConnection();
    if (asked.isEmpty() || !result->status.ok()) {
        done(*result);
        return;
    }
    sendReadReports(result, asked, std::move(done));
}

void MmscClient::Impl::sendReadReports(std::shared_ptr<ReadResult> result, QList<unsigned int> left,
                                       std::function<void(const ReadResult&)> done)
{
    if (left.isEmpty()) {
        done(*result);
        return;
    }
    const unsigned int id = left.takeFirst();
    const store::ReadMessage message = store.read(id, false);
    if (!message.header) {
        result->reportErrors << QStringLiteral("message %1: %2").arg(id).arg(message.mailFileError);
        sendReadReports(result, left, std::move(done));
        return;
    }
    const QByteArray report =
        pdu::encodeReadRec(message.header->messageId, pdu::pduAddress(message.header->from),
                           QDateTime::currentSecsSinceEpoch(), pdu::ReadStatus::Read);
    post(report, [this, result, id, left, done = std::move(done)](const HttpResponse& response,
                                                                  int) mutable {
        if (response.outcome == HttpResponse::Done) {
            store::RowUpdate update;
            update.readStatus = quint8(pdu::ReadStatus::Read);
            const Status kept = store.update(id, update);
            if (kept.ok())
                result->reported.append(id);
            else
                result->reportErrors << QStringLiteral("message %1: %2").arg(id).arg(kept.text);
        } else {
            result->reportErrors << QStringLiteral("message %1: %2").arg(id).arg(response.text);
        }
        sendReadReports(result, left, std::move(done));
    });
}

// ---- the blocking forms ----

template <typename Result>
Result MmscClient::Impl::wait(const std::function<void(std::function<void(const Result&)>)>& start,
                              const QString& what)
{
    std::optional<Result> result;
    QEventLoop loop;
    start([&result, &loop](const Result& done) {
        result = done;
        loop.quit();
    });
    if (!result) {
        QTimer limit;
        limit.setSingleShot(true);
        QObject::connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
        limit.start(timeLimit);
        loop.exec();
    }
    if (result)
        return *result;
    // What still runs stops here, its callbacks uncalled.
    exchanges.clear();
    Result timedOut;
    timedOut.status = failure(ErrorCode::Unreachable, QStringLiteral("%1 did not end within %2 s")
                                                          .arg(what)
                                                          .arg(double(timeLimit.count()) / 1000));
    return timedOut;
}

namespace
{

// Two exchanges, each with every attempt's timeout and every delay between the attempts.
std::chrono::milliseconds defaultTimeLimit(const Connection& connection)
{
    std::chrono::milliseconds delays{0};
    for (int attempt = 1; attempt < connection.attempts; ++attempt)
        delays += connection.firstRetryDelay * (1 << std::min(attempt - 1, 16));
    return 2 * (connection.timeout * std::max(connection.attempts, 1) + delays);
}

} // namespace

MmscClient::MmscClient(const Connection& connection)
    : d(std::make_unique<Impl>(connection, defaultTimeLimit(connection)))
{
    applyConnection(d->manager, connection);
}

MmscClient::~MmscClient() = default;

const Connection& MmscClient::connection() const
{
    return d->connection;
}

std::chrono::milliseconds MmscClient::timeLimit() const
{
    return d->timeLimit;
}

void MmscClient::setTimeLimit(std::chrono::milliseconds limit)
{
    d->timeLimit = limit;
}

SendResult MmscClient::send(unsigned int id)
{
    return d->wait<SendResult>(
        [this, id](std::function<void(const SendResult&)> done) { sendAsync(id, std::move(done)); },
        QStringLiteral("sending message %1").arg(id));
}

NotifyResult MmscClient::notify(const QByteArray& notification, bool roaming)
{
    return d->wait<NotifyResult>(
        [&](std::function<void(const NotifyResult&)> done) {
            notifyAsync(notification, roaming, std::move(done));
        },
        QStringLiteral("the notification's transaction"));
}

FetchResult MmscClient::fetch(unsigned int id)
{
    return d->wait<FetchResult>(
        [this, id](std::function<void(const FetchResult&)> done) {
            fetchAsync(id, std::move(done));
        },
        QStringLiteral("fetching message %1").arg(id));
}

ReadResult MmscClient::markRead(const QList<unsigned int>& ids)
{
    return d->wait<ReadResult>(
        [&](std::function<void(const ReadResult&)> done) { markReadAsync(ids, std::move(done)); },
        QStringLiteral("sending the read reports"));
}

void MmscClient::sendAsync(unsigned int id, std::function<void(const SendResult&)> done)
{
    d->send(id, std::move(done));
}

void MmscClient::notifyAsync(const QByteArray& notification, bool roaming,
                             std::function<void(const NotifyResult&)> done)
{
    d->notify(notification, roaming, std::move(done));
}

void MmscClient::fetchAsync(unsigned int id, std::function<void(const FetchResult&)> done)
{
    FetchResult result;
    result.id = id;
    const store::ReadMessage message =
        readIn(d->store, id, {store::State::Deferred, store::State::Notified},
               QStringLiteral("a notification waiting (notified or deferred) is fetched"));
    result.status = message.status;
    if (result.status.ok())
        result.status = d->checkConnection();
    if (!result.status.ok()) {
        done(result);
        return;
    }
    const QString transactionId = QString::fromLatin1(message.row.record.mms_fld_tid_name);
    d->fetch(id, QUrl(message.row.uri()), transactionId, true,
             [this, transactionId, done = std::move(done)](
                 const FetchResult& fetched, std::optional<pdu::MessageStatus> answer) {
                 if (!answer || answer == pdu::MessageStatus::Deferred) {
                     done(fetched);
                     return;
                 }
                 // A message kept already, or refused now: the MMSC is told so.
                 NotifyResult told;
                 // A duplicate's row is gone: the message kept before stays as it is.
                 told.id = fetched.status.code == ErrorCode::Duplicate ? 0 : fetched.id;
                 told.transactionId = transactionId;
                 d->respond(told, *answer, [fetched, done](const NotifyResult& response) {
                     FetchResult result = fetched;
                     result.acknowledgement = QStringLiteral("m-notifyresp.ind");
                     result.acknowledged = response.responded;
                     result.acknowledgementError = response.responseError;
                     done(result);
                 });
             });
}

void MmscClient::markReadAsync(const QList<unsigned int>& ids,
                               std::function<void(const ReadResult&)> done)
{
    d->markRead(ids, std::move(done));
}

ReportResult MmscClient::report(const QByteArray& bytes)
{
    ReportResult result;
    pdu::TransactionError error;
    store::RowUpdate update;
    qsizetype bodyOffset = 0;
    const std::optional<pdu::Pdu> header = pdu::decodePduHeader(bytes, &bodyOffset);
    if (header && header->messageType() == pdu::MessageType::ReadOrigInd) {
        result.kind = ReportResult::Read;
        if (const std::optional<pdu::ReadReport> read = pdu::decodeReadReport(bytes, &error)) {
            result.messageId = read->messageId;
            result.recipient = read->from;
            result.value = read->readStatus;
            update.readStatus = quint8(qMin<quint64>(read->readStatus, 255));
        }
    } else if (const std::optional<pdu::DeliveryReport> delivery =
                   pdu::decodeDeliveryReport(bytes, &error)) {
        result.messageId = delivery->messageId;
        result.recipient = delivery->to;
        result.value = delivery->status;
        update.deliveryStatus = quint8(qMin<quint64>(delivery->status, 255));
    }
    if (!update.readStatus && !update.deliveryStatus) {
        result.status =
            failure(error.kind == pdu::TransactionError::WrongType ? ErrorCode::WrongType
                                                                   : ErrorCode::Malformed,
                    QStringLiteral("the report does not read: %1").arg(error.text));
        return result;
    }
    const store::Changed changed = d->store.updateSent(result.messageId, update);
    result.status = changed.status;
    result.ids = changed.changed;
    return result;
}

} // namespace tavmms::mmsc
