#include "db_service.h"

#include "default_services.h"
#include "platform_dir.h"

namespace tavplatform
{

namespace
{

ServiceSlot<DatabaseService>& slot()
{
    static ServiceSlot<DatabaseService> instance(makeDefaultDatabase);
    return instance;
}

} // namespace

DatabaseService::~DatabaseService() = default;

QString deviceDatabasePath()
{
    return platformFilePath(QStringLiteral("device.db"));
}

DatabaseService& databaseService()
{
    return slot().get();
}

DatabaseService* setDatabaseService(DatabaseService* service)
{
    return slot().install(service);
}

} // namespace tavplatform
