// The mail file container: the 16-byte record, the body and the header text block on disk, the
// readers, the writers and how they fail.

#include "filesync.h"
#include "mms_util_mailfile.h"
#include "support/mailfile_helpers.h"
#include "support/model_helpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace tavmms_test;

// Array allocations are watched, so that the readers can be shown never to ask for more memory
// than the file holds, and can be made to fail as on a device out of memory; otherwise they pass
// straight through to malloc and free.
namespace
{

bool watchingArrays = false;
std::size_t largestArray = 0;
std::size_t failingArraysFrom = SIZE_MAX;

void* allocateArray(std::size_t size) noexcept
{
    if (watchingArrays && size > largestArray)
        largestArray = size;
    if (watchingArrays && size >= failingArraysFrom)
        return nullptr;
    return std::malloc(size ? size : 1);
}

} // namespace

void* operator new[](std::size_t size)
{
    if (void* memory = allocateArray(size))
        return memory;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocateArray(size);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}

namespace
{

class ArrayAllocationWatch
{
public:
    ArrayAllocationWatch()
    {
        largestArray = 0;
        watchingArrays = true;
    }
    ~ArrayAllocationWatch()
    {
        watchingArrays = false;
        failingArraysFrom = SIZE_MAX;
    }
    std::size_t largest() const { return largestArray; }
    void failFrom(std::size_t size) { failingArraysFrom = size; }
};

unsigned char* bytesOf(QByteArray& bytes)
{
    return reinterpret_cast<unsigned char*>(bytes.data());
}

// The file that writeMailFile makes of `body` and `header`.
QByteArray expectedFile(const QByteArray& body, MMS_UTIL_MsgHeaderBase& header)
{
    const quint32 n = quint32(body.size());
    return recordBytes(n + 16, 0, 16, n) + body + headerBlockOf(header);
}

// Overwrites the record word at `index` (0 to 3) of the file at `path`.
bool patchWord(const QString& path, int index, quint32 value)
{
    QByteArray bytes = readFileBytes(path);
    bytes.replace(index * 4, 4, recordBytes(value, 0, 0, 0).left(4));
    return writeFileBytes(path, bytes);
}

struct FileIdentity {
    dev_t device;
    ino_t inode;
    bool isDirectory;
    bool operator==(const FileIdentity& other) const
    {
        return device == other.device && inode == other.inode && isDirectory == other.isDirectory;
    }
};

FileIdentity identityOf(const struct stat& info)
{
    return {info.st_dev, info.st_ino, S_ISDIR(info.st_mode)};
}

FileIdentity identityOf(const QString& path)
{
    struct stat info = {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return identityOf(info);
}

// Stands in for fsync while it lives: records what each call flushes and fails the call numbered
// `failAt` (from 1) with `error`.
class SyncRecorder
{
public:
    explicit SyncRecorder(int failAt = 0, int error = 0)
    {
        calls().clear();
        failAt_ = failAt;
        error_ = error;
        previous_ = tavmms::setSyncFunction(&SyncRecorder::sync);
    }
    ~SyncRecorder() { tavmms::setSyncFunction(previous_); }

    static std::vector<FileIdentity>& calls()
    {
        static std::vector<FileIdentity> recorded;
        return recorded;
    }

private:
    static int sync(int fd)
    {
        struct stat info = {};
        ::fstat(fd, &info);
        calls().push_back(identityOf(info));
        if (int(calls().size()) == failAt_) {
            errno = error_;
            return -1;
        }
        return 0;
    }

    static inline int failAt_ = 0;
    static inline int error_ = 0;
    tavmms::SyncFunction previous_;
};

// What loadMailFile made, owned by the test.
struct Loaded {
    int result = -1;
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header;
    std::unique_ptr<unsigned char[]> body;
    unsigned int bodyLength = 0;

    QByteArray bodyBytes() const
    {
        return QByteArray(reinterpret_cast<const char*>(body.get()), qsizetype(bodyLength));
    }
};

Loaded load(MMS_UTIL_MailFile& mailFile)
{
    Loaded loaded;
    loaded.result = mailFile.loadMailFile();
    loaded.header.reset(std::exchange(mailFile.header, nullptr));
    loaded.body.reset(std::exchange(mailFile.body, nullptr));
    loaded.bodyLength = mailFile.bodyLength;
    return loaded;
}

// What readMultipartBody handed out; `handedOut` is false while the caller's pointer is untouched.
struct ReadBody {
    int result = -1;
    unsigned int len = 0;
    bool handedOut = false;
    QByteArray bytes;
};

ReadBody readBody(MMS_UTIL_MailFile& mailFile)
{
    unsigned char untouched = 0;
    unsigned char* buf = &untouched;
    ReadBody read;
    read.len = 0xDEADBEEF;
    read.result = mailFile.readMultipartBody(&buf, &read.len);
    read.handedOut = buf != &untouched;
    if (read.handedOut) {
        read.bytes = QByteArray(reinterpret_cast<const char*>(buf), qsizetype(read.len));
        delete[] buf;
    }
    return read;
}

class MailFileTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QString path(const char* name = "1.mms") const { return dir.filePath(QString::fromUtf8(name)); }

    // Writes `body` and `header` to `file` with a fresh object.
    static int write(const QString& file, QByteArray body, MMS_UTIL_MsgHeaderBase& header)
    {
        MMS_UTIL_MailFile mailFile(file);
        return mailFile.writeMailFile(bytesOf(body), uint(body.size()), &header);
    }

    // Writes the sample header with `body` to `file` and returns the file's bytes.
    QByteArray writeSample(const QString& file, const QByteArray& body)
    {
        EXPECT_EQ(write(file, body, *sample), 0);
        return readFileBytes(file);
    }

    QStringList entries() const
    {
        return QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    }

    QTemporaryDir dir;
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> sample = sampleHeader();
    const QByteArray smallBody = patternBytes(37);
};

// --- layout and round trips ---

TEST_F(MailFileTest, WriteMailFileLaysOutRecordBodyAndHeaderBlock)
{
    MMS_UTIL_MsgHeaderBase header;
    QByteArray body = "BODY\0BYTES\n";
    body.append('\0');
    ASSERT_EQ(write(path(), body, header), 0);
    const QByteArray file = readFileBytes(path());
    EXPECT_EQ(file.left(16), recordBytes(quint32(body.size()) + 16, 0, 16, quint32(body.size())));
    EXPECT_EQ(file.mid(16, body.size()), body);
    EXPECT_EQ(file.mid(16 + body.size()), QByteArray(kDefaultHeaderBlock));
}

TEST_F(MailFileTest, WriteMailFileLeavesOnlyTheMailFile)
{
    writeSample(path(), smallBody);
    EXPECT_EQ(entries(), QStringList{QStringLiteral("1.mms")});
}

TEST_F(MailFileTest, SampleHeaderAndBodyRoundTrip)
{
    EXPECT_EQ(writeSample(path(), smallBody), expectedFile(smallBody, *sample));
    MMS_UTIL_MailFile reader(path());
    const Loaded loaded = load(reader);
    ASSERT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.bodyBytes(), smallBody);
    EXPECT_EQ(loaded.header->subject, sample->subject);
    EXPECT_EQ(loaded.header->from.name, sample->from.name);
    EXPECT_EQ(loaded.header->toList.at(1)->name, QString::fromUtf8("Bob Ü"));
    EXPECT_EQ(headerBlockOf(*loaded.header), QByteArray(kSampleHeaderBlock));

    const ReadBody read = readBody(reader);
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.bytes, smallBody);

    MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(MMS_UTIL_MailFile(path()).readMsgHeader(&header), 0);
    EXPECT_EQ(headerBlockOf(header), QByteArray(kSampleHeaderBlock));
}

TEST_F(MailFileTest, LargeBodyRoundTrips)
{
    const QByteArray body = patternBytes(600 * 1024, 7);
    EXPECT_EQ(writeSample(path(), body), expectedFile(body, *sample));
    MMS_UTIL_MailFile reader(path());
    const Loaded loaded = load(reader);
    ASSERT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.bodyBytes(), body);
    EXPECT_EQ(loaded.header->messageSize, sample->messageSize);
    EXPECT_EQ(readBody(reader).bytes, body);
}

TEST_F(MailFileTest, NonAsciiFileNameRoundTrips)
{
    const QString name = path("Nachricht-ü-日本.mms");
    writeSample(name, smallBody);
    MMS_UTIL_MailFile reader(name);
    const Loaded loaded = load(reader);
    ASSERT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.bodyBytes(), smallBody);
    EXPECT_EQ(entries(), QStringList{QString::fromUtf8("Nachricht-ü-日本.mms")});
}

TEST_F(MailFileTest, EmptyBodyIsWrittenButNotReadBackAsABody)
{
    EXPECT_EQ(writeSample(path(), QByteArray()), expectedFile(QByteArray(), *sample));
    EXPECT_EQ(readFileBytes(path()).left(16), recordBytes(16, 0, 16, 0));
    MMS_UTIL_MailFile reader(path());
    const ReadBody read = readBody(reader);
    EXPECT_EQ(read.result, 1);
    EXPECT_EQ(read.len, 0u);
    EXPECT_FALSE(read.handedOut);

    const Loaded loaded = load(reader);
    ASSERT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.bodyLength, 0u);
    EXPECT_EQ(headerBlockOf(*loaded.header), QByteArray(kSampleHeaderBlock));
}

TEST_F(MailFileTest, WriteMailFileReplacesAnEarlierFile)
{
    writeSample(path(), patternBytes(5000, 3));
    MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(write(path(), smallBody, header), 0);
    EXPECT_EQ(readFileBytes(path()), expectedFile(smallBody, header));
}

TEST_F(MailFileTest, WriteMailFileLeavesMembersPointingAtTheCallersData)
{
    MMS_UTIL_MailFile mailFile(path());
    QByteArray body = smallBody;
    ASSERT_EQ(mailFile.writeMailFile(bytesOf(body), uint(body.size()), sample.get()), 0);
    EXPECT_EQ(mailFile.header, sample.get());
    EXPECT_EQ(mailFile.body, bytesOf(body));
    EXPECT_EQ(mailFile.bodyLength, uint(body.size()));
}

TEST_F(MailFileTest, WriteMailFileRejectsALengthWithoutBodyBytes)
{
    MMS_UTIL_MailFile mailFile(path());
    EXPECT_EQ(mailFile.writeMailFile(nullptr, 10, sample.get()), 1);
    EXPECT_TRUE(entries().isEmpty());
}

TEST_F(MailFileTest, ConstructorAndDestructorLeaveTheFileAndLoadedObjectsAlone)
{
    writeSample(path(), smallBody);
    MMS_UTIL_MsgHeaderBase* header = nullptr;
    unsigned char* body = nullptr;
    {
        MMS_UTIL_MailFile mailFile(path());
        EXPECT_EQ(mailFile.header, nullptr);
        EXPECT_EQ(mailFile.body, nullptr);
        EXPECT_EQ(mailFile.bodyLength, 0u);
        ASSERT_EQ(mailFile.loadMailFile(), 0);
        header = mailFile.header;
        body = mailFile.body;
    }
    // Still the caller's after the object is gone (the sanitizer build checks the accesses).
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> ownedHeader(header);
    const std::unique_ptr<unsigned char[]> ownedBody(body);
    EXPECT_EQ(ownedHeader->subject, sample->subject);
    EXPECT_EQ(QByteArray(reinterpret_cast<const char*>(body), smallBody.size()), smallBody);

    MMS_UTIL_MailFile untouched(path("never.mms"));
    EXPECT_FALSE(QFile::exists(path("never.mms")));
}

TEST_F(MailFileTest, HeaderBlockIsDecodedAndCutIntoLinesAsATextStreamReadsIt)
{
    // A byte order mark first, lines ended by CR LF, a CR kept inside a line, and a subject whose
    // last line ends in a CR and a sequence cut short: both are dropped at the very end.
    const QByteArray block = "\xEF\xBB\xBF\r\nMessage_ID: id\rstill\r\nExpiry: 7\r\nSubject: s\r\n"
                             "\xC3\xA4 more\r\n\r\nlast\r\xC3";
    ASSERT_TRUE(writeFileBytes(path(), recordBytes(16 + 37, 0, 16, 37) + smallBody + block));
    const QByteArray streamed = headerBlockOf(*headerFromBlock(block));

    MMS_UTIL_MsgHeaderBase header;
    ASSERT_EQ(MMS_UTIL_MailFile(path()).readMsgHeader(&header), 0);
    EXPECT_EQ(headerBlockOf(header), streamed);
    EXPECT_EQ(header.messageId, QStringLiteral("id\rstill"));
    EXPECT_EQ(header.expiry, 7u);
    EXPECT_EQ(header.subject, QString::fromUtf8("s\n\xC3\xA4 more\n\nlast"));

    MMS_UTIL_MailFile loader(path());
    const Loaded loaded = load(loader);
    ASSERT_EQ(loaded.result, 0);
    EXPECT_EQ(headerBlockOf(*loaded.header), streamed);
}

// --- readMailFileHeader ---

TEST_F(MailFileTest, ReadMailFileHeaderReturnsTheStoredWordsUnchecked)
{
    ASSERT_TRUE(writeFileBytes(path(), recordBytes(0xFFFFFFFF, 0x01020304, 7, 0x80000000)));
    const MMS_UTIL_MAILFILE_HEADER_T record = MMS_UTIL_MailFile(path()).readMailFileHeader();
    EXPECT_EQ(record.headerTextOffset, 0xFFFFFFFFu);
    EXPECT_EQ(record.reserved, 0x01020304u);
    EXPECT_EQ(record.bodyOffset, 7u);
    EXPECT_EQ(record.bodyLength, 0x80000000u);
}

TEST_F(MailFileTest, ReadMailFileHeaderOfAWrittenFile)
{
    writeSample(path(), smallBody);
    const MMS_UTIL_MAILFILE_HEADER_T record = MMS_UTIL_MailFile(path()).readMailFileHeader();
    EXPECT_EQ(record.headerTextOffset, 16u + smallBody.size());
    EXPECT_EQ(record.reserved, 0u);
    EXPECT_EQ(record.bodyOffset, 16u);
    EXPECT_EQ(record.bodyLength, uint(smallBody.size()));
}

TEST_F(MailFileTest, ReadMailFileHeaderGivesZerosWhenTheFileCannotBeOpened)
{
    for (const QString& name : {path("missing.mms"), dir.path()}) {
        const MMS_UTIL_MAILFILE_HEADER_T record = MMS_UTIL_MailFile(name).readMailFileHeader();
        EXPECT_EQ(record.headerTextOffset, 0u) << name.toStdString();
        EXPECT_EQ(record.reserved, 0u);
        EXPECT_EQ(record.bodyOffset, 0u);
        EXPECT_EQ(record.bodyLength, 0u);
    }
}

// --- readMultipartBody ---

TEST_F(MailFileTest, ReadMultipartBodyFailsWhenTheFileCannotBeOpened)
{
    for (const QString& name : {path("missing.mms"), dir.path()}) {
        MMS_UTIL_MailFile mailFile(name);
        const ReadBody read = readBody(mailFile);
        EXPECT_EQ(read.result, 1) << name.toStdString();
        EXPECT_FALSE(read.handedOut);
    }
}

TEST_F(MailFileTest, ReadMultipartBodyKeepsTheStoredLengthAfterAFailedCheck)
{
    const quint32 size = quint32(writeSample(path(), smallBody).size());
    ASSERT_TRUE(patchWord(path(), 3, size));
    MMS_UTIL_MailFile mailFile(path());
    ReadBody read = readBody(mailFile);
    EXPECT_EQ(read.result, 1);
    EXPECT_EQ(read.len, size);
    EXPECT_FALSE(read.handedOut);

    ASSERT_TRUE(patchWord(path(), 3, 0xFFFFFFFF));
    read = readBody(mailFile);
    EXPECT_EQ(read.result, 1);
    EXPECT_EQ(read.len, 0xFFFFFFFFu);
    EXPECT_FALSE(read.handedOut);
}

TEST_F(MailFileTest, ReadMultipartBodyFailsWhenTheBodyOffsetIsNotBelowTheSize)
{
    const quint32 size = quint32(writeSample(path(), smallBody).size());
    for (const quint32 offset : {size, size + 1, 0xFFFFFFFFu}) {
        ASSERT_TRUE(patchWord(path(), 2, offset));
        MMS_UTIL_MailFile mailFile(path());
        const ReadBody read = readBody(mailFile);
        EXPECT_EQ(read.result, 1) << offset;
        EXPECT_EQ(read.len, uint(smallBody.size()));
        EXPECT_FALSE(read.handedOut);
    }
}

TEST_F(MailFileTest, ReadMultipartBodyReadsFromOffsetSixteenWhateverTheRecordSays)
{
    const quint32 size = quint32(writeSample(path(), smallBody).size());
    ASSERT_TRUE(patchWord(path(), 0, 0xFFFFFFFF));
    ASSERT_TRUE(patchWord(path(), 1, 0xFFFFFFFF));
    ASSERT_TRUE(patchWord(path(), 2, size - 1));
    MMS_UTIL_MailFile mailFile(path());
    const ReadBody read = readBody(mailFile);
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.bytes, smallBody);
}

TEST_F(MailFileTest, ReadMultipartBodyFailsOnABodyCutShort)
{
    const QByteArray body = patternBytes(400);
    const QByteArray file = writeSample(path(), body);
    ASSERT_TRUE(writeFileBytes(path(), file.left(16 + 300)));
    MMS_UTIL_MailFile mailFile(path());
    const ReadBody read = readBody(mailFile);
    EXPECT_EQ(read.result, 1);
    EXPECT_EQ(read.len, 400u);
    EXPECT_FALSE(read.handedOut);
}

// --- readMsgHeader ---

TEST_F(MailFileTest, ReadMsgHeaderFailsWhenTheFileCannotBeOpened)
{
    for (const QString& name : {path("missing.mms"), dir.path()}) {
        MMS_UTIL_MsgHeaderBase header;
        EXPECT_EQ(MMS_UTIL_MailFile(name).readMsgHeader(&header), 1) << name.toStdString();
        EXPECT_EQ(headerBlockOf(header), QByteArray(kDefaultHeaderBlock));
    }
}

TEST_F(MailFileTest, ReadMsgHeaderFailsForAnOffsetBeyondTheSize)
{
    const quint32 size = quint32(writeSample(path(), smallBody).size());
    for (const quint32 offset : {size + 1, 0x80000000u, 0xFFFFFFFFu}) {
        ASSERT_TRUE(patchWord(path(), 0, offset));
        MMS_UTIL_MsgHeaderBase header;
        EXPECT_EQ(MMS_UTIL_MailFile(path()).readMsgHeader(&header), 1) << offset;
        EXPECT_EQ(headerBlockOf(header), QByteArray(kDefaultHeaderBlock));
        // The body reader does not look at that word.
        MMS_UTIL_MailFile mailFile(path());
        EXPECT_EQ(readBody(mailFile).bytes, smallBody);
    }
}

TEST_F(MailFileTest, ReadMsgHeaderTakesAnOffsetEqualToTheSizeAsAnEmptyBlock)
{
    const quint32 size = quint32(writeSample(path(), smallBody).size());
    ASSERT_TRUE(patchWord(path(), 0, size));
    MMS_UTIL_MsgHeaderBase header;
    header.expiry = 99;
    EXPECT_EQ(MMS_UTIL_MailFile(path()).readMsgHeader(&header), 0);
    // Nothing read: every field comes from the fresh object's null texts.
    EXPECT_TRUE(header.subject.isNull());
    EXPECT_EQ(header.expiry, 0u);
    EXPECT_EQ(header.from.type, MMS_UTIL_ADDR_UNKNOWN);

    // The loader insists on an offset below the size.
    MMS_UTIL_MailFile loader(path());
    EXPECT_EQ(load(loader).result, 1);
}

TEST_F(MailFileTest, ReadMsgHeaderTrustsTheRecordedOffsetWhileLoadReadsOnAfterTheBody)
{
    const QByteArray file = writeSample(path(), smallBody);
    const qsizetype messageIdLine = file.indexOf("\nMessage_ID: ") + 1;
    ASSERT_GT(messageIdLine, 16 + smallBody.size());
    ASSERT_TRUE(patchWord(path(), 0, quint32(messageIdLine)));

    MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(MMS_UTIL_MailFile(path()).readMsgHeader(&header), 0);
    EXPECT_EQ(header.messageId, sample->messageId);
    EXPECT_EQ(header.priority, MMS_UTIL_PRIORITY_HIGH);
    // The lines before the offset were not read.
    EXPECT_TRUE(header.subject.isNull());
    EXPECT_TRUE(header.toList.isEmpty());

    MMS_UTIL_MailFile loader(path());
    const Loaded loaded = load(loader);
    ASSERT_EQ(loaded.result, 0);
    EXPECT_EQ(headerBlockOf(*loaded.header), QByteArray(kSampleHeaderBlock));
}

TEST_F(MailFileTest, CorruptFirstWordBeyondTheSizeFailsBothHeaderReaders)
{
    const quint32 size = quint32(writeSample(path(), smallBody).size());
    ASSERT_TRUE(patchWord(path(), 0, size + 100));
    MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(MMS_UTIL_MailFile(path()).readMsgHeader(&header), 1);
    MMS_UTIL_MailFile loader(path());
    const Loaded loaded = load(loader);
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.header, nullptr);
}

TEST_F(MailFileTest, CorruptFirstWordBelowTheSizeStillLoads)
{
    writeSample(path(), smallBody);
    for (const quint32 offset : {0u, 5u, 17u}) {
        ASSERT_TRUE(patchWord(path(), 0, offset));
        MMS_UTIL_MailFile loader(path());
        const Loaded loaded = load(loader);
        ASSERT_EQ(loaded.result, 0) << offset;
        EXPECT_EQ(loaded.bodyBytes(), smallBody);
        EXPECT_EQ(headerBlockOf(*loaded.header), QByteArray(kSampleHeaderBlock));
    }
}

// --- loadMailFile ---

TEST_F(MailFileTest, LoadMailFileFailsWhenTheFileCannotBeOpened)
{
    for (const QString& name : {path("missing.mms"), dir.path()}) {
        MMS_UTIL_MailFile loader(name);
        const Loaded loaded = load(loader);
        EXPECT_EQ(loaded.result, 1) << name.toStdString();
        EXPECT_EQ(loaded.header, nullptr);
        EXPECT_EQ(loaded.body, nullptr);
        EXPECT_EQ(loaded.bodyLength, 0u);
    }
}

TEST_F(MailFileTest, LoadMailFileFailsWhenAnyWordIsNotBelowTheSize)
{
    const quint32 size = quint32(writeSample(path(), smallBody).size());
    for (int word = 0; word < 4; ++word) {
        for (const quint32 value : {size, 0xFFFFFFFFu}) {
            writeSample(path(), smallBody);
            ASSERT_TRUE(patchWord(path(), word, value));
            MMS_UTIL_MailFile loader(path());
            const Loaded loaded = load(loader);
            EXPECT_EQ(loaded.result, 1) << "word " << word << " = " << value;
            EXPECT_EQ(loaded.header, nullptr);
            EXPECT_EQ(loaded.body, nullptr);
            // The stored length stays in the member after a failed check.
            EXPECT_EQ(loaded.bodyLength, word == 3 ? value : uint(smallBody.size()));
        }
    }
}

TEST_F(MailFileTest, LoadMailFileAcceptsAnyReservedWordBelowTheSize)
{
    const quint32 size = quint32(writeSample(path(), smallBody).size());
    ASSERT_TRUE(patchWord(path(), 1, size - 1));
    MMS_UTIL_MailFile loader(path());
    const Loaded loaded = load(loader);
    ASSERT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.bodyBytes(), smallBody);
}

TEST_F(MailFileTest, LoadMailFileDoesNotCheckTheBodyRead)
{
    // A stored length below the size but running past the end: the body is read as far as the
    // file goes, the rest is zeros, and no header text is left to read.
    ASSERT_TRUE(writeFileBytes(path(), recordBytes(18, 0, 16, 19) + "abcd"));
    MMS_UTIL_MailFile loader(path());
    const Loaded loaded = load(loader);
    ASSERT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.bodyBytes(), QByteArray("abcd") + QByteArray(15, '\0'));
    EXPECT_TRUE(loaded.header->subject.isNull());
    EXPECT_EQ(loaded.header->expiry, 0u);
}

// --- createMailFile ---

TEST_F(MailFileTest, CreateMailFileRemovesAnExistingFile)
{
    writeSample(path(), smallBody);
    EXPECT_EQ(MMS_UTIL_MailFile(path()).createMailFile(), 0);
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(MailFileTest, CreateMailFileOnAMissingFileCreatesNothing)
{
    EXPECT_EQ(MMS_UTIL_MailFile(path()).createMailFile(), 0);
    EXPECT_TRUE(entries().isEmpty());
}

TEST_F(MailFileTest, CreateMailFileFailsWhenTheNameCannotBeRemoved)
{
    ASSERT_TRUE(QDir(dir.path()).mkpath(QStringLiteral("1.mms/inner")));
    EXPECT_EQ(MMS_UTIL_MailFile(path()).createMailFile(), 1);
    EXPECT_TRUE(QFileInfo(path()).isDir());
}

// --- saveToMailFile and syncing ---

TEST_F(MailFileTest, SaveToMailFileWritesTheMembers)
{
    QByteArray body = smallBody;
    MMS_UTIL_MailFile mailFile(path());
    mailFile.header = sample.get();
    mailFile.body = bytesOf(body);
    mailFile.bodyLength = uint(body.size());
    EXPECT_EQ(mailFile.saveToMailFile(), 0);
    EXPECT_EQ(readFileBytes(path()), expectedFile(smallBody, *sample));
}

TEST_F(MailFileTest, SaveToMailFileWithoutAHeaderWritesNothing)
{
    MMS_UTIL_MailFile mailFile(path());
    EXPECT_EQ(mailFile.saveToMailFile(), 1);
    EXPECT_TRUE(entries().isEmpty());
}

TEST_F(MailFileTest, StaleTemporaryFileIsRemovedByTheNextSave)
{
    ASSERT_TRUE(writeFileBytes(path("1.mms.tmp"), patternBytes(100000)));
    EXPECT_EQ(writeSample(path(), smallBody), expectedFile(smallBody, *sample));
    EXPECT_EQ(entries(), QStringList{QStringLiteral("1.mms")});
}

TEST_F(MailFileTest, WriteFailsIntoAMissingDirectory)
{
    EXPECT_EQ(write(path("missing/1.mms"), smallBody, *sample), 1);
    EXPECT_TRUE(entries().isEmpty());
}

TEST_F(MailFileTest, WriteFailsWhenTheOldNameCannotBeRemoved)
{
    ASSERT_TRUE(QDir(dir.path()).mkpath(QStringLiteral("1.mms/inner")));
    EXPECT_EQ(write(path(), smallBody, *sample), 1);
    EXPECT_TRUE(QFileInfo(path()).isDir());
    EXPECT_EQ(entries(), QStringList{QStringLiteral("1.mms")});
}

TEST_F(MailFileTest, SaveSyncsTheNewFileThenItsDirectory)
{
    const SyncRecorder recorder;
    writeSample(path(), smallBody);
    const std::vector<FileIdentity> expected{identityOf(path()), identityOf(dir.path())};
    EXPECT_FALSE(expected[0].isDirectory);
    EXPECT_EQ(SyncRecorder::calls(), expected);
}

TEST_F(MailFileTest, SaveOfARelativeNameSyncsTheCurrentDirectory)
{
    const QString previous = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(dir.path()));
    {
        const SyncRecorder recorder;
        writeSample(QStringLiteral("1.mms"), smallBody);
        const std::vector<FileIdentity> expected{identityOf(path()), identityOf(dir.path())};
        EXPECT_EQ(SyncRecorder::calls(), expected);
    }
    QDir::setCurrent(previous);
}

TEST_F(MailFileTest, EveryWriteOperationSyncsExactlyTwice)
{
    writeSample(path(), smallBody);
    {
        const SyncRecorder recorder;
        QByteArray body = patternBytes(64);
        EXPECT_EQ(MMS_UTIL_MailFile(path()).writeMultipartBody(bytesOf(body), 64), 0);
        EXPECT_EQ(SyncRecorder::calls().size(), 2u);
    }
    {
        const SyncRecorder recorder;
        MMS_UTIL_MsgHeaderBase header;
        EXPECT_EQ(MMS_UTIL_MailFile(path()).writeMsgHeader(&header), 0);
        EXPECT_EQ(SyncRecorder::calls().size(), 2u);
    }
}

TEST_F(MailFileTest, FailedFileSyncOnAFullDiskReportsNoSpaceAndKeepsTheEarlierFile)
{
    const QByteArray earlier = writeSample(path(), smallBody);
    const SyncRecorder recorder(1, ENOSPC);
    MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(write(path(), patternBytes(999), header), MMS_UTIL_MAILFILE_NO_SPACE);
    EXPECT_EQ(SyncRecorder::calls().size(), 1u);
    EXPECT_EQ(readFileBytes(path()), earlier);
    EXPECT_EQ(entries(), QStringList{QStringLiteral("1.mms")});
}

TEST_F(MailFileTest, SaveToMailFileItselfReportsAFullDiskAsAPlainFailure)
{
    const QByteArray earlier = writeSample(path(), smallBody);
    const SyncRecorder recorder(1, ENOSPC);
    MMS_UTIL_MsgHeaderBase header;
    MMS_UTIL_MailFile mailFile(path());
    mailFile.header = &header;
    EXPECT_EQ(mailFile.saveToMailFile(), 1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(readFileBytes(path()), earlier);
}

TEST_F(MailFileTest, FailedFileSyncForAnotherReasonReportsFailure)
{
    const QByteArray earlier = writeSample(path(), smallBody);
    const SyncRecorder recorder(1, EIO);
    MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(write(path(), patternBytes(999), header), 1);
    EXPECT_EQ(readFileBytes(path()), earlier);
    EXPECT_EQ(entries(), QStringList{QStringLiteral("1.mms")});
}

TEST_F(MailFileTest, FailedDirectorySyncReportsFailureWithTheNewFileInPlace)
{
    writeSample(path(), smallBody);
    for (const auto& [error, result] :
         {std::pair{EIO, 1}, std::pair{ENOSPC, int(MMS_UTIL_MAILFILE_NO_SPACE)}}) {
        const SyncRecorder recorder(2, error);
        MMS_UTIL_MsgHeaderBase header;
        const QByteArray body = patternBytes(999);
        EXPECT_EQ(write(path(), body, header), result) << "errno " << error;
        EXPECT_EQ(readFileBytes(path()), expectedFile(body, header));
        EXPECT_EQ(entries(), QStringList{QStringLiteral("1.mms")});
    }
}

// --- writeMultipartBody ---

TEST_F(MailFileTest, WriteMultipartBodyReplacesTheBodyAndKeepsTheHeader)
{
    writeSample(path(), smallBody);
    QByteArray body = patternBytes(3000, 9);
    const QByteArray callersCopy = body;
    MMS_UTIL_MailFile mailFile(path());
    EXPECT_EQ(mailFile.writeMultipartBody(bytesOf(body), uint(body.size())), 0);
    EXPECT_EQ(readFileBytes(path()), expectedFile(body, *sample));
    EXPECT_EQ(body, callersCopy);
    EXPECT_EQ(mailFile.header, nullptr);
    EXPECT_EQ(mailFile.body, nullptr);
    EXPECT_EQ(mailFile.bodyLength, 0u);
}

TEST_F(MailFileTest, WriteMultipartBodyOnAMissingFileCreatesNothing)
{
    QByteArray body = smallBody;
    MMS_UTIL_MailFile mailFile(path());
    EXPECT_EQ(mailFile.writeMultipartBody(bytesOf(body), uint(body.size())), 1);
    EXPECT_TRUE(entries().isEmpty());
    EXPECT_EQ(mailFile.header, nullptr);
    EXPECT_EQ(mailFile.body, nullptr);
}

TEST_F(MailFileTest, WriteMultipartBodyOnACorruptFileLeavesItAlone)
{
    writeSample(path(), smallBody);
    ASSERT_TRUE(patchWord(path(), 3, 0xFFFFFFFF));
    const QByteArray corrupt = readFileBytes(path());
    QByteArray body = patternBytes(10);
    MMS_UTIL_MailFile mailFile(path());
    EXPECT_EQ(mailFile.writeMultipartBody(bytesOf(body), 10), 1);
    EXPECT_EQ(readFileBytes(path()), corrupt);
    EXPECT_EQ(mailFile.header, nullptr);
    EXPECT_EQ(mailFile.body, nullptr);
}

TEST_F(MailFileTest, WriteMultipartBodyOnAFullDiskReportsNoSpaceAndResetsTheMembers)
{
    const QByteArray earlier = writeSample(path(), smallBody);
    const SyncRecorder recorder(1, ENOSPC);
    QByteArray body = patternBytes(10);
    MMS_UTIL_MailFile mailFile(path());
    EXPECT_EQ(mailFile.writeMultipartBody(bytesOf(body), 10), MMS_UTIL_MAILFILE_NO_SPACE);
    EXPECT_EQ(readFileBytes(path()), earlier);
    EXPECT_EQ(mailFile.header, nullptr);
    EXPECT_EQ(mailFile.body, nullptr);
    EXPECT_EQ(mailFile.bodyLength, 0u);
}

// --- writeMsgHeader ---

TEST_F(MailFileTest, WriteMsgHeaderReplacesTheHeaderAndKeepsTheBody)
{
    const QByteArray body = patternBytes(2000, 4);
    writeSample(path(), body);
    MMS_UTIL_MsgHeaderBase header;
    header.subject = QStringLiteral("replaced");
    MMS_UTIL_MailFile mailFile(path());
    EXPECT_EQ(mailFile.writeMsgHeader(&header), 0);
    EXPECT_EQ(readFileBytes(path()), expectedFile(body, header));
    EXPECT_EQ(header.subject, QStringLiteral("replaced"));
    EXPECT_EQ(mailFile.header, nullptr);
    EXPECT_EQ(mailFile.body, nullptr);
    EXPECT_EQ(mailFile.bodyLength, uint(body.size()));
}

TEST_F(MailFileTest, WriteMsgHeaderOnAMissingFileCreatesNothing)
{
    MMS_UTIL_MailFile mailFile(path());
    EXPECT_EQ(mailFile.writeMsgHeader(sample.get()), 1);
    EXPECT_TRUE(entries().isEmpty());
    EXPECT_EQ(mailFile.header, nullptr);
}

TEST_F(MailFileTest, WriteMsgHeaderOnAFullDiskReportsNoSpaceAndResetsTheMembers)
{
    const QByteArray earlier = writeSample(path(), smallBody);
    const SyncRecorder recorder(1, ENOSPC);
    MMS_UTIL_MsgHeaderBase header;
    MMS_UTIL_MailFile mailFile(path());
    EXPECT_EQ(mailFile.writeMsgHeader(&header), MMS_UTIL_MAILFILE_NO_SPACE);
    EXPECT_EQ(readFileBytes(path()), earlier);
    EXPECT_EQ(mailFile.header, nullptr);
    EXPECT_EQ(mailFile.body, nullptr);
    EXPECT_EQ(mailFile.bodyLength, uint(smallBody.size()));
}

// --- bad input ---

TEST_F(MailFileTest, EmptyFileIsReadWithoutABody)
{
    ASSERT_TRUE(writeFileBytes(path(), QByteArray()));
    MMS_UTIL_MailFile mailFile(path());
    const MMS_UTIL_MAILFILE_HEADER_T record = mailFile.readMailFileHeader();
    EXPECT_EQ(record.headerTextOffset | record.reserved | record.bodyOffset | record.bodyLength,
              0u);
    EXPECT_EQ(readBody(mailFile).result, 1);
    EXPECT_EQ(load(mailFile).result, 1);
    // Offset 0 is not beyond an empty file: the block read is empty.
    MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(mailFile.readMsgHeader(&header), 0);
    EXPECT_TRUE(header.subject.isNull());
}

TEST_F(MailFileTest, FileCutAtEveryOffsetIsReadAsFarAsItGoes)
{
    const QByteArray body = patternBytes(20, 5);
    const QByteArray full = writeSample(path(), body);
    const QByteArray words = full.left(16);
    const int blockStart = 16 + body.size();
    for (int size = 0; size < full.size(); ++size) {
        SCOPED_TRACE(testing::Message() << "cut at " << size);
        const QByteArray cut = full.left(size);
        ASSERT_TRUE(writeFileBytes(path(), cut));
        const ArrayAllocationWatch watch;
        MMS_UTIL_MailFile mailFile(path());

        // A word cut short reads as 0, like the words missing after it.
        const MMS_UTIL_MAILFILE_HEADER_T record = mailFile.readMailFileHeader();
        EXPECT_EQ(recordBytes(record.headerTextOffset, record.reserved, record.bodyOffset,
                              record.bodyLength),
                  words.left(size / 4 * 4) + QByteArray(16 - qMin(16, size / 4 * 4), '\0'));

        const ReadBody read = readBody(mailFile);
        EXPECT_EQ(read.result, size >= blockStart ? 0 : 1);
        EXPECT_EQ(read.len, size >= 16 ? uint(body.size()) : 0u);
        if (read.result == 0) {
            EXPECT_EQ(read.bytes, body);
        }

        MMS_UTIL_MsgHeaderBase header;
        const int offset = size >= 4 ? blockStart : 0;
        EXPECT_EQ(MMS_UTIL_MailFile(path()).readMsgHeader(&header), offset <= size ? 0 : 1);
        if (offset <= size) {
            EXPECT_EQ(headerBlockOf(header), headerBlockOf(*headerFromBlock(cut.mid(offset))));
        }

        // A file shorter than one word reads as four zero words, all below its size: it loads as
        // an empty body with nothing after it.
        const bool wordsBelowSize = (size > 0 && size < 4) || size > blockStart;
        MMS_UTIL_MailFile loader(path());
        const Loaded loaded = load(loader);
        EXPECT_EQ(loaded.result, wordsBelowSize ? 0 : 1);
        if (loaded.result == 0) {
            EXPECT_EQ(loaded.bodyBytes(), size < 4 ? QByteArray() : body);
            EXPECT_EQ(headerBlockOf(*loaded.header),
                      headerBlockOf(*headerFromBlock(cut.mid(qMin(size, blockStart)))));
        }
        EXPECT_LE(watch.largest(), std::size_t(size));
    }
}

TEST_F(MailFileTest, LengthsLargerThanTheFileAreRefusedBeforeAllocating)
{
    const quint32 size = quint32(writeSample(path(), smallBody).size());
    for (int word = 0; word < 4; ++word) {
        for (const quint32 value : {size, size + 1, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            SCOPED_TRACE(testing::Message() << "word " << word << " = " << value);
            writeSample(path(), smallBody);
            ASSERT_TRUE(patchWord(path(), word, value));
            const ArrayAllocationWatch watch;
            MMS_UTIL_MailFile mailFile(path());
            EXPECT_EQ(readBody(mailFile).result, word >= 2 ? 1 : 0);
            MMS_UTIL_MsgHeaderBase header;
            EXPECT_EQ(mailFile.readMsgHeader(&header), word == 0 && value > size ? 1 : 0);
            EXPECT_EQ(load(mailFile).result, 1);
            EXPECT_LE(watch.largest(), std::size_t(size));
        }
    }
}

TEST_F(MailFileTest, AFileTooLargeForMemoryFailsTheReadsThatNeedItWhole)
{
    const QByteArray body = patternBytes(100000);
    const QByteArray file = writeSample(path(), body);
    ArrayAllocationWatch watch;
    watch.failFrom(std::size_t(body.size()));
    MMS_UTIL_MailFile mailFile(path());
    const Loaded loaded = load(mailFile);
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.body, nullptr);
    EXPECT_EQ(loaded.header, nullptr);
    const ReadBody read = readBody(mailFile);
    EXPECT_EQ(read.result, 1);
    EXPECT_FALSE(read.handedOut);
    // The header block alone is small enough, and reads.
    MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(mailFile.readMsgHeader(&header), 0);
    EXPECT_EQ(readFileBytes(path()), file);
}

TEST_F(MailFileTest, GarbageInTheHeaderBlockIsSkipped)
{
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const QByteArray garbage = patternBytes(int(seed) * 5000, seed) + "\nMessage_ID: after\n";
        const QByteArray file = recordBytes(16 + 37, 0, 16, 37) + smallBody + garbage;
        ASSERT_TRUE(writeFileBytes(path(), file));
        const ArrayAllocationWatch watch;
        MMS_UTIL_MsgHeaderBase header;
        EXPECT_EQ(MMS_UTIL_MailFile(path()).readMsgHeader(&header), 0);
        EXPECT_EQ(header.messageId, QStringLiteral("after"));
        MMS_UTIL_MailFile loader(path());
        const Loaded loaded = load(loader);
        ASSERT_EQ(loaded.result, 0);
        EXPECT_EQ(loaded.bodyBytes(), smallBody);
        EXPECT_EQ(loaded.header->messageId, QStringLiteral("after"));
        EXPECT_LE(watch.largest(), std::size_t(file.size()));
    }
}

TEST_F(MailFileTest, GarbageFilesNeverAllocateBeyondTheirSize)
{
    const quint32 size = 200;
    for (unsigned seed = 1; seed <= 32; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        QByteArray file = patternBytes(int(size), seed);
        // Half of the files carry small words, so that the readers go on into the garbage.
        if (seed % 2 == 0)
            file.replace(0, 16, recordBytes(seed * 6, seed, 16, seed * 5));
        ASSERT_TRUE(writeFileBytes(path(), file));
        const ArrayAllocationWatch watch;
        MMS_UTIL_MailFile mailFile(path());
        const MMS_UTIL_MAILFILE_HEADER_T r = mailFile.readMailFileHeader();
        const bool bodyReadable =
            r.bodyOffset < size && r.bodyLength != 0 && 16 + qint64(r.bodyLength) <= qint64(size);
        EXPECT_EQ(readBody(mailFile).result, bodyReadable ? 0 : 1);
        MMS_UTIL_MsgHeaderBase header;
        EXPECT_EQ(mailFile.readMsgHeader(&header), r.headerTextOffset <= size ? 0 : 1);
        const bool wordsBelowSize = r.headerTextOffset < size && r.reserved < size &&
                                    r.bodyOffset < size && r.bodyLength < size;
        EXPECT_EQ(load(mailFile).result, wordsBelowSize ? 0 : 1);
        EXPECT_LE(watch.largest(), std::size_t(size));
    }
}

// --- full disk ---

// Exit statuses of the child that writes on a small tmpfs of its own.
enum ChildStatus {
    kChildPassed = 0,
    kFirstWriteFailed = 10,
    kFillFailed,
    kNotReportedAsNoSpace,
    kEarlierFileChanged,
    kHeaderWriteNotReportedAsNoSpace,
    kBodyWriteNotReportedAsNoSpace,
    kUnexpectedFreeSpace,
    kTemporaryFileNotAsExpected,
    kMountFailed = 70,
    kChildCrashed = 71,
    kNotPermitted = 77,
};

const char* describe(int status)
{
    switch (status) {
    case kChildPassed:
        return "passed";
    case kFirstWriteFailed:
        return "the first mail file could not be written";
    case kFillFailed:
        return "the filler file did not end in ENOSPC";
    case kNotReportedAsNoSpace:
        return "writeMailFile did not return 15";
    case kEarlierFileChanged:
        return "the earlier mail file changed";
    case kHeaderWriteNotReportedAsNoSpace:
        return "writeMsgHeader did not return 15";
    case kBodyWriteNotReportedAsNoSpace:
        return "writeMultipartBody did not return 15";
    case kUnexpectedFreeSpace:
        return "the free space after the fill is not what was reserved";
    case kTemporaryFileNotAsExpected:
        return "the temporary file was left behind";
    case kMountFailed:
        return "unshare or mount failed for a reason other than EPERM";
    default:
        return "the child crashed";
    }
}

// Writes `path` in chunks until the file system is full; true when that ended in ENOSPC.
bool fillUntilFull(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (fd < 0)
        return false;
    const QByteArray chunk(64 * 1024, 'f');
    ssize_t written = 0;
    while ((written = ::write(fd, chunk.constData(), size_t(chunk.size()))) > 0) {
    }
    const bool full = written < 0 && errno == ENOSPC;
    ::close(fd);
    return full;
}

qint64 freeBytes(const QString& path)
{
    struct statvfs info = {};
    if (::statvfs(QFile::encodeName(path).constData(), &info) != 0)
        return -1;
    return qint64(info.f_bavail) * qint64(info.f_frsize);
}

// Runs `scenario` in a child process that has a 512 KiB tmpfs mounted on `dir` in a mount
// namespace of its own; returns the child's exit status (a ChildStatus).
int runOnSmallTmpfs(const QString& dir, int (*scenario)(const QString& dir))
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        int status = kNotPermitted;
        if (::unshare(CLONE_NEWNS) == 0 &&
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
            ::mount("tmpfs", QFile::encodeName(dir).constData(), "tmpfs", 0, "size=512k") == 0)
            status = scenario(dir);
        else if (errno != EPERM)
            status = kMountFailed;
        ::_exit(status);
    }
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return kChildCrashed;
    return WEXITSTATUS(status);
}

void expectChildPassed(int status)
{
    if (status == kNotPermitted)
        GTEST_SKIP() << "this process may not mount a tmpfs in a mount namespace of its own "
                        "(unshare or mount gave EPERM)";
    EXPECT_EQ(status, kChildPassed) << describe(status);
}

// Fills the disk after a first mail file, then writes bodies larger than the space left.
int noSpaceForTheBody(const QString& dir)
{
    const QString name = dir + QStringLiteral("/1.mms");
    const auto header = sampleHeader();
    QByteArray body = patternBytes(3000);
    MMS_UTIL_MailFile mailFile(name);
    if (mailFile.writeMailFile(bytesOf(body), uint(body.size()), header.get()) != 0)
        return kFirstWriteFailed;
    const QByteArray earlier = readFileBytes(name);
    if (!fillUntilFull(dir + QStringLiteral("/filler")))
        return kFillFailed;

    QByteArray large = patternBytes(64 * 1024, 2);
    if (mailFile.writeMailFile(bytesOf(large), uint(large.size()), header.get()) != 15)
        return kNotReportedAsNoSpace;
    if (readFileBytes(name) != earlier)
        return kEarlierFileChanged;
    MMS_UTIL_MsgHeaderBase other;
    if (MMS_UTIL_MailFile(name).writeMsgHeader(&other) != 15)
        return kHeaderWriteNotReportedAsNoSpace;
    if (MMS_UTIL_MailFile(name).writeMultipartBody(bytesOf(large), uint(large.size())) != 15)
        return kBodyWriteNotReportedAsNoSpace;
    return readFileBytes(name) == earlier ? kChildPassed : kEarlierFileChanged;
}

// Leaves room for the record and the body of the next write but not for its header block.
int noSpaceForTheHeaderBlock(const QString& dir)
{
    const QString name = dir + QStringLiteral("/1.mms");
    const QString reserve = dir + QStringLiteral("/reserve");
    const auto header = sampleHeader();
    QByteArray body = patternBytes(3000);
    MMS_UTIL_MailFile mailFile(name);
    if (mailFile.writeMailFile(bytesOf(body), uint(body.size()), header.get()) != 0)
        return kFirstWriteFailed;
    const QByteArray earlier = readFileBytes(name);
    const qint64 room = 8 * 4096;
    if (!writeFileBytes(reserve, QByteArray(room, 'r')) ||
        !fillUntilFull(dir + QStringLiteral("/filler")) || !QFile::remove(reserve))
        return kFillFailed;
    if (freeBytes(dir) != room)
        return kUnexpectedFreeSpace;

    QByteArray fitting = patternBytes(int(room) - 16 - 8, 3);
    if (mailFile.writeMailFile(bytesOf(fitting), uint(fitting.size()), header.get()) != 15)
        return kNotReportedAsNoSpace;
    if (readFileBytes(name) != earlier)
        return kEarlierFileChanged;
    // The header block is still in the write buffer when the disk fills: the failure shows at
    // the flush, and the temporary file goes with it.
    if (QFile::exists(name + QStringLiteral(".tmp")))
        return kTemporaryFileNotAsExpected;
    return kChildPassed;
}

TEST_F(MailFileTest, FullDiskWhileWritingTheBodyReportsNoSpaceAndKeepsTheEarlierFile)
{
    expectChildPassed(runOnSmallTmpfs(dir.path(), &noSpaceForTheBody));
}

TEST_F(MailFileTest, FullDiskWhileWritingTheHeaderBlockReportsNoSpaceAndKeepsTheEarlierFile)
{
    expectChildPassed(runOnSmallTmpfs(dir.path(), &noSpaceForTheHeaderBlock));
}

} // namespace
