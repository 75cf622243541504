#ifndef MMSUTIL_CONNECTION_OPTIONS_H
#define MMSUTIL_CONNECTION_OPTIONS_H

// The options of every command that talks to the MMSC: where it is, through which proxy, and how
// long and how often to try. They stand over the default profile's connection for one call.

#include "cli.h"

#include <tavmmsutility.h>

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>

#include <optional>

namespace cli
{

struct ConnectionOptions {
    ConnectionOptions();

    QCommandLineOption mmsc;
    QCommandLineOption proxy;
    QCommandLineOption timeout;
    QCommandLineOption attempts;
    QCommandLineOption caFile;

    QList<QCommandLineOption> all() const { return {mmsc, proxy, timeout, attempts, caFile}; }
    // The name of the first of them given, as it is written ("--mmsc"); empty when none is.
    QString given(const QCommandLineParser& parser) const;

    // The default profile's connection with the options given over it; the exit status when the
    // command must stop here (the settings cannot be read, an option's value is malformed).
    std::optional<int> connection(const QCommandLineParser& parser, const Command& command,
                                  tavmms::mmsc::Connection* connection) const;
};

} // namespace cli

#endif
