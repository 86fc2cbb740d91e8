#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "support/crypto/Limbs.h"
#include "support/crypto/LittleEndian.h"
#include "support/crypto/Unroll.h"

namespace certstore {

// What the fields of the EdDSA curves have in common. Their elements are kCount limbs that count
// kBits each and have room above them, so that sums need no carries; one value has many forms.
// An element is tight while no limb exceeds kBits by more than the carry of a neighbour: then its
// value is below twice the prime. All is constant in time, and all functions are pure.
template <std::size_t kCount, int kBits>
class LazyField {
public:
    // Octets that hold a value (RFC 8032 section 3.1, without the bit for the sign).
    static constexpr std::size_t kSize = (kCount * kBits + 7) / 8;

    struct Element {
        std::array<Limb, kCount> limbs{};

        constexpr Limb operator[](std::size_t i) const noexcept { return limbs[i]; }
        constexpr Limb& operator[](std::size_t i) noexcept { return limbs[i]; }
    };

    static constexpr Element kZero{};
    static constexpr Element kOne{{1}};

    static constexpr Element add(const Element& a, const Element& b) noexcept {
        Element sum;
        unroll<kCount>([&](auto i) { sum[i] = a[i] + b[i]; });
        return sum;
    }

    static constexpr Element twice(const Element& a) noexcept { return add(a, a); }

    // a = b if `condition` is 1, nothing if it is 0.
    static void assignIf(Limb condition, Element& a, const Element& b) noexcept {
        for (std::size_t i = 0; i < kCount; ++i)
            a[i] ^= (a[i] ^ b[i]) & (0 - condition);
    }

    static void swapIf(Limb condition, Element& a, Element& b) noexcept {
        for (std::size_t i = 0; i < kCount; ++i) {
            const Limb difference = (a[i] ^ b[i]) & (0 - condition);
            a[i] ^= difference;
            b[i] ^= difference;
        }
    }

    // Reads a little-endian number modulo 2^(kCount * kBits).
    static Element load(std::span<const unsigned char, kSize> octets) noexcept {
        Words words{};
        for (std::size_t i = 0; i < words.size(); ++i)
            words[i] = loadLittleEndian<Limb>(octets.data() + i * sizeof(Limb));
        Element element;
        for (std::size_t i = 0; i < kCount; ++i)
            element[i] = readBits(words, i * kBits, kBits);
        return element;
    }

protected:
    static constexpr Limb kMask = (Limb{1} << kBits) - 1;

    // Writes a tight element modulo `prime`, all limbs of which are next to 2^kBits.
    static void storeModulo(Element value, const Element& prime,
                            std::span<unsigned char, kSize> octets) noexcept {
        Limb borrow = 0;
        for (std::size_t i = 0; i < kCount; ++i) {
            value[i] -= prime[i] + borrow;
            borrow = value[i] >> (kLimbBits - 1);
            value[i] &= kMask;
        }
        const Limb wasSmaller = 0 - borrow;
        Limb carry = 0;
        for (std::size_t i = 0; i < kCount; ++i) {
            value[i] += (prime[i] & wasSmaller) + carry;
            carry = value[i] >> kBits;
            value[i] &= kMask;
        }
        store(value, octets);
    }

private:
    static_assert(kSize % sizeof(Limb) == 0);
    using Words = std::array<Limb, kSize / sizeof(Limb)>;

    static void store(const Element& value, std::span<unsigned char, kSize> octets) noexcept {
        Words words{};
        for (std::size_t i = 0; i < kCount; ++i) {
            const std::size_t position = i * kBits;
            const std::size_t offset = position % kLimbBits;
            words[position / kLimbBits] |= value[i] << offset;
            if (offset + kBits > kLimbBits)
                words[position / kLimbBits + 1] |= value[i] >> (kLimbBits - offset);
        }
        for (std::size_t i = 0; i < words.size(); ++i)
            storeLittleEndian(words[i], octets.data() + i * sizeof(Limb));
    }
};

template <class Field>
bool areEqual(const typename Field::Element& a, const typename Field::Element& b) noexcept {
    std::array<unsigned char, Field::kSize> octetsOfA, octetsOfB;
    Field::store(a, octetsOfA);
    Field::store(b, octetsOfB);
    return octetsOfA == octetsOfB;
}

}  // namespace certstore
