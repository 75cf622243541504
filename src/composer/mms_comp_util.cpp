#include "mms_comp_util.h"

#include "mms_comp_util_p.h"

#include "am_mimetype.h"
#include "mp_utility.h"
#include "notice_service.h"

#include <QObject>

#include <algorithm>

namespace tavmms
{

namespace
{

std::uint32_t timeStamp = 0;

// The pictures the phone shows; the media player is not asked about them.
const QStringList& imageExtensions()
{
    static const QStringList extensions = {
        QStringLiteral("gif"), QStringLiteral("png"), QStringLiteral("jpeg"),
        QStringLiteral("jpg"), QStringLiteral("bmp"), QStringLiteral("wbmp"),
    };
    return extensions;
}

} // namespace

QString firstSupportedExtension(const QStringList& registered, const QStringList& supported)
{
    // The registry's order decides, not the player's.
    for (const QString& extension : registered) {
        const QString lower = extension.toLower();
        for (const QString& candidate : supported) {
            if (candidate.toLower() == lower)
                return lower;
        }
    }
    return QStringLiteral("");
}

bool readSystemClock(timeval* now)
{
    return ::gettimeofday(now, nullptr) == 0;
}

std::uint32_t timeStampOf(const timeval& time)
{
    return std::uint32_t(time.tv_sec) * 1000000u + std::uint32_t(time.tv_usec);
}

void storeTimeStamp(ClockReader readClock)
{
    timeval now{};
    if (readClock(&now))
        timeStamp = timeStampOf(now);
}

std::uint32_t storedTimeStamp()
{
    return timeStamp;
}

} // namespace tavmms

QString MMS_COMP_Util::stripePath(QString path)
{
    const QString trimmed = path.trimmed();
    const qsizetype separator =
        std::max(trimmed.lastIndexOf(QLatin1Char('/')), trimmed.lastIndexOf(QLatin1Char('\\')));
    return separator < 0 ? trimmed : trimmed.mid(separator + 1);
}

QString MMS_COMP_Util::getExtName(QString name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QStringLiteral("") : name.mid(dot + 1).trimmed();
}

QString MMS_COMP_Util::getNoExtName(QString name)
{
    const qsizetype dot = name.indexOf(QLatin1Char('.'));
    return dot < 0 ? name : name.left(dot);
}

bool MMS_COMP_Util::isOnlyLetterOrNumber(QString text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) {
        const char16_t u = c.unicode();
        return (u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z') || (u >= u'0' && u <= u'9') ||
               u == u'.' || u == u'-' || u == u'_' || u == u' ' || u == u'\\' || u == u'/';
    });
}

void MMS_COMP_Util::printTimeStamp(const char*, int)
{
    // A timing hook that stays silent in the product: the stamp is kept, nothing is printed.
    tavmms::storeTimeStamp(tavmms::readSystemClock);
}

void MMS_COMP_Util::noFlashMsgBox()
{
    // The comments are the keys of the phone's translation tables.
    const QString message =
        QObject::tr("Memory is full, Action is not allowed!", "2.4.9.1.1.3;DIALOG_ICON_50_WARP");
    const QString button = QObject::tr("ok", "2.4.9.1.1.3;SOFTKEY_1BUTTON");
    // The icon reader and the box are the user-interface plugin's, loaded here on first use.
    tavplatform::noticeService().information("Dialog_Error.gif", message, button, QString(),
                                             QString(), 1);
}

QString MMS_COMP_Util::getFirstSupportExtNameByMIMEType(QString type, QString subtype)
{
    // Asked on every call, also for the text types, which answer without the list.
    const QStringList registered =
        AM_MimeType::instance()->getExtListByMimeId(type + QLatin1Char('/') + subtype);
    const QString major = type.toLower();
    QStringList supported;
    if (major == QLatin1String("video")) {
        MP_Utility::queryMpSupportedExtensions(supported, MP_Utility::MIME_TYPE_VIDEO);
    } else if (major == QLatin1String("audio")) {
        MP_Utility::queryMpSupportedExtensions(supported, MP_Utility::MIME_TYPE_AUDIO);
    } else if (major == QLatin1String("image")) {
        supported = tavmms::imageExtensions();
    } else if (major == QLatin1String("text")) {
        // Types the registry may not know, with the extensions the phone's own viewers open.
        const QString minor = subtype.toLower();
        if (minor == QLatin1String("plain"))
            return QStringLiteral("txt");
        if (minor == QLatin1String("x-vcalendar"))
            return QStringLiteral("vcs");
        if (minor == QLatin1String("x-vcard"))
            return QStringLiteral("vcf");
    }
    return tavmms::firstSupportedExtension(registered, supported);
}
