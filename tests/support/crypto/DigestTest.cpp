#include "support/crypto/Digest.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/crypto/InstructionSets.h"
#include "support/crypto/RunningDigest.h"
#include "support/crypto/ShaInstructions.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

// What covers every length around the ends of blocks: 16 octets of the digest of the digests,
// strung together, of the first 0, 1 .. 300 bytes of the pattern. Computed with Python:
//   h = hashlib.new(a); [h.update(hashlib.new(a, m[:n]).digest()) for n in range(301)];
//   h.hexdigest()[:32]
constexpr std::pair<DigestAlgorithm, const char*> kKnownDigests[] = {
    {DigestAlgorithm::Sha1, "6804e4ea9a6a8d4892d67a40ced19afe"},
    {DigestAlgorithm::Sha224, "424623b17e6ad740cd33de34cff25abe"},
    {DigestAlgorithm::Sha256, "b90e35153500e9a471591550ee25a954"},
    {DigestAlgorithm::Sha384, "80e3889f16595105b3522047c1e668b4"},
    {DigestAlgorithm::Sha512, "da20b3b598f77f25e2e2d1941e345bfe"},
    {DigestAlgorithm::Sha512_224, "05daee229da360f57cf05fcb0b74bb07"},
    {DigestAlgorithm::Sha512_256, "a6cdb1c476398628b3625155dc6636bd"},
    {DigestAlgorithm::Sha3_224, "5a13b16fee3d8e322d64bfe46cd25ddd"},
    {DigestAlgorithm::Sha3_256, "d4daa4ebbd2c645f86ba95b6e1826396"},
    {DigestAlgorithm::Sha3_384, "2e835ab5ddc0a40a779470230f52afb3"},
    {DigestAlgorithm::Sha3_512, "896d0b00d5f8e862c70225dbf04329a0"},
    {DigestAlgorithm::Md5, "eeb77f5f54b2e46b4849a40454d8e547"},
};

Bytes digestOf(DigestAlgorithm algorithm, ByteView data) {
    return toBytes(computeDigest(algorithm, data).view());
}

void expectKnownDigests() {
    const Bytes message = makePattern(300);
    for (const auto& [algorithm, known] : kKnownDigests) {
        SCOPED_TRACE(known);
        Bytes digests;
        for (std::size_t size = 0; size <= 300; ++size) {
            const Bytes digest = digestOf(algorithm, ByteView(message).first(size));
            digests.insert(digests.end(), digest.begin(), digest.end());
        }
        digests = digestOf(algorithm, digests);
        digests.resize(16);
        EXPECT_EQ(digests, fromHex(known));
    }
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
    for (const auto& [algorithm, known] : kKnownDigests)
        for (const std::size_t step : {0u, 1u, 7u, 63u, 64u, 127u, 128u, 135u})
            EXPECT_EQ(hashInPieces(algorithm, message, step), digestOf(algorithm, message))
                << known << ", step " << step;
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
