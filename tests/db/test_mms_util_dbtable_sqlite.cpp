// MMS_UTIL_DBTable on the real device database: records kept and read back field for field, the
// class-wide write transaction, look-ups by URI, and the calls made before the table is open.

#include "mms_util_dbtable.h"

#include "support/index_table_helpers.h"
#include "support/sql_queries.h"
#include "support/temp_database.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QString>

#include <algorithm>
#include <cstring>
#include <string>

namespace
{

using tavmms_test::lookInto;
using tavmms_test::queryColumn;
using tavmms_test::queryInt;
using tavmms_test::sameRecord;
using tavmms_test::sampleRecord;
using tavmms_test::ScopedIndexTableState;
using tavmms_test::setText16;
using tavmms_test::setText8;
using tavmms_test::TempDatabase;
using tavmms_test::text16;
using tavmms_test::text8;
using tavmms_test::zeroRecord;

const unsigned kNoRecord = 0xFFFFFFFFu;

// A string of `length` characters that differ from their neighbours, so that a cut anywhere shows.
QString lettersOf(int length, char16_t first = u'a')
{
    QString text;
    for (int i = 0; i < length; ++i)
        text.append(QChar(char16_t(first + i % 26)));
    return text;
}

QByteArray bytesOf(int length)
{
    return lettersOf(length, u'A').toLatin1();
}

class DbTableSqliteTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(temp.isValid());
        ASSERT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
        ASSERT_NE(MMS_UTIL_DBTable::mmsTableHandle, nullptr);
    }

    // Adds and commits; returns the new id.
    unsigned addCommitted(const MMS_UTIL_DBStruct_T& record)
    {
        unsigned id = 0;
        EXPECT_EQ(MMS_UTIL_DBTable::add(record, &id), DB_OK);
        EXPECT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
        return id;
    }

    MMS_UTIL_DBStruct_T read(unsigned id)
    {
        MMS_UTIL_DBStruct_T record = zeroRecord();
        EXPECT_EQ(MMS_UTIL_DBTable::readRecord(id, &record), DB_OK) << "id " << id;
        return record;
    }

    unsigned find(const char* uri)
    {
        QByteArray copy(uri);
        return MMS_UTIL_DBTable::findMsgURI(copy.data());
    }

    qint64 rowCount()
    {
        auto look = lookInto(temp.path());
        return look ? queryInt(*look, "SELECT count(*) FROM mms_table_in_flash") : -1;
    }

    // Closes everything as the process would at its end and opens the table again from the file.
    void reopen()
    {
        MMS_UTIL_DBTable::mmsTableHandle = nullptr;
        MMS_UTIL_DBTable::mmsTxn = nullptr;
        temp.reopen();
        ASSERT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    }

    ScopedIndexTableState state;
    TempDatabase temp;
};

TEST_F(DbTableSqliteTest, InitTableMakesTheTableWithEveryFieldAndItsIndexes)
{
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);

    QList<QByteArray> expectedColumns{"id"};
    QList<QByteArray> expectedIndexed;
    for (const DB_SCHEMA_T& field : MMS_UTIL_DBSCHEMA) {
        if (field.tag[0] == 0)
            break;
        expectedColumns.append(field.name);
        if (field.flag == 1)
            expectedIndexed.append(field.name);
    }
    std::sort(expectedIndexed.begin(), expectedIndexed.end());
    EXPECT_EQ(queryColumn(*look, "SELECT name FROM pragma_table_info('mms_table_in_flash') "
                                 "ORDER BY cid"),
              expectedColumns);
    EXPECT_EQ(queryColumn(*look,
                          "SELECT i.name FROM pragma_index_list('mms_table_in_flash') AS l, "
                          "pragma_index_info(l.name) AS i WHERE i.seqno = 0 ORDER BY i.name"),
              expectedIndexed);
    EXPECT_EQ(expectedIndexed.size(), 7);
}

TEST_F(DbTableSqliteTest, LookupByUriUsesItsIndex)
{
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);
    // The lookup findMsgURI's cursor and term come to.
    const QByteArray plan = tavmms_test::queryPlan(
        *look, "SELECT id FROM mms_table_in_flash WHERE mms_fld_msguri_name = ? ORDER BY "
               "mms_fld_msguri_name ASC, id ASC LIMIT 1");
    EXPECT_TRUE(plan.contains("USING COVERING INDEX")) << plan.toStdString();
    EXPECT_FALSE(plan.contains("SCAN")) << plan.toStdString();
}

// Counts the tables it is asked to create.
class CreateCountingDatabase : public tavplatform::SqliteDatabase
{
public:
    using SqliteDatabase::SqliteDatabase;
    int tableCreate(void* db, const char* table, const DB_SCHEMA_T* schema) override
    {
        ++creates;
        return SqliteDatabase::tableCreate(db, table, schema);
    }
    int creates = 0;
};

TEST_F(DbTableSqliteTest, InitTableOnAnExistingTableOpensItWithoutCreatingIt)
{
    const MMS_UTIL_DBStruct_T record = sampleRecord("uri-kept");
    const unsigned id = addCommitted(record);
    MMS_UTIL_DBTable::mmsTableHandle = nullptr;

    CreateCountingDatabase counting(temp.path());
    const tavplatform::ScopedDatabaseService installed(&counting);
    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    EXPECT_EQ(counting.creates, 0);
    EXPECT_TRUE(sameRecord(record, read(id)));
}

TEST(DbTableSqliteFreshTest, InitTableOnANewDatabaseCreatesTheTableOnce)
{
    const ScopedIndexTableState state;
    TempDatabase temp;
    ASSERT_TRUE(temp.isValid());
    CreateCountingDatabase counting(temp.path());
    const tavplatform::ScopedDatabaseService installed(&counting);

    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    EXPECT_EQ(counting.creates, 1);
    MMS_UTIL_DBTable::mmsTableHandle = nullptr;
    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    EXPECT_EQ(counting.creates, 1);
}

TEST_F(DbTableSqliteTest, RecordWithEveryFieldAtItsFullLengthRoundTrips)
{
    MMS_UTIL_DBStruct_T record = sampleRecord("");
    setText16(record.cmn_fld_from_name, lettersOf(39));
    setText16(record.cmn_fld_to_name, lettersOf(39, u'b'));
    setText16(record.cmn_fld_subject, lettersOf(39, u'c'));
    setText8(record.mms_fld_tid_name, bytesOf(39));
    setText8(record.mms_fld_msgid_name, bytesOf(39).toLower());
    setText8(record.mms_fld_msguri_name, "http://mmsc/" + bytesOf(87));
    setText16(record.mms_fld_extra_name, lettersOf(99, u'd'));
    record.cmn_fld_time_msg_reach_phone = 0xFFFFFFFFu;
    record.cmn_fld_folder_id = 0xFFFFFFFEu;
    record.cmn_fld_msg_usage = 0xFFFF;
    record.mms_fld_expiretime_name = 0x80000000u;

    const unsigned id = addCommitted(record);
    EXPECT_TRUE(sameRecord(record, read(id)));
}

TEST_F(DbTableSqliteTest, FieldsFilledWithoutTerminatorReadBackCutToFitIt)
{
    MMS_UTIL_DBStruct_T record = sampleRecord("");
    setText16(record.cmn_fld_from_name, lettersOf(40));
    setText16(record.cmn_fld_subject, lettersOf(60, u'c')); // the writer cuts at 40 units
    setText8(record.mms_fld_tid_name, bytesOf(40));
    setText8(record.mms_fld_msguri_name, bytesOf(100));
    setText16(record.mms_fld_extra_name, lettersOf(100, u'd'));

    const MMS_UTIL_DBStruct_T back = read(addCommitted(record));

    MMS_UTIL_DBStruct_T expected = record;
    setText16(expected.cmn_fld_from_name, lettersOf(39));
    setText16(expected.cmn_fld_subject, lettersOf(39, u'c'));
    setText8(expected.mms_fld_tid_name, bytesOf(39));
    setText8(expected.mms_fld_msguri_name, bytesOf(99));
    setText16(expected.mms_fld_extra_name, lettersOf(99, u'd'));
    EXPECT_TRUE(sameRecord(expected, back));
}

TEST_F(DbTableSqliteTest, NonAsciiTextInTheSixteenBitFieldsRoundTrips)
{
    const QString from = QStringLiteral("Zo\u00eb \u00c5ngstr\u00f6m");
    const QString to = QStringLiteral("\u674e\u5c0f\u9f99, \u0418\u0432\u0430\u043d");
    const QString subject = QStringLiteral("\u65e5\u672c\u8a9e\u306e\u4ef6\u540d \U0001F600!");
    const QString extra = QStringLiteral("\u00a1Hola! \u03b1\u03b2\u03b3 \U0001F4F1\U0001F4E8");
    // Filled the way the applications fill them, with MMS_UTIL_Tool::qstringToWCHAR.
    MMS_UTIL_DBStruct_T record = sampleRecord("uri");
    setText16(record.cmn_fld_from_name, from);
    setText16(record.cmn_fld_to_name, to);
    setText16(record.cmn_fld_subject, subject);
    setText16(record.mms_fld_extra_name, extra);

    const MMS_UTIL_DBStruct_T back = read(addCommitted(record));
    EXPECT_TRUE(sameRecord(record, back));
    EXPECT_EQ(text16(back.cmn_fld_from_name), from);
    EXPECT_EQ(text16(back.cmn_fld_to_name), to);
    EXPECT_EQ(text16(back.cmn_fld_subject), subject);
    EXPECT_EQ(text16(back.mms_fld_extra_name), extra);
}

TEST_F(DbTableSqliteTest, AddStoresNoAttachmentWhateverTheRecordSays)
{
    MMS_UTIL_DBStruct_T record = sampleRecord("uri");
    record.cmn_fld_contain_attachment = 1;

    const MMS_UTIL_DBStruct_T back = read(addCommitted(record));
    EXPECT_EQ(back.cmn_fld_contain_attachment, 0);
    MMS_UTIL_DBStruct_T expected = record;
    expected.cmn_fld_contain_attachment = 0;
    EXPECT_TRUE(sameRecord(expected, back));
}

TEST_F(DbTableSqliteTest, UpdateKeepsTheAttachmentFlagAndEveryOtherField)
{
    const unsigned id = addCommitted(sampleRecord("uri", 1));
    MMS_UTIL_DBStruct_T changed = sampleRecord("uri-changed", 2);
    changed.cmn_fld_contain_attachment = 1;

    ASSERT_EQ(MMS_UTIL_DBTable::update(id, changed), DB_OK);
    ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
    EXPECT_TRUE(sameRecord(changed, read(id)));
}

TEST_F(DbTableSqliteTest, UpdateOfAMissingIdFailsAndEndsItsTransaction)
{
    EXPECT_EQ(MMS_UTIL_DBTable::update(4242, sampleRecord("uri")), DB_ERR_NOT_FOUND);
    // The failed write left no transaction open: the next one begins.
    unsigned id = 0;
    EXPECT_EQ(MMS_UTIL_DBTable::add(sampleRecord("next"), &id), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
}

TEST_F(DbTableSqliteTest, CommittedRecordsStayAfterTheDatabaseIsReopened)
{
    const MMS_UTIL_DBStruct_T record = sampleRecord("uri-lasting");
    const unsigned id = addCommitted(record);

    reopen();
    EXPECT_TRUE(sameRecord(record, read(id)));
    EXPECT_EQ(find("uri-lasting"), id);
}

TEST_F(DbTableSqliteTest, OtherConnectionsSeeARecordOnlyOnceItIsCommitted)
{
    unsigned id = 0;
    ASSERT_EQ(MMS_UTIL_DBTable::add(sampleRecord("uri"), &id), DB_OK);
    EXPECT_EQ(rowCount(), 0);
    ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
    EXPECT_EQ(rowCount(), 1);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(DbTableSqliteTest, AbortDropsTheAddedRecord)
{
    unsigned id = 0;
    ASSERT_EQ(MMS_UTIL_DBTable::add(sampleRecord("uri-dropped"), &id), DB_OK);
    ASSERT_EQ(MMS_UTIL_DBTable::abortTxn(), DB_OK);

    MMS_UTIL_DBStruct_T record = zeroRecord();
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(id, &record), DB_ERR_NOT_FOUND);
    EXPECT_EQ(find("uri-dropped"), kNoRecord);
    EXPECT_EQ(rowCount(), 0);
}

TEST_F(DbTableSqliteTest, AbortKeepsARecordThatADeleteWouldHaveRemoved)
{
    const unsigned id = addCommitted(sampleRecord("uri"));
    ASSERT_EQ(MMS_UTIL_DBTable::del(id), DB_OK);
    ASSERT_EQ(MMS_UTIL_DBTable::abortTxn(), DB_OK);
    EXPECT_EQ(rowCount(), 1);
}

TEST_F(DbTableSqliteTest, DeleteRemovesTheRecordOnceCommitted)
{
    const unsigned id = addCommitted(sampleRecord("uri-deleted"));
    ASSERT_EQ(MMS_UTIL_DBTable::del(id), DB_OK);
    ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);

    MMS_UTIL_DBStruct_T record = zeroRecord();
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(id, &record), DB_ERR_NOT_FOUND);
    EXPECT_EQ(find("uri-deleted"), kNoRecord);
}

TEST_F(DbTableSqliteTest, DeleteOfAMissingIdGivesNotFound)
{
    EXPECT_EQ(MMS_UTIL_DBTable::del(999), DB_ERR_NOT_FOUND);
}

TEST_F(DbTableSqliteTest, IdsAreNeverGivenAgainAfterADelete)
{
    addCommitted(sampleRecord("a"));
    const unsigned last = addCommitted(sampleRecord("b"));
    ASSERT_EQ(MMS_UTIL_DBTable::del(last), DB_OK);
    ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
    reopen();

    EXPECT_GT(addCommitted(sampleRecord("c")), last);
}

TEST_F(DbTableSqliteTest, SecondWriteWhileTheTransactionIsOpenIsRefusedAndTheFirstKept)
{
    unsigned first = 0;
    ASSERT_EQ(MMS_UTIL_DBTable::add(sampleRecord("first"), &first), DB_OK);
    void* const open = MMS_UTIL_DBTable::mmsTxn;
    unsigned second = 0;
    EXPECT_EQ(MMS_UTIL_DBTable::add(sampleRecord("second"), &second), DB_ERR_TXN_ACTIVE);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, open);

    ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
    EXPECT_EQ(find("first"), first);
    EXPECT_EQ(find("second"), kNoRecord);
    EXPECT_EQ(rowCount(), 1);
}

TEST_F(DbTableSqliteTest, FindMsgUriWithNoMatchingRowGivesAllBitsSet)
{
    EXPECT_EQ(find("http://mmsc/none"), kNoRecord);
    addCommitted(sampleRecord("http://mmsc/other"));
    EXPECT_EQ(find("http://mmsc/none"), kNoRecord);
    EXPECT_EQ(find("http://mmsc/othe"), kNoRecord);
    EXPECT_EQ(find(""), kNoRecord);
}

TEST_F(DbTableSqliteTest, FindMsgUriGivesTheIdOfTheOneMatchingRow)
{
    addCommitted(sampleRecord("http://mmsc/a", 1));
    const unsigned id = addCommitted(sampleRecord("http://mmsc/b", 2));
    addCommitted(sampleRecord("http://mmsc/c", 3));

    EXPECT_EQ(find("http://mmsc/b"), id);
}

TEST_F(DbTableSqliteTest, FindMsgUriOfDuplicatesGivesTheLowestId)
{
    addCommitted(sampleRecord("http://mmsc/z", 1));
    const unsigned first = addCommitted(sampleRecord("http://mmsc/dup", 2));
    addCommitted(sampleRecord("http://mmsc/dup", 3));
    addCommitted(sampleRecord("http://mmsc/dup", 4));

    EXPECT_EQ(find("http://mmsc/dup"), first);
    ASSERT_EQ(MMS_UTIL_DBTable::del(first), DB_OK);
    ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
    EXPECT_EQ(find("http://mmsc/dup"), first + 1);
}

TEST_F(DbTableSqliteTest, FindMsgUriOfANullUriGivesAllBitsSet)
{
    addCommitted(sampleRecord(""));
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(nullptr), kNoRecord);
}

TEST_F(DbTableSqliteTest, FindMsgUriMatchesQuotesAndSemicolonsLiterally)
{
    const unsigned id = addCommitted(sampleRecord("http://x/'a';\"b\"--"));
    addCommitted(sampleRecord("http://x/a"));
    EXPECT_EQ(find("http://x/'a';\"b\"--"), id);
    EXPECT_EQ(find("http://x/' OR '1'='1"), kNoRecord);
}

TEST_F(DbTableSqliteTest, FindMsgUriMatchesAUriThatFillsItsWholeField)
{
    MMS_UTIL_DBStruct_T record = sampleRecord("");
    setText8(record.mms_fld_msguri_name, bytesOf(99));
    const unsigned id = addCommitted(record);
    EXPECT_EQ(find(bytesOf(99).constData()), id);
}

TEST_F(DbTableSqliteTest, ReadsWhileTheWriteTransactionIsOpenSeeItsUncommittedRow)
{
    const MMS_UTIL_DBStruct_T record = sampleRecord("http://mmsc/pending");
    unsigned id = 0;
    ASSERT_EQ(MMS_UTIL_DBTable::add(record, &id), DB_OK);
    void* const open = MMS_UTIL_DBTable::mmsTxn;

    MMS_UTIL_DBStruct_T back = zeroRecord();
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(id, &back), DB_OK);
    EXPECT_TRUE(sameRecord(record, back));
    EXPECT_EQ(find("http://mmsc/pending"), id);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, open);
    EXPECT_EQ(rowCount(), 0); // still not visible outside this process

    ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
    EXPECT_EQ(rowCount(), 1);
}

TEST_F(DbTableSqliteTest, WriteTransactionCanBeAbortedAfterReadsInsideIt)
{
    unsigned id = 0;
    ASSERT_EQ(MMS_UTIL_DBTable::add(sampleRecord("http://mmsc/pending"), &id), DB_OK);
    read(id);
    EXPECT_EQ(find("http://mmsc/pending"), id);

    ASSERT_EQ(MMS_UTIL_DBTable::abortTxn(), DB_OK);
    EXPECT_EQ(find("http://mmsc/pending"), kNoRecord);
    EXPECT_EQ(rowCount(), 0);
}

TEST_F(DbTableSqliteTest, ReadRecordOfAMissingIdLeavesTheRecordAllZero)
{
    addCommitted(sampleRecord("uri"));
    MMS_UTIL_DBStruct_T record;
    std::memset(static_cast<void*>(&record), 0xAB, sizeof record);

    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(777, &record), DB_ERR_NOT_FOUND);
    EXPECT_TRUE(sameRecord(zeroRecord(), record));
}

TEST_F(DbTableSqliteTest, ReadRecordClearsThePaddingAndUnboundBytes)
{
    const unsigned id = addCommitted(sampleRecord("uri"));
    MMS_UTIL_DBStruct_T record;
    std::memset(static_cast<void*>(&record), 0xAB, sizeof record);

    ASSERT_EQ(MMS_UTIL_DBTable::readRecord(id, &record), DB_OK);
    EXPECT_EQ(record.padding, 0);
    EXPECT_TRUE(sameRecord(sampleRecord("uri"), record));
}

TEST_F(DbTableSqliteTest, CloseTableEndsTheHandle)
{
    void* const handle = MMS_UTIL_DBTable::mmsTableHandle;
    EXPECT_EQ(MMS_UTIL_DBTable::closeTable(), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, nullptr);
    unsigned id = 0;
    MMS_UTIL_DBTable::setMmsTableHandle(handle);
    EXPECT_EQ(MMS_UTIL_DBTable::add(sampleRecord("uri"), &id), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(MMS_UTIL_DBTable::closeTable(), DB_ERR_INVALID_HANDLE);
}

TEST_F(DbTableSqliteTest, HandleSetByTheApplicationIsUsed)
{
    void* handle = nullptr;
    ASSERT_EQ(DB_TABLE_Open(DB_DB_GetNativeDB(), &handle, MMS_UTIL_DBTable::mmsTableName), DB_OK);
    ASSERT_EQ(MMS_UTIL_DBTable::closeTable(), DB_OK);

    MMS_UTIL_DBTable::setMmsTableHandle(handle);
    const unsigned id = addCommitted(sampleRecord("uri-own-handle"));
    EXPECT_EQ(find("uri-own-handle"), id);
}

// Before initTable the class-wide handle is null: every call must fail with a code, not crash, and
// leave no transaction behind.
class DbTableBeforeInitTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(temp.isValid()); }

    ScopedIndexTableState state;
    TempDatabase temp;
};

TEST_F(DbTableBeforeInitTest, WritesGiveNullHandle)
{
    unsigned id = 55;
    EXPECT_EQ(MMS_UTIL_DBTable::add(sampleRecord("uri"), &id), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(id, 55u);
    EXPECT_EQ(MMS_UTIL_DBTable::update(1, sampleRecord("uri")), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(MMS_UTIL_DBTable::del(1), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_F(DbTableBeforeInitTest, ReadsGiveTheirFailureResults)
{
    MMS_UTIL_DBStruct_T record = zeroRecord();
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(1, &record), DB_ERR_NULL_HANDLE);
    QByteArray uri("uri");
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri.data()), kNoRecord);
}

TEST_F(DbTableBeforeInitTest, EndingAndClosingGiveNullHandle)
{
    EXPECT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(MMS_UTIL_DBTable::abortTxn(), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(MMS_UTIL_DBTable::closeTable(), DB_ERR_NULL_HANDLE);
}

TEST_F(DbTableBeforeInitTest, TableWorksOnceInitTableRan)
{
    unsigned id = 0;
    MMS_UTIL_DBStruct_T record = zeroRecord();
    MMS_UTIL_DBTable::add(sampleRecord("uri"), &id);
    MMS_UTIL_DBTable::readRecord(1, &record);
    QByteArray uri("uri");
    MMS_UTIL_DBTable::findMsgURI(uri.data());
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);

    ASSERT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    ASSERT_EQ(MMS_UTIL_DBTable::add(sampleRecord("uri"), &id), DB_OK);
    ASSERT_EQ(MMS_UTIL_DBTable::commitTxn(), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri.data()), id);
}

TEST(DbTableUnopenableTest, InitTableReportsWhyTheDatabaseCannotBeOpened)
{
    const ScopedIndexTableState state;
    TempDatabase temp;
    ASSERT_TRUE(temp.isValid());
    QFile file(temp.path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(QByteArray(4096, 'x')), 4096);
    file.close();

    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_ERR_CORRUPT);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, nullptr);
    unsigned id = 0;
    EXPECT_EQ(MMS_UTIL_DBTable::add(sampleRecord("uri"), &id), DB_ERR_NULL_HANDLE);
}

} // namespace
