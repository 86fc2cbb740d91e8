// What the certificate layer adds to RSASSA-PSS: parameters, and keys that restrict them.

#include <gtest/gtest.h>

#include "support/x509/SignatureSchemes.h"
#include "tests/common/TestFiles.h"
#include "tests/support/crypto/Bytes.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

const Bytes kPss = fromHex("2a864886f70d01010a"), kRsa = fromHex("2a864886f70d010101");

// A self-signed certificate, its algorithms to be replaced.
struct SelfSigned {
    ZorvenOwner<CertificateHolder> holder;
    PublicKeyInfo key;
    ByteView signature;

    explicit SelfSigned(const char* file) : holder(testfiles::loadCert(file)) {
        EXPECT_TRUE(readPublicKeyInfo(x509().spki(), key));
        signature = x509().signature();
    }
    const X509& x509() const { return *testfiles::certOf(holder).getX509Ptr(); }
    std::string verify(SignatureScheme scheme, ByteView parameters) const {
        const char* reason =
            scheme.verify({DigestAlgorithm::Sha1, parameters, x509().tbs(), signature, key});
        return reason ? reason : "";
    }
};

// Parts of RSASSA-PSS-params.
const std::string kSha1 = "06052b0e03021a", kSha256 = "0609608648016503040201",
                  kMgf1 = "06092a864886f70d010108";

TEST(SchemeRsaPss, ReadsParametersStrictlyButForDefaults) {
    const char* kBad = "The RSASSA-PSS parameters of the signature are malformed or not supported.";
    const std::string kMask = "a116301406092a864886f70d010108300706052b0e03021a";
    struct Case {
        const char* what;
        std::string parameters;
        std::string reason;
    };
    const Case cases[] = {
        {"defaults left out", "3000", ""},
        {"the digest written, with NULL", "300da00b3009" + kSha1 + "0500", ""},
        {"the digest written, without NULL", "300ba0093007" + kSha1, ""},
        {"the mask written", "3018" + kMask, ""},
        {"salt size and trailer written", "300aa203020114a303020101", ""},
        {"all written", "302da0093007" + kSha1 + kMask + "a203020114a303020101", ""},
        {"another digest", "300fa00d300b" + kSha256, kSignatureDoesNotMatch},
        {"another mask", "301ca11a3018" + kMgf1 + "300b" + kSha256, kSignatureDoesNotMatch},
        {"one more byte of salt", "3005a203020115", kSignatureDoesNotMatch},
        {"the longest salt that is read", "3006a20402020800", kSignatureDoesNotMatch},
        {"no parameters", "", "The RSASSA-PSS signature algorithm has no parameters."},
        {"NULL", "0500", kBad},
        {"something behind the parameters", "30000500", kBad},
        {"something behind the last field", "30020500", kBad},
        {"something inside a field", "3007a2050201140500", kBad},
        {"the wrong order", "300aa303020101a203020114", kBad},
        {"a field twice", "300aa203020114a203020114", kBad},
        {"a length with a zero in front", "308100", kBad},
        {"MD5", "300ea00c300a06082a864886f70d0205", kBad},
        {"a digest with parameters", "300ea00c300a" + kSha1 + "020100", kBad},
        {"another mask function", "3018a116301406092a864886f70d0101093007" + kSha1, kBad},
        {"a mask function without digest", "300fa10d300b" + kMgf1, kBad},
        {"a negative salt size", "3005a2030201ff", kBad},
        {"a salt larger than any key", "3006a20402020801", kBad},
        {"a salt size of 2^64 + 20", "300da20b0209010000000000000014", kBad},
        {"trailer field 2", "3005a303020102", kBad},
    };
    const SelfSigned cert("pss-defaults.pem");
    for (const Case& row : cases)
        EXPECT_EQ(cert.verify(kRsaPss, fromHex(row.parameters)), row.reason) << row.what;
}

TEST(SchemeRsaPss, KeepsToWhatTheKeyAsksFor) {
    const std::string kHash = "a00d300b" + kSha256, kMask = "a11a3018" + kMgf1 + "300b" + kSha256;
    const std::string kOther = " than the issuer's key allows.";
    const Bytes used = fromHex("3030" + kHash + kMask + "a203020120");
    struct Case {
        const char* what;
        const Bytes& algorithm;
        std::string keyParameters;
        std::string reason;
    };
    const Case cases[] = {
        {"a key for any RSA signature", kRsa, "0500", ""},
        {"a key for PSS without parameters", kPss, "", ""},
        {"the same salt", kPss, "3030" + kHash + kMask + "a203020120", ""},
        {"a longer salt than asked for", kPss, "3030" + kHash + kMask + "a20302011f", ""},
        {"a shorter one", kPss, "3030" + kHash + kMask + "a203020121",
         "The RSASSA-PSS signature has a shorter salt" + kOther},
        {"another digest", kPss, "301c" + kMask,
         "The RSASSA-PSS signature has another digest" + kOther},
        {"another mask", kPss, "300f" + kHash,
         "The RSASSA-PSS signature has another MGF1 digest" + kOther},
        {"restrictions that are none", kPss, "0500",
         "The RSASSA-PSS parameters of the issuer's key are malformed or not supported."},
    };
    for (const Case& row : cases) {
        SelfSigned cert("pss-only.pem");
        EXPECT_EQ(cert.verify(kRsaPss, used), "") << "as it came";
        const Bytes parameters = fromHex(row.keyParameters);
        cert.key.algorithm = row.algorithm;
        cert.key.parameters = parameters;
        EXPECT_EQ(cert.verify(kRsaPss, used), row.reason) << row.what;
    }
}

// Either scheme, and before a long message is hashed.
TEST(SchemeRsaPss, RefusesKeysAndSignaturesBySizeFirst) {
    const std::string kBadKey =
        "The issuer's RSA key is too large, or no RSA key can have its numbers.";
    const auto integer = [](std::size_t size, unsigned char first, unsigned char last) {
        Bytes der = {0x02, 0x82, static_cast<unsigned char>(size >> 8),
                     static_cast<unsigned char>(size)};
        der.resize(4 + size, 0x5b);
        der[4] = first, der.back() = last;
        return der;
    };
    struct Case {
        const char* what;
        Bytes modulus, exponent;
        std::size_t signatureSize;
        std::string reason;
    };
    const Bytes kExponent = fromHex("0203010001"), kModulus = integer(256, 0x5b, 1);
    const Case cases[] = {
        {"what can be computed", kModulus, kExponent, 256, kSignatureDoesNotMatch},
        {"a modulus of 16,385 bits", integer(2049, 1, 1), kExponent, 2049, kBadKey},
        {"an even modulus", integer(256, 0x5b, 2), kExponent, 256, kBadKey},
        {"an exponent of 2^64 + 1", kModulus, fromHex("0209010000000000000001"), 256, kBadKey},
        {"an even exponent", kModulus, fromHex("0203010000"), 256, kBadKey},
        {"an exponent of 1", kModulus, fromHex("020101"), 256, kBadKey},
        {"a signature of a megabyte", kModulus, kExponent, 1 << 20,
         "The RSA signature is not as long as the issuer's key."},
    };
    for (const Case& row : cases) {
        SelfSigned cert("pss-defaults.pem");
        const std::size_t size = row.modulus.size() + row.exponent.size();
        Bytes key = {0x30, 0x82, static_cast<unsigned char>(size >> 8),
                     static_cast<unsigned char>(size)};
        key.insert(key.end(), row.modulus.begin(), row.modulus.end());
        key.insert(key.end(), row.exponent.begin(), row.exponent.end());
        const Bytes signature(row.signatureSize, 3);
        cert.key.bits = key;
        cert.signature = signature;
        EXPECT_EQ(cert.verify(kRsaPss, fromHex("3000")), row.reason) << row.what;
        EXPECT_EQ(cert.verify(kRsaPkcs1, {}), row.reason) << row.what;
    }
}

// The files whose keys carry the parameters of their signatures.
TEST(SchemeRsaPss, AgreesWithForeignKeys) {
    for (const std::string& file : listVectorFiles("rsa_pss_")) {
        if (file.find("_params_") == std::string::npos)
            continue;
        SCOPED_TRACE(file);
        forEachVector(file, [](const Json& group, const Json& test) {
            const Bytes spki = hexOf(group, "publicKeyDer"), message = hexOf(test, "msg"),
                        signature = hexOf(test, "sig");
            PublicKeyInfo key;
            ASSERT_TRUE(readPublicKeyInfo(spki, key));
            const char* reason = verifyRsaPssScheme(
                {DigestAlgorithm::Sha1, key.parameters, message, signature, key});
            EXPECT_EQ(reason == nullptr, test.at("result") == "valid") << test.at("tcId");
        });
    }
}

}  // namespace
}  // namespace certstore
