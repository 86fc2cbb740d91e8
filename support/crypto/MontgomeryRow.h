#pragma once

#include <cstddef>

#include "support/crypto/Limbs.h"
#include "support/crypto/Unroll.h"

namespace certstore {

// One step of Montgomery's reduction for any odd prime. NistRows.h has steps for single primes.
template <std::size_t kCount>
class MontgomeryRow {
public:
    explicit MontgomeryRow(const Number<kCount>& prime) noexcept
        : m_prime(prime), m_negatedInverse(negatedInverse(prime[0])) {}

    // Adds the multiple of the prime that makes product[kRow] zero, as far as product[kRow +
    // kCount - 1]; returns what is to be added to the next limb.
    template <std::size_t kRow>
    Limb clear(Number<2 * kCount>& product) const noexcept {
        const Limb factor = product[kRow] * m_negatedInverse;
        Limb carry = 0;
        multiplyAdd(factor, m_prime[0], product[kRow], carry);
        unroll<kCount - 1>([&](auto i) {
            Limb& place = product[kRow + 1 + i];
            place = multiplyAdd(factor, m_prime[i + 1], place, carry);
        });
        return carry;
    }

private:
    Number<kCount> m_prime;
    Limb m_negatedInverse;
};

}  // namespace certstore
