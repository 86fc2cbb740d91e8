#pragma once

#include <cstddef>
#include <span>

#include "support/base/ByteView.h"

namespace certstore {

// An RSA public key as it came: unsigned big-endian numbers, zeros in front allowed. The bytes
// belong to somebody else.
struct RsaPublicKey {
    ByteView modulus;
    ByteView exponent;
};

// 16,384 bits are the largest keys in use anywhere. The time of a check grows with the square of
// the size.
constexpr std::size_t kMaxRsaModulusSize = 16384 / 8;

// Exponents in use fit 17 bits, almost all of the rest 32. The time of a check is proportional to
// the bits of the exponent, which would otherwise be as many as those of the modulus.
constexpr std::size_t kMaxRsaExponentSize = 64 / 8;

// Bytes in the modulus without zeros in front, which is also the size of every signature.
std::size_t rsaModulusSize(const RsaPublicKey& key) noexcept;

// Whether recoverRsaMessage() computes with this key at all: a modulus that is odd, above 1 and not
// longer than kMaxRsaModulusSize, an exponent that is odd, above 1 and not longer than
// kMaxRsaExponentSize. Costs next to nothing.
bool isUsableRsaKey(const RsaPublicKey& key) noexcept;

// RSAVP1 (RFC 8017 section 5.2.2): signature ^ exponent mod modulus, written big-endian over all of
// `message`, rsaModulusSize() bytes. Returns false when the key is not usable, the signature not
// exactly as long as the modulus or not below it, or `message` of another size.
bool recoverRsaMessage(const RsaPublicKey& key, ByteView signature,
                       std::span<unsigned char> message) noexcept;

}  // namespace certstore
