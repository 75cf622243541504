#include "mms_util_entry.h"

MMS_UTIL_Entry::MMS_UTIL_Entry() : type(MMS_UTIL_ADDR_EMAIL) {}

MMS_UTIL_Entry::MMS_UTIL_Entry(const MMS_UTIL_Entry& other) = default;

MMS_UTIL_Entry& MMS_UTIL_Entry::operator=(const MMS_UTIL_Entry& other) = default;

MMS_UTIL_Entry::~MMS_UTIL_Entry() = default;

bool MMS_UTIL_Entry::isEmpty() const
{
    if (!name.isEmpty())
        return false;
    return address.isEmpty();
}
