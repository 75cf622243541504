// The settings store on SQLite, on a file of its own: defaults, conversions between the typed
// forms, listing and removal, names that mean something to SQL, visibility through new objects,
// persistence, flush, refused writes, batches and files that cannot serve as the store. The
// feature flags kept in it are here too.

#include "setup_set_manager.h"
#include "setup_utility.h"
#include "sqlite_settings_store.h"
#include "store_feature_flags.h"

#include "support/child_process.h"
#include "support/mount_namespace.h"
#include "support/sql_queries.h"
#include "support/temp_settings_store.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cerrno>
#include <chrono>
#include <climits>
#include <functional>
#include <optional>
#include <unistd.h>
#include <vector>

namespace
{

using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using tavmms_test::TempSettingsStore;
using tavplatform::ScopedSettingsBatch;
using tavplatform::SqliteSettingsStore;

const QString kGroup = QStringLiteral("group");
const QString kKey = QStringLiteral("key");
const QString kFlagGroup = QStringLiteral("TAV_Feature_Flags");

using Entries = QMap<QString, QString>;

// Empty when every typed read of `key` gives what is expected (nothing expected: the read must
// report a missing value and give back each default it is passed), else what differs.
template <typename T>
std::string checkRead(SqliteSettingsStore& store, const char* form,
                      bool (SqliteSettingsStore::*read)(const QString&, const QString&, T&, T),
                      const QString& key, std::optional<T> expected, std::vector<T> defaults)
{
    for (const T defaultValue : defaults) {
        T value = expected ? T(!*expected) : T(!defaultValue); // anything but the right answer
        const bool found = (store.*read)(kGroup, key, value, defaultValue);
        if (expected && (!found || value != *expected))
            return std::string(form) + " read gave " + std::to_string(value) +
                   (found ? "" : " as missing") + ", expected " + std::to_string(*expected);
        if (!expected && (found || value != defaultValue))
            return std::string(form) + " read gave " + std::to_string(value) +
                   (found ? " as stored" : "") + ", expected the default " +
                   std::to_string(defaultValue);
    }
    return {};
}

class SqliteSettingsStoreTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(temp.isValid()); }

    SqliteSettingsStore& store() { return temp.store(); }

    QString text(const QString& group, const QString& key)
    {
        QString value = QStringLiteral("<missing>");
        store().readText(group, key, value, QStringLiteral("<missing>"), false);
        return value;
    }

    // Writes 200 settings, then overwrites every page of the file from page `first` (counted
    // from 0) with garbage. The log kept beside the file holds good copies of the pages, so it
    // goes: only the file is damaged.
    void fillAndDamagePagesFrom(qint64 first)
    {
        for (int i = 0; i < 200; ++i)
            ASSERT_TRUE(
                store().writeText(kGroup, QString::number(i), QString(100, QChar(u'v')), false));
        ASSERT_TRUE(store().flush());
        temp.reopen();
        for (const char* suffix : {"-wal", "-shm"})
            ASSERT_TRUE(QFile::remove(temp.path() + QLatin1String(suffix)));
        const qint64 pageSize = 4096;
        const qint64 size = QFileInfo(temp.path()).size();
        ASSERT_GT(size, first * pageSize);
        QFile file(temp.path());
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.seek(first * pageSize));
        ASSERT_TRUE(file.write(QByteArray(int(size - first * pageSize), char(0xA5))) > 0);
    }

    TempSettingsStore temp;
};

// ---- a fresh store

TEST_F(SqliteSettingsStoreTest, MissingKeysGiveTheDefaultAndSayTheyAreMissing)
{
    QString textValue = QStringLiteral("x");
    EXPECT_FALSE(store().readText(kGroup, kKey, textValue, QStringLiteral("fallback"), false));
    EXPECT_EQ(textValue, QStringLiteral("fallback"));
    EXPECT_FALSE(store().readText(kGroup, kKey, textValue, QString(), false));
    EXPECT_TRUE(textValue.isNull());
    EXPECT_EQ(
        checkRead<bool>(store(), "bool", &SqliteSettingsStore::readBool, kKey, {}, {true, false}),
        "");
    EXPECT_EQ(checkRead<int>(store(), "int", &SqliteSettingsStore::readInt, kKey, {},
                             {0, 50, -1, INT_MIN}),
              "");
    EXPECT_EQ(checkRead<unsigned>(store(), "unsigned", &SqliteSettingsStore::readUInt, kKey, {},
                                  {0u, 65535u, UINT_MAX}),
              "");
    EXPECT_TRUE(store().entries(kGroup).isEmpty());
}

TEST_F(SqliteSettingsStoreTest, FileIsCreatedOnFirstUse)
{
    EXPECT_FALSE(QFile::exists(temp.path()));
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 1));
    EXPECT_TRUE(QFile::exists(temp.path()));
}

// ---- one typed form written, each form read

struct Conversion {
    const char* name;
    std::function<bool(SqliteSettingsStore&, const QString& key)> write;
    QString text; // as the text form reads it
    std::optional<bool> asBool;
    std::optional<int> asInt;
    std::optional<unsigned> asUInt;
};

std::function<bool(SqliteSettingsStore&, const QString&)> writingText(const QString& value)
{
    return [value](SqliteSettingsStore& s, const QString& key) {
        return s.writeText(kGroup, key, value, false);
    };
}

template <typename T> std::function<bool(SqliteSettingsStore&, const QString&)> writing(T value)
{
    return [value](SqliteSettingsStore& s, const QString& key) {
        if constexpr (std::is_same_v<T, bool>)
            return s.writeBool(kGroup, key, value);
        else if constexpr (std::is_same_v<T, int>)
            return s.writeInt(kGroup, key, value);
        else
            return s.writeUInt(kGroup, key, value);
    };
}

const std::nullopt_t kDefault = std::nullopt;

const Conversion kConversions[] = {
    {"BoolTrue", writing(true), "1", true, 1, 1u},
    {"BoolFalse", writing(false), "0", false, 0, 0u},
    {"IntZero", writing(0), "0", false, 0, 0u},
    {"IntFive", writing(5), "5", true, 5, 5u},
    {"IntNegative", writing(-7), "-7", true, -7, kDefault},
    {"IntMinimum", writing(INT_MIN), "-2147483648", true, INT_MIN, kDefault},
    {"IntMaximum", writing(INT_MAX), "2147483647", true, INT_MAX, 2147483647u},
    {"UnsignedZero", writing(0u), "0", false, 0, 0u},
    {"UnsignedBeyondAByte", writing(511u), "511", true, 511, 511u},
    {"UnsignedBeyondInt", writing(2147483648u), "2147483648", true, kDefault, 2147483648u},
    {"UnsignedMaximum", writing(UINT_MAX), "4294967295", true, kDefault, UINT_MAX},
    {"TextNumber", writingText("42"), "42", true, 42, 42u},
    {"TextZero", writingText("0"), "0", false, 0, 0u},
    {"TextMinusZero", writingText("-0"), "-0", false, 0, 0u},
    {"TextWithPlus", writingText("+8"), "+8", true, 8, 8u},
    {"TextNumberInBlanks", writingText(" 42 "), " 42 ", true, 42, 42u},
    {"TextNegativeInTabAndNewline", writingText("\t-3\n"), "\t-3\n", true, -3, kDefault},
    {"TextBeyondUnsigned", writingText("4294967296"), "4294967296", true, kDefault, kDefault},
    {"TextWord", writingText("abc"), "abc", kDefault, kDefault, kDefault},
    {"TextTrueIsNotANumber", writingText("true"), "true", kDefault, kDefault, kDefault},
    {"TextEmpty", writingText(""), "", kDefault, kDefault, kDefault},
    {"TextBlanksOnly", writingText("  "), "  ", kDefault, kDefault, kDefault},
    {"TextDigitsThenLetters", writingText("12abc"), "12abc", kDefault, kDefault, kDefault},
    {"TextBlankInsideNumber", writingText("4 2"), "4 2", kDefault, kDefault, kDefault},
    {"TextFraction", writingText("1.5"), "1.5", kDefault, kDefault, kDefault},
    {"TextHexadecimal", writingText("0x10"), "0x10", kDefault, kDefault, kDefault},
};

class SqliteSettingsConversionTest : public SqliteSettingsStoreTest,
                                     public ::testing::WithParamInterface<Conversion>
{
};

TEST_P(SqliteSettingsConversionTest, EachFormReadsTheValueOrItsDefault)
{
    const Conversion& c = GetParam();
    ASSERT_TRUE(c.write(store(), kKey));
    QString value;
    EXPECT_TRUE(store().readText(kGroup, kKey, value, QStringLiteral("<default>"), false));
    EXPECT_EQ(value, c.text);
    EXPECT_EQ(checkRead<bool>(store(), "bool", &SqliteSettingsStore::readBool, kKey, c.asBool,
                              {true, false}),
              "");
    EXPECT_EQ(
        checkRead<int>(store(), "int", &SqliteSettingsStore::readInt, kKey, c.asInt, {12345, -1}),
        "");
    EXPECT_EQ(checkRead<unsigned>(store(), "unsigned", &SqliteSettingsStore::readUInt, kKey,
                                  c.asUInt, {54321u, 0u}),
              "");
}

INSTANTIATE_TEST_SUITE_P(Forms, SqliteSettingsConversionTest, ::testing::ValuesIn(kConversions),
                         [](const ::testing::TestParamInfo<Conversion>& info) {
                             return std::string(info.param.name);
                         });

TEST_F(SqliteSettingsStoreTest, WriteReplacesTheFormerValueWhateverItsForm)
{
    ASSERT_TRUE(store().writeText(kGroup, kKey, QStringLiteral("first"), false));
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 5));
    EXPECT_EQ(store().entries(kGroup), (Entries{{kKey, QStringLiteral("5")}}));
    ASSERT_TRUE(store().writeBool(kGroup, kKey, false));
    EXPECT_EQ(store().entries(kGroup), (Entries{{kKey, QStringLiteral("0")}}));
}

TEST_F(SqliteSettingsStoreTest, EmptyAndNullTextsAreStoredValues)
{
    ASSERT_TRUE(store().writeText(kGroup, QStringLiteral("empty"), QStringLiteral(""), false));
    ASSERT_TRUE(store().writeText(kGroup, QStringLiteral("null"), QString(), true));
    for (const char* key : {"empty", "null"}) {
        SCOPED_TRACE(key);
        QString value = QStringLiteral("x");
        EXPECT_TRUE(store().readText(kGroup, QString::fromLatin1(key), value,
                                     QStringLiteral("fallback"), false));
        EXPECT_TRUE(value.isEmpty());
    }
    EXPECT_EQ(store().entries(kGroup),
              (Entries{{QStringLiteral("empty"), QString()}, {QStringLiteral("null"), QString()}}));
}

TEST_F(SqliteSettingsStoreTest, TextKeepsEveryCharacter)
{
    const QString value = QStringLiteral("Grüße 中文 🙂\n'\";%_\\ ") + QString(QChar(0)) +
                          QStringLiteral("end");
    ASSERT_TRUE(store().writeText(kGroup, kKey, value, false));
    EXPECT_EQ(text(kGroup, kKey), value);
}

// ---- listing

TEST_F(SqliteSettingsStoreTest, EntryKeyListIsOrderedByUtf16CodeUnits)
{
    // By code units, a character beyond U+FFFF (a surrogate pair) comes before U+FFFD, where its
    // UTF-8 bytes would come after.
    const QStringList keys{QStringLiteral("b"), QStringLiteral("\uFFFD"), QStringLiteral("a"),
                           QStringLiteral("B"), QStringLiteral("9"),      QStringLiteral("10"),
                           QStringLiteral("é"), QStringLiteral("_"),      QStringLiteral("🙂"),
                           QStringLiteral("A")};
    for (const QString& key : keys)
        ASSERT_TRUE(store().writeText(kGroup, key, QStringLiteral("v") + key, false));
    ASSERT_TRUE(store().writeText(QStringLiteral("GROUP"), QStringLiteral("other"),
                                  QStringLiteral("x"), false));
    ASSERT_TRUE(store().writeText(QStringLiteral("group "), QStringLiteral("other"),
                                  QStringLiteral("x"), false));

    const Entries entries = store().entries(kGroup);
    EXPECT_EQ(entries.keys(),
              (QStringList{QStringLiteral("10"), QStringLiteral("9"), QStringLiteral("A"),
                           QStringLiteral("B"), QStringLiteral("_"), QStringLiteral("a"),
                           QStringLiteral("b"), QStringLiteral("é"), QStringLiteral("🙂"),
                           QStringLiteral("\uFFFD")}));
    for (const QString& key : keys)
        EXPECT_EQ(entries.value(key), QStringLiteral("v") + key);
}

TEST_F(SqliteSettingsStoreTest, EntryKeyListGivesNumbersAsTheirText)
{
    ASSERT_TRUE(store().writeBool(kGroup, QStringLiteral("flag"), true));
    ASSERT_TRUE(store().writeInt(kGroup, QStringLiteral("int"), -12));
    ASSERT_TRUE(store().writeUInt(kGroup, QStringLiteral("uint"), UINT_MAX));
    EXPECT_EQ(store().entries(kGroup),
              (Entries{{QStringLiteral("flag"), QStringLiteral("1")},
                       {QStringLiteral("int"), QStringLiteral("-12")},
                       {QStringLiteral("uint"), QStringLiteral("4294967295")}}));
}

// ---- removal

TEST_F(SqliteSettingsStoreTest, RemoveEntryRemovesThatKeyOnly)
{
    ASSERT_TRUE(store().writeInt(kGroup, QStringLiteral("a"), 1));
    ASSERT_TRUE(store().writeInt(kGroup, QStringLiteral("b"), 2));
    ASSERT_TRUE(store().writeInt(QStringLiteral("other"), QStringLiteral("a"), 3));
    EXPECT_TRUE(store().removeEntry(kGroup, QStringLiteral("a")));
    EXPECT_EQ(store().entries(kGroup), (Entries{{QStringLiteral("b"), QStringLiteral("2")}}));
    EXPECT_EQ(store().entries(QStringLiteral("other")),
              (Entries{{QStringLiteral("a"), QStringLiteral("3")}}));
    int value = 0;
    EXPECT_FALSE(store().readInt(kGroup, QStringLiteral("a"), value, -1));
    EXPECT_EQ(value, -1);
}

TEST_F(SqliteSettingsStoreTest, RemovingWhatIsNotThereSucceedsAndChangesNothing)
{
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 1));
    EXPECT_TRUE(store().removeEntry(kGroup, QStringLiteral("missing")));
    EXPECT_TRUE(store().removeEntry(QStringLiteral("missing"), kKey));
    EXPECT_TRUE(store().clearGroup(QStringLiteral("missing")));
    EXPECT_EQ(store().entries(kGroup), (Entries{{kKey, QStringLiteral("1")}}));
}

TEST_F(SqliteSettingsStoreTest, ClearGroupRemovesEveryKeyOfThatGroupOnly)
{
    for (const QString& group : {kGroup, QStringLiteral("Group"), QStringLiteral("group2")}) {
        ASSERT_TRUE(store().writeInt(group, QStringLiteral("a"), 1));
        ASSERT_TRUE(store().writeText(group, QStringLiteral("b"), group, false));
    }
    EXPECT_TRUE(store().clearGroup(kGroup));
    EXPECT_TRUE(store().entries(kGroup).isEmpty());
    EXPECT_EQ(text(kGroup, QStringLiteral("b")), QStringLiteral("<missing>"));
    EXPECT_EQ(store().entries(QStringLiteral("Group")).size(), 2);
    EXPECT_EQ(store().entries(QStringLiteral("group2")).size(), 2);
    // The group can be written again afterwards.
    ASSERT_TRUE(store().writeInt(kGroup, QStringLiteral("a"), 7));
    EXPECT_EQ(store().entries(kGroup), (Entries{{QStringLiteral("a"), QStringLiteral("7")}}));
}

// ---- names that mean something to SQL, or are long or not ASCII

const QStringList& unusualNames()
{
    static const QStringList names{
        QStringLiteral("it's"),
        QStringLiteral("say \"hi\""),
        QStringLiteral("x'; DROP TABLE settings; --"),
        QStringLiteral("a/b\\c//"),
        QStringLiteral("100%"),
        QStringLiteral("1000"), // what "100%" would match as a pattern
        QStringLiteral("a_c"),
        QStringLiteral("abc"), // what "a_c" would match as a pattern
        QStringLiteral("%"),
        QStringLiteral("_"),
        QStringLiteral("*"),
        QStringLiteral("Case"),
        QStringLiteral("case"),
        QStringLiteral("Grüße, 中文, 🙂"),
        QString(200, QChar(u'n')),
        QString(200, QChar(u'中')),
        QStringLiteral(" padded "),
        QStringLiteral("two\nlines"),
        QStringLiteral("a") + QChar(0) + QStringLiteral("b"),
        QStringLiteral(""),
    };
    return names;
}

class SqliteSettingsNamesTest : public SqliteSettingsStoreTest
{
protected:
    void SetUp() override
    {
        SqliteSettingsStoreTest::SetUp();
        writeEveryName();
    }

    // Every unusual name as a group (with key "k") and as a key (in group "names"), each holding
    // its index in the list.
    void writeEveryName()
    {
        for (int i = 0; i < unusualNames().size(); ++i) {
            const QString& name = unusualNames()[i];
            ASSERT_TRUE(store().writeInt(name, QStringLiteral("k"), i)) << name.toStdString();
            ASSERT_TRUE(store().writeInt(names, name, i)) << name.toStdString();
        }
    }

    // The names still there, as a group and as a key, with the value each should hold.
    void expectAllBut(const QString& goneGroup, const QString& goneKey)
    {
        Entries expectedKeys;
        for (int i = 0; i < unusualNames().size(); ++i) {
            const QString& name = unusualNames()[i];
            SCOPED_TRACE(name.toStdString());
            const QString number = QString::number(i);
            if (name != goneKey)
                expectedKeys.insert(name, number);
            const Entries expectedGroup =
                name == goneGroup ? Entries() : Entries{{QStringLiteral("k"), number}};
            EXPECT_EQ(store().entries(name), expectedGroup);
        }
        EXPECT_EQ(store().entries(names), expectedKeys);
    }

    const QString names = QStringLiteral("names");
};

TEST_F(SqliteSettingsNamesTest, EveryNameIsItsOwnGroupAndKey)
{
    ASSERT_EQ(store().entries(names).size(), unusualNames().size());
    for (int i = 0; i < unusualNames().size(); ++i) {
        const QString& name = unusualNames()[i];
        SCOPED_TRACE(name.toStdString());
        int value = -1;
        EXPECT_TRUE(store().readInt(name, QStringLiteral("k"), value, -1));
        EXPECT_EQ(value, i);
        value = -1;
        EXPECT_TRUE(store().readInt(names, name, value, -1));
        EXPECT_EQ(value, i);
    }
    expectAllBut(QStringLiteral("<none>"), QStringLiteral("<none>"));
}

TEST_F(SqliteSettingsNamesTest, PatternCharactersInANameMatchOnlyThemselves)
{
    for (const QString& pattern : {QStringLiteral("%"), QStringLiteral("_"), QStringLiteral("100%"),
                                   QStringLiteral("a_c")}) {
        SCOPED_TRACE(pattern.toStdString());
        writeEveryName(); // puts back what the previous pattern removed
        EXPECT_TRUE(store().clearGroup(pattern));
        EXPECT_TRUE(store().removeEntry(names, pattern));
        expectAllBut(pattern, pattern);
    }
}

TEST_F(SqliteSettingsNamesTest, NamesAreCaseSensitive)
{
    EXPECT_TRUE(store().clearGroup(QStringLiteral("Case")));
    EXPECT_TRUE(store().removeEntry(names, QStringLiteral("Case")));
    expectAllBut(QStringLiteral("Case"), QStringLiteral("Case"));
}

TEST_F(SqliteSettingsStoreTest, NullNameIsTheEmptyName)
{
    ASSERT_TRUE(store().writeInt(QString(), QString(), 9));
    EXPECT_EQ(store().entries(QStringLiteral("")),
              (Entries{{QStringLiteral(""), QStringLiteral("9")}}));
}

// ---- visibility and persistence

TEST_F(SqliteSettingsStoreTest, ValueWrittenIsVisibleThroughANewStoreObject)
{
    ASSERT_TRUE(store().writeText(kGroup, kKey, QStringLiteral("first"), false));
    SqliteSettingsStore second(temp.path());
    QString value;
    EXPECT_TRUE(second.readText(kGroup, kKey, value, QString(), false));
    EXPECT_EQ(value, QStringLiteral("first"));
    // And back: the first object, with its connection and statements kept, sees the second's
    // write at its next read.
    ASSERT_TRUE(second.writeText(kGroup, kKey, QStringLiteral("second"), false));
    EXPECT_EQ(text(kGroup, kKey), QStringLiteral("second"));
}

TEST_F(SqliteSettingsStoreTest, ValueWrittenIsVisibleThroughTheNextManager)
{
    {
        SETUP_SET_Manager writer(AM_Global::APP_MMS, true);
        ASSERT_TRUE(writer.setSettingInfo(kGroup, kKey, 77));
    }
    SETUP_SET_Manager reader(AM_Global::APP_MMS, false);
    int value = 0;
    EXPECT_TRUE(reader.getSettingInfo(kGroup, kKey, value, -1));
    EXPECT_EQ(value, 77);
}

TEST_F(SqliteSettingsStoreTest, ManagersShareTheConnectionKeptForTheProcess)
{
    {
        SETUP_SET_Manager first(AM_Global::APP_MMS, true);
        ASSERT_TRUE(first.setSettingInfo(kGroup, kKey, QStringLiteral("kept"), false));
    }
    // With the files gone, only a connection opened before can still read the value; a new one
    // would make a new, empty store.
    for (const char* suffix : {"", "-wal", "-shm"})
        QFile::remove(temp.path() + QLatin1String(suffix));
    for (int i = 0; i < 100; ++i) {
        SETUP_SET_Manager manager(AM_Global::APP_MMS, false);
        QString value;
        ASSERT_TRUE(manager.getSettingInfo(kGroup, kKey, value, QString(), false)) << i;
        ASSERT_EQ(value, QStringLiteral("kept")) << i;
    }
    EXPECT_FALSE(QFile::exists(temp.path()));
}

TEST_F(SqliteSettingsStoreTest, ValuesSurviveClosingAndOpeningTheFile)
{
    ASSERT_TRUE(store().writeText(kGroup, QStringLiteral("text"), QStringLiteral("kept"), false));
    ASSERT_TRUE(store().writeBool(kGroup, QStringLiteral("flag"), false));
    ASSERT_TRUE(store().writeInt(kGroup, QStringLiteral("int"), -5));
    ASSERT_TRUE(store().writeUInt(kGroup, QStringLiteral("uint"), UINT_MAX));
    ASSERT_TRUE(store().writeInt(QStringLiteral("gone"), QStringLiteral("a"), 1));
    ASSERT_TRUE(store().clearGroup(QStringLiteral("gone")));
    temp.reopen();
    EXPECT_EQ(store().entries(kGroup),
              (Entries{{QStringLiteral("flag"), QStringLiteral("0")},
                       {QStringLiteral("int"), QStringLiteral("-5")},
                       {QStringLiteral("text"), QStringLiteral("kept")},
                       {QStringLiteral("uint"), QStringLiteral("4294967295")}}));
    EXPECT_TRUE(store().entries(QStringLiteral("gone")).isEmpty());
}

TEST_F(SqliteSettingsStoreTest, LogFilesStayWhenTheStoreIsClosed)
{
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 1));
    temp.reopen();
    EXPECT_TRUE(QFile::exists(temp.path() + QStringLiteral("-wal")));
    EXPECT_TRUE(QFile::exists(temp.path() + QStringLiteral("-shm")));
}

// ---- another connection's write in progress

// A store whose file another connection holds for writing, with a change not yet committed.
class LockedSettingsStoreTest : public SqliteSettingsStoreTest
{
protected:
    void SetUp() override
    {
        SqliteSettingsStoreTest::SetUp();
        ASSERT_TRUE(store().writeText(kGroup, kKey, QStringLiteral("committed"), false));
        other = tavmms_test::lookInto(temp.path());
        ASSERT_NE(other, nullptr);
        ASSERT_EQ(other->exec("BEGIN IMMEDIATE"), tavplatform::sql::Status::Ok);
        ASSERT_EQ(other->exec("UPDATE settings SET value = 'uncommitted'"),
                  tavplatform::sql::Status::Ok);
    }

    std::unique_ptr<tavplatform::sql::Connection> other;
};

TEST_F(LockedSettingsStoreTest, ReadGivesTheCommittedValueAtOnce)
{
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(text(kGroup, kKey), QStringLiteral("committed"));
    EXPECT_LT(timer.elapsed(), 1000);
}

TEST_F(LockedSettingsStoreTest, WriteOrBatchWaitsForItsTimeoutThenIsRefusedAsBusy)
{
    const int timeoutMs = 200;
    SqliteSettingsStore waiting(temp.path(), timeoutMs);
    // A batch takes the write lock as it begins.
    const std::function<bool()> waits[] = {
        [&] { return waiting.writeText(kGroup, kKey, QStringLiteral("waiting"), false); },
        [&] { return waiting.beginBatch(); },
    };
    for (const auto& wait : waits) {
        QElapsedTimer timer;
        timer.start();
        errno = 0;
        EXPECT_FALSE(wait());
        EXPECT_EQ(errno, EBUSY);
        EXPECT_GE(timer.elapsed(), timeoutMs);
    }
    ASSERT_EQ(other->exec("COMMIT"), tavplatform::sql::Status::Ok);
    // Nothing was left open: the write now stands on its own.
    EXPECT_TRUE(waiting.writeText(kGroup, kKey, QStringLiteral("waiting"), false));
    EXPECT_EQ(text(kGroup, kKey), QStringLiteral("waiting"));
}

// ---- flush

TEST_F(SqliteSettingsStoreTest, FlushPutsEveryValueIntoTheDatabaseFileItself)
{
    ASSERT_TRUE(store().writeText(kGroup, kKey, QStringLiteral("flushed"), false));
    ASSERT_TRUE(store().flush());
    // A copy of the database file alone, without the log beside it, must hold the value.
    const QString copy = temp.directory() + QStringLiteral("/copy.db");
    ASSERT_TRUE(QFile::copy(temp.path(), copy));
    auto look = tavmms_test::lookInto(copy);
    ASSERT_NE(look, nullptr);
    EXPECT_EQ(tavmms_test::queryText(*look, "SELECT value FROM settings WHERE grp = 'group' AND "
                                            "key = 'key'"),
              "flushed");
}

TEST_F(SqliteSettingsStoreTest, FlushOfAStoreWithNothingWrittenSucceeds)
{
    EXPECT_TRUE(store().flush());
}

// ---- batches

const QString kFirst = QStringLiteral("first");
const QString kSecond = QStringLiteral("second");
const QString kGone = QStringLiteral("gone");
const QString kMissing = QStringLiteral("<missing>");

// A store holding "old" under three keys, and a second connection to its file that reads what
// another process would.
class SettingsBatchTest : public SqliteSettingsStoreTest
{
protected:
    void SetUp() override
    {
        SqliteSettingsStoreTest::SetUp();
        for (const QString& key : {kFirst, kSecond, kGone})
            ASSERT_TRUE(store().writeText(kGroup, key, QStringLiteral("old"), false));
    }

    // Changes the first two keys to `value` and removes the third, as one caller's change.
    void change(const QString& value)
    {
        ASSERT_TRUE(store().writeText(kGroup, kFirst, value, false));
        ASSERT_TRUE(store().writeText(kGroup, kSecond, value, false));
        ASSERT_TRUE(store().removeEntry(kGroup, kGone));
    }

    // The three values as the second connection reads them.
    QStringList seenByOther()
    {
        QStringList values;
        for (const QString& key : {kFirst, kSecond, kGone}) {
            QString value;
            other.readText(kGroup, key, value, kMissing, false);
            values << value;
        }
        return values;
    }

    const QStringList allOld{QStringLiteral("old"), QStringLiteral("old"), QStringLiteral("old")};
    const QStringList allNew{QStringLiteral("new"), QStringLiteral("new"), kMissing};
    SqliteSettingsStore other{temp.path()};
};

TEST_F(SettingsBatchTest, CommitMakesAllTheBatchsValuesVisibleTogether)
{
    ScopedSettingsBatch batch(store());
    ASSERT_TRUE(batch.begin());
    change(QStringLiteral("new"));
    EXPECT_EQ(seenByOther(), allOld);

    EXPECT_TRUE(batch.commit());

    EXPECT_EQ(seenByOther(), allNew);
    temp.reopen();
    EXPECT_EQ(text(kGroup, kFirst), QStringLiteral("new"));
}

TEST_F(SettingsBatchTest, BatchDropsItsWritesUnlessCommitted)
{
    {
        ScopedSettingsBatch batch(store());
        ASSERT_TRUE(batch.begin());
        change(QStringLiteral("new"));
    }
    EXPECT_EQ(seenByOther(), allOld);
    EXPECT_EQ(store().entries(kGroup).values(), allOld);
}

TEST_F(SettingsBatchTest, ReadsInsideABatchSeeItsOwnWrites)
{
    ScopedSettingsBatch batch(store());
    ASSERT_TRUE(batch.begin());
    change(QStringLiteral("new"));

    EXPECT_EQ(text(kGroup, kFirst), QStringLiteral("new"));
    EXPECT_EQ(text(kGroup, kGone), kMissing);
    EXPECT_EQ(store().entries(kGroup).keys(), (QStringList{kFirst, kSecond}));
}

TEST_F(SettingsBatchTest, WritesOutsideABatchAreVisibleToOthersAtOnce)
{
    change(QStringLiteral("new"));

    EXPECT_EQ(seenByOther(), allNew);
}

TEST_F(SettingsBatchTest, BatchHoldsTheWriteLockFromItsBeginning)
{
    SqliteSettingsStore waiting(temp.path(), 100);
    ScopedSettingsBatch batch(store());
    ASSERT_TRUE(batch.begin());

    errno = 0;
    EXPECT_FALSE(waiting.writeInt(kGroup, kKey, 1));
    EXPECT_EQ(errno, EBUSY);
    ASSERT_TRUE(batch.commit());
    EXPECT_TRUE(waiting.writeInt(kGroup, kKey, 1));
}

TEST_F(SettingsBatchTest, BatchBegunInsideAnotherJoinsItAndStoresNothingBeforeTheOuterCommit)
{
    ScopedSettingsBatch outer(store());
    ASSERT_TRUE(outer.begin());
    {
        ScopedSettingsBatch inner(store());
        ASSERT_TRUE(inner.begin());
        change(QStringLiteral("new"));
        EXPECT_TRUE(inner.commit());
    }
    EXPECT_EQ(seenByOther(), allOld);

    EXPECT_TRUE(outer.commit());
    EXPECT_EQ(seenByOther(), allNew);
}

TEST_F(SettingsBatchTest, AbortInsideANestedBatchDropsTheWholeBatch)
{
    ScopedSettingsBatch outer(store());
    ASSERT_TRUE(outer.begin());
    ASSERT_TRUE(store().writeText(kGroup, kFirst, QStringLiteral("new"), false));
    {
        ScopedSettingsBatch inner(store());
        ASSERT_TRUE(inner.begin());
    }
    // What the outer batch writes now is dropped with it.
    errno = 0;
    EXPECT_FALSE(store().writeText(kGroup, kSecond, QStringLiteral("new"), false));
    EXPECT_EQ(errno, ECANCELED);

    errno = 0;
    EXPECT_FALSE(outer.commit());
    EXPECT_EQ(errno, ECANCELED);
    EXPECT_EQ(seenByOther(), allOld);
    EXPECT_EQ(text(kGroup, kFirst), QStringLiteral("old"));
}

TEST_F(SettingsBatchTest, CommitOrAbortWithoutABatchChangesNothing)
{
    errno = 0;
    EXPECT_FALSE(store().commitBatch());
    EXPECT_EQ(errno, EINVAL);
    store().abortBatch();
    change(QStringLiteral("new"));
    EXPECT_EQ(seenByOther(), allNew);
}

TEST_F(SettingsBatchTest, FlushAfterACommittedBatchPutsItIntoTheDatabaseFile)
{
    ScopedSettingsBatch batch(store());
    ASSERT_TRUE(batch.begin());
    change(QStringLiteral("new"));
    ASSERT_TRUE(store().flush()); // inside the batch: nothing refused so far
    ASSERT_TRUE(batch.commit());
    ASSERT_TRUE(store().flush());

    const QString copy = temp.directory() + QStringLiteral("/copy.db");
    ASSERT_TRUE(QFile::copy(temp.path(), copy));
    auto look = tavmms_test::lookInto(copy);
    ASSERT_NE(look, nullptr);
    EXPECT_EQ(tavmms_test::queryText(*look, "SELECT value FROM settings WHERE key = 'first'"),
              "new");
}

// ---- refused writes

// A store whose file refuses any write of the key "refused": the kind of refusal that is not a
// full disk.
class RefusingSettingsStoreTest : public SqliteSettingsStoreTest
{
protected:
    void SetUp() override
    {
        SqliteSettingsStoreTest::SetUp();
        ASSERT_TRUE(store().writeText(kGroup, refused, QStringLiteral("former"), false));
        auto look = tavmms_test::lookInto(temp.path());
        ASSERT_NE(look, nullptr);
        ASSERT_EQ(look->exec("CREATE TRIGGER refuse BEFORE INSERT ON settings "
                             "WHEN NEW.key = 'refused' BEGIN SELECT RAISE(ABORT, 'no'); END"),
                  tavplatform::sql::Status::Ok);
    }

    const QString refused = QStringLiteral("refused");
};

TEST_F(RefusingSettingsStoreTest, RefusedWriteReturnsFalseWithAnErrnoOtherThanFullAndKeepsTheValue)
{
    const std::function<bool()> writes[] = {
        [&] { return store().writeText(kGroup, refused, QStringLiteral("new"), false); },
        [&] { return store().writeBool(kGroup, refused, true); },
        [&] { return store().writeInt(kGroup, refused, 1); },
        [&] { return store().writeUInt(kGroup, refused, 1u); },
    };
    for (const auto& write : writes) {
        errno = 0;
        EXPECT_FALSE(write());
        EXPECT_NE(errno, 0);
        EXPECT_NE(errno, ENOSPC);
        EXPECT_EQ(text(kGroup, refused), QStringLiteral("former"));
    }
    // Other keys are still written.
    EXPECT_TRUE(store().writeInt(kGroup, kKey, 1));
}

TEST_F(RefusingSettingsStoreTest, FlushReportsAWriteRefusedSinceTheStoreWasOpened)
{
    store().open(AM_Global::APP_MMS, true);
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 1));
    errno = 0;
    ASSERT_FALSE(store().writeInt(kGroup, refused, 1));
    const int refusal = errno;
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 2));
    errno = 0;
    EXPECT_FALSE(store().flush());
    EXPECT_EQ(errno, refusal);
    // Reported once: the next flush has nothing refused to report.
    EXPECT_TRUE(store().flush());
    store().close();
}

TEST_F(RefusingSettingsStoreTest, RefusalIsForgottenWhenTheStoreIsOpenedAgain)
{
    store().open(AM_Global::APP_MMS, true);
    ASSERT_FALSE(store().writeInt(kGroup, refused, 1));
    store().close();
    store().open(AM_Global::APP_MMS, true);
    EXPECT_TRUE(store().flush());
    store().close();
}

TEST_F(RefusingSettingsStoreTest, RefusalInsideANestedOpeningIsReportedByTheOuterFlush)
{
    SETUP_SET_Manager outer(AM_Global::APP_MMS, false);
    {
        SETUP_SET_Manager inner(AM_Global::APP_MMS, true);
        ASSERT_FALSE(inner.setSettingInfo(kGroup, refused, 1));
    }
    EXPECT_FALSE(outer.flush());
    EXPECT_NE(errno, ENOSPC);
}

TEST_F(RefusingSettingsStoreTest, RefusedWriteInsideABatchKeepsTheEarlierOnesAndTheyCommit)
{
    ScopedSettingsBatch batch(store());
    ASSERT_TRUE(batch.begin());
    ASSERT_TRUE(store().writeText(kGroup, QStringLiteral("earlier"), QStringLiteral("new"), false));
    errno = 0;
    EXPECT_FALSE(store().writeText(kGroup, refused, QStringLiteral("new"), false));
    EXPECT_NE(errno, 0);
    EXPECT_NE(errno, ENOSPC);
    ASSERT_TRUE(store().writeText(kGroup, QStringLiteral("later"), QStringLiteral("new"), false));

    EXPECT_TRUE(batch.commit());

    SqliteSettingsStore other(temp.path());
    EXPECT_EQ(other.entries(kGroup), (Entries{{QStringLiteral("earlier"), QStringLiteral("new")},
                                              {QStringLiteral("later"), QStringLiteral("new")},
                                              {refused, QStringLiteral("former")}}));
}

TEST_F(RefusingSettingsStoreTest, FlushInsideABatchReportsTheRefusalAndLeavesTheBatchOpen)
{
    store().open(AM_Global::APP_MMS, false);
    ScopedSettingsBatch batch(store());
    ASSERT_TRUE(batch.begin());
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 1));
    errno = 0;
    ASSERT_FALSE(store().writeInt(kGroup, refused, 1));
    const int refusal = errno;
    errno = 0;
    EXPECT_FALSE(store().flush());
    EXPECT_EQ(errno, refusal);
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 2));
    EXPECT_TRUE(store().flush());

    EXPECT_TRUE(batch.commit());
    store().close();
    SqliteSettingsStore other(temp.path());
    int value = 0;
    EXPECT_TRUE(other.readInt(kGroup, kKey, value, 0));
    EXPECT_EQ(value, 2);
}

// ---- files that cannot serve as the store

void expectEveryWriteFails(SqliteSettingsStore& store, int expectedErrno)
{
    const std::function<bool()> writes[] = {
        [&] { return store.writeText(kGroup, kKey, QStringLiteral("v"), false); },
        [&] { return store.writeBool(kGroup, kKey, true); },
        [&] { return store.writeInt(kGroup, kKey, 1); },
        [&] { return store.writeUInt(kGroup, kKey, 1u); },
        [&] { return store.removeEntry(kGroup, kKey); },
        [&] { return store.clearGroup(kGroup); },
        [&] { return store.flush(); },
        [&] { return store.beginBatch(); },
    };
    for (const auto& write : writes) {
        errno = 0;
        EXPECT_FALSE(write());
        EXPECT_EQ(errno, expectedErrno);
    }
    int value = 0;
    EXPECT_FALSE(store.readInt(kGroup, kKey, value, 3));
    EXPECT_EQ(value, 3);
    EXPECT_TRUE(store.entries(kGroup).isEmpty());
}

TEST_F(SqliteSettingsStoreTest, FileThatIsNotADatabaseFailsEveryWriteAndIsLeftAlone)
{
    const QByteArray garbage(8192, 'x');
    {
        QFile file(temp.path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(garbage), garbage.size());
    }
    expectEveryWriteFails(store(), EIO);
    QFile file(temp.path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), garbage);
}

TEST_F(SqliteSettingsStoreTest, DamagedPagesFailWritesAndGiveDefaults)
{
    ASSERT_NO_FATAL_FAILURE(fillAndDamagePagesFrom(1));
    errno = 0;
    EXPECT_FALSE(store().writeInt(kGroup, QStringLiteral("new"), 1));
    EXPECT_EQ(errno, EIO);
    int value = 0;
    EXPECT_FALSE(store().readInt(kGroup, QStringLiteral("5"), value, 3));
    EXPECT_EQ(value, 3);
}

TEST_F(SqliteSettingsStoreTest, ReadErrorIsEmptyWhileTheStoreReads)
{
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 5));
    int value = 0;
    ASSERT_TRUE(store().readInt(kGroup, kKey, value, 3));

    EXPECT_EQ(store().readError(), QString());
}

TEST_F(SqliteSettingsStoreTest, ReadErrorIsEmptyForAStoreNotMadeYet)
{
    SqliteSettingsStore missing(temp.directory() + QStringLiteral("/missing/settings.db"));
    int value = 0;
    EXPECT_FALSE(missing.readInt(kGroup, kKey, value, 3));

    EXPECT_EQ(missing.readError(), QString());
}

TEST_F(SqliteSettingsStoreTest, ReadErrorCallsAFileThatIsNotADatabaseDamaged)
{
    ASSERT_TRUE(tavmms_test::replaceWithNonDatabase(temp.path()));

    EXPECT_EQ(store().readError(),
              QStringLiteral("the settings store '%1' is damaged: it is not a database, or a "
                             "corrupt one")
                  .arg(temp.path()));
}

TEST_F(SqliteSettingsStoreTest, ReadErrorCallsAFileWithDamagedPagesDamaged)
{
    // Only the pages past the first are damaged: the file still opens.
    ASSERT_NO_FATAL_FAILURE(fillAndDamagePagesFrom(2));
    store().open(3, false);
    int value = 0;
    EXPECT_FALSE(store().readInt(kGroup, QStringLiteral("150"), value, 3));

    const QString error = store().readError();
    store().close();

    EXPECT_TRUE(error.startsWith(QStringLiteral("the settings store '%1' ").arg(temp.path())))
        << error.toStdString();
    EXPECT_TRUE(error.contains(QStringLiteral("damaged"))) << error.toStdString();
}

TEST_F(SqliteSettingsStoreTest, ReadErrorNamesAFileThatMayNotBeOpened)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root opens a file whatever its mode";
    ASSERT_TRUE(store().writeInt(kGroup, kKey, 5));
    temp.reopen();
    ASSERT_TRUE(QFile::setPermissions(temp.path(), QFileDevice::Permissions()));

    const QString error = store().readError();

    QFile::setPermissions(temp.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    EXPECT_TRUE(error.startsWith(
        QStringLiteral("the settings store '%1' cannot be read: ").arg(temp.path())))
        << error.toStdString();
}

TEST_F(SqliteSettingsStoreTest, FileInAMissingDirectoryFailsEveryWrite)
{
    SqliteSettingsStore missing(temp.directory() + QStringLiteral("/missing/settings.db"));
    expectEveryWriteFails(missing, ENOENT);
    EXPECT_FALSE(QDir(temp.directory() + QStringLiteral("/missing")).exists());
}

TEST(SqliteSettingsStoreFilesTest, StoreWithoutAPathFailsEveryWrite)
{
    SqliteSettingsStore nowhere{QString()};
    expectEveryWriteFails(nowhere, ENOENT);
}

// In a child process: stores in a directory nobody may write, one empty and one holding a store
// written before. Writes are refused as a read-only file system; the empty one reads defaults.
ChildVerdict readOnlyDirectoryChild(const QString& directory)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace for a read-only directory: " + why);
    const QString existing = directory + QStringLiteral("/existing");
    const QString empty = directory + QStringLiteral("/empty");
    QDir().mkpath(existing);
    QDir().mkpath(empty);
    {
        SqliteSettingsStore before(existing + QStringLiteral("/settings.db"));
        if (!before.writeInt(kGroup, kKey, 5))
            return ChildVerdict::fail("could not write the store before the test");
    }
    for (const QString& dir : {existing, empty}) {
        if (const std::string why = tavmms_test::makeReadOnly(dir); !why.empty())
            return ChildVerdict::skip("cannot make a directory read-only: " + why);
        SqliteSettingsStore store(dir + QStringLiteral("/settings.db"));
        errno = 0;
        if (store.writeInt(kGroup, kKey, 6) || errno != EROFS)
            return ChildVerdict::fail(dir.toStdString() + ": the write was not refused with " +
                                      "EROFS, errno " + std::to_string(errno));
        errno = 0;
        if (store.flush() || errno != EROFS)
            return ChildVerdict::fail(dir.toStdString() + ": flush gave errno " +
                                      std::to_string(errno));
    }
    SqliteSettingsStore store(empty + QStringLiteral("/settings.db"));
    int value = -1;
    if (store.readInt(kGroup, kKey, value, 3) || value != 3)
        return ChildVerdict::fail("the empty directory read " + std::to_string(value));
    return ChildVerdict::pass();
}

TEST(SqliteSettingsStoreFilesTest, ReadOnlyDirectoryRefusesWritesWithEROFS)
{
    QTemporaryDir temp;
    ASSERT_TRUE(temp.isValid());
    ChildProcess child([&](ChildProcess&) { return readOnlyDirectoryChild(temp.path()); });
    EXPECT_CHILD_PASSES(child, std::chrono::seconds(30));
}

// ---- feature flags

TEST_F(SqliteSettingsStoreTest, UnknownFlagLeavesTheCallersBoolUntouched)
{
    SETUP_Utility utility;
    for (const bool preset : {true, false}) {
        bool value = preset;
        EXPECT_FALSE(utility.getFlexBit(49, value));
        EXPECT_EQ(value, preset);
    }
}

TEST_F(SqliteSettingsStoreTest, FlagSetIsReadBack)
{
    tavplatform::StoreFeatureFlags flags;
    SETUP_Utility utility;
    for (const bool set : {false, true}) {
        SCOPED_TRACE(set);
        ASSERT_TRUE(flags.setFlexBit(112, set));
        bool value = !set;
        EXPECT_TRUE(utility.getFlexBit(112, value));
        EXPECT_EQ(value, set);
    }
    bool other = false;
    EXPECT_FALSE(utility.getFlexBit(111, other));
}

TEST_F(SqliteSettingsStoreTest, FlagsAreKeptInTheStoresOwnGroupByNumber)
{
    ASSERT_TRUE(tavplatform::StoreFeatureFlags().setFlexBit(50, true));
    ASSERT_TRUE(tavplatform::StoreFeatureFlags().setFlexBit(49, false));
    EXPECT_EQ(store().entries(kFlagGroup), (Entries{{QStringLiteral("49"), QStringLiteral("0")},
                                                    {QStringLiteral("50"), QStringLiteral("1")}}));
    // The same number in another group is not a flag.
    ASSERT_TRUE(store().writeBool(kGroup, QStringLiteral("112"), true));
    bool value = false;
    EXPECT_FALSE(SETUP_Utility().getFlexBit(112, value));
    EXPECT_FALSE(value);
}

TEST_F(SqliteSettingsStoreTest, FlagStoredAsNumberIsReadAsOtherwiseLeftUntouched)
{
    ASSERT_TRUE(store().writeInt(kFlagGroup, QStringLiteral("49"), 7));
    ASSERT_TRUE(store().writeText(kFlagGroup, QStringLiteral("50"), QStringLiteral("yes"), false));
    SETUP_Utility utility;
    bool value = false;
    EXPECT_TRUE(utility.getFlexBit(49, value));
    EXPECT_TRUE(value);
    value = false;
    EXPECT_FALSE(utility.getFlexBit(50, value));
    EXPECT_FALSE(value);
}

} // namespace
