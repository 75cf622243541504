// The address book on SQLite: searches by number in any form and by address in any letter case,
// the record a hit fills, imports that replace what they import again, the region's keys, the
// owner, removals by number or address, replacing the whole book, and a book that cannot be
// opened.

#include "address_book_settings.h"
#include "sqlconnection.h"
#include "sqlite_address_book.h"

#include "support/model_helpers.h"
#include "support/scoped_environment.h"
#include "support/sql_queries.h"
#include "support/temp_address_book.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace
{

using tavplatform::Contact;
using tavplatform::SqliteAddressBook;
using Removal = SqliteAddressBook::Removal;

const QString kAnnUid = QStringLiteral("ann-1");

Contact ann()
{
    return {kAnnUid,
            QStringLiteral("Ann Lee"),
            QStringLiteral("Acme"),
            {{QStringLiteral("0171 2345678"), QStringLiteral("Mobile")},
             {QStringLiteral("+49 30 1234567"), QStringLiteral("Work")}},
            {{QStringLiteral("Ann.Lee@Example.org"), QStringLiteral("Home")}}};
}

Contact bob()
{
    return {QString(),
            QStringLiteral("Bob"),
            QString(),
            {{QStringLiteral("+1 555 0102"), QStringLiteral("Other")}},
            {}};
}

Contact cara()
{
    return {QStringLiteral("cara-7"),
            QStringLiteral("Cara"),
            QString(),
            {{QStringLiteral("0151 7654321"), QStringLiteral("Mobile")}},
            {{QStringLiteral("cara@example.net"), QString()}}};
}

Contact dan()
{
    return {QString(),
            QStringLiteral("Dan"),
            QStringLiteral("Depot"),
            {{QStringLiteral("+44 20 7946 0018"), QStringLiteral("Work")}},
            {}};
}

// A record with a mark in every member, to see what a search leaves alone.
ADDRBK_SEARCH_SINGLE_DATA_T markedRecord()
{
    return {QStringLiteral("name mark"), 99, QStringLiteral("label mark"),
            QStringLiteral("value mark"), QStringLiteral("organization mark")};
}

void expectMarked(const ADDRBK_SEARCH_SINGLE_DATA_T& record)
{
    EXPECT_EQ(record.name, QStringLiteral("name mark"));
    EXPECT_EQ(record.contactId, 99u);
    EXPECT_EQ(record.label, QStringLiteral("label mark"));
    EXPECT_EQ(record.value, QStringLiteral("value mark"));
    EXPECT_EQ(record.organization, QStringLiteral("organization mark"));
}

SqliteAddressBook::Address number(const char* text)
{
    return {ADDRBK_SEARCH_BY_NUMBER, QString::fromUtf8(text)};
}

SqliteAddressBook::Address email(const char* text)
{
    return {ADDRBK_SEARCH_BY_EMAIL, QString::fromUtf8(text)};
}

class SqliteAddressBookTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(temp.isValid()); }

    void import(const QList<Contact>& contacts, int added, int replaced)
    {
        const std::optional<SqliteAddressBook::ImportCounts> counts =
            book().importContacts(contacts);
        ASSERT_TRUE(counts.has_value());
        EXPECT_EQ(counts->added, added);
        EXPECT_EQ(counts->replaced, replaced);
    }

    // The name found for `key`, or "<code N>" when the search gives code N.
    QString find(ADDRBK_SEARCH_TYPE_T type, const QString& key)
    {
        ADDRBK_SEARCH_SINGLE_DATA_T record;
        const int code = book().singleSearch(type, key, record, 1000, nullptr);
        return code == ADDRBK_SEARCH_FOUND ? record.name : QStringLiteral("<code %1>").arg(code);
    }

    QString findNumber(const QString& number) { return find(ADDRBK_SEARCH_BY_NUMBER, number); }

    // The contacts removed for `addresses`; a removal that fails fails the test.
    QList<Contact> remove(const QList<SqliteAddressBook::Address>& addresses)
    {
        const std::optional<Removal> removal = book().removeContacts(addresses);
        EXPECT_TRUE(removal.has_value());
        return removal ? removal->contacts : QList<Contact>();
    }

    SqliteAddressBook& book() { return temp.book(); }

    const QString notFound = QStringLiteral("<code %1>").arg(ADDRBK_SEARCH_NOT_FOUND);
    tavmms_test::TempAddressBook temp{QStringLiteral("DE")};
};

TEST_F(SqliteAddressBookTest, NumberIsFoundInNationalAndInternationalForms)
{
    import({ann(), bob()}, 2, 0);
    for (const char* form : {"0171 2345678", "+491712345678", "+49 (171) 234-5678", "01712345678",
                             "+491712345678/TYPE=PLMN", "030/1234567", "+49301234567"})
        EXPECT_EQ(findNumber(QString::fromLatin1(form)), QStringLiteral("Ann Lee")) << form;
    EXPECT_EQ(findNumber(QStringLiteral("+15550102")), QStringLiteral("Bob"));
    EXPECT_EQ(findNumber(QStringLiteral("0171 2345679")), notFound);
}

TEST_F(SqliteAddressBookTest, HitGivesContactAndMatchedNumbersLabelAndValue)
{
    import({bob(), ann()}, 2, 0);
    ADDRBK_SEARCH_SINGLE_DATA_T record;
    bool ambiguous = true;
    ASSERT_EQ(book().singleSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("+49301234567"), record,
                                  1000, &ambiguous),
              ADDRBK_SEARCH_FOUND);
    EXPECT_EQ(record.name, QStringLiteral("Ann Lee"));
    EXPECT_EQ(record.contactId, 2u);
    EXPECT_EQ(record.label, QStringLiteral("Work"));
    EXPECT_EQ(record.value, QStringLiteral("+49 30 1234567"));
    EXPECT_EQ(record.organization, QStringLiteral("Acme"));
    EXPECT_FALSE(ambiguous);
}

TEST_F(SqliteAddressBookTest, EmailIsFoundInAnyLetterCase)
{
    import({ann()}, 1, 0);
    ADDRBK_SEARCH_SINGLE_DATA_T record;
    ASSERT_EQ(book().singleSearch(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral(" ANN.lee@example.ORG"),
                                  record, 1000, nullptr),
              ADDRBK_SEARCH_FOUND);
    EXPECT_EQ(record.name, QStringLiteral("Ann Lee"));
    EXPECT_EQ(record.label, QStringLiteral("Home"));
    EXPECT_EQ(record.value, QStringLiteral("Ann.Lee@Example.org"));
    EXPECT_EQ(find(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("ann.lee@example.com")), notFound);
}

TEST_F(SqliteAddressBookTest, NumbersAndAddressesAreSearchedApart)
{
    const Contact odd{QString(),
                      QStringLiteral("Odd"),
                      QString(),
                      {{QStringLiteral("12345"), QStringLiteral("Other")}},
                      {{QStringLiteral("12345"), QStringLiteral("Other")}}};
    import({odd}, 1, 0);
    EXPECT_EQ(find(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("12345")), QStringLiteral("Odd"));
    EXPECT_EQ(find(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("+4912345")), notFound);
    EXPECT_EQ(findNumber(QStringLiteral("+4912345")), QStringLiteral("Odd"));
}

TEST_F(SqliteAddressBookTest, FailedSearchLeavesRecordAlone)
{
    import({ann()}, 1, 0);
    ADDRBK_SEARCH_SINGLE_DATA_T record = markedRecord();
    bool ambiguous = true;
    EXPECT_EQ(book().singleSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("110"), record, 1000,
                                  &ambiguous),
              ADDRBK_SEARCH_NOT_FOUND);
    expectMarked(record);
    EXPECT_TRUE(ambiguous);
}

TEST_F(SqliteAddressBookTest, SearchOfAFileThatIsNotADatabaseIsUnavailableAndCallsItDamaged)
{
    ASSERT_TRUE(tavmms_test::replaceWithNonDatabase(temp.path()));

    EXPECT_EQ(findNumber(QStringLiteral("+15550101")),
              QStringLiteral("<code %1>").arg(ADDRBK_SEARCH_UNAVAILABLE));
    EXPECT_EQ(book().readError(),
              QStringLiteral("the address book '%1' is damaged: it is not a database, or a "
                             "corrupt one")
                  .arg(temp.path()));
    EXPECT_FALSE(book().contacts().has_value());
    EXPECT_TRUE(book().readError().contains(QStringLiteral("is damaged")))
        << book().readError().toStdString();
}

TEST_F(SqliteAddressBookTest, SearchThatFindsNothingLeavesNoReadError)
{
    import({bob()}, 1, 0);

    EXPECT_EQ(findNumber(QStringLiteral("+15550199")),
              QStringLiteral("<code %1>").arg(ADDRBK_SEARCH_NOT_FOUND));
    EXPECT_EQ(book().readError(), QString());
}

TEST_F(SqliteAddressBookTest, LogFilesStayWhenTheBookIsClosed)
{
    {
        SqliteAddressBook other(temp.path());
        ASSERT_TRUE(other.importContacts({bob()}).has_value());
    }
    EXPECT_TRUE(QFile::exists(temp.path() + QStringLiteral("-wal")));
    EXPECT_TRUE(QFile::exists(temp.path() + QStringLiteral("-shm")));
}

TEST_F(SqliteAddressBookTest, UnknownTypeAndKeyWithNothingToFindAreBadRequests)
{
    import({ann()}, 1, 0);
    ADDRBK_SEARCH_SINGLE_DATA_T record = markedRecord();
    for (const auto& [type, key] :
         {std::pair(ADDRBK_SEARCH_TYPE_T(0), QStringLiteral("0171 2345678")),
          std::pair(ADDRBK_SEARCH_TYPE_T(3), QStringLiteral("0171 2345678")),
          std::pair(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("no digits")),
          std::pair(ADDRBK_SEARCH_BY_NUMBER, QString()),
          std::pair(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("  "))})
        EXPECT_EQ(book().singleSearch(type, key, record, 1000, nullptr), ADDRBK_SEARCH_BAD_REQUEST)
            << type << " " << key.toStdString();
    expectMarked(record);
}

TEST_F(SqliteAddressBookTest, NumberOfSeveralContactsGivesFirstAddedAndSaysSo)
{
    Contact other = bob();
    other.name = QStringLiteral("Bob's phone too");
    other.numbers.append({QStringLiteral("+1 555 0102"), QStringLiteral("Mobile")});
    import({bob(), other}, 2, 0);
    ADDRBK_SEARCH_SINGLE_DATA_T record;
    bool ambiguous = false;
    ASSERT_EQ(book().singleSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("+15550102"), record,
                                  1000, &ambiguous),
              ADDRBK_SEARCH_FOUND);
    EXPECT_EQ(record.name, QStringLiteral("Bob"));
    EXPECT_TRUE(ambiguous);
}

TEST_F(SqliteAddressBookTest, NumberHeldTwiceByOneContactIsNotAmbiguous)
{
    Contact twice = bob();
    twice.numbers.append({QStringLiteral("+15550102"), QStringLiteral("Mobile")});
    import({twice}, 1, 0);
    ADDRBK_SEARCH_SINGLE_DATA_T record;
    bool ambiguous = true;
    ASSERT_EQ(book().singleSearch(ADDRBK_SEARCH_BY_NUMBER, QStringLiteral("+15550102"), record,
                                  1000, &ambiguous),
              ADDRBK_SEARCH_FOUND);
    EXPECT_EQ(record.label, QStringLiteral("Other"));
    EXPECT_FALSE(ambiguous);
}

TEST_F(SqliteAddressBookTest, ContactsComeBackAsImportedInOrder)
{
    import({ann(), bob()}, 2, 0);
    const std::optional<QList<Contact>> contacts = book().contacts();
    ASSERT_TRUE(contacts.has_value());
    EXPECT_EQ(*contacts, (QList<Contact>{ann(), bob()}));
}

TEST_F(SqliteAddressBookTest, ImportingAgainChangesNothing)
{
    import({ann(), bob()}, 2, 0);
    import({ann(), bob()}, 0, 2);
    EXPECT_EQ(book().contacts(), (QList<Contact>{ann(), bob()}));
}

TEST_F(SqliteAddressBookTest, ContactWithSameUidIsReplacedInItsPlace)
{
    import({ann(), bob()}, 2, 0);
    Contact moved = ann();
    moved.name = QStringLiteral("Ann Moved");
    moved.numbers = {{QStringLiteral("0160 1111111"), QStringLiteral("Mobile")}};
    import({moved}, 0, 1);
    EXPECT_EQ(book().contacts(), (QList<Contact>{moved, bob()}));
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), notFound);
    EXPECT_EQ(findNumber(QStringLiteral("+491601111111")), QStringLiteral("Ann Moved"));
}

TEST_F(SqliteAddressBookTest, ChangedContactWithoutUidIsAnotherContact)
{
    import({bob()}, 1, 0);
    Contact changed = bob();
    changed.name = QStringLiteral("Robert");
    import({changed}, 1, 0);
    EXPECT_EQ(book().contacts(), (QList<Contact>{bob(), changed}));
}

TEST_F(SqliteAddressBookTest, ChangedRegionMakesNumbersKeysAnew)
{
    import({ann()}, 1, 0);
    ASSERT_TRUE(tavplatform::setAddressBookRegion(QStringLiteral("FR")));
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), notFound);
    EXPECT_EQ(findNumber(QStringLiteral("+33171234567")), notFound);
    EXPECT_EQ(findNumber(QStringLiteral("+331712345678")), QStringLiteral("Ann Lee"));
    // Numbers written internationally do not depend on the region.
    EXPECT_EQ(findNumber(QStringLiteral("+49301234567")), QStringLiteral("Ann Lee"));
    ASSERT_TRUE(tavplatform::setAddressBookRegion(QStringLiteral("DE")));
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), QStringLiteral("Ann Lee"));
}

TEST_F(SqliteAddressBookTest, ImportAfterRegionChangeKeysOldAndNewNumbersAlike)
{
    import({ann()}, 1, 0);
    ASSERT_TRUE(tavplatform::setAddressBookRegion(QStringLiteral("ZZ")));
    import({bob()}, 1, 0);
    EXPECT_EQ(findNumber(QStringLiteral("0171-2345678")), QStringLiteral("Ann Lee"));
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), notFound);
    EXPECT_EQ(findNumber(QStringLiteral("+1 555 0102")), QStringLiteral("Bob"));
}

TEST_F(SqliteAddressBookTest, ImportOfAnotherBookObjectIsFoundAtOnce)
{
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), notFound);
    SqliteAddressBook other(temp.path());
    ASSERT_TRUE(other.importContacts({ann()}).has_value());
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), QStringLiteral("Ann Lee"));
}

TEST_F(SqliteAddressBookTest, ReplacementHoldsExactlyTheNewContactsInTheirOrder)
{
    import({ann(), bob()}, 2, 0);
    // Ann was held first; a replacement puts her where the new list has her.
    ASSERT_TRUE(book().replaceContacts({dan(), cara(), ann()}));
    EXPECT_EQ(book().contacts(), (QList<Contact>{dan(), cara(), ann()}));
}

TEST_F(SqliteAddressBookTest, ReplacementWithNoContactsEmptiesTheBook)
{
    import({ann(), bob()}, 2, 0);
    ASSERT_TRUE(book().replaceContacts({}));
    EXPECT_EQ(book().contacts(), QList<Contact>{});
    EXPECT_EQ(findNumber(QStringLiteral("+15550102")), notFound);
}

TEST_F(SqliteAddressBookTest, SearchAfterReplacementFindsTheNewNumbersAndNotTheOld)
{
    import({ann(), bob()}, 2, 0);
    ASSERT_TRUE(book().replaceContacts({cara(), dan()}));
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), notFound);
    EXPECT_EQ(findNumber(QStringLiteral("+15550102")), notFound);
    EXPECT_EQ(find(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("ann.lee@example.org")), notFound);
    EXPECT_EQ(findNumber(QStringLiteral("+491517654321")), QStringLiteral("Cara"));
    EXPECT_EQ(findNumber(QStringLiteral("+442079460018")), QStringLiteral("Dan"));
    EXPECT_EQ(find(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("Cara@Example.net")),
              QStringLiteral("Cara"));
}

TEST_F(SqliteAddressBookTest, ReplacementThatFailsPartWayLeavesTheBookUnchanged)
{
    import({ann(), bob()}, 2, 0);
    tavplatform::sql::Status status;
    const std::unique_ptr<tavplatform::sql::Connection> raw =
        tavplatform::sql::Connection::open(temp.path(), &status);
    ASSERT_TRUE(raw);
    ASSERT_EQ(raw->exec("CREATE TRIGGER refuse_dan BEFORE INSERT ON contacts WHEN new.name = 'Dan' "
                        "BEGIN SELECT RAISE(ABORT, 'no Dan'); END"),
              tavplatform::sql::Status::Ok);
    // The old contacts are gone and Cara stored by the time Dan is refused.
    EXPECT_FALSE(book().replaceContacts({cara(), dan()}));
    EXPECT_EQ(book().contacts(), (QList<Contact>{ann(), bob()}));
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), QStringLiteral("Ann Lee"));
    EXPECT_EQ(findNumber(QStringLiteral("+491517654321")), notFound);
}

TEST_F(SqliteAddressBookTest, RemovalTakesOnlyTheContactHoldingTheNumber)
{
    import({ann(), bob()}, 2, 0);
    const std::optional<Removal> removal = book().removeContacts({number("+15550102")});
    ASSERT_TRUE(removal.has_value());
    EXPECT_EQ(removal->contacts, QList<Contact>{bob()});
    EXPECT_EQ(removal->unmatched, QList<qsizetype>{});
    EXPECT_EQ(book().contacts(), QList<Contact>{ann()});
    EXPECT_EQ(findNumber(QStringLiteral("+15550102")), notFound);
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), QStringLiteral("Ann Lee"));
}

TEST_F(SqliteAddressBookTest, RemovalMatchesNumberInAnotherForm)
{
    import({bob()}, 1, 0);
    for (const char* form : {"+49 (171) 234-5678", "+491712345678/TYPE=PLMN", "030/1234567"}) {
        import({ann()}, 1, 0);
        EXPECT_EQ(remove({number(form)}), QList<Contact>{ann()}) << form;
        EXPECT_EQ(book().contacts(), QList<Contact>{bob()}) << form;
    }
}

TEST_F(SqliteAddressBookTest, RemovalMatchesEmailInAnyLetterCaseButNotAsNumber)
{
    import({ann(), bob()}, 2, 0);
    EXPECT_EQ(remove({number("ann.lee@example.org")}), QList<Contact>{});
    EXPECT_EQ(remove({email(" ANN.lee@example.ORG")}), QList<Contact>{ann()});
    EXPECT_EQ(book().contacts(), QList<Contact>{bob()});
}

TEST_F(SqliteAddressBookTest, RemovalOfAddressesNoContactHoldsChangesNothing)
{
    import({ann(), bob()}, 2, 0);
    const std::optional<Removal> removal =
        book().removeContacts({number("0171 2345679"),
                               email("ann.lee@example.com"),
                               number("no digits"),
                               {ADDRBK_SEARCH_TYPE_T(3), QStringLiteral("+15550102")}});
    ASSERT_TRUE(removal.has_value());
    EXPECT_EQ(removal->contacts, QList<Contact>{});
    EXPECT_EQ(removal->unmatched, (QList<qsizetype>{0, 1, 2, 3}));
    EXPECT_EQ(book().contacts(), (QList<Contact>{ann(), bob()}));
}

TEST_F(SqliteAddressBookTest, RemovingTwiceFindsNothingTheSecondTime)
{
    import({ann(), bob()}, 2, 0);
    ASSERT_EQ(remove({number("+15550102")}), QList<Contact>{bob()});
    const std::optional<Removal> again = book().removeContacts({number("+15550102")});
    ASSERT_TRUE(again.has_value());
    EXPECT_EQ(again->contacts, QList<Contact>{});
    EXPECT_EQ(again->unmatched, QList<qsizetype>{0});
    EXPECT_EQ(book().contacts(), QList<Contact>{ann()});
}

TEST_F(SqliteAddressBookTest, RemovalTakesEveryHolderOnceInOrderAdded)
{
    Contact other = bob();
    other.name = QStringLiteral("Bob's phone too");
    import({bob(), ann(), other}, 3, 0);
    const std::optional<Removal> removal =
        book().removeContacts({number("+1 555 0102"), number("0171 2345678"),
                               email("ann.lee@example.org"), number("110")});
    ASSERT_TRUE(removal.has_value());
    EXPECT_EQ(removal->contacts, (QList<Contact>{bob(), ann(), other}));
    // An address of a contact another address removes was matched all the same.
    EXPECT_EQ(removal->unmatched, QList<qsizetype>{3});
    EXPECT_EQ(book().contacts(), QList<Contact>{});
}

TEST_F(SqliteAddressBookTest, RemovedContactImportedAgainIsNew)
{
    import({ann(), bob()}, 2, 0);
    ASSERT_EQ(remove({number("+15550102")}), QList<Contact>{bob()});
    import({bob()}, 1, 0);
    EXPECT_EQ(book().contacts(), (QList<Contact>{ann(), bob()}));
}

TEST_F(SqliteAddressBookTest, RemovalAfterRegionChangeMatchesNumbersOfTheNewRegion)
{
    import({ann(), bob()}, 2, 0);
    ASSERT_TRUE(tavplatform::setAddressBookRegion(QStringLiteral("FR")));
    EXPECT_EQ(remove({number("+491712345678")}), QList<Contact>{});
    EXPECT_EQ(remove({number("+331712345678")}), QList<Contact>{ann()});
}

TEST_F(SqliteAddressBookTest, RemovalFromAnotherBookObjectIsSeenAtOnce)
{
    import({ann(), bob()}, 2, 0);
    SqliteAddressBook other(temp.path());
    ASSERT_TRUE(other.removeContacts({number("+491712345678")}).has_value());
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), notFound);
    EXPECT_EQ(book().contacts(), QList<Contact>{bob()});
}

TEST_F(SqliteAddressBookTest, RemovalThatFailsPartWayRemovesNothing)
{
    import({ann(), bob()}, 2, 0);
    tavplatform::sql::Status status;
    const std::unique_ptr<tavplatform::sql::Connection> raw =
        tavplatform::sql::Connection::open(temp.path(), &status);
    ASSERT_TRUE(raw);
    ASSERT_EQ(raw->exec("CREATE TRIGGER keep_bob BEFORE DELETE ON contacts WHEN old.name = 'Bob' "
                        "BEGIN SELECT RAISE(ABORT, 'Bob stays'); END"),
              tavplatform::sql::Status::Ok);
    // Ann goes first, as the one added first; Bob's refusal must bring her back.
    EXPECT_FALSE(
        book().removeContacts({email("ann.lee@example.org"), number("+15550102")}).has_value());
    EXPECT_EQ(book().contacts(), (QList<Contact>{ann(), bob()}));
    EXPECT_EQ(findNumber(QStringLiteral("+491712345678")), QStringLiteral("Ann Lee"));
}

TEST_F(SqliteAddressBookTest, OwnerIsKnownOnceItsNumberIsStored)
{
    QString name = QStringLiteral("untouched");
    QString number = QStringLiteral("untouched");
    EXPECT_FALSE(book().getOwnerNumber(name, number));
    EXPECT_EQ(name, QStringLiteral("untouched"));
    EXPECT_EQ(number, QStringLiteral("untouched"));

    ASSERT_TRUE(tavplatform::setAddressBookOwner({QString(), QStringLiteral("+49 171 0")}));
    EXPECT_TRUE(book().getOwnerNumber(name, number));
    EXPECT_EQ(name, QString());
    EXPECT_EQ(number, QStringLiteral("+49 171 0"));
}

TEST_F(SqliteAddressBookTest, BookThatCannotBeOpenedIsUnavailable)
{
    for (const QString& path :
         {QString(), QDir(temp.path()).filePath(QStringLiteral("no/dir/x.db"))}) {
        SqliteAddressBook book(path);
        ADDRBK_SEARCH_SINGLE_DATA_T record = markedRecord();
        EXPECT_EQ(
            book.singleSearch(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("a@b"), record, 1000, nullptr),
            ADDRBK_SEARCH_UNAVAILABLE);
        expectMarked(record);
        EXPECT_FALSE(book.importContacts({ann()}).has_value());
        EXPECT_FALSE(book.replaceContacts({ann()}));
        EXPECT_FALSE(book.contacts().has_value());
        EXPECT_FALSE(book.removeContacts({number("+15550102")}).has_value());
    }
}

TEST(SqliteAddressBookPathTest, DefaultBookLiesInPlatformDirectory)
{
    const QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const tavmms_test::ScopedEnvironment platform("TAV_PLATFORM_DIR",
                                                  QFile::encodeName(dir.path()));
    EXPECT_EQ(tavplatform::addressBookPath(), dir.filePath(QStringLiteral("contacts.db")));
}

} // namespace
