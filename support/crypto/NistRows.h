#pragma once

#include <cstddef>

#include "support/crypto/Limbs.h"
#include "support/crypto/Unroll.h"

namespace certstore {

// Steps of Montgomery's reduction, as MontgomeryRow's, for primes made of few powers of two: the
// multiple of the prime is a handful of shifts. They cut a verification by a fourth to a half.

// 2^256 - 2^224 + 2^192 + 2^96 - 1, which is -1 modulo 2^64: the limb is its own factor.
struct P256Row {
    explicit P256Row(const Number<4>&) noexcept {}

    template <std::size_t kRow>
    Limb clear(Number<8>& product) const noexcept {
        constexpr Limb kTopOfPrime = 0xffffffff00000001;
        const Limb factor = product[kRow];
        Limb carry = 0;
        product[kRow + 1] = addWithCarry(product[kRow + 1], factor << 32, carry);
        product[kRow + 2] = addWithCarry(product[kRow + 2], factor >> 32, carry);
        product[kRow + 3] = multiplyAdd(factor, kTopOfPrime, product[kRow + 3], carry);
        return carry;
    }
};

// 2^384 - 2^128 - 2^96 + 2^32 - 1, which is -1 / (2^32 + 1) modulo 2^64.
struct P384Row {
    explicit P384Row(const Number<6>&) noexcept {}

    template <std::size_t kRow>
    Limb clear(Number<12>& product) const noexcept {
        const Limb factor = product[kRow] + (product[kRow] << 32);
        // 2^384 is the limb returned; the rest, 2^128 + 2^96 - 2^32 + 1, is subtracted.
        Limb borrow = 0;
        const Limb first = subtractWithBorrow(factor, factor << 32, borrow);
        const Limb second = subtractWithBorrow(factor << 32, factor >> 32, borrow);
        Limb third = subtractWithBorrow(factor >> 32, 0, borrow);
        Limb fourth = 0;
        third = addWithCarry(third, factor, fourth);
        // Only a factor below 2^32 borrows out of `third`, which `factor` then pays back.
        fourth -= borrow;

        Limb carry = 0;
        subtractWithBorrow(product[kRow], first, carry);
        const Limb parts[] = {second, third, fourth, 0, 0};
        unroll<5>([&](auto i) {
            Limb& place = product[kRow + 1 + i];
            place = subtractWithBorrow(place, parts[i], carry);
        });
        return factor - carry;
    }
};

// 2^521 - 1: the limb is its own factor.
struct P521Row {
    explicit P521Row(const Number<9>&) noexcept {}

    template <std::size_t kRow>
    Limb clear(Number<18>& product) const noexcept {
        const Limb factor = product[kRow];
        Limb carry = 0;
        product[kRow + 8] = addWithCarry(product[kRow + 8], factor << 9, carry);
        return (factor >> 55) + carry;
    }
};

}  // namespace certstore
