#pragma once

#include <cstdint>
#include <type_traits>

#include "support/crypto/CarryInstructions.h"

namespace certstore {

// One digit of a long number. Long numbers are arrays of limbs, the least significant first.
using Limb = std::uint64_t;

constexpr int kLimbBits = 64;

// Returns a + b + carry and leaves the new carry, 0 or 1, in `carry`.
constexpr Limb addWithCarry(Limb a, Limb b, Limb& carry) noexcept;

// Returns a - b - borrow and leaves the new borrow, 0 or 1, in `borrow`.
constexpr Limb subtractWithBorrow(Limb a, Limb b, Limb& borrow) noexcept;

// Returns the lower limb of a * b + addend + carry, which fits two limbs for all arguments, and
// leaves the upper one in `carry`.
constexpr Limb multiplyAdd(Limb a, Limb b, Limb addend, Limb& carry) noexcept;

// Returns (high : low) / divisor for high < divisor, which makes the quotient fit one limb.
constexpr Limb divideTwoByOne(Limb high, Limb low, Limb divisor) noexcept;

constexpr Limb addWithCarry(Limb a, Limb b, Limb& carry) noexcept {
    if (kHasCarryInstructions && !std::is_constant_evaluated())
        return addByInstruction(a, b, carry);
    const Limb partial = a + b;
    const Limb sum = partial + carry;
    carry = static_cast<Limb>(partial < a) | static_cast<Limb>(sum < partial);
    return sum;
}

constexpr Limb subtractWithBorrow(Limb a, Limb b, Limb& borrow) noexcept {
    if (kHasCarryInstructions && !std::is_constant_evaluated())
        return subtractByInstruction(a, b, borrow);
    const Limb partial = a - b;
    const Limb difference = partial - borrow;
    borrow = static_cast<Limb>(a < b) | static_cast<Limb>(partial < borrow);
    return difference;
}

#ifdef __SIZEOF_INT128__

__extension__ typedef unsigned __int128 DoubleLimb;

constexpr Limb multiplyAdd(Limb a, Limb b, Limb addend, Limb& carry) noexcept {
    const DoubleLimb sum = static_cast<DoubleLimb>(a) * b + addend + carry;
    carry = static_cast<Limb>(sum >> kLimbBits);
    return static_cast<Limb>(sum);
}

constexpr Limb divideTwoByOne(Limb high, Limb low, Limb divisor) noexcept {
    return static_cast<Limb>((static_cast<DoubleLimb>(high) << kLimbBits | low) / divisor);
}

#else

constexpr Limb multiplyAdd(Limb a, Limb b, Limb addend, Limb& carry) noexcept {
    constexpr Limb kHalf = 0xffffffff;
    const Limb low = (a & kHalf) * (b & kHalf) + (addend & kHalf);
    const Limb cross = (a >> 32) * (b & kHalf) + (low >> 32) + (addend >> 32);
    const Limb middle = (a & kHalf) * (b >> 32) + (cross & kHalf);
    const Limb high = (a >> 32) * (b >> 32) + (cross >> 32) + (middle >> 32);
    Limb overflow = 0;
    const Limb sum = addWithCarry(middle << 32 | (low & kHalf), carry, overflow);
    carry = high + overflow;
    return sum;
}

constexpr Limb divideTwoByOne(Limb high, Limb low, Limb divisor) noexcept {
    for (int i = 0; i < kLimbBits; ++i) {
        const bool carry = high >> (kLimbBits - 1) != 0;
        high = high << 1 | low >> (kLimbBits - 1);
        low <<= 1;
        if (carry || high >= divisor) {
            high -= divisor;
            low |= 1;
        }
    }
    return low;
}

#endif

}  // namespace certstore
