// The platform directory: where it is, and how it is made on first use.

#include "platform_dir.h"

#include "support/scoped_environment.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <optional>
#include <sys/stat.h>

namespace
{

using tavmms_test::ScopedEnvironment;

// The permission bits of `path`, or -1 when it does not exist.
int modeOf(const QString& path)
{
    struct stat info;
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return -1;
    return int(info.st_mode & 07777);
}

// Sets the process's file creation mask while the object lives.
class ScopedUmask
{
public:
    explicit ScopedUmask(mode_t mask) : saved_(::umask(mask)) {}
    ~ScopedUmask() { ::umask(saved_); }
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;

private:
    mode_t saved_;
};

// Every test sets the three variables the directory depends on, each to a place of its own in a
// temporary directory (or unsets it).
class PlatformDirTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(temp.isValid()); }

    QString under(const char* name) const { return temp.filePath(QString::fromUtf8(name)); }
    QByteArray underBytes(const char* name) const { return QFile::encodeName(under(name)); }

    void setVariables(const std::optional<QByteArray>& platformDir,
                      const std::optional<QByteArray>& dataHome,
                      const std::optional<QByteArray>& home)
    {
        platformDir_.emplace("TAV_PLATFORM_DIR", platformDir);
        dataHome_.emplace("XDG_DATA_HOME", dataHome);
        home_.emplace("HOME", home);
    }

    QTemporaryDir temp;

private:
    std::optional<ScopedEnvironment> platformDir_;
    std::optional<ScopedEnvironment> dataHome_;
    std::optional<ScopedEnvironment> home_;
};

TEST_F(PlatformDirTest, PlatformDirVariableWinsOverTheOthers)
{
    setVariables(underBytes("platform"), underBytes("data"), underBytes("home"));

    EXPECT_EQ(tavplatform::platformDirectory(), under("platform"));
    EXPECT_TRUE(QDir(under("platform")).exists());
    EXPECT_FALSE(QDir(under("data")).exists());
    EXPECT_FALSE(QDir(under("home")).exists());
}

TEST_F(PlatformDirTest, DataHomeGivesItsTavmmsSubdirectory)
{
    setVariables(std::nullopt, underBytes("data"), underBytes("home"));

    EXPECT_EQ(tavplatform::platformDirectory(), under("data/tavmms"));
    EXPECT_TRUE(QDir(under("data/tavmms")).exists());
    EXPECT_FALSE(QDir(under("home")).exists());
}

TEST_F(PlatformDirTest, EmptyPlatformDirVariableCountsAsUnset)
{
    setVariables(QByteArray(""), underBytes("data"), underBytes("home"));

    EXPECT_EQ(tavplatform::platformDirectory(), under("data/tavmms"));
}

TEST_F(PlatformDirTest, HomeGivesLocalShareTavmmsWhenNoVariableIsSet)
{
    setVariables(std::nullopt, std::nullopt, underBytes("home"));

    EXPECT_EQ(tavplatform::platformDirectory(), under("home/.local/share/tavmms"));
    EXPECT_TRUE(QDir(under("home/.local/share/tavmms")).exists());
}

TEST_F(PlatformDirTest, EmptyDataHomeCountsAsUnset)
{
    setVariables(std::nullopt, QByteArray(""), underBytes("home"));

    EXPECT_EQ(tavplatform::platformDirectory(), under("home/.local/share/tavmms"));
}

TEST_F(PlatformDirTest, RelativeDataHomeIsIgnored)
{
    setVariables(std::nullopt, QByteArray("relative/data"), underBytes("home"));

    EXPECT_EQ(tavplatform::platformDirectory(), under("home/.local/share/tavmms"));
    EXPECT_FALSE(QDir(QStringLiteral("relative")).exists());
}

TEST_F(PlatformDirTest, NoDirectoryWithoutAnyVariable)
{
    setVariables(std::nullopt, std::nullopt, std::nullopt);

    EXPECT_EQ(tavplatform::platformDirectory(), QString());
}

TEST_F(PlatformDirTest, CreatedPrivateToItsOwnerWhateverTheMask)
{
    setVariables(underBytes("a/b/platform"), std::nullopt, std::nullopt);
    const ScopedUmask openMask(0);

    ASSERT_EQ(tavplatform::platformDirectory(), under("a/b/platform"));
    EXPECT_EQ(modeOf(under("a/b/platform")), 0700);
}

TEST_F(PlatformDirTest, DataHomeDirectoryCreatedPrivate)
{
    setVariables(std::nullopt, underBytes("data"), std::nullopt);
    const ScopedUmask openMask(0);

    ASSERT_EQ(tavplatform::platformDirectory(), under("data/tavmms"));
    EXPECT_EQ(modeOf(under("data/tavmms")), 0700);
}

TEST_F(PlatformDirTest, ExistingDirectoryKeptAsItIs)
{
    ASSERT_TRUE(QDir().mkpath(under("platform")));
    ASSERT_EQ(::chmod(underBytes("platform").constData(), 0755), 0);
    QFile kept(under("platform/kept.txt"));
    ASSERT_TRUE(kept.open(QIODevice::WriteOnly));
    ASSERT_EQ(kept.write("kept"), 4);
    kept.close();
    setVariables(underBytes("platform"), std::nullopt, std::nullopt);

    EXPECT_EQ(tavplatform::platformDirectory(), under("platform"));
    EXPECT_EQ(modeOf(under("platform")), 0755);
    EXPECT_TRUE(QFile::exists(under("platform/kept.txt")));
}

TEST_F(PlatformDirTest, CalledTwiceGivesTheSameDirectory)
{
    setVariables(underBytes("platform"), std::nullopt, std::nullopt);

    const QString first = tavplatform::platformDirectory();
    EXPECT_EQ(tavplatform::platformDirectory(), first);
    EXPECT_EQ(modeOf(first), 0700);
}

TEST_F(PlatformDirTest, TrailingSeparatorIsDropped)
{
    setVariables(underBytes("platform") + "/", std::nullopt, std::nullopt);

    EXPECT_EQ(tavplatform::platformDirectory(), under("platform"));
}

TEST_F(PlatformDirTest, FilePathIsTheNameInTheDirectory)
{
    setVariables(underBytes("platform"), std::nullopt, std::nullopt);

    EXPECT_EQ(tavplatform::platformFilePath(QStringLiteral("device.db")),
              under("platform") + QStringLiteral("/device.db"));
}

TEST_F(PlatformDirTest, FilePathIsNullWithoutADirectory)
{
    QFile file(under("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    setVariables(underBytes("file"), std::nullopt, std::nullopt);

    EXPECT_TRUE(tavplatform::platformFilePath(QStringLiteral("device.db")).isNull());
}

TEST_F(PlatformDirTest, PathBelowAFileGivesEmpty)
{
    QFile file(under("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    setVariables(underBytes("file/platform"), std::nullopt, std::nullopt);

    EXPECT_EQ(tavplatform::platformDirectory(), QString());
}

TEST_F(PlatformDirTest, PathThatIsAFileGivesEmpty)
{
    QFile file(under("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    setVariables(underBytes("file"), std::nullopt, std::nullopt);

    EXPECT_EQ(tavplatform::platformDirectory(), QString());
}

} // namespace
