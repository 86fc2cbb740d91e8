#pragma once

#include <gtest/gtest.h>

#include <sstream>

#include "tests/common/TestFiles.h"
#include "tests/support/crypto/Bytes.h"

// Tables of tests/data/cases, in the format of testfiles::readTable.

using testfiles::Row;

// Words of hexadecimal digits, each perhaps repeated: "30 0500*3". For changing what is there, "="
// stands for the octets `before`, "^2" changes a bit of the last octet but one, and "-" drops the
// last.
inline Bytes octetsOf(const std::string& words, const Bytes& before = {}) {
    Bytes all;
    std::istringstream in(words);
    for (std::string word; in >> word;) {
        const std::size_t star = word.find('*');
        const Bytes octets = word == "=" ? before : fromHex(word.substr(0, star));
        if (word[0] == '^')
            all.at(all.size() - std::stoul(word.substr(1))) ^= 1;
        else if (word == "-")
            all.pop_back();
        else
            for (int n = star == word.npos ? 1 : std::stoi(word.substr(star + 1)); n > 0; --n)
                all.insert(all.end(), octets.begin(), octets.end());
    }
    return all;
}

inline Bytes hexOf(const Row& row, const char* name) {
    return octetsOf(row.at(name));
}

inline bool isYes(const Row& row, const char* name) {
    return row.at(name) == "yes";
}

// Calls check(row) for every case. A cell of one quotation mark repeats the one above it.
template <class Check>
void forEachCase(const std::string& name, Check check) {
    Row above;
    for (Row& row : testfiles::readTable(testfiles::data("cases/" + name))) {
        for (auto& [column, cell] : row)
            if (cell == "\"")
                cell = above.at(column);
        SCOPED_TRACE(row.at("case"));
        check(row);
        above = row;
    }
    EXPECT_FALSE(above.empty());
}
