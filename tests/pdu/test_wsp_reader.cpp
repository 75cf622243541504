// The WSP encodings read from bytes as an MMSC or a handset writes them, and from bytes cut short
// or made up: a value that does not read names its offset and what was expected.

#include "support/octets.h"
#include "wsp_reader.h"
#include "wsp_writer.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace
{

using tavmms::pdu::WspReader;
using tavmms::pdu::WspWriter;

QByteArray bytes(std::initializer_list<int> values)
{
    return tavmms::test::octets(values);
}

TEST(WspReaderTest, ReadsUintvarsOfOneToFiveOctets)
{
    const struct {
        QByteArray data;
        quint32 value;
    } cases[] = {
        {bytes({0x00}), 0},
        {bytes({0x7F}), 127},
        {bytes({0x81, 0x00}), 128},
        {bytes({0xFF, 0x7F}), 16383},
        {bytes({0x81, 0x80, 0x00}), 16384},
        {bytes({0x8F, 0xFF, 0xFF, 0xFF, 0x7F}), 0xFFFFFFFFu},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        WspReader reader(c.data);
        EXPECT_EQ(reader.uintvar(), c.value);
        EXPECT_TRUE(reader.atEnd());
        EXPECT_FALSE(reader.error());
        WspWriter writer;
        writer.uintvar(c.value);
        EXPECT_EQ(writer.bytes(), c.data);
    }
}

TEST(WspReaderTest, RefusesAUintvarCutShortTooLongOrBeyondThirtyTwoBits)
{
    for (const QByteArray& wrong : {bytes({0x81}), bytes({0x80, 0x80, 0x80, 0x80, 0x80, 0x00}),
                                    bytes({0x90, 0x80, 0x80, 0x80, 0x00}), QByteArray()}) {
        SCOPED_TRACE(wrong.toHex().toStdString());
        WspReader reader(wrong);
        EXPECT_FALSE(reader.uintvar());
        ASSERT_TRUE(reader.error());
        EXPECT_EQ(reader.error()->offset, 0);
        EXPECT_FALSE(reader.error()->expected.isEmpty());
    }
}

TEST(WspReaderTest, ReadsValueLengthsShortOrQuotedAndNeverBeyondWhatIsLeft)
{
    const QByteArray shortLengthBytes = bytes({0x03, 1, 2, 3});
    WspReader shortLength(shortLengthBytes);
    EXPECT_EQ(shortLength.valueLength(), 3u);
    EXPECT_EQ(shortLength.offset(), 1);

    QByteArray quoted = bytes({0x1F, 0x81, 0x00});
    quoted.append(QByteArray(128, 'x'));
    WspReader quotedLength(quoted);
    EXPECT_EQ(quotedLength.valueLength(), 128u);
    EXPECT_EQ(quotedLength.offset(), 3);

    const QByteArray tooLongBytes = bytes({0x05, 1, 2});

    WspReader tooLong(tooLongBytes);
    EXPECT_FALSE(tooLong.valueLength());
    EXPECT_EQ(tooLong.error()->offset, 0);

    const QByteArray notALengthBytes = bytes({0x20});

    WspReader notALength(notALengthBytes);
    EXPECT_FALSE(notALength.valueLength());

    WspWriter writer;
    writer.valueLength(30);
    writer.valueLength(31);
    EXPECT_EQ(writer.bytes(), bytes({0x1E, 0x1F, 0x1F}));
}

TEST(WspReaderTest, ReadsShortLongAndEitherIntegers)
{
    const QByteArray readerBytes =
        bytes({0x80 | 0x0C, 0x02, 0x01, 0x00, 0x81, 0x04, 0x12, 0x34, 0x56, 0x78});
    WspReader reader(readerBytes);
    EXPECT_EQ(reader.shortInteger(), 12);
    EXPECT_EQ(reader.longInteger(), 256u);
    EXPECT_EQ(reader.integer(), 1u);
    EXPECT_EQ(reader.integer(), 0x12345678u);
    EXPECT_TRUE(reader.atEnd());

    WspWriter writer;
    writer.shortInteger(12);
    writer.longInteger(256);
    writer.integer(1);
    writer.integer(0x12345678u);
    EXPECT_EQ(writer.bytes(), bytes({0x8C, 0x02, 0x01, 0x00, 0x81, 0x04, 0x12, 0x34, 0x56, 0x78}));

    for (const QByteArray& wrong :
         {bytes({0x0C}), bytes({0x00}), bytes({0x09, 1, 2, 3, 4, 5, 6, 7, 8, 9}),
          bytes({0x03, 0x01})}) {
        SCOPED_TRACE(wrong.toHex().toStdString());
        WspReader bad(wrong);
        EXPECT_FALSE(wrong.front() == 0x0C ? std::optional<quint64>(bad.shortInteger())
                                           : bad.longInteger());
        EXPECT_TRUE(bad.error());
    }
}

TEST(WspReaderTest, ReadsTextStringsWithTheQuoteForHighFirstOctets)
{
    const QByteArray readerBytes = QByteArray("abc\0\x7f\xc3\xa9t\xc3\xa9\0\0\"quoted\0", 20);
    WspReader reader(readerBytes);
    EXPECT_EQ(reader.textString(), QByteArray("abc"));
    EXPECT_EQ(reader.textString(), QByteArray("\xc3\xa9t\xc3\xa9"));
    EXPECT_EQ(reader.textString(), QByteArray(""));
    EXPECT_EQ(reader.quotedString(), QByteArray("quoted"));
    EXPECT_TRUE(reader.atEnd());

    WspWriter writer;
    writer.textString("abc");
    writer.textString("\xc3\xa9t\xc3\xa9");
    writer.textString("");
    writer.quotedString("quoted");
    EXPECT_EQ(writer.bytes(), QByteArray("abc\0\x7f\xc3\xa9t\xc3\xa9\0\0\"quoted\0", 20));
}

TEST(WspReaderTest, ATextStartingWithTheQuoteOctetIsQuotedSoThatItReadsBack)
{
    WspWriter writer;
    writer.textString("\x7fx");
    EXPECT_EQ(writer.bytes(), QByteArray("\x7f\x7fx\0", 4));
    WspReader reader(writer.bytes());
    EXPECT_EQ(reader.textString(), QByteArray("\x7fx"));
}

TEST(WspReaderTest, ATextStartingWithAControlOctetIsQuotedSoThatItIsNotTakenForALength)
{
    WspWriter writer;
    writer.textString("\x05x");
    EXPECT_EQ(writer.bytes(), QByteArray("\x7f\x05x\0", 4));
    WspReader reader(writer.bytes());
    EXPECT_EQ(reader.textString(), QByteArray("\x05x"));
}

TEST(WspReaderTest, ATextWithoutItsZeroOctetIsAnErrorAndTheFirstErrorStays)
{
    const QByteArray readerBytes = QByteArray("ab", 2);
    WspReader reader(readerBytes);
    EXPECT_FALSE(reader.textString());
    ASSERT_TRUE(reader.error());
    EXPECT_EQ(reader.error()->offset, 0);
    EXPECT_FALSE(reader.octet());
    EXPECT_FALSE(reader.uintvar());
    EXPECT_EQ(reader.error()->offset, 0);
    EXPECT_TRUE(reader.error()->expected.contains(QLatin1String("text string")));

    const QByteArray octetsBytes = QByteArray("abc", 3);

    WspReader octets(octetsBytes);
    EXPECT_EQ(octets.octets(2), QByteArrayView("ab"));
    EXPECT_FALSE(octets.octets(2));
    EXPECT_EQ(octets.error()->offset, 2);
}

} // namespace
