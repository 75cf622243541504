// ADDRBK_ENGINE_Interface hands every call, with its arguments and results, to the address book
// installed.

#include "addrbk_engine_interface.h"

#include "support/mock_address_book.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>

namespace
{

using tavmms_test::answerSearch;
using tavmms_test::MockAddressBook;
using ::testing::_;
using ::testing::DoAll;
using ::testing::Ref;
using ::testing::Return;
using ::testing::SetArgReferee;
using ::testing::StrictMock;

class AddrbkEngineInterfaceTest : public ::testing::Test
{
protected:
    StrictMock<MockAddressBook> book;
    tavplatform::ScopedAddressBookService installed{&book};
};

TEST_F(AddrbkEngineInterfaceTest, SingleSearchPassesArgumentsAndResultThrough)
{
    ADDRBK_SEARCH_SINGLE_DATA_T record;
    bool ambiguous = false;
    EXPECT_CALL(book, singleSearch(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("a@b.example"),
                                   Ref(record), 250, &ambiguous))
        .WillOnce(
            answerSearch(ADDRBK_SEARCH_NOT_FOUND, QStringLiteral("Ann"), QStringLiteral("Work")));
    ADDRBK_ENGINE_Interface engine;
    EXPECT_EQ(engine.singleSearch(ADDRBK_SEARCH_BY_EMAIL, QStringLiteral("a@b.example"), record,
                                  250, &ambiguous),
              ADDRBK_SEARCH_NOT_FOUND);
    EXPECT_EQ(record.name, QStringLiteral("Ann"));
    EXPECT_EQ(record.label, QStringLiteral("Work"));
}

TEST_F(AddrbkEngineInterfaceTest, GetOwnerNumberPassesArgumentsAndResultThrough)
{
    QString name;
    QString number;
    EXPECT_CALL(book, getOwnerNumber(Ref(name), Ref(number)))
        .WillOnce(DoAll(SetArgReferee<0>(QStringLiteral("Me")),
                        SetArgReferee<1>(QStringLiteral("1")), Return(true)));
    EXPECT_TRUE(ADDRBK_ENGINE_Interface::getOwnerNumber(name, number));
    EXPECT_EQ(name, QStringLiteral("Me"));
    EXPECT_EQ(number, QStringLiteral("1"));
}

TEST_F(AddrbkEngineInterfaceTest, GetOwnerNumberGivesFalseOfAddressBook)
{
    QString name;
    QString number;
    EXPECT_CALL(book, getOwnerNumber(_, _)).WillOnce(Return(false));
    EXPECT_FALSE(ADDRBK_ENGINE_Interface::getOwnerNumber(name, number));
}

TEST(AddrbkSearchRecordTest, MembersComeInTheirFixedOrder)
{
    // Applications built against the record read its first member as the name and its second
    // text after a 32-bit number.
    EXPECT_EQ(offsetof(ADDRBK_SEARCH_SINGLE_DATA_T, name), 0u);
    EXPECT_EQ(sizeof(ADDRBK_SEARCH_SINGLE_DATA_T::contactId), 4u);
    EXPECT_LT(offsetof(ADDRBK_SEARCH_SINGLE_DATA_T, name),
              offsetof(ADDRBK_SEARCH_SINGLE_DATA_T, contactId));
    EXPECT_LT(offsetof(ADDRBK_SEARCH_SINGLE_DATA_T, contactId),
              offsetof(ADDRBK_SEARCH_SINGLE_DATA_T, label));
    EXPECT_LT(offsetof(ADDRBK_SEARCH_SINGLE_DATA_T, label),
              offsetof(ADDRBK_SEARCH_SINGLE_DATA_T, value));
    EXPECT_LT(offsetof(ADDRBK_SEARCH_SINGLE_DATA_T, value),
              offsetof(ADDRBK_SEARCH_SINGLE_DATA_T, organization));
    EXPECT_EQ(ADDRBK_SEARCH_BY_NUMBER, 1);
    EXPECT_EQ(ADDRBK_SEARCH_BY_EMAIL, 2);
}

} // namespace
