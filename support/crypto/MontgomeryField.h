#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "support/crypto/Limbs.h"
#include "support/crypto/Unroll.h"

namespace certstore {

// A number of kCount limbs, least significant first.
template <std::size_t kCount>
using Number = std::array<Limb, kCount>;

// The integers modulo an odd prime of at most kCount limbs, for elliptic curves: the count is
// known to the compiler, the prime is not, so that all curves of one size share the code. The time
// taken depends on the prime and on the exponent given to raise(), on nothing else.
template <std::size_t kCount>
class MontgomeryField {
public:
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
    // Sharing the mixed products gains nothing measurable at these sizes.
    Element square(const Element& a) const noexcept { return multiply(a, a); }

    Element raise(const Element& base, const Integer& exponent) const noexcept;
    // 0 for 0, by Fermat's little theorem.
    Element invert(const Element& a) const noexcept;
    // One of the two roots; nothing when there is none, or when the prime is 1 modulo 4.
    std::optional<Element> squareRoot(const Element& a) const noexcept;

private:
    Element reduceOnce(const Integer& value, Limb top) const noexcept;

    Integer m_prime;
    Limb m_negatedInverse;
    Element m_one;
    Element m_rSquared;
};

template <std::size_t kCount>
MontgomeryField<kCount>::MontgomeryField(const Integer& prime) noexcept
    : m_prime(prime), m_negatedInverse(negatedInverse(prime[0])) {
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

template <std::size_t kCount>
inline auto MontgomeryField<kCount>::add(const Element& a, const Element& b) const noexcept
    -> Element {
    Integer sum;
    Limb carry = 0;
    unroll<kCount>([&](auto i) { sum[i] = addWithCarry(a.limbs[i], b.limbs[i], carry); });
    return reduceOnce(sum, carry);
}

template <std::size_t kCount>
inline auto MontgomeryField<kCount>::subtract(const Element& a, const Element& b) const noexcept
    -> Element {
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

template <std::size_t kCount>
inline auto MontgomeryField<kCount>::halve(const Element& a) const noexcept -> Element {
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

// Row by row, each row followed by the multiple of the prime that clears the lowest limb (CIOS in
// the naming of Koc, Acar and Kaliski).
template <std::size_t kCount>
inline auto MontgomeryField<kCount>::multiply(const Element& a, const Element& b) const noexcept
    -> Element {
    Integer sum{};
    Limb top = 0;
    unroll<kCount>([&](auto row) __attribute__((always_inline)) {
        Limb carry = 0;
        unroll<kCount>(
            [&](auto i) { sum[i] = multiplyAdd(a.limbs[i], b.limbs[row], sum[i], carry); });
        Limb overflow = 0;
        const Limb high = addWithCarry(top, carry, overflow);

        const Limb factor = sum[0] * m_negatedInverse;
        carry = 0;
        multiplyAdd(factor, m_prime[0], sum[0], carry);
        unroll<kCount - 1>(
            [&](auto i) { sum[i] = multiplyAdd(factor, m_prime[i + 1], sum[i + 1], carry); });
        top = 0;
        sum[kCount - 1] = addWithCarry(high, carry, top);
        top += overflow;
    });
    return reduceOnce(sum, top);
}

// (top : value) is below twice the prime. Selecting with a mask: a branch here would be guessed
// wrong half of the time.
template <std::size_t kCount>
inline auto MontgomeryField<kCount>::reduceOnce(const Integer& value, Limb top) const noexcept
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
template <std::size_t kCount>
auto MontgomeryField<kCount>::raise(const Element& base, const Integer& exponent) const noexcept
    -> Element {
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

template <std::size_t kCount>
auto MontgomeryField<kCount>::invert(const Element& a) const noexcept -> Element {
    Integer exponent = m_prime;
    subtractLimbs(exponent, Integer{2});
    return raise(a, exponent);
}

template <std::size_t kCount>
auto MontgomeryField<kCount>::squareRoot(const Element& a) const noexcept
    -> std::optional<Element> {
    if (m_prime[0] % 4 != 3)
        return std::nullopt;
    // (prime + 1) / 4, without the carry that prime + 1 might have.
    Integer exponent = m_prime;
    shiftLimbsRight(exponent, 2);
    addLimbs(exponent, Integer{1});
    const Element root = raise(a, exponent);
    if (square(root) != a)
        return std::nullopt;
    return root;
}

}  // namespace certstore
