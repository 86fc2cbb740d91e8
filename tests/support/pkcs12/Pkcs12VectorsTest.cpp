// Files that others wrote, with what other implementations found in them.

#include <gtest/gtest.h>

#include <iostream>
#include <set>

#include "support/log/LogText.h"
#include "support/pkcs12/Pkcs12.h"
#include "tests/common/TestFiles.h"

namespace {

using testfiles::listCell;
using testfiles::Row;

std::string shortSha256(certstore::ByteView bytes) {
    StringBuffer hex;
    hex.append(testfiles::sha256Of(bytes).substr(0, 16));
    hex.toLowerCase();
    return hex.getString();
}

std::multiset<std::string> cells(const std::string& cell) {
    const auto values = cell.empty() ? std::vector<std::string>() : listCell(cell);
    return {values.begin(), values.end()};
}

// The certificates, and the public keys of those that a key was attached to.
void compareContents(const Row& row, const Pkcs12& container) {
    LogText log;
    std::multiset<std::string> certs;
    std::set<std::string> keys;
    for (int i = 0; i < container.get_NumCerts(); ++i) {
        X509Certificate& cert = *container.getPkcs12Cert(i, log);
        certs.insert(shortSha256(cert.getX509Ptr()->der()));
        if (cert.hasPrivateKey(false, log))
            keys.insert(shortSha256(cert.getX509Ptr()->spki()));
    }
    EXPECT_EQ(certs, cells(row.at("certs_sha256")));
    EXPECT_EQ(std::to_string(container.get_NumPrivateKeys()), row.at("n_keys"));
    const auto expected = cells(row.at("keys_spki_sha256"));
    for (const std::string& key : keys)
        EXPECT_EQ(expected.count(key) + expected.count("unsupported") != 0, true) << key;
}

// National and abandoned ciphers, which no tool writes unless told to: refused by their number.
bool needsCipherNotRead(const Row& row) {
    for (const char* cipher : {"CAMELLIA", "ARIA", "BF-CBC", "CAST5", "SEED"})
        if (row.at("algorithms").find(cipher) != std::string::npos)
            return true;
    return false;
}

TEST(Pkcs12Vectors, OpenAsTheTableSays) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    int opened = 0;
    for (const Row& row : testfiles::readTable(testfiles::vectors() / "p12.tsv")) {
        SCOPED_TRACE(row.at("file") + " " + row.at("algorithms") + " " + row.at("mac"));
        const std::string bytes =
            testfiles::readFile(testfiles::vectors() / "p12" / row.at("file"));
        DataBuffer pfx;
        pfx.append(certstore::bytesOf(bytes));
        const std::string password = testfiles::textCell(row.at("password"));
        Pkcs12 container;
        LogText log;
        bool macVerified = false;
        const bool good = container.pkcs12FromDb(
            pfx, password == "(null)" ? nullptr : password.c_str(), macVerified, log);
        if (needsCipherNotRead(row)) {
            EXPECT_NE(log.getText().find("unknown algorithm 1."), std::string::npos);
        } else if (row.at("should_open") == "yes") {
            ++opened;
            EXPECT_TRUE(good) << log.getText();
            if (good)
                compareContents(row, container);
        } else if (row.at("should_open") == "no") {
            EXPECT_FALSE(good);
        }
        EXPECT_EQ(log.getText().find("ERROR: ") == std::string::npos, good) << log.getText();
        EXPECT_EQ(macVerified, good && row.at("mac") != "none");
    }
    std::cout << opened << " opened\n";
    EXPECT_GT(opened, 100);
}

}  // namespace
