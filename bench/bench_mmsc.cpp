// The whole retrieve of a message from the MMSC against the work any client retrieving it must do.
//
// BM_Paired_Retrieve    MmscClient::fetch of a deferred notification (kept beforehand, untimed,
//                       with MessageStore::keepNotification in State::Deferred, its
//                       Content-Location on a local test MMSC): the GET of an m-retrieve.conf whose
//                       multipart body holds one image of 300 KB of random bytes, the store's
//                       replace of the notification by the message, and the m-acknowledge.ind
//                       POSTed to the MMSC. Paired with its raw counterpart: a plain GET of a
//                       message of the same size with QNetworkAccessManager, and
//                       MessageStore::receivePdu of its bytes. Counters library_us, raw_us and
//                       their ratio. Target: library <= 1.3x raw.
//
// The servers are the Python test MMSC (tests/support/mmsc_server.py), started once per run of the
// program on 127.0.0.1: the MMSC the acknowledgements go to, answering 200 with no body, and one
// server for each side serving its message to every request. The two messages differ in their
// Message-ID alone, so that neither is refused as a duplicate of the other; both are removed,
// untimed, after each iteration. A first retrieve on each side, untimed, opens the connections
// and has the store do once what it does on its first use. The store lies in a directory of its
// own under $TAVMMS_BENCH_DIR, else under the system's temporary directory, or under the current
// directory when that one is a tmpfs (which would hide the cost of syncing).

#include "message_store.h"
#include "mms_address.h"
#include "mms_pdu.h"
#include "mms_util_setting.h"
#include "mmsc_client.h"
#include "multipart.h"

#include "bench_directory.h"
#include "message_body.h"
#include "paired_timing.h"
#include "store_of_its_own.h"

#include "support/mmsc_server.h"
#include "support/pdu_helpers.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>

#include <memory>

namespace
{

using namespace std::chrono_literals;
using tavmms::pdu::Field;
using tavmms::pdu::HeaderField;
using tavmms::store::Added;
using tavmms::store::MessageStore;
using tavmms_test::MmscServer;

const qsizetype kBodyBytes = 300 * 1024;
const QString kSender = QStringLiteral("+4915550199/TYPE=PLMN");

// Named among the context lines on top of the report, which are gathered before main() runs.
[[maybe_unused]] const bool contextAdded = [] {
    addBenchDirectoryContext();
    return true;
}();

// An m-retrieve.conf from kSender with `messageId`, asking for an acknowledgement (it has a
// transaction id), whose multipart body holds one image of `bytes` random bytes.
QByteArray retrieveConf(const QString& messageId, qsizetype bytes)
{
    const QByteArray body = tavmms::pdu::encodeMultipart(
        {tavmms::pdu::Part{{"image/jpeg", {}}, {}, makeRandomBody(bytes, 1)}});
    return tavmms_test::retrieveConfPdu(
        {HeaderField::from(kSender),
         HeaderField::textField(Field::Subject, QStringLiteral("Photo")),
         HeaderField::textField(Field::MessageId, messageId)},
        body);
}

// The notification of the message at `location`, as the client keeps one it defers.
tavmms::store::NewMessage deferredNotification(const QUrl& location, qsizetype size)
{
    tavmms::pdu::Pdu pdu = tavmms_test::pduOfType(tavmms::pdu::MessageType::NotificationInd);
    pdu.headers << HeaderField::from(kSender)
                << HeaderField::integer(Field::MessageSize, quint64(size))
                << HeaderField::time(Field::Expiry, 86400, true)
                << HeaderField::textField(Field::ContentLocation, location.toString());
    tavmms::store::NewMessage message;
    message.from = tavmms::pdu::addressEntry(kSender);
    message.subject = QStringLiteral("Photo");
    message.contentType = {QStringLiteral("application"), QStringLiteral("vnd.wap.mms-message"),
                           QString()};
    message.body = tavmms::pdu::encodePdu(pdu);
    message.uri = location.toString();
    message.transactionId = pdu.text(Field::TransactionId);
    message.expiry = 86400;
    message.messageSize = unsigned(size);
    return message;
}

// A server answering every request with the bytes of `path`, written here first.
std::unique_ptr<MmscServer> serving(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return nullptr;
    file.close();
    return std::make_unique<MmscServer>(MmscServer::script({}, MmscServer::bodyFile(path)));
}

// The test MMSCs of the run, started once.
struct Servers {
    Servers()
        : mmsc(MmscServer::script({})),
          library(serving(benchDirectory() + QStringLiteral("/library.pdu"),
                          retrieveConf(QStringLiteral("library@mmsc"), kBodyBytes))),
          raw(serving(benchDirectory() + QStringLiteral("/raw.pdu"),
                      retrieveConf(QStringLiteral("raw-msg@mmsc"), kBodyBytes)))
    {
    }

    bool started() const
    {
        return mmsc.started() && library && library->started() && raw && raw->started();
    }

    MmscServer mmsc;
    const std::unique_ptr<MmscServer> library;
    const std::unique_ptr<MmscServer> raw;
};

// A plain GET of `url`, its answer read whole once it has come; empty when it fails.
QByteArray rawGet(QNetworkAccessManager& manager, const QUrl& url)
{
    const std::unique_ptr<QNetworkReply> reply(manager.get(QNetworkRequest(url)));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished())
        loop.exec();
    return reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray();
}

// The library's side of a pair: kept, untimed, before the pair runs.
class LibraryRetrieve
{
public:
    explicit LibraryRetrieve(const Servers& servers)
        : notification_(
              deferredNotification(servers.library->url(QStringLiteral("/get/1")), kBodyBytes)),
          client_(connectionTo(servers.mmsc))
    {
    }

    // Keeps the notification to fetch.
    bool prepare()
    {
        const Added kept = store_.keepNotification(notification_, tavmms::store::State::Deferred);
        id_ = kept.status.ok() ? kept.id : 0;
        return id_ != 0;
    }
    bool fetch()
    {
        const tavmms::mmsc::FetchResult fetched = client_.fetch(id_);
        return fetched.status.ok() && fetched.acknowledged;
    }
    unsigned int id() const { return id_; }

private:
    static tavmms::mmsc::Connection connectionTo(const MmscServer& mmsc)
    {
        tavmms::mmsc::Connection connection;
        connection.mmsc = mmsc.url();
        connection.timeout = 10s;
        connection.attempts = 1;
        return connection;
    }

    const tavmms::store::NewMessage notification_;
    MessageStore store_;
    tavmms::mmsc::MmscClient client_;
    unsigned int id_ = 0;
};

// The raw side of a pair: a plain GET and the store's add of what came.
class RawRetrieve
{
public:
    explicit RawRetrieve(const Servers& servers) : url_(servers.raw->url(QStringLiteral("/get/1")))
    {
        // As the library's client: straight to the server, whatever the environment says.
        manager_.setProxy(QNetworkProxy::NoProxy);
    }

    bool fetch()
    {
        const QByteArray bytes = rawGet(manager_, url_);
        const Added added = store_.receivePdu(bytes, url_.toString());
        id_ = added.status.ok() ? added.id : 0;
        return id_ != 0;
    }
    unsigned int id() const { return id_; }

private:
    const QUrl url_;
    QNetworkAccessManager manager_;
    MessageStore store_;
    unsigned int id_ = 0;
};

void BM_Paired_Retrieve(benchmark::State& state, const Servers* servers)
{
    if (!servers->started()) {
        state.SkipWithError("the test MMSC did not start");
        return;
    }
    const StoreOfItsOwn own(benchDirectory() + QStringLiteral("/retrieve"));
    // The message is over a fresh store's limit of 100 KB for a received message.
    MMS_UTIL_Setting::setMTSizeLimitationState(0);
    LibraryRetrieve library(*servers);
    RawRetrieve raw(*servers);
    MessageStore store;
    const auto removeBoth = [&] { store.remove({library.id(), raw.id()}); };
    // The first of each, untimed: the connections open, and each store object does once what it
    // does on its first use.
    if (!library.prepare() || !library.fetch() || !raw.fetch()) {
        state.SkipWithError("the first retrieve failed");
        return;
    }
    removeBoth();
    PairedTiming timing;
    for (auto _ : state) {
        state.PauseTiming();
        const bool prepared = library.prepare();
        state.ResumeTiming();
        const bool ok =
            prepared && timing.run([&] { return library.fetch(); }, [&] { return raw.fetch(); });
        state.PauseTiming();
        removeBoth();
        state.ResumeTiming();
        if (!ok) {
            state.SkipWithError("a retrieve failed");
            break;
        }
    }
    timing.report(state);
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    // Event loops and QtNetwork need the application object.
    QCoreApplication application(argc, argv);
    const Servers servers;
    benchmark::RegisterBenchmark("BM_Paired_Retrieve", BM_Paired_Retrieve, &servers)
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
