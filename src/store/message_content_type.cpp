#include "message_content_type.h"

namespace tavmms::store
{

namespace
{

// The pieces of `text` between the ";" that stand outside double quotes.
QList<QByteArray> splitOutsideQuotes(const QByteArray& text)
{
    QList<QByteArray> pieces;
    QByteArray piece;
    bool quoted = false;
    for (const char c : text) {
        if (c == '"')
            quoted = !quoted;
        if (c == ';' && !quoted) {
            pieces.append(piece);
            piece.clear();
        } else {
            piece.append(c);
        }
    }
    pieces.append(piece);
    return pieces;
}

QByteArray unquoted(const QByteArray& value)
{
    if (value.size() >= 2 && value.startsWith('"') && value.endsWith('"'))
        return value.sliced(1, value.size() - 2).replace("\\\"", "\"");
    return value;
}

QByteArray quotedWhenNeeded(const QByteArray& value)
{
    if (!value.contains(';') && !value.contains(' ') && !value.contains('"'))
        return value;
    return '"' + QByteArray(value).replace('"', "\\\"") + '"';
}

} // namespace

pdu::ContentType codecContentType(const MMS_CONTENT_TYPE_T& type)
{
    pdu::ContentType codec;
    codec.mediaType = (type.type + QLatin1Char('/') + type.subtype).toUtf8();
    for (const QByteArray& piece : splitOutsideQuotes(type.params.trimmed().toUtf8())) {
        const QByteArray parameter = piece.trimmed();
        if (parameter.isEmpty())
            continue;
        const qsizetype equals = parameter.indexOf('=');
        if (equals < 0)
            codec.parameters.append({parameter, QByteArray()});
        else
            codec.parameters.append({parameter.first(equals).trimmed(),
                                     unquoted(parameter.sliced(equals + 1).trimmed())});
    }
    return codec;
}

MMS_CONTENT_TYPE_T headerContentType(const pdu::ContentType& type)
{
    const qsizetype slash = type.mediaType.indexOf('/');
    MMS_CONTENT_TYPE_T header;
    header.type = QString::fromUtf8(slash < 0 ? type.mediaType : type.mediaType.first(slash));
    header.subtype = slash < 0 ? QString() : QString::fromUtf8(type.mediaType.sliced(slash + 1));
    QStringList parameters;
    for (const pdu::Parameter& parameter : type.parameters)
        parameters.append(
            QString::fromUtf8(parameter.name + '=' + quotedWhenNeeded(parameter.value)));
    header.params = parameters.join(QLatin1Char(';'));
    return header;
}

QString contentTypeText(const pdu::ContentType& type)
{
    QByteArray text = type.mediaType;
    for (const pdu::Parameter& parameter : type.parameters)
        text += "; " + parameter.name + '=' + quotedWhenNeeded(parameter.value);
    return QString::fromUtf8(text);
}

} // namespace tavmms::store
