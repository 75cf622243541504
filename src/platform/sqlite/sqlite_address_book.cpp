#include "sqlite_address_book.h"

#include "address_book_settings.h"
#include "phone_number_match.h"
#include "platform_dir.h"
#include "sqlconnection.h"

#include <QCryptographicHash>
#include <QHash>

#include <set>
#include <variant>

namespace tavplatform
{

using sql::Status;

namespace
{

const char kCreateSchema[] =
    "CREATE TABLE IF NOT EXISTS contacts (id INTEGER PRIMARY KEY, identity TEXT NOT NULL UNIQUE, "
    "uid TEXT NOT NULL, name TEXT NOT NULL, organization TEXT NOT NULL);"
    "CREATE TABLE IF NOT EXISTS addresses (contact INTEGER NOT NULL, kind INTEGER NOT NULL, "
    "position INTEGER NOT NULL, value TEXT NOT NULL, label TEXT NOT NULL, "
    "match_key TEXT NOT NULL, PRIMARY KEY (contact, kind, position));"
    "CREATE INDEX IF NOT EXISTS addresses_by_key ON addresses (kind, match_key, contact);"
    "CREATE TABLE IF NOT EXISTS book_state (key TEXT PRIMARY KEY, value TEXT NOT NULL);";
const char kSearch[] = "SELECT c.id, c.name, c.organization, a.label, a.value FROM addresses a "
                       "JOIN contacts c ON c.id = a.contact WHERE a.kind = ? AND a.match_key = ? "
                       "ORDER BY a.contact, a.position";
const char kSelectState[] = "SELECT value FROM book_state WHERE key = ?";
const char kUpsertState[] = "INSERT INTO book_state (key, value) VALUES (?, ?) "
                            "ON CONFLICT (key) DO UPDATE SET value = excluded.value";
const char kSelectNumbers[] = "SELECT contact, position, value FROM addresses WHERE kind = ?";
const char kUpdateKey[] =
    "UPDATE addresses SET match_key = ? WHERE contact = ? AND kind = ? AND position = ?";
const char kSelectIdentity[] = "SELECT id FROM contacts WHERE identity = ?";
const char kInsertContact[] =
    "INSERT INTO contacts (identity, uid, name, organization) VALUES (?, ?, ?, ?)";
const char kUpdateContact[] =
    "UPDATE contacts SET uid = ?, name = ?, organization = ? WHERE id = ?";
const char kDeleteAddresses[] = "DELETE FROM addresses WHERE contact = ?";
const char kInsertAddress[] = "INSERT INTO addresses (contact, kind, position, value, label, "
                              "match_key) VALUES (?, ?, ?, ?, ?, ?)";
const char kSelectContacts[] = "SELECT id, uid, name, organization FROM contacts ORDER BY id";
const char kSelectAddresses[] =
    "SELECT contact, kind, value, label FROM addresses ORDER BY contact, kind, position";
const char kSelectHolders[] =
    "SELECT DISTINCT contact FROM addresses WHERE kind = ? AND match_key = ?";
const char kSelectContact[] = "SELECT id, uid, name, organization FROM contacts WHERE id = ?";
const char kSelectContactAddresses[] =
    "SELECT contact, kind, value, label FROM addresses WHERE contact = ? ORDER BY kind, position";
const char kDeleteContact[] = "DELETE FROM contacts WHERE id = ?";
const char kDeleteEveryAddress[] = "DELETE FROM addresses";
const char kDeleteEveryContact[] = "DELETE FROM contacts";

// The region the numbers' keys were made for, in book_state.
const QString kKeyRegion = QStringLiteral("number_region");

const qint64 kNumberKind = ADDRBK_SEARCH_BY_NUMBER;
const qint64 kEmailKind = ADDRBK_SEARCH_BY_EMAIL;

using Value = std::variant<qint64, QString>;

// The key `text` is searched under as an address of `type`; empty when there is nothing to search
// for or the type is not one the book searches.
QString searchKey(ADDRBK_SEARCH_TYPE_T type, const QString& text, const QString& region)
{
    switch (type) {
    case ADDRBK_SEARCH_BY_NUMBER:
        return phoneNumberKey(text, region);
    case ADDRBK_SEARCH_BY_EMAIL:
        return emailKey(text);
    }
    return QString();
}

// A contact without numbers and addresses from a row of id, uid, name and organization.
Contact contactOfRow(sql::Statement& row)
{
    return {QString::fromUtf8(row.columnText(1)),
            QString::fromUtf8(row.columnText(2)),
            QString::fromUtf8(row.columnText(3)),
            {},
            {}};
}

// Adds to `contact` the number or address of a row of contact, kind, value and label.
void addAddressOfRow(Contact& contact, sql::Statement& row)
{
    (row.columnInt(1) == kNumberKind ? contact.numbers : contact.emails)
        .append({QString::fromUtf8(row.columnText(2)), QString::fromUtf8(row.columnText(3))});
}

// The text a contact without uid is known by: a digest of all it holds.
QString identityOf(const Contact& contact)
{
    if (!contact.uid.isEmpty())
        return QStringLiteral("uid:") + contact.uid;
    QStringList parts{contact.name, contact.organization};
    for (const QList<ContactAddress>* items : {&contact.numbers, &contact.emails}) {
        parts << QString::number(items->size());
        for (const ContactAddress& item : *items)
            parts << item.value << item.label;
    }
    const QByteArray digest =
        QCryptographicHash::hash(parts.join(QChar(0x1F)).toUtf8(), QCryptographicHash::Sha256);
    return QStringLiteral("content:") + QString::fromLatin1(digest.toHex());
}

} // namespace

struct SqliteAddressBook::Impl {
    QString path;
    int busyTimeoutMs;
    std::unique_ptr<sql::Connection> connection;
    Status readFailure = Status::Ok; // of the last search or listing

    // Keeps why a read failed for readError(); gives `status`.
    Status kept(Status status)
    {
        readFailure = status;
        return status;
    }

    Status openConnection()
    {
        return sql::openOnce(connection, path, busyTimeoutMs, [](sql::Connection& opened) {
            // With its log files kept, the book can be read on a disk that filled up meanwhile.
            const Status status = opened.keepWalFiles();
            return status == Status::Ok ? opened.exec(kCreateSchema) : status;
        });
    }

    // Runs the statement `text` with `values` bound in order, handing each row to `row` for as
    // long as it returns true.
    template <typename Row>
    Status run(const char* text, std::initializer_list<Value> values, Row row)
    {
        Status status = Status::Ok;
        sql::Statement* statement = connection->cached(text, &status);
        if (!statement)
            return status;
        sql::StatementUse use(*statement);
        int index = 1;
        for (const Value& value : values) {
            if (const qint64* number = std::get_if<qint64>(&value))
                use->bindInt(index++, *number);
            else
                use->bindText(index++, std::get<QString>(value).toUtf8());
        }
        while ((status = use->step()) == Status::Row) {
            if (!row(*statement))
                return Status::Ok;
        }
        return status;
    }

    Status change(const char* text, std::initializer_list<Value> values)
    {
        return run(text, values, [](sql::Statement&) { return true; });
    }

    Status readKeyRegion(QString* region)
    {
        return run(kSelectState, {kKeyRegion}, [&](sql::Statement& row) {
            *region = QString::fromUtf8(row.columnText(0));
            return false;
        });
    }

    // Makes the numbers' keys those of `region`, inside the caller's write transaction.
    Status rekeyNumbers(const QString& region)
    {
        QString current;
        Status status = readKeyRegion(&current);
        if (status != Status::Ok || current == region)
            return status;
        struct Number {
            qint64 contact;
            qint64 position;
            QString value;
        };
        QList<Number> numbers;
        status = run(kSelectNumbers, {kNumberKind}, [&](sql::Statement& row) {
            numbers.append(
                {row.columnInt(0), row.columnInt(1), QString::fromUtf8(row.columnText(2))});
            return true;
        });
        for (const Number& number : numbers) {
            if (status != Status::Ok)
                return status;
            status = change(kUpdateKey, {phoneNumberKey(number.value, region), number.contact,
                                         kNumberKind, number.position});
        }
        return status == Status::Ok ? change(kUpsertState, {kKeyRegion, region}) : status;
    }

    // Makes sure the numbers' keys are those of `region` before a search.
    Status keysFor(const QString& region)
    {
        QString current;
        Status status = readKeyRegion(&current);
        if (status != Status::Ok || current == region)
            return status;
        sql::ScopedTransaction transaction(*connection, sql::ScopedTransaction::Write);
        if ((status = transaction.begin()) != Status::Ok ||
            (status = rekeyNumbers(region)) != Status::Ok)
            return status;
        return transaction.commit();
    }

    Status storeAddresses(qint64 contact, qint64 kind, const QList<ContactAddress>& items,
                          const QString& region)
    {
        Status status = Status::Ok;
        for (qsizetype position = 0; position < items.size() && status == Status::Ok; ++position) {
            const ContactAddress& item = items.at(position);
            const QString key =
                kind == kNumberKind ? phoneNumberKey(item.value, region) : emailKey(item.value);
            status = change(kInsertAddress,
                            {contact, kind, qint64(position), item.value, item.label, key});
        }
        return status;
    }

    // Adds `contact`, or replaces the one it is; counts which.
    Status store(const Contact& contact, const QString& region, ImportCounts* counts)
    {
        const QString identity = identityOf(contact);
        std::optional<qint64> id;
        Status status = run(kSelectIdentity, {identity}, [&](sql::Statement& row) {
            id = row.columnInt(0);
            return false;
        });
        if (status != Status::Ok)
            return status;
        if (id) {
            status = change(kUpdateContact, {contact.uid, contact.name, contact.organization, *id});
            if (status == Status::Ok)
                status = change(kDeleteAddresses, {*id});
            ++counts->replaced;
        } else {
            status =
                change(kInsertContact, {identity, contact.uid, contact.name, contact.organization});
            id = connection->lastInsertRowId();
            ++counts->added;
        }
        if (status == Status::Ok)
            status = storeAddresses(*id, kNumberKind, contact.numbers, region);
        if (status == Status::Ok)
            status = storeAddresses(*id, kEmailKind, contact.emails, region);
        return status;
    }

    // Removes every contact, inside the caller's write transaction.
    Status removeAll()
    {
        const Status status = change(kDeleteEveryAddress, {});
        return status == Status::Ok ? change(kDeleteEveryContact, {}) : status;
    }

    // What becomes of the contacts the book holds when others are stored.
    enum class Held { Kept, Removed };

    // Stores `contacts` in one write transaction, as an import does, after removing the contacts
    // the book held when `held` says so. Nothing when the book cannot be written.
    std::optional<ImportCounts> storeAll(const QList<Contact>& contacts, Held held)
    {
        const QString region = addressBookRegion();
        Status status = openConnection();
        if (status != Status::Ok)
            return std::nullopt;
        sql::ScopedTransaction transaction(*connection, sql::ScopedTransaction::Write);
        ImportCounts counts;
        status = transaction.begin();
        if (status == Status::Ok && held == Held::Removed)
            status = removeAll();
        if (status == Status::Ok)
            status = rekeyNumbers(region);
        for (const Contact& contact : contacts) {
            if (status != Status::Ok)
                break;
            status = store(contact, region, &counts);
        }
        if (status != Status::Ok || transaction.commit() != Status::Ok)
            return std::nullopt;
        return counts;
    }

    // Adds the ids of the contacts holding `key` as a `type` to `ids`; tells whether there were
    // any.
    Status collectHolders(ADDRBK_SEARCH_TYPE_T type, const QString& key, std::set<qint64>* ids,
                          bool* held)
    {
        *held = false;
        if (key.isEmpty())
            return Status::Ok;
        return run(kSelectHolders, {qint64(type), key}, [&](sql::Statement& row) {
            ids->insert(row.columnInt(0));
            *held = true;
            return true;
        });
    }

    // Reads the contact `id` into `removed`, then deletes it, inside the caller's write
    // transaction.
    Status remove(qint64 id, QList<Contact>* removed)
    {
        Contact contact;
        Status status = run(kSelectContact, {id}, [&](sql::Statement& row) {
            contact = contactOfRow(row);
            return false;
        });
        if (status == Status::Ok)
            status = run(kSelectContactAddresses, {id}, [&](sql::Statement& row) {
                addAddressOfRow(contact, row);
                return true;
            });
        if (status == Status::Ok)
            status = change(kDeleteAddresses, {id});
        if (status == Status::Ok)
            status = change(kDeleteContact, {id});
        if (status == Status::Ok)
            removed->append(contact);
        return status;
    }
};

SqliteAddressBook::SqliteAddressBook(QString path, int busyTimeoutMs) : d(new Impl)
{
    d->path = path;
    d->busyTimeoutMs = busyTimeoutMs;
}

SqliteAddressBook::~SqliteAddressBook() = default;

int SqliteAddressBook::singleSearch(ADDRBK_SEARCH_TYPE_T type, const QString& key,
                                    ADDRBK_SEARCH_SINGLE_DATA_T& result, int timeoutMs,
                                    bool* ambiguous)
{
    const sql::ScopedWaitLimit limit{std::chrono::milliseconds(timeoutMs)};
    const QString region = type == ADDRBK_SEARCH_BY_NUMBER ? addressBookRegion() : QString();
    const QString matchKey = searchKey(type, key, region);
    if (matchKey.isEmpty())
        return ADDRBK_SEARCH_BAD_REQUEST;
    d->readFailure = Status::Ok;
    if (d->kept(d->openConnection()) != Status::Ok ||
        (type == ADDRBK_SEARCH_BY_NUMBER && d->kept(d->keysFor(region)) != Status::Ok))
        return ADDRBK_SEARCH_UNAVAILABLE;
    std::optional<ADDRBK_SEARCH_SINGLE_DATA_T> found;
    bool several = false;
    const Status status = d->run(kSearch, {qint64(type), matchKey}, [&](sql::Statement& row) {
        const quint32 contact = quint32(row.columnInt(0));
        if (found) {
            several = contact != found->contactId;
        } else {
            found.emplace();
            found->name = QString::fromUtf8(row.columnText(1));
            found->contactId = contact;
            found->organization = QString::fromUtf8(row.columnText(2));
            found->label = QString::fromUtf8(row.columnText(3));
            found->value = QString::fromUtf8(row.columnText(4));
        }
        // Whether other contacts hold the key is known at the first row of another one.
        return ambiguous && !several;
    });
    if (d->kept(status) != Status::Ok)
        return ADDRBK_SEARCH_UNAVAILABLE;
    if (!found)
        return ADDRBK_SEARCH_NOT_FOUND;
    result = *found;
    if (ambiguous)
        *ambiguous = several;
    return ADDRBK_SEARCH_FOUND;
}

bool SqliteAddressBook::getOwnerNumber(QString& name, QString& number)
{
    const AddressBookOwner owner = addressBookOwner();
    if (owner.number.isEmpty())
        return false;
    name = owner.name;
    number = owner.number;
    return true;
}

std::optional<SqliteAddressBook::ImportCounts>
SqliteAddressBook::importContacts(const QList<Contact>& contacts)
{
    return d->storeAll(contacts, Impl::Held::Kept);
}

bool SqliteAddressBook::replaceContacts(const QList<Contact>& contacts)
{
    return d->storeAll(contacts, Impl::Held::Removed).has_value();
}

std::optional<QList<Contact>> SqliteAddressBook::contacts()
{
    if (d->kept(d->openConnection()) != Status::Ok)
        return std::nullopt;
    // Both reads see the same state of the book.
    sql::ScopedTransaction snapshot(*d->connection);
    QList<Contact> contacts;
    QHash<qint64, qsizetype> indexOf;
    Status status = snapshot.begin();
    if (status == Status::Ok)
        status = d->run(kSelectContacts, {}, [&](sql::Statement& row) {
            indexOf.insert(row.columnInt(0), contacts.size());
            contacts.append(contactOfRow(row));
            return true;
        });
    if (status == Status::Ok) {
        status = d->run(kSelectAddresses, {}, [&](sql::Statement& row) {
            addAddressOfRow(contacts[indexOf.value(row.columnInt(0))], row);
            return true;
        });
    }
    if (d->kept(status) != Status::Ok)
        return std::nullopt;
    return contacts;
}

std::optional<SqliteAddressBook::Removal>
SqliteAddressBook::removeContacts(const QList<Address>& addresses)
{
    const QString region = addressBookRegion();
    if (d->openConnection() != Status::Ok)
        return std::nullopt;
    sql::ScopedTransaction transaction(*d->connection, sql::ScopedTransaction::Write);
    Status status = transaction.begin();
    if (status == Status::Ok)
        status = d->rekeyNumbers(region);
    // All holders are found before any is removed, so that an address whose contact another
    // address also holds counts as matched.
    Removal removal;
    std::set<qint64> ids;
    for (qsizetype i = 0; i < addresses.size() && status == Status::Ok; ++i) {
        const Address& address = addresses.at(i);
        bool held = false;
        status = d->collectHolders(address.type, searchKey(address.type, address.text, region),
                                   &ids, &held);
        if (!held)
            removal.unmatched.append(i);
    }
    for (const qint64 id : ids) {
        if (status != Status::Ok)
            break;
        status = d->remove(id, &removal.contacts);
    }
    if (status != Status::Ok || transaction.commit() != Status::Ok)
        return std::nullopt;
    return removal;
}

QString SqliteAddressBook::readError() const
{
    if (d->readFailure == Status::Ok)
        return QString();
    return sql::faultText(QStringLiteral("the address book"), d->path, d->readFailure);
}

} // namespace tavplatform
