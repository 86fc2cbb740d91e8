#include <gtest/gtest.h>

#include <algorithm>

#include "support/x509/SignatureSchemes.h"
#include "tests/common/TestFiles.h"

namespace certstore {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes copy(ByteView bytes) {
    return {bytes.begin(), bytes.end()};
}

// What a self-signed certificate gives to the scheme.
struct Inputs {
    Bytes parameters, tbs, signature, keyParameters, keyBits;

    explicit Inputs(const X509& cert) : tbs(copy(cert.tbs())), signature(copy(cert.signature())) {
        PublicKeyInfo key;
        EXPECT_TRUE(readPublicKeyInfo(cert.spki(), key));
        keyParameters = copy(key.parameters);
        keyBits = copy(key.bits);
    }

    std::string verify() const {
        const PublicKeyInfo key{kDsaKeys[0].view(), keyParameters, keyBits};
        const char* reason =
            verifyDsaScheme({DigestAlgorithm::Sha256, parameters, tbs, signature, key});
        return reason ? reason : "";
    }
};

// The last byte of p: behind the headers of a SEQUENCE and an INTEGER of 257 bytes.
unsigned char& lastOfPrime(Inputs& inputs) {
    return inputs.keyParameters.at(4 + 4 + 256);
}

TEST(SchemeDsa, SaysWhyItRefuses) {
    const struct {
        const char* sentence;
        const char* reason;
        void (*change)(Inputs&);
    } kCases[] = {
        {"as openssl made it", "", [](Inputs&) {}},
        {"parameters NULL", "",
         [](Inputs& i) {
             i.parameters = {5, 0};
         }},
        {"other parameters",
         "The DSA signature algorithm's parameters are neither NULL nor absent.",
         [](Inputs& i) {
             i.parameters = {5, 0, 5, 0};
         }},
        {"a key without parameters",
         "The issuer's DSA key inherits its parameters, which is not supported.",
         [](Inputs& i) { i.keyParameters.clear(); }},
        {"parameters cut", "The issuer's DSA key is malformed.",
         [](Inputs& i) { i.keyParameters.pop_back(); }},
        {"a byte behind y", "The issuer's DSA key is malformed.",
         [](Inputs& i) { i.keyBits.push_back(0); }},
        {"p even", "The issuer's DSA key is of an unsupported size or out of range.",
         [](Inputs& i) { lastOfPrime(i) ^= 1; }},
        {"a byte behind the signature", "The DSA signature is malformed.",
         [](Inputs& i) { i.signature.push_back(0); }},
        {"another s", kSignatureDoesNotMatch, [](Inputs& i) { i.signature.back() ^= 1; }},
        {"another text", kSignatureDoesNotMatch, [](Inputs& i) { i.tbs.back() ^= 1; }},
    };
    const auto certs = testfiles::loadCerts("algorithms.pem");
    const auto cert = std::ranges::find_if(certs, [](const auto& holder) {
        const auto text = testfiles::certOf(holder).getX509Ptr()->subjectText();
        return text.find("DSA-2048 SHA-256") != text.npos;
    });
    ASSERT_NE(cert, certs.end());
    for (const auto& c : kCases) {
        Inputs inputs(*testfiles::certOf(*cert).getX509Ptr());
        c.change(inputs);
        EXPECT_EQ(inputs.verify(), c.reason) << c.sentence;
    }
}

}  // namespace
}  // namespace certstore
