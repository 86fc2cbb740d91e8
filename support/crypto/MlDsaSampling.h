#pragma once

#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/MlDsa.h"
#include "support/crypto/MlDsaRing.h"

namespace certstore {

// SampleInBall (FIPS 204 algorithm 29): the challenge that follows from its hash. For public data.
MlDsaPolynomial sampleChallenge(const MlDsaParameters& set, ByteView hash) noexcept;

// Adds to the sums the product of one row of the matrix A, which is sampled from `seed` on the way
// (ExpandA, algorithm 32), with a vector of transformed polynomials, one for each column.
void addRowProduct(ByteView seed, std::size_t row, std::span<const MlDsaPolynomial> vector,
                   MlDsaSums& sums) noexcept;

}  // namespace certstore
