#include "connection_options.h"

#include "mmshelpers.h"

#include <algorithm>

namespace cli
{

namespace mmsc = tavmms::mmsc;

ConnectionOptions::ConnectionOptions()
    : mmsc(QStringLiteral("mmsc"),
           QStringLiteral("The MMSC's address for this call (http or https), in place of the "
                          "default profile's server address."),
           QStringLiteral("URL")),
      proxy(QStringLiteral("proxy"),
            QStringLiteral("The HTTP proxy for this call, in place of the default profile's WAP "
                           "gateway and the port of its connection type; 'none' for none."),
            QStringLiteral("HOST:PORT")),
      timeout(QStringLiteral("timeout"),
              QStringLiteral("Seconds one HTTP exchange may take (default 60)."),
              QStringLiteral("S")),
      attempts(QStringLiteral("attempts"),
               QStringLiteral("How often a transient failure is tried in all (default 4); the "
                              "delays between attempts are 2 s, 4 s, 8 s, ..."),
               QStringLiteral("N")),
      caFile(QStringLiteral("ca-file"),
             QStringLiteral("A file of PEM certificates trusted for https beside the system's."),
             QStringLiteral("FILE"))
{
}

QString ConnectionOptions::given(const QCommandLineParser& parser) const
{
    for (const QCommandLineOption& option : all()) {
        if (parser.isSet(option))
            return QStringLiteral("--") + option.names().constFirst();
    }
    return QString();
}

std::optional<int> ConnectionOptions::connection(const QCommandLineParser& parser,
                                                 const Command& command,
                                                 mmsc::Connection* connection) const
{
    tavmms::store::Status status;
    *connection = mmsc::profileConnection(&status);
    if (!status.ok())
        return fail(status.text);
    if (parser.isSet(mmsc))
        connection->mmsc = QUrl(parser.value(mmsc));
    if (parser.isSet(proxy)) {
        const QString text = parser.value(proxy);
        const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
        bool ok = false;
        const uint port = colon > 0 ? text.mid(colon + 1).toUInt(&ok) : 0;
        if (text == QLatin1String("none")) {
            connection->proxyHost.clear();
        } else if (!ok || port == 0 || port > 65535) {
            return usageError(command.name,
                              QStringLiteral("--proxy: '%1' is no HOST:PORT").arg(text));
        } else {
            connection->proxyHost = text.left(colon);
            connection->proxyPort = quint16(port);
        }
    }
    std::optional<unsigned int> number;
    if (const std::optional<int> stop = numberOf(parser, timeout, command, &number))
        return stop;
    if (number)
        connection->timeout = std::chrono::seconds(std::max(*number, 1u));
    number.reset();
    if (const std::optional<int> stop = numberOf(parser, attempts, command, &number))
        return stop;
    if (number)
        connection->attempts = int(qBound(1u, *number, 10u));
    connection->caCertificates = parser.value(caFile);
    return std::nullopt;
}

} // namespace cli
