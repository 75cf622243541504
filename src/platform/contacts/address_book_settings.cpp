#include "address_book_settings.h"

#include "phone_number_match.h"
#include "settings_service.h"

#include <cerrno>

namespace tavplatform
{

namespace
{

const QString kGroup = QStringLiteral("TAV_Address_Book");
const QString kRegionKey = QStringLiteral("Default_Region");
const QString kOwnerNameKey = QStringLiteral("Owner_Name");
const QString kOwnerNumberKey = QStringLiteral("Owner_Number");

QString storedText(const QString& key, const QString& defaultValue)
{
    QString value;
    settingsStoreService().readText(kGroup, key, value, defaultValue, false);
    return value;
}

} // namespace

QString addressBookRegion()
{
    QString region;
    if (!settingsStoreService().readText(kGroup, kRegionKey, region, QString(), false))
        return regionOfLocale(QLocale::system());
    return region;
}

bool setAddressBookRegion(const QString& region)
{
    const QString code = region.toUpper();
    if (!isKnownRegion(code)) {
        errno = EINVAL;
        return false;
    }
    return settingsStoreService().writeText(kGroup, kRegionKey, code, false);
}

AddressBookOwner addressBookOwner()
{
    return {storedText(kOwnerNameKey, QString()), storedText(kOwnerNumberKey, QString())};
}

bool setAddressBookOwner(const AddressBookOwner& owner)
{
    SettingsStoreService& store = settingsStoreService();
    return store.writeText(kGroup, kOwnerNameKey, owner.name, false) &&
           store.writeText(kGroup, kOwnerNumberKey, owner.number, false);
}

} // namespace tavplatform
