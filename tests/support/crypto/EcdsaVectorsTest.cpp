// ECDSA signatures of foreign test suites.

#include <map>

#include "support/crypto/Ecdsa.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

const std::map<std::string, EcCurveId> kCurves = {{"secp192r1", EcCurveId::P192},
                                                  {"secp224r1", EcCurveId::P224},
                                                  {"secp256r1", EcCurveId::P256},
                                                  {"secp384r1", EcCurveId::P384},
                                                  {"secp521r1", EcCurveId::P521},
                                                  {"secp256k1", EcCurveId::Secp256k1},
                                                  {"brainpoolP224r1", EcCurveId::BrainpoolP224r1},
                                                  {"brainpoolP256r1", EcCurveId::BrainpoolP256r1},
                                                  {"brainpoolP320r1", EcCurveId::BrainpoolP320r1},
                                                  {"brainpoolP384r1", EcCurveId::BrainpoolP384r1},
                                                  {"brainpoolP512r1", EcCurveId::BrainpoolP512r1}};

bool verify(const Json& group, const Json& test) {
    const Bytes signature = hexOf(test, "sig");
    ByteView r, s;
    if (!readSignature(signature, r, s))
        return false;
    const DigestValue digest =
        computeDigest(kVectorDigests.at(group.at("sha")), hexOf(test, "msg"));
    const Json& key = group.at("publicKey");
    return verifyEcdsa(kCurves.at(key.at("curve")), hexOf(key, "uncompressed"), digest.view(), r,
                       s);
}

// What is "acceptable" is BER where DER is asked for.
TEST(EcdsaVectorsTest, GivesTheExpectedResult) {
    forEachVectorFile("ecdsa_", [](const Json& group, const Json& test) {
        if (group.at("type") == "EcdsaVerify" && kVectorDigests.contains(group.at("sha"))
            && kCurves.contains(group.at("publicKey").at("curve")))
            expectResult(test, verify(group, test));
    });
}

}  // namespace
}  // namespace certstore
