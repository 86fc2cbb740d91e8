#include "certstore/CertRepository.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

struct CertRepositoryInsertTest : StoreTest {
    X509Certificate* byKeyId(X509Certificate& cert) {
        return repository.crpFindBySubjectKeyId(keyIdOf(cert).c_str(), g_quiet);
    }
    X509Certificate* bySubject(const std::string& dn) {
        return repository.crpFindBySubjectDN(dn.c_str(), g_quiet);
    }
    CertRepository repository;
};

TEST_F(CertRepositoryInsertTest, AnotherPublicKeyTakesThePlaceUnderTheKeyAlone) {
    X509Certificate &before = cert("same-serial-a.pem"), &after = cert("same-serial-b.pem");
    add(repository, {&before});
    LogText log;
    EXPECT_TRUE(repository.addCertificate(&after, log));
    EXPECT_EQ(log.getText(),
              "addCertificate_3:\n    constructSerialIssuerHashKey:\n"
              "    ERROR: Warning: Certificates found having the same issuer:serialNum but with a "
              "different public keys!\n"
              "    hashKey: 5A17:Example Root\n");
    EXPECT_EQ(repository.getNumCerts(), 1);
    EXPECT_EQ(bySubject(dnOf(before)), &after) << "through the key";
    EXPECT_EQ(byKeyId(before), &before);
    EXPECT_EQ(byKeyId(after), nullptr);
}

TEST_F(CertRepositoryInsertTest, TheStoredCertificateAdoptsAMissingPrivateKey) {
    const struct {
        const char* sentence;
        bool storedHasKey, addedHasKey;
        const char* note;
    } kRows[] = {
        {"nobody has one", false, false, ""},
        {"the added one brings it", false, true,
         "    Adding the private key to the cached cert.\n"},
        {"the stored one has it alone", true, false, ""},
        {"both have one: the stored one's stays", true, true, ""},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.sentence);
        X509Certificate &stored = cert("renewed-a.pem"), &added = cert("renewed-b.pem");
        if (row.storedHasKey)
            attachKey(stored, "renewed.key");
        if (row.addedHasKey)
            attachKey(added, "renewed.key");
        added.m_certKey.setNotExportable();  // the mark tells the two apart
        CertRepository fresh;
        add(fresh, {&stored});
        LogText log;
        EXPECT_TRUE(fresh.addCertificate(&added, log));
        EXPECT_EQ(log.getText(),
                  std::string("addCertificate_3:\n    constructSerialIssuerHashKey:\n") + row.note);
        EXPECT_EQ(fresh.getNumCerts(), 2);
        EXPECT_EQ(fresh.getNthRepositoryCert(1, g_quiet), &stored);
        EXPECT_EQ(fresh.crpFindBySubjectKeyId(keyIdOf(added).c_str(), g_quiet), &added);
        EXPECT_EQ(stored.m_certKey.isPrivateKey(), row.storedHasKey || row.addedHasKey);
        EXPECT_EQ(stored.m_certKey.isExportable(), row.storedHasKey);
    }
}

TEST_F(CertRepositoryInsertTest, TheFirstKeepsANameTheLastAKeyIdentifier) {
    const Certs twins = certs("same-dn.pem");
    X509Certificate &skiA = cert("same-ski-a.pem"), &skiB = cert("same-ski-b.pem"),
                    &ec = cert("ec-below-rsa.pem"), &mixed = cert("email-attribute.pem"),
                    &rsa = edited(cert("rsa-below-ec.pem"), "RSA below EC", "EC below RSA"),
                    &upper = withSerialOf(ec, edited(mixed, "Bob@Example.org", "BOB@EXAMPLE.ORG"));
    add(repository, {twins[0], twins[1], &skiA, &skiB, &ec, &rsa, &mixed, &upper});
    EXPECT_EQ(bySubject(dnOf(*twins[1])), twins[0]);
    EXPECT_EQ(byKeyId(*twins[1]), twins[1]);
    EXPECT_EQ(byKeyId(skiA), &skiB);
    EXPECT_EQ(bySubject(dnOf(rsa)), &ec);
    EXPECT_EQ(bySubject("EC," + dnOf(rsa)), &ec);
    EXPECT_EQ(bySubject("RSA," + dnOf(rsa)), &rsa);
    XString email;
    email.appendUtf8("BOB@EXAMPLE.ORG");
    EXPECT_EQ(repository.crpFindByEmailAddr(email, g_quiet), &mixed);
}

}  // namespace
