#include "support/crypto/Field448.h"

namespace certstore {
namespace {

using Half = std::array<Limb, 4>;

struct Halves {
    Half low, high, sum;

    explicit Halves(const Field448::Element& a) noexcept {
        unroll<4>([&](auto i) __attribute__((always_inline)) {
            low[i] = a[i];
            high[i] = a[i + 4];
            sum[i] = low[i] + high[i];
        });
    }
};

// Column k of the product of two halves, 0 <= k < 7.
template <std::size_t kColumn>
[[gnu::always_inline]] inline WideSum multiplyColumn(const Half& a, const Half& b) noexcept {
    WideSum sum;
    unroll<4>([&](auto i) __attribute__((always_inline)) {
        if constexpr (i <= kColumn && kColumn - i < 4)
            sum.addProduct(a[i], b[kColumn - i]);
    });
    return sum;
}

// The same for a square: each mixed product counts twice.
template <std::size_t kColumn>
[[gnu::always_inline]] inline WideSum squareColumn(const Half& a) noexcept {
    WideSum sum;
    unroll<4>([&](auto i) __attribute__((always_inline)) {
        if constexpr (2 * i <= kColumn && kColumn - i < 4)
            sum.addProduct(2 * i == kColumn ? a[i] : 2 * a[i], a[kColumn - i]);
    });
    return sum;
}

}  // namespace

// With sums of three tight elements the carries fit their limbs, and so does the sum of those that
// leave the tops of both halves: a column has at most 20 times the product of two limbs, the last
// one of the low half 8 times, that of the high half 16 times. The halves carry side by side.
inline auto Field448::carry(Columns& columns) noexcept -> Element {
    Element carried;
    Limb overLow = 0, overHigh = 0;
    unroll<4>([&](auto i) __attribute__((always_inline)) {
        columns[i].add(overLow);
        columns[i + 4].add(overHigh);
        carried[i] = columns[i].low() & kMask;
        carried[i + 4] = columns[i + 4].low() & kMask;
        overLow = columns[i].shifted(56);
        overHigh = columns[i + 4].shifted(56);
    });
    carried[0] += overHigh;
    carried[4] += overHigh + overLow;
    carried[1] += carried[0] >> 56;
    carried[5] += carried[4] >> 56;
    carried[0] &= kMask;
    carried[4] &= kMask;
    return carried;
}

// Karatsuba's trick, made for this prime: with t = 2^224, t^2 = t + 1, (a + b t)(c + d t) is
// (ac + bd) + ((a + b)(c + d) - ac) t. The arguments give the columns of ac, bd, (a + b)(c + d);
// columns 4 to 6 of a product are worth another t.
template <class Low, class High, class Mixed>
[[gnu::always_inline]] inline auto Field448::combine(Low low, High high, Mixed mixed) noexcept
    -> Element {
    Columns columns;
    unroll<4>([&](auto i) __attribute__((always_inline)) {
        const WideSum product = low(i);
        columns[i] = high(i);
        columns[i].add(product);
        columns[i + 4] = mixed(i);
        columns[i + 4].subtract(product);
    });
    unroll<3>([&](auto i) __attribute__((always_inline)) {
        constexpr std::integral_constant<std::size_t, i + 4> wrapped;
        const WideSum product = mixed(wrapped);
        columns[i].add(product);
        columns[i].subtract(low(wrapped));
        columns[i + 4].add(product);
        columns[i + 4].add(high(wrapped));
    });
    return carry(columns);
}

auto Field448::multiply(const Element& a, const Element& b) noexcept -> Element {
    const Halves x(a), y(b);
    return combine(
        [&](auto k) __attribute__((always_inline)) { return multiplyColumn<k>(x.low, y.low); },
        [&](auto k) __attribute__((always_inline)) { return multiplyColumn<k>(x.high, y.high); },
        [&](auto k) __attribute__((always_inline)) { return multiplyColumn<k>(x.sum, y.sum); });
}

auto Field448::square(const Element& a) noexcept -> Element {
    const Halves x(a);
    return combine(
        [&](auto k) __attribute__((always_inline)) { return squareColumn<k>(x.low); },
        [&](auto k) __attribute__((always_inline)) { return squareColumn<k>(x.high); },
        [&](auto k) __attribute__((always_inline)) { return squareColumn<k>(x.sum); });
}

auto Field448::squareTimes(Element a, int times) noexcept -> Element {
    for (; times > 0; --times)
        a = square(a);
    return a;
}

// a^((p - 3) / 4), which is what both inversion and roots need: 223 ones, a zero, 222 ones.
auto Field448::raiseForRoots(const Element& a) noexcept -> Element {
    // Exponents of n ones, called so: the square of one, taken m times, and m ones make n + m.
    const Element three = multiply(squareTimes(a, 2), multiply(square(a), a));
    const Element six = multiply(squareTimes(three, 3), three);
    const Element nine = multiply(squareTimes(six, 3), three);
    const Element eighteen = multiply(squareTimes(nine, 9), nine);
    const Element nineteen = multiply(square(eighteen), a);
    const Element thirtySeven = multiply(squareTimes(nineteen, 18), eighteen);
    const Element seventyFour = multiply(squareTimes(thirtySeven, 37), thirtySeven);
    const Element oneEleven = multiply(squareTimes(seventyFour, 37), thirtySeven);
    const Element half = multiply(squareTimes(oneEleven, 111), oneEleven);
    return multiply(squareTimes(multiply(square(half), a), 223), half);
}

// a^(p - 2), by Fermat's little theorem: p - 2 = 4 (p - 3) / 4 + 1.
auto Field448::invert(const Element& a) noexcept -> Element {
    return multiply(squareTimes(raiseForRoots(a), 2), a);
}

// RFC 8032 section 5.2.3: u^3 v (u^5 v^3)^((p - 3) / 4) is a root of u / v if there is one.
auto Field448::findRootOfRatio(const Element& numerator, const Element& denominator) noexcept
    -> std::optional<Element> {
    const Element uv = multiply(numerator, denominator);
    const Element uuv = multiply(numerator, uv);
    const Element power = raiseForRoots(multiply(square(uuv), uv));
    const Element root = multiply(multiply(uuv, numerator), power);
    if (!areEqual<Field448>(multiply(square(root), denominator), numerator))
        return std::nullopt;
    return root;
}

}  // namespace certstore
