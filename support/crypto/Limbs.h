#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/Limb.h"

namespace certstore {

// Long numbers of a fixed count of limbs, least significant first. Numbers that meet in one call
// have the same count, unless said otherwise.

// One whose count is known to the compiler.
template <std::size_t kCount>
using Number = std::array<Limb, kCount>;

constexpr std::size_t limbsForBits(std::size_t bits) noexcept {
    return (bits + kLimbBits - 1) / kLimbBits;
}

// An unsigned big-endian number without the zeros in front of it; empty for zero.
constexpr ByteView stripLeadingZeros(ByteView octets) noexcept {
    while (!octets.empty() && octets.front() == 0)
        octets = octets.subspan(1);
    return octets;
}

// Reads an unsigned big-endian number. Returns false, with `limbs` unspecified, when it does not
// fit.
constexpr bool loadLimbs(ByteView octets, std::span<Limb> limbs) noexcept {
    octets = stripLeadingZeros(octets);
    if (octets.size() > limbs.size() * sizeof(Limb))
        return false;
    for (Limb& limb : limbs)
        limb = 0;
    for (std::size_t i = 0; i < octets.size(); ++i) {
        const Limb octet = octets[octets.size() - 1 - i];
        limbs[i / sizeof(Limb)] |= octet << (i % sizeof(Limb) * 8);
    }
    return true;
}

// Writes the number big-endian over all of `octets`, which is wide enough for it.
constexpr void storeLimbs(std::span<const Limb> limbs, std::span<unsigned char> octets) noexcept {
    for (std::size_t i = 0; i < octets.size(); ++i) {
        const std::size_t index = i / sizeof(Limb);
        const Limb limb = index < limbs.size() ? limbs[index] : 0;
        octets[octets.size() - 1 - i] = static_cast<unsigned char>(limb >> (i % sizeof(Limb) * 8));
    }
}

constexpr bool isZero(std::span<const Limb> number) noexcept {
    Limb seen = 0;
    for (const Limb limb : number)
        seen |= limb;
    return seen == 0;
}

constexpr bool isLess(std::span<const Limb> a, std::span<const Limb> b) noexcept {
    for (std::size_t i = a.size(); i-- > 0;)
        if (a[i] != b[i])
            return a[i] < b[i];
    return false;
}

// a += b; returns the carry out of the last limb.
constexpr Limb addLimbs(std::span<Limb> a, std::span<const Limb> b) noexcept {
    Limb carry = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        a[i] = addWithCarry(a[i], b[i], carry);
    return carry;
}

// a -= b; returns the borrow out of the last limb.
constexpr Limb subtractLimbs(std::span<Limb> a, std::span<const Limb> b) noexcept {
    Limb borrow = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        a[i] = subtractWithBorrow(a[i], b[i], borrow);
    return borrow;
}

// Shifts towards the top by less than a limb; what falls off is lost.
constexpr void shiftLimbsLeft(std::span<Limb> number, int bits) noexcept {
    if (bits == 0)
        return;
    for (std::size_t i = number.size(); i-- > 1;)
        number[i] = number[i] << bits | number[i - 1] >> (kLimbBits - bits);
    number[0] <<= bits;
}

constexpr void shiftLimbsRight(std::span<Limb> number, int bits) noexcept {
    if (bits == 0)
        return;
    for (std::size_t i = 0; i + 1 < number.size(); ++i)
        number[i] = number[i] >> bits | number[i + 1] << (kLimbBits - bits);
    number.back() >>= bits;
}

// The position of the highest bit set, counted from 1; 0 for zero.
constexpr std::size_t countBits(std::span<const Limb> number) noexcept {
    for (std::size_t i = number.size(); i-- > 0;)
        if (number[i] != 0)
            return i * kLimbBits + static_cast<std::size_t>(std::bit_width(number[i]));
    return 0;
}

// The `count` bits, fewer than 64, from `position` on; those beyond the number are 0.
constexpr Limb readBits(std::span<const Limb> number, std::size_t position,
                        std::size_t count) noexcept {
    const std::size_t index = position / kLimbBits;
    const std::size_t offset = position % kLimbBits;
    Limb bits = index < number.size() ? number[index] >> offset : 0;
    if (offset + count > kLimbBits && index + 1 < number.size())
        bits |= number[index + 1] << (kLimbBits - offset);
    return bits & ((Limb{1} << count) - 1);
}

constexpr void setBit(std::span<Limb> number, std::size_t position) noexcept {
    number[position / kLimbBits] |= Limb{1} << position % kLimbBits;
}

// -1 / number modulo 2^64, for an odd number: what each Montgomery step multiplies by.
constexpr Limb negatedInverse(Limb number) noexcept {
    Limb inverse = number;  // right in the lowest three bits; each step doubles them
    for (int bits = 3; bits < kLimbBits; bits *= 2)
        inverse *= 2 - number * inverse;
    return 0 - inverse;
}

}  // namespace certstore
