// Signatures of foreign test suites in the format of Project Wycheproof.

#include <algorithm>
#include <set>

#include "support/crypto/RsaPss.h"
#include "support/x509/NamedCurves.h"
#include "support/x509/SignatureSchemes.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

SignatureScheme schemeOf(const std::string& type, ByteView keyAlgorithm) {
    for (const SignatureScheme& scheme :
         {kEd25519, kEd448, kMlDsa44Scheme, kMlDsa65Scheme, kMlDsa87Scheme})
        if (scheme.keys[0] == keyAlgorithm)
            return scheme;
    static const std::map<std::string, SignatureScheme> kSchemes = {
        {"EcdsaVerify", kEcdsa},
        {"DsaVerify", kDsa},
        {"RsassaPkcs1Verify", kRsaPkcs1},
        {"RsassaPssWithParametersVerify", kRsaPss},
    };
    return kSchemes.at(type);
}

bool verify(const Json& group, const Json& test, const PublicKeyInfo& key) {
    const std::string type = group.at("type");
    const DigestAlgorithm digest = kVectorDigests.at(group.value("sha", "SHA-1"));
    const Bytes message = hexOf(test, "msg"), signature = hexOf(test, "sig");
    if (type == "RsassaPssVerify") {
        RsaPublicKey rsaKey;
        return readRsaPublicKey(key.bits, rsaKey)
            && verifyRsaPss(rsaKey,
                            {digest, kVectorDigests.at(group.at("mgfSha")), group.at("sLen")},
                            computeDigest(digest, message).view(), signature);
    }
    const ByteView parameters =
        type == "RsassaPssWithParametersVerify" ? key.parameters : ByteView();
    const SignatureScheme scheme = schemeOf(type, key.algorithm);
    return !scheme.verify({digest, parameters, message, signature, key});
}

// Signatures as certificates have them: with a digest known here, and no context.
bool isSupported(const Json& group, const Json& test) {
    static const std::set<std::string> kTypes = {"DsaVerify",       "EcdsaVerify",
                                                 "EddsaVerify",     "RsassaPkcs1Verify",
                                                 "RsassaPssVerify", "RsassaPssWithParametersVerify",
                                                 "MlDsaVerify"};
    return kTypes.contains(group.at("type")) && kVectorDigests.contains(group.value("sha", "SHA-1"))
        && test.value("ctx", "").empty();
}

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
            EXPECT_EQ(verify(group, test, key), expected == "valid")
                << test.at("tcId") << ": " << test.at("comment");
        });
}

}  // namespace
}  // namespace certstore
