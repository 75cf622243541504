#include "part_file_name.h"

#include "display_text.h"
#include "index_row_text.h"
#include "mime_registry_service.h"

#include <QStringList>

#include <utility>

namespace tavmms::store
{

namespace
{

// An extension longer than this is more likely part of the name than a type, and is not kept
// whole when a name is shortened.
constexpr qsizetype kLongestExtension = 16;

// `name` split before its last dot ("photo", ".jpg"); no extension when the dot is the first
// character or what follows it is long.
std::pair<QString, QString> splitExtension(const QString& name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0 || name.size() - dot > kLongestExtension)
        return {name, QString()};
    return {name.left(dot), name.mid(dot)};
}

// The longest start of `text` whose UTF-8 takes at most `budget` bytes, cut between characters.
QString utf8Prefix(const QString& text, qsizetype budget)
{
    return QString::fromUtf8(cut8(text.toUtf8(), budget));
}

qsizetype utf8Size(const QString& text)
{
    return text.toUtf8().size();
}

QString withoutAngleBrackets(QString text)
{
    if (text.startsWith(QLatin1Char('<')) && text.endsWith(QLatin1Char('>')) && text.size() > 1)
        text = text.mid(1, text.size() - 2);
    return text;
}

bool isBlankOrDot(QChar c)
{
    return c == QLatin1Char('.') || c.isSpace();
}

} // namespace

QString shortenFileName(const QString& name, qsizetype longest)
{
    if (utf8Size(name) <= longest)
        return name;
    const auto [stem, extension] = splitExtension(name);
    return utf8Prefix(stem, longest - utf8Size(extension)) + extension;
}

QString safeFileName(const QString& text)
{
    const qsizetype slash =
        qMax(text.lastIndexOf(QLatin1Char('/')), text.lastIndexOf(QLatin1Char('\\')));
    QString safe;
    for (const char32_t c : text.mid(slash + 1).toUcs4())
        safe += isEscapedForDisplay(c) ? QStringLiteral("_") : QString::fromUcs4(&c, 1);
    qsizetype first = 0;
    while (first < safe.size() && isBlankOrDot(safe.at(first)))
        ++first;
    return shortenFileName(safe.mid(first).trimmed());
}

QString numberedFileName(const QString& name, int n)
{
    const auto [stem, extension] = splitExtension(name);
    const QString number = QStringLiteral("-%1").arg(n);
    return utf8Prefix(stem, kLongestFileName - utf8Size(number) - utf8Size(extension)) + number +
           extension;
}

QString partFileName(const pdu::Part& part, int number)
{
    for (const QByteArray& given :
         {part.contentType.parameter("name"), part.dispositionFilename(), part.contentLocation()}) {
        const QString name = safeFileName(QString::fromUtf8(given));
        if (!name.isEmpty())
            return name;
    }
    QString name = safeFileName(withoutAngleBrackets(QString::fromUtf8(part.contentId())));
    if (name.isEmpty())
        name = QStringLiteral("part-%1").arg(number);
    const QStringList extensions = tavplatform::mimeRegistryService().extensions(
        QString::fromUtf8(part.contentType.mediaType));
    for (const QString& extension : extensions) {
        if (name.endsWith(QLatin1Char('.') + extension, Qt::CaseInsensitive))
            return name;
    }
    if (extensions.isEmpty())
        return name;
    return shortenFileName(name + QLatin1Char('.') + extensions.constFirst());
}

} // namespace tavmms::store
