#pragma once

#include <cstddef>

#include "support/base/ByteView.h"

namespace certstore {

// Md5 is for deriving keys alone: what checks signatures refuses it (Md5.h says why).
enum class DigestAlgorithm : unsigned char {
    Sha1,
    Sha224,
    Sha256,
    Sha384,
    Sha512,
    Sha512_224,
    Sha512_256,
    Sha3_224,
    Sha3_256,
    Sha3_384,
    Sha3_512,
    Md5
};

// Size in bytes of the longest digest there is here, and of the longest block (SHA3-224).
constexpr std::size_t kMaxDigestSize = 64;
constexpr std::size_t kMaxDigestBlockSize = 144;

// A digest with its size, held by value.
struct DigestValue {
    unsigned char bytes[kMaxDigestSize];
    std::size_t size;

    ByteView view() const { return {bytes, size}; }
};

// Bytes in a digest of this algorithm.
std::size_t digestSize(DigestAlgorithm algorithm) noexcept;

// Bytes that this algorithm takes in at a time: the block of HMAC and of key derivation.
std::size_t digestBlockSize(DigestAlgorithm algorithm) noexcept;

// The digest of all of `data` in one call. Never fails. For public data: the value does not wipe
// itself (RunningDigest is for secrets).
DigestValue computeDigest(DigestAlgorithm algorithm, ByteView data) noexcept;

}  // namespace certstore
