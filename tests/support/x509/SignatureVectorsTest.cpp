// Signatures of foreign test suites in the format of Project Wycheproof.

#include <algorithm>

#include "support/x509/NamedCurves.h"
#include "tests/support/x509/SignatureVectors.h"

namespace certstore {
namespace {

bool isOnUnknownCurve(const Json& group, const PublicKeyInfo& key) {
    return group.at("type") == "EcdsaVerify" && !findNamedCurve(key.parameters);
}

// "acceptable" is BER where DER is asked for, which counts as no, and what RSA keys may leave open:
// of that a DigestInfo without NULL is accepted.
std::string expectedOf(const Json& group, const Json& test) {
    const std::string result = test.at("result");
    const Json& flags = test.at("flags");
    if (result != "acceptable" || !group.at("type").get<std::string>().starts_with("Rsassa"))
        return result;
    return std::ranges::find(flags, Json("MissingNull")) != flags.end() ? "valid" : "free";
}

TEST(SignatureVectors, GiveTheExpectedResult) {
    for (const char* prefix : {"dsa_", "ecdsa_", "ed", "mldsa_", "rsa_"})
        forEachVector(prefix, [](const Json& group, const Json& test) {
            if (!isSupported(group, test))
                return;
            const Bytes spki = hexOf(group, "publicKeyDer");
            const std::string expected = expectedOf(group, test);
            PublicKeyInfo key;
            ASSERT_TRUE(readPublicKeyInfo(spki, key));
            if (expected == "free" || isOnUnknownCurve(group, key))
                return;
            EXPECT_EQ(verifyVector(group, test, hexOf(test, "sig"), key), expected == "valid")
                << test.at("tcId") << ": " << test.at("comment");
        });
}

}  // namespace
}  // namespace certstore
