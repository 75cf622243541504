#ifndef TAVMMS_STORE_SHA256_H
#define TAVMMS_STORE_SHA256_H

#include <QByteArray>
#include <QByteArrayView>

namespace tavmms::store
{

// The SHA-256 digest of `bytes` (32 bytes), for checksums over whole mail files. Through nettle
// rather than QCryptographicHash, which is several times slower, and a backup hashes every byte of
// the store.
QByteArray sha256(QByteArrayView bytes);

} // namespace tavmms::store

#endif
