#include "vcard_reader.h"

#include <QHash>
#include <QStringDecoder>

#include <optional>
#include <variant>

namespace tavplatform
{

namespace
{

enum class Version { V21, V30, V40 };

// One line of the file, or one property's line once its continuation lines are joined to it.
struct Line {
    int number;
    QByteArray text;
};

// A property line taken apart; its value still as written.
struct Property {
    QByteArray group; // upper case, empty when none
    QByteArray name;  // upper case
    QList<QByteArray> types;
    QByteArray encoding;
    QByteArray charset;
    QByteArray value;
};

// What went wrong with a line.
struct LineError {
    QString reason;
};

template <typename T> using Result = std::variant<T, LineError>;

bool isMarker(const QByteArray& text, const char* marker)
{
    return text.trimmed().compare(marker, Qt::CaseInsensitive) == 0;
}

bool isFoldContinuation(const QByteArray& text)
{
    return !text.isEmpty() && (text.at(0) == ' ' || text.at(0) == '\t');
}

// Where the value starts: the ':' after the name and parameters, which may hold quoted colons.
qsizetype valueSeparator(const QByteArray& text)
{
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == '"')
            quoted = !quoted;
        else if (text.at(i) == ':' && !quoted)
            return i;
    }
    return -1;
}

QByteArray upperHead(const QByteArray& text)
{
    const qsizetype separator = valueSeparator(text);
    return (separator < 0 ? text : text.left(separator)).toUpper();
}

// Joins continuation lines to the line they continue: folded lines (in 2.1 the fold's blank
// belongs to the value, later versions drop it), quoted-printable soft line breaks, and the
// unindented lines of a 2.1 base64 value, which a blank line ends.
QList<Line> unfold(const QList<Line>& lines, Version version)
{
    QList<Line> joined;
    bool base64 = false;
    for (const Line& line : lines) {
        if (!joined.isEmpty()) {
            QByteArray& last = joined.last().text;
            if (last.endsWith('=') && upperHead(last).contains("QUOTED-PRINTABLE")) {
                last.chop(1);
                last += line.text;
                continue;
            }
            if (isFoldContinuation(line.text)) {
                last += version == Version::V21 ? line.text : line.text.mid(1);
                continue;
            }
            if (base64 && !line.text.trimmed().isEmpty() && valueSeparator(line.text) < 0) {
                last += line.text;
                continue;
            }
        }
        base64 = false;
        if (line.text.trimmed().isEmpty())
            continue;
        joined.append(line);
        base64 = version == Version::V21 && upperHead(line.text).contains("BASE64");
    }
    return joined;
}

// Splits at `separator` where it is neither quoted nor escaped with a backslash.
QList<QByteArray> splitOutside(const QByteArray& text, char separator)
{
    QList<QByteArray> parts(1);
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        if (c == '\\' && i + 1 < text.size()) {
            parts.last() += text.mid(i, 2);
            ++i;
            continue;
        }
        if (c == '"')
            quoted = !quoted;
        if (c == separator && !quoted)
            parts.append(QByteArray());
        else
            parts.last() += c;
    }
    return parts;
}

QByteArray unquote(QByteArray text)
{
    text = text.trimmed();
    if (text.size() >= 2 && text.startsWith('"') && text.endsWith('"'))
        return text.mid(1, text.size() - 2);
    return text;
}

bool isName(const QByteArray& text)
{
    if (text.isEmpty())
        return false;
    for (const char c : text) {
        if (!((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-'))
            return false;
    }
    return true;
}

bool isEncodingWord(const QByteArray& word)
{
    return word == "QUOTED-PRINTABLE" || word == "BASE64" || word == "B" || word == "8BIT" ||
           word == "7BIT";
}

Result<Property> parseProperty(const QByteArray& text)
{
    const qsizetype separator = valueSeparator(text);
    if (separator < 0)
        return LineError{QStringLiteral("no ':' between the property name and its value")};
    Property property;
    property.value = text.mid(separator + 1);
    const QList<QByteArray> head = splitOutside(text.left(separator), ';');
    const QByteArray fullName = head.constFirst().trimmed().toUpper();
    const qsizetype dot = fullName.indexOf('.');
    property.group = dot < 0 ? QByteArray() : fullName.left(dot);
    property.name = fullName.mid(dot + 1);
    if (!isName(property.name) || (dot >= 0 && !isName(property.group)))
        return LineError{QStringLiteral("malformed property name \"%1\"")
                             .arg(QString::fromUtf8(head.constFirst()))};
    for (qsizetype i = 1; i < head.size(); ++i) {
        const QByteArray& parameter = head.at(i);
        const qsizetype equals = parameter.indexOf('=');
        if (equals < 0) {
            // vCard 2.1 gives types and encodings as bare words.
            const QByteArray word = parameter.trimmed().toUpper();
            if (isEncodingWord(word))
                property.encoding = word;
            else
                property.types.append(word);
            continue;
        }
        const QByteArray key = parameter.left(equals).trimmed().toUpper();
        const QByteArray value = parameter.mid(equals + 1);
        if (key == "TYPE") {
            for (const QByteArray& type : splitOutside(unquote(value), ','))
                property.types.append(unquote(type).toUpper());
        } else if (key == "ENCODING") {
            property.encoding = unquote(value).toUpper();
        } else if (key == "CHARSET") {
            property.charset = unquote(value);
        }
    }
    return property;
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

std::optional<QByteArray> decodeQuotedPrintable(const QByteArray& text)
{
    QByteArray decoded;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) != '=') {
            decoded += text.at(i);
            continue;
        }
        const int high = i + 2 < text.size() ? hexValue(text.at(i + 1)) : -1;
        const int low = high < 0 ? -1 : hexValue(text.at(i + 2));
        if (low < 0)
            return std::nullopt;
        decoded += char(high * 16 + low);
        i += 2;
    }
    return decoded;
}

// The value as text: its transfer encoding undone, then read in its character set.
Result<QString> decodeValue(const Property& property)
{
    QByteArray bytes = property.value;
    const QByteArray& encoding = property.encoding;
    if (encoding == "QUOTED-PRINTABLE") {
        const std::optional<QByteArray> decoded = decodeQuotedPrintable(bytes);
        if (!decoded)
            return LineError{QStringLiteral("malformed quoted-printable text")};
        bytes = *decoded;
    } else if (encoding == "BASE64" || encoding == "B") {
        const QByteArray::FromBase64Result decoded = QByteArray::fromBase64Encoding(
            bytes.trimmed(), QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return LineError{QStringLiteral("malformed base64 text")};
        bytes = *decoded;
    } else if (!encoding.isEmpty() && encoding != "8BIT" && encoding != "7BIT") {
        return LineError{
            QStringLiteral("unsupported encoding \"%1\"").arg(QString::fromUtf8(encoding))};
    }
    const QByteArray charset = property.charset.isEmpty() ? QByteArray("UTF-8") : property.charset;
    QStringDecoder decoder(charset.constData());
    if (!decoder.isValid())
        return LineError{
            QStringLiteral("unknown character set \"%1\"").arg(QString::fromUtf8(charset))};
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return LineError{QStringLiteral("text not valid in character set \"%1\"")
                             .arg(QString::fromUtf8(charset))};
    return text;
}

// Undoes the backslash escapes of a text value.
QString unescape(const QString& text)
{
    QString plain;
    for (qsizetype i = 0; i < text.size(); ++i) {
        QChar c = text.at(i);
        if (c == u'\\' && i + 1 < text.size()) {
            c = text.at(++i);
            if (c == u'n' || c == u'N')
                c = u'\n';
        }
        plain += c;
    }
    return plain;
}

// The parts of a compound value such as N or ORG, each unescaped.
QStringList components(const QString& text)
{
    QStringList parts(QString{});
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == u'\\' && i + 1 < text.size()) {
            parts.last() += text.mid(i, 2);
            ++i;
        } else if (c == u';') {
            parts.append(QString());
        } else {
            parts.last() += c;
        }
    }
    for (QString& part : parts)
        part = unescape(part).trimmed();
    return parts;
}

// "Prefix Given Additional Family Suffix" from N's "Family;Given;Additional;Prefix;Suffix".
QString nameFromParts(const QStringList& parts)
{
    QStringList ordered;
    for (const int index : {3, 1, 2, 0, 4}) {
        if (index < parts.size() && !parts.at(index).isEmpty())
            ordered.append(parts.at(index));
    }
    return ordered.join(QLatin1Char(' '));
}

QString numberLabel(const QList<QByteArray>& types)
{
    const auto has = [&types](const char* type) { return types.contains(type); };
    if (has("CELL"))
        return QStringLiteral("Mobile");
    if (has("FAX"))
        return has("WORK")   ? QStringLiteral("Work fax")
               : has("HOME") ? QStringLiteral("Home fax")
                             : QStringLiteral("Fax");
    if (has("PAGER"))
        return QStringLiteral("Pager");
    if (has("WORK"))
        return QStringLiteral("Work");
    if (has("HOME"))
        return QStringLiteral("Home");
    if (has("MAIN"))
        return QStringLiteral("Main");
    if (has("CAR"))
        return QStringLiteral("Car");
    return QStringLiteral("Other");
}

QString emailLabel(const QList<QByteArray>& types)
{
    if (types.contains("WORK"))
        return QStringLiteral("Work");
    if (types.contains("HOME"))
        return QStringLiteral("Home");
    return QStringLiteral("Other");
}

// Address books that label items through a group's X-ABLabel write their standard labels as
// "_$!<Mobile>!$_".
QString plainLabel(const QString& label)
{
    if (label.startsWith(QLatin1String("_$!<")) && label.endsWith(QLatin1String(">!$_")))
        return label.mid(4, label.size() - 8);
    return label;
}

// Drops a URI scheme that 4.0 values may carry ("tel:", "mailto:"), and a tel URI's parameters.
QString withoutScheme(const QString& value, QLatin1String scheme)
{
    if (!value.startsWith(scheme, Qt::CaseInsensitive))
        return value;
    const QString rest = value.mid(scheme.size());
    return scheme == QLatin1String("tel:") ? rest.section(QLatin1Char(';'), 0, 0) : rest;
}

// Reads one vCard, from its BEGIN line to its END line.
class CardReader
{
public:
    CardReader(int beginLine, int lineCount, VCardReading* reading)
        : beginLine_(beginLine), lineCount_(lineCount), reading_(reading)
    {
    }

    void read(const QList<Line>& lines)
    {
        const std::optional<Version> version = versionOf(lines);
        if (!version)
            return;
        for (const Line& line : unfold(lines, *version))
            readLine(line);
        finish();
    }

private:
    struct Item {
        QByteArray group;
        ContactAddress address;
    };

    void problem(int line, const QString& reason, int lines = 1)
    {
        reading_->problems.append({line, lines, reason});
    }

    std::optional<Version> versionOf(const QList<Line>& lines)
    {
        for (const Line& line : lines) {
            const QByteArray text = line.text.trimmed();
            if (!text.toUpper().startsWith("VERSION:"))
                continue;
            const QByteArray number = text.mid(8).trimmed();
            if (number == "2.1")
                return Version::V21;
            if (number == "3.0")
                return Version::V30;
            if (number == "4.0")
                return Version::V40;
            problem(beginLine_,
                    QStringLiteral("vCard of unsupported version \"%1\", skipped")
                        .arg(QString::fromUtf8(number)),
                    lineCount_);
            return std::nullopt;
        }
        return Version::V30;
    }

    void readLine(const Line& line)
    {
        const Result<Property> parsed = parseProperty(line.text);
        if (const LineError* error = std::get_if<LineError>(&parsed)) {
            problem(line.number, error->reason);
            return;
        }
        const Property& property = std::get<Property>(parsed);
        const QByteArray& name = property.name;
        if (name != "FN" && name != "N" && name != "ORG" && name != "UID" && name != "TEL" &&
            name != "EMAIL" && name != "X-ABLABEL")
            return;
        const Result<QString> decoded = decodeValue(property);
        if (const LineError* error = std::get_if<LineError>(&decoded)) {
            problem(line.number, error->reason);
            return;
        }
        const QString& value = std::get<QString>(decoded);
        if (name == "FN") {
            contact_.name = unescape(value).trimmed();
        } else if (name == "N") {
            structuredName_ = nameFromParts(components(value));
        } else if (name == "ORG") {
            contact_.organization = components(value).constFirst();
        } else if (name == "UID") {
            contact_.uid = unescape(value).trimmed();
        } else if (name == "X-ABLABEL") {
            if (!property.group.isEmpty())
                groupLabels_.insert(property.group, plainLabel(unescape(value).trimmed()));
        } else {
            const bool isNumber = name == "TEL";
            const QString item =
                withoutScheme(unescape(value).trimmed(),
                              isNumber ? QLatin1String("tel:") : QLatin1String("mailto:"))
                    .trimmed();
            if (item.isEmpty()) {
                problem(line.number, isNumber ? QStringLiteral("empty phone number")
                                              : QStringLiteral("empty e-mail address"));
                return;
            }
            const QString label =
                isNumber ? numberLabel(property.types) : emailLabel(property.types);
            (isNumber ? numbers_ : emails_).append({property.group, {item, label}});
        }
    }

    QList<ContactAddress> labelled(const QList<Item>& items) const
    {
        QList<ContactAddress> addresses;
        for (const Item& item : items) {
            ContactAddress address = item.address;
            const QString groupLabel = groupLabels_.value(item.group);
            if (!item.group.isEmpty() && !groupLabel.isEmpty())
                address.label = groupLabel;
            addresses.append(address);
        }
        return addresses;
    }

    void finish()
    {
        if (contact_.name.isEmpty())
            contact_.name = structuredName_;
        contact_.numbers = labelled(numbers_);
        contact_.emails = labelled(emails_);
        if (contact_.name.isEmpty() && contact_.numbers.isEmpty() && contact_.emails.isEmpty()) {
            problem(beginLine_,
                    QStringLiteral("vCard with no name, phone number or e-mail address, skipped"),
                    lineCount_);
            return;
        }
        reading_->contacts.append(contact_);
    }

    const int beginLine_;
    const int lineCount_; // from BEGIN to END
    VCardReading* reading_;
    Contact contact_;
    QString structuredName_;
    QList<Item> numbers_;
    QList<Item> emails_;
    QHash<QByteArray, QString> groupLabels_;
};

} // namespace

VCardReading readVCards(const QByteArray& data)
{
    QList<QByteArray> lines = data.split('\n');
    if (lines.constFirst().startsWith("\xEF\xBB\xBF"))
        lines.first().remove(0, 3);
    VCardReading reading;
    int begin = 0; // the open vCard's BEGIN line; 0 while none is open (lines count from 1)
    QList<Line> card;
    const auto skipOpenCard = [&](int line) {
        reading.problems.append(
            {begin, line - begin, QStringLiteral("vCard without END:VCARD, skipped")});
    };
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QByteArray text = lines.at(i);
        if (text.endsWith('\r'))
            text.chop(1);
        const int number = int(i) + 1;
        if (isMarker(text, "BEGIN:VCARD")) {
            if (begin)
                skipOpenCard(number);
            begin = number;
            card.clear();
        } else if (isMarker(text, "END:VCARD")) {
            if (begin)
                CardReader(begin, number - begin + 1, &reading).read(card);
            else
                reading.problems.append({number, 1, QStringLiteral("END:VCARD outside a vCard")});
            begin = 0;
        } else if (begin) {
            card.append({number, text});
        } else if (!text.trimmed().isEmpty()) {
            reading.problems.append({number, 1, QStringLiteral("text outside a vCard")});
        }
    }
    // The line after the last, so that a file ending in a newline counts its lines right.
    if (begin)
        skipOpenCard(int(lines.size()) + (lines.constLast().isEmpty() ? 0 : 1));
    return reading;
}

} // namespace tavplatform
