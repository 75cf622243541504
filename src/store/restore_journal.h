#ifndef TAVMMS_STORE_RESTORE_JOURNAL_H
#define TAVMMS_STORE_RESTORE_JOURNAL_H

// What a restore is about to do to the store, kept in a directory of its own beside the mail file
// directory ("restore/" in the working directory) until it is done: the mail files read from the
// backup, the plan of the rows, settings and contacts it changes with what they were before, and,
// once the rows are added, their new ids. The message index, the settings store and the address
// book are three databases that cannot commit together; with the journal, whatever stops a
// restore (a failure, a kill, a power cut), the store is put back as it was or taken on to where
// the whole restore would have left it:
//
// 1. the mail files are written into the journal's directory and synced, then the plan;
// 2. the rows are added in one transaction of the index, held open, and their ids written;
// 3. the mail files are renamed to their new ids' names in the mail file directory;
// 4. the settings and the address book are written, each all or none;
// 5. the index's transaction commits: from here on the restore is done, whatever follows;
// 6. the journal's directory is removed.
//
// A restore cut short before 5 is undone (the mail files it placed are removed, the settings and
// contacts written back as they were), after 5 completed (4 written again, which changes nothing
// when it was done). Whether 5 was reached is told by the rows: they are there, as planned.

#include "contact_book.h"
#include "message_store_types.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace tavmms::store
{

class RestoreJournal
{
public:
    // A message to add: its row as it is to be, and its mail file when it has one: the file in
    // the journal's directory, with its SHA-256.
    struct Message {
        MMS_UTIL_DBStruct_T row{};
        unsigned int backupId = 0; // the id it had in the backup, which names its staged file
        bool hasMailFile = false;
        QByteArray sha256; // raw
    };

    // "<working directory>/restore/".
    static QString directory();
    // The staged mail file of the message that had `backupId`.
    static QString stagedMailFile(unsigned int backupId);
    // Whether a restore left its journal.
    static bool isThere();

    QList<Message> messages;
    std::optional<QJsonObject> settings;    // the settings to write, when they are replaced
    std::optional<QList<Contact>> contacts; // the address book to write, when replaced
    QString blockList;                      // the block list to write
    QJsonObject settingsBefore;             // what they were, to put back
    QList<Contact> contactsBefore;
    QString blockListBefore;
    QList<unsigned int> ids; // the new ids of `messages`, in their order, once their rows are added

    // Writes the plan (all but the ids) durably into the journal's directory.
    Status savePlan() const;
    // Writes the ids durably: from now on a restore cut short has mail files to take back.
    Status saveIds() const;
    // The journal left in the directory: the plan and, when they were written, the ids. Nothing,
    // with `status` set, when it cannot be read.
    static std::optional<RestoreJournal> load(Status* status);

    // Step 4: the settings, the block list and the address book as the plan has them.
    Status writeSettingsAndContacts() const;
    // Whether step 5 was reached: a message planned has its row, as planned. With no messages to
    // add, the restore is taken on.
    bool committed(Status* status) const;
    // Puts the store back as it was: the mail files placed under ids that have no row are
    // removed, and the settings, the block list and the address book written as they were.
    Status undo() const;
    // Removes the journal's directory and all it holds.
    static Status remove();
};

// Completes or undoes what a restore cut short left, as the journal says; nothing to do without
// one. Needs the store's lock held exclusive and the index table open.
Status completeInterruptedRestore();

} // namespace tavmms::store

#endif
