// The header's defaults for a new message come from the stored sending options. They are defined
// with the settings, so that the message model needs nothing above it.

#include "mms_util_msgheaderbase.h"
#include "mms_util_setting.h"

int MMS_UTIL_MsgHeaderBase::loadGlobalSetting()
{
    // A value the store does not supply leaves the field as it is.
    bool delivery = deliveryReport;
    bool read = readReplyReport;
    unsigned int expirySeconds = expiry;
    unsigned char code = priority;
    const int result = MMS_UTIL_Setting::getSendingOption(delivery, read, expirySeconds, code);
    if (result != 0)
        return result;
    deliveryReport = delivery;
    readReplyReport = read;
    expiry = expirySeconds;
    // A stored code other than Low, Normal or High does not reach the header.
    setPriority(code);
    return 0;
}

unsigned char MMS_UTIL_MsgHeaderBase::saveToGlobalSetting()
{
    return static_cast<unsigned char>(
        MMS_UTIL_Setting::setSendingOption(deliveryReport, readReplyReport, expiry, priority));
}
