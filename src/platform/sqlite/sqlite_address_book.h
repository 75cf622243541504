#ifndef TAVPLATFORM_SQLITE_ADDRESS_BOOK_H
#define TAVPLATFORM_SQLITE_ADDRESS_BOOK_H

#include "address_book_contact.h"
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
class TAVPLATFORM_EXPORT SqliteAddressBook : public AddressBookService
{
public:
    // The device's address book: "contacts.db" in the platform directory.
    static QString defaultPath();

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

    struct ImportCounts {
        int added = 0;    // contacts the book did not hold
        int replaced = 0; // contacts that replaced one it held (or one added before in the list)
    };
    // Adds `contacts`, all or none. A contact the book holds already is replaced (and keeps its
    // place): one with the same uid, or, for a contact without one, with the same name,
    // organization, numbers and addresses. So importing a file again changes nothing. Numbers and
    // addresses with nothing to search for (no digit, only blanks) are kept but never found.
    // Nothing, and the book unchanged, when it cannot be written.
    std::optional<ImportCounts> importContacts(const QList<Contact>& contacts);

    // Every contact, in the order they were first added; nothing when the book cannot be read.
    std::optional<QList<Contact>> contacts();

    // Why the last search or listing could not read the book, naming its file ("the address book
    // '...' is damaged: ..."); empty when it could. A search that finds nothing for that reason
    // answers ADDRBK_SEARCH_UNAVAILABLE, which a caller may tell from "not found" only here.
    QString readError() const;

    // A number or e-mail address to remove the contacts of, matched as singleSearch() matches
    // `text` as a `type`.
    struct Address {
        ADDRBK_SEARCH_TYPE_T type;
        QString text;
    };
    struct Removal {
        QList<Contact> contacts;    // the contacts removed, in the order they were first added
        QList<qsizetype> unmatched; // the positions in `addresses` that no contact held
    };
    // Removes every contact holding one of `addresses`, all or none; contacts without a name
    // too. An address counts as matched even when another of `addresses` removes its contact.
    // An address with nothing to search for, or of another type, matches nothing. Nothing, and
    // the book unchanged, when it cannot be written.
    std::optional<Removal> removeContacts(const QList<Address>& addresses);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

} // namespace tavplatform

#endif
