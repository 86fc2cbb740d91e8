#pragma once

#include <array>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/MlDsa.h"
#include "support/crypto/MlDsaRing.h"

namespace certstore {

// Of HighBits of the coefficients of a polynomial there are at most 6 bits each.
using MlDsaHighParts = std::array<unsigned char, kMlDsaDegree * 6 / 8>;

// One row of t1 (FIPS 204 algorithm 23), kKeyRowSize octets, times 2^13: what the public key knows
// of the row of t.
void readKeyRow(ByteView octets, MlDsaPolynomial& row) noexcept;

// One polynomial of z (algorithm 27), responseRowSize() octets. False when a coefficient is not
// less than gamma1 - beta in size.
[[nodiscard]] bool readResponse(const MlDsaParameters& set, ByteView octets,
                                MlDsaPolynomial& response) noexcept;

// Whether these maxHints + rows octets are hints in their only form (algorithm 21): in the rows
// ascending positions, and zeros behind the last.
[[nodiscard]] bool areHints(const MlDsaParameters& set, ByteView octets) noexcept;

// The positions in one row, of octets for which areHints().
ByteView hintsOfRow(const MlDsaParameters& set, ByteView octets, std::size_t row) noexcept;

// UseHint of the coefficients, from 0 to q - 1, encoded (algorithms 40 and 28): the octets of
// `parts` that are returned.
ByteView encodeHighParts(const MlDsaParameters& set, const MlDsaPolynomial& polynomial,
                         ByteView hints, MlDsaHighParts& parts) noexcept;

}  // namespace certstore
