#ifndef TAVMMS_TESTS_MOCK_ADDRESS_BOOK_H
#define TAVMMS_TESTS_MOCK_ADDRESS_BOOK_H

#include "address_book_service.h"
#include "support/model_helpers.h" // messages show texts

#include <gmock/gmock.h>

namespace tavmms_test
{

// A GoogleMock double of the address book: the engine's two searches and the book's keeping.
// Install it for a scope with tavplatform::ScopedAddressBookService.
class MockAddressBook : public tavplatform::AddressBookService
{
public:
    MockAddressBook();
    ~MockAddressBook() override;

    MOCK_METHOD(int, singleSearch,
                (ADDRBK_SEARCH_TYPE_T type, const QString& key, ADDRBK_SEARCH_SINGLE_DATA_T& result,
                 int timeoutMs, bool* ambiguous),
                (override));
    MOCK_METHOD(bool, getOwnerNumber, (QString & name, QString& number), (override));
    MOCK_METHOD(std::optional<ImportCounts>, importContacts,
                (const QList<tavplatform::Contact>& contacts), (override));
    MOCK_METHOD(bool, replaceContacts, (const QList<tavplatform::Contact>& contacts), (override));
    MOCK_METHOD(std::optional<QList<tavplatform::Contact>>, contacts, (), (override));
    MOCK_METHOD(QString, readError, (), (const, override));
    MOCK_METHOD(std::optional<Removal>, removeContacts, (const QList<Address>& addresses),
                (override));
};

// A singleSearch action: fills the record with `name` and `label` (the second text) and the other
// members with marks of their own, then returns `code`.
::testing::Action<int(ADDRBK_SEARCH_TYPE_T, const QString&, ADDRBK_SEARCH_SINGLE_DATA_T&, int,
                      bool*)>
answerSearch(int code, const QString& name, const QString& label);

} // namespace tavmms_test

#endif
