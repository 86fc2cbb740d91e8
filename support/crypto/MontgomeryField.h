#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "support/crypto/AlmostInverse.h"
#include "support/crypto/Limbs.h"
#include "support/crypto/LongProduct.h"
#include "support/crypto/MontgomeryRow.h"
#include "support/crypto/Unroll.h"

namespace certstore {

// The integers modulo an odd prime of at most kCount limbs, for elliptic curves: the count is
// known to the compiler, the prime is not, so that all curves of one size share the code; a Row
// made for one prime (NistRows.h) is the exception. The time taken depends on the prime and on the
// exponent given to raise(), on nothing else; squareRoot() is for public values.
template <std::size_t kCount, class Row = MontgomeryRow<kCount>>
class MontgomeryField {
public:
    static constexpr std::size_t kLimbs = kCount;
    using Integer = Number<kCount>;

    // A member of the field, kept as value * 2^(64 * kCount) mod prime, the same for equal values.
    struct Element {
        Integer limbs{};
        bool operator==(const Element&) const = default;
    };

    explicit MontgomeryField(const Integer& prime) noexcept;

    const Integer& prime() const noexcept { return m_prime; }
    const Element& one() const noexcept { return m_one; }

    // Takes any number that fits the limbs, modulo the prime.
    Element encode(const Integer& value) const noexcept { return multiply({value}, m_rSquared); }
    Integer decode(const Element& a) const noexcept { return multiply(a, {{1}}).limbs; }

    Element add(const Element& a, const Element& b) const noexcept;
    Element subtract(const Element& a, const Element& b) const noexcept;
    Element negate(const Element& a) const noexcept { return subtract({}, a); }
    Element twice(const Element& a) const noexcept { return add(a, a); }
    Element halve(const Element& a) const noexcept;
    Element multiply(const Element& a, const Element& b) const noexcept;
    Element square(const Element& a) const noexcept;

    Element raise(const Element& base, const Integer& exponent) const noexcept;
    // 0 for 0, by Fermat's little theorem.
    Element invert(const Element& a) const noexcept;
    // The same several times faster, for a public value other than 0.
    Element invertPublic(const Element& a) const noexcept;
    // One of the two roots; nothing when there is none.
    std::optional<Element> squareRoot(const Element& a) const noexcept;

private:
    Element reduce(Number<2 * kCount>& product) const noexcept;
    Element reduceOnce(const Integer& value, Limb top) const noexcept;
    Element findNonResidue() const noexcept;

    Integer m_prime;
    Row m_row;
    Element m_one;
    Element m_rSquared;
};

template <std::size_t kCount, class Row>
MontgomeryField<kCount, Row>::MontgomeryField(const Integer& prime) noexcept
    : m_prime(prime), m_row(prime) {
    // Doubling 1 walks through the powers of two up to R, then R^2.
    constexpr std::size_t kBits = kCount * kLimbBits;
    Element power{{1}};
    for (std::size_t i = 0; i < 2 * kBits; ++i) {
        if (i == kBits)
            m_one = power;
        power = twice(power);
    }
    m_rSquared = power;
}

template <std::size_t kCount, class Row>
inline auto MontgomeryField<kCount, Row>::add(const Element& a, const Element& b) const noexcept
    -> Element {
    Integer sum;
    Limb carry = 0;
    unroll<kCount>([&](auto i) { sum[i] = addWithCarry(a.limbs[i], b.limbs[i], carry); });
    return reduceOnce(sum, carry);
}

template <std::size_t kCount, class Row>
inline auto MontgomeryField<kCount, Row>::subtract(const Element& a,
                                                   const Element& b) const noexcept -> Element {
    Element result;
    Limb borrow = 0;
    unroll<kCount>(
        [&](auto i) { result.limbs[i] = subtractWithBorrow(a.limbs[i], b.limbs[i], borrow); });
    const Limb mask = 0 - borrow;
    Limb carry = 0;
    unroll<kCount>(
        [&](auto i) { result.limbs[i] = addWithCarry(result.limbs[i], m_prime[i] & mask, carry); });
    return result;
}

template <std::size_t kCount, class Row>
inline auto MontgomeryField<kCount, Row>::halve(const Element& a) const noexcept -> Element {
    const Limb mask = 0 - (a.limbs[0] & 1);
    Integer even;
    Limb carry = 0;
    unroll<kCount>([&](auto i) { even[i] = addWithCarry(a.limbs[i], m_prime[i] & mask, carry); });
    Element half;
    unroll<kCount - 1>(
        [&](auto i) { half.limbs[i] = even[i] >> 1 | even[i + 1] << (kLimbBits - 1); });
    half.limbs[kCount - 1] = even[kCount - 1] >> 1 | carry << (kLimbBits - 1);
    return half;
}

template <std::size_t kCount, class Row>
auto MontgomeryField<kCount, Row>::multiply(const Element& a, const Element& b) const noexcept
    -> Element {
    auto product = multiplyLong(a.limbs, b.limbs);
    return reduce(product);
}

template <std::size_t kCount, class Row>
auto MontgomeryField<kCount, Row>::square(const Element& a) const noexcept -> Element {
    auto product = squareLong(a.limbs);
    return reduce(product);
}

// Adds multiples of the prime that clear the lower half, limb by limb: what is left in the upper
// half is product / 2^(64 * kCount), below twice the prime.
template <std::size_t kCount, class Row>
[[gnu::always_inline]] inline auto MontgomeryField<kCount, Row>::reduce(
    Number<2 * kCount>& product) const noexcept -> Element {
    Limb overflow = 0;
    unroll<kCount>([&](auto row) __attribute__((always_inline)) {
        const Limb high = m_row.template clear<row>(product);
        product[row + kCount] = addWithCarry(product[row + kCount], high, overflow);
    });
    Integer value;
    unroll<kCount>([&](auto i) { value[i] = product[kCount + i]; });
    return reduceOnce(value, overflow);
}

// (top : value) is below twice the prime. Selecting with a mask: a branch here would be guessed
// wrong half of the time.
template <std::size_t kCount, class Row>
[[gnu::always_inline]] inline auto MontgomeryField<kCount, Row>::reduceOnce(const Integer& value,
                                                                            Limb top) const noexcept
    -> Element {
    Element reduced;
    Limb borrow = 0;
    unroll<kCount>(
        [&](auto i) { reduced.limbs[i] = subtractWithBorrow(value[i], m_prime[i], borrow); });
    const Limb keep = 0 - static_cast<Limb>(top < borrow);
    unroll<kCount>(
        [&](auto i) { reduced.limbs[i] = (value[i] & keep) | (reduced.limbs[i] & ~keep); });
    return reduced;
}

// Four bits of the exponent at a time.
template <std::size_t kCount, class Row>
auto MontgomeryField<kCount, Row>::raise(const Element& base,
                                         const Integer& exponent) const noexcept -> Element {
    std::array<Element, 16> powers;
    powers[0] = m_one;
    for (std::size_t i = 1; i < powers.size(); ++i)
        powers[i] = multiply(powers[i - 1], base);
    Element result = m_one;
    for (std::size_t position = (countBits(exponent) + 3) / 4 * 4; position != 0;) {
        position -= 4;
        for (int i = 0; i < 4; ++i)
            result = square(result);
        result = multiply(result, powers[readBits(exponent, position, 4)]);
    }
    return result;
}

template <std::size_t kCount, class Row>
auto MontgomeryField<kCount, Row>::invert(const Element& a) const noexcept -> Element {
    Integer exponent = m_prime;
    subtractLimbs(exponent, Integer{2});
    return raise(a, exponent);
}

// With R = 2^kBits the element is a * R and is to become R / a = 2^(2 * kBits) / (a * R), so what
// the almost inverse lacks is a power of two, which fits in two factors below R.
template <std::size_t kCount, class Row>
auto MontgomeryField<kCount, Row>::invertPublic(const Element& a) const noexcept -> Element {
    constexpr int kBits = kCount * kLimbBits;
    const auto [value, exponent] = invertAlmost(a.limbs, m_prime);
    Element inverse{value};
    for (int lacking = 2 * kBits - exponent; lacking > 0; lacking -= kBits - 1) {
        Element power;
        setBit(power.limbs, std::min<std::size_t>(static_cast<std::size_t>(lacking), kBits - 1));
        inverse = multiply(encode(inverse.limbs), power);
    }
    return inverse;
}

// Tonelli and Shanks, for prime - 1 = odd * 2^twos: root^2 = a * error holds all the time, and each
// round halves the order of the error. Where the prime is 3 modulo 4 there is no round.
template <std::size_t kCount, class Row>
auto MontgomeryField<kCount, Row>::squareRoot(const Element& a) const noexcept
    -> std::optional<Element> {
    Integer odd = m_prime;
    int twos = 0;
    for (odd[0] -= 1; odd[0] % 2 == 0; ++twos)
        shiftLimbsRight(odd, 1);
    Integer halfOfOdd = odd;
    shiftLimbsRight(halfOfOdd, 1);

    const Element power = raise(a, halfOfOdd);
    Element root = multiply(power, a);
    Element error = multiply(root, power);
    Element corrector = twos > 1 && error != m_one ? raise(findNonResidue(), odd) : m_one;
    for (int order = twos - 1; order > 0 && error != m_one; --order) {
        Element probe = error;
        for (int i = 1; i < order; ++i)
            probe = square(probe);
        if (probe != m_one) {
            root = multiply(root, corrector);
            error = multiply(error, square(corrector));
        }
        corrector = square(corrector);
    }
    if (square(root) != a)
        return std::nullopt;
    return root;
}

// The smallest one, by Euler's criterion.
template <std::size_t kCount, class Row>
auto MontgomeryField<kCount, Row>::findNonResidue() const noexcept -> Element {
    Integer half = m_prime;
    shiftLimbsRight(half, 1);
    Element candidate = twice(m_one);
    while (raise(candidate, half) == m_one)
        candidate = add(candidate, m_one);
    return candidate;
}

}  // namespace certstore
