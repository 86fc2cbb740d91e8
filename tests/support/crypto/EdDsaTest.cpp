#include <gtest/gtest.h>

#include <array>
#include <string>

#include "support/crypto/CurveKeys.h"
#include "support/crypto/Ed25519.h"
#include "support/crypto/Ed448.h"
#include "tests/support/crypto/Bytes.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

using Verify = bool (*)(ByteView publicKey, ByteView message, ByteView signature) noexcept;

template <std::size_t kSize, bool (*derive)(ByteView, std::span<unsigned char, kSize>) noexcept>
Bytes derivePublicKey(ByteView privateKey) {
    std::array<unsigned char, kSize> publicKey;
    if (!derive(privateKey, publicKey))
        return {};
    return {publicKey.begin(), publicKey.end()};
}

struct KnownKey {
    const char* source;
    Bytes (*derive)(ByteView privateKey);
    const char *privateKey, *publicKey;
};

constexpr KnownKey kKnownKeys[] = {
    {"RFC 8032 section 7.1, test 2", derivePublicKey<32, deriveEd25519PublicKey>,
     "4ccd089b28ff96da9db6c346ec114e0f5b8a319f35aba624da8cf6ed4fb8a6fb",
     "3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c"},
    {"RFC 8032 section 7.4, 1 octet", derivePublicKey<57, deriveEd448PublicKey>,
     "c4eab05d357007c632f3dbb48489924d552b08fe0c353a0d4a1f00acda2c463a"
     "fbea67c5e8d2877c5e3bc397a659949ef8021e954e0a12274e",
     "43ba28f430cdff456ae531545f7ecd0ac834a55d9358c0372bfa0c6c6798c086"
     "6aea01eb00742802b8438ea4cb82169c235160627b4c3a9480"},
    {"RFC 7748 section 6.1, Bob", derivePublicKey<32, deriveX25519PublicKey>,
     "5dab087e624a8a4b79e17f8b83800ee66f3bb1292618b6fd1c2f8b27ff88e0eb",
     "de9edb7d7b7dc1b4d35b61c2ece435373f8343c85b78674dadfc7e146f882b4f"},
    {"RFC 7748 section 6.2, Alice", derivePublicKey<56, deriveX448PublicKey>,
     "9a8f4925d1519f5775cf46b04b5800d4ee9ee8bae8bc5565d498c28dd9c9baf5"
     "74a9419744897391006382a6f127ab1d9ac2d8c0a598726b",
     "9b08f7cc31b7e3e67d22d5aea121074a273bd2b83de09c63faa73d2c22c5d9bb"
     "c836647241d953d40c5b12da88120d53177f80e532c41fa0"},
};

TEST(EdDsaTest, DerivesPublicKeysOfRightSizeOnly) {
    for (const KnownKey& known : kKnownKeys) {
        SCOPED_TRACE(known.source);
        const Bytes privateKey = fromHex(known.privateKey);
        EXPECT_EQ(known.derive(privateKey), fromHex(known.publicKey));
        EXPECT_EQ(known.derive(ByteView(privateKey).subspan(1)), Bytes());
        EXPECT_EQ(known.derive(padded(privateKey, privateKey.size() + 1)), Bytes());
    }
}

struct Scheme {
    const char* vectorFile;
    Verify verify;
    std::size_t size;  // octets of a point
    KnownKey key;      // with a signature over one octet, from the same place
    const char *message, *signature;
    const char* order;  // little-endian, as the next one
    const char* primePlusOne;
};

const Scheme kSchemes[] = {
    {"ed25519_test.json", verifyEd25519, 32, kKnownKeys[0], "72",
     "92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
     "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00",
     "edd3f55c1a631258d69cf7a2def9de1400000000000000000000000000000010",
     "eeffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff7f"},
    {"ed448_test.json", verifyEd448, 57, kKnownKeys[1], "03",
     "26b8f91727bd62897af15e41eb43c377efb9c610d48f2335cb0bd0087810f4352541b143c4b981b7e1"
     "8f62de8ccdf633fc1bf037ab7cd779805e0dbcc0aae1cbcee1afb2e027df36bc04dcecbf154336c19f"
     "0af7e0a6472905e799f1953d2a0ff3348ab21aa4adafd1d234441cf807c03a00",
     "f34458ab92c27823558fc58d72c26c219036d6ae49db4ec4e923ca7c"
     "ffffffffffffffffffffffffffffffffffffffffffffffffffffff3f00",
     "00000000000000000000000000000000000000000000000000000000"
     "ffffffffffffffffffffffffffffffffffffffffffffffffffffffff00"},
};

TEST(EdDsaTest, AgreesWithForeignSignatures) {
    for (const Scheme& scheme : kSchemes)
        forEachVector(scheme.vectorFile, [&](const Json& group, const Json& test) {
            const Bytes publicKey = hexOf(group.at("publicKey"), "pk");
            EXPECT_EQ(scheme.verify(publicKey, hexOf(test, "msg"), hexOf(test, "sig")),
                      test.at("result") == "valid")
                << test.at("tcId") << ": " << test.at("comment");
        });
}

TEST(EdDsaTest, AcceptsKnownSignatureAndNoOtherSize) {
    for (const Scheme& scheme : kSchemes) {
        SCOPED_TRACE(scheme.key.source);
        const Bytes key = fromHex(scheme.key.publicKey), message = fromHex(scheme.message);
        const Bytes signature = fromHex(scheme.signature);
        EXPECT_TRUE(scheme.verify(key, message, signature));
        EXPECT_FALSE(scheme.verify({}, message, signature));
        EXPECT_FALSE(scheme.verify(key, message, {}));
        EXPECT_FALSE(scheme.verify(ByteView(key).subspan(1), message, signature));
        EXPECT_FALSE(scheme.verify(key, message, ByteView(signature).subspan(1)));
        EXPECT_FALSE(scheme.verify(padded(key, scheme.size + 1), message, signature));
        EXPECT_FALSE(scheme.verify(key, message, padded(signature, 2 * scheme.size + 1)));
    }
}

TEST(EdDsaTest, ReadsEveryNumberInItsOnlyForm) {
    for (const Scheme& scheme : kSchemes) {
        // The neutral point as a key fulfils the equation for S = 0 and the neutral R whatever the
        // message, so that nothing but the form of the numbers can be objected to below.
        Bytes neutral(scheme.size), zero(scheme.size);
        neutral[0] = 1;
        Bytes negative = neutral, order = fromHex(scheme.order), huge(scheme.size, 0xff);
        negative.back() = 0x80;
        Bytes last(scheme.size);
        last.back() = 0x20;
        const Bytes unreduced = fromHex(scheme.primePlusOne);
        const struct {
            const char* what;
            const Bytes &key, &r, &s;
            bool verifies;
        } rows[] = {
            {"a key of small order is a key", neutral, neutral, zero, true},
            {"A: y is the prime more", unreduced, neutral, zero, false},
            {"A: x is 0, but has a sign", negative, neutral, zero, false},
            {"A: y exceeds the prime by much", huge, neutral, zero, false},
            {"R: y is the prime more", neutral, unreduced, zero, false},
            {"R: x is 0, but has a sign", neutral, negative, zero, false},
            {"S is the order", neutral, neutral, order, false},
            {"S exceeds the order in the last octet alone", neutral, neutral, last, false},
        };
        for (const auto& row : rows) {
            Bytes signature = row.r;
            signature.insert(signature.end(), row.s.begin(), row.s.end());
            EXPECT_EQ(scheme.verify(row.key, {}, signature), row.verifies)
                << scheme.vectorFile << ": " << row.what;
        }
    }
}

}  // namespace
}  // namespace certstore
