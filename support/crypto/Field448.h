#pragma once

#include <optional>

#include "support/crypto/LazyField.h"
#include "support/crypto/WideSum.h"

namespace certstore {

// The integers modulo 2^448 - 2^224 - 1. All results but sums are tight; every argument may be a
// sum of up to three tight elements.
class Field448 : public LazyField<8, 56> {
public:
    static Element subtract(const Element& a, const Element& b) noexcept;
    static Element negate(const Element& a) noexcept { return subtract(kZero, a); }
    static Element multiply(const Element& a, const Element& b) noexcept;
    static Element square(const Element& a) noexcept;
    // 0 for 0.
    static Element invert(const Element& a) noexcept;

    // As Field25519::findRootOfRatio().
    static std::optional<Element> findRootOfRatio(const Element& numerator,
                                                  const Element& denominator) noexcept;

    // Writes the value, which is below the prime.
    static void store(const Element& a, std::span<unsigned char, kSize> octets) noexcept {
        storeModulo(carry(a), kPrime, octets);
    }

private:
    using Columns = std::array<WideSum, 8>;

    static constexpr Element kPrime{{kMask, kMask, kMask, kMask, kMask - 1, kMask, kMask, kMask}};

    static Element carry(const Element& a) noexcept;
    static Element carry(Columns& columns) noexcept;
    template <class Low, class High, class Mixed>
    static Element combine(Low low, High high, Mixed mixed) noexcept;
    static Element squareTimes(Element a, int times) noexcept;
    static Element raiseForRoots(const Element& a) noexcept;
};

// 2^448 counts 2^224 + 1: what leaves the top comes back in the middle and at the bottom.
inline auto Field448::carry(const Element& a) noexcept -> Element {
    Element carried;
    unroll<8>([&](auto i) { carried[i] = (a[i] & kMask) + (a[(i + 7) % 8] >> 56); });
    carried[4] += a[7] >> 56;
    return carried;
}

// Adding four times the prime keeps every limb from passing below zero.
inline auto Field448::subtract(const Element& a, const Element& b) noexcept -> Element {
    Element difference;
    unroll<8>([&](auto i) { difference[i] = a[i] + 4 * kPrime[i] - b[i]; });
    return carry(difference);
}

}  // namespace certstore
