#include "mms_util_msgheaderbase.h"

#include "support/model_helpers.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

using tavmms_test::deleteEntries;
using tavmms_test::EntryProbe;
using tavmms_test::makeEntry;
using tavmms_test::newEntry;

namespace
{

TEST(MmsUtilMsgHeaderBase, NewHeaderHasDefaultScalars)
{
    const MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(header.priority, 129);
    EXPECT_EQ(header.priority, MMS_UTIL_PRIORITY_NORMAL);
    EXPECT_EQ(header.expiry, 65535u);
    EXPECT_EQ(header.messageSize, 0u);
    EXPECT_FALSE(header.senderVisibility);
    EXPECT_FALSE(header.deliveryReport);
    EXPECT_FALSE(header.readReplyReport);
}

TEST(MmsUtilMsgHeaderBase, NewHeaderHasEmptyNotNullSubjectAndMessageId)
{
    const MMS_UTIL_MsgHeaderBase header;
    EXPECT_FALSE(header.subject.isNull());
    EXPECT_TRUE(header.subject.isEmpty());
    EXPECT_FALSE(header.messageId.isNull());
    EXPECT_TRUE(header.messageId.isEmpty());
}

TEST(MmsUtilMsgHeaderBase, NewHeaderContentTypeIsOneZeroCharacter)
{
    const MMS_UTIL_MsgHeaderBase header;
    ASSERT_EQ(header.contentType.type.size(), 1);
    EXPECT_EQ(header.contentType.type.at(0), QChar(u'\0'));
    EXPECT_TRUE(header.contentType.subtype.isNull());
    EXPECT_FALSE(header.contentType.params.isNull());
    EXPECT_TRUE(header.contentType.params.isEmpty());
}

TEST(MmsUtilMsgHeaderBase, NewHeaderHasNullDates)
{
    const MMS_UTIL_MsgHeaderBase header;
    EXPECT_TRUE(header.sendDate.isNull());
    EXPECT_FALSE(header.sendDate.isValid());
    EXPECT_TRUE(header.deliveryTime.isNull());
    EXPECT_FALSE(header.deliveryTime.isValid());
}

TEST(MmsUtilMsgHeaderBase, NewHeaderHasDefaultSender)
{
    const MMS_UTIL_MsgHeaderBase header;
    EXPECT_TRUE(header.from.name.isNull());
    EXPECT_TRUE(header.from.address.isNull());
    EXPECT_EQ(header.from.type, MMS_UTIL_ADDR_EMAIL);
}

TEST(MmsUtilMsgHeaderBase, NewHeaderHasEmptyListsWithAutoDeleteOff)
{
    const MMS_UTIL_MsgHeaderBase header;
    for (const MMS_UTIL_EntryList* list : {&header.toList, &header.ccList, &header.bccList}) {
        EXPECT_EQ(list->count(), 0u);
        EXPECT_FALSE(list->autoDelete());
    }
}

TEST(MmsUtilMsgHeaderBase, NumericFieldsHaveTheirStoredWidths)
{
    const MMS_UTIL_MsgHeaderBase header;
    EXPECT_EQ(sizeof(header.priority), 1u);
    EXPECT_EQ(sizeof(header.expiry), 4u);
    EXPECT_EQ(sizeof(header.messageSize), 4u);
    EXPECT_EQ(sizeof(header.deliveryReport), 1u);
}

TEST(MmsUtilMsgHeaderBase, DerivedHeaderIsDestroyedThroughABasePointer)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<MMS_UTIL_MsgHeaderBase>);
    bool destroyed = false;
    struct DerivedHeader : MMS_UTIL_MsgHeaderBase {
        explicit DerivedHeader(bool& flag) : flag(flag) {}
        ~DerivedHeader() override { flag = true; }
        bool& flag;
    };
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = std::make_unique<DerivedHeader>(destroyed);
    header.reset();
    EXPECT_TRUE(destroyed);
}

TEST(MmsUtilMsgHeaderBase, SetFromCopiesEveryField)
{
    MMS_UTIL_MsgHeaderBase header;
    MMS_UTIL_Entry sender =
        makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("+1"));
    header.setFrom(sender);
    sender.name = QStringLiteral("Bob");
    EXPECT_EQ(header.from.name, QStringLiteral("Ann"));
    EXPECT_EQ(header.from.type, MMS_UTIL_ADDR_UNKNOWN);
    EXPECT_EQ(header.from.address, QStringLiteral("+1"));
}

TEST(MmsUtilMsgHeaderBase, SetFromKeepsNullTextsNull)
{
    MMS_UTIL_MsgHeaderBase header;
    header.from = makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+1"));
    header.setFrom(MMS_UTIL_Entry());
    EXPECT_TRUE(header.from.name.isNull());
    EXPECT_TRUE(header.from.address.isNull());
    EXPECT_EQ(header.from.type, MMS_UTIL_ADDR_EMAIL);
}

TEST(MmsUtilMsgHeaderBase, PrintMsgPrintsAndChangesNothing)
{
    MMS_UTIL_MsgHeaderBase header;
    header.subject = QStringLiteral("Hello");
    ::testing::internal::CaptureStdout();
    header.printMsg();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(header.subject, QStringLiteral("Hello"));
}

struct PriorityCase {
    unsigned char code;
    bool accepted;
};

class SetPriorityTest : public ::testing::TestWithParam<PriorityCase>
{
};

TEST_P(SetPriorityTest, TakesOnlyLowNormalAndHigh)
{
    const PriorityCase c = GetParam();
    for (const unsigned char before : {MMS_UTIL_PRIORITY_LOW, MMS_UTIL_PRIORITY_HIGH}) {
        MMS_UTIL_MsgHeaderBase header;
        header.priority = before;
        header.setPriority(c.code);
        EXPECT_EQ(header.priority, c.accepted ? c.code : before)
            << "priority before " << int(before);
    }
}

INSTANTIATE_TEST_SUITE_P(Codes, SetPriorityTest,
                         ::testing::Values(PriorityCase{0, false}, PriorityCase{127, false},
                                           PriorityCase{128, true}, PriorityCase{129, true},
                                           PriorityCase{130, true}, PriorityCase{131, false},
                                           PriorityCase{255, false}),
                         [](const auto& info) { return std::to_string(info.param.code); });

// One of the three recipient lists with its replacing and appending operations.
struct RecipientList {
    const char* name;
    void (MMS_UTIL_MsgHeaderBase::*set)(MMS_UTIL_EntryList);
    void (MMS_UTIL_MsgHeaderBase::*add)(const MMS_UTIL_Entry&);
    MMS_UTIL_EntryList MMS_UTIL_MsgHeaderBase::*list;
};

class RecipientListTest : public ::testing::TestWithParam<RecipientList>
{
protected:
    void set(MMS_UTIL_EntryList entries) { ((*header).*GetParam().set)(entries); }
    void add(const MMS_UTIL_Entry& entry) { ((*header).*GetParam().add)(entry); }
    MMS_UTIL_EntryList& list() { return (*header).*GetParam().list; }

    // The two recipient lists that the operation under test must leave alone.
    bool otherListsUntouched() const
    {
        for (MMS_UTIL_EntryList MMS_UTIL_MsgHeaderBase::*other :
             {&MMS_UTIL_MsgHeaderBase::toList, &MMS_UTIL_MsgHeaderBase::ccList,
              &MMS_UTIL_MsgHeaderBase::bccList}) {
            const MMS_UTIL_EntryList& l = (*header).*other;
            if (other != GetParam().list && (l.count() != 0 || l.autoDelete()))
                return false;
        }
        return true;
    }

    std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = std::make_unique<MMS_UTIL_MsgHeaderBase>();
};

TEST_P(RecipientListTest, SetStoresDeepCopiesAndOwnsThem)
{
    MMS_UTIL_EntryList entries;
    entries.append(newEntry(QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1")));
    entries.append(newEntry(QString(), MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("b@x")));
    set(entries);
    EXPECT_TRUE(list().autoDelete());
    EXPECT_FALSE(entries.autoDelete());
    ASSERT_EQ(list().count(), 2u);
    for (uint i = 0; i < 2; ++i) {
        EXPECT_NE(list().at(i), entries.at(i)) << "index " << i;
        EXPECT_EQ(list().at(i)->name, entries.at(i)->name) << "index " << i;
        EXPECT_EQ(list().at(i)->type, entries.at(i)->type) << "index " << i;
        EXPECT_EQ(list().at(i)->address, entries.at(i)->address) << "index " << i;
    }
    EXPECT_TRUE(list().at(1)->name.isNull());
    EXPECT_TRUE(otherListsUntouched());
    deleteEntries(entries);
}

TEST_P(RecipientListTest, SetLeavesTheCallersEntriesToTheCaller)
{
    const EntryProbe probe("A");
    MMS_UTIL_EntryList entries;
    entries.append(probe.newEntry());
    set(entries);
    ASSERT_EQ(entries.count(), 1u);
    EXPECT_EQ(entries.at(0)->name, probe.name());
    deleteEntries(entries);
    EXPECT_TRUE(probe.anyEntryAlive()) << "the header's copy";
    header.reset();
    EXPECT_FALSE(probe.anyEntryAlive());
}

TEST_P(RecipientListTest, SetWithAnEmptyListEmptiesTheList)
{
    add(makeEntry(QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1")));
    set(MMS_UTIL_EntryList());
    EXPECT_EQ(list().count(), 0u);
    EXPECT_TRUE(list().autoDelete());
}

TEST_P(RecipientListTest, SetTwiceDropsTheFirstListsEntries)
{
    const EntryProbe first("first");
    const EntryProbe second("second");
    for (const EntryProbe* probe : {&first, &second}) {
        MMS_UTIL_EntryList entries;
        entries.append(probe->newEntry());
        set(entries);
        deleteEntries(entries);
    }
    EXPECT_FALSE(first.anyEntryAlive());
    EXPECT_TRUE(second.anyEntryAlive());
    ASSERT_EQ(list().count(), 1u);
    EXPECT_EQ(list().at(0)->name, second.name());
}

TEST_P(RecipientListTest, SetWithItsOwnListKeepsTheEntries)
{
    add(makeEntry(QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1")));
    add(makeEntry(QStringLiteral("B"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("b@x")));
    set(list());
    ASSERT_EQ(list().count(), 2u);
    EXPECT_EQ(list().at(0)->name, QStringLiteral("A"));
    EXPECT_EQ(list().at(1)->address, QStringLiteral("b@x"));
    EXPECT_TRUE(list().autoDelete());
}

TEST_P(RecipientListTest, SetSkipsNullSlots)
{
    MMS_UTIL_EntryList entries;
    entries.setAutoDelete(true);
    entries.append(nullptr);
    entries.append(newEntry(QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1")));
    set(entries);
    ASSERT_EQ(list().count(), 1u);
    EXPECT_EQ(list().at(0)->name, QStringLiteral("A"));
}

TEST_P(RecipientListTest, AddAppendsACopyAndOwnsIt)
{
    const EntryProbe probe("A");
    {
        const std::unique_ptr<MMS_UTIL_Entry> entry(probe.newEntry());
        add(*entry);
        add(makeEntry(QStringLiteral("B"), MMS_UTIL_ADDR_EMAIL, QStringLiteral("b@x")));
        EXPECT_TRUE(list().autoDelete());
        ASSERT_EQ(list().count(), 2u);
        EXPECT_NE(list().at(0), entry.get());
        EXPECT_EQ(list().at(0)->name, probe.name());
        EXPECT_EQ(list().at(0)->type, MMS_UTIL_ADDR_PLMN);
        EXPECT_EQ(list().at(0)->address, QStringLiteral("1"));
        EXPECT_EQ(list().at(1)->name, QStringLiteral("B"));
    }
    EXPECT_TRUE(probe.anyEntryAlive()) << "the header's copy";
    EXPECT_TRUE(otherListsUntouched());
    header.reset();
    EXPECT_FALSE(probe.anyEntryAlive());
}

TEST_P(RecipientListTest, ChangingAnEntryAfterAddLeavesTheHeadersCopy)
{
    MMS_UTIL_Entry entry = makeEntry(QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1"));
    add(entry);
    entry.name = QStringLiteral("Z");
    entry.type = MMS_UTIL_ADDR_EMAIL;
    entry.address = QStringLiteral("z@x");
    ASSERT_EQ(list().count(), 1u);
    EXPECT_EQ(list().at(0)->name, QStringLiteral("A"));
    EXPECT_EQ(list().at(0)->type, MMS_UTIL_ADDR_PLMN);
    EXPECT_EQ(list().at(0)->address, QStringLiteral("1"));
}

TEST_P(RecipientListTest, AddAfterSetAppends)
{
    MMS_UTIL_EntryList entries;
    entries.setAutoDelete(true);
    entries.append(newEntry(QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1")));
    set(entries);
    add(makeEntry(QStringLiteral("B"), MMS_UTIL_ADDR_PLMN, QStringLiteral("2")));
    ASSERT_EQ(list().count(), 2u);
    EXPECT_EQ(list().at(0)->name, QStringLiteral("A"));
    EXPECT_EQ(list().at(1)->name, QStringLiteral("B"));
}

TEST_P(RecipientListTest, DestructorLeavesEntriesTheApplicationAppendedDirectly)
{
    const EntryProbe probe("A");
    const std::unique_ptr<MMS_UTIL_Entry> entry(probe.newEntry());
    list().append(entry.get());
    header.reset();
    EXPECT_TRUE(probe.anyEntryAlive());
}

INSTANTIATE_TEST_SUITE_P(Lists, RecipientListTest,
                         ::testing::Values(RecipientList{"To", &MMS_UTIL_MsgHeaderBase::setTo,
                                                         &MMS_UTIL_MsgHeaderBase::addToRecipient,
                                                         &MMS_UTIL_MsgHeaderBase::toList},
                                           RecipientList{"Cc", &MMS_UTIL_MsgHeaderBase::setCc,
                                                         &MMS_UTIL_MsgHeaderBase::addCcRecipient,
                                                         &MMS_UTIL_MsgHeaderBase::ccList},
                                           RecipientList{"Bcc", &MMS_UTIL_MsgHeaderBase::setBcc,
                                                         &MMS_UTIL_MsgHeaderBase::addBccRecipient,
                                                         &MMS_UTIL_MsgHeaderBase::bccList}),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
