#include <gtest/gtest.h>

#include <array>

#include "support/crypto/CurveKeys.h"
#include "support/crypto/Ed25519.h"
#include "support/crypto/Ed448.h"
#include "tests/support/Cases.h"

namespace certstore {
namespace {

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

// The neutral point as a key fulfils the equation for S = 0 and the neutral R whatever the message,
// so that nothing but the form of the numbers can be objected to.
TEST(EdDsaTest, ReadsEveryNumberInItsOnlyFormAndSize) {
    forEachCase("eddsa.tsv", [](const Row& row) {
        const Bytes signature = octetsOf(row.at("R") + " " + row.at("S"));
        const auto verify = row.at("scheme") == "Ed448" ? verifyEd448 : verifyEd25519;
        EXPECT_EQ(verify(hexOf(row, "key"), {}, signature), isYes(row, "verifies"));
    });
}

}  // namespace
}  // namespace certstore
