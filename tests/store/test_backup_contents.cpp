// A backup read back and checked whole: a good one gives its rows, settings, contacts and mail
// files, staged byte for byte or only hashed; every kind of damage, each made by rewriting a good
// backup's members, is refused with a text that names it, and nothing is ever written outside the
// staging directory.

#include "backup_contents.h"
#include "message_store.h"
#include "store_archive_writer.h"
#include "store_backup.h"

#include "support/archive_reader.h"
#include "support/archive_writer.h"
#include "support/child_process.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/model_helpers.h"
#include "support/store_backup_fixture.h"

#include <gtest/gtest.h>

#include <zstd.h>
#include <zstd_errors.h>

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <sys/stat.h>

namespace
{

using namespace tavmms::store;
using tavmms_test::Compression;
using tavmms_test::jsonBytes;
using tavmms_test::memberData;
using tavmms_test::memberJson;
using tavmms_test::memberNamed;
using tavmms_test::memberNames;
using tavmms_test::messageWithAttachments;
using tavmms_test::readArchive;
using tavmms_test::readFileBytes;
using tavmms_test::removeMember;
using tavmms_test::resum;
using tavmms_test::setInManifest;
using tavmms_test::sha256;
using tavmms_test::writeArchive;
using Member = tavmms_test::ArchiveMember;

class BackupContentsTest : public tavmms_test::StoreBackupFixture
{
protected:
    void SetUp() override
    {
        StoreBackupFixture::SetUp();
        ASSERT_TRUE(QDir(dir.path()).mkpath(QStringLiteral("staging")));
    }

    // A backup of two messages and a contact, its members in `good`.
    void makeBackup()
    {
        book.import("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann\r\nTEL;TYPE=CELL:+49 151 1\r\n"
                    "END:VCARD\r\n");
        first = receive(messageWithAttachments(QStringLiteral("One")));
        second = receive(messageWithAttachments(QStringLiteral("Two")));
        const Backup backup = backupStore(backupPath());
        ASSERT_TRUE(backup.status.ok()) << backup.status.text.toStdString();
        good = readArchive(backupPath());
    }

    QString staging() const { return dir.filePath(QStringLiteral("staging")); }
    QString damagedPath() const { return dir.filePath(QStringLiteral("damaged.tar.zst")); }

    // The text of the refusal of `members` written as an archive, read into the staging directory.
    QString refusalOf(const QList<Member>& members)
    {
        writeArchive(damagedPath(), members);
        return refusalOf(damagedPath());
    }
    QString refusalOf(const QString& path)
    {
        // Files staged before a refusal stay for the caller, who starts again with a fresh
        // directory.
        EXPECT_TRUE(QDir(staging()).removeRecursively());
        EXPECT_TRUE(QDir(dir.path()).mkpath(QStringLiteral("staging")));
        const BackupContents contents = readBackup(path, staging());
        EXPECT_EQ(contents.status.code, ErrorCode::Invalid) << contents.status.text.toStdString();
        return contents.status.text;
    }
    QString damaged(const QString& what) const
    {
        return QStringLiteral("the backup '%1' is damaged: %2").arg(damagedPath(), what);
    }

    unsigned int first = 0;
    unsigned int second = 0;
    QList<Member> good;
};

TEST_F(BackupContentsTest, AGoodBackupReadsBackWithItsMembersAndStagesEveryMailFile)
{
    makeBackup();

    const BackupContents contents = readBackup(backupPath(), staging());

    ASSERT_TRUE(contents.status.ok()) << contents.status.text.toStdString();
    EXPECT_EQ(contents.manifest, memberJson(good, QStringLiteral("manifest.json")));
    EXPECT_EQ(
        contents.rows,
        memberJson(good, QStringLiteral("index.json")).value(QStringLiteral("rows")).toArray());
    EXPECT_EQ(contents.rows.size(), 2);
    EXPECT_EQ(contents.settings, memberJson(good, QStringLiteral("settings.json")));
    EXPECT_EQ(contents.contacts, memberJson(good, QStringLiteral("contacts.json")));
    ASSERT_EQ(contents.mailFiles.size(), 2);
    const unsigned int ids[] = {first, second};
    for (qsizetype i = 0; i < 2; ++i) {
        const BackupMailFile& file = contents.mailFiles.at(i);
        const QByteArray stored = readFileBytes(mailFile(ids[i]));
        EXPECT_EQ(file.id, ids[i]);
        EXPECT_EQ(file.size, stored.size());
        EXPECT_EQ(file.sha256, sha256(stored));
        EXPECT_EQ(file.stagedPath, staging() + QStringLiteral("/%1.mms").arg(ids[i]));
        EXPECT_EQ(readFileBytes(file.stagedPath), stored);
        struct stat status {
        };
        ASSERT_EQ(::stat(QFile::encodeName(file.stagedPath).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);
    }
    EXPECT_EQ(tavmms_test::namesIn(staging()), (QStringList{QStringLiteral("%1.mms").arg(first),
                                                            QStringLiteral("%1.mms").arg(second)}));
}

TEST_F(BackupContentsTest, ReadingWithoutAStagingDirectoryHashesAndWritesNothing)
{
    makeBackup();
    const QStringList before = tavmms_test::namesIn(dir.path());

    const BackupContents contents = readBackup(backupPath());

    ASSERT_TRUE(contents.status.ok()) << contents.status.text.toStdString();
    ASSERT_EQ(contents.mailFiles.size(), 2);
    EXPECT_EQ(contents.mailFiles.at(1).id, second);
    EXPECT_EQ(contents.mailFiles.at(1).sha256, sha256(readFileBytes(mailFile(second))));
    EXPECT_TRUE(contents.mailFiles.at(1).stagedPath.isEmpty());
    EXPECT_EQ(tavmms_test::namesIn(dir.path()), before);
    EXPECT_TRUE(tavmms_test::namesIn(staging()).isEmpty());
}

// On a small file system of its own, filled up: the staging of the first mail file fails.
tavmms_test::ChildVerdict stageOnAFullDisk(const QString& backup, const QString& directory,
                                           unsigned int firstId)
{
    if (const std::string why = tavmms_test::fillASmallDisk(directory); !why.empty())
        return tavmms_test::ChildVerdict::skip(why);
    const BackupContents contents = readBackup(backup, directory);
    const QString expected =
        QStringLiteral("cannot write the mail file '%1/%2.mms': no space left on device")
            .arg(directory)
            .arg(firstId);
    if (contents.status.code != ErrorCode::NoSpace || contents.status.text != expected)
        return tavmms_test::ChildVerdict::fail("staging on a full disk gave " +
                                               contents.status.text.toStdString());
    return tavmms_test::ChildVerdict::pass();
}

TEST_F(BackupContentsTest, StagingOnAFullDiskFailsAsNoSpace)
{
    makeBackup();
    const QString directory = dir.filePath(QStringLiteral("full"));
    tavmms_test::ChildProcess child([&](tavmms_test::ChildProcess&) {
        return stageOnAFullDisk(backupPath(), directory, first);
    });
    EXPECT_CHILD_PASSES(child, std::chrono::seconds(60));
}

TEST_F(BackupContentsTest, AnUncompressedTarIsReadToo)
{
    makeBackup();
    writeArchive(damagedPath(), good, Compression::None);

    const BackupContents contents = readBackup(damagedPath());

    EXPECT_TRUE(contents.status.ok()) << contents.status.text.toStdString();
    EXPECT_EQ(contents.mailFiles.size(), 2);
}

TEST_F(BackupContentsTest, AFileThatIsMissingOrNoTarOrCutShortIsRefusedSayingSo)
{
    makeBackup();
    const QString missing = dir.filePath(QStringLiteral("missing.tar.zst"));
    EXPECT_TRUE(refusalOf(missing).startsWith(
        QStringLiteral("the backup '%1' cannot be read: ").arg(missing)));
    EXPECT_TRUE(refusalOf(missing).endsWith(QString::fromLocal8Bit(std::strerror(ENOENT))))
        << refusalOf(missing).toStdString();

    ASSERT_TRUE(tavmms_test::writeFileBytes(damagedPath(), "no archive at all\n"));
    EXPECT_TRUE(
        refusalOf(damagedPath())
            .startsWith(QStringLiteral("the backup '%1' cannot be read: ").arg(damagedPath())));

    const QByteArray whole = readFileBytes(backupPath());
    ASSERT_TRUE(tavmms_test::writeFileBytes(damagedPath(), whole.left(whole.size() / 2)));
    EXPECT_EQ(refusalOf(damagedPath()),
              QStringLiteral("the backup '%1' cannot be read: the compressed archive is cut short")
                  .arg(damagedPath()));
}

TEST_F(BackupContentsTest, AnEntryThatIsNoRegularFileIsRefusedByName)
{
    makeBackup();
    const Member others[] = {
        {QStringLiteral("messages/"), {}, Member::Directory, {}},
        {QStringLiteral("index.json"), {}, Member::SymbolicLink, QStringLiteral("/etc/passwd")},
        {QStringLiteral("messages/9.mms"), {}, Member::HardLink, QStringLiteral("index.json")}};
    for (const Member& other : others) {
        QList<Member> members = good;
        members.prepend(other);
        EXPECT_EQ(refusalOf(members),
                  damaged(QStringLiteral("member '%1' is not a regular file").arg(other.name)));
    }
    EXPECT_TRUE(tavmms_test::namesIn(staging()).isEmpty());
}

TEST_F(BackupContentsTest, ANameNoBackupHoldsIsRefusedAndNothingLandsOutsideTheStagingDirectory)
{
    makeBackup();
    const QStringList names{
        QStringLiteral("/tmp/1.mms"),        QStringLiteral("../1.mms"),
        QStringLiteral("messages/../1.mms"), QStringLiteral("messages/1.mms/x"),
        QStringLiteral("messages/01.mms"),   QStringLiteral("messages/+1.mms"),
        QStringLiteral("messages/0.mms"),    QStringLiteral("messages/4294967296.mms"),
        QStringLiteral("messages/1.MMS"),    QStringLiteral("messages/ 1.mms"),
        QStringLiteral("./index.json"),      QStringLiteral("notes.txt")};
    QStringList before = tavmms_test::namesIn(dir.path());
    before.append(QStringLiteral("damaged.tar.zst"));
    before.sort();
    for (const QString& name : names) {
        QList<Member> members = good;
        members.prepend({name, "data"});
        EXPECT_EQ(refusalOf(members),
                  damaged(QStringLiteral("member '%1' has a name no backup holds").arg(name)));
    }
    EXPECT_EQ(tavmms_test::namesIn(dir.path()), before);
    EXPECT_TRUE(tavmms_test::namesIn(staging()).isEmpty());
}

TEST_F(BackupContentsTest, TheLargestRowIdNamesAMailFile)
{
    makeBackup();
    QList<Member> members = good;
    memberNamed(members, QStringLiteral("messages/%1.mms").arg(first)).name =
        QStringLiteral("messages/4294967295.mms");
    Member& index = memberNamed(members, QStringLiteral("index.json"));
    QJsonObject object = QJsonDocument::fromJson(index.data).object();
    QJsonArray rows = object.value(QStringLiteral("rows")).toArray();
    QJsonObject row = rows.at(0).toObject();
    row.insert(QStringLiteral("id"), qint64(4294967295));
    rows.replace(0, row);
    object.insert(QStringLiteral("rows"), rows);
    index.data = jsonBytes(object);
    resum(members);
    writeArchive(damagedPath(), members);

    const BackupContents contents = readBackup(damagedPath(), staging());

    ASSERT_TRUE(contents.status.ok()) << contents.status.text.toStdString();
    EXPECT_EQ(contents.mailFiles.at(0).id, 4294967295u);
    EXPECT_EQ(readFileBytes(staging() + QStringLiteral("/4294967295.mms")),
              readFileBytes(mailFile(first)));
}

TEST_F(BackupContentsTest, AMemberRepeatedIsRefused)
{
    makeBackup();
    for (const QString& name :
         {QStringLiteral("index.json"), QStringLiteral("messages/%1.mms").arg(second)}) {
        QList<Member> members = good;
        members.insert(members.size() - 1, {name, memberData(good, name)});
        EXPECT_EQ(refusalOf(members),
                  damaged(QStringLiteral("member '%1' appears twice").arg(name)));
    }
}

TEST_F(BackupContentsTest, AHeaderClaimingTenGigabytesIsRefusedBeforeItsDataIsRead)
{
    const qint64 tenGigabytes = 10'000'000'000;
    for (const QString& name : {QStringLiteral("messages/1.mms"), QStringLiteral("index.json")}) {
        tavmms_test::writeArchiveHead(damagedPath(), name, tenGigabytes);
        ASSERT_LT(QFileInfo(damagedPath()).size(), 1024 * 1024);
        QElapsedTimer timer;
        timer.start();

        const QString refusal = refusalOf(damagedPath());

        EXPECT_LT(timer.elapsed(), 5000);
        const qint64 largest =
            name == QLatin1String("index.json") ? kLargestBackupJson : MessageStore::kLargestBody;
        EXPECT_EQ(refusal, damaged(QStringLiteral("member '%1' is larger than %2 bytes (%3 bytes)")
                                       .arg(name)
                                       .arg(largest)
                                       .arg(tenGigabytes)));
        EXPECT_TRUE(tavmms_test::namesIn(staging()).isEmpty());
    }
}

TEST_F(BackupContentsTest, AMailFileOverTheLargestBodyIsRefused)
{
    const QString name = QStringLiteral("messages/1.mms");
    writeArchive(damagedPath(), {{name, QByteArray(MessageStore::kLargestBody + 1, 'm')}});

    EXPECT_EQ(refusalOf(damagedPath()),
              damaged(QStringLiteral("member '%1' is larger than %2 bytes (%3 bytes)")
                          .arg(name)
                          .arg(MessageStore::kLargestBody)
                          .arg(MessageStore::kLargestBody + 1)));
    EXPECT_TRUE(tavmms_test::namesIn(staging()).isEmpty());
}

TEST_F(BackupContentsTest, AManifestMissingOrNotLastIsRefused)
{
    makeBackup();
    QList<Member> without = good;
    removeMember(without, QStringLiteral("manifest.json"));
    EXPECT_EQ(refusalOf(without), damaged(QStringLiteral("member 'manifest.json' is missing")));

    QList<Member> leading = good;
    leading.move(leading.size() - 1, 0);
    EXPECT_EQ(refusalOf(leading),
              damaged(QStringLiteral("member '%1' follows the manifest").arg(leading.at(1).name)));
}

TEST_F(BackupContentsTest, AManifestOfAnotherFormatIsRefused)
{
    makeBackup();
    QList<Member> newer = good;
    setInManifest(newer, QStringLiteral("format"), kBackupFormatVersion + 1);
    writeArchive(damagedPath(), newer);
    EXPECT_EQ(refusalOf(damagedPath()),
              QStringLiteral("the backup '%1' was made by a newer release (format %2)")
                  .arg(damagedPath())
                  .arg(kBackupFormatVersion + 1));

    for (const QJsonValue& format :
         {QJsonValue(0), QJsonValue(1.5), QJsonValue(QStringLiteral("1")),
          QJsonValue(QJsonValue::Null)}) {
        QList<Member> odd = good;
        setInManifest(odd, QStringLiteral("format"), format);
        EXPECT_EQ(refusalOf(odd), damaged(QStringLiteral("its manifest names no format")));
    }

    QList<Member> array = good;
    memberNamed(array, QStringLiteral("manifest.json")).data = "[1]";
    EXPECT_EQ(refusalOf(array),
              damaged(QStringLiteral("member 'manifest.json' is not a JSON object")));
}

TEST_F(BackupContentsTest, AMemberThatDoesNotMatchTheManifestIsRefused)
{
    makeBackup();
    const QString mail = QStringLiteral("messages/%1.mms").arg(second);
    for (const QString& name :
         {mail, QStringLiteral("index.json"), QStringLiteral("contacts.json")}) {
        QList<Member> flipped = good;
        QByteArray& data = memberNamed(flipped, name).data;
        data[data.size() / 2] = char(data.at(data.size() / 2) ^ 0x01);
        EXPECT_EQ(refusalOf(flipped),
                  damaged(QStringLiteral("member '%1' does not match its checksum").arg(name)));
    }

    QList<Member> longer = good;
    memberNamed(longer, mail).data.append('x');
    EXPECT_EQ(
        refusalOf(longer),
        damaged(QStringLiteral("member '%1' does not have the size the manifest gives").arg(mail)));

    QList<Member> unlisted = good;
    resum(unlisted);
    unlisted.insert(0, {QStringLiteral("messages/77.mms"), "more"});
    EXPECT_EQ(refusalOf(unlisted),
              damaged(QStringLiteral("member 'messages/77.mms' is not in the manifest")));

    QList<Member> missing = good;
    removeMember(missing, mail);
    EXPECT_EQ(refusalOf(missing), damaged(QStringLiteral("member '%1' is missing").arg(mail)));
}

TEST_F(BackupContentsTest, JsonMembersThatAreMissingOrNoObjectsAreRefused)
{
    makeBackup();
    for (const QString& name : {QStringLiteral("index.json"), QStringLiteral("settings.json"),
                                QStringLiteral("contacts.json")}) {
        QList<Member> missing = good;
        removeMember(missing, name);
        resum(missing);
        EXPECT_EQ(refusalOf(missing), damaged(QStringLiteral("member '%1' is missing").arg(name)));

        QList<Member> array = good;
        memberNamed(array, name).data = "[]";
        resum(array);
        EXPECT_EQ(refusalOf(array),
                  damaged(QStringLiteral("member '%1' is not a JSON object").arg(name)));
    }

    QList<Member> noRows = good;
    memberNamed(noRows, QStringLiteral("index.json")).data = "{\"rows\": {}}";
    resum(noRows);
    EXPECT_EQ(refusalOf(noRows), damaged(QStringLiteral("member 'index.json' holds no rows")));
}

// The index with its rows changed by `change`, and the manifest summing it again.
QList<Member> withRows(QList<Member> members, const std::function<void(QJsonArray&)>& change)
{
    Member& index = memberNamed(members, QStringLiteral("index.json"));
    QJsonObject object = QJsonDocument::fromJson(index.data).object();
    QJsonArray rows = object.value(QStringLiteral("rows")).toArray();
    change(rows);
    object.insert(QStringLiteral("rows"), rows);
    index.data = jsonBytes(object);
    resum(members);
    return members;
}

TEST_F(BackupContentsTest, RowsAndMailFilesThatDoNotMatchAreRefused)
{
    makeBackup();
    const QString mail = QStringLiteral("messages/%1.mms").arg(second);

    QList<Member> withoutFile = good;
    removeMember(withoutFile, mail);
    resum(withoutFile);
    EXPECT_EQ(refusalOf(withoutFile), damaged(QStringLiteral("member '%1' is missing").arg(mail)));

    const QList<Member> withoutRow = withRows(good, [](QJsonArray& rows) { rows.removeLast(); });
    EXPECT_EQ(
        refusalOf(withoutRow),
        damaged(QStringLiteral("member '%1' has no row in the index that names it").arg(mail)));

    const QList<Member> saysNoFile = withRows(good, [](QJsonArray& rows) {
        QJsonObject row = rows.last().toObject();
        row.insert(QStringLiteral("mailFile"), false);
        rows.replace(rows.size() - 1, row);
    });
    EXPECT_EQ(
        refusalOf(saysNoFile),
        damaged(QStringLiteral("member '%1' has no row in the index that names it").arg(mail)));

    const QList<Member> twice = withRows(good, [](QJsonArray& rows) { rows.append(rows.first()); });
    EXPECT_EQ(refusalOf(twice),
              damaged(QStringLiteral("member 'index.json' holds the row %1 twice").arg(first)));

    const QList<Member> noId = withRows(good, [](QJsonArray& rows) {
        QJsonObject row = rows.first().toObject();
        row.insert(QStringLiteral("id"), -1);
        rows.replace(0, row);
    });
    EXPECT_EQ(refusalOf(noId),
              damaged(QStringLiteral(
                  "member 'index.json' holds a row without an id, mailFile or fields (at 0)")));
}

TEST_F(BackupContentsTest, CountsThatDisagreeWithTheArchiveAreRefused)
{
    makeBackup();
    const QJsonObject counts = memberJson(good, QStringLiteral("manifest.json"))
                                   .value(QStringLiteral("counts"))
                                   .toObject();
    for (const QString& name : {QStringLiteral("rows"), QStringLiteral("mailFiles")}) {
        QJsonObject wrong = counts;
        wrong.insert(name, 3);
        QList<Member> members = good;
        setInManifest(members, QStringLiteral("counts"), wrong);
        EXPECT_EQ(
            refusalOf(members),
            damaged(QStringLiteral("its manifest counts 3 %1, the archive holds 2").arg(name)));
    }
}

TEST_F(BackupContentsTest, AManifestWithoutItsLibraryDateFilterOrCountsIsRefused)
{
    makeBackup();
    for (const QString& key : {QStringLiteral("library"), QStringLiteral("created"),
                               QStringLiteral("filter"), QStringLiteral("counts")}) {
        QList<Member> members = good;
        setInManifest(members, key, QJsonValue(QJsonValue::Null));
        EXPECT_EQ(refusalOf(members),
                  damaged(QStringLiteral("its manifest lacks its library, date, filter or counts")))
            << key.toStdString();
    }
}

// The tar a zstd file decodes to; empty when zstd refuses it or it holds no whole frame.
QByteArray decoded(const QByteArray& compressed)
{
    QByteArray tar;
    const std::unique_ptr<ZSTD_DCtx, size_t (*)(ZSTD_DCtx*)> context(ZSTD_createDCtx(),
                                                                     ZSTD_freeDCtx);
    QByteArray block(qsizetype(ZSTD_DStreamOutSize()), Qt::Uninitialized);
    ZSTD_inBuffer input{compressed.constData(), size_t(compressed.size()), 0};
    size_t left = 1;
    while (input.pos < input.size) {
        ZSTD_outBuffer output{block.data(), size_t(block.size()), 0};
        left = ZSTD_decompressStream(context.get(), &output, &input);
        if (ZSTD_isError(left))
            return QByteArray();
        tar.append(block.constData(), qsizetype(output.pos));
    }
    return left == 0 ? tar : QByteArray();
}

// The zstd frame carries a checksum of the whole tar, the manifest's own words and the tar's
// padding among it, and is read to its very end: a flipped byte is refused wherever it changes a
// byte of the tar. zstd's format has a few bits that change nothing when flipped (a match copied
// from a run of zeros at another offset of the same run, say): those are all that may go through.
TEST_F(BackupContentsTest, EveryByteFlippedInTheCompressedFileIsRefusedUnlessTheTarStaysTheSame)
{
    makeBackup();
    ASSERT_TRUE(readBackup(backupPath()).status.ok());
    const QByteArray whole = readFileBytes(backupPath());
    const QByteArray tar = decoded(whole);
    ASSERT_FALSE(tar.isEmpty());
    qsizetype refused = 0;
    for (qsizetype i = 0; i < whole.size(); ++i) {
        QByteArray flipped = whole;
        flipped[i] = char(flipped.at(i) ^ 0x10);
        ASSERT_TRUE(tavmms_test::writeFileBytes(damagedPath(), flipped));
        const BackupContents contents = readBackup(damagedPath());
        if (contents.status.ok()) {
            EXPECT_EQ(decoded(flipped), tar) << "byte " << i << " of " << whole.size();
            continue;
        }
        EXPECT_EQ(contents.status.code, ErrorCode::Invalid) << contents.status.text.toStdString();
        ++refused;
    }
    EXPECT_GT(refused, whole.size() * 99 / 100);
}

TEST_F(BackupContentsTest, AChecksumThatDoesNotMatchIsRefusedInZstdsWords)
{
    makeBackup();
    QByteArray whole = readFileBytes(backupPath());
    // The frame ends with its checksum: four bytes.
    whole[whole.size() - 1] = char(whole.at(whole.size() - 1) ^ 0x01);
    ASSERT_TRUE(tavmms_test::writeFileBytes(damagedPath(), whole));
    EXPECT_EQ(
        refusalOf(damagedPath()),
        QStringLiteral("the backup '%1' cannot be read: the compressed archive is damaged: %2")
            .arg(damagedPath(), QLatin1String(ZSTD_getErrorString(ZSTD_error_checksum_wrong))));
}

// `tar` in one zstd frame with a window of 2^windowLog bytes, written as a stream of a size not
// known ahead, as the library's writer writes it.
QByteArray compressed(const QByteArray& tar, int windowLog)
{
    const std::unique_ptr<ZSTD_CCtx, size_t (*)(ZSTD_CCtx*)> context(ZSTD_createCCtx(),
                                                                     ZSTD_freeCCtx);
    EXPECT_FALSE(ZSTD_isError(ZSTD_CCtx_setParameter(context.get(), ZSTD_c_windowLog, windowLog)));
    QByteArray frame;
    QByteArray block(qsizetype(ZSTD_CStreamOutSize()), Qt::Uninitialized);
    ZSTD_inBuffer input{tar.constData(), size_t(tar.size()), 0};
    for (const ZSTD_EndDirective directive : {ZSTD_e_continue, ZSTD_e_end}) {
        size_t left = 0;
        do {
            ZSTD_outBuffer output{block.data(), size_t(block.size()), 0};
            left = ZSTD_compressStream2(context.get(), &output, &input, directive);
            EXPECT_FALSE(ZSTD_isError(left));
            frame.append(block.constData(), qsizetype(output.pos));
        } while (directive == ZSTD_e_end ? left != 0 && !ZSTD_isError(left)
                                         : input.pos < input.size);
    }
    return frame;
}

// A backup recompressed with a larger window than the writer's reads, up to the largest the
// reader allocates; a larger one is refused before it is allocated.
TEST_F(BackupContentsTest, AFrameWithAWindowOverTheLargestIsRefused)
{
    makeBackup();
    const QByteArray tar = decoded(readFileBytes(backupPath()));
    for (const int windowLog : {kArchiveWindowLog, kLargestArchiveWindowLog}) {
        ASSERT_TRUE(tavmms_test::writeFileBytes(damagedPath(), compressed(tar, windowLog)));
        EXPECT_TRUE(readBackup(damagedPath()).status.ok()) << windowLog;
    }

    ASSERT_TRUE(
        tavmms_test::writeFileBytes(damagedPath(), compressed(tar, kLargestArchiveWindowLog + 1)));
    EXPECT_EQ(
        refusalOf(damagedPath()),
        QStringLiteral("the backup '%1' cannot be read: the compressed archive is damaged: %2")
            .arg(damagedPath(),
                 QLatin1String(ZSTD_getErrorString(ZSTD_error_frameParameter_windowTooLarge))));
}

TEST_F(BackupContentsTest, DataAfterTheCompressedArchiveIsRefused)
{
    makeBackup();
    const QByteArray whole = readFileBytes(backupPath());
    // A zero byte, words, and the same backup again: a second frame is no part of a backup.
    for (const QByteArray& after : {QByteArray(1, '\0'), QByteArray("trailing words"), whole}) {
        ASSERT_TRUE(tavmms_test::writeFileBytes(damagedPath(), whole + after));
        EXPECT_EQ(refusalOf(damagedPath()),
                  QStringLiteral("the backup '%1' cannot be read: data after the end of the "
                                 "compressed archive")
                      .arg(damagedPath()))
            << after.size() << " bytes after the frame";
    }
}

} // namespace
