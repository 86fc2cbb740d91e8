// Signatures of certificates, and why they do not verify.

#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "support/x509/SignatureAlgorithms.h"
#include "tests/support/Cases.h"

namespace {

using testfiles::certOf;
using testfiles::loadCert;

TEST(Signatures, VerifyOrSayWhyNot) {
    forEachCase("signatures.tsv", [](const Row& row) {
        const auto cert = loadCert(row.at("cert")), issuer = loadCert(row.at("issuer"));
        LogText log;
        EXPECT_EQ(certOf(cert).verifyCertSignature(&certOf(issuer), log), row.at("errors").empty());
        EXPECT_EQ(testfiles::errorsIn(log.getText()), row.at("errors"));
    });
}

TEST(SignatureMemory, HoldsTheWholeOfOneKey) {
    using certstore::bytesOf;
    certstore::SignatureMemory memory;
    EXPECT_FALSE(memory.isGoodUnder(bytesOf("")));
    EXPECT_FALSE(memory.isGoodUnder(bytesOf("key")));
    const auto rememberKey = [&] { memory.rememberGood(bytesOf("key")); };
    std::thread first(rememberKey), second(rememberKey);
    first.join();
    second.join();
    memory.rememberGood(bytesOf("other"));
    const std::string elsewhere = "keys";
    EXPECT_TRUE(memory.isGoodUnder(bytesOf(elsewhere.substr(0, 3))));
    for (const char* key : {"", "ke", "kex", "keys", "other"})
        EXPECT_FALSE(memory.isGoodUnder(bytesOf(key))) << key;
}

// A verdict of yes under one key says nothing about another, nor one of no about the right key.
TEST(Signatures, AreJudgedForEachKeyAnew) {
    const auto leaf = loadCert("rsa-leaf.pem"), root = loadCert("rsa-root.pem");
    LogNull log;
    for (const bool again : {false, true}) {
        EXPECT_FALSE(certOf(leaf).verifyCertSignature(&certOf(leaf), log)) << again;
        EXPECT_TRUE(certOf(leaf).verifyCertSignature(&certOf(root), log)) << again;
        EXPECT_FALSE(certOf(leaf).verifyCertSignature(nullptr, log));
    }
}

// Verifies under its own key as it is, if it is `good`, and not with a bit changed in what is
// signed or, at several places, in the signature.
void expectOnlyUnchangedVerifies(X509Certificate& cert, bool good) {
    LogText log;
    EXPECT_EQ(cert.verifyCertSignature(&cert, log), good) << log.getText();
    EXPECT_EQ(log.getText().find("is not accepted") != std::string::npos, !good);
    std::string bytes = testfiles::derOf(cert);
    const certstore::X509& fields = *cert.getX509Ptr();
    std::vector places{bytes.find(certstore::textOf(fields.serial())) + 2};
    for (std::size_t part = 0; part < 8; ++part)
        places.push_back(bytes.size() - 1 - part * fields.signature().size() / 8);
    for (const std::size_t at : places) {
        bytes[at] ^= 1;
        const auto changed = testfiles::parseCert(certstore::bytesOf(bytes), log);
        bytes[at] ^= 1;
        EXPECT_FALSE(certOf(changed).verifyCertSignature(&cert, log)) << at;
    }
}

// Broken digests are refused by name.
TEST(Signatures, OfEveryAlgorithmVerify) {
    std::size_t count = 0;
    for (const char* file : {"algorithms.pem", "ml-dsa.pem", "slh-dsa.pem"})
        for (const auto& holder : testfiles::loadCerts(file)) {
            LogNull log;
            XString name;
            certOf(holder).getSubjectPart("CN", name, log);
            SCOPED_TRACE(name.getUtf8());
            const std::string_view text = name.getUtf8();
            expectOnlyUnchangedVerifies(certOf(holder), text.find(" MD") == text.npos);
            ++count;
        }
    EXPECT_EQ(count, 25U + 3U + 14U);
}

// Signatures that the tables have no verdict on: all that sign themselves are
// good.
TEST(Signatures, OfForeignSlhDsaVerify) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    std::set<std::string> seen;
    for (const testfiles::Row& row : testfiles::readTable(testfiles::vectors() / "oracle.tsv")) {
        if (!row.at("sig_alg").starts_with("2.16.840.1.101.3.4.3.") || row.at("self_issued") != "1")
            continue;
        SCOPED_TRACE(row.at("id") + " " + row.at("sig_alg"));
        LogText log;
        const auto path = testfiles::vectors() / "certs" / (row.at("id") + ".der");
        const std::string der = testfiles::readFile(path);
        const auto holder = testfiles::parseCert(certstore::bytesOf(der), log);
        ASSERT_TRUE(holder) << log.getText();
        expectOnlyUnchangedVerifies(certOf(holder), true);
        seen.insert(row.at("sig_alg"));
    }
    EXPECT_GE(seen.size(), 12u);
}

// The same certificate with one octet of both algorithm identifiers changed.
TEST(Signatures, OfUnknownAlgorithmsAreRefusedByOid) {
    using namespace std::string_view_literals;
    const auto known = loadCert("ed25519.pem");
    const std::string bytes = testfiles::edited(
        testfiles::derOf(certOf(known)), "\x30\5\6\3\x2b\x65\x70"sv, "\x30\5\6\3\x2b\x65\x7f"sv);
    LogText log;
    const auto holder = testfiles::parseCert(certstore::bytesOf(bytes), log);
    EXPECT_FALSE(certOf(holder).verifyCertSignature(&certOf(holder), log));
    EXPECT_EQ(log.getText(), "ERROR: Unknown signature algorithm 1.3.101.127.\n");
    StringBuffer names;
    for (const auto* each : {&known, &holder})
        certstore::appendSignatureAlgorithmName(names,
                                                certOf(*each).getX509Ptr()->signatureAlgorithm());
    EXPECT_STREQ(names.getString(), "Ed255191.3.101.127");
    certstore::ByteView oid, parameters;
    EXPECT_EQ(certstore::findSignatureAlgorithm(certstore::bytesOf("0"), oid, parameters), nullptr);
}

}  // namespace
