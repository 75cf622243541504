#include "sha256.h"

#include <nettle/sha2.h>

namespace tavmms::store
{

Sha256::Sha256() : context_(std::make_unique<sha256_ctx>())
{
    sha256_init(context_.get());
}

Sha256::~Sha256() = default;

void Sha256::addData(QByteArrayView bytes)
{
    sha256_update(context_.get(), size_t(bytes.size()),
                  reinterpret_cast<const uint8_t*>(bytes.data()));
}

QByteArray Sha256::result()
{
    QByteArray digest(SHA256_DIGEST_SIZE, Qt::Uninitialized);
    sha256_digest(context_.get(), SHA256_DIGEST_SIZE, reinterpret_cast<uint8_t*>(digest.data()));
    return digest;
}

QByteArray sha256(QByteArrayView bytes)
{
    Sha256 hash;
    hash.addData(bytes);
    return hash.result();
}

} // namespace tavmms::store
