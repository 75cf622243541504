#include "display_text.h"

namespace tavmms::store
{

bool isEscapedForDisplay(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x061C || c == 0x200E || c == 0x200F ||
           (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0x2028 ||
           c == 0x2029 || (c >= 0xD800 && c <= 0xDFFF);
}

namespace
{

bool isPairAt(QStringView text, qsizetype i)
{
    return text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
}

} // namespace

bool isSafeForDisplay(QStringView text, bool lineBreaks)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (isPairAt(text, i))
            ++i;
        else if (isEscapedForDisplay(text[i].unicode()) && !(lineBreaks && text[i] == u'\n'))
            return false;
    }
    return true;
}

QString displayText(QStringView text, bool keepLineBreaks)
{
    QString shown;
    shown.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        // A surrogate pair is one character outside the basic plane, printable as any other;
        // only a half standing alone is escaped.
        if (isPairAt(text, i)) {
            shown += c;
            shown += text[++i];
        } else if (c == u'\\') {
            shown += QStringLiteral("\\\\");
        } else if (c == u'\n' && keepLineBreaks) {
            shown += c;
        } else if (!isEscapedForDisplay(c.unicode())) {
            shown += c;
        } else if (c.unicode() <= 0xFF) {
            shown += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        } else {
            shown += QStringLiteral("\\u{%1}").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        }
    }
    return shown;
}

QByteArray displayJson(const QByteArray& json)
{
    // The characters in question lie outside JSON's own syntax, so any of them is within a string,
    // where an escape stands for the same character. Lone surrogates never reach UTF-8.
    const QString text = QString::fromUtf8(json);
    QString safe;
    safe.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (isPairAt(text, i)) {
            safe += c;
            safe += text[++i];
        } else if (c.unicode() >= 0x20 && isEscapedForDisplay(c.unicode())) {
            safe += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            safe += c;
        }
    }
    return safe.toUtf8();
}

} // namespace tavmms::store
