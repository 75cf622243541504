// Every call MMS_UTIL_Setting makes into the settings store and the feature flags, in order: how
// it opens and closes the store, each read and write with its group, key, typed form and default,
// and the result codes when the store refuses a write.

#include "mms_util_setting.h"

#include "support/mock_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace
{

using tavmms_test::expectRead;
using tavmms_test::expectUntouchedRead;
using tavmms_test::expectWrite;
using tavmms_test::MockFeatureFlags;
using tavmms_test::MockSettingsStore;
using tavmms_test::storeOutcome;
using tavmms_test::StoreValue;
using ::testing::_;
using ::testing::DoAll;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::SetArgReferee;
using ::testing::StrictMock;

using Entries = QMap<QString, QString>;

const QString kGlobal = QStringLiteral("MMS_GRP");
const QString kProfileList = QStringLiteral("MMS_Profile_List");
const QString kDefaultProfileKey = QStringLiteral("MMS_Default_MMS_Profile");
const QString kBlockListKey = QStringLiteral("MMS_Block_List");
// A profile name is a group name as it is, whatever it holds.
const QString kProfile = QStringLiteral("Work \"main\"; a/b");
const QString kDefaultName = QStringLiteral("Home");
const QString kEmpty = QStringLiteral("");

StoreValue text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

// How the store answers a write, and the result code the writer makes of it.
struct WriteOutcome {
    int error; // errno after the write; 0 when it succeeds
    int code;
};

std::string describe(const WriteOutcome& outcome)
{
    return "errno " + std::to_string(outcome.error);
}

const std::vector<WriteOutcome> kWriteOutcomes = {{0, 0}, {ENOSPC, 2}, {EIO, 1}, {EACCES, 1}};

class SettingCallsTest : public ::testing::Test
{
protected:
    void expectOpen(bool forWriting) { EXPECT_CALL(store, open(3, forWriting)); }
    // Closing changes errno here: the result codes must have been taken before.
    void expectClose()
    {
        EXPECT_CALL(store, close()).WillOnce([] { errno = EBADF; });
    }
    // A whole one-key reader: open for reading, the read, close.
    void expectReadCall(const QString& group, const QString& key, const StoreValue& defaultValue,
                        const std::optional<StoreValue>& stored)
    {
        expectOpen(false);
        expectRead(store, group, key, defaultValue, stored);
        expectClose();
    }
    // A whole one-key writer: open, the write, close.
    void expectWriteCall(const QString& group, const QString& key, const StoreValue& value,
                         int error, bool forWriting = true)
    {
        expectOpen(forWriting);
        expectWrite(store, group, key, value, error);
        expectClose();
    }
    void expectDefaultProfileRead(const std::optional<StoreValue>& name)
    {
        expectReadCall(kGlobal, kDefaultProfileKey, kEmpty, name);
    }
    void expectProfileList(const Entries& entries)
    {
        expectOpen(false);
        EXPECT_CALL(store, entries(kProfileList)).WillOnce(Return(entries));
        expectClose();
    }

    InSequence order;
    StrictMock<MockSettingsStore> store;
    StrictMock<MockFeatureFlags> flags;
    tavplatform::ScopedSettingsStoreService storeInstalled{&store};
    tavplatform::ScopedFeatureFlagService flagsInstalled{&flags};
};

// ---- per-profile values, by name and through the default profile

struct ProfileValueCase {
    const char* name;
    const char* key;
    StoreValue defaultValue; // form and default of the read
    StoreValue stored;
    StoreValue expected; // what the reader makes of `stored`
    std::function<StoreValue(const QString&)> readByProfile;
    std::function<StoreValue()> readOfDefault;
    std::function<int(const QString&)> writeByProfile; // writes a sample value
    std::function<int()> writeOfDefault;               // writes the same value
    StoreValue written;                                // that value as the store receives it
};

const ProfileValueCase kProfileValues[] = {
    {"ServerAddress", "MMS_Server_Address", kEmpty, text("http://mmsc.example.com/mms"),
     text("http://mmsc.example.com/mms"),
     [](const QString& p) { return StoreValue(MMS_UTIL_Setting::getMMSServerURIByProf(p)); },
     [] { return StoreValue(MMS_UTIL_Setting::getMMSServerURI()); },
     [](const QString& p) {
         return MMS_UTIL_Setting::setMMSServerURIByProf(p, QStringLiteral("http://new/"));
     },
     [] { return MMS_UTIL_Setting::setMMSServerURI(QStringLiteral("http://new/")); },
     text("http://new/")},
    {"ConnectionProfile", "MMS_Connection_Profile", kEmpty, text("operator mms"),
     text("operator mms"),
     [](const QString& p) {
         return StoreValue(MMS_UTIL_Setting::getDataConnectProfileNameByProf(p));
     },
     [] { return StoreValue(MMS_UTIL_Setting::getDataConnectProfileName()); },
     [](const QString& p) {
         return MMS_UTIL_Setting::setDataConnectProfileNameByProf(p, QStringLiteral("apn 2"));
     },
     [] { return MMS_UTIL_Setting::setDataConnectProfileName(QStringLiteral("apn 2")); },
     text("apn 2")},
    {"WapGateway", "MMS_WAP_Gateway", 0u, 3232235521u, 3232235521u,
     [](const QString& p) { return StoreValue(MMS_UTIL_Setting::getWAPGatewayByProf(p)); },
     [] { return StoreValue(MMS_UTIL_Setting::getWAPGateway()); },
     [](const QString& p) { return MMS_UTIL_Setting::setWAPGatewayByProf(p, 4294967295u); },
     [] { return MMS_UTIL_Setting::setWAPGateway(4294967295u); }, 4294967295u},
    {"ConnectionType", "MMS_Connection_Type", 0u, 511u, 255u,
     [](const QString& p) {
         return StoreValue(unsigned(MMS_UTIL_Setting::getConnectionTypeByProf(p)));
     },
     [] { return StoreValue(unsigned(MMS_UTIL_Setting::getConnectionType())); },
     [](const QString& p) { return MMS_UTIL_Setting::setConnectionTypeByProf(p, 200); },
     [] { return MMS_UTIL_Setting::setConnectionType(200); }, 200u},
    {"SecureType", "MMS_Secure_Connection_Type", 0u, 258u, 2u,
     [](const QString& p) {
         return StoreValue(unsigned(MMS_UTIL_Setting::getSecureTypeByProf(p)));
     },
     [] { return StoreValue(unsigned(MMS_UTIL_Setting::getSecureType())); },
     [](const QString& p) { return MMS_UTIL_Setting::setSecureTypeByProf(p, 255); },
     [] { return MMS_UTIL_Setting::setSecureType(255); }, 255u},
};

void PrintTo(const ProfileValueCase& c, std::ostream* os)
{
    *os << c.name;
}

class ProfileValueTest : public SettingCallsTest,
                         public ::testing::WithParamInterface<ProfileValueCase>
{
};

TEST_P(ProfileValueTest, ReaderReadsTheProfileGroupThroughItsForm)
{
    const ProfileValueCase& c = GetParam();
    expectReadCall(kProfile, c.key, c.defaultValue, c.stored);
    EXPECT_EQ(c.readByProfile(kProfile), c.expected);
}

TEST_P(ProfileValueTest, ReaderOfMissingKeyGivesTheDefault)
{
    const ProfileValueCase& c = GetParam();
    expectReadCall(kProfile, c.key, c.defaultValue, std::nullopt);
    EXPECT_EQ(c.readByProfile(kProfile), c.defaultValue);
}

TEST_P(ProfileValueTest, ReaderGivesTheDefaultWhenTheStoreLeavesTheValue)
{
    const ProfileValueCase& c = GetParam();
    expectOpen(false);
    expectUntouchedRead(store, kProfile, c.key, c.defaultValue);
    expectClose();
    EXPECT_EQ(c.readByProfile(kProfile), c.defaultValue);
}

TEST_P(ProfileValueTest, EmptyProfileNameNeverOpensTheStore)
{
    const ProfileValueCase& c = GetParam();
    for (const QString& name : {QString(), kEmpty}) {
        EXPECT_EQ(c.readByProfile(name), c.defaultValue);
        EXPECT_EQ(c.writeByProfile(name), 1);
    }
}

TEST_P(ProfileValueTest, WriterGivesTheStoreOutcomeAsResultCode)
{
    const ProfileValueCase& c = GetParam();
    for (const WriteOutcome& outcome : kWriteOutcomes) {
        SCOPED_TRACE(describe(outcome));
        expectWriteCall(kProfile, c.key, c.written, outcome.error);
        EXPECT_EQ(c.writeByProfile(kProfile), outcome.code);
    }
}

TEST_P(ProfileValueTest, DefaultProfileReaderReadsTheDefaultProfilesGroup)
{
    const ProfileValueCase& c = GetParam();
    expectDefaultProfileRead(kDefaultName);
    expectReadCall(kDefaultName, c.key, c.defaultValue, c.stored);
    EXPECT_EQ(c.readOfDefault(), c.expected);
}

TEST_P(ProfileValueTest, DefaultProfileReaderWithoutDefaultProfileGivesTheDefault)
{
    const ProfileValueCase& c = GetParam();
    expectDefaultProfileRead(std::nullopt);
    EXPECT_EQ(c.readOfDefault(), c.defaultValue);
    expectDefaultProfileRead(kEmpty);
    EXPECT_EQ(c.readOfDefault(), c.defaultValue);
}

TEST_P(ProfileValueTest, DefaultProfileWriterWritesTheDefaultProfilesGroup)
{
    const ProfileValueCase& c = GetParam();
    for (const WriteOutcome& outcome : kWriteOutcomes) {
        SCOPED_TRACE(describe(outcome));
        expectDefaultProfileRead(kDefaultName);
        expectWriteCall(kDefaultName, c.key, c.written, outcome.error);
        EXPECT_EQ(c.writeOfDefault(), outcome.code);
    }
}

TEST_P(ProfileValueTest, DefaultProfileWriterWithoutDefaultProfileGives1AndWritesNothing)
{
    const ProfileValueCase& c = GetParam();
    expectDefaultProfileRead(std::nullopt);
    EXPECT_EQ(c.writeOfDefault(), 1);
}

INSTANTIATE_TEST_SUITE_P(Settings, ProfileValueTest, ::testing::ValuesIn(kProfileValues),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- global options

struct GlobalOptionCase {
    const char* name;
    const char* key;
    StoreValue defaultValue; // form and default of the read
    StoreValue stored;
    int expected;        // the reader's result for `stored`
    int expectedDefault; // ... when the key is missing
    int expectedPreset;  // ... when the store leaves the value as it was
    std::function<int()> read;
    std::function<int(int)> write;
    int argument;
    StoreValue written; // `argument` as the store receives it
    bool writerOpensForWriting;
};

const GlobalOptionCase kGlobalOptions[] = {
    {"RoamingDelayedRetrieval", "MMS_Roaming_Delayed_Retrieval", true, false, 0, 1, 1,
     MMS_UTIL_Setting::getRoamingDelayedRetrieval, MMS_UTIL_Setting::setRoamingDelayedRetrieval, 7,
     true, true},
    {"MTSizeLimitationState", "MMS_Enable_MT_Size_Limitation", true, false, 0, 1, 1,
     MMS_UTIL_Setting::getMTSizeLimitationState, MMS_UTIL_Setting::setMTSizeLimitationState, 5, 5,
     true},
    {"AutoRetrieval", "MMS_AutoDownload", true, true, 1, 1, 1,
     MMS_UTIL_Setting::getAutoRetrievalSetting, MMS_UTIL_Setting::setAutoRetrievalSetting, 0, false,
     true},
    {"MaxMOSizeRaw", "MMS_MO_Size_Limitation", 50, 0, 0, 50, 50,
     [] { return MMS_UTIL_Setting::getMaxiumMOMMSSize(1); }, MMS_UTIL_Setting::setMaxiumMOMMSSize,
     70, 70, false},
    {"MaxMTSize", "MMS_MT_Size_Limitation", 100, 300, 300, 100, 100,
     MMS_UTIL_Setting::getMaxiumMTMMSSize, MMS_UTIL_Setting::setMaxiumMTMMSSize, 250, 250, true},
    {"SenderVisibility", "MMS_Sender_Visible", 1, 2, 2, 1, 1, MMS_UTIL_Setting::getSenderVisibility,
     MMS_UTIL_Setting::setSenderVisibility, 0, 0, true},
    {"ExpireAfterSec", "MMS_Expire_After_Sec", 65535, 300, 300, 65535, 100,
     MMS_UTIL_Setting::getExpireAfterSec, MMS_UTIL_Setting::setExpireAfterSec, 86400, 86400, true},
    {"DeliveryRepAllowed", "MMS_DeliRep_Allowed", 1, 0, 0, 1, 1,
     MMS_UTIL_Setting::getDeliveryRepAllowedity, MMS_UTIL_Setting::setDeliveryRepAllowedity, 3, 3,
     true},
};

void PrintTo(const GlobalOptionCase& c, std::ostream* os)
{
    *os << c.name;
}

class GlobalOptionTest : public SettingCallsTest,
                         public ::testing::WithParamInterface<GlobalOptionCase>
{
};

TEST_P(GlobalOptionTest, ReaderReadsTheGlobalGroupThroughItsForm)
{
    const GlobalOptionCase& c = GetParam();
    expectReadCall(kGlobal, c.key, c.defaultValue, c.stored);
    EXPECT_EQ(c.read(), c.expected);
}

TEST_P(GlobalOptionTest, ReaderOfMissingKeyGivesTheDefault)
{
    const GlobalOptionCase& c = GetParam();
    expectReadCall(kGlobal, c.key, c.defaultValue, std::nullopt);
    EXPECT_EQ(c.read(), c.expectedDefault);
}

TEST_P(GlobalOptionTest, ReaderGivesItsPresetWhenTheStoreLeavesTheValue)
{
    const GlobalOptionCase& c = GetParam();
    expectOpen(false);
    expectUntouchedRead(store, kGlobal, c.key, c.defaultValue);
    expectClose();
    EXPECT_EQ(c.read(), c.expectedPreset);
}

TEST_P(GlobalOptionTest, WriterGivesTheStoreOutcomeAsResultCode)
{
    const GlobalOptionCase& c = GetParam();
    for (const WriteOutcome& outcome : kWriteOutcomes) {
        SCOPED_TRACE(describe(outcome));
        expectWriteCall(kGlobal, c.key, c.written, outcome.error, c.writerOpensForWriting);
        EXPECT_EQ(c.write(c.argument), outcome.code);
    }
}

INSTANTIATE_TEST_SUITE_P(Settings, GlobalOptionTest, ::testing::ValuesIn(kGlobalOptions),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(SettingCallsTest, FlagWritersStoreAnyNonZeroArgumentAsTrue)
{
    expectWriteCall(kGlobal, QStringLiteral("MMS_Roaming_Delayed_Retrieval"), false, 0);
    EXPECT_EQ(MMS_UTIL_Setting::setRoamingDelayedRetrieval(0), 0);
    expectWriteCall(kGlobal, QStringLiteral("MMS_AutoDownload"), true, 0);
    EXPECT_EQ(MMS_UTIL_Setting::setAutoRetrievalSetting(-1), 0);
}

TEST_F(SettingCallsTest, EffectiveMOSizeReplacesAStoredZeroByFifty)
{
    const QString key = QStringLiteral("MMS_MO_Size_Limitation");
    expectReadCall(kGlobal, key, 50, 0);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(0), 50);
    expectReadCall(kGlobal, key, 50, 70);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(0), 70);
    expectReadCall(kGlobal, key, 50, 0);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(-3), 0);
    expectReadCall(kGlobal, key, 50, std::nullopt);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(0), 50);
}

TEST_F(SettingCallsTest, DefaultProfileNameIsGlobalText)
{
    expectDefaultProfileRead(kDefaultName);
    EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), kDefaultName);
    expectDefaultProfileRead(std::nullopt);
    const QString missing = MMS_UTIL_Setting::getDefaultMMSProfile();
    EXPECT_TRUE(missing.isEmpty() && !missing.isNull());
}

TEST_F(SettingCallsTest, DefaultProfileReaderGivesEmptyTextWhenTheStoreLeavesTheValue)
{
    expectOpen(false);
    expectUntouchedRead(store, kGlobal, kDefaultProfileKey, kEmpty);
    expectClose();
    const QString name = MMS_UTIL_Setting::getDefaultMMSProfile();
    EXPECT_TRUE(name.isEmpty() && !name.isNull());
}

TEST_F(SettingCallsTest, DefaultProfileWriterTakesAnyNameAndGivesTheStoreOutcome)
{
    for (const WriteOutcome& outcome : kWriteOutcomes) {
        SCOPED_TRACE(describe(outcome));
        expectWriteCall(kGlobal, kDefaultProfileKey, kProfile, outcome.error);
        EXPECT_EQ(MMS_UTIL_Setting::setDefaultMMSProfile(kProfile), outcome.code);
    }
    expectWriteCall(kGlobal, kDefaultProfileKey, kEmpty, 0);
    EXPECT_EQ(MMS_UTIL_Setting::setDefaultMMSProfile(kEmpty), 0);
}

TEST_F(SettingCallsTest, OperationsWorkThroughAnInstanceToo)
{
    MMS_UTIL_Setting setting;
    expectReadCall(kGlobal, kBlockListKey, kEmpty, text("123"));
    EXPECT_EQ(setting.getBlockList(), QStringLiteral("123"));
}

// ---- feature flags

struct FlagCase {
    const char* name;
    int id;
    bool (*read)();
};

const FlagCase kFlags[] = {
    {"Filter", 49, MMS_UTIL_Setting::getFilterFlexBitSetting},
    {"SenderVisibility", 50, MMS_UTIL_Setting::getSenderVisibilityFlexBitSetting},
    {"Chw", 112, MMS_UTIL_Setting::isChwAvailable},
};

void PrintTo(const FlagCase& c, std::ostream* os)
{
    *os << c.name;
}

class FeatureFlagTest : public SettingCallsTest, public ::testing::WithParamInterface<FlagCase>
{
};

TEST_P(FeatureFlagTest, FlagLeftUnsetByThePlatformIsTrue)
{
    EXPECT_CALL(flags, getFlexBit(GetParam().id, _)).WillOnce([](int, bool& value) {
        EXPECT_TRUE(value);
        return false;
    });
    EXPECT_TRUE(GetParam().read());
}

TEST_P(FeatureFlagTest, FlagIsWhatThePlatformWrote)
{
    EXPECT_CALL(flags, getFlexBit(GetParam().id, _))
        .WillOnce(DoAll(SetArgReferee<1>(false), Return(true)));
    EXPECT_FALSE(GetParam().read());
}

TEST_P(FeatureFlagTest, ResultOfThePlatformCallIsIgnored)
{
    EXPECT_CALL(flags, getFlexBit(GetParam().id, _))
        .WillOnce(DoAll(SetArgReferee<1>(false), Return(false)));
    EXPECT_FALSE(GetParam().read());
}

INSTANTIATE_TEST_SUITE_P(Settings, FeatureFlagTest, ::testing::ValuesIn(kFlags),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- the list of profiles

TEST_F(SettingCallsTest, ProfilesAreTheListsKeysInMapOrder)
{
    const QString one = QStringLiteral("1");
    expectProfileList({{"b", one}, {"\u00c4", one}, {"B", one}, {"a", one}, {"A", one}});
    EXPECT_EQ(MMS_UTIL_Setting::getMMSProfiles(),
              QStringList({"A", "B", "a", "b", QString::fromUtf8("\u00c4")}));
}

TEST_F(SettingCallsTest, NoListGivesNoProfiles)
{
    expectProfileList({});
    EXPECT_TRUE(MMS_UTIL_Setting::getMMSProfiles().isEmpty());
}

TEST_F(SettingCallsTest, AddProfileWritesOneIntoTheList)
{
    const std::vector<WriteOutcome> outcomes = {{0, 0}, {ENOSPC, 2}, {EIO, 3}, {EACCES, 3}};
    for (const WriteOutcome& outcome : outcomes) {
        SCOPED_TRACE(describe(outcome));
        expectProfileList({{"Other", "1"}});
        expectWriteCall(kProfileList, kProfile, 1, outcome.error);
        EXPECT_EQ(MMS_UTIL_Setting::addProfile(kProfile), outcome.code);
    }
}

TEST_F(SettingCallsTest, AddProfileOfAListedNameGives1AndWritesNothing)
{
    expectProfileList({{"A", "1"}, {kProfile, "1"}, {"z", "1"}});
    EXPECT_EQ(MMS_UTIL_Setting::addProfile(kProfile), 1);
}

TEST_F(SettingCallsTest, AddProfileComparesNamesCaseSensitively)
{
    expectProfileList({{"work", "1"}});
    expectWriteCall(kProfileList, QStringLiteral("Work"), 1, 0);
    EXPECT_EQ(MMS_UTIL_Setting::addProfile(QStringLiteral("Work")), 0);
}

TEST_F(SettingCallsTest, AddProfileLooksForDuplicatesAmongTheFirst256NamesOnly)
{
    Entries many;
    for (int i = 0; i < 300; ++i)
        many.insert(QStringLiteral("p%1").arg(i, 3, 10, QLatin1Char('0')), QStringLiteral("1"));
    expectProfileList(many);
    EXPECT_EQ(MMS_UTIL_Setting::addProfile(QStringLiteral("p255")), 1);
    expectProfileList(many);
    expectWriteCall(kProfileList, QStringLiteral("p256"), 1, 0);
    EXPECT_EQ(MMS_UTIL_Setting::addProfile(QStringLiteral("p256")), 0);
}

TEST_F(SettingCallsTest, DelProfileRemovesTheNameThenTheGroup)
{
    expectOpen(true);
    EXPECT_CALL(store, removeEntry(kProfileList, kProfile)).WillOnce(Return(true));
    EXPECT_CALL(store, clearGroup(kProfile)).WillOnce(Return(true));
    expectClose();
    EXPECT_EQ(MMS_UTIL_Setting::delProfile(kProfile), 0);
}

TEST_F(SettingCallsTest, DelProfileKeepsTheGroupWhenTheNameStaysListed)
{
    for (const WriteOutcome& outcome : {WriteOutcome{ENOSPC, 2}, WriteOutcome{EIO, 1}}) {
        SCOPED_TRACE(describe(outcome));
        expectOpen(true);
        EXPECT_CALL(store, removeEntry(kProfileList, kProfile))
            .WillOnce(storeOutcome(outcome.error));
        expectClose();
        EXPECT_EQ(MMS_UTIL_Setting::delProfile(kProfile), outcome.code);
    }
}

TEST_F(SettingCallsTest, DelProfileReportsAGroupThatCouldNotBeCleared)
{
    for (const WriteOutcome& outcome : {WriteOutcome{ENOSPC, 2}, WriteOutcome{EIO, 1}}) {
        SCOPED_TRACE(describe(outcome));
        expectOpen(true);
        EXPECT_CALL(store, removeEntry(kProfileList, kProfile)).WillOnce(Return(true));
        EXPECT_CALL(store, clearGroup(kProfile)).WillOnce(storeOutcome(outcome.error));
        expectClose();
        EXPECT_EQ(MMS_UTIL_Setting::delProfile(kProfile), outcome.code);
    }
}

// ---- the server settings record

MMS_UTIL_SETTING_SERVER_T sampleServerRecord()
{
    return {QStringLiteral("Work"), 300, 0, 5, 0, 1, 200, 0, 1, QStringLiteral("123,456")};
}

class ServerRecordTest : public SettingCallsTest
{
protected:
    // The ten reads, each answered by the store with `stored` (in record order) or, where that is
    // empty, as a missing key.
    void expectServerReads(const std::vector<std::optional<StoreValue>>& stored)
    {
        expectOpen(false);
        for (int i = 0; i < 10; ++i)
            expectRead(store, kGlobal, kServerKeys[i], kServerDefaults[i], stored[i]);
        expectClose();
    }
    // The ten writes of `rec`, every one answered with `error`, then the flush.
    void expectServerWrites(const MMS_UTIL_SETTING_SERVER_T& rec, int writeError, int flushError)
    {
        const StoreValue values[] = {
            rec.defaultProfile,          rec.expireAfterSec,   rec.maxMOSize, rec.autoDownload,
            rec.roamingDelayedRetrieval, rec.mtSizeLimitation, rec.maxMTSize, rec.deliRepAllowed,
            rec.senderVisible,           rec.blockList};
        expectOpen(false);
        for (int i = 0; i < 10; ++i)
            expectWrite(store, kGlobal, kServerKeys[i], values[i], writeError);
        EXPECT_CALL(store, flush()).WillOnce(storeOutcome(flushError));
        expectClose();
    }

    const QString kServerKeys[10] = {
        QStringLiteral("MMS_Default_MMS_Profile"),
        QStringLiteral("MMS_Expire_After_Sec"),
        QStringLiteral("MMS_MO_Size_Limitation"),
        QStringLiteral("MMS_AutoDownload"),
        QStringLiteral("MMS_Roaming_Delayed_Retrieval"),
        QStringLiteral("MMS_Enable_MT_Size_Limitation"),
        QStringLiteral("MMS_MT_Size_Limitation"),
        QStringLiteral("MMS_DeliRep_Allowed"),
        QStringLiteral("MMS_Sender_Visible"),
        QStringLiteral("MMS_Block_List"),
    };
    // The form and default of each read.
    const StoreValue kServerDefaults[10] = {kEmpty, 65535, 50,   true, true,
                                            true,   100,   true, true, kEmpty};
};

TEST_F(ServerRecordTest, ReaderReadsTheTenFieldsInRecordOrder)
{
    expectServerReads({text("Work"), 300, 0, false, true, false, 200, false, true, text("1,2")});
    const std::unique_ptr<MMS_UTIL_SETTING_SERVER_T> rec(MMS_UTIL_Setting::getServerSettings());
    ASSERT_TRUE(rec);
    EXPECT_EQ(rec->defaultProfile, QStringLiteral("Work"));
    EXPECT_EQ(rec->expireAfterSec, 300);
    EXPECT_EQ(rec->maxMOSize, 0);
    EXPECT_EQ(rec->autoDownload, 0);
    EXPECT_EQ(rec->roamingDelayedRetrieval, 1);
    EXPECT_EQ(rec->mtSizeLimitation, 0);
    EXPECT_EQ(rec->maxMTSize, 200);
    EXPECT_EQ(rec->deliRepAllowed, 0);
    EXPECT_EQ(rec->senderVisible, 1);
    EXPECT_EQ(rec->blockList, QStringLiteral("1,2"));
}

TEST_F(ServerRecordTest, ReaderOfMissingKeysGivesTheDefaults)
{
    expectServerReads(std::vector<std::optional<StoreValue>>(10));
    const std::unique_ptr<MMS_UTIL_SETTING_SERVER_T> rec(MMS_UTIL_Setting::getServerSettings());
    ASSERT_TRUE(rec);
    EXPECT_EQ(rec->defaultProfile, kEmpty);
    EXPECT_EQ(rec->expireAfterSec, 65535);
    EXPECT_EQ(rec->maxMOSize, 50);
    EXPECT_EQ(rec->autoDownload, 1);
    EXPECT_EQ(rec->roamingDelayedRetrieval, 1);
    EXPECT_EQ(rec->mtSizeLimitation, 1);
    EXPECT_EQ(rec->maxMTSize, 100);
    EXPECT_EQ(rec->deliRepAllowed, 1);
    EXPECT_EQ(rec->senderVisible, 1);
    EXPECT_EQ(rec->blockList, kEmpty);
}

TEST_F(ServerRecordTest, ReaderLeavesTextsNullWhenTheStoreLeavesThem)
{
    expectOpen(false);
    expectUntouchedRead(store, kGlobal, kServerKeys[0], kEmpty);
    for (int i = 1; i < 9; ++i)
        expectRead(store, kGlobal, kServerKeys[i], kServerDefaults[i], std::nullopt);
    expectUntouchedRead(store, kGlobal, kServerKeys[9], kEmpty);
    expectClose();
    const std::unique_ptr<MMS_UTIL_SETTING_SERVER_T> rec(MMS_UTIL_Setting::getServerSettings());
    ASSERT_TRUE(rec);
    EXPECT_TRUE(rec->defaultProfile.isNull());
    EXPECT_TRUE(rec->blockList.isNull());
}

TEST_F(ServerRecordTest, WriterOfNullRecordGives1WithoutOpeningTheStore)
{
    EXPECT_EQ(MMS_UTIL_Setting::setServerSettings(nullptr), 1);
}

TEST_F(ServerRecordTest, WriterWritesEveryFieldAsHeldThenFlushes)
{
    MMS_UTIL_SETTING_SERVER_T rec = sampleServerRecord();
    expectServerWrites(rec, 0, 0);
    EXPECT_EQ(MMS_UTIL_Setting::setServerSettings(&rec), 0);
}

TEST_F(ServerRecordTest, WriterIgnoresRefusedWritesAndReportsTheFlush)
{
    MMS_UTIL_SETTING_SERVER_T rec = sampleServerRecord();
    expectServerWrites(rec, ENOSPC, 0);
    EXPECT_EQ(MMS_UTIL_Setting::setServerSettings(&rec), 0);
    for (const WriteOutcome& outcome : {WriteOutcome{ENOSPC, 2}, WriteOutcome{EIO, 1}}) {
        SCOPED_TRACE(describe(outcome));
        expectServerWrites(rec, 0, outcome.error);
        EXPECT_EQ(MMS_UTIL_Setting::setServerSettings(&rec), outcome.code);
    }
}

// ---- the profile record

class ProfileRecordTest : public SettingCallsTest
{
protected:
    void expectProfileWrites(const MMS_UTIL_SETTING_PROFILE_T& rec, int writeError, int flushError)
    {
        expectOpen(false);
        expectWrite(store, kProfile, kServerAddressKey, rec.serverAddress, writeError);
        expectWrite(store, kProfile, kConnectionProfileKey, rec.connectionProfile, writeError);
        expectWrite(store, kProfile, kWapGatewayKey, rec.wapGateway, writeError);
        expectWrite(store, kProfile, kConnectionTypeKey, unsigned(rec.connectionType), writeError);
        expectWrite(store, kProfile, kSecureTypeKey, unsigned(rec.secureConnectionType),
                    writeError);
        expectWrite(store, kGlobal, kDefaultProfileKey, rec.defaultProfile, writeError);
        EXPECT_CALL(store, flush()).WillOnce(storeOutcome(flushError));
        expectClose();
    }

    const QString kServerAddressKey = QStringLiteral("MMS_Server_Address");
    const QString kConnectionProfileKey = QStringLiteral("MMS_Connection_Profile");
    const QString kWapGatewayKey = QStringLiteral("MMS_WAP_Gateway");
    const QString kConnectionTypeKey = QStringLiteral("MMS_Connection_Type");
    const QString kSecureTypeKey = QStringLiteral("MMS_Secure_Connection_Type");
    MMS_UTIL_SETTING_PROFILE_T sample{
        QStringLiteral("http://mmsc/"), QStringLiteral("apn"), 167772161u, 200, 255, kEmpty};
};

TEST_F(ProfileRecordTest, ReaderReadsTheDefaultNameThenTheProfilesGroup)
{
    expectOpen(false);
    expectRead(store, kGlobal, kDefaultProfileKey, kEmpty, text("Home"));
    expectRead(store, kProfile, kServerAddressKey, kEmpty, text("http://mmsc/"));
    expectRead(store, kProfile, kConnectionProfileKey, kEmpty, text("apn"));
    expectRead(store, kProfile, kWapGatewayKey, 0u, 167772161u);
    expectRead(store, kProfile, kConnectionTypeKey, 0u, 511u);
    expectRead(store, kProfile, kSecureTypeKey, 0u, 258u);
    expectClose();
    const std::unique_ptr<MMS_UTIL_SETTING_PROFILE_T> rec(
        MMS_UTIL_Setting::getProfileSettingsByName(kProfile));
    ASSERT_TRUE(rec);
    EXPECT_EQ(rec->serverAddress, QStringLiteral("http://mmsc/"));
    EXPECT_EQ(rec->connectionProfile, QStringLiteral("apn"));
    EXPECT_EQ(rec->wapGateway, 167772161u);
    EXPECT_EQ(rec->connectionType, 255);
    EXPECT_EQ(rec->secureConnectionType, 2);
    EXPECT_EQ(rec->defaultProfile, QStringLiteral("Home"));
}

TEST_F(ProfileRecordTest, ReaderOfEmptyNameReadsOnlyTheDefaultName)
{
    for (const QString& name : {QString(), kEmpty}) {
        expectReadCall(kGlobal, kDefaultProfileKey, kEmpty, text("Home"));
        const std::unique_ptr<MMS_UTIL_SETTING_PROFILE_T> rec(
            MMS_UTIL_Setting::getProfileSettingsByName(name));
        ASSERT_TRUE(rec);
        EXPECT_TRUE(rec->serverAddress.isEmpty() && !rec->serverAddress.isNull());
        EXPECT_TRUE(rec->connectionProfile.isEmpty() && !rec->connectionProfile.isNull());
        EXPECT_EQ(rec->wapGateway, 0u);
        EXPECT_EQ(rec->connectionType, 0);
        EXPECT_EQ(rec->secureConnectionType, 0);
        EXPECT_EQ(rec->defaultProfile, QStringLiteral("Home"));
    }
}

TEST_F(ProfileRecordTest, ReaderLeavesTextsNullWhenTheStoreLeavesThem)
{
    expectOpen(false);
    expectUntouchedRead(store, kGlobal, kDefaultProfileKey, kEmpty);
    expectUntouchedRead(store, kProfile, kServerAddressKey, kEmpty);
    expectUntouchedRead(store, kProfile, kConnectionProfileKey, kEmpty);
    expectUntouchedRead(store, kProfile, kWapGatewayKey, 0u);
    expectUntouchedRead(store, kProfile, kConnectionTypeKey, 0u);
    expectUntouchedRead(store, kProfile, kSecureTypeKey, 0u);
    expectClose();
    const std::unique_ptr<MMS_UTIL_SETTING_PROFILE_T> rec(
        MMS_UTIL_Setting::getProfileSettingsByName(kProfile));
    ASSERT_TRUE(rec);
    EXPECT_TRUE(rec->defaultProfile.isNull());
    EXPECT_TRUE(rec->serverAddress.isNull());
    EXPECT_TRUE(rec->connectionProfile.isNull());
}

TEST_F(ProfileRecordTest, WriterRefusesEmptyNameOrNullRecordWithoutOpeningTheStore)
{
    EXPECT_EQ(MMS_UTIL_Setting::setProfileSettingsByName(QString(), &sample), 1);
    EXPECT_EQ(MMS_UTIL_Setting::setProfileSettingsByName(kEmpty, &sample), 1);
    EXPECT_EQ(MMS_UTIL_Setting::setProfileSettingsByName(kProfile, nullptr), 1);
}

TEST_F(ProfileRecordTest, WriterWritesTheProfileAndTheDefaultNameThenFlushes)
{
    expectProfileWrites(sample, 0, 0);
    EXPECT_EQ(MMS_UTIL_Setting::setProfileSettingsByName(kProfile, &sample), 0);
}

TEST_F(ProfileRecordTest, WriterIgnoresRefusedWritesAndReportsTheFlush)
{
    expectProfileWrites(sample, EIO, 0);
    EXPECT_EQ(MMS_UTIL_Setting::setProfileSettingsByName(kProfile, &sample), 0);
    for (const WriteOutcome& outcome : {WriteOutcome{ENOSPC, 2}, WriteOutcome{EIO, 1}}) {
        SCOPED_TRACE(describe(outcome));
        expectProfileWrites(sample, 0, outcome.error);
        EXPECT_EQ(MMS_UTIL_Setting::setProfileSettingsByName(kProfile, &sample), outcome.code);
    }
}

// ---- the block list

TEST_F(SettingCallsTest, BlockListIsGlobalText)
{
    expectReadCall(kGlobal, kBlockListKey, kEmpty, text("123,a@b.example"));
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QStringLiteral("123,a@b.example"));
    expectReadCall(kGlobal, kBlockListKey, kEmpty, std::nullopt);
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), kEmpty);
}

TEST_F(SettingCallsTest, SetBlockListWritesTheTextAsItIs)
{
    for (const WriteOutcome& outcome : kWriteOutcomes) {
        SCOPED_TRACE(describe(outcome));
        expectWriteCall(kGlobal, kBlockListKey, text(" 1,,2 "), outcome.error);
        EXPECT_EQ(MMS_UTIL_Setting::setBlockList(QStringLiteral(" 1,,2 ")), outcome.code);
    }
    expectWriteCall(kGlobal, kBlockListKey, kEmpty, 0);
    EXPECT_EQ(MMS_UTIL_Setting::setBlockList(kEmpty), 0);
}

TEST_F(SettingCallsTest, AddToBlockListAppendsWithAComma)
{
    for (const WriteOutcome& outcome : kWriteOutcomes) {
        SCOPED_TRACE(describe(outcome));
        expectReadCall(kGlobal, kBlockListKey, kEmpty, text("123"));
        expectWriteCall(kGlobal, kBlockListKey, text("123,456"), outcome.error);
        EXPECT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("456")), outcome.code);
    }
}

TEST_F(SettingCallsTest, AddToEmptyBlockListWritesTheAddressAlone)
{
    expectReadCall(kGlobal, kBlockListKey, kEmpty, std::nullopt);
    expectWriteCall(kGlobal, kBlockListKey, text("123"), 0);
    EXPECT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("123")), 0);
}

TEST_F(SettingCallsTest, AddToBlockListOfABlockedAddressGives3AndWritesNothing)
{
    expectReadCall(kGlobal, kBlockListKey, kEmpty, text("555,0123456789"));
    EXPECT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("123")), 3);
}

TEST_F(SettingCallsTest, IsInBlockListOfAnAddressChecksTheStoredList)
{
    expectReadCall(kGlobal, kBlockListKey, kEmpty, text("555,0123456789"));
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("+390123456789")), 1);
    expectReadCall(kGlobal, kBlockListKey, kEmpty, text("555,0123456789"));
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("777")), 0);
}

struct BlockCase {
    const char* list;
    const char* address;
    int expected;
};

// Matching needs no store: the strict double fails any call.
TEST_F(SettingCallsTest, IsInBlockListMatchesByContainmentEitherWay)
{
    const BlockCase cases[] = {
        {"", "123", 0},
        {"", "", 0},
        {"12345", "+4912345", 1},          // the item inside the address
        {"12345", "234", 1},               // the address inside the item
        {"12345", "12345", 1},             // equal
        {"12345", "12346", 0},             // same length, different
        {"555,12345", "12345", 1},         // a later item
        {"a@b.example", "A@b.example", 0}, // case-sensitive
        {"x, 999 ", "999 9", 1},           // the last item is stripped: "999" is in the address
        {" 999,x", "999 9", 0},            // the others keep their blanks: " 999" is not
        {"123,,456", "789", 0},            // adjacent commas give no empty item
        {"123, ", "789", 1},               // a tail of blanks is an empty item: it blocks all
        {"123", "", 1},                    // the empty address is in every item
        {"J\u00fcrgen", "J\u00fcrgen", 1}, // Latin-1 letters match
        {"\u0416123", "\u0416123", 0},     // letters beyond Latin-1 in the list do not
    };
    for (const BlockCase& c : cases) {
        SCOPED_TRACE(std::string(c.list) + " / " + c.address);
        EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QString::fromUtf8(c.list),
                                                  QString::fromUtf8(c.address)),
                  c.expected);
    }
}

// ---- sending options

const QString kDeliveryReportKey = QStringLiteral("MMS_Delivery_Report");
const QString kReadReportKey = QStringLiteral("MMS_Read_Report");
const QString kExpireKey = QStringLiteral("MMS_Expire_After_Sec");
const QString kPriorityKey = QStringLiteral("MMS_Send_Priority");

struct SendingOptions {
    bool deliveryReport;
    bool readReport;
    unsigned int expiry;
    unsigned char priority;

    int read()
    {
        return MMS_UTIL_Setting::getSendingOption(deliveryReport, readReport, expiry, priority);
    }
};

class SendingOptionTest : public SettingCallsTest
{
protected:
    void expectOptionReads(const std::optional<StoreValue>& delivery,
                           const std::optional<StoreValue>& read,
                           const std::optional<StoreValue>& expiry,
                           const std::optional<StoreValue>& priority)
    {
        expectOpen(false);
        expectRead(store, kGlobal, kDeliveryReportKey, false, delivery);
        expectRead(store, kGlobal, kReadReportKey, false, read);
        expectRead(store, kGlobal, kExpireKey, 65535u, expiry);
        expectRead(store, kGlobal, kPriorityKey, 129, priority);
        expectClose();
    }
};

TEST_F(SendingOptionTest, ReaderReadsTheFourOptionsInOrder)
{
    expectOptionReads(true, true, 3600u, 130);
    SendingOptions options{false, false, 0, 0};
    EXPECT_EQ(options.read(), 0);
    EXPECT_TRUE(options.deliveryReport);
    EXPECT_TRUE(options.readReport);
    EXPECT_EQ(options.expiry, 3600u);
    EXPECT_EQ(options.priority, 130);
}

TEST_F(SendingOptionTest, ReaderOfMissingKeysGivesTheDefaults)
{
    expectOptionReads(std::nullopt, std::nullopt, std::nullopt, std::nullopt);
    SendingOptions options{true, true, 0, 0};
    EXPECT_EQ(options.read(), 0);
    EXPECT_FALSE(options.deliveryReport);
    EXPECT_FALSE(options.readReport);
    EXPECT_EQ(options.expiry, 65535u);
    EXPECT_EQ(options.priority, 129);
}

TEST_F(SendingOptionTest, ReaderKeepsOnlyTheLowByteOfThePriority)
{
    for (const auto& [stored, byte] : {std::pair{385, 129}, std::pair{-1, 255}, std::pair{5, 5}}) {
        SCOPED_TRACE(stored);
        expectOptionReads(false, false, 65535u, stored);
        SendingOptions options{};
        EXPECT_EQ(options.read(), 0);
        EXPECT_EQ(options.priority, byte);
    }
}

TEST_F(SendingOptionTest, ReaderReadsStraightIntoTheCallersVariables)
{
    expectOpen(false);
    expectUntouchedRead(store, kGlobal, kDeliveryReportKey, false);
    expectUntouchedRead(store, kGlobal, kReadReportKey, false);
    expectUntouchedRead(store, kGlobal, kExpireKey, 65535u);
    expectUntouchedRead(store, kGlobal, kPriorityKey, 129);
    expectClose();
    SendingOptions options{true, true, 77, 128};
    EXPECT_EQ(options.read(), 0);
    EXPECT_TRUE(options.deliveryReport);
    EXPECT_TRUE(options.readReport);
    EXPECT_EQ(options.expiry, 77u);
    EXPECT_EQ(options.priority, 129); // the priority goes through a local preset to Normal
}

TEST_F(SendingOptionTest, WriterWritesTheFourOptionsInOrder)
{
    expectOpen(true);
    expectWrite(store, kGlobal, kDeliveryReportKey, true);
    expectWrite(store, kGlobal, kReadReportKey, false);
    expectWrite(store, kGlobal, kExpireKey, 4000000000u);
    expectWrite(store, kGlobal, kPriorityKey, 255);
    expectClose();
    EXPECT_EQ(MMS_UTIL_Setting::setSendingOption(true, false, 4000000000u, 255), 0);
}

TEST_F(SendingOptionTest, WriterStopsAtTheFirstRefusedWrite)
{
    const QString keys[] = {kDeliveryReportKey, kReadReportKey, kExpireKey, kPriorityKey};
    const StoreValue values[] = {false, true, 60u, 128};
    for (int failing = 0; failing < 4; ++failing) {
        for (const WriteOutcome& outcome : {WriteOutcome{ENOSPC, 2}, WriteOutcome{EIO, 1}}) {
            SCOPED_TRACE("write " + std::to_string(failing) + ", " + describe(outcome));
            expectOpen(true);
            for (int i = 0; i <= failing; ++i)
                expectWrite(store, kGlobal, keys[i], values[i], i == failing ? outcome.error : 0);
            expectClose();
            EXPECT_EQ(MMS_UTIL_Setting::setSendingOption(false, true, 60u, 128), outcome.code);
        }
    }
}

} // namespace
