#include "support/crypto/Digest.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/crypto/Sha1.h"
#include "support/crypto/Sha2.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

struct KnownDigest {
    const char* name;
    DigestAlgorithm algorithm;
    const char* ofAbc;       // the one-block examples that NIST publishes with FIPS 180-4
    const char* ofPrefixes;  // see below
};

// The last column covers every length around the ends of blocks: the digest of the digests, strung
// together, of the first 0, 1 .. 300 bytes of makeMessage(). Computed with Python:
//   h = hashlib.new(a); [h.update(hashlib.new(a, m[:n]).digest()) for n in range(301)];
//   h.hexdigest()
constexpr KnownDigest kKnownDigests[] = {
    {"SHA-1", DigestAlgorithm::Sha1, "a9993e364706816aba3e25717850c26c9cd0d89d",
     "6804e4ea9a6a8d4892d67a40ced19afe1455116c"},
    {"SHA-224", DigestAlgorithm::Sha224, "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7",
     "424623b17e6ad740cd33de34cff25abe7bcc9766c61197980409fb00"},
    {"SHA-256", DigestAlgorithm::Sha256,
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
     "b90e35153500e9a471591550ee25a954527c6b4448afff95f7949a2ca93300ce"},
    {"SHA-384", DigestAlgorithm::Sha384,
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
     "8086072ba1e7cc2358baeca134c825a7",
     "80e3889f16595105b3522047c1e668b4e51531d98a660101516923ebdb1cf359"
     "b8a3bd514465820fa194d12fa7cc37f6"},
    {"SHA-512", DigestAlgorithm::Sha512,
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
     "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f",
     "da20b3b598f77f25e2e2d1941e345bfe16543f32378fbc8447fbb64f038964ce"
     "a0808c9d450e5e83ac095f5656c102b2ff15a8e0501c7553a7afe1e0256b5e09"},
};

Bytes makeMessage() {
    Bytes message(1000);
    for (std::size_t i = 0; i < message.size(); ++i)
        message[i] = static_cast<unsigned char>(i % 251);
    return message;
}

Bytes digestOf(DigestAlgorithm algorithm, ByteView data) {
    const DigestValue digest = computeDigest(algorithm, data);
    return Bytes(digest.bytes, digest.bytes + digest.size);
}

TEST(DigestTest, GivesTheKnownDigests) {
    const Bytes message = makeMessage();
    for (const KnownDigest& known : kKnownDigests) {
        SCOPED_TRACE(known.name);
        EXPECT_EQ(digestOf(known.algorithm, bytesOf("abc")), fromHex(known.ofAbc));
        Bytes digests;
        for (std::size_t size = 0; size <= 300; ++size) {
            const Bytes digest = digestOf(known.algorithm, ByteView(message).first(size));
            digests.insert(digests.end(), digest.begin(), digest.end());
        }
        EXPECT_EQ(digestOf(known.algorithm, digests), fromHex(known.ofPrefixes));
    }
}

// Hashes in pieces of 1, 1 + step, 1 + 2 * step .. bytes.
template <class Hash>
Bytes hashInPieces(ByteView message, std::size_t step) {
    Hash hash;
    for (std::size_t size = 1; !message.empty(); size += step) {
        const ByteView piece = message.first(std::min(size, message.size()));
        hash.update(piece);
        hash.update({});
        message = message.subspan(piece.size());
    }
    Bytes digest(Hash::kDigestSize);
    hash.finish(std::span<unsigned char, Hash::kDigestSize>(digest));
    return digest;
}

TEST(DigestTest, DoesNotDependOnHowTheMessageIsCut) {
    const Bytes message = makeMessage();
    for (const std::size_t step : {0u, 1u, 7u, 63u, 64u, 127u, 128u}) {
        SCOPED_TRACE(step);
        EXPECT_EQ(hashInPieces<Sha1>(message, step), digestOf(DigestAlgorithm::Sha1, message));
        EXPECT_EQ(hashInPieces<Sha224>(message, step), digestOf(DigestAlgorithm::Sha224, message));
        EXPECT_EQ(hashInPieces<Sha256>(message, step), digestOf(DigestAlgorithm::Sha256, message));
        EXPECT_EQ(hashInPieces<Sha384>(message, step), digestOf(DigestAlgorithm::Sha384, message));
        EXPECT_EQ(hashInPieces<Sha512>(message, step), digestOf(DigestAlgorithm::Sha512, message));
    }
}

}  // namespace
}  // namespace certstore
