#ifndef TAVMMS_TESTS_TEMP_ADDRESS_BOOK_H
#define TAVMMS_TESTS_TEMP_ADDRESS_BOOK_H

#include "sqlite_address_book.h"
#include "vcard_reader.h"

#include "support/temp_settings_store.h"

#include <QByteArray>
#include <QString>

#include <memory>

namespace tavmms_test
{

// The default address book on a fresh file, with a settings store of its own for its region and
// owner, both installed while the object lives. The region is set to `region`.
class TempAddressBook
{
public:
    explicit TempAddressBook(const QString& region = QStringLiteral("DE"));
    TempAddressBook(const TempAddressBook&) = delete;
    TempAddressBook& operator=(const TempAddressBook&) = delete;

    bool isValid() const { return valid_; }
    QString path() const { return settings_.directory() + QStringLiteral("/contacts.db"); }
    tavplatform::SqliteAddressBook& book() { return *book_; }

    // Reads `vcards` and imports the contacts; a failure of either fails the test.
    void import(const QByteArray& vcards);

private:
    TempSettingsStore settings_;
    std::unique_ptr<tavplatform::SqliteAddressBook> book_;
    tavplatform::ScopedAddressBookService installed_;
    bool valid_;
};

} // namespace tavmms_test

#endif
