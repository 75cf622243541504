#include "bench_directory.h"

#include <benchmark/benchmark.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <linux/magic.h>
#include <sys/vfs.h>

bool isTmpfs(const QString& path)
{
    struct statfs info;
    return ::statfs(QFile::encodeName(path).constData(), &info) == 0 && info.f_type == TMPFS_MAGIC;
}

const QString& benchDirectory()
{
    static const QString base = [] {
        const QString chosen = qEnvironmentVariable("TAVMMS_BENCH_DIR");
        if (!chosen.isEmpty())
            return chosen;
        return isTmpfs(QDir::tempPath()) ? QDir::currentPath() : QDir::tempPath();
    }();
    static const QTemporaryDir directory(base + QStringLiteral("/tavmms-bench-XXXXXX"));
    if (!directory.isValid()) {
        std::fprintf(stderr, "cannot create a benchmark directory under %s\n", qPrintable(base));
        std::exit(1);
    }
    static const QString path = directory.path();
    return path;
}

void addBenchDirectoryContext()
{
    benchmark::AddCustomContext("bench_dir", benchDirectory().toStdString());
    benchmark::AddCustomContext("bench_dir_is_tmpfs", isTmpfs(benchDirectory()) ? "yes" : "no");
}
