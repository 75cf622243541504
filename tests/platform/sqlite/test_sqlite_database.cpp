// The device database on SQLite through the DB_* functions: tables made from a schema, records
// bound field by field, transactions, cursors and search terms, and the result code of every
// failure.

#include "device_db_api.h"
#include "sqlite_database.h"

#include "support/child_process.h"
#include "support/mount_namespace.h"
#include "support/scoped_environment.h"
#include "support/sql_queries.h"
#include "support/temp_database.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;
using tavmms_test::lookInto;
using tavmms_test::queryColumn;
using tavmms_test::queryInt;
using tavmms_test::queryPlan;
using tavmms_test::queryText;
using tavmms_test::TempDatabase;

const char kNotes[] = "notes";

// The record the tests store: one field of every kind, and two bytes the binding leaves out.
struct Note {
    unsigned char title[20]; // 16-bit text, high byte first: 9 units and the terminator
    char code[12];           // 8-bit text: 11 characters and the terminator
    quint32 stamp;
    quint16 small;
    quint16 unbound; // in no binding: the database never writes it
    quint32 big;
};

DB_SCHEMA_T field(const char* name, unsigned short size, unsigned short type,
                  unsigned short flag = 0)
{
    DB_SCHEMA_T entry{};
    std::memcpy(entry.tag, "dste", 4);
    std::strncpy(entry.name, name, sizeof entry.name - 1);
    entry.size = size;
    entry.type = type;
    entry.flag = flag;
    return entry;
}

// The fields followed by the terminating entry of zero bytes.
std::vector<DB_SCHEMA_T> schemaOf(std::vector<DB_SCHEMA_T> fields)
{
    fields.push_back(DB_SCHEMA_T{});
    return fields;
}

std::vector<DB_SCHEMA_T> notesSchema()
{
    return schemaOf({
        field("title", 20, DB_TYPE_UCS2_TEXT),
        field("code", 12, DB_TYPE_CHAR_TEXT, 1),
        field("stamp", 4, DB_TYPE_TIME, 1),
        field("small", 2, DB_TYPE_INT16),
        field("big", 4, DB_TYPE_INT32),
    });
}

const DB_BIND_T kNoteBinding[] = {
    {"title", DB_BIND_UCS2_TEXT, offsetof(Note, title), sizeof(Note::title)},
    {"code", DB_BIND_CHAR_TEXT, offsetof(Note, code), sizeof(Note::code)},
    {"stamp", DB_BIND_TIME, offsetof(Note, stamp), sizeof(Note::stamp)},
    {"small", DB_BIND_INT16, offsetof(Note, small), sizeof(Note::small)},
    {"big", DB_BIND_INT32, offsetof(Note, big), sizeof(Note::big)},
};

const DB_BIND_T* noteBinding(unsigned int* count)
{
    *count = std::size(kNoteBinding);
    return kNoteBinding;
}

// A binding that a test sets up entry by entry before binding with customBinding.
std::vector<DB_BIND_T> customEntries;

const DB_BIND_T* customBinding(unsigned int* count)
{
    *count = unsigned(customEntries.size());
    return customEntries.data();
}

// 16-bit text as the platform's wide-character interfaces hold it: high byte first.
void putTitle(Note& note, const std::u16string& units)
{
    std::memset(note.title, 0, sizeof note.title);
    for (size_t i = 0; i < units.size() && 2 * i + 1 < sizeof note.title; ++i) {
        note.title[2 * i] = static_cast<unsigned char>(units[i] >> 8);
        note.title[2 * i + 1] = static_cast<unsigned char>(units[i] & 0xFF);
    }
}

std::u16string titleOf(const Note& note)
{
    std::u16string units;
    for (size_t i = 0; 2 * i + 1 < sizeof note.title; ++i) {
        const char16_t unit = char16_t(note.title[2 * i] << 8 | note.title[2 * i + 1]);
        if (unit == 0)
            break;
        units += unit;
    }
    return units;
}

Note makeNote(const std::u16string& title, const char* code, quint32 stamp = 0, quint16 small = 0,
              quint32 big = 0)
{
    Note note{};
    putTitle(note, title);
    // A code as long as the field fills it without a terminator.
    std::memcpy(note.code, code, std::min(std::strlen(code), sizeof note.code));
    note.stamp = stamp;
    note.small = small;
    note.big = big;
    return note;
}

QByteArray bytesOf(const Note& note)
{
    return QByteArray(reinterpret_cast<const char*>(&note), sizeof note);
}

class SqliteDatabaseTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(temp.isValid());
        customEntries.assign(std::begin(kNoteBinding), std::end(kNoteBinding));
    }

    void* db() { return DB_DB_GetNativeDB(); }

    int createNotes() { return DB_TABLE_Create(db(), kNotes, notesSchema().data()); }

    void* openTable(const char* name = kNotes)
    {
        void* table = nullptr;
        EXPECT_EQ(DB_TABLE_Open(db(), &table, name), DB_OK);
        return table;
    }

    void* bindTo(void* table, DB_BIND_FUNC_T function = noteBinding)
    {
        void* bind = nullptr;
        EXPECT_EQ(DB_STRUCT_BindToTable(table, function, &bind), DB_OK);
        return bind;
    }

    void* begin()
    {
        void* txn = nullptr;
        EXPECT_EQ(DB_TXN_Begin(&txn, 0), DB_OK);
        return txn;
    }

    unsigned insert(void* txn, const Note& note)
    {
        Note copy = note;
        unsigned id = 0;
        EXPECT_EQ(DB_TABLE_Insert(txn, table, &copy, bind, &id), DB_OK);
        return id;
    }

    unsigned insertCommitted(const Note& note)
    {
        void* txn = begin();
        const unsigned id = insert(txn, note);
        EXPECT_EQ(DB_TXN_Commit(txn), DB_OK);
        return id;
    }

    int fetch(void* txn, unsigned id, Note* note)
    {
        return DB_TABLE_FetchRecord(txn, table, id, note, sizeof *note, bind);
    }

    // Fetches in a transaction of its own.
    int fetchCommitted(unsigned id, Note* note)
    {
        void* txn = begin();
        const int result = fetch(txn, id, note);
        EXPECT_EQ(DB_TXN_Commit(txn), DB_OK);
        return result;
    }

    // Makes, opens and binds the notes table.
    void prepareNotes()
    {
        ASSERT_EQ(createNotes(), DB_OK);
        table = openTable();
        ASSERT_NE(table, nullptr);
        bind = bindTo(table);
        ASSERT_NE(bind, nullptr);
    }

    TempDatabase temp;
    void* table = nullptr;
    void* bind = nullptr;
};

// ---- the database and its tables

TEST_F(SqliteDatabaseTest, NativeDatabaseIsTheSameHandleEveryTime)
{
    void* first = db();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(db(), first);
    EXPECT_TRUE(QFile::exists(temp.path()));
}

TEST_F(SqliteDatabaseTest, FileIsInWalMode)
{
    ASSERT_NE(db(), nullptr);
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);
    EXPECT_EQ(queryText(*look, "PRAGMA journal_mode"), "wal");
}

TEST_F(SqliteDatabaseTest, CheckTableExistFollowsCreate)
{
    EXPECT_EQ(DB_DB_CheckTableExist(db(), kNotes), 0);
    ASSERT_EQ(createNotes(), DB_OK);
    EXPECT_NE(DB_DB_CheckTableExist(db(), kNotes), 0);
    EXPECT_EQ(DB_DB_CheckTableExist(db(), "other"), 0);
    EXPECT_EQ(DB_DB_CheckTableExist(nullptr, kNotes), 0);
    EXPECT_EQ(DB_DB_CheckTableExist(db(), nullptr), 0);
}

TEST_F(SqliteDatabaseTest, CreateMakesOneColumnPerFieldWithATypeThatFitsIt)
{
    ASSERT_EQ(createNotes(), DB_OK);
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);

    const QList<QByteArray> columns = queryColumn(
        *look, "SELECT name || ' ' || type FROM pragma_table_info('notes') ORDER BY cid");
    EXPECT_EQ(columns, (QList<QByteArray>{"id INTEGER", "title TEXT", "code TEXT", "stamp INTEGER",
                                          "small INTEGER", "big INTEGER"}));
}

TEST_F(SqliteDatabaseTest, CreateIndexesExactlyTheFlaggedFields)
{
    ASSERT_EQ(createNotes(), DB_OK);
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);

    const QList<QByteArray> indexed =
        queryColumn(*look, "SELECT i.name FROM pragma_index_list('notes') AS l, "
                           "pragma_index_info(l.name) AS i WHERE i.seqno = 0 ORDER BY i.name");
    EXPECT_EQ(indexed, (QList<QByteArray>{"code", "stamp"}));
}

TEST_F(SqliteDatabaseTest, LookupByAnIndexedFieldUsesTheIndexInBothOrders)
{
    ASSERT_EQ(createNotes(), DB_OK);
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);

    for (const std::string order : {"ASC", "DESC"}) {
        SCOPED_TRACE(order);
        // The lookup a cursor ordered by the field makes for a term on the same field.
        const QByteArray plan =
            queryPlan(*look, "SELECT id FROM notes WHERE code = ? ORDER BY code " + order +
                                 ", id " + order + " LIMIT 1");
        EXPECT_TRUE(plan.contains("USING COVERING INDEX")) << plan.toStdString();
        EXPECT_FALSE(plan.contains("SCAN")) << plan.toStdString();
        EXPECT_FALSE(plan.contains("TEMP B-TREE")) << plan.toStdString();
    }
}

TEST_F(SqliteDatabaseTest, WalkByAnIndexedFieldOrByIdGoesStraightToTheNextRecord)
{
    ASSERT_EQ(createNotes(), DB_OK);
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);
    const auto lookup = [](const std::string& field, const std::string& where,
                           const std::string& order) {
        const std::string column = '"' + field + '"';
        return "SELECT id, " + column + " FROM \"notes\" WHERE " + where + " ORDER BY " + column +
               " " + order + ", id " + order + " LIMIT 1";
    };
    // The look-ups of DB_CURSOR_MoveNext in both orders: from a value, through the records
    // without one, into or out of them; and from an id.
    const std::string lookups[] = {
        lookup("code", "(\"code\", id) > (?, ?)", "ASC"),
        lookup("code", "(\"code\", id) < (?, ?)", "DESC"),
        lookup("code", "\"code\" IS NULL AND id > ?", "ASC"),
        lookup("code", "\"code\" IS NULL AND id < ?", "DESC"),
        lookup("code", "\"code\" IS NOT NULL", "ASC"),
        lookup("code", "\"code\" IS NULL", "DESC"),
        lookup("id", "(\"id\", id) > (?, ?)", "ASC"),
        lookup("id", "(\"id\", id) < (?, ?)", "DESC"),
    };
    for (const std::string& sql : lookups) {
        SCOPED_TRACE(sql);
        const QByteArray plan = queryPlan(*look, sql);
        EXPECT_TRUE(plan.startsWith("SEARCH")) << plan.toStdString();
        EXPECT_FALSE(plan.contains("TEMP B-TREE")) << plan.toStdString();
    }
}

TEST_F(SqliteDatabaseTest, CreateOfAnExistingTableIsRefusedAndKeepsIt)
{
    prepareNotes();
    const unsigned id = insertCommitted(makeNote(u"kept", "K"));

    EXPECT_EQ(createNotes(), DB_ERR_TABLE_EXISTS);
    Note note{};
    EXPECT_EQ(fetchCommitted(id, &note), DB_OK);
    EXPECT_EQ(titleOf(note), u"kept");
}

TEST_F(SqliteDatabaseTest, CreateOfATableAnotherConnectionMakesMeanwhileGivesTableExists)
{
    // Another process has made the table but not yet committed it: the check does not see it,
    // the create waits for the other's write lock and then finds the table there.
    tavplatform::SqliteDatabase other(temp.path());
    void* otherTxn = nullptr;
    ASSERT_EQ(other.txnBegin(&otherTxn, 0), DB_OK);
    ASSERT_EQ(other.tableCreate(other.getNativeDB(), kNotes, notesSchema().data()), DB_OK);
    ASSERT_EQ(DB_DB_CheckTableExist(db(), kNotes), 0);
    std::thread committer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        EXPECT_EQ(other.txnCommit(otherTxn), DB_OK);
    });

    EXPECT_EQ(createNotes(), DB_ERR_TABLE_EXISTS);
    committer.join();
    EXPECT_NE(openTable(), nullptr);
}

TEST_F(SqliteDatabaseTest, CreateRefusesNullArgumentsAndAForeignDatabase)
{
    const std::vector<DB_SCHEMA_T> schema = notesSchema();
    int notADatabase = 0;
    EXPECT_EQ(DB_TABLE_Create(nullptr, kNotes, schema.data()), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Create(db(), nullptr, schema.data()), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Create(db(), kNotes, nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Create(&notADatabase, kNotes, schema.data()), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_DB_CheckTableExist(db(), kNotes), 0);
}

TEST_F(SqliteDatabaseTest, CreateRefusesNamesThatAreNotPlainIdentifiers)
{
    const std::vector<DB_SCHEMA_T> schema = notesSchema();
    const char* const names[] = {
        "",
        "two words",
        "quote\"d",
        "semi;colon",
        "dash-ed",
        "1st",
        "sqlite_master",
        "tav_schema",
        "abcdefghijklmnopqrstuvwxyz_67890a", // 33 characters
    };
    for (const char* name : names) {
        SCOPED_TRACE(name);
        EXPECT_EQ(DB_TABLE_Create(db(), name, schema.data()), DB_ERR_INVALID_ARGUMENT);
        EXPECT_EQ(DB_DB_CheckTableExist(db(), name), 0);
    }
    EXPECT_EQ(DB_TABLE_Create(db(), "abcdefghijklmnopqrstuvwxyz_6789", schema.data()), DB_OK);
}

TEST_F(SqliteDatabaseTest, CreateRefusesInvalidSchemas)
{
    DB_SCHEMA_T badTag = field("title", 20, DB_TYPE_UCS2_TEXT);
    std::memcpy(badTag.tag, "dstx", 4);
    DB_SCHEMA_T unterminatedName = field("title", 20, DB_TYPE_UCS2_TEXT);
    std::memset(unterminatedName.name, 'a', sizeof unterminatedName.name);
    const DB_SCHEMA_T good = field("good", 4, DB_TYPE_INT32);
    const std::pair<const char*, std::vector<DB_SCHEMA_T>> cases[] = {
        {"no field", schemaOf({})},
        {"bad tag", schemaOf({good, badTag})},
        {"empty name", schemaOf({field("", 4, DB_TYPE_INT32)})},
        {"name with a space", schemaOf({field("a b", 4, DB_TYPE_INT32)})},
        {"name with a quote", schemaOf({field("a\"b", 4, DB_TYPE_INT32)})},
        {"name of 32 characters", schemaOf({unterminatedName})},
        {"name taken by the record id", schemaOf({field("id", 4, DB_TYPE_INT32)})},
        {"same name twice", schemaOf({good, good})},
        {"unknown type", schemaOf({field("x", 4, 7)})},
        {"16-bit integer of 4 bytes", schemaOf({field("x", 4, DB_TYPE_INT16)})},
        {"32-bit integer of 2 bytes", schemaOf({field("x", 2, DB_TYPE_INT32)})},
        {"time of 8 bytes", schemaOf({field("x", 8, DB_TYPE_TIME)})},
        {"8-bit text without room", schemaOf({field("x", 0, DB_TYPE_CHAR_TEXT)})},
        {"16-bit text of an odd size", schemaOf({field("x", 21, DB_TYPE_UCS2_TEXT)})},
        {"16-bit text without room", schemaOf({field("x", 0, DB_TYPE_UCS2_TEXT)})},
    };
    for (const auto& [what, schema] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(DB_TABLE_Create(db(), kNotes, schema.data()), DB_ERR_INVALID_ARGUMENT);
        EXPECT_EQ(DB_DB_CheckTableExist(db(), kNotes), 0);
    }
}

TEST_F(SqliteDatabaseTest, SchemaEndsAtTheFirstEntryWithAZeroTag)
{
    std::vector<DB_SCHEMA_T> schema = notesSchema();
    schema.push_back(field("after_the_end", 4, DB_TYPE_INT32));
    ASSERT_EQ(DB_TABLE_Create(db(), kNotes, schema.data()), DB_OK);

    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);
    EXPECT_EQ(queryInt(*look, "SELECT count(*) FROM pragma_table_info('notes')"), 6);
}

TEST_F(SqliteDatabaseTest, TablesOfTheSameNamePrefixKeepTheirOwnIndexes)
{
    // Index names made by plain joining would clash here: "a" + "b_c" and "a_b" + "c".
    ASSERT_EQ(DB_TABLE_Create(db(), "a", schemaOf({field("b_c", 4, DB_TYPE_INT32, 1)}).data()),
              DB_OK);
    EXPECT_EQ(DB_TABLE_Create(db(), "a_b", schemaOf({field("c", 4, DB_TYPE_INT32, 1)}).data()),
              DB_OK);
    EXPECT_EQ(DB_TABLE_Create(db(), "a__b", schemaOf({field("c", 4, DB_TYPE_INT32, 1)}).data()),
              DB_OK);
    EXPECT_EQ(DB_TABLE_Create(db(), "a__b__c", schemaOf({field("d", 4, DB_TYPE_INT32)}).data()),
              DB_OK);
}

TEST_F(SqliteDatabaseTest, OpenOfAMissingTableGivesNoTable)
{
    void* table = nullptr;
    EXPECT_EQ(DB_TABLE_Open(db(), &table, kNotes), DB_ERR_NO_TABLE);
    EXPECT_EQ(table, nullptr);
}

TEST_F(SqliteDatabaseTest, OpenRefusesNullArguments)
{
    ASSERT_EQ(createNotes(), DB_OK);
    void* table = nullptr;
    int notADatabase = 0;
    EXPECT_EQ(DB_TABLE_Open(nullptr, &table, kNotes), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Open(db(), nullptr, kNotes), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Open(db(), &table, nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Open(&notADatabase, &table, kNotes), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(table, nullptr);
}

TEST_F(SqliteDatabaseTest, CloseEndsTheTableHandle)
{
    prepareNotes();
    EXPECT_EQ(DB_TABLE_Close(table), DB_OK);
    EXPECT_EQ(DB_TABLE_Close(table), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Close(nullptr), DB_ERR_NULL_HANDLE);
    void* another = nullptr;
    EXPECT_EQ(DB_STRUCT_BindToTable(table, noteBinding, &another), DB_ERR_INVALID_HANDLE);
}

TEST_F(SqliteDatabaseTest, TableCanBeOpenedTwiceWithHandlesOfTheirOwn)
{
    prepareNotes();
    void* second = openTable();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, table);
    EXPECT_EQ(DB_TABLE_Close(table), DB_OK);
    EXPECT_NE(bindTo(second), nullptr);
}

// ---- record ids

TEST_F(SqliteDatabaseTest, IdsAreGivenByTheDatabaseInIncreasingOrder)
{
    prepareNotes();
    void* txn = begin();
    const unsigned first = insert(txn, makeNote(u"a", "A"));
    const unsigned second = insert(txn, makeNote(u"b", "B"));
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    EXPECT_GE(first, 1u);
    EXPECT_GT(second, first);
}

TEST_F(SqliteDatabaseTest, IdOfADeletedRecordIsNeverGivenAgain)
{
    prepareNotes();
    insertCommitted(makeNote(u"a", "A"));
    const unsigned last = insertCommitted(makeNote(u"b", "B"));
    void* txn = begin();
    ASSERT_EQ(DB_TABLE_Delete(txn, table, last), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);

    EXPECT_GT(insertCommitted(makeNote(u"c", "C")), last);
}

TEST_F(SqliteDatabaseTest, IdOfADeletedRecordIsNeverGivenAgainAfterAReopen)
{
    prepareNotes();
    const unsigned last = insertCommitted(makeNote(u"a", "A"));
    void* txn = begin();
    ASSERT_EQ(DB_TABLE_Delete(txn, table, last), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);

    temp.reopen();
    table = openTable();
    bind = bindTo(table);
    EXPECT_GT(insertCommitted(makeNote(u"b", "B")), last);
}

TEST_F(SqliteDatabaseTest, IdOfAnAbortedInsertIsNotGivenAgainAfterALaterCommit)
{
    prepareNotes();
    const unsigned kept = insertCommitted(makeNote(u"a", "A"));
    void* txn = begin();
    insert(txn, makeNote(u"b", "B"));
    ASSERT_EQ(DB_TXN_Abort(txn), DB_OK);

    EXPECT_GT(insertCommitted(makeNote(u"c", "C")), kept);
}

TEST_F(SqliteDatabaseTest, LastIdBelowAllBitsSetIsGivenThenInsertsAreRefused)
{
    prepareNotes();
    insertCommitted(makeNote(u"a", "A"));
    {
        auto look = lookInto(temp.path());
        ASSERT_NE(look, nullptr);
        ASSERT_EQ(look->exec("UPDATE sqlite_sequence SET seq = 4294967293 WHERE name = 'notes'"),
                  tavplatform::sql::Status::Ok);
    }
    EXPECT_EQ(insertCommitted(makeNote(u"b", "B")), 4294967294u);

    // All bits set is what lookups answer for "no record"; no record may have it.
    void* txn = begin();
    Note note = makeNote(u"c", "C");
    unsigned id = 7;
    EXPECT_EQ(DB_TABLE_Insert(txn, table, &note, bind, &id), DB_ERR_ID_EXHAUSTED);
    EXPECT_EQ(id, 7u);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);
    EXPECT_EQ(queryInt(*look, "SELECT count(*) FROM notes"), 2);
}

// ---- records

TEST_F(SqliteDatabaseTest, RecordRoundTripsEveryKindOfField)
{
    prepareNotes();
    const Note note = makeNote(u"Ab\u00e9\u4e2d", "code-1", 0xFFFFFFFFu, 0xFFFF, 0xFFFFFFFFu);
    const unsigned id = insertCommitted(note);

    Note fetched{};
    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(bytesOf(fetched), bytesOf(note));
}

TEST_F(SqliteDatabaseTest, FetchWritesOnlyTheBoundFields)
{
    prepareNotes();
    const unsigned id = insertCommitted(makeNote(u"t", "c", 1, 2, 3));
    Note fetched;
    std::memset(&fetched, 0xAB, sizeof fetched);

    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(fetched.unbound, 0xABABu);
    EXPECT_EQ(titleOf(fetched), u"t");
    EXPECT_EQ(fetched.title[2], 0); // the rest of the field is cleared
    EXPECT_EQ(fetched.title[19], 0);
    EXPECT_EQ(QByteArray(fetched.code, sizeof fetched.code),
              QByteArray("c\0\0\0\0\0\0\0\0\0\0\0", 12));
    EXPECT_EQ(fetched.stamp, 1u);
    EXPECT_EQ(fetched.small, 2u);
    EXPECT_EQ(fetched.big, 3u);
}

TEST_F(SqliteDatabaseTest, SixteenBitTextIsStoredAsText)
{
    prepareNotes();
    const unsigned id = insertCommitted(makeNote(u"Gr\u00fc\u00df \U0001F600", "x"));
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);

    const std::string where = " FROM notes WHERE id = " + std::to_string(id);
    EXPECT_EQ(queryText(*look, "SELECT typeof(title)" + where), "text");
    EXPECT_EQ(QString::fromUtf8(queryText(*look, "SELECT title" + where)),
              QString::fromUtf16(u"Gr\u00fc\u00df \U0001F600"));
}

TEST_F(SqliteDatabaseTest, EightBitTextIsStoredAsTextByteForByte)
{
    prepareNotes();
    const unsigned id = insertCommitted(makeNote(u"t", "a'b;\"c\xe9"));
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);

    const std::string where = " FROM notes WHERE id = " + std::to_string(id);
    EXPECT_EQ(queryText(*look, "SELECT typeof(code)" + where), "text");
    EXPECT_EQ(queryText(*look, "SELECT code" + where), QByteArray("a'b;\"c\xe9"));
    EXPECT_EQ(queryText(*look, "SELECT typeof(small)" + where), "integer");
}

TEST_F(SqliteDatabaseTest, TextFillingItsWholeFieldIsReadToTheFieldsEnd)
{
    prepareNotes();
    Note note{};
    putTitle(note, u"ABCDEFGHIJ"); // 10 units: no room left for a terminator
    std::memset(note.code, 'z', sizeof note.code);
    const unsigned id = insertCommitted(note);
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);

    const std::string where = " FROM notes WHERE id = " + std::to_string(id);
    EXPECT_EQ(queryText(*look, "SELECT title" + where), "ABCDEFGHIJ");
    EXPECT_EQ(queryText(*look, "SELECT code" + where), QByteArray(12, 'z'));
}

TEST_F(SqliteDatabaseTest, FetchCutsTooLongTextsSoThatTheTerminatorFits)
{
    prepareNotes();
    Note note{};
    putTitle(note, u"ABCDEFGHIJ");
    std::memset(note.code, 'z', sizeof note.code);
    const unsigned id = insertCommitted(note);

    Note fetched;
    std::memset(&fetched, 0xAB, sizeof fetched);
    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(titleOf(fetched), u"ABCDEFGHI");
    EXPECT_EQ(fetched.title[18], 0);
    EXPECT_EQ(fetched.title[19], 0);
    EXPECT_EQ(QByteArray(fetched.code, sizeof fetched.code), QByteArray(11, 'z') + '\0');
}

TEST_F(SqliteDatabaseTest, FetchCutsTextsStoredLongerThanTheirField)
{
    prepareNotes();
    const unsigned id = insertCommitted(makeNote(u"short", "short"));
    {
        auto look = lookInto(temp.path());
        ASSERT_NE(look, nullptr);
        ASSERT_EQ(look->exec("UPDATE notes SET title = 'a much longer title than fits', code = "
                             "'a much longer code than fits'"),
                  tavplatform::sql::Status::Ok);
    }
    Note fetched;
    std::memset(&fetched, 0xAB, sizeof fetched);

    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(titleOf(fetched), u"a much lo");
    EXPECT_EQ(fetched.title[18] | fetched.title[19], 0);
    EXPECT_EQ(QByteArray(fetched.code, sizeof fetched.code), QByteArray("a much long") + '\0');
}

TEST_F(SqliteDatabaseTest, FetchNeverCutsASurrogatePairInHalf)
{
    prepareNotes();
    // Eight units, then a character outside the 16-bit range: its pair takes units 8 and 9, and
    // only 9 units fit.
    const unsigned id = insertCommitted(makeNote(u"12345678\U0001F600", "x"));

    Note fetched;
    std::memset(&fetched, 0xAB, sizeof fetched);
    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(titleOf(fetched), u"12345678");
    for (size_t i = 16; i < sizeof fetched.title; ++i)
        EXPECT_EQ(fetched.title[i], 0) << "byte " << i;
}

TEST_F(SqliteDatabaseTest, SurrogatePairThatFitsIsKept)
{
    prepareNotes();
    const unsigned id = insertCommitted(makeNote(u"1234567\U0001F600", "x"));

    Note fetched{};
    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(titleOf(fetched), u"1234567\U0001F600");
}

TEST_F(SqliteDatabaseTest, FetchIntoATooSmallBufferIsRefused)
{
    prepareNotes();
    const unsigned id = insertCommitted(makeNote(u"t", "c"));
    Note fetched;
    std::memset(&fetched, 0xAB, sizeof fetched);

    void* txn = begin();
    EXPECT_EQ(DB_TABLE_FetchRecord(txn, table, id, &fetched, sizeof fetched - 1, bind),
              DB_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(DB_TABLE_FetchRecord(txn, table, id, &fetched, 0, bind), DB_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(DB_TXN_Commit(txn), DB_OK);
    EXPECT_EQ(bytesOf(fetched), QByteArray(sizeof fetched, char(0xAB)));
}

TEST_F(SqliteDatabaseTest, FetchOfAMissingIdGivesNotFound)
{
    prepareNotes();
    Note fetched{};
    EXPECT_EQ(fetchCommitted(12345, &fetched), DB_ERR_NOT_FOUND);
}

TEST_F(SqliteDatabaseTest, UpdateReplacesTheBoundFields)
{
    prepareNotes();
    const unsigned id = insertCommitted(makeNote(u"old", "old", 1, 1, 1));
    const Note changed = makeNote(u"new", "new", 2, 3, 4);

    void* txn = begin();
    Note copy = changed;
    ASSERT_EQ(DB_TABLE_Update(txn, table, id, &copy, bind), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    Note fetched{};
    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(bytesOf(fetched), bytesOf(changed));
}

TEST_F(SqliteDatabaseTest, UpdateAndDeleteOfAMissingIdGiveNotFound)
{
    prepareNotes();
    void* txn = begin();
    Note note = makeNote(u"t", "c");
    EXPECT_EQ(DB_TABLE_Update(txn, table, 999, &note, bind), DB_ERR_NOT_FOUND);
    EXPECT_EQ(DB_TABLE_Delete(txn, table, 999), DB_ERR_NOT_FOUND);
    EXPECT_EQ(DB_TXN_Commit(txn), DB_OK);
}

TEST_F(SqliteDatabaseTest, DeleteRemovesTheRecord)
{
    prepareNotes();
    const unsigned id = insertCommitted(makeNote(u"t", "c"));
    void* txn = begin();
    ASSERT_EQ(DB_TABLE_Delete(txn, table, id), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    Note fetched{};
    EXPECT_EQ(fetchCommitted(id, &fetched), DB_ERR_NOT_FOUND);
}

// ---- binding

TEST_F(SqliteDatabaseTest, BindingIsCheckedEntryByEntry)
{
    prepareNotes();
    for (size_t i = 0; i < std::size(kNoteBinding); ++i) {
        const DB_BIND_T right = kNoteBinding[i];
        DB_BIND_T wrongName = right;
        wrongName.name = "nonesuch";
        DB_BIND_T wrongCode = right;
        wrongCode.code = right.code == DB_BIND_INT32 ? DB_BIND_TIME : DB_BIND_INT32;
        DB_BIND_T wrongSize = right;
        wrongSize.size = right.size + 2;
        DB_BIND_T nullName = right;
        nullName.name = nullptr;
        for (const DB_BIND_T& wrong : {wrongName, wrongCode, wrongSize, nullName}) {
            SCOPED_TRACE("entry " + std::to_string(i) + " name " +
                         (wrong.name ? wrong.name : "(null)") + " code " +
                         std::to_string(wrong.code) + " size " + std::to_string(wrong.size));
            customEntries.assign(std::begin(kNoteBinding), std::end(kNoteBinding));
            customEntries[i] = wrong;
            void* handle = &handle;
            EXPECT_EQ(DB_STRUCT_BindToTable(table, customBinding, &handle), DB_ERR_BIND_MISMATCH);
            EXPECT_EQ(handle, &handle);
        }
    }
}

TEST_F(SqliteDatabaseTest, BindingRefusesAnUnknownCode)
{
    prepareNotes();
    customEntries[3].code = 99;
    void* handle = nullptr;
    EXPECT_EQ(DB_STRUCT_BindToTable(table, customBinding, &handle), DB_ERR_BIND_MISMATCH);
}

TEST_F(SqliteDatabaseTest, BindingRefusesAFieldBoundTwice)
{
    prepareNotes();
    customEntries.push_back(kNoteBinding[1]);
    void* handle = nullptr;
    EXPECT_EQ(DB_STRUCT_BindToTable(table, customBinding, &handle), DB_ERR_BIND_MISMATCH);
    EXPECT_EQ(handle, nullptr);
}

TEST_F(SqliteDatabaseTest, BindingRefusesNoEntriesAndNullArguments)
{
    prepareNotes();
    customEntries.clear();
    void* handle = nullptr;
    EXPECT_EQ(DB_STRUCT_BindToTable(table, customBinding, &handle), DB_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(DB_STRUCT_BindToTable(table, nullptr, &handle), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_STRUCT_BindToTable(table, noteBinding, nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_STRUCT_BindToTable(nullptr, noteBinding, &handle), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(handle, nullptr);
}

TEST_F(SqliteDatabaseTest, BindingOfSomeFieldsLeavesTheOthersEmpty)
{
    prepareNotes();
    customEntries = {kNoteBinding[1], kNoteBinding[4]}; // code and big
    void* partial = bindTo(table, customBinding);
    ASSERT_NE(partial, nullptr);
    Note note = makeNote(u"title", "code", 5, 6, 7);
    void* txn = begin();
    unsigned id = 0;
    ASSERT_EQ(DB_TABLE_Insert(txn, table, &note, partial, &id), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);

    Note fetched{};
    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(bytesOf(fetched), bytesOf(makeNote(u"", "code", 0, 0, 7)));
}

TEST_F(SqliteDatabaseTest, BindOfAnotherTableIsRefusedForRecordCalls)
{
    prepareNotes();
    ASSERT_EQ(DB_TABLE_Create(db(), "copies", notesSchema().data()), DB_OK);
    void* copies = openTable("copies");
    void* copiesBind = bindTo(copies);
    ASSERT_NE(copiesBind, nullptr);

    void* txn = begin();
    Note note = makeNote(u"t", "c");
    unsigned id = 0;
    EXPECT_EQ(DB_TABLE_Insert(txn, table, &note, copiesBind, &id), DB_ERR_BIND_MISMATCH);
    EXPECT_EQ(DB_TABLE_FetchRecord(txn, table, 1, &note, sizeof note, copiesBind),
              DB_ERR_BIND_MISMATCH);
    EXPECT_EQ(DB_TXN_Commit(txn), DB_OK);
}

TEST_F(SqliteDatabaseTest, CloseBindEndsTheBindHandle)
{
    prepareNotes();
    EXPECT_EQ(DB_STRUCT_CloseBind(bind), DB_OK);
    EXPECT_EQ(DB_STRUCT_CloseBind(bind), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_STRUCT_CloseBind(nullptr), DB_ERR_NULL_HANDLE);
    void* txn = begin();
    Note note = makeNote(u"t", "c");
    unsigned id = 0;
    EXPECT_EQ(DB_TABLE_Insert(txn, table, &note, bind, &id), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TXN_Abort(txn), DB_OK);
}

TEST_F(SqliteDatabaseTest, BindingBoundAgainGetsAHandleOfItsOwnThatLastsAfterTheFirstCloses)
{
    prepareNotes();
    void* first = bind;
    void* second = bindTo(table);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);
    const Note note = makeNote(u"again", "c2", 1, 2, 3);
    const unsigned id = insertCommitted(note);
    ASSERT_EQ(DB_STRUCT_CloseBind(first), DB_OK);

    bind = second;
    Note fetched{};
    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(bytesOf(fetched), bytesOf(note));
    EXPECT_EQ(DB_STRUCT_CloseBind(second), DB_OK);
}

TEST_F(SqliteDatabaseTest, BindingWhoseEntriesChangedIsCheckedAgain)
{
    prepareNotes();
    void* full = bindTo(table, customBinding);
    ASSERT_NE(full, nullptr);

    customEntries[2].size = 8; // stamp is 4 bytes
    void* handle = nullptr;
    EXPECT_EQ(DB_STRUCT_BindToTable(table, customBinding, &handle), DB_ERR_BIND_MISMATCH);
    EXPECT_EQ(handle, nullptr);

    // The same function now binds two fields only: its new handle writes those alone, while the
    // handle made before keeps binding them all.
    customEntries = {kNoteBinding[1], kNoteBinding[4]}; // code and big
    void* partial = bindTo(table, customBinding);
    ASSERT_NE(partial, nullptr);
    const Note note = makeNote(u"title", "code", 5, 6, 7);
    bind = partial;
    const unsigned partialId = insertCommitted(note);
    bind = full;
    const unsigned fullId = insertCommitted(note);

    Note fetched{};
    ASSERT_EQ(fetchCommitted(partialId, &fetched), DB_OK);
    EXPECT_EQ(bytesOf(fetched), bytesOf(makeNote(u"", "code", 0, 0, 7)));
    ASSERT_EQ(fetchCommitted(fullId, &fetched), DB_OK);
    EXPECT_EQ(bytesOf(fetched), bytesOf(note));
}

TEST_F(SqliteDatabaseTest, TableMadeAnewWithAnotherSchemaIsBoundAgainstTheNewOne)
{
    prepareNotes();
    {
        // Tables are never dropped through this interface; another program may do it.
        auto other = lookInto(temp.path());
        ASSERT_NE(other, nullptr);
        ASSERT_EQ(other->exec("DROP TABLE notes"), tavplatform::sql::Status::Ok);
        ASSERT_EQ(other->exec("DELETE FROM tav_schema WHERE tbl = 'notes'"),
                  tavplatform::sql::Status::Ok);
    }
    std::vector<DB_SCHEMA_T> changed = notesSchema();
    changed[2].size = 2;
    changed[2].type = DB_TYPE_INT16; // stamp
    ASSERT_EQ(DB_TABLE_Create(db(), kNotes, changed.data()), DB_OK);
    table = openTable();
    ASSERT_NE(table, nullptr);

    void* handle = nullptr;
    EXPECT_EQ(DB_STRUCT_BindToTable(table, noteBinding, &handle), DB_ERR_BIND_MISMATCH);
    EXPECT_EQ(handle, nullptr);
    customEntries[2] = {"stamp", DB_BIND_INT16, offsetof(Note, stamp), 2};
    bind = bindTo(table, customBinding);
    ASSERT_NE(bind, nullptr);
    const Note note = makeNote(u"anew", "c", 0x1234, 2, 3);
    const unsigned id = insertCommitted(note);
    Note fetched{};
    ASSERT_EQ(fetchCommitted(id, &fetched), DB_OK);
    EXPECT_EQ(bytesOf(fetched), bytesOf(note));
}

// ---- transactions

TEST_F(SqliteDatabaseTest, CommittedRecordsAreSeenByOtherConnectionsAndLast)
{
    prepareNotes();
    auto look = lookInto(temp.path());
    ASSERT_NE(look, nullptr);
    void* txn = begin();
    const unsigned id = insert(txn, makeNote(u"t", "c"));
    EXPECT_EQ(queryInt(*look, "SELECT count(*) FROM notes"), 0);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    EXPECT_EQ(queryInt(*look, "SELECT count(*) FROM notes"), 1);

    temp.reopen();
    table = openTable();
    bind = bindTo(table);
    Note fetched{};
    EXPECT_EQ(fetchCommitted(id, &fetched), DB_OK);
}

TEST_F(SqliteDatabaseTest, AbortDropsTheRecordsOfTheTransaction)
{
    prepareNotes();
    void* txn = begin();
    const unsigned id = insert(txn, makeNote(u"t", "c"));
    Note fetched{};
    EXPECT_EQ(fetch(txn, id, &fetched), DB_OK);
    ASSERT_EQ(DB_TXN_Abort(txn), DB_OK);

    EXPECT_EQ(fetchCommitted(id, &fetched), DB_ERR_NOT_FOUND);
    EXPECT_EQ(DB_TXN_Commit(txn), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TXN_Abort(txn), DB_ERR_INVALID_HANDLE);
}

TEST_F(SqliteDatabaseTest, NestedTransactionSeesTheOuterOnesUncommittedRecords)
{
    prepareNotes();
    void* outer = begin();
    const unsigned id = insert(outer, makeNote(u"outer", "o"));
    void* inner = begin();
    ASSERT_NE(inner, outer);

    Note fetched{};
    EXPECT_EQ(fetch(inner, id, &fetched), DB_OK);
    EXPECT_EQ(titleOf(fetched), u"outer");
    EXPECT_EQ(DB_TXN_Commit(inner), DB_OK);
    EXPECT_EQ(DB_TXN_Commit(outer), DB_OK);
}

TEST_F(SqliteDatabaseTest, AbortOfANestedTransactionUndoesOnlyItsOwnChanges)
{
    prepareNotes();
    void* outer = begin();
    const unsigned kept = insert(outer, makeNote(u"outer", "o"));
    void* inner = begin();
    const unsigned dropped = insert(inner, makeNote(u"inner", "i"));
    ASSERT_EQ(DB_TXN_Abort(inner), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(outer), DB_OK);

    Note fetched{};
    EXPECT_EQ(fetchCommitted(kept, &fetched), DB_OK);
    EXPECT_EQ(fetchCommitted(dropped, &fetched), DB_ERR_NOT_FOUND);
}

TEST_F(SqliteDatabaseTest, CommittedNestedTransactionIsUndoneByTheOuterAbort)
{
    prepareNotes();
    void* outer = begin();
    void* inner = begin();
    const unsigned id = insert(inner, makeNote(u"inner", "i"));
    ASSERT_EQ(DB_TXN_Commit(inner), DB_OK);
    ASSERT_EQ(DB_TXN_Abort(outer), DB_OK);

    Note fetched{};
    EXPECT_EQ(fetchCommitted(id, &fetched), DB_ERR_NOT_FOUND);
}

TEST_F(SqliteDatabaseTest, BeginIntoALocationHoldingAnOpenTransactionIsRefused)
{
    prepareNotes();
    void* txn = begin();
    void* const open = txn;
    const unsigned id = insert(txn, makeNote(u"t", "c"));

    EXPECT_EQ(DB_TXN_Begin(&txn, 0), DB_ERR_TXN_ACTIVE);
    EXPECT_EQ(txn, open);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    Note fetched{};
    EXPECT_EQ(fetchCommitted(id, &fetched), DB_OK);
}

TEST_F(SqliteDatabaseTest, BeginIntoALocationHoldingAnEndedTransactionIsAllowed)
{
    void* txn = begin();
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    EXPECT_EQ(DB_TXN_Begin(&txn, 0), DB_OK);
    EXPECT_EQ(DB_TXN_Commit(txn), DB_OK);
}

TEST_F(SqliteDatabaseTest, BeginRefusesFlagsAndANullLocation)
{
    void* txn = nullptr;
    EXPECT_EQ(DB_TXN_Begin(&txn, 1), DB_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(txn, nullptr);
    EXPECT_EQ(DB_TXN_Begin(nullptr, 0), DB_ERR_NULL_HANDLE);
}

TEST_F(SqliteDatabaseTest, OnlyTheInnermostTransactionCanBeUsedOrEnded)
{
    prepareNotes();
    void* outer = begin();
    void* inner = begin();
    Note note = makeNote(u"t", "c");
    unsigned id = 0;

    EXPECT_EQ(DB_TXN_Commit(outer), DB_ERR_TXN_ORDER);
    EXPECT_EQ(DB_TXN_Abort(outer), DB_ERR_TXN_ORDER);
    EXPECT_EQ(DB_TABLE_Insert(outer, table, &note, bind, &id), DB_ERR_TXN_ORDER);
    EXPECT_EQ(DB_TABLE_Delete(outer, table, 1), DB_ERR_TXN_ORDER);
    EXPECT_EQ(DB_TABLE_FetchRecord(outer, table, 1, &note, sizeof note, bind), DB_ERR_TXN_ORDER);

    EXPECT_EQ(DB_TXN_Commit(inner), DB_OK);
    EXPECT_EQ(DB_TXN_Commit(outer), DB_OK);
}

// ---- cursors and terms

class SqliteCursorTest : public SqliteDatabaseTest
{
protected:
    void SetUp() override
    {
        SqliteDatabaseTest::SetUp();
        prepareNotes();
        // Codes B, A, A, C, A with stamps 30, 20, 10, 40, 20.
        ids = {insertCommitted(makeNote(u"first", "B", 30, 1)),
               insertCommitted(makeNote(u"second", "A", 20, 2)),
               insertCommitted(makeNote(u"third", "A", 10, 1)),
               insertCommitted(makeNote(u"fourth", "C", 40, 2)),
               insertCommitted(makeNote(u"fifth", "A", 20, 1))};
        txn = begin();
    }

    void TearDown() override { EXPECT_EQ(DB_TXN_Commit(txn), DB_OK); }

    void* openCursor(int order, const char* field)
    {
        void* cursor = nullptr;
        EXPECT_EQ(DB_CURSOR_Open(txn, &table, order, field, &cursor), DB_OK);
        return cursor;
    }

    // The id the cursor stands on after locating the conditions; 0 with the code in `result`
    // when it does not.
    unsigned locate(int order, const char* field,
                    const std::vector<std::pair<const char*, const char*>>& conditions,
                    int* result = nullptr)
    {
        void* cursor = openCursor(order, field);
        void* term = DB_TERM_Open();
        EXPECT_NE(term, nullptr);
        for (const auto& [name, text] : conditions)
            EXPECT_EQ(DB_TERM_CHAR_Equal(term, name, text), DB_OK);
        unsigned id = 0;
        int r = DB_CURSOR_Locate(cursor, term);
        if (r == DB_OK)
            r = DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &table);
        if (result)
            *result = r;
        else
            EXPECT_EQ(r, DB_OK);
        EXPECT_EQ(DB_TERM_Close(term), DB_OK);
        EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
        return id;
    }

    unsigned currentId(void* cursor)
    {
        unsigned id = 0;
        EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &table), DB_OK);
        return id;
    }

    // The ids of the records that `cursor` passes from its current one to the end of its walk,
    // given the result of the move onto the first of them. A walk that would never end is cut
    // short a little after it passed more records than the table holds.
    std::vector<unsigned> walkOn(void* cursor, int result)
    {
        std::vector<unsigned> passed;
        for (; result == DB_OK && passed.size() <= ids.size() + 10;
             result = DB_CURSOR_MoveNext(cursor))
            passed.push_back(currentId(cursor));
        EXPECT_EQ(result, DB_ERR_NOT_FOUND);
        return passed;
    }

    // The ids of the records a walk from the first one passes, in the order it passes them.
    std::vector<unsigned> walk(int order, const char* field)
    {
        void* cursor = openCursor(order, field);
        const std::vector<unsigned> passed = walkOn(cursor, DB_CURSOR_MoveFirst(cursor));
        EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
        return passed;
    }

    // The ids of the records the fixture inserted, at `positions`.
    std::vector<unsigned> idsAt(std::initializer_list<int> positions) const
    {
        std::vector<unsigned> selected;
        for (int position : positions)
            selected.push_back(ids[size_t(position)]);
        return selected;
    }

    std::vector<unsigned> ids;
    void* txn = nullptr;
};

std::vector<unsigned> reversed(std::vector<unsigned> ids)
{
    std::reverse(ids.begin(), ids.end());
    return ids;
}

TEST_F(SqliteCursorTest, AscendingCursorStandsOnTheLowestValueWithTheLowestIdFirst)
{
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "code", {}), ids[1]);
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "code", {{"code", "A"}}), ids[1]);
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "stamp", {}), ids[2]);
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "stamp", {{"code", "A"}}), ids[2]);
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "code", {{"code", "C"}}), ids[3]);
}

TEST_F(SqliteCursorTest, DescendingCursorIsTheAscendingOrderReversed)
{
    EXPECT_EQ(locate(DB_CURSOR_DESCENDING, "code", {}), ids[3]);
    EXPECT_EQ(locate(DB_CURSOR_DESCENDING, "code", {{"code", "A"}}), ids[4]);
    EXPECT_EQ(locate(DB_CURSOR_DESCENDING, "stamp", {{"code", "A"}}), ids[4]);
    EXPECT_EQ(locate(DB_CURSOR_DESCENDING, "stamp", {}), ids[3]);
}

TEST_F(SqliteCursorTest, TermWithSeveralConditionsNeedsThemAll)
{
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "stamp", {{"code", "A"}, {"small", "2"}}), ids[1]);
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "code", {{"code", "A"}, {"title", "fifth"}}), ids[4]);
    EXPECT_EQ(locate(DB_CURSOR_DESCENDING, "code", {{"small", "1"}, {"stamp", "20"}}), ids[4]);
}

TEST_F(SqliteCursorTest, LocateWithoutAMatchGivesNotFoundAndNoCurrentRecord)
{
    void* cursor = openCursor(DB_CURSOR_ASCENDING, "code");
    void* term = DB_TERM_Open();
    ASSERT_EQ(DB_TERM_CHAR_Equal(term, "code", "A"), DB_OK);
    ASSERT_EQ(DB_CURSOR_Locate(cursor, term), DB_OK);
    ASSERT_EQ(DB_TERM_Close(term), DB_OK);

    term = DB_TERM_Open();
    ASSERT_EQ(DB_TERM_CHAR_Equal(term, "code", "Z"), DB_OK);
    EXPECT_EQ(DB_CURSOR_Locate(cursor, term), DB_ERR_NOT_FOUND);
    unsigned id = 77;
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &table), DB_ERR_NOT_FOUND);
    EXPECT_EQ(id, 77u);
    EXPECT_EQ(DB_TERM_Close(term), DB_OK);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
}

TEST_F(SqliteCursorTest, ConditionsOnTwoFieldsThatNoRecordMeetsGiveNotFound)
{
    int result = DB_OK;
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "code", {{"code", "C"}, {"small", "1"}}, &result), 0u);
    EXPECT_EQ(result, DB_ERR_NOT_FOUND);
}

TEST_F(SqliteCursorTest, TermTextIsMatchedExactlyNeverAsSql)
{
    int result = DB_OK;
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "code", {{"code", "A' OR '1'='1"}}, &result), 0u);
    EXPECT_EQ(result, DB_ERR_NOT_FOUND);
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "code", {{"code", "a"}}, &result), 0u);
    EXPECT_EQ(result, DB_ERR_NOT_FOUND);
}

TEST_F(SqliteCursorTest, CursorSeesRecordsOfItsOwnTransaction)
{
    const unsigned pending = insert(txn, makeNote(u"pending", "0"));
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "code", {}), pending);
}

TEST_F(SqliteCursorTest, OpenRefusesAnUnknownFieldAndOrder)
{
    void* cursor = nullptr;
    EXPECT_EQ(DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, "nonesuch", &cursor),
              DB_ERR_NO_FIELD);
    EXPECT_EQ(DB_CURSOR_Open(txn, &table, 0, "code", &cursor), DB_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(DB_CURSOR_Open(txn, &table, 3, "code", &cursor), DB_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(cursor, nullptr);
}

TEST_F(SqliteCursorTest, TermOnAnUnknownFieldGivesNoField)
{
    int result = DB_OK;
    locate(DB_CURSOR_ASCENDING, "code", {{"nonesuch", "A"}}, &result);
    EXPECT_EQ(result, DB_ERR_NO_FIELD);
}

TEST_F(SqliteCursorTest, CursorBindingIsCheckedLikeATables)
{
    void* cursor = openCursor(DB_CURSOR_ASCENDING, "code");
    void* handle = nullptr;
    EXPECT_EQ(DB_STRUCT_BindToCursor(cursor, noteBinding, &handle), DB_OK);
    EXPECT_NE(handle, nullptr);
    EXPECT_EQ(DB_STRUCT_CloseBind(handle), DB_OK);
    customEntries[0].size = 22;
    handle = nullptr;
    EXPECT_EQ(DB_STRUCT_BindToCursor(cursor, customBinding, &handle), DB_ERR_BIND_MISMATCH);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
}

TEST_F(SqliteCursorTest, CurrentRecordInfoNeedsTheCursorsOwnTable)
{
    ASSERT_EQ(DB_TABLE_Create(db(), "copies", notesSchema().data()), DB_OK);
    void* copies = openTable("copies");
    void* cursor = openCursor(DB_CURSOR_ASCENDING, "code");
    void* term = DB_TERM_Open();
    ASSERT_EQ(DB_CURSOR_Locate(cursor, term), DB_OK);

    unsigned id = 0;
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &copies), DB_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &table), DB_OK);
    EXPECT_EQ(id, ids[1]);
    EXPECT_EQ(DB_TERM_Close(term), DB_OK);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
}

TEST_F(SqliteCursorTest, CursorWhoseTransactionEndedIsNoLongerUsable)
{
    void* cursor = openCursor(DB_CURSOR_ASCENDING, "code");
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    void* term = DB_TERM_Open();
    EXPECT_EQ(DB_CURSOR_Locate(cursor, term), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TERM_Close(term), DB_OK);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
    txn = begin(); // for TearDown
}

TEST_F(SqliteCursorTest, WalkGoesAlongTheFieldAndTakesTiesInIdOrder)
{
    // Codes B, A, A, C, A; stamps 30, 20, 10, 40, 20; small 1, 2, 1, 2, 1.
    EXPECT_EQ(walk(DB_CURSOR_ASCENDING, "code"), idsAt({1, 2, 4, 0, 3}));
    EXPECT_EQ(walk(DB_CURSOR_ASCENDING, "stamp"), idsAt({2, 1, 4, 0, 3}));
    EXPECT_EQ(walk(DB_CURSOR_ASCENDING, "small"), idsAt({0, 2, 4, 1, 3}));
    EXPECT_EQ(walk(DB_CURSOR_ASCENDING, "title"), idsAt({4, 0, 3, 1, 2}));
}

TEST_F(SqliteCursorTest, DescendingWalkIsTheAscendingOneReversed)
{
    for (const char* field : {"code", "stamp", "small", "title", "big", "id"}) {
        SCOPED_TRACE(field);
        EXPECT_EQ(walk(DB_CURSOR_DESCENDING, field), reversed(walk(DB_CURSOR_ASCENDING, field)));
    }
}

TEST_F(SqliteCursorTest, WalkByIdGoesInIdOrder)
{
    EXPECT_EQ(walk(DB_CURSOR_ASCENDING, "id"), ids);
    EXPECT_EQ(walk(DB_CURSOR_DESCENDING, "id"), reversed(ids));
}

TEST_F(SqliteCursorTest, CursorByIdStandsOnTheLowestIdAfterLocate)
{
    EXPECT_EQ(locate(DB_CURSOR_ASCENDING, "id", {{"code", "A"}}), ids[1]);
    EXPECT_EQ(locate(DB_CURSOR_DESCENDING, "id", {{"code", "A"}}), ids[4]);
}

TEST_F(SqliteCursorTest, WalkOfAnEmptyTableFindsNothing)
{
    ASSERT_EQ(DB_TABLE_Create(db(), "empty", notesSchema().data()), DB_OK);
    void* empty = openTable("empty");
    for (const char* field : {"code", "id"}) {
        SCOPED_TRACE(field);
        void* cursor = nullptr;
        ASSERT_EQ(DB_CURSOR_Open(txn, &empty, DB_CURSOR_ASCENDING, field, &cursor), DB_OK);
        EXPECT_EQ(DB_CURSOR_MoveFirst(cursor), DB_ERR_NOT_FOUND);
        EXPECT_EQ(DB_CURSOR_MoveNext(cursor), DB_ERR_NOT_FOUND);
        unsigned id = 77;
        EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &empty), DB_ERR_NOT_FOUND);
        EXPECT_EQ(id, 77u);
        EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
    }
}

TEST_F(SqliteCursorTest, WalkStaysAtItsEndUntilMovedToTheFirstRecordAgain)
{
    void* cursor = openCursor(DB_CURSOR_ASCENDING, "code");
    ASSERT_EQ(walkOn(cursor, DB_CURSOR_MoveFirst(cursor)).size(), ids.size());

    EXPECT_EQ(DB_CURSOR_MoveNext(cursor), DB_ERR_NOT_FOUND);
    unsigned id = 77;
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &table), DB_ERR_NOT_FOUND);
    EXPECT_EQ(id, 77u);
    EXPECT_EQ(DB_CURSOR_MoveFirst(cursor), DB_OK);
    EXPECT_EQ(currentId(cursor), ids[1]);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
}

TEST_F(SqliteCursorTest, MoveNextOfACursorThatStandsOnNoRecordFindsNothing)
{
    void* cursor = openCursor(DB_CURSOR_ASCENDING, "code");
    EXPECT_EQ(DB_CURSOR_MoveNext(cursor), DB_ERR_NOT_FOUND);

    void* term = DB_TERM_Open();
    ASSERT_EQ(DB_TERM_CHAR_Equal(term, "code", "Z"), DB_OK);
    ASSERT_EQ(DB_CURSOR_Locate(cursor, term), DB_ERR_NOT_FOUND);
    EXPECT_EQ(DB_CURSOR_MoveNext(cursor), DB_ERR_NOT_FOUND);
    EXPECT_EQ(DB_TERM_Close(term), DB_OK);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
}

TEST_F(SqliteCursorTest, MoveNextGoesOnFromTheRecordLocateFound)
{
    // The term chooses where the walk starts; the moves after it go along the whole order.
    const struct {
        int order;
        const char* title;
        std::vector<unsigned> expected;
    } cases[] = {
        {DB_CURSOR_ASCENDING, "third", idsAt({2, 4, 0, 3})},
        {DB_CURSOR_DESCENDING, "fifth", idsAt({4, 2, 1})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.title);
        void* cursor = openCursor(c.order, "code");
        void* term = DB_TERM_Open();
        ASSERT_EQ(DB_TERM_CHAR_Equal(term, "title", c.title), DB_OK);
        EXPECT_EQ(walkOn(cursor, DB_CURSOR_Locate(cursor, term)), c.expected);
        EXPECT_EQ(DB_TERM_Close(term), DB_OK);
        EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
    }
}

TEST_F(SqliteCursorTest, WalkTakesRecordsWithoutAValueFirstAscendingAndLastDescending)
{
    // Two records inserted through a binding that leaves "big" out; the fixture's have big 0.
    customEntries.pop_back();
    void* partial = bindTo(table, customBinding);
    std::vector<unsigned> valueless;
    for (const char* code : {"N1", "N2"}) {
        Note note = makeNote(u"no big", code);
        unsigned id = 0;
        ASSERT_EQ(DB_TABLE_Insert(txn, table, &note, partial, &id), DB_OK);
        valueless.push_back(id);
    }
    EXPECT_EQ(DB_STRUCT_CloseBind(partial), DB_OK);

    std::vector<unsigned> ascending = valueless;
    ascending.insert(ascending.end(), ids.begin(), ids.end());
    EXPECT_EQ(walk(DB_CURSOR_ASCENDING, "big"), ascending);
    EXPECT_EQ(walk(DB_CURSOR_DESCENDING, "big"), reversed(ascending));
}

TEST_F(SqliteCursorTest, WalkSeesTheChangesOfItsOwnTransaction)
{
    void* cursor = openCursor(DB_CURSOR_ASCENDING, "code");
    ASSERT_EQ(DB_CURSOR_MoveFirst(cursor), DB_OK);
    ASSERT_EQ(currentId(cursor), ids[1]);

    // The current record and one ahead go; one comes in ahead, and one behind.
    ASSERT_EQ(DB_TABLE_Delete(txn, table, ids[1]), DB_OK);
    ASSERT_EQ(DB_TABLE_Delete(txn, table, ids[0]), DB_OK);
    const unsigned ahead = insert(txn, makeNote(u"ahead", "Z"));
    insert(txn, makeNote(u"behind", "0"));

    EXPECT_EQ(walkOn(cursor, DB_CURSOR_MoveNext(cursor)),
              (std::vector<unsigned>{ids[2], ids[4], ids[3], ahead}));
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
}

TEST_F(SqliteCursorTest, WalkDoesNotSeeRowsAnotherConnectionCommitsMeanwhile)
{
    void* cursor = openCursor(DB_CURSOR_ASCENDING, "code");
    ASSERT_EQ(DB_CURSOR_MoveFirst(cursor), DB_OK);
    auto other = lookInto(temp.path());
    ASSERT_NE(other, nullptr);
    ASSERT_EQ(other->exec("INSERT INTO notes (code) VALUES ('AB'), ('Z')"),
              tavplatform::sql::Status::Ok);

    EXPECT_EQ(walkOn(cursor, DB_CURSOR_MoveNext(cursor)), idsAt({2, 4, 0, 3}));
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    txn = begin();
    EXPECT_EQ(walk(DB_CURSOR_ASCENDING, "code").size(), ids.size() + 2);
}

TEST_F(SqliteCursorTest, MovesNeedAnOpenCursorOfAnOpenTransaction)
{
    void* closed = openCursor(DB_CURSOR_ASCENDING, "code");
    ASSERT_EQ(DB_CURSOR_Close(closed), DB_OK);
    void* term = DB_TERM_Open();
    void* ended = openCursor(DB_CURSOR_ASCENDING, "code");
    ASSERT_EQ(DB_CURSOR_MoveFirst(ended), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    txn = begin(); // for TearDown

    for (const auto move : {DB_CURSOR_MoveFirst, DB_CURSOR_MoveNext}) {
        EXPECT_EQ(move(nullptr), DB_ERR_NULL_HANDLE);
        EXPECT_EQ(move(closed), DB_ERR_INVALID_HANDLE);
        EXPECT_EQ(move(term), DB_ERR_INVALID_HANDLE);
        EXPECT_EQ(move(table), DB_ERR_INVALID_HANDLE);
        EXPECT_EQ(move(ended), DB_ERR_INVALID_HANDLE);
    }
    EXPECT_EQ(DB_TERM_Close(term), DB_OK);
    EXPECT_EQ(DB_CURSOR_Close(ended), DB_OK);
}

// ---- handles

TEST_F(SqliteDatabaseTest, NullHandlesGiveNullHandle)
{
    prepareNotes();
    void* txn = begin();
    void* null = nullptr;
    void* cursor = nullptr;
    ASSERT_EQ(DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, "code", &cursor), DB_OK);
    Note note{};
    unsigned id = 0;

    EXPECT_EQ(DB_TABLE_Insert(nullptr, table, &note, bind, &id), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(txn, nullptr, &note, bind, &id), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(txn, table, nullptr, bind, &id), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(txn, table, &note, nullptr, &id), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(txn, table, &note, bind, nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Update(nullptr, table, 1, &note, bind), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Update(txn, nullptr, 1, &note, bind), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Update(txn, table, 1, nullptr, bind), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Update(txn, table, 1, &note, nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Delete(nullptr, table, 1), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_Delete(txn, nullptr, 1), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_FetchRecord(nullptr, table, 1, &note, sizeof note, bind),
              DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_FetchRecord(txn, nullptr, 1, &note, sizeof note, bind), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_FetchRecord(txn, table, 1, nullptr, sizeof note, bind), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TABLE_FetchRecord(txn, table, 1, &note, sizeof note, nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TXN_Commit(nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TXN_Abort(nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_STRUCT_BindToCursor(nullptr, noteBinding, &null), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_Open(nullptr, &table, DB_CURSOR_ASCENDING, "code", &null),
              DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_Open(txn, nullptr, DB_CURSOR_ASCENDING, "code", &null), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_Open(txn, &null, DB_CURSOR_ASCENDING, "code", &null), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, nullptr, &null), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, "code", nullptr),
              DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_Close(nullptr), DB_ERR_NULL_HANDLE);
    void* term = DB_TERM_Open();
    EXPECT_EQ(DB_CURSOR_Locate(nullptr, term), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_Locate(cursor, nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(nullptr, &id, &table), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, nullptr, &table), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &null), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TERM_CHAR_Equal(nullptr, "code", "A"), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TERM_CHAR_Equal(term, nullptr, "A"), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TERM_CHAR_Equal(term, "code", nullptr), DB_ERR_NULL_HANDLE);
    EXPECT_EQ(DB_TERM_Close(nullptr), DB_ERR_NULL_HANDLE);

    EXPECT_EQ(DB_TERM_Close(term), DB_OK);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
    EXPECT_EQ(DB_TXN_Commit(txn), DB_OK);
}

TEST_F(SqliteDatabaseTest, HandlesOfTheWrongKindGiveInvalidHandle)
{
    prepareNotes();
    void* txn = begin();
    void* cursor = nullptr;
    ASSERT_EQ(DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, "code", &cursor), DB_OK);
    void* term = DB_TERM_Open();
    void* handle = nullptr;
    Note note{};
    unsigned id = 0;

    EXPECT_EQ(DB_TABLE_Close(bind), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Close(txn), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_STRUCT_BindToTable(cursor, noteBinding, &handle), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_STRUCT_BindToCursor(table, noteBinding, &handle), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_STRUCT_CloseBind(table), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TXN_Commit(table), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TXN_Abort(term), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(table, table, &note, bind, &id), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(txn, bind, &note, bind, &id), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(txn, table, &note, table, &id), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Update(txn, txn, 1, &note, bind), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Delete(txn, cursor, 1), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_FetchRecord(txn, table, 1, &note, sizeof note, term), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_Open(table, &table, DB_CURSOR_ASCENDING, "code", &handle),
              DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_Open(txn, &bind, DB_CURSOR_ASCENDING, "code", &handle),
              DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_Close(term), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_Locate(term, term), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_Locate(cursor, cursor), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(term, &id, &table), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &bind), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TERM_CHAR_Equal(cursor, "code", "A"), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TERM_Close(cursor), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(handle, nullptr);

    EXPECT_EQ(DB_TERM_Close(term), DB_OK);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_OK);
    EXPECT_EQ(DB_TXN_Commit(txn), DB_OK);
}

TEST_F(SqliteDatabaseTest, StaleHandlesGiveInvalidHandle)
{
    prepareNotes();
    void* txn = begin();
    void* cursor = nullptr;
    ASSERT_EQ(DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, "code", &cursor), DB_OK);
    void* term = DB_TERM_Open();
    ASSERT_EQ(DB_TERM_Close(term), DB_OK);
    ASSERT_EQ(DB_CURSOR_Close(cursor), DB_OK);
    ASSERT_EQ(DB_TXN_Commit(txn), DB_OK);
    void* live = begin();
    Note note{};
    unsigned id = 0;

    EXPECT_EQ(DB_TERM_Close(term), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TERM_CHAR_Equal(term, "code", "A"), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_GetCurrentRecordInfo(cursor, &id, &table), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TXN_Commit(txn), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(txn, table, &note, bind, &id), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, "code", &cursor),
              DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TXN_Commit(live), DB_OK);
}

TEST_F(SqliteDatabaseTest, HandlesOfAnotherDatabaseAreForeign)
{
    prepareNotes();
    void* txn = begin();
    void* cursor = nullptr;
    ASSERT_EQ(DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, "code", &cursor), DB_OK);
    void* term = DB_TERM_Open();
    void* ownDb = db();

    TempDatabase other;
    ASSERT_TRUE(other.isValid());
    void* handle = nullptr;
    Note note{};
    unsigned id = 0;
    EXPECT_EQ(DB_TABLE_Create(ownDb, kNotes, notesSchema().data()), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Open(ownDb, &handle, kNotes), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Close(table), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_STRUCT_BindToTable(table, noteBinding, &handle), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_STRUCT_CloseBind(bind), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(txn, table, &note, bind, &id), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TXN_Commit(txn), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_Close(cursor), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TERM_Close(term), DB_ERR_INVALID_HANDLE);
    // The other database's first handles must not coincide with this one's.
    EXPECT_EQ(DB_TABLE_Create(DB_DB_GetNativeDB(), kNotes, notesSchema().data()), DB_OK);
    void* otherTable = nullptr;
    ASSERT_EQ(DB_TABLE_Open(DB_DB_GetNativeDB(), &otherTable, kNotes), DB_OK);
    EXPECT_NE(otherTable, table);
}

TEST_F(SqliteDatabaseTest, ArbitraryPointersAreNotHandles)
{
    prepareNotes();
    int local = 0;
    void* bogus = &local;
    void* handle = nullptr;
    Note note{};
    unsigned id = 0;
    EXPECT_EQ(DB_TABLE_Close(bogus), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_STRUCT_BindToTable(bogus, noteBinding, &handle), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TXN_Commit(bogus), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TABLE_Insert(bogus, table, &note, bind, &id), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_CURSOR_Locate(bogus, bogus), DB_ERR_INVALID_HANDLE);
    EXPECT_EQ(DB_TERM_CHAR_Equal(bogus, "code", "A"), DB_ERR_INVALID_HANDLE);
}

// ---- files that cannot serve as the database

void writeFile(const QString& path, const QByteArray& bytes, qint64 at = 0)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.seek(at));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

TEST_F(SqliteDatabaseTest, FileThatIsNotADatabaseGivesCorrupt)
{
    writeFile(temp.path(), QByteArray(8192, 'x'));

    EXPECT_EQ(DB_DB_GetNativeDB(), nullptr);
    void* handle = nullptr;
    EXPECT_EQ(DB_TABLE_Open(DB_DB_GetNativeDB(), &handle, kNotes), DB_ERR_CORRUPT);
    EXPECT_EQ(DB_TABLE_Create(DB_DB_GetNativeDB(), kNotes, notesSchema().data()), DB_ERR_CORRUPT);
    EXPECT_EQ(DB_TXN_Begin(&handle, 0), DB_ERR_CORRUPT);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(DB_DB_CheckTableExist(DB_DB_GetNativeDB(), kNotes), 0);
}

TEST_F(SqliteDatabaseTest, DamagedPagesGiveCorrupt)
{
    prepareNotes();
    insertCommitted(makeNote(u"t", "c"));
    temp.reopen(); // the file is closed; the new database opens it on first use
    // The log kept beside the file holds good copies of the pages; only the file is damaged.
    for (const char* suffix : {"-wal", "-shm"})
        ASSERT_TRUE(QFile::remove(temp.path() + QLatin1String(suffix)));
    const qint64 pageSize = 4096;
    const qint64 size = QFileInfo(temp.path()).size();
    ASSERT_GT(size, pageSize);
    writeFile(temp.path(), QByteArray(int(size - pageSize), char(0xA5)), pageSize);

    void* handle = nullptr;
    EXPECT_EQ(DB_TABLE_Open(DB_DB_GetNativeDB(), &handle, kNotes), DB_ERR_CORRUPT);
}

TEST_F(SqliteDatabaseTest, LogFilesStayWhenTheDatabaseIsClosed)
{
    prepareNotes();
    insertCommitted(makeNote(u"t", "c"));
    temp.reopen();
    EXPECT_TRUE(QFile::exists(temp.path() + QStringLiteral("-wal")));
    EXPECT_TRUE(QFile::exists(temp.path() + QStringLiteral("-shm")));
}

TEST_F(SqliteDatabaseTest, FileInAMissingDirectoryCannotBeOpened)
{
    tavplatform::SqliteDatabase missing(temp.directory() + QStringLiteral("/missing/device.db"));
    const tavplatform::ScopedDatabaseService installed(&missing);

    EXPECT_EQ(DB_DB_GetNativeDB(), nullptr);
    void* handle = nullptr;
    EXPECT_EQ(DB_TABLE_Open(DB_DB_GetNativeDB(), &handle, kNotes), DB_ERR_CANT_OPEN);
    EXPECT_EQ(DB_TXN_Begin(&handle, 0), DB_ERR_CANT_OPEN);
}

// In a child process: the device database in a directory that cannot be written.
ChildVerdict readOnlyDirectoryChild(const QString& directory)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace for a read-only directory: " + why);
    const QString existing = directory + QStringLiteral("/existing");
    const QString empty = directory + QStringLiteral("/empty");
    QDir().mkpath(existing);
    QDir().mkpath(empty);
    {
        tavmms_test::InstalledDatabase made(existing + QStringLiteral("/device.db"));
        if (DB_TABLE_Create(DB_DB_GetNativeDB(), kNotes, notesSchema().data()) != DB_OK)
            return ChildVerdict::fail("could not make the database before the test");
    }
    for (const QString& dir : {existing, empty}) {
        if (const std::string why = tavmms_test::makeReadOnly(dir); !why.empty())
            return ChildVerdict::skip("cannot make a directory read-only: " + why);
        tavmms_test::InstalledDatabase readOnly(dir + QStringLiteral("/device.db"));
        void* handle = nullptr;
        const int opened = DB_TABLE_Open(DB_DB_GetNativeDB(), &handle, kNotes);
        const int begun = DB_TXN_Begin(&handle, 0);
        if (opened != DB_ERR_READ_ONLY || begun != DB_ERR_READ_ONLY)
            return ChildVerdict::fail(dir.toStdString() + ": open gave " + std::to_string(opened) +
                                      ", begin gave " + std::to_string(begun) + ", expected " +
                                      std::to_string(DB_ERR_READ_ONLY));
    }
    return ChildVerdict::pass();
}

TEST(SqliteDatabaseFilesTest, ReadOnlyDirectoryGivesReadOnly)
{
    QTemporaryDir temp;
    ASSERT_TRUE(temp.isValid());
    ChildProcess child([&](ChildProcess&) { return readOnlyDirectoryChild(temp.path()); });
    const ChildVerdict verdict = child.finish(std::chrono::seconds(30));
    if (verdict.kind == ChildVerdict::Skipped)
        GTEST_SKIP() << verdict.message;
    EXPECT_EQ(verdict.kind, ChildVerdict::Passed) << verdict.message;
}

// In a child process, on a small file system of its own: a transaction that outgrows the memory
// cache and then the disk, so that the engine itself rolls it back.
ChildVerdict fullDiskInALongTransactionChild(const QString& directory)
{
    if (const std::string why = tavmms_test::enterPrivateMountNamespace(); !why.empty())
        return ChildVerdict::skip("no private mount namespace for a small file system: " + why);
    if (const std::string why = tavmms_test::mountSmallTmpfs(directory, 1024); !why.empty())
        return ChildVerdict::skip("no small file system to fill: " + why);
    const QString path = directory + QStringLiteral("/device.db");
    tavmms_test::InstalledDatabase installed(path);
    void* table = nullptr;
    void* bind = nullptr;
    void* txn = nullptr;
    void* cursor = nullptr;
    void* term = DB_TERM_Open();
    Note note = makeNote(u"committed", "kept");
    unsigned id = 0;
    if (DB_TABLE_Create(DB_DB_GetNativeDB(), kNotes, notesSchema().data()) != DB_OK ||
        DB_TABLE_Open(DB_DB_GetNativeDB(), &table, kNotes) != DB_OK ||
        DB_STRUCT_BindToTable(table, noteBinding, &bind) != DB_OK ||
        DB_TXN_Begin(&txn, 0) != DB_OK || DB_TABLE_Insert(txn, table, &note, bind, &id) != DB_OK ||
        DB_TXN_Commit(txn) != DB_OK || DB_TXN_Begin(&txn, 0) != DB_OK ||
        DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, "code", &cursor) != DB_OK ||
        DB_CURSOR_MoveFirst(cursor) != DB_OK)
        return ChildVerdict::fail("could not prepare the table");

    int result = DB_OK;
    for (int i = 0; result == DB_OK; ++i) {
        if (i == 1000000)
            return ChildVerdict::fail("the disk never filled");
        note = makeNote(u"pending", "lost", quint32(i));
        result = DB_TABLE_Insert(txn, table, &note, bind, &id);
    }
    if (result != DB_ERR_DISK_FULL)
        return ChildVerdict::fail("the failed insert gave " + std::to_string(result));
    void* nested = nullptr;
    const int results[] = {
        DB_TABLE_Insert(txn, table, &note, bind, &id),
        DB_TABLE_Delete(txn, table, 1),
        DB_TXN_Begin(&nested, 0),
        DB_CURSOR_MoveFirst(cursor),
        DB_CURSOR_MoveNext(cursor),
        DB_CURSOR_Locate(cursor, term),
        DB_TXN_Commit(txn),
    };
    for (const int r : results) {
        if (r != DB_ERR_TXN_ROLLED_BACK)
            return ChildVerdict::fail("a call on the rolled back transaction gave " +
                                      std::to_string(r));
    }
    if (const int r = DB_TXN_Abort(txn); r != DB_OK)
        return ChildVerdict::fail("abort gave " + std::to_string(r));
    if (DB_CURSOR_Close(cursor) != DB_OK || DB_TERM_Close(term) != DB_OK)
        return ChildVerdict::fail("could not close the cursor and the term");
    auto look = lookInto(path);
    if (!look || queryInt(*look, "SELECT count(*) FROM notes") != 1 ||
        queryText(*look, "SELECT code FROM notes") != "kept")
        return ChildVerdict::fail("the table does not hold exactly the committed row");
    return ChildVerdict::pass();
}

TEST(SqliteDatabaseFilesTest, FullDiskInALongTransactionLeavesOnlyAbortToDo)
{
    QTemporaryDir temp;
    ASSERT_TRUE(temp.isValid());
    ChildProcess child([&](ChildProcess&) { return fullDiskInALongTransactionChild(temp.path()); });
    const ChildVerdict verdict = child.finish(std::chrono::seconds(60));
    if (verdict.kind == ChildVerdict::Skipped)
        GTEST_SKIP() << verdict.message;
    EXPECT_EQ(verdict.kind, ChildVerdict::Passed) << verdict.message;
}

TEST(SqliteDatabaseFilesTest, DefaultFileIsDeviceDbInThePlatformDirectory)
{
    QTemporaryDir temp;
    ASSERT_TRUE(temp.isValid());
    const tavmms_test::ScopedEnvironment platformDir("TAV_PLATFORM_DIR",
                                                     QFile::encodeName(temp.path()));
    EXPECT_EQ(tavplatform::deviceDatabasePath(), temp.path() + QStringLiteral("/device.db"));
}

TEST(SqliteDatabaseFilesTest, NoDefaultFileWithoutAPlatformDirectory)
{
    const tavmms_test::ScopedEnvironment platformDir("TAV_PLATFORM_DIR", std::nullopt);
    const tavmms_test::ScopedEnvironment dataHome("XDG_DATA_HOME", std::nullopt);
    const tavmms_test::ScopedEnvironment home("HOME", std::nullopt);
    EXPECT_EQ(tavplatform::deviceDatabasePath(), QString());

    tavplatform::SqliteDatabase nowhere(tavplatform::deviceDatabasePath());
    const tavplatform::ScopedDatabaseService installed(&nowhere);
    EXPECT_EQ(DB_DB_GetNativeDB(), nullptr);
    void* txn = nullptr;
    EXPECT_EQ(DB_TXN_Begin(&txn, 0), DB_ERR_CANT_OPEN);
}

} // namespace
