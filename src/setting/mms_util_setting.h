#ifndef TAVMMS_MMS_UTIL_SETTING_H
#define TAVMMS_MMS_UTIL_SETTING_H

#include "tavmms_global.h"

#include <QString>
#include <QStringList>

// The global server settings, read and written as one record (group "MMS_GRP"). Missing keys read
// as "" for the texts, 65535 seconds, 50 and 100 for the sizes and 1 for the flags.
struct MMS_UTIL_SETTING_SERVER_T {
    QString defaultProfile;      // "MMS_Default_MMS_Profile"
    int expireAfterSec;          // "MMS_Expire_After_Sec", seconds
    int maxMOSize;               // "MMS_MO_Size_Limitation", as stored (0 is kept)
    int autoDownload;            // "MMS_AutoDownload", 0 or 1
    int roamingDelayedRetrieval; // "MMS_Roaming_Delayed_Retrieval", 0 or 1
    int mtSizeLimitation;        // "MMS_Enable_MT_Size_Limitation", 0 or 1
    int maxMTSize;               // "MMS_MT_Size_Limitation"
    int deliRepAllowed;          // "MMS_DeliRep_Allowed", 0 or 1
    int senderVisible;           // "MMS_Sender_Visible", 0 or 1
    QString blockList;           // "MMS_Block_List"
};

// One MMS profile, read and written as one record (the profile's own group), with the name of
// the default profile.
struct MMS_UTIL_SETTING_PROFILE_T {
    QString serverAddress;              // "MMS_Server_Address"
    QString connectionProfile;          // "MMS_Connection_Profile"
    unsigned int wapGateway;            // "MMS_WAP_Gateway"
    unsigned char connectionType;       // "MMS_Connection_Type", low 8 bits of the stored number
    unsigned char secureConnectionType; // "MMS_Secure_Connection_Type", likewise
    QString defaultProfile;             // "MMS_Default_MMS_Profile" in "MMS_GRP"
};

// The phone's MMS settings in the platform settings store, shared by every MMS application. The
// class keeps nothing: each operation opens the store, reads or writes, and closes it again.
//
// Readers never fail: a missing key (or an empty profile name) gives the key's default.
// Writers return 0 when the store accepted the value, 2 when it refused it because the storage is
// full (errno ENOSPC), 1 when it refused it otherwise or a profile name was empty; addProfile and
// addToBlockList have a code 3 of their own.
//
// Groups: "MMS_GRP" holds the global options; "MMS_Profile_List" has one key per profile name;
// each profile's values live in a group named after the profile.
class TAVMMS_EXPORT MMS_UTIL_Setting
{
public:
    // An object holds nothing: all members are static.
    MMS_UTIL_Setting();
    ~MMS_UTIL_Setting();

    // A profile's connection values; "" or 0 for a missing key or an empty profile name (the
    // store is then not opened). Types return the low 8 bits of the stored number.
    static QString getMMSServerURIByProf(QString profile);
    static QString getDataConnectProfileNameByProf(QString profile);
    static unsigned int getWAPGatewayByProf(QString profile);
    static unsigned char getConnectionTypeByProf(QString profile);
    static unsigned char getSecureTypeByProf(QString profile);
    // 0, 1 (also for an empty profile name, without opening the store) or 2.
    static int setMMSServerURIByProf(QString profile, QString value);
    static int setDataConnectProfileNameByProf(QString profile, QString value);
    static int setWAPGatewayByProf(QString profile, unsigned int value);
    static int setConnectionTypeByProf(QString profile, unsigned char value);
    static int setSecureTypeByProf(QString profile, unsigned char value);

    // The same values of the default profile; with no default profile set, readers give the
    // defaults and writers 1.
    static QString getMMSServerURI();
    static int setMMSServerURI(QString value);
    static QString getDataConnectProfileName();
    static int setDataConnectProfileName(QString value);
    static unsigned int getWAPGateway();
    static int setWAPGateway(unsigned int value);
    static unsigned char getConnectionType();
    static int setConnectionType(unsigned char value);
    static unsigned char getSecureType();
    static int setSecureType(unsigned char value);

    // Global options. The flag readers return 1 or 0 (default 1).
    static int getRoamingDelayedRetrieval();
    static int setRoamingDelayedRetrieval(int value);
    // Written as a number, read back as a flag: 5 is stored as 5 and reads as 1.
    static int getMTSizeLimitationState();
    static int setMTSizeLimitationState(int value);
    static int getAutoRetrievalSetting();
    static int setAutoRetrievalSetting(int value);
    // The MO size limit (default 50). With `raw` 0 a stored 0 gives 50, the effective limit; with
    // `raw` not 0 the stored number comes back as it is, 0 included.
    static int getMaxiumMOMMSSize(int raw);
    static int setMaxiumMOMMSSize(int value);
    // These readers give the stored number as it is; the writers store it so.
    static int getMaxiumMTMMSSize(); // default 100
    static int setMaxiumMTMMSSize(int value);
    static int getSenderVisibility(); // default 1
    static int setSenderVisibility(int value);
    // The same key as the expiry of the sending options.
    static int getExpireAfterSec(); // seconds, default 65535
    static int setExpireAfterSec(int value);
    static int getDeliveryRepAllowedity(); // default 1
    static int setDeliveryRepAllowedity(int value);

    // Feature flags of the phone (true when the platform does not say): flags 49, 50 and 112. The
    // library does not act on them; the applications decide what they switch on.
    static bool getFilterFlexBitSetting();
    static bool getSenderVisibilityFlexBitSetting();
    static bool isChwAvailable();

    // The default profile's name ("" when none); it need not be in the list.
    static QString getDefaultMMSProfile();
    // 0, 1 or 2. The name is not checked against the list, and "" is stored as well.
    static int setDefaultMMSProfile(QString name);

    // Profile names in code-unit order (case-sensitive).
    static QStringList getMMSProfiles();
    // 0 added, 1 already listed (exact comparison), 2 storage full, 3 refused otherwise.
    static int addProfile(QString name);
    // Removes the name from the list, then the profile's group; the default is left as it is.
    // 0 (also for a name that is not listed), 1 or 2; when the name cannot be taken off the list,
    // the group is left alone.
    static int delProfile(QString name);
    // A new record the caller deletes; null when memory runs out.
    static MMS_UTIL_SETTING_SERVER_T* getServerSettings();
    // Writes every field (the single writes are not checked: the flush reports one the store
    // refused), then flushes the store: 0, 1 (also for a null record) or 2 from the flush. The
    // record stays the caller's.
    static int setServerSettings(MMS_UTIL_SETTING_SERVER_T* rec);
    // A new record the caller deletes; for an empty name the connection values are empty.
    static MMS_UTIL_SETTING_PROFILE_T* getProfileSettingsByName(QString name);
    // Writes the profile's values and the default profile's name from the record, then flushes:
    // 0, 1 (also for an empty name or a null record, nothing written) or 2 from the flush. The
    // record stays the caller's. The name is not added to the list (addProfile does that).
    static int setProfileSettingsByName(QString name, MMS_UTIL_SETTING_PROFILE_T* rec);

    // The block list: addresses joined by "," ("" when none is stored).
    static QString getBlockList();
    // Replaces the whole list with `list` as it is: 0, 1 or 2.
    static int setBlockList(QString list);
    // Appends `address` (after a "," unless the list is empty): 0 added, 1 refused, 2 storage
    // full, 3 already blocked by the rule of isInBlockList (nothing written).
    static int addToBlockList(QString address);
    // 1 when an item of the list contains the address or the address contains the item
    // (case-sensitive), else 0. This loose match is how senders have always been blocked. Items
    // are compared as Latin-1 text. A list ending in blanks (after its last "," or alone) has an
    // empty last item, which blocks every address but the empty one; an empty address is blocked
    // by every item that is not empty.
    static int isInBlockList(QString list, QString address);
    // The same against the stored list.
    static int isInBlockList(QString address);

    // The sending options: delivery report, read report, expiry in seconds and priority (128 Low,
    // 129 Normal, 130 High). getSendingOption always returns 0; setSendingOption stops at the
    // first write that fails (earlier ones stay written) and returns 0, 1 or 2.
    // Missing keys read as false, false, 65535 and 129; a stored priority comes back as its low
    // 8 bits, unchecked. The expiry is the key getExpireAfterSec() reads.
    static int getSendingOption(bool& deliveryReport, bool& readReport, unsigned int& expiry,
                                unsigned char& priority);
    static int setSendingOption(bool deliveryReport, bool readReport, unsigned int expiry,
                                unsigned char priority);
};

#endif
