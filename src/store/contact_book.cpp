#include "contact_book.h"

#include "address_book_service.h"
#include "address_book_settings.h"
#include "mms_util_common.h"
#include "vcard_reader.h"

namespace tavmms::store
{

namespace
{

using tavplatform::AddressBookService;
using tavplatform::addressBookService;

// Where a failure says the book lies; false, with `error` set, when there is no place for it.
bool bookIsPlaced(QString* error)
{
    if (!tavplatform::addressBookPath().isEmpty())
        return true;
    *error = QStringLiteral("there is no platform directory for the address book");
    return false;
}

QString cannot(const char* what)
{
    return QStringLiteral("cannot %1 the address book '%2'")
        .arg(QLatin1String(what), tavplatform::addressBookPath());
}

} // namespace

std::optional<ContactImport> importVCards(const QList<VCardFile>& files, QString* error)
{
    QList<Contact> contacts;
    ContactImport import;
    for (const VCardFile& file : files) {
        const tavplatform::VCardReading reading = tavplatform::readVCards(file.data);
        contacts += reading.contacts;
        for (const tavplatform::VCardProblem& problem : reading.problems)
            import.skipped.append({file.name, problem.line, problem.lines, problem.reason});
    }
    if (!bookIsPlaced(error))
        return std::nullopt;
    const std::optional<AddressBookService::ImportCounts> counts =
        addressBookService().importContacts(contacts);
    if (!counts) {
        *error = cannot("write");
        return std::nullopt;
    }
    import.contacts = contacts.size();
    import.added = counts->added;
    import.replaced = counts->replaced;
    return import;
}

bool replaceContacts(const QList<Contact>& contacts, QString* error)
{
    if (!bookIsPlaced(error))
        return false;
    if (!addressBookService().replaceContacts(contacts)) {
        *error = cannot("write");
        return false;
    }
    return true;
}

std::optional<QList<Contact>> listContacts(QString* error)
{
    if (!bookIsPlaced(error))
        return std::nullopt;
    AddressBookService& book = addressBookService();
    std::optional<QList<Contact>> contacts = book.contacts();
    if (!contacts) {
        const QString why = book.readError();
        *error = why.isEmpty() ? cannot("read") : why;
    }
    return contacts;
}

std::optional<ContactMatch> lookupContact(const MMS_UTIL_Entry& address, QString* error)
{
    if (!bookIsPlaced(error))
        return std::nullopt;
    MMS_UTIL_Entry entry = address;
    MMS_UTIL_CONTACT_INFO_T info;
    MMS_UTIL_Common::srchContactInfoByVal(info, entry);
    if (const QString why = addressBookService().readError(); !why.isEmpty()) {
        *error = why;
        return std::nullopt;
    }
    // Without a hit the detail stays empty and the name is the address itself.
    if (info.contactDetail.isEmpty())
        return std::nullopt;
    return ContactMatch{info.contactName, info.contactDetail};
}

std::optional<ContactRemoval> removeContacts(const QList<MMS_UTIL_Entry>& addresses, QString* error)
{
    QList<AddressBookService::Address> wanted;
    for (const MMS_UTIL_Entry& address : addresses) {
        // Every type but e-mail is a phone number to the address book, as in a lookup.
        wanted.append(
            {address.type == MMS_UTIL_ADDR_EMAIL ? ADDRBK_SEARCH_BY_EMAIL : ADDRBK_SEARCH_BY_NUMBER,
             address.address});
    }
    if (!bookIsPlaced(error))
        return std::nullopt;
    std::optional<AddressBookService::Removal> removal =
        addressBookService().removeContacts(wanted);
    if (!removal) {
        *error = cannot("write");
        return std::nullopt;
    }
    return ContactRemoval{removal->contacts, removal->unmatched};
}

bool setOwner(const QString& name, const QString& number)
{
    return tavplatform::setAddressBookOwner({name, number});
}

QString contactRegion()
{
    return tavplatform::addressBookRegion();
}

bool setContactRegion(const QString& region)
{
    return tavplatform::setAddressBookRegion(region);
}

} // namespace tavmms::store
