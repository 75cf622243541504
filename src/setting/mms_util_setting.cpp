#include "mms_util_setting.h"

#include "settings_store.h"

#include "mms_util_tool.h"
#include "setup_set_manager.h"
#include "setup_utility.h"

#include <cerrno>
#include <new>

using namespace tavmms::settings;

namespace
{

const AM_Global::Apps kApp = AM_Global::APP_MMS;
// The store's open mode: whether the caller means to write.
const bool kForReading = false;
const bool kForWriting = true;

const int kDefaultMaxMOSize = 50;
const int kDefaultMaxMTSize = 100;
const int kDefaultExpireAfterSec = 65535;
const int kDefaultSendPriority = 129;

// Feature flag numbers.
const SETUP_FLEX_ID_T kFilterFlag = 49;
const SETUP_FLEX_ID_T kSenderVisibilityFlag = 50;
const SETUP_FLEX_ID_T kChwFlag = 112;

// The result code of a refused write, from errno as the refusal left it.
int refusal(int otherwise)
{
    return errno == ENOSPC ? 2 : otherwise;
}

int resultOf(bool written)
{
    return written ? 0 : refusal(1);
}

QString emptyText()
{
    return QStringLiteral("");
}

// The typed forms of the store; text goes with the store's option flag, always false here.
template <typename T>
void getValue(SETUP_SET_Manager& store, const QString& group, const QString& key, T& value,
              T defaultValue)
{
    store.getSettingInfo(group, key, value, defaultValue);
}

void getValue(SETUP_SET_Manager& store, const QString& group, const QString& key, QString& value,
              QString defaultValue)
{
    store.getSettingInfo(group, key, value, defaultValue, false);
}

template <typename T>
bool putValue(SETUP_SET_Manager& store, const QString& group, const QString& key, T value)
{
    return store.setSettingInfo(group, key, value);
}

bool putValue(SETUP_SET_Manager& store, const QString& group, const QString& key, QString value)
{
    return store.setSettingInfo(group, key, value, false);
}

// Opens the store for reading and reads one key; `preset` is what comes back when the store
// leaves the value untouched.
template <typename T> T readKey(const QString& group, const QString& key, T defaultValue, T preset)
{
    SETUP_SET_Manager store(kApp, kForReading);
    T value = preset;
    getValue(store, group, key, value, defaultValue);
    return value;
}

template <typename T> T readKey(const QString& group, const QString& key, T defaultValue)
{
    return readKey(group, key, defaultValue, defaultValue);
}

template <typename T> T readGlobal(const QString& key, T defaultValue)
{
    return readKey(kGlobalGroup, key, defaultValue);
}

// An empty profile name gives the default without opening the store.
template <typename T> T readProfileKey(const QString& profile, const QString& key, T defaultValue)
{
    return profile.isEmpty() ? defaultValue : readKey(profile, key, defaultValue);
}

// Opens the store, writes one key and returns 0, 1 or 2. The code is taken before the store
// closes, so that closing cannot change errno first.
template <typename T>
int writeKey(const QString& group, const QString& key, T value, bool openMode = kForWriting)
{
    SETUP_SET_Manager store(kApp, openMode);
    return resultOf(putValue(store, group, key, value));
}

template <typename T> int writeGlobal(const QString& key, T value)
{
    return writeKey(kGlobalGroup, key, value);
}

// An empty profile name is refused without opening the store.
template <typename T> int writeProfileKey(const QString& profile, const QString& key, T value)
{
    return profile.isEmpty() ? 1 : writeKey(profile, key, value);
}

// A flag of the global group as 1 or 0, true when missing.
int readFlag(SETUP_SET_Manager& store, const QString& key)
{
    bool value = true;
    getValue(store, kGlobalGroup, key, value, true);
    return value ? 1 : 0;
}

// The record writers judge only the final flush; the single writes before it go unchecked.
int flushResult(SETUP_SET_Manager& store)
{
    return resultOf(store.flush());
}

// The flag as the platform has it; true when the platform leaves it unset.
bool flexBit(SETUP_FLEX_ID_T id)
{
    SETUP_Utility utility;
    bool value = true;
    utility.getFlexBit(id, value);
    return value;
}

} // namespace

MMS_UTIL_Setting::MMS_UTIL_Setting() = default;

MMS_UTIL_Setting::~MMS_UTIL_Setting() = default;

QString MMS_UTIL_Setting::getMMSServerURIByProf(QString profile)
{
    return readProfileKey(profile, kServerAddress, emptyText());
}

QString MMS_UTIL_Setting::getDataConnectProfileNameByProf(QString profile)
{
    return readProfileKey(profile, kConnectionProfile, emptyText());
}

unsigned int MMS_UTIL_Setting::getWAPGatewayByProf(QString profile)
{
    return readProfileKey(profile, kWapGateway, 0u);
}

unsigned char MMS_UTIL_Setting::getConnectionTypeByProf(QString profile)
{
    return static_cast<unsigned char>(readProfileKey(profile, kConnectionType, 0u));
}

unsigned char MMS_UTIL_Setting::getSecureTypeByProf(QString profile)
{
    return static_cast<unsigned char>(readProfileKey(profile, kSecureConnectionType, 0u));
}

int MMS_UTIL_Setting::setMMSServerURIByProf(QString profile, QString value)
{
    return writeProfileKey(profile, kServerAddress, value);
}

int MMS_UTIL_Setting::setDataConnectProfileNameByProf(QString profile, QString value)
{
    return writeProfileKey(profile, kConnectionProfile, value);
}

int MMS_UTIL_Setting::setWAPGatewayByProf(QString profile, unsigned int value)
{
    return writeProfileKey(profile, kWapGateway, value);
}

int MMS_UTIL_Setting::setConnectionTypeByProf(QString profile, unsigned char value)
{
    return writeProfileKey(profile, kConnectionType, static_cast<unsigned int>(value));
}

int MMS_UTIL_Setting::setSecureTypeByProf(QString profile, unsigned char value)
{
    return writeProfileKey(profile, kSecureConnectionType, static_cast<unsigned int>(value));
}

QString MMS_UTIL_Setting::getMMSServerURI()
{
    return getMMSServerURIByProf(getDefaultMMSProfile());
}

int MMS_UTIL_Setting::setMMSServerURI(QString value)
{
    return setMMSServerURIByProf(getDefaultMMSProfile(), value);
}

QString MMS_UTIL_Setting::getDataConnectProfileName()
{
    return getDataConnectProfileNameByProf(getDefaultMMSProfile());
}

int MMS_UTIL_Setting::setDataConnectProfileName(QString value)
{
    return setDataConnectProfileNameByProf(getDefaultMMSProfile(), value);
}

unsigned int MMS_UTIL_Setting::getWAPGateway()
{
    return getWAPGatewayByProf(getDefaultMMSProfile());
}

int MMS_UTIL_Setting::setWAPGateway(unsigned int value)
{
    return setWAPGatewayByProf(getDefaultMMSProfile(), value);
}

unsigned char MMS_UTIL_Setting::getConnectionType()
{
    return getConnectionTypeByProf(getDefaultMMSProfile());
}

int MMS_UTIL_Setting::setConnectionType(unsigned char value)
{
    return setConnectionTypeByProf(getDefaultMMSProfile(), value);
}

unsigned char MMS_UTIL_Setting::getSecureType()
{
    return getSecureTypeByProf(getDefaultMMSProfile());
}

int MMS_UTIL_Setting::setSecureType(unsigned char value)
{
    return setSecureTypeByProf(getDefaultMMSProfile(), value);
}

int MMS_UTIL_Setting::getRoamingDelayedRetrieval()
{
    return readGlobal(kRoamingDelayedRetrieval, true) ? 1 : 0;
}

int MMS_UTIL_Setting::setRoamingDelayedRetrieval(int value)
{
    return writeGlobal(kRoamingDelayedRetrieval, value != 0);
}

int MMS_UTIL_Setting::getMTSizeLimitationState()
{
    return readGlobal(kMTSizeLimitationState, true) ? 1 : 0;
}

// Written as a number but read back as a flag: other applications read the number as it is.
int MMS_UTIL_Setting::setMTSizeLimitationState(int value)
{
    return writeGlobal(kMTSizeLimitationState, value);
}

int MMS_UTIL_Setting::getAutoRetrievalSetting()
{
    return readGlobal(kAutoDownload, true) ? 1 : 0;
}

int MMS_UTIL_Setting::setAutoRetrievalSetting(int value)
{
    return writeGlobal(kAutoDownload, value != 0);
}

int MMS_UTIL_Setting::getMaxiumMOMMSSize(int raw)
{
    const int stored = readGlobal(kMaxMOSize, kDefaultMaxMOSize);
    return stored == 0 && raw == 0 ? kDefaultMaxMOSize : stored;
}

// The only writer that opens the store in read mode; the store accepts the write all the same.
int MMS_UTIL_Setting::setMaxiumMOMMSSize(int value)
{
    return writeKey(kGlobalGroup, kMaxMOSize, value, kForReading);
}

int MMS_UTIL_Setting::getMaxiumMTMMSSize()
{
    return readGlobal(kMaxMTSize, kDefaultMaxMTSize);
}

int MMS_UTIL_Setting::setMaxiumMTMMSSize(int value)
{
    return writeGlobal(kMaxMTSize, value);
}

int MMS_UTIL_Setting::getSenderVisibility()
{
    return readGlobal(kSenderVisible, 1);
}

int MMS_UTIL_Setting::setSenderVisibility(int value)
{
    return writeGlobal(kSenderVisible, value);
}

// 100 comes back only from a store that leaves the value untouched; a missing key gives 65535.
int MMS_UTIL_Setting::getExpireAfterSec()
{
    return readKey(kGlobalGroup, kExpireAfterSec, kDefaultExpireAfterSec, 100);
}

int MMS_UTIL_Setting::setExpireAfterSec(int value)
{
    return writeGlobal(kExpireAfterSec, value);
}

int MMS_UTIL_Setting::getDeliveryRepAllowedity()
{
    return readGlobal(kDeliRepAllowed, 1);
}

int MMS_UTIL_Setting::setDeliveryRepAllowedity(int value)
{
    return writeGlobal(kDeliRepAllowed, value);
}

bool MMS_UTIL_Setting::getFilterFlexBitSetting()
{
    return flexBit(kFilterFlag);
}

bool MMS_UTIL_Setting::getSenderVisibilityFlexBitSetting()
{
    return flexBit(kSenderVisibilityFlag);
}

bool MMS_UTIL_Setting::isChwAvailable()
{
    return flexBit(kChwFlag);
}

QString MMS_UTIL_Setting::getDefaultMMSProfile()
{
    return readGlobal(kDefaultProfile, emptyText());
}

int MMS_UTIL_Setting::setDefaultMMSProfile(QString name)
{
    return writeGlobal(kDefaultProfile, name);
}

QStringList MMS_UTIL_Setting::getMMSProfiles()
{
    SETUP_SET_Manager store(kApp, kForReading);
    return store.getEntryKeyList(kProfileListGroup).keys();
}

int MMS_UTIL_Setting::addProfile(QString name)
{
    const QStringList profiles = getMMSProfiles();
    // The list is meant to hold fewer than 256 profiles, and the duplicate check walks it with an
    // 8-bit index: a name listed beyond the first 256 is not seen, and writing it again is
    // harmless. The walk ends there rather than wrap around.
    for (unsigned char i = 0; i < profiles.size(); ++i) {
        if (profiles.at(i) == name)
            return 1;
        if (i == 255)
            break;
    }
    SETUP_SET_Manager store(kApp, kForWriting);
    return putValue(store, kProfileListGroup, name, 1) ? 0 : refusal(3);
}

int MMS_UTIL_Setting::delProfile(QString name)
{
    SETUP_SET_Manager store(kApp, kForWriting);
    // The group stays when the name could not be taken off the list.
    return resultOf(store.removeEntry(kProfileListGroup, name) && store.clearGroup(name));
}

MMS_UTIL_SETTING_SERVER_T* MMS_UTIL_Setting::getServerSettings()
{
    auto* rec = new (std::nothrow) MMS_UTIL_SETTING_SERVER_T();
    if (!rec)
        return nullptr;
    SETUP_SET_Manager store(kApp, kForReading);
    getValue(store, kGlobalGroup, kDefaultProfile, rec->defaultProfile, emptyText());
    getValue(store, kGlobalGroup, kExpireAfterSec, rec->expireAfterSec, kDefaultExpireAfterSec);
    getValue(store, kGlobalGroup, kMaxMOSize, rec->maxMOSize, kDefaultMaxMOSize);
    rec->autoDownload = readFlag(store, kAutoDownload);
    rec->roamingDelayedRetrieval = readFlag(store, kRoamingDelayedRetrieval);
    rec->mtSizeLimitation = readFlag(store, kMTSizeLimitationState);
    getValue(store, kGlobalGroup, kMaxMTSize, rec->maxMTSize, kDefaultMaxMTSize);
    // Read as flags here, though the single-value readers read these two as numbers.
    rec->deliRepAllowed = readFlag(store, kDeliRepAllowed);
    rec->senderVisible = readFlag(store, kSenderVisible);
    getValue(store, kGlobalGroup, kBlockList, rec->blockList, emptyText());
    return rec;
}

int MMS_UTIL_Setting::setServerSettings(MMS_UTIL_SETTING_SERVER_T* rec)
{
    if (!rec)
        return 1;
    // The record writers open the store in read mode, though they write.
    SETUP_SET_Manager store(kApp, kForReading);
    putValue(store, kGlobalGroup, kDefaultProfile, rec->defaultProfile);
    putValue(store, kGlobalGroup, kExpireAfterSec, rec->expireAfterSec);
    putValue(store, kGlobalGroup, kMaxMOSize, rec->maxMOSize);
    putValue(store, kGlobalGroup, kAutoDownload, rec->autoDownload);
    putValue(store, kGlobalGroup, kRoamingDelayedRetrieval, rec->roamingDelayedRetrieval);
    putValue(store, kGlobalGroup, kMTSizeLimitationState, rec->mtSizeLimitation);
    putValue(store, kGlobalGroup, kMaxMTSize, rec->maxMTSize);
    putValue(store, kGlobalGroup, kDeliRepAllowed, rec->deliRepAllowed);
    putValue(store, kGlobalGroup, kSenderVisible, rec->senderVisible);
    putValue(store, kGlobalGroup, kBlockList, rec->blockList);
    return flushResult(store);
}

MMS_UTIL_SETTING_PROFILE_T* MMS_UTIL_Setting::getProfileSettingsByName(QString name)
{
    auto* rec = new (std::nothrow) MMS_UTIL_SETTING_PROFILE_T();
    if (!rec)
        return nullptr;
    SETUP_SET_Manager store(kApp, kForReading);
    getValue(store, kGlobalGroup, kDefaultProfile, rec->defaultProfile, emptyText());
    if (name.isEmpty()) {
        rec->serverAddress = emptyText();
        rec->connectionProfile = emptyText();
        return rec;
    }
    unsigned int connectionType = 0;
    unsigned int secureConnectionType = 0;
    getValue(store, name, kServerAddress, rec->serverAddress, emptyText());
    getValue(store, name, kConnectionProfile, rec->connectionProfile, emptyText());
    getValue(store, name, kWapGateway, rec->wapGateway, 0u);
    getValue(store, name, kConnectionType, connectionType, 0u);
    getValue(store, name, kSecureConnectionType, secureConnectionType, 0u);
    rec->connectionType = static_cast<unsigned char>(connectionType);
    rec->secureConnectionType = static_cast<unsigned char>(secureConnectionType);
    return rec;
}

int MMS_UTIL_Setting::setProfileSettingsByName(QString name, MMS_UTIL_SETTING_PROFILE_T* rec)
{
    if (name.isEmpty() || !rec)
        return 1;
    SETUP_SET_Manager store(kApp, kForReading);
    putValue(store, name, kServerAddress, rec->serverAddress);
    putValue(store, name, kConnectionProfile, rec->connectionProfile);
    putValue(store, name, kWapGateway, rec->wapGateway);
    putValue(store, name, kConnectionType, static_cast<unsigned int>(rec->connectionType));
    putValue(store, name, kSecureConnectionType,
             static_cast<unsigned int>(rec->secureConnectionType));
    // Saving a profile always rewrites the global default from the record.
    putValue(store, kGlobalGroup, kDefaultProfile, rec->defaultProfile);
    return flushResult(store);
}

QString MMS_UTIL_Setting::getBlockList()
{
    return readGlobal(kBlockList, emptyText());
}

int MMS_UTIL_Setting::setBlockList(QString list)
{
    return writeGlobal(kBlockList, list);
}

int MMS_UTIL_Setting::addToBlockList(QString address)
{
    const QString list = getBlockList();
    if (isInBlockList(list, address))
        return 3;
    return setBlockList(list.isEmpty() ? address : list + QLatin1Char(',') + address);
}

int MMS_UTIL_Setting::isInBlockList(QString list, QString address)
{
    // The items are compared as Latin-1 text, and by containment in either direction, so that a
    // listed number also blocks the same number with a country prefix.
    const QValueList<QCString> items = MMS_UTIL_Tool::split(QCString(","), list.toLatin1());
    for (const QCString& bytes : items) {
        const QString item = QString::fromLatin1(bytes);
        const bool contained = item.length() < address.length()
                                   ? address.lastIndexOf(item, -1) != -1
                                   : item.lastIndexOf(address, -1) != -1;
        if (contained)
            return 1;
    }
    return 0;
}

int MMS_UTIL_Setting::isInBlockList(QString address)
{
    return isInBlockList(getBlockList(), address);
}

int MMS_UTIL_Setting::getSendingOption(bool& deliveryReport, bool& readReport, unsigned int& expiry,
                                       unsigned char& priority)
{
    SETUP_SET_Manager store(kApp, kForReading);
    getValue(store, kGlobalGroup, kDeliveryReport, deliveryReport, false);
    getValue(store, kGlobalGroup, kReadReport, readReport, false);
    getValue(store, kGlobalGroup, kExpireAfterSec, expiry, unsigned(kDefaultExpireAfterSec));
    int storedPriority = kDefaultSendPriority;
    getValue(store, kGlobalGroup, kSendPriority, storedPriority, kDefaultSendPriority);
    priority = static_cast<unsigned char>(storedPriority);
    return 0;
}

int MMS_UTIL_Setting::setSendingOption(bool deliveryReport, bool readReport, unsigned int expiry,
                                       unsigned char priority)
{
    SETUP_SET_Manager store(kApp, kForWriting);
    // Stops at the first refused write; what was written before it stays.
    return resultOf(putValue(store, kGlobalGroup, kDeliveryReport, deliveryReport) &&
                    putValue(store, kGlobalGroup, kReadReport, readReport) &&
                    putValue(store, kGlobalGroup, kExpireAfterSec, expiry) &&
                    putValue(store, kGlobalGroup, kSendPriority, int(priority)));
}
