#include "support/mock_database.h"

namespace tavmms_test
{

// Out of line so that the mock's large generated members are compiled once, here.
MockDatabase::MockDatabase() = default;
MockDatabase::~MockDatabase() = default;

} // namespace tavmms_test
