// Encoded strings and text parts in the charsets MMSCs send, named by their MIBenum: decoded, and
// bad or cut-short bytes given as U+FFFD with a warning, never an error.

#include "charsets.h"

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::charsetName;
using tavmms::pdu::DecodedText;
using tavmms::pdu::decodeText;

QString decoded(const QByteArray& bytes, quint64 mibEnum, bool replaced = false)
{
    const std::optional<DecodedText> text = decodeText(bytes, mibEnum);
    EXPECT_TRUE(text) << mibEnum;
    if (!text)
        return QString();
    EXPECT_EQ(text->replaced, replaced) << mibEnum;
    return text->text;
}

TEST(CharsetsTest, NamesTheCharsetsByTheirMibEnum)
{
    EXPECT_EQ(charsetName(106), QByteArray("UTF-8"));
    EXPECT_EQ(charsetName(4), QByteArray("ISO-8859-1"));
    EXPECT_EQ(charsetName(111), QByteArray("ISO-8859-15"));
    EXPECT_EQ(charsetName(2252), QByteArray("windows-1252"));
    EXPECT_EQ(charsetName(17), QByteArray("Shift_JIS"));
    EXPECT_EQ(charsetName(0), QByteArray());
    EXPECT_EQ(charsetName(99999), QByteArray());
    EXPECT_FALSE(decodeText("x", 99999));
}

TEST(CharsetsTest, EveryCharsetInTheTableIsAvailable)
{
    for (const quint64 mib :
         {3,   4,    5,    6,    7,    8,    9,    10,   11,   12,   13,   109,  110,
          111, 106,  1000, 1013, 1014, 1015, 17,   18,   39,   36,   38,   2025, 113,
          114, 2026, 2084, 2250, 2251, 2252, 2253, 2254, 2255, 2256, 2257, 2258}) {
        SCOPED_TRACE(mib);
        EXPECT_FALSE(charsetName(mib).isEmpty());
        EXPECT_TRUE(decodeText(QByteArrayView(), mib)) << charsetName(mib).toStdString();
    }
}

TEST(CharsetsTest, DecodesTextInEachFamilyOfCharsets)
{
    const QString sun = QString::fromUtf8("\xe6\x97\xa5");
    EXPECT_EQ(decoded("\xc3\xa9t\xc3\xa9", 106), QString::fromUtf8("\xc3\xa9t\xc3\xa9"));
    EXPECT_EQ(decoded("\xe9t\xe9", 4), QString::fromUtf8("\xc3\xa9t\xc3\xa9"));
    EXPECT_EQ(decoded("\xa4", 111), QString::fromUtf8("\xe2\x82\xac"));
    EXPECT_EQ(decoded("\x80", 2252), QString::fromUtf8("\xe2\x82\xac"));
    EXPECT_EQ(decoded("\x93\xfa", 17), sun);
    EXPECT_EQ(decoded("\xc8\xd5", 113), sun);
    EXPECT_EQ(decoded("\xa4\xe9", 2026), sun);
    EXPECT_EQ(decoded("\xec\xed", 38), sun);
}

TEST(CharsetsTest, Utf16FollowsItsByteOrderMarkAndIsBigEndianWithoutOne)
{
    EXPECT_EQ(decoded(QByteArray("\xfe\xff\x00\x41", 4), 1015), QStringLiteral("A"));
    EXPECT_EQ(decoded(QByteArray("\xff\xfe\x41\x00", 4), 1015), QStringLiteral("A"));
    EXPECT_EQ(decoded(QByteArray("\x00\x41\x00\x42", 4), 1015), QStringLiteral("AB"));
    EXPECT_EQ(decoded(QByteArray("\x00\x41", 2), 1000), QStringLiteral("A"));
    EXPECT_EQ(decoded(QByteArray("\x41\x00", 2), 1014), QStringLiteral("A"));
}

TEST(CharsetsTest, BadOrCutShortBytesBecomeOneReplacementCharacterEach)
{
    EXPECT_EQ(decoded("a\xff"
                      "b",
                      38, true),
              QStringLiteral("a\uFFFDb"));
    EXPECT_EQ(decoded("x\xe6\x97", 106, true), QStringLiteral("x\uFFFD"));
    EXPECT_EQ(decoded("a\xff"
                      "b",
                      106, true),
              QStringLiteral("a\uFFFDb"));
    EXPECT_EQ(decoded(QByteArray("\x00\x41\x00", 3), 1013, true), QStringLiteral("A\uFFFD"));
    EXPECT_EQ(decoded("a\x93", 17, true), QStringLiteral("a\uFFFD"));
}

} // namespace
