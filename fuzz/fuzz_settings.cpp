// What the settings are read from on arbitrary stored text: the settings store's value readers
// (a value another application wrote may be any text) and the block list's matching of an
// address. None may crash, read out of bounds or leak.
//
// The input's first line is an address, the rest the text stored: as a setting's value, and as
// the block list.

#include <tavmmsutility.h>

#include "sqlite_settings_store.h"

#include <QDir>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

namespace
{

// A settings store of the target's own, memory-backed when the system has /dev/shm.
tavplatform::SqliteSettingsStore& store()
{
    static QTemporaryDir dir((QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm")
                                                                        : QDir::tempPath()) +
                             QStringLiteral("/fuzz_settings-XXXXXX"));
    static tavplatform::SqliteSettingsStore opened(dir.filePath(QStringLiteral("settings.db")));
    return opened;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype cut = bytes.indexOf('\n');
    const QString address = QString::fromUtf8(cut < 0 ? bytes : bytes.left(cut));
    const QString stored = cut < 0 ? QString() : QString::fromUtf8(bytes.mid(cut + 1));

    MMS_UTIL_Setting::isInBlockList(stored, address);

    const QString group = QStringLiteral("fuzz");
    const QString key = QStringLiteral("value");
    tavplatform::SqliteSettingsStore& settings = store();
    if (!settings.writeText(group, key, stored, false))
        return 0;
    QString text;
    bool flag = false;
    int number = 0;
    unsigned int unsignedNumber = 0;
    settings.readText(group, key, text, QString(), false);
    settings.readBool(group, key, flag, false);
    settings.readInt(group, key, number, 0);
    settings.readUInt(group, key, unsignedNumber, 0);
    settings.entries(group);
    return 0;
}
