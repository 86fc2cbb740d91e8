// What the certificate layer adds to RSASSA-PSS: parameters, and keys that restrict them.

#include <gtest/gtest.h>

#include "tests/common/DerText.h"
#include "tests/support/x509/SignatureParts.h"

namespace certstore {
namespace {

const Bytes kPssKey = fromHex("2a864886f70d01010a"), kRsaKey = fromHex("2a864886f70d010101");

// Parts of RSASSA-PSS-params.
const std::string kSha1 = "06052b0e03021a", kSha256 = "0609608648016503040201",
                  kMgf1 = "06092a864886f70d010108";

TEST(SchemeRsaPss, ReadsParametersStrictlyButForDefaults) {
    const char* kBad = "The RSASSA-PSS parameters of the signature are malformed or not supported.";
    const std::string kMask = "a116301406092a864886f70d010108300706052b0e03021a";
    const std::tuple<const char*, std::string, std::string> cases[] = {
        {"defaults left out", "3000", ""},
        {"the digest written, with NULL", "300da00b3009" + kSha1 + "0500", ""},
        {"the digest written, without NULL", "300ba0093007" + kSha1, ""},
        {"the mask written", "3018" + kMask, ""},
        {"salt size and trailer written", "300aa203020114a303020101", ""},
        {"another digest", "300fa00d300b" + kSha256, kSignatureDoesNotMatch},
        {"another mask", "301ca11a3018" + kMgf1 + "300b" + kSha256, kSignatureDoesNotMatch},
        {"one more byte of salt", "3005a203020115", kSignatureDoesNotMatch},
        {"a salt larger than any key", "3006a20402020801", kSignatureDoesNotMatch},
        {"no parameters", "", "The RSASSA-PSS signature algorithm has no parameters."},
        {"something behind the parameters", "30000500", kBad},
        {"something behind the last field", "30020500", kBad},
        {"something inside a field", "3007a2050201140500", kBad},
        {"the wrong order", "300aa303020101a203020114", kBad},
        {"MD5", "300ea00c300a06082a864886f70d0205", kBad},
        {"a digest with parameters", "300ea00c300a" + kSha1 + "020100", kBad},
        {"another mask function", "3018a116301406092a864886f70d0101093007" + kSha1, kBad},
        {"a mask function without digest", "300fa10d300b" + kMgf1, kBad},
        {"a negative salt size", "3005a2030201ff", kBad},
        {"a salt size of 2^64 + 20", "300da20b0209010000000000000014", kBad},
        {"trailer field 2", "3005a303020102", kBad},
    };
    SignatureParts parts("pss-defaults.pem");
    for (const auto& [what, parameters, reason] : cases) {
        parts.parameters = fromHex(parameters);
        EXPECT_EQ(parts.verify(), reason) << what;
    }
}

TEST(SchemeRsaPss, KeepsToWhatTheKeyAsksFor) {
    const std::string kHash = "a00d300b" + kSha256, kMask = "a11a3018" + kMgf1 + "300b" + kSha256;
    const std::string kThan = " than the issuer's key allows.";
    const std::tuple<const char*, const Bytes&, std::string, std::string> cases[] = {
        {"a key for any RSA signature", kRsaKey, "0500", ""},
        {"a key for PSS without parameters", kPssKey, "", ""},
        {"the same salt", kPssKey, "3030" + kHash + kMask + "a203020120", ""},
        {"a longer salt than asked for", kPssKey, "3030" + kHash + kMask + "a20302011f", ""},
        {"a shorter one", kPssKey, "3030" + kHash + kMask + "a203020121",
         "The RSASSA-PSS signature has a shorter salt" + kThan},
        {"digest", kPssKey, "301c" + kMask, "The RSASSA-PSS signature has another digest" + kThan},
        {"mask", kPssKey, "300f" + kHash,
         "The RSASSA-PSS signature has another MGF1 digest" + kThan},
        {"restrictions that are none", kPssKey, "0500",
         "The RSASSA-PSS parameters of the issuer's key are malformed or not supported."},
    };
    SignatureParts parts("pss-only.pem");
    EXPECT_EQ(parts.verify(), "") << "as it came";
    for (const auto& [what, algorithm, keyParameters, reason] : cases) {
        parts.keyAlgorithm = algorithm;
        parts.keyParameters = fromHex(keyParameters);
        EXPECT_EQ(parts.verify(), reason) << what;
    }
}

// Either scheme, and before a long message is hashed.
TEST(SchemeRsaPss, RefusesKeysAndSignaturesBySizeFirst) {
    const std::string kBadKey =
        "The issuer's RSA key is too large, or no RSA key can have its numbers.";
    const std::tuple<const char*, std::string, std::string, std::size_t, std::string> kCases[] = {
        {"what can be computed", std::string(256, '\x5b'), "\3", 256, kSignatureDoesNotMatch},
        {"a modulus of 16,385 bits", std::string(2049, '\1'), "\3", 2049, kBadKey},
        {"an even exponent", std::string(256, '\x5b'), "\2", 256, kBadKey},
        {"a signature of a megabyte", std::string(256, '\x5b'), "\3", 1 << 20,
         "The RSA signature is not as long as the issuer's key."},
    };
    SignatureParts parts("pss-defaults.pem");
    for (const auto& [what, modulus, exponent, signatureSize, reason] : kCases) {
        const std::string numbers = dertext::der(2, modulus) + dertext::der(2, exponent);
        parts.keyBits = toBytes(bytesOf(dertext::sequence(numbers)));
        parts.signature.assign(signatureSize, 3);
        for (const SignatureScheme& scheme : {kRsaPss, kRsaPkcs1}) {
            parts.scheme = scheme;
            parts.parameters = fromHex(scheme.verify == verifyRsaPssScheme ? "3000" : "");
            EXPECT_EQ(parts.verify(), reason) << what;
        }
    }
}

}  // namespace
}  // namespace certstore
