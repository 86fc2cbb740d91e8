#pragma once

#include "support/crypto/Digest.h"
#include "tests/support/crypto/Bytes.h"

// 0, 1 .. 250 again and again: a message without a period that any block size shares.
inline Bytes makePattern(std::size_t size) {
    Bytes pattern(size);
    for (std::size_t i = 0; i < size; ++i)
        pattern[i] = static_cast<unsigned char>(i % 251);
    return pattern;
}

// The first 16 octets of the SHA-256.
inline Bytes fingerprint(const Bytes& bytes) {
    const auto digest = certstore::computeDigest(certstore::DigestAlgorithm::Sha256, bytes);
    return Bytes(digest.bytes, digest.bytes + 16);
}
