#pragma once

#include <cstddef>

#include "support/crypto/Limbs.h"
#include "support/crypto/Unroll.h"

namespace certstore {

// Products of numbers of a fixed count of limbs, unreduced, row by row: at these sizes the rows
// stay in registers.
template <std::size_t kCount>
[[gnu::always_inline]] inline Number<2 * kCount> multiplyLong(const Number<kCount>& a,
                                                              const Number<kCount>& b) noexcept {
    Number<2 * kCount> product{};
    unroll<kCount>([&](auto row) __attribute__((always_inline)) {
        Limb carry = 0;
        unroll<kCount>(
            [&](auto i) { product[row + i] = multiplyAdd(a[i], b[row], product[row + i], carry); });
        product[row + kCount] = carry;
    });
    return product;
}

// a * a: the mixed products, which come in equal pairs, are computed once and doubled.
template <std::size_t kCount>
[[gnu::always_inline]] inline Number<2 * kCount> squareLong(const Number<kCount>& a) noexcept {
    Number<2 * kCount> mixed{};
    unroll<kCount - 1>([&](auto row) __attribute__((always_inline)) {
        Limb carry = 0;
        unroll<kCount - 1 - row>([&](auto i) {
            Limb& place = mixed[2 * row + 1 + i];
            place = multiplyAdd(a[row + 1 + i], a[row], place, carry);
        });
        mixed[row + kCount] = carry;
    });
    Number<2 * kCount> square;
    Limb carry = 0, shifted = 0;
    unroll<kCount>([&](auto i) __attribute__((always_inline)) {
        const Limb low = mixed[2 * i], high = mixed[2 * i + 1];
        square[2 * i] = multiplyAdd(a[i], a[i], low << 1 | shifted, carry);
        Limb overflow = 0;
        square[2 * i + 1] = addWithCarry(high << 1 | low >> (kLimbBits - 1), carry, overflow);
        carry = overflow;
        shifted = high >> (kLimbBits - 1);
    });
    return square;
}

}  // namespace certstore
