// The DB_* functions over an installed database service: they give what the service gives, and
// turn whatever it throws into a result code, leaving the caller's handle and id outputs alone.

#include "db_service.h"
#include "device_db_api.h"

#include "support/mock_database.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using tavmms_test::MockDatabase;
using testing::_;
using testing::IsNull;
using testing::Pointee;
using testing::Return;
using testing::StrictMock;

// Handles the tests hand over; the database never sees them as anything but values.
void* const kDb = reinterpret_cast<void*>(0xdb);
void* const kTable = reinterpret_cast<void*>(0x7ab);
void* const kTxn = reinterpret_cast<void*>(0x7c);
void* const kCursor = reinterpret_cast<void*>(0xc5);
void* const kTerm = reinterpret_cast<void*>(0x7e);
void* const kRecord = reinterpret_cast<void*>(0x4ec);
void* const kBind = reinterpret_cast<void*>(0xb1);
const unsigned kId = 77;

// What the caller's output locations hold before a call, and what the service writes into them.
void* const kUntouched = reinterpret_cast<void*>(0x01d);
const unsigned kUntouchedId = 1234;
void* const kWritten = reinterpret_cast<void*>(0x2e0);
const unsigned kWrittenId = 4321;

// What the service answers when it does not throw: a code no function gives by itself.
const int kAnswer = 4242;

const DB_BIND_T* noBinding(unsigned int* count)
{
    *count = 0;
    return nullptr;
}

const DB_SCHEMA_T kSchema[1] = {};

// The service's answer: `error` thrown, else kAnswer (kWritten from the methods that give a
// pointer).
template <typename R> R answer(const std::exception_ptr& error)
{
    if (error)
        std::rethrow_exception(error);
    if constexpr (std::is_pointer_v<R>)
        return kWritten;
    else
        return kAnswer;
}

// The caller's output locations.
struct Outputs {
    void* handle = kUntouched;
    unsigned id = kUntouchedId;
};

// The output location a function writes.
enum class Output { None, Handle, Id };
// What a function gives: a result code, a pointer, or a yes/no.
enum class Gives { Code, Pointer, YesNo };

// One DB_* function: the one service call it makes, which writes kWritten / kWrittenId through
// its output location before answering, and the call itself, with its result as an integer (0 for
// a null pointer).
struct Forwarder {
    std::string name;
    std::function<void(MockDatabase&, const std::exception_ptr&)> expect;
    std::function<long long(Outputs&)> call;
    Output writes = Output::None;
    Gives gives = Gives::Code;
};

long long pointerResult(void* p)
{
    return static_cast<long long>(reinterpret_cast<std::uintptr_t>(p));
}

std::vector<Forwarder> forwarders()
{
    using E = const std::exception_ptr&;
    return {
        {"GetNativeDB",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, getNativeDB()).WillOnce([e] { return answer<void*>(e); });
         },
         [](Outputs&) { return pointerResult(DB_DB_GetNativeDB()); }, Output::None, Gives::Pointer},
        {"CheckTableExist",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, checkTableExist(kDb, testing::StrEq("notes")))
                 .WillOnce([e](void*, const char*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_DB_CheckTableExist(kDb, "notes"); }, Output::None, Gives::YesNo},
        {"TableCreate",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, tableCreate(kDb, testing::StrEq("notes"), kSchema))
                 .WillOnce([e](void*, const char*, const DB_SCHEMA_T*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_TABLE_Create(kDb, "notes", kSchema); }},
        {"TableOpen",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, tableOpen(kDb, Pointee(kUntouched), testing::StrEq("notes")))
                 .WillOnce([e](void*, void** table, const char*) {
                     *table = kWritten;
                     return answer<int>(e);
                 });
         },
         [](Outputs& o) { return DB_TABLE_Open(kDb, &o.handle, "notes"); }, Output::Handle},
        {"TableClose",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, tableClose(kTable)).WillOnce([e](void*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_TABLE_Close(kTable); }},
        {"BindToTable",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, bindToTable(kTable, &noBinding, Pointee(kUntouched)))
                 .WillOnce([e](void*, DB_BIND_FUNC_T, void** handle) {
                     *handle = kWritten;
                     return answer<int>(e);
                 });
         },
         [](Outputs& o) { return DB_STRUCT_BindToTable(kTable, &noBinding, &o.handle); },
         Output::Handle},
        {"BindToCursor",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, bindToCursor(kCursor, &noBinding, Pointee(kUntouched)))
                 .WillOnce([e](void*, DB_BIND_FUNC_T, void** handle) {
                     *handle = kWritten;
                     return answer<int>(e);
                 });
         },
         [](Outputs& o) { return DB_STRUCT_BindToCursor(kCursor, &noBinding, &o.handle); },
         Output::Handle},
        {"CloseBind",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, closeBind(kBind)).WillOnce([e](void*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_STRUCT_CloseBind(kBind); }},
        {"TxnBegin",
         [](MockDatabase& m, E e) {
             // The service reads the location too: it refuses one holding an open transaction.
             EXPECT_CALL(m, txnBegin(Pointee(kUntouched), 0)).WillOnce([e](void** txn, int) {
                 *txn = kWritten;
                 return answer<int>(e);
             });
         },
         [](Outputs& o) { return DB_TXN_Begin(&o.handle, 0); }, Output::Handle},
        {"TxnCommit",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, txnCommit(kTxn)).WillOnce([e](void*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_TXN_Commit(kTxn); }},
        {"TxnAbort",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, txnAbort(kTxn)).WillOnce([e](void*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_TXN_Abort(kTxn); }},
        {"TableInsert",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, tableInsert(kTxn, kTable, kRecord, kBind, Pointee(kUntouchedId)))
                 .WillOnce([e](void*, void*, void*, void*, unsigned* id) {
                     *id = kWrittenId;
                     return answer<int>(e);
                 });
         },
         [](Outputs& o) { return DB_TABLE_Insert(kTxn, kTable, kRecord, kBind, &o.id); },
         Output::Id},
        {"TableUpdate",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, tableUpdate(kTxn, kTable, kId, kRecord, kBind))
                 .WillOnce([e](void*, void*, unsigned, void*, void*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_TABLE_Update(kTxn, kTable, kId, kRecord, kBind); }},
        {"TableDelete",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, tableDelete(kTxn, kTable, kId)).WillOnce([e](void*, void*, unsigned) {
                 return answer<int>(e);
             });
         },
         [](Outputs&) { return DB_TABLE_Delete(kTxn, kTable, kId); }},
        {"TableFetchRecord",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, tableFetchRecord(kTxn, kTable, kId, kRecord, 16u, kBind))
                 .WillOnce([e](void*, void*, unsigned, void*, unsigned, void*) {
                     return answer<int>(e);
                 });
         },
         [](Outputs&) { return DB_TABLE_FetchRecord(kTxn, kTable, kId, kRecord, 16, kBind); }},
        {"CursorOpen",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, cursorOpen(kTxn, Pointee(kTable), DB_CURSOR_ASCENDING,
                                       testing::StrEq("id"), Pointee(kUntouched)))
                 .WillOnce([e](void*, void**, int, const char*, void** cursor) {
                     *cursor = kWritten;
                     return answer<int>(e);
                 });
         },
         [](Outputs& o) {
             void* table = kTable;
             return DB_CURSOR_Open(kTxn, &table, DB_CURSOR_ASCENDING, "id", &o.handle);
         },
         Output::Handle},
        {"CursorClose",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, cursorClose(kCursor)).WillOnce([e](void*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_CURSOR_Close(kCursor); }},
        {"CursorLocate",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, cursorLocate(kCursor, kTerm)).WillOnce([e](void*, void*) {
                 return answer<int>(e);
             });
         },
         [](Outputs&) { return DB_CURSOR_Locate(kCursor, kTerm); }},
        {"CursorMoveFirst",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, cursorMoveFirst(kCursor)).WillOnce([e](void*) {
                 return answer<int>(e);
             });
         },
         [](Outputs&) { return DB_CURSOR_MoveFirst(kCursor); }},
        {"CursorMoveNext",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, cursorMoveNext(kCursor)).WillOnce([e](void*) {
                 return answer<int>(e);
             });
         },
         [](Outputs&) { return DB_CURSOR_MoveNext(kCursor); }},
        {"CursorGetCurrentRecordInfo",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(
                 m, cursorGetCurrentRecordInfo(kCursor, Pointee(kUntouchedId), Pointee(kTable)))
                 .WillOnce([e](void*, unsigned* id, void**) {
                     *id = kWrittenId;
                     return answer<int>(e);
                 });
         },
         [](Outputs& o) {
             void* table = kTable;
             return DB_CURSOR_GetCurrentRecordInfo(kCursor, &o.id, &table);
         },
         Output::Id},
        {"TermOpen",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, termOpen()).WillOnce([e] { return answer<void*>(e); });
         },
         [](Outputs&) { return pointerResult(DB_TERM_Open()); }, Output::None, Gives::Pointer},
        {"TermCharEqual",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, termCharEqual(kTerm, testing::StrEq("code"), testing::StrEq("A1")))
                 .WillOnce([e](void*, const char*, const char*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_TERM_CHAR_Equal(kTerm, "code", "A1"); }},
        {"TermClose",
         [](MockDatabase& m, E e) {
             EXPECT_CALL(m, termClose(kTerm)).WillOnce([e](void*) { return answer<int>(e); });
         },
         [](Outputs&) { return DB_TERM_Close(kTerm); }},
    };
}

class DatabaseForwarderTest : public testing::TestWithParam<Forwarder>
{
protected:
    // Calls the function with the strict double installed, the service answering or throwing
    // `error`.
    long long callWith(const std::exception_ptr& error)
    {
        GetParam().expect(service, error);
        return GetParam().call(outputs);
    }

    StrictMock<MockDatabase> service;
    const tavplatform::ScopedDatabaseService installed{&service};
    Outputs outputs;
};

TEST_P(DatabaseForwarderTest, GivesTheServicesAnswerAndWhatItWrote)
{
    const Forwarder& f = GetParam();
    EXPECT_EQ(callWith(nullptr), f.gives == Gives::Pointer ? pointerResult(kWritten) : kAnswer);
    EXPECT_EQ(outputs.handle, f.writes == Output::Handle ? kWritten : kUntouched);
    EXPECT_EQ(outputs.id, f.writes == Output::Id ? kWrittenId : kUntouchedId);
}

TEST_P(DatabaseForwarderTest, FailedAllocationGivesNoMemoryAndLeavesOutputsAlone)
{
    EXPECT_EQ(callWith(std::make_exception_ptr(std::bad_alloc())),
              GetParam().gives == Gives::Code ? DB_ERR_NO_MEMORY : 0);
    EXPECT_EQ(outputs.handle, kUntouched);
    EXPECT_EQ(outputs.id, kUntouchedId);
}

TEST_P(DatabaseForwarderTest, OtherExceptionGivesInternalAndLeavesOutputsAlone)
{
    EXPECT_EQ(callWith(std::make_exception_ptr(std::runtime_error("engine gone"))),
              GetParam().gives == Gives::Code ? DB_ERR_INTERNAL : 0);
    EXPECT_EQ(outputs.handle, kUntouched);
    EXPECT_EQ(outputs.id, kUntouchedId);
}

INSTANTIATE_TEST_SUITE_P(EveryFunction, DatabaseForwarderTest, testing::ValuesIn(forwarders()),
                         [](const testing::TestParamInfo<Forwarder>& info) {
                             return info.param.name;
                         });

TEST(DatabaseForwarderNullTest, NullOutputLocationReachesTheServiceAsNull)
{
    StrictMock<MockDatabase> service;
    const tavplatform::ScopedDatabaseService installed(&service);
    EXPECT_CALL(service, tableOpen(kDb, IsNull(), testing::StrEq("notes")))
        .WillOnce(Return(DB_ERR_NULL_HANDLE));
    EXPECT_CALL(service, txnBegin(IsNull(), 0)).WillOnce(Return(DB_ERR_NULL_HANDLE));
    EXPECT_CALL(service, tableInsert(kTxn, kTable, kRecord, kBind, IsNull()))
        .WillOnce(Return(DB_ERR_NULL_HANDLE));

    EXPECT_EQ(DB_TABLE_Open(kDb, nullptr, "notes"), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TXN_Begin(nullptr, 0), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(kTxn, kTable, kRecord, kBind, nullptr), DB_ERR_NULL_HANDLE);
}

TEST(DatabaseForwarderLocationTest, OutputLocationReachesTheServiceAsTheCallersOwn)
{
    // The index table hands on the locations of its class-wide handles, and services may keep them.
    StrictMock<MockDatabase> service;
    const tavplatform::ScopedDatabaseService installed(&service);
    void* table = nullptr;
    void* txn = nullptr;
    unsigned id = 0;
    EXPECT_CALL(service, tableOpen(kDb, testing::Eq(&table), testing::StrEq("notes")))
        .WillOnce(Return(DB_OK));
    EXPECT_CALL(service, txnBegin(testing::Eq(&txn), 0)).WillOnce(Return(DB_OK));
    EXPECT_CALL(service, tableInsert(kTxn, kTable, kRecord, kBind, testing::Eq(&id)))
        .WillOnce(Return(DB_OK));

    EXPECT_EQ(DB_TABLE_Open(kDb, &table, "notes"), DB_OK);
    EXPECT_EQ(DB_TXN_Begin(&txn, 0), DB_OK);
    EXPECT_EQ(DB_TABLE_Insert(kTxn, kTable, kRecord, kBind, &id), DB_OK);
}

} // namespace
