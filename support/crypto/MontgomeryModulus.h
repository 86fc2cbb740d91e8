#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/Limb.h"

namespace certstore {

struct RowLimbs;

// Arithmetic modulo an odd number whose size is known at run time only, as RSA and DSA need it.
// Numbers have limbCount() limbs (which may be zero at the top) and are below the modulus. The time
// taken depends on the values: for public ones only.
class MontgomeryModulus {
public:
    // 16,384 bits are the largest RSA keys in use anywhere, by a factor of two. A signature check
    // grows with the square of the size; this bound keeps a hostile key at some 10 milliseconds.
    static constexpr std::size_t kMaxLimbs = 16384 / kLimbBits;

    // Takes an unsigned big-endian number. Returns false, and is of no use, when it is even, 1 or
    // longer than kMaxLimbs limbs.
    bool assign(ByteView modulus) noexcept;

    std::size_t limbCount() const noexcept { return m_limbCount; }
    std::span<const Limb> limbs() const noexcept { return {m_limbs.data(), m_limbCount}; }

    // result = base ^ exponent mod the modulus, for an odd exponent above 1. `result` is none of
    // the others.
    void raise(std::span<Limb> result, std::span<const Limb> base, Limb exponent) const noexcept;

    // Multiplies by R = 2^(64 * limbCount()): the form in which multiply() and square(), which
    // divide by R, keep products. Multiplying by a plain 1 leaves it.
    void enterMontgomeryForm(std::span<Limb> number) const noexcept;

    // a * b / R and a * a / R; `result` may be one of the factors.
    void multiply(Limb* result, const Limb* a, const Limb* b) const noexcept;
    void square(Limb* result, const Limb* a) const noexcept;

private:
    void reduce(Limb* result, Limb* product) const noexcept;
    RowLimbs findQuotient(const Limb* product, RowLimbs& carry) const noexcept;

    std::array<Limb, kMaxLimbs> m_limbs;
    std::size_t m_limbCount = 0;
    Limb m_negatedInverse = 0;
};

}  // namespace certstore
