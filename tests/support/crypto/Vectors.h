#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/asn1/DerReader.h"
#include "support/crypto/Digest.h"
#include "tests/common/TestFiles.h"
#include "tests/support/crypto/Bytes.h"

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

inline Bytes hexOf(const Json& object, const char* name) {
    return fromHex(object.at(name).get<std::string>());
}

// Compares with the verdict of a test: "acceptable", of which some files make use, counts as no.
inline void expectResult(const Json& test, bool verified) {
    EXPECT_EQ(verified, test.at("result") == "valid")
        << test.at("tcId") << ": " << test.at("comment");
}

// The numbers r and s of a signature in DER.
inline bool readSignature(certstore::ByteView der, certstore::ByteView& r, certstore::ByteView& s) {
    certstore::DerReader outer(der), inner;
    return outer.readSequence(inner) && outer.atEnd() && inner.readUnsigned(r)
        && inner.readUnsigned(s) && inner.atEnd();
}

// The names of the files that begin like this; none when this build has no vectors.
inline std::vector<std::string> listVectorFiles(const std::string& prefix) {
    std::vector<std::string> names;
    const std::filesystem::path folder = testfiles::vectors() / "sigvec";
    if (!testfiles::vectors().empty() && std::filesystem::exists(folder))
        for (const auto& file : std::filesystem::directory_iterator(folder))
            if (file.path().filename().string().starts_with(prefix))
                names.push_back(file.path().filename().string());
    return names;
}

// Calls check(group, test) for every test of a file and says how many there were. Skips the running
// test when this build has no such file.
template <class Check>
void forEachVector(const std::string& fileName, Check check) {
    const std::filesystem::path path = testfiles::vectors() / "sigvec" / fileName;
    if (testfiles::vectors().empty() || !std::filesystem::exists(path))
        GTEST_SKIP() << "no foreign vectors in this build";
    const Json json = Json::parse(std::ifstream(path));
    int count = 0;
    for (const Json& group : json.at("testGroups")) {
        for (const Json& test : group.at("tests")) {
            check(group, test);
            ++count;
        }
    }
    EXPECT_GT(count, 0);
    std::cout << "    " << fileName << ": " << count << " tests\n";
}

// The same for every file whose name begins like this.
template <class Check>
void forEachVectorFile(const std::string& prefix, Check check) {
    const std::vector<std::string> files = listVectorFiles(prefix);
    if (files.empty())
        GTEST_SKIP() << "no foreign vectors in this build";
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        forEachVector(file, check);
    }
}
