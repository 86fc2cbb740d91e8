#include <gtest/gtest.h>

#include "support/crypto/RsaPkcs1.h"
#include "support/crypto/RsaPss.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

RsaPublicKey keyOf(const Bytes& modulus, const Bytes& exponent) {
    return {modulus, exponent};
}

TEST(RsaPkcs1Test, AcceptsOnlyTheSignatureItself) {
    forEachCase("rsa-pkcs1.tsv", [](const Row& row) {
        const Bytes modulus = hexOf(row, "modulus"), exponent = hexOf(row, "exponent");
        EXPECT_EQ(verifyRsaPkcs1(keyOf(modulus, exponent), digestAlgorithmOf(row.at("algorithm")),
                                 hexOf(row, "digest"), hexOf(row, "signature")),
                  isYes(row, "verifies"));
    });
}

// Keys of which one needs the whole of its encoding's first octet and the other one bit of it,
// which no key of whole octets does.
TEST(RsaPssTest, FitsTheEncodingToTheKey) {
    forEachCase("rsa-pss.tsv", [](const Row& row) {
        const Bytes modulus = hexOf(row, "modulus"), exponent = hexOf(row, "exponent");
        const DigestAlgorithm algorithm = digestAlgorithmOf(row.at("algorithm"));
        const std::size_t saltSize = std::stoull(row.at("salt"));
        EXPECT_EQ(verifyRsaPss(keyOf(modulus, exponent), {algorithm, algorithm, saltSize},
                               hexOf(row, "digest"), hexOf(row, "signature")),
                  isYes(row, "verifies"));
    });
}

// Sizes around whole limbs, highest bit of the modulus set and not, and leading limbs that make
// estimated quotients too large; and the bounds, on either side of which a message is "any" or
// "none".
TEST(RsaTest, RefusesWhatIsOutOfBounds) {
    forEachCase("rsa-powers.tsv", [](const Row& row) {
        const Bytes modulus = hexOf(row, "modulus"), exponent = hexOf(row, "exponent");
        const std::string& expected = row.at("message");
        Bytes message(modulus.size());
        EXPECT_EQ(recoverRsaMessage(keyOf(modulus, exponent), hexOf(row, "signature"), message),
                  expected != "none");
        EXPECT_TRUE(expected == "any" || expected == "none" || message == fromHex(expected));
    });
}

}  // namespace
}  // namespace certstore
