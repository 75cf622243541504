#include "support/gui_application.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QMessageBox>

namespace tavmms_test
{

namespace
{

constexpr int kPollMs = 10;
constexpr int kGiveUpTicks = 10000 / kPollMs;

void pressEscape(QWidget& widget)
{
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(&widget, &press);
}

} // namespace

OffscreenApplication::OffscreenApplication()
    : argc_(3), argv_{const_cast<char*>("tests"), const_cast<char*>("-platform"),
                      const_cast<char*>("offscreen"), nullptr}
{
}

OffscreenApplication::~OffscreenApplication() = default;

void OffscreenApplication::SetUp()
{
    application_ = std::make_unique<QApplication>(argc_, argv_);
}

void OffscreenApplication::TearDown()
{
    application_.reset();
}

ModalBoxWatcher::ModalBoxWatcher(Handler handle) : handle_(std::move(handle))
{
    timer_.setInterval(kPollMs);
    QObject::connect(&timer_, &QTimer::timeout, [this] { poll(); });
    timer_.start();
}

ModalBoxWatcher::~ModalBoxWatcher() = default;

void ModalBoxWatcher::poll()
{
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box && box->isVisible()) {
        ++seen_;
        if (QAbstractButton* button = handle_(*box))
            button->click();
        else
            pressEscape(*box);
        return;
    }
    if (++ticks_ < kGiveUpTicks)
        return;
    timer_.stop();
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget* widget : widgets) {
        if (auto* open = qobject_cast<QMessageBox*>(widget); open && open->isVisible()) {
            ADD_FAILURE() << "a message box was left open";
            open->done(0);
        }
    }
}

} // namespace tavmms_test
