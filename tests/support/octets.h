#ifndef TAVMMS_TEST_OCTETS_H
#define TAVMMS_TEST_OCTETS_H

#include <QByteArray>

#include <initializer_list>

namespace tavmms::test
{

// Bytes written as octets, the way the formats' documents show them.
inline QByteArray octets(std::initializer_list<int> values)
{
    QByteArray data;
    for (const int value : values)
        data.append(char(value));
    return data;
}

// `text` with its terminating zero octet, as WSP text strings carry it.
inline QByteArray zeroEnded(const char* text)
{
    return QByteArray(text).append('\0');
}

} // namespace tavmms::test

#endif
