#ifndef TAVPLATFORM_DEFAULT_SERVICES_H
#define TAVPLATFORM_DEFAULT_SERVICES_H

// The implementations that stand behind the services no one has replaced, made on their first
// use. They are the back ends' (defined beside them), so that the service interfaces depend on
// none of them.

#include <memory>

namespace tavplatform
{

class AddressBookService;
class DatabaseService;
class SettingsStoreService;

std::unique_ptr<DatabaseService> makeDefaultDatabase();
std::unique_ptr<SettingsStoreService> makeDefaultSettingsStore();
std::unique_ptr<AddressBookService> makeDefaultAddressBook();

} // namespace tavplatform

#endif
