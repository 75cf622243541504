#include "mime_registry_service.h"

#include <QMimeType>

namespace tavplatform
{

namespace
{

ServiceSlot<MimeRegistryService>& registrySlot()
{
    static ServiceSlot<MimeRegistryService> instance([]() -> std::unique_ptr<MimeRegistryService> {
        return std::make_unique<QtMimeRegistry>();
    });
    return instance;
}

} // namespace

MimeRegistryService::~MimeRegistryService() = default;

QStringList QtMimeRegistry::extensions(const QString& mimeId)
{
    QMimeType type = database_.mimeTypeForName(mimeId);
    if (!type.isValid()) {
        // The database matches names exactly as written, and its own names are not all in lower
        // case ("audio/AMR").
        if (foldedNames_.isEmpty()) {
            const QList<QMimeType> all = database_.allMimeTypes();
            for (const QMimeType& known : all)
                foldedNames_.insert(known.name().toLower(), known.name());
            // A type's own name wins over another type's alias that folds to the same text.
            for (const QMimeType& known : all) {
                const QStringList aliases = known.aliases();
                for (const QString& alias : aliases) {
                    if (!foldedNames_.contains(alias.toLower()))
                        foldedNames_.insert(alias.toLower(), known.name());
                }
            }
        }
        const auto found = foldedNames_.constFind(mimeId.toLower());
        if (found == foldedNames_.constEnd())
            return QStringList();
        type = database_.mimeTypeForName(*found);
    }
    return type.suffixes();
}

QString QtMimeRegistry::mediaTypeOfFile(const QString& path)
{
    return database_.mimeTypeForFile(path, QMimeDatabase::MatchDefault).name();
}

MimeRegistryService& mimeRegistryService()
{
    return registrySlot().get();
}

MimeRegistryService* setMimeRegistryService(MimeRegistryService* service)
{
    return registrySlot().install(service);
}

} // namespace tavplatform
