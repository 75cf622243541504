#include "part_text.h"

#include "charsets.h"
#include "transfer_encoding.h"

namespace tavmms::store
{

namespace
{

constexpr quint64 kUtf8 = 106;

} // namespace

bool isTextPart(const pdu::Part& part)
{
    return part.contentType.is("text/*");
}

PartText partText(const pdu::Part& part)
{
    const QByteArray data = pdu::decodedData(part);
    const QByteArray charset = part.charset();
    const std::optional<quint64> named =
        charset.isEmpty() ? std::optional(kUtf8) : pdu::charsetMibEnum(charset);
    std::optional<pdu::DecodedText> decoded;
    if (named)
        decoded = pdu::decodeText(data, *named);
    PartText result;
    if (!decoded) {
        decoded = pdu::decodeText(data, kUtf8);
        result.warning = QStringLiteral("the charset '%1' is not known; the text is read as UTF-8")
                             .arg(QString::fromUtf8(charset));
    }
    result.text = decoded->text;
    if (decoded->replaced && result.warning.isEmpty())
        result.warning =
            QStringLiteral("bytes not valid in %1 are shown as U+FFFD")
                .arg(charset.isEmpty() ? QStringLiteral("utf-8") : QString::fromUtf8(charset));
    return result;
}

} // namespace tavmms::store
