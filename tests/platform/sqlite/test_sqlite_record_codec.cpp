// The record codec's reader of table schemas on its own: how many fields a schema may have before
// it is taken as one that lacks its end.

#include "sqlite_record_codec.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using tavplatform::devicedb::kMaxSchemaFields;
using tavplatform::devicedb::readSchema;
using tavplatform::devicedb::Table;

// A sound schema of `count` 32-bit fields "f0", "f1", ..., with its end.
std::vector<DB_SCHEMA_T> schemaOfFields(int count)
{
    std::vector<DB_SCHEMA_T> schema(size_t(count) + 1); // zeroed: the last entry ends it
    for (int i = 0; i < count; ++i) {
        const std::string name = "f" + std::to_string(i);
        std::memcpy(schema[size_t(i)].tag, "dste", 4);
        std::memcpy(schema[size_t(i)].name, name.c_str(), name.size());
        schema[size_t(i)].size = 4;
        schema[size_t(i)].type = DB_TYPE_INT32;
    }
    return schema;
}

TEST(SqliteRecordCodecTest, SchemaOfTheMostFieldsIsReadWhole)
{
    const std::vector<DB_SCHEMA_T> schema = schemaOfFields(kMaxSchemaFields);
    Table table{"t", {}, {}, {}, {}};
    ASSERT_EQ(readSchema(schema.data(), &table), DB_OK);
    ASSERT_EQ(table.fields.size(), size_t(kMaxSchemaFields));
    EXPECT_EQ(table.fields.back().name, "f" + QByteArray::number(kMaxSchemaFields - 1));
}

TEST(SqliteRecordCodecTest, SchemaOfOneFieldMoreIsRefused)
{
    const std::vector<DB_SCHEMA_T> schema = schemaOfFields(kMaxSchemaFields + 1);
    Table table{"t", {}, {}, {}, {}};
    EXPECT_EQ(readSchema(schema.data(), &table), DB_ERR_INVALID_ARGUMENT);
}

} // namespace
