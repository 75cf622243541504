#include "notice_service.h"

#include "platform_dir.h"

#include <QLibrary>

namespace tavplatform
{

namespace
{

ServiceSlot<NoticeService>& noticeSlot()
{
    static ServiceSlot<NoticeService> instance(
        []() -> std::unique_ptr<NoticeService> { return std::make_unique<PluginNotice>(); });
    return instance;
}

} // namespace

NoticeService::~NoticeService() = default;

QString PluginNotice::defaultDirectory()
{
    const QString code = codeDirectory();
    return code.isEmpty() ? QString() : code + QStringLiteral("/tavmmsutility");
}

PluginNotice::PluginNotice(QString directory) : directory_(std::move(directory)) {}

int PluginNotice::information(const char* iconName, const QString& text, const QString& button1,
                              const QString& button2, const QString& button3, int defaultButton)
{
    if (!plugin_) {
        // Never unloaded: the plugin's widgets and pictures live as long as the application.
        QLibrary library(directory_ + QStringLiteral("/libtavmmsui"));
        const auto entry = reinterpret_cast<NoticePluginEntry>(library.resolve(kNoticePluginEntry));
        if (!entry) {
            qWarning("the notice cannot be shown: %s", qUtf8Printable(library.errorString()));
            return 0;
        }
        plugin_ = entry();
    }
    return plugin_->information(iconName, text, button1, button2, button3, defaultButton);
}

NoticeService& noticeService()
{
    return noticeSlot().get();
}

NoticeService* setNoticeService(NoticeService* service)
{
    return noticeSlot().install(service);
}

} // namespace tavplatform
