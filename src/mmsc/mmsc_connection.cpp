#include "mmsc_connection.h"

#include "mms_util_setting.h"
#include "settings_read_error.h"

#include <memory>

namespace tavmms::mmsc
{

quint16 proxyPortFor(unsigned int connectionType)
{
    switch (connectionType) {
    case 1:
        return 80;
    case 2:
        return 8080;
    default:
        return kDefaultProxyPort;
    }
}

QString gatewayAddress(unsigned int wapGateway)
{
    if (wapGateway == 0)
        return QString();
    return QStringLiteral("%1.%2.%3.%4")
        .arg(wapGateway >> 24)
        .arg((wapGateway >> 16) & 0xff)
        .arg((wapGateway >> 8) & 0xff)
        .arg(wapGateway & 0xff);
}

QString shownUrl(const QUrl& url)
{
    return url.toDisplayString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
}

Connection profileConnection(store::Status* status)
{
    Connection connection;
    connection.profile = MMS_UTIL_Setting::getDefaultMMSProfile();
    const std::unique_ptr<MMS_UTIL_SETTING_PROFILE_T> profile(
        MMS_UTIL_Setting::getProfileSettingsByName(connection.profile));
    const QString why = settingsReadError();
    *status =
        why.isEmpty() ? store::Status() : store::Status::failure(store::ErrorCode::Failed, why);
    if (!profile || !why.isEmpty())
        return connection;
    connection.mmsc = QUrl(profile->serverAddress.trimmed());
    connection.proxyHost = gatewayAddress(profile->wapGateway);
    connection.proxyPort = proxyPortFor(profile->connectionType);
    return connection;
}

} // namespace tavmms::mmsc
