// Where the platform keeps its stores, as the library tells its callers.

#include "platform_paths.h"

#include "support/scoped_environment.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

namespace
{

TEST(PlatformPathsTest, IsTheDirectoryTheEnvironmentNames)
{
    QTemporaryDir temp;
    ASSERT_TRUE(temp.isValid());
    const QString dir = temp.filePath(QStringLiteral("platform"));
    const tavmms_test::ScopedEnvironment platform("TAV_PLATFORM_DIR", dir.toUtf8());
    EXPECT_EQ(tavmms::platformDirectory(), dir);
    EXPECT_TRUE(QDir(dir).exists());
}

} // namespace
