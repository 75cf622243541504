// How the store writes a new mail file: the bytes MMS_UTIL_MailFile writes, never in place of a
// file that is there, synced file then directory; and the three ways of renaming without
// replacing.

#include "mail_file_io.h"
#include "mail_file_reader.h"

#include "filesync.h"
#include "mms_util_mailfile.h"

#include "support/mailfile_helpers.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <vector>

namespace
{

using tavmms::store::ErrorCode;
using tavmms_test::readFileBytes;
using tavmms_test::writeFileBytes;

// The syncs a save makes, and which of them fails.
std::vector<int> syncedDescriptors;
int failingSync = 0; // 1-based; 0: none fails
int failingErrno = EIO;

int recordingSync(int fd)
{
    syncedDescriptors.push_back(fd);
    if (int(syncedDescriptors.size()) == failingSync) {
        errno = failingErrno;
        return -1;
    }
    return 0;
}

class MailFileIoTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        syncedDescriptors.clear();
        failingSync = 0;
        failingErrno = EIO;
        previous = tavmms::setSyncFunction(&recordingSync);
    }
    void TearDown() override { tavmms::setSyncFunction(previous); }

    QString path(const char* name) const { return dir.filePath(QLatin1String(name)); }
    QStringList names() const { return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir dir;
    tavmms::SyncFunction previous = nullptr;
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();
    const QByteArray body = tavmms_test::patternBytes(3000);
};

TEST_F(MailFileIoTest, SaveWritesTheBytesTheMailFileClassWrites)
{
    MMS_UTIL_MailFile legacy(path("legacy.mms"));
    QByteArray bytes = body;
    ASSERT_EQ(legacy.writeMailFile(reinterpret_cast<unsigned char*>(bytes.data()),
                                   uint(bytes.size()), header.get()),
              MMS_UTIL_MAILFILE_OK);

    const tavmms::store::Status status =
        tavmms::store::saveNewMailFile(path("new.mms"), *header, body);

    ASSERT_TRUE(status.ok()) << status.text.toStdString();
    EXPECT_EQ(readFileBytes(path("new.mms")), readFileBytes(path("legacy.mms")));
    EXPECT_EQ(readFileBytes(path("new.mms")), tavmms_test::recordBytes(16 + 3000, 0, 16, 3000) +
                                                  body + tavmms_test::headerBlockOf(*header));
}

TEST_F(MailFileIoTest, SaveOfAnEmptyBodyWritesTheRecordAndTheHeaderBlock)
{
    MMS_UTIL_MsgHeaderBase empty;

    ASSERT_TRUE(tavmms::store::saveNewMailFile(path("1.mms"), empty, QByteArray()).ok());

    EXPECT_EQ(readFileBytes(path("1.mms")),
              tavmms_test::recordBytes(16, 0, 16, 0) + tavmms_test::kDefaultHeaderBlock);
}

TEST_F(MailFileIoTest, SaveSyncsTheNewFileThenItsDirectoryAndLeavesNoLeftover)
{
    ASSERT_TRUE(tavmms::store::saveNewMailFile(path("1.mms"), *header, body).ok());

    EXPECT_EQ(syncedDescriptors.size(), 2u);
    EXPECT_EQ(names(), QStringList{QStringLiteral("1.mms")});
}

TEST_F(MailFileIoTest, SaveNeverReplacesAFileThatIsThere)
{
    ASSERT_TRUE(writeFileBytes(path("1.mms"), "another message"));

    const tavmms::store::Status status =
        tavmms::store::saveNewMailFile(path("1.mms"), *header, body);

    EXPECT_EQ(status.code, ErrorCode::Exists);
    EXPECT_EQ(status.text,
              QStringLiteral("cannot write the mail file '%1': File exists").arg(path("1.mms")));
    EXPECT_EQ(readFileBytes(path("1.mms")), "another message");
    EXPECT_EQ(names(), QStringList{QStringLiteral("1.mms")});
}

TEST_F(MailFileIoTest, SaveLeavesTheLeftoverOfAnotherSaveAlone)
{
    ASSERT_TRUE(writeFileBytes(path("1.mms.tmp"), "half a message"));

    const tavmms::store::Status status =
        tavmms::store::saveNewMailFile(path("1.mms"), *header, body);

    EXPECT_EQ(status.code, ErrorCode::Exists);
    EXPECT_EQ(readFileBytes(path("1.mms.tmp")), "half a message");
    EXPECT_EQ(names(), QStringList{QStringLiteral("1.mms.tmp")});
}

TEST_F(MailFileIoTest, SaveWhoseFileSyncFailsLeavesNothing)
{
    failingSync = 1;
    failingErrno = ENOSPC;

    const tavmms::store::Status status =
        tavmms::store::saveNewMailFile(path("1.mms"), *header, body);

    EXPECT_EQ(status.code, ErrorCode::NoSpace);
    EXPECT_EQ(status.text,
              QStringLiteral("cannot write the mail file '%1': no space left on device")
                  .arg(path("1.mms")));
    EXPECT_EQ(names(), QStringList());
}

TEST_F(MailFileIoTest, SaveWhoseDirectorySyncFailsLeavesNothing)
{
    failingSync = 2;

    const tavmms::store::Status status =
        tavmms::store::saveNewMailFile(path("1.mms"), *header, body);

    EXPECT_EQ(status.code, ErrorCode::Failed);
    EXPECT_TRUE(status.text.endsWith(QString::fromLocal8Bit(std::strerror(EIO))))
        << status.text.toStdString();
    EXPECT_EQ(names(), QStringList());
}

TEST_F(MailFileIoTest, SaveIntoADirectoryThatIsNotThereFailsAndSaysWhy)
{
    const tavmms::store::Status status =
        tavmms::store::saveNewMailFile(path("missing/1.mms"), *header, body);

    EXPECT_EQ(status.code, ErrorCode::Failed);
    EXPECT_EQ(status.text, QStringLiteral("cannot write the mail file '%1': No such file or "
                                          "directory")
                               .arg(path("missing/1.mms")));
}

using RenameFunction = int (*)(const QByteArray&, const QByteArray&);

class RenameWithoutReplacingTest : public ::testing::TestWithParam<RenameFunction>
{
protected:
    QByteArray path(const char* name) const
    {
        return QFile::encodeName(dir.filePath(QLatin1String(name)));
    }
    QTemporaryDir dir;
};

TEST_P(RenameWithoutReplacingTest, MovesAFileToANameThatIsFree)
{
    ASSERT_TRUE(writeFileBytes(QFile::decodeName(path("a")), "message"));

    EXPECT_EQ(GetParam()(path("a"), path("b")), 0);

    EXPECT_FALSE(QFile::exists(QFile::decodeName(path("a"))));
    EXPECT_EQ(readFileBytes(QFile::decodeName(path("b"))), "message");
}

TEST_P(RenameWithoutReplacingTest, RefusesANameThatIsTakenAndKeepsBothFiles)
{
    ASSERT_TRUE(writeFileBytes(QFile::decodeName(path("a")), "new"));
    ASSERT_TRUE(writeFileBytes(QFile::decodeName(path("b")), "kept"));

    errno = 0;
    EXPECT_EQ(GetParam()(path("a"), path("b")), -1);

    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(readFileBytes(QFile::decodeName(path("a"))), "new");
    EXPECT_EQ(readFileBytes(QFile::decodeName(path("b"))), "kept");
}

TEST_P(RenameWithoutReplacingTest, FailsForASourceThatIsNotThere)
{
    errno = 0;
    EXPECT_EQ(GetParam()(path("a"), path("b")), -1);

    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(QFile::exists(QFile::decodeName(path("b"))));
}

INSTANTIATE_TEST_SUITE_P(EachWay, RenameWithoutReplacingTest,
                         ::testing::Values(&tavmms::store::renameWithoutReplacing,
                                           &tavmms::store::linkWithoutReplacing,
                                           &tavmms::store::placeholderWithoutReplacing));

TEST(ReadBackDifferenceTest, NamesTheFirstLineThatWouldReadBackOtherwise)
{
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();
    EXPECT_EQ(tavmms::store::readBackDifference(tavmms::store::headerBlock(*header)), QString());

    // A subject line that begins with a key is read back as that key's line.
    header->subject = QStringLiteral("Plans\nTo: everyone");
    EXPECT_EQ(tavmms::store::readBackDifference(tavmms::store::headerBlock(*header)),
              QStringLiteral("To:"));

    // A name the entry text form cannot carry.
    header = tavmms_test::sampleHeader();
    MMS_UTIL_Entry doe;
    doe.name = QStringLiteral("Doe, Jane");
    doe.type = MMS_UTIL_ADDR_PLMN;
    doe.address = QStringLiteral("+15550123");
    header->addCcRecipient(doe);
    EXPECT_EQ(tavmms::store::readBackDifference(tavmms::store::headerBlock(*header)),
              QStringLiteral("CC:"));
}

TEST(HeaderBlockTest, IsTheBlockAMailFileHolds)
{
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();
    EXPECT_EQ(tavmms::store::headerBlock(*header), QByteArray(tavmms_test::kSampleHeaderBlock));
}

TEST(LoadMailFileTest, SaysWhyAFileDoesNotLoad)
{
    QTemporaryDir dir;
    QString error;
    const QString missing = dir.filePath(QStringLiteral("1.mms"));
    EXPECT_FALSE(tavmms::store::loadMailFile(missing, &error));
    EXPECT_EQ(error, QStringLiteral("no such file '%1'").arg(missing));

    EXPECT_FALSE(tavmms::store::loadMailFile(dir.path(), &error));
    EXPECT_EQ(error, QStringLiteral("'%1' is a directory").arg(dir.path()));

    const QString shortFile = dir.filePath(QStringLiteral("2.mms"));
    ASSERT_TRUE(writeFileBytes(shortFile, "0123456789"));
    EXPECT_FALSE(tavmms::store::loadMailFile(shortFile, &error));
    EXPECT_EQ(
        error,
        QStringLiteral("'%1' is not a mail file (shorter than its 16-byte record)").arg(shortFile));

    const QString unfit = dir.filePath(QStringLiteral("3.mms"));
    ASSERT_TRUE(writeFileBytes(unfit, tavmms_test::recordBytes(16, 0, 16, 900) + "body"));
    EXPECT_FALSE(tavmms::store::loadMailFile(unfit, &error));
    EXPECT_EQ(
        error,
        QStringLiteral("'%1' is not a mail file (its record does not fit the file)").arg(unfit));
}

TEST(LoadMailFileTest, HandsOutTheHeaderAndTheBody)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("1.mms"));
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();
    const QByteArray body = tavmms_test::patternBytes(100);
    ASSERT_TRUE(tavmms::store::saveNewMailFile(path, *header, body).ok());

    QString error;
    const std::optional<tavmms::store::LoadedMailFile> loaded =
        tavmms::store::loadMailFile(path, &error);

    ASSERT_TRUE(loaded) << error.toStdString();
    EXPECT_EQ(QByteArray(reinterpret_cast<const char*>(loaded->body.get()),
                         qsizetype(loaded->bodyLength)),
              body);
    EXPECT_EQ(loaded->header->subject, header->subject);
    EXPECT_EQ(loaded->record.bodyLength, 100u);
    EXPECT_EQ(loaded->record.headerTextOffset, 116u);
}

TEST(ReadHeaderBlockTest, ReadsEachBlockOnItsOwnAsTheLibraryReadsItAfterABody)
{
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> full = tavmms_test::sampleHeader();
    const QByteArray block = tavmms::store::headerBlock(*full);
    // A block without its Subject line, read after one with it, has no subject.
    const qsizetype subject = block.indexOf("Subject:");
    const QByteArray withoutSubject =
        block.left(subject) + block.mid(block.indexOf("\nSend_Date:", subject) + 1);

    MMS_UTIL_MsgHeaderBase first;
    MMS_UTIL_MsgHeaderBase second;
    tavmms::store::readHeaderBlock(block, &first);
    tavmms::store::readHeaderBlock(withoutSubject, &second);

    EXPECT_EQ(first.subject, full->subject);
    EXPECT_EQ(tavmms::store::headerBlock(first), block);
    EXPECT_TRUE(second.subject.isEmpty()) << second.subject.toStdString();
    EXPECT_EQ(second.messageId, full->messageId);
}

TEST(RecordOfTest, ReadsTheFourWordsBigEndian)
{
    const QByteArray bytes = tavmms_test::recordBytes(116, 0, 16, 100);
    const MMS_UTIL_MAILFILE_HEADER_T record =
        tavmms::store::recordOf(reinterpret_cast<const unsigned char*>(bytes.constData()));
    EXPECT_EQ(record.headerTextOffset, 116u);
    EXPECT_EQ(record.reserved, 0u);
    EXPECT_EQ(record.bodyOffset, 16u);
    EXPECT_EQ(record.bodyLength, 100u);
}

} // namespace
