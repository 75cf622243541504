#ifndef TAVMMS_STORE_BACKUP_RECORDS_H
#define TAVMMS_STORE_BACKUP_RECORDS_H

// The forms in which a backup keeps the store's rows, its settings and its address book, as JSON,
// and the way back from them into the store.

#include "contact_book.h"
#include "message_store_types.h"

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace tavmms::store
{

// The row's fields by their database names, texts as text and numbers as numbers, under "fields";
// a text field whose text does not write back to the same bytes (no valid UTF-8 or UTF-16 in it,
// or bytes after its terminator) has those bytes in base64 under "exact" too. "id" and
// "mailFile" (whether the mail file is in the backup) beside them.
QJsonObject rowToJson(const MessageRow& row, bool hasMailFile);
// The record rowToJson() was made from, to the byte; false with `error` set when a field is
// missing, of the wrong kind or does not fit.
bool rowFromJson(const QJsonObject& object, MMS_UTIL_DBStruct_T* record, QString* error);

// What the settings store holds of the messaging applications, group by group under "groups":
// the global group (sending options, block list), the profile list and each listed profile's
// group, the address book's group (owner and region) and the feature flags. Nothing, with `error`
// set, when the store cannot be read, since its defaults are no copy of what the user set.
std::optional<QJsonObject> settingsToJson(QString* error);
// Makes those groups hold exactly what `settings` (a settingsToJson() object) holds, groups it
// does not name emptied, when `settings` is given; then sets the block list to `blockList`. All
// in one batch of the settings store: all of it or none.
Status writeSettings(const std::optional<QJsonObject>& settings, const QString& blockList);

// The address book: every contact, in the order they were added, under "contacts", and the owner
// and region; `count` set to the number of contacts.
std::optional<QJsonObject> contactsToJson(qsizetype* count, QString* error);
// `contacts` under "contacts", as contactsToJson() keeps them.
QJsonObject contactListToJson(const QList<Contact>& contacts);
// The contacts of a contactsToJson() or contactListToJson() object.
QList<Contact> contactsFromJson(const QJsonObject& object);

} // namespace tavmms::store

#endif
