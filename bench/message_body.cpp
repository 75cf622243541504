#include "message_body.h"

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
