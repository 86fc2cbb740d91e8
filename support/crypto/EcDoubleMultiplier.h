#pragma once

#include <array>
#include <cstddef>

#include "support/crypto/EcGroup.h"
#include "support/crypto/SignedDigits.h"

namespace certstore {

// P, 3P, 5P .. for the digits of one width, in whatever form the points are kept.
template <class Point, std::size_t kWidth>
struct OddMultiples {
    static constexpr std::size_t kPoints = std::size_t{1} << (kWidth - 2);
    std::array<Point, kPoints> points;

    // The multiple for a digit that is not 0, to be negated by the caller for a negative digit.
    const Point& at(int digit) const noexcept {
        return points[static_cast<std::size_t>(digit < 0 ? -digit : digit) / 2];
    }
};

// Computes u G + v Q for the generator G, Q given at each call: both scalars share the doublings.
// The multiples of G are kept.
template <class Group>
class EcDoubleMultiplier {
public:
    using Scalar = typename Group::Field::Integer;

    explicit EcDoubleMultiplier(const Group& group) noexcept;

    typename Group::Point multiply(const Scalar& u, const Scalar& v,
                                   const typename Group::AffinePoint& q) const noexcept;

private:
    // Widths where the additions saved stop paying for the multiples computed first: Q's are
    // computed for every call, those of G once.
    static constexpr std::size_t kWidthOfG = 7;
    static constexpr std::size_t kWidthOfQ = 5;

    const Group& m_group;
    OddMultiples<typename Group::AffinePoint, kWidthOfG> m_multiplesOfG;
};

template <std::size_t kWidth, class Group>
auto computeOddMultiples(const Group& group, const typename Group::AffinePoint& p) noexcept {
    OddMultiples<typename Group::Point, kWidth> multiples;
    multiples.points[0] = group.toPoint(p);
    const auto twice = group.twice(multiples.points[0]);
    for (std::size_t i = 1; i < multiples.points.size(); ++i)
        multiples.points[i] = group.add(multiples.points[i - 1], twice);
    return multiples;
}

// Brings z to 1 everywhere with one inversion for all, none of the points being infinity: the
// inverse of a product, times all the other factors, is the inverse of one.
template <class Group, std::size_t kSize>
auto normalise(const Group& group,
               const std::array<typename Group::Point, kSize>& points) noexcept {
    const auto& field = group.field();
    std::array<typename Group::Element, kSize> productBefore;
    auto product = field.one();
    for (std::size_t i = 0; i < kSize; ++i) {
        productBefore[i] = product;
        product = field.multiply(product, points[i].z);
    }
    auto inverse = field.invert(product);
    std::array<typename Group::AffinePoint, kSize> result;
    for (std::size_t i = kSize; i-- > 0;) {
        const auto zInverse = field.multiply(inverse, productBefore[i]);
        inverse = field.multiply(inverse, points[i].z);
        const auto zz = field.square(zInverse);
        result[i] = {field.multiply(points[i].x, zz),
                     field.multiply(points[i].y, field.multiply(zz, zInverse))};
    }
    return result;
}

template <class Group>
EcDoubleMultiplier<Group>::EcDoubleMultiplier(const Group& group) noexcept
    : m_group(group),
      m_multiplesOfG{
          normalise(group, computeOddMultiples<kWidthOfG>(group, group.generator()).points)} {}

template <class Group>
auto EcDoubleMultiplier<Group>::multiply(const Scalar& u, const Scalar& v,
                                         const typename Group::AffinePoint& q) const noexcept ->
    typename Group::Point {
    const auto multiplesOfQ = computeOddMultiples<kWidthOfQ>(m_group, q);
    using Digits = SignedDigits<Group::Field::kLimbs>;
    const Digits digitsOfU(u, kWidthOfG);
    const Digits digitsOfV(v, kWidthOfQ);
    typename Group::Point sum{};
    const auto addMultiple = [&](const auto& multiples, int digit) {
        if (digit == 0)
            return;
        const auto& multiple = multiples.at(digit);
        sum = m_group.add(sum, digit < 0 ? m_group.negate(multiple) : multiple);
    };
    for (std::size_t i = Digits::kLength; i-- > 0;) {
        sum = m_group.twice(sum);
        addMultiple(m_multiplesOfG, digitsOfU[i]);
        addMultiple(multiplesOfQ, digitsOfV[i]);
    }
    return sum;
}

}  // namespace certstore
