// Byte-string tools of MMS_UTIL_Tool: 16-bit arrays, splitting, and the debug dumps.

#include "mms_util_tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSysInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

using Units = std::unique_ptr<unsigned short[]>;

Units toUnits(const QString& text)
{
    return Units(MMS_UTIL_Tool::qstringToWCHAR(text));
}

// The pieces as standard strings, so that failures print readably.
std::vector<std::string> split(const QByteArray& separator, const QByteArray& text)
{
    std::vector<std::string> pieces;
    for (const QCString& piece : MMS_UTIL_Tool::split(separator, text))
        pieces.push_back(piece.toStdString());
    return pieces;
}

// Everything the call writes to standard output, including what the C library still buffers.
std::string capturedStdout(const std::function<void()>& call)
{
    std::fflush(stdout);
    ::testing::internal::CaptureStdout();
    call();
    std::fflush(stdout);
    return ::testing::internal::GetCapturedStdout();
}

std::string dumpOfFile(const QString& path)
{
    return capturedStdout([&] { MMS_UTIL_Tool::logOutFrFile(path); });
}

class LogOutFrFileTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir_.isValid()); }

    // A file of `size` bytes in the temporary directory (sparse: its bytes read as zeros).
    QString fileOfSize(qint64 size)
    {
        const QString path = dir_.filePath(QStringLiteral("dump.bin"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_TRUE(file.resize(size));
        return path;
    }

    QTemporaryDir dir_;
};

} // namespace

TEST(QStringToWcharTest, LetterAHasItsTwoBytesExchanged)
{
    const Units units = toUnits(QStringLiteral("A"));
    ASSERT_NE(units, nullptr);
    EXPECT_EQ(units[0], 16640);
    EXPECT_EQ(units[1], 0);
}

TEST(QStringToWcharTest, NonAsciiCharactersHaveTheirTwoBytesExchanged)
{
    // e acute (0x00E9), euro sign (0x20AC), A with macron (0x0100).
    const Units units = toUnits(QString::fromUtf16(u"\u00E9\u20AC\u0100"));
    ASSERT_NE(units, nullptr);
    EXPECT_EQ(units[0], 0xE900);
    EXPECT_EQ(units[1], 0xAC20);
    EXPECT_EQ(units[2], 0x0001);
    EXPECT_EQ(units[3], 0);
}

TEST(QStringToWcharTest, SurrogatePairGivesTwoExchangedUnits)
{
    // U+1F600 is D83D DE00 in UTF-16.
    const Units units = toUnits(QString::fromUcs4(U"\U0001F600"));
    ASSERT_NE(units, nullptr);
    EXPECT_EQ(units[0], 0x3DD8);
    EXPECT_EQ(units[1], 0x00DE);
    EXPECT_EQ(units[2], 0);
}

TEST(QStringToWcharTest, MemoryReadsAsBigEndianUcs2)
{
    if (QSysInfo::ByteOrder != QSysInfo::LittleEndian)
        GTEST_SKIP() << "the byte layout is fixed for little-endian targets";
    const QString text = QString::fromUtf16(u"Hi\u20AC");
    const Units units = toUnits(text);
    ASSERT_NE(units, nullptr);
    const QByteArray memory(reinterpret_cast<const char*>(units.get()), 2 * (text.size() + 1));
    EXPECT_EQ(memory, QByteArray("\x00\x48\x00\x69\x20\xAC\x00\x00", 8));
}

TEST(QStringToWcharTest, NullStringGivesASingleZeroUnit)
{
    const Units units = toUnits(QString());
    ASSERT_NE(units, nullptr);
    EXPECT_EQ(units[0], 0);
}

TEST(QStringToWcharTest, EmptyStringGivesASingleZeroUnit)
{
    const Units units = toUnits(QStringLiteral(""));
    ASSERT_NE(units, nullptr);
    EXPECT_EQ(units[0], 0);
}

TEST(QStringToWcharTest, ArrayIsTerminatedAfterEveryCharacter)
{
    const QString text = QStringLiteral("Hello, world");
    const Units units = toUnits(text);
    ASSERT_NE(units, nullptr);
    EXPECT_EQ(MMS_UTIL_Tool::uStrLen(units.get()), unsigned(text.size()));
    EXPECT_EQ(units[text.size()], 0);
}

TEST(UStrLenTest, NullPointerGivesZero)
{
    EXPECT_EQ(MMS_UTIL_Tool::uStrLen(nullptr), 0u);
}

TEST(UStrLenTest, LeadingZeroUnitGivesZero)
{
    unsigned short units[] = {0, 0x4100, 0x4200, 0};
    EXPECT_EQ(MMS_UTIL_Tool::uStrLen(units), 0u);
}

TEST(UStrLenTest, CountsUnitsBeforeTheFirstZeroUnit)
{
    unsigned short units[] = {0x4100, 0x4200, 0x4300, 0, 0x4400, 0};
    EXPECT_EQ(MMS_UTIL_Tool::uStrLen(units), 3u);
}

TEST(UStrLenTest, UnitWithAZeroByteIsNotTheEnd)
{
    unsigned short units[] = {0x0100, 0x4100, 0x00FF, 0};
    EXPECT_EQ(MMS_UTIL_Tool::uStrLen(units), 3u);
}

TEST(SplitTest, CutsAtEverySeparator)
{
    EXPECT_THAT(split(",", "a,b,c"), ElementsAre("a", "b", "c"));
}

TEST(SplitTest, AdjacentSeparatorsGiveNoEmptyPiece)
{
    EXPECT_THAT(split(",", "a,,b,,,c"), ElementsAre("a", "b", "c"));
}

TEST(SplitTest, SeparatorAtTheStartGivesNoEmptyPiece)
{
    EXPECT_THAT(split(",", ",a,b"), ElementsAre("a", "b"));
}

TEST(SplitTest, SeparatorAtTheEndGivesNoEmptyPiece)
{
    EXPECT_THAT(split(",", "a,b,"), ElementsAre("a", "b"));
}

TEST(SplitTest, OnlySeparatorsGiveNoPiece)
{
    EXPECT_THAT(split(",", ",,,"), IsEmpty());
}

TEST(SplitTest, OnlyTheLastPieceIsStrippedOfWhiteSpace)
{
    EXPECT_THAT(split(",", " a , b \t, c \n"), ElementsAre(" a ", " b \t", "c"));
}

TEST(SplitTest, TextWithoutSeparatorGivesTheWholeTextStripped)
{
    EXPECT_THAT(split(",", "  one piece\t"), ElementsAre("one piece"));
}

TEST(SplitTest, EmptyTextGivesNoPiece)
{
    EXPECT_THAT(split(",", ""), IsEmpty());
}

TEST(SplitTest, NullTextGivesNoPiece)
{
    EXPECT_THAT(split(",", QByteArray()), IsEmpty());
}

TEST(SplitTest, TailOfBlanksGivesAnEmptyLastPiece)
{
    EXPECT_THAT(split(",", "a,b,   "), ElementsAre("a", "b", ""));
}

TEST(SplitTest, BlankTextWithoutSeparatorGivesOneEmptyPiece)
{
    EXPECT_THAT(split(",", " \t "), ElementsAre(""));
}

TEST(SplitTest, MultiCharacterSeparatorIsMatchedWhole)
{
    EXPECT_THAT(split("::", "a::b:c::d"), ElementsAre("a", "b:c", "d"));
}

TEST(SplitTest, MultiCharacterSeparatorResumesAfterTheWholeMatch)
{
    EXPECT_THAT(split("::", "a:::b"), ElementsAre("a", ":b"));
}

TEST(SplitTest, SeparatorIsMatchedCaseSensitively)
{
    EXPECT_THAT(split("X", "axbXc"), ElementsAre("axb", "c"));
}

TEST(SplitTest, EmptySeparatorGivesTheWholeTextStripped)
{
    EXPECT_THAT(split("", " a,b "), ElementsAre("a,b"));
}

TEST(SplitTest, NullSeparatorGivesTheWholeTextStripped)
{
    EXPECT_THAT(split(QByteArray(), " a,b "), ElementsAre("a,b"));
}

TEST(SplitTest, EmptySeparatorOnEmptyTextGivesNoPiece)
{
    EXPECT_THAT(split("", ""), IsEmpty());
}

TEST(SplitTest, TextIsTakenUpToItsFirstZeroByte)
{
    EXPECT_THAT(split(",", QByteArray("a,b\0,c", 6)), ElementsAre("a", "b"));
}

TEST(SplitTest, SeparatorIsTakenUpToItsFirstZeroByte)
{
    EXPECT_THAT(split(QByteArray(",\0;", 3), "a,b;c"), ElementsAre("a", "b;c"));
}

TEST(SplitTest, SeparatorStartingWithAZeroByteActsAsEmpty)
{
    EXPECT_THAT(split(QByteArray("\0,", 2), " a,b "), ElementsAre("a,b"));
}

TEST(LogOutTest, ZeroBytesWriteOnlyTheLengthLine)
{
    unsigned char byte = 0x41;
    EXPECT_EQ(capturedStdout([&] { MMS_UTIL_Tool::logOut(&byte, 0); }),
              "The data length is: 0\r\n");
}

TEST(LogOutTest, NullDataWithZeroLengthWritesTheLengthLine)
{
    EXPECT_EQ(capturedStdout([] { MMS_UTIL_Tool::logOut(nullptr, 0); }),
              "The data length is: 0\r\n");
}

TEST(LogOutTest, DumpLinesAreNotWritten)
{
    unsigned char data[20];
    for (unsigned i = 0; i < sizeof data; ++i)
        data[i] = static_cast<unsigned char>(0x30 + i);
    EXPECT_EQ(capturedStdout([&] { MMS_UTIL_Tool::logOut(data, sizeof data); }),
              "The data length is: 20\r\n");
}

TEST(LogOutTest, LengthIsPrintedAsSignedDecimal)
{
    // A null buffer is never read through, so the largest lengths need no buffer of that size.
    EXPECT_EQ(capturedStdout([] { MMS_UTIL_Tool::logOut(nullptr, 0x80000000u); }),
              "The data length is: -2147483648\r\n");
    EXPECT_EQ(capturedStdout([] { MMS_UTIL_Tool::logOut(nullptr, 0xFFFFFFFFu); }),
              "The data length is: -1\r\n");
    EXPECT_EQ(capturedStdout([] { MMS_UTIL_Tool::logOut(nullptr, 0x7FFFFFFFu); }),
              "The data length is: 2147483647\r\n");
}

TEST_F(LogOutFrFileTest, MissingFilePrintsNothing)
{
    EXPECT_EQ(dumpOfFile(dir_.filePath(QStringLiteral("absent.bin"))), "");
}

TEST_F(LogOutFrFileTest, EmptyPathPrintsNothing)
{
    EXPECT_EQ(dumpOfFile(QString()), "");
}

TEST_F(LogOutFrFileTest, FilePrintsItsLength)
{
    EXPECT_EQ(dumpOfFile(fileOfSize(37)), "The data length is: 37\r\n");
}

TEST_F(LogOutFrFileTest, EmptyFilePrintsZeroLength)
{
    EXPECT_EQ(dumpOfFile(fileOfSize(0)), "The data length is: 0\r\n");
}

TEST_F(LogOutFrFileTest, UnopenableFileIsDumpedAsZeroBytes)
{
    // A directory exists but cannot be opened as a file.
    const QString path = dir_.filePath(QStringLiteral("sub"));
    ASSERT_TRUE(QDir(dir_.path()).mkdir(QStringLiteral("sub")));
    EXPECT_EQ(dumpOfFile(path), "The data length is: 0\r\n");
}

TEST_F(LogOutFrFileTest, LargeFileIsDumpedUpTo16MiB)
{
    EXPECT_EQ(dumpOfFile(fileOfSize(16 * 1024 * 1024 + 100)), "The data length is: 16777216\r\n");
}
