#ifndef TAVMMS_ADDRESS_TYPE_WORD_H
#define TAVMMS_ADDRESS_TYPE_WORD_H

// The words of the entry text form "<name>[WORD]address" for the address types.

#include "mms_util_entry.h"
#include "tavmms_global.h"

#include <QString>
#include <QStringView>

#include <optional>

namespace tavmms
{

// "EMAIL", "PLMN", and "UNKNOWN" for every other code.
TAVMMS_EXPORT QString addressTypeWord(MMS_UTIL_ADDR_TYPE_T type);
// The type `word` names, compared exactly; nothing for a word that is none of the three.
TAVMMS_EXPORT std::optional<MMS_UTIL_ADDR_TYPE_T> addressTypeOfWord(QStringView word);

} // namespace tavmms

#endif
