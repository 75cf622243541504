#ifndef TAVMMS_BENCH_MESSAGE_BODY_H
#define TAVMMS_BENCH_MESSAGE_BODY_H

#include <QByteArray>

// A message body of `size` bytes that does not compress, the same on every call: what a file
// system or a comparison sees of a real encoded message.
QByteArray makeBody(qsizetype size);

// `size` random bytes drawn from a generator seeded with `seed`, as a photo is: bodies of different
// seeds share no runs of bytes, so a compressor that looks back over earlier messages finds nothing
// to reuse, as it would in copies of one makeBody().
QByteArray makeRandomBody(qsizetype size, quint32 seed);

#endif
