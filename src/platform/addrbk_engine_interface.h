#ifndef TAVPLATFORM_ADDRBK_ENGINE_INTERFACE_H
#define TAVPLATFORM_ADDRBK_ENGINE_INTERFACE_H

#include "platform_global.h"

#include <QString>

// What singleSearch looks for.
enum ADDRBK_SEARCH_TYPE_T {
    // A phone number: its national and international forms, with or without blanks, dashes and
    // brackets, are one number.
    ADDRBK_SEARCH_BY_NUMBER = 1,
    // An e-mail address, in any letter case.
    ADDRBK_SEARCH_BY_EMAIL = 2,
};

// singleSearch's results.
enum {
    ADDRBK_SEARCH_FOUND = 0,
    ADDRBK_SEARCH_NOT_FOUND = 1,
    ADDRBK_SEARCH_BAD_REQUEST = 2, // an unknown search type, or a key with nothing to look for
    ADDRBK_SEARCH_UNAVAILABLE = 3, // the address book cannot be read
};

// The contact singleSearch found, and which of its numbers or addresses it matched.
struct ADDRBK_SEARCH_SINGLE_DATA_T {
    QString name;          // the contact's display name; may be empty
    quint32 contactId = 0; // the contact's number in the address book
    QString label;         // the matched number's or address's label: "Mobile", "Home", "Work"...
    QString value;         // that number or address as the contact holds it
    QString organization;  // the contact's company or organisation; may be empty
};

// The phone's address book. An object holds nothing: make one where it is needed.
class TAVPLATFORM_EXPORT ADDRBK_ENGINE_Interface
{
public:
    // Looks `key` up as `type` says. On ADDRBK_SEARCH_FOUND `result` holds the contact; on any
    // other result it is left as it was. `timeoutMs` is how long the search may wait for an
    // address book that another process is changing; 0 or less: it does not wait at all, and
    // gives ADDRBK_SEARCH_UNAVAILABLE at once when it would have to. `ambiguous`, when not null, is
    // set to whether other contacts hold the same key too: the contact added first is the one
    // given.
    int singleSearch(ADDRBK_SEARCH_TYPE_T type, QString key, ADDRBK_SEARCH_SINGLE_DATA_T& result,
                     int timeoutMs, bool* ambiguous);

    // The phone owner's own name and number: true with both set when the owner's number is known;
    // false, both left as they were, when it is not.
    static bool getOwnerNumber(QString& name, QString& number);
};

#endif
