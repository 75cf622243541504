#ifndef TAVMMS_STORE_CONTACT_BOOK_H
#define TAVMMS_STORE_CONTACT_BOOK_H

// The phone's address book as the messaging applications keep it: contacts imported from vCard
// files, replaced all at once, listed, looked up as a viewer names a sender, and removed; the
// owner and the region in which national numbers are read. Each call works on the platform's
// address book service.

#include "address_book_contact.h"
#include "mms_util_entry.h"
#include "tavmms_global.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace tavmms::store
{

using tavplatform::Contact;
using tavplatform::ContactAddress;

// A vCard file to import: its name, for the report, and its bytes.
struct VCardFile {
    QString name;
    QByteArray data;
};

// Lines of a vCard file that were skipped, and why.
struct SkippedLines {
    QString file;
    int line;       // the first, counting from 1
    int lines;      // how many: 1, or all of a vCard's
    QString reason; // in English, for the person importing the file
};

struct ContactImport {
    qsizetype contacts = 0; // read from the files
    int added = 0;          // new to the book
    int replaced = 0;       // that took the place of one the book held
    QList<SkippedLines> skipped;
};
// Reads the contacts of `files` (vCard 2.1, 3.0 and 4.0) and adds them to the book, all or none;
// a contact the book holds already is replaced, so importing a file again adds nothing. Lines that
// cannot be read are skipped and reported, the rest of their vCard kept. Nothing, with `error`
// set, when the book cannot be written.
TAVMMS_EXPORT std::optional<ContactImport> importVCards(const QList<VCardFile>& files,
                                                        QString* error);

// Makes the book hold exactly `contacts`, in their order, all or none, as a restore of the phone's
// backup needs. False, with `error` set and the book unchanged, when it cannot be written.
TAVMMS_EXPORT bool replaceContacts(const QList<Contact>& contacts, QString* error);

// Every contact, in the order they were first added; nothing, with `error` set, when the book
// cannot be read.
TAVMMS_EXPORT std::optional<QList<Contact>> listContacts(QString* error);

// The contact that holds `address` (an e-mail entry by its address, any other by its number), as
// a viewer names a sender.
struct ContactMatch {
    QString name;  // the contact's name
    QString label; // the label of the number or address that matched
};
// Nothing when no contact with a name holds it; nothing with `error` set when the book could not
// be read, which is not the same answer.
TAVMMS_EXPORT std::optional<ContactMatch> lookupContact(const MMS_UTIL_Entry& address,
                                                        QString* error);

struct ContactRemoval {
    QList<Contact> removed;     // in the order they were first added
    QList<qsizetype> unmatched; // the positions in the addresses given that no contact held
};
// Removes every contact holding one of `addresses` (matched as lookupContact() matches them), all
// or none. Nothing, with `error` set, when the book cannot be written.
TAVMMS_EXPORT std::optional<ContactRemoval> removeContacts(const QList<MMS_UTIL_Entry>& addresses,
                                                           QString* error);

// The phone owner, which MMS_UTIL_Common::getOwnerEntry reads; an empty number forgets the owner.
// False with errno set when it cannot be stored.
TAVMMS_EXPORT bool setOwner(const QString& name, const QString& number);

// The two-letter region national numbers are read in ("ZZ": none).
TAVMMS_EXPORT QString contactRegion();
// False with errno EINVAL for a code phone numbers are not known for, else errno from the store.
TAVMMS_EXPORT bool setContactRegion(const QString& region);

} // namespace tavmms::store

#endif
