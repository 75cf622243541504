#ifndef TAVMMS_BENCH_STORE_OF_ITS_OWN_H
#define TAVMMS_BENCH_STORE_OF_ITS_OWN_H

#include "db_service.h"
#include "sqlite_database.h"

#include "support/scoped_environment.h"

#include <QString>

// A store in a directory of its own, `root`: while the object lives the store's directories
// (TAV_PLATFORM_DIR, TAV_LOCAL_DOWNLOAD_PATH) point at "platform" and "download" in it and its
// device database ("platform/device.db") is the one installed, so that a store a benchmark fills
// once is found by the next object made on the same root.
class StoreOfItsOwn
{
public:
    explicit StoreOfItsOwn(const QString& root);
    StoreOfItsOwn(const StoreOfItsOwn&) = delete;
    StoreOfItsOwn& operator=(const StoreOfItsOwn&) = delete;

    const QString& root() const { return root_; }

private:
    QString root_;
    tavmms_test::ScopedEnvironment platform_, download_;
    tavplatform::SqliteDatabase database_;
    tavplatform::ScopedDatabaseService installed_;
};

#endif
