#ifndef TAVMMS_PDU_WSP_READER_H
#define TAVMMS_PDU_WSP_READER_H

// The WSP encodings that MMS PDUs and multipart bodies are made of, read from bytes that may be
// cut short or made up: every length is checked against what is left, and a value that does not
// read gives an error naming the offset and what was expected, never a read past the end.

#include "tavmms_global.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace tavmms::pdu
{

// Why the bytes do not read: the offset of the value that does not, and what was expected there.
struct TAVMMS_EXPORT DecodeError {
    qsizetype offset = 0;
    QString expected;
};

class TAVMMS_EXPORT WspReader
{
public:
    // The reader keeps a view of `bytes`, which must outlive it: a temporary array is refused.
    explicit WspReader(QByteArrayView bytes) : bytes_(bytes) {}
    explicit WspReader(QByteArray&&) = delete;

    qsizetype offset() const { return offset_; }
    qsizetype remaining() const { return bytes_.size() - offset_; }
    bool atEnd() const { return remaining() == 0; }
    // The first error met; reading goes on giving nothing once there is one.
    const std::optional<DecodeError>& error() const { return error_; }

    // The octets from `start` up to where the reader is.
    QByteArrayView bytesFrom(qsizetype start) const
    {
        return bytes_.sliced(start, offset_ - start);
    }

    // The next octet, not consumed.
    std::optional<quint8> peek() const;
    std::optional<quint8> octet();
    // `length` octets as they are.
    std::optional<QByteArrayView> octets(qsizetype length);
    // Uintvar: 7 bits an octet, most significant first, the high bit set on all but the last; at
    // most five octets and a value that fits 32 bits.
    std::optional<quint32> uintvar();
    // Value-length: a short length (0 to 30), or 31 followed by a uintvar; never more than is left.
    std::optional<quint32> valueLength();
    // Short-integer: one octet with the high bit set, its value the other seven bits.
    std::optional<quint8> shortInteger();
    // Long-integer: a short length (1 to 8 here) and that many octets, most significant first.
    std::optional<quint64> longInteger();
    // Integer-value: a short integer or a long integer.
    std::optional<quint64> integer();
    // Text-string: text up to a zero octet, after a quote octet (127) when the text starts with an
    // octet of 128 or more; the quote is not part of the text.
    std::optional<QByteArray> textString();
    // Quoted-string: a '"' octet, then text up to a zero octet.
    std::optional<QByteArray> quotedString();

    // A reader of the next `length` octets, which must be left, at the same offsets; this reader
    // goes on after them. What the region cannot read is reported by `adopt`.
    std::optional<WspReader> region(qsizetype length);
    // Takes on the error of `region`, if it has one; whether there is none.
    bool adopt(const WspReader& region);
    // Records that the value at `at` is not what was `expected`, unless an error came first.
    std::nullopt_t fail(qsizetype at, const QString& expected);

private:
    WspReader(QByteArrayView bytes, qsizetype offset) : bytes_(bytes), offset_(offset) {}
    // The octets up to the next zero octet, which is consumed too.
    std::optional<QByteArray> textUpToZero(qsizetype start, const QString& expected);

    QByteArrayView bytes_;
    qsizetype offset_ = 0;
    std::optional<DecodeError> error_;
};

} // namespace tavmms::pdu

#endif
