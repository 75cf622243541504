// The settings store on SQLite shared by processes: values written by one are read by the others,
// two writers at once lose nothing, a batch is seen whole or not at all, and a full disk refuses a
// write (or a batch's commit) without harming what was there. Every writer is a forked child; the
// parent opens the store only after its children are gone (or, where it reads at the same time,
// never), since an SQLite connection must never cross fork().

#include "settings_service.h"
#include "setup_set_manager.h"
#include "sqlite_settings_store.h"

#include "support/child_process.h"
#include "support/mount_namespace.h"
#include "support/sql_queries.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

namespace
{

using namespace std::chrono_literals;
using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using tavplatform::ScopedSettingsBatch;
using tavplatform::SqliteSettingsStore;

const QString kGroup = QStringLiteral("group");
const QString kKey = QStringLiteral("key");
using Entries = QMap<QString, QString>;

// The store on `path`, installed as the device's settings store while the object lives.
struct InstalledSettingsStore {
    explicit InstalledSettingsStore(const QString& path) : store(path) {}

    SqliteSettingsStore store;
    tavplatform::ScopedSettingsStoreService installed{&store};
};

std::string refused(const QString& key)
{
    return "writing " + key.toStdString() + " was refused, errno " + std::to_string(errno);
}

// Writes one text through a manager of its own, as each library call does.
bool writeText(const QString& group, const QString& key, const QString& value)
{
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    return manager.setSettingInfo(group, key, value, false);
}

QByteArray integrityOf(const QString& path)
{
    auto look = tavmms_test::lookInto(path);
    return look ? tavmms_test::queryText(*look, "PRAGMA integrity_check") : "cannot open";
}

class SettingsStoreProcessesTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(temp.isValid()); }

    QString path() const { return temp.filePath(QStringLiteral("settings.db")); }

    QTemporaryDir temp;
};

// ---- one process writes, others read

TEST_F(SettingsStoreProcessesTest, ValuesWrittenByAChildAreReadByTheParentAfterwards)
{
    ChildProcess child([&](ChildProcess&) {
        InstalledSettingsStore installed(path());
        SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
        if (!manager.setSettingInfo(kGroup, QStringLiteral("text"), QStringLiteral("från barnet"),
                                    false) ||
            !manager.setSettingInfo(kGroup, QStringLiteral("int"), -12) ||
            !manager.setSettingInfo(kGroup, QStringLiteral("flag"), false))
            return ChildVerdict::fail(refused(kGroup));
        return ChildVerdict::pass();
    });
    EXPECT_CHILD_PASSES(child, 30s);

    InstalledSettingsStore installed(path());
    SETUP_SET_Manager manager(AM_Global::APP_MMS, false);
    EXPECT_EQ(manager.getEntryKeyList(kGroup),
              (Entries{{QStringLiteral("flag"), QStringLiteral("0")},
                       {QStringLiteral("int"), QStringLiteral("-12")},
                       {QStringLiteral("text"), QStringLiteral("från barnet")}}));
    bool flag = true;
    EXPECT_TRUE(manager.getSettingInfo(kGroup, QStringLiteral("flag"), flag, true));
    EXPECT_FALSE(flag);
}

TEST_F(SettingsStoreProcessesTest, ReaderThatKeepsItsStoreOpenSeesAnotherProcesssWrite)
{
    const QString key = QStringLiteral("late");
    // The reader opens the store and reads before the value exists, then reads again until the
    // value appears.
    ChildProcess reader([&](ChildProcess& self) {
        InstalledSettingsStore installed(path());
        int value = 0;
        {
            SETUP_SET_Manager manager(AM_Global::APP_MMS, false);
            if (manager.getSettingInfo(kGroup, key, value, -1))
                return ChildVerdict::fail("the value was there before it was written");
        }
        self.send("opened");
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (std::chrono::steady_clock::now() < deadline) {
            SETUP_SET_Manager manager(AM_Global::APP_MMS, false);
            if (manager.getSettingInfo(kGroup, key, value, -1))
                return value == 42 ? ChildVerdict::pass()
                                   : ChildVerdict::fail("read " + std::to_string(value));
            std::this_thread::sleep_for(5ms);
        }
        return ChildVerdict::fail("the value written never appeared");
    });
    ASSERT_EQ(reader.receiveLine(30s), std::optional<std::string>("opened"))
        << reader.finish(1s).message;
    ChildProcess writer([&](ChildProcess&) {
        InstalledSettingsStore installed(path());
        SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
        return manager.setSettingInfo(kGroup, key, 42) ? ChildVerdict::pass()
                                                       : ChildVerdict::fail(refused(key));
    });
    EXPECT_CHILD_PASSES(writer, 30s);
    EXPECT_CHILD_PASSES(reader, 30s);
}

TEST_F(SettingsStoreProcessesTest, WriteWaitsWhileAnotherProcessHoldsTheLock)
{
    const auto held = 300ms;
    ChildProcess holder([&](ChildProcess& self) {
        {
            SqliteSettingsStore store(path());
            if (!store.writeInt(kGroup, kKey, 1))
                return ChildVerdict::fail(refused(kKey));
        }
        auto connection = tavmms_test::lookInto(path());
        if (!connection || connection->exec("BEGIN IMMEDIATE") != tavplatform::sql::Status::Ok)
            return ChildVerdict::fail("could not take the lock");
        self.send("locked");
        std::this_thread::sleep_for(held);
        return connection->exec("COMMIT") == tavplatform::sql::Status::Ok
                   ? ChildVerdict::pass()
                   : ChildVerdict::fail("could not give the lock back");
    });
    ASSERT_EQ(holder.receiveLine(30s), std::optional<std::string>("locked"))
        << holder.finish(1s).message;
    SqliteSettingsStore store(path());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(store.writeInt(kGroup, kKey, 2)) << "errno " << errno;
    EXPECT_GE(std::chrono::steady_clock::now() - start, held / 2);
    EXPECT_CHILD_PASSES(holder, 30s);
    int value = 0;
    EXPECT_TRUE(store.readInt(kGroup, kKey, value, 0));
    EXPECT_EQ(value, 2);
}

// A file another program made with the engine's default journal and keeps in a transaction while
// the store opens it: turning such a file to a write-ahead log needs every other user gone, and the
// store waits for that rather than being refused at once.
class OpeningAFileWithoutLogTest : public SettingsStoreProcessesTest,
                                   public ::testing::WithParamInterface<const char*>
{
};

TEST_P(OpeningAFileWithoutLogTest, WaitsWhileAnotherProcessUsesIt)
{
    const auto held = 300ms;
    ChildProcess user([&](ChildProcess& self) {
        using tavplatform::sql::Status;
        auto connection = tavmms_test::lookInto(path());
        if (!connection || connection->exec("PRAGMA journal_mode=DELETE") != Status::Ok ||
            connection->exec(GetParam()) != Status::Ok ||
            connection->exec("SELECT count(*) FROM sqlite_master") != Status::Ok)
            return ChildVerdict::fail("could not start its transaction");
        self.send("started");
        std::this_thread::sleep_for(held);
        return connection->exec("COMMIT") == Status::Ok ? ChildVerdict::pass()
                                                        : ChildVerdict::fail("could not commit");
    });
    ASSERT_EQ(user.receiveLine(30s), std::optional<std::string>("started"))
        << user.finish(1s).message;
    SqliteSettingsStore store(path());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(store.writeInt(kGroup, kKey, 3)) << "errno " << errno;
    EXPECT_GE(std::chrono::steady_clock::now() - start, held / 2);
    EXPECT_CHILD_PASSES(user, 30s);
    int value = 0;
    EXPECT_TRUE(store.readInt(kGroup, kKey, value, 0));
    EXPECT_EQ(value, 3);
    EXPECT_EQ(integrityOf(path()), "ok");
}

INSTANTIATE_TEST_SUITE_P(Transactions, OpeningAFileWithoutLogTest,
                         ::testing::Values("BEGIN", "BEGIN IMMEDIATE"), [](const auto& info) {
                             return std::string(info.index == 0 ? "Reading" : "Writing");
                         });

// ---- a batch seen from another process

const QString kFirst = QStringLiteral("first");
const QString kSecond = QStringLiteral("second");

// The two values of a batch as this process reads them, through a store of its own.
QStringList batchValues(const QString& path)
{
    SqliteSettingsStore store(path);
    QString first;
    QString second;
    store.readText(kGroup, kFirst, first, QString(), false);
    store.readText(kGroup, kSecond, second, QString(), false);
    return {first, second};
}

// Writes "old" to both values, then begins `batch`; why that failed, nothing when it did not.
std::string writeOldAndBegin(ScopedSettingsBatch& batch)
{
    if (!writeText(kGroup, kFirst, QStringLiteral("old")) ||
        !writeText(kGroup, kSecond, QStringLiteral("old")))
        return refused(kFirst);
    if (!batch.begin())
        return "the batch did not begin, errno " + std::to_string(errno);
    return {};
}

TEST_F(SettingsStoreProcessesTest, AnotherProcessSeesNoneOfABatchBeforeItsCommitAndAllAfter)
{
    // The child writes "old", then "new" in a batch that it commits once the parent has looked
    // (the parent says so by making a file).
    const QString looked = temp.filePath(QStringLiteral("looked"));
    ChildProcess writer([&](ChildProcess& self) {
        InstalledSettingsStore installed(path());
        ScopedSettingsBatch batch;
        if (const std::string why = writeOldAndBegin(batch); !why.empty())
            return ChildVerdict::fail(why);
        if (!writeText(kGroup, kFirst, QStringLiteral("new")) ||
            !writeText(kGroup, kSecond, QStringLiteral("new")))
            return ChildVerdict::fail(refused(kFirst));
        self.send("written");
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (!QFile::exists(looked) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(1ms);
        if (!batch.commit())
            return ChildVerdict::fail("the commit failed, errno " + std::to_string(errno));
        self.send("committed");
        return ChildVerdict::pass();
    });
    ASSERT_EQ(writer.receiveLine(30s), std::optional<std::string>("written"))
        << writer.finish(1s).message;

    EXPECT_EQ(batchValues(path()), (QStringList{QStringLiteral("old"), QStringLiteral("old")}));
    QFile(looked).open(QIODevice::WriteOnly);
    ASSERT_EQ(writer.receiveLine(30s), std::optional<std::string>("committed"))
        << writer.finish(1s).message;
    EXPECT_EQ(batchValues(path()), (QStringList{QStringLiteral("new"), QStringLiteral("new")}));
    EXPECT_CHILD_PASSES(writer, 30s);
}

// ---- two writers at the same time

const int kWrites = 1000;
const QString kSharedGroup = QStringLiteral("shared");
const QString kSharedKey = QStringLiteral("key");

QString valueOf(const QString& writer, int index)
{
    return writer + QLatin1Char('-') + QString::number(index);
}

// Writes its own key i in the group named after it, then the shared key, for each i in turn.
ChildVerdict concurrentWriter(const QString& path, const QString& name,
                              std::chrono::steady_clock::time_point start)
{
    InstalledSettingsStore installed(path);
    std::this_thread::sleep_until(start);
    for (int i = 0; i < kWrites; ++i) {
        const QString value = valueOf(name, i);
        if (!writeText(name, QString::number(i), value))
            return ChildVerdict::fail(refused(valueOf(name, i)));
        if (!writeText(kSharedGroup, kSharedKey, value))
            return ChildVerdict::fail(refused(kSharedKey + QLatin1Char(' ') + value));
    }
    return ChildVerdict::pass();
}

TEST_F(SettingsStoreProcessesTest, TwoWritersAtOnceLoseNoValue)
{
    const QString first = QStringLiteral("first");
    const QString second = QStringLiteral("second");
    // Both start at the same moment, which the monotonic clock measures alike in every process.
    const auto start = std::chrono::steady_clock::now() + 200ms;
    ChildProcess one([&](ChildProcess&) { return concurrentWriter(path(), first, start); });
    ChildProcess two([&](ChildProcess&) { return concurrentWriter(path(), second, start); });
    EXPECT_CHILD_PASSES(one, 120s);
    EXPECT_CHILD_PASSES(two, 120s);

    EXPECT_EQ(integrityOf(path()), "ok");
    SqliteSettingsStore store(path());
    for (const QString& name : {first, second}) {
        SCOPED_TRACE(name.toStdString());
        const Entries entries = store.entries(name);
        EXPECT_EQ(entries.size(), kWrites);
        for (int i = 0; i < kWrites; ++i)
            ASSERT_EQ(entries.value(QString::number(i)), valueOf(name, i)) << i;
    }
    // The last write to reach the store is the last one of whichever writer finished last.
    const QString shared = store.entries(kSharedGroup).value(kSharedKey);
    EXPECT_TRUE(shared == valueOf(first, kWrites - 1) || shared == valueOf(second, kWrites - 1))
        << shared.toStdString();
}

// ---- a full disk

const int kDiskKiB = 256;

// Moves the calling child into a mount namespace of its own with a small tmpfs on `directory`;
// empty when done, else why it cannot be.
std::string onASmallDisk(const QString& directory)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return "no private mount namespace for a small file system: " + why;
    if (const std::string why = tavmms_test::mountSmallTmpfs(directory, kDiskKiB); !why.empty())
        return "no small file system to fill: " + why;
    return {};
}

// On a small tmpfs of its own: writes values, then fills the disk until a write is refused, which
// must be for want of space; everything written before reads back, also after reopening.
ChildVerdict diskFullWriter(const QString& directory)
{
    if (const std::string why = onASmallDisk(directory); !why.empty())
        return ChildVerdict::skip(why);
    const QString path = directory + QStringLiteral("/settings.db");
    const QString fill = QStringLiteral("fill");
    const QString before = QStringLiteral("before");
    int filled = 0;
    {
        InstalledSettingsStore installed(path);
        if (!writeText(kGroup, before, QStringLiteral("kept")))
            return ChildVerdict::fail(refused(before));
        for (;; ++filled) {
            if (filled == 10000)
                return ChildVerdict::fail("the disk never filled");
            errno = 0;
            if (!writeText(fill, QString::number(filled), QString(1000, QChar(u'x'))))
                break;
        }
        if (errno != ENOSPC)
            return ChildVerdict::fail("the write that filled the disk gave errno " +
                                      std::to_string(errno));
        if (filled < 2)
            return ChildVerdict::fail("the disk was full before two values were written");
        // A refused change of a value keeps the former one, and a flush reports the refusal.
        SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
        errno = 0;
        if (manager.setSettingInfo(kGroup, before, QString(20000, QChar(u'y')), false) ||
            errno != ENOSPC)
            return ChildVerdict::fail("overwriting on a full disk gave errno " +
                                      std::to_string(errno));
        errno = 0;
        if (manager.flush() || errno != ENOSPC)
            return ChildVerdict::fail("flush on a full disk gave errno " + std::to_string(errno));
    }
    // Read back by a new store, as the next process would; the disk is still full for it.
    SqliteSettingsStore store(path);
    errno = 0;
    if (store.writeInt(kGroup, QStringLiteral("new"), 1) || errno != ENOSPC)
        return ChildVerdict::fail("a write through a new store gave errno " +
                                  std::to_string(errno));
    QString value;
    if (!store.readText(kGroup, before, value, QString(), false) || value != "kept")
        return ChildVerdict::fail("the value written first reads " + value.toStdString());
    const Entries entries = store.entries(fill);
    if (entries.size() != filled)
        return ChildVerdict::fail(std::to_string(entries.size()) + " values read back, " +
                                  std::to_string(filled) + " were written");
    for (const QString& text : entries)
        if (text != QString(1000, QChar(u'x')))
            return ChildVerdict::fail("a value written before the disk filled changed");
    if (const QByteArray integrity = integrityOf(path); integrity != "ok")
        return ChildVerdict::fail("integrity check: " + integrity.toStdString());
    return ChildVerdict::pass();
}

TEST_F(SettingsStoreProcessesTest, FullDiskRefusesWithENOSPCAndKeepsWhatWasWritten)
{
    ChildProcess child([&](ChildProcess&) { return diskFullWriter(temp.path()); });
    EXPECT_CHILD_PASSES(child, 60s);
}

// On a small tmpfs of its own: the store is written and closed, then other files fill the disk;
// the store opened again reads its values and refuses a write for want of space.
ChildVerdict diskFilledByOthers(const QString& directory)
{
    if (const std::string why = onASmallDisk(directory); !why.empty())
        return ChildVerdict::skip(why);
    const QString path = directory + QStringLiteral("/settings.db");
    {
        InstalledSettingsStore installed(path);
        if (!writeText(kGroup, kKey, QStringLiteral("kept")))
            return ChildVerdict::fail(refused(kKey));
    }
    if (const std::string why = tavmms_test::fillDisk(directory); !why.empty())
        return ChildVerdict::fail(why);
    InstalledSettingsStore installed(path);
    SETUP_SET_Manager manager(AM_Global::APP_MMS, true);
    QString value;
    if (!manager.getSettingInfo(kGroup, kKey, value, QString(), false) || value != "kept")
        return ChildVerdict::fail("the value reads as \"" + value.toStdString() + "\"");
    errno = 0;
    if (manager.setSettingInfo(kGroup, QStringLiteral("new"), QString(100000, QChar(u'n')),
                               false) ||
        errno != ENOSPC)
        return ChildVerdict::fail("a write gave errno " + std::to_string(errno));
    return ChildVerdict::pass();
}

TEST_F(SettingsStoreProcessesTest, DiskFilledByOtherFilesStillReadsAndRefusesWithENOSPC)
{
    ChildProcess child([&](ChildProcess&) { return diskFilledByOthers(temp.path()); });
    EXPECT_CHILD_PASSES(child, 60s);
}

// On a small tmpfs of its own: both values are written "old", then `change` runs inside a batch,
// whose commit must then fail with ENOSPC; afterwards both values read "old". `change` says why
// it went wrong, nothing when it did not.
ChildVerdict batchRefusedForSpace(const QString& directory,
                                  const std::function<std::string()>& change)
{
    if (const std::string why = onASmallDisk(directory); !why.empty())
        return ChildVerdict::skip(why);
    const QString path = directory + QStringLiteral("/settings.db");
    {
        InstalledSettingsStore installed(path);
        ScopedSettingsBatch batch;
        std::string why = writeOldAndBegin(batch);
        if (why.empty())
            why = change();
        if (!why.empty())
            return ChildVerdict::fail(why);
        errno = 0;
        if (batch.commit() || errno != ENOSPC)
            return ChildVerdict::fail("the commit gave errno " + std::to_string(errno));
    }
    const QStringList values = batchValues(path);
    if (values != QStringList{QStringLiteral("old"), QStringLiteral("old")})
        return ChildVerdict::fail("after the failed batch the values read " +
                                  values.join(QLatin1Char(',')).toStdString());
    if (const QByteArray integrity = integrityOf(path); integrity != "ok")
        return ChildVerdict::fail("integrity check: " + integrity.toStdString());
    return ChildVerdict::pass();
}

TEST_F(SettingsStoreProcessesTest, FullDiskAtCommitFailsWithENOSPCAndLeavesTheOldValues)
{
    // Other files fill the disk, then the batch changes both values, the second to more than the
    // disk holds: the writes are taken, the commit is not.
    const QString directory = temp.path();
    ChildProcess child([&](ChildProcess&) {
        return batchRefusedForSpace(directory, [&]() -> std::string {
            if (std::string why = tavmms_test::fillDisk(directory); !why.empty())
                return why;
            if (!writeText(kGroup, kFirst, QStringLiteral("new")) ||
                !writeText(kGroup, kSecond, QString(100000, QChar(u'n'))))
                return refused(kSecond);
            return {};
        });
    });
    EXPECT_CHILD_PASSES(child, 60s);
}

TEST_F(SettingsStoreProcessesTest, FullDiskInsideABatchDropsAllOfIt)
{
    // A value too big for the engine's cache is refused by the full disk, and the engine drops
    // the whole transaction with it. What the batch writes after that is refused too (else it
    // would be stored on its own).
    ChildProcess child([&](ChildProcess&) {
        return batchRefusedForSpace(temp.path(), []() -> std::string {
            if (!writeText(kGroup, kFirst, QStringLiteral("new")))
                return refused(kFirst);
            errno = 0;
            if (writeText(QStringLiteral("huge"), kKey, QString(4 * 1024 * 1024, QChar(u'h'))) ||
                errno != ENOSPC)
                return "the huge write gave errno " + std::to_string(errno);
            errno = 0;
            if (writeText(kGroup, kSecond, QStringLiteral("new")) || errno != ENOSPC)
                return "the write after the refusal gave errno " + std::to_string(errno);
            return {};
        });
    });
    EXPECT_CHILD_PASSES(child, 60s);
}

} // namespace
