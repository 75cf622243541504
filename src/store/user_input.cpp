#include "user_input.h"

#include "address_type_word.h"
#include "message_store_types.h"
#include "mms_util_common.h"
#include "phone_number_match.h"

#include <QRegularExpression>
#include <QTimeZone>

#include <algorithm>

namespace tavmms::store
{

namespace
{

MMS_UTIL_ADDR_TYPE_T typeOfBareAddress(const QString& address)
{
    static const QRegularExpression phone(QStringLiteral("^[0-9 +()-]*[0-9][0-9 +()-]*$"));
    if (phone.match(address).hasMatch())
        return MMS_UTIL_ADDR_PLMN;
    return address.contains(QLatin1Char('@')) ? MMS_UTIL_ADDR_EMAIL : MMS_UTIL_ADDR_UNKNOWN;
}

} // namespace

std::optional<QString> parseProfileName(const QString& text, QString* error)
{
    if (text.isEmpty()) {
        *error = QStringLiteral("the profile name is empty");
        return std::nullopt;
    }
    const bool breaksALine = std::any_of(text.cbegin(), text.cend(), [](QChar c) {
        const char16_t u = c.unicode();
        return u < 0x20 || (u >= 0x7F && u <= 0x9F) || u == 0x2028 || u == 0x2029;
    });
    if (breaksALine) {
        *error = QStringLiteral("the profile name '%1' holds a control character or a line break")
                     .arg(oneLine(text));
        return std::nullopt;
    }
    return text;
}

std::optional<quint32> parseIpv4Address(const QString& text)
{
    if (!text.contains(u'.'))
        return parseNumber(text);
    const QStringList parts = text.split(u'.');
    if (parts.size() != 4)
        return std::nullopt;
    quint32 address = 0;
    for (const QString& part : parts) {
        // Three digits at most: "0300" would read as 300 or, to some tools, as octal.
        const std::optional<unsigned int> value = parseNumber(part, 255);
        if (!value || part.size() > 3)
            return std::nullopt;
        address = address << 8 | *value;
    }
    return address;
}

QString ipv4AddressText(quint32 address)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(address >> 24)
        .arg(address >> 16 & 0xFF)
        .arg(address >> 8 & 0xFF)
        .arg(address & 0xFF);
}

QString oneLine(const QString& text)
{
    QString line = text;
    line.replace(QStringLiteral("\r\n"), QStringLiteral("\u2028"));
    line.replace(QLatin1Char('\n'), QChar(0x2028));
    line.replace(QLatin1Char('\r'), QChar(0x2028));
    return line;
}

std::optional<unsigned int> parseNumber(const QString& text, unsigned int maximum)
{
    // Anchored at the very end: "$" would also match before a final line break.
    static const QRegularExpression decimal(
        QRegularExpression::anchoredPattern(QStringLiteral("[0-9]+")));
    bool ok = false;
    const qulonglong value = text.toULongLong(&ok);
    if (!ok || value > maximum || !decimal.match(text).hasMatch())
        return std::nullopt;
    return unsigned(value);
}

bool hasControlCharacter(const QString& text)
{
    return std::any_of(text.cbegin(), text.cend(),
                       [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7F; });
}

std::optional<MMS_UTIL_Entry> parseAddress(const QString& text, QString* error)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        *error = QStringLiteral("empty address");
        return std::nullopt;
    }
    if (hasControlCharacter(trimmed)) {
        *error = QStringLiteral("'%1' holds a control character").arg(oneLine(trimmed));
        return std::nullopt;
    }
    MMS_UTIL_Entry entry;
    if (!trimmed.startsWith(QLatin1Char('<'))) {
        entry.name = QLatin1String("");
        entry.type = typeOfBareAddress(trimmed);
        entry.address = trimmed;
        return entry;
    }
    // The library cuts the name at the first ">" and the type word at the first "[" and "]", so
    // a name holding one of those marks would be read back wrong: such a text is refused.
    static const QRegularExpression form(QStringLiteral("^<[^<>\\[\\]]*>\\[([^\\[\\]]*)\\]"));
    const QRegularExpressionMatch match = form.match(trimmed);
    if (!match.hasMatch()) {
        *error =
            QStringLiteral("'%1' is not an entry of the form <name>[TYPE]address").arg(trimmed);
        return std::nullopt;
    }
    if (!tavmms::addressTypeOfWord(match.captured(1))) {
        *error = QStringLiteral("unknown address type '%1' in '%2' (EMAIL, PLMN or UNKNOWN)")
                     .arg(match.captured(1), trimmed);
        return std::nullopt;
    }
    MMS_UTIL_Common::stringToEntry(trimmed, &entry);
    return entry;
}

namespace
{

// Each address of `texts`, split at commas, as `read` reads it.
template <typename Read>
std::optional<QList<MMS_UTIL_Entry>> readEach(const QStringList& texts, Read read)
{
    QList<MMS_UTIL_Entry> entries;
    for (const QString& text : texts) {
        for (const QString& piece : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            if (piece.trimmed().isEmpty())
                continue;
            std::optional<MMS_UTIL_Entry> entry = read(piece);
            if (!entry)
                return std::nullopt;
            entries.append(*entry);
        }
    }
    return entries;
}

bool isEmailAddress(const QString& text)
{
    static const QRegularExpression form(QRegularExpression::anchoredPattern(QStringLiteral(
        "[^@\\s<>()\\[\\],;:\"]+@[^@\\s<>()\\[\\],;:\".]+(\\.[^@\\s<>()\\[\\],;:\".]+)+")));
    return form.match(text).hasMatch();
}

bool isPhoneNumber(const QString& text, const QString& region)
{
    static const QRegularExpression form(
        QRegularExpression::anchoredPattern(QStringLiteral("\\+?[0-9 ().-]+")));
    return form.match(text).hasMatch() && tavplatform::isPossiblePhoneNumber(text, region);
}

} // namespace

std::optional<QList<MMS_UTIL_Entry>> parseAddresses(const QStringList& texts, QString* error)
{
    return readEach(texts, [error](const QString& text) { return parseAddress(text, error); });
}

std::optional<MMS_UTIL_Entry> parseRecipient(const QString& text, const QString& region,
                                             QString* error)
{
    std::optional<MMS_UTIL_Entry> entry = parseAddress(text, error);
    if (!entry)
        return std::nullopt;
    const bool email = isEmailAddress(entry->address);
    const bool phone = !email && isPhoneNumber(entry->address, region);
    if (!email && !phone) {
        *error = QStringLiteral("'%1' is neither an e-mail address nor a phone number (region "
                                "%2)")
                     .arg(text.trimmed(), region);
        return std::nullopt;
    }
    // A bare address is typed by what it was found to be.
    if (!text.trimmed().startsWith(u'<'))
        entry->type = email ? MMS_UTIL_ADDR_EMAIL : MMS_UTIL_ADDR_PLMN;
    if ((entry->type == MMS_UTIL_ADDR_EMAIL && !email) ||
        (entry->type == MMS_UTIL_ADDR_PLMN && !phone)) {
        *error = QStringLiteral("'%1' is typed %2 but is %3")
                     .arg(text.trimmed(), tavmms::addressTypeWord(entry->type),
                          email ? QStringLiteral("an e-mail address")
                                : QStringLiteral("a phone number"));
        return std::nullopt;
    }
    return entry;
}

std::optional<QList<MMS_UTIL_Entry>> parseRecipients(const QStringList& texts,
                                                     const QString& region, QString* error)
{
    return readEach(texts,
                    [&](const QString& text) { return parseRecipient(text, region, error); });
}

namespace
{

// The parameters of the standard MIME form, the text after the first ";": "name=value" pieces
// separated by ";", a value a token or a quoted string. Joined as the header keeps them: by ";"
// without blanks, each value unquoted, so that classification finds "type=" where it looks.
std::optional<QString> mimeParameters(QStringView text, QString* error)
{
    QStringList kept;
    qsizetype i = 0;
    const auto skipBlanks = [&] {
        while (i < text.size() && text[i].isSpace())
            ++i;
    };
    while (i < text.size()) {
        skipBlanks();
        if (i < text.size() && text[i] == u';') {
            ++i; // an empty piece, as a trailing ";" leaves
            continue;
        }
        if (i == text.size())
            break;
        const qsizetype nameStart = i;
        while (i < text.size() && text[i] != u'=' && text[i] != u';' && !text[i].isSpace())
            ++i;
        const QStringView name = text.sliced(nameStart, i - nameStart);
        if (name.isEmpty() || i == text.size() || text[i] != u'=') {
            *error = QStringLiteral("the parameter '%1' is not name=value")
                         .arg(text.sliced(nameStart).toString().section(u';', 0, 0).trimmed());
            return std::nullopt;
        }
        ++i;
        QString value;
        if (i < text.size() && text[i] == u'"') {
            for (++i; i < text.size() && text[i] != u'"'; ++i) {
                if (text[i] == u'\\' && i + 1 < text.size())
                    ++i;
                value += text[i];
            }
            if (i == text.size()) {
                *error = QStringLiteral("the value of '%1' has no closing quote").arg(name);
                return std::nullopt;
            }
            ++i;
            // The header keeps parameters unquoted and cut at ";" and blanks.
            if (value.contains(u';') || value.contains(u' ')) {
                *error = QStringLiteral("the value of '%1' holds a ';' or a blank, which the "
                                        "header cannot keep")
                             .arg(name);
                return std::nullopt;
            }
        } else {
            const qsizetype valueStart = i;
            while (i < text.size() && text[i] != u';' && !text[i].isSpace())
                ++i;
            value = text.sliced(valueStart, i - valueStart).toString();
        }
        skipBlanks();
        if (i < text.size() && text[i] != u';') {
            *error = QStringLiteral("a ';' must follow the value of '%1'").arg(name);
            return std::nullopt;
        }
        kept << name.toString() + u'=' + value;
    }
    return kept.join(u';');
}

} // namespace

std::optional<MMS_CONTENT_TYPE_T> parseContentType(const QString& text, QString* error)
{
    const QString trimmed = text.trimmed();
    if (hasControlCharacter(trimmed)) {
        *error = QStringLiteral("'%1' holds a control character").arg(oneLine(trimmed));
        return std::nullopt;
    }
    qsizetype end = 0;
    while (end < trimmed.size() && trimmed[end] != u';' && trimmed[end] != u' ')
        ++end;
    const QStringList name = trimmed.left(end).split(QLatin1Char('/'));
    if (name.size() != 2 || name.at(0).isEmpty() || name.at(1).isEmpty()) {
        *error = QStringLiteral("'%1' is not type/subtype").arg(text);
        return std::nullopt;
    }
    const QString rest = trimmed.mid(end).trimmed();
    if (!rest.startsWith(u';')) // the parameters after a blank, kept as they are
        return MMS_CONTENT_TYPE_T{name.at(0), name.at(1),
                                  rest.isEmpty() ? QStringLiteral("") : rest};
    const std::optional<QString> parameters = mimeParameters(QStringView(rest).sliced(1), error);
    if (!parameters)
        return std::nullopt;
    return MMS_CONTENT_TYPE_T{name.at(0), name.at(1),
                              parameters->isEmpty() ? QStringLiteral("") : *parameters};
}

std::optional<QString> parseBlockAddress(const QString& text, QString* error)
{
    if (text.isEmpty()) {
        *error = QStringLiteral("the address is empty");
        return std::nullopt;
    }
    if (text.contains(QLatin1Char(','))) {
        *error = QStringLiteral("an address cannot hold a comma: '%1'").arg(text);
        return std::nullopt;
    }
    return text;
}

std::optional<QString> parseAddressToBlock(const QString& text, QString* error)
{
    if (!parseBlockAddress(text, error))
        return std::nullopt;
    if (hasControlCharacter(text)) {
        *error = QStringLiteral("'%1' holds a control character").arg(oneLine(text));
        return std::nullopt;
    }
    if (std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() > 0xFF; })) {
        *error = QStringLiteral("'%1' holds a character beyond Latin-1, which the block list "
                                "cannot match")
                     .arg(text);
        return std::nullopt;
    }
    return text;
}

std::optional<QString> parseBlockList(const QString& text, QString* error)
{
    if (text.isEmpty())
        return text;
    const QStringList items = text.split(QLatin1Char(','));
    if (items.contains(QString())) {
        *error = QStringLiteral("'%1' has an empty item, which would block every sender").arg(text);
        return std::nullopt;
    }
    for (const QString& item : items) {
        if (!parseAddressToBlock(item, error))
            return std::nullopt;
    }
    return text;
}

std::optional<unsigned int> parseFolder(const QString& text, QString* error)
{
    if (const std::optional<unsigned int> number = parseNumber(text))
        return number;
    for (const Folder folder : {Folder::Inbox, Folder::Outbox, Folder::Sent, Folder::Drafts}) {
        if (text.compare(folderName(unsigned(folder)), Qt::CaseInsensitive) == 0)
            return unsigned(folder);
    }
    *error = QStringLiteral("'%1' is not a folder (a number, or inbox, outbox, sent, drafts)")
                 .arg(oneLine(text));
    return std::nullopt;
}

std::optional<TimeSpan> parseTimeSpan(const QString& text, QString* error)
{
    static const QRegularExpression form(QRegularExpression::anchoredPattern(
        QStringLiteral("([0-9]{4})-([0-9]{2})-([0-9]{2})"
                       "(?:[T ]([0-9]{2}):([0-9]{2})(?::([0-9]{2})(?:[.,]([0-9]{1,9}))?)?"
                       " ?(Z|[+-][0-9]{2}(?::?[0-9]{2})?)?)?")));
    const QRegularExpressionMatch match = form.match(text);
    const auto refuse = [&](const QString& why) -> std::optional<TimeSpan> {
        *error = QStringLiteral("'%1' %2").arg(oneLine(text), why);
        return std::nullopt;
    };
    if (!match.hasMatch())
        return refuse(QStringLiteral("is not an ISO 8601 date (2026-01-31) or date and time "
                                     "(2026-01-31T12:00:00, 2026-01-31T12:00:00+01:00)"));
    const auto number = [&](int group) { return match.captured(group).toInt(); };
    const QDate date(number(1), number(2), number(3));
    if (!date.isValid())
        return refuse(QStringLiteral("is not a day of the calendar"));
    if (!match.hasCaptured(4)) {
        const QDateTime first(date, QTime(0, 0));
        return TimeSpan{first, QDateTime(date.addDays(1), QTime(0, 0)).addSecs(-1)};
    }
    // The fraction counts in milliseconds; what is below them does not bound whole seconds.
    const int milliseconds =
        match.hasCaptured(7) ? match.captured(7).left(3).leftJustified(3, QLatin1Char('0')).toInt()
                             : 0;
    const QTime time(number(4), number(5), match.hasCaptured(6) ? number(6) : 0, milliseconds);
    if (!time.isValid())
        return refuse(QStringLiteral("is not a time of the day"));
    const QString offset = match.captured(8);
    QDateTime moment;
    if (offset.isEmpty()) {
        moment = QDateTime(date, time);
    } else if (offset == QLatin1String("Z")) {
        moment = QDateTime(date, time, QTimeZone::utc());
    } else {
        const QString digits = offset.mid(1).remove(QLatin1Char(':'));
        const int hours = digits.left(2).toInt();
        const int minutes = digits.size() > 2 ? digits.mid(2).toInt() : 0;
        const int seconds = (hours * 60 + minutes) * 60;
        if (minutes > 59 || seconds > 14 * 3600)
            return refuse(QStringLiteral("has an offset beyond -14:00 to +14:00"));
        moment = QDateTime(date, time,
                           QTimeZone(offset.startsWith(QLatin1Char('-')) ? -seconds : seconds));
    }
    return TimeSpan{moment, moment};
}

} // namespace tavmms::store
