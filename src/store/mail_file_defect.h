#ifndef TAVMMS_STORE_MAIL_FILE_DEFECT_H
#define TAVMMS_STORE_MAIL_FILE_DEFECT_H

// Whether a file in the mail file directory holds a whole message, as a save leaves it.

#include <QByteArray>
#include <QString>

#include <optional>

namespace tavmms::store
{

// Why a file does not load completely.
struct MailFileDefect {
    QString why;             // as a clause: "cut short in its body"
    bool unreadable = false; // reading it failed, so nothing is known of what it holds
};

// Gives nothing when the file `path` loads completely: the library loads it, its 16-byte record
// is the one a save writes (body at offset 16, header block straight after the body), and its
// header block holds every key and ends in a line break. Otherwise gives why not. Reading the
// file is all it does, and its body is not read. `headerBlock`, when given, receives the header
// block whenever the judgement got that far, also when it is cut short.
std::optional<MailFileDefect> mailFileDefect(const QString& path,
                                             QByteArray* headerBlock = nullptr);
// The same for the file `name` in the directory open as the descriptor `directory`, which spares
// finding the directory again for each of its files.
std::optional<MailFileDefect> mailFileDefect(int directory, const QString& name,
                                             QByteArray* headerBlock = nullptr);

} // namespace tavmms::store

#endif
