// Texts from messages and contacts shown on a terminal: nothing in them reaches it raw that could
// drive it or make one text read as another.

#include "display_text.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>

namespace
{

using namespace tavmms::store;

QString fromUtf16(std::initializer_list<char16_t> units)
{
    QString text;
    for (const char16_t unit : units)
        text += QChar(unit);
    return text;
}

TEST(DisplayTextTest, EscapesEveryC0AndC1ControlCharacterAsHex)
{
    for (char16_t c = 0; c < 0x20; ++c) {
        SCOPED_TRACE(int(c));
        EXPECT_EQ(displayText(fromUtf16({c})),
                  QStringLiteral("\\x%1").arg(int(c), 2, 16, QLatin1Char('0')));
    }
    for (char16_t c = 0x7F; c <= 0x9F; ++c) {
        SCOPED_TRACE(int(c));
        EXPECT_EQ(displayText(fromUtf16({c})), QStringLiteral("\\x%1").arg(int(c), 2, 16));
    }
    EXPECT_EQ(displayText(fromUtf16({0x9B})), QStringLiteral("\\x9b"));
}

TEST(DisplayTextTest, EscapesDirectionAndInvisibleFormatCharactersAndLineSeparators)
{
    const char16_t escaped[] = {0x061C, 0x200E, 0x200F, 0x202A, 0x202B, 0x202C, 0x202D,
                                0x202E, 0x2066, 0x2067, 0x2068, 0x2069, 0x2028, 0x2029};
    for (const char16_t c : escaped) {
        SCOPED_TRACE(int(c));
        EXPECT_EQ(displayText(fromUtf16({u'a', c, u'b'})),
                  QStringLiteral("a\\u{%1}b").arg(int(c), 4, 16, QLatin1Char('0')));
    }
}

TEST(DisplayTextTest, EscapesLoneSurrogatesButKeepsPairs)
{
    EXPECT_EQ(displayText(fromUtf16({0xD83D})), QStringLiteral("\\u{d83d}"));
    EXPECT_EQ(displayText(fromUtf16({0xDE00, u'x'})), QStringLiteral("\\u{de00}x"));
    EXPECT_EQ(displayText(fromUtf16({0xDE00, 0xD83D})), QStringLiteral("\\u{de00}\\u{d83d}"));
    const QString smile = QString::fromUtf8("\xF0\x9F\x98\x80");
    EXPECT_EQ(displayText(smile), smile);
}

TEST(DisplayTextTest, DoublesABackslashSoThatAnEscapeReadsAsOne)
{
    EXPECT_EQ(displayText(QStringLiteral("a\\x1b")), QStringLiteral("a\\\\x1b"));
    EXPECT_EQ(displayText(QStringLiteral("\x1b")), QStringLiteral("\\x1b"));
}

TEST(DisplayTextTest, KeepsPrintableTextInAnyScript)
{
    const QString text = QString::fromUtf8("Ann Ex\xC3\xA4mple \xD8\xB3\xD9\x84\xD8\xA7\xD9\x85 "
                                           "\xE4\xBD\xA0\xE5\xA5\xBD \xD0\x9F\xD1\x80\xD0\xB8 "
                                           "\xC2\xA0\xC2\xAB\xC3\xBF");
    EXPECT_EQ(displayText(text), text);
}

TEST(DisplayTextTest, KeepsLineBreaksOnlyWhenAskedTo)
{
    EXPECT_EQ(displayText(QStringLiteral("a\nb")), QStringLiteral("a\\x0ab"));
    EXPECT_EQ(displayText(QStringLiteral("a\nb\r\n"), true), QStringLiteral("a\nb\\x0d\n"));
}

TEST(DisplayTextTest, AnAttackOnTheTerminalComesOutInert)
{
    const QString evil = QStringLiteral("Evil\x1b]0;owned\x07\x1b"
                                        "c");
    const QString shown = displayText(evil);
    EXPECT_EQ(shown, QStringLiteral("Evil\\x1b]0;owned\\x07\\x1bc"));
    EXPECT_TRUE(isSafeForDisplay(shown));
    EXPECT_FALSE(isSafeForDisplay(evil));
    EXPECT_TRUE(isSafeForDisplay(QString::fromUtf8("\xF0\x9F\x98\x80 a\nb"), true));
    EXPECT_FALSE(isSafeForDisplay(QStringLiteral("a\nb")));
    EXPECT_FALSE(isSafeForDisplay(fromUtf16({0xD83D})));
}

TEST(DisplayJsonTest, EscapesWhatJsonLetsThroughRawAndKeepsTheValue)
{
    const QString name = fromUtf16({u'A', 0x202E, 0x9B, 0x7F, 0x2028, u'\x1b', u'B'});
    const QByteArray json =
        QJsonDocument(QJsonObject{{QStringLiteral("name"), name}}).toJson(QJsonDocument::Indented);
    const QByteArray safe = displayJson(json);
    EXPECT_TRUE(safe.contains("\\u202e"));
    EXPECT_TRUE(safe.contains("\\u009b"));
    EXPECT_TRUE(safe.contains("\\u007f"));
    EXPECT_TRUE(safe.contains("\\u2028"));
    EXPECT_TRUE(isSafeForDisplay(QString::fromUtf8(safe), true)) << safe.toStdString();
    QJsonParseError error;
    const QJsonDocument back = QJsonDocument::fromJson(safe, &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError);
    EXPECT_EQ(back.object().value(QStringLiteral("name")).toString(), name);
}

} // namespace
