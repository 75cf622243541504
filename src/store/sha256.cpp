#include "sha256.h"

#include <nettle/sha2.h>

namespace tavmms::store
{

QByteArray sha256(QByteArrayView bytes)
{
    sha256_ctx context;
    sha256_init(&context);
    sha256_update(&context, size_t(bytes.size()), reinterpret_cast<const uint8_t*>(bytes.data()));
    QByteArray digest(SHA256_DIGEST_SIZE, Qt::Uninitialized);
    sha256_digest(&context, SHA256_DIGEST_SIZE, reinterpret_cast<uint8_t*>(digest.data()));
    return digest;
}

} // namespace tavmms::store
