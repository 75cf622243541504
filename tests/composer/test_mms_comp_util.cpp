// The composer's path and name helpers and its silent time stamp.

#include "mms_comp_util.h"
#include "mms_comp_util_p.h"

#include "support/model_helpers.h"
#include "support/text_checks.h"

#include <gtest/gtest.h>

#include <QString>

namespace
{

using tavmms::storedTimeStamp;
using tavmms::storeTimeStamp;
using tavmms::timeStampOf;
using tavmms_test::expectEmptyText;

// ---- stripePath ----

TEST(MmsCompUtilStripePath, TakesWhatFollowsTheLastSeparatorOfEitherKindAfterTrimming)
{
    EXPECT_EQ(MMS_COMP_Util::stripePath(QStringLiteral("  /a/b\\c.jpg \t\n")),
              QStringLiteral("c.jpg"));
    EXPECT_EQ(MMS_COMP_Util::stripePath(QStringLiteral("C:\\a\\b/c\\d.png")),
              QStringLiteral("d.png"));
}

TEST(MmsCompUtilStripePath, KeepsANameWithoutSeparatorWhole)
{
    EXPECT_EQ(MMS_COMP_Util::stripePath(QStringLiteral("c.jpg")), QStringLiteral("c.jpg"));
    EXPECT_EQ(MMS_COMP_Util::stripePath(QStringLiteral("  c d.jpg  ")), QStringLiteral("c d.jpg"));
}

TEST(MmsCompUtilStripePath, GivesEmptyForAPathEndingInASeparator)
{
    expectEmptyText(MMS_COMP_Util::stripePath(QStringLiteral("/a/")));
    expectEmptyText(MMS_COMP_Util::stripePath(QStringLiteral("a\\ ")));
}

TEST(MmsCompUtilStripePath, KeepsBlanksThatFollowTheSeparator)
{
    EXPECT_EQ(MMS_COMP_Util::stripePath(QStringLiteral(" /a/  b.txt ")), QStringLiteral("  b.txt"));
}

// ---- getExtName ----

TEST(MmsCompUtilGetExtName, KeepsTheExtensionsLetterCase)
{
    EXPECT_EQ(MMS_COMP_Util::getExtName(QStringLiteral("photo.JPG")), QStringLiteral("JPG"));
}

TEST(MmsCompUtilGetExtName, GivesEmptyWithoutADotOrAfterAFinalDot)
{
    expectEmptyText(MMS_COMP_Util::getExtName(QStringLiteral("photo")));
    expectEmptyText(MMS_COMP_Util::getExtName(QStringLiteral("photo.")));
    expectEmptyText(MMS_COMP_Util::getExtName(QStringLiteral("photo. ")));
}

TEST(MmsCompUtilGetExtName, TakesTheTextAfterTheLastOfTwoDots)
{
    EXPECT_EQ(MMS_COMP_Util::getExtName(QStringLiteral("archive.tar.gz")), QStringLiteral("gz"));
}

TEST(MmsCompUtilGetExtName, TrimsTheExtension)
{
    EXPECT_EQ(MMS_COMP_Util::getExtName(QStringLiteral("a. mp3 ")), QStringLiteral("mp3"));
}

TEST(MmsCompUtilGetExtName, DoesNotLookAtDirectories)
{
    EXPECT_EQ(MMS_COMP_Util::getExtName(QStringLiteral("dir.d/file")), QStringLiteral("d/file"));
}

// ---- getNoExtName ----

TEST(MmsCompUtilGetNoExtName, CutsAtTheFirstOfTwoDots)
{
    EXPECT_EQ(MMS_COMP_Util::getNoExtName(QStringLiteral("archive.tar.gz")),
              QStringLiteral("archive"));
}

TEST(MmsCompUtilGetNoExtName, GivesEmptyForANameBeginningWithADot)
{
    expectEmptyText(MMS_COMP_Util::getNoExtName(QStringLiteral(".profile")));
}

TEST(MmsCompUtilGetNoExtName, GivesANameWithoutDotUnchanged)
{
    EXPECT_EQ(MMS_COMP_Util::getNoExtName(QStringLiteral(" my photo ")),
              QStringLiteral(" my photo "));
}

TEST(MmsCompUtilGetNoExtName, DoesNotRebuildANameWithTwoDotsTogetherWithGetExtName)
{
    const QString name = QStringLiteral("a.b.c");
    EXPECT_EQ(MMS_COMP_Util::getNoExtName(name) + QLatin1Char('.') +
                  MMS_COMP_Util::getExtName(name),
              QStringLiteral("a.c"));
}

// ---- isOnlyLetterOrNumber ----

TEST(MmsCompUtilIsOnlyLetterOrNumber, AcceptsAnEmptyText)
{
    EXPECT_TRUE(MMS_COMP_Util::isOnlyLetterOrNumber(QStringLiteral("")));
    EXPECT_TRUE(MMS_COMP_Util::isOnlyLetterOrNumber(QString()));
}

TEST(MmsCompUtilIsOnlyLetterOrNumber, AcceptsLettersDigitsAndTheSixMarks)
{
    EXPECT_TRUE(MMS_COMP_Util::isOnlyLetterOrNumber(QStringLiteral("my file_1-2.txt")));
    EXPECT_TRUE(MMS_COMP_Util::isOnlyLetterOrNumber(
        QStringLiteral("ABCXYZ abcxyz 0189 ./\\-_ dir/sub\\f.x")));
}

TEST(MmsCompUtilIsOnlyLetterOrNumber, RefusesPlusColonAndAccentedLetters)
{
    EXPECT_FALSE(MMS_COMP_Util::isOnlyLetterOrNumber(QStringLiteral("a+b")));
    EXPECT_FALSE(MMS_COMP_Util::isOnlyLetterOrNumber(QStringLiteral("c:file")));
    EXPECT_FALSE(MMS_COMP_Util::isOnlyLetterOrNumber(QStringLiteral("caf\u00e9")));
}

TEST(MmsCompUtilIsOnlyLetterOrNumber, RefusesEveryOtherCharacter)
{
    // Every 16-bit value outside the accepted classes, each placed after accepted ones.
    for (int code = 0; code <= 0xFFFF; ++code) {
        const bool accepted = (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z') ||
                              (code >= '0' && code <= '9') || code == '.' || code == '-' ||
                              code == '_' || code == ' ' || code == '\\' || code == '/';
        const QString text = QStringLiteral("ok_1 ") + QChar(char16_t(code));
        EXPECT_EQ(MMS_COMP_Util::isOnlyLetterOrNumber(text), accepted) << "U+" << std::hex << code;
    }
}

TEST(MmsCompUtilIsOnlyLetterOrNumber, RefusesTabAndCjkCharacters)
{
    EXPECT_FALSE(MMS_COMP_Util::isOnlyLetterOrNumber(QStringLiteral("a\tb")));
    EXPECT_FALSE(MMS_COMP_Util::isOnlyLetterOrNumber(QStringLiteral("\u7167\u7247.jpg")));
}

// ---- printTimeStamp ----

TEST(MmsCompUtilPrintTimeStamp, PrintsNothingWhateverItsArguments)
{
    char label[] = "composer";
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    MMS_COMP_Util::printTimeStamp(label, 42);
    MMS_COMP_Util::printTimeStamp(nullptr, -1);
    MMS_COMP_Util::printTimeStamp("", 0);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

TEST(MmsCompUtilPrintTimeStamp, StoresTheTimeOfDayInMicroseconds)
{
    timeval before{};
    timeval after{};
    ASSERT_TRUE(tavmms::readSystemClock(&before));
    MMS_COMP_Util::printTimeStamp("t", 0);
    ASSERT_TRUE(tavmms::readSystemClock(&after));
    // Differences in 32 bits stay right across a wrap between the two readings.
    const std::uint32_t sinceBefore = storedTimeStamp() - timeStampOf(before);
    EXPECT_LE(sinceBefore, timeStampOf(after) - timeStampOf(before));
}

TEST(MmsCompUtilTimeStamp, WrapsInThirtyTwoBits)
{
    EXPECT_EQ(timeStampOf(timeval{4295, 17}), 32704u + 17u);
    EXPECT_EQ(timeStampOf(timeval{1700000000, 999999}),
              std::uint32_t((1700000000ull * 1000000ull + 999999ull) & 0xFFFFFFFFull));
}

TEST(MmsCompUtilTimeStamp, AFailedClockReadLeavesTheStampUnchanged)
{
    storeTimeStamp([](timeval* now) {
        *now = timeval{12, 345};
        return true;
    });
    ASSERT_EQ(storedTimeStamp(), 12000345u);
    storeTimeStamp([](timeval* now) {
        *now = timeval{99, 0};
        return false;
    });
    EXPECT_EQ(storedTimeStamp(), 12000345u);
}

// ---- matching the registry's extensions with the supported ones ----

TEST(FirstSupportedExtension, FollowsTheRegistrysOrderNotTheSupportedOne)
{
    EXPECT_EQ(tavmms::firstSupportedExtension({QStringLiteral("jpg"), QStringLiteral("jpeg")},
                                              {QStringLiteral("jpeg"), QStringLiteral("jpg")}),
              QStringLiteral("jpg"));
}

TEST(FirstSupportedExtension, ComparesWithoutCaseAndAnswersInLowerCase)
{
    EXPECT_EQ(tavmms::firstSupportedExtension({QStringLiteral("TIF"), QStringLiteral("PnG")},
                                              {QStringLiteral("pNg")}),
              QStringLiteral("png"));
}

TEST(FirstSupportedExtension, GivesEmptyWhenNothingMatchesOrAListIsEmpty)
{
    expectEmptyText(
        tavmms::firstSupportedExtension({QStringLiteral("tif")}, {QStringLiteral("png")}));
    expectEmptyText(tavmms::firstSupportedExtension({}, {QStringLiteral("png")}));
    expectEmptyText(tavmms::firstSupportedExtension({QStringLiteral("png")}, {}));
}

} // namespace
