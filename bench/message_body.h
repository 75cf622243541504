#ifndef TAVMMS_BENCH_MESSAGE_BODY_H
#define TAVMMS_BENCH_MESSAGE_BODY_H

#include <QByteArray>

// A message body of `size` bytes that does not compress, the same on every call: what a file
// system or a comparison sees of a real encoded message.
QByteArray makeBody(qsizetype size);

#endif
