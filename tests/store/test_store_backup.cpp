// A backup of the store, called in-process over a store, a settings store and an address book on
// temporary files, and read back with libarchive's reader: every mail file byte for byte, every row
// field by field, the settings and the contacts, and a manifest whose counts and checksums match
// what the archive holds. A file that is there stays unless replacing it is asked for, and a backup
// that cannot be written leaves nothing behind.

#include "store_backup.h"

#include "backup_records.h"

#include <tavmmsutility.h>

#include "support/archive_reader.h"
#include "support/child_process.h"
#include "support/index_table_helpers.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/store_backup_fixture.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <cerrno>
#include <cstring>

namespace
{

using namespace std::chrono_literals;
using namespace tavmms::store;
using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using tavmms_test::memberData;
using tavmms_test::memberJson;
using tavmms_test::memberNames;
using tavmms_test::messageWithAttachments;
using tavmms_test::readArchive;
using Member = tavmms_test::ArchiveMember;

// The rows of the backup's index, each an object.
QList<QJsonObject> indexRows(const QList<Member>& members)
{
    QList<QJsonObject> rows;
    const QJsonArray array =
        memberJson(members, QStringLiteral("index.json")).value(QStringLiteral("rows")).toArray();
    for (const QJsonValue& value : array)
        rows.append(value.toObject());
    return rows;
}

class StoreBackupTest : public tavmms_test::StoreBackupFixture
{
};

TEST_F(StoreBackupTest, HoldsEveryMailFileRowSettingAndContactWithAManifestThatMatchesThem)
{
    fillSettingsAndContacts();
    const Added composed = MessageStore().compose(messageWithAttachments(QStringLiteral("Out")));
    ASSERT_TRUE(composed.status.ok()) << composed.status.text.toStdString();
    const unsigned int received = receive(messageWithAttachments(QStringLiteral("In")));

    QList<qsizetype> progress;
    BackupOptions options;
    options.progress = [&progress](qsizetype done, qsizetype total) {
        EXPECT_EQ(total, 2);
        progress.append(done);
    };
    const Backup backup = backupStore(backupPath(), {}, options);

    ASSERT_TRUE(backup.status.ok()) << backup.status.text.toStdString();
    EXPECT_EQ(progress, (QList<qsizetype>{1, 2}));
    EXPECT_EQ(backup.messages, 2);
    EXPECT_EQ(backup.withoutFile, 0);
    EXPECT_EQ(backup.messageBytes,
              QFileInfo(mailFile(composed.id)).size() + QFileInfo(mailFile(received)).size());
    EXPECT_EQ(backup.archiveBytes, QFileInfo(backupPath()).size());
    const QList<Member> members = readArchive(backupPath());
    EXPECT_EQ(memberNames(members),
              (QStringList{QStringLiteral("messages/%1.mms").arg(composed.id),
                           QStringLiteral("messages/%1.mms").arg(received),
                           QStringLiteral("index.json"), QStringLiteral("settings.json"),
                           QStringLiteral("contacts.json"), QStringLiteral("manifest.json")}));
    for (const unsigned int id : {composed.id, received})
        EXPECT_EQ(memberData(members, QStringLiteral("messages/%1.mms").arg(id)),
                  tavmms_test::readFileBytes(mailFile(id)));

    const QList<QJsonObject> rows = indexRows(members);
    ASSERT_EQ(rows.size(), 2);
    for (const QJsonObject& row : rows) {
        const unsigned int id = unsigned(row.value(QStringLiteral("id")).toInteger());
        EXPECT_TRUE(row.value(QStringLiteral("mailFile")).toBool());
        EXPECT_FALSE(row.contains(QStringLiteral("exact")));
        const MMS_UTIL_DBStruct_T record = tavmms_test::readRow(databasePath, id);
        const QJsonObject fields = row.value(QStringLiteral("fields")).toObject();
        ASSERT_EQ(fields.size(), rowFields().size());
        for (const DB_BIND_T& field : rowFields())
            EXPECT_EQ(fields.value(QLatin1String(field.name)).toVariant(),
                      rowFieldValue(record, field))
                << field.name;
    }

    const QJsonObject groups = memberJson(members, QStringLiteral("settings.json"))
                                   .value(QStringLiteral("groups"))
                                   .toObject();
    EXPECT_EQ(groups.value(QStringLiteral("MMS_GRP")).toObject(),
              (QJsonObject{{QStringLiteral("MMS_Block_List"), QStringLiteral("+4915550666")},
                           {QStringLiteral("MMS_Read_Report"), QStringLiteral("1")}}));
    EXPECT_EQ(groups.value(QStringLiteral("MMS_Profile_List")).toObject(),
              (QJsonObject{{QStringLiteral("Work"), QStringLiteral("1")}}));
    EXPECT_EQ(groups.value(QStringLiteral("Work")).toObject(),
              (QJsonObject{
                  {QStringLiteral("MMS_Server_Address"), QStringLiteral("http://mmsc.example")}}));
    EXPECT_EQ(groups.value(QStringLiteral("TAV_Address_Book"))
                  .toObject()
                  .value(QStringLiteral("Owner_Number")),
              QStringLiteral("+4915550100"));

    const QJsonObject contacts = memberJson(members, QStringLiteral("contacts.json"));
    EXPECT_EQ(contacts.value(QStringLiteral("owner")).toObject(),
              (QJsonObject{{QStringLiteral("name"), QStringLiteral("Me")},
                           {QStringLiteral("number"), QStringLiteral("+4915550100")}}));
    EXPECT_EQ(contacts.value(QStringLiteral("region")), QStringLiteral("DE"));
    const QJsonArray people = contacts.value(QStringLiteral("contacts")).toArray();
    ASSERT_EQ(people.size(), 1);
    EXPECT_EQ(people.at(0).toObject().value(QStringLiteral("name")), QStringLiteral("Ann"));
    EXPECT_EQ(people.at(0)
                  .toObject()
                  .value(QStringLiteral("emails"))
                  .toArray()
                  .at(0)
                  .toObject()
                  .value(QStringLiteral("value")),
              QStringLiteral("ann@example.org"));

    const QJsonObject manifest = memberJson(members, QStringLiteral("manifest.json"));
    EXPECT_EQ(manifest.value(QStringLiteral("format")), kBackupFormatVersion);
    EXPECT_FALSE(manifest.value(QStringLiteral("library")).toString().isEmpty());
    EXPECT_TRUE(
        QDateTime::fromString(manifest.value(QStringLiteral("created")).toString(), Qt::ISODate)
            .isValid());
    EXPECT_EQ(manifest.value(QStringLiteral("counts")).toObject(),
              (QJsonObject{{QStringLiteral("rows"), 2},
                           {QStringLiteral("mailFiles"), 2},
                           {QStringLiteral("rowsWithoutMailFile"), 0},
                           {QStringLiteral("contacts"), 1}}));
    const QJsonObject sums = manifest.value(QStringLiteral("members")).toObject();
    EXPECT_EQ(sums.size(), members.size() - 1);
    for (const Member& member : members) {
        if (member.name == QLatin1String("manifest.json"))
            continue;
        const QJsonObject sum = sums.value(member.name).toObject();
        EXPECT_EQ(sum.value(QStringLiteral("sha256")).toString(),
                  QString::fromLatin1(
                      QCryptographicHash::hash(member.data, QCryptographicHash::Sha256).toHex()))
            << member.name.toStdString();
        EXPECT_EQ(sum.value(QStringLiteral("size")).toInteger(), member.data.size());
    }
}

// One zstd frame with a checksum of the whole tar: what zstd checks and GNU tar extracts.
TEST_F(StoreBackupTest, TheArchiveCarriesAChecksumThatZstdTestsAndTarExtracts)
{
    const unsigned int received = receive(messageWithAttachments(QStringLiteral("In")));
    const Backup backup = backupStore(backupPath());
    ASSERT_TRUE(backup.status.ok()) << backup.status.text.toStdString();

    const tavmms_test::ToolResult listed = tavmms_test::runTool(
        QStringLiteral("zstd"), {QStringLiteral("-lv"), backupPath()}, dir.path());
    EXPECT_EQ(listed.exitCode, 0) << listed.err.toStdString();
    EXPECT_TRUE(listed.out.contains("Check: XXH64")) << listed.out.toStdString();
    const tavmms_test::ToolResult tested = tavmms_test::runTool(
        QStringLiteral("zstd"), {QStringLiteral("-t"), backupPath()}, dir.path());
    EXPECT_EQ(tested.exitCode, 0) << tested.err.toStdString();

    const QString extracted = dir.filePath(QStringLiteral("extracted"));
    ASSERT_TRUE(QDir().mkpath(extracted));
    const tavmms_test::ToolResult tar =
        tavmms_test::runTool(QStringLiteral("tar"),
                             {QStringLiteral("--zstd"), QStringLiteral("-xf"), backupPath(),
                              QStringLiteral("-C"), extracted},
                             dir.path());
    EXPECT_EQ(tar.exitCode, 0) << tar.err.toStdString();
    EXPECT_EQ(
        tavmms_test::readFileBytes(extracted + QStringLiteral("/messages/%1.mms").arg(received)),
        tavmms_test::readFileBytes(mailFile(received)));
}

TEST_F(StoreBackupTest, EveryRowIsMadeAgainToTheByteFromTheIndexAlsoOneWithoutItsMailFile)
{
    const unsigned int kept = receive(messageWithAttachments(QStringLiteral("Grüße")));
    // Texts that are no UTF-8 or UTF-16, filled to the field's end, and no mail file.
    MMS_UTIL_DBStruct_T odd = tavmms_test::sampleRecord("mms://odd", 7);
    std::memcpy(odd.mms_fld_msgid_name, "\xff\xfe id", 6);
    odd.cmn_fld_subject[0] = 0xD8; // a lone high surrogate, high byte first
    unsigned int oddId = 0;
    {
        const IndexTable index;
        ASSERT_EQ(MMS_UTIL_DBTable::add(odd, &oddId), DB_OK);
        ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
    }

    const Backup backup = backupStore(backupPath());

    ASSERT_TRUE(backup.status.ok()) << backup.status.text.toStdString();
    EXPECT_EQ(backup.messages, 1);
    EXPECT_EQ(backup.withoutFile, 1);
    const QList<Member> members = readArchive(backupPath());
    EXPECT_FALSE(memberNames(members).contains(QStringLiteral("messages/%1.mms").arg(oddId)));
    const QList<QJsonObject> rows = indexRows(members);
    ASSERT_EQ(rows.size(), 2);
    for (const QJsonObject& row : rows) {
        const unsigned int id = unsigned(row.value(QStringLiteral("id")).toInteger());
        EXPECT_EQ(row.value(QStringLiteral("mailFile")).toBool(), id == kept);
        EXPECT_EQ(row.contains(QStringLiteral("exact")), id == oddId);
        // As a restore makes it: each field from its text, then the exact bytes of those that
        // have them.
        MMS_UTIL_DBStruct_T restored;
        QString error;
        ASSERT_TRUE(rowFromJson(row, &restored, &error)) << error.toStdString();
        EXPECT_TRUE(tavmms_test::sameRecord(tavmms_test::readRow(databasePath, id), restored));
    }
}

TEST_F(StoreBackupTest, ASaveThatAProgramLeftHalfDoneIsCompletedAndItsMailFileBackedUp)
{
    const unsigned int id = receive(messageWithAttachments(QStringLiteral("Saved")));
    const QByteArray bytes = tavmms_test::readFileBytes(mailFile(id));
    // What a save that died after removing the old file leaves: the new one under ".tmp".
    ASSERT_TRUE(QFile::rename(mailFile(id), mailFile(id) + QStringLiteral(".tmp")));

    const Backup backup = backupStore(backupPath());

    ASSERT_TRUE(backup.status.ok()) << backup.status.text.toStdString();
    EXPECT_EQ(backup.messages, 1);
    EXPECT_EQ(backup.withoutFile, 0);
    EXPECT_EQ(memberData(readArchive(backupPath()), QStringLiteral("messages/%1.mms").arg(id)),
              bytes);
}

TEST_F(StoreBackupTest, AFolderAndATimeSpanChooseTheMessages)
{
    const QTimeZone utc = QTimeZone::utc();
    const unsigned int old = receive(messageWithAttachments(
        QStringLiteral("Old"), QDateTime(QDate(2020, 5, 1), QTime(12, 0), utc)));
    const unsigned int recent = receive(messageWithAttachments(
        QStringLiteral("Recent"), QDateTime(QDate(2026, 5, 1), QTime(12, 0), utc)));
    ASSERT_TRUE(MessageStore().compose(messageWithAttachments(QStringLiteral("Out"))).status.ok());

    BackupFilter inbox;
    inbox.anyFolder = false;
    inbox.folder = unsigned(Folder::Inbox);
    ASSERT_TRUE(backupStore(backupPath(), inbox).status.ok());
    EXPECT_EQ(memberNames(readArchive(backupPath())).mid(0, 2),
              (QStringList{QStringLiteral("messages/%1.mms").arg(old),
                           QStringLiteral("messages/%1.mms").arg(recent)}));

    BackupFilter since;
    since.since = QDateTime(QDate(2025, 1, 1), QTime(0, 0), utc);
    since.until = QDateTime(QDate(2026, 6, 1), QTime(0, 0), utc);
    BackupOptions replacing;
    replacing.replace = true;
    const Backup backup = backupStore(backupPath(), since, replacing);
    ASSERT_TRUE(backup.status.ok()) << backup.status.text.toStdString();
    EXPECT_EQ(backup.messages, 1);
    const QList<Member> members = readArchive(backupPath());
    EXPECT_EQ(memberNames(members).first(), QStringLiteral("messages/%1.mms").arg(recent));
    EXPECT_EQ(memberJson(members, QStringLiteral("index.json"))
                  .value(QStringLiteral("rows"))
                  .toArray()
                  .size(),
              1);
}

TEST_F(StoreBackupTest, AFileThereIsKeptUnlessReplacingIsAsked)
{
    receive(messageWithAttachments(QStringLiteral("In")));
    QFile there(backupPath());
    ASSERT_TRUE(there.open(QIODevice::WriteOnly));
    there.write("mine");
    there.close();

    const Backup refused = backupStore(backupPath());

    EXPECT_EQ(refused.status.code, ErrorCode::Exists);
    EXPECT_EQ(refused.status.text,
              QStringLiteral("'%1' exists already; it was kept").arg(backupPath()));
    EXPECT_EQ(tavmms_test::readFileBytes(backupPath()), QByteArray("mine"));
    BackupOptions replacing;
    replacing.replace = true;
    ASSERT_TRUE(backupStore(backupPath(), {}, replacing).status.ok());
    EXPECT_EQ(readArchive(backupPath()).size(), 5);
    EXPECT_EQ(tavmms_test::namesIn(dir.path()).filter(QStringLiteral("backup")),
              QStringList{QStringLiteral("backup.tar.zst")});
}

TEST_F(StoreBackupTest, APathInsideTheStoreIsRefused)
{
    receive(messageWithAttachments(QStringLiteral("In")));
    const QString inside = dir.filePath(QStringLiteral("download/mms/backup.tar.zst"));

    const Backup refused = backupStore(inside);

    EXPECT_EQ(refused.status.code, ErrorCode::Invalid);
    EXPECT_TRUE(refused.status.text.contains(QStringLiteral("inside the store's directory")))
        << refused.status.text.toStdString();
    EXPECT_FALSE(QFileInfo::exists(inside));
}

TEST_F(StoreBackupTest, AMissingDirectoryFailsClearly)
{
    const QString path = dir.filePath(QStringLiteral("nowhere/backup.tar.zst"));

    const Backup failed = backupStore(path);

    EXPECT_EQ(failed.status.code, ErrorCode::Failed);
    EXPECT_EQ(failed.status.text, QStringLiteral("cannot write the backup '%1': %2")
                                      .arg(path, QString::fromLocal8Bit(std::strerror(ENOENT))));
}

TEST_F(StoreBackupTest, MessagesStillComeInWhileABackupRunsAndLaterOnesAreNotInIt)
{
    const unsigned int kept = receive(messageWithAttachments(QStringLiteral("Before")));
    QFile body(dir.filePath(QStringLiteral("body.bin")));
    ASSERT_TRUE(body.open(QIODevice::WriteOnly));
    body.write(messageWithAttachments(QStringLiteral("After")).body);
    body.close();
    tavmms_test::ToolResult during;
    BackupOptions options;
    options.lockTimeout = 2s;
    // Another program keeps a message once the rows are read, the backup's lock held meanwhile.
    options.progress = [&](qsizetype, qsizetype) {
        during = tavmms_test::runOnStore(QStringLiteral(TAVMMS_MMSUTIL_PATH), dir.path(),
                                         {QStringLiteral("receive"), QStringLiteral("--from"),
                                          QStringLiteral("+4915550199"), body.fileName()});
    };

    const Backup backup = backupStore(backupPath(), {}, options);

    ASSERT_TRUE(backup.status.ok()) << backup.status.text.toStdString();
    EXPECT_EQ(during.exitCode, 0) << during.err.toStdString();
    EXPECT_EQ(tavmms_test::rowIds(databasePath).size(), 2);
    EXPECT_EQ(memberNames(readArchive(backupPath())).first(),
              QStringLiteral("messages/%1.mms").arg(kept));
    EXPECT_EQ(backup.messages, 1);
}

// On a small file system of its own, filled up: the archive cannot be written, and neither it nor
// its temporary file stays.
ChildVerdict backUpToAFullDisk(const QString& directory)
{
    if (const std::string why = tavmms_test::fillASmallDisk(directory); !why.empty())
        return ChildVerdict::skip(why);
    const QString path = directory + QStringLiteral("/backup.tar.zst");
    const Backup backup = backupStore(path);
    if (backup.status.code != ErrorCode::NoSpace ||
        !backup.status.text.startsWith(
            QStringLiteral("cannot write the backup '%1': no space left on device").arg(path)))
        return ChildVerdict::fail("a backup to a full disk gave " +
                                  backup.status.text.toStdString());
    if (tavmms_test::namesIn(directory) != QStringList{QStringLiteral("filler")})
        return ChildVerdict::fail(
            "files stayed: " +
            tavmms_test::namesIn(directory).join(QLatin1Char(' ')).toStdString());
    return ChildVerdict::pass();
}

TEST_F(StoreBackupTest, ABackupToAFullDiskLeavesNothing)
{
    for (int i = 0; i < 3; ++i)
        receive(messageWithAttachments(QStringLiteral("In %1").arg(i)));
    const QString directory = dir.filePath(QStringLiteral("full"));
    ChildProcess child([&](ChildProcess&) { return backUpToAFullDisk(directory); });
    EXPECT_CHILD_PASSES(child, 60s);
}

} // namespace
