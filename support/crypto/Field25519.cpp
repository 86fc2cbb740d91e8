#include "support/crypto/Field25519.h"

namespace certstore {

auto Field25519::squareTimes(Element a, int times) noexcept -> Element {
    for (; times > 0; --times)
        a = square(a);
    return a;
}

// a^(2^252 - 3), which is what both inversion and roots need, and a^3.
auto Field25519::raiseForRoots(const Element& a) noexcept -> std::pair<Element, Element> {
    // Exponents of n ones, called so: the square of one, taken m times, and m ones make n + m.
    const Element two = multiply(square(a), a);
    const Element four = multiply(squareTimes(two, 2), two);
    const Element five = multiply(square(four), a);
    const Element ten = multiply(squareTimes(five, 5), five);
    const Element twenty = multiply(squareTimes(ten, 10), ten);
    const Element forty = multiply(squareTimes(twenty, 20), twenty);
    const Element fifty = multiply(squareTimes(forty, 10), ten);
    const Element hundred = multiply(squareTimes(fifty, 50), fifty);
    const Element twoHundred = multiply(squareTimes(hundred, 100), hundred);
    const Element all = multiply(squareTimes(twoHundred, 50), fifty);
    return {multiply(squareTimes(all, 2), a), two};
}

// a^(p - 2), by Fermat's little theorem: p - 2 = 8 (2^252 - 3) + 3.
auto Field25519::invert(const Element& a) noexcept -> Element {
    const auto [power, cube] = raiseForRoots(a);
    return multiply(squareTimes(power, 3), cube);
}

// RFC 8032 section 5.1.3: u v^3 (u v^7)^((p - 5) / 8) is a root of u / v or of -u / v.
auto Field25519::findRootOfRatio(const Element& numerator, const Element& denominator) noexcept
    -> std::optional<Element> {
    const Element cubed = multiply(square(denominator), denominator);
    const Element seventh = multiply(square(cubed), denominator);
    const Element power = raiseForRoots(multiply(numerator, seventh)).first;
    const Element root = multiply(multiply(numerator, cubed), power);
    const Element check = multiply(square(root), denominator);
    if (areEqual<Field25519>(check, numerator))
        return root;
    if (areEqual<Field25519>(add(check, numerator), kZero))
        return multiply(root, kRootOfMinusOne);
    return std::nullopt;
}

}  // namespace certstore
