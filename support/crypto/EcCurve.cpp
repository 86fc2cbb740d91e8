#include "support/crypto/EcCurve.h"

#include <algorithm>

#include "support/crypto/EcCurveVisit.h"

namespace certstore {

const EcCurve* findCurve(EcCurveId id) noexcept {
    const auto* row = std::ranges::find(kEcCurves, id, &EcCurve::id);
    return row != std::end(kEcCurves) ? row : nullptr;
}

std::size_t fieldBytes(EcCurveId id) noexcept {
    const EcCurve* curve = findCurve(id);
    return curve != nullptr ? (curve->fieldBits + 7) / 8 : 0;
}

bool isCurvePoint(EcCurveId id, ByteView octets) noexcept {
    return visitCurve(id,
                      [=](auto curve) { return curve.group().decodePoint(octets).has_value(); });
}

bool isCurveScalar(EcCurveId id, ByteView octets) noexcept {
    return visitCurve(id,
                      [=](auto curve) { return curve.group().decodeScalar(octets).has_value(); });
}

}  // namespace certstore
