#include "contact_lookup.h"

#include "addrbk_engine_interface.h"

#include <optional>

namespace tavmms
{

namespace
{

// Passed to every search as the address book expects them: how long it may wait, and no report
// of other contacts with the same address.
const int kSearchTimeoutMs = 1000;
bool* const kNoAmbiguityReport = nullptr;

// Every type but e-mail is searched as a phone number, the unknown type included.
ADDRBK_SEARCH_TYPE_T searchTypeOf(MMS_UTIL_ADDR_TYPE_T type)
{
    return type == MMS_UTIL_ADDR_EMAIL ? ADDRBK_SEARCH_BY_EMAIL : ADDRBK_SEARCH_BY_NUMBER;
}

// The address book's hit on the entry's address; nothing when the search failed or the contact
// found has no name, which counts as no hit.
std::optional<ADDRBK_SEARCH_SINGLE_DATA_T> search(const MMS_UTIL_Entry& entry)
{
    ADDRBK_ENGINE_Interface engine;
    ADDRBK_SEARCH_SINGLE_DATA_T hit;
    if (engine.singleSearch(searchTypeOf(entry.type), entry.address, hit, kSearchTimeoutMs,
                            kNoAmbiguityReport) != ADDRBK_SEARCH_FOUND ||
        hit.name.isEmpty())
        return std::nullopt;
    return hit;
}

QString emptyText()
{
    return QLatin1String("");
}

// Numbers of the home network are stored with and without the country code alike.
QString withoutHomeCountryCode(const QString& address)
{
    const QLatin1String prefix("+86");
    return address.left(prefix.size()).compare(prefix, Qt::CaseInsensitive) == 0
               ? address.mid(prefix.size())
               : address;
}

} // namespace

void lookUpContactName(MMS_UTIL_Entry& entry)
{
    const std::optional<ADDRBK_SEARCH_SINGLE_DATA_T> hit = search(entry);
    entry.name = hit ? hit->name : emptyText();
}

void lookUpContactNames(const MMS_UTIL_EntryList& list)
{
    const uint count = list.count();
    for (uint i = 0; i < count; ++i) {
        if (MMS_UTIL_Entry* entry = list.at(i))
            lookUpContactName(*entry);
    }
}

bool lookUpContactInfo(MMS_UTIL_CONTACT_INFO_T& info, const MMS_UTIL_Entry& entry)
{
    if (entry.isEmpty())
        return true;
    info.contactDetail = emptyText();
    info.contactName = emptyText();
    if (const std::optional<ADDRBK_SEARCH_SINGLE_DATA_T> hit = search(entry)) {
        info.contactName = hit->name;
        info.contactDetail = hit->label;
    } else {
        // A viewer always has something to show.
        info.contactName = entry.address;
    }
    return true;
}

int fillOwnerEntry(MMS_UTIL_Entry& entry)
{
    QString name = emptyText();
    QString number = emptyText();
    if (!ADDRBK_ENGINE_Interface::getOwnerNumber(name, number))
        return 1;
    entry.address = number;
    entry.type = MMS_UTIL_ADDR_PLMN;
    entry.name = name;
    return 0;
}

int removeEntryByAddress(MMS_UTIL_EntryList* list, const QString& address)
{
    if (!list)
        return 1;
    const uint count = list->count();
    const QString wanted = withoutHomeCountryCode(address);
    for (uint i = 0; i < count; ++i) {
        const MMS_UTIL_Entry* entry = list->at(i);
        if (!entry || withoutHomeCountryCode(entry->address) != wanted)
            continue;
        // Only the first match goes; later duplicates stay.
        return list->remove(i) ? 0 : 1;
    }
    return 0;
}

} // namespace tavmms
