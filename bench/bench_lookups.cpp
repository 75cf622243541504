// Contact look-ups through MMS_UTIL_Common against address books of growing size.
//
// BM_SrchContactName_Number/N  srchContactName() of a phone number written internationally
//                              (+49171...), held by one of N contacts in its national form
//                              (0171 ...): the number is read by libphonenumber and found by its
//                              key in the book's index.
// BM_SrchContactName_Email/N   the same with an e-mail address in other letter case.
//
// Each book lies in a file of its own on the default address book (SQLite, WAL), with the region
// "DE" in a settings store of its own; both are made once, in the directory below, and kept for
// the run. The addresses looked up go round 256 contacts spread over the book. A cost that stays
// the same from 100 to 10,000 contacts shows that the index, not a scan, finds them.

#include <tavmmsutility.h>

#include "address_book_settings.h"
#include "sqlite_address_book.h"
#include "sqlite_settings_store.h"

#include "bench_directory.h"

#include <benchmark/benchmark.h>

#include <QString>

#include <map>
#include <memory>
#include <vector>

namespace
{

using tavplatform::Contact;
using tavplatform::SqliteAddressBook;

const int kLookedUp = 256;

QString nationalNumber(int contact)
{
    return QStringLiteral("0171 %1").arg(contact, 7, 10, QLatin1Char('0'));
}

QString internationalNumber(int contact)
{
    return QStringLiteral("+49171%1").arg(contact, 7, 10, QLatin1Char('0'));
}

QString email(int contact)
{
    return QStringLiteral("Person.%1@Example.org").arg(contact);
}

// The settings store of the run, with the region the numbers are read in.
bool settingsReady()
{
    static tavplatform::SqliteSettingsStore store(benchDirectory() +
                                                  QStringLiteral("/lookup-settings.db"));
    static const tavplatform::ScopedSettingsStoreService installed(&store);
    static const bool ready = tavplatform::setAddressBookRegion(QStringLiteral("DE"));
    return ready;
}

// The book of `size` contacts, made on first use; null when it cannot be made.
SqliteAddressBook* bookOf(int size)
{
    static std::map<int, std::unique_ptr<SqliteAddressBook>> books;
    std::unique_ptr<SqliteAddressBook>& book = books[size];
    if (book || !settingsReady())
        return book.get();
    auto made = std::make_unique<SqliteAddressBook>(
        QStringLiteral("%1/contacts-%2.db").arg(benchDirectory()).arg(size));
    QList<Contact> contacts;
    for (int i = 0; i < size; ++i)
        contacts.append({QStringLiteral("contact-%1").arg(i),
                         QStringLiteral("Person %1").arg(i),
                         QString(),
                         {{nationalNumber(i), QStringLiteral("Mobile")}},
                         {{email(i), QStringLiteral("Home")}}});
    if (made->importContacts(contacts))
        book = std::move(made);
    return book.get();
}

// Looks up entries of `type` whose addresses `address` gives for contacts spread over the book.
void lookUp(benchmark::State& state, MMS_UTIL_ADDR_TYPE_T type, QString (*address)(int))
{
    const int size = int(state.range(0));
    SqliteAddressBook* book = bookOf(size);
    if (!book) {
        state.SkipWithError("cannot make the address book");
        return;
    }
    const tavplatform::ScopedAddressBookService installed(book);
    std::vector<MMS_UTIL_Entry> entries;
    for (int k = 0; k < kLookedUp; ++k) {
        MMS_UTIL_Entry entry;
        entry.type = type;
        entry.address = address(int((qint64(k) * 7919) % size));
        entries.push_back(entry);
    }
    MMS_UTIL_Entry probe = entries.front();
    MMS_UTIL_Common::srchContactName(probe);
    if (probe.name.isEmpty()) {
        state.SkipWithError("the contact looked up was not found");
        return;
    }
    size_t next = 0;
    for (auto _ : state) {
        MMS_UTIL_Entry& entry = entries[next++ % entries.size()];
        MMS_UTIL_Common::srchContactName(entry);
        benchmark::DoNotOptimize(entry.name);
    }
}

void BM_SrchContactName_Number(benchmark::State& state)
{
    lookUp(state, MMS_UTIL_ADDR_PLMN, internationalNumber);
}

void BM_SrchContactName_Email(benchmark::State& state)
{
    lookUp(state, MMS_UTIL_ADDR_EMAIL, [](int contact) { return email(contact).toUpper(); });
}

BENCHMARK(BM_SrchContactName_Number)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(BM_SrchContactName_Email)->Arg(100)->Arg(1000)->Arg(10000);

} // namespace
