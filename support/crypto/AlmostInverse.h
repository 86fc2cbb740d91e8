#pragma once

#include <bit>

#include "support/crypto/Limbs.h"

namespace certstore {

// 2^exponent / a modulo a number, which is 1 / a as soon as the power is divided out.
template <std::size_t kCount>
struct AlmostInverse {
    Number<kCount> value;
    int exponent = 0;
};

// Divides `number` by its power of two and multiplies `other` by it; returns the exponent.
template <std::size_t kCount>
int moveTwos(Number<kCount>& number, Number<kCount>& other) noexcept {
    int exponent = 0;
    while (number[0] % 2 == 0) {
        const int twos = number[0] == 0 ? kLimbBits - 1 : std::countr_zero(number[0]);
        shiftLimbsRight(number, twos);
        shiftLimbsLeft(other, twos);
        exponent += twos;
    }
    return exponent;
}

// The first phase of Kaliski's Montgomery inverse, for 0 < a < modulus, an odd prime. At all times
// a * s = v * 2^exponent and a * r = -u * 2^exponent modulo the modulus, which is u * s + v * r, so
// that nothing outgrows it. The time depends on the number: for public ones only.
template <std::size_t kCount>
AlmostInverse<kCount> invertAlmost(const Number<kCount>& a,
                                   const Number<kCount>& modulus) noexcept {
    Number<kCount> u = modulus, v = a, r{}, s{1};
    int exponent = moveTwos(v, r);
    while (u != v) {
        if (isLess(v, u)) {
            subtractLimbs(u, v);
            addLimbs(r, s);
            exponent += moveTwos(u, s);
            continue;
        }
        subtractLimbs(v, u);
        addLimbs(s, r);
        exponent += moveTwos(v, r);
    }
    return {s, exponent};
}

}  // namespace certstore
