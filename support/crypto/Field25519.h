#pragma once

#include <optional>
#include <utility>

#include "support/crypto/LazyField.h"
#include "support/crypto/WideSum.h"

namespace certstore {

// The integers modulo 2^255 - 19. Products are tight. Every argument may be a sum of up to three
// tight elements; those of multiply() and square() have room for a subtrahend besides.
class Field25519 : public LazyField<5, 51> {
public:
    static Element subtract(const Element& a, const Element& b) noexcept;
    // Tight.
    static Element negate(const Element& a) noexcept { return carry(subtract(kZero, a)); }
    static Element multiply(const Element& a, const Element& b) noexcept;
    static Element square(const Element& a) noexcept;
    // 0 for 0.
    static Element invert(const Element& a) noexcept;

    // Either root of numerator / denominator, which is not 0; nothing when there is none. For
    // public values.
    static std::optional<Element> findRootOfRatio(const Element& numerator,
                                                  const Element& denominator) noexcept;

    // Writes the value, which is below the prime.
    static void store(const Element& a, std::span<unsigned char, kSize> octets) noexcept {
        storeModulo(carry(a), kPrime, octets);
    }

private:
    using Columns = std::array<WideSum, 5>;

    static constexpr Element kPrime{{0x7ffffffffffed, kMask, kMask, kMask, kMask}};
    static constexpr Element kRootOfMinusOne{
        {0x61b274a0ea0b0, 0x0d5a5fc8f189d, 0x7ef5e9cbd0c60, 0x78595a6804c9e, 0x2b8324804fc1d}};

    static Element carry(const Element& a) noexcept;
    static Element carry(Columns& columns) noexcept;
    static Element squareTimes(Element a, int times) noexcept;
    static std::pair<Element, Element> raiseForRoots(const Element& a) noexcept;
};

// Adding four times the prime keeps every limb from passing below zero.
inline auto Field25519::subtract(const Element& a, const Element& b) noexcept -> Element {
    Element difference;
    unroll<5>([&](auto i) { difference[i] = a[i] + 4 * kPrime[i] - b[i]; });
    return difference;
}

// 2^255 counts 19: what leaves the top comes back at the bottom.
inline auto Field25519::carry(const Element& a) noexcept -> Element {
    Element carried;
    unroll<5>(
        [&](auto i) { carried[i] = (a[i] & kMask) + (i == 0 ? 19 : 1) * (a[(i + 4) % 5] >> 51); });
    return carried;
}

// Arguments have limbs below 2^54. So the carry out of the top, which has five products and none of
// them times 19, takes that factor without leaving its limb.
inline auto Field25519::carry(Columns& columns) noexcept -> Element {
    Element carried;
    Limb over = 0;
    unroll<5>([&](auto i) __attribute__((always_inline)) {
        columns[i].add(over);
        carried[i] = columns[i].low() & kMask;
        over = columns[i].shifted(51);
    });
    carried[0] += 19 * over;
    carried[1] += carried[0] >> 51;
    carried[0] &= kMask;
    return carried;
}

inline auto Field25519::multiply(const Element& a, const Element& b) noexcept -> Element {
    Element wrapped;
    unroll<5>([&](auto i) { wrapped[i] = 19 * b[i]; });
    Columns columns;
    unroll<25>([&](auto k) __attribute__((always_inline)) {
        constexpr std::size_t column = k / 5, i = k % 5, j = (column + 5 - i) % 5;
        columns[column].addProduct(a[i], i <= column ? b[j] : wrapped[j]);
    });
    return carry(columns);
}

// Each mixed product counts twice.
inline auto Field25519::square(const Element& a) noexcept -> Element {
    Element wrapped;
    unroll<5>([&](auto i) { wrapped[i] = 19 * a[i]; });
    const Element doubled = twice(a);
    Columns columns;
    unroll<25>([&](auto k) __attribute__((always_inline)) {
        constexpr std::size_t i = k / 5, j = k % 5;
        if constexpr (i <= j)
            columns[(i + j) % 5].addProduct(i == j ? a[i] : doubled[i],
                                            i + j < 5 ? a[j] : wrapped[j]);
    });
    return carry(columns);
}

}  // namespace certstore
