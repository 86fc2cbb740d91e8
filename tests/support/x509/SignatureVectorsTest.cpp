// Signatures of foreign test suites in the format of Project Wycheproof, whole and spoilt.

#include <set>

#include "support/crypto/RsaPss.h"
#include "support/x509/NamedCurves.h"
#include "support/x509/SignatureSchemes.h"
#include "tests/hostile/Mutator.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

SignatureScheme schemeOf(const std::string& type, ByteView keyAlgorithm) {
    for (const SignatureScheme& scheme : {kEd25519, kEd448, kMlDsa<0>, kMlDsa<1>, kMlDsa<2>})
        if (scheme.keys[0] == keyAlgorithm)
            return scheme;
    static const std::map<std::string, SignatureScheme> kSchemes = {
        {"EcdsaVerify", kEcdsa},
        {"DsaVerify", kDsa},
        {"RsassaPkcs1Verify", kRsaPkcs1},
        {"RsassaPssVerify", kRsaPss},
        {"RsassaPssWithParametersVerify", kRsaPss},
    };
    return kSchemes.at(type);
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
    static Mutator mutator(3);  // so that each repetition gives others
    const auto check = [&](const Json& group, const Json& test) {
        if (!isSupported(group, test))
            return;
        const std::string type = group.at("type"), expected = expectedOf(group, test);
        const DigestAlgorithm digest = kVectorDigests.at(group.value("sha", "SHA-1"));
        const Bytes spki = hexOf(group, "publicKeyDer"), message = hexOf(test, "msg"),
                    signature = hexOf(test, "sig");
        PublicKeyInfo key, badKey;
        ASSERT_TRUE(readPublicKeyInfo(spki, key));
        if (expected == "free" || isOnUnknownCurve(group, key))
            return;
        const SignatureScheme scheme = schemeOf(type, key.algorithm);
        const auto verify = [&](const Bytes& bytes, const PublicKeyInfo& with) {
            const auto takes = [&with](const OidBytes& oid) { return oid == with.algorithm; };
            RsaPublicKey rsaKey;
            if (type == "RsassaPssVerify")
                return readRsaPublicKey(with.bits, rsaKey)
                    && verifyRsaPss(
                           rsaKey,
                           {digest, kVectorDigests.at(group.at("mgfSha")), group.at("sLen")},
                           computeDigest(digest, message).view(), bytes);
            const bool inKey = type == "RsassaPssWithParametersVerify";
            return std::ranges::any_of(scheme.keys, takes)
                && !scheme.verify(
                    {digest, inKey ? with.parameters : ByteView(), message, bytes, with});
        };
        EXPECT_EQ(verify(signature, key), expected == "valid")
            << test.at("tcId") << ": " << test.at("comment");
        if (expected != "valid")
            return;
        const Bytes bad = toBytes(bytesOf(mutator.mutate(std::string(textOf(signature))))),
                    badSpki = toBytes(bytesOf(mutator.mutate(std::string(textOf(spki)))));
        // Under a key made to give an r of one byte, a second s is good, or each; and n - s is as
        // good as s, which chance meets where numbers lie at the edges of the arithmetic.
        const Json& flags = test.at("flags");
        const bool isMade = (signature[0] == 0x30 && signature[3] == 1)
            || std::ranges::find(flags, Json("ArithmeticError")) != flags.end();
        EXPECT_TRUE(!verify(bad, key) || bad == signature || isMade) << test;
        if (readPublicKeyInfo(badSpki, badKey))
            verify(signature, badKey);
    };
    for (const char* prefix : {"dsa_", "ecdsa_", "ed", "mldsa_", "rsa_"})
        forEachVector(prefix, check);
}

}  // namespace
}  // namespace certstore
