#pragma once

#include <cstddef>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/Limb.h"

namespace certstore {

// What Limbs.h does, for numbers that are secret: the time taken depends on their sizes alone.

// Reads an unsigned big-endian number, zeros in front allowed. Returns false, with `limbs`
// unspecified, when it does not fit.
constexpr bool loadSecretLimbs(ByteView octets, std::span<Limb> limbs) noexcept {
    for (Limb& limb : limbs)
        limb = 0;
    Limb excess = 0;
    for (std::size_t i = 0; i < octets.size(); ++i) {
        const Limb octet = octets[octets.size() - 1 - i];
        Limb& place = i / sizeof(Limb) < limbs.size() ? limbs[i / sizeof(Limb)] : excess;
        place |= octet << (i % sizeof(Limb) * 8);
    }
    return excess == 0;
}

// Whether 0 < secret < bound, for two numbers of one size.
constexpr bool isSecretWithin(std::span<const Limb> secret, std::span<const Limb> bound) noexcept {
    Limb borrow = 0, seen = 0;
    for (std::size_t i = 0; i < secret.size(); ++i) {
        subtractWithBorrow(secret[i], bound[i], borrow);
        seen |= secret[i];
    }
    const Limb isPositive = (seen | (0 - seen)) >> (kLimbBits - 1);
    return (borrow & isPositive) != 0;
}

// Hides from the compiler where a mask comes from. Of one that it knows to be no bits or all of
// them it may make a branch, or choose between two addresses, which the time tells, too.
inline Limb hideMask(Limb mask) noexcept {
    const volatile Limb hidden = mask;
    return hidden;
}

// All bits set when both are equal, else none.
inline Limb maskIfEqual(Limb a, Limb b) noexcept {
    const Limb difference = a ^ b;
    return hideMask(((difference | (0 - difference)) >> (kLimbBits - 1)) - 1);
}

// Copies `from` where the mask is all bits set, and does nothing where it is 0.
inline void copyMasked(std::span<Limb> to, std::span<const Limb> from, Limb mask) noexcept {
    for (std::size_t i = 0; i < to.size(); ++i)
        to[i] ^= (to[i] ^ from[i]) & mask;
}

}  // namespace certstore
