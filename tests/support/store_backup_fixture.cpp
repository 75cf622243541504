#include "support/store_backup_fixture.h"

#include <tavmmsutility.h>

namespace tavmms_test
{

void StoreBackupFixture::SetUp()
{
    ASSERT_TRUE(isValid());
}

unsigned int StoreBackupFixture::receive(const tavmms::store::NewMessage& message)
{
    const tavmms::store::Added added = tavmms::store::MessageStore().receive(message);
    EXPECT_TRUE(added.status.ok()) << added.status.text.toStdString();
    return added.id;
}

} // namespace tavmms_test
