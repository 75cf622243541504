// mmsutil's settings, profile, block, sending and flex commands, run as a child process on a
// settings store in a temporary platform directory: what they print, their exit codes, and the
// values they leave, read back through the library as another application would. This process
// opens the store only for a moment at a time, and never while it forks. The readers of the block
// commands' addresses are also tried in-process.

#include <tavmmsutility.h>

#include "settingshelpers.h"
#include "setup_set_manager.h"
#include "sqlite_settings_store.h"

#include "support/child_process.h"
#include "support/model_helpers.h"
#include "support/mount_namespace.h"
#include "support/sql_queries.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>

namespace
{

using namespace std::chrono_literals;
using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using tavmms_test::expectFailure;
using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

const QString kGlobal = QStringLiteral("MMS_GRP");
const QString kProfile = QStringLiteral("Operator MMS");

// The settings store on `path`, installed in this process while the object lives.
class OpenedStore
{
public:
    explicit OpenedStore(const QString& path) : store_(path), installed_(&store_) {}

private:
    tavplatform::SqliteSettingsStore store_;
    tavplatform::ScopedSettingsStoreService installed_;
};

// The tool exited with 3 and one line on standard error, printing nothing.
void expectAlreadyThere(const ToolResult& result, const char* message)
{
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    EXPECT_EQ(result.err.toStdString(), std::string("mmsutil: ") + message + "\n");
}

class MmsutilSettingsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(QDir().mkpath(platformDir()));
    }

    QString platformDir() const { return dir.filePath(QStringLiteral("platform")); }
    QString storePath() const { return platformDir() + QStringLiteral("/settings.db"); }

    ToolResult run(const QStringList& arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TAV_PLATFORM_DIR"), platformDir());
        environment.insert(QStringLiteral("TAV_LOCAL_DOWNLOAD_PATH"),
                           dir.filePath(QStringLiteral("download")));
        return tavmms_test::runTool(QStringLiteral(TAVMMS_MMSUTIL_PATH), arguments, dir.path(),
                                    QByteArray(), environment);
    }

    // Runs a command that must succeed without a word on standard error; gives its output.
    QByteArray ok(const QStringList& arguments) const
    {
        const ToolResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 0)
            << arguments.join(QLatin1Char(' ')).toStdString() << ": " << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
        return result.out;
    }

    // The output of a command with --json, parsed as an object.
    QJsonObject json(const QStringList& arguments) const
    {
        const QByteArray out = ok(arguments + QStringList{QStringLiteral("--json")});
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(out, &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << out.toStdString();
        EXPECT_TRUE(document.isObject()) << out.toStdString();
        return document.object();
    }

    // Calls `read` with the tool's store installed in this process, as another application
    // reads it, and gives what it returns.
    template <typename Read> auto inStore(Read read) const
    {
        const OpenedStore store(storePath());
        return read();
    }

    // Adds `name` and makes it the default profile.
    void addDefaultProfile(const QString& name = kProfile) const
    {
        ok({QStringLiteral("profile"), QStringLiteral("add"), name});
        ok({QStringLiteral("profile"), QStringLiteral("default"), name});
    }

    QTemporaryDir dir;
};

// ---- settings ----

TEST_F(MmsutilSettingsTest, ShowOfAFreshStoreGivesEveryDefault)
{
    const QByteArray out = ok({QStringLiteral("settings"), QStringLiteral("show")});

    EXPECT_EQ(out.toStdString(), "SETTING                    VALUE   SOURCE\n"
                                 "roaming-delayed-retrieval  on      default\n"
                                 "mt-size-limitation         on      default\n"
                                 "auto-retrieval             on      default\n"
                                 "max-mo-size                50 KB   default\n"
                                 "max-mt-size                100 KB  default\n"
                                 "sender-visibility          on      default\n"
                                 "expire-after-sec           65535   default\n"
                                 "delivery-report-allowed    on      default\n"
                                 "default-profile            \"\"      default\n"
                                 "block-list                 \"\"      default\n"
                                 "server-uri                 \"\"      default\n"
                                 "data-connect-profile       \"\"      default\n"
                                 "wap-gateway                0       default\n"
                                 "connection-type            0       default\n"
                                 "secure-type                0       default\n");
}

TEST_F(MmsutilSettingsTest, ShowMarksStoredValuesAndReadsTheDefaultProfiles)
{
    addDefaultProfile();
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("server-uri"),
        QStringLiteral("http://mmsc.example/mms")});
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("auto-retrieval"),
        QStringLiteral("off")});
    ok({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("+15550100")});

    const QByteArray out = ok({QStringLiteral("settings"), QStringLiteral("show")});

    EXPECT_EQ(out.toStdString(), "SETTING                    VALUE                      SOURCE\n"
                                 "roaming-delayed-retrieval  on                         default\n"
                                 "mt-size-limitation         on                         default\n"
                                 "auto-retrieval             off                        stored\n"
                                 "max-mo-size                50 KB                      default\n"
                                 "max-mt-size                100 KB                     default\n"
                                 "sender-visibility          on                         default\n"
                                 "expire-after-sec           65535                      default\n"
                                 "delivery-report-allowed    on                         default\n"
                                 "default-profile            \"Operator MMS\"             stored\n"
                                 "block-list                 \"+15550100\"                stored\n"
                                 "server-uri                 \"http://mmsc.example/mms\"  stored\n"
                                 "data-connect-profile       \"\"                         default\n"
                                 "wap-gateway                0                          default\n"
                                 "connection-type            0                          default\n"
                                 "secure-type                0                          default\n");
}

TEST_F(MmsutilSettingsTest, ProfileNamesThatWouldBreakTheListAreRefused)
{
    for (const QString& name :
         {QStringLiteral("new\nline"), QStringLiteral("esc\x1b[2J"),
          QString(QChar(0x9B)) + QStringLiteral("x"), QStringLiteral("a") + QChar(0x2028)}) {
        SCOPED_TRACE(name.toStdString());
        expectUsageError(run({QStringLiteral("profile"), QStringLiteral("add"), name}));
    }
    EXPECT_TRUE(inStore(MMS_UTIL_Setting::getMMSProfiles).isEmpty());
}

TEST_F(MmsutilSettingsTest, TheWapGatewayIsGivenInDottedFormAndShownInBoth)
{
    addDefaultProfile();
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("wap-gateway"),
        QStringLiteral("192.168.1.1")});
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getWAPGateway), 3232235777u);
    const QJsonObject gateway = json({QStringLiteral("settings"), QStringLiteral("show")})
                                    .value(QStringLiteral("wap-gateway"))
                                    .toObject();
    EXPECT_EQ(gateway.value(QStringLiteral("value")).toDouble(), 3232235777.0);
    EXPECT_EQ(gateway.value(QStringLiteral("address")).toString(), QStringLiteral("192.168.1.1"));
    ok({QStringLiteral("profile"), QStringLiteral("set"), kProfile, QStringLiteral("--wap-gateway"),
        QStringLiteral("10.0.0.1")});
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getWAPGateway), 167772161u);
}

TEST_F(MmsutilSettingsTest, ShowJsonHasEverySettingWithItsGroupKeyAndSource)
{
    addDefaultProfile();
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("wap-gateway"),
        QStringLiteral("4294967295")});
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("mt-size-limitation"),
        QStringLiteral("false")});

    const QJsonObject shown = json({QStringLiteral("settings"), QStringLiteral("show")});

    const struct {
        const char* name;
        QString group;
        const char* key;
        QJsonValue value;
        bool isDefault;
    } expected[] = {
        {"roaming-delayed-retrieval", kGlobal, "MMS_Roaming_Delayed_Retrieval", true, true},
        {"mt-size-limitation", kGlobal, "MMS_Enable_MT_Size_Limitation", false, false},
        {"auto-retrieval", kGlobal, "MMS_AutoDownload", true, true},
        {"max-mo-size", kGlobal, "MMS_MO_Size_Limitation", 50, true},
        {"max-mt-size", kGlobal, "MMS_MT_Size_Limitation", 100, true},
        {"sender-visibility", kGlobal, "MMS_Sender_Visible", true, true},
        {"expire-after-sec", kGlobal, "MMS_Expire_After_Sec", 65535, true},
        {"delivery-report-allowed", kGlobal, "MMS_DeliRep_Allowed", true, true},
        {"default-profile", kGlobal, "MMS_Default_MMS_Profile", kProfile, false},
        {"block-list", kGlobal, "MMS_Block_List", QString(), true},
        {"server-uri", kProfile, "MMS_Server_Address", QString(), true},
        {"data-connect-profile", kProfile, "MMS_Connection_Profile", QString(), true},
        {"wap-gateway", kProfile, "MMS_WAP_Gateway", 4294967295.0, false},
        {"connection-type", kProfile, "MMS_Connection_Type", 0, true},
        {"secure-type", kProfile, "MMS_Secure_Connection_Type", 0, true},
    };
    EXPECT_EQ(shown.size(), qsizetype(std::size(expected)));
    for (const auto& setting : expected) {
        SCOPED_TRACE(setting.name);
        const QJsonObject member = shown.value(QLatin1String(setting.name)).toObject();
        EXPECT_EQ(member.value(QStringLiteral("group")).toString(), setting.group);
        EXPECT_EQ(member.value(QStringLiteral("key")).toString(), QLatin1String(setting.key));
        EXPECT_EQ(member.value(QStringLiteral("value")), setting.value);
        EXPECT_EQ(member.value(QStringLiteral("isDefault")).toBool(), setting.isDefault);
    }
    EXPECT_EQ(shown.value(QStringLiteral("max-mo-size")).toObject().value("limitBytes").toInt(),
              50 * 1024);
    EXPECT_EQ(shown.value(QStringLiteral("max-mt-size")).toObject().value("unit").toString(),
              QStringLiteral("KB"));
}

TEST_F(MmsutilSettingsTest, ShowGivesTheSizeLimitsInKBAndZeroAsNoLimit)
{
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("max-mo-size"),
        QStringLiteral("0")});
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("max-mt-size"),
        QStringLiteral("1024")});

    const QJsonObject shown = json({QStringLiteral("settings"), QStringLiteral("show")});
    const QJsonObject mo = shown.value(QStringLiteral("max-mo-size")).toObject();
    const QJsonObject mt = shown.value(QStringLiteral("max-mt-size")).toObject();
    EXPECT_EQ(mo.value(QStringLiteral("value")).toInt(-1), 0);
    EXPECT_EQ(mo.value(QStringLiteral("unit")).toString(), QStringLiteral("KB"));
    EXPECT_EQ(mo.value(QStringLiteral("limitBytes")).toInteger(), 100 * 1024 * 1024);
    EXPECT_FALSE(mo.value(QStringLiteral("isDefault")).toBool(true));
    EXPECT_EQ(mt.value(QStringLiteral("limitBytes")).toInteger(), 1024 * 1024);
    const QByteArray text = ok({QStringLiteral("settings"), QStringLiteral("show")});
    EXPECT_TRUE(text.contains("\nmax-mo-size                0 (no limit)  stored\n"))
        << text.toStdString();
    EXPECT_TRUE(text.contains("\nmax-mt-size                1024 KB       stored\n"))
        << text.toStdString();
}

TEST_F(MmsutilSettingsTest, CommandsThatReadSettingsFailNamingADamagedStoreAndPrintNothing)
{
    ASSERT_TRUE(run({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("15550199")})
                    .exitCode == 0);
    ASSERT_TRUE(tavmms_test::replaceWithNonDatabase(storePath()));
    const QList<QStringList> commands{
        {QStringLiteral("settings"), QStringLiteral("show")},
        {QStringLiteral("block"), QStringLiteral("list")},
        {QStringLiteral("block"), QStringLiteral("check"), QStringLiteral("15550199")},
        {QStringLiteral("flex"), QStringLiteral("get"), QStringLiteral("49")},
        {QStringLiteral("sending"), QStringLiteral("show")},
        {QStringLiteral("profile"), QStringLiteral("list")},
        {QStringLiteral("profile"), QStringLiteral("show"), QStringLiteral("Operator")},
    };
    for (const QStringList& command : commands) {
        const ToolResult result = run(command);

        EXPECT_EQ(result.exitCode, 1) << command.join(' ').toStdString();
        EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
        EXPECT_EQ(result.err.toStdString(),
                  QStringLiteral("mmsutil: the settings store '%1' is damaged: it is not a "
                                 "database, or a corrupt one\n")
                      .arg(storePath())
                      .toStdString());
    }
}

TEST_F(MmsutilSettingsTest, SetWritesEverySettingAsTheLibraryReadsIt)
{
    addDefaultProfile();
    const QList<QStringList> changes{
        {QStringLiteral("roaming-delayed-retrieval"), QStringLiteral("off")},
        {QStringLiteral("mt-size-limitation"), QStringLiteral("0")},
        {QStringLiteral("auto-retrieval"), QStringLiteral("FALSE")},
        {QStringLiteral("max-mo-size"), QStringLiteral("2147483647")},
        {QStringLiteral("max-mt-size"), QStringLiteral("300")},
        {QStringLiteral("sender-visibility"), QStringLiteral("Off")},
        {QStringLiteral("expire-after-sec"), QStringLiteral("604800")},
        {QStringLiteral("delivery-report-allowed"), QStringLiteral("false")},
        {QStringLiteral("server-uri"), QStringLiteral("http://mmsc.example/mms?a=1&b=\"2\"")},
        {QStringLiteral("data-connect-profile"), QStringLiteral("Operator Internet")},
        {QStringLiteral("wap-gateway"), QStringLiteral("3232235777")},
        {QStringLiteral("connection-type"), QStringLiteral("255")},
        {QStringLiteral("secure-type"), QStringLiteral("7")},
    };
    for (const QStringList& change : changes)
        ok(QStringList{QStringLiteral("settings"), QStringLiteral("set")} + change);

    inStore([] {
        EXPECT_EQ(MMS_UTIL_Setting::getRoamingDelayedRetrieval(), 0);
        EXPECT_EQ(MMS_UTIL_Setting::getMTSizeLimitationState(), 0);
        EXPECT_EQ(MMS_UTIL_Setting::getAutoRetrievalSetting(), 0);
        EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMOMMSSize(1), 2147483647);
        EXPECT_EQ(MMS_UTIL_Setting::getMaxiumMTMMSSize(), 300);
        EXPECT_EQ(MMS_UTIL_Setting::getSenderVisibility(), 0);
        EXPECT_EQ(MMS_UTIL_Setting::getExpireAfterSec(), 604800);
        EXPECT_EQ(MMS_UTIL_Setting::getDeliveryRepAllowedity(), 0);
        EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURIByProf(kProfile),
                  QStringLiteral("http://mmsc.example/mms?a=1&b=\"2\""));
        EXPECT_EQ(MMS_UTIL_Setting::getDataConnectProfileName(),
                  QStringLiteral("Operator Internet"));
        EXPECT_EQ(MMS_UTIL_Setting::getWAPGateway(), 3232235777u);
        EXPECT_EQ(MMS_UTIL_Setting::getConnectionType(), 255);
        EXPECT_EQ(MMS_UTIL_Setting::getSecureType(), 7);
    });

    // The flags come back on from any of their words.
    for (const char* on : {"on", "1", "TRUE"}) {
        ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("auto-retrieval"),
            QLatin1String(on)});
        EXPECT_EQ(inStore(MMS_UTIL_Setting::getAutoRetrievalSetting), 1) << on;
        ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("auto-retrieval"),
            QStringLiteral("0")});
    }
}

TEST_F(MmsutilSettingsTest, SetRefusesWrongNamesAndValuesWritingNothing)
{
    addDefaultProfile();
    const QList<QStringList> wrong{
        {},
        {QStringLiteral("max-mt-size")},
        {QStringLiteral("max-mt-size"), QStringLiteral("1"), QStringLiteral("2")},
        {QStringLiteral("bogus"), QStringLiteral("1")},
        {QStringLiteral("MAX-MT-SIZE"), QStringLiteral("1")},
        {QStringLiteral("block-list"), QStringLiteral("123")},
        {QStringLiteral("auto-retrieval"), QStringLiteral("2")},
        {QStringLiteral("auto-retrieval"), QStringLiteral("yes")},
        {QStringLiteral("auto-retrieval"), QString()},
        {QStringLiteral("max-mt-size"), QStringLiteral("-1")},
        {QStringLiteral("max-mt-size"), QStringLiteral("+1")},
        {QStringLiteral("max-mt-size"), QStringLiteral("1e3")},
        {QStringLiteral("max-mt-size"), QStringLiteral(" 1")},
        {QStringLiteral("max-mo-size"), QStringLiteral("2147483648")},
        {QStringLiteral("expire-after-sec"), QStringLiteral("2147483648")},
        {QStringLiteral("wap-gateway"), QStringLiteral("4294967296")},
        {QStringLiteral("wap-gateway"), QStringLiteral("192.168.1.256")},
        {QStringLiteral("wap-gateway"), QStringLiteral("192.168.1")},
        {QStringLiteral("connection-type"), QStringLiteral("256")},
        {QStringLiteral("secure-type"), QStringLiteral("x")},
    };
    for (const QStringList& arguments : wrong) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(
            run(QStringList{QStringLiteral("settings"), QStringLiteral("set")} + arguments));
    }

    const QJsonObject shown = json({QStringLiteral("settings"), QStringLiteral("show")});
    for (auto it = shown.begin(); it != shown.end(); ++it) {
        const bool stored = !it.value().toObject().value(QStringLiteral("isDefault")).toBool();
        EXPECT_EQ(stored, it.key() == QLatin1String("default-profile")) << it.key().toStdString();
    }
}

TEST_F(MmsutilSettingsTest, SetOfAProfileValueWithoutADefaultProfileFails)
{
    const ToolResult result = run({QStringLiteral("settings"), QStringLiteral("set"),
                                   QStringLiteral("server-uri"), QStringLiteral("http://x")});

    expectFailure(result);
    EXPECT_TRUE(result.err.contains("there is no default profile")) << result.err.toStdString();
}

TEST_F(MmsutilSettingsTest, DefaultProfileMustBeListedOrEmpty)
{
    ok({QStringLiteral("profile"), QStringLiteral("add"), kProfile});

    const ToolResult unlisted = run({QStringLiteral("settings"), QStringLiteral("set"),
                                     QStringLiteral("default-profile"), QStringLiteral("Other")});
    expectNotFound(unlisted);
    EXPECT_EQ(unlisted.err.toStdString(), "mmsutil: no profile \"Other\"\n");
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getDefaultMMSProfile), QString());

    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("default-profile"),
        kProfile});
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getDefaultMMSProfile), kProfile);
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("default-profile"),
        QString()});
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getDefaultMMSProfile), QString());
}

// ---- profile ----

TEST_F(MmsutilSettingsTest, ProfileListIsInCodeUnitOrder)
{
    EXPECT_TRUE(ok({QStringLiteral("profile"), QStringLiteral("list")}).isEmpty());
    for (const char* name : {"B", "a", "A"})
        ok({QStringLiteral("profile"), QStringLiteral("add"), QLatin1String(name)});

    EXPECT_EQ(ok({QStringLiteral("profile"), QStringLiteral("list")}).toStdString(), "A\nB\na\n");
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getMMSProfiles),
              (QStringList{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("a")}));
}

TEST_F(MmsutilSettingsTest, ProfileAddOfAListedNameExitsWith3)
{
    ok({QStringLiteral("profile"), QStringLiteral("add"), kProfile});

    expectAlreadyThere(run({QStringLiteral("profile"), QStringLiteral("add"), kProfile}),
                       "profile \"Operator MMS\" is already listed");
    ok({QStringLiteral("profile"), QStringLiteral("add"), QStringLiteral("operator mms")});
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getMMSProfiles),
              (QStringList{kProfile, QStringLiteral("operator mms")}));
}

TEST_F(MmsutilSettingsTest, ProfileNamesWithBlanksQuotesAndOtherScriptsWorkEverywhere)
{
    const QStringList names{
        QStringLiteral("Say \"hi\"; it's 'mine'"),
        QStringLiteral("a/b\\c,d"),
        QString::fromUtf8("Ünïcødé 日本 ✉"),
        QStringLiteral("  padded  "),
        QString(200, QChar(u'é')),
    };
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        ok({QStringLiteral("profile"), QStringLiteral("add"), name});
        ok({QStringLiteral("profile"), QStringLiteral("set"), name, QStringLiteral("--server-uri"),
            name + QStringLiteral("/uri"), QStringLiteral("--connection-type"),
            QStringLiteral("9")});
        ok({QStringLiteral("profile"), QStringLiteral("default"), name});

        // A backslash is shown doubled, so that it never reads as the start of an escape.
        EXPECT_EQ(QString::fromUtf8(ok({QStringLiteral("profile"), QStringLiteral("default")})),
                  tavmms::store::displayText(name) + QLatin1Char('\n'));
        const QJsonObject shown = json({QStringLiteral("profile"), QStringLiteral("show"), name});
        EXPECT_EQ(shown.value(QStringLiteral("name")).toString(), name);
        EXPECT_TRUE(shown.value(QStringLiteral("isDefaultProfile")).toBool());
        const QJsonObject uri =
            shown.value(QStringLiteral("values")).toObject().value("server-uri").toObject();
        EXPECT_EQ(uri.value(QStringLiteral("value")).toString(), name + QStringLiteral("/uri"));
        EXPECT_EQ(uri.value(QStringLiteral("group")).toString(), name);
        inStore([&] {
            EXPECT_EQ(MMS_UTIL_Setting::getDefaultMMSProfile(), name);
            EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURI(), name + QStringLiteral("/uri"));
            EXPECT_EQ(MMS_UTIL_Setting::getConnectionTypeByProf(name), 9);
        });
    }
    QStringList sorted = names;
    std::sort(sorted.begin(), sorted.end());
    for (QString& name : sorted)
        name = tavmms::store::displayText(name);
    EXPECT_EQ(QString::fromUtf8(ok({QStringLiteral("profile"), QStringLiteral("list")})),
              sorted.join(QLatin1Char('\n')) + QLatin1Char('\n'));
    for (const QString& name : names)
        ok({QStringLiteral("profile"), QStringLiteral("del"), name});
    EXPECT_TRUE(inStore(MMS_UTIL_Setting::getMMSProfiles).isEmpty());
}

TEST_F(MmsutilSettingsTest, ProfileShowPrintsItsValuesAndWhetherItIsTheDefault)
{
    ok({QStringLiteral("profile"), QStringLiteral("add"), kProfile});
    ok({QStringLiteral("profile"), QStringLiteral("set"), kProfile, QStringLiteral("--server-uri"),
        QStringLiteral("http://mmsc.example/mms"), QStringLiteral("--wap-gateway"),
        QStringLiteral("12")});

    const QByteArray notDefault = ok({QStringLiteral("profile"), QStringLiteral("show"), kProfile});
    EXPECT_EQ(notDefault.toStdString(),
              "Profile \"Operator MMS\"\n"
              "SETTING               VALUE                      SOURCE\n"
              "server-uri            \"http://mmsc.example/mms\"  stored\n"
              "data-connect-profile  \"\"                         default\n"
              "wap-gateway           12                         stored\n"
              "connection-type       0                          default\n"
              "secure-type           0                          default\n");
    EXPECT_FALSE(json({QStringLiteral("profile"), QStringLiteral("show"), kProfile})
                     .value(QStringLiteral("isDefaultProfile"))
                     .toBool(true));

    ok({QStringLiteral("profile"), QStringLiteral("default"), kProfile});
    EXPECT_TRUE(ok({QStringLiteral("profile"), QStringLiteral("show"), kProfile})
                    .startsWith("Profile \"Operator MMS\" (the default profile)\n"));
}

TEST_F(MmsutilSettingsTest, ProfileSetWritesOnlyTheValuesGiven)
{
    ok({QStringLiteral("profile"), QStringLiteral("add"), kProfile});
    ok({QStringLiteral("profile"), QStringLiteral("set"), kProfile, QStringLiteral("--server-uri"),
        QStringLiteral("http://a"), QStringLiteral("--data-connect-profile"), QStringLiteral("Net"),
        QStringLiteral("--wap-gateway"), QStringLiteral("1"), QStringLiteral("--connection-type"),
        QStringLiteral("2"), QStringLiteral("--secure-type"), QStringLiteral("3")});

    ok({QStringLiteral("profile"), QStringLiteral("set"), kProfile, QStringLiteral("--wap-gateway"),
        QStringLiteral("4")});

    inStore([] {
        std::unique_ptr<MMS_UTIL_SETTING_PROFILE_T> profile(
            MMS_UTIL_Setting::getProfileSettingsByName(kProfile));
        ASSERT_TRUE(profile);
        EXPECT_EQ(profile->serverAddress, QStringLiteral("http://a"));
        EXPECT_EQ(profile->connectionProfile, QStringLiteral("Net"));
        EXPECT_EQ(profile->wapGateway, 4u);
        EXPECT_EQ(profile->connectionType, 2);
        EXPECT_EQ(profile->secureConnectionType, 3);
    });
}

TEST_F(MmsutilSettingsTest, ProfileCommandsRefuseWrongArgumentsAndUnlistedProfiles)
{
    ok({QStringLiteral("profile"), QStringLiteral("add"), kProfile});
    const QList<QStringList> wrong{
        {QStringLiteral("add")},
        {QStringLiteral("add"), QString()},
        {QStringLiteral("add"), QStringLiteral("a"), QStringLiteral("b")},
        {QStringLiteral("del"), QString()},
        {QStringLiteral("show"), QString()},
        {QStringLiteral("list"), QStringLiteral("extra")},
        {QStringLiteral("set"), kProfile},
        {QStringLiteral("set"), QString(), QStringLiteral("--wap-gateway"), QStringLiteral("1")},
        {QStringLiteral("set"), kProfile, QStringLiteral("--wap-gateway"), QStringLiteral("x")},
        {QStringLiteral("set"), kProfile, QStringLiteral("--secure-type"), QStringLiteral("256")},
        {QStringLiteral("set"), kProfile, QStringLiteral("--bogus"), QStringLiteral("1")},
        {QStringLiteral("default"), QStringLiteral("a"), QStringLiteral("b")},
    };
    for (const QStringList& arguments : wrong) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(run(QStringList{QStringLiteral("profile")} + arguments));
    }

    const QList<QStringList> unlisted{
        {QStringLiteral("del"), QStringLiteral("Other")},
        {QStringLiteral("show"), QStringLiteral("Other")},
        {QStringLiteral("set"), QStringLiteral("Other"), QStringLiteral("--wap-gateway"),
         QStringLiteral("1")},
        {QStringLiteral("default"), QStringLiteral("Other")},
    };
    for (const QStringList& arguments : unlisted) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        const ToolResult result = run(QStringList{QStringLiteral("profile")} + arguments);
        expectNotFound(result);
        EXPECT_EQ(result.err.toStdString(), "mmsutil: no profile \"Other\"\n");
    }
    // A mistyped name made no group of its own.
    inStore([] {
        SETUP_SET_Manager store(AM_Global::APP_MMS, false);
        EXPECT_TRUE(store.getEntryKeyList(QStringLiteral("Other")).isEmpty());
    });
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getMMSProfiles), QStringList{kProfile});
}

TEST_F(MmsutilSettingsTest, ProfileDelRemovesItsValuesAndTheDefaultThatNamedIt)
{
    addDefaultProfile();
    ok({QStringLiteral("profile"), QStringLiteral("set"), kProfile, QStringLiteral("--server-uri"),
        QStringLiteral("http://a")});

    ok({QStringLiteral("profile"), QStringLiteral("del"), kProfile});

    EXPECT_TRUE(ok({QStringLiteral("profile"), QStringLiteral("list")}).isEmpty());
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getDefaultMMSProfile), QString());
    inStore([] {
        SETUP_SET_Manager store(AM_Global::APP_MMS, false);
        EXPECT_TRUE(store.getEntryKeyList(kProfile).isEmpty());
        EXPECT_EQ(MMS_UTIL_Setting::getMMSServerURI(), QString());
    });
}

TEST_F(MmsutilSettingsTest, ProfileDefaultPrintsNothingWhenThereIsNone)
{
    EXPECT_TRUE(ok({QStringLiteral("profile"), QStringLiteral("default")}).isEmpty());

    addDefaultProfile();
    EXPECT_EQ(ok({QStringLiteral("profile"), QStringLiteral("default")}).toStdString(),
              "Operator MMS\n");

    ok({QStringLiteral("profile"), QStringLiteral("default"), QString()});
    EXPECT_TRUE(ok({QStringLiteral("profile"), QStringLiteral("default")}).isEmpty());
}

// ---- block ----

TEST_F(MmsutilSettingsTest, BlockAddJoinsWithCommasAndExitsWith3ForABlockedAddress)
{
    ok({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("123")});
    ok({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("456")});
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getBlockList), QStringLiteral("123,456"));

    // Containment counts: 0123 holds the listed 123.
    expectAlreadyThere(
        run({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("0123")}),
        "'0123' is already blocked");

    EXPECT_EQ(inStore(MMS_UTIL_Setting::getBlockList), QStringLiteral("123,456"));
    EXPECT_EQ(ok({QStringLiteral("block"), QStringLiteral("list")}).toStdString(), "123\n456\n");
}

TEST_F(MmsutilSettingsTest, BlockCheckPrintsTheAnswerAndExitsWith0Or3)
{
    ok({QStringLiteral("block"), QStringLiteral("set"),
        QStringLiteral("0123456789,Ann@example.org")});

    for (const char* blocked : {"123", "+390123456789", "0123456789", "Ann@example.org"}) {
        SCOPED_TRACE(blocked);
        EXPECT_EQ(ok({QStringLiteral("block"), QStringLiteral("check"), QLatin1String(blocked)})
                      .toStdString(),
                  "blocked\n");
    }
    for (const char* free : {"987", "ann@example.org", "+39012345678X"}) {
        SCOPED_TRACE(free);
        const ToolResult result =
            run({QStringLiteral("block"), QStringLiteral("check"), QLatin1String(free)});
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_EQ(result.out.toStdString(), "not blocked\n");
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
    }
}

TEST_F(MmsutilSettingsTest, BlockSetReplacesTheListAndAnEmptyTextEmptiesIt)
{
    ok({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("123")});

    ok({QStringLiteral("block"), QStringLiteral("set"), QStringLiteral("7,8,spam@example.org")});
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getBlockList), QStringLiteral("7,8,spam@example.org"));
    EXPECT_EQ(ok({QStringLiteral("block"), QStringLiteral("list")}).toStdString(),
              "7\n8\nspam@example.org\n");

    ok({QStringLiteral("block"), QStringLiteral("set"), QString()});
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getBlockList), QString());
    EXPECT_TRUE(ok({QStringLiteral("block"), QStringLiteral("list")}).isEmpty());
}

TEST_F(MmsutilSettingsTest, BlockCommandsRefuseAddressesThatWouldBlockTooMuch)
{
    const QList<QStringList> wrong{
        {QStringLiteral("add")},
        {QStringLiteral("add"), QString()},
        {QStringLiteral("add"), QStringLiteral("1,2")},
        {QStringLiteral("check"), QString()},
        {QStringLiteral("check"), QStringLiteral("1,2")},
        {QStringLiteral("set")},
        {QStringLiteral("set"), QStringLiteral("1,,2")},
        {QStringLiteral("set"), QStringLiteral(",1")},
        {QStringLiteral("set"), QStringLiteral("1,")},
        {QStringLiteral("set"), QStringLiteral(",")},
        {QStringLiteral("list"), QStringLiteral("extra")},
    };
    for (const QStringList& arguments : wrong) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(run(QStringList{QStringLiteral("block")} + arguments));
    }
    inStore([] {
        SETUP_SET_Manager store(AM_Global::APP_MMS, false);
        EXPECT_FALSE(store.getEntryKeyList(kGlobal).contains(QStringLiteral("MMS_Block_List")));
    });
}

TEST_F(MmsutilSettingsTest, BlockAddAndSetRefuseAnAddressTheListWouldNotFindOrListOnOneLine)
{
    // The list is compared as Latin-1 text: "€123" was added, reported not blocked by "block
    // check €123", and added again at each "block add".
    const QList<QStringList> wrong{
        {QStringLiteral("add"), QStringLiteral("€123")},
        {QStringLiteral("add"), QStringLiteral("55\n66")},
        {QStringLiteral("set"), QStringLiteral("1,€2")},
        {QStringLiteral("set"), QStringLiteral("1\t2")},
    };
    for (const QStringList& arguments : wrong) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(run(QStringList{QStringLiteral("block")} + arguments));
    }
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getBlockList), QString());

    // Latin-1 beyond ASCII is found again; a check may ask about any sender.
    ok({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("jörg@example.org")});
    EXPECT_EQ(
        ok({QStringLiteral("block"), QStringLiteral("check"), QStringLiteral("jörg@example.org")})
            .toStdString(),
        "blocked\n");
    const ToolResult unknown =
        run({QStringLiteral("block"), QStringLiteral("check"), QStringLiteral("€123")});
    EXPECT_EQ(unknown.exitCode, 3);
    EXPECT_EQ(unknown.out.toStdString(), "not blocked\n");
}

// ---- sending ----

TEST_F(MmsutilSettingsTest, SendingShowOfAFreshStoreGivesTheDefaults)
{
    EXPECT_EQ(ok({QStringLiteral("sending"), QStringLiteral("show")}).toStdString(),
              "SETTING          VALUE   SOURCE\n"
              "delivery-report  off     default\n"
              "read-report      off     default\n"
              "expiry           65535   default\n"
              "priority         Normal  default\n");
}

TEST_F(MmsutilSettingsTest, SendingSetKeepsTheOptionsNotGiven)
{
    ok({QStringLiteral("sending"), QStringLiteral("set"), QStringLiteral("--delivery-report"),
        QStringLiteral("on"), QStringLiteral("--read-report"), QStringLiteral("on"),
        QStringLiteral("--expiry"), QStringLiteral("300"), QStringLiteral("--priority"),
        QStringLiteral("high")});
    ok({QStringLiteral("sending"), QStringLiteral("set"), QStringLiteral("--read-report"),
        QStringLiteral("off")});

    inStore([] {
        bool delivery = false;
        bool read = true;
        unsigned int expiry = 0;
        unsigned char priority = 0;
        EXPECT_EQ(MMS_UTIL_Setting::getSendingOption(delivery, read, expiry, priority), 0);
        EXPECT_TRUE(delivery);
        EXPECT_FALSE(read);
        EXPECT_EQ(expiry, 300u);
        EXPECT_EQ(priority, MMS_UTIL_PRIORITY_HIGH);
    });
    const QJsonObject shown = json({QStringLiteral("sending"), QStringLiteral("show")});
    EXPECT_EQ(shown.value("delivery-report").toObject().value("value"), QJsonValue(true));
    EXPECT_EQ(shown.value("read-report").toObject().value("value"), QJsonValue(false));
    EXPECT_EQ(shown.value("expiry").toObject().value("value").toInt(), 300);
    EXPECT_EQ(shown.value("expiry").toObject().value("key").toString(),
              QStringLiteral("MMS_Expire_After_Sec"));
    EXPECT_EQ(shown.value("priority").toObject().value("value").toString(), QStringLiteral("High"));
    EXPECT_EQ(shown.value("priority").toObject().value("code").toInt(), 130);
    for (const QJsonValue& option : shown)
        EXPECT_FALSE(option.toObject().value(QStringLiteral("isDefault")).toBool(true));
}

TEST_F(MmsutilSettingsTest, SendingExpiryIsTheSettingsExpireAfterSec)
{
    ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("expire-after-sec"),
        QStringLiteral("86400")});

    EXPECT_TRUE(ok({QStringLiteral("sending"), QStringLiteral("show")})
                    .contains("\nexpiry           86400   stored\n"));
}

TEST_F(MmsutilSettingsTest, SendingShowNamesAPriorityCodeNoMessageTakes)
{
    inStore([] {
        SETUP_SET_Manager store(AM_Global::APP_MMS, true);
        ASSERT_TRUE(store.setSettingInfo(kGlobal, QStringLiteral("MMS_Send_Priority"), 5));
    });

    EXPECT_TRUE(ok({QStringLiteral("sending"), QStringLiteral("show")})
                    .contains("\npriority         Invalid_Priority (5)  stored\n"));
    const QJsonObject priority = json({QStringLiteral("sending"), QStringLiteral("show")})
                                     .value(QStringLiteral("priority"))
                                     .toObject();
    EXPECT_EQ(priority.value(QStringLiteral("code")).toInt(), 5);
}

TEST_F(MmsutilSettingsTest, SendingSetRefusesWrongValuesWritingNothing)
{
    const QList<QStringList> wrong{
        {},
        {QStringLiteral("extra")},
        {QStringLiteral("--delivery-report"), QStringLiteral("maybe")},
        {QStringLiteral("--read-report")},
        {QStringLiteral("--expiry"), QStringLiteral("-1")},
        {QStringLiteral("--expiry"), QStringLiteral("2147483648")},
        {QStringLiteral("--priority"), QStringLiteral("Urgent")},
        {QStringLiteral("--priority"), QStringLiteral("130")},
        {QStringLiteral("--expiry"), QStringLiteral("5"), QStringLiteral("--priority"),
         QStringLiteral("x")},
    };
    for (const QStringList& arguments : wrong) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(
            run(QStringList{QStringLiteral("sending"), QStringLiteral("set")} + arguments));
    }
    for (const QJsonValue& option : json({QStringLiteral("sending"), QStringLiteral("show")}))
        EXPECT_TRUE(option.toObject().value(QStringLiteral("isDefault")).toBool());
}

// ---- flex ----

TEST_F(MmsutilSettingsTest, FlexSetIsWhatTheLibrarysFlagsRead)
{
    EXPECT_EQ(
        ok({QStringLiteral("flex"), QStringLiteral("get"), QStringLiteral("49")}).toStdString(),
        "unset\n");

    ok({QStringLiteral("flex"), QStringLiteral("set"), QStringLiteral("49"),
        QStringLiteral("off")});
    ok({QStringLiteral("flex"), QStringLiteral("set"), QStringLiteral("50"), QStringLiteral("1")});

    EXPECT_EQ(
        ok({QStringLiteral("flex"), QStringLiteral("get"), QStringLiteral("49")}).toStdString(),
        "off\n");
    EXPECT_EQ(
        ok({QStringLiteral("flex"), QStringLiteral("get"), QStringLiteral("50")}).toStdString(),
        "on\n");
    // The default flags live in the settings store.
    inStore([] {
        EXPECT_FALSE(MMS_UTIL_Setting::getFilterFlexBitSetting());
        EXPECT_TRUE(MMS_UTIL_Setting::getSenderVisibilityFlexBitSetting());
        EXPECT_TRUE(MMS_UTIL_Setting::isChwAvailable()); // unset: on
    });
}

TEST_F(MmsutilSettingsTest, FlexRefusesWrongNumbersAndValues)
{
    const QList<QStringList> wrong{
        {QStringLiteral("get")},
        {QStringLiteral("get"), QStringLiteral("x")},
        {QStringLiteral("get"), QStringLiteral("-1")},
        {QStringLiteral("get"), QStringLiteral("2147483648")},
        {QStringLiteral("get"), QStringLiteral("1"), QStringLiteral("2")},
        {QStringLiteral("set"), QStringLiteral("49")},
        {QStringLiteral("set"), QStringLiteral("49"), QStringLiteral("maybe")},
        {QStringLiteral("set"), QStringLiteral("x"), QStringLiteral("on")},
    };
    for (const QStringList& arguments : wrong) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectUsageError(run(QStringList{QStringLiteral("flex")} + arguments));
    }
}

// ---- mailfile write ----

class MmsutilSendingDefaultsTest : public MmsutilSettingsTest
{
protected:
    // Writes "mail.mms" with `options` and gives its header as the library reads it back.
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> writeAndLoad(const QStringList& options = {})
    {
        QFile body(dir.filePath(QStringLiteral("body.bin")));
        EXPECT_TRUE(body.open(QIODevice::WriteOnly) && body.write("body") == 4);
        body.close();
        const QString path = dir.filePath(QStringLiteral("mail.mms"));
        ok(QStringList{QStringLiteral("mailfile"), QStringLiteral("write"), path,
                       QStringLiteral("--from"), QStringLiteral("+1"), QStringLiteral("--to"),
                       QStringLiteral("+2"), QStringLiteral("--body"), body.fileName()} +
           options);
        MMS_UTIL_MailFile file(path);
        EXPECT_EQ(file.loadMailFile(), 0);
        std::unique_ptr<unsigned char[]> content(file.body);
        return std::unique_ptr<MMS_UTIL_MsgHeaderBase>(file.header);
    }
};

TEST_F(MmsutilSendingDefaultsTest, WriteOnAFreshStoreGivesTheHeaderDefaults)
{
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = writeAndLoad();

    ASSERT_TRUE(header);
    EXPECT_FALSE(header->deliveryReport);
    EXPECT_FALSE(header->readReplyReport);
    EXPECT_EQ(header->expiry, 65535u);
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_NORMAL);
}

TEST_F(MmsutilSendingDefaultsTest, WriteTakesTheStoredSendingOptions)
{
    ok({QStringLiteral("sending"), QStringLiteral("set"), QStringLiteral("--delivery-report"),
        QStringLiteral("on"), QStringLiteral("--read-report"), QStringLiteral("on"),
        QStringLiteral("--expiry"), QStringLiteral("300"), QStringLiteral("--priority"),
        QStringLiteral("Low")});

    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = writeAndLoad();

    ASSERT_TRUE(header);
    EXPECT_TRUE(header->deliveryReport);
    EXPECT_TRUE(header->readReplyReport);
    EXPECT_EQ(header->expiry, 300u);
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_LOW);
}

TEST_F(MmsutilSendingDefaultsTest, OptionsGivenWinOverTheStoredOnes)
{
    ok({QStringLiteral("sending"), QStringLiteral("set"), QStringLiteral("--delivery-report"),
        QStringLiteral("on"), QStringLiteral("--read-report"), QStringLiteral("on"),
        QStringLiteral("--expiry"), QStringLiteral("300"), QStringLiteral("--priority"),
        QStringLiteral("Low")});

    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = writeAndLoad(
        {QStringLiteral("--priority"), QStringLiteral("High"), QStringLiteral("--read-report"),
         QStringLiteral("off"), QStringLiteral("--expiry"), QStringLiteral("5")});

    ASSERT_TRUE(header);
    EXPECT_TRUE(header->deliveryReport);
    EXPECT_FALSE(header->readReplyReport);
    EXPECT_EQ(header->expiry, 5u);
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_HIGH);
    // The stored options stay as they were.
    EXPECT_TRUE(ok({QStringLiteral("sending"), QStringLiteral("show")})
                    .contains("\npriority         Low    stored\n"));
}

TEST_F(MmsutilSendingDefaultsTest, AStoredPriorityNoMessageTakesLeavesNormal)
{
    inStore([] {
        SETUP_SET_Manager store(AM_Global::APP_MMS, true);
        ASSERT_TRUE(store.setSettingInfo(kGlobal, QStringLiteral("MMS_Send_Priority"), 5));
    });

    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = writeAndLoad();

    ASSERT_TRUE(header);
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_NORMAL);
}

TEST_F(MmsutilSendingDefaultsTest, WriteRefusesWrongSendingOptions)
{
    const QList<QStringList> wrong{
        {QStringLiteral("--delivery-report"), QStringLiteral("yes")},
        {QStringLiteral("--read-report"), QStringLiteral("2")},
        {QStringLiteral("--expiry"), QStringLiteral("-5")},
        {QStringLiteral("--priority"), QStringLiteral("129")},
    };
    for (const QStringList& options : wrong) {
        SCOPED_TRACE(options.join(QLatin1Char(' ')).toStdString());
        expectUsageError(
            run(QStringList{QStringLiteral("mailfile"), QStringLiteral("write"),
                            dir.filePath(QStringLiteral("mail.mms")), QStringLiteral("--from"),
                            QStringLiteral("+1"), QStringLiteral("--to"), QStringLiteral("+2"),
                            QStringLiteral("--body"), QStringLiteral("-")} +
                options));
    }
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("mail.mms"))));
}

// ---- refused and full stores ----

// Every command that writes, with the message it reports on a store that refuses it.
const struct {
    QStringList arguments;
    const char* what;
} kWriters[] = {
    {{QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("max-mt-size"),
      QStringLiteral("5")},
     "cannot set max-mt-size"},
    {{QStringLiteral("profile"), QStringLiteral("add"), QStringLiteral("New")},
     "cannot add profile \"New\""},
    {{QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("123")}, "cannot block '123'"},
    {{QStringLiteral("block"), QStringLiteral("set"), QStringLiteral("1,2")},
     "cannot set the block list"},
    {{QStringLiteral("sending"), QStringLiteral("set"), QStringLiteral("--expiry"),
      QStringLiteral("1")},
     "cannot set the sending options"},
    {{QStringLiteral("flex"), QStringLiteral("set"), QStringLiteral("49"), QStringLiteral("on")},
     "cannot set flag 49"},
};

TEST_F(MmsutilSettingsTest, AStoreThatRefusesWritesIsReportedWithItsReason)
{
    QFile garbage(storePath());
    ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
    ASSERT_EQ(garbage.write(QByteArray(8192, 'x')), 8192);
    garbage.close();

    for (const auto& writer : kWriters) {
        SCOPED_TRACE(writer.what);
        const ToolResult result = run(writer.arguments);
        expectFailure(result);
        EXPECT_EQ(result.err.toStdString(),
                  std::string("mmsutil: ") + writer.what +
                      ": the settings store refused the change (Input/output error)\n");
    }
}

const int kHugeLength = 100000;

// The commands of kWriters, made to write more than a full disk holds.
QList<QStringList> hugeWrites()
{
    const QString huge(kHugeLength, QChar(u'9'));
    return {
        {QStringLiteral("profile"), QStringLiteral("add"), huge},
        {QStringLiteral("block"), QStringLiteral("set"), huge},
        {QStringLiteral("profile"), QStringLiteral("set"), kProfile, QStringLiteral("--server-uri"),
         huge},
        {QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("server-uri"), huge},
    };
}

// On a small tmpfs of its own over the platform directory: values are written, other files fill
// the disk, and then every write too big for what is left is reported as "no space left on
// device",
// while the values written before still read back.
ChildVerdict writeOnAFullDisk(const std::function<ToolResult(const QStringList&)>& run,
                              const QString& platformDir)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace for a small file system: " + why);
    if (const std::string why = tavmms_test::mountSmallTmpfs(platformDir, 256); !why.empty())
        return ChildVerdict::skip("no small file system to fill: " + why);
    const auto runOk = [&](const QStringList& arguments) {
        const ToolResult result = run(arguments);
        return result.exitCode == 0 && result.err.isEmpty();
    };
    if (!runOk({QStringLiteral("block"), QStringLiteral("add"), QStringLiteral("123")}) ||
        !runOk({QStringLiteral("profile"), QStringLiteral("add"), kProfile}) ||
        !runOk({QStringLiteral("profile"), QStringLiteral("default"), kProfile}))
        return ChildVerdict::fail("the values before the disk filled were not written");
    if (const std::string why = tavmms_test::fillDisk(platformDir); !why.empty())
        return ChildVerdict::fail(why);
    for (const QStringList& arguments : hugeWrites()) {
        const ToolResult result = run(arguments);
        const std::string command = arguments.mid(0, 2).join(QLatin1Char(' ')).toStdString();
        if (result.exitCode != 1 || !result.err.endsWith(": no space left on device\n") ||
            result.err.count('\n') != 1)
            return ChildVerdict::fail(command + " on a full disk exited with " +
                                      std::to_string(result.exitCode) + ": " +
                                      result.err.left(200).toStdString());
    }
    const ToolResult blocked = run({QStringLiteral("block"), QStringLiteral("list")});
    const ToolResult profiles = run({QStringLiteral("profile"), QStringLiteral("list")});
    if (blocked.out != "123\n" || profiles.out != "Operator MMS\n")
        return ChildVerdict::fail("on the full disk the block list reads \"" +
                                  blocked.out.toStdString() + "\", the profiles \"" +
                                  profiles.out.toStdString() + "\"");
    return ChildVerdict::pass();
}

TEST_F(MmsutilSettingsTest, AFullDiskIsReportedAsStorageIsFull)
{
    ChildProcess child([&](ChildProcess&) {
        return writeOnAFullDisk([&](const QStringList& arguments) { return run(arguments); },
                                platformDir());
    });
    EXPECT_CHILD_PASSES(child, 120s);
}

// ---- commands that change several values

// Makes the store refuse, as it refuses a statement, every change of `event` (INSERT, UPDATE or
// DELETE) of the rows that `when` picks: the kind of refusal that is not a full disk.
void refuseChanges(const QString& path, const std::string& event, const std::string& when)
{
    const auto look = tavmms_test::lookInto(path);
    ASSERT_NE(look, nullptr);
    const std::string trigger = "CREATE TRIGGER refuse_" + event + " BEFORE " + event +
                                " ON settings WHEN " + when +
                                " BEGIN SELECT RAISE(ABORT, 'refused'); END";
    ASSERT_EQ(look->exec(trigger.c_str()), tavplatform::sql::Status::Ok);
}

const char kRefusedWrite[] = ": the settings store refused the change (Invalid argument)\n";

TEST_F(MmsutilSettingsTest, SendingSetLeavesEveryOptionAsItWasWhenOneIsRefused)
{
    ok({QStringLiteral("sending"), QStringLiteral("set"), QStringLiteral("--delivery-report"),
        QStringLiteral("on"), QStringLiteral("--read-report"), QStringLiteral("on"),
        QStringLiteral("--expiry"), QStringLiteral("300"), QStringLiteral("--priority"),
        QStringLiteral("Low")});
    const QJsonObject before = json({QStringLiteral("sending"), QStringLiteral("show")});
    refuseChanges(storePath(), "UPDATE", "NEW.key = 'MMS_Expire_After_Sec'");

    const ToolResult result =
        run({QStringLiteral("sending"), QStringLiteral("set"), QStringLiteral("--delivery-report"),
             QStringLiteral("off"), QStringLiteral("--read-report"), QStringLiteral("off"),
             QStringLiteral("--expiry"), QStringLiteral("5"), QStringLiteral("--priority"),
             QStringLiteral("High")});

    expectFailure(result);
    EXPECT_EQ(result.err.toStdString(),
              std::string("mmsutil: cannot set the sending options") + kRefusedWrite);
    EXPECT_EQ(json({QStringLiteral("sending"), QStringLiteral("show")}), before);
}

// "profile set" of every value of the profile to `value` (a number), the data connection's name
// `connection`.
QStringList setWholeProfile(const QString& value, const QString& connection)
{
    return {QStringLiteral("profile"),
            QStringLiteral("set"),
            kProfile,
            QStringLiteral("--server-uri"),
            QStringLiteral("http://mmsc.example/") + value,
            QStringLiteral("--data-connect-profile"),
            connection,
            QStringLiteral("--wap-gateway"),
            value,
            QStringLiteral("--connection-type"),
            value,
            QStringLiteral("--secure-type"),
            value};
}

const QStringList kShowProfile{QStringLiteral("profile"), QStringLiteral("show"), kProfile,
                               QStringLiteral("--json")};

TEST_F(MmsutilSettingsTest, ProfileSetLeavesEveryValueAsItWasWhenOneIsRefused)
{
    ok({QStringLiteral("profile"), QStringLiteral("add"), kProfile});
    ok(setWholeProfile(QStringLiteral("1"), QStringLiteral("Old")));
    const QByteArray before = ok(kShowProfile);
    refuseChanges(storePath(), "UPDATE", "NEW.key = 'MMS_Connection_Type'");

    const ToolResult result = run(setWholeProfile(QStringLiteral("2"), QStringLiteral("New")));

    expectFailure(result);
    EXPECT_EQ(result.err.toStdString(),
              std::string("mmsutil: cannot set connection-type of profile \"Operator MMS\"") +
                  kRefusedWrite);
    EXPECT_EQ(ok(kShowProfile).toStdString(), before.toStdString());
}

TEST_F(MmsutilSettingsTest, ProfileDelKeepsTheProfileListedAndDefaultWhenItsValuesCannotGo)
{
    addDefaultProfile();
    ok(setWholeProfile(QStringLiteral("1"), QStringLiteral("Old")));
    const QByteArray before = ok(kShowProfile);
    refuseChanges(storePath(), "DELETE", "OLD.grp = 'Operator MMS'");

    const ToolResult result = run({QStringLiteral("profile"), QStringLiteral("del"), kProfile});

    expectFailure(result);
    EXPECT_EQ(result.err.toStdString(),
              std::string("mmsutil: cannot delete profile \"Operator MMS\"") + kRefusedWrite);
    EXPECT_EQ(ok(kShowProfile).toStdString(), before.toStdString());
    // The default was cleared in the batch that was dropped.
    EXPECT_EQ(inStore(MMS_UTIL_Setting::getDefaultMMSProfile), kProfile);
}

// On a small tmpfs of its own: a profile's values are written, other files fill the disk, and
// then "profile set" changes them all, one to more than the disk holds. The commit is refused,
// reported as "no space left on device", and every value reads as before.
ChildVerdict changeProfileOnAFullDisk(const std::function<ToolResult(const QStringList&)>& run,
                                      const QString& platformDir)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace for a small file system: " + why);
    if (const std::string why = tavmms_test::mountSmallTmpfs(platformDir, 256); !why.empty())
        return ChildVerdict::skip("no small file system to fill: " + why);
    if (run({QStringLiteral("profile"), QStringLiteral("add"), kProfile}).exitCode != 0 ||
        run(setWholeProfile(QStringLiteral("1"), QStringLiteral("Old"))).exitCode != 0)
        return ChildVerdict::fail("the values before the disk filled were not written");
    const QByteArray before = run(kShowProfile).out;
    if (const std::string why = tavmms_test::fillDisk(platformDir); !why.empty())
        return ChildVerdict::fail(why);
    const ToolResult result = run(setWholeProfile(QStringLiteral("2"), QString(kHugeLength, 'n')));
    if (result.exitCode != 1 ||
        result.err != "mmsutil: cannot set profile \"Operator MMS\": no space left on device\n")
        return ChildVerdict::fail("profile set on a full disk exited with " +
                                  std::to_string(result.exitCode) + ": " +
                                  result.err.left(200).toStdString());
    const QByteArray after = run(kShowProfile).out;
    if (after != before)
        return ChildVerdict::fail("the profile read " + before.toStdString() + " before and " +
                                  after.toStdString() + " after");
    return ChildVerdict::pass();
}

TEST_F(MmsutilSettingsTest, AFullDiskLeavesEveryValueOfAProfileSetAsItWas)
{
    ChildProcess child([&](ChildProcess&) {
        return changeProfileOnAFullDisk(
            [&](const QStringList& arguments) { return run(arguments); }, platformDir());
    });
    EXPECT_CHILD_PASSES(child, 120s);
}

// ---- help ----

TEST_F(MmsutilSettingsTest, HelpDescribesEveryGroupAndCommand)
{
    const QByteArray tool = ok({QStringLiteral("--help")});
    for (const char* command :
         {"settings show", "settings set", "profile list", "profile add", "profile del",
          "profile show", "profile set", "profile default", "block list", "block add",
          "block check", "block set", "sending show", "sending set", "flex get", "flex set"}) {
        SCOPED_TRACE(command);
        EXPECT_TRUE(tool.contains(command));
        const QStringList words = QString::fromLatin1(command).split(QLatin1Char(' '));
        EXPECT_TRUE(ok(words + QStringList{QStringLiteral("--help")})
                        .startsWith(QByteArray("Usage: mmsutil ") + command));
        EXPECT_TRUE(ok({words.constFirst(), QStringLiteral("--help")})
                        .contains(words.constLast().toLatin1()));
    }
    EXPECT_TRUE(tool.contains("Exit status: 0 done; 1 failed; 2 bad usage; 3 the answer is no"));

    const QByteArray set =
        ok({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("--help")});
    for (const char* name :
         {"roaming-delayed-retrieval", "mt-size-limitation", "auto-retrieval", "max-mo-size",
          "max-mt-size", "sender-visibility", "expire-after-sec", "delivery-report-allowed",
          "default-profile", "server-uri", "data-connect-profile", "wap-gateway", "connection-type",
          "secure-type"})
        EXPECT_TRUE(set.contains(QByteArray("\n  ") + name + ' ')) << name;
    EXPECT_TRUE(ok({QStringLiteral("block"), QStringLiteral("check"), QStringLiteral("--help")})
                    .contains("exits with 3"));
    for (const char* option : {"--delivery-report", "--read-report", "--expiry", "--priority"})
        EXPECT_TRUE(
            ok({QStringLiteral("mailfile"), QStringLiteral("write"), QStringLiteral("--help")})
                .contains(option))
            << option;
}

TEST_F(MmsutilSettingsTest, UnknownCommandsOfTheGroupsAreUsageErrors)
{
    for (const char* group : {"settings", "profile", "block", "sending", "flex"}) {
        SCOPED_TRACE(group);
        expectUsageError(run({QLatin1String(group)}));
        expectUsageError(run({QLatin1String(group), QStringLiteral("frobnicate")}));
    }
}

} // namespace
