// MMS_UTIL_Setting on the real settings store (SQLite on a temporary file): defaults of a fresh
// store, every value read back after writing it, the odd corners of profiles, block list and
// sending options, profile names that are awkward as group names, and the store shared with
// other processes: values seen across a fork, two writers at once, a full disk and a read-only
// one. A process forks only while it holds no open store, since an SQLite connection must never
// cross fork().

#include "mms_util_setting.h"
#include "settings_read_error.h"
#include "store_feature_flags.h"

#include "support/child_process.h"
#include "support/mock_settings_store.h"
#include "support/mount_namespace.h"
#include "support/sql_queries.h"
#include "support/temp_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>

#include <cerrno>
#include <chrono>
#include <memory>
#include <set>
#include <string>

namespace
{

using namespace std::chrono_literals;
using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using tavmms_test::MockSettingsStore;
using tavmms_test::TempSettingsStore;
using ::testing::_;

const QString kGlobal = QStringLiteral("MMS_GRP");
const QString kEmpty = QStringLiteral("");

std::string describe(const char* what, int result)
{
    return std::string(what) + " gave " + std::to_string(result);
}

QByteArray integrityOf(const QString& path)
{
    auto look = tavmms_test::lookInto(path);
    return look ? tavmms_test::queryText(*look, "PRAGMA integrity_check") : "cannot open";
}

qint64 rowCount(const QString& path)
{
    auto look = tavmms_test::lookInto(path);
    return look ? tavmms_test::queryInt(*look, "SELECT count(*) FROM settings") : -1;
}

struct SendingOptions {
    bool deliveryReport = false;
    bool readReport = false;
    unsigned int expiry = 0;
    unsigned char priority = 0;

    bool operator==(const SendingOptions& o) const
    {
        return deliveryReport == o.deliveryReport && readReport == o.readReport &&
               expiry == o.expiry && priority == o.priority;
    }
};

void PrintTo(const SendingOptions& o, std::ostream* os)
{
    *os << "{" << o.deliveryReport << ", " << o.readReport << ", " << o.expiry << ", "
        << int(o.priority) << "}";
}

SendingOptions storedSendingOptions()
{
    SendingOptions o;
    EXPECT_EQ(
        MMS_UTIL_Setting::getSendingOption(o.deliveryReport, o.readReport, o.expiry, o.priority),
        0);
    return o;
}

class SettingStoreTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(temp.isValid()); }

    // The value text as the store keeps it, or null when the key is missing.
    QString storedText(const QString& group, const QString& key)
    {
        QString value;
        return temp.store().readText(group, key, value, QString(), false) ? value : QString();
    }

    TempSettingsStore temp;
};

// ---- a fresh store

TEST_F(SettingStoreTest, FreshStoreGivesEveryDefaultAndReadingWritesNothing)
{
    EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), kEmpty);
    EXPECT_TRUE(MMS_UTIL_Setting::getMMSProfiles().isEmpty());
    EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURI(), kEmpty);
    EXPECT_EQ(MMS_UTIL_Setting::getDataConnectProfileName(), kEmpty);
    EXPECT_EQ(MMS_UTIL_Setting::getWAPGateway(), 0u);
    EXPECT_EQ(MMS_UTIL_Setting::getConnectionType(), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getSecureType(), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURIByProf(QStringLiteral("Work")), kEmpty);
    EXPECT_EQ(MMS_UTIL_Setting::getWAPGatewayByProf(QStringLiteral("Work")), 0u);
    EXPECT_EQ(MMS_UTIL_Setting::getRoamingDelayedRetrieval(), 1);
    EXPECT_EQ(MMS_UTIL_Setting::getMTSizeLimitationState(), 1);
    EXPECT_EQ(MMS_UTIL_Setting::getAutoRetrievalSetting(), 1);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(0), 50);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(1), 50);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMTMMSSize(), 100);
    EXPECT_EQ(MMS_UTIL_Setting::getSenderVisibility(), 1);
    EXPECT_EQ(MMS_UTIL_Setting::getExpireAfterSec(), 65535);
    EXPECT_EQ(MMS_UTIL_Setting::getDeliveryRepAllowedity(), 1);
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), kEmpty);
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("123")), 0);
    EXPECT_EQ(storedSendingOptions(), (SendingOptions{false, false, 65535, 129}));
    EXPECT_EQ(rowCount(temp.path()), 0);
}

TEST_F(SettingStoreTest, SettingsReadErrorIsEmptyForAFreshStoreAndNamesADamagedOne)
{
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QString());
    EXPECT_EQ(tavmms::settingsReadError(), QString());

    ASSERT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("15550199")), 0);
    temp.reopen();
    ASSERT_TRUE(tavmms_test::replaceWithNonDatabase(temp.path()));

    // The getter gives its default; the reason says why it is no answer.
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QString());
    EXPECT_EQ(tavmms::settingsReadError(),
              QStringLiteral("the settings store '%1' is damaged: it is not a database, or a "
                             "corrupt one")
                  .arg(temp.path()));
}

TEST_F(SettingStoreTest, FreshStoreGivesDefaultRecords)
{
    const std::unique_ptr<MMS_UTIL_SETTING_SERVER_T> server(MMS_UTIL_Setting::getServerSettings());
    ASSERT_TRUE(server);
    EXPECT_EQ(server->defaultProfile, kEmpty);
    EXPECT_EQ(server->expireAfterSec, 65535);
    EXPECT_EQ(server->maxMOSize, 50);
    EXPECT_EQ(server->autoDownload, 1);
    EXPECT_EQ(server->roamingDelayedRetrieval, 1);
    EXPECT_EQ(server->mtSizeLimitation, 1);
    EXPECT_EQ(server->maxMTSize, 100);
    EXPECT_EQ(server->deliRepAllowed, 1);
    EXPECT_EQ(server->senderVisible, 1);
    EXPECT_EQ(server->blockList, kEmpty);

    const std::unique_ptr<MMS_UTIL_SETTING_PROFILE_T> profile(
        MMS_UTIL_Setting::getProfileSettingsByName(QStringLiteral("Work")));
    ASSERT_TRUE(profile);
    EXPECT_EQ(profile->serverAddress, kEmpty);
    EXPECT_EQ(profile->connectionProfile, kEmpty);
    EXPECT_EQ(profile->wapGateway, 0u);
    EXPECT_EQ(profile->connectionType, 0);
    EXPECT_EQ(profile->secureConnectionType, 0);
    EXPECT_EQ(profile->defaultProfile, kEmpty);
}

TEST_F(SettingStoreTest, FeatureFlagsAreTrueUntilThePlatformSetsThem)
{
    tavplatform::StoreFeatureFlags flags;
    tavplatform::ScopedFeatureFlagService installed(&flags);
    EXPECT_TRUE(MMS_UTIL_Setting::getFilterFlexBitSetting());
    EXPECT_TRUE(MMS_UTIL_Setting::getSenderVisibilityFlexBitSetting());
    EXPECT_TRUE(MMS_UTIL_Setting::isChwAvailable());
    ASSERT_TRUE(flags.setFlexBit(49, false));
    ASSERT_TRUE(flags.setFlexBit(112, false));
    EXPECT_FALSE(MMS_UTIL_Setting::getFilterFlexBitSetting());
    EXPECT_TRUE(MMS_UTIL_Setting::getSenderVisibilityFlexBitSetting());
    EXPECT_FALSE(MMS_UTIL_Setting::isChwAvailable());
}

// ---- single values

// Writes a value of every single-value setting (the profile's through the default profile) and
// returns the first result that was not 0, else 0.
int writeSampleValues()
{
    for (const int result : {
             MMS_UTIL_Setting::setDefaultMMSProfile(QStringLiteral("Work")),
             MMS_UTIL_Setting::setMMSServerURI(QStringLiteral("http://mmsc.example/")),
             MMS_UTIL_Setting::setDataConnectProfileName(QStringLiteral("operator mms")),
             MMS_UTIL_Setting::setWAPGateway(3232235521u),
             MMS_UTIL_Setting::setConnectionType(7),
             MMS_UTIL_Setting::setSecureType(255),
             MMS_UTIL_Setting::setRoamingDelayedRetrieval(0),
             MMS_UTIL_Setting::setMTSizeLimitationState(0),
             MMS_UTIL_Setting::setAutoRetrievalSetting(0),
             MMS_UTIL_Setting::setMaxiumMOMMSSize(300),
             MMS_UTIL_Setting::setMaxiumMTMMSSize(600),
             MMS_UTIL_Setting::setSenderVisibility(0),
             MMS_UTIL_Setting::setDeliveryRepAllowedity(0),
             MMS_UTIL_Setting::setBlockList(QStringLiteral("123,a@b.example")),
             MMS_UTIL_Setting::setSendingOption(true, true, 86400, 130),
         }) {
        if (result != 0)
            return result;
    }
    return 0;
}

// Empty when every value of writeSampleValues() reads back, else the first that does not.
std::string checkSampleValues()
{
    const std::pair<const char*, bool> checks[] = {
        {"default profile", MMS_UTIL_Setting::getDefaultMMSProfile() == QStringLiteral("Work")},
        {"server", MMS_UTIL_Setting::getMMSServerURI() == QStringLiteral("http://mmsc.example/")},
        {"connection profile",
         MMS_UTIL_Setting::getDataConnectProfileName() == QStringLiteral("operator mms")},
        {"gateway", MMS_UTIL_Setting::getWAPGateway() == 3232235521u},
        {"connection type", MMS_UTIL_Setting::getConnectionType() == 7},
        {"secure type", MMS_UTIL_Setting::getSecureType() == 255},
        {"roaming", MMS_UTIL_Setting::getRoamingDelayedRetrieval() == 0},
        {"MT size limitation", MMS_UTIL_Setting::getMTSizeLimitationState() == 0},
        {"auto retrieval", MMS_UTIL_Setting::getAutoRetrievalSetting() == 0},
        {"MO size", MMS_UTIL_Setting::getMaxiumMOMMSSize(0) == 300},
        {"MT size", MMS_UTIL_Setting::getMaxiumMTMMSSize() == 600},
        {"sender visibility", MMS_UTIL_Setting::getSenderVisibility() == 0},
        {"delivery report allowed", MMS_UTIL_Setting::getDeliveryRepAllowedity() == 0},
        {"block list", MMS_UTIL_Setting::getBlockList() == QStringLiteral("123,a@b.example")},
        {"expiry", MMS_UTIL_Setting::getExpireAfterSec() == 86400},
    };
    for (const auto& [what, ok] : checks) {
        if (!ok)
            return std::string(what) + " did not read back";
    }
    SendingOptions o;
    MMS_UTIL_Setting::getSendingOption(o.deliveryReport, o.readReport, o.expiry, o.priority);
    if (!(o == SendingOptions{true, true, 86400, 130}))
        return "the sending options did not read back";
    return {};
}

TEST_F(SettingStoreTest, EveryValueReadsBackThroughANewStoreObject)
{
    ASSERT_EQ(writeSampleValues(), 0);
    EXPECT_EQ(checkSampleValues(), "");
    temp.reopen();
    EXPECT_EQ(checkSampleValues(), "");
}

TEST_F(SettingStoreTest, WithoutDefaultProfileReadersGiveDefaultsAndWritersWriteNothing)
{
    EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURI(), kEmpty);
    EXPECT_EQ(MMS_UTIL_Setting::getWAPGateway(), 0u);
    EXPECT_EQ(MMS_UTIL_Setting::setMMSServerURI(QStringLiteral("http://mmsc.example/")), 1);
    EXPECT_EQ(MMS_UTIL_Setting::setDataConnectProfileName(QStringLiteral("apn")), 1);
    EXPECT_EQ(MMS_UTIL_Setting::setWAPGateway(1), 1);
    EXPECT_EQ(MMS_UTIL_Setting::setConnectionType(1), 1);
    EXPECT_EQ(MMS_UTIL_Setting::setSecureType(1), 1);
    EXPECT_EQ(rowCount(temp.path()), 0);
}

TEST_F(SettingStoreTest, ConnectionTypesGiveTheLowByteOfTheStoredNumber)
{
    const QString profile = QStringLiteral("Work");
    ASSERT_TRUE(temp.store().writeUInt(profile, QStringLiteral("MMS_Connection_Type"), 511));
    ASSERT_TRUE(temp.store().writeUInt(profile, QStringLiteral("MMS_Secure_Connection_Type"), 258));
    EXPECT_EQ(MMS_UTIL_Setting::getConnectionTypeByProf(profile), 255);
    EXPECT_EQ(MMS_UTIL_Setting::getSecureTypeByProf(profile), 2);
}

TEST_F(SettingStoreTest, StoredMOSizeZeroIsFiftyUnlessAskedRaw)
{
    ASSERT_EQ(MMS_UTIL_Setting::setMaxiumMOMMSSize(0), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(0), 50);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(1), 0);
}

TEST_F(SettingStoreTest, MTSizeLimitationIsStoredAsANumberAndReadAsAFlag)
{
    const QString key = QStringLiteral("MMS_Enable_MT_Size_Limitation");
    ASSERT_EQ(MMS_UTIL_Setting::setMTSizeLimitationState(5), 0);
    EXPECT_EQ(storedText(kGlobal, key), QStringLiteral("5"));
    EXPECT_EQ(MMS_UTIL_Setting::getMTSizeLimitationState(), 1);
    ASSERT_EQ(MMS_UTIL_Setting::setMTSizeLimitationState(0), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getMTSizeLimitationState(), 0);
}

TEST_F(SettingStoreTest, FlagWritersStoreFlags)
{
    ASSERT_EQ(MMS_UTIL_Setting::setRoamingDelayedRetrieval(7), 0);
    EXPECT_EQ(storedText(kGlobal, QStringLiteral("MMS_Roaming_Delayed_Retrieval")),
              QStringLiteral("1"));
    EXPECT_EQ(MMS_UTIL_Setting::getRoamingDelayedRetrieval(), 1);
}

TEST_F(SettingStoreTest, ExpiryIsOneKeyForTheSingleValueAndTheSendingOptions)
{
    ASSERT_EQ(MMS_UTIL_Setting::setExpireAfterSec(300), 0);
    EXPECT_EQ(storedSendingOptions().expiry, 300u);
    ASSERT_EQ(MMS_UTIL_Setting::setSendingOption(false, false, 600, 129), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getExpireAfterSec(), 600);
}

// ---- profiles

TEST_F(SettingStoreTest, ProfilesAreListedInCodeUnitOrder)
{
    for (const char* name : {"B", "a", "A"})
        ASSERT_EQ(MMS_UTIL_Setting::addProfile(QString::fromUtf8(name)), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getMMSProfiles(), QStringList({"A", "B", "a"}));
    EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), kEmpty);
}

TEST_F(SettingStoreTest, AddingAListedProfileGives1AndAnotherCaseIsANewProfile)
{
    ASSERT_EQ(MMS_UTIL_Setting::addProfile(QStringLiteral("Work")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::addProfile(QStringLiteral("Work")), 1);
    EXPECT_EQ(MMS_UTIL_Setting::addProfile(QStringLiteral("work")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getMMSProfiles(), QStringList({"Work", "work"}));
}

TEST_F(SettingStoreTest, AddProfileCreatesNoGroupAndLeavesTheDefault)
{
    ASSERT_EQ(MMS_UTIL_Setting::addProfile(QStringLiteral("Work")), 0);
    EXPECT_TRUE(temp.store().entries(QStringLiteral("Work")).isEmpty());
    EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), kEmpty);
}

TEST_F(SettingStoreTest, DeletingTheDefaultProfileLeavesItNamedButEmpty)
{
    const QString name = QStringLiteral("Work");
    ASSERT_EQ(MMS_UTIL_Setting::addProfile(name), 0);
    ASSERT_EQ(MMS_UTIL_Setting::setDefaultMMSProfile(name), 0);
    ASSERT_EQ(MMS_UTIL_Setting::setMMSServerURI(QStringLiteral("http://mmsc.example/")), 0);
    ASSERT_EQ(MMS_UTIL_Setting::getMMSServerURI(), QStringLiteral("http://mmsc.example/"));
    EXPECT_EQ(MMS_UTIL_Setting::delProfile(name), 0);
    EXPECT_TRUE(MMS_UTIL_Setting::getMMSProfiles().isEmpty());
    EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), name);
    EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURI(), kEmpty);
    EXPECT_TRUE(temp.store().entries(name).isEmpty());
}

TEST_F(SettingStoreTest, DeletingAnUnlistedProfileSucceeds)
{
    EXPECT_EQ(MMS_UTIL_Setting::delProfile(QStringLiteral("Nowhere")), 0);
}

TEST_F(SettingStoreTest, ProfileRecordOfEmptyNameHoldsOnlyTheDefaultName)
{
    ASSERT_EQ(MMS_UTIL_Setting::setDefaultMMSProfile(QStringLiteral("Work")), 0);
    const std::unique_ptr<MMS_UTIL_SETTING_PROFILE_T> rec(
        MMS_UTIL_Setting::getProfileSettingsByName(kEmpty));
    ASSERT_TRUE(rec);
    EXPECT_EQ(rec->serverAddress, kEmpty);
    EXPECT_EQ(rec->connectionProfile, kEmpty);
    EXPECT_EQ(rec->wapGateway, 0u);
    EXPECT_EQ(rec->connectionType, 0);
    EXPECT_EQ(rec->secureConnectionType, 0);
    EXPECT_EQ(rec->defaultProfile, QStringLiteral("Work"));
}

TEST_F(SettingStoreTest, ProfileRecordReadsBackButIsNotListed)
{
    MMS_UTIL_SETTING_PROFILE_T rec{
        QStringLiteral("http://mmsc/"), QStringLiteral("apn"), 167772161u, 3, 200,
        QStringLiteral("Work")};
    ASSERT_EQ(MMS_UTIL_Setting::setProfileSettingsByName(QStringLiteral("Work"), &rec), 0);
    temp.reopen();
    EXPECT_TRUE(MMS_UTIL_Setting::getMMSProfiles().isEmpty());
    const std::unique_ptr<MMS_UTIL_SETTING_PROFILE_T> back(
        MMS_UTIL_Setting::getProfileSettingsByName(QStringLiteral("Work")));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->serverAddress, rec.serverAddress);
    EXPECT_EQ(back->connectionProfile, rec.connectionProfile);
    EXPECT_EQ(back->wapGateway, rec.wapGateway);
    EXPECT_EQ(back->connectionType, rec.connectionType);
    EXPECT_EQ(back->secureConnectionType, rec.secureConnectionType);
    EXPECT_EQ(back->defaultProfile, rec.defaultProfile);
    EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURI(), rec.serverAddress);
}

TEST_F(SettingStoreTest, SavingAProfileWithoutDefaultNameClearsTheDefault)
{
    ASSERT_EQ(MMS_UTIL_Setting::setDefaultMMSProfile(QStringLiteral("Home")), 0);
    MMS_UTIL_SETTING_PROFILE_T rec{QStringLiteral("http://mmsc/"), kEmpty, 0, 0, 0, kEmpty};
    ASSERT_EQ(MMS_UTIL_Setting::setProfileSettingsByName(QStringLiteral("Work"), &rec), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), kEmpty);
}

TEST_F(SettingStoreTest, ServerRecordReadsBackWithItsFlagsAsZeroOrOne)
{
    MMS_UTIL_SETTING_SERVER_T rec{QStringLiteral("Work"),   300, 0, 5, 0, 1, 200, 0, 7,
                                  QStringLiteral("123,456")};
    ASSERT_EQ(MMS_UTIL_Setting::setServerSettings(&rec), 0);
    temp.reopen();
    const std::unique_ptr<MMS_UTIL_SETTING_SERVER_T> back(MMS_UTIL_Setting::getServerSettings());
    ASSERT_TRUE(back);
    EXPECT_EQ(back->defaultProfile, QStringLiteral("Work"));
    EXPECT_EQ(back->expireAfterSec, 300);
    EXPECT_EQ(back->maxMOSize, 0);
    EXPECT_EQ(back->autoDownload, 1);
    EXPECT_EQ(back->roamingDelayedRetrieval, 0);
    EXPECT_EQ(back->mtSizeLimitation, 1);
    EXPECT_EQ(back->maxMTSize, 200);
    EXPECT_EQ(back->deliRepAllowed, 0);
    EXPECT_EQ(back->senderVisible, 1);
    EXPECT_EQ(back->blockList, QStringLiteral("123,456"));
    // The single-value readers take these two as numbers.
    EXPECT_EQ(MMS_UTIL_Setting::getSenderVisibility(), 7);
    EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(0), 50);
}

// Names that are awkward as SQL text, as paths or as bytes; each is a group name as it is.
QStringList awkwardNames()
{
    return {QStringLiteral("it's \"mine\""),
            QStringLiteral("a;b'); DROP TABLE settings;--"),
            QStringLiteral("operator/mms\\x"),
            QString::fromUtf8("M\u00fcller \u00c6\u00f8 \u65e5\u672c \u0416"),
            QStringLiteral("50% _off_"),
            QString(200, QLatin1Char('p'))};
}

MMS_UTIL_SETTING_PROFILE_T recordFor(const QString& name, int index)
{
    return {QStringLiteral("http://mmsc/") + name,
            name + QStringLiteral(" apn"),
            unsigned(1000 + index),
            static_cast<unsigned char>(index),
            static_cast<unsigned char>(index + 100),
            QStringLiteral("Home")};
}

TEST_F(SettingStoreTest, AwkwardProfileNamesKeepTheirOwnValues)
{
    const QStringList names = awkwardNames();
    for (int i = 0; i < names.size(); ++i) {
        MMS_UTIL_SETTING_PROFILE_T rec = recordFor(names[i], i);
        ASSERT_EQ(MMS_UTIL_Setting::addProfile(names[i]), 0) << names[i].toStdString();
        ASSERT_EQ(MMS_UTIL_Setting::setProfileSettingsByName(names[i], &rec), 0);
    }
    temp.reopen();
    QStringList sorted = names;
    sorted.sort();
    EXPECT_EQ(MMS_UTIL_Setting::getMMSProfiles(), sorted);
    for (int i = 0; i < names.size(); ++i) {
        SCOPED_TRACE(names[i].toStdString());
        const MMS_UTIL_SETTING_PROFILE_T expected = recordFor(names[i], i);
        EXPECT_EQ(MMS_UTIL_Setting::addProfile(names[i]), 1);
        EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURIByProf(names[i]), expected.serverAddress);
        EXPECT_EQ(MMS_UTIL_Setting::getDataConnectProfileNameByProf(names[i]),
                  expected.connectionProfile);
        EXPECT_EQ(MMS_UTIL_Setting::getWAPGatewayByProf(names[i]), expected.wapGateway);
        EXPECT_EQ(MMS_UTIL_Setting::getConnectionTypeByProf(names[i]), expected.connectionType);
        EXPECT_EQ(MMS_UTIL_Setting::getSecureTypeByProf(names[i]), expected.secureConnectionType);
    }
    ASSERT_EQ(MMS_UTIL_Setting::delProfile(names[1]), 0);
    sorted.removeOne(names[1]);
    EXPECT_EQ(MMS_UTIL_Setting::getMMSProfiles(), sorted);
    EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURIByProf(names[1]), kEmpty);
    EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURIByProf(names[0]),
              recordFor(names[0], 0).serverAddress);
    EXPECT_EQ(integrityOf(temp.path()), "ok");
}

TEST_F(SettingStoreTest, AwkwardNameAsDefaultProfileReachesItsGroup)
{
    const QString name = awkwardNames().constLast();
    ASSERT_EQ(MMS_UTIL_Setting::setDefaultMMSProfile(name), 0);
    ASSERT_EQ(MMS_UTIL_Setting::setWAPGateway(42), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getWAPGatewayByProf(name), 42u);
    EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), name);
}

// ---- the block list

TEST_F(SettingStoreTest, FirstBlockedAddressIsStoredAlone)
{
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("123")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("123")), 0);
    EXPECT_EQ(storedText(kGlobal, QStringLiteral("MMS_Block_List")), QStringLiteral("123"));
}

TEST_F(SettingStoreTest, BlockedAddressesAreJoinedByACommaAndContainedOnesRefused)
{
    ASSERT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("123")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("456")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QStringLiteral("123,456"));
    EXPECT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("0123")), 3);
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), QStringLiteral("123,456"));
}

TEST_F(SettingStoreTest, BlockedItemMatchesContainedAndContainingAddresses)
{
    ASSERT_EQ(MMS_UTIL_Setting::setBlockList(QStringLiteral("0123456789")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("123")), 1);
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("+390123456789")), 1);
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("0123456780")), 0);
}

TEST_F(SettingStoreTest, BlockedEmailAddressesMatchCaseSensitively)
{
    ASSERT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("spam@example.com")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("spam@example.com")), 1);
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("Spam@example.com")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::addToBlockList(QStringLiteral("Spam@example.com")), 0);
}

TEST_F(SettingStoreTest, EmptyBlockListTextEmptiesTheList)
{
    ASSERT_EQ(MMS_UTIL_Setting::setBlockList(QStringLiteral("123,456")), 0);
    EXPECT_EQ(MMS_UTIL_Setting::setBlockList(kEmpty), 0);
    EXPECT_EQ(MMS_UTIL_Setting::getBlockList(), kEmpty);
    EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("123")), 0);
}

// ---- sending options

TEST_F(SettingStoreTest, SendingOptionsReadBack)
{
    ASSERT_EQ(MMS_UTIL_Setting::setSendingOption(true, false, 4000000000u, 128), 0);
    EXPECT_EQ(storedSendingOptions(), (SendingOptions{true, false, 4000000000u, 128}));
}

TEST_F(SettingStoreTest, StoredPriorityGivesItsLowByte)
{
    ASSERT_TRUE(temp.store().writeInt(kGlobal, QStringLiteral("MMS_Send_Priority"), 385));
    EXPECT_EQ(storedSendingOptions().priority, 129);
}

TEST_F(SettingStoreTest, RefusedReadReportKeepsTheDeliveryReportAndLeavesTheRest)
{
    for (const auto& [error, code] : {std::pair{ENOSPC, 2}, std::pair{EIO, 1}}) {
        SCOPED_TRACE(error);
        ASSERT_EQ(MMS_UTIL_Setting::setSendingOption(false, false, 100, 128), 0);
        {
            MockSettingsStore failing;
            tavmms_test::delegateTo(failing, temp.store());
            EXPECT_CALL(failing, writeBool(kGlobal, QStringLiteral("MMS_Read_Report"), _))
                .WillOnce(tavmms_test::storeOutcome(error));
            tavplatform::ScopedSettingsStoreService installed(&failing);
            EXPECT_EQ(MMS_UTIL_Setting::setSendingOption(true, true, 200, 130), code);
        }
        EXPECT_EQ(storedSendingOptions(), (SendingOptions{true, false, 100, 128}));
    }
}

// ---- other processes

TEST_F(SettingStoreTest, ValuesWrittenByAnotherProcessReadBackHere)
{
    ChildProcess child([](ChildProcess&) {
        const int result = writeSampleValues();
        return result == 0 ? ChildVerdict::pass() : ChildVerdict::fail(describe("writing", result));
    });
    EXPECT_CHILD_PASSES(child, 60s);
    temp.reopen();
    EXPECT_EQ(checkSampleValues(), "");
}

TEST_F(SettingStoreTest, ValuesWrittenHereReadBackInAnotherProcess)
{
    ASSERT_EQ(writeSampleValues(), 0);
    temp.reopen(); // the parent's connection must not cross the fork
    ChildProcess child([](ChildProcess&) {
        const std::string wrong = checkSampleValues();
        return wrong.empty() ? ChildVerdict::pass() : ChildVerdict::fail(wrong);
    });
    EXPECT_CHILD_PASSES(child, 60s);
}

const int kKeysPerWriter = 1000;

// Writes its own key in a group of its own 1,000 times, and the shared expiry as many times, each
// value marked with `writer`.
ChildVerdict concurrentWriter(int writer)
{
    for (int i = 0; i < kKeysPerWriter; ++i) {
        const QString group = QStringLiteral("writer%1-%2").arg(writer).arg(i);
        if (const int r = MMS_UTIL_Setting::setWAPGatewayByProf(group, unsigned(i)); r != 0)
            return ChildVerdict::fail(describe("own key", r));
        if (const int r = MMS_UTIL_Setting::setExpireAfterSec(writer * 100000 + i); r != 0)
            return ChildVerdict::fail(describe("shared key", r));
    }
    return ChildVerdict::pass();
}

TEST_F(SettingStoreTest, TwoProcessesWritingAtOnceLoseNothing)
{
    ChildProcess first([](ChildProcess&) { return concurrentWriter(1); });
    ChildProcess second([](ChildProcess&) { return concurrentWriter(2); });
    EXPECT_CHILD_PASSES(first, 240s);
    EXPECT_CHILD_PASSES(second, 240s);
    temp.reopen();
    for (int writer : {1, 2}) {
        for (int i = 0; i < kKeysPerWriter; ++i) {
            const QString group = QStringLiteral("writer%1-%2").arg(writer).arg(i);
            ASSERT_EQ(MMS_UTIL_Setting::getWAPGatewayByProf(group), unsigned(i))
                << group.toStdString();
        }
    }
    const int shared = MMS_UTIL_Setting::getExpireAfterSec();
    EXPECT_TRUE(shared / 100000 == 1 || shared / 100000 == 2) << shared;
    EXPECT_LT(shared % 100000, kKeysPerWriter);
    EXPECT_EQ(rowCount(temp.path()), 2 * kKeysPerWriter + 1);
    EXPECT_EQ(integrityOf(temp.path()), "ok");
}

// On a small disk of its own: writes the sample values, then fills the disk through a profile
// value until the store refuses; every kind of writer must then give 2 and leave the earlier
// values readable, in the same process and through a new store object.
ChildVerdict fullDiskWriter(const QString& directory)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace for a small file system: " + why);
    if (const std::string why = tavmms_test::mountSmallTmpfs(directory, 256); !why.empty())
        return ChildVerdict::skip("no small file system to fill: " + why);
    auto store = std::make_unique<tavplatform::SqliteSettingsStore>(directory + "/settings.db");
    auto installed = std::make_unique<tavplatform::ScopedSettingsStoreService>(store.get());
    if (const int r = writeSampleValues(); r != 0)
        return ChildVerdict::fail(describe("writing the sample values", r));
    const QString filler(2000, QLatin1Char('x'));
    int r = 0;
    for (int i = 0; r == 0; ++i) {
        if (i == 10000)
            return ChildVerdict::fail("the disk never filled");
        r = MMS_UTIL_Setting::setMMSServerURIByProf(QStringLiteral("fill%1").arg(i), filler);
    }
    if (r != 2)
        return ChildVerdict::fail(describe("filling", r) + ", expected 2");
    MMS_UTIL_SETTING_SERVER_T server{kEmpty, 1, 1, 1, 1, 1, 1, 1, 1, filler};
    MMS_UTIL_SETTING_PROFILE_T profile{filler, filler, 1, 1, 1, kEmpty};
    const std::pair<const char*, int> results[] = {
        {"setBlockList", MMS_UTIL_Setting::setBlockList(filler)},
        {"addToBlockList", MMS_UTIL_Setting::addToBlockList(filler)},
        {"setDefaultMMSProfile", MMS_UTIL_Setting::setDefaultMMSProfile(filler)},
        {"setMMSServerURI", MMS_UTIL_Setting::setMMSServerURI(filler)},
        {"setMaxiumMOMMSSize", MMS_UTIL_Setting::setMaxiumMOMMSSize(1)},
        {"setSendingOption", MMS_UTIL_Setting::setSendingOption(false, false, 1, 128)},
        {"addProfile", MMS_UTIL_Setting::addProfile(filler)},
        {"setServerSettings", MMS_UTIL_Setting::setServerSettings(&server)},
        {"setProfileSettingsByName",
         MMS_UTIL_Setting::setProfileSettingsByName(QStringLiteral("Work"), &profile)},
    };
    for (const auto& [what, result] : results) {
        if (result != 2)
            return ChildVerdict::fail(describe(what, result) + " on a full disk, expected 2");
    }
    if (const std::string wrong = checkSampleValues(); !wrong.empty())
        return ChildVerdict::fail("on the full disk: " + wrong);
    installed.reset();
    store = std::make_unique<tavplatform::SqliteSettingsStore>(directory + "/settings.db");
    installed = std::make_unique<tavplatform::ScopedSettingsStoreService>(store.get());
    if (const std::string wrong = checkSampleValues(); !wrong.empty())
        return ChildVerdict::fail("through a new store object: " + wrong);
    return ChildVerdict::pass();
}

TEST_F(SettingStoreTest, FullDiskGives2AndKeepsTheEarlierValues)
{
    const QString directory = temp.directory() + QStringLiteral("/small");
    ASSERT_TRUE(QDir().mkpath(directory));
    ChildProcess child([&](ChildProcess&) { return fullDiskWriter(directory); });
    EXPECT_CHILD_PASSES(child, 120s);
}

// The store on a directory made read-only after the values were written: writers give 1, not 2.
ChildVerdict readOnlyWriter(const QString& directory)
{
    const QString path = directory + QStringLiteral("/settings.db");
    {
        tavplatform::SqliteSettingsStore store(path);
        tavplatform::ScopedSettingsStoreService installed(&store);
        if (const int r = writeSampleValues(); r != 0)
            return ChildVerdict::fail(describe("writing the sample values", r));
    }
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace: " + why);
    if (const std::string why = tavmms_test::makeReadOnly(directory); !why.empty())
        return ChildVerdict::skip("cannot make the directory read-only: " + why);
    tavplatform::SqliteSettingsStore store(path);
    tavplatform::ScopedSettingsStoreService installed(&store);
    const std::pair<const char*, int> results[] = {
        {"setBlockList", MMS_UTIL_Setting::setBlockList(QStringLiteral("9"))},
        {"setMaxiumMTMMSSize", MMS_UTIL_Setting::setMaxiumMTMMSSize(1)},
        {"setSendingOption", MMS_UTIL_Setting::setSendingOption(false, false, 1, 128)},
        {"setWAPGateway", MMS_UTIL_Setting::setWAPGateway(1)},
        {"delProfile", MMS_UTIL_Setting::delProfile(QStringLiteral("Work"))},
    };
    for (const auto& [what, result] : results) {
        if (result != 1)
            return ChildVerdict::fail(describe(what, result) + " on a read-only disk, expected 1");
    }
    if (const int r = MMS_UTIL_Setting::addProfile(QStringLiteral("New")); r != 3)
        return ChildVerdict::fail(describe("addProfile", r) + " on a read-only disk, expected 3");
    return ChildVerdict::pass();
}

TEST_F(SettingStoreTest, ReadOnlyDiskGives1)
{
    ChildProcess child([&](ChildProcess&) { return readOnlyWriter(temp.directory()); });
    EXPECT_CHILD_PASSES(child, 60s);
}

} // namespace
