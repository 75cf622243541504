// The index record MMS_UTIL_DBStruct_T, the table's schema MMS_UTIL_DBSCHEMA and the binding that
// ties the record to the table: a stored format, checked byte for byte.

#include "mms_util_dbstruct.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace
{

struct SchemaField {
    const char* name;
    unsigned size;
    unsigned type;
    unsigned flag;
};

// The table's 28 fields in schema order, as stored in every existing database.
const SchemaField kSchemaFields[] = {
    {"cmn_fld_from_name", 80, 32, 0},
    {"cmn_fld_to_name", 80, 32, 0},
    {"cmn_fld_subject", 80, 32, 0},
    {"cmn_fld_time_msg_reach_phone", 4, 2, 1},
    {"cmn_fld_time", 4, 2, 1},
    {"cmn_fld_time_zone", 4, 2, 0},
    {"cmn_fld_msg_usage", 2, 128, 1},
    {"cmn_fld_msg_type", 2, 128, 1},
    {"cmn_fld_msg_attr_read", 2, 128, 0},
    {"cmn_fld_folder_id", 4, 256, 1},
    {"cmn_fld_priority", 2, 128, 0},
    {"cmn_fld_mms_type", 2, 128, 0},
    {"cmn_fld_ems_type", 2, 128, 0},
    {"cmn_fld_contain_au_or_vi", 2, 128, 0},
    {"cmn_fld_contain_attachment", 2, 128, 0},
    {"cmn_fld_send_receive_state", 2, 128, 1},
    {"mms_fld_sendervisibility_name", 2, 128, 0},
    {"mms_fld_deliveryreport_name", 2, 128, 0},
    {"mms_fld_readreplyreport_name", 2, 128, 0},
    {"mms_fld_contenttype_name", 2, 128, 0},
    {"mms_fld_notifyrespstatus_name", 2, 128, 0},
    {"mms_fld_msgsize_name", 4, 256, 0},
    {"mms_fld_deliverytime_name", 4, 256, 0},
    {"mms_fld_expiretime_name", 4, 256, 0},
    {"mms_fld_tid_name", 40, 8, 0},
    {"mms_fld_msgid_name", 40, 8, 0},
    {"mms_fld_msguri_name", 100, 8, 1},
    {"mms_fld_extra_name", 200, 32, 0},
};
constexpr std::size_t kSchemaFieldCount = 28;
static_assert(std::size(kSchemaFields) == kSchemaFieldCount);
constexpr std::size_t kEntryBytes = 44;

struct RecordField {
    const char* name;
    std::size_t schemaIndex;
    unsigned code;
    std::size_t offset;
    std::size_t size;
};

// The 26 fields of the record, in record order, with their bind codes and places.
const RecordField kRecordFields[] = {
    {"cmn_fld_from_name", 0, 10, 0, 80},
    {"cmn_fld_to_name", 1, 10, 80, 80},
    {"cmn_fld_subject", 2, 10, 160, 80},
    {"cmn_fld_time_msg_reach_phone", 3, 1, 240, 4},
    {"cmn_fld_time", 4, 1, 244, 4},
    {"cmn_fld_msg_usage", 6, 2, 248, 2},
    {"cmn_fld_msg_type", 7, 2, 250, 2},
    {"cmn_fld_msg_attr_read", 8, 2, 252, 2},
    {"cmn_fld_folder_id", 9, 3, 256, 4},
    {"cmn_fld_priority", 10, 2, 260, 2},
    {"cmn_fld_mms_type", 11, 2, 262, 2},
    {"cmn_fld_contain_au_or_vi", 13, 2, 264, 2},
    {"cmn_fld_contain_attachment", 14, 2, 266, 2},
    {"cmn_fld_send_receive_state", 15, 2, 268, 2},
    {"mms_fld_sendervisibility_name", 16, 2, 270, 2},
    {"mms_fld_deliveryreport_name", 17, 2, 272, 2},
    {"mms_fld_readreplyreport_name", 18, 2, 274, 2},
    {"mms_fld_contenttype_name", 19, 2, 276, 2},
    {"mms_fld_notifyrespstatus_name", 20, 2, 278, 2},
    {"mms_fld_msgsize_name", 21, 3, 280, 4},
    {"mms_fld_deliverytime_name", 22, 3, 284, 4},
    {"mms_fld_expiretime_name", 23, 3, 288, 4},
    {"mms_fld_tid_name", 24, 8, 292, 40},
    {"mms_fld_msgid_name", 25, 8, 332, 40},
    {"mms_fld_msguri_name", 26, 8, 372, 100},
    {"mms_fld_extra_name", 27, 10, 472, 200},
};
constexpr std::size_t kRecordFieldCount = 26;
static_assert(std::size(kRecordFields) == kRecordFieldCount);

struct MemberPlace {
    const char* name;
    std::size_t offset;
    std::size_t size;
};

#define MEMBER(m)                                                                                  \
    {                                                                                              \
#m, offsetof(MMS_UTIL_DBStruct_T, m), sizeof(MMS_UTIL_DBStruct_T::m)                       \
    }

// Where the compiler put each field of the record.
const MemberPlace kMemberPlaces[] = {
    MEMBER(cmn_fld_from_name),
    MEMBER(cmn_fld_to_name),
    MEMBER(cmn_fld_subject),
    MEMBER(cmn_fld_time_msg_reach_phone),
    MEMBER(cmn_fld_time),
    MEMBER(cmn_fld_msg_usage),
    MEMBER(cmn_fld_msg_type),
    MEMBER(cmn_fld_msg_attr_read),
    MEMBER(cmn_fld_folder_id),
    MEMBER(cmn_fld_priority),
    MEMBER(cmn_fld_mms_type),
    MEMBER(cmn_fld_contain_au_or_vi),
    MEMBER(cmn_fld_contain_attachment),
    MEMBER(cmn_fld_send_receive_state),
    MEMBER(mms_fld_sendervisibility_name),
    MEMBER(mms_fld_deliveryreport_name),
    MEMBER(mms_fld_readreplyreport_name),
    MEMBER(mms_fld_contenttype_name),
    MEMBER(mms_fld_notifyrespstatus_name),
    MEMBER(mms_fld_msgsize_name),
    MEMBER(mms_fld_deliverytime_name),
    MEMBER(mms_fld_expiretime_name),
    MEMBER(mms_fld_tid_name),
    MEMBER(mms_fld_msgid_name),
    MEMBER(mms_fld_msguri_name),
    MEMBER(mms_fld_extra_name),
};

#undef MEMBER

static_assert(std::size(kMemberPlaces) == kRecordFieldCount);

using Entry = std::array<unsigned char, kEntryBytes>;

void putLittleEndian16(unsigned char* at, unsigned value)
{
    at[0] = static_cast<unsigned char>(value & 0xff);
    at[1] = static_cast<unsigned char>(value >> 8);
}

Entry expectedEntry(const SchemaField& field)
{
    Entry entry{};
    std::memcpy(entry.data(), "dste", 4);
    std::memcpy(entry.data() + 4, field.name, std::strlen(field.name));
    putLittleEndian16(entry.data() + 36, field.size);
    putLittleEndian16(entry.data() + 38, field.type);
    putLittleEndian16(entry.data() + 40, field.flag);
    return entry;
}

const unsigned char* schemaBytes()
{
    return reinterpret_cast<const unsigned char*>(MMS_UTIL_DBSCHEMA);
}

TEST(MMS_UTIL_DBStruct_T, RecordIs672Bytes)
{
    EXPECT_EQ(sizeof(MMS_UTIL_DBStruct_T), 672u);
}

TEST(MMS_UTIL_DBStruct_T, EveryFieldSitsAtItsStoredOffsetWithItsSize)
{
    for (std::size_t i = 0; i < kRecordFieldCount; ++i) {
        SCOPED_TRACE(kRecordFields[i].name);
        EXPECT_STREQ(kMemberPlaces[i].name, kRecordFields[i].name);
        EXPECT_EQ(kMemberPlaces[i].offset, kRecordFields[i].offset);
        EXPECT_EQ(kMemberPlaces[i].size, kRecordFields[i].size);
    }
}

TEST(MMS_UTIL_DBStruct_T, PaddingTakesTheTwoBytesBeforeTheFolder)
{
    EXPECT_EQ(offsetof(MMS_UTIL_DBStruct_T, padding), 254u);
    EXPECT_EQ(sizeof(MMS_UTIL_DBStruct_T::padding), 2u);
}

TEST(MMS_UTIL_DBSCHEMA, HasTwentyNineEntriesOfFortyFourBytes)
{
    EXPECT_EQ(sizeof(DB_SCHEMA_T), kEntryBytes);
    EXPECT_EQ(std::size(MMS_UTIL_DBSCHEMA), 29u);
    EXPECT_EQ(sizeof(MMS_UTIL_DBSCHEMA), 1276u);
}

TEST(MMS_UTIL_DBSCHEMA, FieldEntriesMatchTheStoredBytes)
{
    ASSERT_EQ(sizeof(MMS_UTIL_DBSCHEMA), (kSchemaFieldCount + 1) * kEntryBytes);
    for (std::size_t i = 0; i < kSchemaFieldCount; ++i) {
        SCOPED_TRACE(kSchemaFields[i].name);
        const Entry expected = expectedEntry(kSchemaFields[i]);
        EXPECT_EQ(std::memcmp(schemaBytes() + i * kEntryBytes, expected.data(), kEntryBytes), 0);
    }
}

TEST(MMS_UTIL_DBSCHEMA, WholeArrayMatchesTheStoredBytes)
{
    std::vector<unsigned char> expected;
    for (const SchemaField& field : kSchemaFields) {
        const Entry entry = expectedEntry(field);
        expected.insert(expected.end(), entry.begin(), entry.end());
    }
    expected.resize(expected.size() + kEntryBytes, 0); // the terminating entry
    ASSERT_EQ(expected.size(), 1276u);
    ASSERT_EQ(sizeof(MMS_UTIL_DBSCHEMA), expected.size());
    EXPECT_EQ(std::memcmp(schemaBytes(), expected.data(), expected.size()), 0);
}

TEST(MMS_UTIL_DBSCHEMA, TerminatorIsFortyFourZeroBytes)
{
    const Entry zero{};
    EXPECT_EQ(
        std::memcmp(schemaBytes() + kSchemaFieldCount * kEntryBytes, zero.data(), kEntryBytes), 0);
}

TEST(MMS_UTIL_DBSCHEMA, ReaderStoppingAtTheFirstZeroTagFindsTwentyEightFields)
{
    const char zeroTag[4] = {};
    std::size_t fields = 0;
    while (fields < std::size(MMS_UTIL_DBSCHEMA) &&
           std::memcmp(MMS_UTIL_DBSCHEMA[fields].tag, zeroTag, sizeof zeroTag) != 0)
        ++fields;
    EXPECT_EQ(fields, kSchemaFieldCount);
}

TEST(MMS_UTIL_DBBINDING, HasOneEntryPerRecordField)
{
    EXPECT_EQ(std::size(MMS_UTIL_DBBINDING), kRecordFieldCount);
}

TEST(MMS_UTIL_DBBINDING, EntriesGiveNameCodeOffsetAndSizeOfEachRecordField)
{
    ASSERT_EQ(std::size(MMS_UTIL_DBBINDING), kRecordFieldCount);
    for (std::size_t i = 0; i < kRecordFieldCount; ++i) {
        const RecordField& field = kRecordFields[i];
        const DB_BIND_T& bind = MMS_UTIL_DBBINDING[i];
        SCOPED_TRACE(field.name);
        EXPECT_STREQ(bind.name, field.name);
        EXPECT_EQ(bind.code, field.code);
        EXPECT_EQ(bind.offset, field.offset);
        EXPECT_EQ(bind.size, field.size);
    }
}

TEST(MMS_UTIL_DBBINDING, NamesAreTheSchemaEntriesOwnStrings)
{
    ASSERT_EQ(std::size(MMS_UTIL_DBBINDING), kRecordFieldCount);
    for (std::size_t i = 0; i < kRecordFieldCount; ++i) {
        SCOPED_TRACE(kRecordFields[i].name);
        EXPECT_EQ(MMS_UTIL_DBBINDING[i].name, MMS_UTIL_DBSCHEMA[kRecordFields[i].schemaIndex].name);
    }
}

TEST(MMS_UTIL_DBBINDING, CodesAndSizesAgreeWithTheSchemaTypes)
{
    const auto codeOfType = [](unsigned type) -> unsigned {
        switch (type) {
        case 32:
            return 10;
        case 2:
            return 1;
        case 128:
            return 2;
        case 256:
            return 3;
        case 8:
            return 8;
        }
        return 0;
    };
    for (std::size_t i = 0; i < kRecordFieldCount; ++i) {
        const DB_SCHEMA_T& schema = MMS_UTIL_DBSCHEMA[kRecordFields[i].schemaIndex];
        SCOPED_TRACE(schema.name);
        EXPECT_EQ(MMS_UTIL_DBBINDING[i].code, codeOfType(schema.type));
        EXPECT_EQ(MMS_UTIL_DBBINDING[i].size, schema.size);
    }
}

TEST(MMS_UTIL_DBBINDING, TimeZoneAndEmsTypeAreInTheSchemaButNotBound)
{
    std::set<std::string> unbound;
    for (std::size_t i = 0; i < kSchemaFieldCount; ++i)
        unbound.insert(MMS_UTIL_DBSCHEMA[i].name);
    for (const DB_BIND_T& bind : MMS_UTIL_DBBINDING)
        EXPECT_EQ(unbound.erase(bind.name), 1u)
            << bind.name << " is bound twice or not in the schema";
    EXPECT_THAT(unbound, ::testing::UnorderedElementsAre("cmn_fld_time_zone", "cmn_fld_ems_type"));
}

TEST(MMS_UTIL_DBBINDING, CoversEveryRecordByteOnceExceptThePadding)
{
    std::array<int, sizeof(MMS_UTIL_DBStruct_T)> uses{};
    for (const DB_BIND_T& bind : MMS_UTIL_DBBINDING) {
        ASSERT_LE(bind.offset + bind.size, uses.size()) << bind.name;
        for (unsigned i = 0; i < bind.size; ++i)
            ++uses[bind.offset + i];
    }
    for (std::size_t i = 0; i < uses.size(); ++i) {
        const bool padding = i == 254 || i == 255;
        EXPECT_EQ(uses[i], padding ? 0 : 1) << "record byte " << i;
    }
}

TEST(MMS_UTIL_DBGetBinding, ReturnsTheBindingAndWritesItsCount)
{
    unsigned int count = 0xffffffffu;
    EXPECT_EQ(MMS_UTIL_DBGetBinding(&count), MMS_UTIL_DBBINDING);
    EXPECT_EQ(count, 26u);
}

TEST(MMS_UTIL_DBGetBinding, ToleratesANullCount)
{
    EXPECT_EQ(MMS_UTIL_DBGetBinding(nullptr), MMS_UTIL_DBBINDING);
}

} // namespace
