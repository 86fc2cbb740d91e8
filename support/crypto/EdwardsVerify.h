#pragma once

#include <array>
#include <cstdlib>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/EdwardsGroup.h"
#include "support/crypto/EdwardsScalars.h"
#include "support/crypto/SignedDigits.h"

namespace certstore {

// What is hashed to a scalar (RFC 8032 section 3.3) is twice as long as a point.
template <class Curve>
using EdwardsHash = std::array<unsigned char, 2 * Curve::kPointSize>;

// Computes [s]B + [k]A for the base point B, A given at each call: both scalars share the
// doublings. The multiples of B are kept. For public data.
template <class Curve>
class EdwardsDoubleMultiplier {
public:
    using Group = EdwardsGroup<Curve>;
    using Scalar = typename Curve::Scalar;

    EdwardsDoubleMultiplier() noexcept
        : m_multiplesOfBase(computeOddMultiples<kWidthOfBase>(Group::kBase)) {}

    typename Group::Point multiply(const Scalar& s, const Scalar& k,
                                   const typename Group::AffinePoint& a) const noexcept;

private:
    using Addend = typename Group::Addend;

    // Widths where the additions saved stop paying for the multiples: those of A are computed for
    // every call, those of B once.
    static constexpr std::size_t kWidthOfBase = 8;
    static constexpr std::size_t kWidthOfA = 5;

    // P, 3P, 5P .. for the digits of one width.
    template <std::size_t kWidth>
    static auto computeOddMultiples(const typename Group::AffinePoint& p) noexcept {
        std::array<Addend, std::size_t{1} << (kWidth - 2)> multiples;
        auto multiple = Group::extend(p);
        const auto twice = Group::toAddend(Group::toExtended(Group::twice(multiple)));
        for (Addend& addend : multiples) {
            addend = Group::toAddend(multiple);
            multiple = Group::toExtended(Group::add(multiple, twice));
        }
        return multiples;
    }

    std::array<Addend, std::size_t{1} << (kWidthOfBase - 2)> m_multiplesOfBase;
};

template <class Curve>
auto EdwardsDoubleMultiplier<Curve>::multiply(const Scalar& s, const Scalar& k,
                                              const typename Group::AffinePoint& a) const noexcept
    -> typename Group::Point {
    using Digits = SignedDigits<std::tuple_size_v<Scalar>>;
    const Digits digitsOfS(s, kWidthOfBase), digitsOfK(k, kWidthOfA);
    const auto multiplesOfA = computeOddMultiples<kWidthOfA>(a);
    typename Group::Factors sum;
    const auto addMultiple = [&](std::span<const Addend> multiples, int digit) {
        if (digit == 0)
            return;
        const Addend& multiple = multiples[static_cast<std::size_t>(std::abs(digit)) / 2];
        sum = Group::add(Group::toExtended(sum), digit < 0 ? Group::negate(multiple) : multiple);
    };
    auto point = Group::kNeutral;
    for (std::size_t i = Digits::kLength; i-- > 0;) {
        sum = Group::twice(point);
        addMultiple(m_multiplesOfBase, digitsOfS[i]);
        addMultiple(multiplesOfA, digitsOfK[i]);
        point = Group::toPoint(sum);
    }
    return point;
}

// RFC 8032 sections 5.1.7 and 5.2.7, as verifyEd25519() says. computeHash(r, publicKey, message)
// returns an EdwardsHash; it is called for nothing that is cheap to refuse.
template <class Curve, class ComputeHash>
bool verifyEdwards(ByteView publicKey, ByteView message, ByteView signature,
                   ComputeHash computeHash) noexcept {
    using Group = EdwardsGroup<Curve>;
    constexpr std::size_t kSize = Curve::kPointSize;
    if (publicKey.size() != kSize || signature.size() != 2 * kSize)
        return false;
    const ByteView r = signature.first(kSize);
    const auto s = readScalar(signature.subspan(kSize), Curve::kOrder);
    if (!s)
        return false;
    const auto a = Group::decode(publicKey.first<kSize>());
    if (!a)
        return false;
    static const MontgomeryField scalars(Curve::kOrder);
    static const EdwardsDoubleMultiplier<Curve> multiplier;
    const auto k = reduceScalar(computeHash(r, publicKey, message), scalars);
    return equalBytes(Group::encode(multiplier.multiply(*s, k, Group::negate(*a))), r);
}

}  // namespace certstore
