#include "support/crypto/Digest.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/crypto/InstructionSets.h"
#include "support/crypto/RunningDigest.h"
#include "support/crypto/ShaInstructions.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

Bytes digestOf(DigestAlgorithm algorithm, ByteView data) {
    return toBytes(computeDigest(algorithm, data).view());
}

// Every length around the ends of blocks.
void expectKnownDigests() {
    const Bytes message = makePattern(300);
    forEachCase("digests.tsv", [&](const Row& row) {
        const DigestAlgorithm algorithm = digestAlgorithmOf(row.at("case"));
        RunningDigest digests(algorithm);
        for (std::size_t size = 0; size <= 300; ++size)
            digests.update(digestOf(algorithm, ByteView(message).first(size)));
        Bytes known(digestSize(algorithm));
        digests.finish(known);
        known.resize(16);
        EXPECT_EQ(known, hexOf(row, "digests"));
    });
}

TEST(DigestTest, GivesTheKnownDigestsByTheBestCodeForThisProcessor) {
    EXPECT_EQ(sha1Instructions() != nullptr, haveShaInstructions());
    expectKnownDigests();
}

TEST(DigestTest, GivesTheKnownDigestsByPortableCode) {
    hideInstructions(true);
    EXPECT_EQ(sha1Instructions(), nullptr);
    EXPECT_EQ(sha256Instructions(), nullptr);
    expectKnownDigests();
    hideInstructions(false);
}

// Hashes in pieces of 1, 1 + step, 1 + 2 * step .. bytes, each by a copy of what went before.
Bytes hashInPieces(DigestAlgorithm algorithm, ByteView message, std::size_t step) {
    RunningDigest running(algorithm);
    for (std::size_t size = 1; !message.empty(); size += step) {
        const ByteView piece = message.first(std::min(size, message.size()));
        RunningDigest copy = running;
        running.update(bytesOf("what the copy does not see"));
        copy.update(piece);
        running = copy;
        message = message.subspan(piece.size());
    }
    Bytes digest(digestSize(algorithm));
    running.finish(digest);
    return digest;
}

TEST(DigestTest, DoesNotDependOnHowTheMessageIsCut) {
    const Bytes message = makePattern(1000);
    forEachCase("digests.tsv", [&](const Row& row) {
        const DigestAlgorithm algorithm = digestAlgorithmOf(row.at("case"));
        for (const std::size_t step : {0u, 1u, 7u, 63u, 64u, 127u, 128u, 135u})
            EXPECT_EQ(hashInPieces(algorithm, message, step), digestOf(algorithm, message)) << step;
    });
}

// FIPS 202: octets of SHAKE128 over nothing, in pieces that straddle the rate. The digests above
// never ask a sponge for more than it holds.
TEST(DigestTest, SqueezesSpongesInPieces) {
    KeccakSponge sponge(168, 0x1f);
    Bytes output(352);
    for (std::size_t at = 0; at < output.size(); at += 11)
        sponge.squeeze(std::span(output).subspan(at, 11));
    EXPECT_EQ(Bytes(output.begin() + 336, output.end()),
              fromHex("0affc6820b523a3d917135f2dff2ee06"));
}

}  // namespace
}  // namespace certstore
