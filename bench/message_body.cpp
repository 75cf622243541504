#include "message_body.h"

#include <QRandomGenerator>

QByteArray makeBody(qsizetype size)
{
    QByteArray body(size, Qt::Uninitialized);
    quint32 state = 12345;
    for (char& byte : body) {
        state = state * 1103515245u + 12345u;
        byte = char(state >> 24);
    }
    return body;
}

QByteArray makeRandomBody(qsizetype size, quint32 seed)
{
    QByteArray body(size, Qt::Uninitialized);
    QRandomGenerator generator(seed);
    for (char& byte : body)
        byte = char(generator.generate());
    return body;
}
