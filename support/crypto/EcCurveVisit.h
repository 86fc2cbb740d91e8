#pragma once

#include <cstddef>
#include <iterator>
#include <utility>

#include "support/crypto/EcCurve.h"
#include "support/crypto/EcDoubleMultiplier.h"
#include "support/crypto/EcGroup.h"
#include "support/crypto/Limbs.h"

namespace certstore {

// What belongs to one row of kEcCurves, made when it is first asked for.
template <std::size_t kRow>
struct EcCurveAt {
    static constexpr std::size_t kLimbs = limbsForBits(kEcCurves[kRow].fieldBits);

    static const EcGroup<kLimbs>& group() noexcept {
        static const EcGroup<kLimbs> group(kEcCurves[kRow]);
        return group;
    }

    static const EcDoubleMultiplier<kLimbs>& multiplier() noexcept {
        static const EcDoubleMultiplier<kLimbs> multiplier(group());
        return multiplier;
    }
};

// Returns visitor(EcCurveAt<row>()) for the row of this curve, false for a value that is no curve.
// This is where a curve known at run time becomes code for its size.
template <class Visitor>
bool visitCurve(EcCurveId id, Visitor&& visitor) noexcept {
    return [&]<std::size_t... kRow>(std::index_sequence<kRow...>) {
        return ((id == kEcCurves[kRow].id && visitor(EcCurveAt<kRow>())) || ...);
    }
    (std::make_index_sequence<std::size(kEcCurves)>());
}

}  // namespace certstore
