// The vCard reader: contacts of each version as phones and desktop programs write them, and the
// lines and vCards it skips, with their line numbers and reasons.

#include "vcard_reader.h"

#include "support/model_helpers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace tavplatform
{

// Assertion messages show contacts and problems.
void PrintTo(const ContactAddress& address, std::ostream* os)
{
    *os << address.value.toStdString() << " (" << address.label.toStdString() << ")";
}

void PrintTo(const VCardProblem& problem, std::ostream* os)
{
    *os << "line " << problem.line << " (" << problem.lines
        << "): " << problem.reason.toStdString();
}

bool operator==(const VCardProblem& a, const VCardProblem& b)
{
    return a.line == b.line && a.lines == b.lines && a.reason == b.reason;
}

} // namespace tavplatform

namespace
{

using tavplatform::Contact;
using tavplatform::ContactAddress;
using tavplatform::readVCards;
using tavplatform::VCardProblem;
using tavplatform::VCardReading;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

ContactAddress item(const char* value, const char* label)
{
    return {QString::fromUtf8(value), QString::fromUtf8(label)};
}

// The file's one contact, read without problems.
Contact onlyContact(const QByteArray& data)
{
    const VCardReading reading = readVCards(data);
    EXPECT_THAT(reading.problems, IsEmpty());
    EXPECT_EQ(reading.contacts.size(), 1);
    return reading.contacts.value(0);
}

// One vCard of `version` around `lines` (each ended with CRLF here).
QByteArray card(const char* version, std::initializer_list<const char*> lines)
{
    QByteArray data = QByteArray("BEGIN:VCARD\r\nVERSION:") + version + "\r\n";
    for (const char* line : lines)
        data += QByteArray(line) + "\r\n";
    return data + "END:VCARD\r\n";
}

// ---- Version 2.1 ----

TEST(VCardReaderTest, Version21QuotedPrintableNameWithCharsetAndSoftLineBreak)
{
    const Contact contact = onlyContact(card(
        "2.1", {"N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=E5=BC=A0;=E4=B8=89;;;",
                "FN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=E5=BC=A0=E4=B8=89 (J=C3=BC=", "rgen)",
                "TEL;CELL:13800138000"}));
    EXPECT_EQ(contact.name, QString::fromUtf8("张三 (Jürgen)"));
    EXPECT_THAT(contact.numbers, ElementsAre(item("13800138000", "Mobile")));
}

TEST(VCardReaderTest, Version21BareParametersGiveLabelsAndEncoding)
{
    const Contact contact = onlyContact(
        card("2.1", {"FN;QUOTED-PRINTABLE:Ann=20Lee", "TEL;CELL;PREF:+1 555 0101", "TEL;HOME;FAX:1",
                     "TEL;WORK;VOICE:2", "TEL;PAGER:3", "TEL;HOME:4", "TEL;VOICE:5", "TEL:6",
                     "EMAIL;INTERNET;WORK:ann@work.example", "EMAIL;INTERNET:ann@example.org"}));
    EXPECT_EQ(contact.name, QStringLiteral("Ann Lee"));
    EXPECT_THAT(contact.numbers,
                ElementsAre(item("+1 555 0101", "Mobile"), item("1", "Home fax"), item("2", "Work"),
                            item("3", "Pager"), item("4", "Home"), item("5", "Other"),
                            item("6", "Other")));
    EXPECT_THAT(contact.emails,
                ElementsAre(item("ann@work.example", "Work"), item("ann@example.org", "Other")));
}

TEST(VCardReaderTest, Version21FoldKeepsItsBlank)
{
    EXPECT_EQ(onlyContact(card("2.1", {"FN:Anne", " Marie"})).name, QStringLiteral("Anne Marie"));
}

TEST(VCardReaderTest, Version21PhotoInBase64LinesIsPassedOver)
{
    const Contact contact = onlyContact(card(
        "2.1", {"FN:Pic", "PHOTO;ENCODING=BASE64;TYPE=JPEG:", "/9j/4AAQSkZJRgABAQEASABIAAD/2wBDAP",
                "    //////////////////////////8=", "", "TEL;CELL:0171 2345678"}));
    EXPECT_EQ(contact.name, QStringLiteral("Pic"));
    EXPECT_THAT(contact.numbers, ElementsAre(item("0171 2345678", "Mobile")));
}

TEST(VCardReaderTest, Latin1AndGb2312CharsetsAreRead)
{
    const Contact latin1 =
        onlyContact(card("2.1", {"FN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:J=FCrgen"}));
    EXPECT_EQ(latin1.name, QString::fromUtf8("Jürgen"));
    const Contact chinese = onlyContact(card("2.1", {"FN;CHARSET=GB2312:\xD5\xC5\xC8\xFD"}));
    EXPECT_EQ(chinese.name, QString::fromUtf8("张三"));
}

// ---- Version 3.0 ----

TEST(VCardReaderTest, Version30FoldDropsOneBlank)
{
    EXPECT_EQ(onlyContact(card("3.0", {"FN:Anne-Mar", " ie", "  Curie"})).name,
              QStringLiteral("Anne-Marie Curie"));
}

TEST(VCardReaderTest, Version30TypeListsAndRepeatedTypes)
{
    const Contact contact = onlyContact(
        card("3.0", {"FN:T", "TEL;TYPE=WORK,FAX:1", "TEL;TYPE=home;TYPE=cell:2", "TEL;TYPE=MAIN:3",
                     "EMAIL;TYPE=INTERNET;TYPE=HOME:t@home.example"}));
    EXPECT_THAT(contact.numbers,
                ElementsAre(item("1", "Work fax"), item("2", "Mobile"), item("3", "Main")));
    EXPECT_THAT(contact.emails, ElementsAre(item("t@home.example", "Home")));
}

TEST(VCardReaderTest, Version30EscapesAndCompoundValues)
{
    const Contact contact =
        onlyContact(card("3.0", {"FN:Smith\\, John\\nJr.", "ORG:Acme\\; Sons;Sales", "UID:u-1"}));
    EXPECT_EQ(contact.name, QStringLiteral("Smith, John\nJr."));
    EXPECT_EQ(contact.organization, QStringLiteral("Acme; Sons"));
    EXPECT_EQ(contact.uid, QStringLiteral("u-1"));
}

TEST(VCardReaderTest, NameIsMadeFromStructuredNameWithoutFormattedName)
{
    EXPECT_EQ(onlyContact(card("3.0", {"N:Doe;John;Q.;Dr.;Jr."})).name,
              QStringLiteral("Dr. John Q. Doe Jr."));
    EXPECT_EQ(onlyContact(card("3.0", {"N:Doe;;;;", "FN:Johnny"})).name, QStringLiteral("Johnny"));
}

TEST(VCardReaderTest, Version30FoldedBase64PhotoIsPassedOver)
{
    const Contact contact =
        onlyContact(card("3.0", {"PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQSkZJRgABAQEASABIAAD",
                                 " /2wBDAP//////////", " ////8=", "FN:Pic"}));
    EXPECT_EQ(contact.name, QStringLiteral("Pic"));
}

TEST(VCardReaderTest, GroupLabelsOfAddressBooksReplaceTypeLabels)
{
    const Contact contact = onlyContact(
        card("3.0", {"FN:G", "item1.TEL;type=pref:+49 30 1", "item1.X-ABLabel:_$!<Mobile>!$_",
                     "item2.EMAIL;type=INTERNET:g@x.example", "item2.X-ABLabel:Office",
                     "TEL;TYPE=HOME:2"}));
    EXPECT_THAT(contact.numbers, ElementsAre(item("+49 30 1", "Mobile"), item("2", "Home")));
    EXPECT_THAT(contact.emails, ElementsAre(item("g@x.example", "Office")));
}

TEST(VCardReaderTest, MissingVersionIsReadAsVersion30)
{
    const VCardReading reading = readVCards("BEGIN:VCARD\nFN:No\n version\nEND:VCARD\n");
    EXPECT_THAT(reading.problems, IsEmpty());
    ASSERT_EQ(reading.contacts.size(), 1);
    EXPECT_EQ(reading.contacts.at(0).name, QStringLiteral("Noversion"));
}

// ---- Version 4.0 ----

TEST(VCardReaderTest, Version40QuotedTypesAndUriValues)
{
    const Contact contact = onlyContact(card(
        "4.0", {"FN:Four", "TEL;VALUE=uri;TYPE=\"voice,cell\";PREF=1:tel:+1-555-555-0101;ext=5",
                "TEL;TYPE=\"work:main\";VALUE=uri:TEL:+1-555-555-0102",
                "EMAIL;TYPE=work:mailto:four@work.example"}));
    EXPECT_THAT(contact.numbers,
                ElementsAre(item("+1-555-555-0101", "Mobile"), item("+1-555-555-0102", "Other")));
    EXPECT_THAT(contact.emails, ElementsAre(item("four@work.example", "Work")));
}

// ---- Files ----

TEST(VCardReaderTest, ReadsEveryCardInOrderWithAnyLineEndAndByteOrderMark)
{
    const VCardReading reading =
        readVCards("\xEF\xBB\xBF"
                   "BEGIN:VCARD\nVERSION:3.0\nFN:One\nEND:VCARD\n\n"
                   "begin:vcard\r\nversion:4.0\r\nfn:Two\r\ntel:2\r\nend:vcard");
    EXPECT_THAT(reading.problems, IsEmpty());
    ASSERT_EQ(reading.contacts.size(), 2);
    EXPECT_EQ(reading.contacts.at(0).name, QStringLiteral("One"));
    EXPECT_EQ(reading.contacts.at(1).name, QStringLiteral("Two"));
    EXPECT_THAT(reading.contacts.at(1).numbers, ElementsAre(item("2", "Other")));
}

TEST(VCardReaderTest, EmptyFileHoldsNothing)
{
    const VCardReading reading = readVCards(QByteArray());
    EXPECT_THAT(reading.contacts, IsEmpty());
    EXPECT_THAT(reading.problems, IsEmpty());
}

// ---- What is skipped ----

TEST(VCardReaderTest, UnreadableLinesAreReportedAndRestOfCardKept)
{
    const VCardReading reading =
        readVCards(card("3.0", {"FN:Kept", "this line has no colon", "TEL;CHARSET=NO-SUCH-SET:1",
                                "TEL;ENCODING=QUOTED-PRINTABLE:=4", "TEL;ENCODING=X-ZIP:1",
                                "EMAIL:\xC3\x28", "TEL;ENCODING=BASE64:!!!", "TE*L:1",
                                "TEL:", "EMAIL;TYPE=HOME:mailto:", "TEL;TYPE=CELL:+49 171 1"}));
    EXPECT_THAT(reading.problems,
                ElementsAre(VCardProblem{4, 1, "no ':' between the property name and its value"},
                            VCardProblem{5, 1, "unknown character set \"NO-SUCH-SET\""},
                            VCardProblem{6, 1, "malformed quoted-printable text"},
                            VCardProblem{7, 1, "unsupported encoding \"X-ZIP\""},
                            VCardProblem{8, 1, "text not valid in character set \"UTF-8\""},
                            VCardProblem{9, 1, "malformed base64 text"},
                            VCardProblem{10, 1, "malformed property name \"TE*L\""},
                            VCardProblem{11, 1, "empty phone number"},
                            VCardProblem{12, 1, "empty e-mail address"}));
    ASSERT_EQ(reading.contacts.size(), 1);
    EXPECT_EQ(reading.contacts.at(0).name, QStringLiteral("Kept"));
    EXPECT_THAT(reading.contacts.at(0).numbers, ElementsAre(item("+49 171 1", "Mobile")));
}

TEST(VCardReaderTest, TextAndEndOutsideCardsAreReported)
{
    const VCardReading reading = readVCards("junk\n\nEND:VCARD\n" + card("3.0", {"FN:A"}) + "x\n");
    EXPECT_THAT(reading.problems, ElementsAre(VCardProblem{1, 1, "text outside a vCard"},
                                              VCardProblem{3, 1, "END:VCARD outside a vCard"},
                                              VCardProblem{8, 1, "text outside a vCard"}));
    EXPECT_EQ(reading.contacts.size(), 1);
}

TEST(VCardReaderTest, CardWithoutEndIsSkippedWholeAndNextCardRead)
{
    const VCardReading reading =
        readVCards("BEGIN:VCARD\nVERSION:3.0\nFN:Lost\n" + card("3.0", {"FN:Next"}) +
                   "BEGIN:VCARD\nVERSION:3.0\nFN:Cut\n");
    EXPECT_THAT(reading.problems,
                ElementsAre(VCardProblem{1, 3, "vCard without END:VCARD, skipped"},
                            VCardProblem{8, 3, "vCard without END:VCARD, skipped"}));
    ASSERT_EQ(reading.contacts.size(), 1);
    EXPECT_EQ(reading.contacts.at(0).name, QStringLiteral("Next"));
}

TEST(VCardReaderTest, CardWithoutEndAtEndOfFileWithoutNewlineCountsItsLines)
{
    const VCardReading reading = readVCards("BEGIN:VCARD\nVERSION:3.0\nFN:Cut");
    EXPECT_THAT(reading.problems,
                ElementsAre(VCardProblem{1, 3, "vCard without END:VCARD, skipped"}));
}

TEST(VCardReaderTest, CardOfOtherVersionIsSkippedWhole)
{
    const VCardReading reading = readVCards(card("5.0", {"FN:Future"}) + card("3.0", {"FN:Now"}));
    EXPECT_THAT(reading.problems,
                ElementsAre(VCardProblem{1, 4, "vCard of unsupported version \"5.0\", skipped"}));
    ASSERT_EQ(reading.contacts.size(), 1);
    EXPECT_EQ(reading.contacts.at(0).name, QStringLiteral("Now"));
}

TEST(VCardReaderTest, CardWithNothingToFindIsSkippedWhole)
{
    const VCardReading reading = readVCards(card("3.0", {"PHOTO:x", "NOTE:only a note"}));
    EXPECT_THAT(reading.problems,
                ElementsAre(VCardProblem{
                    1, 5, "vCard with no name, phone number or e-mail address, skipped"}));
    EXPECT_THAT(reading.contacts, IsEmpty());
}

TEST(VCardReaderTest, CardWithNumberButNoNameIsKept)
{
    const Contact contact = onlyContact(card("3.0", {"TEL:5"}));
    EXPECT_EQ(contact.name, QString());
    EXPECT_THAT(contact.numbers, ElementsAre(item("5", "Other")));
}

} // namespace
