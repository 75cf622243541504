#include "support/temp_address_book.h"

#include "address_book_settings.h"

#include <gtest/gtest.h>

namespace tavmms_test
{

TempAddressBook::TempAddressBook(const QString& region)
    : book_(std::make_unique<tavplatform::SqliteAddressBook>(path())), installed_(book_.get()),
      valid_(settings_.isValid() && tavplatform::setAddressBookRegion(region))
{
}

void TempAddressBook::import(const QByteArray& vcards)
{
    const tavplatform::VCardReading reading = tavplatform::readVCards(vcards);
    for (const tavplatform::VCardProblem& problem : reading.problems)
        ADD_FAILURE() << "line " << problem.line << ": " << problem.reason.toStdString();
    EXPECT_TRUE(book_->importContacts(reading.contacts).has_value());
}

} // namespace tavmms_test
