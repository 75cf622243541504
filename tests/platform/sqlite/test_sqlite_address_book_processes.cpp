// The address book on SQLite while another process holds it in a write transaction: a search that
// only reads answers at once, and one that must write first (make the book, or key the numbers
// anew for a new region) waits as long as its caller allows and no longer. The holder is a forked
// child; the parent opens the book only after the fork, since an SQLite connection must never
// cross fork().

#include "address_book_settings.h"
#include "sqlconnection.h"
#include "sqlite_address_book.h"

#include "support/child_process.h"
#include "support/sql_queries.h"
#include "support/temp_settings_store.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <optional>
#include <string>
#include <thread>

namespace
{

using namespace std::chrono_literals;
using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using tavplatform::SqliteAddressBook;

const QString kAnnsNumber = QStringLiteral("0171 2345678");
const QString kAnnInGermany = QStringLiteral("+491712345678");
const QString kAnnInFrance = QStringLiteral("+331712345678");
const QString kAnnsEmail = QStringLiteral("ann@example.org");

// Far below the book's own busy timeout of 5000 ms, so that a search that waited for that instead
// of for its own timeout is told apart on a loaded machine too.
const qint64 kSlackMs = 2000;

tavplatform::Contact ann()
{
    return {QStringLiteral("ann-1"),
            QStringLiteral("Ann Lee"),
            QString(),
            {{kAnnsNumber, QStringLiteral("Mobile")}},
            {{kAnnsEmail, QStringLiteral("Home")}}};
}

// What a search gave, and how long it took.
struct Search {
    int code;
    QString name;
    qint64 tookMs;
};

class AddressBookProcessesTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(temp.isValid());
        ASSERT_TRUE(settings.isValid());
    }

    QString path() const { return temp.filePath(QStringLiteral("contacts.db")); }
    QString releaseSignal() const { return temp.filePath(QStringLiteral("release")); }

    // Imports Ann with her numbers keyed for Germany, then makes `region` the region; no
    // connection is left open, so that the test may fork next.
    void bookWithAnnThenRegion(const QString& region)
    {
        ASSERT_TRUE(tavplatform::setAddressBookRegion(QStringLiteral("DE")));
        ASSERT_TRUE(SqliteAddressBook(path()).importContacts({ann()}).has_value());
        ASSERT_TRUE(tavplatform::setAddressBookRegion(region));
        settings.reopen();
    }

    // Starts a child that opens the book (making the file when there is none) and holds it in a
    // write transaction until release().
    void holdTheBook()
    {
        holder.emplace([this](ChildProcess& self) {
            auto connection = tavmms_test::lookInto(path());
            if (!connection || connection->exec("BEGIN IMMEDIATE") != tavplatform::sql::Status::Ok)
                return ChildVerdict::fail("could not take the lock");
            self.send("locked");
            const auto deadline = std::chrono::steady_clock::now() + 60s;
            while (!QFile::exists(releaseSignal())) {
                if (std::chrono::steady_clock::now() > deadline)
                    return ChildVerdict::fail("never told to give the lock back");
                std::this_thread::sleep_for(1ms);
            }
            return connection->exec("COMMIT") == tavplatform::sql::Status::Ok
                       ? ChildVerdict::pass()
                       : ChildVerdict::fail("could not give the lock back");
        });
        ASSERT_EQ(holder->receiveLine(30s), std::optional<std::string>("locked"))
            << holder->finish(1s).message;
    }

    // Tells the holder to commit.
    void release()
    {
        QFile signal(releaseSignal());
        ASSERT_TRUE(signal.open(QIODevice::WriteOnly));
    }

    // A search through a book object of its own, opened by the search.
    Search search(ADDRBK_SEARCH_TYPE_T type, const QString& key, int timeoutMs,
                  int busyTimeoutMs = 5000)
    {
        SqliteAddressBook book(path(), busyTimeoutMs);
        ADDRBK_SEARCH_SINGLE_DATA_T record;
        QElapsedTimer timer;
        timer.start();
        const int code = book.singleSearch(type, key, record, timeoutMs, nullptr);
        return {code, record.name, timer.elapsed()};
    }

    QTemporaryDir temp;
    tavmms_test::TempSettingsStore settings;
    std::optional<ChildProcess> holder;
};

TEST_F(AddressBookProcessesTest, SearchThatOnlyReadsAnswersWhileAnotherProcessWrites)
{
    bookWithAnnThenRegion(QStringLiteral("DE"));
    holdTheBook();
    // The lock is held until after the searches: had they waited for it, they would have failed.
    EXPECT_EQ(search(ADDRBK_SEARCH_BY_NUMBER, kAnnInGermany, 5000).name, QStringLiteral("Ann Lee"));
    EXPECT_EQ(search(ADDRBK_SEARCH_BY_EMAIL, kAnnsEmail, 0).name, QStringLiteral("Ann Lee"));
    release();
    EXPECT_CHILD_PASSES(*holder, 30s);
}

TEST_F(AddressBookProcessesTest, SearchThatMustKeyNumbersAnewGivesUpAfterItsTimeout)
{
    bookWithAnnThenRegion(QStringLiteral("FR"));
    holdTheBook();
    const Search waited = search(ADDRBK_SEARCH_BY_NUMBER, kAnnInFrance, 400);
    EXPECT_EQ(waited.code, ADDRBK_SEARCH_UNAVAILABLE);
    EXPECT_GE(waited.tookMs, 400);
    EXPECT_LT(waited.tookMs, 400 + kSlackMs);
    release();
    EXPECT_CHILD_PASSES(*holder, 30s);
    EXPECT_EQ(search(ADDRBK_SEARCH_BY_NUMBER, kAnnInFrance, 400).name, QStringLiteral("Ann Lee"));
}

TEST_F(AddressBookProcessesTest, SearchWithTimeoutOfZeroOrLessDoesNotWait)
{
    bookWithAnnThenRegion(QStringLiteral("FR"));
    holdTheBook();
    for (const int timeoutMs : {0, -1}) {
        SCOPED_TRACE(timeoutMs);
        const Search result = search(ADDRBK_SEARCH_BY_NUMBER, kAnnInFrance, timeoutMs);
        EXPECT_EQ(result.code, ADDRBK_SEARCH_UNAVAILABLE);
        EXPECT_LT(result.tookMs, kSlackMs);
    }
    release();
    EXPECT_CHILD_PASSES(*holder, 30s);
}

TEST_F(AddressBookProcessesTest, LockReleasedWithinTheTimeoutLetsTheSearchFindTheContact)
{
    bookWithAnnThenRegion(QStringLiteral("FR"));
    holdTheBook();
    // The book's own busy timeout is shorter than the lock is held: the search's timeout counts.
    std::thread releaser([this] {
        std::this_thread::sleep_for(300ms);
        release();
    });
    const Search found = search(ADDRBK_SEARCH_BY_NUMBER, kAnnInFrance, 20000, 50);
    releaser.join();
    EXPECT_EQ(found.code, ADDRBK_SEARCH_FOUND);
    EXPECT_EQ(found.name, QStringLiteral("Ann Lee"));
    EXPECT_CHILD_PASSES(*holder, 30s);
}

TEST_F(AddressBookProcessesTest, SearchThatMustMakeTheBookWaitsNoLongerThanItsTimeout)
{
    // The other process has only just made the file, and holds it before making any table.
    holdTheBook();
    const Search waited = search(ADDRBK_SEARCH_BY_EMAIL, kAnnsEmail, 400);
    EXPECT_EQ(waited.code, ADDRBK_SEARCH_UNAVAILABLE);
    EXPECT_GE(waited.tookMs, 400);
    EXPECT_LT(waited.tookMs, 400 + kSlackMs);
    release();
    EXPECT_CHILD_PASSES(*holder, 30s);
    EXPECT_EQ(search(ADDRBK_SEARCH_BY_EMAIL, kAnnsEmail, 400).code, ADDRBK_SEARCH_NOT_FOUND);
}

} // namespace
