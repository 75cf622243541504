#include "qt2string.h"

#include "support/model_helpers.h"

#include <gtest/gtest.h>

using tavmms::qt2Left;
using tavmms::qt2Mid;
using tavmms::qt2Right;

namespace
{

const QString kText = QStringLiteral("abcdef");
const QString kEmpty = QLatin1String("");

void expectEmptyNotNull(const QString& text)
{
    EXPECT_FALSE(text.isNull());
    EXPECT_TRUE(text.isEmpty());
}

TEST(Qt2Left, TakesTheFirstCharacters)
{
    EXPECT_EQ(qt2Left(kText, 2), QStringLiteral("ab"));
}

TEST(Qt2Left, EmptySourceGivesNull)
{
    EXPECT_TRUE(qt2Left(kEmpty, 2).isNull());
    EXPECT_TRUE(qt2Left(QString(), 2).isNull());
    EXPECT_TRUE(qt2Left(kEmpty, 0).isNull());
}

TEST(Qt2Left, CountZeroGivesEmpty)
{
    expectEmptyNotNull(qt2Left(kText, 0));
}

TEST(Qt2Left, CountBeyondTheEndGivesTheWholeText)
{
    EXPECT_EQ(qt2Left(kText, 6), kText);
    EXPECT_EQ(qt2Left(kText, 100), kText);
}

TEST(Qt2Left, NegativeCountGivesTheWholeText)
{
    EXPECT_EQ(qt2Left(kText, -1), kText);
    EXPECT_EQ(qt2Left(kText, -5), kText);
}

TEST(Qt2Right, TakesTheLastCharacters)
{
    EXPECT_EQ(qt2Right(kText, 2), QStringLiteral("ef"));
}

TEST(Qt2Right, EmptySourceGivesNull)
{
    EXPECT_TRUE(qt2Right(kEmpty, 2).isNull());
    EXPECT_TRUE(qt2Right(QString(), 2).isNull());
    EXPECT_TRUE(qt2Right(kEmpty, 0).isNull());
}

TEST(Qt2Right, CountZeroGivesEmpty)
{
    expectEmptyNotNull(qt2Right(kText, 0));
}

TEST(Qt2Right, CountBeyondTheEndGivesTheWholeText)
{
    EXPECT_EQ(qt2Right(kText, 6), kText);
    EXPECT_EQ(qt2Right(kText, 100), kText);
}

TEST(Qt2Right, NegativeCountGivesTheWholeText)
{
    EXPECT_EQ(qt2Right(kText, -1), kText);
}

TEST(Qt2Mid, TakesCountCharactersFromIndex)
{
    EXPECT_EQ(qt2Mid(kText, 1, 3), QStringLiteral("bcd"));
    EXPECT_EQ(qt2Mid(kText, 0, 6), kText);
}

TEST(Qt2Mid, DefaultCountTakesTheRest)
{
    EXPECT_EQ(qt2Mid(kText, 2), QStringLiteral("cdef"));
}

TEST(Qt2Mid, NegativeCountTakesTheRest)
{
    EXPECT_EQ(qt2Mid(kText, 4, -1), QStringLiteral("ef"));
}

TEST(Qt2Mid, CountBeyondTheEndIsCut)
{
    EXPECT_EQ(qt2Mid(kText, 4, 10), QStringLiteral("ef"));
}

TEST(Qt2Mid, EmptySourceGivesNull)
{
    EXPECT_TRUE(qt2Mid(kEmpty, 0, 1).isNull());
    EXPECT_TRUE(qt2Mid(QString(), 0).isNull());
    EXPECT_TRUE(qt2Mid(kEmpty, 0, 0).isNull());
}

TEST(Qt2Mid, IndexAtOrPastTheEndGivesNull)
{
    EXPECT_TRUE(qt2Mid(kText, 6, 1).isNull());
    EXPECT_TRUE(qt2Mid(kText, 7).isNull());
    EXPECT_TRUE(qt2Mid(kText, 6, 0).isNull());
}

TEST(Qt2Mid, NegativeIndexGivesNull)
{
    EXPECT_TRUE(qt2Mid(kText, -1, 2).isNull());
}

TEST(Qt2Mid, CountZeroInsideTheTextGivesEmpty)
{
    expectEmptyNotNull(qt2Mid(kText, 0, 0));
    expectEmptyNotNull(qt2Mid(kText, 5, 0));
}

TEST(Qt2Substrings, ResultsDoNotChangeTheSource)
{
    QString source = QStringLiteral("abc");
    QString left = qt2Left(source, 10);
    left[0] = QLatin1Char('x');
    EXPECT_EQ(source, QStringLiteral("abc"));
}

} // namespace
