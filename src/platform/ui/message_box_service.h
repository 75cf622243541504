#ifndef TAVPLATFORM_MESSAGE_BOX_SERVICE_H
#define TAVPLATFORM_MESSAGE_BOX_SERVICE_H

#include "service_slot.h"

#include <QPixmap>
#include <QString>

class QWidget;

namespace tavplatform
{

// The platform's information box behind UI_MessageBox; see there for the arguments and result.
class MessageBoxService
{
public:
    virtual ~MessageBoxService();

    virtual int information(QWidget* parent, const QPixmap& icon, const QString& text,
                            const QString& button1, const QString& button2, const QString& button3,
                            int defaultButton) = 0;
};

// The box as a QMessageBox, run with exec(); needs a QApplication.
class QtMessageBox : public MessageBoxService
{
public:
    int information(QWidget* parent, const QPixmap& icon, const QString& text,
                    const QString& button1, const QString& button2, const QString& button3,
                    int defaultButton) override;
};

// The box UI_MessageBox shows: the one installed, else the QtMessageBox.
MessageBoxService& messageBoxService();
// Installs `service` (not owned; null restores the default) and returns the one it replaces.
MessageBoxService* setMessageBoxService(MessageBoxService* service);

// Installs a service (a test double) for the life of a scope.
using ScopedMessageBoxService = ScopedService<MessageBoxService, &setMessageBoxService>;

} // namespace tavplatform

#endif
