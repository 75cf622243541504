#ifndef TAVPLATFORM_ADDRESS_BOOK_TYPES_H
#define TAVPLATFORM_ADDRESS_BOOK_TYPES_H

// The search types, results and found contact of the address book engine
// (addrbk_engine_interface.h).

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

#endif
