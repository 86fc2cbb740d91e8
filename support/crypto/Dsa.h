#pragma once

#include <cstddef>

#include "support/base/ByteView.h"

namespace certstore {

// FIPS 186-4 ends at 3,072 bits, but tools make keys of 4,096 as readily. A check takes time with
// the square of the size.
constexpr std::size_t kMaxDsaPrimeSize = 4096 / 8;

// The domain parameters as they came: unsigned big-endian numbers, zeros in front allowed. The
// bytes belong to somebody else.
struct DsaDomain {
    ByteView p, q, g;
};

struct DsaPublicKey : DsaDomain {
    ByteView y;
};

// Whether the sizes and ranges are those of DSA: p odd and at most kMaxDsaPrimeSize bytes, q odd,
// below p, and of 160, 224 or 256 bits (FIPS 186-4 section 4.2), 1 < g < p. That p and q are prime
// and g of order q is not looked at: weak ones harm nobody but the issuer who chose them, and proof
// would cost more than the check of a signature.
bool isDsaDomain(const DsaDomain& domain) noexcept;

// Whether (r, s), unsigned big-endian, is the key's signature of this digest (FIPS 186-4 section
// 4.7), of which only as many bits count as q has. False also unless isDsaDomain(key), 1 < y < p
// and r and s are from 1 to q - 1. The time taken depends on the arguments: for public ones only.
bool verifyDsa(const DsaPublicKey& key, ByteView digest, ByteView r, ByteView s) noexcept;

}  // namespace certstore
