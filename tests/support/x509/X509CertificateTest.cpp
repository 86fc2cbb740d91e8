#include "support/x509/X509Certificate.h"

#include <gtest/gtest.h>

#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "tests/support/Cases.h"

namespace {

using testfiles::certOf;
using testfiles::loadCert;

TEST(X509Certificate, GivesWhatIsThereAndNothingElse) {
    forEachCase("certificates.tsv", [](const Row& row) {
        const auto holder = loadCert(row.at("file"));
        const X509Certificate& cert = certOf(holder);
        LogText log;
        log.m_verboseLogging = true;
        XString serial, email, akiText;
        StringBuffer ski;
        DataBuffer aki;
        EXPECT_TRUE(cert.getSerialNumber(serial, log));
        EXPECT_TRUE(row.at("serial") == "any" || row.at("serial") == serial.getUtf8());
        email.appendUtf8("before");
        EXPECT_TRUE(cert.getEmailAddress(email, log));
        EXPECT_EQ(email.getUtf8(), row.at("email"));
        EXPECT_EQ(cert.getSubjectKeyIdentifier(ski, log), isYes(row, "has SKI"));
        EXPECT_EQ(ski.getSize() != 0, isYes(row, "has SKI"));
        EXPECT_EQ(cert.getAuthorityKeyIdentifier(aki, &akiText, log), isYes(row, "has AKI"));
        EXPECT_NE(akiText.isEmpty(), isYes(row, "has AKI"));
        EXPECT_EQ(aki.getSize(), akiText.getUtf8Sb().getSize() / 2);
        EXPECT_EQ(log.getText(), "") << "what is absent leaves no trace";
    });
}

TEST(X509Certificate, RefusesTailsAndWhatIsTooLong) {
    const std::string bytes = testfiles::derOf(certOf(loadCert("leaf.pem")));
    LogText log;
    EXPECT_EQ(testfiles::parseCert(certstore::bytesOf(bytes + '\0'), log), nullptr);
    for (const std::size_t size : {1U << 20, (1U << 20) + 1})
        EXPECT_EQ(testfiles::parseCert(std::vector<unsigned char>(size), log), nullptr);
    EXPECT_EQ(log.getText(),
              "ERROR: Not a certificate: cannot read end of certificate at byte "
                  + std::to_string(bytes.size())
                  + ".\nERROR: Not a certificate: cannot read certificate at byte 0.\n"
                    "ERROR: Not a certificate: cannot read size at byte 0.\n");
}

TEST(CertificateHolder, SharesOneCertificateUntilTheLastHolderGoes) {
    LogNull log;
    auto first = loadCert("root.pem");
    auto other = loadCert("v1.pem");
    X509Certificate* cert = first->getCertPtr(log);
    ZorvenOwner<CertificateHolder> second(CertificateHolder::createFromCert(cert, log));
    EXPECT_EQ(second->getCertPtr(log), cert);
    second->setCert(cert);
    first.reset();
    EXPECT_TRUE(second->getCertPtr(log)->isIssuerSelf(log));
    second->setCert(other->getCertPtr(log));  // the root ends here
    EXPECT_EQ(second->getCertPtr(log), other->getCertPtr(log));
    EXPECT_EQ(CertificateHolder::createFromCert(nullptr, log), nullptr);
}

TEST(PrivateKeys, FitOnlyTheirCertificate) {
    const std::tuple<const char*, const char*, const char*, bool> kCases[] = {
        {"EC", "leaf.pem", "leaf.key", true},
        {"RSA", "rsa-leaf.pem", "rsa-leaf.key", true},
        {"another RSA key", "rsa-root.pem", "rsa-leaf.key", false},
        {"a key of another kind", "rsa-leaf.pem", "leaf.key", false},
    };
    for (const auto& [sentence, certFile, keyFile, fits] : kCases) {
        const auto holder = loadCert(certFile);
        X509Certificate& cert = certOf(holder);
        DataBuffer pkcs8, out;
        testfiles::loadPemDer(keyFile, pkcs8);
        LogText log;
        _zvPublicKey key;
        EXPECT_TRUE(key.isEmpty());
        ASSERT_TRUE(key.loadPrivateKeyDer(pkcs8, log));
        EXPECT_FALSE(cert.hasPrivateKey(false, log));
        EXPECT_EQ(cert.setPrivateKeyFromObj(key, log), fits) << sentence;
        EXPECT_EQ(cert.hasPrivateKey(false, log), fits) << sentence;
        EXPECT_EQ(log.getText(),
                  fits ? "" : "ERROR: The private key does not belong to the public key.\n");
        bool notExportable = true;
        EXPECT_EQ(cert.getPrivateKeyAsDER(out, notExportable, log), fits) << sentence;
        EXPECT_FALSE(notExportable);
        EXPECT_TRUE(out.m_secure);
        EXPECT_EQ(out.equals(pkcs8), fits) << sentence;
    }
}

TEST(PrivateKeys, TheMarkTravelsWithTheKeyAndTheFirstKeyStays) {
    const auto a = loadCert("renewed-a.pem"), b = loadCert("renewed-b.pem");
    DataBuffer pkcs8;
    testfiles::loadPemDer("renewed.key", pkcs8);
    LogText log;
    ASSERT_TRUE(certOf(a).m_certKey.loadPrivateKeyDer(pkcs8, log));
    ASSERT_TRUE(certOf(b).setPrivateKeyFromObj(certOf(a).m_certKey, log));
    certOf(a).m_certKey.setNotExportable();
    EXPECT_TRUE(certOf(b).hasPrivateKey(false, log));
    EXPECT_FALSE(certOf(b).hasPrivateKey(true, log));
    EXPECT_FALSE(certOf(b).setPrivateKeyFromObj(certOf(a).m_certKey, log));
    EXPECT_FALSE(certOf(b).m_certKey.loadPrivateKeyDer(pkcs8, log));
    EXPECT_EQ(log.getText(),
              "ERROR: A private key is held already.\nERROR: A private key is held already.\n");
}

TEST(PrivateKeys, SizeIsBounded) {
    DataBuffer tooLong;
    tooLong.extend((1U << 20) + 1);
    LogText log;
    EXPECT_FALSE(_zvPublicKey().loadPrivateKeyDer(tooLong, log));
    EXPECT_EQ(log.getText(), "ERROR: The private key is over the limit of key size.\n");
}

}  // namespace
