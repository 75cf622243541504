#ifndef TAVPLATFORM_WIDGET_NOTICE_H
#define TAVPLATFORM_WIDGET_NOTICE_H

#include "notice_service.h"

namespace tavplatform
{

// The notices of the user-interface plugin: the icon from RES_ICON_Reader, the box from
// UI_MessageBox, so that doubles of those two services see each call.
class WidgetNotice : public NoticeService
{
public:
    int information(const char* iconName, const QString& text, const QString& button1,
                    const QString& button2, const QString& button3, int defaultButton) override;
};

} // namespace tavplatform

#endif
