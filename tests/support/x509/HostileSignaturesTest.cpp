// Keys and signatures that are refused before anything is computed with them: the reason given is
// that of the check which comes first. Those of RSA are in SchemeRsaPssTest.cpp.

#include <gtest/gtest.h>

#include "support/crypto/EcCurve.h"
#include "tests/common/DerText.h"
#include "tests/support/x509/SignatureParts.h"

namespace certstore {
namespace {

using dertext::der;

constexpr char kNotAPoint[] = "The issuer's EC key is not a point of its curve.";
constexpr char kOutOfRange[] = "The ECDSA signature is out of range.";
constexpr char kMalformed[] = "The ECDSA signature is malformed.";

void setSignature(SignatureParts& parts, const std::string& r, const std::string& s) {
    parts.signature = toBytes(bytesOf(dertext::sequence(der(2, r) + der(2, s))));
}

std::string orderOfP256() {
    const Bytes order = fromHex(findCurve(EcCurveId::P256)->order);
    return std::string(1, '\0').append(order.begin(), order.end());
}

TEST(HostileSignatures, AreRefusedFirst) {
    using Parts = SignatureParts;
    const char *kP256 = "ECDSA P-256 SHA-256", *kEd25519 = "Ed25519", *kDsa2048 = "DSA-2048";
    const std::tuple<const char*, const char*, void (*)(Parts&), const char*> kCases[] = {
        {"as it came", kP256, [](Parts&) {}, ""},
        {"infinity", kP256, [](Parts& p) { p.keyBits = {0}; }, kNotAPoint},
        {"off the curve", kP256, [](Parts& p) { p.keyBits.back() ^= 1; }, kNotAPoint},
        {"r zero", kP256, [](Parts& p) { setSignature(p, {'\0'}, "\1"); }, kOutOfRange},
        {"s the order", kP256, [](Parts& p) { setSignature(p, "\1", orderOfP256()); }, kOutOfRange},
        {"r negative", kP256, [](Parts& p) { setSignature(p, "\xff", "\1"); }, kMalformed},
        {"something behind", kP256, [](Parts& p) { p.signature.push_back(0); }, kMalformed},
        {"a megabyte", kP256, [](Parts& p) { p.signature.resize(1 << 20); }, kMalformed},
        {"EdDSA, a megabyte", kEd25519, [](Parts& p) { p.signature.resize(1 << 20); },
         kSignatureDoesNotMatch},
        {"EdDSA, no key", kEd25519, [](Parts& p) { p.keyBits.clear(); }, kSignatureDoesNotMatch},
        {"DSA, as it came", kDsa2048, [](Parts&) {}, ""},
        {"parameters NULL", kDsa2048, [](Parts& p) { p.parameters = fromHex("0500"); }, ""},
        {"other parameters", kDsa2048, [](Parts& p) { p.parameters = fromHex("05000500"); },
         "The DSA signature algorithm's parameters are neither NULL nor absent."},
        {"a key without parameters", kDsa2048, [](Parts& p) { p.keyParameters.clear(); },
         "The issuer's DSA key inherits its parameters, which is not supported."},
        {"parameters cut", kDsa2048, [](Parts& p) { p.keyParameters.pop_back(); },
         "The issuer's DSA key is malformed."},
        {"a byte behind y", kDsa2048, [](Parts& p) { p.keyBits.push_back(0); },
         "The issuer's DSA key is malformed."},
        {"p even: its last byte is behind two headers and 256 others", kDsa2048,
         [](Parts& p) { p.keyParameters.at(4 + 4 + 256) ^= 1; },
         "The issuer's DSA key is of an unsupported size or out of range."},
        {"a byte behind the signature", kDsa2048, [](Parts& p) { p.signature.push_back(0); },
         "The DSA signature is malformed."},
        {"another text", kDsa2048, [](Parts& p) { p.tbs.back() ^= 1; }, kSignatureDoesNotMatch},
    };
    for (const auto& [what, cert, spoil, reason] : kCases) {
        Parts parts("algorithms.pem", cert);
        spoil(parts);
        EXPECT_EQ(parts.verify(), reason) << what;
    }
}

// A signature of zeros has responses that are too large.
TEST(HostileSignatures, OfMlDsaAreRefusedFirst) {
    const std::string zeros(1 << 20, '\0'), malformed = "The issuer's ML-DSA key is malformed.";
    const ByteView all = bytesOf(zeros), null = bytesOf(std::string_view("\5\0", 2)), none;
    const std::tuple<const char*, ByteView, ByteView, std::size_t, std::size_t, std::string>
        kCases[] = {
            {"parameters", null, none, 1312, 2420,
             "The ML-DSA signature algorithm has parameters."},
            {"parameters of the key", none, null, 1312, 2420, malformed},
            {"a key of another set", none, none, 1952, 2420, malformed},
            {"a megabyte", none, none, 1312, 1 << 20, "The ML-DSA signature is malformed."},
            {"zeros", none, none, 1312, 2420, kSignatureDoesNotMatch},
        };
    for (const auto& [what, parameters, ofKey, key, signature, reason] : kCases)
        EXPECT_EQ(kMlDsa44Scheme.verify(
                      {{}, parameters, all, all.first(signature), {{}, ofKey, all.first(key)}}),
                  reason)
            << what;
}

}  // namespace
}  // namespace certstore
