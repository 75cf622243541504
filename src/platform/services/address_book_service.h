#ifndef TAVPLATFORM_ADDRESS_BOOK_SERVICE_H
#define TAVPLATFORM_ADDRESS_BOOK_SERVICE_H

#include "address_book_types.h"
#include "service_slot.h"
#include "tavplatform_global.h"

#include <QString>

namespace tavplatform
{

// The address book behind ADDRBK_ENGINE_Interface; its two operations mean what the engine's
// do.
class TAVPLATFORM_EXPORT AddressBookService
{
public:
    virtual ~AddressBookService();

    // ADDRBK_ENGINE_Interface::singleSearch and ::getOwnerNumber.
    virtual int singleSearch(ADDRBK_SEARCH_TYPE_T type, const QString& key,
                             ADDRBK_SEARCH_SINGLE_DATA_T& result, int timeoutMs,
                             bool* ambiguous) = 0;
    virtual bool getOwnerNumber(QString& name, QString& number) = 0;
};

// The address book ADDRBK_ENGINE_Interface calls: the one installed, else the default (contacts on
// SQLite in the platform directory, the owner in the settings store).
TAVPLATFORM_EXPORT AddressBookService& addressBookService();
// Installs `service` (not owned; null restores the default) and returns the one it replaces.
TAVPLATFORM_EXPORT AddressBookService* setAddressBookService(AddressBookService* service);

// Installs a service (a test double) for the life of a scope.
using ScopedAddressBookService = ScopedService<AddressBookService, &setAddressBookService>;

} // namespace tavplatform

#endif
