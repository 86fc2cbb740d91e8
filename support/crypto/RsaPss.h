#pragma once

#include <cstddef>

#include "support/base/ByteView.h"
#include "support/crypto/Digest.h"
#include "support/crypto/Rsa.h"

namespace certstore {

// What RSASSA-PSS leaves open (RFC 8017 section 8.1): the digest, the one that MGF1 makes its mask
// with, and the size of the salt in bytes.
struct RsaPssOptions {
    DigestAlgorithm digest = DigestAlgorithm::Sha1;
    DigestAlgorithm maskDigest = DigestAlgorithm::Sha1;
    std::size_t saltSize = 20;
};

// Whether `signature` is one of `key` over a message with this digest: RSASSA-PSS (RFC 8017
// sections 8.1.2 and 9.1.2) with exactly these options. False also when the digest has not the size
// of its algorithm, an algorithm is not one for signatures, the salt does not fit the key, or
// recoverRsaMessage() refuses.
bool verifyRsaPss(const RsaPublicKey& key, const RsaPssOptions& options, ByteView digest,
                  ByteView signature) noexcept;

}  // namespace certstore
