// RSA signatures of foreign test suites in the format of Project Wycheproof.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/crypto/RsaPkcs1.h"
#include "support/crypto/RsaPss.h"
#include "tests/support/crypto/Bytes.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

struct Key {
    Bytes modulus, exponent;

    explicit Key(const Json& group)
        : modulus(hexOf(group.at("publicKey"), "modulus")),
          exponent(hexOf(group.at("publicKey"), "publicExponent")) {}
    operator RsaPublicKey() const { return {modulus, exponent}; }
};

bool verifyPkcs1(const Json& group, const Json& test) {
    const DigestAlgorithm algorithm = kVectorDigests.at(group.at("sha"));
    const DigestValue digest = computeDigest(algorithm, hexOf(test, "msg"));
    return verifyRsaPkcs1(Key(group), algorithm, digest.view(), hexOf(test, "sig"));
}

bool verifyPss(const Json& group, const Json& test) {
    const RsaPssOptions options{kVectorDigests.at(group.at("sha")),
                                kVectorDigests.at(group.at("mgfSha")), group.at("sLen")};
    const DigestValue digest = computeDigest(options.digest, hexOf(test, "msg"));
    return verifyRsaPss(Key(group), options, digest.view(), hexOf(test, "sig"));
}

// Of what may be accepted, a DigestInfo without NULL is; the rest is left open.
bool isFree(const Json& test) {
    const Json& flags = test.at("flags");
    return test.at("result") == "acceptable"
        && std::ranges::find(flags, Json("MissingNull")) == flags.end();
}

void checkFiles(const char* prefix, bool (*verify)(const Json& group, const Json& test)) {
    forEachVectorFile(prefix, [&](const Json& group, const Json& test) {
        if (!kVectorDigests.contains(group.at("sha")) || isFree(test))
            return;
        EXPECT_EQ(verify(group, test), test.at("result") != "invalid")
            << test.at("tcId") << ": " << test.at("comment");
    });
}

TEST(RsaVectorsTest, Pkcs1) {
    checkFiles("rsa_signature_", verifyPkcs1);
}

TEST(RsaVectorsTest, Pss) {
    checkFiles("rsa_pss_", verifyPss);
}

}  // namespace
}  // namespace certstore
