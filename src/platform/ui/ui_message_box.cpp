#include "ui_message_box.h"

#include "message_box_service.h"

int UI_MessageBox::information(QWidget* parent, const QPixmap& icon, const QString& text,
                               const QString& button1, const QString& button2,
                               const QString& button3, int defaultButton)
{
    return tavplatform::messageBoxService().information(parent, icon, text, button1, button2,
                                                        button3, defaultButton);
}
