#ifndef TAVPLATFORM_NOTICE_SERVICE_H
#define TAVPLATFORM_NOTICE_SERVICE_H

#include "service_slot.h"
#include "tavplatform_global.h"

#include <QString>

namespace tavplatform
{

// The platform's modal notices: one of its icons, a text and up to three buttons. Shown on the
// thread that owns the user interface; needs a QApplication.
class TAVPLATFORM_EXPORT NoticeService
{
public:
    virtual ~NoticeService();
    // Reads the icon `iconName` through a local RES_ICON_Reader and shows it, `text` and the
    // buttons with UI_MessageBox::information over no parent; waits until the box is closed and
    // gives its result (0 when no box could be shown).
    virtual int information(const char* iconName, const QString& text, const QString& button1,
                            const QString& button2, const QString& button3, int defaultButton) = 0;
};

// The notices of the user-interface plugin, which is loaded on the first notice, so that a
// program that shows none never loads the widgets. Without the plugin it says why on standard
// error and gives 0.
class TAVPLATFORM_EXPORT PluginNotice : public NoticeService
{
public:
    // Where the plugin is installed: "tavmmsutility" beside the platform library.
    static QString defaultDirectory();
    explicit PluginNotice(QString directory = defaultDirectory());
    int information(const char* iconName, const QString& text, const QString& button1,
                    const QString& button2, const QString& button3, int defaultButton) override;

private:
    QString directory_;
    NoticeService* plugin_ = nullptr;
};

// The name of the function through which the plugin hands out its NoticeService, which it keeps
// for the life of the process.
constexpr char kNoticePluginEntry[] = "tavmms_ui_notice_service";
using NoticePluginEntry = NoticeService* (*)();

// The notices MMS_COMP_Util::noFlashMsgBox shows: the service installed, else a PluginNotice.
TAVPLATFORM_EXPORT NoticeService& noticeService();
// Installs `service` (not owned; null restores the default) and returns the one it replaces.
TAVPLATFORM_EXPORT NoticeService* setNoticeService(NoticeService* service);

// Installs a service (a test double) for the life of a scope.
using ScopedNoticeService = ScopedService<NoticeService, &setNoticeService>;

} // namespace tavplatform

#endif
