#ifndef TAVMMS_STORE_MAIL_FILE_NAMES_H
#define TAVMMS_STORE_MAIL_FILE_NAMES_H

// The names a message's files take in the mail file directory.

#include <QString>

#include <optional>

namespace tavmms::store
{

// A save writes the new file beside the old one under this suffix and renames it into place.
extern const QString kLeftoverSuffix; // ".tmp"
// A delete renames the mail file to this suffix before its row goes, and removes it after.
extern const QString kDeletedSuffix; // ".deleted"

// The name of the mail file of `id` within its directory, as the library names it: "17.mms".
QString mailFileName(unsigned int id);
// The id whose mail file is called `name`, or nothing for any other name ("017.mms" included).
std::optional<unsigned int> idOfMailFileName(const QString& name);

// Whether anything is called `path`, or it cannot be told (a name that cannot be looked at is
// taken as there).
bool nameIsTaken(const QString& path);

// Whether the mail file of `id`, or what a save or a delete leaves of one, is there: a new message
// never takes such an id.
bool idIsTaken(unsigned int id);

} // namespace tavmms::store

#endif
