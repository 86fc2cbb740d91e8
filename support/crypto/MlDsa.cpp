#include "support/crypto/MlDsa.h"

#include <array>

#include "support/crypto/MlDsaEncoding.h"
#include "support/crypto/MlDsaSampling.h"
#include "support/crypto/Sha3.h"

namespace certstore {
namespace {

constexpr std::size_t kMostColumns = kMlDsa87.columns;
constexpr std::size_t kLongestHash = 64;

template <std::size_t kSize>
using Octets = std::array<unsigned char, kSize>;

// mu of the message with the empty context (FIPS 204 algorithm 3, then 8, lines 6 and 7).
Octets<64> representMessage(ByteView publicKey, ByteView message) noexcept {
    constexpr unsigned char kPureAndNoContext[] = {0, 0};
    Octets<64> digest;
    Shake256 hashOfKey, hash;
    hashOfKey.absorb(publicKey);
    hashOfKey.squeeze(digest);
    hash.absorb(digest);
    hash.absorb(kPureAndNoContext);
    hash.absorb(message);
    hash.squeeze(digest);
    return digest;
}

// A signature taken apart, and what does not differ from row to row.
struct Parts {
    ByteView seed, keyRows, challengeHash, hints;
    std::array<MlDsaPolynomial, kMostColumns> response;
    MlDsaPolynomial challenge;

    // False when the signature is malformed.
    bool read(const MlDsaParameters& set, ByteView publicKey, ByteView signature) noexcept;
    void transformAll(const MlDsaParameters& set) noexcept;

    // One row of A z - c t1 2^13.
    MlDsaPolynomial computeRow(const MlDsaParameters& set, std::size_t row) const noexcept;
};

bool Parts::read(const MlDsaParameters& set, ByteView publicKey, ByteView signature) noexcept {
    if (publicKey.size() != set.publicKeySize() || signature.size() != set.signatureSize())
        return false;
    seed = publicKey.first(MlDsaParameters::kSeedSize);
    keyRows = publicKey.subspan(MlDsaParameters::kSeedSize);
    challengeHash = signature.first(set.challengeSize);
    hints = signature.last(set.maxHints + set.rows);
    if (!areHints(set, hints))
        return false;
    const std::size_t size = set.responseRowSize();
    for (std::size_t i = 0; i < set.columns; ++i)
        if (!readResponse(set, signature.subspan(set.challengeSize + i * size, size), response[i]))
            return false;
    return true;
}

void Parts::transformAll(const MlDsaParameters& set) noexcept {
    challenge = sampleChallenge(set, challengeHash);
    transform(challenge);
    for (std::size_t i = 0; i < set.columns; ++i)
        transform(response[i]);
}

MlDsaPolynomial Parts::computeRow(const MlDsaParameters& set, std::size_t row) const noexcept {
    MlDsaSums sums{};
    addRowProduct(seed, row, std::span(response).first(set.columns), sums);
    MlDsaPolynomial keyRow;
    readKeyRow(keyRows.subspan(row * MlDsaParameters::kKeyRowSize, MlDsaParameters::kKeyRowSize),
               keyRow);
    transform(keyRow);
    for (std::size_t i = 0; i < sums.size(); ++i)
        sums[i] -= std::int64_t{challenge[i]} * keyRow[i];
    return transformBack(sums);
}

}  // namespace

bool verifyMlDsa(const MlDsaParameters& set, ByteView publicKey, ByteView message,
                 ByteView signature) noexcept {
    Parts parts;
    if (!parts.read(set, publicKey, signature))
        return false;
    parts.transformAll(set);
    Shake256 hash;
    hash.absorb(representMessage(publicKey, message));
    for (std::size_t row = 0; row < set.rows; ++row) {
        MlDsaHighParts octets;
        hash.absorb(encodeHighParts(set, parts.computeRow(set, row),
                                    hintsOfRow(set, parts.hints, row), octets));
    }
    Octets<kLongestHash> computed;
    const std::span<unsigned char> expectedSize = std::span(computed).first(set.challengeSize);
    hash.squeeze(expectedSize);
    return equalBytes(expectedSize, parts.challengeHash);
}

}  // namespace certstore
