// The dump lines composed for MMS_UTIL_Tool::logOut.

#include "hexdump.h"

#include <gtest/gtest.h>

#include <QByteArray>

#include <string>
#include <vector>

namespace
{

std::string blanks(int count)
{
    return std::string(size_t(count), ' ');
}

// The line composed when no bytes remain: sixteen empty hexadecimal columns and the gap.
const std::string kEmptyLine = blanks(16 * 3 + 10) + "\n";

std::string dump(const std::vector<unsigned char>& bytes)
{
    return tavmms::hexDumpLines(bytes.data(), unsigned(bytes.size())).toStdString();
}

} // namespace

TEST(HexDumpLinesTest, ZeroBytesComposeOnlyTheEmptyLine)
{
    EXPECT_EQ(dump({}), kEmptyLine);
}

TEST(HexDumpLinesTest, NullDataComposesOnlyTheEmptyLine)
{
    EXPECT_EQ(tavmms::hexDumpLines(nullptr, 0).toStdString(), kEmptyLine);
}

TEST(HexDumpLinesTest, SixteenBytesComposeAFullLineAndTheEmptyLine)
{
    std::vector<unsigned char> bytes;
    for (unsigned char c = 'A'; c <= 'P'; ++c)
        bytes.push_back(c);
    EXPECT_EQ(dump(bytes), "41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50 " + blanks(10) +
                               "ABCDEFGHIJKLMNOP\n" + kEmptyLine);
}

TEST(HexDumpLinesTest, PartialLastLineKeepsTheCharacterColumnAligned)
{
    EXPECT_EQ(dump({0x61, 0x62, 0x63}), "61 62 63 " + blanks(13 * 3) + blanks(10) + "abc\n");
}

TEST(HexDumpLinesTest, FullLineIsFollowedByThePartialLine)
{
    std::vector<unsigned char> bytes(16, '0');
    bytes.push_back('x');
    bytes.push_back('y');
    EXPECT_EQ(dump(bytes), "30 30 30 30 30 30 30 30 30 30 30 30 30 30 30 30 " + blanks(10) +
                               "0000000000000000\n" + "78 79 " + blanks(14 * 3) + blanks(10) +
                               "xy\n");
}

TEST(HexDumpLinesTest, HexDigitsAreTwoLowerCaseDigits)
{
    EXPECT_EQ(dump({0x00, 0x0a, 0xab, 0xff}),
              "00 0a ab ff " + blanks(12 * 3) + blanks(10) + "....\n");
}

TEST(HexDumpLinesTest, PrintableRangeIncludes32To127)
{
    EXPECT_EQ(dump({31, 32, 126, 127, 128}),
              "1f 20 7e 7f 80 " + blanks(11 * 3) + blanks(10) + ". ~\x7f.\n");
}

TEST(HexDumpLinesTest, ThirtyTwoBytesComposeTwoFullLinesAndTheEmptyLine)
{
    std::vector<unsigned char> bytes(32, 0x7f);
    const std::string full = "7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f 7f " + blanks(10) +
                             std::string(16, '\x7f') + "\n";
    EXPECT_EQ(dump(bytes), full + full + kEmptyLine);
}
