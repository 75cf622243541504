#include "transfer_encoding.h"

#include <charconv>
#include <optional>

namespace tavmms::pdu
{

namespace
{

// The octet that the two hex digits at `at` write; nothing when they are not two hex digits.
std::optional<char> hexOctet(QByteArrayView text, qsizetype at)
{
    if (at + 2 > text.size())
        return std::nullopt;
    unsigned int value = 0;
    const char* first = text.data() + at;
    const auto [end, failure] = std::from_chars(first, first + 2, value, 16);
    if (failure != std::errc() || end != first + 2)
        return std::nullopt;
    return char(value);
}

// The length of the line break at `at` after spaces and tabs, which mail lets a line end with;
// zero when there is none.
qsizetype softBreakLength(QByteArrayView text, qsizetype at)
{
    qsizetype end = at;
    while (end < text.size() && (text[end] == ' ' || text[end] == '\t'))
        ++end;
    if (text.sliced(end).startsWith("\r\n"))
        return end + 2 - at;
    if (text.sliced(end).startsWith("\n"))
        return end + 1 - at;
    return 0;
}

} // namespace

QByteArray decodeBase64(QByteArrayView text)
{
    // Qt skips what is not of the alphabet, and a lone character left at the end.
    return QByteArray::fromBase64(text.toByteArray());
}

QByteArray decodeQuotedPrintable(QByteArrayView text)
{
    QByteArray data;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '=') {
            data += text[i];
            continue;
        }
        if (const qsizetype soft = softBreakLength(text, i + 1)) {
            i += soft;
            continue;
        }
        const std::optional<char> octet = hexOctet(text, i + 1);
        if (!octet) {
            data += '=';
            continue;
        }
        data += *octet;
        i += 2;
    }
    return data;
}

QByteArray decodedData(const Part& part)
{
    const QByteArray encoding = part.header("Content-Transfer-Encoding").trimmed().toLower();
    if (encoding == "base64")
        return decodeBase64(part.data);
    if (encoding == "quoted-printable")
        return decodeQuotedPrintable(part.data);
    return part.data;
}

} // namespace tavmms::pdu
