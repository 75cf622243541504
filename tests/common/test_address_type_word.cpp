// The words of the entry text form for the address types, shared by its reader and its writer.

#include "address_type_word.h"

#include "mms_util_common.h"

#include <gtest/gtest.h>

namespace
{

using tavmms::addressTypeOfWord;
using tavmms::addressTypeWord;

TEST(AddressTypeWordTest, NamesEachTypeAndEveryOtherCodeUnknown)
{
    EXPECT_EQ(addressTypeWord(MMS_UTIL_ADDR_EMAIL), QStringLiteral("EMAIL"));
    EXPECT_EQ(addressTypeWord(MMS_UTIL_ADDR_PLMN), QStringLiteral("PLMN"));
    EXPECT_EQ(addressTypeWord(MMS_UTIL_ADDR_UNKNOWN), QStringLiteral("UNKNOWN"));
    EXPECT_EQ(addressTypeWord(MMS_UTIL_ADDR_TYPE_T(7)), QStringLiteral("UNKNOWN"));
}

TEST(AddressTypeWordTest, ReadsOnlyTheThreeWordsExactly)
{
    EXPECT_EQ(addressTypeOfWord(u"EMAIL"), MMS_UTIL_ADDR_EMAIL);
    EXPECT_EQ(addressTypeOfWord(u"PLMN"), MMS_UTIL_ADDR_PLMN);
    EXPECT_EQ(addressTypeOfWord(u"UNKNOWN"), MMS_UTIL_ADDR_UNKNOWN);
    EXPECT_FALSE(addressTypeOfWord(u"plmn"));
    EXPECT_FALSE(addressTypeOfWord(u"PLNM"));
    EXPECT_FALSE(addressTypeOfWord(u""));
}

TEST(AddressTypeWordTest, TheEntryTextFormUsesTheSameWords)
{
    for (const MMS_UTIL_ADDR_TYPE_T type : {MMS_UTIL_ADDR_EMAIL, MMS_UTIL_ADDR_PLMN}) {
        MMS_UTIL_Entry entry;
        entry.type = type;
        entry.address = QStringLiteral("x");
        const QString text = MMS_UTIL_Common::entryToString(entry);
        EXPECT_EQ(text, QStringLiteral("<>[%1]x").arg(addressTypeWord(type)));
        MMS_UTIL_Entry read;
        MMS_UTIL_Common::stringToEntry(text, &read);
        EXPECT_EQ(read.type, type);
    }
}

} // namespace
