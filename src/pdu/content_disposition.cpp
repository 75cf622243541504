#include "content_disposition.h"

#include <algorithm>

namespace tavmms::pdu
{

namespace
{

// The kinds WSP numbers, from 128 on.
constexpr const char* kKinds[] = {"form-data", "attachment", "inline"};
constexpr quint8 kFirstKind = 128;

QByteArray escaped(const QByteArray& value)
{
    QByteArray text;
    for (const char c : value) {
        if (c == '"' || c == '\\')
            text += '\\';
        text += c;
    }
    return text;
}

// `value` without its quotes and escapes when it is quoted, else as it is.
QByteArray unquoted(const QByteArray& value)
{
    if (value.size() < 2 || !value.startsWith('"') || !value.endsWith('"'))
        return value;
    QByteArray text;
    for (qsizetype i = 1; i < value.size() - 1; ++i) {
        if (value[i] == '\\' && i + 1 < value.size() - 1)
            ++i;
        text += value[i];
    }
    return text;
}

// `text` cut at the semicolons that are not within quotes.
QList<QByteArray> pieces(QByteArrayView text)
{
    QList<QByteArray> list{QByteArray()};
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == ';' && !quoted) {
            list.append(QByteArray());
            continue;
        }
        list.last() += c;
        if (c == '"')
            quoted = !quoted;
        else if (c == '\\' && quoted && i + 1 < text.size())
            list.last() += text[++i];
    }
    return list;
}

} // namespace

QByteArray dispositionText(const Disposition& disposition)
{
    QByteArray text = disposition.kind;
    for (const Parameter& parameter : disposition.parameters)
        text += "; " + parameter.name + "=\"" + escaped(parameter.value) + '"';
    return text;
}

Disposition parseDisposition(QByteArrayView text)
{
    QList<QByteArray> list = pieces(text);
    Disposition disposition{list.takeFirst().trimmed(), {}};
    for (const QByteArray& piece : list) {
        const qsizetype equals = piece.indexOf('=');
        const QByteArray name = (equals < 0 ? piece : piece.first(equals)).trimmed();
        if (!name.isEmpty())
            disposition.parameters.append(
                {name, equals < 0 ? QByteArray() : unquoted(piece.sliced(equals + 1).trimmed())});
    }
    return disposition;
}

std::optional<Disposition> readDisposition(WspReader& reader)
{
    const std::optional<quint32> length = reader.valueLength();
    std::optional<WspReader> value = length ? reader.region(*length) : std::nullopt;
    if (!value)
        return std::nullopt;
    const qsizetype start = value->offset();
    Disposition disposition;
    const std::optional<quint8> first = value->peek();
    if (first && *first >= kFirstKind) {
        const quint8 kind = *value->octet() - kFirstKind;
        if (kind < std::size(kKinds))
            disposition.kind = kKinds[kind];
        else
            value->fail(start, QStringLiteral("a disposition: form-data, attachment or inline"));
    } else if (std::optional<QByteArray> token = value->textString()) {
        disposition.kind = std::move(*token);
    }
    readParameters(*value, disposition.parameters);
    if (!reader.adopt(*value))
        return std::nullopt;
    return disposition;
}

void writeDisposition(WspWriter& writer, const Disposition& disposition)
{
    WspWriter value;
    const auto known = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const char* kind) {
        return disposition.kind.compare(kind, Qt::CaseInsensitive) == 0;
    });
    if (known != std::end(kKinds))
        value.octet(quint8(kFirstKind + (known - std::begin(kKinds))));
    else
        value.textString(disposition.kind);
    for (const Parameter& parameter : disposition.parameters)
        writeParameter(value, parameter);
    writer.valueLength(quint32(value.bytes().size()));
    writer.octets(value.bytes());
}

} // namespace tavmms::pdu
