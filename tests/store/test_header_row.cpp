// An index row against the header of its mail file: the fields a row takes from a header, and
// the fields in which a row and a header block disagree.

#include "header_row.h"

#include "index_row_text.h"
#include "mail_file_io.h"

#include "mms_util_msgheaderbase.h"

#include "support/mailfile_helpers.h"
#include "support/scoped_environment.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <ctime>
#include <memory>

namespace
{

using tavmms::store::headerMismatch;
using tavmms::store::headerRow;

// A zone with summer time, so that the hours around its changes are met.
class HeaderRowTest : public ::testing::Test
{
protected:
    void SetUp() override { ::tzset(); }
    void TearDown() override
    {
        zone.reset();
        ::tzset();
    }

    std::unique_ptr<tavmms_test::ScopedEnvironment> zone =
        std::make_unique<tavmms_test::ScopedEnvironment>("TZ", QByteArray("Europe/Berlin"));
};

TEST_F(HeaderRowTest, ARowMadeFromAHeaderMatchesItsBlockAtEveryTimeOfTheYear)
{
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();
    // Every 7 hours and 13 seconds through two years, the changes of summer time among them.
    for (qint64 time = 1767225600; time < 1767225600 + 2 * 366 * 86400; time += 7 * 3600 + 13) {
        header->sendDate = QDateTime::fromSecsSinceEpoch(time);
        const MMS_UTIL_DBStruct_T row = headerRow(*header);
        ASSERT_EQ(row.cmn_fld_time, quint32(time));
        const QByteArray block = tavmms::store::headerBlock(*header);

        ASSERT_EQ(headerMismatch(row, block), QStringList()) << time << block.toStdString();
        MMS_UTIL_DBStruct_T later = row;
        later.cmn_fld_time += 1;
        ASSERT_EQ(headerMismatch(later, block), QStringList{QStringLiteral("Date")}) << time;
    }
}

TEST_F(HeaderRowTest, NamesEachFieldTheRowHoldsOtherwiseInOrder)
{
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();
    const QByteArray block = tavmms::store::headerBlock(*header);
    MMS_UTIL_DBStruct_T row = headerRow(*header);
    tavmms::store::setText8(row.mms_fld_msgid_name, QStringLiteral("other-id"));
    tavmms::store::setText16(row.cmn_fld_from_name, QStringLiteral("Someone else"));
    tavmms::store::setText16(row.cmn_fld_subject, QStringLiteral("Another subject"));
    row.cmn_fld_time -= 60;

    EXPECT_EQ(headerMismatch(row, block),
              QStringList({QStringLiteral("Message-ID"), QStringLiteral("From"),
                           QStringLiteral("Subject"), QStringLiteral("Date")}));
    EXPECT_EQ(tavmms::store::mismatchText(headerMismatch(row, block)),
              QStringLiteral("its header does not match its row (Message-ID, From, Subject, "
                             "Date)"));
}

TEST_F(HeaderRowTest, AFieldTheRowLeavesEmptyClaimsNothing)
{
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();
    const MMS_UTIL_DBStruct_T empty{};

    EXPECT_EQ(headerMismatch(empty, tavmms::store::headerBlock(*header)), QStringList());
}

TEST_F(HeaderRowTest, ASubjectOverTwoLinesIsComparedWhole)
{
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();
    ASSERT_TRUE(header->subject.contains(QLatin1Char('\n')));
    const QByteArray block = tavmms::store::headerBlock(*header);
    MMS_UTIL_DBStruct_T row = headerRow(*header);

    EXPECT_EQ(headerMismatch(row, block), QStringList());
    tavmms::store::setText16(row.cmn_fld_subject, header->subject.section(QLatin1Char('\n'), 0, 0));
    EXPECT_EQ(headerMismatch(row, block), QStringList{QStringLiteral("Subject")});
}

TEST_F(HeaderRowTest, ARowTakesTheFieldsAHeaderGivesAndLeavesTheOthersZero)
{
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = tavmms_test::sampleHeader();

    const MMS_UTIL_DBStruct_T row = headerRow(*header);

    EXPECT_EQ(tavmms::store::text16(row.cmn_fld_from_name), header->from.name);
    EXPECT_EQ(tavmms::store::text16(row.cmn_fld_to_name),
              QStringLiteral("Ann, Bob Ü, carol@example.org, Dave"));
    EXPECT_EQ(tavmms::store::text8(row.mms_fld_msgid_name), header->messageId);
    EXPECT_EQ(row.mms_fld_msgsize_name, header->messageSize);
    EXPECT_EQ(row.cmn_fld_folder_id, 0u);
    EXPECT_EQ(row.cmn_fld_send_receive_state, 0);
    EXPECT_EQ(row.mms_fld_msguri_name[0], '\0');
}

} // namespace
