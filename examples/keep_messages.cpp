// Keeps a composed and a received message in the message store, lists them, reads one back,
// marks it read and deletes both: what a messaging application does through the store. It also
// counts the index's rows through the platform's database interface (DB_*), as applications
// written against that interface read them.
//
//   keep_messages DIRECTORY
//
// The store's files (the message index, the settings, the mail files) go below DIRECTORY, so that
// the example touches no messages of the phone.

#include <tavmmsutility.h>

#include <cstdio>

namespace store = tavmms::store;

namespace
{

MMS_UTIL_Entry entry(const QString& name, MMS_UTIL_ADDR_TYPE_T type, const QString& address)
{
    MMS_UTIL_Entry made;
    made.name = name;
    made.type = type;
    made.address = address;
    return made;
}

int failed(const char* what, const store::Status& status)
{
    std::fprintf(stderr, "%s: %s\n", what, qPrintable(status.text));
    return 1;
}

// The rows of the message index, walked with a cursor in a transaction of their own; -1 when the
// database cannot be read.
int countedRows()
{
    void* db = DB_DB_GetNativeDB();
    void* table = nullptr;
    if (!db || DB_TABLE_Open(db, &table, MMS_UTIL_DBTable::mmsTableName) != DB_OK)
        return -1;
    void* txn = nullptr;
    void* cursor = nullptr;
    int rows = -1;
    if (DB_TXN_Begin(&txn, 0) == DB_OK) {
        if (DB_CURSOR_Open(txn, &table, DB_CURSOR_ASCENDING, "id", &cursor) == DB_OK) {
            int r = DB_CURSOR_MoveFirst(cursor);
            for (rows = 0; r == DB_OK; r = DB_CURSOR_MoveNext(cursor))
                ++rows;
            if (r != DB_ERR_NOT_FOUND)
                rows = -1;
            DB_CURSOR_Close(cursor);
        }
        DB_TXN_Commit(txn);
    }
    DB_TABLE_Close(table);
    return rows;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    const QByteArray directory(argv[1]);
    qputenv("TAV_LOCAL_DOWNLOAD_PATH", directory + "/download");
    qputenv("TAV_PLATFORM_DIR", directory + "/platform");

    store::MessageStore messages;

    store::NewMessage composed;
    composed.from = entry(QStringLiteral("Me"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+15550100"));
    composed.to = {entry(QStringLiteral("Ann"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+15550101"))};
    composed.subject = QStringLiteral("Hello from libtavmmsutility");
    composed.body = "encoded multipart body"; // opaque to the store
    const store::Added sent = messages.compose(composed, store::Folder::Outbox);
    if (!sent.status.ok())
        return failed("compose", sent.status);

    store::NewMessage incoming;
    incoming.from = entry(QStringLiteral("Ann"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+15550101"));
    incoming.to = {composed.from};
    incoming.subject = QStringLiteral("Re: Hello");
    incoming.uri = QStringLiteral("http://mmsc.example/get/1"); // a second receive is a duplicate
    incoming.body = "encoded reply";
    const store::Added received = messages.receive(incoming);
    if (!received.status.ok())
        return failed("receive", received.status);

    const store::Listed listed = messages.list();
    if (!listed.status.ok())
        return failed("list", listed.status);
    for (const store::MessageRow& row : listed.rows)
        std::printf("%u %s %s: %s\n", row.id, qPrintable(store::folderName(row.folder())),
                    qPrintable(row.from()), qPrintable(row.subject()));

    std::printf("%d rows in the index\n", countedRows());

    const store::ReadMessage reply = messages.read(received.id);
    if (!reply.status.ok() || !reply.header)
        return failed("read", reply.status);
    std::printf("message %u: %lld bytes of body, %s\n", received.id,
                static_cast<long long>(reply.body.size()), reply.row.isRead() ? "read" : "unread");
    if (const store::Status marked = messages.setRead(received.id, true); !marked.ok())
        return failed("setRead", marked);

    for (const store::Removed& removed : messages.remove({sent.id, received.id})) {
        if (!removed.status.ok())
            return failed("remove", removed.status);
        std::printf("deleted message %u\n", removed.id);
    }
    return 0;
}
