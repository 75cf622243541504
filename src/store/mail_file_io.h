#ifndef TAVMMS_STORE_MAIL_FILE_IO_H
#define TAVMMS_STORE_MAIL_FILE_IO_H

// How the store writes a new message's mail file: the format MMS_UTIL_MailFile writes, saved so
// that it never takes the place of a file that is there, and read back whole before the message
// counts as kept.

#include "message_store_types.h"
#include "mms_util_mailfile.h"
#include "mms_util_msgheaderbase.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <sys/uio.h>

namespace tavmms::store
{

// Writes all of `parts` to `fd`, again after a signal or a short write; 0, or -1 with errno.
int writeAll(int fd, iovec* parts, int count);

// The header text block of `header`, as a mail file holds it.
QByteArray headerBlock(MMS_UTIL_MsgHeaderBase& header);

// Renames `from` to `to` unless `to` exists (EEXIST then). Tries renameat2() with
// RENAME_NOREPLACE; on a file system without it, link() and unlink(); on one without hard links,
// an O_EXCL placeholder that the rename then replaces. 0, or -1 with errno set.
int renameWithoutReplacing(const QByteArray& from, const QByteArray& to);
// The two fallbacks on their own, for file systems that lack the ways before them.
int linkWithoutReplacing(const QByteArray& from, const QByteArray& to);
int placeholderWithoutReplacing(const QByteArray& from, const QByteArray& to);

// Writes a new mail file `path` holding the header text block `block` and `body`: "<path>.tmp"
// made with O_EXCL, synced, renamed to `path` without replacing anything, and the directory
// synced. On failure nothing of it stays; Exists when `path` or its ".tmp" is there already,
// NoSpace on a full disk.
Status saveNewMailFile(const QString& path, const QByteArray& block, const QByteArray& body);
// The same with the block of `header`.
Status saveNewMailFile(const QString& path, MMS_UTIL_MsgHeaderBase& header, const QByteArray& body);

// Reads the header text block `block` into `header`, as MMS_UTIL_MailFile reads it after a body.
void readHeaderBlock(const QByteArray& block, MMS_UTIL_MsgHeaderBase* header);

// The keys of a header block, in the order MMS_UTIL_MailFile writes them ("From:", "To:", ...).
const QList<QByteArray>& headerKeys();

// The key of a header block's `line` as MMS_UTIL_MailFile's reader takes it: the line up to its
// first blank, or the whole line.
QByteArrayView keyOfLine(QByteArrayView line);

// The 16-byte record at the start of a mail file, its words big-endian.
MMS_UTIL_MAILFILE_HEADER_T recordOf(const unsigned char* bytes);

// The key of the first line in which the header read back from `block` would be written
// otherwise ("To:" for a name the entry text form cannot carry), or nothing when `block` reads
// back as it stands: what a reader of the mail file will find.
QString readBackDifference(const QByteArray& block);

} // namespace tavmms::store

#endif
