#include "support/mock_address_book.h"

namespace tavmms_test
{

// Out of line so that the mock's large generated members are compiled once, here.
MockAddressBook::MockAddressBook() = default;
MockAddressBook::~MockAddressBook() = default;

::testing::Action<int(ADDRBK_SEARCH_TYPE_T, const QString&, ADDRBK_SEARCH_SINGLE_DATA_T&, int,
                      bool*)>
answerSearch(int code, const QString& name, const QString& label)
{
    return
        [=](ADDRBK_SEARCH_TYPE_T, const QString&, ADDRBK_SEARCH_SINGLE_DATA_T& result, int, bool*) {
            result.name = name;
            result.contactId = 7;
            result.label = label;
            result.value = QStringLiteral("value mark");
            result.organization = QStringLiteral("organization mark");
            return code;
        };
}

} // namespace tavmms_test
