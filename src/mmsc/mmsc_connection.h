#ifndef TAVMMS_MMSC_MMSC_CONNECTION_H
#define TAVMMS_MMSC_MMSC_CONNECTION_H

// Where the phone's MMSC is and how to reach it: the default MMS profile's server address, its WAP
// gateway as an HTTP proxy, and how long to wait and how often to try.

#include "message_store_types.h"
#include "tavmms_global.h"

#include <QString>
#include <QUrl>

#include <chrono>

namespace tavmms::mmsc
{

// The proxy's port when the profile's connection type names none: the port MMS proxies commonly
// listen on.
constexpr quint16 kDefaultProxyPort = 8080;

// The port of the WAP gateway for the profile's "MMS_Connection_Type": a profile keeps an address
// but no port, so the type stands for one. 1 is an HTTP proxy on the web's port 80, 2 one on 8080;
// 0 (none set) and every other type take kDefaultProxyPort.
TAVMMS_EXPORT quint16 proxyPortFor(unsigned int connectionType);
// The dotted form of the gateway's IPv4 address as the profile keeps it, an unsigned int with the
// first number in its most significant byte (10.0.0.1 is 0x0A000001); empty for 0, no gateway.
TAVMMS_EXPORT QString gatewayAddress(unsigned int wapGateway);
// `url` as it may be shown or logged: without user name, password, query or fragment, which may
// carry credentials or say what a message is.
TAVMMS_EXPORT QString shownUrl(const QUrl& url);

struct TAVMMS_EXPORT Connection {
    QString profile;   // the profile it came from, to name in errors; empty when given by hand
    QUrl mmsc;         // http or https
    QString proxyHost; // empty: none, the MMSC is reached directly
    quint16 proxyPort = kDefaultProxyPort;
    // One HTTP exchange, from its request to the last byte of its answer.
    std::chrono::milliseconds timeout{60000};
    // A transient failure (an Error-transient status, HTTP 5xx, a timeout, a refused or broken
    // connection) is tried again after `firstRetryDelay`, twice that, and so on, up to `attempts`
    // tries in all; a permanent one is not.
    int attempts = 4;
    std::chrono::milliseconds firstRetryDelay{2000};
    // A file of PEM certificates trusted for https beside the system's (an operator's own
    // authority); empty: the system's alone.
    QString caCertificates;
};

// The connection of the default MMS profile: its server address, and its WAP gateway with the
// port of its connection type. Failed, naming the file, when the settings store cannot be read;
// a profile without a server address gives a connection without one, which a transaction refuses
// (a caller may set one first).
TAVMMS_EXPORT Connection profileConnection(store::Status* status);

} // namespace tavmms::mmsc

#endif
