#ifndef TAVMMS_SETTINGS_STORE_H
#define TAVMMS_SETTINGS_STORE_H

// The MMS settings as MMS_UTIL_Setting keeps them in the platform's settings store: their groups
// and keys, which of them are stored (the others read as their defaults), changes made together,
// and the phone's feature flags.

#include "tavmms_global.h"

#include <QLatin1String>
#include <QStringList>

#include <memory>

namespace tavplatform
{
class ScopedSettingsBatch;
}

namespace tavmms::settings
{

inline constexpr QLatin1String kGlobalGroup("MMS_GRP");
inline constexpr QLatin1String kProfileListGroup("MMS_Profile_List");

// Keys of a profile's own group, named after the profile.
inline constexpr QLatin1String kServerAddress("MMS_Server_Address");
inline constexpr QLatin1String kConnectionProfile("MMS_Connection_Profile");
inline constexpr QLatin1String kWapGateway("MMS_WAP_Gateway");
inline constexpr QLatin1String kConnectionType("MMS_Connection_Type");
inline constexpr QLatin1String kSecureConnectionType("MMS_Secure_Connection_Type");

// Keys of the global group.
inline constexpr QLatin1String kRoamingDelayedRetrieval("MMS_Roaming_Delayed_Retrieval");
inline constexpr QLatin1String kMTSizeLimitationState("MMS_Enable_MT_Size_Limitation");
inline constexpr QLatin1String kAutoDownload("MMS_AutoDownload");
inline constexpr QLatin1String kMaxMOSize("MMS_MO_Size_Limitation");
inline constexpr QLatin1String kMaxMTSize("MMS_MT_Size_Limitation");
inline constexpr QLatin1String kSenderVisible("MMS_Sender_Visible");
inline constexpr QLatin1String kExpireAfterSec("MMS_Expire_After_Sec");
inline constexpr QLatin1String kDeliRepAllowed("MMS_DeliRep_Allowed");
inline constexpr QLatin1String kDefaultProfile("MMS_Default_MMS_Profile");
inline constexpr QLatin1String kBlockList("MMS_Block_List");
inline constexpr QLatin1String kDeliveryReport("MMS_Delivery_Report");
inline constexpr QLatin1String kReadReport("MMS_Read_Report");
inline constexpr QLatin1String kSendPriority("MMS_Send_Priority");

// The keys stored in `group`; a key that is not there reads as its default.
TAVMMS_EXPORT QStringList storedKeys(const QString& group);

// Settings changed together, for the life of a scope: what MMS_UTIL_Setting writes between
// begin() and commit() reaches the store all at once, and none of it unless commit() ran.
class TAVMMS_EXPORT SettingsBatch
{
public:
    SettingsBatch();
    ~SettingsBatch();
    SettingsBatch(const SettingsBatch&) = delete;
    SettingsBatch& operator=(const SettingsBatch&) = delete;

    // False with errno set when the store cannot begin one, or keep it.
    bool begin();
    bool commit();

private:
    std::unique_ptr<tavplatform::ScopedSettingsBatch> batch_;
};

// Deletes the profile `name` (MMS_UTIL_Setting::delProfile) and, when it is the default profile,
// clears the default first, since a default that names no listed profile could not be set. Gives
// the result code of the first write that fails, or 0; run it in a SettingsBatch so that both
// changes are kept or neither.
TAVMMS_EXPORT int deleteProfile(const QString& name);

// Sets the feature flag `id` that SETUP_Utility::getFlexBit reads; false with errno set when it
// cannot be stored.
TAVMMS_EXPORT bool setFeatureFlag(int id, bool value);

} // namespace tavmms::settings

#endif
