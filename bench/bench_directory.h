#ifndef TAVMMS_BENCH_DIRECTORY_H
#define TAVMMS_BENCH_DIRECTORY_H

#include <QString>

// The directory the benchmarks work in: a fresh one under $TAVMMS_BENCH_DIR, else under the
// system's temporary directory, or under the current directory when that one is a tmpfs (which
// would hide the cost of syncing). Made on first use, removed at exit.
const QString& benchDirectory();

bool isTmpfs(const QString& path);

// Names the directory, and whether it is a tmpfs, among the context lines of the report.
void addBenchDirectoryContext();

#endif
