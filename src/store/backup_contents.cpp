#include "backup_contents.h"

#include "file_descriptor.h"
#include "file_status.h"
#include "mail_file_io.h"
#include "mail_file_names.h"
#include "message_store.h"
#include "sha256.h"
#include "store_archive_reader.h"
#include "store_backup.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QSet>
#include <QStringList>

#include <cerrno>
#include <climits>
#include <cmath>
#include <fcntl.h>
#include <optional>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace tavmms::store
{

namespace
{

// Read and hashed a block at a time, so that a mail file is never held whole.
constexpr qint64 kBlockSize = 64 * 1024;

const QString kManifest = QStringLiteral("manifest.json");
const QString kIndex = QStringLiteral("index.json");
const QString kSettings = QStringLiteral("settings.json");
const QString kContacts = QStringLiteral("contacts.json");

const QString kMessagesFolder = QStringLiteral("messages/");

QString mailFileMember(unsigned int id)
{
    return kMessagesFolder + mailFileName(id);
}

// The id of the member "messages/<id>.mms", its id written as the backup writes it (decimal, no
// sign, no leading zero, 1 to the largest row id); 0 for any other name.
unsigned int mailFileId(const QString& name)
{
    if (!name.startsWith(kMessagesFolder))
        return 0;
    return idOfMailFileName(name.mid(kMessagesFolder.size())).value_or(0);
}

// A JSON number that is a whole number between `lowest` and `highest`.
std::optional<qint64> wholeNumber(const QJsonValue& value, double lowest, double highest)
{
    const double number = value.toDouble(std::nan(""));
    if (!value.isDouble() || number != std::trunc(number) || number < lowest || number > highest)
        return std::nullopt;
    return qint64(number);
}

struct MemberSum {
    qint64 size = 0;
    QByteArray sha256;
};

// One pass over the archive, member by member, and the checks of what it held once at its end.
class BackupCheck
{
public:
    BackupCheck(const QString& path, const QString& stagingDirectory)
        : path_(path), staging_(stagingDirectory), reader_(path)
    {
    }

    BackupContents run()
    {
        if (!reader_.isOpen())
            contents_.status = cannotRead();
        else if (readMembers() && checkManifest() && readJson())
            checkRows();
        return std::move(contents_);
    }

private:
    bool refused(const QString& what)
    {
        contents_.status = Status::failure(
            ErrorCode::Invalid, QStringLiteral("the backup '%1' is damaged: %2").arg(path_, what));
        return false;
    }
    bool refusedMember(const QString& name, const QString& what)
    {
        return refused(QStringLiteral("member '%1' %2").arg(name, what));
    }

    Status cannotRead() const
    {
        QString text =
            QStringLiteral("the backup '%1' cannot be read: %2").arg(path_, reader_.error());
        if (reader_.errorNumber() != 0)
            text += QStringLiteral(": ") + errnoText(reader_.errorNumber());
        return Status::failure(ErrorCode::Invalid, text);
    }

    bool readMembers()
    {
        ArchiveReader::Entry entry;
        for (;;) {
            switch (reader_.next(&entry)) {
            case ArchiveReader::Next::End:
                if (!manifestRead_)
                    return refusedMember(kManifest, QStringLiteral("is missing"));
                return true;
            case ArchiveReader::Next::Error:
                contents_.status = cannotRead();
                return false;
            case ArchiveReader::Next::Entry:
                if (!readMember(entry))
                    return false;
                break;
            }
        }
    }

    bool readMember(const ArchiveReader::Entry& entry)
    {
        const QString& name = entry.name;
        // Written last because it sums up all before it: anything after it is in no sum.
        if (manifestRead_)
            return refusedMember(name, QStringLiteral("follows the manifest"));
        if (!entry.regularFile)
            return refusedMember(name, QStringLiteral("is not a regular file"));
        const unsigned int id = mailFileId(name);
        const bool json = name == kIndex || name == kSettings || name == kContacts;
        if (id == 0 && !json && name != kManifest)
            return refusedMember(name, QStringLiteral("has a name no backup holds"));
        if (sums_.contains(name) || json_.contains(name))
            return refusedMember(name, QStringLiteral("appears twice"));
        const qint64 largest = id != 0 ? MessageStore::kLargestBody : kLargestBackupJson;
        if (entry.size < 0 || entry.size > largest)
            return refusedMember(
                name,
                QStringLiteral("is larger than %1 bytes (%2 bytes)").arg(largest).arg(entry.size));
        if (id != 0)
            return readMailFile(entry, id);
        QByteArray data;
        MemberSum sum;
        if (!readData(entry, &data, {-1, QString()}, &sum))
            return false;
        if (name == kManifest)
            manifestRead_ = true;
        else
            addSum(name, sum);
        json_.insert(name, data);
        return true;
    }

    bool readMailFile(const ArchiveReader::Entry& entry, unsigned int id)
    {
        BackupMailFile mailFile;
        mailFile.id = id;
        MemberSum sum;
        if (staging_.isEmpty()) {
            if (!readData(entry, nullptr, {-1, QString()}, &sum))
                return false;
        } else {
            // Named by the id alone: a name from the archive never reaches the file system.
            const QString staged = QDir(staging_).filePath(mailFileName(id));
            const QString what = QStringLiteral("cannot write the mail file '%1'").arg(staged);
            FileDescriptor file{::open(QFile::encodeName(staged).constData(),
                                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600)};
            if (file.fd < 0) {
                contents_.status = fileFailure(what, errno);
                return false;
            }
            mailFile.stagedPath = staged;
            if (!readData(entry, nullptr, {file.fd, what}, &sum))
                return false;
            if (::close(std::exchange(file.fd, -1)) != 0) {
                contents_.status = fileFailure(what, errno);
                return false;
            }
        }
        mailFile.size = sum.size;
        mailFile.sha256 = sum.sha256;
        addSum(entry.name, sum);
        contents_.mailFiles.append(mailFile);
        return true;
    }

    void addSum(const QString& name, const MemberSum& sum)
    {
        sums_.insert(name, sum);
        order_.append(name);
    }

    // Where a mail file is staged: its descriptor (-1: nowhere) and the words of a failure.
    struct Staging {
        int fd;
        QString what;
    };

    // Reads the entry's data, hashing it, into `data` when given and to `staging`'s descriptor.
    bool readData(const ArchiveReader::Entry& entry, QByteArray* data, const Staging& staging,
                  MemberSum* sum)
    {
        Sha256 hash;
        QByteArray block(kBlockSize, Qt::Uninitialized);
        qint64 total = 0;
        for (;;) {
            const qint64 n = reader_.read(block.data(), kBlockSize);
            if (n < 0) {
                contents_.status = cannotRead();
                return false;
            }
            if (n == 0)
                break;
            total += n;
            if (total > entry.size)
                return refusedMember(entry.name, QStringLiteral("holds more than its header says"));
            hash.addData(QByteArrayView(block.constData(), n));
            if (data)
                data->append(block.constData(), n);
            iovec part{block.data(), size_t(n)};
            if (staging.fd >= 0 && writeAll(staging.fd, &part, 1) != 0) {
                contents_.status = fileFailure(staging.what, errno);
                return false;
            }
        }
        if (total != entry.size)
            return refusedMember(entry.name, QStringLiteral("is cut short"));
        *sum = {total, hash.result()};
        return true;
    }

    std::optional<QJsonObject> jsonObject(const QString& name)
    {
        if (!json_.contains(name)) {
            refusedMember(name, QStringLiteral("is missing"));
            return std::nullopt;
        }
        const QJsonDocument document = QJsonDocument::fromJson(json_.value(name));
        if (!document.isObject()) {
            refusedMember(name, QStringLiteral("is not a JSON object"));
            return std::nullopt;
        }
        return document.object();
    }

    bool checkManifest()
    {
        const std::optional<QJsonObject> manifest = jsonObject(kManifest);
        if (!manifest)
            return false;
        contents_.manifest = *manifest;
        const QJsonValue format = manifest->value(QStringLiteral("format"));
        const std::optional<qint64> version = wholeNumber(format, 1, 1e15);
        if (!version)
            return refused(QStringLiteral("its manifest names no format"));
        if (*version > kBackupFormatVersion) {
            contents_.status = Status::failure(
                ErrorCode::Invalid, QStringLiteral("the backup '%1' was made by a newer release "
                                                   "(format %2)")
                                        .arg(path_)
                                        .arg(*version));
            return false;
        }
        // The manifest sums up no part of itself, and backups of older releases carry no checksum
        // over their zstd stream: what it says of the archive is checked at least for its kind.
        if (manifest->value(QStringLiteral("library")).toString().isEmpty() ||
            !QDateTime::fromString(manifest->value(QStringLiteral("created")).toString(),
                                   Qt::ISODate)
                 .isValid() ||
            !manifest->value(QStringLiteral("filter")).isObject() ||
            !manifest->value(QStringLiteral("counts")).isObject())
            return refused(
                QStringLiteral("its manifest lacks its library, date, filter or counts"));
        const QJsonValue members = manifest->value(QStringLiteral("members"));
        if (!members.isObject())
            return refused(QStringLiteral("its manifest lists no members"));
        const QJsonObject listed = members.toObject();
        for (const QString& name : std::as_const(order_)) {
            const QJsonValue value = listed.value(name);
            if (!value.isObject())
                return refusedMember(name, QStringLiteral("is not in the manifest"));
            const QJsonObject sum = value.toObject();
            const MemberSum& read = sums_[name];
            if (wholeNumber(sum.value(QStringLiteral("size")), 0, 1e15) != read.size)
                return refusedMember(name, QStringLiteral("does not have the size the "
                                                          "manifest gives"));
            if (sum.value(QStringLiteral("sha256")).toString() !=
                QString::fromLatin1(read.sha256.toHex()))
                return refusedMember(name, QStringLiteral("does not match its checksum"));
        }
        for (auto it = listed.constBegin(); it != listed.constEnd(); ++it) {
            if (!sums_.contains(it.key()))
                return refusedMember(it.key(), QStringLiteral("is missing"));
        }
        return true;
    }

    bool readJson()
    {
        const std::optional<QJsonObject> index = jsonObject(kIndex);
        if (!index)
            return false;
        const QJsonValue rows = index->value(QStringLiteral("rows"));
        if (!rows.isArray())
            return refusedMember(kIndex, QStringLiteral("holds no rows"));
        contents_.rows = rows.toArray();
        const std::optional<QJsonObject> settings = jsonObject(kSettings);
        if (!settings)
            return false;
        contents_.settings = *settings;
        const std::optional<QJsonObject> contacts = jsonObject(kContacts);
        if (!contacts)
            return false;
        contents_.contacts = *contacts;
        return true;
    }

    // Every row that says it has a mail file has it, and every mail file its row, as many as the
    // manifest counts: a restore makes each message from its row and its file together.
    bool checkRows()
    {
        QSet<qint64> ids;
        QSet<qint64> withMailFile;
        for (qsizetype i = 0; i < contents_.rows.size(); ++i) {
            const QJsonObject row = contents_.rows.at(i).toObject();
            const std::optional<qint64> id =
                wholeNumber(row.value(QStringLiteral("id")), 1, UINT_MAX);
            const QJsonValue mailFile = row.value(QStringLiteral("mailFile"));
            if (!id || !mailFile.isBool() || !row.value(QStringLiteral("fields")).isObject())
                return refusedMember(kIndex, QStringLiteral("holds a row without an id, "
                                                            "mailFile or fields (at %1)")
                                                 .arg(i));
            if (ids.contains(*id))
                return refusedMember(kIndex, QStringLiteral("holds the row %1 twice").arg(*id));
            ids.insert(*id);
            if (!mailFile.toBool())
                continue;
            withMailFile.insert(*id);
            if (!sums_.contains(mailFileMember(unsigned(*id))))
                return refusedMember(mailFileMember(unsigned(*id)), QStringLiteral("is missing"));
        }
        for (const BackupMailFile& mailFile : std::as_const(contents_.mailFiles)) {
            if (!withMailFile.contains(mailFile.id))
                return refusedMember(mailFileMember(mailFile.id),
                                     QStringLiteral("has no row in the index that names it"));
        }
        const QJsonObject counts = contents_.manifest.value(QStringLiteral("counts")).toObject();
        const std::pair<QString, qsizetype> expected[] = {
            {QStringLiteral("rows"), contents_.rows.size()},
            {QStringLiteral("mailFiles"), contents_.mailFiles.size()},
            {QStringLiteral("rowsWithoutMailFile"),
             contents_.rows.size() - contents_.mailFiles.size()},
            {QStringLiteral("contacts"),
             contents_.contacts.value(QStringLiteral("contacts")).toArray().size()}};
        for (const auto& [name, count] : expected) {
            if (wholeNumber(counts.value(name), 0, 1e15) != qint64(count))
                return refused(QStringLiteral("its manifest counts %1 %2, the archive holds %3")
                                   .arg(counts.value(name).toVariant().toString(), name)
                                   .arg(count));
        }
        return true;
    }

    const QString path_;
    const QString staging_;
    ArchiveReader reader_;
    BackupContents contents_;
    QHash<QString, MemberSum> sums_;  // every member but the manifest
    QStringList order_;               // their names in archive order, for the first to be named
    QHash<QString, QByteArray> json_; // the JSON members, the manifest among them
    bool manifestRead_ = false;
};

} // namespace

BackupContents readBackup(const QString& path, const QString& stagingDirectory)
{
    return BackupCheck(path, stagingDirectory).run();
}

} // namespace tavmms::store
