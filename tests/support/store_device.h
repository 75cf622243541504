#ifndef TAVMMS_TESTS_STORE_DEVICE_H
#define TAVMMS_TESTS_STORE_DEVICE_H

#include "message_store_types.h"
#include "mms_util_dbstruct.h"

#include "support/index_table_helpers.h"
#include "support/scoped_environment.h"
#include "support/temp_address_book.h"
#include "support/temp_database.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QTemporaryDir>

#include <ostream>

namespace tavmms_test
{

// A phone's whole store on temporary files, installed while the object lives: the store's
// directories, its index, its settings and its address book. Two in turn are two phones.
class StoreDevice
{
public:
    StoreDevice();
    StoreDevice(const StoreDevice&) = delete;
    StoreDevice& operator=(const StoreDevice&) = delete;

    bool isValid() const { return dir.isValid() && book.isValid(); }
    QString mailFile(unsigned int id) const;
    // Gives the store what a phone in use has set: a contact (Ann, a number and an e-mail
    // address), the owner (Me, +4915550100), a profile "Work" with its server, a block list
    // (+4915550666) and read reports asked for. A failure fails the test.
    void fillSettingsAndContacts();
    QString filePath(const QString& name) const { return dir.filePath(name); }

    QTemporaryDir dir;
    ScopedEnvironment platform;
    ScopedEnvironment download;
    ScopedIndexTableState indexState;
    const QString databasePath; // where mmsutil, run on the same directory, finds the index too
    InstalledDatabase database;
    TempAddressBook book;
};

// A message with a text and two attachments, dated `date` (invalid: now).
tavmms::store::NewMessage messageWithAttachments(const QString& subject,
                                                 const QDateTime& date = {});

// Everything a restore may change, as a test compares it: every row's fields but the id, by id;
// every mail file's bytes, by id; the settings, the address book and the names in the working
// directory.
struct StoreState {
    QMap<unsigned int, QByteArray> rows;
    QMap<unsigned int, QByteArray> mailFiles;
    QJsonObject settings;
    QJsonObject contacts;
    QStringList workNames;

    bool operator==(const StoreState& other) const;
};
// What differs between states shows in a failure: the ids, the settings, contacts and names.
void PrintTo(const StoreState& state, std::ostream* out);
// The state of the store installed now; a failure to read it fails the test.
StoreState storeState();
// The fields of `record` but its id, as StoreState keeps them.
QByteArray rowFieldBytes(const MMS_UTIL_DBStruct_T& record);

} // namespace tavmms_test

#endif
