#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace certstore {

// The ring in which ML-DSA computes: polynomials over the integers modulo q with X^256 = -1
// (FIPS 204 section 2.3). Nothing here takes a time that depends on the numbers.
constexpr std::int32_t kMlDsaPrime = 8'380'417;  // q
constexpr std::size_t kMlDsaDegree = 256;

using MlDsaPolynomial = std::array<std::int32_t, kMlDsaDegree>;

// Sums of products of transformed polynomials, coefficient by coefficient.
using MlDsaSums = std::array<std::int64_t, kMlDsaDegree>;

// The number-theoretic transform (FIPS 204 algorithm 41). Coefficients, which may be negative, are
// at most q in size before and less than 9 q behind.
void transform(MlDsaPolynomial& polynomial) noexcept;

// The polynomial, with coefficients from 0 to q - 1, whose transform these sums are. They must be
// less than 2^31 q in size, which is 256 q^2: a product of two transforms counts as 81 q^2, one of
// a transform and a number below q as 9 q^2.
[[nodiscard]] MlDsaPolynomial transformBack(const MlDsaSums& sums) noexcept;

}  // namespace certstore
