#pragma once

#include <cstddef>
#include <iterator>
#include <utility>

#include "support/crypto/EcCurve.h"
#include "support/crypto/EcDoubleMultiplier.h"
#include "support/crypto/EcGroup.h"
#include "support/crypto/Limbs.h"
#include "support/crypto/NistRows.h"

namespace certstore {

// The field of a curve: one for all primes of a size, or one made for this prime.
template <EcCurveId kId, std::size_t kLimbs>
struct EcFieldOf {
    using Type = MontgomeryField<kLimbs>;
};
template <>
struct EcFieldOf<EcCurveId::P256, 4> {
    using Type = MontgomeryField<4, P256Row>;
};
template <>
struct EcFieldOf<EcCurveId::P384, 6> {
    using Type = MontgomeryField<6, P384Row>;
};
template <>
struct EcFieldOf<EcCurveId::P521, 9> {
    using Type = MontgomeryField<9, P521Row>;
};

// What belongs to one row of kEcCurves, made when it is first asked for.
template <std::size_t kRow>
struct EcCurveAt {
    static constexpr std::size_t kLimbs = limbsForBits(kEcCurves[kRow].fieldBits);
    using Group = EcGroup<typename EcFieldOf<kEcCurves[kRow].id, kLimbs>::Type>;

    static const Group& group() noexcept {
        static const Group group(kEcCurves[kRow]);
        return group;
    }

    static const EcDoubleMultiplier<Group>& multiplier() noexcept {
        static const EcDoubleMultiplier<Group> multiplier(group());
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
