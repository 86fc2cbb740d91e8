// Signatures of foreign test suites in the format of Project Wycheproof.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "support/crypto/RsaPkcs1.h"
#include "tests/common/TestFiles.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

using Json = nlohmann::json;

const std::map<std::string, DigestAlgorithm> kDigests = {{"SHA-1", DigestAlgorithm::Sha1},
                                                         {"SHA-224", DigestAlgorithm::Sha224},
                                                         {"SHA-256", DigestAlgorithm::Sha256},
                                                         {"SHA-384", DigestAlgorithm::Sha384},
                                                         {"SHA-512", DigestAlgorithm::Sha512}};
Bytes hexOf(const Json& object, const char* name) {
    return fromHex(object.at(name).get<std::string>());
}

bool verifyRsaTest(const Json& group, const Json& test) {
    const Bytes modulus = hexOf(group.at("publicKey"), "modulus");
    const Bytes exponent = hexOf(group.at("publicKey"), "publicExponent");
    const DigestAlgorithm algorithm = kDigests.at(group.at("sha"));
    const DigestValue digest = computeDigest(algorithm, hexOf(test, "msg"));
    return verifyRsaPkcs1({modulus, exponent}, algorithm, digest.view(), hexOf(test, "sig"));
}

bool isSupported(const Json& group) {
    return kDigests.contains(group.at("sha"));
}

struct Suite {
    const char* filePrefix;
    bool (*verify)(const Json& group, const Json& test);
};

// "acceptable" leaves the answer open: mostly encodings that some accept for the sake of old
// signers.
void checkGroup(const Suite& suite, const Json& group, std::map<std::string, int>& counts) {
    for (const Json& test : group.at("tests")) {
        const std::string result = test.at("result");
        const bool verified = suite.verify(group, test);
        if (result != "acceptable") {
            EXPECT_EQ(verified, result == "valid")
                << test.at("tcId") << ": " << test.at("comment") << ", " << group.at("sha");
        }
        ++counts[result];
    }
}

void checkSuite(const Suite& suite) {
    const std::filesystem::path folder = testfiles::vectors() / "sigvec";
    if (testfiles::vectors().empty() || !std::filesystem::exists(folder))
        GTEST_SKIP() << "no foreign vectors in this build";
    std::map<std::string, int> counts;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        if (!file.path().filename().string().starts_with(suite.filePrefix))
            continue;
        SCOPED_TRACE(file.path().filename());
        const Json json = Json::parse(std::ifstream(file.path()));
        for (const Json& group : json.at("testGroups"))
            if (isSupported(group))
                checkGroup(suite, group, counts);
    }
    EXPECT_GT(counts["valid"], 0);
    EXPECT_GT(counts["invalid"], 0);
    for (const auto& [result, count] : counts)
        std::cout << "    " << result << ": " << count << '\n';
}

TEST(SignatureVectorsTest, RsaPkcs1) {
    checkSuite({"rsa_signature_", verifyRsaTest});
}

}  // namespace
}  // namespace certstore
