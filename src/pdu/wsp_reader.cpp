#include "wsp_reader.h"

namespace tavmms::pdu
{

namespace
{

constexpr quint8 kLengthQuote = 31;
constexpr quint8 kTextQuote = 127;
constexpr quint8 kStringQuote = '"';

} // namespace

std::nullopt_t WspReader::fail(qsizetype at, const QString& expected)
{
    if (!error_)
        error_ = DecodeError{at, expected};
    return std::nullopt;
}

std::optional<quint8> WspReader::peek() const
{
    if (error_ || atEnd())
        return std::nullopt;
    return quint8(bytes_[offset_]);
}

std::optional<quint8> WspReader::octet()
{
    if (error_)
        return std::nullopt;
    if (atEnd())
        return fail(offset_, QStringLiteral("an octet, at the end of the data"));
    return quint8(bytes_[offset_++]);
}

std::optional<QByteArrayView> WspReader::octets(qsizetype length)
{
    if (error_)
        return std::nullopt;
    if (length < 0 || length > remaining())
        return fail(offset_,
                    QStringLiteral("%1 octets, where %2 are left").arg(length).arg(remaining()));
    const QByteArrayView part = bytes_.sliced(offset_, length);
    offset_ += length;
    return part;
}

std::optional<quint32> WspReader::uintvar()
{
    const qsizetype start = offset_;
    quint64 value = 0;
    if (error_)
        return std::nullopt;
    for (int count = 0; count < 5; ++count) {
        if (atEnd())
            return fail(start, QStringLiteral("a uintvar, cut short"));
        const quint8 next = quint8(bytes_[offset_++]);
        value = value << 7 | (next & 0x7F);
        if (!(next & 0x80)) {
            if (value > 0xFFFFFFFFu)
                return fail(start, QStringLiteral("a uintvar of at most 32 bits"));
            return quint32(value);
        }
    }
    return fail(start, QStringLiteral("a uintvar of at most five octets"));
}

std::optional<quint32> WspReader::valueLength()
{
    const qsizetype start = offset_;
    const std::optional<quint8> first = octet();
    if (!first)
        return std::nullopt;
    std::optional<quint32> length;
    if (*first < kLengthQuote)
        length = *first;
    else if (*first == kLengthQuote)
        length = uintvar();
    else
        return fail(start, QStringLiteral("a value length (an octet below 32)"));
    if (length && qsizetype(*length) > remaining())
        return fail(
            start, QStringLiteral("a value length of at most the %1 octets left").arg(remaining()));
    return length;
}

std::optional<quint8> WspReader::shortInteger()
{
    const qsizetype start = offset_;
    const std::optional<quint8> value = octet();
    if (!value)
        return std::nullopt;
    if (!(*value & 0x80))
        return fail(start, QStringLiteral("a short integer (an octet of 128 or more)"));
    return quint8(*value & 0x7F);
}

std::optional<quint64> WspReader::longInteger()
{
    const qsizetype start = offset_;
    const std::optional<quint8> length = octet();
    if (!length)
        return std::nullopt;
    if (*length == 0 || *length > 8)
        return fail(start, QStringLiteral("a long integer of 1 to 8 octets"));
    if (*length > remaining())
        return fail(start, QStringLiteral("a long integer of %1 octets, where %2 are left")
                               .arg(*length)
                               .arg(remaining()));
    const QByteArrayView digits = *octets(*length);
    quint64 value = 0;
    for (const char digit : digits)
        value = value << 8 | quint8(digit);
    return value;
}

std::optional<quint64> WspReader::integer()
{
    const std::optional<quint8> first = peek();
    if (first && (*first & 0x80))
        return shortInteger();
    return longInteger();
}

std::optional<QByteArray> WspReader::textUpToZero(qsizetype start, const QString& expected)
{
    const qsizetype end = error_ || atEnd() ? -1 : bytes_.sliced(offset_).indexOf('\0');
    if (end < 0)
        return fail(start, expected);
    QByteArray text = bytes_.sliced(offset_, end).toByteArray();
    offset_ += end + 1;
    return text;
}

std::optional<QByteArray> WspReader::textString()
{
    const qsizetype start = offset_;
    if (peek() == kTextQuote)
        ++offset_;
    return textUpToZero(start, QStringLiteral("a text string ending in a zero octet"));
}

std::optional<QByteArray> WspReader::quotedString()
{
    const qsizetype start = offset_;
    if (peek() != kStringQuote)
        return fail(start, QStringLiteral("a quoted string"));
    ++offset_;
    return textUpToZero(start, QStringLiteral("a quoted string ending in a zero octet"));
}

std::optional<WspReader> WspReader::region(qsizetype length)
{
    const qsizetype start = offset_;
    if (!octets(length))
        return std::nullopt;
    return WspReader(bytes_.first(start + length), start);
}

bool WspReader::adopt(const WspReader& region)
{
    if (region.error_)
        fail(region.error_->offset, region.error_->expected);
    return !error_;
}

} // namespace tavmms::pdu
