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

// What the keys are is told by those of key-pairs.pem.
TEST(EdDsaTest, DerivesPublicKeysOfRightSizeOnly) {
    constexpr std::pair<Bytes (*)(ByteView), std::size_t> kRows[] = {
        {derivePublicKey<32, deriveEd25519PublicKey>, 32},
        {derivePublicKey<57, deriveEd448PublicKey>, 57},
        {derivePublicKey<32, deriveX25519PublicKey>, 32},
        {derivePublicKey<56, deriveX448PublicKey>, 56},
    };
    for (const auto& [derive, size] : kRows)
        for (const std::size_t given : {size - 1, size, size + 1})
            EXPECT_EQ(derive(Bytes(given, 7)).size(), given == size ? size : 0);
}

struct Scheme {
    const char* vectorFile;
    Verify verify;
    std::size_t size;   // octets of a point
    const char* order;  // little-endian, as the next one
    const char* primePlusOne;
};

const Scheme kSchemes[] = {
    {"ed25519_test.json", verifyEd25519, 32,
     "edd3f55c1a631258d69cf7a2def9de1400000000000000000000000000000010",
     "eeffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff7f"},
    {"ed448_test.json", verifyEd448, 57,
     "f34458ab92c27823558fc58d72c26c219036d6ae49db4ec4e923ca7c"
     "ffffffffffffffffffffffffffffffffffffffffffffffffffffff3f00",
     "00000000000000000000000000000000000000000000000000000000"
     "ffffffffffffffffffffffffffffffffffffffffffffffffffffffff00"},
};

TEST(EdDsaTest, AgreesWithForeignSignatures) {
    for (const Scheme& scheme : kSchemes)
        forEachVector(scheme.vectorFile, [&](const Json& group, const Json& test) {
            const Bytes publicKey = hexOf(group.at("publicKey"), "pk");
            expectResult(test, scheme.verify(publicKey, hexOf(test, "msg"), hexOf(test, "sig")));
        });
}

TEST(EdDsaTest, ReadsEveryNumberInItsOnlyFormAndSize) {
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
        Bytes longer = neutral;
        longer.push_back(0);
        const struct {
            const char* what;
            Bytes key, r, s;
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
            {"no key", {}, neutral, zero, false},
            {"a key with an octet more", longer, neutral, zero, false},
            {"S lacks an octet", neutral, neutral, Bytes(scheme.size - 1), false},
            {"S has an octet more", neutral, neutral, Bytes(scheme.size + 1), false},
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
