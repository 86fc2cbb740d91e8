#include "support/crypto/Dsa.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace certstore
