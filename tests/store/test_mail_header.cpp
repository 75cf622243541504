// The header fields of exported mail: encoded words that never cut a character, fields folded to
// 78 columns, display names quoted, addresses for phone numbers, parameters in RFC 2231's form and
// dates as mail writes them.

#include "mail_header.h"

#include <QStringDecoder>
#include <QTimeZone>

#include <gtest/gtest.h>

namespace
{

using namespace tavmms::store;

MMS_UTIL_Entry entry(MMS_UTIL_ADDR_TYPE_T type, const QString& address)
{
    MMS_UTIL_Entry made;
    made.type = type;
    made.address = address;
    return made;
}

// The text an encoded word carries; each must be whole UTF-8 on its own.
QString decodedWord(const QByteArray& word)
{
    EXPECT_TRUE(word.startsWith("=?UTF-8?B?") && word.endsWith("?=")) << word.toStdString();
    const QByteArray octets = QByteArray::fromBase64(word.sliced(10, word.size() - 12));
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(octets);
    EXPECT_FALSE(decoder.hasError()) << "a character cut in " << word.toStdString();
    return text;
}

TEST(EncodedWords, CutTextBetweenCharactersOfEveryLengthAndStayWithinSeventyFiveColumns)
{
    // Characters of one, two, three and four octets, so that the cuts fall at every offset.
    const QString text = QString::fromUtf8("aé€😀").repeated(20);
    const QList<QByteArray> words = encodedWords(text);
    ASSERT_GT(words.size(), 3);
    QString joined;
    for (const QByteArray& word : words) {
        EXPECT_LE(word.size(), 75);
        joined += decodedWord(word);
    }
    EXPECT_EQ(joined, text);
}

TEST(EncodedWords, TakeFortyTwoOctetsAWord)
{
    const QList<QByteArray> words = encodedWords(QString(43, QLatin1Char('x')));
    ASSERT_EQ(words.size(), 2);
    EXPECT_EQ(words.at(0).size(), 68);
    EXPECT_EQ(decodedWord(words.at(1)), QStringLiteral("x"));
    EXPECT_TRUE(encodedWords(QString()).isEmpty());
}

TEST(HeaderField, FoldsBeforeAWordThatWouldPassSeventyEightColumns)
{
    const QList<QByteArray> words =
        encodedWords(QString::fromUtf8("Grüße aus Köln, ").repeated(12));
    const QByteArray field = headerField("Subject", words);
    ASSERT_TRUE(field.endsWith("\r\n"));
    const QList<QByteArray> lines = field.chopped(2).split('\n');
    ASSERT_GT(lines.size(), 2);
    for (QByteArray line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
        EXPECT_LE(line.size(), 78) << line.toStdString();
    }
    // Unfolded, the words stand one blank apart after the name.
    EXPECT_EQ(QByteArray(field).replace("\r\n", ""), "Subject: " + words.join(' '));
}

TEST(HeaderField, PutsWordsThatFitOnOneLine)
{
    EXPECT_EQ(headerField("MIME-Version", {"1.0"}), "MIME-Version: 1.0\r\n");
    const QByteArray longWord(90, 'a');
    EXPECT_EQ(headerField("Message-ID", {longWord, "b"}), "Message-ID: " + longWord + "\r\n b\r\n");
}

TEST(UnstructuredWords, KeepPlainAsciiAsItIs)
{
    EXPECT_EQ(unstructuredWords(QStringLiteral("Hello there")),
              QList<QByteArray>({"Hello", "there"}));
}

TEST(UnstructuredWords, EncodeTextAReaderWouldNotGetBackFromPlainWords)
{
    for (const QString& text : {QString::fromUtf8("Grüße"), QStringLiteral("looks =?like?= a word"),
                                QStringLiteral("two  blanks"), QStringLiteral(" leading"),
                                QStringLiteral("tab\there"), QString(69, QLatin1Char('w'))}) {
        const QList<QByteArray> words = unstructuredWords(text);
        QString joined;
        for (const QByteArray& word : words)
            joined += decodedWord(word);
        EXPECT_EQ(joined, text);
    }
}

TEST(PhraseWords, QuoteAsciiNamesWithQuotesAndBackslashesEscaped)
{
    EXPECT_EQ(phraseWords(QStringLiteral("Ann Example")), QList<QByteArray>{"\"Ann Example\""});
    EXPECT_EQ(phraseWords(QStringLiteral("Ann \"A\" B\\C")),
              QList<QByteArray>{"\"Ann \\\"A\\\" B\\\\C\""});
}

TEST(PhraseWords, EncodeNamesBeyondAsciiOrTooLongForALine)
{
    const QList<QByteArray> words = phraseWords(QString::fromUtf8("Jörg"));
    ASSERT_EQ(words.size(), 1);
    EXPECT_EQ(decodedWord(words.at(0)), QString::fromUtf8("Jörg"));
    EXPECT_EQ(phraseWords(QString(80, QLatin1Char('n'))).size(), 2);
}

TEST(AddrSpec, GivesAPhoneNumberAnAddressAtMmsInvalidWithoutItsSeparators)
{
    EXPECT_EQ(addrSpec(entry(MMS_UTIL_ADDR_PLMN, QStringLiteral("+15550101"))),
              "+15550101@mms.invalid");
    EXPECT_EQ(addrSpec(entry(MMS_UTIL_ADDR_PLMN, QStringLiteral("+1 (555) 010-1.2"))),
              "+155501012@mms.invalid");
}

TEST(AddrSpec, KeepsAnEmailAddressAndQuotesASenderNameThatIsNoAtom)
{
    EXPECT_EQ(addrSpec(entry(MMS_UTIL_ADDR_EMAIL, QStringLiteral("bob@example.org"))),
              "bob@example.org");
    EXPECT_EQ(addrSpec(entry(MMS_UTIL_ADDR_PLMN, QStringLiteral("VODAFONE"))),
              "VODAFONE@mms.invalid");
    EXPECT_EQ(addrSpec(entry(MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("Shop \"24\""))),
              "\"Shop \\\"24\\\"\"@mms.invalid");
}

TEST(MailboxWords, NameTheAddressOnlyWhenThereIsAName)
{
    EXPECT_EQ(mailboxWords(QStringLiteral("Ann"), "+15550101@mms.invalid"),
              QList<QByteArray>({"\"Ann\"", "<+15550101@mms.invalid>"}));
    EXPECT_EQ(mailboxWords(QString(), "bob@example.org"), QList<QByteArray>({"<bob@example.org>"}));
}

TEST(ParameterWords, QuoteAnAsciiValue)
{
    EXPECT_EQ(parameterWords("filename", QStringLiteral("a \"b\".jpg")),
              QList<QByteArray>{"filename=\"a \\\"b\\\".jpg\""});
}

TEST(ParameterWords, EncodeAValueBeyondAsciiAsUtf8)
{
    EXPECT_EQ(parameterWords("filename", QString::fromUtf8("Bild ü.png")),
              QList<QByteArray>{"filename*=UTF-8''Bild%20%C3%BC.png"});
}

TEST(ParameterWords, CutALongValueIntoNumberedSectionsBetweenEscapes)
{
    const QString value = QString::fromUtf8("Ürlaubsfoto-").repeated(8) + QStringLiteral(".jpg");
    const QList<QByteArray> words = parameterWords("filename", value);
    ASSERT_GT(words.size(), 2);
    QByteArray encoded;
    for (qsizetype index = 0; index < words.size(); ++index) {
        const QByteArray& word = words.at(index);
        EXPECT_LE(word.size(), 76);
        const QByteArray prefix = "filename*" + QByteArray::number(index) + "*=";
        ASSERT_TRUE(word.startsWith(prefix)) << word.toStdString();
        const QByteArray section = word.sliced(prefix.size());
        // A section ends neither inside nor just before the digits of an escape.
        EXPECT_NE(section.right(1), "%");
        EXPECT_NE(section.right(2).left(1), "%");
        encoded += section;
    }
    ASSERT_TRUE(encoded.startsWith("UTF-8''"));
    EXPECT_EQ(QString::fromUtf8(QByteArray::fromPercentEncoding(encoded.sliced(7))), value);
}

TEST(AppendParameter, EndsThePreviousWordWithASemicolon)
{
    QList<QByteArray> words{"image/png"};
    appendParameter(&words, "name", QStringLiteral("a.png"));
    EXPECT_EQ(words, QList<QByteArray>({"image/png;", "name=\"a.png\""}));
}

TEST(MailDate, IsWrittenInTheDatesOwnOffset)
{
    const QDateTime date(QDate(2024, 1, 2), QTime(15, 4, 5), QTimeZone(3600));
    EXPECT_EQ(mailDate(date), "Tue, 02 Jan 2024 15:04:05 +0100");
    const QDateTime west(QDate(2023, 12, 31), QTime(23, 0, 0), QTimeZone(-(5 * 3600 + 30 * 60)));
    EXPECT_EQ(mailDate(west), "Sun, 31 Dec 2023 23:00:00 -0530");
}

TEST(MailDate, IsEmptyForADateMailCannotCarry)
{
    EXPECT_TRUE(mailDate(QDateTime()).isEmpty());
    EXPECT_TRUE(mailDate(QDateTime(QDate(1850, 1, 1), QTime(0, 0), QTimeZone(0))).isEmpty());
}

} // namespace
