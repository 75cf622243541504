#ifndef TAVMMS_BENCH_RAW_SQLITE_H
#define TAVMMS_BENCH_RAW_SQLITE_H

// Handles of the engine's C interface for the benchmarks' raw baselines, closed when dropped.

#include <sqlite3.h>

#include <memory>

struct ConnectionCloser {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementPtr = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

#endif
