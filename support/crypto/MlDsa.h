#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "support/base/ByteView.h"

namespace certstore {

// A parameter set of ML-DSA (FIPS 204 tables 1 and 2).
struct MlDsaParameters {
    std::size_t rows, columns;   // k and l, of the matrix A
    std::int32_t highParts;      // (q - 1) / 2 gamma2: the values that HighBits can take
    std::int32_t maskSize;       // gamma1, a power of two
    std::int32_t margin;         // beta = tau * eta: responses are less than gamma1 - beta in size
    std::size_t challengeTerms;  // tau: coefficients of the challenge that are not 0
    std::size_t challengeSize;   // lambda / 4: octets of its hash
    std::size_t maxHints;        // omega

    static constexpr std::size_t kSeedSize = 32;  // rho
    static constexpr std::size_t kKeyRowSize = 320;

    constexpr std::size_t publicKeySize() const noexcept { return kSeedSize + rows * kKeyRowSize; }
    constexpr std::size_t responseRowSize() const noexcept {
        return std::bit_width(static_cast<std::uint32_t>(maskSize)) * std::size_t{32};
    }
    constexpr std::size_t signatureSize() const noexcept {
        return challengeSize + columns * responseRowSize() + maxHints + rows;
    }
};

inline constexpr MlDsaParameters kMlDsa44{4, 4, 44, 1 << 17, 39 * 2, 39, 32, 80};
inline constexpr MlDsaParameters kMlDsa65{6, 5, 16, 1 << 19, 49 * 4, 49, 48, 55};
inline constexpr MlDsaParameters kMlDsa87{8, 7, 16, 1 << 19, 60 * 2, 60, 64, 75};

// Whether `signature` is the ML-DSA signature of `message` with the empty context under `publicKey`
// (FIPS 204 algorithm 3, the pure variant; the keys of RFC 9881). False, and for next to nothing,
// unless both have the sizes of the parameter set and the signature is encoded in the one way
// allowed. For public data: the time taken depends on it.
bool verifyMlDsa(const MlDsaParameters& set, ByteView publicKey, ByteView message,
                 ByteView signature) noexcept;

}  // namespace certstore
