#ifndef TAVMMS_MMSC_MMSC_CLIENT_H
#define TAVMMS_MMSC_MMSC_CLIENT_H

// The phone's side of its transactions with the MMSC, over HTTP, each kept in the message store
// as it goes:
//
// - send: a message waiting in the outbox is POSTed as an m-send.req; the m-send.conf moves it to
//   the sent messages with its Message-ID, or marks it failed with the MMSC's words;
// - notify: an m-notification.ind (which the modem's WAP push brought) is kept as a message in the
//   inbox, then fetched, deferred or rejected as the settings say, and the MMSC told which in an
//   m-notifyresp.ind;
// - fetch: a deferred message is fetched by hand, and acknowledged;
// - report: a delivery report (m-delivery.ind) or read report (m-read-orig.ind) reaches the sent
//   message it is about;
// - markRead: received messages are marked read, and those whose sender asked for a read report
//   send one (m-read-rec.ind) while the settings allow reports.
//
// Every transaction has two forms. The asynchronous one returns at once and calls `done` once, from
// the caller's thread's Qt event loop, which must run; destroying the client first aborts it and
// `done` is not called. The blocking one runs a local event loop on the caller's thread until the
// transaction ends or `timeLimit()` passes, which stops every transaction the client runs. The
// library starts no threads.
//
// Requests go to the connection's MMSC through its proxy. A transient failure (an Error-transient
// status, HTTP 5xx, a timeout, a refused or broken connection) is tried again after the
// connection's delay, doubled each time, up to its attempts; a permanent one is not. Nothing is
// logged: errors are results, and the URLs they name are shown without credentials or query.

#include "message_store_types.h"
#include "mmsc_connection.h"
#include "tavmms_global.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace tavmms::mmsc
{

struct TAVMMS_EXPORT SendResult {
    store::Status status; // Refused: the MMSC said no for good; Unreachable: in no attempt
    unsigned int id = 0;
    quint64 responseStatus = 0; // the m-send.conf's X-Mms-Response-Status; 0 without one
    QString responseText;
    QString messageId; // the MMSC's Message-ID of the message
    int attempts = 0;
};

// What became of a notification.
enum class Decision {
    None,      // it was not kept (it does not read, or the store failed): the MMSC offers it again
    Fetched,   // the message is in the inbox
    Deferred,  // kept to be fetched later: roaming with delayed retrieval, automatic download
               // off, or the fetch failed
    Rejected,  // refused: expired, over the MT size limit, or from a blocked sender
    Duplicate, // a message with its Content-Location is kept already: not fetched twice
};
// "fetched", "deferred", "rejected", "duplicate"; empty for None.
TAVMMS_EXPORT QString decisionName(Decision decision);

struct TAVMMS_EXPORT NotifyResult {
    // Done when the notification was dealt with as `decision` says and the MMSC told; else why
    // not (a fetch that failed, Blocked, TooLarge, Duplicate for those decisions).
    store::Status status;
    Decision decision = Decision::None;
    QString reason;      // why deferred or rejected, one line
    unsigned int id = 0; // the message kept for it; 0: none
    QString transactionId;
    // What the MMSC was told in the m-notifyresp.ind, and whether that got through.
    std::optional<quint8> response;
    bool responded = false;
    QString responseError; // why it did not get through
};

struct TAVMMS_EXPORT FetchResult {
    store::Status status;
    unsigned int id = 0;
    // The PDU that acknowledged the fetch ("m-acknowledge.ind", or "m-notifyresp.ind" when the
    // MMSC asked for no acknowledgement), and whether it got through.
    QString acknowledgement;
    bool acknowledged = false;
    QString acknowledgementError;
};

struct TAVMMS_EXPORT ReportResult {
    store::Status status; // NotFound: no sent message has the Message-ID
    enum Kind { Delivery, Read } kind = Delivery;
    QString messageId;
    QString recipient;       // who the report is about, as the PDU carries the address
    quint64 value = 0;       // the X-Mms-Status, or the X-Mms-Read-Status
    QList<unsigned int> ids; // the messages it reached
};

struct TAVMMS_EXPORT ReadResult {
    store::Status status; // the marking; a read report that failed is in `reportErrors`
    QList<unsigned int> marked;
    QList<unsigned int> reported; // a read report went for these
    QStringList reportErrors;     // one line each: "message 4: ..."
};

class TAVMMS_EXPORT MmscClient
{
public:
    explicit MmscClient(const Connection& connection);
    ~MmscClient();
    MmscClient(const MmscClient&) = delete;
    MmscClient& operator=(const MmscClient&) = delete;

    const Connection& connection() const;
    // How long a blocking call waits: by default, every attempt's timeout and every delay
    // between them, for the two exchanges a transaction makes.
    std::chrono::milliseconds timeLimit() const;
    void setTimeLimit(std::chrono::milliseconds limit);

    SendResult send(unsigned int id);
    // `roaming`: the phone is on a network not its own (the caller knows; the library has no
    // modem).
    NotifyResult notify(const QByteArray& notification, bool roaming);
    FetchResult fetch(unsigned int id);
    // No exchange with the MMSC: the report is kept at once.
    ReportResult report(const QByteArray& pdu);
    ReadResult markRead(const QList<unsigned int>& ids);

    void sendAsync(unsigned int id, std::function<void(const SendResult&)> done);
    void notifyAsync(const QByteArray& notification, bool roaming,
                     std::function<void(const NotifyResult&)> done);
    void fetchAsync(unsigned int id, std::function<void(const FetchResult&)> done);
    void markReadAsync(const QList<unsigned int>& ids, std::function<void(const ReadResult&)> done);

private:
    struct TAVMMS_HIDDEN Impl;
    std::unique_ptr<Impl> d;
};

} // namespace tavmms::mmsc

#endif
