// Certificates that others wrote: which of them other implementations take, and which signatures
// they find good.

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

#include "support/log/LogText.h"
#include "tests/common/TestFiles.h"

namespace {

using testfiles::certOf;
using testfiles::Row;

ZorvenOwner<CertificateHolder> parseVector(const std::string& id, LogBase& log) {
    const std::string der = testfiles::readFile(testfiles::vectors() / "certs" / (id + ".der"));
    return testfiles::parseCert(certstore::bytesOf(der), log);
}

TEST(VectorCertificates, AreTakenAsTheTableSays) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    int parsed = 0;
    for (const Row& row : testfiles::readTable(testfiles::vectors() / "oracle.tsv")) {
        SCOPED_TRACE(row.at("id") + " " + row.at("flags") + " | " + row.at("pyca"));
        const bool lenient = row.at("parses") == "1", strict = row.at("pyca") == "ok";
        LogText log;
        const auto holder = parseVector(row.at("id"), log);
        if (lenient && strict) {
            ++parsed;
            EXPECT_TRUE(holder) << log.getText();
        } else if (!lenient && !strict) {
            EXPECT_FALSE(holder);
            EXPECT_EQ(std::count(log.getText().begin(), log.getText().end(), '\n'), 1);
        }
    }
    std::cout << parsed << " parsed\n";
    EXPECT_GT(parsed, 1000);
}

// Signatures that the table's implementation accepts and we do not:
bool isRefusedHere(const X509Certificate& child, const X509Certificate& issuer,
                   const std::string& algorithm) {
    constexpr unsigned char kMd5[] = {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x05};
    constexpr unsigned char kEcKey[] = {0x2a, 0x86, 0x48, 0xce, 0x3d, 0x02, 0x01, 0x30};
    // A salt of 2^62 + 32 octets, which it takes for 32.
    constexpr unsigned char kHugeSalt[] = {0xa2, 0x0a, 0x02, 0x08, 0x40, 0, 0, 0, 0, 0, 0, 0x20};
    const auto contains = [](certstore::ByteView bytes, certstore::ByteView part) {
        return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
    };
    const certstore::ByteView identifier = child.getX509Ptr()->signatureAlgorithm();
    // Collisions of these digests have forged CA certificates.
    return algorithm.starts_with("md2") || algorithm.starts_with("md4")
        || algorithm.starts_with("md5") || contains(identifier, kMd5)
        || contains(identifier, kHugeSalt)
        // Curves are named, and not made by whoever makes the key.
        || contains(issuer.getX509Ptr()->spki(), kEcKey);
}

TEST(VectorCertificates, SignaturesVerifyAsTheTablesSay) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    const std::tuple<const char*, const char*, const char*, const char*, int> kTables[] = {
        {"pairs.tsv", "child", "issuer", "expected", 500},
        {"oracle.tsv", "id", "id", "self_sig", 200},
    };
    for (const auto& [table, childId, issuerId, verdictCell, fewest] : kTables) {
        int good = 0, bad = 0;
        for (const Row& row : testfiles::readTable(testfiles::vectors() / table)) {
            const std::string &algorithm = row.at("sig_alg"), &verdict = row.at(verdictCell);
            LogText log;
            const auto child = parseVector(row.at(childId), log);
            const auto issuer = parseVector(row.at(issuerId), log);
            // Other texts say why there is no verdict.
            if (!child || !issuer || (verdict != "true" && verdict != "false")
                || (row.contains("oracle") && row.at("oracle") == "disagree"))
                continue;
            SCOPED_TRACE(row.at(childId) + " " + row.at(issuerId) + " " + algorithm);
            const bool expected =
                verdict == "true" && !isRefusedHere(certOf(child), certOf(issuer), algorithm);
            ++(expected ? good : bad);
            EXPECT_EQ(certOf(child).verifyCertSignature(&certOf(issuer), log), expected);
            EXPECT_EQ(std::ranges::count(log.getText(), '\n'), expected ? 0 : 1) << log.getText();
        }
        std::cout << good << " verify, " << bad << " do not\n";
        EXPECT_GT(good, fewest);
    }
}

}  // namespace
