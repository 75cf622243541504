#ifndef TAVMMS_MMS_UTIL_ENTRYLIST_H
#define TAVMMS_MMS_UTIL_ENTRYLIST_H

#include "tavmms_global.h"

#include <QList>

class MMS_UTIL_Entry;

// The old pointer list of address entries. It holds entries made with `new` and owns them only
// while its auto-delete flag is on. A copy holds the same pointers with auto-delete off, so a copy
// never deletes what the original owns: recipients handed around by value rely on that.
class TAVMMS_EXPORT MMS_UTIL_EntryList
{
public:
    using const_iterator = QList<MMS_UTIL_Entry*>::const_iterator;

    // Empty, auto-delete off.
    MMS_UTIL_EntryList() = default;
    // Holds the pointers of `other`, not copies of its entries, with auto-delete off.
    MMS_UTIL_EntryList(const MMS_UTIL_EntryList& other);
    // Takes the pointers of `other` with auto-delete off. The entries this list held are deleted
    // first when its auto-delete was on, except those that `other` holds too (list = copyOfList
    // keeps them).
    MMS_UTIL_EntryList& operator=(const MMS_UTIL_EntryList& other);
    // A move hands over the entries together with their ownership; the source is left empty.
    MMS_UTIL_EntryList(MMS_UTIL_EntryList&& other) noexcept;
    MMS_UTIL_EntryList& operator=(MMS_UTIL_EntryList&& other) noexcept;
    // Clears the list: the entries are deleted when auto-delete is on.
    ~MMS_UTIL_EntryList();

    // Whether the list owns its entries: deletes them as they are removed, cleared or destroyed.
    void setAutoDelete(bool enable) { autoDelete_ = enable; }
    bool autoDelete() const { return autoDelete_; }

    // Appends a pointer (null is kept as an empty slot); the list owns it only while auto-delete
    // is on.
    void append(MMS_UTIL_Entry* entry);
    // The entry at `index`, or null when `index` is out of range.
    MMS_UTIL_Entry* at(uint index) const;
    // Number of slots, empty ones included.
    uint count() const { return uint(items_.size()); }
    bool isEmpty() const { return items_.isEmpty(); }
    // Removes every node, deleting the entries when auto-delete is on.
    void clear();
    // Removes the node at `index` (deleting its entry when auto-delete is on); false when out of
    // range.
    bool remove(uint index);
    // Destroys and frees `item` (an MMS_UTIL_Entry) when auto-delete is on and it is not null.
    void deleteItem(void* item);

    // Walks the pointers in order, null ones included.
    const_iterator begin() const { return items_.cbegin(); }
    const_iterator end() const { return items_.cend(); }

private:
    QList<MMS_UTIL_Entry*> items_;
    bool autoDelete_ = false;
};

#endif
