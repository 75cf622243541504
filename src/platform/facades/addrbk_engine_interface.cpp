#include "addrbk_engine_interface.h"

#include "address_book_service.h"

using tavplatform::addressBookService;

int ADDRBK_ENGINE_Interface::singleSearch(ADDRBK_SEARCH_TYPE_T type, QString key,
                                          ADDRBK_SEARCH_SINGLE_DATA_T& result, int timeoutMs,
                                          bool* ambiguous)
{
    return addressBookService().singleSearch(type, key, result, timeoutMs, ambiguous);
}

bool ADDRBK_ENGINE_Interface::getOwnerNumber(QString& name, QString& number)
{
    return addressBookService().getOwnerNumber(name, number);
}
