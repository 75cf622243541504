#include "mms_util_entrylist.h"

#include "mms_util_entry.h"

#include <utility>

MMS_UTIL_EntryList::MMS_UTIL_EntryList(const MMS_UTIL_EntryList& other) : items_(other.items_) {}

MMS_UTIL_EntryList& MMS_UTIL_EntryList::operator=(const MMS_UTIL_EntryList& other)
{
    if (this != &other) {
        const QList<MMS_UTIL_Entry*> old = std::exchange(items_, other.items_);
        // `other` may be a copy of this list (list = copyOfList): its entries are kept, not freed.
        for (MMS_UTIL_Entry* entry : old) {
            if (!items_.contains(entry))
                deleteItem(entry);
        }
        autoDelete_ = false;
    }
    return *this;
}

MMS_UTIL_EntryList::MMS_UTIL_EntryList(MMS_UTIL_EntryList&& other) noexcept
    : items_(std::exchange(other.items_, {})), autoDelete_(std::exchange(other.autoDelete_, false))
{
}

MMS_UTIL_EntryList& MMS_UTIL_EntryList::operator=(MMS_UTIL_EntryList&& other) noexcept
{
    if (this != &other) {
        clear();
        items_ = std::exchange(other.items_, {});
        autoDelete_ = std::exchange(other.autoDelete_, false);
    }
    return *this;
}

MMS_UTIL_EntryList::~MMS_UTIL_EntryList()
{
    clear();
}

void MMS_UTIL_EntryList::append(MMS_UTIL_Entry* entry)
{
    items_.append(entry);
}

MMS_UTIL_Entry* MMS_UTIL_EntryList::at(uint index) const
{
    return index < count() ? items_.at(qsizetype(index)) : nullptr;
}

void MMS_UTIL_EntryList::clear()
{
    // Detach the nodes first, so that a destructor that looks at the list sees it empty.
    const QList<MMS_UTIL_Entry*> old = std::exchange(items_, {});
    for (MMS_UTIL_Entry* entry : old)
        deleteItem(entry);
}

bool MMS_UTIL_EntryList::remove(uint index)
{
    if (index >= count())
        return false;
    deleteItem(items_.takeAt(qsizetype(index)));
    return true;
}

void MMS_UTIL_EntryList::deleteItem(void* item)
{
    if (autoDelete_ && item)
        delete static_cast<MMS_UTIL_Entry*>(item);
}
