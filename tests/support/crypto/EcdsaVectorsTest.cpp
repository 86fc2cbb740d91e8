// ECDSA signatures of foreign test suites.

#include <map>

#include "support/asn1/DerReader.h"
#include "support/crypto/Digest.h"
#include "support/crypto/Ecdsa.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

const std::map<std::string, DigestAlgorithm> kDigests = {
    {"SHA-1", DigestAlgorithm::Sha1},
    {"SHA-224", DigestAlgorithm::Sha224},
    {"SHA-256", DigestAlgorithm::Sha256},
    {"SHA-384", DigestAlgorithm::Sha384},
    {"SHA-512", DigestAlgorithm::Sha512},
    {"SHA3-224", DigestAlgorithm::Sha3_224},
    {"SHA3-256", DigestAlgorithm::Sha3_256},
    {"SHA3-384", DigestAlgorithm::Sha3_384},
    {"SHA3-512", DigestAlgorithm::Sha3_512},
    {"SHA-512/224", DigestAlgorithm::Sha512_224},
    {"SHA-512/256", DigestAlgorithm::Sha512_256}};

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
    DerReader outer(signature), inner;
    ByteView r, s;
    if (!outer.readSequence(inner) || !outer.atEnd() || !inner.readUnsigned(r)
        || !inner.readUnsigned(s) || !inner.atEnd())
        return false;
    const DigestValue digest = computeDigest(kDigests.at(group.at("sha")), hexOf(test, "msg"));
    const Json& key = group.at("publicKey");
    return verifyEcdsa(kCurves.at(key.at("curve")), hexOf(key, "uncompressed"), digest.view(), r,
                       s);
}

bool isSupported(const Json& group) {
    return group.at("type") == "EcdsaVerify" && kDigests.contains(group.at("sha"))
        && kCurves.contains(group.at("publicKey").at("curve"));
}

// "acceptable" marks BER where DER is asked for: refused, as everywhere here.
TEST(EcdsaVectorsTest, GivesTheExpectedResult) {
    forEachVectorFile("ecdsa_", [](const Json& group, const Json& test) {
        if (!isSupported(group))
            return;
        EXPECT_EQ(verify(group, test), test.at("result") == "valid")
            << test.at("tcId") << ": " << test.at("comment") << ", "
            << group.at("publicKey").at("curve") << ", " << group.at("sha");
    });
}

}  // namespace
}  // namespace certstore
