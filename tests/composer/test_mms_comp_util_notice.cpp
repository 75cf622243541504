// MMS_COMP_Util::noFlashMsgBox: the calls it makes on doubles of the icon reader and the message
// box, and the real box of the user-interface plugin on Qt's offscreen platform, closed by the
// test.

#include "mms_comp_util.h"

#include "icon_service.h"
#include "message_box_service.h"
#include "notice_service.h"
#include "widget_notice.h"

#include "support/gui_application.h"
#include "support/mock_composer_services.h"
#include "support/scoped_translator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QImage>
#include <QMessageBox>
#include <QPushButton>

namespace
{

[[maybe_unused]] const auto* const kApplication =
    ::testing::AddGlobalTestEnvironment(new tavmms_test::OffscreenApplication);

using tavmms_test::filledPixmap;
using tavmms_test::IsPixmap;
using tavmms_test::MockIconResources;
using tavmms_test::MockMessageBox;
using tavmms_test::ModalBoxWatcher;
using tavmms_test::ScopedTranslator;
using ::testing::InSequence;
using ::testing::IsNull;
using ::testing::Property;
using ::testing::Return;
using ::testing::StrictMock;

const QString kMessage = QStringLiteral("Memory is full, Action is not allowed!");
const QString kButton = QStringLiteral("ok");
const QString kTranslatedMessage = QStringLiteral("Speicher voll, Aktion nicht erlaubt!");
const QString kTranslatedButton = QStringLiteral("OK");

// The phone's German table for the notice, keyed by the comments its translators work from.
QList<tavmms_test::Translation> germanTable()
{
    return {
        {QStringLiteral("QObject"), kMessage, QStringLiteral("2.4.9.1.1.3;DIALOG_ICON_50_WARP"),
         kTranslatedMessage},
        {QStringLiteral("QObject"), kButton, QStringLiteral("2.4.9.1.1.3;SOFTKEY_1BUTTON"),
         kTranslatedButton},
    };
}

auto isNullText()
{
    return Property(&QString::isNull, true);
}

class NoticeWithDoublesTest : public ::testing::Test
{
protected:
    // The notice will ask the icon reader for the error icon, which gives `icon`, then show the
    // box with it, `message`, `button`, two null texts and 1.
    void expectNotice(const QPixmap& icon, const QString& message, const QString& button)
    {
        EXPECT_CALL(icons, icon(QStringLiteral("Dialog_Error.gif"))).WillOnce(Return(icon));
        EXPECT_CALL(box, information(IsNull(), IsPixmap(icon), message, button, isNullText(),
                                     isNullText(), 1))
            .WillOnce(Return(1));
    }

    InSequence order;
    StrictMock<MockIconResources> icons;
    StrictMock<MockMessageBox> box;
    tavplatform::WidgetNotice widgets;
    tavplatform::ScopedNoticeService widgetsInstalled{&widgets};
    tavplatform::ScopedIconResourceService iconsInstalled{&icons};
    tavplatform::ScopedMessageBoxService boxInstalled{&box};
};

TEST_F(NoticeWithDoublesTest, ShowsTheErrorIconTheMessageAndOneOkButtonWithoutParent)
{
    expectNotice(filledPixmap(32, Qt::red), kMessage, kButton);
    MMS_COMP_Util::noFlashMsgBox();
}

TEST_F(NoticeWithDoublesTest, TranslatesTheTextsByTheirComments)
{
    const ScopedTranslator german(germanTable());
    expectNotice(filledPixmap(32, Qt::red), kTranslatedMessage, kTranslatedButton);
    MMS_COMP_Util::noFlashMsgBox();
}

TEST_F(NoticeWithDoublesTest, ShowsTheNoticeAlsoWithAnEmptyIcon)
{
    expectNotice(QPixmap(), kMessage, kButton);
    MMS_COMP_Util::noFlashMsgBox();
}

// ---- The real icon reader and box ----

// The icon's pixels as a pixmap keeps them: premultiplied, so that all fully transparent pixels
// are alike.
QImage pixels(const QPixmap& pixmap)
{
    return pixmap.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage shippedIcon()
{
    return pixels(
        QPixmap(QStringLiteral(TAVMMS_SOURCE_DIR "/src/platform/ui/icons/Dialog_Error.gif")));
}

// Checks the open notice and gives its one button to press.
QAbstractButton* checkNotice(QMessageBox& box, const QString& message, const QString& button)
{
    EXPECT_EQ(box.text(), message);
    EXPECT_TRUE(box.isModal());
    EXPECT_TRUE(pixels(box.iconPixmap()) == shippedIcon()) << "not the shipped icon";
    const QList<QAbstractButton*> buttons = box.buttons();
    EXPECT_EQ(buttons.size(), 1);
    if (buttons.isEmpty())
        return nullptr;
    EXPECT_EQ(buttons.constFirst()->text(), button);
    EXPECT_EQ(static_cast<QAbstractButton*>(box.defaultButton()), buttons.constFirst());
    return buttons.constFirst();
}

// The notices of the plugin as built, loaded from the build tree.
class NoticeOnScreen : public ::testing::Test
{
protected:
    tavplatform::PluginNotice plugin{QStringLiteral(TAVMMS_UI_PLUGIN_DIR)};
    tavplatform::ScopedNoticeService pluginInstalled{&plugin};
};

TEST_F(NoticeOnScreen, ShowsTheShippedIconTheMessageAndOkUntilClosed)
{
    ASSERT_FALSE(shippedIcon().isNull());
    ModalBoxWatcher watcher([](QMessageBox& box) { return checkNotice(box, kMessage, kButton); });
    MMS_COMP_Util::noFlashMsgBox();
    EXPECT_EQ(watcher.seen(), 1);
}

TEST_F(NoticeOnScreen, ShowsTheTranslatedTexts)
{
    const ScopedTranslator german(germanTable());
    ModalBoxWatcher watcher(
        [](QMessageBox& box) { return checkNotice(box, kTranslatedMessage, kTranslatedButton); });
    MMS_COMP_Util::noFlashMsgBox();
    EXPECT_EQ(watcher.seen(), 1);
}

TEST_F(NoticeOnScreen, ReturnsWhenClosedWithEscape)
{
    ModalBoxWatcher watcher([](QMessageBox&) -> QAbstractButton* { return nullptr; });
    MMS_COMP_Util::noFlashMsgBox();
    EXPECT_EQ(watcher.seen(), 1);
}

TEST(NoticeWithoutPlugin, ShowsNothingAndReturns)
{
    tavplatform::PluginNotice missing(QStringLiteral(TAVMMS_SOURCE_DIR "/no-such-plugin-dir"));
    const tavplatform::ScopedNoticeService installed(&missing);
    ModalBoxWatcher watcher([](QMessageBox&) -> QAbstractButton* { return nullptr; });
    MMS_COMP_Util::noFlashMsgBox();
    EXPECT_EQ(watcher.seen(), 0);
    EXPECT_EQ(missing.information("Dialog_Error.gif", kMessage, kButton, QString(), QString(), 1),
              0);
}

} // namespace
