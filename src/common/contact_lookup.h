#ifndef TAVMMS_CONTACT_LOOKUP_H
#define TAVMMS_CONTACT_LOOKUP_H

#include "mms_util_contact_info.h"
#include "mms_util_entry.h"
#include "mms_util_entrylist.h"
#include "qt2compat.h"

#include <QString>

// Address entries and the phone's address book (ADDRBK_ENGINE_Interface), behind MMS_UTIL_Common's
// contact look-ups. Nothing is kept between calls.
namespace tavmms
{

// Sets the entry's name to the name the address book holds for its address; a failed search, or
// a contact without a name, leaves the name empty (not null), so that it always shows what the
// book holds.
void lookUpContactName(MMS_UTIL_Entry& entry);
// lookUpContactName() on each entry of the list in turn; empty slots are passed over.
void lookUpContactNames(const MMS_UTIL_EntryList& list);
// Fills `info` from the address book's hit on the entry's address, or with the address itself as
// the name when there is none. An empty entry leaves `info` as it was. Always true.
bool lookUpContactInfo(MMS_UTIL_CONTACT_INFO_T& info, const MMS_UTIL_Entry& entry);
// Makes `entry` the owner's: 0 and the entry filled when the address book knows the owner's
// number, else 1 and the entry untouched.
int fillOwnerEntry(MMS_UTIL_Entry& entry);
// Removes the first entry whose address equals `address`, a leading "+86" on either side not
// counted. 1 for a null list or a removal that failed, else 0 (also when none matched).
int removeEntryByAddress(MMS_UTIL_EntryList* list, const QString& address);

} // namespace tavmms

#endif
