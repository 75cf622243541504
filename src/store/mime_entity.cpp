#include "mime_entity.h"

#include <QCryptographicHash>

#include <algorithm>

namespace tavmms::store
{

namespace
{

constexpr qsizetype kEncodedLineLength = 76;
constexpr qsizetype kLongestLine = 998;

QByteArray hexEscape(uchar octet)
{
    static const char digits[] = "0123456789ABCDEF";
    const char escape[] = {'=', digits[octet >> 4], digits[octet & 0xf]};
    return QByteArray(escape, 3);
}

// One line of text, without its line break, in quoted-printable lines joined by soft breaks.
QByteArray quotedPrintableLine(QByteArrayView line)
{
    QByteArray result;
    qsizetype column = 0;
    for (qsizetype index = 0; index < line.size(); ++index) {
        const uchar octet = uchar(line.at(index));
        const bool last = index + 1 == line.size();
        const bool blank = octet == ' ' || octet == '\t';
        const bool asItIs = (octet >= 33 && octet <= 126 && octet != '=') || (blank && !last);
        const QByteArray piece = asItIs ? QByteArray(1, char(octet)) : hexEscape(octet);
        // A soft break takes a column of its own, unless the piece ends the line.
        const qsizetype room = last ? kEncodedLineLength : kEncodedLineLength - 1;
        if (column + piece.size() > room) {
            result += "=\r\n";
            column = 0;
        }
        result += piece;
        column += piece.size();
    }
    return result;
}

} // namespace

QByteArray base64Lines(QByteArrayView data)
{
    const QByteArray encoded = data.toByteArray().toBase64();
    QByteArray result;
    result.reserve(encoded.size() + encoded.size() / kEncodedLineLength * 2 + 2);
    for (qsizetype start = 0; start < encoded.size(); start += kEncodedLineLength) {
        if (start > 0)
            result += "\r\n";
        result += encoded.mid(start, kEncodedLineLength);
    }
    return result;
}

QByteArray quotedPrintable(QByteArrayView text)
{
    QByteArray result;
    qsizetype start = 0;
    while (true) {
        const qsizetype end = text.indexOf("\r\n", start);
        result += quotedPrintableLine(text.sliced(start, (end < 0 ? text.size() : end) - start));
        if (end < 0)
            return result;
        result += "\r\n";
        start = end + 2;
    }
}

QByteArray crlfLines(QByteArrayView text)
{
    QByteArray result;
    result.reserve(text.size() + text.size() / 32);
    for (qsizetype index = 0; index < text.size(); ++index) {
        const char c = text.at(index);
        if (c == '\r' || c == '\n') {
            result += "\r\n";
            if (c == '\r' && index + 1 < text.size() && text.at(index + 1) == '\n')
                ++index;
        } else {
            result += c;
        }
    }
    return result;
}

bool isSevenBit(QByteArrayView text)
{
    qsizetype lineStart = 0;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const uchar octet = uchar(text.at(index));
        if (octet == 0 || octet > 127)
            return false;
        if (octet == '\r') {
            if (index + 1 == text.size() || text.at(index + 1) != '\n')
                return false;
        } else if (octet == '\n') {
            if (index == 0 || text.at(index - 1) != '\r')
                return false;
            lineStart = index + 1;
        } else if (index - lineStart >= kLongestLine) {
            return false;
        }
    }
    return true;
}

QByteArray multipartBody(const QList<MimeEntity>& parts, QByteArray* boundary)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const MimeEntity& part : parts) {
        hash.addData(part.headers);
        hash.addData(part.body);
    }
    const QByteArray seed = hash.result();
    for (int attempt = 0;; ++attempt) {
        const QByteArray candidate =
            "=_" +
            QCryptographicHash::hash(seed + QByteArray::number(attempt), QCryptographicHash::Sha256)
                .toHex()
                .left(32);
        const bool taken = std::any_of(parts.cbegin(), parts.cend(), [&](const MimeEntity& part) {
            return part.headers.contains(candidate) || part.body.contains(candidate);
        });
        if (!taken) {
            *boundary = candidate;
            break;
        }
    }
    QByteArray body;
    for (const MimeEntity& part : parts)
        body += "--" + *boundary + "\r\n" + part.headers + "\r\n" + part.body + "\r\n";
    return body + "--" + *boundary + "--";
}

} // namespace tavmms::store
