#pragma once

#include <span>

#include "support/crypto/Dsa.h"

namespace certstore {

// The public half of a private DSA key: y = g^x mod p, big-endian over all of `y`, as many bytes as
// p has without zeros in front. `x` is unsigned big-endian, of any width. False unless
// isDsaDomain(domain), 0 < x < q and `y` is of that size. The time taken depends on the domain and
// the size of `x`, on its value only by whether that is valid.
bool deriveDsaPublicKey(const DsaDomain& domain, ByteView x, std::span<unsigned char> y) noexcept;

}  // namespace certstore
