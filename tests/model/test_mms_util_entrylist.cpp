#include "mms_util_entry.h"
#include "mms_util_entrylist.h"

#include "support/model_helpers.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <vector>

using tavmms_test::deleteEntries;
using tavmms_test::EntryProbe;

namespace
{

// A list of entries made from probes "a", "b", "c" in that order.
class MmsUtilEntryList : public ::testing::Test
{
protected:
    // Appends one new entry of each probe to `list`.
    void fill(MMS_UTIL_EntryList& list) const
    {
        for (const EntryProbe& probe : probes)
            list.append(probe.newEntry());
    }

    bool anyEntryAlive() const
    {
        for (const EntryProbe& probe : probes) {
            if (probe.anyEntryAlive())
                return true;
        }
        return false;
    }

    bool allEntriesAlive() const
    {
        for (const EntryProbe& probe : probes) {
            if (!probe.anyEntryAlive())
                return false;
        }
        return true;
    }

    const std::array<EntryProbe, 3> probes{EntryProbe("a"), EntryProbe("b"), EntryProbe("c")};
};

TEST_F(MmsUtilEntryList, NewListIsEmptyWithAutoDeleteOff)
{
    const MMS_UTIL_EntryList list;
    EXPECT_FALSE(list.autoDelete());
    EXPECT_EQ(list.count(), 0u);
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.begin(), list.end());
}

TEST_F(MmsUtilEntryList, AppendKeepsOrderAndCount)
{
    MMS_UTIL_EntryList list;
    fill(list);
    ASSERT_EQ(list.count(), 3u);
    EXPECT_FALSE(list.isEmpty());
    for (uint i = 0; i < 3; ++i)
        EXPECT_EQ(list.at(i)->name, probes[i].name()) << "index " << i;
    deleteEntries(list);
}

TEST_F(MmsUtilEntryList, AppendKeepsTheCallersPointer)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    auto* entry = new MMS_UTIL_Entry;
    list.append(entry);
    EXPECT_EQ(list.at(0), entry);
}

TEST_F(MmsUtilEntryList, AppendKeepsNullAsASlot)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.append(nullptr);
    EXPECT_EQ(list.count(), 1u);
    EXPECT_EQ(list.at(0), nullptr);
}

TEST_F(MmsUtilEntryList, AtOutOfRangeGivesNull)
{
    MMS_UTIL_EntryList list;
    EXPECT_EQ(list.at(0), nullptr);
    fill(list);
    EXPECT_NE(list.at(2), nullptr);
    EXPECT_EQ(list.at(3), nullptr);
    EXPECT_EQ(list.at(uint(-1)), nullptr);
    deleteEntries(list);
}

TEST_F(MmsUtilEntryList, ClearWithAutoDeleteOffLeavesEntriesAlive)
{
    MMS_UTIL_EntryList list;
    fill(list);
    std::vector<std::unique_ptr<MMS_UTIL_Entry>> owned;
    for (MMS_UTIL_Entry* entry : list)
        owned.emplace_back(entry);
    list.clear();
    EXPECT_EQ(list.count(), 0u);
    EXPECT_TRUE(allEntriesAlive());
}

TEST_F(MmsUtilEntryList, ClearWithAutoDeleteOnDestroysEntries)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    fill(list);
    list.clear();
    EXPECT_EQ(list.count(), 0u);
    EXPECT_FALSE(anyEntryAlive());
}

TEST_F(MmsUtilEntryList, ClearKeepsTheAutoDeleteFlag)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    fill(list);
    list.clear();
    EXPECT_TRUE(list.autoDelete());
}

TEST_F(MmsUtilEntryList, DestructorDestroysEntriesWhenAutoDeleteIsOn)
{
    {
        MMS_UTIL_EntryList list;
        list.setAutoDelete(true);
        fill(list);
        ASSERT_TRUE(allEntriesAlive());
    }
    EXPECT_FALSE(anyEntryAlive());
}

TEST_F(MmsUtilEntryList, DestructorLeavesEntriesAliveWhenAutoDeleteIsOff)
{
    std::vector<std::unique_ptr<MMS_UTIL_Entry>> owned;
    {
        MMS_UTIL_EntryList list;
        fill(list);
        for (MMS_UTIL_Entry* entry : list)
            owned.emplace_back(entry);
    }
    EXPECT_TRUE(allEntriesAlive());
}

TEST_F(MmsUtilEntryList, AutoDeleteCanBeSwitchedOffAgain)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.setAutoDelete(false);
    EXPECT_FALSE(list.autoDelete());
    const std::unique_ptr<MMS_UTIL_Entry> entry(probes[0].newEntry());
    list.append(entry.get());
    list.clear();
    EXPECT_TRUE(probes[0].anyEntryAlive());
}

TEST_F(MmsUtilEntryList, RemoveOutOfRangeIsRefused)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    EXPECT_FALSE(list.remove(0));
    fill(list);
    EXPECT_FALSE(list.remove(3));
    EXPECT_FALSE(list.remove(uint(-1)));
    EXPECT_EQ(list.count(), 3u);
    EXPECT_TRUE(allEntriesAlive());
}

TEST_F(MmsUtilEntryList, RemoveWithAutoDeleteOnDestroysOnlyThatEntry)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    fill(list);
    EXPECT_TRUE(list.remove(1));
    ASSERT_EQ(list.count(), 2u);
    EXPECT_EQ(list.at(0)->name, probes[0].name());
    EXPECT_EQ(list.at(1)->name, probes[2].name());
    EXPECT_TRUE(probes[0].anyEntryAlive());
    EXPECT_FALSE(probes[1].anyEntryAlive());
    EXPECT_TRUE(probes[2].anyEntryAlive());
}

TEST_F(MmsUtilEntryList, RemoveWithAutoDeleteOffLeavesTheEntryAlive)
{
    MMS_UTIL_EntryList list;
    fill(list);
    const std::unique_ptr<MMS_UTIL_Entry> removed(list.at(0));
    EXPECT_TRUE(list.remove(0));
    EXPECT_EQ(list.count(), 2u);
    EXPECT_TRUE(probes[0].anyEntryAlive());
    deleteEntries(list);
}

TEST_F(MmsUtilEntryList, DeleteItemDestroysWhenAutoDeleteIsOn)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.deleteItem(probes[0].newEntry());
    EXPECT_FALSE(probes[0].anyEntryAlive());
}

TEST_F(MmsUtilEntryList, DeleteItemLeavesTheEntryWhenAutoDeleteIsOff)
{
    MMS_UTIL_EntryList list;
    const std::unique_ptr<MMS_UTIL_Entry> entry(probes[0].newEntry());
    list.deleteItem(entry.get());
    EXPECT_TRUE(probes[0].anyEntryAlive());
}

TEST_F(MmsUtilEntryList, DeleteItemIgnoresNull)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    fill(list);
    list.deleteItem(nullptr);
    EXPECT_EQ(list.count(), 3u);
    EXPECT_TRUE(allEntriesAlive());
}

TEST_F(MmsUtilEntryList, ClearWithANullSlotDestroysTheOtherEntries)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    list.append(probes[0].newEntry());
    list.append(nullptr);
    list.append(probes[1].newEntry());
    list.clear();
    EXPECT_FALSE(probes[0].anyEntryAlive());
    EXPECT_FALSE(probes[1].anyEntryAlive());
}

TEST_F(MmsUtilEntryList, RangeForVisitsEntriesInOrder)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    fill(list);
    std::vector<const MMS_UTIL_Entry*> seen;
    for (const MMS_UTIL_Entry* entry : list)
        seen.push_back(entry);
    ASSERT_EQ(seen.size(), 3u);
    for (uint i = 0; i < 3; ++i)
        EXPECT_EQ(seen[i], list.at(i)) << "index " << i;
}

TEST_F(MmsUtilEntryList, CopySharesPointersWithAutoDeleteOff)
{
    MMS_UTIL_EntryList original;
    original.setAutoDelete(true);
    fill(original);
    const MMS_UTIL_EntryList copy(original);
    EXPECT_FALSE(copy.autoDelete());
    EXPECT_TRUE(original.autoDelete());
    ASSERT_EQ(copy.count(), 3u);
    for (uint i = 0; i < 3; ++i)
        EXPECT_EQ(copy.at(i), original.at(i)) << "index " << i;
}

TEST_F(MmsUtilEntryList, DestroyingACopyLeavesTheOriginalsEntriesAlive)
{
    MMS_UTIL_EntryList original;
    original.setAutoDelete(true);
    fill(original);
    {
        MMS_UTIL_EntryList copy(original);
        copy.clear();
    }
    EXPECT_TRUE(allEntriesAlive());
    EXPECT_EQ(original.at(1)->name, probes[1].name());
}

TEST_F(MmsUtilEntryList, ListPassedByValueIsNotDeletedByTheCallee)
{
    MMS_UTIL_EntryList original;
    original.setAutoDelete(true);
    fill(original);
    const auto countOf = [](MMS_UTIL_EntryList byValue) { return byValue.count(); };
    EXPECT_EQ(countOf(original), 3u);
    EXPECT_TRUE(allEntriesAlive());
}

TEST_F(MmsUtilEntryList, AssignmentSharesPointersWithAutoDeleteOff)
{
    MMS_UTIL_EntryList original;
    original.setAutoDelete(true);
    fill(original);
    MMS_UTIL_EntryList target;
    target.setAutoDelete(true);
    target = original;
    EXPECT_FALSE(target.autoDelete());
    ASSERT_EQ(target.count(), 3u);
    for (uint i = 0; i < 3; ++i)
        EXPECT_EQ(target.at(i), original.at(i)) << "index " << i;
    target.clear();
    EXPECT_TRUE(allEntriesAlive());
}

TEST_F(MmsUtilEntryList, AssignmentDestroysTheEntriesTheTargetOwned)
{
    const EntryProbe old("old");
    MMS_UTIL_EntryList target;
    target.setAutoDelete(true);
    target.append(old.newEntry());
    MMS_UTIL_EntryList source;
    source.setAutoDelete(true);
    fill(source);
    target = source;
    EXPECT_FALSE(old.anyEntryAlive());
    EXPECT_TRUE(allEntriesAlive());
}

TEST_F(MmsUtilEntryList, AssignmentLeavesEntriesTheTargetDidNotOwn)
{
    const EntryProbe old("old");
    const std::unique_ptr<MMS_UTIL_Entry> entry(old.newEntry());
    MMS_UTIL_EntryList target;
    target.append(entry.get());
    const MMS_UTIL_EntryList source;
    target = source;
    EXPECT_EQ(target.count(), 0u);
    EXPECT_TRUE(old.anyEntryAlive());
}

TEST_F(MmsUtilEntryList, SelfAssignmentKeepsEntriesAndOwnership)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    fill(list);
    const MMS_UTIL_EntryList& alias = list;
    list = alias;
    EXPECT_TRUE(list.autoDelete());
    EXPECT_EQ(list.count(), 3u);
    EXPECT_TRUE(allEntriesAlive());
    list.clear();
    EXPECT_FALSE(anyEntryAlive());
}

TEST_F(MmsUtilEntryList, AssigningACopyBackKeepsTheSharedEntriesAlive)
{
    MMS_UTIL_EntryList list;
    list.setAutoDelete(true);
    fill(list);
    const MMS_UTIL_EntryList copy(list);
    list = copy;
    EXPECT_FALSE(list.autoDelete());
    ASSERT_EQ(list.count(), 3u);
    EXPECT_EQ(list.at(2)->name, probes[2].name());
    // Nobody owns the entries any more: the holder frees them.
    deleteEntries(list);
    EXPECT_FALSE(anyEntryAlive());
}

TEST_F(MmsUtilEntryList, MoveHandsOverEntriesAndOwnership)
{
    MMS_UTIL_EntryList source;
    source.setAutoDelete(true);
    fill(source);
    {
        MMS_UTIL_EntryList moved(std::move(source));
        EXPECT_TRUE(moved.autoDelete());
        EXPECT_EQ(moved.count(), 3u);
        EXPECT_TRUE(source.isEmpty());
        EXPECT_FALSE(source.autoDelete());
        EXPECT_TRUE(allEntriesAlive());
    }
    EXPECT_FALSE(anyEntryAlive());
}

TEST_F(MmsUtilEntryList, MoveAssignmentClearsTheTargetFirst)
{
    MMS_UTIL_EntryList target;
    target.setAutoDelete(true);
    target.append(probes[0].newEntry());
    MMS_UTIL_EntryList source;
    source.setAutoDelete(true);
    source.append(probes[1].newEntry());

    target = std::move(source);

    EXPECT_FALSE(probes[0].anyEntryAlive());
    EXPECT_TRUE(probes[1].anyEntryAlive());
    EXPECT_EQ(target.count(), 1u);
    EXPECT_TRUE(target.autoDelete());
    EXPECT_TRUE(source.isEmpty());
    target.clear();
    EXPECT_FALSE(probes[1].anyEntryAlive());
}

} // namespace
