#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/crypto/Digest.h"
#include "tests/support/Cases.h"

// Files in the format of Project Wycheproof.

using Json = nlohmann::json;

inline const std::map<std::string, certstore::DigestAlgorithm> kVectorDigests = {
    {"SHA-1", certstore::DigestAlgorithm::Sha1},
    {"SHA-224", certstore::DigestAlgorithm::Sha224},
    {"SHA-256", certstore::DigestAlgorithm::Sha256},
    {"SHA-384", certstore::DigestAlgorithm::Sha384},
    {"SHA-512", certstore::DigestAlgorithm::Sha512},
    {"SHA-512/224", certstore::DigestAlgorithm::Sha512_224},
    {"SHA-512/256", certstore::DigestAlgorithm::Sha512_256},
    {"SHA3-224", certstore::DigestAlgorithm::Sha3_224},
    {"SHA3-256", certstore::DigestAlgorithm::Sha3_256},
    {"SHA3-384", certstore::DigestAlgorithm::Sha3_384},
    {"SHA3-512", certstore::DigestAlgorithm::Sha3_512}};

inline certstore::DigestAlgorithm digestAlgorithmOf(const std::string& name) {
    return name == "MD5" ? certstore::DigestAlgorithm::Md5 : kVectorDigests.at(name);
}

inline Bytes hexOf(const Json& object, const char* name) {
    return fromHex(object.at(name).get<std::string>());
}

// Compares with the verdict of a test: "acceptable", of which some files make use, counts as no.
inline void expectResult(const Json& test, bool verified) {
    EXPECT_EQ(verified, test.at("result") == "valid")
        << test.at("tcId") << ": " << test.at("comment");
}

// Calls check(group, test) for every test of the files whose names begin like this, and says how
// many there were. Skips the running test when this build has no such file.
template <class Check>
void forEachVector(const std::string& prefix, Check check) {
    int count = 0;
    const std::filesystem::path folder = testfiles::vectors() / "sigvec";
    if (testfiles::vectors().empty() || !std::filesystem::exists(folder))
        GTEST_SKIP() << "no foreign vectors in this build";
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        if (!file.path().filename().string().starts_with(prefix))
            continue;
        SCOPED_TRACE(file.path());
        const Json json = Json::parse(std::ifstream(file.path()));
        for (const Json& group : json.at("testGroups")) {
            for (const Json& test : group.at("tests")) {
                check(group, test);
                ++count;
            }
        }
    }
    EXPECT_GT(count, 0);
    std::cout << "    " << prefix << ": " << count << " tests\n";
}
