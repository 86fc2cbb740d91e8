#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "support/base/ByteView.h"
#include "support/crypto/EcCurve.h"
#include "support/crypto/MontgomeryField.h"

namespace certstore {

// The points of one curve over a field (MontgomeryField.h) and their addition. The time taken
// depends on the points and scalars: for public ones only.
template <class FieldType>
class EcGroup {
public:
    using Field = FieldType;
    using Element = typename Field::Element;
    using Scalars = MontgomeryField<Field::kLimbs>;

    // A point other than infinity.
    struct AffinePoint {
        Element x, y;
    };

    // The point (x / z^2, y / z^3), infinity when z is 0.
    struct Point {
        Element x, y, z;
        bool isInfinity() const { return z == Element{}; }
    };

    explicit EcGroup(const EcCurve& curve) noexcept;

    const Field& field() const noexcept { return m_field; }
    // The integers modulo the order of the generator.
    const Scalars& scalars() const noexcept { return m_scalars; }
    std::size_t orderBits() const noexcept { return countBits(m_scalars.prime()); }
    const AffinePoint& generator() const noexcept { return m_generator; }

    // Reads a point as SEC 1 section 2.3.4 does: uncompressed, or compressed. Nothing for infinity,
    // hybrid forms, coordinates that are not below the prime, and points off the curve.
    std::optional<AffinePoint> decodePoint(ByteView octets) const noexcept;

    // A number from 1 to the order less 1, unsigned big-endian; nothing for any other.
    std::optional<typename Field::Integer> decodeScalar(ByteView octets) const noexcept;

    Point toPoint(const AffinePoint& p) const noexcept { return {p.x, p.y, m_field.one()}; }
    Point twice(const Point& p) const noexcept;
    Point add(const Point& p, const Point& q) const noexcept;
    Point add(const Point& p, const AffinePoint& q) const noexcept;
    Point negate(const Point& p) const noexcept { return {p.x, m_field.negate(p.y), p.z}; }
    AffinePoint negate(const AffinePoint& p) const noexcept { return {p.x, m_field.negate(p.y)}; }

private:
    Element cubicAt(const Element& x) const noexcept;
    std::optional<Element> decodeCoordinate(ByteView octets) const noexcept;
    std::optional<AffinePoint> decompress(const Element& x, bool odd) const noexcept;
    Element slopeTimesTwoY(const Point& p) const noexcept;
    Point addAligned(const Point& p, const Element& x, const Element& y, const Element& dx,
                     const Element& dy, const Element& z) const noexcept;

    Field m_field;
    Scalars m_scalars;
    Element m_a, m_b;
    bool m_aIsMinusThree;
    AffinePoint m_generator;
};

template <std::size_t kCount>
Number<kCount> numberFromHex(std::string_view digits) noexcept {
    Number<kCount> number{};
    for (const char digit : digits) {
        shiftLimbsLeft(number, 4);
        number[0] |= static_cast<Limb>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
    }
    return number;
}

template <class Field>
EcGroup<Field>::EcGroup(const EcCurve& curve) noexcept
    : m_field(numberFromHex<Field::kLimbs>(curve.prime)),
      m_scalars(numberFromHex<Field::kLimbs>(curve.order)) {
    const auto read = [this](std::string_view digits) {
        return m_field.encode(numberFromHex<Field::kLimbs>(digits));
    };
    m_a = read(curve.a);
    m_b = read(curve.b);
    m_generator = {read(curve.generatorX), read(curve.generatorY)};
    m_aIsMinusThree = m_a == m_field.negate(m_field.encode({3}));
}

template <class Field>
auto EcGroup<Field>::decodePoint(ByteView octets) const noexcept -> std::optional<AffinePoint> {
    const std::size_t size = (countBits(m_field.prime()) + 7) / 8;
    if (octets.size() < 1 + size)
        return std::nullopt;
    const auto x = decodeCoordinate(octets.subspan(1, size));
    const ByteView rest = octets.subspan(1 + size);
    if (!x)
        return std::nullopt;
    if ((octets[0] == 0x02 || octets[0] == 0x03) && rest.empty())
        return decompress(*x, octets[0] == 0x03);
    if (octets[0] != 0x04 || rest.size() != size)
        return std::nullopt;
    const auto y = decodeCoordinate(rest);
    if (!y || m_field.square(*y) != cubicAt(*x))
        return std::nullopt;
    return AffinePoint{*x, *y};
}

template <class Field>
auto EcGroup<Field>::decodeScalar(ByteView octets) const noexcept
    -> std::optional<typename Field::Integer> {
    typename Field::Integer scalar;
    if (!loadLimbs(octets, scalar) || isZero(scalar) || !isLess(scalar, m_scalars.prime()))
        return std::nullopt;
    return scalar;
}

template <class Field>
auto EcGroup<Field>::decodeCoordinate(ByteView octets) const noexcept -> std::optional<Element> {
    typename Field::Integer value;
    if (!loadLimbs(octets, value) || !isLess(value, m_field.prime()))
        return std::nullopt;
    return m_field.encode(value);
}

template <class Field>
auto EcGroup<Field>::decompress(const Element& x, bool odd) const noexcept
    -> std::optional<AffinePoint> {
    auto y = m_field.squareRoot(cubicAt(x));
    if (!y)
        return std::nullopt;
    // No root is zero: that would be a point of order 2, and the orders are odd.
    if ((m_field.decode(*y)[0] % 2 != 0) != odd)
        y = m_field.negate(*y);
    return AffinePoint{x, *y};
}

// x^3 + a x + b
template <class Field>
auto EcGroup<Field>::cubicAt(const Element& x) const noexcept -> Element {
    const Element slope = m_field.add(m_field.square(x), m_a);
    return m_field.add(m_field.multiply(slope, x), m_b);
}

// 3 x^2 + a z^4, in two factors where a is -3.
template <class Field>
auto EcGroup<Field>::slopeTimesTwoY(const Point& p) const noexcept -> Element {
    const Field& f = m_field;
    const Element zz = f.square(p.z);
    if (m_aIsMinusThree) {
        const Element product = f.multiply(f.subtract(p.x, zz), f.add(p.x, zz));
        return f.add(f.twice(product), product);
    }
    const Element xx = f.square(p.x);
    return f.add(f.add(f.twice(xx), xx), f.multiply(m_a, f.square(zz)));
}

// With s = 4 x y^2 and m the slope times 2y: x' = m^2 - 2 s, y' = m (s - x') - 8 y^4, z' = 2 y z.
template <class Field>
auto EcGroup<Field>::twice(const Point& p) const noexcept -> Point {
    const Field& f = m_field;
    const Element m = slopeTimesTwoY(p);
    const Element twoY = f.twice(p.y);
    const Element fourYY = f.square(twoY);
    const Element s = f.multiply(p.x, fourYY);
    const Element x = f.subtract(f.square(m), f.twice(s));
    const Element y = f.subtract(f.multiply(m, f.subtract(s, x)), f.halve(f.square(fourYY)));
    return {x, y, f.multiply(twoY, p.z)};
}

template <class Field>
auto EcGroup<Field>::add(const Point& p, const Point& q) const noexcept -> Point {
    if (p.isInfinity())
        return q;
    if (q.isInfinity())
        return p;
    const Field& f = m_field;
    const Element pzz = f.square(p.z);
    const Element qzz = f.square(q.z);
    const Element px = f.multiply(p.x, qzz);
    const Element py = f.multiply(p.y, f.multiply(qzz, q.z));
    const Element dx = f.subtract(f.multiply(q.x, pzz), px);
    const Element dy = f.subtract(f.multiply(q.y, f.multiply(pzz, p.z)), py);
    return addAligned(p, px, py, dx, dy, f.multiply(p.z, q.z));
}

template <class Field>
auto EcGroup<Field>::add(const Point& p, const AffinePoint& q) const noexcept -> Point {
    if (p.isInfinity())
        return toPoint(q);
    const Field& f = m_field;
    const Element pzz = f.square(p.z);
    const Element dx = f.subtract(f.multiply(q.x, pzz), p.x);
    const Element dy = f.subtract(f.multiply(q.y, f.multiply(pzz, p.z)), p.y);
    return addAligned(p, p.x, p.y, dx, dy, p.z);
}

// Adds a point to `p` after both were brought to the same z: x and y are those of `p`, dx and dy
// the way to the other one.
template <class Field>
auto EcGroup<Field>::addAligned(const Point& p, const Element& x, const Element& y,
                                const Element& dx, const Element& dy,
                                const Element& z) const noexcept -> Point {
    if (dx == Element{})
        return dy == Element{} ? twice(p) : Point{};
    const Field& f = m_field;
    const Element dxx = f.square(dx);
    const Element dxxx = f.multiply(dxx, dx);
    const Element v = f.multiply(x, dxx);
    const Element sumX = f.subtract(f.subtract(f.square(dy), dxxx), f.twice(v));
    const Element sumY = f.subtract(f.multiply(dy, f.subtract(v, sumX)), f.multiply(y, dxxx));
    return {sumX, sumY, f.multiply(z, dx)};
}

}  // namespace certstore
