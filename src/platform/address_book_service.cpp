#include "address_book_service.h"

#include "sqlite_address_book.h"

namespace tavplatform
{

namespace
{

ServiceSlot<AddressBookService>& bookSlot()
{
    static ServiceSlot<AddressBookService> instance([]() -> std::unique_ptr<AddressBookService> {
        return std::make_unique<SqliteAddressBook>(SqliteAddressBook::defaultPath());
    });
    return instance;
}

} // namespace

AddressBookService::~AddressBookService() = default;

AddressBookService& addressBookService()
{
    return bookSlot().get();
}

AddressBookService* setAddressBookService(AddressBookService* service)
{
    return bookSlot().install(service);
}

} // namespace tavplatform
