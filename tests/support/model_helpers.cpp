#include "support/model_helpers.h"

namespace tavmms_test
{

MMS_UTIL_Entry makeEntry(const QString& name, MMS_UTIL_ADDR_TYPE_T type, const QString& address)
{
    MMS_UTIL_Entry entry;
    entry.name = name;
    entry.type = type;
    entry.address = address;
    return entry;
}

MMS_UTIL_Entry* newEntry(const QString& name, MMS_UTIL_ADDR_TYPE_T type, const QString& address)
{
    return new MMS_UTIL_Entry(makeEntry(name, type, address));
}

void deleteEntries(MMS_UTIL_EntryList& list)
{
    list.setAutoDelete(true);
    list.clear();
}

// Built at run time: a literal's text is static data, which counts as shared for ever.
EntryProbe::EntryProbe(const char* name) : text_(QString::fromLatin1(name)) {}

MMS_UTIL_Entry* EntryProbe::newEntry() const
{
    auto* entry = new MMS_UTIL_Entry;
    entry->name = text_;
    entry->type = MMS_UTIL_ADDR_PLMN;
    entry->address = QStringLiteral("1");
    return entry;
}

} // namespace tavmms_test
