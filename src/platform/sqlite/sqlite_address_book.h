#ifndef TAVPLATFORM_SQLITE_ADDRESS_BOOK_H
#define TAVPLATFORM_SQLITE_ADDRESS_BOOK_H

#include "address_book_service.h"

#include <QList>
#include <QString>

#include <memory>
#include <optional>

namespace tavplatform
{

// The address book on SQLite: one file, opened on first use and kept open for the process, in WAL
// mode, so that searches read while another process imports. Each number and address is kept with
// its search key (phoneNumberKey() in the region of addressBookRegion(), emailKey()), and an index
// on the keys makes a search cost the same in a book of any size. When the region changes, the
// next search or import makes the numbers' keys anew. The owner comes from the settings store
// (addressBookOwner()).
class SqliteAddressBook : public AddressBookService
{
public:
    // `busyTimeoutMs`: how long a change waits while another process changes the book. Nothing
    // is opened before the first call that needs the file.
    explicit SqliteAddressBook(QString path, int busyTimeoutMs = 5000);
    ~SqliteAddressBook() override;

    // A number is matched by its key, an address by its key too (letter case does not count).
    // Searches read a snapshot of the book, which a process changing it does not hold up. Only a
    // search that must write first (make the book on first use, or make the numbers' keys anew
    // for a new region) waits for such a process: `timeoutMs` in all, opening included, in place
    // of the busy timeout, and not at all when it is 0 or less.
    int singleSearch(ADDRBK_SEARCH_TYPE_T type, const QString& key,
                     ADDRBK_SEARCH_SINGLE_DATA_T& result, int timeoutMs, bool* ambiguous) override;
    bool getOwnerNumber(QString& name, QString& number) override;

    std::optional<ImportCounts> importContacts(const QList<Contact>& contacts) override;
    bool replaceContacts(const QList<Contact>& contacts) override;
    std::optional<QList<Contact>> contacts() override;
    QString readError() const override;
    std::optional<Removal> removeContacts(const QList<Address>& addresses) override;

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

} // namespace tavplatform

#endif
