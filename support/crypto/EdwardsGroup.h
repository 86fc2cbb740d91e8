#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include "support/crypto/EdwardsCurves.h"

namespace certstore {

// The points of an Edwards curve, x and y as fractions over z, by the formulas of Hisil, Wong,
// Carter and Dawson (Twisted Edwards Curves Revisited). All but decode() is constant in time.
template <class Curve>
class EdwardsGroup {
public:
    using Field = typename Curve::Field;
    using Element = typename Field::Element;
    using EncodedPoint = std::array<unsigned char, Curve::kPointSize>;

    struct AffinePoint {
        Element x, y;
    };
    struct Point {
        Element x, y, z;
    };
    // With t = x y / z, which additions need besides.
    struct ExtendedPoint : Point {
        Element t;
    };
    // A point made ready for being added: with t times what the formula wants of d.
    struct Addend : Point {
        Element dt;
    };
    // A sum whose last products, x = e f, y = g h, z = f g, t = e h, are still to be taken: what
    // comes next decides whether t is needed.
    struct Factors {
        Element e, f, g, h;
    };

    static constexpr Point kNeutral{Field::kZero, Field::kOne, Field::kOne};
    static constexpr AffinePoint kBase{Curve::kBaseX, Curve::kBaseY};

    // Reads a point as RFC 8032 sections 5.1.3 and 5.2.3 say; nothing for what is no point or not
    // encoded in its only right way. For public points.
    static std::optional<AffinePoint> decode(
        std::span<const unsigned char, Curve::kPointSize> octets) noexcept;
    static EncodedPoint encode(const AffinePoint& p) noexcept;
    static EncodedPoint encode(const Point& p) noexcept;

    static AffinePoint negate(const AffinePoint& p) noexcept { return {Field::negate(p.x), p.y}; }
    static Addend negate(const Addend& p) noexcept {
        return {{Field::negate(p.x), p.y, p.z}, Field::negate(p.dt)};
    }

    static ExtendedPoint extend(const AffinePoint& p) noexcept {
        return {{p.x, p.y, Field::kOne}, Field::multiply(p.x, p.y)};
    }
    static Point toPoint(const Factors& sum) noexcept;
    static ExtendedPoint toExtended(const Factors& sum) noexcept {
        return {toPoint(sum), Field::multiply(sum.e, sum.h)};
    }
    static Addend toAddend(const ExtendedPoint& p) noexcept;

    static Factors twice(const Point& p) noexcept;
    static Factors add(const ExtendedPoint& p, const Addend& q) noexcept;
};

template <class Curve>
auto EdwardsGroup<Curve>::decode(std::span<const unsigned char, Curve::kPointSize> octets) noexcept
    -> std::optional<AffinePoint> {
    const Element y = Field::load(octets.template first<Field::kSize>());
    const Element yy = Field::square(y);
    const Element dyy = Field::multiply(yy, Curve::kD);
    const auto x = Field::findRootOfRatio(
        Field::subtract(yy, Field::kOne),
        Curve::kIsTwisted ? Field::add(dyy, Field::kOne) : Field::subtract(dyy, Field::kOne));
    if (!x)
        return std::nullopt;
    // One of the roots encodes to these octets, unless y exceeds the prime, or x is 0 and its sign
    // is not.
    for (const Element& root : {*x, Field::negate(*x)}) {
        const EncodedPoint encoded = encode(AffinePoint{root, y});
        if (std::equal(encoded.begin(), encoded.end(), octets.begin()))
            return AffinePoint{root, y};
    }
    return std::nullopt;
}

// RFC 8032 sections 5.1.2 and 5.2.2: y, and above it the lowest bit of x.
template <class Curve>
auto EdwardsGroup<Curve>::encode(const AffinePoint& p) noexcept -> EncodedPoint {
    std::array<unsigned char, Field::kSize> x;
    Field::store(p.x, x);
    EncodedPoint encoded{};
    Field::store(p.y, std::span(encoded).template first<Field::kSize>());
    encoded.back() = static_cast<unsigned char>(encoded.back() | (x[0] & 1) << 7);
    return encoded;
}

template <class Curve>
auto EdwardsGroup<Curve>::encode(const Point& p) noexcept -> EncodedPoint {
    const Element inverse = Field::invert(p.z);
    return encode(AffinePoint{Field::multiply(p.x, inverse), Field::multiply(p.y, inverse)});
}

template <class Curve>
auto EdwardsGroup<Curve>::toPoint(const Factors& sum) noexcept -> Point {
    return {Field::multiply(sum.e, sum.f), Field::multiply(sum.g, sum.h),
            Field::multiply(sum.f, sum.g)};
}

template <class Curve>
auto EdwardsGroup<Curve>::toAddend(const ExtendedPoint& p) noexcept -> Addend {
    // Not twice the product, which would not be tight.
    const Element d = Curve::kIsTwisted ? Field::twice(Curve::kD) : Curve::kD;
    return {{p.x, p.y, p.z}, Field::multiply(p.t, d)};
}

// e = 2 x y, f = g - 2 z^2, g = a x^2 + y^2, h = a x^2 - y^2 up to signs that cancel.
template <class Curve>
auto EdwardsGroup<Curve>::twice(const Point& p) noexcept -> Factors {
    const Element xx = Field::square(p.x);
    const Element yy = Field::square(p.y);
    const Element zz = Field::square(p.z);
    const Element mixed = Field::square(Field::add(p.x, p.y));
    const Element sum = Field::add(xx, yy);
    const Element difference = Field::subtract(xx, yy);
    if constexpr (Curve::kIsTwisted)
        return {Field::subtract(sum, mixed), Field::add(difference, Field::twice(zz)), difference,
                sum};
    else
        return {Field::subtract(mixed, sum), Field::subtract(sum, Field::twice(zz)), sum,
                difference};
}

// With a = -1 the factors come out doubled, which saves a product.
template <class Curve>
auto EdwardsGroup<Curve>::add(const ExtendedPoint& p, const Addend& q) noexcept -> Factors {
    const Element tt = Field::multiply(p.t, q.dt);
    const Element zz = Field::multiply(p.z, q.z);
    if constexpr (Curve::kIsTwisted) {
        const Element a = Field::multiply(Field::subtract(p.y, p.x), Field::subtract(q.y, q.x));
        const Element b = Field::multiply(Field::add(p.y, p.x), Field::add(q.y, q.x));
        const Element twoZz = Field::twice(zz);
        return {Field::subtract(b, a), Field::subtract(twoZz, tt), Field::add(twoZz, tt),
                Field::add(b, a)};
    } else {
        const Element xx = Field::multiply(p.x, q.x);
        const Element yy = Field::multiply(p.y, q.y);
        const Element mixed = Field::multiply(Field::add(p.x, p.y), Field::add(q.x, q.y));
        return {Field::subtract(mixed, Field::add(xx, yy)), Field::subtract(zz, tt),
                Field::add(zz, tt), Field::subtract(yy, xx)};
    }
}

}  // namespace certstore
