// The calls MMS_UTIL_DBTable makes into the device database, argument by argument and in order,
// when every call succeeds and when any one of them fails.

#include "mms_util_dbtable.h"
#include "support/mock_database.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>

using tavmms_test::MockDatabase;
using ::testing::AllOf;
using ::testing::Eq;
using ::testing::InSequence;
using ::testing::IsNull;
using ::testing::Ne;
using ::testing::NotNull;
using ::testing::Pointee;
using ::testing::Return;
using ::testing::StrEq;
using ::testing::StrictMock;

namespace
{

void* fakeHandle(std::uintptr_t value)
{
    return reinterpret_cast<void*>(value);
}

void* const kDb = fakeHandle(0x1001);
void* const kTable = fakeHandle(0x1002);
void* const kBind = fakeHandle(0x1003);
void* const kWriteTxn = fakeHandle(0x1004);
void* const kOwnTxn = fakeHandle(0x1005);
void* const kCursor = fakeHandle(0x1006);
void* const kTerm = fakeHandle(0x1007);
void* const kEarlierTxn = fakeHandle(0x1008);

const unsigned int kRowId = 42;
const unsigned int kNewId = 7;
const unsigned int kNoRow = 0xffffffffu;
const char kTableName[] = "mms_table_in_flash";
const char kUriField[] = "mms_fld_msguri_name";

void** tableHandleLocation()
{
    return &MMS_UTIL_DBTable::mmsTableHandle;
}

void** writeTxnLocation()
{
    return &MMS_UTIL_DBTable::mmsTxn;
}

// An action that returns `result` and, only when that is success, stores `value` through the
// call's argument `index`, as the database fills its output locations.
template <std::size_t index, typename Value> auto fillOnSuccess(Value value, int result)
{
    return [value, result](auto... args) {
        if (result == DB_OK)
            *std::get<index>(std::make_tuple(args...)) = value;
        return result;
    };
}

// A record with every field set (bytes 1, 2, 3, ... wrapping), claiming an attachment.
MMS_UTIL_DBStruct_T sampleRecord()
{
    MMS_UTIL_DBStruct_T record;
    auto* bytes = reinterpret_cast<unsigned char*>(&record);
    for (std::size_t i = 0; i < sizeof record; ++i)
        bytes[i] = static_cast<unsigned char>(i % 255 + 1);
    record.cmn_fld_contain_attachment = 1;
    return record;
}

// What a caller's buffer held before a read: every byte 0xAA.
MMS_UTIL_DBStruct_T staleRecord()
{
    MMS_UTIL_DBStruct_T record;
    std::memset(static_cast<void*>(&record), 0xaa, sizeof record);
    return record;
}

MMS_UTIL_DBStruct_T withoutAttachment(MMS_UTIL_DBStruct_T record)
{
    record.cmn_fld_contain_attachment = 0;
    return record;
}

bool sameBytes(const void* a, const MMS_UTIL_DBStruct_T& b)
{
    return std::memcmp(a, &b, sizeof b) == 0;
}

bool isAllZero(const MMS_UTIL_DBStruct_T& record)
{
    return sameBytes(&record, MMS_UTIL_DBStruct_T{});
}

MATCHER_P(PointsToRecord, expected, "points to a record with the expected 672 bytes")
{
    return arg && sameBytes(arg, expected);
}

class MMS_UTIL_DBTableCalls : public ::testing::Test
{
protected:
    MMS_UTIL_DBTableCalls() { resetClassData(); }
    ~MMS_UTIL_DBTableCalls() override { resetClassData(); }

    static void resetClassData()
    {
        MMS_UTIL_DBTable::mmsTableHandle = nullptr;
        MMS_UTIL_DBTable::mmsTxn = nullptr;
    }

    // initTable: each database call is preceded by its own DB_DB_GetNativeDB.
    void expectTableExists(int answer, void* database = kDb)
    {
        EXPECT_CALL(db, getNativeDB()).WillOnce(Return(database));
        EXPECT_CALL(db, checkTableExist(database, StrEq(kTableName))).WillOnce(Return(answer));
    }
    void expectCreate(int result, void* database = kDb)
    {
        EXPECT_CALL(db, getNativeDB()).WillOnce(Return(database));
        EXPECT_CALL(db, tableCreate(database, StrEq(kTableName), Eq(MMS_UTIL_DBSCHEMA)))
            .WillOnce(Return(result));
    }
    void expectOpen(int result, void* database = kDb)
    {
        EXPECT_CALL(db, getNativeDB()).WillOnce(Return(database));
        EXPECT_CALL(db, tableOpen(database, Eq(tableHandleLocation()), StrEq(kTableName)))
            .WillOnce(fillOnSuccess<1>(kTable, result));
    }

    // Calls shared by several operations.
    void expectBindToTable(int result = DB_OK)
    {
        EXPECT_CALL(db, bindToTable(kTable, Eq(&MMS_UTIL_DBGetBinding), NotNull()))
            .WillOnce(fillOnSuccess<2>(kBind, result));
    }
    void expectCloseBind(void* bind = kBind, int result = DB_OK)
    {
        EXPECT_CALL(db, closeBind(bind)).WillOnce(Return(result));
    }
    void expectCommit(void* txn, int result = DB_OK)
    {
        EXPECT_CALL(db, txnCommit(txn)).WillOnce(Return(result));
    }
    void expectAbort(void* txn, int result = DB_OK)
    {
        EXPECT_CALL(db, txnAbort(txn)).WillOnce(Return(result));
    }

    // The write transaction goes into mmsTxn itself, with flags 0.
    void expectWriteBegin(int result = DB_OK)
    {
        EXPECT_CALL(db, txnBegin(Eq(writeTxnLocation()), 0))
            .WillOnce(fillOnSuccess<0>(kWriteTxn, result));
    }
    // readRecord and findMsgURI begin a transaction of their own: a location other than mmsTxn,
    // holding no transaction yet.
    void expectOwnBegin(int result = DB_OK)
    {
        EXPECT_CALL(db, txnBegin(AllOf(NotNull(), Ne(writeTxnLocation()), Pointee(IsNull())), 0))
            .WillOnce(fillOnSuccess<0>(kOwnTxn, result));
    }

    StrictMock<MockDatabase> db;
    tavplatform::ScopedDatabaseService installed{&db};
    InSequence inOrder;
};

// The operations that need an opened table.
class MMS_UTIL_DBTableOpenCalls : public MMS_UTIL_DBTableCalls
{
protected:
    MMS_UTIL_DBTableOpenCalls() { MMS_UTIL_DBTable::mmsTableHandle = kTable; }

    // readRecord: its own transaction, then the bind.
    void expectReadBound()
    {
        expectOwnBegin();
        expectBindToTable();
    }
    void expectFetch(MMS_UTIL_DBStruct_T* into, int result = DB_OK)
    {
        EXPECT_CALL(db, tableFetchRecord(kOwnTxn, kTable, kRowId, Eq(static_cast<void*>(into)),
                                         672u, kBind))
            .WillOnce([this, result](void*, void*, unsigned int, void* record, unsigned int,
                                     void*) {
                recordWasClearedBeforeFetch = isAllZero(*static_cast<MMS_UTIL_DBStruct_T*>(record));
                if (result == DB_OK)
                    *static_cast<MMS_UTIL_DBStruct_T*>(record) = sampleRecord();
                return result;
            });
    }

    // findMsgURI, up to and including the lookup of the current record.
    void expectCursorOpen(int result = DB_OK)
    {
        EXPECT_CALL(db,
                    cursorOpen(kOwnTxn, Eq(tableHandleLocation()), 1, StrEq(kUriField), NotNull()))
            .WillOnce(fillOnSuccess<4>(kCursor, result));
    }
    void expectBindToCursor(int result = DB_OK)
    {
        EXPECT_CALL(db, bindToCursor(kCursor, Eq(&MMS_UTIL_DBGetBinding), NotNull()))
            .WillOnce(fillOnSuccess<2>(kBind, result));
    }
    void expectTerm(void* term = kTerm, int equalResult = DB_OK)
    {
        EXPECT_CALL(db, termOpen()).WillOnce(Return(term));
        EXPECT_CALL(db, termCharEqual(term, StrEq(kUriField), StrEq(uri)))
            .WillOnce(Return(equalResult));
    }
    void expectLocate(int result = DB_OK)
    {
        EXPECT_CALL(db, cursorLocate(kCursor, kTerm)).WillOnce(Return(result));
    }
    void expectCurrentRecordInfo(int result = DB_OK)
    {
        EXPECT_CALL(db, cursorGetCurrentRecordInfo(kCursor, NotNull(), Eq(tableHandleLocation())))
            .WillOnce(fillOnSuccess<1>(kRowId, result));
    }
    // The transaction, the cursor and its bind, all given.
    void expectCursorBound()
    {
        expectOwnBegin();
        expectCursorOpen();
        expectBindToCursor();
    }
    // Everything up to a successful DB_CURSOR_Locate.
    void expectLocated()
    {
        expectCursorBound();
        expectTerm();
        expectLocate();
    }
    // The releases after the term was opened: term, bind, cursor, in that order.
    void expectLookupReleased(void* term = kTerm, int result = DB_OK)
    {
        EXPECT_CALL(db, termClose(term)).WillOnce(Return(result));
        expectCloseBind(kBind, result);
        EXPECT_CALL(db, cursorClose(kCursor)).WillOnce(Return(result));
    }

    char uri[32] = "http://mmsc.example/m/1";
    bool recordWasClearedBeforeFetch = false;
};

// initTable

TEST_F(MMS_UTIL_DBTableCalls, InitTableCreatesAMissingTableThenOpensIt)
{
    expectTableExists(0);
    expectCreate(DB_OK);
    expectOpen(DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, kTable);
}

TEST_F(MMS_UTIL_DBTableCalls, InitTableOpensAnExistingTableWithoutCreatingIt)
{
    expectTableExists(1);
    expectOpen(DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, kTable);
}

TEST_F(MMS_UTIL_DBTableCalls, InitTableTakesAnyNonZeroAnswerAsAnExistingTable)
{
    expectTableExists(-3);
    expectOpen(DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
}

TEST_F(MMS_UTIL_DBTableCalls, InitTableOpensEvenWhenCreatingFails)
{
    expectTableExists(0);
    expectCreate(DB_ERR_DISK_FULL);
    expectOpen(DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, kTable);
}

TEST_F(MMS_UTIL_DBTableCalls, InitTableReturnsTheOpenError)
{
    expectTableExists(0);
    expectCreate(DB_ERR_DISK_FULL);
    expectOpen(DB_ERR_NO_TABLE);
    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_ERR_NO_TABLE);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, nullptr);
}

TEST_F(MMS_UTIL_DBTableCalls, InitTableHandsANullDatabaseOnAndReturnsTheOpenError)
{
    expectTableExists(0, nullptr);
    expectCreate(DB_ERR_NULL_HANDLE, nullptr);
    expectOpen(DB_ERR_NULL_HANDLE, nullptr);
    EXPECT_EQ(MMS_UTIL_DBTable::initTable(), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, nullptr);
}

// closeTable and setMmsTableHandle

TEST_F(MMS_UTIL_DBTableOpenCalls, CloseTableClosesTheHandleAndForgetsIt)
{
    EXPECT_CALL(db, tableClose(kTable)).WillOnce(Return(DB_OK));
    EXPECT_EQ(MMS_UTIL_DBTable::closeTable(), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, nullptr);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, CloseTableKeepsTheHandleWhenClosingFails)
{
    EXPECT_CALL(db, tableClose(kTable)).WillOnce(Return(DB_ERR_INVALID_HANDLE));
    EXPECT_EQ(MMS_UTIL_DBTable::closeTable(), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, kTable);
}

TEST_F(MMS_UTIL_DBTableCalls, SetMmsTableHandleMakesNoCallAndLaterCallsUseTheHandle)
{
    void* const own = fakeHandle(0x2001);
    MMS_UTIL_DBTable::setMmsTableHandle(own);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTableHandle, own);
    EXPECT_CALL(db, tableClose(own)).WillOnce(Return(DB_OK));
    EXPECT_EQ(MMS_UTIL_DBTable::closeTable(), DB_OK);
}

// add, update, del: one sequence, each with its own table call.

struct WriteOperation {
    const char* name;
    // Expects the operation's table call, which gives `result`.
    void (*expectTableCall)(MockDatabase& db, int result);
    int (*run)();
};

// Where add() is told to store the new id.
unsigned int addedId;

const WriteOperation kWrites[] = {
    {"add",
     [](MockDatabase& db, int result) {
         // Whatever the caller gave, a new row never claims an attachment.
         EXPECT_CALL(db, tableInsert(kWriteTxn, kTable,
                                     PointsToRecord(withoutAttachment(sampleRecord())), kBind,
                                     &addedId))
             .WillOnce(fillOnSuccess<4>(kNewId, result));
     },
     [] { return MMS_UTIL_DBTable::add(sampleRecord(), &addedId); }},
    {"update",
     [](MockDatabase& db, int result) {
         EXPECT_CALL(db,
                     tableUpdate(kWriteTxn, kTable, kRowId, PointsToRecord(sampleRecord()), kBind))
             .WillOnce(Return(result));
     },
     [] { return MMS_UTIL_DBTable::update(kRowId, sampleRecord()); }},
    {"del",
     [](MockDatabase& db, int result) {
         EXPECT_CALL(db, tableDelete(kWriteTxn, kTable, kRowId)).WillOnce(Return(result));
     },
     [] { return MMS_UTIL_DBTable::del(kRowId); }},
};

class MMS_UTIL_DBTableWrite : public MMS_UTIL_DBTableOpenCalls,
                              public ::testing::WithParamInterface<WriteOperation>
{
protected:
    void expectTableCall(int result = DB_OK) { GetParam().expectTableCall(db, result); }
    int run() { return GetParam().run(); }
};

TEST_P(MMS_UTIL_DBTableWrite, BindsBeginsCallsReleasesAndLeavesTheTransactionOpen)
{
    expectBindToTable();
    expectWriteBegin();
    expectTableCall();
    expectCloseBind();
    EXPECT_EQ(run(), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, kWriteTxn);
}

TEST_P(MMS_UTIL_DBTableWrite, ReturnsTheBindErrorWithoutFurtherCalls)
{
    expectBindToTable(DB_ERR_BIND_MISMATCH);
    EXPECT_EQ(run(), DB_ERR_BIND_MISMATCH);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_P(MMS_UTIL_DBTableWrite, ReleasesTheBindWhenTheTransactionCannotBegin)
{
    expectBindToTable();
    expectWriteBegin(DB_ERR_BUSY);
    expectCloseBind();
    EXPECT_EQ(run(), DB_ERR_BUSY);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_P(MMS_UTIL_DBTableWrite, KeepsAnUncommittedTransactionWhenBeginIsRefused)
{
    MMS_UTIL_DBTable::mmsTxn = kEarlierTxn;
    expectBindToTable();
    expectWriteBegin(DB_ERR_TXN_ACTIVE);
    expectCloseBind();
    EXPECT_EQ(run(), DB_ERR_TXN_ACTIVE);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, kEarlierTxn);
}

TEST_P(MMS_UTIL_DBTableWrite, ReleasesTheBindAndAbortsWhenTheTableCallFails)
{
    expectBindToTable();
    expectWriteBegin();
    expectTableCall(DB_ERR_DISK_FULL);
    expectCloseBind();
    expectAbort(kWriteTxn);
    EXPECT_EQ(run(), DB_ERR_DISK_FULL);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_P(MMS_UTIL_DBTableWrite, AbortsWhenReleasingTheBindFails)
{
    expectBindToTable();
    expectWriteBegin();
    expectTableCall();
    expectCloseBind(kBind, DB_ERR_INVALID_HANDLE);
    expectAbort(kWriteTxn);
    EXPECT_EQ(run(), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_P(MMS_UTIL_DBTableWrite, ReturnsTheTableCallErrorWhenTheCleanupFailsToo)
{
    expectBindToTable();
    expectWriteBegin();
    expectTableCall(DB_ERR_IO);
    expectCloseBind(kBind, DB_ERR_INTERNAL);
    expectAbort(kWriteTxn, DB_ERR_BUSY);
    EXPECT_EQ(run(), DB_ERR_IO);
    // The abort failed, so the transaction is still there for abortTxn() to end.
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, kWriteTxn);
}

INSTANTIATE_TEST_SUITE_P(AddUpdateDel, MMS_UTIL_DBTableWrite, ::testing::ValuesIn(kWrites),
                         [](const ::testing::TestParamInfo<WriteOperation>& info) {
                             return std::string(info.param.name);
                         });

TEST_F(MMS_UTIL_DBTableOpenCalls, AddStoresTheNewIdAndAZeroAttachmentFlag)
{
    unsigned int id = 0;
    unsigned short storedAttachment = 0xffff;
    expectBindToTable();
    expectWriteBegin();
    EXPECT_CALL(db, tableInsert(kWriteTxn, kTable, NotNull(), kBind, &id))
        .WillOnce([&](void*, void*, void* inserted, void*, unsigned int* newId) {
            storedAttachment =
                static_cast<MMS_UTIL_DBStruct_T*>(inserted)->cmn_fld_contain_attachment;
            *newId = kNewId;
            return DB_OK;
        });
    expectCloseBind();
    EXPECT_EQ(MMS_UTIL_DBTable::add(sampleRecord(), &id), DB_OK);
    EXPECT_EQ(id, kNewId);
    EXPECT_EQ(storedAttachment, 0);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, UpdateKeepsTheAttachmentFlag)
{
    unsigned short storedAttachment = 0;
    expectBindToTable();
    expectWriteBegin();
    EXPECT_CALL(db, tableUpdate(kWriteTxn, kTable, kRowId, NotNull(), kBind))
        .WillOnce([&](void*, void*, unsigned int, void* updated, void*) {
            storedAttachment =
                static_cast<MMS_UTIL_DBStruct_T*>(updated)->cmn_fld_contain_attachment;
            return DB_OK;
        });
    expectCloseBind();
    EXPECT_EQ(MMS_UTIL_DBTable::update(kRowId, sampleRecord()), DB_OK);
    EXPECT_EQ(storedAttachment, 1);
}

// commitTxn and abortTxn

struct TxnEnd {
    const char* name;
    void (*expectEnd)(MockDatabase& db, int result);
    int (*run)();
};

const TxnEnd kTxnEnds[] = {
    {"commitTxn",
     [](MockDatabase& db, int result) {
         EXPECT_CALL(db, txnCommit(kWriteTxn)).WillOnce(Return(result));
     },
     &MMS_UTIL_DBTable::commitTxn},
    {"abortTxn",
     [](MockDatabase& db, int result) {
         EXPECT_CALL(db, txnAbort(kWriteTxn)).WillOnce(Return(result));
     },
     &MMS_UTIL_DBTable::abortTxn},
};

class MMS_UTIL_DBTableTxnEnd : public MMS_UTIL_DBTableOpenCalls,
                               public ::testing::WithParamInterface<TxnEnd>
{
protected:
    MMS_UTIL_DBTableTxnEnd() { MMS_UTIL_DBTable::mmsTxn = kWriteTxn; }
};

TEST_P(MMS_UTIL_DBTableTxnEnd, EndsTheWriteTransactionAndForgetsIt)
{
    GetParam().expectEnd(db, DB_OK);
    EXPECT_EQ(GetParam().run(), DB_OK);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, nullptr);
}

TEST_P(MMS_UTIL_DBTableTxnEnd, KeepsTheTransactionWhenEndingItFails)
{
    GetParam().expectEnd(db, DB_ERR_BUSY);
    EXPECT_EQ(GetParam().run(), DB_ERR_BUSY);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, kWriteTxn);
}

INSTANTIATE_TEST_SUITE_P(CommitAbort, MMS_UTIL_DBTableTxnEnd, ::testing::ValuesIn(kTxnEnds),
                         [](const ::testing::TestParamInfo<TxnEnd>& info) {
                             return std::string(info.param.name);
                         });

// readRecord

TEST_F(MMS_UTIL_DBTableOpenCalls, ReadRecordFetchesInATransactionOfItsOwn)
{
    MMS_UTIL_DBTable::mmsTxn = kEarlierTxn; // an uncommitted write: untouched by the read
    MMS_UTIL_DBStruct_T record = staleRecord();
    expectReadBound();
    expectFetch(&record);
    expectCloseBind();
    expectCommit(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(kRowId, &record), DB_OK);
    EXPECT_TRUE(recordWasClearedBeforeFetch);
    EXPECT_TRUE(sameBytes(&record, sampleRecord()));
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, kEarlierTxn);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, ReadRecordReturnsTheBeginErrorWithoutFurtherCalls)
{
    MMS_UTIL_DBStruct_T record{};
    expectOwnBegin(DB_ERR_BUSY);
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(kRowId, &record), DB_ERR_BUSY);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, ReadRecordAbortsItsTransactionWhenBindingFails)
{
    MMS_UTIL_DBStruct_T record{};
    expectOwnBegin();
    expectBindToTable(DB_ERR_BIND_MISMATCH);
    expectAbort(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(kRowId, &record), DB_ERR_BIND_MISMATCH);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, ReadRecordOfAMissingIdReturnsTheCodeAndLeavesTheRecordZero)
{
    MMS_UTIL_DBStruct_T record = staleRecord();
    expectReadBound();
    expectFetch(&record, DB_ERR_NOT_FOUND);
    expectCloseBind();
    expectAbort(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(kRowId, &record), DB_ERR_NOT_FOUND);
    EXPECT_TRUE(isAllZero(record));
}

TEST_F(MMS_UTIL_DBTableOpenCalls, ReadRecordReturnsTheFetchErrorWhenTheCleanupFailsToo)
{
    MMS_UTIL_DBStruct_T record{};
    expectReadBound();
    expectFetch(&record, DB_ERR_CORRUPT);
    expectCloseBind(kBind, DB_ERR_INTERNAL);
    expectAbort(kOwnTxn, DB_ERR_IO);
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(kRowId, &record), DB_ERR_CORRUPT);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, ReadRecordAbortsWhenReleasingTheBindFails)
{
    MMS_UTIL_DBStruct_T record{};
    expectReadBound();
    expectFetch(&record);
    expectCloseBind(kBind, DB_ERR_INVALID_HANDLE);
    expectAbort(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(kRowId, &record), DB_ERR_INVALID_HANDLE);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, ReadRecordReturnsTheCommitResult)
{
    MMS_UTIL_DBStruct_T record{};
    expectReadBound();
    expectFetch(&record);
    expectCloseBind();
    expectCommit(kOwnTxn, DB_ERR_BUSY);
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(kRowId, &record), DB_ERR_BUSY);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, ReadRecordIntoNoRecordMakesNoCall)
{
    EXPECT_EQ(MMS_UTIL_DBTable::readRecord(kRowId, nullptr), DB_ERR_NULL_HANDLE);
}

// findMsgURI

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIOfANullUriMakesNoCall)
{
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(nullptr), kNoRow);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIReturnsTheIdOfTheLocatedRow)
{
    MMS_UTIL_DBTable::mmsTxn = kEarlierTxn; // an uncommitted write: untouched by the lookup
    expectLocated();
    expectCurrentRecordInfo();
    expectLookupReleased();
    expectCommit(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri), kRowId);
    EXPECT_EQ(MMS_UTIL_DBTable::mmsTxn, kEarlierTxn);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIAbortsWhenTheTransactionCannotBegin)
{
    expectOwnBegin(DB_ERR_BUSY);
    expectAbort(nullptr, DB_ERR_NULL_HANDLE); // the location was never filled
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri), kNoRow);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIClosesTheCursorThenAbortsWhenOpeningItFails)
{
    expectOwnBegin();
    expectCursorOpen(DB_ERR_NO_FIELD);
    EXPECT_CALL(db, cursorClose(nullptr)).WillOnce(Return(DB_ERR_NULL_HANDLE));
    expectAbort(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri), kNoRow);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIClosesCursorThenBindThenAbortsWhenBindingFails)
{
    expectOwnBegin();
    expectCursorOpen();
    expectBindToCursor(DB_ERR_BIND_MISMATCH);
    EXPECT_CALL(db, cursorClose(kCursor)).WillOnce(Return(DB_OK));
    expectCloseBind(nullptr, DB_ERR_NULL_HANDLE);
    expectAbort(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri), kNoRow);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIReleasesAndAbortsWhenNoTermCanBeOpened)
{
    expectCursorBound();
    expectTerm(nullptr, DB_ERR_NULL_HANDLE);
    expectLookupReleased(nullptr);
    expectAbort(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri), kNoRow);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIReleasesAndAbortsWhenTheConditionFails)
{
    expectCursorBound();
    expectTerm(kTerm, DB_ERR_NO_FIELD);
    expectLookupReleased();
    expectAbort(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri), kNoRow);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIReleasesAndAbortsWhenNoRowHoldsTheUri)
{
    expectCursorBound();
    expectTerm();
    expectLocate(DB_ERR_NOT_FOUND);
    expectLookupReleased();
    expectAbort(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri), kNoRow);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIReleasesAndAbortsWhenTheRowIdCannotBeRead)
{
    expectLocated();
    expectCurrentRecordInfo(DB_ERR_IO);
    expectLookupReleased();
    expectAbort(kOwnTxn);
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri), kNoRow);
}

TEST_F(MMS_UTIL_DBTableOpenCalls, FindMsgURIKeepsTheFoundIdWhenReleasingOrCommittingFails)
{
    expectLocated();
    expectCurrentRecordInfo();
    expectLookupReleased(kTerm, DB_ERR_INVALID_HANDLE);
    expectCommit(kOwnTxn, DB_ERR_BUSY);
    EXPECT_EQ(MMS_UTIL_DBTable::findMsgURI(uri), kRowId);
}

} // namespace
