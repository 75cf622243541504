// The reading back of a backup on arbitrary file content: none may crash, leak or hang, and the
// read into a staging directory writes nothing but "<id>.mms" files there and judges the archive
// as the dry read does.

#include "backup_contents.h"

#include "fuzz_require.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

namespace
{

// Memory-backed when the system has /dev/shm, which keeps each run cheap.
QString workDirectory()
{
    static QTemporaryDir dir((QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm")
                                                                        : QDir::tempPath()) +
                             QStringLiteral("/fuzz_backup-XXXXXX"));
    return dir.path();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString work = workDirectory();
    const QString path = work + QStringLiteral("/input.tar");
    const QString staging = work + QStringLiteral("/staging");
    QFile input(path);
    if (!input.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    input.write(reinterpret_cast<const char*>(data), qint64(size));
    input.close();

    using tavmms::store::BackupContents;
    using tavmms::store::ErrorCode;
    const BackupContents dry = tavmms::store::readBackup(path);
    require(dry.status.ok() || dry.status.code == ErrorCode::Invalid, "a dry read only refuses");

    QDir(staging).removeRecursively();
    require(QDir(work).mkdir(QStringLiteral("staging")), "the staging directory is made");
    const BackupContents staged = tavmms::store::readBackup(path, staging);
    require(staged.status.code == dry.status.code && staged.status.text == dry.status.text,
            "the staged read judges as the dry read does");
    require(QDir(work).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden) ==
                QStringList({QStringLiteral("input.tar"), QStringLiteral("staging")}),
            "nothing is written beside the staging directory");
    const QStringList names =
        QDir(staging).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    for (const QString& name : names)
        require(name.endsWith(QLatin1String(".mms")) &&
                    QFileInfo(staging + QLatin1Char('/') + name).isFile(),
                "only mail files are staged");
    if (staged.status.ok()) {
        require(names.size() == staged.mailFiles.size(), "every mail file is staged once");
        for (const tavmms::store::BackupMailFile& file : staged.mailFiles)
            require(file.stagedPath == staging + QStringLiteral("/%1.mms").arg(file.id) &&
                        QFileInfo(file.stagedPath).size() == file.size,
                    "a staged file is named by its id and holds its bytes");
    }
    return 0;
}
