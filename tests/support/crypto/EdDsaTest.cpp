#include <gtest/gtest.h>

#include <array>
#include <string>

#include "support/crypto/CurveKeys.h"
#include "support/crypto/Ed25519.h"
#include "support/crypto/Ed448.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

using Verify = bool (*)(ByteView publicKey, ByteView message, ByteView signature) noexcept;

template <std::size_t kSize, bool (*derive)(ByteView, std::span<unsigned char, kSize>) noexcept>
Bytes derivePublicKey(ByteView privateKey) {
    std::array<unsigned char, kSize> publicKey;
    return derive(privateKey, publicKey) ? toBytes(publicKey) : Bytes();
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

// The octets of a point; the order and the prime + 1, little-endian.
constexpr std::tuple<const char*, Verify, std::size_t, const char*, const char*> kSchemes[] = {
    {"Ed25519", verifyEd25519, 32,
     "edd3f55c1a631258d69cf7a2def9de1400000000000000000000000000000010",
     "eeffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff7f"},
    {"Ed448", verifyEd448, 57,
     "f34458ab92c27823558fc58d72c26c219036d6ae49db4ec4e923ca7c"
     "ffffffffffffffffffffffffffffffffffffffffffffffffffffff3f00",
     "00000000000000000000000000000000000000000000000000000000"
     "ffffffffffffffffffffffffffffffffffffffffffffffffffffffff00"},
};

TEST(EdDsaTest, ReadsEveryNumberInItsOnlyFormAndSize) {
    for (const auto& [name, verify, size, orderText, primePlusOne] : kSchemes) {
        // The neutral point as a key fulfils the equation for S = 0 and the neutral R whatever the
        // message, so that nothing but the form of the numbers can be objected to below.
        Bytes neutral(size), zero(size);
        neutral[0] = 1;
        Bytes negative = neutral, order = fromHex(orderText), huge(size, 0xff);
        negative.back() = 0x80;
        Bytes last(size);
        last.back() = 0x20;
        const Bytes unreduced = fromHex(primePlusOne);
        Bytes longer = neutral;
        longer.push_back(0);
        const std::tuple<const char*, Bytes, Bytes, Bytes, bool> rows[] = {
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
            {"S lacks an octet", neutral, neutral, Bytes(size - 1), false},
            {"S has an octet more", neutral, neutral, Bytes(size + 1), false},
        };
        for (const auto& [what, key, r, s, verifies] : rows) {
            Bytes signature = r;
            signature.insert(signature.end(), s.begin(), s.end());
            EXPECT_EQ(verify(key, {}, signature), verifies) << name << ": " << what;
        }
    }
}

}  // namespace
}  // namespace certstore
