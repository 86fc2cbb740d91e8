#include "support/crypto/MlDsaRing.h"

namespace certstore {
namespace {

using Coefficient = std::int32_t;
using Product = std::int64_t;

consteval Coefficient power(Product base, unsigned exponent) {
    Product result = 1;
    for (; exponent > 0; exponent /= 2, base = base * base % kMlDsaPrime)
        if (exponent % 2 == 1)
            result = result * base % kMlDsaPrime;
    return static_cast<Coefficient>(result);
}

consteval std::uint32_t invertPrime() {
    std::uint32_t inverse = 1;
    for (int bits = 1; bits < 32; bits *= 2)
        inverse *= 2 - static_cast<std::uint32_t>(kMlDsaPrime) * inverse;
    return inverse;
}

// Modulo 2^32.
constexpr std::uint32_t kInverseOfPrime = invertPrime();
constexpr Coefficient kTwoTo32 = power(2, 32);

// Montgomery's reduction: the product divided by 2^32, modulo q, less than q in size. The product
// must be less than 2^31 q in size.
[[gnu::always_inline]] constexpr Coefficient reduce(Product product) noexcept {
    const auto multiple =
        static_cast<Coefficient>(static_cast<std::uint32_t>(product) * kInverseOfPrime);
    return static_cast<Coefficient>((product - Product{multiple} * kMlDsaPrime) >> 32);
}

[[gnu::always_inline]] constexpr Coefficient multiply(Coefficient a, Coefficient b) noexcept {
    return reduce(Product{a} * b);
}

// The powers of the 512th root of unity 1753 in the order of FIPS 204 appendix B, times 2^32.
consteval std::array<Coefficient, kMlDsaDegree> computeRoots() {
    std::array<Coefficient, kMlDsaDegree> roots{};
    for (unsigned i = 0; i < roots.size(); ++i) {
        unsigned reversed = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            reversed |= (i >> bit & 1) << (7 - bit);
        const Product root = power(1753, reversed);
        roots[i] = static_cast<Coefficient>(root * kTwoTo32 % kMlDsaPrime);
    }
    return roots;
}

constexpr auto kRoots = computeRoots();

// Cooley and Tukey's butterfly, and that of Gentleman and Sande with the root of the other side,
// whose negative is the inverse.
[[gnu::always_inline]] inline void split(Coefficient& a, Coefficient& b,
                                         Coefficient root) noexcept {
    const Coefficient product = multiply(b, root);
    b = a - product;
    a += product;
}

[[gnu::always_inline]] inline void join(Coefficient& a, Coefficient& b, Coefficient root) noexcept {
    const Coefficient difference = b - a;
    a += b;
    b = multiply(difference, root);
}

// Calls step(a, b, c, d, group) for the coefficients at i, i + distance .. that two layers in a row
// combine: taken together they are loaded and stored once.
template <class Step>
[[gnu::always_inline]] inline void forEachFour(MlDsaPolynomial& p, std::size_t distance,
                                               Step step) noexcept {
    Coefficient* at = p.data();
    for (std::size_t group = 0; group < p.size() / 4 / distance; ++group, at += 3 * distance)
        for (std::size_t i = 0; i < distance; ++i, ++at) {
            Coefficient a = at[0], b = at[distance], c = at[2 * distance], d = at[3 * distance];
            step(a, b, c, d, group);
            at[0] = a, at[distance] = b, at[2 * distance] = c, at[3 * distance] = d;
        }
}

}  // namespace

void transform(MlDsaPolynomial& polynomial) noexcept {
    for (std::size_t distance = 64; distance != 0; distance /= 4)
        forEachFour(polynomial, distance,
                    [base = 64 / distance](Coefficient& a, Coefficient& b, Coefficient& c,
                                           Coefficient& d, std::size_t group) {
                        const std::size_t root = base + group;
                        split(a, c, kRoots[root]);
                        split(b, d, kRoots[root]);
                        split(a, b, kRoots[2 * root]);
                        split(c, d, kRoots[2 * root + 1]);
                    });
}

// The sums at the first place of each group double in size with each layer: 256 (q - 1) is just
// below 2^31.
MlDsaPolynomial transformBack(const MlDsaSums& sums) noexcept {
    // 2^64 / 256: what both reductions and the eight layers have left.
    constexpr Coefficient kScale = power(2, 64 - 8);
    MlDsaPolynomial polynomial;
    for (std::size_t i = 0; i < sums.size(); ++i)
        polynomial[i] = reduce(sums[i]);
    for (std::size_t distance = 1; distance <= 64; distance *= 4)
        forEachFour(polynomial, distance,
                    [base = 64 / distance](Coefficient& a, Coefficient& b, Coefficient& c,
                                           Coefficient& d, std::size_t group) {
                        const std::size_t root = 2 * base - 1 - group;
                        join(a, b, kRoots[2 * root + 1]);
                        join(c, d, kRoots[2 * root]);
                        join(a, c, kRoots[root]);
                        join(b, d, kRoots[root]);
                    });
    for (Coefficient& coefficient : polynomial) {
        coefficient = multiply(coefficient, kScale);
        coefficient += coefficient >> 31 & kMlDsaPrime;
    }
    return polynomial;
}

}  // namespace certstore
