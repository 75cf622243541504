#ifndef TAVMMS_BENCH_RAW_SQLITE_H
#define TAVMMS_BENCH_RAW_SQLITE_H

// Handles of the engine's C interface for the benchmarks' raw baselines, closed when dropped.

#include <sqlite3.h>

#include <QFile>
#include <QString>

#include <memory>

struct ConnectionCloser {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementPtr = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;
using ConnectionPtr = std::unique_ptr<sqlite3, ConnectionCloser>;

// A connection to `path` set up as the library's stores set up theirs: WAL, synchronous=FULL and a
// 5000 ms busy timeout. Null when any of that fails.
inline ConnectionPtr openRawConnection(const QString& path)
{
    sqlite3* db = nullptr;
    const int opened =
        sqlite3_open_v2(QFile::encodeName(path).constData(), &db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    ConnectionPtr connection(db);
    if (opened != SQLITE_OK)
        return nullptr;
    sqlite3_busy_timeout(db, 5000);
    for (const char* pragma : {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL"}) {
        if (sqlite3_exec(db, pragma, nullptr, nullptr, nullptr) != SQLITE_OK)
            return nullptr;
    }
    return connection;
}

#endif
