// Keys and signatures that are refused before anything is computed with them, and parameters: the
// reason given is that of the check which comes first.

#include <map>

#include "support/x509/SignatureAlgorithms.h"
#include "tests/support/Cases.h"

namespace certstore {
namespace {

// What a self-signed certificate gives to the scheme of its signature, to be spoilt.
struct SignatureParts {
    SignatureScheme scheme;
    DigestAlgorithm digest;
    std::map<std::string, Bytes> parts;

    explicit SignatureParts(const X509& cert) {
        ByteView oid, parameters;
        const auto& algorithm = *findSignatureAlgorithm(cert.signatureAlgorithm(), oid, parameters);
        PublicKeyInfo key;
        EXPECT_TRUE(readPublicKeyInfo(cert.spki(), key));
        scheme = algorithm.scheme;
        digest = algorithm.digest;
        parts = {
            {"parameters", toBytes(parameters)},         {"signed", toBytes(cert.tbs())},
            {"signature", toBytes(cert.signature())},    {"key algorithm", toBytes(key.algorithm)},
            {"key parameters", toBytes(key.parameters)}, {"key bits", toBytes(key.bits)}};
    }

    // "part: words" as octetsOf reads them, or the name of another scheme.
    void change(const std::string& text) {
        const std::string part = text.substr(0, text.find(": ")),
                          words = text.substr(part.size() + 2);
        if (part == "scheme")
            scheme = words == "RSASSA-PSS" ? kRsaPss : kRsaPkcs1;
        else
            parts.at(part) = octetsOf(words, parts.at(part));
    }

    // Why it does not verify; empty when it does.
    std::string verify() const {
        const PublicKeyInfo key{parts.at("key algorithm"), parts.at("key parameters"),
                                parts.at("key bits")};
        const char* reason = scheme.verify(
            {digest, parts.at("parameters"), parts.at("signed"), parts.at("signature"), key});
        return reason ? reason : "";
    }
};

TEST(HostileSignatures, AreRefusedFirst) {
    forEachCase("signature-parts.tsv", [](const Row& row) {
        const auto holder = testfiles::loadCert(row.at("file"), row.at("subject"));
        SignatureParts parts(*testfiles::certOf(holder).getX509Ptr());
        if (!row.at("changes").empty())
            for (const std::string& change : testfiles::listCell(row.at("changes")))
                parts.change(change);
        EXPECT_EQ(parts.verify(), row.at("reason"));
    });
}

}  // namespace
}  // namespace certstore
