#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/common/TestFiles.h"
#include "tests/support/crypto/Bytes.h"

// Files in the format of Project Wycheproof.

using Json = nlohmann::json;

inline Bytes hexOf(const Json& object, const char* name) {
    return fromHex(object.at(name).get<std::string>());
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

// The same for every file whose name begins with `prefix`.
template <class Check>
void forEachVectorFile(const std::string& prefix, Check check) {
    const std::filesystem::path folder = testfiles::vectors() / "sigvec";
    if (testfiles::vectors().empty() || !std::filesystem::exists(folder))
        GTEST_SKIP() << "no foreign vectors in this build";
    int files = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        const std::string name = file.path().filename().string();
        if (!name.starts_with(prefix))
            continue;
        SCOPED_TRACE(name);
        forEachVector(name, check);
        ++files;
    }
    EXPECT_GT(files, 0);
}
