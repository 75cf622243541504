#ifndef TAVPLATFORM_ADDRBK_ENGINE_INTERFACE_H
#define TAVPLATFORM_ADDRBK_ENGINE_INTERFACE_H

#include "address_book_types.h"
#include "tavplatform_global.h"

#include <QString>

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
