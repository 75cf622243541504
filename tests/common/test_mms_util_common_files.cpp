// Working directories, mail file names and temporary file names of MMS_UTIL_Common.

#include "mms_util_common.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <optional>

namespace
{

const char kDownloadPathVar[] = "TAV_LOCAL_DOWNLOAD_PATH";
const unsigned char kNoExtension = 0x02; // a content-type number without a temporary extension
const unsigned char kTextPlain = 0x03;
const unsigned char kMmsMessage = 0x3E;

// Sets (or, given no value, removes) the download path for the lifetime of the object and puts
// back whatever was there before.
class ScopedDownloadPath
{
public:
    explicit ScopedDownloadPath(const std::optional<QByteArray>& value)
    {
        if (qEnvironmentVariableIsSet(kDownloadPathVar))
            saved_ = qgetenv(kDownloadPathVar);
        set(value);
    }
    ~ScopedDownloadPath() { set(saved_); }
    ScopedDownloadPath(const ScopedDownloadPath&) = delete;
    ScopedDownloadPath& operator=(const ScopedDownloadPath&) = delete;

    static void set(const std::optional<QByteArray>& value)
    {
        if (value)
            qputenv(kDownloadPathVar, *value);
        else
            qunsetenv(kDownloadPathVar);
    }

private:
    std::optional<QByteArray> saved_;
};

// The counter value that the next generateFileName call will use. Reading it uses up one name,
// which is harmless: the counter is shared by the whole process, so the tests never assume a value.
int nextCounter()
{
    const QString bare = MMS_UTIL_Common::generateFileName(kNoExtension);
    bool ok = false;
    const int current = bare.toInt(&ok);
    EXPECT_TRUE(ok) << bare.toStdString();
    return current + 1;
}

QString counterText(int counter)
{
    return QString::asprintf("%05d", counter);
}

struct ExtensionRow {
    unsigned char contentType;
    bool inMailFileDir;
    const char* extension;
};

const ExtensionRow kExtensionRows[] = {
    {0x03, false, ".txt"},  {0x1D, false, ".gif"}, {0x1E, false, ".jpg"}, {0x20, false, ".png"},
    {0x21, false, ".wbmp"}, {0x3E, true, ".mms"},  {0x47, false, ".bmp"}, {0x4C, false, ".imy"},
    {0x4D, false, ".mp3"},  {0x4E, false, ".mid"}, {0x52, false, ".wav"}, {0x53, false, ".mpg"},
};

const ExtensionRow* rowFor(unsigned char contentType)
{
    for (const ExtensionRow& row : kExtensionRows) {
        if (row.contentType == contentType)
            return &row;
    }
    return nullptr;
}

// A download area in a temporary directory with the "mms/tmp/" and "mms/mailfile/" directories
// that the platform would have created.
class DownloadAreaTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(root_.isValid());
        ASSERT_TRUE(QDir(root_.path()).mkpath(QStringLiteral("mms/tmp")));
        ASSERT_TRUE(QDir(root_.path()).mkpath(QStringLiteral("mms/mailfile")));
    }

    QString tmpDir() const { return root_.path() + QStringLiteral("/mms/tmp/"); }
    QString mailFileDir() const { return root_.path() + QStringLiteral("/mms/mailfile/"); }

    QTemporaryDir root_;
    ScopedDownloadPath path_{root_.path().toLocal8Bit()};
};

void writeFile(const QString& name, const QByteArray& content)
{
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(content), content.size());
}

} // namespace

TEST(WorkDirTest, PathWithoutTrailingSlashGetsOneBeforeMms)
{
    ScopedDownloadPath path(QByteArray("/a"));
    EXPECT_EQ(MMS_UTIL_Common::getWorkDir(), QStringLiteral("/a/mms/"));
}

TEST(WorkDirTest, PathWithTrailingSlashIsNotDoubled)
{
    ScopedDownloadPath path(QByteArray("/a/"));
    EXPECT_EQ(MMS_UTIL_Common::getWorkDir(), QStringLiteral("/a/mms/"));
}

TEST(WorkDirTest, UnsetPathGivesMmsAtTheRoot)
{
    ScopedDownloadPath path(std::nullopt);
    EXPECT_EQ(MMS_UTIL_Common::getWorkDir(), QStringLiteral("/mms/"));
}

TEST(WorkDirTest, EmptyPathGivesMmsAtTheRoot)
{
    ScopedDownloadPath path(QByteArray(""));
    EXPECT_EQ(MMS_UTIL_Common::getWorkDir(), QStringLiteral("/mms/"));
}

TEST(WorkDirTest, RootPathGivesMmsAtTheRoot)
{
    ScopedDownloadPath path(QByteArray("/"));
    EXPECT_EQ(MMS_UTIL_Common::getWorkDir(), QStringLiteral("/mms/"));
}

TEST(WorkDirTest, RelativePathIsKeptRelative)
{
    ScopedDownloadPath path(QByteArray("data"));
    EXPECT_EQ(MMS_UTIL_Common::getWorkDir(), QStringLiteral("data/mms/"));
}

TEST(WorkDirTest, VariableIsReadAgainOnEveryCall)
{
    ScopedDownloadPath path(QByteArray("/a"));
    EXPECT_EQ(MMS_UTIL_Common::getWorkDir(), QStringLiteral("/a/mms/"));
    ScopedDownloadPath::set(QByteArray("/b/"));
    EXPECT_EQ(MMS_UTIL_Common::getWorkDir(), QStringLiteral("/b/mms/"));
    EXPECT_EQ(MMS_UTIL_Common::getMailFileDir(), QStringLiteral("/b/mms/mailfile/"));
    ScopedDownloadPath::set(std::nullopt);
    EXPECT_EQ(MMS_UTIL_Common::getTmpDir(), QStringLiteral("/mms/tmp/"));
    ScopedDownloadPath::set(QByteArray("/c"));
    EXPECT_EQ(MMS_UTIL_Common::getQuickPageDir(), QStringLiteral("/c/mms/predesigned/"));
}

TEST(WorkDirTest, SubdirectoriesHangOffTheWorkDir)
{
    ScopedDownloadPath path(QByteArray("/a"));
    EXPECT_EQ(MMS_UTIL_Common::getMailFileDir(), QStringLiteral("/a/mms/mailfile/"));
    EXPECT_EQ(MMS_UTIL_Common::getQuickPageDir(), QStringLiteral("/a/mms/predesigned/"));
    EXPECT_EQ(MMS_UTIL_Common::getTmpDir(), QStringLiteral("/a/mms/tmp/"));
}

TEST(WorkDirTest, SubdirectoriesOfUnsetPathAreUnderRootMms)
{
    ScopedDownloadPath path(std::nullopt);
    EXPECT_EQ(MMS_UTIL_Common::getMailFileDir(), QStringLiteral("/mms/mailfile/"));
    EXPECT_EQ(MMS_UTIL_Common::getQuickPageDir(), QStringLiteral("/mms/predesigned/"));
    EXPECT_EQ(MMS_UTIL_Common::getTmpDir(), QStringLiteral("/mms/tmp/"));
}

TEST(WorkDirTest, DirectoriesAreOnlyTextsAndNotCreated)
{
    QTemporaryDir root;
    ASSERT_TRUE(root.isValid());
    ScopedDownloadPath path(root.path().toLocal8Bit());
    EXPECT_EQ(MMS_UTIL_Common::getMailFileDir(), root.path() + QStringLiteral("/mms/mailfile/"));
    EXPECT_EQ(MMS_UTIL_Common::getQuickPageDir(),
              root.path() + QStringLiteral("/mms/predesigned/"));
    EXPECT_EQ(MMS_UTIL_Common::getTmpDir(), root.path() + QStringLiteral("/mms/tmp/"));
    EXPECT_TRUE(QDir(root.path()).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden));
}

TEST(WorkDirTest, QuickPageFactoryDirIgnoresTheEnvironment)
{
    const QString factory = QStringLiteral("/usr/language/quickpage/");
    ScopedDownloadPath path(std::nullopt);
    EXPECT_EQ(MMS_UTIL_Common::getQuickPageFactoryDir(), factory);
    ScopedDownloadPath::set(QByteArray("/a"));
    EXPECT_EQ(MMS_UTIL_Common::getQuickPageFactoryDir(), factory);
    ScopedDownloadPath::set(QByteArray("/b/"));
    EXPECT_EQ(MMS_UTIL_Common::getQuickPageFactoryDir(), factory);
}

TEST(MailFileNameTest, IdIsWrittenInDecimalWithMmsExtension)
{
    ScopedDownloadPath path(QByteArray("/a"));
    EXPECT_EQ(MMS_UTIL_Common::msgDBIDToMailFileName(17), QStringLiteral("/a/mms/mailfile/17.mms"));
}

TEST(MailFileNameTest, ZeroIdIsNotPadded)
{
    ScopedDownloadPath path(QByteArray("/a/"));
    EXPECT_EQ(MMS_UTIL_Common::msgDBIDToMailFileName(0), QStringLiteral("/a/mms/mailfile/0.mms"));
}

TEST(MailFileNameTest, LargestIdIsUnsigned)
{
    ScopedDownloadPath path(std::nullopt);
    EXPECT_EQ(MMS_UTIL_Common::msgDBIDToMailFileName(4294967295u),
              QStringLiteral("/mms/mailfile/4294967295.mms"));
}

TEST(MailFileNameTest, FollowsTheCurrentDownloadPath)
{
    ScopedDownloadPath path(QByteArray("/a"));
    EXPECT_EQ(MMS_UTIL_Common::msgDBIDToMailFileName(5), QStringLiteral("/a/mms/mailfile/5.mms"));
    ScopedDownloadPath::set(QByteArray("/b"));
    EXPECT_EQ(MMS_UTIL_Common::msgDBIDToMailFileName(5), QStringLiteral("/b/mms/mailfile/5.mms"));
}

TEST(GenerateFileNameTest, NumberWithoutExtensionGivesBareFiveDigits)
{
    const int counter = nextCounter();
    const QString name = MMS_UTIL_Common::generateFileName(kNoExtension);
    EXPECT_EQ(name, counterText(counter));
    EXPECT_GE(name.size(), 5);
}

TEST(GenerateFileNameTest, EveryRowOfTheExtensionTableGivesItsDirectoryAndExtension)
{
    ScopedDownloadPath path(QByteArray("/a"));
    for (const ExtensionRow& row : kExtensionRows) {
        SCOPED_TRACE(row.contentType);
        const int counter = nextCounter();
        const QString dir =
            row.inMailFileDir ? QStringLiteral("/a/mms/mailfile/") : QStringLiteral("/a/mms/tmp/");
        EXPECT_EQ(MMS_UTIL_Common::generateFileName(row.contentType),
                  dir + QStringLiteral("tmp") + counterText(counter) +
                      QLatin1String(row.extension));
    }
}

TEST(GenerateFileNameTest, MmsMessageGoesToTheMailFileDirectory)
{
    ScopedDownloadPath path(QByteArray("/a/"));
    const int counter = nextCounter();
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kMmsMessage),
              QStringLiteral("/a/mms/mailfile/tmp") + counterText(counter) +
                  QStringLiteral(".mms"));
}

TEST(GenerateFileNameTest, EveryNumberOutsideTheTableGivesBareDigits)
{
    ScopedDownloadPath path(QByteArray("/a"));
    for (int type = 0; type <= 255; ++type) {
        if (rowFor(static_cast<unsigned char>(type)))
            continue;
        SCOPED_TRACE(type);
        const int counter = nextCounter();
        EXPECT_EQ(MMS_UTIL_Common::generateFileName(static_cast<unsigned char>(type)),
                  counterText(counter));
    }
}

TEST(GenerateFileNameTest, CountsCallsForNumbersWithoutExtension)
{
    ScopedDownloadPath path(QByteArray("/a"));
    const int counter = nextCounter();
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kTextPlain),
              QStringLiteral("/a/mms/tmp/tmp") + counterText(counter) + QStringLiteral(".txt"));
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kNoExtension), counterText(counter + 1));
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kTextPlain),
              QStringLiteral("/a/mms/tmp/tmp") + counterText(counter + 2) + QStringLiteral(".txt"));
}

TEST(GenerateFileNameTest, ConsecutiveCallsGiveConsecutiveNumbers)
{
    ScopedDownloadPath path(QByteArray("/a"));
    const int counter = nextCounter();
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kTextPlain),
              QStringLiteral("/a/mms/tmp/tmp") + counterText(counter) + QStringLiteral(".txt"));
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kTextPlain),
              QStringLiteral("/a/mms/tmp/tmp") + counterText(counter + 1) + QStringLiteral(".txt"));
}

TEST(GenerateFileNameTest, SmallNumbersArePaddedWithZerosToFiveDigits)
{
    const int counter = nextCounter();
    const QString name = MMS_UTIL_Common::generateFileName(kNoExtension);
    if (counter > 99999)
        GTEST_SKIP() << "the shared counter has already grown past five digits";
    ASSERT_EQ(name.size(), 5);
    EXPECT_EQ(name.toInt(), counter);
    if (counter < 10000) {
        EXPECT_TRUE(name.startsWith(QLatin1Char('0'))) << name.toStdString();
    }
}

TEST(GenerateFileNameTest, CounterGrowsToSixDigitsAfter99999)
{
    const int first = nextCounter();
    if (first > 100000)
        GTEST_SKIP() << "the shared counter has already passed 100000";
    // Every name on the way must be the counter padded to five digits.
    for (int counter = first; counter < 99999; ++counter)
        ASSERT_EQ(MMS_UTIL_Common::generateFileName(kNoExtension), counterText(counter));
    if (first <= 99999) {
        EXPECT_EQ(MMS_UTIL_Common::generateFileName(kNoExtension), QStringLiteral("99999"));
    }
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kNoExtension), QStringLiteral("100000"));
    ScopedDownloadPath path(QByteArray("/a"));
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kTextPlain),
              QStringLiteral("/a/mms/tmp/tmp100001.txt"));
}

TEST_F(DownloadAreaTest, GenerateFileNameReturnsTheNameOfAnExistingFile)
{
    const int counter = nextCounter();
    const QString expected =
        tmpDir() + QStringLiteral("tmp") + counterText(counter) + QStringLiteral(".txt");
    writeFile(expected, "kept");
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kTextPlain), expected);
    QFile file(expected);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("kept"));
}

TEST_F(DownloadAreaTest, GenerateFileNameDoesNotCreateTheFile)
{
    const QString name = MMS_UTIL_Common::generateFileName(kTextPlain);
    EXPECT_TRUE(name.startsWith(tmpDir()));
    EXPECT_FALSE(QFileInfo::exists(name));
}

TEST_F(DownloadAreaTest, CreateTempFileCreatesAnEmptyFileUnderTheGeneratedName)
{
    const int counter = nextCounter();
    const QString name = MMS_UTIL_Common::createTempFile(0x1E);
    EXPECT_EQ(name,
              tmpDir() + QStringLiteral("tmp") + counterText(counter) + QStringLiteral(".jpg"));
    const QFileInfo info(name);
    EXPECT_TRUE(info.isFile());
    EXPECT_EQ(info.size(), 0);
}

TEST_F(DownloadAreaTest, CreateTempFileForMmsMessageCreatesItInTheMailFileDirectory)
{
    const int counter = nextCounter();
    const QString name = MMS_UTIL_Common::createTempFile(kMmsMessage);
    EXPECT_EQ(name, mailFileDir() + QStringLiteral("tmp") + counterText(counter) +
                        QStringLiteral(".mms"));
    EXPECT_TRUE(QFileInfo(name).isFile());
}

TEST_F(DownloadAreaTest, CreateTempFileCountsAsAGeneratedName)
{
    const int counter = nextCounter();
    EXPECT_FALSE(MMS_UTIL_Common::createTempFile(kTextPlain).isEmpty());
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kNoExtension), counterText(counter + 1));
}

TEST_F(DownloadAreaTest, CreateTempFileTruncatesAnExistingFileOfThatName)
{
    const int counter = nextCounter();
    const QString expected =
        tmpDir() + QStringLiteral("tmp") + counterText(counter) + QStringLiteral(".txt");
    writeFile(expected, "old content");
    EXPECT_EQ(MMS_UTIL_Common::createTempFile(kTextPlain), expected);
    const QFileInfo info(expected);
    EXPECT_TRUE(info.isFile());
    EXPECT_EQ(info.size(), 0);
}

TEST_F(DownloadAreaTest, CreateTempFileInAMissingDirectoryReturnsEmptyNotNull)
{
    ASSERT_TRUE(QDir(tmpDir()).removeRecursively());
    const int counter = nextCounter();
    const QString name = MMS_UTIL_Common::createTempFile(kTextPlain);
    EXPECT_TRUE(name.isEmpty());
    EXPECT_FALSE(name.isNull());
    EXPECT_FALSE(QFileInfo::exists(tmpDir()));
    // The failed attempt still used up its name.
    EXPECT_EQ(MMS_UTIL_Common::generateFileName(kNoExtension), counterText(counter + 1));
}

TEST_F(DownloadAreaTest, CreateTempFileWithoutExtensionCreatesTheBareNameRelativeToCwd)
{
    // The bare digits name a file in the current directory; run from inside the temporary area.
    const QString savedCwd = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(tmpDir()));
    const int counter = nextCounter();
    const QString name = MMS_UTIL_Common::createTempFile(kNoExtension);
    const bool created = QFileInfo(tmpDir() + counterText(counter)).isFile();
    ASSERT_TRUE(QDir::setCurrent(savedCwd));
    EXPECT_EQ(name, counterText(counter));
    EXPECT_TRUE(created);
}
