#include "support/crypto/Ecdsa.h"

#include <algorithm>

#include "support/crypto/EcCurveVisit.h"

namespace certstore {
namespace {

// The leading bits of the digest, as many as the order has: a number that may still exceed the
// order.
template <std::size_t kCount>
Number<kCount> truncateDigest(ByteView digest, std::size_t orderBits) noexcept {
    const std::size_t orderSize = (orderBits + 7) / 8;
    Number<kCount> number;
    loadLimbs(digest.first(std::min(digest.size(), orderSize)), number);
    if (digest.size() >= orderSize)
        shiftLimbsRight(number, static_cast<int>(orderSize * 8 - orderBits));
    return number;
}

// Whether x mod n = r for the affine x of the point. As x may exceed n, r + n is a candidate, too.
// Comparing x / z^2 multiplied out saves the inversion.
template <class Group>
bool hasCoordinate(const Group& group, const typename Group::Point& point,
                   typename Group::Field::Integer r) noexcept {
    if (point.isInfinity())
        return false;
    const auto& field = group.field();
    const auto zz = field.square(point.z);
    const auto matches = [&](const auto& candidate) {
        return isLess(candidate, field.prime())
            && field.multiply(field.encode(candidate), zz) == point.x;
    };
    if (matches(r))
        return true;
    const Limb carry = addLimbs(r, group.scalars().prime());
    return carry == 0 && matches(r);
}

struct Signature {
    ByteView r, s;
};

template <class Curve>
bool verifyOn(Curve curve, ByteView publicPoint, ByteView digest, Signature signature) noexcept {
    const auto& group = curve.group();
    const auto& scalars = group.scalars();
    const auto r = group.decodeScalar(signature.r);
    const auto s = group.decodeScalar(signature.s);
    if (!r || !s)
        return false;
    const auto q = group.decodePoint(publicPoint);
    if (!q)
        return false;
    const auto e = truncateDigest<Curve::kLimbs>(digest, group.orderBits());
    const auto w = scalars.invertPublic(scalars.encode(*s));
    const auto u = scalars.decode(scalars.multiply(scalars.encode(e), w));
    const auto v = scalars.decode(scalars.multiply(scalars.encode(*r), w));
    return hasCoordinate(group, curve.multiplier().multiply(u, v, *q), *r);
}

}  // namespace

bool verifyEcdsa(EcCurveId id, ByteView publicPoint, ByteView digest, ByteView r,
                 ByteView s) noexcept {
    if (digest.empty())
        return false;
    return visitCurve(id, [=](auto curve) {
        return verifyOn(curve, publicPoint, digest, Signature{r, s});
    });
}

}  // namespace certstore
