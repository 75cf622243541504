// MMS_UTIL_Common's contact look-ups: the exact calls they make on a double of the address book
// and what they do with its answers, then the same calls on the real address book filled from
// vCards.

#include "mms_util_common.h"

#include "address_book_settings.h"

#include "support/mock_address_book.h"
#include "support/model_helpers.h"
#include "support/temp_address_book.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace
{

using tavmms_test::answerSearch;
using tavmms_test::EntryProbe;
using tavmms_test::makeEntry;
using tavmms_test::MockAddressBook;
using tavmms_test::newEntry;
using ::testing::_;
using ::testing::AllOf;
using ::testing::DoAll;
using ::testing::Eq;
using ::testing::Field;
using ::testing::InSequence;
using ::testing::IsNull;
using ::testing::Property;
using ::testing::Return;
using ::testing::SetArgReferee;
using ::testing::StrictMock;

const int kFound = ADDRBK_SEARCH_FOUND;
const int kNotFound = ADDRBK_SEARCH_NOT_FOUND;

// A record as a fresh one is: every text null, the number 0.
auto freshRecord()
{
    return AllOf(
        Field(&ADDRBK_SEARCH_SINGLE_DATA_T::name, Property(&QString::isNull, true)),
        Field(&ADDRBK_SEARCH_SINGLE_DATA_T::contactId, Eq(0u)),
        Field(&ADDRBK_SEARCH_SINGLE_DATA_T::label, Property(&QString::isNull, true)),
        Field(&ADDRBK_SEARCH_SINGLE_DATA_T::value, Property(&QString::isNull, true)),
        Field(&ADDRBK_SEARCH_SINGLE_DATA_T::organization, Property(&QString::isNull, true)));
}

// An empty text that is not null.
auto emptyText()
{
    return AllOf(Property(&QString::isEmpty, true), Property(&QString::isNull, false));
}

class ContactLookupTest : public ::testing::Test
{
protected:
    // Expects one search of `key` by `type` with a fresh record, 1000 and a null pointer, answered
    // with `code`, `name` and `label`.
    void expectSearch(ADDRBK_SEARCH_TYPE_T type, const QString& key, int code, const QString& name,
                      const QString& label = QStringLiteral("Mobile"))
    {
        EXPECT_CALL(book, singleSearch(type, key, freshRecord(), 1000, IsNull()))
            .WillOnce(answerSearch(code, name, label));
    }

    StrictMock<MockAddressBook> book;
    tavplatform::ScopedAddressBookService installed{&book};
};

// ---- srchContactName ----

TEST_F(ContactLookupTest, SrchContactNameSearchesEmailEntryByEmail)
{
    MMS_UTIL_Entry entry = makeEntry(QString(), MMS_UTIL_ADDR_EMAIL, QStringLiteral("Ann@Ex.org"));
    expectSearch(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("Ann@Ex.org"), kFound,
                 QStringLiteral("Ann"));
    MMS_UTIL_Common::srchContactName(entry);
    EXPECT_EQ(entry.name, QStringLiteral("Ann"));
    EXPECT_EQ(entry.type, MMS_UTIL_ADDR_EMAIL);
    EXPECT_EQ(entry.address, QStringLiteral("Ann@Ex.org"));
}

class ContactLookupByNumberTest : public ContactLookupTest,
                                  public ::testing::WithParamInterface<MMS_UTIL_ADDR_TYPE_T>
{
};

TEST_P(ContactLookupByNumberTest, SrchContactNameSearchesEveryOtherTypeByNumber)
{
    MMS_UTIL_Entry entry = makeEntry(QString(), GetParam(), QStringLiteral("+86 138-0013 8000"));
    expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("+86 138-0013 8000"), kFound,
                 QStringLiteral("Bob"));
    MMS_UTIL_Common::srchContactName(entry);
    EXPECT_EQ(entry.name, QStringLiteral("Bob"));
    EXPECT_EQ(entry.type, GetParam());
}

TEST_P(ContactLookupByNumberTest, SrchContactInfoByValSearchesEveryOtherTypeByNumber)
{
    const MMS_UTIL_Entry entry = makeEntry(QString(), GetParam(), QStringLiteral("12345"));
    expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("12345"), kFound, QStringLiteral("Bob"),
                 QStringLiteral("Work"));
    MMS_UTIL_CONTACT_INFO_T info;
    MMS_UTIL_Entry argument = entry;
    EXPECT_TRUE(MMS_UTIL_Common::srchContactInfoByVal(info, argument));
    EXPECT_EQ(info.contactName, QStringLiteral("Bob"));
    EXPECT_EQ(info.contactDetail, QStringLiteral("Work"));
}

INSTANTIATE_TEST_SUITE_P(PhoneNumberAndUnknownTypes, ContactLookupByNumberTest,
                         ::testing::Values(MMS_UTIL_ADDR_TYPE_T(1), MMS_UTIL_ADDR_TYPE_T(2),
                                           MMS_UTIL_ADDR_TYPE_T(255)));

TEST_F(ContactLookupTest, SrchContactNameClearsNameWhenAddressIsNotInBook)
{
    MMS_UTIL_Entry entry =
        makeEntry(QStringLiteral("Old name"), MMS_UTIL_ADDR_PLMN, QStringLiteral("555"));
    expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("555"), kNotFound, QString());
    MMS_UTIL_Common::srchContactName(entry);
    EXPECT_THAT(entry.name, emptyText());
    EXPECT_EQ(entry.type, MMS_UTIL_ADDR_PLMN);
    EXPECT_EQ(entry.address, QStringLiteral("555"));
}

TEST_F(ContactLookupTest, SrchContactNameIgnoresRecordOfFailedSearch)
{
    MMS_UTIL_Entry entry =
        makeEntry(QStringLiteral("Old"), MMS_UTIL_ADDR_PLMN, QStringLiteral("5"));
    expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("5"), ADDRBK_SEARCH_UNAVAILABLE,
                 QStringLiteral("Filled anyway"));
    MMS_UTIL_Common::srchContactName(entry);
    EXPECT_THAT(entry.name, emptyText());
}

TEST_F(ContactLookupTest, SrchContactNameTakesHitWithEmptyNameAsNoHit)
{
    MMS_UTIL_Entry entry =
        makeEntry(QStringLiteral("Old"), MMS_UTIL_ADDR_PLMN, QStringLiteral("5"));
    expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("5"), kFound, QLatin1String(""));
    MMS_UTIL_Common::srchContactName(entry);
    EXPECT_THAT(entry.name, emptyText());
}

TEST_F(ContactLookupTest, SrchContactNameSearchesNullAddressAsItIs)
{
    MMS_UTIL_Entry entry;
    EXPECT_CALL(book, singleSearch(ADDRBK_SEARCH_BY_EMAIL, Property(&QString::isNull, true),
                                   freshRecord(), 1000, IsNull()))
        .WillOnce(Return(kNotFound));
    MMS_UTIL_Common::srchContactName(entry);
    EXPECT_THAT(entry.name, emptyText());
}

// ---- srchMultiContactNames ----

TEST_F(ContactLookupTest, SrchMultiContactNamesNamesCallersEntriesInOrder)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.append(newEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("1")));
    list.append(newEntry(QStringLiteral("Stale"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("b@x")));
    list.append(newEntry(QString(), MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("3")));
    {
        InSequence order;
        expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("1"), kFound, QStringLiteral("One"));
        expectSearch(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("b@x"), kNotFound, QString());
        expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("3"), kFound, QStringLiteral("Three"));
    }
    MMS_UTIL_Common::srchMultiContactNames(list);
    ASSERT_EQ(list.count(), 3u);
    EXPECT_EQ(list.at(0)->name, QStringLiteral("One"));
    EXPECT_THAT(list.at(1)->name, emptyText());
    EXPECT_EQ(list.at(2)->name, QStringLiteral("Three"));
}

TEST_F(ContactLookupTest, SrchMultiContactNamesPassesOverEmptySlots)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.append(nullptr);
    list.append(newEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("2")));
    expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("2"), kFound, QStringLiteral("Two"));
    MMS_UTIL_Common::srchMultiContactNames(list);
    EXPECT_EQ(list.at(1)->name, QStringLiteral("Two"));
}

TEST_F(ContactLookupTest, SrchMultiContactNamesOnEmptyListSearchesNothing)
{
    MMS_UTIL_Common::srchMultiContactNames(MMS_UTIL_EntryList());
}

// ---- srchContactInfoByVal ----

TEST_F(ContactLookupTest, SrchContactInfoByValLeavesInfoUntouchedForEmptyEntry)
{
    MMS_UTIL_CONTACT_INFO_T info{QStringLiteral("kept name"), QStringLiteral("kept detail")};
    for (MMS_UTIL_Entry entry :
         {MMS_UTIL_Entry(), makeEntry(QLatin1String(""), MMS_UTIL_ADDR_PLMN, QLatin1String(""))}) {
        EXPECT_TRUE(MMS_UTIL_Common::srchContactInfoByVal(info, entry));
        EXPECT_EQ(info.contactName, QStringLiteral("kept name"));
        EXPECT_EQ(info.contactDetail, QStringLiteral("kept detail"));
    }
}

TEST_F(ContactLookupTest, SrchContactInfoByValGivesNameAndSecondTextOfHit)
{
    MMS_UTIL_CONTACT_INFO_T info{QStringLiteral("old"), QStringLiteral("old")};
    MMS_UTIL_Entry entry = makeEntry(QString(), MMS_UTIL_ADDR_EMAIL, QStringLiteral("A@B.c"));
    expectSearch(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("A@B.c"), kFound, QStringLiteral("Ann"),
                 QStringLiteral("Home"));
    EXPECT_TRUE(MMS_UTIL_Common::srchContactInfoByVal(info, entry));
    EXPECT_EQ(info.contactName, QStringLiteral("Ann"));
    EXPECT_EQ(info.contactDetail, QStringLiteral("Home"));
    EXPECT_EQ(entry.name, QString());
}

TEST_F(ContactLookupTest, SrchContactInfoByValGivesAddressWithoutHit)
{
    MMS_UTIL_CONTACT_INFO_T info{QStringLiteral("old"), QStringLiteral("old")};
    MMS_UTIL_Entry entry = makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("+4930"));
    expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("+4930"), kNotFound,
                 QStringLiteral("ignored"), QStringLiteral("ignored"));
    EXPECT_TRUE(MMS_UTIL_Common::srchContactInfoByVal(info, entry));
    EXPECT_EQ(info.contactName, QStringLiteral("+4930"));
    EXPECT_THAT(info.contactDetail, emptyText());
}

TEST_F(ContactLookupTest, SrchContactInfoByValTakesHitWithEmptyNameAsNoHit)
{
    MMS_UTIL_CONTACT_INFO_T info;
    MMS_UTIL_Entry entry = makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("777"));
    expectSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("777"), kFound, QString(),
                 QStringLiteral("Mobile"));
    EXPECT_TRUE(MMS_UTIL_Common::srchContactInfoByVal(info, entry));
    EXPECT_EQ(info.contactName, QStringLiteral("777"));
    EXPECT_THAT(info.contactDetail, emptyText());
}

TEST_F(ContactLookupTest, SrchContactInfoByValSearchesEntryWithNameButNoAddress)
{
    MMS_UTIL_CONTACT_INFO_T info{QStringLiteral("old"), QStringLiteral("old")};
    MMS_UTIL_Entry entry = makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_EMAIL, QLatin1String(""));
    expectSearch(ADDRBK_SEARCH_BY_EMAIL, QLatin1String(""), kNotFound, QString());
    EXPECT_TRUE(MMS_UTIL_Common::srchContactInfoByVal(info, entry));
    EXPECT_THAT(info.contactName, emptyText());
    EXPECT_THAT(info.contactDetail, emptyText());
}

// ---- getOwnerEntry ----

TEST_F(ContactLookupTest, GetOwnerEntryFillsEntryWithOwnersNumberAndName)
{
    MMS_UTIL_Entry entry = makeEntry(QStringLiteral("x"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("y"));
    EXPECT_CALL(book, getOwnerNumber(emptyText(), emptyText()))
        .WillOnce(DoAll(SetArgReferee<0>(QStringLiteral("Me")),
                        SetArgReferee<1>(QStringLiteral("+491710000000")), Return(true)));
    EXPECT_EQ(MMS_UTIL_Common::getOwnerEntry(entry), 0);
    EXPECT_EQ(entry.name, QStringLiteral("Me"));
    EXPECT_EQ(entry.type, MMS_UTIL_ADDR_PLMN);
    EXPECT_EQ(entry.address, QStringLiteral("+491710000000"));
}

TEST_F(ContactLookupTest, GetOwnerEntryLeavesEntryUntouchedWhenOwnerIsUnknown)
{
    MMS_UTIL_Entry entry = makeEntry(QStringLiteral("x"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("y"));
    EXPECT_CALL(book, getOwnerNumber(emptyText(), emptyText()))
        .WillOnce(DoAll(SetArgReferee<0>(QStringLiteral("Filled")),
                        SetArgReferee<1>(QStringLiteral("anyway")), Return(false)));
    EXPECT_EQ(MMS_UTIL_Common::getOwnerEntry(entry), 1);
    EXPECT_EQ(entry.name, QStringLiteral("x"));
    EXPECT_EQ(entry.type, MMS_UTIL_ADDR_EMAIL);
    EXPECT_EQ(entry.address, QStringLiteral("y"));
}

// ---- deleteEntryByVal ----

// A list that owns entries with the given addresses, all of type PLMN.
class OwnedList
{
public:
    explicit OwnedList(std::initializer_list<QString> addresses)
    {
        list.setAutoDelete(true);
        for (const QString& address : addresses)
            list.append(newEntry(QString(), MMS_UTIL_ADDR_PLMN, address));
    }

    QStringList addresses() const
    {
        QStringList result;
        for (const MMS_UTIL_Entry* entry : list)
            result << (entry ? entry->address : QStringLiteral("<empty slot>"));
        return result;
    }

    MMS_UTIL_EntryList list;
};

TEST(DeleteEntryByValTest, NullListGives1)
{
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(nullptr, QStringLiteral("1")), 1);
}

TEST(DeleteEntryByValTest, EmptyListGives0)
{
    MMS_UTIL_EntryList list;
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&list, QStringLiteral("1")), 0);
    EXPECT_EQ(list.count(), 0u);
}

TEST(DeleteEntryByValTest, NoMatchGives0AndChangesNothing)
{
    OwnedList owned{QStringLiteral("111"), QStringLiteral("222")};
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("333")), 0);
    EXPECT_EQ(owned.addresses(), (QStringList{QStringLiteral("111"), QStringLiteral("222")}));
}

TEST(DeleteEntryByValTest, PrefixedArgumentRemovesFirstEntryWithOrWithoutPrefix)
{
    OwnedList owned{QStringLiteral("999"), QStringLiteral("13800138000"),
                    QStringLiteral("+8613800138000")};
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("+8613800138000")), 0);
    EXPECT_EQ(owned.addresses(),
              (QStringList{QStringLiteral("999"), QStringLiteral("+8613800138000")}));
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("+8613800138000")), 0);
    EXPECT_EQ(owned.addresses(), QStringList{QStringLiteral("999")});
}

TEST(DeleteEntryByValTest, BareArgumentRemovesEntryWithPrefix)
{
    OwnedList owned{QStringLiteral("+8613800138000"), QStringLiteral("+8613800138000")};
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("13800138000")), 0);
    EXPECT_EQ(owned.addresses(), QStringList{QStringLiteral("+8613800138000")});
}

TEST(DeleteEntryByValTest, OnlyLeadingPlus86IsDropped)
{
    OwnedList owned{QStringLiteral("13800138000")};
    for (const QString& other :
         {QStringLiteral("008613800138000"), QStringLiteral("8613800138000"),
          QStringLiteral("1+8613800138000"), QStringLiteral("+85213800138000")})
        EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, other), 0);
    EXPECT_EQ(owned.addresses(), QStringList{QStringLiteral("13800138000")});
}

TEST(DeleteEntryByValTest, ComparesExactlyWithoutOtherNormalisation)
{
    OwnedList owned{QStringLiteral("Ann@Ex.org"), QStringLiteral("138 0013"),
                    QStringLiteral("1380013")};
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("ann@ex.org")), 0);
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("138-0013")), 0);
    EXPECT_EQ(owned.list.count(), 3u);
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("1380013")), 0);
    EXPECT_EQ(owned.addresses(),
              (QStringList{QStringLiteral("Ann@Ex.org"), QStringLiteral("138 0013")}));
}

TEST(DeleteEntryByValTest, AddressTypeIsNotCompared)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.append(newEntry(QString(), MMS_UTIL_ADDR_EMAIL, QStringLiteral("12345")));
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&list, QStringLiteral("+8612345")), 0);
    EXPECT_EQ(list.count(), 0u);
}

TEST(DeleteEntryByValTest, ShortAddressIsComparedWhole)
{
    OwnedList owned{QStringLiteral("+8"), QStringLiteral("12"), QStringLiteral("+812")};
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("12")), 0);
    EXPECT_EQ(owned.addresses(), (QStringList{QStringLiteral("+8"), QStringLiteral("+812")}));
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("+8")), 0);
    EXPECT_EQ(owned.addresses(), QStringList{QStringLiteral("+812")});
}

TEST(DeleteEntryByValTest, Plus86AloneMatchesEntryOfPlus86OrEmptyAddress)
{
    OwnedList owned{QStringLiteral("86"), QStringLiteral("+86"), QLatin1String("")};
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("+86")), 0);
    EXPECT_EQ(owned.addresses(), (QStringList{QStringLiteral("86"), QLatin1String("")}));
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owned.list, QStringLiteral("+86")), 0);
    EXPECT_EQ(owned.addresses(), QStringList{QStringLiteral("86")});
}

TEST(DeleteEntryByValTest, PassesOverEmptySlots)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.append(nullptr);
    list.append(newEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("5")));
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&list, QStringLiteral("5")), 0);
    ASSERT_EQ(list.count(), 1u);
    EXPECT_EQ(list.at(0), nullptr);
}

TEST(DeleteEntryByValTest, RemovedEntryIsDeletedOnlyByListThatOwnsIt)
{
    const EntryProbe probe("probe");
    MMS_UTIL_EntryList owning;
    owning.setAutoDelete(true);
    owning.append(probe.newEntry());
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&owning, QStringLiteral("1")), 0);
    EXPECT_FALSE(probe.anyEntryAlive());

    MMS_UTIL_EntryList borrowing;
    const std::unique_ptr<MMS_UTIL_Entry> entry(probe.newEntry());
    borrowing.append(entry.get());
    EXPECT_EQ(MMS_UTIL_Common::deleteEntryByVal(&borrowing, QStringLiteral("1")), 0);
    EXPECT_EQ(borrowing.count(), 0u);
    EXPECT_TRUE(probe.anyEntryAlive());
}

// ---- On the real address book ----

class ContactLookupOnAddressBookTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(book.isValid());
        book.import("BEGIN:VCARD\r\n"
                    "VERSION:2.1\r\n"
                    "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=C3=BCrgen;;;\r\n"
                    "TEL;CELL;PREF:0171 2345678\r\n"
                    "TEL;HOME:030 1234567\r\n"
                    "END:VCARD\r\n"
                    "BEGIN:VCARD\r\n"
                    "VERSION:3.0\r\n"
                    "FN:Ann Example\r\n"
                    "TEL;TYPE=WORK,VOICE:+49 (89) 765-4321\r\n"
                    "EMAIL;TYPE=INTERNET,WORK:Ann.Example@Work.example\r\n"
                    "END:VCARD\r\n"
                    "BEGIN:VCARD\r\n"
                    "VERSION:4.0\r\n"
                    "FN:Bob\r\n"
                    "EMAIL;TYPE=home:bob@example.org\r\n"
                    "TEL;VALUE=uri;TYPE=\"cell,voice\":tel:+1-555-555-0101\r\n"
                    "END:VCARD\r\n"
                    "BEGIN:VCARD\r\n"
                    "VERSION:3.0\r\n"
                    "TEL;TYPE=CELL:0160 9999999\r\n"
                    "END:VCARD\r\n");
    }

    static MMS_UTIL_CONTACT_INFO_T infoOf(MMS_UTIL_ADDR_TYPE_T type, const QString& address)
    {
        MMS_UTIL_CONTACT_INFO_T info;
        MMS_UTIL_Entry entry = makeEntry(QString(), type, address);
        EXPECT_TRUE(MMS_UTIL_Common::srchContactInfoByVal(info, entry));
        return info;
    }

    static QString nameOf(MMS_UTIL_ADDR_TYPE_T type, const QString& address)
    {
        MMS_UTIL_Entry entry = makeEntry(QStringLiteral("stale"), type, address);
        MMS_UTIL_Common::srchContactName(entry);
        return entry.name;
    }

    tavmms_test::TempAddressBook book{QStringLiteral("DE")};
};

TEST_F(ContactLookupOnAddressBookTest, NationalNumberInVersion21CardMatchesInternationalForm)
{
    EXPECT_EQ(nameOf(MMS_UTIL_ADDR_PLMN, QStringLiteral("+491712345678")),
              QString::fromUtf8("Jürgen Müller"));
    const MMS_UTIL_CONTACT_INFO_T info =
        infoOf(MMS_UTIL_ADDR_PLMN, QStringLiteral("+4930/1234567"));
    EXPECT_EQ(info.contactName, QString::fromUtf8("Jürgen Müller"));
    EXPECT_EQ(info.contactDetail, QStringLiteral("Home"));
}

TEST_F(ContactLookupOnAddressBookTest, InternationalNumberInVersion30CardMatchesNationalForm)
{
    const MMS_UTIL_CONTACT_INFO_T info =
        infoOf(MMS_UTIL_ADDR_PLMN, QStringLiteral("089 / 765 43 21"));
    EXPECT_EQ(info.contactName, QStringLiteral("Ann Example"));
    EXPECT_EQ(info.contactDetail, QStringLiteral("Work"));
}

TEST_F(ContactLookupOnAddressBookTest, EmailMatchesInOtherLetterCase)
{
    EXPECT_EQ(nameOf(MMS_UTIL_ADDR_EMAIL, QStringLiteral("ANN.EXAMPLE@work.EXAMPLE")),
              QStringLiteral("Ann Example"));
    const MMS_UTIL_CONTACT_INFO_T info =
        infoOf(MMS_UTIL_ADDR_EMAIL, QStringLiteral("Bob@Example.ORG"));
    EXPECT_EQ(info.contactName, QStringLiteral("Bob"));
    EXPECT_EQ(info.contactDetail, QStringLiteral("Home"));
}

TEST_F(ContactLookupOnAddressBookTest, Version40TelUriMatchesPlainNumber)
{
    const MMS_UTIL_CONTACT_INFO_T info = infoOf(MMS_UTIL_ADDR_PLMN, QStringLiteral("+15555550101"));
    EXPECT_EQ(info.contactName, QStringLiteral("Bob"));
    EXPECT_EQ(info.contactDetail, QStringLiteral("Mobile"));
}

TEST_F(ContactLookupOnAddressBookTest, EmailIsNotSearchedAsNumberNorTheOtherWayRound)
{
    EXPECT_EQ(nameOf(MMS_UTIL_ADDR_PLMN, QStringLiteral("bob@example.org")), QString());
    EXPECT_EQ(nameOf(MMS_UTIL_ADDR_EMAIL, QStringLiteral("+491712345678")), QString());
}

TEST_F(ContactLookupOnAddressBookTest, AddressNotInBookGivesEmptyNameAndAddressAsInfo)
{
    EXPECT_THAT(nameOf(MMS_UTIL_ADDR_PLMN, QStringLiteral("+491719999999")), emptyText());
    const MMS_UTIL_CONTACT_INFO_T info =
        infoOf(MMS_UTIL_ADDR_PLMN, QStringLiteral("+491719999999"));
    EXPECT_EQ(info.contactName, QStringLiteral("+491719999999"));
    EXPECT_THAT(info.contactDetail, emptyText());
}

TEST_F(ContactLookupOnAddressBookTest, ContactWithoutNameCountsAsNoHit)
{
    EXPECT_THAT(nameOf(MMS_UTIL_ADDR_PLMN, QStringLiteral("+491609999999")), emptyText());
    const MMS_UTIL_CONTACT_INFO_T info = infoOf(MMS_UTIL_ADDR_PLMN, QStringLiteral("01609999999"));
    EXPECT_EQ(info.contactName, QStringLiteral("01609999999"));
    EXPECT_THAT(info.contactDetail, emptyText());
}

TEST_F(ContactLookupOnAddressBookTest, MultiContactNamesNamesEveryRecipient)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.append(newEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("0171-2345678")));
    list.append(newEntry(QString(), MMS_UTIL_ADDR_EMAIL, QStringLiteral("BOB@example.org")));
    list.append(newEntry(QStringLiteral("stale"), MMS_UTIL_ADDR_PLMN, QStringLiteral("110")));
    MMS_UTIL_Common::srchMultiContactNames(list);
    EXPECT_EQ(list.at(0)->name, QString::fromUtf8("Jürgen Müller"));
    EXPECT_EQ(list.at(1)->name, QStringLiteral("Bob"));
    EXPECT_THAT(list.at(2)->name, emptyText());
}

TEST_F(ContactLookupOnAddressBookTest, OwnerEntryComesFromStoredOwner)
{
    MMS_UTIL_Entry entry = makeEntry(QStringLiteral("x"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("y"));
    EXPECT_EQ(MMS_UTIL_Common::getOwnerEntry(entry), 1);
    EXPECT_EQ(entry.address, QStringLiteral("y"));

    ASSERT_TRUE(tavplatform::setAddressBookOwner(
        {QStringLiteral("Olga Owner"), QStringLiteral("+49 171 0000000")}));
    EXPECT_EQ(MMS_UTIL_Common::getOwnerEntry(entry), 0);
    EXPECT_EQ(entry.name, QStringLiteral("Olga Owner"));
    EXPECT_EQ(entry.type, MMS_UTIL_ADDR_PLMN);
    EXPECT_EQ(entry.address, QStringLiteral("+49 171 0000000"));
}

} // namespace
