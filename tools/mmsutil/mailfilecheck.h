#ifndef MMSUTIL_MAILFILECHECK_H
#define MMSUTIL_MAILFILECHECK_H

// Whether a file in the mail file directory holds a whole message, as a save leaves it.

#include <QString>

#include <optional>

namespace cli
{

// Gives nothing when the file `path` loads completely: the library loads it, its 16-byte record
// is the one a save writes (body at offset 16, header block straight after the body), and its
// header block holds every key and ends in a line break. Otherwise gives why not, as a clause
// ("cut short in its body"). Reading the file is all it does.
std::optional<QString> mailFileDefect(const QString& path);

} // namespace cli

#endif
