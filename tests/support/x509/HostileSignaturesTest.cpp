// Keys and signatures that are refused before anything is computed with them: the reason given is
// that of the check which comes first. Those of RSA are in SchemeRsaPssTest.cpp.

#include <gtest/gtest.h>

#include "support/crypto/EcCurve.h"
#include "support/log/LogNull.h"
#include "support/x509/SignatureAlgorithms.h"
#include "tests/common/TestFiles.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

using testfiles::certOf;

constexpr char kNotAPoint[] = "The issuer's EC key is not a point of its curve.";
constexpr char kOutOfRange[] = "The ECDSA signature is out of range.";
constexpr char kMalformed[] = "The ECDSA signature is malformed.";

// A self-signature taken apart, to be spoilt.
struct Parts {
    Bytes key, signature;
};

std::string verify(const char* commonName, void (*spoil)(Parts&)) {
    LogNull log;
    for (const auto& holder : testfiles::loadCerts("algorithms.pem")) {
        XString name;
        certOf(holder).getSubjectPart("CN", name, log);
        if (name.getUtf8() != std::string_view(commonName))
            continue;
        const X509& cert = *certOf(holder).getX509Ptr();
        ByteView oid, parameters;
        const auto* algorithm = findSignatureAlgorithm(cert.signatureAlgorithm(), oid, parameters);
        PublicKeyInfo key;
        EXPECT_TRUE(algorithm && readPublicKeyInfo(cert.spki(), key));
        Parts parts{{key.bits.begin(), key.bits.end()},
                    {cert.signature().begin(), cert.signature().end()}};
        spoil(parts);
        key.bits = parts.key;
        const char* reason = algorithm->scheme.verify(
            {algorithm->digest, parameters, cert.tbs(), parts.signature, key});
        return reason ? reason : "";
    }
    return "no such certificate";
}

// SEQUENCE of the INTEGERs r and s, each of 33 octets at most.
Bytes signatureOf(const Bytes& r, const Bytes& s) {
    const auto append = [](Bytes& to, unsigned char tag, const Bytes& content) {
        to.insert(to.end(), {tag, static_cast<unsigned char>(content.size())});
        to.insert(to.end(), content.begin(), content.end());
    };
    Bytes numbers, signature;
    append(numbers, 0x02, r);
    append(numbers, 0x02, s);
    append(signature, 0x30, numbers);
    return signature;
}

Bytes orderOfP256() {
    return fromHex("00" + std::string(findCurve(EcCurveId::P256)->order));
}

TEST(HostileSignatures, AreRefusedFirst) {
    struct Case {
        const char* what;
        const char* cert;
        void (*spoil)(Parts&);
        const char* reason;
    };
    const char *kP256 = "ECDSA P-256 SHA-256", *kEd25519 = "Ed25519";
    const Case cases[] = {
        {"as it came", kP256, [](Parts&) {}, ""},
        {"infinity", kP256, [](Parts& p) { p.key = {0}; }, kNotAPoint},
        {"x above the prime", kP256, [](Parts& p) { std::fill_n(p.key.begin() + 1, 32, 0xff); },
         kNotAPoint},
        {"y above the prime", kP256, [](Parts& p) { std::fill_n(p.key.end() - 32, 32, 0xff); },
         kNotAPoint},
        {"off the curve", kP256, [](Parts& p) { p.key.back() ^= 1; }, kNotAPoint},
        {"hybrid form", kP256,
         [](Parts& p) { p.key[0] = static_cast<unsigned char>(6 + p.key.back() % 2); }, kNotAPoint},
        {"r zero", kP256, [](Parts& p) { p.signature = signatureOf({0}, {1}); }, kOutOfRange},
        {"s zero", kP256, [](Parts& p) { p.signature = signatureOf({1}, {0}); }, kOutOfRange},
        {"r the order", kP256, [](Parts& p) { p.signature = signatureOf(orderOfP256(), {1}); },
         kOutOfRange},
        {"s the order", kP256, [](Parts& p) { p.signature = signatureOf({1}, orderOfP256()); },
         kOutOfRange},
        {"r negative", kP256, [](Parts& p) { p.signature = signatureOf({0xff}, {1}); }, kMalformed},
        {"r with a zero too many", kP256,
         [](Parts& p) {
             p.signature = signatureOf({0, 1}, {1});
         },
         kMalformed},
        {"something behind", kP256, [](Parts& p) { p.signature.push_back(0); }, kMalformed},
        {"a megabyte", kP256, [](Parts& p) { p.signature.resize(1 << 20); }, kMalformed},
        {"EdDSA as it came", kEd25519, [](Parts&) {}, ""},
        {"EdDSA, a megabyte", kEd25519, [](Parts& p) { p.signature.resize(1 << 20); },
         kSignatureDoesNotMatch},
        {"EdDSA, no key", kEd25519, [](Parts& p) { p.key.clear(); }, kSignatureDoesNotMatch},
    };
    for (const Case& row : cases)
        EXPECT_EQ(verify(row.cert, row.spoil), row.reason) << row.what;
}

}  // namespace
}  // namespace certstore
