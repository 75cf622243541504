#ifndef TAVMMS_STORE_SHA256_H
#define TAVMMS_STORE_SHA256_H

// SHA-256 for checksums over whole mail files and backups. Through nettle rather than
// QCryptographicHash, which is several times slower, and a backup or a restore hashes every byte
// of the store.

#include <QByteArray>
#include <QByteArrayView>

#include <memory>

struct sha256_ctx;

namespace tavmms::store
{

// A digest of bytes given in parts.
class Sha256
{
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void addData(QByteArrayView bytes);
    // The digest (32 bytes) of everything given; the object starts again from nothing.
    QByteArray result();

private:
    std::unique_ptr<sha256_ctx> context_;
};

// The digest of `bytes` (32 bytes).
QByteArray sha256(QByteArrayView bytes);

} // namespace tavmms::store

#endif
