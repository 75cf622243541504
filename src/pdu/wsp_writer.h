#ifndef TAVMMS_PDU_WSP_WRITER_H
#define TAVMMS_PDU_WSP_WRITER_H

// The WSP encodings of MMS PDUs and multipart bodies, written as WspReader reads them.

#include "tavmms_global.h"

#include <QByteArray>
#include <QByteArrayView>

namespace tavmms::pdu
{

class TAVMMS_EXPORT WspWriter
{
public:
    const QByteArray& bytes() const { return bytes_; }
    // Room for `size` octets in all, so that a large value is copied in once.
    void reserve(qsizetype size) { bytes_.reserve(size); }

    void octet(quint8 value) { bytes_.append(char(value)); }
    void octets(QByteArrayView data) { bytes_.append(data); }
    void uintvar(quint32 value);
    // A short length below 31, else 31 and a uintvar.
    void valueLength(quint32 length);
    // `value` (0 to 127) with the high bit set.
    void shortInteger(quint8 value);
    // The fewest octets that hold `value`, after their count.
    void longInteger(quint64 value);
    // A short integer when `value` is below 128, else a long integer.
    void integer(quint64 value);
    // `text` (which holds no zero octet) and a zero octet, after a quote octet when it starts with
    // an octet of 127 or more or a control octet.
    void textString(QByteArrayView text);
    // A '"' octet, `text` and a zero octet.
    void quotedString(QByteArrayView text);

private:
    QByteArray bytes_;
};

} // namespace tavmms::pdu

#endif
