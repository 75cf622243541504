// The platform's information box: UI_MessageBox over the installed box, and the default one on
// QMessageBox, shown on Qt's offscreen platform and closed by the test.

#include "message_box_service.h"
#include "ui_message_box.h"

#include "support/gui_application.h"
#include "support/mock_composer_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QMessageBox>
#include <QPushButton>
#include <QWidget>

namespace
{

[[maybe_unused]] const auto* const kApplication =
    ::testing::AddGlobalTestEnvironment(new tavmms_test::OffscreenApplication);

using tavmms_test::filledPixmap;
using tavmms_test::IsPixmap;
using tavmms_test::ModalBoxWatcher;
using ::testing::Return;
using ::testing::StrictMock;

QStringList buttonTexts(const QMessageBox& box)
{
    QStringList texts;
    const QList<QAbstractButton*> buttons = box.buttons();
    for (const QAbstractButton* button : buttons)
        texts << button->text();
    return texts;
}

// The button of `box` showing `text`; null when there is none.
QAbstractButton* buttonShowing(const QMessageBox& box, const QString& text)
{
    const QList<QAbstractButton*> buttons = box.buttons();
    for (QAbstractButton* button : buttons) {
        if (button->text() == text)
            return button;
    }
    ADD_FAILURE() << "no button " << text.toStdString();
    return nullptr;
}

// Shows the three-button box with "Two" as default and presses `press` (Escape when null).
int showThreeButtons(const char* press)
{
    ModalBoxWatcher watcher([press](QMessageBox& box) -> QAbstractButton* {
        return press ? buttonShowing(box, QString::fromUtf8(press)) : nullptr;
    });
    const int pressed = tavplatform::QtMessageBox().information(
        nullptr, QPixmap(), QStringLiteral("Choose"), QStringLiteral("One"), QStringLiteral("Two"),
        QStringLiteral("Three"), 2);
    EXPECT_EQ(watcher.seen(), 1);
    return pressed;
}

TEST(QtMessageBox, ShowsAModalBoxWithTheIconTheTextAndTheButtonsGiven)
{
    const QPixmap icon = filledPixmap(24, Qt::red);
    ModalBoxWatcher watcher([&icon](QMessageBox& box) {
        EXPECT_TRUE(box.isModal());
        EXPECT_EQ(box.windowModality(), Qt::ApplicationModal);
        EXPECT_EQ(box.parentWidget(), nullptr);
        EXPECT_EQ(box.text(), QStringLiteral("Disk full"));
        EXPECT_EQ(box.iconPixmap().toImage(), icon.toImage());
        EXPECT_EQ(buttonTexts(box), QStringList{QStringLiteral("ok")});
        EXPECT_EQ(box.defaultButton(), box.buttons().value(0));
        return box.buttons().value(0);
    });
    EXPECT_EQ(tavplatform::QtMessageBox().information(nullptr, icon, QStringLiteral("Disk full"),
                                                      QStringLiteral("ok"), QString(), QString(),
                                                      1),
              1);
    EXPECT_EQ(watcher.seen(), 1);
}

TEST(QtMessageBox, ReturnsTheNumberOfTheButtonPressed)
{
    EXPECT_EQ(showThreeButtons("One"), 1);
    EXPECT_EQ(showThreeButtons("Two"), 2);
    EXPECT_EQ(showThreeButtons("Three"), 3);
}

TEST(QtMessageBox, EscapePressesTheLastButton)
{
    EXPECT_EQ(showThreeButtons(nullptr), 3);
}

TEST(QtMessageBox, MakesTheNumberedButtonTheDefault)
{
    ModalBoxWatcher watcher([](QMessageBox& box) {
        EXPECT_EQ(static_cast<QAbstractButton*>(box.defaultButton()),
                  buttonShowing(box, QStringLiteral("Two")));
        return buttonShowing(box, QStringLiteral("Two"));
    });
    tavplatform::QtMessageBox().information(nullptr, QPixmap(), QStringLiteral("Choose"),
                                            QStringLiteral("One"), QStringLiteral("Two"), QString(),
                                            2);
    EXPECT_EQ(watcher.seen(), 1);
}

TEST(QtMessageBox, LeavesOutButtonsWithoutTextAndKeepsTheOthersNumbers)
{
    ModalBoxWatcher watcher([](QMessageBox& box) {
        EXPECT_EQ(buttonTexts(box), (QStringList{QStringLiteral("One"), QStringLiteral("Three")}));
        return buttonShowing(box, QStringLiteral("Three"));
    });
    EXPECT_EQ(tavplatform::QtMessageBox().information(nullptr, QPixmap(), QStringLiteral("t"),
                                                      QStringLiteral("One"), QStringLiteral(""),
                                                      QStringLiteral("Three"), 2),
              3);
    EXPECT_EQ(watcher.seen(), 1);
}

TEST(QtMessageBox, ShowsTheBoxOverTheParentGiven)
{
    QWidget parent;
    ModalBoxWatcher watcher([&parent](QMessageBox& box) {
        EXPECT_EQ(box.parentWidget(), &parent);
        return box.buttons().value(0);
    });
    tavplatform::QtMessageBox().information(&parent, QPixmap(), QStringLiteral("t"),
                                            QStringLiteral("ok"), QString(), QString(), 1);
    EXPECT_EQ(watcher.seen(), 1);
}

TEST(UiMessageBox, PassesEveryArgumentToTheInstalledBoxAndReturnsItsAnswer)
{
    StrictMock<tavmms_test::MockMessageBox> box;
    const tavplatform::ScopedMessageBoxService installed(&box);
    QWidget parent;
    const QPixmap icon = filledPixmap(8, Qt::blue);
    EXPECT_CALL(box, information(&parent, IsPixmap(icon), QStringLiteral("text"),
                                 QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), 7))
        .WillOnce(Return(2));
    EXPECT_EQ(UI_MessageBox::information(&parent, icon, QStringLiteral("text"), QStringLiteral("a"),
                                         QStringLiteral("b"), QStringLiteral("c"), 7),
              2);
}

} // namespace
