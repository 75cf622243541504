#include "mbox_export.h"

#include "export_file.h"
#include "mail_header.h"
#include "message_store.h"
#include "mms_util_msgheaderbase.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace tavmms::store
{

namespace
{

// What was done with one chosen message's mail message.
struct Written {
    Status status;
    bool skipped = false; // the message was not written, but the export goes on
};

// An export that ended, or never began, with `status`, and what it did before.
ExportedMany ended(const Status& status, ExportedMany done = {})
{
    done.status = status;
    return done;
}

// Reads each message of `store` that `filter` chooses, makes it a mail message and hands it to
// `write`; a message that does not read or does not make one is skipped, a failure of `write` that
// is not a skip ends the export.
ExportedMany
exportEach(MessageStore& store, const ListFilter& filter, const ExportManyOptions& options,
           const std::function<Written(const ReadMessage& message, const QByteArray& eml)>& write)
{
    const Listed listed = store.list(filter);
    if (!listed.status.ok())
        return ended(listed.status);
    if (listed.rows.isEmpty())
        return ended(Status::failure(ErrorCode::NotFound, QStringLiteral("no message is chosen")));
    ExportedMany result;
    ExportProgress progress{0, listed.rows.size()};
    if (options.progress)
        options.progress(progress);
    for (const MessageRow& row : listed.rows) {
        const ReadMessage message = store.read(row.id, true);
        const EmlMessage eml = emlMessage(message, options.eml);
        const Written written =
            eml.status.ok() ? write(message, eml.bytes) : Written{eml.status, true};
        if (written.skipped) {
            result.skipped.append({row.id, written.status});
        } else if (!written.status.ok()) {
            return ended(written.status, result);
        } else {
            ++result.exported;
            if (!message.mailFileDamage.isEmpty())
                result.damaged.append(
                    {row.id, Status::failure(ErrorCode::Failed,
                                             QStringLiteral("the mail file '%1' is damaged: %2")
                                                 .arg(row.mailFile(), message.mailFileDamage))});
        }
        ++progress.done;
        if (options.progress)
            options.progress(progress);
    }
    if (result.exported == 0)
        result.status =
            Status::failure(ErrorCode::Failed, QStringLiteral("none of the %1 chosen messages "
                                                              "could be exported")
                                                   .arg(listed.rows.size()));
    return result;
}

// The sender as the From line names it: an address without blanks, else MAILER-DAEMON.
QByteArray fromLineSender(const ReadMessage& message)
{
    const QByteArray address = message.header && !message.header->from.address.isEmpty()
                                   ? addrSpec(message.header->from)
                                   : QByteArray();
    const bool fits = !address.isEmpty() && std::all_of(address.begin(), address.end(), [](char c) {
        return c > 0x20 && c < 0x7f;
    });
    return fits ? address : QByteArrayLiteral("MAILER-DAEMON");
}

// "Mon May  6 05:08:09 2024": asctime()'s form, in English whatever the locale.
QByteArray asctimeText(const QDateTime& time)
{
    static const char* const kDays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const QDateTime utc = time.toUTC();
    const QDate date = utc.date();
    return QString::asprintf("%s %s %2d %02d:%02d:%02d %d", kDays[date.dayOfWeek() - 1],
                             kMonths[date.month() - 1], date.day(), utc.time().hour(),
                             utc.time().minute(), utc.time().second(), date.year())
        .toLatin1();
}

// Whether `line` begins with "From " after any number of ">".
bool isFromLine(QByteArrayView line)
{
    qsizetype start = 0;
    while (start < line.size() && line[start] == '>')
        ++start;
    return line.sliced(start).startsWith("From ");
}

} // namespace

QByteArray mboxFromLine(const ReadMessage& message)
{
    QDateTime time = message.header ? message.header->sendDate : QDateTime();
    if (!time.isValid())
        time = message.row.time();
    if (!time.isValid())
        time = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);
    return "From " + fromLineSender(message) + ' ' + asctimeText(time) + '\n';
}

QByteArray mboxEntry(const QByteArray& fromLine, const QByteArray& eml)
{
    QByteArray entry = fromLine;
    entry.reserve(fromLine.size() + eml.size() + 1);
    const QByteArray text = QByteArray(eml).replace("\r\n", "\n");
    qsizetype start = 0;
    while (start < text.size()) {
        const qsizetype end = text.indexOf('\n', start);
        const qsizetype next = end < 0 ? text.size() : end + 1;
        const QByteArrayView line = QByteArrayView(text).sliced(start, next - start);
        if (isFromLine(line))
            entry += '>';
        entry += line;
        start = next;
    }
    if (!entry.endsWith('\n'))
        entry += '\n';
    return entry + '\n';
}

ExportedMany exportMbox(MessageStore& store, const ListFilter& filter, const QString& path,
                        const ExportManyOptions& options)
{
    // Said before any message is read, which takes long; the rename checks again.
    if (!options.replace && QFileInfo::exists(path))
        return ended(Status::failure(ErrorCode::Exists, QStringLiteral("'%1' is there").arg(path)));
    ExportFile file(path);
    bool opened = false;
    ExportedMany result =
        exportEach(store, filter, options, [&](const ReadMessage& message, const QByteArray& eml) {
            if (!opened) {
                if (const Status status = file.open(); !status.ok())
                    return Written{status};
                opened = true;
            }
            return Written{file.write(mboxEntry(mboxFromLine(message), eml))};
        });
    if (result.status.ok())
        result.status = file.commit(options.replace);
    return result;
}

QString emlFilePath(const QString& directory, unsigned int id)
{
    return QDir(directory).filePath(QStringLiteral("%1.eml").arg(id));
}

ExportedMany exportEmlFiles(MessageStore& store, const ListFilter& filter, const QString& directory,
                            const ExportManyOptions& options)
{
    if (!QDir().mkpath(directory))
        return ended(Status::failure(
            ErrorCode::Failed, QStringLiteral("cannot make the directory '%1'").arg(directory)));
    return exportEach(
        store, filter, options, [&](const ReadMessage& message, const QByteArray& eml) {
            const Status status =
                saveExportFile(emlFilePath(directory, message.row.id), eml, options.replace);
            return Written{status, status.code == ErrorCode::Exists};
        });
}

} // namespace tavmms::store
