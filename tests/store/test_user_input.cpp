// What a person types for a message or a setting: addresses, content types and block-list
// addresses, read so that what is kept reads back as meant.

#include "user_input.h"

#include "mms_util_common.h"
#include "mms_util_setting.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <ctime>

namespace
{

using namespace tavmms::store;

TEST(AddressInputTest, TypesABareAddressByItsLook)
{
    const struct {
        const char* text;
        MMS_UTIL_ADDR_TYPE_T type;
    } cases[] = {
        {"+49 (0) 123-45", MMS_UTIL_ADDR_PLMN},
        {"ann@example.org", MMS_UTIL_ADDR_EMAIL},
        {"Ann Example", MMS_UTIL_ADDR_UNKNOWN},
        {"+-()", MMS_UTIL_ADDR_UNKNOWN},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        QString error;
        const std::optional<MMS_UTIL_Entry> entry = parseAddress(QString::fromUtf8(c.text), &error);
        ASSERT_TRUE(entry) << error.toStdString();
        EXPECT_EQ(entry->type, c.type);
        EXPECT_EQ(entry->address, QString::fromUtf8(c.text));
        EXPECT_TRUE(entry->name.isEmpty());
        EXPECT_FALSE(entry->name.isNull());
    }
}

TEST(AddressInputTest, ReadsTheEntryTextAsTheMailFileDoes)
{
    QString error;
    const std::optional<MMS_UTIL_Entry> entry =
        parseAddress(QStringLiteral("<Ann Example>[EMAIL]ann@example.org"), &error);
    ASSERT_TRUE(entry) << error.toStdString();
    EXPECT_EQ(entry->name, QStringLiteral("Ann Example"));
    EXPECT_EQ(entry->type, MMS_UTIL_ADDR_EMAIL);
    EXPECT_EQ(MMS_UTIL_Common::entryToString(*entry),
              QStringLiteral("<Ann Example>[EMAIL]ann@example.org"));
}

TEST(AddressInputTest, RefusesAnEntryTextThatWouldReadBackOtherwise)
{
    const QStringList wrong{QString(),
                            QStringLiteral("  "),
                            QStringLiteral("<A>B>[PLMN]1"),
                            QStringLiteral("<A[>[PLMN]1"),
                            QStringLiteral("<Ann>[FAX]1"),
                            QStringLiteral("<Ann>PLMN]1")};
    for (const QString& text : wrong) {
        SCOPED_TRACE(text.toStdString());
        QString error;
        EXPECT_FALSE(parseAddress(text, &error));
        EXPECT_FALSE(error.isEmpty());
    }
}

TEST(AddressInputTest, SplitsTextsAtCommasAndDropsEmptyPieces)
{
    QString error;
    const std::optional<QList<MMS_UTIL_Entry>> entries = parseAddresses(
        {QStringLiteral("1, ,ann@example.org,"), QStringLiteral("<B>[PLMN]2")}, &error);
    ASSERT_TRUE(entries) << error.toStdString();
    ASSERT_EQ(entries->size(), 3);
    EXPECT_EQ(entries->at(0).address, QStringLiteral("1"));
    EXPECT_EQ(entries->at(1).type, MMS_UTIL_ADDR_EMAIL);
    EXPECT_EQ(entries->at(2).name, QStringLiteral("B"));
    EXPECT_FALSE(parseAddresses({QStringLiteral("1,<A>[FAX]2")}, &error));
    EXPECT_TRUE(parseAddresses({}, &error).value().isEmpty());
}

TEST(OneLineTest, TurnsEachLineBreakIntoALineSeparatorAndKeepsTheRest)
{
    EXPECT_EQ(oneLine(QStringLiteral("a\nb\r\nc\rd\te\x01"
                                     "f\x7f")),
              QStringLiteral("a\u2028b\u2028c\u2028d\te\x01"
                             "f\x7f"));
    EXPECT_EQ(oneLine(QStringLiteral("jörg €")), QStringLiteral("jörg €"));
    EXPECT_FALSE(hasControlCharacter(QStringLiteral("jörg €")));
    EXPECT_TRUE(hasControlCharacter(QStringLiteral("a\x7f")));
}

TEST(ContentTypeInputTest, ReadsTypeAndSubtypeAndTheParametersAfterABlank)
{
    const struct {
        const char* text;
        MMS_CONTENT_TYPE_T read;
    } cases[] = {
        {"image/jpeg", {QStringLiteral("image"), QStringLiteral("jpeg"), QStringLiteral("")}},
        {"  text/plain  ", {QStringLiteral("text"), QStringLiteral("plain"), QStringLiteral("")}},
        {"application/vnd.wap.multipart.related  type=application/smil; start=<p1> ",
         {QStringLiteral("application"), QStringLiteral("vnd.wap.multipart.related"),
          QStringLiteral("type=application/smil; start=<p1>")}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        QString error;
        const std::optional<MMS_CONTENT_TYPE_T> read =
            parseContentType(QString::fromUtf8(c.text), &error);
        ASSERT_TRUE(read) << error.toStdString();
        EXPECT_EQ(read->type, c.read.type);
        EXPECT_EQ(read->subtype, c.read.subtype);
        EXPECT_EQ(read->params, c.read.params);
        EXPECT_FALSE(read->params.isNull());
    }
}

TEST(RecipientInputTest, TakesEmailAddressesAndPossiblePhoneNumbersAsTyped)
{
    const struct {
        const char* text;
        const char* region;
        MMS_UTIL_ADDR_TYPE_T type;
        const char* address;
    } cases[] = {
        {"ann@example.org", "DE", MMS_UTIL_ADDR_EMAIL, "ann@example.org"},
        {"+49 (171) 234-5678", "ZZ", MMS_UTIL_ADDR_PLMN, "+49 (171) 234-5678"},
        {"0171.2345678", "DE", MMS_UTIL_ADDR_PLMN, "0171.2345678"},
        {"112", "DE", MMS_UTIL_ADDR_PLMN, "112"},
        {"<Ann>[PLMN]+15550101", "US", MMS_UTIL_ADDR_PLMN, "+15550101"},
        {"<Ann>[EMAIL]ann@example.org", "US", MMS_UTIL_ADDR_EMAIL, "ann@example.org"},
        {"<Ann>[UNKNOWN]+15550101", "US", MMS_UTIL_ADDR_UNKNOWN, "+15550101"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        QString error;
        const std::optional<MMS_UTIL_Entry> entry =
            parseRecipient(QString::fromUtf8(c.text), QLatin1String(c.region), &error);
        ASSERT_TRUE(entry) << error.toStdString();
        EXPECT_EQ(entry->type, c.type);
        EXPECT_EQ(entry->address, QString::fromUtf8(c.address));
    }
}

TEST(RecipientInputTest, RefusesWhatIsNeitherAnEmailAddressNorAPhoneNumberNamingIt)
{
    for (const char* wrong :
         {"Ann Example", "'; DROP TABLE x;--", "0171 2345678", "+49 1", "ann@", "@example.org",
          "ann@example", "ann@@example.org", "ann @example.org", "<Ann>[EMAIL]+15550101",
          "<Ann>[PLMN]ann@example.org", "+1555*0101", "<Ann>[UNKNOWN]somewhere"}) {
        SCOPED_TRACE(wrong);
        QString error;
        EXPECT_FALSE(parseRecipient(QString::fromUtf8(wrong), QStringLiteral("ZZ"), &error));
        EXPECT_FALSE(error.isEmpty());
    }
    QString error;
    EXPECT_FALSE(
        parseRecipients({QStringLiteral("+15550101,Ann Example")}, QStringLiteral("US"), &error));
    EXPECT_TRUE(error.contains(QLatin1String("'Ann Example'"))) << error.toStdString();
    const std::optional<QList<MMS_UTIL_Entry>> both =
        parseRecipients({QStringLiteral("+15550101, ann@example.org"), QStringLiteral("911")},
                        QStringLiteral("US"), &error);
    ASSERT_TRUE(both) << error.toStdString();
    EXPECT_EQ(both->size(), 3);
}

TEST(ProfileNameInputTest, RefusesEmptyNamesAndThoseThatWouldBreakAListOfNames)
{
    for (const QString& wrong :
         {QString(), QStringLiteral("new\nline"), QStringLiteral("tab\there"),
          QStringLiteral("esc\x1b[2J"), QStringLiteral("del\x7f"), QString(QChar(0x9B)),
          QStringLiteral("a") + QChar(0x2028) + QStringLiteral("b"), QString(QChar(0x2029))}) {
        SCOPED_TRACE(wrong.toStdString());
        QString error;
        EXPECT_FALSE(parseProfileName(wrong, &error));
        EXPECT_FALSE(error.isEmpty());
    }
    QString error;
    for (const QString& name : {QStringLiteral("  padded  "), QString::fromUtf8("Ünïcødé 日本 ✉"),
                                QStringLiteral("a/b\\c,d"), QStringLiteral("Say \"hi\"")})
        EXPECT_EQ(parseProfileName(name, &error), name) << error.toStdString();
}

TEST(Ipv4AddressInputTest, ReadsTheDottedFormWithTheFirstPartInTheHighByte)
{
    EXPECT_EQ(parseIpv4Address(QStringLiteral("192.168.1.1")), 3232235777u);
    EXPECT_EQ(parseIpv4Address(QStringLiteral("0.0.0.0")), 0u);
    EXPECT_EQ(parseIpv4Address(QStringLiteral("255.255.255.255")), 4294967295u);
    EXPECT_EQ(parseIpv4Address(QStringLiteral("10.0.0.1")), 167772161u);
    // The number the profile keeps is still taken as it is.
    EXPECT_EQ(parseIpv4Address(QStringLiteral("3232235777")), 3232235777u);
    EXPECT_EQ(ipv4AddressText(3232235777u), QStringLiteral("192.168.1.1"));
    EXPECT_EQ(ipv4AddressText(0), QStringLiteral("0.0.0.0"));
}

TEST(Ipv4AddressInputTest, RefusesWhatIsNotFourDecimalParts)
{
    for (const char* wrong : {"192.168.1", "192.168.1.1.1", "256.0.0.1", "1..2.3", "a.b.c.d",
                              "-1.0.0.0", "1.2.3.4 ", "0300.0.0.1", "", "4294967296", "1.2.3.+4"}) {
        SCOPED_TRACE(wrong);
        EXPECT_FALSE(parseIpv4Address(QString::fromUtf8(wrong)));
    }
}

TEST(ContentTypeInputTest, ReadsTheStandardMimeFormIntoTheHeadersOwnForm)
{
    const struct {
        const char* text;
        const char* params;
    } cases[] = {
        {"application/vnd.wap.multipart.related; type=application/smil", "type=application/smil"},
        {"application/vnd.wap.multipart.related;type=application/smil;start=<p1>",
         "type=application/smil;start=<p1>"},
        {"multipart/related ; type=\"application/smil\" ;  start=\"<p1>\"",
         "type=application/smil;start=<p1>"},
        {"text/plain; charset=utf-8;", "charset=utf-8"},
        {"text/plain;", ""},
        {"image/jpeg; name=\"photo.jpg\"", "name=photo.jpg"},
        {"image/jpeg; name=\"a\\\"b.jpg\"", "name=a\"b.jpg"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        QString error;
        const std::optional<MMS_CONTENT_TYPE_T> read =
            parseContentType(QString::fromUtf8(c.text), &error);
        ASSERT_TRUE(read) << error.toStdString();
        EXPECT_EQ(read->params, QString::fromUtf8(c.params));
        EXPECT_FALSE(read->params.isNull());
    }
    QString error;
    const std::optional<MMS_CONTENT_TYPE_T> related = parseContentType(
        QStringLiteral("application/vnd.wap.multipart.related; type=application/smil"), &error);
    ASSERT_TRUE(related);
    EXPECT_EQ(related->type, QStringLiteral("application"));
    EXPECT_EQ(related->subtype, QStringLiteral("vnd.wap.multipart.related"));
    // The form the header keeps is the one classification reads "type=" from.
    EXPECT_EQ(MMS_UTIL_Common::getMsgTypeByContentType(*related),
              MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("application"),
                                                QStringLiteral("vnd.wap.multipart.related")),
              MMS_UTIL_Common::mimeTypeGetValue(related->type, related->subtype));
}

TEST(ContentTypeInputTest, RefusesMimeParametersTheHeaderCannotKeep)
{
    for (const char* wrong :
         {"text/plain; charset", "text/plain; =utf-8", "text/plain; name=\"a;b\"",
          "text/plain; name=\"a b\"", "text/plain; name=\"open", "text/plain; a=b c=d",
          "text/plain; a b=c", "text/plain; name=\"x\"y"}) {
        SCOPED_TRACE(wrong);
        QString error;
        EXPECT_FALSE(parseContentType(QString::fromUtf8(wrong), &error));
        EXPECT_FALSE(error.isEmpty());
    }
}

TEST(ContentTypeInputTest, RefusesAControlCharacterWhichWouldBreakTheHeaderLine)
{
    for (const char* wrong :
         {"image/jpeg x\nPriority: Low", "image/jp\neg", "text/plain a\rb", "text/pl\x01ain"}) {
        SCOPED_TRACE(wrong);
        QString error;
        EXPECT_FALSE(parseContentType(QString::fromUtf8(wrong), &error));
        EXPECT_TRUE(error.endsWith(QLatin1String("' holds a control character")))
            << error.toStdString();
        EXPECT_FALSE(error.contains(QLatin1Char('\n')));
    }
    QString error;
    EXPECT_TRUE(parseContentType(QStringLiteral("\ttext/plain charset=utf-8\n"), &error))
        << error.toStdString();
}

TEST(AddressInputTest, RefusesAControlCharacterWhichWouldBreakTheHeaderLine)
{
    const QStringList wrong{QStringLiteral("bob@example.org\nAnn <+15550101>"),
                            QStringLiteral("111\nSubject: x"), QStringLiteral("<Ann\r>[PLMN]1"),
                            QStringLiteral("<Ann>[PLMN]1\x7f"
                                           "2"),
                            QStringLiteral("1") + QChar(0) + QStringLiteral("2")};
    for (const QString& text : wrong) {
        SCOPED_TRACE(text.toStdString());
        QString error;
        EXPECT_FALSE(parseAddress(text, &error));
        EXPECT_TRUE(error.endsWith(QLatin1String("' holds a control character")))
            << error.toStdString();
    }
    QString error;
    const std::optional<MMS_UTIL_Entry> entry =
        parseAddress(QStringLiteral("\t<Ann>[PLMN]+1 555\n"), &error);
    ASSERT_TRUE(entry) << error.toStdString();
    EXPECT_EQ(entry->address, QStringLiteral("+1 555"));
}

TEST(ContentTypeInputTest, RefusesATextThatIsNotTypeSlashSubtype)
{
    for (const char* wrong : {"", " ", "text", "text/", "/plain", "a/b/c", "text/ plain", "/"}) {
        SCOPED_TRACE(wrong);
        QString error;
        EXPECT_FALSE(parseContentType(QString::fromUtf8(wrong), &error));
        EXPECT_EQ(error, QStringLiteral("'%1' is not type/subtype").arg(QString::fromUtf8(wrong)));
    }
}

TEST(BlockListInputTest, AnAddressIsTakenAsItIsUnlessItIsEmptyOrHoldsAComma)
{
    QString error;
    for (const QString& address : {QStringLiteral("123"), QStringLiteral("+49 (0) 123-4"),
                                   QStringLiteral(" 1 "), QStringLiteral("Ann@example.org")}) {
        SCOPED_TRACE(address.toStdString());
        EXPECT_EQ(parseBlockAddress(address, &error), std::optional<QString>(address));
        EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    }
    for (const QString& wrong :
         {QString(), QStringLiteral(""), QStringLiteral(","), QStringLiteral("1,2")}) {
        SCOPED_TRACE(wrong.toStdString());
        error.clear();
        EXPECT_FALSE(parseBlockAddress(wrong, &error));
        EXPECT_FALSE(error.isEmpty());
    }
    parseBlockAddress(QStringLiteral("1,2"), &error);
    EXPECT_EQ(error, QStringLiteral("an address cannot hold a comma: '1,2'"));
}

TEST(BlockListInputTest, AnAddressToBlockIsOneTheListFindsAgainAndListsOnOneLine)
{
    QString error;
    for (const QString& address : {QStringLiteral("123"), QStringLiteral("jörg@example.org"),
                                   QStringLiteral("+49 (0) 123-4")}) {
        SCOPED_TRACE(address.toStdString());
        EXPECT_EQ(parseAddressToBlock(address, &error), std::optional<QString>(address));
        EXPECT_TRUE(error.isEmpty()) << error.toStdString();
        EXPECT_EQ(MMS_UTIL_Setting::isInBlockList(QStringLiteral("7,") + address, address), 1);
    }
    for (const QString& wrong : {QString(), QStringLiteral("1,2"), QStringLiteral("€123"),
                                 QStringLiteral("55\n66"), QStringLiteral("1\x7f")}) {
        SCOPED_TRACE(wrong.toStdString());
        error.clear();
        EXPECT_FALSE(parseAddressToBlock(wrong, &error));
        EXPECT_FALSE(error.isEmpty());
        EXPECT_FALSE(error.contains(QLatin1Char('\n')));
    }
    // A check may ask about any sender.
    EXPECT_TRUE(parseBlockAddress(QStringLiteral("€123"), &error));
    parseAddressToBlock(QStringLiteral("€123"), &error);
    EXPECT_EQ(error, QStringLiteral("'€123' holds a character beyond Latin-1, which the block list "
                                    "cannot match"));
}

TEST(BlockListInputTest, AListIsTakenAsItIsUnlessAnItemIsEmptyOrNoAddressToBlock)
{
    QString error;
    for (const QString& list :
         {QString(), QStringLiteral("7"), QStringLiteral("7,8,spam@example.org")}) {
        SCOPED_TRACE(list.toStdString());
        EXPECT_EQ(parseBlockList(list, &error), std::optional<QString>(list));
        EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    }
    for (const QString& wrong :
         {QStringLiteral(","), QStringLiteral(",1"), QStringLiteral("1,"), QStringLiteral("1,,2"),
          QStringLiteral("1,€2"), QStringLiteral("1\n2")}) {
        SCOPED_TRACE(wrong.toStdString());
        error.clear();
        EXPECT_FALSE(parseBlockList(wrong, &error));
        EXPECT_FALSE(error.isEmpty());
    }
    parseBlockList(QStringLiteral("1,,2"), &error);
    EXPECT_EQ(error, QStringLiteral("'1,,2' has an empty item, which would block every sender"));
}

TEST(NumberInputTest, ReadsDecimalDigitsUpToTheMaximum)
{
    EXPECT_EQ(parseNumber(QStringLiteral("0")), std::optional<unsigned int>(0));
    EXPECT_EQ(parseNumber(QStringLiteral("007")), std::optional<unsigned int>(7));
    EXPECT_EQ(parseNumber(QStringLiteral("4294967295")), std::optional<unsigned int>(4294967295u));
    EXPECT_EQ(parseNumber(QStringLiteral("255"), 255), std::optional<unsigned int>(255));
    EXPECT_FALSE(parseNumber(QStringLiteral("256"), 255));
    EXPECT_FALSE(parseNumber(QStringLiteral("4294967296")));
}

TEST(NumberInputTest, RefusesSignsBlanksAndLineBreaksAroundTheDigits)
{
    // Qt's conversion skips surrounding blanks, and a pattern's "$" matches before a final line
    // break: "30\n" was read as 30.
    for (const char* wrong :
         {"", "-1", "+1", " 1", "1 ", "30\n", "30\r\n", "\n30", "1.0", "0x10", "1e3", "٣"}) {
        SCOPED_TRACE(wrong);
        EXPECT_FALSE(parseNumber(QString::fromUtf8(wrong)));
    }
}

TEST(FolderInputTest, TakesANumberOrAFoldersNameIgnoringCase)
{
    QString error;
    EXPECT_EQ(parseFolder(QStringLiteral("inbox"), &error), 1u);
    EXPECT_EQ(parseFolder(QStringLiteral("Outbox"), &error), 2u);
    EXPECT_EQ(parseFolder(QStringLiteral("SENT"), &error), 3u);
    EXPECT_EQ(parseFolder(QStringLiteral("drafts"), &error), 4u);
    EXPECT_EQ(parseFolder(QStringLiteral("4"), &error), 4u);
    EXPECT_EQ(parseFolder(QStringLiteral("9"), &error), 9u);
    EXPECT_TRUE(error.isEmpty());
}

TEST(FolderInputTest, RefusesAnythingElse)
{
    for (const char* text : {"", "trash", "-1", "1x", " inbox", "draft"}) {
        SCOPED_TRACE(text);
        QString error;
        EXPECT_FALSE(parseFolder(QString::fromUtf8(text), &error));
        EXPECT_TRUE(error.contains(QStringLiteral("is not a folder"))) << error.toStdString();
    }
}

// Local time here is that of Berlin: an hour ahead of UTC in winter.
class TimeSpanInputTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        previous = qgetenv("TZ");
        hadZone = qEnvironmentVariableIsSet("TZ");
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }
    void TearDown() override
    {
        if (hadZone)
            qputenv("TZ", previous);
        else
            qunsetenv("TZ");
        tzset();
    }

    static std::optional<TimeSpan> parsed(const char* text)
    {
        QString error;
        const std::optional<TimeSpan> span = parseTimeSpan(QString::fromUtf8(text), &error);
        EXPECT_TRUE(span || !error.isEmpty());
        return span;
    }
    static qint64 seconds(const char* utcText)
    {
        return QDateTime::fromString(QLatin1String(utcText), Qt::ISODate).toSecsSinceEpoch();
    }

    QByteArray previous;
    bool hadZone = false;
};

TEST_F(TimeSpanInputTest, ADateAloneIsTheWholeDayInLocalTime)
{
    const std::optional<TimeSpan> day = parsed("2026-01-31");

    ASSERT_TRUE(day);
    EXPECT_EQ(day->first.toSecsSinceEpoch(), seconds("2026-01-30T23:00:00Z"));
    EXPECT_EQ(day->last.toSecsSinceEpoch(), seconds("2026-01-31T22:59:59Z"));
}

TEST_F(TimeSpanInputTest, ADateAndTimeIsThatSecondInLocalTimeOrAtItsOffset)
{
    const struct {
        const char* text;
        const char* utc;
    } cases[] = {
        {"2026-01-31T12:00", "2026-01-31T11:00:00Z"},
        {"2026-01-31T12:00:30", "2026-01-31T11:00:30Z"},
        {"2026-01-31 12:00:30.999", "2026-01-31T11:00:30Z"},
        {"2026-01-31T12:00:00Z", "2026-01-31T12:00:00Z"},
        {"2026-01-31T12:00:00+02:00", "2026-01-31T10:00:00Z"},
        {"2026-01-31T12:00:00-0530", "2026-01-31T17:30:00Z"},
        {"2026-01-31T12:00+01", "2026-01-31T11:00:00Z"},
        {"2026-01-31 12:00:00 +01:00", "2026-01-31T11:00:00Z"},
        {"2026-07-01T12:00:00", "2026-07-01T10:00:00Z"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const std::optional<TimeSpan> moment = parsed(c.text);
        ASSERT_TRUE(moment);
        EXPECT_EQ(moment->first.toSecsSinceEpoch(), seconds(c.utc));
        EXPECT_EQ(moment->last.toSecsSinceEpoch(), seconds(c.utc));
    }
}

TEST_F(TimeSpanInputTest, RefusesOtherFormsAndDaysOrTimesThatDoNotExist)
{
    for (const char* text :
         {"", "yesterday", "2026-1-31", "31.01.2026", "2026-01-31T", "2026-01-31T12", "2026-01-31Z",
          "2026-01-31+01:00", "2026-02-30", "2026-13-01", "2026-01-31T24:00", "2026-01-31T12:60",
          "2026-01-31T12:00:61", "2026-01-31T12:00+15:00", "2026-01-31T12:00+01:99",
          "2026-01-31T12:00:00  +01:00", " 2026-01-31", "20260131", "2026-01-31\n"}) {
        SCOPED_TRACE(text);
        QString error;
        EXPECT_FALSE(parseTimeSpan(QString::fromUtf8(text), &error));
        EXPECT_TRUE(error.startsWith(QStringLiteral("'"))) << error.toStdString();
    }
}

} // namespace
