#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>

#include "support/base/ByteView.h"
#include "support/crypto/MontgomeryField.h"

namespace certstore {

// Scalars of Edwards curves: numbers modulo the order of the base point, little-endian outside. For
// public data.

// Reads as many of the octets as the limbs hold.
template <std::size_t kCount>
Number<kCount> loadScalar(ByteView octets) noexcept {
    Number<kCount> number{};
    for (std::size_t i = 0; i < std::min(octets.size(), sizeof number); ++i)
        number[i / sizeof(Limb)] |= Limb{octets[i]} << (i % sizeof(Limb) * 8);
    return number;
}

// Reads a number below the order; nothing for any other.
template <std::size_t kCount>
std::optional<Number<kCount>> readScalar(ByteView octets, const Number<kCount>& order) noexcept {
    const auto number = loadScalar<kCount>(octets);
    const ByteView beyond = octets.subspan(std::min(octets.size(), sizeof number));
    if (!isLess(number, order) || std::any_of(beyond.begin(), beyond.end(), std::identity()))
        return std::nullopt;
    return number;
}

// Reads a number of any size modulo the order, which is the prime of `field`. What the field
// encodes counts 2^(64 * kCount) times as much: just the step from one piece of the number to the
// next.
template <std::size_t kCount>
Number<kCount> reduceScalar(ByteView octets, const MontgomeryField<kCount>& field) noexcept {
    constexpr std::size_t kPieceSize = kCount * sizeof(Limb);
    typename MontgomeryField<kCount>::Element sum;
    while (!octets.empty()) {
        const std::size_t begin = (octets.size() - 1) / kPieceSize * kPieceSize;
        const auto piece = field.encode(loadScalar<kCount>(octets.subspan(begin)));
        sum = field.add(field.encode(sum.limbs), {field.decode(piece)});
        octets = octets.first(begin);
    }
    return sum.limbs;
}

}  // namespace certstore
