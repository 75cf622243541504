#include "support/core_application.h"

namespace tavmms_test
{

void CoreApplication::SetUp()
{
    application_ = std::make_unique<QCoreApplication>(argc_, argv_);
}

void CoreApplication::TearDown()
{
    application_.reset();
}

} // namespace tavmms_test
