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
QString keyOf(MP_Utility::MIME_TYPE_T kind)
{
    switch (kind) {
    case MP_Utility::MIME_TYPE_AUDIO:
        return QStringLiteral("audio");
    case MP_Utility::MIME_TYPE_VIDEO:
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

QStringList StoreMediaCapabilities::factoryExtensions(MP_Utility::MIME_TYPE_T kind)
{
    switch (kind) {
    case MP_Utility::MIME_TYPE_AUDIO:
        return {QStringLiteral("amr"), QStringLiteral("awb"),  QStringLiteral("mp3"),
                QStringLiteral("aac"), QStringLiteral("m4a"),  QStringLiteral("wav"),
                QStringLiteral("mid"), QStringLiteral("midi"), QStringLiteral("imy"),
                QStringLiteral("ogg"), QStringLiteral("opus")};
    case MP_Utility::MIME_TYPE_VIDEO:
        return {QStringLiteral("3gp"), QStringLiteral("3g2"), QStringLiteral("mp4"),
                QStringLiteral("m4v"), QStringLiteral("webm")};
    }
    return QStringList();
}

QStringList StoreMediaCapabilities::playableExtensions(MP_Utility::MIME_TYPE_T kind)
{
    const QString key = keyOf(kind);
    if (key.isEmpty())
        return QStringList();
    QString stored;
    if (!settingsStoreService().readText(kGroup, key, stored, QString(), false))
        return factoryExtensions(kind);
    return stored.split(kSeparator, Qt::SkipEmptyParts);
}

bool StoreMediaCapabilities::setPlayableExtensions(MP_Utility::MIME_TYPE_T kind,
                                                   const QStringList& extensions)
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

bool StoreMediaCapabilities::resetPlayableExtensions(MP_Utility::MIME_TYPE_T kind)
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
