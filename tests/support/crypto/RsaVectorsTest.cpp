// RSA signatures of foreign test suites in the format of Project Wycheproof.

#include <gtest/gtest.h>

#include <string>

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

bool hasFlag(const Json& test, const char* flag) {
    for (const Json& other : test.at("flags"))
        if (other == flag)
            return true;
    return false;
}

template <class Verify>
void checkFiles(const char* prefix, Verify verify) {
    for (const std::string& file : listVectorFiles(prefix)) {
        SCOPED_TRACE(file);
        forEachVector(file, [&](const Json& group, const Json& test) {
            const std::string result = test.at("result");
            if (!kVectorDigests.contains(group.at("sha")))
                return;
            // Of what may be accepted, a DigestInfo without NULL is; the rest is left open.
            const bool isFree = result == "acceptable";
            if (isFree && !hasFlag(test, "MissingNull"))
                return;
            const bool expected = isFree || result == "valid";
            EXPECT_EQ(verify(group, test), expected)
                << test.at("tcId") << ": " << test.at("comment");
        });
    }
}

TEST(RsaVectorsTest, Pkcs1) {
    checkFiles("rsa_signature_", verifyPkcs1);
}

TEST(RsaVectorsTest, Pss) {
    checkFiles("rsa_pss_", verifyPss);
}

}  // namespace
}  // namespace certstore
