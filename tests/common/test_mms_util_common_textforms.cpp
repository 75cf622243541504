#include "mms_util_common.h"

#include "support/model_helpers.h"
#include "support/scoped_environment.h"

#include <gtest/gtest.h>

#include <ctime>
#include <memory>

using tavmms_test::deleteEntries;
using tavmms_test::EntryProbe;
using tavmms_test::makeEntry;
using tavmms_test::newEntry;

namespace
{

const QString kEmpty = QLatin1String("");

std::unique_ptr<MMS_UTIL_Entry> readEntry(const QString& text)
{
    return std::unique_ptr<MMS_UTIL_Entry>(MMS_UTIL_Common::stringToEntry(text));
}

void expectEntry(const MMS_UTIL_Entry& entry, const QString& name, MMS_UTIL_ADDR_TYPE_T type,
                 const QString& address)
{
    EXPECT_EQ(entry.name, name);
    EXPECT_EQ(entry.name.isNull(), name.isNull());
    EXPECT_EQ(entry.type, type);
    EXPECT_EQ(entry.address, address);
    EXPECT_EQ(entry.address.isNull(), address.isNull());
}

// --- Entries -------------------------------------------------------------------------------------

TEST(EntryText, WritesNameInAnglesTypeWordInBracketsThenAddress)
{
    EXPECT_EQ(MMS_UTIL_Common::entryToString(
                  makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+123"))),
              QStringLiteral("<Ann>[PLMN]+123"));
}

TEST(EntryText, WritesEveryTypeCodeWithItsWord)
{
    const struct {
        MMS_UTIL_ADDR_TYPE_T type;
        const char* text;
    } cases[] = {{0, "<>[EMAIL]"},   {1, "<>[PLMN]"},      {2, "<>[UNKNOWN]"},
                 {3, "<>[UNKNOWN]"}, {128, "<>[UNKNOWN]"}, {255, "<>[UNKNOWN]"}};
    for (const auto& c : cases) {
        EXPECT_EQ(MMS_UTIL_Common::entryToString(makeEntry(QString(), c.type, QString())),
                  QLatin1String(c.text))
            << "type " << int(c.type);
    }
}

TEST(EntryText, ReadsNameTypeAndAddress)
{
    expectEntry(*readEntry(QStringLiteral("<Bob>[EMAIL]x")), QStringLiteral("Bob"),
                MMS_UTIL_ADDR_EMAIL, QStringLiteral("x"));
    expectEntry(*readEntry(QStringLiteral("<Ann>[PLMN]+123")), QStringLiteral("Ann"),
                MMS_UTIL_ADDR_PLMN, QStringLiteral("+123"));
}

TEST(EntryText, UnknownWordGivesUnknownAndNothingAfterTheMarksGivesAnEmptyAddress)
{
    expectEntry(*readEntry(QStringLiteral("<123>[FOO]")), QStringLiteral("123"),
                MMS_UTIL_ADDR_UNKNOWN, kEmpty);
}

TEST(EntryText, TypeWordsCompareExactly)
{
    const struct {
        const char* text;
        MMS_UTIL_ADDR_TYPE_T type;
    } cases[] = {{"<a>[EMAIL]x", MMS_UTIL_ADDR_EMAIL},     {"<a>[PLMN]x", MMS_UTIL_ADDR_PLMN},
                 {"<a>[UNKNOWN]x", MMS_UTIL_ADDR_UNKNOWN}, {"<a>[plmn]x", MMS_UTIL_ADDR_UNKNOWN},
                 {"<a>[Email]x", MMS_UTIL_ADDR_UNKNOWN},   {"<a>[ PLMN]x", MMS_UTIL_ADDR_UNKNOWN},
                 {"<a>[]x", MMS_UTIL_ADDR_UNKNOWN}};
    for (const auto& c : cases)
        EXPECT_EQ(readEntry(QLatin1String(c.text))->type, c.type) << c.text;
}

TEST(EntryText, EmptyMarksGiveEmptyNotNullTexts)
{
    expectEntry(*readEntry(QStringLiteral("<>[PLMN]")), kEmpty, MMS_UTIL_ADDR_PLMN, kEmpty);
}

TEST(EntryText, TextWithoutMarksIsTakenWholeForEveryPiece)
{
    expectEntry(*readEntry(QStringLiteral("abc")), QStringLiteral("abc"), MMS_UTIL_ADDR_UNKNOWN,
                QStringLiteral("abc"));
}

TEST(EntryText, EmptyTextGivesNullTextsAndUnknownType)
{
    expectEntry(*readEntry(kEmpty), QString(), MMS_UTIL_ADDR_UNKNOWN, QString());
    expectEntry(*readEntry(QString()), QString(), MMS_UTIL_ADDR_UNKNOWN, QString());
}

TEST(EntryText, MarksOutOfOrderAreCutWhereTheirPositionsSay)
{
    // "]" comes before "[": the type word runs to the end and the address starts after that "]".
    expectEntry(*readEntry(QStringLiteral("<a]b>[PLMN]1")), QStringLiteral("a]b"),
                MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("b>[PLMN]1"));
}

TEST(EntryText, AddressIsEverythingAfterTheFirstClosingBracket)
{
    expectEntry(*readEntry(QStringLiteral("<A>[PLMN]1]2<3>")), QStringLiteral("A"),
                MMS_UTIL_ADDR_PLMN, QStringLiteral("1]2<3>"));
}

TEST(EntryText, NameIsTakenBetweenTheFirstAngleMarks)
{
    expectEntry(*readEntry(QStringLiteral("x<A B>[EMAIL]a@b")), QStringLiteral("A B"),
                MMS_UTIL_ADDR_EMAIL, QStringLiteral("a@b"));
}

TEST(EntryText, WrittenEntriesReadBack)
{
    for (const MMS_UTIL_Entry& entry :
         {makeEntry(QStringLiteral("Ann Lee"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+49 30 1")),
          makeEntry(QStringLiteral("x"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("x@example.org")),
          makeEntry(QStringLiteral("Ünal"), MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("?"))}) {
        const auto read = readEntry(MMS_UTIL_Common::entryToString(entry));
        expectEntry(*read, entry.name, entry.type, entry.address);
    }
}

TEST(EntryText, OtherTypeCodesReadBackAsUnknown)
{
    const QString text =
        MMS_UTIL_Common::entryToString(makeEntry(QStringLiteral("A"), 7, QStringLiteral("1")));
    EXPECT_EQ(readEntry(text)->type, MMS_UTIL_ADDR_UNKNOWN);
}

TEST(EntryText, FillingOverloadOverwritesEveryField)
{
    MMS_UTIL_Entry entry =
        makeEntry(QStringLiteral("Old"), MMS_UTIL_ADDR_PLMN, QStringLiteral("old"));
    MMS_UTIL_Common::stringToEntry(QStringLiteral("<Bob>[EMAIL]x"), &entry);
    expectEntry(entry, QStringLiteral("Bob"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("x"));
    MMS_UTIL_Common::stringToEntry(QStringLiteral("<>[FOO]"), &entry);
    expectEntry(entry, kEmpty, MMS_UTIL_ADDR_UNKNOWN, kEmpty);
}

// --- Entry lists ---------------------------------------------------------------------------------

TEST(EntryListText, EveryEntryIsFollowedByTheSeparator)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.append(newEntry(QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1")));
    list.append(newEntry(QStringLiteral("B"), MMS_UTIL_ADDR_PLMN, QStringLiteral("2")));
    EXPECT_EQ(MMS_UTIL_Common::entryListToString(list), QStringLiteral("<A>[PLMN]1,<B>[PLMN]2,"));
}

TEST(EntryListText, EmptyListGivesAnEmptyNotNullText)
{
    const QString text = MMS_UTIL_Common::entryListToString(MMS_UTIL_EntryList());
    EXPECT_FALSE(text.isNull());
    EXPECT_TRUE(text.isEmpty());
}

TEST(EntryListText, WritingLeavesTheListAndItsEntriesAsTheyWere)
{
    const EntryProbe probe("A");
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.append(probe.newEntry());
    EXPECT_EQ(MMS_UTIL_Common::entryListToString(list), QStringLiteral("<A>[PLMN]1,"));
    EXPECT_TRUE(list.autoDelete());
    ASSERT_EQ(list.count(), 1u);
    EXPECT_TRUE(probe.anyEntryAlive());
}

TEST(EntryListText, ReadingSkipsEmptyPiecesAndStripsBlanks)
{
    MMS_UTIL_EntryList list =
        MMS_UTIL_Common::stringToEntryList(QStringLiteral(" <A>[PLMN]1 , ,<B>[PLMN]2"));
    ASSERT_EQ(list.count(), 2u);
    expectEntry(*list.at(0), QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1"));
    expectEntry(*list.at(1), QStringLiteral("B"), MMS_UTIL_ADDR_PLMN, QStringLiteral("2"));
    deleteEntries(list);
}

TEST(EntryListText, ReadListLeavesAutoDeleteOff)
{
    MMS_UTIL_EntryList list = MMS_UTIL_Common::stringToEntryList(QStringLiteral("<A>[PLMN]1,"));
    EXPECT_FALSE(list.autoDelete());
    EXPECT_EQ(list.count(), 1u);
    deleteEntries(list);
}

TEST(EntryListText, TrailingSeparatorAddsNoEntry)
{
    MMS_UTIL_EntryList list =
        MMS_UTIL_Common::stringToEntryList(QStringLiteral("<A>[PLMN]1,<B>[EMAIL]b@x,"));
    ASSERT_EQ(list.count(), 2u);
    expectEntry(*list.at(1), QStringLiteral("B"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("b@x"));
    deleteEntries(list);
}

TEST(EntryListText, TextWithoutEntriesGivesAnEmptyList)
{
    for (const QString& text : {QString(), kEmpty, QStringLiteral(","), QStringLiteral(",,")}) {
        const MMS_UTIL_EntryList list = MMS_UTIL_Common::stringToEntryList(text);
        EXPECT_EQ(list.count(), 0u) << text.toStdString();
    }
}

TEST(EntryListText, WrittenListReadsBack)
{
    MMS_UTIL_EntryList written;
    written.setAutoDelete(true);
    written.append(newEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+1")));
    written.append(newEntry(kEmpty, MMS_UTIL_ADDR_EMAIL, QStringLiteral("b@x")));
    written.append(newEntry(QStringLiteral("C"), MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("c")));
    MMS_UTIL_EntryList read =
        MMS_UTIL_Common::stringToEntryList(MMS_UTIL_Common::entryListToString(written));
    ASSERT_EQ(read.count(), written.count());
    for (uint i = 0; i < read.count(); ++i) {
        SCOPED_TRACE(i);
        expectEntry(*read.at(i), written.at(i)->name, written.at(i)->type, written.at(i)->address);
    }
    deleteEntries(read);
}

TEST(EntryListText, SeparatorInsideANameSplitsTheEntry)
{
    MMS_UTIL_EntryList written;
    written.setAutoDelete(true);
    written.append(newEntry(QStringLiteral("A,B"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1")));
    MMS_UTIL_EntryList read =
        MMS_UTIL_Common::stringToEntryList(MMS_UTIL_Common::entryListToString(written));
    ASSERT_EQ(read.count(), 2u);
    expectEntry(*read.at(0), QStringLiteral("A"), MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("<A"));
    expectEntry(*read.at(1), QStringLiteral("B"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1"));
    deleteEntries(read);
}

TEST(EntryListText, AppendingOverloadKeepsExistingEntries)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    MMS_UTIL_Entry* existing =
        newEntry(QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1"));
    list.append(existing);
    MMS_UTIL_Common::stringToEntryList(QStringLiteral("<B>[PLMN]2,<C>[EMAIL]c,"), &list);
    ASSERT_EQ(list.count(), 3u);
    EXPECT_EQ(list.at(0), existing);
    expectEntry(*list.at(1), QStringLiteral("B"), MMS_UTIL_ADDR_PLMN, QStringLiteral("2"));
    expectEntry(*list.at(2), QStringLiteral("C"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("c"));
}

TEST(EntryListText, AppendingOverloadLeavesTheAutoDeleteFlag)
{
    for (const bool autoDelete : {false, true}) {
        MMS_UTIL_EntryList list;
        list.setAutoDelete(autoDelete);
        MMS_UTIL_Common::stringToEntryList(QStringLiteral("<B>[PLMN]2,"), &list);
        EXPECT_EQ(list.autoDelete(), autoDelete);
        EXPECT_EQ(list.count(), 1u);
        deleteEntries(list);
    }
}

// --- Content types -------------------------------------------------------------------------------

MMS_CONTENT_TYPE_T contentType(const QString& type, const QString& subtype, const QString& params)
{
    return MMS_CONTENT_TYPE_T{type, subtype, params};
}

void expectContentType(const MMS_CONTENT_TYPE_T& actual, const QString& type,
                       const QString& subtype, const QString& params)
{
    EXPECT_EQ(actual.type, type);
    EXPECT_EQ(actual.type.isNull(), type.isNull());
    EXPECT_EQ(actual.subtype, subtype);
    EXPECT_EQ(actual.subtype.isNull(), subtype.isNull());
    EXPECT_EQ(actual.params, params);
    EXPECT_EQ(actual.params.isNull(), params.isNull());
}

TEST(ContentTypeText, WritesTypeSlashSubtypeBlankParams)
{
    EXPECT_EQ(MMS_UTIL_Common::contentTypeToString(
                  contentType(QStringLiteral("multipart"), QStringLiteral("related"),
                              QStringLiteral("type=application/smil"))),
              QStringLiteral("multipart/related type=application/smil"));
}

TEST(ContentTypeText, BlankIsWrittenAlsoWithoutParams)
{
    EXPECT_EQ(MMS_UTIL_Common::contentTypeToString(
                  contentType(QStringLiteral("text"), QStringLiteral("plain"), kEmpty)),
              QStringLiteral("text/plain "));
    EXPECT_EQ(MMS_UTIL_Common::contentTypeToString(
                  contentType(QStringLiteral("text"), QStringLiteral("plain"), QString())),
              QStringLiteral("text/plain "));
}

TEST(ContentTypeText, ReadsTypeSubtypeAndParams)
{
    expectContentType(
        MMS_UTIL_Common::stringToContentType(QStringLiteral("text/plain charset=utf-8")),
        QStringLiteral("text"), QStringLiteral("plain"), QStringLiteral("charset=utf-8"));
}

TEST(ContentTypeText, ParamsAreEverythingAfterTheFirstBlank)
{
    expectContentType(MMS_UTIL_Common::stringToContentType(
                          QStringLiteral("multipart/related type=a/b start=<x>")),
                      QStringLiteral("multipart"), QStringLiteral("related"),
                      QStringLiteral("type=a/b start=<x>"));
}

TEST(ContentTypeText, TrailingBlankGivesEmptyNotNullParams)
{
    expectContentType(MMS_UTIL_Common::stringToContentType(QStringLiteral("text/plain ")),
                      QStringLiteral("text"), QStringLiteral("plain"), kEmpty);
}

TEST(ContentTypeText, WithoutABlankHeadAndParamsAreBothTheWholeText)
{
    expectContentType(MMS_UTIL_Common::stringToContentType(QStringLiteral("text/plain")),
                      QStringLiteral("text"), QStringLiteral("plain"),
                      QStringLiteral("text/plain"));
}

TEST(ContentTypeText, WithoutASlashTypeAndSubtypeAreBothTheHead)
{
    expectContentType(MMS_UTIL_Common::stringToContentType(QStringLiteral("textplain a=b")),
                      QStringLiteral("textplain"), QStringLiteral("textplain"),
                      QStringLiteral("a=b"));
}

TEST(ContentTypeText, SubtypeKeepsLaterSlashes)
{
    expectContentType(MMS_UTIL_Common::stringToContentType(QStringLiteral("application/a/b x")),
                      QStringLiteral("application"), QStringLiteral("a/b"), QStringLiteral("x"));
}

TEST(ContentTypeText, BareSlashGivesEmptyNotNullFields)
{
    expectContentType(MMS_UTIL_Common::stringToContentType(QStringLiteral("/ ")), kEmpty, kEmpty,
                      kEmpty);
}

TEST(ContentTypeText, EmptyTextGivesNullFields)
{
    expectContentType(MMS_UTIL_Common::stringToContentType(kEmpty), QString(), QString(),
                      QString());
}

TEST(ContentTypeText, WrittenContentTypeReadsBack)
{
    const MMS_CONTENT_TYPE_T written =
        contentType(QStringLiteral("application"), QStringLiteral("vnd.wap.multipart.related"),
                    QStringLiteral("type=application/smil; start=<start>"));
    const MMS_CONTENT_TYPE_T read =
        MMS_UTIL_Common::stringToContentType(MMS_UTIL_Common::contentTypeToString(written));
    expectContentType(read, written.type, written.subtype, written.params);
}

// --- Priorities, statuses, booleans --------------------------------------------------------------

TEST(PriorityText, WritesTheThreeCodes)
{
    EXPECT_EQ(MMS_UTIL_Common::priorityToString(128), QStringLiteral("Low"));
    EXPECT_EQ(MMS_UTIL_Common::priorityToString(129), QStringLiteral("Normal"));
    EXPECT_EQ(MMS_UTIL_Common::priorityToString(130), QStringLiteral("High"));
}

TEST(PriorityText, OtherCodesWriteInvalidPriority)
{
    for (const unsigned char code : {0, 1, 127, 131, 255})
        EXPECT_EQ(MMS_UTIL_Common::priorityToString(code), QStringLiteral("Invalid_Priority"))
            << int(code);
}

TEST(PriorityText, ReadsTheThreeWords)
{
    EXPECT_EQ(MMS_UTIL_Common::stringToPriority(QStringLiteral("High")), 130);
    EXPECT_EQ(MMS_UTIL_Common::stringToPriority(QStringLiteral("Normal")), 129);
    EXPECT_EQ(MMS_UTIL_Common::stringToPriority(QStringLiteral("Low")), 128);
}

TEST(PriorityText, OtherWordsRead255)
{
    for (const QString& text :
         {QStringLiteral("high"), QStringLiteral("LOW"), QStringLiteral("Normal "),
          QStringLiteral("Invalid_Priority"), kEmpty, QString()})
        EXPECT_EQ(MMS_UTIL_Common::stringToPriority(text), 255) << text.toStdString();
}

TEST(StatusText, WritesTheSixCodes)
{
    const char* const words[] = {"Expired",  "Retrived",     "Rejected",
                                 "Deferred", "Unrecognized", "Read"};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(MMS_UTIL_Common::statusToString(static_cast<unsigned char>(128 + i)),
                  QLatin1String(words[i]))
            << 128 + i;
}

TEST(StatusText, OtherCodesWriteANullString)
{
    for (const unsigned char code : {0, 127, 134, 255})
        EXPECT_TRUE(MMS_UTIL_Common::statusToString(code).isNull()) << int(code);
}

TEST(StatusText, ReadsTheFirstFiveWords)
{
    EXPECT_EQ(MMS_UTIL_Common::stringToStatus(QStringLiteral("Expired")), 128);
    EXPECT_EQ(MMS_UTIL_Common::stringToStatus(QStringLiteral("Retrived")), 129);
    EXPECT_EQ(MMS_UTIL_Common::stringToStatus(QStringLiteral("Rejected")), 130);
    EXPECT_EQ(MMS_UTIL_Common::stringToStatus(QStringLiteral("Deferred")), 131);
    EXPECT_EQ(MMS_UTIL_Common::stringToStatus(QStringLiteral("Unrecognized")), 132);
}

TEST(StatusText, ReadIsWrittenButReadsAs255)
{
    EXPECT_EQ(MMS_UTIL_Common::statusToString(133), QStringLiteral("Read"));
    EXPECT_EQ(MMS_UTIL_Common::stringToStatus(QStringLiteral("Read")), 255);
}

TEST(StatusText, OtherWordsRead255)
{
    for (const QString& text : {QStringLiteral("Retrieved"), QStringLiteral("expired"),
                                QStringLiteral("Expired "), kEmpty, QString()})
        EXPECT_EQ(MMS_UTIL_Common::stringToStatus(text), 255) << text.toStdString();
}

TEST(BoolText, WritesTrueAndFalse)
{
    EXPECT_EQ(MMS_UTIL_Common::boolToString(true), QStringLiteral("True"));
    EXPECT_EQ(MMS_UTIL_Common::boolToString(false), QStringLiteral("False"));
}

TEST(BoolText, OnlyExactTrueReadsTrue)
{
    EXPECT_TRUE(MMS_UTIL_Common::stringToBool(QStringLiteral("True")));
    for (const QString& text :
         {QStringLiteral("true"), QStringLiteral("TRUE"), QStringLiteral("True "),
          QStringLiteral("1"), QStringLiteral("False"), kEmpty, QString()})
        EXPECT_FALSE(MMS_UTIL_Common::stringToBool(text)) << text.toStdString();
}

// --- Dates ---------------------------------------------------------------------------------------

QDateTime readTime(const char* text)
{
    return MMS_UTIL_Common::stringToTime(QLatin1String(text));
}

TEST(TimeText, ReadsDateAndTime)
{
    const QDateTime read = readTime("Sat May 2 03:40:13 1998");
    EXPECT_EQ(read.date(), QDate(1998, 5, 2));
    EXPECT_EQ(read.time(), QTime(3, 40, 13));
}

TEST(TimeText, ReadsTwoDigitDays)
{
    const QDateTime read = readTime("Tue May 12 23:59:58 2009");
    EXPECT_EQ(read.date(), QDate(2009, 5, 12));
    EXPECT_EQ(read.time(), QTime(23, 59, 58));
}

TEST(TimeText, ReadsEveryMonthName)
{
    const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int i = 0; i < 12; ++i) {
        const QString text = QStringLiteral("Mon %1 9 12:00:00 2004").arg(QLatin1String(months[i]));
        EXPECT_EQ(MMS_UTIL_Common::stringToTime(text).date(), QDate(2004, i + 1, 9)) << months[i];
    }
}

TEST(TimeText, WrittenDateTimeReadsBack)
{
    const QDateTime written(QDate(2005, 11, 7), QTime(8, 5, 9));
    const QDateTime read = MMS_UTIL_Common::stringToTime(written.toString());
    EXPECT_EQ(read.date(), written.date());
    EXPECT_EQ(read.time(), written.time());
}

TEST(TimeText, NullTextGivesANullDateTime)
{
    EXPECT_TRUE(MMS_UTIL_Common::stringToTime(QString()).isNull());
}

TEST(TimeText, TextTooShortForTheMonthGivesANullDateTime)
{
    EXPECT_TRUE(MMS_UTIL_Common::stringToTime(kEmpty).isNull());
    EXPECT_TRUE(readTime("Sat ").isNull());
}

TEST(TimeText, TextReachingTheMonthIsRead)
{
    // Five characters reach the month: the month is unknown and there is no time, so the result
    // is an invalid date at midnight rather than a null date-time.
    const QDateTime read = readTime("Sat M");
    EXPECT_FALSE(read.isNull());
    EXPECT_FALSE(read.date().isValid());
    EXPECT_EQ(read.time(), QTime(0, 0));
}

TEST(TimeText, UnknownMonthGivesAnInvalidDateButKeepsTheTime)
{
    for (const char* text : {"Sat Foo 2 03:40:13 1998", "Sat may 2 03:40:13 1998"}) {
        const QDateTime read = readTime(text);
        EXPECT_FALSE(read.date().isValid()) << text;
        EXPECT_EQ(read.time(), QTime(3, 40, 13)) << text;
    }
}

TEST(TimeText, MissingTimeGivesMidnight)
{
    const QDateTime read = readTime("Sat May 2 1998");
    EXPECT_EQ(read.date(), QDate(1998, 5, 2));
    EXPECT_EQ(read.time(), QTime(0, 0, 0));
}

TEST(TimeText, ImpossibleDayGivesAnInvalidDate)
{
    const QDateTime read = readTime("Sat Feb 30 03:40:13 1998");
    EXPECT_FALSE(read.date().isValid());
    EXPECT_EQ(read.time(), QTime(3, 40, 13));
}

TEST(TimeText, ImpossibleClockWithAValidDateBecomesMidnight)
{
    // Qt 6 cannot hold a valid date with an invalid time: it puts midnight in its place.
    const QDateTime read = readTime("Sat May 2 25:61:61 1998");
    EXPECT_EQ(read.date(), QDate(1998, 5, 2));
    EXPECT_EQ(read.time(), QTime(0, 0, 0));
}

TEST(TimeText, ClockIsFoundAnywhereInTheText)
{
    const QDateTime read = readTime("Sat May 2 1998 at 07:08:09 1998");
    EXPECT_EQ(read.date(), QDate(1998, 5, 2));
    EXPECT_EQ(read.time(), QTime(7, 8, 9));
}

TEST(TimeText, ClockIsTheFirstWholeOneOfAsciiDigits)
{
    // A short "1:02:03" and digits of another script are passed over.
    const QDateTime read = MMS_UTIL_Common::stringToTime(
        QString::fromUtf8("Sat May 2 1:02:03 \u0661\u0662:30:30 11:22:33 04:05:06 1998"));
    EXPECT_EQ(read.time(), QTime(11, 22, 33));
}

// A zone with summer time, so that the hours around its changes are met.
class TimeTextInAZoneWithSummerTime : public ::testing::Test
{
protected:
    void SetUp() override { ::tzset(); }
    void TearDown() override
    {
        zone.reset();
        ::tzset();
    }

    std::unique_ptr<tavmms_test::ScopedEnvironment> zone =
        std::make_unique<tavmms_test::ScopedEnvironment>("TZ", QByteArray("Europe/Berlin"));
};

TEST_F(TimeTextInAZoneWithSummerTime, DatesAroundTheChangesReadAsTheZonesLocalTime)
{
    const struct {
        const char* text;
        bool valid;
        int offset; // seconds east of UTC, for a valid result
    } cases[] = {
        {"Sun Mar 31 01:59:59 2024", true, 3600}, // the last second of winter time
        {"Sun Mar 31 02:30:00 2024", false, 0},   // in the hour that spring skips
        {"Sun Mar 31 03:00:00 2024", true, 7200}, // the first second of summer time
        {"Sun Oct 27 01:59:59 2024", true, 7200},
        {"Sun Oct 27 02:30:00 2024", true, 7200}, // the hour that autumn repeats: its first pass
        {"Sun Oct 27 03:00:00 2024", true, 3600},
        {"Mon Jul 1 12:00:00 2024", true, 7200},
        {"Wed Jan 1 12:00:00 2025", true, 3600},
    };
    for (const auto& c : cases) {
        const QDateTime read = readTime(c.text);
        // The local time that Qt makes of the date and the time read, in every respect.
        const QDateTime local(read.date(), read.time());
        EXPECT_TRUE(read.date().isValid()) << c.text;
        EXPECT_EQ(read.timeSpec(), Qt::LocalTime) << c.text;
        EXPECT_EQ(read.isValid(), c.valid) << c.text;
        EXPECT_EQ(read.isValid(), local.isValid()) << c.text;
        if (c.valid) {
            EXPECT_EQ(read.offsetFromUtc(), c.offset) << c.text;
            EXPECT_EQ(read.toMSecsSinceEpoch(), local.toMSecsSinceEpoch()) << c.text;
        }
    }
}

TEST(TimeText, ClockMissingADigitGivesMidnight)
{
    const QDateTime read = readTime("Sat May 2 07:08:9 1998");
    EXPECT_EQ(read.date(), QDate(1998, 5, 2));
    EXPECT_EQ(read.time(), QTime(0, 0, 0));
}

} // namespace
