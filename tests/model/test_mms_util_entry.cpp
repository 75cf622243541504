#include "mms_util_entry.h"

#include "support/model_helpers.h"

#include <gtest/gtest.h>

#include <type_traits>

using tavmms_test::makeEntry;

namespace
{

const QString kEmpty = QLatin1String("");

TEST(MmsUtilEntry, DefaultEntryHasNullTextsAndEmailType)
{
    const MMS_UTIL_Entry entry;
    EXPECT_TRUE(entry.name.isNull());
    EXPECT_TRUE(entry.address.isNull());
    EXPECT_EQ(entry.type, MMS_UTIL_ADDR_EMAIL);
}

TEST(MmsUtilEntry, DefaultEntryIsEmpty)
{
    EXPECT_TRUE(MMS_UTIL_Entry().isEmpty());
}

TEST(MmsUtilEntry, AddressTypeCodesAreZeroOneTwo)
{
    EXPECT_EQ(MMS_UTIL_ADDR_EMAIL, 0);
    EXPECT_EQ(MMS_UTIL_ADDR_PLMN, 1);
    EXPECT_EQ(MMS_UTIL_ADDR_UNKNOWN, 2);
    EXPECT_EQ(sizeof(MMS_UTIL_ADDR_TYPE_T), 1u);
}

TEST(MmsUtilEntry, EntryIsAPlainClassWithoutVirtualOperations)
{
    EXPECT_FALSE(std::is_polymorphic_v<MMS_UTIL_Entry>);
}

TEST(MmsUtilEntry, EntryWithEmptyNameAndEmptyAddressIsEmpty)
{
    EXPECT_TRUE(makeEntry(kEmpty, MMS_UTIL_ADDR_PLMN, kEmpty).isEmpty());
}

TEST(MmsUtilEntry, EntryWithEmptyNameAndNullAddressIsEmpty)
{
    EXPECT_TRUE(makeEntry(kEmpty, MMS_UTIL_ADDR_EMAIL, QString()).isEmpty());
}

TEST(MmsUtilEntry, EntryWithNullNameAndEmptyAddressIsEmpty)
{
    EXPECT_TRUE(makeEntry(QString(), MMS_UTIL_ADDR_EMAIL, kEmpty).isEmpty());
}

TEST(MmsUtilEntry, EntryWithOnlyANameIsNotEmpty)
{
    EXPECT_FALSE(makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_EMAIL, QString()).isEmpty());
    EXPECT_FALSE(makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_EMAIL, kEmpty).isEmpty());
}

TEST(MmsUtilEntry, EntryWithOnlyAnAddressIsNotEmpty)
{
    EXPECT_FALSE(makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("+123")).isEmpty());
    EXPECT_FALSE(makeEntry(kEmpty, MMS_UTIL_ADDR_PLMN, QStringLiteral("+123")).isEmpty());
}

TEST(MmsUtilEntry, EntryWithNameAndAddressIsNotEmpty)
{
    EXPECT_FALSE(
        makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+123")).isEmpty());
}

TEST(MmsUtilEntry, TypeAloneDoesNotMakeAnEntryNonEmpty)
{
    EXPECT_TRUE(makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QString()).isEmpty());
    EXPECT_TRUE(makeEntry(QString(), MMS_UTIL_ADDR_UNKNOWN, QString()).isEmpty());
    EXPECT_TRUE(makeEntry(QString(), 200, QString()).isEmpty());
}

TEST(MmsUtilEntry, BlankNameCountsAsAName)
{
    EXPECT_FALSE(makeEntry(QStringLiteral(" "), MMS_UTIL_ADDR_EMAIL, QString()).isEmpty());
}

TEST(MmsUtilEntry, CopyKeepsUnknownType)
{
    const MMS_UTIL_Entry original =
        makeEntry(QStringLiteral("Bob"), MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("bob@example.org"));
    const MMS_UTIL_Entry copy(original);
    EXPECT_EQ(copy.type, MMS_UTIL_ADDR_UNKNOWN);
    EXPECT_EQ(copy.name, QStringLiteral("Bob"));
    EXPECT_EQ(copy.address, QStringLiteral("bob@example.org"));
}

TEST(MmsUtilEntry, CopySharesTheTextsOfTheOriginal)
{
    MMS_UTIL_Entry original;
    original.name = QString::fromLatin1("Ann");
    original.address = QString::fromLatin1("+123");
    const MMS_UTIL_Entry copy(original);
    EXPECT_TRUE(copy.name.isSharedWith(original.name));
    EXPECT_TRUE(copy.address.isSharedWith(original.address));
}

TEST(MmsUtilEntry, CopyKeepsNullAndEmptyApart)
{
    const MMS_UTIL_Entry copy(makeEntry(QString(), MMS_UTIL_ADDR_EMAIL, kEmpty));
    EXPECT_TRUE(copy.name.isNull());
    EXPECT_FALSE(copy.address.isNull());
    EXPECT_TRUE(copy.address.isEmpty());
}

TEST(MmsUtilEntry, CopyIsIndependentOfLaterChangesToTheOriginal)
{
    MMS_UTIL_Entry original =
        makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1"));
    const MMS_UTIL_Entry copy(original);
    original.name = QStringLiteral("Bob");
    original.type = MMS_UTIL_ADDR_EMAIL;
    original.address = QStringLiteral("2");
    EXPECT_EQ(copy.name, QStringLiteral("Ann"));
    EXPECT_EQ(copy.type, MMS_UTIL_ADDR_PLMN);
    EXPECT_EQ(copy.address, QStringLiteral("1"));
}

TEST(MmsUtilEntry, AssignmentCopiesEveryField)
{
    MMS_UTIL_Entry target =
        makeEntry(QStringLiteral("Old"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("old@x"));
    target = makeEntry(QString(), MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("+49"));
    EXPECT_TRUE(target.name.isNull());
    EXPECT_EQ(target.type, MMS_UTIL_ADDR_UNKNOWN);
    EXPECT_EQ(target.address, QStringLiteral("+49"));
}

TEST(MmsUtilEntry, SelfAssignmentKeepsTheFields)
{
    MMS_UTIL_Entry entry =
        makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1"));
    const MMS_UTIL_Entry& alias = entry;
    entry = alias;
    EXPECT_EQ(entry.name, QStringLiteral("Ann"));
    EXPECT_EQ(entry.type, MMS_UTIL_ADDR_PLMN);
    EXPECT_EQ(entry.address, QStringLiteral("1"));
}

} // namespace
