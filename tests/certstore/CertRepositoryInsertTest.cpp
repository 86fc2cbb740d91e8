#include "certstore/CertRepository.h"

#include <new>

#include "certstore/SystemCerts.h"
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
    const std::tuple<const char*, bool, bool, const char*> kRows[] = {
        {"nobody has one", false, false, ""},
        {"the added one does", false, true, "    Adding the private key to the cached cert.\n"},
        {"the stored one has it alone", true, false, ""},
        {"both have one: the stored one's stays", true, true, ""},
    };
    for (const auto& [sentence, storedHasKey, addedHasKey, note] : kRows) {
        SCOPED_TRACE(sentence);
        X509Certificate &stored = cert("renewed-a.pem"), &added = cert("renewed-b.pem");
        if (storedHasKey)
            attachKey(stored, "renewed.key");
        if (addedHasKey)
            attachKey(added, "renewed.key");
        added.m_certKey.setNotExportable();  // the mark tells the two apart
        CertRepository fresh;
        add(fresh, {&stored});
        LogText log;
        EXPECT_TRUE(fresh.addCertificate(&added, log));
        EXPECT_EQ(log.getText(),
                  std::string("addCertificate_3:\n    constructSerialIssuerHashKey:\n") + note);
        EXPECT_EQ(fresh.getNumCerts(), 2);
        EXPECT_EQ(fresh.getNthRepositoryCert(1, g_quiet), &stored);
        EXPECT_EQ(fresh.crpFindBySubjectKeyId(keyIdOf(added).c_str(), g_quiet), &added);
        EXPECT_EQ(stored.m_certKey.isPrivateKey(), storedHasKey || addedHasKey);
        EXPECT_EQ(stored.m_certKey.isExportable(), storedHasKey);
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

template <typename Object>
void expectMarkOnlyWhileAlive() {
    alignas(Object) unsigned char memory[sizeof(Object)];
    Object* object = new (memory) Object;
    EXPECT_EQ(object->m_magic, Object::kMagic);
    const auto* mark = reinterpret_cast<const volatile unsigned char*>(&object->m_magic);
    object->~Object();
    for (std::size_t i = 0; i < sizeof object->m_magic; ++i)
        EXPECT_EQ(mark[i], 0);
}

TEST_F(CertRepositoryInsertTest, ValidityMarksAreGoneFromTheMemoryOfDestroyedObjects) {
    expectMarkOnlyWhileAlive<CertRepository>();
    expectMarkOnlyWhileAlive<SystemCerts>();
}

TEST_F(CertRepositoryInsertTest, KeysNameTheIssuerInOrderOfAddition) {
    const Certs names = certs("names.pem"), nameless = certs("no-cn.pem");
    X509Certificate &zeros = cert("serial-00.pem"), &plain = cert("serial-plain.pem");
    // Several CNs, an empty one, none; issued by one without CN, and by one with.
    const Certs added = {names[16], names[14], nameless[0], nameless[1], &zeros, &plain, &zeros};
    expectLog(
        "constructSerialIssuerHashKey:\n+   using subjectCN for self-issued certificate.\n"
        "constructSerialIssuerHashKey:\n+   using subjectCN for self-issued certificate.\n"
        "constructSerialIssuerHashKey:\n+   using issuerDN for self-issued certificate.\n"
        "constructSerialIssuerHashKey:\n"
        "+   using issuerDN because no issuerCN exists. (this is not an error)\n"
        "constructSerialIssuerHashKey:\nconstructSerialIssuerHashKey:\n"
        "constructSerialIssuerHashKey:\nconstructSerialIssuerHashKey:\n"
        "certRepository:\n    empty\n"
        "certRepository:\n    cert: $0:Third\n    cert: $1:\n    cert: $2:$dn\n    cert: $3:$dn\n"
        "    cert: 00A1B2C3:Example CA\n    cert: 0A1B:Example CA\n    cert: 00A1B2C3:Example CA\n",
        {{"$0", serialOf(*added[0])},
         {"$1", serialOf(*added[1])},
         {"$2", serialOf(*added[2])},
         {"$3", serialOf(*added[3])},
         {"$dn", "O=Example Org without Common Name, C=XX"}},
        [&](LogBase& log) {
            CertRepository fresh;
            XString subject, key;
            for (X509Certificate* one : added)
                EXPECT_TRUE(fresh.constructSerialIssuerHashKey(one, subject, key, log));
            EXPECT_FALSE(fresh.constructSerialIssuerHashKey(nullptr, subject, key, log));
            EXPECT_TRUE(key.isEmpty());
            fresh.logCertRepository(log);
            EXPECT_EQ(fresh.getNthRepositoryCert(0, log), nullptr);
            add(fresh, added);
            fresh.logCertRepository(log);
            EXPECT_EQ(fresh.getNumCerts(), 7) << "an addition counts, also of what is there";
            EXPECT_EQ(fresh.getNthRepositoryCert(6, log), &zeros);
            EXPECT_EQ(fresh.getNthRepositoryCert(7, log), nullptr);
            EXPECT_EQ(fresh.getNthRepositoryCert(0x80000000U, log), nullptr);
        });
}

}  // namespace
