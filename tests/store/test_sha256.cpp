// The SHA-256 digest the backup's manifest names its members by: the standard's test vectors, and
// the digest Qt's own implementation gives, which a reader of a backup may check it with.

#include "sha256.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QRandomGenerator>

namespace
{

using tavmms::store::sha256;

QByteArray hexDigest(QByteArrayView bytes)
{
    return sha256(bytes).toHex();
}

TEST(Sha256Test, DigestsOfTheStandardsTestVectors)
{
    EXPECT_EQ(hexDigest(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(hexDigest("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(hexDigest("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(hexDigest(QByteArray(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256Test, DigestOfAMailFileSizedBufferIsQtsToo)
{
    // An odd length, so that the last block is a partial one.
    QByteArray bytes(300 * 1024 + 7, Qt::Uninitialized);
    QRandomGenerator generator(20260101);
    for (char& byte : bytes)
        byte = char(generator.generate());
    EXPECT_EQ(sha256(bytes), QCryptographicHash::hash(bytes, QCryptographicHash::Sha256));
}

} // namespace
