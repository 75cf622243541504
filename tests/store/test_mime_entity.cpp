// The bodies of exported mail: base64 and quoted-printable in lines a mail transport carries, line
// breaks as CRLF, and multipart bodies whose boundaries occur in none of their parts.

#include "mime_entity.h"

#include "transfer_encoding.h"

#include <gtest/gtest.h>

namespace
{

using namespace tavmms::store;

QList<QByteArray> linesOf(const QByteArray& text)
{
    return QByteArray(text).replace("\r\n", "\n").split('\n');
}

TEST(Base64Lines, AreSeventySixColumnsJoinedByCrlf)
{
    QByteArray data;
    for (int index = 0; index < 1000; ++index)
        data += char(index);
    const QByteArray lines = base64Lines(data);
    const QList<QByteArray> split = linesOf(lines);
    ASSERT_EQ(split.size(), (data.toBase64().size() + 75) / 76);
    for (qsizetype index = 0; index + 1 < split.size(); ++index)
        EXPECT_EQ(split.at(index).size(), 76);
    EXPECT_FALSE(lines.endsWith("\r\n"));
    EXPECT_EQ(tavmms::pdu::decodeBase64(lines), data);
}

TEST(QuotedPrintable, EscapesWhatIsNotPrintableAsciiAndKeepsLineBreaks)
{
    EXPECT_EQ(quotedPrintable(QString::fromUtf8("a=b ü\r\nend \r\n").toUtf8()),
              "a=3Db =C3=BC\r\nend=20\r\n");
}

TEST(QuotedPrintable, CutsLongLinesBySoftBreaksNeverInsideAnEscape)
{
    const QByteArray text = QString::fromUtf8("Grüße ").repeated(40).toUtf8();
    const QByteArray encoded = quotedPrintable(text);
    for (const QByteArray& line : linesOf(encoded)) {
        EXPECT_LE(line.size(), 76);
        // Without its soft break, a line ends after a whole escape or none.
        const QByteArray text = line.endsWith('=') ? line.chopped(1) : line;
        EXPECT_FALSE(text.endsWith('=')) << line.toStdString();
        EXPECT_NE(text.right(2).left(1), "=") << line.toStdString();
    }
    EXPECT_EQ(tavmms::pdu::decodeQuotedPrintable(encoded), text);
}

TEST(CrlfLines, MakeEveryKindOfLineBreakCrlf)
{
    EXPECT_EQ(crlfLines("a\nb\rc\r\nd\n\ne"), "a\r\nb\r\nc\r\nd\r\n\r\ne");
}

TEST(IsSevenBit, TakesAsciiWithCrlfLinesOfUpTo998Octets)
{
    EXPECT_TRUE(isSevenBit("plain\r\ntext\r\n"));
    EXPECT_TRUE(isSevenBit(QByteArray(998, 'x')));
    EXPECT_FALSE(isSevenBit(QByteArray(999, 'x')));
    EXPECT_FALSE(isSevenBit("bare\nline"));
    EXPECT_FALSE(isSevenBit("bare\rreturn"));
    EXPECT_FALSE(isSevenBit(QByteArray("nul\0", 4)));
    EXPECT_FALSE(isSevenBit("\xc3\xbc"));
}

TEST(MultipartBody, DelimitsEachPartWithABoundaryNoneOfThemHolds)
{
    const QList<MimeEntity> parts{{"Content-Type: text/plain\r\n", "one"},
                                  {"Content-Type: text/plain\r\n", "two"}};
    QByteArray boundary;
    const QByteArray body = multipartBody(parts, &boundary);
    EXPECT_TRUE(boundary.startsWith("=_"));
    EXPECT_EQ(body, "--" + boundary + "\r\nContent-Type: text/plain\r\n\r\none\r\n--" + boundary +
                        "\r\nContent-Type: text/plain\r\n\r\ntwo\r\n--" + boundary + "--");
}

TEST(MultipartBody, GivesTheSamePartsTheSameBoundary)
{
    const QList<MimeEntity> parts{{"Content-Type: text/plain\r\n", "text"}};
    QByteArray first;
    multipartBody(parts, &first);
    QByteArray again;
    multipartBody(parts, &again);
    EXPECT_EQ(again, first);
    QByteArray other;
    multipartBody({{"Content-Type: text/plain\r\n", "other text"}}, &other);
    EXPECT_NE(other, first);
}

} // namespace
