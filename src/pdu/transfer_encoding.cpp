#include "transfer_encoding.h"

namespace tavmms::pdu
{

namespace
{

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
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
        const int high = i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
        if (low < 0) {
            data += '=';
            continue;
        }
        data += char(high << 4 | low);
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
