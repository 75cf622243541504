#ifndef MMSUTIL_MMSHELPERS_H
#define MMSUTIL_MMSHELPERS_H

// Helpers that several mmsutil commands share over the library: addresses given on the command
// line, mail files loaded whole, row ids and the message index's failures.

#include "cli.h"
#include "textout.h"

#include <index_row_text.h>
#include <mail_file_reader.h>
#include <message_index.h>

#include <tavmmsutility.h>

#include <QCommandLineOption>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace cli
{

// The entries of an option that lists addresses (--to, --cc, --bcc), in `entries`: none when the
// option is not given. Gives the exit status of a usage error of `command` when a value is not an
// address or the option is given without one.
// With `recipients`, each must be an address one can send to (parseRecipients(), in the address
// book's region); otherwise any address an MMSC may send from is taken.
std::optional<int> entriesOf(const QCommandLineParser& parser, const QCommandLineOption& option,
                             const Command& command, QList<MMS_UTIL_Entry>* entries,
                             bool recipients = false);

// A content type's number as the content-type command reads it: decimal digits, or hexadecimal
// digits after "0x" or "0X"; a leading zero does not mean octal. A text not written so is no
// number (it may be the content type's name); a number so written has a value when it is 0 to 255.
struct ContentTypeNumber {
    bool written = false;
    std::optional<unsigned char> value;
};
ContentTypeNumber parseContentTypeNumber(const QString& text);

// A file extension the media player's table takes: letters, digits, "_", "+" and "-", not starting
// with a mark, without the dot. Gives nothing and sets `error` when the text is not one.
std::optional<QString> parseExtension(const QString& text, QString* error);

using tavmms::store::LoadedMailFile;
// Reads the body of a message from `path` ("-" for standard input) into `body`, no more than one
// byte over `limit`; gives the exit status when the command must stop here: ExitFailed when it
// cannot be read, ExitRefused, after saying so, when the body is over the limit.
std::optional<int> readBody(const QString& path, const tavmms::store::SizeLimit& limit,
                            QByteArray* body);

// "id" and every field of the index row by its database name.
QJsonObject rowToJson(unsigned int id, const MMS_UTIL_DBStruct_T& record);
// A mail file's header by its keys, entries as {name, type, address}.
QJsonObject headerToJson(const MMS_UTIL_MsgHeaderBase& header);
// A date as the mail file writes it; a date it would not write is empty.
QString mailFileDateText(const QDateTime& date);

// Loads the mail file `path`; reports why and gives nothing when it cannot be loaded.
std::optional<LoadedMailFile> loadMailFile(const QString& path);

// The message-type codes of MMS_UTIL_Common::getMsgTypeByContentType in words.
struct MessageTypeMeaning {
    int code;
    const char* meaning;
};
extern const MessageTypeMeaning kMessageTypeMeanings[5];
// The words for `code`; empty for a code that does not occur.
QString messageTypeMeaning(int code);

// The number given to `option` (e.g. --folder) in `number`, which stays as it is when the option
// is not given; gives the exit status of a usage error of `command` when it is not a number.
std::optional<int> numberOf(const QCommandLineParser& parser, const QCommandLineOption& option,
                            const Command& command, std::optional<unsigned int>* number);

// Parses a command whose one argument, described by `description`, is a row id of the message
// index into `id`; gives the exit status when the command must stop here.
std::optional<int> parseRowId(QCommandLineParser& parser, const Command& command,
                              const QStringList& arguments, const QString& description,
                              unsigned int* id);
// The row id `text`, given to `command`, in `id`; gives the exit status of a usage error when it
// is not one.
std::optional<int> rowIdOf(const Command& command, const QString& text, unsigned int* id);
// Reports the store's failure `status` on standard error and gives its exit code: ExitNo for what
// is not there, ExitRefused for what the store's rules refuse (and a message the MMSC could not
// give), ExitFailed for the rest.
int storeFailure(const tavmms::store::Status& status);
// Reports "<what>: <the database result in words>" and returns ExitFailed.
int databaseFailure(const QString& what, int code);
// The folder given to `option` (e.g. --folder), as parseFolder() reads it, in `folder`, which
// stays as it is when the option is not given; gives the exit status of a usage error of `command`
// when it is no folder.
std::optional<int> folderOf(const QCommandLineParser& parser, const QCommandLineOption& option,
                            const Command& command, std::optional<unsigned int>* folder);

// Parses a command whose arguments, one or more, are message ids into `ids`; gives the exit
// status when the command must stop here (a malformed id is a usage error).
std::optional<int> parseMessageIds(QCommandLineParser& parser, const Command& command,
                                   const QStringList& arguments, QList<unsigned int>* ids);
// Reports each id of `missing` as "no message N" on standard error and gives ExitNo.
int reportMissing(const QList<unsigned int>& missing);

// The options of a command that chooses messages as a listing does: by folder, read or not,
// sender, recipients, subject and time, in an order and a page of it. `verb` begins their help
// ("Lists", "Exports"), `what` names what the folder holds ("messages", "rows").
struct SelectOptions {
    explicit SelectOptions(const QString& verb, const QString& what = QStringLiteral("messages"));

    QCommandLineOption folder;
    QCommandLineOption unread;
    QCommandLineOption read;
    QCommandLineOption from;
    QCommandLineOption to;
    QCommandLineOption subject;
    QCommandLineOption since;
    QCommandLineOption until;
    QCommandLineOption sort;
    QCommandLineOption reverse;
    QCommandLineOption limit;
    QCommandLineOption offset;

    // Every option but --folder, which a listing of rows takes alone.
    QList<QCommandLineOption> all() const;
    QList<QCommandLineOption> withFolder() const;
    // Fills `filter` from the options of all() given, or from --folder; the exit status of a usage
    // error when the command must stop here.
    std::optional<int> fill(const QCommandLineParser& parser, const Command& command,
                            tavmms::store::ListFilter* filter) const;
    std::optional<int> fillFolder(const QCommandLineParser& parser, const Command& command,
                                  tavmms::store::ListFilter* filter) const;
    // --since and --until alone, for a command that takes them without the other options: the
    // span's first and last instants given, which stay as they are for an option not given.
    std::optional<int> fillTimes(const QCommandLineParser& parser, const Command& command,
                                 QDateTime* first, QDateTime* last) const;
    // Whether any of them, --folder too, is given.
    bool anySet(const QCommandLineParser& parser) const;
};

// How a command that lists rows of the message index (with --folder and --json) shows them.
struct RowList {
    QString description; // of the command; empty for its summary
    QString what;        // what is listed, e.g. "rows", for the options' help
    QString jsonHelp;    // the members of each JSON object
    QStringList heading;
    QList<int> rightAligned;
    std::function<QStringList(unsigned int id, const MMS_UTIL_DBStruct_T& row)> cells;
    std::function<QJsonObject(unsigned int id, const MMS_UTIL_DBStruct_T& row)> json;
    // The command also takes --read, --unread, --from, --to, --subject, --since, --until, --sort,
    // --reverse, --limit and --offset, and answers no (ExitNo) when no row is listed.
    bool selects = false;
};
// Runs such a command: the heading and one line of cells a row, in columns, or a JSON array.
int listRows(const Command& command, const QStringList& arguments, const RowList& list);

// ExitOk when `table` is open, else ExitFailed after reporting why.
int openStatus(const tavmms::store::IndexTable& table);

} // namespace cli

#endif
