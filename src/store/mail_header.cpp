#include "mail_header.h"

#include <QRegularExpression>

namespace tavmms::store
{

namespace
{

// 42 octets are 56 base64 characters; with "=?UTF-8?B?" and "?=" a word takes 68 columns.
constexpr qsizetype kEncodedWordOctets = 42;
// The longest word that fits a line after "Subject: ", the longest name of a field whose words
// may be text.
constexpr qsizetype kTextWordLength = 68;

bool isAtext(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           QByteArrayView("!#$%&'*+-/=?^_`{|}~").contains(c);
}

bool isPrintableAscii(const QString& text)
{
    for (const QChar c : text) {
        if (c.unicode() < 0x20 || c.unicode() > 0x7e)
            return false;
    }
    return true;
}

// A quoted string: '"' and '\' escaped by a backslash.
QByteArray quoted(QByteArrayView text)
{
    QByteArray result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

// The length of the UTF-8 sequence that `lead` begins; 1 for an octet that begins none, which
// the encoder never makes.
qsizetype sequenceLength(unsigned char lead)
{
    if (lead >= 0xf0)
        return 4;
    if (lead >= 0xe0)
        return 3;
    if (lead >= 0xc0)
        return 2;
    return 1;
}

// RFC 2231's attribute-char: what a parameter value carries without a %XX.
bool isAttributeChar(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           QByteArrayView("!#$&+-.^_`|~").contains(c);
}

} // namespace

QByteArray headerField(QByteArrayView name, const QList<QByteArray>& words)
{
    QByteArray field = name.toByteArray() + ':';
    qsizetype lineStart = 0;
    bool lineHasWord = false;
    for (const QByteArray& word : words) {
        if (lineHasWord && field.size() - lineStart + 1 + word.size() > kMailLineLength) {
            field += "\r\n";
            lineStart = field.size();
        }
        field += ' ' + word;
        lineHasWord = true;
    }
    return field + "\r\n";
}

QList<QByteArray> encodedWords(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    QList<QByteArray> words;
    qsizetype start = 0;
    while (start < utf8.size()) {
        qsizetype end = start;
        while (end < utf8.size()) {
            const qsizetype next = end + sequenceLength(uchar(utf8.at(end)));
            if (next - start > kEncodedWordOctets)
                break;
            end = next;
        }
        end = qMin(end, utf8.size());
        words.append("=?UTF-8?B?" + utf8.sliced(start, end - start).toBase64() + "?=");
        start = end;
    }
    return words;
}

QList<QByteArray> unstructuredWords(const QString& text)
{
    static const QRegularExpression plain(
        QStringLiteral("^[!-~]{1,%1}( [!-~]{1,%1})*$").arg(kTextWordLength));
    if (plain.match(text).hasMatch() && !text.contains(QLatin1String("=?")))
        return text.toLatin1().split(' ');
    return encodedWords(text);
}

QList<QByteArray> phraseWords(const QString& name)
{
    if (isPrintableAscii(name)) {
        QByteArray word = quoted(name.toLatin1());
        if (word.size() <= kTextWordLength)
            return {word};
    }
    return encodedWords(name);
}

bool isDotAtom(QByteArrayView text)
{
    if (text.isEmpty() || text.startsWith('.') || text.endsWith('.') || text.contains(".."))
        return false;
    for (const char c : text) {
        if (c != '.' && !isAtext(c))
            return false;
    }
    return true;
}

QByteArray addrSpec(const MMS_UTIL_Entry& entry)
{
    if (entry.type == MMS_UTIL_ADDR_EMAIL)
        return entry.address.toUtf8();
    static const QRegularExpression typedNumber(
        QStringLiteral("^\\+?[0-9 ().-]*[0-9][0-9 ().-]*$"));
    QString local = entry.address;
    if (typedNumber.match(local).hasMatch())
        local.remove(QRegularExpression(QStringLiteral("[ ().-]")));
    const QByteArray bytes = local.toUtf8();
    return (isDotAtom(bytes) ? bytes : quoted(bytes)) + "@mms.invalid";
}

QList<QByteArray> mailboxWords(const QString& name, const QByteArray& address)
{
    QList<QByteArray> words = name.isEmpty() ? QList<QByteArray>() : phraseWords(name);
    words.append('<' + address + '>');
    return words;
}

QList<QByteArray> parameterWords(QByteArrayView name, const QString& value)
{
    if (isPrintableAscii(value)) {
        const QByteArray word = name.toByteArray() + '=' + quoted(value.toLatin1());
        // Room for the ';' that may follow it, after the blank that folds.
        if (word.size() <= kMailLineLength - 2)
            return {word};
    }
    QByteArray encoded;
    for (const char c : value.toUtf8()) {
        if (isAttributeChar(c))
            encoded += c;
        else
            encoded += '%' + QByteArray(1, c).toHex().toUpper();
    }
    const QByteArray whole = name.toByteArray() + "*=UTF-8''" + encoded;
    if (whole.size() <= kMailLineLength - 2)
        return {whole};
    QList<QByteArray> words;
    qsizetype start = 0;
    for (int section = 0; start < encoded.size(); ++section) {
        QByteArray word = name.toByteArray() + '*' + QByteArray::number(section) + "*=";
        if (section == 0)
            word += "UTF-8''";
        qsizetype end = start;
        while (end < encoded.size()) {
            const qsizetype next = end + (encoded.at(end) == '%' ? 3 : 1);
            if (word.size() + next - start > kMailLineLength - 2)
                break;
            end = next;
        }
        words.append(word + encoded.sliced(start, end - start));
        start = end;
    }
    return words;
}

void appendParameter(QList<QByteArray>* words, QByteArrayView name, const QString& value)
{
    for (const QByteArray& word : parameterWords(name, value)) {
        words->last() += ';';
        words->append(word);
    }
}

QByteArray mailDate(const QDateTime& date)
{
    if (!date.isValid() || date.date().year() < 1900 || date.date().year() > 9999)
        return {};
    static const char* const days[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const int offset = date.offsetFromUtc() / 60;
    const int minutes = qAbs(offset);
    return QByteArray(days[date.date().dayOfWeek() - 1]) + ", " +
           QByteArray::number(date.date().day()).rightJustified(2, '0') + ' ' +
           months[date.date().month() - 1] + ' ' + QByteArray::number(date.date().year()) + ' ' +
           date.time().toString(QStringLiteral("hh:mm:ss")).toLatin1() + ' ' +
           (offset < 0 ? '-' : '+') +
           QByteArray::number(minutes / 60 * 100 + minutes % 60).rightJustified(4, '0');
}

} // namespace tavmms::store
