#ifndef TAVPLATFORM_ADDRESS_BOOK_SERVICE_H
#define TAVPLATFORM_ADDRESS_BOOK_SERVICE_H

#include "address_book_contact.h"
#include "address_book_types.h"
#include "service_slot.h"
#include "tavplatform_global.h"

#include <QList>
#include <QString>

#include <optional>

namespace tavplatform
{

// The address book behind ADDRBK_ENGINE_Interface; its two search operations mean what the
// engine's do.
class TAVPLATFORM_EXPORT AddressBookService
{
public:
    virtual ~AddressBookService();

    // ADDRBK_ENGINE_Interface::singleSearch and ::getOwnerNumber.
    virtual int singleSearch(ADDRBK_SEARCH_TYPE_T type, const QString& key,
                             ADDRBK_SEARCH_SINGLE_DATA_T& result, int timeoutMs,
                             bool* ambiguous) = 0;
    virtual bool getOwnerNumber(QString& name, QString& number) = 0;

    // The book's own keeping: contacts added, listed and removed, as the phone's contacts
    // application and an import of vCard files do.
    struct ImportCounts {
        int added = 0;    // contacts the book did not hold
        int replaced = 0; // contacts that replaced one it held (or one added before in the list)
    };
    // Adds `contacts`, all or none. A contact the book holds already is replaced (and keeps its
    // place): one with the same uid, or, for a contact without one, with the same name,
    // organization, numbers and addresses. So importing a file again changes nothing. Numbers and
    // addresses with nothing to search for (no digit, only blanks) are kept but never found.
    // Nothing, and the book unchanged, when it cannot be written.
    virtual std::optional<ImportCounts> importContacts(const QList<Contact>& contacts) = 0;

    // Makes the book hold exactly `contacts`, in their order, all or none: every contact it held
    // is removed and `contacts` added in one transaction. False, and the book unchanged, when it
    // cannot be written.
    virtual bool replaceContacts(const QList<Contact>& contacts) = 0;

    // Every contact, in the order they were first added; nothing when the book cannot be read.
    virtual std::optional<QList<Contact>> contacts() = 0;

    // Why the last search or listing could not read the book, naming its file ("the address book
    // '...' is damaged: ..."); empty when it could. A search that finds nothing for that reason
    // answers ADDRBK_SEARCH_UNAVAILABLE, which a caller may tell from "not found" only here.
    virtual QString readError() const = 0;

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
    virtual std::optional<Removal> removeContacts(const QList<Address>& addresses) = 0;
};

// The device's address book: "contacts.db" in the platform directory; empty when there is none.
TAVPLATFORM_EXPORT QString addressBookPath();

// The address book ADDRBK_ENGINE_Interface calls: the one installed, else the default (contacts on
// SQLite in the platform directory, the owner in the settings store).
TAVPLATFORM_EXPORT AddressBookService& addressBookService();
// Installs `service` (not owned; null restores the default) and returns the one it replaces.
TAVPLATFORM_EXPORT AddressBookService* setAddressBookService(AddressBookService* service);

// Installs a service (a test double) for the life of a scope.
using ScopedAddressBookService = ScopedService<AddressBookService, &setAddressBookService>;

} // namespace tavplatform

#endif
