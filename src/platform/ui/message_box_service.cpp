#include "message_box_service.h"

#include <QMessageBox>
#include <QPushButton>

#include <array>

namespace tavplatform
{

namespace
{

ServiceSlot<MessageBoxService>& boxSlot()
{
    static ServiceSlot<MessageBoxService> instance(
        []() -> std::unique_ptr<MessageBoxService> { return std::make_unique<QtMessageBox>(); });
    return instance;
}

} // namespace

MessageBoxService::~MessageBoxService() = default;

int QtMessageBox::information(QWidget* parent, const QPixmap& icon, const QString& text,
                              const QString& button1, const QString& button2,
                              const QString& button3, int defaultButton)
{
    QMessageBox box(parent);
    box.setIconPixmap(icon);
    box.setText(text);
    const std::array<QString, 3> labels = {button1, button2, button3};
    std::array<QPushButton*, 3> buttons = {};
    QPushButton* last = nullptr;
    for (std::size_t i = 0; i < labels.size(); ++i) {
        if (labels[i].isEmpty())
            continue;
        buttons[i] = box.addButton(labels[i], QMessageBox::AcceptRole);
        last = buttons[i];
    }
    if (defaultButton >= 1 && defaultButton <= int(buttons.size()) && buttons[defaultButton - 1])
        box.setDefaultButton(buttons[defaultButton - 1]);
    box.setEscapeButton(last);
    box.exec();
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        if (buttons[i] && box.clickedButton() == buttons[i])
            return int(i) + 1;
    }
    return 0;
}

MessageBoxService& messageBoxService()
{
    return boxSlot().get();
}

MessageBoxService* setMessageBoxService(MessageBoxService* service)
{
    return boxSlot().install(service);
}

} // namespace tavplatform
