#include "mail_file_names.h"

#include "mms_util_common.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <sys/stat.h>

namespace tavmms::store
{

const QString kLeftoverSuffix = QStringLiteral(".tmp");
const QString kDeletedSuffix = QStringLiteral(".deleted");

QString mailFileName(unsigned int id)
{
    // MMS_UTIL_Common::msgDBIDToMailFileName() names it so within its directory; a check builds
    // a name for every file, without the path that function reads from the environment.
    return QString::number(id) + QStringLiteral(".mms");
}

std::optional<unsigned int> idOfMailFileName(const QString& name)
{
    const QString suffix = QStringLiteral(".mms");
    if (!name.endsWith(suffix))
        return std::nullopt;
    const QString digits = name.chopped(suffix.size());
    for (const QChar c : digits) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return std::nullopt;
    }
    bool ok = false;
    const unsigned int id = digits.toUInt(&ok);
    if (!ok || mailFileName(id) != name)
        return std::nullopt;
    return id;
}

bool nameIsTaken(const QString& path)
{
    struct stat status;
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 || errno != ENOENT;
}

bool idIsTaken(unsigned int id)
{
    const QString path = MMS_UTIL_Common::msgDBIDToMailFileName(id);
    return nameIsTaken(path) || nameIsTaken(path + kLeftoverSuffix) ||
           nameIsTaken(path + kDeletedSuffix);
}

} // namespace tavmms::store
