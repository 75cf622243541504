#include "media_capability_service.h"

#include "settings_service.h"

#include <cerrno>

namespace tavplatform
{

namespace
{

const QString kGroup = QStringLiteral("TAV_Media_Player");
const QChar kSeparator = QLatin1Char(',');

ServiceSlot<MediaCapabilityService>& capabilitySlot()
{
    static ServiceSlot<MediaCapabilityService> instance(
        []() -> std::unique_ptr<MediaCapabilityService> {
            return std::make_unique<StoreMediaCapabilities>();
        });
    return instance;
}

// The key of `kind`'s list; empty for a value that names no list.
QString keyOf(MediaKind kind)
{
    switch (kind) {
    case MediaAudio:
        return QStringLiteral("audio");
    case MediaVideo:
        return QStringLiteral("video");
    }
    return QString();
}

bool refuse()
{
    errno = EINVAL;
    return false;
}

} // namespace

MediaCapabilityService::~MediaCapabilityService() = default;

QStringList StoreMediaCapabilities::factoryExtensions(MediaKind kind)
{
    switch (kind) {
    case MediaAudio:
        return {QStringLiteral("amr"), QStringLiteral("awb"),  QStringLiteral("mp3"),
                QStringLiteral("aac"), QStringLiteral("m4a"),  QStringLiteral("wav"),
                QStringLiteral("mid"), QStringLiteral("midi"), QStringLiteral("imy"),
                QStringLiteral("ogg"), QStringLiteral("opus")};
    case MediaVideo:
        return {QStringLiteral("3gp"), QStringLiteral("3g2"), QStringLiteral("mp4"),
                QStringLiteral("m4v"), QStringLiteral("webm")};
    }
    return QStringList();
}

QStringList StoreMediaCapabilities::playableExtensions(MediaKind kind)
{
    const QString key = keyOf(kind);
    if (key.isEmpty())
        return QStringList();
    QString stored;
    if (!settingsStoreService().readText(kGroup, key, stored, QString(), false))
        return factoryExtensions(kind);
    return stored.split(kSeparator, Qt::SkipEmptyParts);
}

bool StoreMediaCapabilities::setPlayableExtensions(MediaKind kind, const QStringList& extensions)
{
    const QString key = keyOf(kind);
    if (key.isEmpty())
        return refuse();
    for (const QString& extension : extensions) {
        if (extension.isEmpty() || extension.contains(kSeparator))
            return refuse();
    }
    return settingsStoreService().writeText(kGroup, key, extensions.join(kSeparator), false);
}

bool StoreMediaCapabilities::resetPlayableExtensions(MediaKind kind)
{
    const QString key = keyOf(kind);
    if (key.isEmpty())
        return refuse();
    return settingsStoreService().removeEntry(kGroup, key);
}

MediaCapabilityService& mediaCapabilityService()
{
    return capabilitySlot().get();
}

MediaCapabilityService* setMediaCapabilityService(MediaCapabilityService* service)
{
    return capabilitySlot().install(service);
}

} // namespace tavplatform
