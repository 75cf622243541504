#include "address_book_service.h"

#include "default_services.h"
#include "platform_dir.h"

namespace tavplatform
{

namespace
{

ServiceSlot<AddressBookService>& bookSlot()
{
    static ServiceSlot<AddressBookService> instance(makeDefaultAddressBook);
    return instance;
}

} // namespace

AddressBookService::~AddressBookService() = default;

QString addressBookPath()
{
    return platformFilePath(QStringLiteral("contacts.db"));
}

AddressBookService& addressBookService()
{
    return bookSlot().get();
}

AddressBookService* setAddressBookService(AddressBookService* service)
{
    return bookSlot().install(service);
}

} // namespace tavplatform
