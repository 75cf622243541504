#ifndef TAVMMS_BENCH_RAW_FILE_H
#define TAVMMS_BENCH_RAW_FILE_H

// The plain system calls of a durable file save, for the raw baselines of the benchmarks that
// write mail files.

#include <QByteArray>

// Writes `bytes` to `path`, made or emptied, and syncs it before closing it; false when any of
// that failed.
bool writeSyncedFile(const QByteArray& path, const QByteArray& bytes);

// Syncs the directory `path`, so that the names made or changed in it last; false when that
// failed.
bool syncDirectory(const QByteArray& path);

#endif
