#include "support/crypto/Dsa.h"

#include <gtest/gtest.h>

#include "support/crypto/ConstantTimeModulus.h"
#include "support/crypto/DsaKeys.h"
#include "tests/support/Cases.h"

namespace certstore {
namespace {

// Nothing here depends on the sizes of real keys.
TEST(DsaTest, TakesNumbersInTheirRangesOnly) {
    const DigestValue digest = computeDigest(DigestAlgorithm::Sha256, bytesOf("abc"));
    forEachCase("dsa.tsv", [&](const Row& row) {
        const Bytes p = hexOf(row, "p"), q = hexOf(row, "q"), g = hexOf(row, "g");
        const Bytes x = hexOf(row, "x"), y = hexOf(row, "y");
        const Bytes r = hexOf(row, "r"), s = hexOf(row, "s");
        const DsaDomain domain{p, q, g};
        EXPECT_EQ(verifyDsa({domain, y}, digest.view(), r, s), isYes(row, "verifies"));
        Bytes derived(y.size());
        EXPECT_EQ(deriveDsaPublicKey(domain, x, derived) && derived == y, isYes(row, "derives"));
    });
}

TEST(ConstantTimeModulusTest, TakesNumbersBelowItself) {
    ConstantTimeModulus modulus;
    ConstantTimeModulus::Residue residue;
    const Bytes prime = fromHex("0001000000000000000d");
    ASSERT_TRUE(modulus.assign(prime));
    Bytes number = fromHex("01000000000000000c"), same(number.size());
    ASSERT_TRUE(modulus.load(number, residue));
    modulus.store(residue, same);
    EXPECT_EQ(same, number);
    EXPECT_FALSE(modulus.load(prime, residue));
}

}  // namespace
}  // namespace certstore
