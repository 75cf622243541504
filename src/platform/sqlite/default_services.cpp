#include "default_services.h"

#include "sqlite_address_book.h"
#include "sqlite_database.h"
#include "sqlite_settings_store.h"

namespace tavplatform
{

std::unique_ptr<DatabaseService> makeDefaultDatabase()
{
    return std::make_unique<SqliteDatabase>(deviceDatabasePath());
}

std::unique_ptr<SettingsStoreService> makeDefaultSettingsStore()
{
    return std::make_unique<SqliteSettingsStore>(SqliteSettingsStore::defaultPath());
}

std::unique_ptr<AddressBookService> makeDefaultAddressBook()
{
    return std::make_unique<SqliteAddressBook>(addressBookPath());
}

} // namespace tavplatform
