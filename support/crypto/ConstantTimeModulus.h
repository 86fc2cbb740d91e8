#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/Limb.h"

namespace certstore {

// Arithmetic modulo an odd number whose size is known at run time only, as DSA needs it. The time
// taken depends on the modulus, on nothing else: for secret numbers, too.
class ConstantTimeModulus {
public:
    // The largest prime of DSA, see kMaxDsaPrimeSize.
    static constexpr std::size_t kMaxLimbs = 4096 / kLimbBits;

    // A number below the modulus, kept as number * 2^(64 * limbCount) mod modulus. Only the first
    // limbCount() limbs mean anything.
    using Residue = std::array<Limb, kMaxLimbs>;

    // Takes an unsigned big-endian number. Returns false, and is of no use, when it is even, 1 or
    // longer than kMaxLimbs limbs.
    bool assign(ByteView modulus) noexcept;

    std::size_t limbCount() const noexcept { return m_limbCount; }
    // Bytes in the modulus without zeros in front.
    std::size_t size() const noexcept;

    // Reads an unsigned big-endian number that is public. False unless it is below the modulus.
    bool load(ByteView octets, Residue& residue) const noexcept;
    // Writes the number big-endian over all of `octets`, at least size() of them.
    void store(const Residue& residue, std::span<unsigned char> octets) const noexcept;

    // `result` is none of the factors.
    void multiply(Residue& result, const Residue& a, const Residue& b) const noexcept;

    // Fills in base^0, base^1, base^2 ...; at least two of them.
    void fillPowers(std::span<Residue> powers, const Residue& base) const noexcept;

private:
    std::span<const Limb> limbs() const noexcept { return {m_limbs.data(), m_limbCount}; }
    void twice(Residue& number) const noexcept;
    void subtractModulus(Residue& number, Limb top) const noexcept;
    void computePowersOfTwo() noexcept;

    Residue m_limbs;
    Residue m_one;       // 2^(64 * limbCount) mod modulus
    Residue m_rSquared;  // its square
    std::size_t m_limbCount = 0;
    Limb m_negatedInverse = 0;
};

}  // namespace certstore
