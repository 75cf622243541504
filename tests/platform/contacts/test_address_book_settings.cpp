// The address book's settings: the region and the owner, in the settings store's group
// "TAV_Address_Book", on a real store and on a double that refuses.

#include "address_book_settings.h"
#include "phone_number_match.h"

#include "support/mock_settings_store.h"
#include "support/temp_settings_store.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace
{

using tavmms_test::expectWrite;
using tavmms_test::MockSettingsStore;
using tavplatform::addressBookOwner;
using tavplatform::addressBookRegion;
using tavplatform::setAddressBookOwner;
using tavplatform::setAddressBookRegion;
using ::testing::StrictMock;

const QString kGroup = QStringLiteral("TAV_Address_Book");

class AddressBookSettingsTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(store.isValid()); }

    QMap<QString, QString> stored() { return store.store().entries(kGroup); }

    tavmms_test::TempSettingsStore store;
};

TEST_F(AddressBookSettingsTest, RegionNotStoredIsSystemLocalesCountry)
{
    EXPECT_EQ(addressBookRegion(), tavplatform::regionOfLocale(QLocale::system()));
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(AddressBookSettingsTest, RegionIsStoredInUpperCase)
{
    ASSERT_TRUE(setAddressBookRegion(QStringLiteral("fr")));
    EXPECT_EQ(addressBookRegion(), QStringLiteral("FR"));
    EXPECT_EQ(stored(),
              (QMap<QString, QString>{{QStringLiteral("Default_Region"), QStringLiteral("FR")}}));
    ASSERT_TRUE(setAddressBookRegion(QStringLiteral("ZZ")));
    EXPECT_EQ(addressBookRegion(), QStringLiteral("ZZ"));
}

TEST_F(AddressBookSettingsTest, UnknownRegionIsRefusedAndStoredOneKept)
{
    ASSERT_TRUE(setAddressBookRegion(QStringLiteral("DE")));
    for (const QString& region : {QStringLiteral("XX"), QString(), QStringLiteral("DEU")}) {
        errno = 0;
        EXPECT_FALSE(setAddressBookRegion(region)) << region.toStdString();
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(addressBookRegion(), QStringLiteral("DE"));
}

TEST_F(AddressBookSettingsTest, OwnerIsEmptyUntilStored)
{
    const tavplatform::AddressBookOwner owner = addressBookOwner();
    EXPECT_TRUE(owner.name.isEmpty());
    EXPECT_TRUE(owner.number.isEmpty());
}

TEST_F(AddressBookSettingsTest, OwnerIsStoredUnderItsTwoKeys)
{
    ASSERT_TRUE(setAddressBookOwner({QStringLiteral("Olga"), QStringLiteral("+49 171 1")}));
    const tavplatform::AddressBookOwner owner = addressBookOwner();
    EXPECT_EQ(owner.name, QStringLiteral("Olga"));
    EXPECT_EQ(owner.number, QStringLiteral("+49 171 1"));
    EXPECT_EQ(stored(), (QMap<QString, QString>{
                            {QStringLiteral("Owner_Name"), QStringLiteral("Olga")},
                            {QStringLiteral("Owner_Number"), QStringLiteral("+49 171 1")}}));
}

TEST(AddressBookSettingsRefusedTest, RefusedOwnerWriteIsReportedWithStoresErrno)
{
    StrictMock<MockSettingsStore> store;
    tavplatform::ScopedSettingsStoreService installed(&store);
    expectWrite(store, kGroup, QStringLiteral("Owner_Name"), QStringLiteral("Olga"), ENOSPC);
    errno = 0;
    EXPECT_FALSE(setAddressBookOwner({QStringLiteral("Olga"), QStringLiteral("1")}));
    EXPECT_EQ(errno, ENOSPC);
}

TEST(AddressBookSettingsRefusedTest, RefusedRegionWriteIsReportedWithStoresErrno)
{
    StrictMock<MockSettingsStore> store;
    tavplatform::ScopedSettingsStoreService installed(&store);
    expectWrite(store, kGroup, QStringLiteral("Default_Region"), QStringLiteral("CN"), EROFS);
    errno = 0;
    EXPECT_FALSE(setAddressBookRegion(QStringLiteral("cn")));
    EXPECT_EQ(errno, EROFS);
}

} // namespace
