#include "widget_notice.h"

#include "res_icon_reader.h"
#include "ui_message_box.h"

namespace tavplatform
{

int WidgetNotice::information(const char* iconName, const QString& text, const QString& button1,
                              const QString& button2, const QString& button3, int defaultButton)
{
    RES_ICON_Reader reader;
    const QPixmap icon = reader.getIcon(iconName);
    return UI_MessageBox::information(nullptr, icon, text, button1, button2, button3,
                                      defaultButton);
}

} // namespace tavplatform

// What PluginNotice resolves once the plugin is loaded.
extern "C" TAVPLATFORM_EXPORT tavplatform::NoticeService* tavmms_ui_notice_service()
{
    static tavplatform::WidgetNotice notice;
    return &notice;
}
