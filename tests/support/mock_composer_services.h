#ifndef TAVMMS_TESTS_MOCK_COMPOSER_SERVICES_H
#define TAVMMS_TESTS_MOCK_COMPOSER_SERVICES_H

#include "icon_service.h"
#include "media_capability_service.h"
#include "message_box_service.h"
#include "mime_registry_service.h"
#include "support/model_helpers.h" // messages show texts

#include <gmock/gmock.h>

#include <QPixmap>

#include <ostream>

namespace tavmms_test
{

// GoogleMock doubles of the platform services the composer helpers call. Install each for a
// scope with the matching tavplatform::Scoped...Service.

class MockMimeRegistry : public tavplatform::MimeRegistryService
{
public:
    MockMimeRegistry();
    ~MockMimeRegistry() override;

    MOCK_METHOD(QStringList, extensions, (const QString& mimeId), (override));
    MOCK_METHOD(QString, mediaTypeOfFile, (const QString& path), (override));
};

class MockMediaCapabilities : public tavplatform::MediaCapabilityService
{
public:
    MockMediaCapabilities();
    ~MockMediaCapabilities() override;

    MOCK_METHOD(QStringList, playableExtensions, (tavplatform::MediaKind kind), (override));
    MOCK_METHOD(bool, setPlayableExtensions,
                (tavplatform::MediaKind kind, const QStringList& extensions), (override));
    MOCK_METHOD(bool, resetPlayableExtensions, (tavplatform::MediaKind kind), (override));
};

class MockIconResources : public tavplatform::IconResourceService
{
public:
    MockIconResources();
    ~MockIconResources() override;

    MOCK_METHOD(QPixmap, icon, (const QString& name), (override));
};

class MockMessageBox : public tavplatform::MessageBoxService
{
public:
    MockMessageBox();
    ~MockMessageBox() override;

    MOCK_METHOD(int, information,
                (QWidget * parent, const QPixmap& icon, const QString& text, const QString& button1,
                 const QString& button2, const QString& button3, int defaultButton),
                (override));
};

// The very picture `expected` (or a copy of it), not just one that looks the same.
MATCHER_P(IsPixmap, expected, "is the same pixmap")
{
    return arg.cacheKey() == expected.cacheKey();
}

// A picture of one colour, for the icon doubles to hand out; needs a QGuiApplication.
QPixmap filledPixmap(int size, Qt::GlobalColor color);

} // namespace tavmms_test

inline void PrintTo(const QPixmap& pixmap, std::ostream* os)
{
    if (pixmap.isNull())
        *os << "null QPixmap";
    else
        *os << "QPixmap " << pixmap.width() << "x" << pixmap.height() << " #" << pixmap.cacheKey();
}

#endif
