#ifndef TAVMMS_PDU_MMS_ADDRESS_H
#define TAVMMS_PDU_MMS_ADDRESS_H

// The addresses of MMS PDUs (From, To, Cc, Bcc), as the library's entries keep them.

#include "mms_util_entry.h"
#include "tavmms_global.h"

#include <QString>

namespace tavmms::pdu
{

// The entry of an address as a PDU carries it: "+15550101/TYPE=PLMN" (and "TYPE=PLNM", which real
// MMSCs send) is a phone number without its suffix; an e-mail address is one; a bare number of
// digits and "+" is a phone number. Another type ("10.0.0.1/TYPE=IPv4") has no entry type of its
// own: it becomes an unknown one that keeps the whole text. The entry has no name.
TAVMMS_EXPORT MMS_UTIL_Entry addressEntry(const QString& text);
// The address a PDU carries for `entry`, the other way: a phone number in its global form, its
// digits and a leading "+" alone, with the "/TYPE=PLMN" suffix; any other entry's address as it
// is.
TAVMMS_EXPORT QString pduAddress(const MMS_UTIL_Entry& entry);

} // namespace tavmms::pdu

#endif
