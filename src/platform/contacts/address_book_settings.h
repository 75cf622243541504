#ifndef TAVPLATFORM_ADDRESS_BOOK_SETTINGS_H
#define TAVPLATFORM_ADDRESS_BOOK_SETTINGS_H

#include "tavplatform_global.h"

#include <QString>

namespace tavplatform
{

// The address book's settings, kept in the settings store's group "TAV_Address_Book".

// The region national phone numbers are read in, a two-letter code such as "DE" (key
// "Default_Region"). Not stored, it is the country of the system's locale, or "ZZ" (no region:
// only numbers written internationally match their other forms) when the locale names none.
TAVPLATFORM_EXPORT QString addressBookRegion();
// Stores `region` in upper case; false with errno EINVAL when phone numbers are not known for it,
// else false with the store's errno when it refuses.
TAVPLATFORM_EXPORT bool setAddressBookRegion(const QString& region);

// The phone owner (keys "Owner_Name" and "Owner_Number"), empty texts when not stored. The owner
// is known when the number is not empty.
struct AddressBookOwner {
    QString name;
    QString number;
};
TAVPLATFORM_EXPORT AddressBookOwner addressBookOwner();
// Stores both, the name first; false with the store's errno when it refuses either (a refused
// name leaves the number as it was).
TAVPLATFORM_EXPORT bool setAddressBookOwner(const AddressBookOwner& owner);

} // namespace tavplatform

#endif
