// The text of a text part as a viewer shows it: transfer encoding undone, decoded from the charset
// its content type names, and a warning whenever that could not be done cleanly.

#include "part_text.h"

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::Part;
using tavmms::store::isTextPart;
using tavmms::store::PartText;
using tavmms::store::partText;

Part textPart(const QByteArray& data, const QByteArray& charset = QByteArray())
{
    Part part;
    part.contentType.mediaType = "text/plain";
    if (!charset.isNull())
        part.contentType.parameters = {{"charset", charset}};
    part.data = data;
    return part;
}

TEST(PartTextTest, TextOfAnyTextTypeIsText)
{
    EXPECT_TRUE(isTextPart(textPart("x")));
    Part html = textPart("x");
    html.contentType.mediaType = "text/html";
    EXPECT_TRUE(isTextPart(html));
    Part smil = textPart("x");
    smil.contentType.mediaType = "application/smil";
    EXPECT_FALSE(isTextPart(smil));
}

TEST(PartTextTest, TextWithoutACharsetIsUtf8)
{
    const PartText text = partText(textPart("Gr\xc3\xbc\xc3\x9f"
                                            "e"));
    EXPECT_EQ(text.text, QString::fromUtf16(u"Grüße"));
    EXPECT_TRUE(text.warning.isEmpty());
}

TEST(PartTextTest, TextIsDecodedFromTheCharsetItsTypeNames)
{
    EXPECT_EQ(partText(textPart("caf\xe9", "iso-8859-1")).text, QString::fromUtf16(u"café"));
    EXPECT_EQ(partText(textPart("plain", "us-ascii")).text, QStringLiteral("plain"));
    EXPECT_EQ(partText(textPart(QByteArray("\xfe\xff\x00H\x00i", 6), "utf-16")).text,
              QStringLiteral("Hi"));
    EXPECT_EQ(partText(textPart(QByteArray("\xff\xfeH\x00i\x00", 6), "UTF-16")).text,
              QStringLiteral("Hi"));
    // A charset the content type gives by its number (MIBenum) reads the same.
    EXPECT_EQ(partText(textPart("caf\xe9", "4")).text, QString::fromUtf16(u"café"));
}

TEST(PartTextTest, BadBytesAreShownAsReplacementCharactersWithAWarning)
{
    const PartText text = partText(textPart("ok \xff\xfe end", "utf-8"));
    EXPECT_TRUE(text.text.startsWith(QStringLiteral("ok ")));
    EXPECT_TRUE(text.text.contains(QChar(0xFFFD)));
    EXPECT_TRUE(text.text.endsWith(QStringLiteral(" end")));
    EXPECT_EQ(text.warning, QStringLiteral("bytes not valid in utf-8 are shown as U+FFFD"));

    const PartText cut = partText(textPart(QByteArray("\x00H\x00", 3), "utf-16be"));
    EXPECT_EQ(cut.text, QString::fromUtf16(u"H\uFFFD"));
    EXPECT_FALSE(cut.warning.isEmpty());
}

TEST(PartTextTest, ACharsetNotKnownIsReadAsUtf8WithAWarning)
{
    const PartText text = partText(textPart("hello", "x-klingon"));
    EXPECT_EQ(text.text, QStringLiteral("hello"));
    EXPECT_EQ(text.warning,
              QStringLiteral("the charset 'x-klingon' is not known; the text is read as UTF-8"));
}

TEST(PartTextTest, TheTransferEncodingIsUndoneBeforeTheCharset)
{
    Part base64 = textPart("Y2Fm6Q==", "iso-8859-1");
    base64.headers = {{"Content-Transfer-Encoding", "base64"}};
    EXPECT_EQ(partText(base64).text, QString::fromUtf16(u"café"));

    Part quoted = textPart("caf=C3=A9=\r\n!", "utf-8");
    quoted.headers = {{"Content-Transfer-Encoding", "Quoted-Printable"}};
    EXPECT_EQ(partText(quoted).text, QString::fromUtf16(u"café!"));
}

} // namespace
