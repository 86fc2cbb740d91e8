// Signatures of certificates, and why they do not verify.

#include <gtest/gtest.h>

#include <thread>

#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "support/x509/SignatureAlgorithms.h"
#include "tests/common/TestFiles.h"

namespace {

using testfiles::certOf;
using testfiles::loadCert;

TEST(Signatures, VerifyOrSayWhyNot) {
    const char* kNoMatch = "ERROR: The signature does not match.\n";
    // No error: it verifies.
    const std::tuple<const char*, const char*, const char*, const char*> kCases[] = {
        {"RSA SHA-224", "rsa-leaf-sha224.pem", "rsa-root.pem", ""},
        {"RSA SHA-384", "rsa-leaf-sha384.pem", "rsa-root.pem", ""},
        {"RSA SHA-512", "rsa-leaf-sha512.pem", "rsa-root.pem", ""},
        {"ECDSA P-384, SHA-1", "p384-leaf-sha1.pem", "p384-root.pem", ""},
        {"ECDSA P-384, SHA-224", "p384-leaf-sha224.pem", "p384-root.pem", ""},
        {"ECDSA P-384, SHA-512", "p384-leaf-sha512.pem", "p384-root.pem", ""},
        {"the key of another curve", "p384-leaf-sha256.pem", "root.pem",
         "ERROR: The ECDSA signature is out of range.\n"},
        {"a signed byte changed", "tampered.pem", "root.pem", kNoMatch},
        {"signed by another key", "self-issued-bad-sig.pem", "self-issued-bad-sig.pem", kNoMatch},
        {"RSA signature, EC key", "ec-below-rsa.pem", "root.pem",
         "ERROR: The signature algorithm is sha256WithRSAEncryption, which the issuer's key does "
         "not fit: EC P-256.\n"},
        {"ECDSA signature, RSA key", "rsa-below-ec.pem", "rsa-root.pem",
         "ERROR: The signature algorithm is ecdsa-with-SHA256, which the issuer's key does not "
         "fit: RSA 2048.\n"},
        {"two algorithms", "sigalg-mismatch.pem", "root.pem",
         "ERROR: The certificate names two different signature algorithms.\n"},
        {"RSASSA-PSS, defaults", "pss-defaults.pem", "pss-defaults.pem", ""},
    };
    for (const auto& [sentence, certFile, issuerFile, error] : kCases) {
        const auto cert = loadCert(certFile), issuer = loadCert(issuerFile);
        LogText log;
        EXPECT_EQ(certOf(cert).verifyCertSignature(&certOf(issuer), log), *error == '\0');
        EXPECT_EQ(log.getText(), error) << sentence;
    }
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
    }
}

// Every algorithm, from the outside: good as it is, not with a bit changed in what is signed or in
// the signature. Broken digests are refused by name.
TEST(Signatures, OfEveryAlgorithmVerify) {
    const auto holders = testfiles::loadCerts("algorithms.pem");
    EXPECT_EQ(holders.size(), 25u);
    for (const auto& holder : holders) {
        LogText log;
        X509Certificate& cert = certOf(holder);
        XString name;
        cert.getSubjectPart("CN", name, log);
        SCOPED_TRACE(name.getUtf8());
        const bool broken = std::string_view(name.getUtf8()).find(" MD") != std::string_view::npos;
        EXPECT_EQ(cert.verifyCertSignature(&cert, log), !broken) << log.getText();
        EXPECT_EQ(log.getText().find("is not accepted") != std::string::npos, broken);
        std::string bytes = testfiles::derOf(cert);
        const std::size_t serial = bytes.find(certstore::textOf(cert.getX509Ptr()->serial()));
        for (const std::size_t at : {serial + 2, bytes.size() - 1}) {
            bytes[at] ^= 1;
            const auto changed = testfiles::parseCert(certstore::bytesOf(bytes), log);
            bytes[at] ^= 1;
            EXPECT_FALSE(certOf(changed).verifyCertSignature(&cert, log));
        }
    }
}

// The same certificate with one octet of both algorithm identifiers changed.
TEST(Signatures, OfUnknownAlgorithmsAreRefusedByOid) {
    using namespace std::string_view_literals;
    const std::string bytes =
        testfiles::edited(testfiles::derOf(certOf(loadCert("ed25519.pem"))),
                          "\x30\5\6\3\x2b\x65\x70"sv, "\x30\5\6\3\x2b\x65\x7f"sv);
    LogText log;
    const auto holder = testfiles::parseCert(certstore::bytesOf(bytes), log);
    EXPECT_FALSE(certOf(holder).verifyCertSignature(&certOf(holder), log));
    EXPECT_EQ(log.getText(), "ERROR: Unknown signature algorithm 1.3.101.127.\n");
}

}  // namespace
