#ifndef TAVMMS_MMS_UTIL_ENTRY_H
#define TAVMMS_MMS_UTIL_ENTRY_H

#include "qt2compat.h"
#include "tavmms_global.h"

#include <QString>

// Kind of an address, one byte.
typedef unsigned char MMS_UTIL_ADDR_TYPE_T;
enum {
    MMS_UTIL_ADDR_EMAIL = 0,   // text form "EMAIL"
    MMS_UTIL_ADDR_PLMN = 1,    // a phone number, text form "PLMN"
    MMS_UTIL_ADDR_UNKNOWN = 2, // every other code is written "UNKNOWN"
};

// One address of a message: the sender, or one recipient of a To, Cc or Bcc list.
class TAVMMS_EXPORT MMS_UTIL_Entry
{
public:
    // Null name, type 0 (e-mail, not unknown: applications rely on that default), null address.
    MMS_UTIL_Entry();
    // Plain value copies of all three members.
    MMS_UTIL_Entry(const MMS_UTIL_Entry& other);
    MMS_UTIL_Entry& operator=(const MMS_UTIL_Entry& other);
    ~MMS_UTIL_Entry();

    // True when the entry carries neither a name nor an address (null and empty alike); the type
    // plays no part.
    bool isEmpty() const;

    QString name;              // display name, filled from the address book
    MMS_UTIL_ADDR_TYPE_T type; // MMS_UTIL_ADDR_EMAIL, MMS_UTIL_ADDR_PLMN or another code
    QString address;           // phone number or e-mail address
};

#endif
