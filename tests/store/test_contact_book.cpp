// The address book as the messaging applications keep it: the calls each operation makes on a
// double of the platform's address book and what it makes of the answers, and the owner and
// region on a settings store of its own.

#include "contact_book.h"

#include "mms_util_common.h"

#include "support/mock_address_book.h"
#include "support/scoped_environment.h"
#include "support/temp_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cerrno>

namespace
{

namespace store = tavmms::store;
using tavmms_test::answerSearch;
using tavmms_test::MockAddressBook;
using tavmms_test::ScopedEnvironment;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::SizeIs;
using ::testing::StrictMock;
using Address = tavplatform::AddressBookService::Address;

MMS_UTIL_Entry entry(MMS_UTIL_ADDR_TYPE_T type, const char* address)
{
    MMS_UTIL_Entry made;
    made.type = type;
    made.address = QString::fromUtf8(address);
    return made;
}

auto isAddress(ADDRBK_SEARCH_TYPE_T type, const char* text)
{
    return AllOf(Field(&Address::type, type), Field(&Address::text, QString::fromUtf8(text)));
}

class ContactBookTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QString bookPath() const { return dir.filePath(QStringLiteral("contacts.db")); }

    QTemporaryDir dir;
    ScopedEnvironment platform{"TAV_PLATFORM_DIR", dir.path().toUtf8()};
    StrictMock<MockAddressBook> book;
    tavplatform::ScopedAddressBookService installed{&book};
    QString error;
};

const QByteArray kAnn = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann\r\nTEL;TYPE=CELL:+49 151 1\r\n"
                        "END:VCARD\r\n";
const QByteArray kBobWithABadLine = "BEGIN:VCARD\nVERSION:3.0\nFN:Bob\nthis is no property\n"
                                    "EMAIL:bob@example.org\nEND:VCARD\n";

TEST_F(ContactBookTest, ImportAddsTheContactsOfEveryFileInOneChangeAndReportsSkippedLines)
{
    EXPECT_CALL(book,
                importContacts(ElementsAre(Field(&store::Contact::name, QStringLiteral("Ann")),
                                           Field(&store::Contact::name, QStringLiteral("Bob")))))
        .WillOnce(Return(tavplatform::AddressBookService::ImportCounts{1, 1}));
    const std::optional<store::ContactImport> import = store::importVCards(
        {{QStringLiteral("a.vcf"), kAnn}, {QStringLiteral("b.vcf"), kBobWithABadLine}}, &error);
    ASSERT_TRUE(import) << error.toStdString();
    EXPECT_EQ(import->contacts, 2);
    EXPECT_EQ(import->added, 1);
    EXPECT_EQ(import->replaced, 1);
    ASSERT_THAT(import->skipped, SizeIs(1));
    EXPECT_EQ(import->skipped.at(0).file, QStringLiteral("b.vcf"));
    EXPECT_EQ(import->skipped.at(0).line, 4);
    EXPECT_EQ(import->skipped.at(0).lines, 1);
    EXPECT_FALSE(import->skipped.at(0).reason.isEmpty());
}

TEST_F(ContactBookTest, AnImportTheBookRefusesNamesTheBook)
{
    EXPECT_CALL(book, importContacts(SizeIs(1))).WillOnce(Return(std::nullopt));
    EXPECT_FALSE(store::importVCards({{QStringLiteral("a.vcf"), kAnn}}, &error));
    EXPECT_EQ(error, QStringLiteral("cannot write the address book '%1'").arg(bookPath()));
}

TEST_F(ContactBookTest, ReplacementHandsTheContactsToTheBookAndNamesTheBookItCannotWrite)
{
    const QList<store::Contact> contacts{{{}, QStringLiteral("Ann"), {}, {}, {}},
                                         {{}, QStringLiteral("Bob"), {}, {}, {}}};
    InSequence order;
    EXPECT_CALL(book, replaceContacts(contacts)).WillOnce(Return(true));
    EXPECT_CALL(book, replaceContacts(QList<store::Contact>{})).WillOnce(Return(false));
    EXPECT_TRUE(store::replaceContacts(contacts, &error)) << error.toStdString();
    EXPECT_FALSE(store::replaceContacts({}, &error));
    EXPECT_EQ(error, QStringLiteral("cannot write the address book '%1'").arg(bookPath()));
}

TEST_F(ContactBookTest, AListingTheBookCannotReadGivesItsReason)
{
    InSequence order;
    EXPECT_CALL(book, contacts()).WillOnce(Return(std::nullopt));
    EXPECT_CALL(book, readError()).WillOnce(Return(QStringLiteral("the address book is damaged")));
    EXPECT_FALSE(store::listContacts(&error));
    EXPECT_EQ(error, QStringLiteral("the address book is damaged"));
    EXPECT_CALL(book, contacts()).WillOnce(Return(std::nullopt));
    EXPECT_CALL(book, readError()).WillOnce(Return(QString()));
    EXPECT_FALSE(store::listContacts(&error));
    EXPECT_EQ(error, QStringLiteral("cannot read the address book '%1'").arg(bookPath()));
}

TEST_F(ContactBookTest, ALookupTellsAFoundContactANamelessMissAndAnUnreadableBookApart)
{
    InSequence order;
    EXPECT_CALL(book,
                singleSearch(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("ann@example.org"), _, _, _))
        .WillOnce(answerSearch(ADDRBK_SEARCH_FOUND, QStringLiteral("Ann"), QStringLiteral("Work")));
    EXPECT_CALL(book, readError()).WillOnce(Return(QString()));
    const std::optional<store::ContactMatch> match =
        store::lookupContact(entry(MMS_UTIL_ADDR_EMAIL, "ann@example.org"), &error);
    ASSERT_TRUE(match);
    EXPECT_EQ(match->name, QStringLiteral("Ann"));
    EXPECT_EQ(match->label, QStringLiteral("Work"));

    EXPECT_CALL(book, singleSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("123"), _, _, _))
        .WillOnce(Return(ADDRBK_SEARCH_NOT_FOUND));
    EXPECT_CALL(book, readError()).WillOnce(Return(QString()));
    error.clear();
    EXPECT_FALSE(store::lookupContact(entry(MMS_UTIL_ADDR_PLMN, "123"), &error));
    EXPECT_TRUE(error.isEmpty());

    EXPECT_CALL(book, singleSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("123"), _, _, _))
        .WillOnce(Return(ADDRBK_SEARCH_UNAVAILABLE));
    EXPECT_CALL(book, readError()).WillOnce(Return(QStringLiteral("the address book is damaged")));
    EXPECT_FALSE(store::lookupContact(entry(MMS_UTIL_ADDR_PLMN, "123"), &error));
    EXPECT_EQ(error, QStringLiteral("the address book is damaged"));
}

TEST_F(ContactBookTest, RemovalMatchesAnEmailByItsAddressAndEveryOtherTypeByItsNumber)
{
    tavplatform::AddressBookService::Removal removal;
    removal.contacts.append(store::Contact{{}, QStringLiteral("Ann"), {}, {}, {}});
    removal.unmatched.append(2);
    EXPECT_CALL(book, removeContacts(ElementsAre(isAddress(ADDRBK_SEARCH_BY_EMAIL, "a@b.c"),
                                                 isAddress(ADDRBK_SEARCH_BY_NUMBER, "1"),
                                                 isAddress(ADDRBK_SEARCH_BY_NUMBER, "x"))))
        .WillOnce(Return(removal));
    const std::optional<store::ContactRemoval> removed =
        store::removeContacts({entry(MMS_UTIL_ADDR_EMAIL, "a@b.c"), entry(MMS_UTIL_ADDR_PLMN, "1"),
                               entry(MMS_UTIL_ADDR_UNKNOWN, "x")},
                              &error);
    ASSERT_TRUE(removed);
    EXPECT_THAT(removed->removed, ElementsAre(Field(&store::Contact::name, QStringLiteral("Ann"))));
    EXPECT_THAT(removed->unmatched, ElementsAre(2));

    EXPECT_CALL(book, removeContacts(SizeIs(1))).WillOnce(Return(std::nullopt));
    EXPECT_FALSE(store::removeContacts({entry(MMS_UTIL_ADDR_PLMN, "1")}, &error));
    EXPECT_EQ(error, QStringLiteral("cannot write the address book '%1'").arg(bookPath()));
}

TEST(ContactBookWithoutPlatformDirectory, AsksNothingOfTheBook)
{
    StrictMock<MockAddressBook> book;
    const tavplatform::ScopedAddressBookService installed(&book);
    const ScopedEnvironment platform("TAV_PLATFORM_DIR", std::nullopt);
    const ScopedEnvironment data("XDG_DATA_HOME", std::nullopt);
    const ScopedEnvironment home("HOME", std::nullopt);
    QString error;
    EXPECT_FALSE(store::listContacts(&error));
    EXPECT_EQ(error, QStringLiteral("there is no platform directory for the address book"));
    EXPECT_FALSE(store::importVCards({{QStringLiteral("a.vcf"), kAnn}}, &error));
    EXPECT_FALSE(store::removeContacts({entry(MMS_UTIL_ADDR_PLMN, "1")}, &error));
    EXPECT_FALSE(store::replaceContacts({}, &error));
    EXPECT_FALSE(store::lookupContact(entry(MMS_UTIL_ADDR_PLMN, "1"), &error));
}

TEST(ContactBookSettings, TheOwnerAndRegionAreThoseTheLibraryReads)
{
    tavmms_test::TempSettingsStore settings;
    ASSERT_TRUE(settings.isValid());
    const ScopedEnvironment platform("TAV_PLATFORM_DIR", settings.directory().toUtf8());
    ASSERT_TRUE(store::setOwner(QStringLiteral("Ann"), QStringLiteral("+49 151 1")));
    MMS_UTIL_Entry owner;
    ASSERT_EQ(MMS_UTIL_Common::getOwnerEntry(owner), 0);
    EXPECT_EQ(owner.name, QStringLiteral("Ann"));
    EXPECT_EQ(owner.address, QStringLiteral("+49 151 1"));
    ASSERT_TRUE(store::setContactRegion(QStringLiteral("de")));
    EXPECT_EQ(store::contactRegion(), QStringLiteral("DE"));
    errno = 0;
    EXPECT_FALSE(store::setContactRegion(QStringLiteral("XX")));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(store::contactRegion(), QStringLiteral("DE"));
}

} // namespace
