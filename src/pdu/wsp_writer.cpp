#include "wsp_writer.h"

namespace tavmms::pdu
{

void WspWriter::uintvar(quint32 value)
{
    char groups[5];
    int count = 0;
    do {
        groups[count++] = char(value & 0x7F);
        value >>= 7;
    } while (value != 0);
    while (count > 1)
        octet(quint8(groups[--count]) | 0x80);
    octet(quint8(groups[0]));
}

void WspWriter::valueLength(quint32 length)
{
    if (length < 31) {
        octet(quint8(length));
        return;
    }
    octet(31);
    uintvar(length);
}

void WspWriter::shortInteger(quint8 value)
{
    octet(value | 0x80);
}

void WspWriter::longInteger(quint64 value)
{
    int count = 1;
    while (count < 8 && (value >> (8 * count)) != 0)
        ++count;
    octet(quint8(count));
    for (int i = count - 1; i >= 0; --i)
        octet(quint8(value >> (8 * i)));
}

void WspWriter::integer(quint64 value)
{
    if (value < 0x80)
        shortInteger(quint8(value));
    else
        longInteger(value);
}

void WspWriter::textString(QByteArrayView text)
{
    // A first octet of 127 is quoted too, so that it is not taken for the quote itself, and so is a
    // control octet, which where a value may be a text or a length would be read as a length.
    if (!text.isEmpty() && (quint8(text.front()) >= 0x7F || quint8(text.front()) < 0x20))
        octet(127);
    octets(text);
    octet(0);
}

void WspWriter::quotedString(QByteArrayView text)
{
    octet('"');
    octets(text);
    octet(0);
}

} // namespace tavmms::pdu
