#include "support/crypto/MlDsaSampling.h"

#include <array>

#include "support/crypto/LittleEndian.h"
#include "support/crypto/Sha3.h"

namespace certstore {
namespace {

// RejNTTPoly (FIPS 204 algorithm 30), each coefficient used as soon as it is there.
void addProduct(Shake128& source, const MlDsaPolynomial& factor, MlDsaSums& sums) noexcept {
    std::array<unsigned char, Shake128::kRate> block;
    static_assert(block.size() % 3 == 0);
    for (std::size_t done = 0; done < sums.size();) {
        source.squeeze(block);
        for (std::size_t i = 0; i < block.size() && done < sums.size(); i += 3) {
            const std::int32_t number = block[i] | block[i + 1] << 8 | (block[i + 2] & 0x7f) << 16;
            if (number < kMlDsaPrime) {
                sums[done] += std::int64_t{number} * factor[done];
                ++done;
            }
        }
    }
}

}  // namespace

MlDsaPolynomial sampleChallenge(const MlDsaParameters& set, ByteView hash) noexcept {
    Shake256 source;
    source.absorb(hash);
    std::array<unsigned char, 8> octets;
    source.squeeze(octets);
    auto signs = loadLittleEndian<std::uint64_t>(octets.data());
    MlDsaPolynomial challenge{};
    for (std::size_t i = challenge.size() - set.challengeTerms; i < challenge.size(); ++i) {
        unsigned char position = 0;
        do
            source.squeeze({&position, 1});
        while (position > i);
        challenge[i] = challenge[position];
        challenge[position] = signs % 2 == 0 ? 1 : -1;
        signs /= 2;
    }
    return challenge;
}

void addRowProduct(ByteView seed, std::size_t row, std::span<const MlDsaPolynomial> vector,
                   MlDsaSums& sums) noexcept {
    for (std::size_t column = 0; column < vector.size(); ++column) {
        const unsigned char place[] = {static_cast<unsigned char>(column),
                                       static_cast<unsigned char>(row)};
        Shake128 source;
        source.absorb(seed);
        source.absorb(place);
        addProduct(source, vector[column], sums);
    }
}

}  // namespace certstore
