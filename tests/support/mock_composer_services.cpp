#include "support/mock_composer_services.h"

namespace tavmms_test
{

// Out of line so that the mocks' large generated members are compiled once, here.
MockMimeRegistry::MockMimeRegistry() = default;
MockMimeRegistry::~MockMimeRegistry() = default;
MockMediaCapabilities::MockMediaCapabilities() = default;
MockMediaCapabilities::~MockMediaCapabilities() = default;
MockIconResources::MockIconResources() = default;
MockIconResources::~MockIconResources() = default;
MockMessageBox::MockMessageBox() = default;
MockMessageBox::~MockMessageBox() = default;

QPixmap filledPixmap(int size, Qt::GlobalColor color)
{
    QPixmap pixmap(size, size);
    pixmap.fill(color);
    return pixmap;
}

} // namespace tavmms_test
