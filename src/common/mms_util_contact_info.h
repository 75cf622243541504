#ifndef TAVMMS_MMS_UTIL_CONTACT_INFO_H
#define TAVMMS_MMS_UTIL_CONTACT_INFO_H

#include <QString>

// What a message viewer shows for one address: filled by MMS_UTIL_Common::srchContactInfoByVal.
struct MMS_UTIL_CONTACT_INFO_T {
    QString contactName;   // the contact's name, or the address itself when the book has none
    QString contactDetail; // the address book's second text of the hit; empty without a hit
};

#endif
